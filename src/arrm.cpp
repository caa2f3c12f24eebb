// How the locks share the work. A record is copied under its side's own lock, never under m_lock: what a producer fills
// is not yet inside the ring, what a consumer reads is still inside it, so the other side can't reach either. m_lock is
// held for a few words only, at the moment a slot changes sides. Growth moves the slot table but no buffer: producers
// hold m_lock_collect, which growth needs too, and a consumer takes the buffer's address along and lets go of the
// table.
#include "arrm.h"

#include "global.h"
#include "qcapi/support.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

std::atomic<unsigned> Glb_Tot_Simulated_Collections{0};

namespace {

// Trace codes; an operation's exit is its entry plus 8.
constexpr unsigned trace_initialize = 1;
constexpr unsigned trace_wait = 1;
constexpr unsigned trace_collect = 2;
constexpr unsigned trace_init_collect = 3;
constexpr unsigned trace_take_collect = 4;
constexpr unsigned trace_withdraw = 5;
constexpr unsigned trace_init_withdraw = 6;
constexpr unsigned trace_take_withdraw = 7;
constexpr unsigned trace_exit = 8;

constexpr auto relaxed = std::memory_order_relaxed;

// For words that are written under a lock and read without one: no other writer can come in between.
template <typename T> void add(std::atomic<T>& word, T amount)
{
    word.store(word.load(relaxed) + amount, relaxed);
}

std::size_t at(int index)
{
    return static_cast<std::size_t>(index);
}

void report_clipped(int excess)
{
    if (excess > 0) {
        COMMON_Put_Syslog_Message(1, "A received message is longer with %d than the maximum allowed", excess);
    }
}

CMss_Arr* make_library_ring()
{
    return std::make_unique<CMss_Arr>(CMSS_INITIAL_NUM_RECORDS, MESSAGE_TRANS_RECORD_SIZE, CMSS_FIFO).release();
}

} // namespace

constinit ProcessLifetime<CMss_Arr> Glb_Send_Mss{make_library_ring};
constinit ProcessLifetime<CMss_Arr> Glb_Recv_Mss{make_library_ring};
constinit ProcessLifetime<CMss_Arr> Glb_Log_Mss{make_library_ring};

namespace {

thread_local PostsHeld* outermost_hold = nullptr;

} // namespace

PostsHeld::PostsHeld()
{
    if (outermost_hold == nullptr) {
        outermost_hold = this;
    }
}

PostsHeld::~PostsHeld()
{
    if (outermost_hold != this) {
        return;
    }
    outermost_hold = nullptr;
    for (const Due& due : m_due) {
        for (unsigned i = 0; i < due.posts; ++i) {
            sem_post(&due.ring->m_sem);
        }
    }
}

// True if the ring's post waits in this thread's hold.
bool PostsHeld::Holds(CMss_Arr& ring)
{
    if (outermost_hold == nullptr) {
        return false;
    }
    for (Due& due : outermost_hold->m_due) {
        if (due.ring == nullptr || due.ring == &ring) {
            due.ring = &ring;
            ++due.posts;
            return true;
        }
    }
    return false;
}

// A ring has at least the one slot that is never in use.
CMss_Arr::CMss_Arr(int num_recs, int rec_len, int type) : m_rec_len(std::max(rec_len, 0)), m_type(type)
{
    sem_init(&m_sem, 0, 0);
    const MutexLock lock(m_lock);
    Resize(std::max(num_recs, 1));
}

void CMss_Arr::Collect(int status, const char* data, int len, const char* source, const char* extra)
{
    Trace(trace_collect);
    int excess = 0;
    {
        const MutexLock producer(m_lock_collect);
        Mss_Rec& slot = Free_Slot();
        excess = Set_Length(slot, data != nullptr ? len : 0);
        Fill(slot, data);
        slot.status = status;
        slot.source = source;
        if (extra != nullptr) {
            std::memcpy(slot.extra_data, extra, sizeof slot.extra_data);
        }
        Publish(slot.len, trace_collect);
    }
    report_clipped(excess);
}

void CMss_Arr::Init_Collect(int status, char** buffer)
{
    Trace(trace_init_collect);
    m_lock_collect.lock();
    Mss_Rec& slot = Free_Slot();
    slot.status = status;
    slot.touched = m_rec_len;
    *buffer = slot.buf.get();
    Trace(trace_init_collect + trace_exit);
}

void CMss_Arr::Take_Collect(int len)
{
    Trace(trace_take_collect);
    Mss_Rec& slot = Free_Slot();
    const int excess = Set_Length(slot, len);
    Publish(slot.len, trace_take_collect);
    m_lock_collect.unlock();
    report_clipped(excess);
}

int CMss_Arr::Withdraw(char* dest, int* len, const char** source, char* extra)
{
    Trace(trace_withdraw);
    std::optional<int> status;
    if (Is_Any_Pkt() != 0) {
        const MutexLock consumer(m_lock_withdraw);
        char* buffer = nullptr;
        status = Lend_Oldest(&buffer, len, source, extra);
        if (status) {
            std::memcpy(dest, buffer, at(*len));
            const MutexLock lock(m_lock);
            Advance_Withdraw();
        }
    }
    Trace(trace_withdraw + trace_exit);
    return status.value_or(-1);
}

