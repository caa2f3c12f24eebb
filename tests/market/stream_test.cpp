// Streams over real connections of 127.0.0.1: bytes both ways, queues, ends and faults.
#include "net/stream.h"

#include "market/support/loop_fixture.h"

#include <csignal>
#include <fcntl.h>
#include <random>
#include <sys/resource.h>

namespace {

using qm::Descriptor;
using qm::Listener;
using qm::Stream;
using Texts = std::vector<std::string>;

std::string noise(std::size_t length)
{
    std::mt19937 random(static_cast<unsigned>(length));
    std::string bytes(length, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random() & 255);
    }
    return bytes;
}

class StreamTest : public LoopTest
{
protected:
    // Small buffers make a queue early.
    void Connect(int receive_buffer = 0)
    {
        std::signal(SIGPIPE, SIG_DFL); // what would end the process
        client.emplace(listener.port(), receive_buffer);
        ASSERT_TRUE(client->is_good());
        Run_Until([this] { return accepted >= 0; });
        if (receive_buffer > 0) {
            setsockopt(accepted, SOL_SOCKET, SO_SNDBUF, &receive_buffer, sizeof receive_buffer);
        }
        stream = std::make_unique<Stream>(loop, std::exchange(accepted, -1), Events());
    }

    Stream::Events Events()
    {
        return {.received =
                    [this](std::string_view bytes) {
                        received += bytes;
                        Do(on_received);
                    },
                .closed =
                    [this](const std::string& why) {
                        closed.push_back(why);
                        Do(on_closed);
                    },
                .drained =
                    [this] {
                        ++drained;
                        Do(on_drained);
                    }};
    }

    static void Do(const std::function<void()>& call)
    {
        if (call) {
            call();
        }
    }

    // The client takes all up to the connection's end.
    std::string Taken_To_The_End()
    {
        std::string bytes;
        Run_Until([&] { return !client->Receive(bytes); });
        return bytes;
    }

    std::string Taken(std::size_t count)
    {
        std::string bytes;
        Run_Until([&] { return bytes.size() >= count || !client->Receive(bytes); });
        return bytes;
    }

