// The life of a connection: opening, standing, closing.
#include "transport/wsock.h"

#include "compress/bsd.h"
#include "global.h"
#include "qcapi/support.h"
#include "transport/inbound_door.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>

const std::array<const char*, WSOCK_NUM_REASONS> WSOCK_Reason{
    "The reason of disconnection is not clearly defined",
    "1",                                                               // closed by this end on request
    "2",                                                               // not given
    "Closed by remote, the remote host has terminated the connection", // not given
    "Closed by this host, limit time exeeded and couldn't send more data",
    "Closed by this host, limit time exeeded and didn't receive alive signal",
    "Closed by remote, triggered when receiving data",
    "Closed by this host, after a tcp-ip error encountered when receiving",
    "Closed by this host, after a tcp-ip error encountered when sending",
    nullptr, // a connection to itself
};

namespace {

// Of a connection that just opened; the server may have given others, which count from its first UpdateTime on.
constexpr int first_alive_time = 20;
constexpr int first_receive_time = 60;
constexpr int first_send_time = 100;

constexpr int closing_time = 8; // seconds for the peer to close too

} // namespace

WSocket::WSocket()
    : timeout_conn(SetTimeOut(first_alive_time)), timeout_rcv(SetTimeOut(first_receive_time)),
      timeout_snd(SetTimeOut(first_send_time)), bsd_dbc(bsd_comp_alloc()), bsd_dbd(bsd_decomp_alloc())
{
    Report_Missing_Dictionaries();
}

WSocket::~WSocket()
{
    bsd_free(bsd_dbc);
    bsd_free(bsd_dbd);
}

void WSocket::Report_Missing_Dictionaries() const
{
    if (bsd_dbc == nullptr) {
        COMMON_Put_Syslog_Message(1, "There was no memory for BSD compression");
    }
    if (bsd_dbd == nullptr) {
        COMMON_Put_Syslog_Message(1, "There was no memory for BSD decompression");
    }
}

void WSocket::Set_Identity(const char* id, int id_len)
{
    m_id = id;
    m_id_len = id_len;
}

void WSocket::Tell(int status)
{
    Tell(status, m_id, m_id_len, m_id);
}

void WSocket::Tell(int status, const char* data, int len, const char* source)
{
    char extra[CMSS_EXTRA_LEN];
    Store_News(extra, {.connection = Connection_Number(), .host = m_host_index});
    DCON_Put_Message_In_Recv_Array(m_Recv_Mss, status, data, len, source, extra, 0, 0);
}

void WSocket::Begin_Connection()
{
    m_connection.fetch_add(1, std::memory_order_relaxed);
}

int WSocket::Connect(unsigned ip, unsigned short connect_port)
{
    Begin_Connection();
    fhost = ip;
    Set_State(CONN_STATE_OPENNING);
    std::array<char, INET_ADDRSTRLEN> text{};
    const in_addr address{.s_addr = ip};
    inet_ntop(AF_INET, &address, text.data(), text.size());
    const int connected = DAsyncSocket::Connect(text.data(), connect_port);
    if (connected != 0) {
        OnConnect(0);
    } else if (GetLastError() != EAGAIN) {
        OnConnect(GetLastError());
    }
    return connected;
}

int WSocket::Listen()
{
    Set_State(CONN_NO_STATE);
    return DAsyncSocket::Listen();
}

int WSocket::Listen_On(int bound_socket)
{
    Set_State(CONN_NO_STATE);
    return DAsyncSocket::Listen_On(bound_socket);
}

void WSocket::OnConnect(int err)
{
    DAsyncSocket::OnConnect(err);
    if (err != 0) {
        Set_State(CONN_NO_STATE);
        Tell(TCP_ERROR_CANT_CONNECT);
    } else {
        Connection_Stands();
    }
}

// The connection takes the place of the socket that waited for it.
void WSocket::OnAccept(int err)
{
    if (err != 0) {
        Tell(TCP_ERROR_CANT_CONNECT);
    }
    Close();
    Begin_Connection();
    sockaddr_in peer{};
    int peer_len = sizeof peer;
    if (Accept(*this, reinterpret_cast<sockaddr*>(&peer), &peer_len) != 0) {
        Connection_Stands();
    }
    DAsyncSocket::OnAccept(err);
}

