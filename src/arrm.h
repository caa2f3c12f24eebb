// Rings of fixed-length records between threads. A producer never waits for room and never loses a record: a full ring
// doubles. Each slot's buffer is allocated once and stays where it is, also across growth, so a pointer to it can be
// held while the ring grows. A record of at most 4 bytes is a status without a message and is not counted as one.
//
// Any thread may produce and any thread may consume; every ring of the library has one consumer.
#pragma once

#include "cvarray.h"
#include "mutex.h"
#include "process_lifetime.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <semaphore.h>
#include <vector>

inline constexpr int CMSS_INITIAL_NUM_RECORDS = 6;
inline constexpr int CMSS_RECORD_LEN = 2000;
inline constexpr int CMSS_EXTRA_LEN = 20;
inline constexpr std::array<char, CMSS_EXTRA_LEN>
    CMSS_NO_EXTRA{};                        // instead of null, where what the slot had may not stay
inline constexpr int CMSS_SHORT_RECORD = 4; // longest record that counts as a bare status
inline constexpr int TRANS_STACK_SIZE = 100;
inline constexpr int CMSS_FIFO = 1;
inline constexpr int CMSS_NOT_OUTPUT =
    2; // a full ring does not grow and then looks empty; no ring here is of this type

// Records collected inside a transaction, over all rings. No operation opens one, so it stays 0.
extern std::atomic<unsigned> Glb_Tot_Simulated_Collections;

struct Mss_Rec
{
    std::unique_ptr<char[]> buf;          // m_rec_len bytes, from its first use on
    int status = 0;                       // the record's kind
    int len = 0;                          // bytes of buf in use
    const char* source = nullptr;         // identity of the source; not owned
    char extra_data[CMSS_EXTRA_LEN] = {}; // bytes carried beside the message
    int touched = 0;                      // bytes of buf that may differ from zero; all behind them are zero
};

namespace qapi {
class PostsHeld;
}

class CMss_Arr
{
public:
    CMss_Arr(int num_recs, int rec_len, int type);
    ~CMss_Arr() { sem_destroy(&m_sem); }
    CMss_Arr(const CMss_Arr&) = delete;
    CMss_Arr& operator=(const CMss_Arr&) = delete;

    // Copies one record in and zeroes the rest of its slot. More than the ring's record length is clipped and
    // reported. `source` is kept as a pointer; `extra`, if not null, is 20 bytes.
    void Collect(int status, const char* data, int len, const char* source, const char* extra);

    // Production without a copy: Init_Collect lends the next slot's buffer (the ring's record length), the caller
    // writes, Take_Collect publishes. Other producers wait in between, consumers don't. Source and extra data keep
    // what the slot last held. In between, the thread must not withdraw from this ring nor initialise it.
    void Init_Collect(int status, char** buffer) ACQUIRE(m_lock_collect);
    void Take_Collect(int len) RELEASE(m_lock_collect);

    // Copies the oldest record out and returns its status, or -1 (outputs untouched) if there is none. `dest` holds
    // the ring's record length, `extra` 20 bytes; `source` and `extra` may be null.
    int Withdraw(char* dest, int* len, const char** source, char* extra);

    // Consumption without a copy: the buffer is the caller's until Take_Withdraw. Returns the status, or -1 (no lock
    // held, no Take_Withdraw due) if there is none. In between, other consumers wait, producers don't; the thread may
    // collect into this ring, but not withdraw again nor initialise it.
    int Init_Withdraw(char** buffer, int* len, const char** source, char* extra) NO_THREAD_SAFETY_ANALYSIS;
    void Take_Withdraw() NO_THREAD_SAFETY_ANALYSIS;

    // Discards the oldest record, if any. Its semaphore post stays, so a later wait can return 0.
    void Dropped();

    // Empties the ring. Waits for a producer between Init_Collect and Take_Collect and for a consumer between
    // Init_Withdraw and Take_Withdraw: both would otherwise come back to a slot that is no longer theirs.
    void Initialize();

    // Empties the ring but for records of `status`, which stay in order: a stop that is under way must not be lost
    // when a closed connection throws away what was queued for it.
    void Initialize_Keeping(int status);

    // Blocks until something was published, then returns 1 if the ring holds a record, 0 if not (go round again).
    int Wait_For_Any_Pkt();
    int Check_For_Any_Pkt_Without_Wait();
    [[nodiscard]] int Is_Any_Pkt() const; // a first look, without a lock

    int Change_Type(int type); // returns the previous type

    // Grows the slot table; the number of slots never falls.
    void Resize(int num_recs) REQUIRES(m_lock);

