// The connection's descriptor, requests to its thread, and what both lives of that thread share.
#include "transport/dcon.h"

#include "system_seam.h"
#include "thrct.h"
#include "transport/inbound_door.h"
#include "transport/transport_clock.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <sys/eventfd.h>
#include <unistd.h>

ProcessLifetime<DCON_DESCR> glb_DCon_DESCR([] { return new DCON_DESCR; });

std::atomic<unsigned> Glb_connection_retry_wait{DEFAULT_CONNECTION_RETRY_WAIT};

const char* DCON_Status_Word(int state)
{
    static constexpr std::array<const char*, 7> words{"None",         "Opening at", "Trying since", "Open init",
                                                      "Connected at", "Closing at", "Terminating"};
    const auto index = static_cast<unsigned>(state);
    return index < words.size() ? words[index] : words[0];
}

void WakeUp::Open()
{
    const MutexLock lock(m_lock);
    if (m_descriptor < 0) {
        m_descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    }
}

void WakeUp::Close()
{
    const MutexLock lock(m_lock);
    if (m_descriptor >= 0) {
        close(m_descriptor);
        m_descriptor = -1;
    }
}

void WakeUp::Ring()
{
    const MutexLock lock(m_lock);
    if (m_descriptor >= 0) {
        eventfd_write(m_descriptor, 1);
    }
}

void WakeUp::Drain()
{
    eventfd_t rings = 0;
    eventfd_read(m_descriptor, &rings);
}

void DCON_Request(DCON_DESCR& descr, int request)
{
    if (request == DCON_NEXT_STATE_TERMINATE) {
        descr.DCON_terminate.store(request);
    } else {
        int none = DCON_NEXT_STATE_VOID;
        descr.DCON_terminate.compare_exchange_strong(none, request);
    }
    descr.wake_up.Ring();
}

void DCON_Clear_Request(DCON_DESCR& descr)
{
    descr.DCON_terminate.store(DCON_NEXT_STATE_VOID);
}

void DCON_Set_Expire_Time(DCON_DESCR& descr, unsigned short seconds)
{
    const TransportLock lock(descr.DCON_lock);
    descr.DWsock.SetExpireTime(seconds);
}

void DCON_Set_Expire_Time(DCON_DESCR& descr, unsigned connection, unsigned short seconds)
{
    const TransportLock lock(descr.DCON_lock);
    if (descr.DWsock.Connection_Number() == connection) {
        descr.DWsock.SetExpireTime(seconds);
    }
}

void DCON_Restart_Connection(DCON_DESCR& descr, unsigned connection)
{
    const TransportLock lock(descr.DCON_lock);
    if (descr.DWsock.Connection_Number() == connection && descr.DWsock.GetState() == CONN_STATE_OPENED) {
        DCON_Request(descr, DCON_NEXT_STATE_RESTART);
    }
}

void DCON_Compression_Test(DCON_DESCR& descr, const char* data, unsigned short len)
{
    const TransportLock lock(descr.DCON_lock);
    descr.DWsock.Compression_Test(data, len);
}

namespace {

void prepare_socket(DCON_DESCR& descr)
{
    const TransportLock lock(descr.DCON_lock);
    const int listen_port = descr.fhost[0] == 0 ? descr.tcp_port[0] : 0; // a client listens nowhere
    descr.DWsock.Create(listen_port, descr.use_ssl);
    descr.DWsock.Set_Send_Mode(static_cast<unsigned short>(descr.modesend));
    descr.DWsock.Set_Ring(descr.pRecv_Mss);
    descr.DWsock.Set_Identity(descr.id_ptr, descr.id_len);
}

} // namespace

void* DCON_Init(void* descr)
{
    DCON_DESCR& connection = *static_cast<DCON_DESCR*>(descr);
    const CountedThread counted;
    connection.wake_up.Open();
    prepare_socket(connection);
    if (connection.fhost[connection.current_host] != 0) {
        DCON_Process(connection);
    } else {
        DCON_Attend(connection);
    }
    connection.wake_up.Close();
    return nullptr;
}

namespace {

// A moment of the tick counter. A count that falls ends the waiting: it is a new one.
class DeadLine
{
public:
    explicit DeadLine(int seconds) : m_start(COMMON_SYS_Times(&m_per_second))
    {
        m_end = m_start + std::int64_t{seconds} * m_per_second;
    }

    // What is left, zero when the moment has come.
    [[nodiscard]] timeval Left() const
    {
        int per_second = 1;
        const std::int64_t now = COMMON_SYS_Times(&per_second);
        const std::int64_t ticks = now >= m_start ? std::max<std::int64_t>(m_end - now, 0) : 0;
        timeval left{};
        left.tv_sec = static_cast<time_t>(ticks / m_per_second);
        left.tv_usec = static_cast<suseconds_t>(ticks % m_per_second * 1'000'000 / m_per_second);
        return left;
    }
    [[nodiscard]] bool Has_Come() const
    {
        const timeval left = Left();
        return left.tv_sec == 0 && left.tv_usec == 0;
    }

private:
    int m_per_second = 1;
    std::int64_t m_start;
    std::int64_t m_end = 0;
};

struct Socket_Now
{
    int descriptor;
    int state;
};

Socket_Now socket_now(DCON_DESCR& descr)
{
    const TransportLock lock(descr.DCON_lock);
    return {descr.DWsock.Get_Sockfd(), descr.DWsock.GetState()};
}

// One wait for the socket and for a ring of the bell; true if the socket is ready.
bool wait_once(DCON_DESCR& descr, int descriptor, short events, timeval span)
{
    std::array<pollfd, 2> waited{{{descr.wake_up.Descriptor(), POLLIN, 0}, {descriptor, events, 0}}};
    System().wait_ready(waited.data(), events != 0 ? 2 : 1, span);
    if (waited[0].revents != 0) {
        descr.wake_up.Drain();
    }
    return waited[1].revents != 0;
}

} // namespace