    // Sends until a queue stands.
    std::string Fill()
    {
        std::string sent;
        while (stream->queued() == 0) {
            sent += noise(30'000);
            stream->Send(std::string_view(sent).substr(sent.size() - 30'000));
        }
        return sent;
    }

    int accepted = -1;
    std::string peer;
    Listener listener{loop, "127.0.0.1", 0, [this](int descriptor, const std::string& from) {
                          accepted = descriptor;
                          peer = from;
                      }};
    std::optional<LoopClient> client;
    std::unique_ptr<Stream> stream;

    std::string received;
    Texts closed;
    int drained = 0;
    std::function<void()> on_received;
    std::function<void()> on_closed;
    std::function<void()> on_drained;
};

constexpr int small = 4096;

// ---- Bytes

TEST_F(StreamTest, BytesGoBothWays)
{
    Connect();
    stream->Send("hello");
    EXPECT_EQ(Taken(5), "hello");
    EXPECT_EQ(client->Send("good day"), 8U);
    Run_Until([this] { return received == "good day"; });
    EXPECT_EQ(stream->bytes_out(), 5U);
    EXPECT_EQ(stream->bytes_in(), 8U);
    EXPECT_EQ(stream->queued(), 0U);
}

TEST_F(StreamTest, WhatTheSystemDoesNotTakeIsQueuedAndComesInOrder)
{
    Connect(small);
    std::string sent = Fill();
    for (int i = 0; i < 50; ++i) {
        const std::string more = noise(static_cast<std::size_t>(1000 * i));
        stream->Send(more);
        sent += more;
    }
    EXPECT_EQ(stream->bytes_out() + stream->queued(), sent.size());
    EXPECT_TRUE(Taken(sent.size()) == sent);
    Run_Some();
    EXPECT_EQ(stream->queued(), 0U);
    EXPECT_EQ(stream->bytes_out(), sent.size());
}

TEST_F(StreamTest, QueueTakesMoreWhileItDrains)
{
    Connect(small);
    std::string sent = Fill();
    std::string taken;
    Run_Until([&] {
        if (sent.size() < 2'000'000) {
            const std::string more = noise(7000);
            stream->Send(more);
            sent += more;
        }
        return !client->Receive(taken) || taken.size() == sent.size();
    });
    EXPECT_TRUE(taken == sent);
}

TEST_F(StreamTest, ReadsComeInPiecesUpToTheEnd)
{
    Connect();
    const std::string sent = noise(500'000);
    std::size_t at = 0;
    Run_Until([&] {
        at += client->Send(std::string_view(sent).substr(at));
        return at == sent.size();
    });
    client->Close();
    Run_Until([this] { return !closed.empty(); });
    EXPECT_TRUE(received == sent);
}

// ---- Draining

TEST_F(StreamTest, DrainedComesOnceWhenTheQueueFallsBelowTheMark)
{
    Connect(small);
    stream->Send(noise(Stream::HIGH_WATER));
    ASSERT_GE(stream->queued(), Stream::LOW_WATER);
    std::size_t at_call = 0;
    on_drained = [&] { at_call = stream->queued(); };
    std::string taken;
    Run_Until([&] { return !client->Receive(taken) || drained > 0; });
    EXPECT_LT(at_call, Stream::LOW_WATER);
    EXPECT_GT(at_call, 0U);
    Run_Until([&] { return !client->Receive(taken) || taken.size() == Stream::HIGH_WATER; });
    Run_Some();
    EXPECT_EQ(drained, 1);
}

TEST_F(StreamTest, ShortQueueNeverTells)
{
    Connect(small);
    const std::string sent = Fill();
    ASSERT_LT(stream->queued(), Stream::LOW_WATER);
    Taken(sent.size());
    Run_Some();
    EXPECT_EQ(drained, 0);
}

TEST_F(StreamTest, SendNowTakesWhatTheSystemTakesAndTellsWhenItTakesMore)
{
    Connect(small);
    const std::string bytes = noise(3'000'000);
    std::size_t at = 0;
    on_drained = [&] { at += stream->Send_Now(std::string_view(bytes).substr(at)); };
    on_drained();
    EXPECT_GT(at, 0U);
    EXPECT_LT(at, bytes.size());
    EXPECT_EQ(stream->queued(), 0U);
    EXPECT_TRUE(Taken(bytes.size()) == bytes);
    EXPECT_EQ(at, bytes.size());
    EXPECT_GT(drained, 0);
}

TEST_F(StreamTest, SendNowTakesNothingWhileSomethingIsQueued)
{
    Connect(small);
    const std::string sent = Fill();
    EXPECT_EQ(stream->Send_Now("in between"), 0U);
    EXPECT_TRUE(Taken(sent.size()) == sent);
    EXPECT_EQ(stream->Send_Now("behind"), 6U);
    EXPECT_EQ(Taken(6), "behind");
}

TEST_F(StreamTest, SendNowThatTookNothingIsToldWhenItMayGoOn)
{
    Connect();
    stream->Stall(true);
    EXPECT_EQ(stream->Send_Now("too early"), 0U);
    stream->Send("queued");
    EXPECT_EQ(stream->Send_Now("still"), 0U);
    stream->Stall(false);
    Run_Until([this] { return drained > 0; });
    EXPECT_EQ(stream->Send_Now(" and now"), 8U);
    EXPECT_EQ(Taken(14), "queued and now");
    Run_Some();
    EXPECT_EQ(drained, 1);
}

TEST_F(StreamTest, RestOfAShortSendNowMayBeQueued)
{
    Connect(small);
    const std::string bytes = noise(100'000);
    const std::size_t sent = stream->Send_Now(bytes);
    ASSERT_LT(sent, bytes.size());
    stream->Send(std::string_view(bytes).substr(sent));
    on_drained = [this] { EXPECT_EQ(stream->queued(), 0U); };
    EXPECT_TRUE(Taken(bytes.size()) == bytes);
    Run_Until([this] { return drained > 0; });
}

// ---- Ends

TEST_F(StreamTest, EndOfThePeerIsToldOnce)
{
    Connect();
    client->Close();
    Run_Until([this] { return !closed.empty(); });
    Run_Some();
    EXPECT_EQ(closed, Texts{"closed by the peer"});
    EXPECT_TRUE(stream->is_closed());
    stream->Send("nobody");
    EXPECT_EQ(stream->Send_Now("nobody"), 0U);
    stream->Stall(true);
    stream->Stall(false);
    stream->Close_After(0);
    stream->Close("again");
    Run_Some();
    EXPECT_EQ(stream->queued(), 0U);
    EXPECT_EQ(closed.size(), 1U);
}

TEST_F(StreamTest, ResetOfThePeerIsToldWithItsReason)
{
    Connect();
    client->Reset();
    Run_Until([this] { return !closed.empty(); });
    EXPECT_EQ(closed, Texts{"Connection reset by peer"});
}

TEST_F(StreamTest, CloseEndsInOrderAndTellsAtOnce)
{
    Connect();
    stream->Send("last words");
    stream->Close("enough");
    EXPECT_EQ(closed, Texts{"enough"});
    EXPECT_EQ(Taken_To_The_End(), "last words");
    EXPECT_TRUE(client->was_closed());
}

TEST_F(StreamTest, DestroyedOneClosesWithoutAWord)
{
    Connect();
    stream.reset();
    Taken_To_The_End();
    EXPECT_TRUE(client->was_closed());
    EXPECT_EQ(closed, Texts{});
}

TEST_F(StreamTest, FailedSendEndsItFromTheLoopBehindWhatThePeerSent)
{
    Connect();
    EXPECT_EQ(client->Send("the last order"), 14U);
    client->Reset();
    for (int i = 0; i < 10; ++i) {
        stream->Send("nobody reads this");
    }
    EXPECT_EQ(closed, Texts{});
    EXPECT_EQ(stream->queued(), 0U);
    Run_Until([this] { return !closed.empty(); });
    EXPECT_EQ(received, "the last order");
    Run_Some();
    EXPECT_EQ(closed.size(), 1U);
}

TEST_F(StreamTest, MayBeDestroyedInEachOfItsCallbacks)
{
    const auto destroy = [this] { stream.reset(); };
    Connect();
    on_received = destroy;
    EXPECT_EQ(client->Send("x"), 1U);
    Run_Until([this] { return stream == nullptr; });

    Connect();
    on_received = nullptr;
    on_closed = destroy;
    client->Close();
    Run_Until([this] { return stream == nullptr; });

    Connect();
    stream->Close("enough");
    EXPECT_EQ(stream, nullptr);

    Connect();
    stream->Close_After(0);
    Run_Until([this] { return stream == nullptr; });

    Connect(small);
    on_drained = destroy;
    stream->Send(noise(Stream::HIGH_WATER));
    std::string taken;
    Run_Until([&] { return !client->Receive(taken) || stream == nullptr; });
    Run_Some();
    EXPECT_EQ(closed.size(), 3U);
}

TEST_F(StreamTest, MayBeClosedInsideWhatItReceives)
{
    Connect();
    on_received = [this] { stream->Close("bad frame"); };
    EXPECT_EQ(client->Send("x"), 1U);
    Run_Until([this] { return !closed.empty(); });
    Run_Some();
    EXPECT_EQ(closed, Texts{"bad frame"});
}

// ---- Faults

TEST_F(StreamTest, ConnectionIsResetBehindTheLastByteAllowed)
{
    for (const std::size_t count : {1U, 5U, 6U, 10U, 999U}) {
        Connect();
        closed.clear();
        stream->Close_After(count);
        for (int i = 0; i < 20; ++i) {
            stream->Send(std::string(100, static_cast<char>('a' + i)));
        }
        const std::string taken = Taken_To_The_End();
        EXPECT_EQ(taken.size(), count);
        EXPECT_TRUE(client->was_reset()) << count;
        Run_Until([this] { return !closed.empty(); });
        EXPECT_EQ(closed, Texts{"reset on request"});
        EXPECT_EQ(stream->bytes_out(), count);
    }
}

TEST_F(StreamTest, ResetWaitsForASlowReaderToHaveTheLastByte)
{
    for (const std::size_t count : {50'000U, 123'457U}) {
        Connect(small);
        const std::string bytes = noise(200'000);
        stream->Send(std::string_view(bytes).substr(0, 30'000));
        const std::uint64_t before = stream->bytes_out();
        stream->Close_After(count); // what is queued is among them
        stream->Send(std::string_view(bytes).substr(30'000));
        EXPECT_EQ(closed, Texts{});
        EXPECT_TRUE(Taken_To_The_End() == bytes.substr(0, before + count));
        EXPECT_TRUE(client->was_reset());
        Run_Until([this] { return !closed.empty(); });
        closed.clear();
    }
}

TEST_F(StreamTest, SendNowKeepsToTheLimitToo)
{
    Connect();
    stream->Close_After(7);
    EXPECT_EQ(stream->Send_Now("0123456789"), 7U);
    EXPECT_EQ(stream->Send_Now("789"), 0U);
    EXPECT_EQ(Taken_To_The_End(), "0123456");
    EXPECT_TRUE(client->was_reset());
}

TEST_F(StreamTest, ResetNowIsToldFromTheLoop)
{
    Connect();
    stream->Close_After(0);
    EXPECT_EQ(closed, Texts{});
    EXPECT_TRUE(stream->is_closed());
    Taken_To_The_End();
    EXPECT_TRUE(client->was_reset());
    Run_Some();
    EXPECT_EQ(closed, Texts{"reset on request"});
}

TEST_F(StreamTest, StalledOneNeitherReadsNorWritesAndGoesOnAfterwards)
{
    Connect();
    stream->Stall(true);
    EXPECT_TRUE(stream->is_stalled());
    stream->Send("waits");
    EXPECT_EQ(stream->Send_Now("too"), 0U);
    EXPECT_EQ(client->Send("waits here"), 10U);
    Run_Some();
    std::string taken;
    EXPECT_TRUE(client->Receive(taken));
    EXPECT_EQ(taken, "");
    EXPECT_EQ(received, "");
    EXPECT_EQ(stream->queued(), 5U);
    stream->Stall(false);
    EXPECT_EQ(Taken(5), "waits");
    Run_Until([this] { return received == "waits here"; });
}

TEST_F(StreamTest, StalledOneSeesThePeersEndAfterwardsAndLeavesTheLoopInPeace)
{
    Connect();
    stream->Stall(true);
    client->Reset();
    Run_Some();
    EXPECT_EQ(closed, Texts{});
    stream->Stall(false);
    Run_Until([this] { return !closed.empty(); });
}

TEST_F(StreamTest, StallingInsideWhatItReceivesHoldsTheRest)
{
    Connect();
    on_received = [this] { stream->Stall(true); };
    EXPECT_EQ(client->Send("one"), 3U);
    Run_Until([this] { return !received.empty(); });
    EXPECT_EQ(client->Send("two"), 3U);
    stream->Send("answer");
    Run_Some();
    EXPECT_EQ(received, "one");
    EXPECT_EQ(stream->queued(), 6U);
}

// ---- Listening

class ListenerTest : public LoopTest
{
protected:
    ~ListenerTest() override
    {
        for (const int descriptor : accepted) {
            close(descriptor);
        }
    }

    std::unique_ptr<Listener> Listening(std::uint16_t port = 0)
    {
        return std::make_unique<Listener>(loop, "127.0.0.1", port, [this](int descriptor, const std::string& peer) {
            accepted.push_back(descriptor);
            peers.push_back(peer);
        });
    }

    std::vector<int> accepted;
    Texts peers;
};

TEST_F(ListenerTest, AllWhoWaitAreAcceptedAndTold)
{
    const auto listener = Listening();
    EXPECT_NE(listener->port(), 0);
    const std::array<LoopClient, 3> clients{LoopClient(listener->port()), LoopClient(listener->port()),
                                            LoopClient(listener->port())};
    Run_Until([this] { return accepted.size() == 3; });
    for (std::size_t i = 0; i < clients.size(); ++i) {
        sockaddr_in own{};
        socklen_t length = sizeof own;
        getsockname(clients.at(i).number(), reinterpret_cast<sockaddr*>(&own), &length);
        EXPECT_EQ(peers.at(i), "127.0.0.1:" + std::to_string(ntohs(own.sin_port)));
        EXPECT_NE(fcntl(accepted.at(i), F_GETFL) & O_NONBLOCK, 0);
        EXPECT_NE(fcntl(accepted.at(i), F_GETFD) & FD_CLOEXEC, 0);
    }
}

TEST_F(ListenerTest, PortCanBeTakenAgainAtOnce)
{
    auto listener = Listening();
    const std::uint16_t port = listener->port();
    const LoopClient client(port);
    Run_Until([this] { return !accepted.empty(); });
    close(accepted.back()); // this end closes first and so holds the port
    accepted.clear();
    listener.reset();
    listener = Listening(port);
    EXPECT_EQ(listener->port(), port);
    EXPECT_TRUE(LoopClient(port).is_good());
}

TEST_F(ListenerTest, WhatCantBeListenedOnIsRefused)
{
    const auto listener = Listening();
    EXPECT_THROW(Listening(listener->port()), std::system_error);
    EXPECT_THROW(Listener(loop, "no address", 0, {}), std::system_error);
    EXPECT_THROW(Listener(loop, "192.0.2.1", 0, {}), std::system_error); // another machine's
}

TEST_F(ListenerTest, ConnectionThatIsGoneAgainIsSurvived)
{
    const auto listener = Listening();
    LoopClient(listener->port()).Reset();
    const LoopClient next(listener->port());
    Run_Until([&] { return !accepted.empty() && next.is_good(); });
    Run_Some();
    EXPECT_GE(accepted.size(), 1U);
}

TEST_F(ListenerTest, MayBeDestroyedInItsCallback)
{
    std::unique_ptr<Listener> listener;
    listener = std::make_unique<Listener>(loop, "127.0.0.1", 0, [&](int descriptor, const std::string&) {
        accepted.push_back(descriptor);
        listener.reset();
    });
    const LoopClient one(listener->port());
    const LoopClient other(listener->port());
    Run_Until([&] { return listener == nullptr; });
    Run_Some();
    EXPECT_EQ(accepted.size(), 1U);
}

// No descriptor can be had while the limit stands.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const Descriptor next(open("/dev/null", O_RDONLY | O_CLOEXEC));
        rlimit none = m_before;
        none.rlim_cur = static_cast<rlim_t>(next.get());
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_before); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit m_before{};
};

TEST_F(ListenerTest, LackOfDescriptorsTurnsAwayWhoWaitsAndLetsTheNextIn)
{
    const auto listener = Listening();
    Run_Some(); // sanitizers need a descriptor at the first look at an object's class
    std::array<LoopClient, 2> clients{LoopClient(listener->port()), LoopClient(listener->port())};
    {
        const NoDescriptors none;
        for (LoopClient& client : clients) {
            std::string bytes;
            Run_Until([&] { return !client.Receive(bytes); });
            EXPECT_TRUE(client.was_closed());
        }
    }
    EXPECT_EQ(accepted.size(), 0U);
    const LoopClient next(listener->port());
    Run_Until([this] { return accepted.size() == 1; });
}

} // namespace