    [[nodiscard]] unsigned Get_Total_Collected() const { return m_collected.load(std::memory_order_relaxed); }
    [[nodiscard]] unsigned Get_Total_Withdrawn() const { return m_withdrawn.load(std::memory_order_relaxed); }
    [[nodiscard]] unsigned Get_Total_Pending() const { return m_pending.load(std::memory_order_relaxed); }
    [[nodiscard]] unsigned Get_Total_Dropped() const { return m_dropped.load(std::memory_order_relaxed); }
    [[nodiscard]] unsigned Get_Total_DataPacket() const { return m_data_packets.load(std::memory_order_relaxed); }
    [[nodiscard]] int Get_Total_Num_Records() const { return m_num_recs.load(std::memory_order_relaxed); }
    [[nodiscard]] int Get_Rec_Len() const { return m_rec_len; }

    // The last eight steps of the ring, four bits each, for post-mortem reading.
    [[nodiscard]] unsigned Get_Flag() const { return m_flag.load(std::memory_order_relaxed); }

private:
    friend class CMss_Arr_Test_Access; // lets tests open a transaction, which no operation does

    void Trace(unsigned step);
    [[nodiscard]] int Next(int slot) const { return slot + 1 < Get_Total_Num_Records() ? slot + 1 : 0; }

    // Producers: the slot they fill is theirs alone until Publish.
    int Holds_Any_Pkt();
    Mss_Rec& Free_Slot() REQUIRES(m_lock_collect);
    int Set_Length(Mss_Rec& slot, int len) const;
    void Fill(Mss_Rec& slot, const char* data) const;
    void Publish(int len, unsigned step) REQUIRES(m_lock_collect);
    friend class qapi::PostsHeld;
    void Post();
    void Advance_Collect() REQUIRES(m_lock);
    bool Count_Collected(int len) REQUIRES(m_lock);

    // Consumers: the slot they read stays inside the ring until Advance_Withdraw.
    std::optional<int> Lend_Oldest(char** buffer, int* len, const char** source, char* extra) REQUIRES(m_lock_withdraw);
    void Advance_Withdraw() REQUIRES(m_lock);
    void Count_Removed(int len, std::atomic<unsigned>& removed) REQUIRES(m_lock);

    bool Try_Wait();
    void Reset() REQUIRES(m_lock);
    int Gather(int status) REQUIRES(m_lock);

    // Lock order: m_lock_withdraw, m_lock_collect, m_lock. What both sides touch shares cache lines, and what one side
    // has for itself stands apart: a hand-over moves as few lines between processors as it can.
    static constexpr std::size_t cache_line = 64;

    alignas(cache_line) Mutex m_lock;    // indices, counters, slot table
    std::atomic<int> m_next_withdraw{0}; // oldest record
    std::atomic<int> m_next_collect{0};  // slot to fill next
    std::atomic<int> m_num_recs{0};
    std::atomic<unsigned> m_pending{0};
    std::atomic<unsigned> m_flag{0};

    alignas(cache_line) sem_t m_sem; // one post for each record published
    std::vector<Mss_Rec> m_records;  // changes under m_lock_collect and m_lock, so either will do to read it
    const int m_rec_len;

    alignas(cache_line) Mutex m_lock_collect; // one producer at a time
    std::atomic<unsigned> m_collected{0};
    int m_type GUARDED_BY(m_lock);
    int m_transaction GUARDED_BY(m_lock) = 0; // entries of m_transaction_array in force
    int m_transaction_pending GUARDED_BY(m_lock) = 0;
    CvArray<int> m_transaction_array GUARDED_BY(m_lock){TRANS_STACK_SIZE};

    alignas(cache_line) Mutex m_lock_withdraw; // one consumer at a time
    std::atomic<unsigned> m_withdrawn{0};
    std::atomic<unsigned> m_dropped{0};
    std::atomic<unsigned> m_data_packets{0};
    bool m_lent GUARDED_BY(m_lock) = false; // a consumer reads the oldest record
};

namespace qapi {

// While one stands on a thread's stack, records that this thread produces wake no consumer; all that are due are woken
// when the outermost goes. For whoever produces under a lock that consumers want next: woken at once, they would run
// into it. Declare it before the lock. The records themselves are in their rings at once.
class PostsHeld
{
public:
    PostsHeld();
    ~PostsHeld();
    PostsHeld(const PostsHeld&) = delete;
    PostsHeld& operator=(const PostsHeld&) = delete;

private:
    friend class ::CMss_Arr;

    struct Due
    {
        CMss_Arr* ring = nullptr;
        unsigned posts = 0;
    };

    static bool Holds(CMss_Arr& ring);

    std::array<Due, 3> m_due{}; // a ring that finds no place here posts at once
};

} // namespace qapi

using qapi::PostsHeld;

// Outbound messages (taken by the sender thread), inbound messages and connection news (reader thread), lines and
// message copies for the running log (log thread).
extern ProcessLifetime<CMss_Arr> Glb_Send_Mss;
extern ProcessLifetime<CMss_Arr> Glb_Recv_Mss;
extern ProcessLifetime<CMss_Arr> Glb_Log_Mss;
