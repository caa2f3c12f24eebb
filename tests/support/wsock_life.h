// A WSocket that comes and goes over 127.0.0.1, and the peer at its other end.
#pragma once

#include "support/socket_fixture.h"
#include "support/test_peer.h"
#include "support/wsock_fixture.h"

#include <string>
#include <utility>
#include <vector>

class WSocketLifeTest : public WSocketTest
{
protected:
    void Begin_Connect(int port)
    {
        EXPECT_EQ(socket.Connect(htonl(INADDR_LOOPBACK), static_cast<unsigned short>(port)), 0);
    }
    void Finish_Connect()
    {
        Await(socket.Get_Sockfd(), POLLOUT);
        Look();
    }
    // Both ends stand; the record of it is taken.
    void Connect_To_Peer()
    {
        peer.listen();
        Begin_Connect(peer.port());
        peer.accept();
        Finish_Connect();
        ASSERT_EQ(Take_Statuses(), Statuses{21});
    }
    void Start_Listening()
    {
        ASSERT_EQ(socket.Create(0, 0), 1);
        ASSERT_EQ(socket.Listen(), 1);
    }
    void Look_When_Readable()
    {
        Await(socket.Get_Sockfd(), POLLIN);
        Look();
    }
    // The peer's end is seen, and the next look tells of it.
    void See_Closing()
    {
        Look_When_Readable();
        Look();
    }
    // Puts a connection in the place of the one that is under way, which then stands.
    void Stand_On(Descriptor connection)
    {
        const Descriptor listener = Listener();
        Begin_Connect(Own_Port(listener.Number()));
        const Access inside(socket);
        const Descriptor replaced(std::exchange(inside.Descriptor(), connection.Release()));
        Finish_Connect();
    }
    void Expect_To_Itself()
    {
        const std::vector<Record> records = Take_All();
        ASSERT_EQ(records.size(), 2U);
        EXPECT_EQ(records[0].status, 12);
        EXPECT_EQ(records[1].status, 20);
        EXPECT_EQ(records[1].source, nullptr);
        EXPECT_EQ(records[1].data, "D");
        EXPECT_EQ(socket.GetState(), CONN_STATE_DELETING);
    }
    TestPeer peer;
};
