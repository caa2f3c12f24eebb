// The connection driver: the thread that owns the life of the one connection, and the sender thread. They speak to the
// rest of the library only through rings.
//
// The connection thread opens the socket, goes through the configured servers, watches the time-outs, runs the clock
// check and connects again for ever, until it is asked to end. A host gets four failed attempts before the next one is
// tried; a connection that falls within 15 seconds counts as a failed attempt.
#pragma once

#include "arrm.h"
#include "global.h"
#include "mutex.h"
#include "qcapi/support.h"
#include "transport/envelope.h"
#include "transport/wsock.h"

#include <atomic>
#include <cstdint>

// States of the connection, and their words for people, indexed by the state.
inline constexpr int DCON_ST_OPENING = 1;
inline constexpr int DCON_ST_OPENCHK = 2;
inline constexpr int DCON_ST_NORMCON = 4;
inline constexpr int DCON_ST_CLOSE = 5;
inline constexpr int DCON_ST_TERMIN = 6;
inline constexpr int DCON_ST_CLOSE_AND_RESTART = 7;

// The word of a state; "None" for one that has none.
const char* DCON_Status_Word(int state);

// Requests to the connection thread.
inline constexpr int DCON_NEXT_STATE_VOID = 0;
inline constexpr int DCON_NEXT_STATE_TERMINATE = 1;
inline constexpr int DCON_NEXT_STATE_RESTART = 2;

// Seconds.
inline constexpr int DCON_SLEEP_TIME = 1;
inline constexpr int DEFAULT_CONNECTION_RETRY_WAIT = DCON_SLEEP_TIME;
inline constexpr int DCON_TICKING_SPAN_TIME = 2;        // between two looks at an open connection
inline constexpr int DCON_LISTENER_SPAN_TIME = 5;       // the same for a listener
inline constexpr int DCON_SHORT_CONNECTION_TIME = 15;   // a connection that falls earlier is a failed attempt
inline constexpr int DCON_LAST_RECORDS_TIME = 2;        // for the sender to finish when the session stops
extern std::atomic<unsigned> Glb_connection_retry_wait; // behind a failed attempt; nothing changes it

inline constexpr int DCON_MAX_CONNECT_CHECKS = 5; // looks at a connect that is under way, a second apart
inline constexpr int DCON_MAX_HOST_ATTEMPTS = 3;  // failures of one host above which the next one's turn comes

namespace qapi {

// A lock whose waiters come in turn: whoever gives it up and wants it again at once, as the connection thread does
// under heavy traffic, comes behind the one that waits.
class CAPABILITY("mutex") FairMutex
{
public:
    void lock() ACQUIRE()
    {
        m_turn.lock();
        m_lock.lock();
        m_turn.unlock();
    }
    void unlock() RELEASE() { m_lock.unlock(); }

private:
    std::mutex m_turn;
    std::mutex m_lock;
};

// Holds the lock. Reports raised meanwhile are delivered behind it, since delivering waits for the host, and so are
// consumers of the rings woken, since the next thing that a reader and the sender do is to want the lock.
class SCOPED_CAPABILITY TransportLock
{
public:
    explicit TransportLock(FairMutex& mutex) ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~TransportLock() RELEASE() { m_mutex.unlock(); }
    TransportLock(const TransportLock&) = delete;
    TransportLock& operator=(const TransportLock&) = delete;

private:
    ReportHold m_reports; // these two go behind the body of the destructor, and so behind the unlock
    PostsHeld m_posts;
    FairMutex& m_mutex;
};

// Wakes the connection thread. The descriptor exists while the thread runs.
class WakeUp
{
public:
    void Open();
    void Close();
    void Ring();                                                  // from any thread
    void Drain();                                                 // by the connection thread
    [[nodiscard]] int Descriptor() const { return m_descriptor; } // for the connection thread

private:
    Mutex m_lock; // keeps the descriptor while it is rung
    int m_descriptor = -1;
};

} // namespace qapi

using qapi::FairMutex;
using qapi::TransportLock;
using qapi::WakeUp;

