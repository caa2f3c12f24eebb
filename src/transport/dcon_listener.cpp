// The connection thread of a listener: waits for one peer at a time, on the port of the first server.
#include "transport/dcon.h"

#include <poll.h>

namespace {

class Listener
{
public:
    explicit Listener(DCON_DESCR& descr) : m_descr(descr) {}

    void Run()
    {
        Go_To(DCON_ST_OPENING);
        while (!Asked_To_End(&m_descr)) {
            Take_Restart();
            Act();
        }
        End_Connection(m_descr);
    }

private:
    void Go_To(int state) { m_descr.DCON_state = state; }

    static bool Asked_To_End(void* descr)
    {
        return static_cast<DCON_DESCR*>(descr)->DCON_terminate.load() == DCON_NEXT_STATE_TERMINATE;
    }
    static bool May_Go_On(void* descr) { return !Asked_To_End(descr); }

    // A restart stays in force until somebody clears it: the listener starts again and again, a second apart.
    void Take_Restart()
    {
        if (m_descr.DCON_terminate.load() == DCON_NEXT_STATE_RESTART) {
            Pause(m_descr, m_restarting ? DCON_SLEEP_TIME : 0);
            m_restarting = true;
            Go_To(DCON_ST_OPENING);
        } else {
            m_restarting = false;
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
        default:
            Look_After();
            break;
        }
    }

    // The port may be taken for a while, so it is waited for without the lock. A connection that stands is closed
    // first, and told as closed.
    void Open()
    {
        int listen_port = 0;
        {
            const TransportLock lock(m_descr.DCON_lock);
            if (m_descr.DWsock.GetState() == CONN_STATE_OPENED || m_descr.DWsock.GetState() == CONN_STATE_CLOSING) {
                m_descr.DWsock.DoClose(WSOCK_CLOSED_HERE);
                m_descr.DWsock.ForceClose();
            }
            m_descr.DWsock.Close_Before_Listen();
            listen_port = m_descr.DWsock.Get_Listen_Port();
        }
        const int bound = DAsyncSocket::Bind_Listener(listen_port, May_Go_On, &m_descr);
        if (bound >= 0 && Listen_On(bound)) {
            Go_To(DCON_ST_OPENCHK);
        } else {
            Pause(m_descr, DCON_SLEEP_TIME);
        }
    }

    bool Listen_On(int bound)
    {
        const TransportLock lock(m_descr.DCON_lock);
        return m_descr.DWsock.Listen_On(bound) != 0;
    }

    void Check_Opening()
    {
        switch (Check_Socket()) {
        case CONN_STATE_OPENED:
            Go_To(DCON_ST_NORMCON);
            break;
        case CONN_NO_STATE:
            Wait_For_Peer();
            break;
        default:
            Pause(m_descr, DCON_SLEEP_TIME);
            Go_To(DCON_ST_OPENING);
            break;
        }
    }

    int Check_Socket()
    {
        const TransportLock lock(m_descr.DCON_lock);
        m_descr.DWsock.Sock_Check();
        if (m_descr.DWsock.GetState() == CONN_STATE_OPENED && m_descr.expire_time != 0) {
            m_descr.DWsock.SetExpireTime(static_cast<unsigned short>(m_descr.expire_time));
        }
        m_no_socket = m_descr.DWsock.Get_Sockfd() < 0;
        return m_descr.DWsock.GetState();
    }

    // A peer that is announced and can't be accepted (no descriptors are left, say) is asked for once a second. One
    // that was gone before it was accepted took the listening socket along.
    void Wait_For_Peer()
    {
        if (m_no_socket) {
            Go_To(DCON_ST_OPENING);
        } else if (m_announced) {
            m_announced = false;
            Pause(m_descr, DCON_SLEEP_TIME);
        } else {
            m_announced = Wait_For_Socket(m_descr, POLLIN, DCON_SLEEP_TIME);
        }
    }

    void Look_After()
    {
        m_announced = false;
        Wait_For_Socket(m_descr, Events_Of_Interest(m_descr), DCON_LISTENER_SPAN_TIME);
        if (Look_At_Socket(m_descr) == CONN_STATE_DELETING) {
            Pause(m_descr, DCON_SLEEP_TIME);
            Go_To(DCON_ST_OPENING);
        }
    }

    DCON_DESCR& m_descr;
    bool m_restarting = false;
    bool m_announced = false; // the system said that a peer is there
    bool m_no_socket = false;
};

} // namespace

void DCON_Attend(DCON_DESCR& descr)
{
    Listener(descr).Run();
}
