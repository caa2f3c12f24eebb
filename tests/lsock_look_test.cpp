// What a socket tells about itself: names, looks without waiting, the pending error.
#include "support/socket_fixture.h"

namespace {

using Texts = std::vector<std::string>;

// ---- Names

TEST_F(SocketTest, NamesAreDottedAddressesAndPortsInHostOrder)
{
    Connect_To_Peer();
    std::array<char, INET_ADDRSTRLEN> ip{};
    unsigned short port = 0;
    socket.GetSockName(ip.data(), port);
    EXPECT_STREQ(ip.data(), "127.0.0.1");
    EXPECT_EQ(port, Own_Port(socket.Get_Sockfd()));
    ip.fill('#');
    socket.GetPeerName(ip.data(), port);
    EXPECT_STREQ(ip.data(), "127.0.0.1");
    EXPECT_EQ(port, Own_Port(peer.Number()));
}

TEST_F(SocketTest, NamesThatCannotBeObtainedAreEmptyAndReported)
{
    std::array<char, INET_ADDRSTRLEN> ip{"#"};
    unsigned short port = 7;
    inside.Descriptor() = beyond_any_limit;
    socket.GetSockName(ip.data(), port);
    EXPECT_STREQ(ip.data(), "");
    EXPECT_EQ(port, 0);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EBADF);
    EXPECT_EQ(reports, Texts{"Error. Could not obtain sockname , err Bad file descriptor\n"});
}

TEST_F(SocketTest, PeerOfAListenerHasNoNameAndIsReported)
{
    std::array<char, INET_ADDRSTRLEN> ip{"#"};
    unsigned short port = 7;
    Start_Listening();
    socket.GetPeerName(ip.data(), port);
    EXPECT_STREQ(ip.data(), "");
    EXPECT_EQ(port, 0);
    EXPECT_EQ(DAsyncSocket::GetLastError(), ENOTCONN);
    EXPECT_EQ(reports, Texts{"Error. Could not obtain sockname , err Transport endpoint is not connected\n"});
}

TEST_F(SocketTest, RawNameIsTheSystemsAndFailsWithoutAReport)
{
    Start_Listening();
    sockaddr_in address{};
    int len = sizeof address;
    EXPECT_EQ(socket.GetSockName(reinterpret_cast<sockaddr*>(&address), &len), 0);
    EXPECT_EQ(ntohs(address.sin_port), Own_Port(socket.Get_Sockfd()));
    EXPECT_EQ(len, 16);
    socket.Close();
    EXPECT_EQ(socket.GetSockName(reinterpret_cast<sockaddr*>(&address), &len), -1);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EBADF);
    EXPECT_EQ(reports, Texts{});
}

// ---- Looks

using Looks = std::array<int, 3>;

Looks Look_At(const DAsyncSocket& socket)
{
    return {socket.CouldSend(), socket.CouldReceive(), socket.AnyError()};
}

TEST_F(SocketTest, NoSocketIsReadyForNothing)
{
    EXPECT_EQ(Look_At(socket), (Looks{0, 0, 0}));
}

TEST_F(SocketTest, LooksAtABadDescriptorFail)
{
    inside.Descriptor() = beyond_any_limit;
    errno = 0;
    EXPECT_EQ(Look_At(socket), (Looks{-1, -1, -1}));
    EXPECT_EQ(errno, EBADF);
}

TEST_F(SocketTest, QuietConnectionTakesDataAndHasNone)
{
    Connect_To_Peer();
    EXPECT_EQ(Look_At(socket), (Looks{1, 0, 0}));
}

TEST_F(SocketTest, FullConnectionWithDataWaitingIsReadyForReadingAlone)
{
    Connect_To_Peer();
    Fill();
    Put(peer, "x");
    Await(socket.Get_Sockfd(), POLLIN);
    EXPECT_EQ(Look_At(socket), (Looks{0, 1, 0}));
}

TEST_F(SocketTest, ResetConnectionCountsAsReadyButNotAsAnException)
{
    Connect_To_Peer();
    Fill();
    Reset(peer);
    Await(socket.Get_Sockfd(), POLLHUP);
    EXPECT_EQ(Look_At(socket), (Looks{1, 1, 0}));
}

// A pipe whose writer has gone hangs up without being readable, as no connection does.
TEST_F(SocketTest, HangUpAloneCountsAsReady)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    inside.Descriptor() = ends[0];
    close(ends[1]);
    EXPECT_EQ(Look_At(socket), (Looks{1, 1, 0}));
}

TEST_F(SocketTest, UrgentByteIsAnException)
{
    Connect_To_Peer();
    ASSERT_EQ(send(peer.Number(), "!", 1, MSG_OOB), 1);
    Await(socket.Get_Sockfd(), POLLPRI);
    EXPECT_EQ(Look_At(socket), (Looks{1, 0, 1}));
}

TEST_F(SocketTest, PendingErrorIsReadOnce)
{
    Connect_To_Peer();
    EXPECT_EQ(socket.SockErr(), 0);
    Reset(peer);
    Await(socket.Get_Sockfd(), POLLHUP);
    EXPECT_EQ(socket.SockErr(), ECONNRESET);
    EXPECT_EQ(socket.SockErr(), 0);
    EXPECT_EQ(reports, Texts{});
}

TEST_F(SocketTest, PendingErrorOfWhatIsNoSocketIsZeroBehindAReport)
{
    inside.Descriptor() = open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(socket.SockErr(), 0);
    EXPECT_EQ(DAsyncSocket::GetLastError(), ENOTSOCK);
    EXPECT_EQ(reports, Texts{"Error. getsockopt, error Socket operation on non-socket\n"});
}

} // namespace
