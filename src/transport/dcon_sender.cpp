// The sender thread: takes records from the outbound ring and frames them in the socket's queue. What waits in the ring
// goes into the queue together and leaves with one system call.
#include "transport/dcon.h"

#include "system_seam.h"
#include "thrct.h"
#include "transport/inbound_door.h"

#include <algorithm>
#include <array>

namespace {

// Steps of the trace word.
constexpr unsigned step_wait = 1;
constexpr unsigned step_take = 2;
constexpr unsigned step_send = 3;
constexpr unsigned step_no_room = 4;
constexpr unsigned step_help = 5;
constexpr unsigned step_end = 6;

constexpr int records_at_once = 40; // fill the queue, and the lock is given up in between

// Microseconds between two looks at a socket that refused data; each look that finds nothing doubles them.
constexpr long shortest_wait = 100;
constexpr long longest_wait = 10'000;

class Sender
{
public:
    explicit Sender(DCON_DESCR& descr) : m_descr(descr) {}

    void Run()
    {
        do {
            Trace(step_wait);
            if (m_descr.pSend_Mss->Wait_For_Any_Pkt() == 0) {
                continue;
            }
            Trace(step_take);
            if (Take()) {
                Send();
                Help();
            }
        } while (!m_stopped);
        Trace(step_end);
    }

private:
    void Trace(unsigned step)
    {
        m_descr.send_flag.store(m_descr.send_flag.load(std::memory_order_relaxed) << 4 | step,
                                std::memory_order_relaxed);
    }

    // True with a record to send.
    bool Take()
    {
        std::array<char, CMSS_EXTRA_LEN> extra{};
        const int status = m_descr.pSend_Mss->Withdraw(m_record.data(), &m_len, nullptr, extra.data());
        m_connection = Load_News(extra.data()).connection;
        m_stopped = m_stopped || status == TCP_SHUTTING_DOWN;
        return status >= 0 && status != TCP_SHUTTING_DOWN;
    }

    // While the connection is open no record is dropped: without room it is kept until there is some. The socket tells
    // that it is open a moment ahead of the connection thread's state. A record without bytes would be an alive signal,
    // which looks like a want of room; nobody sends one.
    void Send()
    {
        Trace(step_send);
        m_wait = shortest_wait;
        while (!Queue_What_Waits() && m_descr.DWsock.GetState() == CONN_STATE_OPENED) {
            Trace(step_no_room);
            Wait_And_Look();
            m_descr.DCON_pauses.fetch_add(1, std::memory_order_relaxed);
        }
    }

    // Queues the record at hand and those behind it. False if the one at hand found no room.
    bool Queue_What_Waits()
    {
        const TransportLock lock(m_descr.DCON_lock);
        bool queued = Queue_One();
        for (int taken = 1; queued && taken < records_at_once && Take_Another(); ++taken) {
            queued = Queue_One();
        }
        m_descr.DWsock.Send_Queued();
        return queued;
    }

    bool Queue_One()
    {
        const auto len = static_cast<unsigned short>(m_len);
        if (m_len == 0 || Is_Of_Another_Connection() || m_descr.DWsock.Queue_Record(m_record.data(), len) != 0) {
            return true;
        }
        m_descr.DWsock.Send_Queued();
        return m_descr.DWsock.Queue_Record(m_record.data(), len) != 0;
    }

    // What was queued in the session of one connection is no business of the next. A record without a number belongs to
    // whatever connection stands.
    bool Is_Of_Another_Connection() { return m_connection != 0 && m_connection != m_descr.DWsock.Connection_Number(); }

    bool Take_Another() { return m_descr.pSend_Mss->Check_For_Any_Pkt_Without_Wait() != 0 && Take(); }

    // Helps to push out what the system refused, until there is more to add.
    void Help()
    {
        Trace(step_help);
        m_wait = shortest_wait;
        while (m_descr.DWsock.MssPending() != 0 && m_descr.DWsock.GetState() == CONN_STATE_OPENED &&
               m_descr.pSend_Mss->Is_Any_Pkt() == 0) {
            Wait_And_Look();
            m_descr.DCON_mpauses.fetch_add(1, std::memory_order_relaxed);
        }
    }

    void Wait_And_Look()
    {
        WSocket::WaitForSend(Descriptor(), 0, m_wait);
        m_wait = std::min(m_wait * 2, longest_wait);
        {
            const TransportLock lock(m_descr.DCON_lock);
            m_descr.DWsock.Sock_Check();
        }
        if (m_descr.DWsock.GetState() != CONN_STATE_OPENED) {
            m_descr.wake_up.Ring(); // it waits for a socket that may be closed by now
        }
    }

    int Descriptor()
    {
        const TransportLock lock(m_descr.DCON_lock);
        return m_descr.DWsock.Get_Sockfd();
    }

    DCON_DESCR& m_descr;
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> m_record;
    int m_len = 0;
    std::uint32_t m_connection = 0; // that the record belongs to, 0 for any
    long m_wait = shortest_wait;
    bool m_stopped = false;
};

} // namespace

void* DCON_Do_Send(void* descr)
{
    DCON_DESCR& connection = *static_cast<DCON_DESCR*>(descr);
    connection.sender_running = true; // before the thread that starts this one goes on
    {
        const CountedThread counted;
        Sender(connection).Run();
        connection.sender_running = false;
        connection.wake_up.Ring();
    }
    return nullptr;
}