int CMss_Arr::Init_Withdraw(char** buffer, int* len, const char** source, char* extra)
{
    Trace(trace_init_withdraw);
    std::optional<int> status;
    if (Is_Any_Pkt() != 0) {
        m_lock_withdraw.lock();
        status = Lend_Oldest(buffer, len, source, extra);
        if (!status) {
            m_lock_withdraw.unlock();
        }
    }
    Trace(trace_init_withdraw + trace_exit);
    return status.value_or(-1);
}

void CMss_Arr::Take_Withdraw()
{
    Trace(trace_take_withdraw);
    {
        const MutexLock lock(m_lock);
        m_records[at(m_next_withdraw.load(relaxed))].touched = m_rec_len;
        Advance_Withdraw();
    }
    m_lock_withdraw.unlock();
    Trace(trace_take_withdraw + trace_exit);
}

void CMss_Arr::Dropped()
{
    if (Is_Any_Pkt() == 0) {
        return;
    }
    const MutexLock consumer(m_lock_withdraw);
    const MutexLock lock(m_lock);
    if (Is_Any_Pkt() != 0) {
        Count_Removed(m_records[at(m_next_withdraw.load(relaxed))].len, m_dropped);
        Advance_Withdraw();
    }
}

void CMss_Arr::Initialize()
{
    Trace(trace_initialize);
    {
        const MutexLock consumer(m_lock_withdraw);
        const MutexLock producer(m_lock_collect);
        const MutexLock lock(m_lock);
        Reset();
    }
    Trace(trace_initialize + trace_exit);
}

void CMss_Arr::Initialize_Keeping(int status)
{
    Trace(trace_initialize);
    {
        const MutexLock consumer(m_lock_withdraw);
        const MutexLock producer(m_lock_collect);
        const MutexLock lock(m_lock);
        const int kept = Gather(status);
        Reset();
        for (int i = 0; i < kept; ++i) {
            m_next_collect.store(Next(i), relaxed);
            if (m_records[at(i)].len > CMSS_SHORT_RECORD) {
                add(m_collected, 1U);
                add(m_pending, 1U);
            }
            sem_post(&m_sem);
        }
    }
    Trace(trace_initialize + trace_exit);
}

int CMss_Arr::Wait_For_Any_Pkt()
{
    Trace(trace_wait);
    while (sem_wait(&m_sem) != 0 && errno == EINTR) {
    }
    Trace(trace_wait);
    return Holds_Any_Pkt();
}

int CMss_Arr::Check_For_Any_Pkt_Without_Wait()
{
    return Try_Wait() ? Holds_Any_Pkt() : 0;
}

// The answer behind a post that was taken. A ring that looks empty is looked at again under the lock: to go round again
// beside a record would leave it there without a post.
int CMss_Arr::Holds_Any_Pkt()
{
    if (Is_Any_Pkt() != 0) {
        return 1;
    }
    const MutexLock lock(m_lock);
    return Is_Any_Pkt();
}

// The post of a record carries its indices along, so a consumer that has waited sees it; anybody else may see it late.
// The order of the loads matters while a wrapped ring grows, which moves both indices: with the new m_next_collect
// comes the new m_next_withdraw, and the old m_next_collect equals neither. The other way round a ring full of records
// could look empty, and the stop among them would never be taken.
int CMss_Arr::Is_Any_Pkt() const
{
    const int next_collect = m_next_collect.load(std::memory_order_acquire);
    return m_next_withdraw.load(relaxed) != next_collect ? 1 : 0;
}

int CMss_Arr::Change_Type(int type)
{
    const MutexLock lock(m_lock);
    return std::exchange(m_type, type);
}

// Live records that wrap keep their order by moving the older part, from m_next_withdraw on, to the end of the new
// table; the new slots open between the two parts.
void CMss_Arr::Resize(int num_recs)
{
    const int before = m_num_recs.load(relaxed);
    const int added = num_recs - before;
    if (added <= 0) {
        return;
    }
    m_records.resize(at(num_recs));
    const int oldest = m_next_withdraw.load(relaxed);
    if (m_next_collect.load(relaxed) < oldest) {
        std::rotate(m_records.begin() + oldest, m_records.begin() + before, m_records.end());
        for (int i = 0; i < m_transaction; ++i) {
            if (m_transaction_array[i] >= oldest) {
                m_transaction_array[i] += added;
            }
        }
        m_next_withdraw.store(oldest + added, relaxed);
    }
    m_num_recs.store(num_recs, relaxed);
}

// Several threads shift at once and a step may get lost: good enough for a trace, and no cost.
void CMss_Arr::Trace(unsigned step)
{
    m_flag.store(m_flag.load(relaxed) << 4 | step, relaxed);
}

