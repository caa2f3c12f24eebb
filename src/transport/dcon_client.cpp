// The connection thread of a client: connects, goes through the hosts, looks after the connection, connects again.
#include "transport/dcon.h"

#include "transport/clock_check.h"
#include "transport/inbound_door.h"
#include "transport/transport_clock.h"

#include <poll.h>

namespace {

class Client
{
public:
    explicit Client(DCON_DESCR& descr) : m_descr(descr) {}

    void Run()
    {
        m_descr.current_host = 0;
        Go_To(DCON_ST_OPENING);
        while (!Asked_To_End()) {
            Take_Restart();
            Act();
        }
        End_Connection(m_descr);
    }

private:
    void Go_To(int state) { m_descr.DCON_state = state; }

    [[nodiscard]] bool Asked_To_End() const { return m_descr.DCON_terminate.load() == DCON_NEXT_STATE_TERMINATE; }

    void Take_Restart()
    {
        int request = DCON_NEXT_STATE_RESTART;
        if (m_descr.DCON_terminate.compare_exchange_strong(request, DCON_NEXT_STATE_VOID)) {
            Go_To(DCON_ST_CLOSE_AND_RESTART);
        }
    }

    void Act()
    {
        switch (m_descr.DCON_state) {
        case DCON_ST_OPENING:
            Open();
            break;
        case DCON_ST_OPENCHK:
            Check_Opening();
            break;
        case DCON_ST_CLOSE_AND_RESTART: // the open state then sees the connection fall
            Go_To(DCON_ST_NORMCON);
            Close_Socket(m_descr);
            break;
        default:
            Look_After();
            break;
        }
    }

    void Open()
    {
        const unsigned host = m_descr.current_host;
        m_started = Transport_Seconds();
        m_checks = 0;
        L_process_last_time = 0;
        {
            const TransportLock lock(m_descr.DCON_lock);
            m_descr.DWsock.Set_Host_Index(host);
            m_descr.DWsock.Connect(m_descr.fhost[host], m_descr.tcp_port[host]);
        }
        Go_To(DCON_ST_OPENCHK);
    }

    void Check_Opening()
    {
        switch (Check_Socket()) {
        case CONN_STATE_OPENED:
            Go_To(DCON_ST_NORMCON);
            break;
        case CONN_STATE_OPENNING:
            if (++m_checks < DCON_MAX_CONNECT_CHECKS) {
                Wait_For_Socket(m_descr, POLLOUT, DCON_SLEEP_TIME);
                break;
            }
            [[fallthrough]];
        default:
            Attempt_Failed();
            break;
        }
    }

    int Check_Socket()
    {
        const TransportLock lock(m_descr.DCON_lock);
        m_descr.DWsock.Sock_Check();
        if (m_descr.DWsock.GetState() == CONN_STATE_OPENED) {
            if (m_descr.expire_time != 0) {
                m_descr.DWsock.SetExpireTime(static_cast<unsigned short>(m_descr.expire_time));
            }
            DCON_Format_time_message();
        }
        return m_descr.DWsock.GetState();
    }

    void Look_After()
    {
        Wait_For_Socket(m_descr, Events_Of_Interest(m_descr), DCON_TICKING_SPAN_TIME);
        const int state = Look_At_Socket(m_descr);
        L_process_this_time = Transport_Seconds();
        if (state != CONN_STATE_DELETING) {
            Do_What_Is_Due();
        } else if (L_process_this_time - m_started >= DCON_SHORT_CONNECTION_TIME) {
            Pause(m_descr, DCON_SLEEP_TIME);
            Go_To(DCON_ST_OPENING);
        } else {
            Attempt_Failed();
        }
    }

    void Do_What_Is_Due()
    {
        if (L_process_this_time > L_next_check_time) {
            DCON_Format_time_message();
        }
        if (m_descr.ticking_message != 0 && L_process_this_time >= L_process_last_time) {
            L_process_last_time = L_process_this_time + DCON_TICKING_SPAN_TIME;
            DCON_Put_Message_In_Recv_Array(m_descr.pRecv_Mss, TCP_TICKING_MESSAGE, m_descr.id_ptr, m_descr.id_len,
                                           m_descr.id_ptr, nullptr, 0, 0);
        }
    }

    // Failures of a host add up over connections that held a moment only: that is how a server that accepts and drops
    // is left behind.
    void Attempt_Failed()
    {
        if (++m_failures > DCON_MAX_HOST_ATTEMPTS) {
            m_failures = 0;
            m_descr.current_host = m_descr.current_host < m_descr.number_of_hosts ? m_descr.current_host + 1 : 0;
        }
        Pause(m_descr, static_cast<int>(Glb_connection_retry_wait.load()));
        Go_To(DCON_ST_OPENING);
    }

    DCON_DESCR& m_descr;
    int m_checks = 0;       // of the connect that is under way
    int m_failures = 0;     // of the current host
    unsigned m_started = 0; // when the latest connect began
};

} // namespace

void DCON_Process(DCON_DESCR& descr)
{
    Client(descr).Run();
}