// A dead-line or a grace period of the connection before must not count against this one.
void WSocket::Connection_Stands()
{
    if (Init_fhost_myip() == 0) {
        Tell(TCP_ERROR_CANT_CONECT_SAME);
        DoClose(WSOCK_TO_ITSELF);
        return;
    }
    timeout_conn = SetTimeOut(first_alive_time);
    timeout_rcv = SetTimeOut(first_receive_time);
    timeout_snd = SetTimeOut(static_cast<int>(time_send_expired_warning));
    extra_time_send = 0;
    extra_time_recv = 0;
    info_len = 0;
    Set_State(CONN_STATE_OPENED);
    Tell(TCP_STATUS_OPEN_CONNECTION);
}

// Returns 0 if the peer is this very socket: a connect to a free local port can be given that port as its own.
int WSocket::Init_fhost_myip()
{
    std::array<char, INET_ADDRSTRLEN> rem_ip{};
    std::array<char, INET_ADDRSTRLEN> this_ip{};
    unsigned short rem_port = 0;
    unsigned short this_port = 0;
    GetPeerName(rem_ip.data(), rem_port);
    GetSockName(this_ip.data(), this_port);
    if (rem_port == this_port && (rem_ip == this_ip || std::strcmp(rem_ip.data(), "127.0.0.1") == 0)) {
        return 0;
    }
    fhost = inet_addr(rem_ip.data());
    my_ip = inet_addr(this_ip.data());
    Start_Dictionaries();
    Choose_Forms();
    return 1;
}

void WSocket::Start_Dictionaries()
{
    if (bsd_dbc != nullptr) {
        bsd_comp_init(bsd_dbc, 1, 0, 0);
    }
    if (bsd_dbd != nullptr) {
        bsd_decomp_init(bsd_dbd, 1, 0, 0);
    }
    m_dictionary_lost = false;
    m_gave_up = false;
    m_discarded_any = false;
    m_discarded_tail_len = 0;
}

void WSocket::Choose_Forms()
{
    if (mode_to_send <= SENDPKTCOMYENCRYPT) {
        noencrypt = mode_to_send == SENDPKTNORMAL || mode_to_send == SENDPKTCOMPRESS ? 1 : 0;
        nocompress = mode_to_send == SENDPKTENCRYPT || mode_to_send == SENDPKTNORMAL ? 1 : 0;
    }
}

void WSocket::OnSend(int err)
{
    if (err != 0) {
        Tell(TCP_ERROR_NO_READY_FOR_SEND);
    }
    DoCheckSend();
    DAsyncSocket::OnSend(err);
}

void WSocket::OnReceive(int err)
{
    if (err != 0) {
        Tell(TCP_ERROR_RECEIVE);
    }
    DoCheckRcv();
    DAsyncSocket::OnReceive(err);
}

void WSocket::OnClose(int err)
{
    Set_State(CONN_STATE_CLOSING);
    DoCheckRcv();
    DAsyncSocket::OnClose(err);
    if (err != 0) {
        Tell(TCP_ERROR_NOT_CONNECTION);
    }
    ForceClose();
    extra_time_send = 0;
}

// A connect that is under way must not come to stand behind the close, so it ends here.
void WSocket::DoClose(int reason)
{
    const int before = GetState();
    if (before == CONN_STATE_CLOSING || before == CONN_STATE_DELETING) {
        return;
    }
    ShutDown(SHUT_WR);
    mss_pend.store(0, std::memory_order_relaxed); // what is queued leaves no more, however writable the socket seems
    wstate &= ~state_send_refused;
    TakeReceived();
    timeout_conn = SetTimeOut(closing_time);
    Set_State(CONN_STATE_CLOSING);
    if (do_close_last_reason == 0) {
        do_close_last_reason = reason;
    }
    if (before != CONN_STATE_OPENED) {
        ForceClose();
    }
}

void WSocket::ForceClose()
{
    if (GetState() == CONN_STATE_DELETING) {
        return;
    }
    Close();
    num_msg_out = 0;
    num_msg_in = 0;
    num_msg_chk_out = 0;
    num_msg_chk_in = 0;
    len_recved = 0;
    len_to_recv = 0;
    mss_pend.store(0, std::memory_order_relaxed);
    Set_State(CONN_STATE_DELETING);
    const auto reason = static_cast<std::size_t>(std::clamp(do_close_last_reason, 0, WSOCK_NUM_REASONS - 1));
    do_close_last_reason = 0;
    Tell(TCP_STATUS_CLOSED_CONNECTION, m_id, m_id_len, WSOCK_Reason[reason]);
}
