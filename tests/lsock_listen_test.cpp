// Listening: the three steps, and the try to bind that lasts for five seconds of a clock in the test's hand.
#include "support/fake_system.h"
#include "support/socket_fixture.h"

#include <numeric>

namespace {

using Texts = std::vector<std::string>;

const Texts bind_failed{"Error. The bind on listen could not be done, err Address already in use\n"};

class ListenTest : public SocketTest
{
protected:
    // Another socket listens on the port that `socket` is to have.
    void Take_Port()
    {
        ASSERT_EQ(blocker.Create(0, 0), 1);
        ASSERT_EQ(blocker.Listen(), 1);
        port = Own_Port(blocker.Get_Sockfd());
        socket.Create(port, 0);
    }
    [[nodiscard]] std::int64_t Waited() const
    {
        const std::vector<std::int64_t> waits = system.waits();
        return std::accumulate(waits.begin(), waits.end(), std::int64_t{0});
    }

    FakeSystem system;
    static inline DAsyncSocket blocker;
    static inline int tries = 0;
    static inline std::int64_t first_tick = 1'000'000;
    int port = 0;

    void SetUp() override
    {
        SocketTest::SetUp();
        system.ticks = first_tick;
        first_tick += 100 * FakeSystem::ticks_per_second; // a clock that fell behind the last test's would stand still
        tries = 0;
    }
    void TearDown() override
    {
        blocker.Close();
        SocketTest::TearDown();
    }
};

TEST_F(ListenTest, ListenerWaitsOnAnyAddressInStateOne)
{
    Start_Listening();
    EXPECT_EQ(inside.State(), 1);
    EXPECT_EQ(Own_Address(socket.Get_Sockfd()).sin_addr.s_addr, htonl(INADDR_ANY));
    EXPECT_EQ(Option(socket.Get_Sockfd(), SOL_SOCKET, SO_ACCEPTCONN), 1);
    EXPECT_EQ(Option(socket.Get_Sockfd(), SOL_SOCKET, SO_REUSEADDR), 1);
    EXPECT_TRUE(system.waits().empty());
}

TEST_F(ListenTest, ListenerIsNonBlockingAndCloseOnExec)
{
    Start_Listening();
    EXPECT_NE(fcntl(socket.Get_Sockfd(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(socket.Get_Sockfd(), F_GETFD), FD_CLOEXEC);
}

TEST_F(ListenTest, SecondListenClosesTheFirstSocket)
{
    Start_Listening();
    const int before = Open_Descriptors();
    Start_Listening();
    EXPECT_EQ(Open_Descriptors(), before);
}

TEST_F(ListenTest, PortThatStaysTakenIsGivenUpAfterFiveSeconds)
{
    Take_Port();
    const int before = Open_Descriptors();
    EXPECT_EQ(socket.Listen(), 0);
    EXPECT_EQ(reports, bind_failed);
    EXPECT_EQ(DAsyncSocket::GetLastError(), EADDRINUSE);
    EXPECT_LE(Waited(), 5'000'000);
    EXPECT_GT(Waited(), 4'000'000);
    EXPECT_EQ(Open_Descriptors(), before);
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(ListenTest, PausesBetweenTwoTriesLastTenMilliseconds)
{
    Take_Port();
    socket.Listen();
    for (const std::int64_t pause : system.waits()) {
        ASSERT_EQ(pause, 10'000);
    }
}

TEST_F(ListenTest, PortThatGetsFreeIsTakenAtTheNextTry)
{
    Take_Port();
    system.calls.sleep = [](timeval) {
        if (++tries == 3) {
            blocker.Close();
        }
        return 0;
    };
    EXPECT_EQ(socket.Listen(), 1);
    EXPECT_EQ(tries, 3);
    EXPECT_EQ(Own_Port(socket.Get_Sockfd()), port);
    EXPECT_EQ(reports, Texts{});
}

TEST_F(ListenTest, CallerThatSaysNoEndsTheTriesWithoutAReport)
{
    Take_Port();
    const int before = Open_Descriptors();
    EXPECT_EQ(DAsyncSocket::Bind_Listener(
                  port, [](void*) { return false; }, nullptr),
              -1);
    EXPECT_EQ(reports, Texts{});
    EXPECT_TRUE(system.waits().empty());
    EXPECT_EQ(Open_Descriptors(), before);
}

TEST_F(ListenTest, CallerIsAskedBetweenTwoTries)
{
    Take_Port();
    int answers = 3;
    const auto count_down = [](void* context) { return --*static_cast<int*>(context) >= 0; };
    EXPECT_EQ(DAsyncSocket::Bind_Listener(port, count_down, &answers), -1);
    EXPECT_EQ(system.waits().size(), 3U);
    EXPECT_EQ(reports, Texts{});
}

TEST_F(ListenTest, CallerIsNotAskedWhenThePortIsFree)
{
    const Descriptor bound(DAsyncSocket::Bind_Listener(
        0, [](void*) { return false; }, nullptr));
    EXPECT_NE(bound.Number(), -1);
}

TEST_F(ListenTest, CallerThatAlwaysSaysYesStillEndsAfterFiveSeconds)
{
    Take_Port();
    EXPECT_EQ(DAsyncSocket::Bind_Listener(
                  port, [](void*) { return true; }, nullptr),
              -1);
    EXPECT_EQ(reports, bind_failed);
    EXPECT_LE(Waited(), 5'000'000);
}

TEST_F(ListenTest, ListenWithoutFreeDescriptorsIsReported)
{
    const NoMoreFiles limit;
    EXPECT_EQ(socket.Listen(), 0);
    EXPECT_EQ(reports, Texts{"Error. The socket could not be created, err Too many open files\n"});
    EXPECT_EQ(DAsyncSocket::GetLastError(), EMFILE);
    EXPECT_EQ(inside.State(), 16);
}

// The system refuses every control call on a descriptor that is no more than a path, and closes it nevertheless.
TEST_F(ListenTest, SocketThatCannotBeMadeNonBlockingIsReportedAndClosed)
{
    const int path = open("/", O_PATH | O_CLOEXEC);
    EXPECT_EQ(socket.Listen_On(path), 0);
    EXPECT_EQ(reports, Texts{"Error. Could not change to NON BLOCKING , err Bad file descriptor\n"});
    EXPECT_EQ(DAsyncSocket::GetLastError(), EBADF);
    EXPECT_FALSE(Is_Open(path));
    EXPECT_EQ(socket.Get_Sockfd(), -1);
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(ListenTest, SocketThatCannotListenIsReportedAndClosed)
{
    const int datagrams = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(socket.Listen_On(datagrams), 0);
    EXPECT_EQ(reports, Texts{"Error. Could not activate 10 concurrent listens, err Operation not supported"});
    EXPECT_EQ(DAsyncSocket::GetLastError(), EOPNOTSUPP);
    EXPECT_FALSE(Is_Open(datagrams));
    EXPECT_EQ(socket.Get_Sockfd(), -1);
    EXPECT_EQ(inside.State(), 16);
}

TEST_F(ListenTest, ListenOnClosesWhatWasOpen)
{
    Connect_To_Peer();
    EXPECT_EQ(socket.Listen_On(DAsyncSocket::Bind_Listener(0, nullptr, nullptr)), 1);
    EXPECT_EQ(Got(peer.Number()), "");
}

} // namespace
