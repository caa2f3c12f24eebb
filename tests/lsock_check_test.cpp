// Sock_Check, branch by branch, and the connections that it accepts.
#include "support/socket_fixture.h"

#include <netinet/tcp.h>

namespace {

using Texts = std::vector<std::string>;

// ---- Listening

TEST_F(SocketTest, ListenerWithNobodyThereCallsNoHandler)
{
    Start_Listening();
    EXPECT_EQ(Check(), No_Events());
    EXPECT_EQ(reports, Texts{});
}

TEST_F(SocketTest, ConnectionThatNobodyTakesIsClosed)
{
    Start_Listening();
    Connect_Peer();
    EXPECT_EQ(Check(), (Events{{"accept", 0}}));
    EXPECT_EQ(inside.New_Descriptor(), -1);
    EXPECT_EQ(Got(peer.Number()), "");
    EXPECT_EQ(inside.State(), Access::listening);
}

TEST_F(SocketTest, AcceptGivesTheConnectionToAnotherSocket)
{
    DAsyncSocket taker;
    taker.Create(0, 1);
    socket.taker = &taker;
    Start_Listening();
    Connect_Peer();
    EXPECT_EQ(Check(), (Events{{"accept", 0}}));
    EXPECT_EQ(socket.taken, 1);
    EXPECT_EQ(Access(taker).State(), 0);
    EXPECT_EQ(taker.get_socketssl(), 0);
    EXPECT_EQ(taker.Send("hello", 5), 5);
    EXPECT_EQ(Got(peer.Number()), "hello");
}

TEST_F(SocketTest, AcceptedConnectionIsNonBlockingCloseOnExecAndWithoutDelay)
{
    DAsyncSocket taker;
    socket.taker = &taker;
    Start_Listening();
    Connect_Peer();
    Check();
    EXPECT_NE(fcntl(taker.Get_Sockfd(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(taker.Get_Sockfd(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(Option(taker.Get_Sockfd(), IPPROTO_TCP, TCP_NODELAY), 1);
}

TEST_F(SocketTest, AcceptTellsThePeersAddressToCallerAndTarget)
{
    DAsyncSocket taker;
    socket.taker = &taker;
    Start_Listening();
    Connect_Peer();
    Check();
    const in_port_t port = Own_Address(peer.Number()).sin_port;
    EXPECT_EQ(socket.peer_len, 16);
    EXPECT_EQ(socket.peer.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
    EXPECT_EQ(socket.peer.sin_port, port);
    EXPECT_EQ(Access(taker).Peer().sin_port, port);
}

TEST_F(SocketTest, AcceptWritesNoByteBehindTheCallersRoom)
{
    socket.forgets_new = true;
    Start_Listening();
    Connect_Peer();
    Check();
    DAsyncSocket taker;
    std::array<unsigned char, 16> room{};
    room.fill(0xEE);
    int len = 8;
    EXPECT_EQ(socket.Accept(taker, reinterpret_cast<sockaddr*>(room.data()), &len), 1);
    EXPECT_EQ(len, 16);
    EXPECT_EQ(room[7], 1); // the end of 127.0.0.1
    EXPECT_EQ(room[8], 0xEE);
}

TEST_F(SocketTest, AcceptWithNothingNewReturnsZeroAndLeavesTheTargetAlone)
{
    Connect_To_Peer();
    DAsyncSocket listener;
    EXPECT_EQ(listener.Accept(socket, nullptr, nullptr), 0);
    EXPECT_EQ(socket.Send("x", 1), 1);
}

TEST_F(SocketTest, AConnectionIsGivenAwayOnce)
{
    DAsyncSocket taker;
    socket.taker = &taker;
    Start_Listening();
    Connect_Peer();
    Check();
    EXPECT_EQ(socket.taken_again, 0);
    EXPECT_EQ(inside.New_Descriptor(), -1);
    EXPECT_TRUE(Is_Open(taker.Get_Sockfd()));
}

TEST_F(SocketTest, AcceptClosesWhatTheTargetHadOpen)
{
    DAsyncSocket taker;
    socket.taker = &taker;
    Start_Listening();
    Connect_Peer();
    Check();
    const Descriptor first = std::move(peer);
    Connect_Peer();
    Check();
    EXPECT_EQ(Got(first.Number()), "");
    EXPECT_EQ(taker.Send("x", 1), 1);
    EXPECT_EQ(Got(peer.Number()), "x");
}

class SelfAcceptTest : public SocketTest, public testing::WithParamInterface<bool>
{
};

TEST_P(SelfAcceptTest, ConnectionTakesTheListenersPlace)
{
    const int before = Open_Descriptors();
    socket.taker = &socket;
    socket.close_first = GetParam();
    Start_Listening();
    const int listener = socket.Get_Sockfd();
    Connect_Peer();
    EXPECT_EQ(Check(), (Events{{"accept", 0}}));
    EXPECT_FALSE(Is_Open(listener));
    EXPECT_EQ(inside.State(), 0);
    EXPECT_EQ(Open_Descriptors(), before + 2); // both ends
    Put(peer, "x");
    Await(socket.Get_Sockfd(), POLLIN);
    EXPECT_EQ(Check(), (Events{{"receive", 0}}));
}

INSTANTIATE_TEST_SUITE_P(ClosedFirstOrNot, SelfAcceptTest, testing::Bool());

TEST_F(SocketTest, ConnectionThatAHandlerForgotIsClosedByTheNext)
{
    socket.forgets_new = true;
    Start_Listening();
    Connect_Peer();
    Check();
    const Descriptor first = std::move(peer);
    Connect_Peer();
    Check();
    EXPECT_EQ(Got(first.Number()), "");
    EXPECT_TRUE(Is_Open(inside.New_Descriptor()));
}

TEST_F(SocketTest, ConnectionThatAHandlerForgotIsClosedByTheNextListen)
{
    socket.forgets_new = true;
    Start_Listening();
    Connect_Peer();
    Check();
    Start_Listening();
    EXPECT_EQ(Got(peer.Number()), "");
}

TEST_F(SocketTest, ConnectionThatAHandlerForgotGoesWithTheSocket)
{
    auto listener = std::make_unique<RecordingSocket>();
    listener->forgets_new = true;
    ASSERT_EQ(listener->Listen(), 1);
    peer = Connection_To(Own_Port(listener->Get_Sockfd()));
    Await(listener->Get_Sockfd(), POLLIN);
    listener->Sock_Check();
    listener.reset();
    EXPECT_EQ(Got(peer.Number()), "");
}

TEST_F(SocketTest, AcceptedConnectionThatCannotBeMadeNonBlockingIsReportedAndClosed)
{
    Start_Listening();
    const int path = open("/", O_PATH | O_CLOEXEC);
    inside.Offer_Connection(path);
    EXPECT_EQ(reports, Texts{"Error. Could not change to NON BLOCKING , err 9\n"});
    EXPECT_EQ(socket.events, No_Events());
    EXPECT_EQ(inside.New_Descriptor(), -1);
    EXPECT_FALSE(Is_Open(path));
}

TEST_F(SocketTest, AThousandAcceptedConnectionsLeaveNoDescriptorBehind)
{
    Start_Listening();
    const int before = Open_Descriptors();
    for (int i = 0; i < 1'000; ++i) {
        DAsyncSocket taker;
        socket.taker = i % 2 == 0 ? &taker : nullptr;
        Connect_Peer();
        Check();
        Reset(peer);
    }
    EXPECT_EQ(Open_Descriptors(), before);
}

// ---- Connecting

TEST_F(SocketTest, RefusedConnectIsToldWithItsErrorThoughTheSocketIsWritable)
{
    const Descriptor deaf = Bound_Socket();
    EXPECT_EQ(socket.Connect(loopback, Own_Port(deaf.Number())), 0);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EAGAIN);
    Await(socket.Get_Sockfd(), POLLOUT);
    EXPECT_EQ(socket.CouldSend(), 1);
    EXPECT_EQ(Check(), (Events{{"connect", ECONNREFUSED}}));
    EXPECT_EQ(DAsyncSocket::GetLastError(), ECONNREFUSED);
    EXPECT_EQ(socket.Get_Sockfd(), -1);
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(SocketTest, ConnectionThatStandsIsToldOnceAndClearsBitTwo)
{
    const Descriptor listener = Listener();
    socket.Connect(loopback, Own_Port(listener.Number()));
    Finish_Connect();
    EXPECT_EQ(socket.events, (Events{{"connect", 0}}));
    EXPECT_EQ(inside.State(), 0);
    EXPECT_EQ(Check(), No_Events());
}

TEST_F(SocketTest, ConnectThatNobodyAnswersStaysUnderWay)
{
    const Descriptor listener = Listener(0);
    const Descriptor only_one = Connection_To(Own_Port(listener.Number()));
    Await(listener.Number(), POLLIN);
    socket.Connect(loopback, Own_Port(listener.Number()));
    EXPECT_EQ(Check(), No_Events());
    EXPECT_EQ(Check(), No_Events());
    EXPECT_EQ(inside.State(), Access::connecting);
    EXPECT_TRUE(Is_Open(socket.Get_Sockfd()));
}

TEST_F(SocketTest, SendBeforeTheConnectionStandsIsToldWhenItDoes)
{
    const Descriptor listener = Listener();
    socket.Connect(loopback, Own_Port(listener.Number()));
    inside.State() |= Access::send_refused;
    Finish_Connect();
    EXPECT_EQ(socket.events, (Events{{"connect", 0}}));
    EXPECT_EQ(Check(), (Events{{"send", 0}}));
}

// ---- Closed by the peer, and connected

TEST_F(SocketTest, PeerThatClosedIsToldInsteadOfWhatThereIsToRead)
{
    Connect_To_Peer();
    Put(peer, "x");
    Await(socket.Get_Sockfd(), POLLIN);
    inside.State() = Access::peer_closed | Access::send_refused;
    EXPECT_EQ(Check(), (Events{{"close", 0}}));
    EXPECT_EQ(inside.State(), Access::peer_closed | Access::send_refused);
}

TEST_F(SocketTest, ClosedSocketCallsNoHandler)
{
    EXPECT_EQ(Check(), No_Events());
    EXPECT_EQ(inside.State(), 16);
    EXPECT_EQ(reports, Texts{});
}

TEST_F(SocketTest, QuietConnectionCallsNoHandler)
{
    Connect_To_Peer();
    EXPECT_EQ(Check(), No_Events());
}

TEST_F(SocketTest, DataIsToldUntilItIsRead)
{
    Connect_To_Peer();
    Put(peer, "x");
    Await(socket.Get_Sockfd(), POLLIN);
    EXPECT_EQ(Check(), (Events{{"receive", 0}}));
    EXPECT_EQ(Check(), (Events{{"receive", 0}}));
    Got(socket.Get_Sockfd());
    EXPECT_EQ(Check(), No_Events());
}

class SuppressedReadingTest : public SocketTest, public testing::WithParamInterface<int>
{
};

TEST_P(SuppressedReadingTest, DataWaits)
{
    Connect_To_Peer();
    Put(peer, "x");
    Await(socket.Get_Sockfd(), POLLIN);
    inside.State() = GetParam();
    EXPECT_EQ(Check(), No_Events());
}

INSTANTIATE_TEST_SUITE_P(Bits, SuppressedReadingTest, testing::Values(Access::no_socket, Access::never_set));

TEST_F(SocketTest, RefusedSendIsToldWhenThePeerHasRead)
{
    Connect_To_Peer();
    Fill();
    EXPECT_EQ(Check(), No_Events());
    EXPECT_EQ(inside.State(), Access::send_refused);
    Drain();
    EXPECT_EQ(Check(), (Events{{"send", 0}}));
    EXPECT_EQ(inside.State(), 0);
    EXPECT_EQ(Check(), No_Events());
}

TEST_F(SocketTest, RefusedSendDoesNotKeepDataFromBeingRead)
{
    Connect_To_Peer();
    Fill();
    Put(peer, "x");
    Await(socket.Get_Sockfd(), POLLIN);
    EXPECT_EQ(Check(), (Events{{"receive", 0}}));
    EXPECT_EQ(inside.State(), Access::send_refused);
}

TEST_F(SocketTest, RoomIsToldAheadOfData)
{
    Connect_To_Peer();
    Put(peer, "x");
    Await(socket.Get_Sockfd(), POLLIN);
    inside.State() = Access::send_refused;
    EXPECT_EQ(Check(), (Events{{"send", 0}, {"receive", 0}}));
}

TEST_F(SocketTest, SocketThatTheSendHandlerClosedIsNotRead)
{
    Connect_To_Peer();
    Put(peer, "x");
    Await(socket.Get_Sockfd(), POLLIN);
    inside.State() = Access::send_refused;
    socket.closes_on_send = true;
    EXPECT_EQ(Check(), (Events{{"send", 0}}));
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(SocketTest, SendHandlerGetsThePendingError)
{
    Connect_To_Peer();
    Fill();
    Reset(peer);
    Await(socket.Get_Sockfd(), POLLHUP);
    EXPECT_EQ(Check(), (Events{{"send", ECONNRESET}, {"receive", 0}}));
}

TEST_F(SocketTest, UrgentByteAloneCallsNoHandler)
{
    Connect_To_Peer();
    ASSERT_EQ(send(peer.Number(), "!", 1, MSG_OOB), 1);
    Await(socket.Get_Sockfd(), POLLPRI);
    EXPECT_EQ(Check(), No_Events());
}

// ---- Which branch comes first

TEST_F(SocketTest, ListeningOutranksEveryOtherState)
{
    Start_Listening();
    inside.State() = Access::listening | Access::connecting | Access::peer_closed;
    EXPECT_EQ(Check(), No_Events());
}

TEST_F(SocketTest, ConnectingOutranksAPeerThatClosed)
{
    Connect_To_Peer();
    inside.State() = Access::connecting | Access::peer_closed;
    EXPECT_EQ(Check(), (Events{{"connect", 0}}));
    EXPECT_EQ(Check(), (Events{{"close", 0}}));
}

// ---- What the handlers do by themselves

TEST_F(SocketTest, BaseHandlerOfAFailedConnectCloses)
{
    Connect_To_Peer();
    socket.DAsyncSocket::OnConnect(ETIMEDOUT);
    EXPECT_EQ(socket.Get_Sockfd(), -1);
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(SocketTest, OtherBaseHandlersLeaveTheSocketAlone)
{
    Connect_To_Peer();
    inside.State() = Access::send_refused;
    socket.DAsyncSocket::OnClose(EPIPE);
    socket.DAsyncSocket::OnSend(EPIPE);
    socket.DAsyncSocket::OnReceive(EPIPE);
    socket.DAsyncSocket::OnConnect(0);
    EXPECT_EQ(inside.State(), Access::send_refused);
    EXPECT_EQ(socket.Send("x", 1), 1);
}

} // namespace