struct DCON_DESCR
{
    // Filled by the API before the threads start.
    unsigned number_of_hosts = 0;                     // index of the last filled entry of fhost, not a count
    std::uint32_t fhost[DCON_MAX_DS_SERVERS] = {};    // IPv4 addresses in network order; 0 means not set
    std::uint16_t tcp_port[DCON_MAX_DS_SERVERS] = {}; // host order, same index
    int modesend = DEFAULT_MODE_SEND;
    int use_ssl = 0;
    int ticking_message = 0; // not 0 asks for TCP_TICKING_MESSAGE records
    int expire_time = 0;     // if not 0, the time-outs of every connection are set from it
    CMss_Arr* pRecv_Mss = nullptr;
    CMss_Arr* pSend_Mss = nullptr;
    CMss_Arr* pLog_Mss = nullptr;
    const char* id_ptr = Glb_DS_Id;
    int id_len = 1;

    // Written by the connection thread, read by others for reports.
    std::atomic<unsigned> current_host{0};
    std::atomic<int> DCON_state{0};

    std::atomic<int> DCON_terminate{DCON_NEXT_STATE_VOID}; // changed through DCON_Request alone

    // Written by the sender thread: how often it waited for room in the queue and for the queue to leave, and its last
    // eight steps, four bits each, for post-mortem reading.
    std::atomic<int> DCON_pauses{0};
    std::atomic<int> DCON_mpauses{0};
    std::atomic<unsigned> send_flag{0};
    std::atomic<bool> sender_running{false};

    WakeUp wake_up;

    FairMutex DCON_lock; // all use of DWsock but its state word and its counters of connections
    WSocket DWsock;
    const std::atomic<int>* sock_state = DWsock.State_Word();
};

// The API's constructor gives it its rings, and each Initialize its hosts, before threads run on it.
extern ProcessLifetime<DCON_DESCR> glb_DCon_DESCR;

// Asks the connection thread for the next state and wakes it. A termination stays until DCON_Clear_Request; a restart
// only takes the place of no request at all.
void DCON_Request(DCON_DESCR& descr, int request);

// Before the threads of a session start, in the thread that starts them.
void DCON_Clear_Request(DCON_DESCR& descr);

// Asks for a restart if this connection still stands; from any thread.
void DCON_Restart_Connection(DCON_DESCR& descr, unsigned connection);

// Sets the time-outs of the open connection and of those behind it, the second form only if it is still this one; from
// any thread.
void DCON_Set_Expire_Time(DCON_DESCR& descr, unsigned short seconds);
void DCON_Set_Expire_Time(DCON_DESCR& descr, unsigned connection, unsigned short seconds);

void* DCON_Init(void* descr);    // thread function of the connection thread
void* DCON_Do_Send(void* descr); // thread function of the sender thread

// Forwards to WSocket::Compression_Test, which measures with dictionaries of its own.
void DCON_Compression_Test(DCON_DESCR& descr, const char* data, unsigned short len);

// Writes the platform word of the version report; `word` must hold 16 bytes.
int GetCompilationPlatform(char* word);

// The two lives of a connection thread (dcon_client.cpp, dcon_listener.cpp); they return when it is to end.
void DCON_Process(DCON_DESCR& descr);
void DCON_Attend(DCON_DESCR& descr);

namespace qapi {

// ---- What the two share (dcon.cpp), for the connection thread alone

// Waits for the socket (`events` of poll), for a request or for the end of the connection, at most so long. Returns
// whether the socket has something to look at.
bool Wait_For_Socket(DCON_DESCR& descr, short events, int seconds);

// What an open connection is waited for: its data, and room for ours if the system refused some.
short Events_Of_Interest(const DCON_DESCR& descr);

// Lets so many seconds pass; a request to end cuts them short.
void Pause(DCON_DESCR& descr, int seconds);

// Reads, sends, watches: Control and Sock_Check. Returns the socket's state.
int Look_At_Socket(DCON_DESCR& descr);

// Closes with the reason of this end, if nobody else has begun to.
void Close_Socket(DCON_DESCR& descr);

// All that lies between a request to end and the end of the thread: gives the sender some time for what is still to be
// sent, posts the stop records, closes.
void End_Connection(DCON_DESCR& descr);

} // namespace qapi

using qapi::Close_Socket;
using qapi::End_Connection;
using qapi::Events_Of_Interest;
using qapi::Look_At_Socket;
using qapi::Pause;
using qapi::Wait_For_Socket;
