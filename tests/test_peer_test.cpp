// The tests' peer, met by plain sockets and by a peer of its own kind.
#include "support/test_peer.h"

#include "support/fake_system.h"
#include "support/hex.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

sockaddr_in AddressOf(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

class PlainClient
{
public:
    // 0, or the errno.
    int Connect(std::uint16_t port, int flags = 0)
    {
        m_socket = OwnedDescriptor(::socket(AF_INET, SOCK_STREAM | flags, 0));
        const sockaddr_in address = AddressOf(port);
        const int result = ::connect(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
        return result == 0 ? 0 : errno;
    }
    void Send(const std::string& bytes) const
    {
        EXPECT_EQ(::send(m_socket.get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }
    // At most `count` bytes of one read; "" at the end, "reset" for a reset.
    [[nodiscard]] std::string Receive(std::size_t count = 1000) const
    {
        std::string bytes(count, '\0');
        const ssize_t got = ::recv(m_socket.get(), bytes.data(), count, 0);
        if (got < 0) {
            return errno == ECONNRESET ? "reset" : "error";
        }
        bytes.resize(static_cast<std::size_t>(got));
        return bytes;
    }
    [[nodiscard]] std::string ReceiveAll(std::size_t count) const
    {
        std::string bytes;
        while (bytes.size() < count) {
            bytes += Receive(count - bytes.size());
        }
        return bytes;
    }
    // What a socket that isn't read takes, but for a little that waits at this end.
    [[nodiscard]] std::size_t SendWhatFits() const
    {
        const int least = 1;
        EXPECT_EQ(::setsockopt(m_socket.get(), SOL_SOCKET, SO_SNDBUF, &least, sizeof least), 0);
        const std::string block(1000, 'x');
        std::size_t sum = 0;
        for (ssize_t sent = 0; sent >= 0; sum += static_cast<std::size_t>(sent > 0 ? sent : 0)) {
            sent = ::send(m_socket.get(), block.data(), block.size(), MSG_DONTWAIT);
        }
        return sum;
    }
    [[nodiscard]] bool IsPending() const
    {
        pollfd entry{.fd = m_socket.get(), .events = POLLOUT, .revents = 0};
        return ::poll(&entry, 1, 0) == 0;
    }
    void Close() { m_socket.Reset(); }

private:
    OwnedDescriptor m_socket;
};

class TestPeerTest : public testing::Test
{
protected:
    TestPeerTest() { peer.listen(); }

    void Connect()
    {
        ASSERT_EQ(client.Connect(peer.port()), 0);
        peer.accept();
    }

    FakeSystem system{1'700'000'000};
    TestPeer peer;
    PlainClient client;
};

TEST_F(TestPeerTest, AcceptsAndCounts)
{
    EXPECT_FALSE(peer.is_awaited());
    Connect();
    Connect();
    EXPECT_EQ(peer.accepted_count(), 2);
}

TEST_F(TestPeerTest, ANewPeerListensAtTheOldPort)
{
    const std::uint16_t port = peer.port();
    Connect();
    peer.close();
    peer.stop_listening();
    EXPECT_EQ(client.Connect(port), ECONNREFUSED);
    peer.listen(port);
    EXPECT_EQ(peer.port(), port);
    Connect();
}

TEST_F(TestPeerTest, BytesGoBothWays)
{
    Connect();
    peer.send("hello");
    EXPECT_EQ(client.ReceiveAll(5), "hello");
    EXPECT_FALSE(peer.has_unread());
    client.Send("ends");
    client.Close();
    EXPECT_EQ(peer.receive_until_closed(), "ends");
    EXPECT_FALSE(peer.was_reset());
}

TEST_F(TestPeerTest, PiecesAreWritesOfTheirOwn)
{
    Connect();
    std::vector<std::string> got;
    peer.send_split("abcdefg", {1, 2}, [&] { got.push_back(client.Receive()); });
    got.push_back(client.Receive());
    EXPECT_EQ(got, (std::vector<std::string>{"a", "bc", "defg"}));
}

TEST_F(TestPeerTest, MoreBytesThanThereAreMakeNoHarm)
{
    Connect();
    peer.send_split("abc", {2, 2});
    EXPECT_EQ(client.ReceiveAll(3), "abc");
}

TEST_F(TestPeerTest, FramesOfOneWriteComeOneByOne)
{
    Connect();
    client.Send(AliveFrame() + MakeFrame("DTBC", "xy"));
    EXPECT_TRUE(peer.receive_frame().is_alive_signal());
    EXPECT_TRUE(peer.has_unread());
    EXPECT_EQ(peer.receive_frame(), (WireFrame{"DTBC", "xy"}));
    EXPECT_FALSE(peer.has_unread());
}

TEST_F(TestPeerTest, AFrameThatDoesNotComeThrowsAtTheEnd)
{
    Connect();
    client.Send("DTCP");
    client.Close();
    EXPECT_THROW(peer.receive_frame(), std::runtime_error);
}

TEST_F(TestPeerTest, MessagesAreDecodedAndAliveSignalsPassedOver)
{
    Connect();
    WireEncoder encoder(3);
    client.Send(AliveFrame());
    client.Send(encoder.Encode(MakeEnvelope("700 first")).bytes());
    client.Send(encoder.Encode(MakeEnvelope("700 second", {}, 7)).bytes());
    EXPECT_EQ(peer.receive_message().message, "700 first");
    EXPECT_EQ(peer.receive_message().priority, 7);
    EXPECT_EQ(peer.alive_signals(), 1);
}

TEST_F(TestPeerTest, SendsInTheModeOfItsConnection)
{
    peer.send_mode = 2;
    Connect();
    peer.send_frame("DTXX", "y");
    peer.send_alive_signal();
    peer.send_envelope("aaaa");
    peer.send_envelope("aaaa");
    EXPECT_EQ(ToHex(client.ReceiveAll(32)), "44545858"
                                            "0100"
                                            "79"
                                            "445443500000"
                                            "44544e43"
                                            "0400"
                                            "61616161"
                                            "44544243"
                                            "0300"
                                            "81187f");
}

TEST_F(TestPeerTest, EachConnectionHasNewDictionaries)
{
    peer.send_mode = 2;
    Connect();
    peer.send_envelope("aaaa");
    Connect();
    peer.send_envelope("aaaa");
    EXPECT_EQ(client.ReceiveAll(10), MakeFrame("DTNC", "aaaa"));
}

// The message of a check as it leaves home: stage word 12, stage 2 stamped.
std::string LeavingCheck()
{
    std::string message = "869L001" + std::string(184, '\0');
    message.replace(97, 2, FromHex("0c00"));
    message.replace(97 + 2 + 8, 4, FromHex("11223344"));
    return message;
}

TEST_F(TestPeerTest, AClockCheckIsStampedTwiceAndSentHome)
{
    Connect();
    peer.far_clock = {.ahead_seconds = 256, .fraction = 7, .units = 1000};
    client.Send(MakeFrame("DTCP", MakeEnvelope(LeavingCheck(), {}, 4, 1)));
    client.Send(MakeFrame("DTCP", MakeEnvelope("700")));
    EXPECT_EQ(peer.receive_message().message, "700");
    EXPECT_EQ(peer.clock_checks(), 1);

    std::string expected = LeavingCheck();
    expected.replace(97, 2, FromHex("1400"));
    expected.replace(97 + 2 + 12, 8, FromHex("00f25365 00f25365")); // 1700000000 + 256
    expected.replace(97 + 26 + 12, 8, FromHex("07000000 07000000"));
    expected.replace(97 + 50 + 12, 8, FromHex("e8030000 e8030000"));
    EXPECT_EQ(ToHex(client.ReceiveAll(6 + 210)), ToHex(MakeFrame("DTCP", MakeEnvelope(expected, {}, 4, 1))));
}

TEST_F(TestPeerTest, AClockCheckThatIsNotForTheFarEndThrows)
{
    Connect();
    client.Send(MakeFrame("DTCP", MakeEnvelope("869" + std::string(188, '\0'))));
    EXPECT_THROW(peer.receive_message(), WireError);
    client.Send(MakeFrame("DTCP", MakeEnvelope(LeavingCheck().substr(0, 170))));
    EXPECT_THROW(peer.receive_message(), WireError);
}

TEST_F(TestPeerTest, HalfAConnectionStillReceives)
{
    Connect();
    peer.half_close();
    EXPECT_EQ(client.Receive(), "");
    client.Send(AliveFrame());
    EXPECT_TRUE(peer.receive_frame().is_alive_signal());
}

TEST_F(TestPeerTest, AResetIsSeenAtBothEnds)
{
    Connect();
    peer.reset();
    EXPECT_EQ(client.Receive(), "reset");

    TestPeer other;
    other.connect_to(peer.port());
    peer.accept();
    other.reset();
    EXPECT_EQ(peer.receive_until_closed(), "");
    EXPECT_TRUE(peer.was_reset());
}

TEST_F(TestPeerTest, ConnectsToAListener)
{
    TestPeer other;
    other.connect_to(peer.port());
    peer.accept();
    EXPECT_NE(other.own_port(), peer.port());
    other.send_message("700");
    EXPECT_EQ(peer.receive_message().message, "700");
}

TEST_F(TestPeerTest, SmallBuffersFillSoon)
{
    peer.small_buffers();
    Connect();
    const std::size_t with_small_buffers = client.SendWhatFits();
    TestPeer large;
    large.listen();
    ASSERT_EQ(client.Connect(large.port()), 0);
    EXPECT_LT(4 * with_small_buffers, client.SendWhatFits());
}

TEST_F(TestPeerTest, SmallBuffersHoldForAListenerToCome)
{
    TestPeer small;
    small.small_buffers();
    small.listen();
    ASSERT_EQ(client.Connect(small.port()), 0);
    const std::size_t with_small_buffers = client.SendWhatFits();
    ASSERT_EQ(client.Connect(peer.port()), 0);
    EXPECT_LT(4 * with_small_buffers, client.SendWhatFits());
}

TEST(FullBacklogTest, NeitherAcceptsNorRefuses)
{
    const FullBacklog full;
    std::array<PlainClient, 3> clients;
    for (PlainClient& client : clients) {
        EXPECT_EQ(client.Connect(full.port(), SOCK_NONBLOCK), EINPROGRESS);
        EXPECT_TRUE(client.IsPending());
    }
}

} // namespace
