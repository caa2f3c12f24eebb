// Connections that open over 127.0.0.1, either way, and what is told of them.
#include "support/report_texts.h"
#include "support/wsock_life.h"

#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using WSocketLife = WSocketLifeTest;

sockaddr_in Address(const char* ip, int port)
{
    sockaddr_in address = Loopback_Address(port);
    address.sin_addr.s_addr = inet_addr(ip);
    return address;
}

bool Bind(const Descriptor& unbound, const char* ip, int port)
{
    const sockaddr_in address = Address(ip, port);
    return bind(unbound.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

Descriptor New_Socket()
{
    return Descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

Descriptor Bound_To(const char* ip)
{
    Descriptor bound = New_Socket();
    EXPECT_TRUE(Bind(bound, ip, 0));
    return bound;
}

// One port at two addresses, the first of which listens. Others of the machine may have the port that is tried.
std::pair<Descriptor, Descriptor> Of_One_Port(const char* listening_ip, const char* ip)
{
    std::vector<Descriptor> tried; // each keeps its port from being tried again
    for (;;) {
        tried.push_back(Bound_To(listening_ip));
        Descriptor other = New_Socket();
        if (Bind(other, ip, Own_Port(tried.back().Number()))) {
            EXPECT_EQ(listen(tried.back().Number(), 1), 0);
            return {std::move(tried.back()), std::move(other)};
        }
        if (tried.size() == 1'000) {
            throw std::runtime_error("no port is free at both addresses");
        }
    }
}

void Connect_To(const Descriptor& connection, const char* ip, int port)
{
    const sockaddr_in address = Address(ip, port);
    EXPECT_EQ(connect(connection.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

// ---- Opening

TEST_F(WSocketLife, NewSocketHasNoState)
{
    EXPECT_EQ(socket.GetState(), CONN_NO_STATE);
    EXPECT_EQ(socket.Get_fhost(), 0U);
    EXPECT_EQ(socket.Get_My_Ip(), 0U);
    EXPECT_EQ(socket.MssPending(), 0);
    EXPECT_EQ(socket.Connection_Number(), 0U);
}

TEST_F(WSocketLife, ConnectionOpensAndKnowsBothEnds)
{
    peer.listen();
    socket.Set_Host_Index(2);
    Begin_Connect(peer.port());
    EXPECT_EQ(socket.GetState(), CONN_STATE_OPENNING);
    EXPECT_TRUE(socket.am_i(htonl(INADDR_LOOPBACK)));
    EXPECT_EQ(Take_Statuses(), Statuses{});
    Finish_Connect();
    EXPECT_EQ(*socket.State_Word(), CONN_STATE_OPENED);
    EXPECT_EQ(socket.Get_fhost(), inet_addr("127.0.0.1"));
    EXPECT_EQ(socket.Get_My_Ip(), inet_addr("127.0.0.1"));
    EXPECT_FALSE(socket.am_i(inet_addr("127.0.0.2")));
    const std::optional<Record> record = Take();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->status, 21);
    EXPECT_EQ(record->data, "D");
    EXPECT_EQ(record->text(), "D");
    EXPECT_EQ(record->news().connection, 1U);
    EXPECT_EQ(record->news().host, 2U);
}

TEST_F(WSocketLife, PeersEndIsItsOwnAddress)
{
    Descriptor listener = Bound_To("127.0.0.3");
    ASSERT_EQ(listen(listener.Number(), 1), 0);
    Descriptor connection = Bound_To("127.0.0.2");
    Connect_To(connection, "127.0.0.3", Own_Port(listener.Number()));
    Stand_On(std::move(connection));
    EXPECT_EQ(Take_Statuses(), Statuses{21});
    EXPECT_EQ(socket.Get_fhost(), inet_addr("127.0.0.3"));
    EXPECT_EQ(socket.Get_My_Ip(), inet_addr("127.0.0.2"));
}

TEST_F(WSocketLife, FirstTrafficEndsNoSilence)
{
    Connect_To_Peer();
    peer.send(AliveFrame());
    Look_When_Readable();
    Send("abc");
    EXPECT_EQ(socket.Alive_Signals_Received(), 1U);
    EXPECT_EQ(Inside::Longest_Silence_Received(socket), 0);
    EXPECT_EQ(Inside::Longest_Silence_Sent(socket), 0);
}

TEST_F(WSocketLife, RefusedConnectIsToldByTheNextLook)
{
    const Descriptor nobody = Bound_Socket();
    Begin_Connect(Own_Port(nobody.Number()));
    EXPECT_EQ(socket.GetState(), CONN_STATE_OPENNING);
    Finish_Connect();
    EXPECT_EQ(Take_Statuses(), Statuses{7});
    EXPECT_EQ(socket.GetState(), CONN_NO_STATE);
    EXPECT_EQ(socket.Get_Sockfd(), -1);
}

TEST_F(WSocketLife, ConnectThatFailsAtOnceIsToldAtOnce)
{
    const ReportTexts reports;
    EXPECT_EQ(socket.Connect(0, 80), 0);
    EXPECT_EQ(ReportTexts::Take(), Texts{"23001 Error. Bad ip address 0.0.0.0\n"});
    EXPECT_EQ(socket.Connect(INADDR_NONE, 80), 0);
    EXPECT_EQ(socket.GetState(), CONN_NO_STATE);
    const std::vector<Record> records = Take_All();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].status, 7);
    EXPECT_EQ(records[0].news().connection, 1U);
    EXPECT_EQ(records[1].status, 7);
    EXPECT_EQ(records[1].news().connection, 2U);
}

TEST_F(WSocketLife, ConnectThatHangsIsToldNothingOf)
{
    const FullBacklog full;
    Begin_Connect(full.port());
    Look();
    EXPECT_EQ(socket.GetState(), CONN_STATE_OPENNING);
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

TEST_F(WSocketLife, ConnectionToItselfIsClosedWithoutAText)
{
    Descriptor itself = Bound_Socket();
    const int port = Own_Port(itself.Number());
    Connect_To(itself, "127.0.0.1", port);
    Stand_On(std::move(itself));
    Expect_To_Itself();
}

TEST_F(WSocketLife, ConnectionToItselfIsFoundAtEveryAddress)
{
    Descriptor itself = Bound_To("127.0.0.2");
    const int port = Own_Port(itself.Number());
    Connect_To(itself, "127.0.0.2", port);
    Stand_On(std::move(itself));
    Expect_To_Itself();
}

TEST_F(WSocketLife, SamePortOf127001IsTakenForItselfFromAnyAddress)
{
    auto [listener, connection] = Of_One_Port("127.0.0.1", "127.0.0.2");
    Connect_To(connection, "127.0.0.1", Own_Port(listener.Number()));
    Stand_On(std::move(connection));
    Expect_To_Itself();
}

TEST_F(WSocketLife, SamePortOfAnotherAddressIsAnotherSocket)
{
    auto [listener, connection] = Of_One_Port("127.0.0.2", "127.0.0.1");
    Connect_To(connection, "127.0.0.2", Own_Port(listener.Number()));
    Stand_On(std::move(connection));
    EXPECT_EQ(Take_Statuses(), Statuses{21});
}

TEST_F(WSocketLife, ConnectionStartsItsDeadLinesAndForgetsTheQueueOfTheOneBefore)
{
    Connect_To_Peer();
    Send("first");
    Queue("never sent");
    At(61);
    EXPECT_EQ(Take_Statuses(), (Statuses{30, 17}));
    socket.DoClose(1);
    socket.ForceClose();
    Take_Statuses();
    socket.SetExpireTime(200);
    Take_Statuses();
    Connect_To_Peer();
    EXPECT_EQ(socket.Queued_Bytes(), 0);
    EXPECT_EQ(Inside::Next_Alive(socket), start + 61 + 20);
    EXPECT_EQ(Inside::Receive_Dead_Line(socket), start + 61 + 60);
    EXPECT_EQ(Inside::Send_Dead_Line(socket), start + 61 + 120);
    Queue("again");
    At(61 + 61);
    EXPECT_EQ(Take_Statuses(), Statuses{17}); // a grace period, and not the end of one
}

TEST_F(WSocketLife, EachConnectionBeginsWithTwoEmptyDictionaries)
{
    peer.send_mode = 2;
    for (const char letter : {'a', 'b', 'c'}) {
        const std::string message(300, letter);
        Connect_To_Peer();
        Send(message);
        EXPECT_EQ(peer.decoder.Decode(peer.receive_frame()), message);
        peer.send_message(message);
        Look_When_Readable();
        EXPECT_EQ(Take_Messages(), Texts{Delivered(message, 6)});
    }
}

TEST_F(WSocketLife, NoExtraTimeOutlivesItsConnection)
{
    Connect_To_Peer();
    Send("first");
    Queue("never sent");
    At(61);
    Take_Statuses();
    Connect_To_Peer();
    EXPECT_FALSE(Inside::In_Send_Extra_Time(socket));
    EXPECT_FALSE(Inside::In_Receive_Extra_Time(socket));
}

// ---- Accepting

TEST_F(WSocketLife, ALookBeforeTheConnectionStandsReadsNothing)
{
    Start_Listening();
    At(1);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    EXPECT_GE(socket.Get_Sockfd(), 0);
    EXPECT_EQ(socket.GetState(), CONN_NO_STATE);
}

TEST_F(WSocketLife, AcceptedConnectionTakesThePlaceOfTheListener)
{
    Start_Listening();
    EXPECT_EQ(socket.GetState(), CONN_NO_STATE);
    peer.connect_to(static_cast<std::uint16_t>(Own_Port(socket.Get_Sockfd())));
    Look_When_Readable();
    EXPECT_EQ(socket.GetState(), CONN_STATE_OPENED);
    EXPECT_EQ(socket.Get_fhost(), inet_addr("127.0.0.1"));
    const std::optional<Record> record = Take();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->status, 21);
    EXPECT_EQ(record->news().connection, 1U);
    peer.send_message("in");
    Look_When_Readable();
    EXPECT_EQ(Take_Messages(), Texts{Delivered("in")});
    Send("out");
    EXPECT_EQ(peer.receive_frame(), (WireFrame{"DTNC", "out"}));
}

TEST_F(WSocketLife, AcceptedConnectionCompressesWithAnEmptyDictionaryInItsMode)
{
    socket.Set_Send_Mode(SENDPKTCOMPRESS);
    Start_Listening();
    peer.connect_to(static_cast<std::uint16_t>(Own_Port(socket.Get_Sockfd())));
    Look_When_Readable();
    Send(Compressible(207));
    EXPECT_EQ(peer.receive_frame().mark, "DTBC");
}

TEST_F(WSocketLife, ListenerOfAnotherMakingServesToo)
{
    Connect_To_Peer();
    socket.ForceClose();
    Take_Statuses();
    const int bound = DAsyncSocket::Bind_Listener(0, nullptr, nullptr);
    EXPECT_EQ(socket.Listen_On(bound), 1);
    EXPECT_EQ(socket.GetState(), CONN_NO_STATE);
    peer.connect_to(static_cast<std::uint16_t>(Own_Port(bound)));
    Look_When_Readable();
    peer.close();
    See_Closing();
    EXPECT_EQ(Take_Statuses(), (Statuses{21, 20}));
}

TEST_F(WSocketLife, ListeningAgainLeavesTheClosedStateBehind)
{
    Connect_To_Peer();
    socket.ForceClose();
    Start_Listening();
    EXPECT_EQ(socket.GetState(), CONN_NO_STATE);
}

// ---- Events with an error

TEST_F(WSocketLife, EventsWithAnErrorAreTold)
{
    Connect_To_Peer();
    socket.OnSend(EPIPE);
    socket.OnReceive(EPIPE);
    EXPECT_EQ(Take_Statuses(), (Statuses{9, 19}));
    socket.OnClose(EPIPE);
    EXPECT_EQ(Take_Statuses(), (Statuses{8, 20}));
}

TEST_F(WSocketLife, AcceptWithAnErrorIsToldAndOpensNothing)
{
    Start_Listening();
    socket.OnAccept(EMFILE);
    EXPECT_EQ(Take_Statuses(), Statuses{7});
    EXPECT_EQ(socket.GetState(), CONN_NO_STATE);
    EXPECT_EQ(socket.Get_Sockfd(), -1);
}

} // namespace
