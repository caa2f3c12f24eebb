// Opening, closing, moving data. Listening, looking and Sock_Check have files of their own.
#include "support/socket_fixture.h"

#include <algorithm>
#include <csignal>
#include <netinet/tcp.h>

namespace {

using Texts = std::vector<std::string>;

TEST_F(SocketTest, NewSocketIsClosedAndClearsTheLastError)
{
    Access::Set_Last_Error(EPIPE);
    DAsyncSocket fresh;
    const Access look(fresh);
    EXPECT_EQ(fresh.Get_Sockfd(), -1);
    EXPECT_EQ(look.New_Descriptor(), -1);
    EXPECT_EQ(look.State(), 16);
    EXPECT_EQ(fresh.get_socketssl(), 0);
    EXPECT_EQ(DAsyncSocket::GetLastError(), 0);
}

TEST_F(SocketTest, CreateKeepsTheSettingAndOpensNothing)
{
    EXPECT_EQ(socket.Create(4000, 1), 1);
    EXPECT_EQ(socket.get_socketssl(), 1);
    EXPECT_EQ(socket.Get_Sockfd(), -1);
}

TEST_F(SocketTest, OneLastErrorServesAllSockets)
{
    DAsyncSocket other;
    other.Connect("0.0.0.0", 1);
    EXPECT_EQ(RecordingSocket::GetLastError(), EINVAL);
}

// ---- Close

TEST_F(SocketTest, CloseOfASocketThatIsNotOpenReturnsOne)
{
    inside.State() = Access::connecting;
    EXPECT_EQ(socket.Close(), 1);
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(SocketTest, CloseLeavesNoDescriptorAndExactlyStateSixteen)
{
    Connect_To_Peer();
    const int before = socket.Get_Sockfd();
    inside.State() = Access::peer_closed | Access::send_refused;
    EXPECT_EQ(socket.Close(), 1);
    EXPECT_FALSE(Is_Open(before));
    EXPECT_EQ(socket.Get_Sockfd(), -1);
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(SocketTest, CloseThatTheSystemRefusesReturnsZeroAndLeavesNoSocket)
{
    inside.Descriptor() = beyond_any_limit;
    inside.State() = 0;
    EXPECT_EQ(socket.Close(), 0);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EBADF);
    EXPECT_EQ(socket.Get_Sockfd(), -1);
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(SocketTest, SocketClosesItsDescriptorWhenItGoes)
{
    const Descriptor listener = Listener();
    int number = -1;
    {
        DAsyncSocket short_lived;
        short_lived.Connect(loopback, Own_Port(listener.Number()));
        number = short_lived.Get_Sockfd();
        EXPECT_TRUE(Is_Open(number));
    }
    EXPECT_FALSE(Is_Open(number));
}

TEST_F(SocketTest, ShutDownTellsThePeerAndReturnsWhatTheSystemSays)
{
    EXPECT_EQ(socket.ShutDown(SHUT_WR), -1);
    Connect_To_Peer();
    EXPECT_EQ(socket.ShutDown(SHUT_WR), 0);
    EXPECT_EQ(Got(peer.Number()), "");
    Put(peer, "still heard");
    EXPECT_EQ(Got(socket.Get_Sockfd()), "still heard");
}

// ---- Connect

TEST_F(SocketTest, ConnectUnderWayReturnsZeroWithErrorEleven)
{
    const Descriptor listener = Listener();
    EXPECT_EQ(socket.Connect(loopback, Own_Port(listener.Number())), 0);
    EXPECT_EQ(DAsyncSocket::GetLastError(), 11);
    EXPECT_EQ(inside.State(), Access::connecting);
}

TEST_F(SocketTest, ConnectionIsNonBlockingCloseOnExecAndWithoutDelay)
{
    Connect_To_Peer();
    EXPECT_NE(fcntl(socket.Get_Sockfd(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(socket.Get_Sockfd(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(Option(socket.Get_Sockfd(), IPPROTO_TCP, TCP_NODELAY), 1);
}

TEST_F(SocketTest, AddressZeroIsRefusedAndTheOldConnectionStays)
{
    Connect_To_Peer();
    EXPECT_EQ(socket.Connect("0.0.0.0", 80), 0);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EINVAL);
    EXPECT_EQ(reports, Texts{"Error. Bad ip address 0.0.0.0\n"});
    EXPECT_EQ(socket.Send("x", 1), 1);
}

TEST_F(SocketTest, TextThatIsNoDottedAddressFailsInTheSystem)
{
    EXPECT_EQ(socket.Connect("no.such.host", 80), 0);
    EXPECT_EQ(DAsyncSocket::GetLastError(), ENETUNREACH);
    EXPECT_EQ(inside.Peer().sin_addr.s_addr, INADDR_NONE);
}

TEST_F(SocketTest, ConnectWithoutFreeDescriptorsIsReportedAndLeavesNoSocket)
{
    Connect_To_Peer();
    const int before = socket.Get_Sockfd();
    const NoMoreFiles limit;
    EXPECT_EQ(socket.Connect(loopback, 80), 0);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EMFILE);
    EXPECT_EQ(reports, Texts{"Error. The socket could not be created, err Too many open files\n"});
    EXPECT_FALSE(Is_Open(before));
    EXPECT_EQ(socket.Get_Sockfd(), -1);
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(SocketTest, SecondConnectClosesTheFirst)
{
    Connect_To_Peer();
    Descriptor first = std::move(peer);
    Connect_To_Peer();
    EXPECT_EQ(Got(first.Number()), "");
    EXPECT_EQ(socket.Send("x", 1), 1);
    EXPECT_EQ(Got(peer.Number()), "x");
}

// ---- Receive and Send

TEST_F(SocketTest, BytesTravelBothWays)
{
    Connect_To_Peer();
    EXPECT_EQ(socket.Send("to the peer", 11), 11);
    EXPECT_EQ(Got(peer.Number()), "to the peer");
    Put(peer, "back");
    Await(socket.Get_Sockfd(), POLLIN);
    std::string text(10, '#');
    EXPECT_EQ(socket.Receive(text.data(), 10), 4);
    EXPECT_EQ(text, "back######");
}

TEST_F(SocketTest, ReceiveTakesNoMoreThanAsked)
{
    Connect_To_Peer();
    Put(peer, "abcdef");
    Await(socket.Get_Sockfd(), POLLIN);
    std::string text(6, '#');
    EXPECT_EQ(socket.Receive(text.data(), 2), 2);
    EXPECT_EQ(text, "ab####");
}

TEST_F(SocketTest, ReceiveWithNothingThereIsTriedAgainLater)
{
    Connect_To_Peer();
    char byte = 0;
    EXPECT_EQ(socket.Receive(&byte, 1), -1);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EAGAIN);
    EXPECT_EQ(inside.State(), 0);
}

TEST_F(SocketTest, PeerThatClosedLooksLikeAFailedReadWithErrorZero)
{
    Connect_To_Peer();
    peer.Close();
    Await(socket.Get_Sockfd(), POLLIN);
    errno = EPIPE;
    Access::Set_Last_Error(EPIPE);
    char byte = 0;
    EXPECT_EQ(socket.Receive(&byte, 1), -1);
    EXPECT_EQ(DAsyncSocket::GetLastError(), 0);
    EXPECT_EQ(inside.State(), Access::peer_closed);
    EXPECT_EQ(socket.events, No_Events());
    EXPECT_EQ(Check(), (Events{{"close", 0}}));
}

TEST_F(SocketTest, ReadingZeroBytesIsNotTakenForAPeerThatClosed)
{
    Connect_To_Peer();
    char byte = '#';
    EXPECT_EQ(socket.Receive(&byte, 0), -1);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EINVAL);
    EXPECT_EQ(inside.State(), 0);
}

TEST_F(SocketTest, NegativeLengthsMoveNothing)
{
    Connect_To_Peer();
    Put(peer, "x");
    Await(socket.Get_Sockfd(), POLLIN);
    char byte = '#';
    EXPECT_EQ(socket.Receive(&byte, -1), -1);
    EXPECT_EQ(byte, '#');
    EXPECT_EQ(socket.Send(&byte, -1), -1);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EINVAL);
    EXPECT_EQ(inside.State(), 0);
}

TEST_F(SocketTest, SendingNothingIsNoFailure)
{
    Connect_To_Peer();
    EXPECT_EQ(socket.Send("", 0), 0);
}

TEST_F(SocketTest, SendAfterCloseTouchesNeitherErrnoNorTheLastError)
{
    Connect_To_Peer();
    socket.Close();
    Access::Set_Last_Error(ETIMEDOUT);
    errno = EPIPE;
    EXPECT_EQ(socket.Send("x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    EXPECT_EQ(DAsyncSocket::GetLastError(), ETIMEDOUT);
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(SocketTest, SendThatTheSystemRefusesForNowSetsBitFour)
{
    Connect_To_Peer();
    Fill();
    EXPECT_EQ(DAsyncSocket::GetLastError(), EAGAIN);
    EXPECT_EQ(inside.State(), Access::send_refused);
}

int signals_seen = 0;

TEST_F(SocketTest, BrokenConnectionFailsWithoutASignal)
{
    struct sigaction counting
    {
    };
    struct sigaction before
    {
    };
    counting.sa_handler = [](int) { ++signals_seen; };
    sigaction(SIGPIPE, &counting, &before);
    Connect_To_Peer();
    Reset(peer);
    Await(socket.Get_Sockfd(), POLLIN);
    EXPECT_EQ(socket.Send("x", 1), -1);
    EXPECT_EQ(DAsyncSocket::GetLastError(), ECONNRESET);
    EXPECT_EQ(socket.Send("x", 1), -1);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EPIPE);
    EXPECT_EQ(signals_seen, 0);
    EXPECT_EQ(inside.State(), 0);
    sigaction(SIGPIPE, &before, nullptr);
}

// ---- Many descriptors

TEST_F(SocketTest, ConnectionWithADescriptorAboveAThousandWorks)
{
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit many{.rlim_cur = std::max<rlim_t>(before.rlim_cur, 1'300), .rlim_max = before.rlim_max};
    if (setrlimit(RLIMIT_NOFILE, &many) != 0) {
        GTEST_SKIP() << "the limit of open files can't be raised";
    }
    std::vector<Descriptor> open_files(1'100);
    for (Descriptor& file : open_files) {
        file = Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    Connect_To_Peer();
    EXPECT_GT(socket.Get_Sockfd(), 1'024);
    EXPECT_EQ(socket.CouldSend(), 1);
    EXPECT_EQ(socket.CouldReceive(), 0);
    Put(peer, "x");
    Await(socket.Get_Sockfd(), POLLIN);
    EXPECT_EQ(Check(), (Events{{"receive", 0}}));
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(SocketTest, AThousandConnectionsLeaveNoDescriptorBehind)
{
    const int before = Open_Descriptors();
    for (int i = 0; i < 1'000; ++i) {
        Connect_To_Peer();
        Reset(peer); // leaves no port waiting in the system
        socket.Close();
    }
    EXPECT_EQ(Open_Descriptors(), before);
}

} // namespace