// A buffer is made when its slot is first used: a ring that doubles holds up nobody for as long as it takes to make as
// many again.
Mss_Rec& CMss_Arr::Free_Slot()
{
    Mss_Rec& slot = m_records[at(m_next_collect.load(relaxed))];
    if (slot.buf == nullptr) {
        slot.buf = std::make_unique<char[]>(at(m_rec_len));
    }
    return slot;
}

// Returns by how many bytes `len` exceeds a record.
int CMss_Arr::Set_Length(Mss_Rec& slot, int len) const
{
    slot.len = std::clamp(len, 0, m_rec_len);
    return std::max(len - m_rec_len, 0);
}

// Readers take the rest of the slot for the end of a text, so it is zero; most of it still is from the last time.
void CMss_Arr::Fill(Mss_Rec& slot, const char* data) const
{
    if (slot.len > 0) {
        std::memcpy(slot.buf.get(), data, at(slot.len));
    }
    if (slot.touched > slot.len) {
        std::memset(slot.buf.get() + slot.len, 0, at(slot.touched - slot.len));
    }
    slot.touched = slot.len;
}

// Posts after m_lock is free, so that a consumer woken by it doesn't run into the lock, and before m_lock_collect is,
// so that Initialize finds the posts and the records in step (a post that is held only sends the consumer round again
// if its record is gone by then). The operation's exit is noted first: afterwards the words
// that both sides write belong to the consumer's processor.
void CMss_Arr::Publish(int len, unsigned step)
{
    bool posted = false;
    {
        const MutexLock lock(m_lock);
        Advance_Collect();
        posted = Count_Collected(len);
        Trace(step + trace_exit);
    }
    if (posted) {
        Post();
    }
}

void CMss_Arr::Post()
{
    if (!PostsHeld::Holds(*this)) {
        sem_post(&m_sem);
    }
}

// A full ring of CMSS_NOT_OUTPUT steps onto its oldest record and so forgets all it holds, but not while a consumer
// reads that record: then it grows too, since the slot's next producer would write under the reader's eyes.
void CMss_Arr::Advance_Collect()
{
    int next = Next(m_next_collect.load(relaxed));
    if (next == m_next_withdraw.load(relaxed) && (m_type != CMSS_NOT_OUTPUT || m_lent)) {
        Resize(m_num_recs.load(relaxed) * 2);
        next = m_next_collect.load(relaxed) + 1;
    }
    m_next_collect.store(next, std::memory_order_release);
}

// Returns whether the record is to be announced.
bool CMss_Arr::Count_Collected(int len)
{
    if (m_transaction != 0) {
        ++m_transaction_pending;
        Glb_Tot_Simulated_Collections.fetch_add(1, relaxed);
        return false;
    }
    if (len > CMSS_SHORT_RECORD) {
        add(m_collected, 1U);
        add(m_pending, 1U);
    }
    return true;
}

std::optional<int> CMss_Arr::Lend_Oldest(char** buffer, int* len, const char** source, char* extra)
{
    const MutexLock lock(m_lock);
    if (Is_Any_Pkt() == 0) {
        return std::nullopt;
    }
    const Mss_Rec& record = m_records[at(m_next_withdraw.load(relaxed))];
    *buffer = record.buf.get();
    *len = record.len;
    if (source != nullptr) {
        *source = record.source;
    }
    if (extra != nullptr) {
        std::memcpy(extra, record.extra_data, sizeof record.extra_data);
    }
    m_lent = true;
    Count_Removed(record.len, m_withdrawn);
    return record.status;
}

void CMss_Arr::Advance_Withdraw()
{
    m_lent = false;
    m_next_withdraw.store(Next(m_next_withdraw.load(relaxed)), relaxed);
}

// Records of a transaction were never counted as pending, so they can't be taken off it.
void CMss_Arr::Count_Removed(int len, std::atomic<unsigned>& removed)
{
    if (len <= CMSS_SHORT_RECORD) {
        add(m_data_packets, 1U);
        return;
    }
    add(removed, 1U);
    if (m_pending.load(relaxed) > 0) {
        add(m_pending, -1U);
    }
}

bool CMss_Arr::Try_Wait()
{
    int result = 0;
    while ((result = sem_trywait(&m_sem)) != 0 && errno == EINTR) {
    }
    return result == 0;
}

void CMss_Arr::Reset()
{
    while (Try_Wait()) {
    }
    for (auto* counter : {&m_collected, &m_withdrawn, &m_pending, &m_dropped}) {
        counter->store(0, relaxed);
    }
    m_next_withdraw.store(0, relaxed);
    m_next_collect.store(0, relaxed);
}

// Brings the live records of `status` to the front of the table, in order, and returns how many there are.
int CMss_Arr::Gather(int status)
{
    const int slots = m_num_recs.load(relaxed);
    const int oldest = m_next_withdraw.load(relaxed);
    const int live = (m_next_collect.load(relaxed) - oldest + slots) % slots;
    const auto begin = m_records.begin();
    std::rotate(begin, begin + oldest, m_records.end());
    const auto kept_end =
        std::stable_partition(begin, begin + live, [status](const Mss_Rec& record) { return record.status == status; });
    return static_cast<int>(kept_end - begin);
}
