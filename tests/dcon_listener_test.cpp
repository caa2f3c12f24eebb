// The connection thread of a listener: one peer at a time, on a port that may be taken.
#include "support/driver_fixture.h"
#include "support/report_texts.h"
#include "transport/inbound_door.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::int64_t five_seconds = 5'000'000;
constexpr std::int64_t between_two_binds = 10'000;

// Leaves room for one descriptor more, while it lives.
class RoomForOneDescriptor
{
public:
    RoomForOneDescriptor()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const OwnedDescriptor lowest_free(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
        const rlimit tight{.rlim_cur = static_cast<rlim_t>(lowest_free.get()) + 1, .rlim_max = m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &tight);
    }
    ~RoomForOneDescriptor() { setrlimit(RLIMIT_NOFILE, &m_before); }
    RoomForOneDescriptor(const RoomForOneDescriptor&) = delete;
    RoomForOneDescriptor& operator=(const RoomForOneDescriptor&) = delete;

private:
    rlimit m_before{};
};

class DriverListenerTest : public DriverTest
{
protected:
    DriverListenerTest() { Listen_At(port.number()); }
    ~DriverListenerTest() override { End(); }

    void Start_And_Serve()
    {
        Start();
        Serve();
    }
    void Serve()
    {
        peer.connect_to(port.number());
        Expect_Status(opened);
    }
    // Both ways.
    void Exchange(const std::string& text)
    {
        Send("575 to the peer " + text);
        Expect_At_Peer("575 to the peer " + text);
        peer.send_message("575 from the peer " + text);
        Expect_Message("575 from the peer " + text);
    }
    [[nodiscard]] std::ptrdiff_t Waits_Of(std::int64_t span) const
    {
        const std::vector<std::int64_t> all = time.waits();
        return std::count(all.begin(), all.end(), span);
    }
    // Until the driver has tried to bind two times more.
    void Wait_For_Two_Binds() const
    {
        const std::ptrdiff_t before = Waits_Of(between_two_binds);
        EXPECT_TRUE(Becomes([&] { return Waits_Of(between_two_binds) >= before + 2; }));
    }

    ReservedPort port;
};

// ---- Peers

TEST_F(DriverListenerTest, APeerIsServedBothWays)
{
    Start_And_Serve();
    Exchange("once");
    EXPECT_EQ(descr->DCON_state, DCON_ST_NORMCON);
    EXPECT_FALSE(Is_Any_Record());
}

TEST_F(DriverListenerTest, TheNextPeerIsServedAtTheSamePortASecondBehindTheFirst)
{
    Start();
    for (int served = 1; served <= 3; ++served) {
        Serve();
        Exchange(std::to_string(served));
        Settle();
        peer.close();
        EXPECT_EQ(Load_News(Expect_Status(closed).extra.data()).connection, Connections());
        Settle();
        EXPECT_EQ(descr->DCON_state, DCON_ST_NORMCON); // until the second is over
        Step(1);
        EXPECT_EQ(descr->DCON_state, DCON_ST_OPENCHK);
    }
    EXPECT_EQ(Connections(), 3U);
}

TEST_F(DriverListenerTest, NobodyListensWhileAPeerIsServed)
{
    Start_And_Serve();
    Settle();
    EXPECT_NO_THROW(TestPeer().listen(port.number()));
}

TEST_F(DriverListenerTest, NobodyBeginsAClockCheckAndNobodyTicks)
{
    descr->ticking_message = 1;
    Start_And_Serve();
    Step_With_Live_Peer(15);
    EXPECT_FALSE(peer.has_unread());
    EXPECT_FALSE(Is_Any_Record());
}

TEST_F(DriverListenerTest, AnOpenConnectionIsLookedAtEveryFiveSeconds)
{
    Start_And_Serve();
    Settle();
    const std::ptrdiff_t before = Waits_Of(five_seconds);
    Step(15);
    EXPECT_EQ(Waits_Of(five_seconds), before + 3);
}

TEST_F(DriverListenerTest, TheExpireTimeHoldsForItsConnectionsToo)
{
    descr->expire_time = 40;
    Start_And_Serve();
    Step(10);
    EXPECT_FALSE(peer.has_unread());
    Step(5);
    EXPECT_TRUE(peer.receive_frame().is_alive_signal());
}