bool qapi::Wait_For_Socket(DCON_DESCR& descr, short events, int seconds)
{
    const DeadLine end(seconds);
    while (!end.Has_Come() && descr.DCON_terminate.load() == DCON_NEXT_STATE_VOID) {
        const Socket_Now now = socket_now(descr);
        if (now.state == CONN_STATE_DELETING) {
            return true;
        }
        if (wait_once(descr, now.descriptor, events, end.Left())) {
            return true;
        }
    }
    return false;
}

void qapi::Pause(DCON_DESCR& descr, int seconds)
{
    const DeadLine end(seconds);
    while (!end.Has_Come() && descr.DCON_terminate.load() != DCON_NEXT_STATE_TERMINATE) {
        wait_once(descr, -1, 0, end.Left());
    }
}

int qapi::Look_At_Socket(DCON_DESCR& descr)
{
    const TransportLock lock(descr.DCON_lock);
    descr.DWsock.Control(Transport_Seconds()); // reads what there is
    descr.DWsock.Sock_Check(false);
    return descr.DWsock.GetState();
}

// Behind the end of sending the system calls the socket writable for good.
short qapi::Events_Of_Interest(const DCON_DESCR& descr)
{
    const bool data_waits = descr.DWsock.MssPending() != 0 && descr.DWsock.GetState() == CONN_STATE_OPENED;
    return static_cast<short>(data_waits ? POLLIN | POLLOUT : POLLIN);
}

namespace {

// Nobody takes messages from the ring any more, and a peer may go on sending them for all the time of the closing.
void stop_delivering(DCON_DESCR& descr)
{
    const TransportLock lock(descr.DCON_lock);
    descr.DWsock.Deliver_No_More();
}

} // namespace

void qapi::Close_Socket(DCON_DESCR& descr)
{
    const TransportLock lock(descr.DCON_lock);
    descr.DWsock.DoClose(WSOCK_CLOSED_HERE);
}

namespace {

bool all_is_sent(DCON_DESCR& descr)
{
    if (descr.sender_running.load()) {
        return false;
    }
    const TransportLock lock(descr.DCON_lock);
    return descr.DWsock.Queued_Bytes() == 0;
}

void stop_sender(DCON_DESCR& descr)
{
    descr.pSend_Mss->Collect(TCP_SHUTTING_DOWN, nullptr, 0, nullptr, nullptr);
}

// The last messages of a session (that this machine goes off, the latest orders) stand in the ring when the stop comes.
// The sender ends behind them, on the stop record.
void let_sender_finish(DCON_DESCR& descr)
{
    if (descr.DWsock.GetState() != CONN_STATE_OPENED) {
        return;
    }
    stop_sender(descr);
    const DeadLine end(DCON_LAST_RECORDS_TIME);
    while (!end.Has_Come() && !all_is_sent(descr)) {
        wait_once(descr, socket_now(descr).descriptor, Events_Of_Interest(descr), end.Left());
        if (Look_At_Socket(descr) != CONN_STATE_OPENED) {
            return;
        }
    }
}

// Each ring's consumer ends on the first stop record that it takes.
void post_stop_records(DCON_DESCR& descr)
{
    DCON_Put_Message_In_Recv_Array(descr.pRecv_Mss, TCP_SHUTTING_DOWN, descr.id_ptr, descr.id_len, descr.id_ptr,
                                   nullptr, 0, 0);
    stop_sender(descr);
    if (descr.pLog_Mss != nullptr) {
        descr.pLog_Mss->Collect(TCP_SHUTTING_DOWN, nullptr, 0, nullptr, nullptr);
    }
}

// The peer has some seconds to close too; Control ends it if it doesn't.
void wait_until_closed(DCON_DESCR& descr)
{
    while (descr.DWsock.GetState() != CONN_STATE_DELETING) {
        wait_once(descr, socket_now(descr).descriptor, POLLIN, {.tv_sec = 1, .tv_usec = 0});
        Look_At_Socket(descr);
    }
}

} // namespace

void qapi::End_Connection(DCON_DESCR& descr)
{
    descr.DCON_state = DCON_ST_CLOSE;
    let_sender_finish(descr);
    descr.DCON_state = DCON_ST_TERMIN;
    post_stop_records(descr);
    stop_delivering(descr);
    Close_Socket(descr);
    wait_until_closed(descr);
}

int GetCompilationPlatform(char* word)
{
    static constexpr char linux_word[] = "Linux";
    std::memcpy(word, linux_word, sizeof linux_word);
    return 1;
}
