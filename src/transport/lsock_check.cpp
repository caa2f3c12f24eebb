// The pump: which event a look at the socket finds, and what the handlers do for a class that doesn't override them.
#include "transport/lsock.h"

void DAsyncSocket::Sock_Check(bool look_for_data)
{
    if ((wstate & state_listening) != 0) {
        Check_Listening();
    } else if ((wstate & state_connecting) != 0) {
        Check_Connecting();
    } else if ((wstate & state_peer_closed) != 0) {
        OnClose(0);
    } else {
        Check_Connected(look_for_data);
    }
}

void DAsyncSocket::Check_Listening()
{
    sockaddr_in peer{};
    socklen_t len = sizeof peer;
    const int connection = accept4(sockfd, reinterpret_cast<sockaddr*>(&peer), &len, SOCK_CLOEXEC);
    if (connection != -1) {
        Offer_Connection(connection, peer);
    }
}

// A refused connect makes the socket writable too, so the error is read on both sides of the look.
void DAsyncSocket::Check_Connecting()
{
    int error = SockErr();
    if (error == 0) {
        if (CouldSend() <= 0) {
            return;
        }
        error = SockErr();
        if (error == 0) {
            OnConnect(0);
            return;
        }
    }
    Set_Last_Error(error);
    OnConnect(error);
}

void DAsyncSocket::Check_Connected(bool look_for_data)
{
    if ((wstate & state_send_refused) != 0 && CouldSend() > 0) {
        wstate &= ~state_send_refused;
        OnSend(SockErr());
    }
    // The handler may have closed the socket, or begun another connection.
    if (look_for_data && (wstate & (state_connecting | state_no_socket | state_never_set)) == 0 && CouldReceive() > 0) {
        OnReceive(0);
    }
}

// ---- Handlers

void DAsyncSocket::OnAccept(int /*err*/)
{
    if (accepted == 0) {
        Close_New();
    }
}

void DAsyncSocket::OnSend(int /*err*/) {}

void DAsyncSocket::OnConnect(int err)
{
    if (err != 0) {
        Close();
    } else {
        wstate &= ~state_connecting;
    }
}

void DAsyncSocket::OnClose(int /*err*/) {}

void DAsyncSocket::OnReceive(int /*err*/) {}