TEST_F(DriverListenerTest, ASilentPeerIsLeft)
{
    Start_And_Serve();
    Step(65);
    Expect_Status(17);
    Step(65);
    Expect_Status(14);
    peer.receive_until_closed();
    peer.close();
    Expect_Status(closed);
}

TEST_F(DriverListenerTest, WaitsOnWhileNobodyComes)
{
    Start();
    Step(100);
    EXPECT_EQ(descr->DCON_state, DCON_ST_OPENCHK);
    EXPECT_LE(time.waits().size(), 102U);
    Serve();
}

TEST_F(DriverListenerTest, APortOfZeroIsAnyPort)
{
    Listen_At(0);
    Start();
    Settle();
    EXPECT_EQ(descr->DCON_state, DCON_ST_OPENCHK);
    Request_Stop();
    Join();
}

// ---- A port that is taken

TEST_F(DriverListenerTest, ATakenPortIsReportedBehindFiveSecondsAndTriedForEver)
{
    const ReportTexts reports;
    port.take();
    Start();
    for (int i = 0; i < 3; ++i) {
        Wait_For_Two_Binds();
        time.advance_seconds(4);
        Wait_For_Two_Binds();
        EXPECT_EQ(time.parked(), 0U);
        time.advance_seconds(1);
        Settle();
        EXPECT_THAT(ReportTexts::Take(),
                    testing::ElementsAre(testing::EndsWith(
                        " Error. The bind on listen could not be done, err Address already in use\n")));
        time.advance_seconds(1);
    }
    port.release();
    Serve();
}

TEST_F(DriverListenerTest, AStopWhileThePortIsTakenTakesNoTime)
{
    port.take();
    Start();
    Wait_For_Two_Binds();
    Request_Stop();
    Join();
    Expect_Status(stopped);
}

TEST_F(DriverListenerTest, TheLockIsFreeWhileThePortIsTaken)
{
    port.take();
    Start();
    Wait_For_Two_Binds();
    const TransportLock lock(descr->DCON_lock);
    Wait_For_Two_Binds();
}

// ---- Restarts

TEST_F(DriverListenerTest, ARestartClosesAnOpenConnectionAndTellsSo)
{
    Start_And_Serve();
    Request_Restart();
    EXPECT_STREQ(Expect_Status(closed).source, "1");
    peer.receive_until_closed();
    Settle();
    EXPECT_FALSE(Is_Any_Record());
}

TEST_F(DriverListenerTest, ARestartStaysInForceAndComesOnceASecond)
{
    Start();
    Settle();
    Request_Restart();
    Settle();
    const std::size_t before = time.waits().size();
    Step(10);
    EXPECT_EQ(time.waits().size(), before + 10);
    EXPECT_EQ(descr->DCON_terminate, DCON_NEXT_STATE_RESTART);
    DCON_Clear_Request(*descr);
    Step(1);
    Serve();
    Exchange("behind the restart");
}

TEST_F(DriverListenerTest, AStopDuringARestartTakesNoTime)
{
    Start();
    Settle();
    Request_Restart();
    Settle();
    Request_Stop();
    Join();
    Expect_Status(stopped);
}

// ---- Accepting fails

TEST_F(DriverListenerTest, APeerThatCanNotBeAcceptedIsAskedForOnceASecond)
{
    Start();
    Settle();
    {
        const RoomForOneDescriptor for_the_peer;
        peer.connect_to(port.number());
        Settle();
        const std::size_t before = time.waits().size();
        Step(10);
        EXPECT_LE(time.waits().size(), before + 20);
        EXPECT_FALSE(Is_Any_Record());
    }
    Step(1);
    Expect_Status(opened);
    Exchange("at last");
}

// ---- Stops

TEST_F(DriverListenerTest, AStopWhileNobodyCameTakesNoTime)
{
    Start();
    Settle();
    Request_Stop();
    Join();
    Expect_Status(stopped);
}

TEST_F(DriverListenerTest, AStopSendsWhatStandsInTheRing)
{
    Start_And_Serve();
    {
        const TransportLock lock(descr->DCON_lock);
        for (int i = 0; i < 100; ++i) {
            Send("575 " + std::to_string(i));
        }
        Request_Stop();
    }
    for (int i = 0; i < 100; ++i) {
        Expect_At_Peer("575 " + std::to_string(i));
    }
    EXPECT_EQ(peer.receive_until_closed(), "");
    peer.close();
    Join();
    Expect_Status(stopped);
    EXPECT_STREQ(Expect_Status(closed).source, "1");
}

} // namespace
