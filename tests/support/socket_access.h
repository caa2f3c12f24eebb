// A look behind the socket's interface: descriptors that no test could bring about from outside, and its states.
#pragma once

#include "transport/lsock.h"

class DAsyncSocket_Test_Access
{
public:
    static constexpr int listening = DAsyncSocket::state_listening;
    static constexpr int connecting = DAsyncSocket::state_connecting;
    static constexpr int send_refused = DAsyncSocket::state_send_refused;
    static constexpr int peer_closed = DAsyncSocket::state_peer_closed;
    static constexpr int no_socket = DAsyncSocket::state_no_socket;
    static constexpr int never_set = DAsyncSocket::state_never_set;

    explicit DAsyncSocket_Test_Access(DAsyncSocket& socket) : m_socket(socket) {}

    [[nodiscard]] int& Descriptor() const { return m_socket.sockfd; }
    [[nodiscard]] int& State() const { return m_socket.wstate; }
    [[nodiscard]] int New_Descriptor() const { return m_socket.newfd; }
    [[nodiscard]] const sockaddr_in& Peer() const { return m_socket.their_addr; }
    void Offer_Connection(int connection) const { m_socket.Offer_Connection(connection, sockaddr_in{}); }
    static void Set_Last_Error(int error) { DAsyncSocket::Set_Last_Error(error); }

private:
    DAsyncSocket& m_socket;
};
