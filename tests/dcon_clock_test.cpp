// The clock check over a connection: when it begins, what travels, and what moves it or does not.
#include "qcapi/config.h"
#include "qcapi/support.h"
#include "support/clock_check_frame.h"
#include "support/driver_fixture.h"
#include "support/hex.h"

#include <cstdlib>
#include <ctime>
#include <string>

namespace {

constexpr std::int64_t hour = 3600;

class DriverClockTest : public DriverTest
{
protected:
    DriverClockTest() { Use_Zone("UTC0"); }
    ~DriverClockTest() override { Use_Zone("UTC0"); }

    static void Use_Zone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }
    // Seconds by which local time is ahead of universal time.
    static std::int64_t Zone_Ahead()
    {
        const std::time_t now = 1'700'000'000;
        std::tm local{};
        localtime_r(&now, &local);
        return local.tm_gmtoff;
    }
    // The far end lives in the same zone; `ahead` of this end.
    void Put_Far_Clock(std::int64_t ahead, std::uint32_t fraction = 0)
    {
        peer.far_clock = {.ahead_seconds = Zone_Ahead() + ahead, .fraction = fraction};
    }
    // Answers the checks that are under way. What the driver has done with them is done when this returns.
    void Answer()
    {
        Send("575 behind the check");
        Expect_At_Peer("575 behind the check");
        peer.send_message("575 behind the answer");
        Expect_Message("575 behind the answer");
    }
    CheckFrame Receive_Check() { return CheckFrame(peer.receive_frame().payload); }
    void Send_Check(const CheckFrame& check) { peer.send_frame("DTCP", check.bytes); }
    static std::string Message_Of(const CheckFrame& check) { return check.bytes.substr(16); }
    [[nodiscard]] unsigned Now() const { return static_cast<unsigned>(time.calls.wall_seconds()); }
};

TEST_F(DriverClockTest, TheFirstFrameOfEveryConnectionBeginsACheck)
{
    Connect();
    for (int connection = 0; connection < 3; ++connection) {
        std::string expected = FromHex("0100 cf00 0100 0400 41424344 0000 bf00 383639 41424344");
        expected.resize(207);
        CheckFrame check(expected);
        check.SetWord(12);
        check.Stamp(2, Now(), 0, 100);
        EXPECT_EQ(peer.receive_frame(), (WireFrame{"DTCP", check.bytes}));
        Drop();
        Step(1);
        Take_Connection();
    }
}

struct Far_End
{
    const char* zone;
    std::int64_t ahead; // seconds
    std::uint32_t fraction;
    long offset; // ticks
};

class DriverFarClockTest : public DriverClockTest, public testing::WithParamInterface<Far_End>
{
};

TEST_P(DriverFarClockTest, IsMeasuredAndNoRecordTellsOfIt)
{
    Use_Zone(GetParam().zone);
    Put_Far_Clock(GetParam().ahead, GetParam().fraction);
    Connect();
    Answer();
    EXPECT_EQ(peer.clock_checks(), 1);
    EXPECT_EQ(Glb_time_diff, GetParam().offset);
    EXPECT_FALSE(Is_Any_Record());
}

INSTANTIATE_TEST_SUITE_P(Zones, DriverFarClockTest,
                         testing::Values(Far_End{"UTC0", 0, 0, 0}, Far_End{"UTC0", 3 * hour, 0, 3 * 360'000},
                                         Far_End{"UTC0", -3 * hour, 0, -3 * 360'000}, Far_End{"UTC0", 0, 1, 1},
                                         Far_End{"UTC0", -1, 99, -1}, Far_End{"EST5EDT", 0, 0, 0},
                                         Far_End{"EST5EDT", 5 * hour, 7, 5 * 360'000 + 7},
                                         Far_End{"EST5EDT", -5 * hour, 0, -5 * 360'000}, Far_End{"EST5EDT", -1, 99, -1},
                                         Far_End{"IST-5:30", 0, 0, 0}, Far_End{"IST-5:30", 2 * hour, 0, 2 * 360'000},
                                         Far_End{"IST-5:30", -20 * hour, 50, -20 * 360'000 + 50}));

TEST_F(DriverClockTest, AFarEndWithoutFractionsIsTakenByItsSeconds)
{
    peer.far_clock = {.ahead_seconds = 10, .fraction = 99, .units = 0};
    Connect();
    Answer();
    EXPECT_EQ(Glb_time_diff, 1000);
}

TEST_F(DriverClockTest, HalfOfTheTimeOnTheWayIsTakenOff)
{
    Connect();
    Step(4);
    Put_Far_Clock(0);
    Answer(); // stamped and taken 4 seconds behind the start
    EXPECT_EQ(Glb_time_diff, 200);
}

// ---- When the next one begins

TEST_F(DriverClockTest, TheNextCheckBeginsBehindThreeHundredFortyOneSecondsAndNotBefore)
{
    Connect();
    Answer();
    for (int checks = 1; checks < 3; ++checks) {
        Step_With_Live_Peer(341);
        Answer();
        EXPECT_EQ(peer.clock_checks(), checks);
        Step(2);
        Answer();
        EXPECT_EQ(peer.clock_checks(), checks + 1);
    }
}

TEST_F(DriverClockTest, TheIntervalBeginsWithTheAnswer)
{
    Connect();
    Step_With_Live_Peer(100);
    Answer();
    Step_With_Live_Peer(341);
    Answer();
    EXPECT_EQ(peer.clock_checks(), 1);
    Step(2);
    Answer();
    EXPECT_EQ(peer.clock_checks(), 2);
}

TEST_F(DriverClockTest, ACheckWithoutAnAnswerDoesNoHarm)
{
    Connect();
    Receive_Check();
    Step_With_Live_Peer(342);
    EXPECT_EQ(Glb_time_diff, 0);
    EXPECT_FALSE(Is_Any_Record());
    Put_Far_Clock(60);
    Answer();
    EXPECT_EQ(peer.clock_checks(), 1);
    EXPECT_EQ(Glb_time_diff, 6000);
}

// ---- Checks of the peer's

TEST_F(DriverClockTest, ACheckThatThePeerBeganIsStampedAndPassedOnToItsEnd)
{
    Connect();
    Receive_Check();
    Send_Check(CheckFrame::WithWord(0));
    CheckFrame check = Receive_Check();
    EXPECT_EQ(check.Word(), 4U);
    EXPECT_EQ(check.Seconds(0), Now());
    EXPECT_EQ(check.Units(0), 100U);
    EXPECT_EQ(Expect_Status(message_came).data, Message_Of(check)); // the reader sees it too
    check.SetWord(12);
    Send_Check(check);
    check = Receive_Check();
    EXPECT_EQ(check.Word(), 20U);
    EXPECT_EQ(check.Seconds(3), Now());
    EXPECT_EQ(check.Seconds(4), Now());
    Expect_Status(message_came);
    EXPECT_EQ(Glb_time_diff, 0);
}

TEST_F(DriverClockTest, ThePeersChecksDoNotPutOffOnesOwn)
{
    Connect();
    Answer();
    Step_With_Live_Peer(200);
    Send_Check(CheckFrame::WithWord(0));
    Expect_Status(message_came);
    Step_With_Live_Peer(143);
    int own = 0;
    for (WireFrame frame = peer.receive_frame(); own == 0; frame = peer.receive_frame()) {
        if (!frame.is_alive_signal() && CheckFrame(frame.payload).Word() == 12) {
            ++own;
            peer.send_alive_signal();
            Send("575 so that there is one frame more");
        }
    }
    EXPECT_EQ(own, 1);
}

// ---- Clocks that jump

class DriverClockStepTest : public DriverClockTest, public testing::WithParamInterface<std::int64_t>
{
};

TEST_P(DriverClockStepTest, OfTheSystemBetweenTheLegsMovesNeitherTheCheckNorATimeOut)
{
    Put_Far_Clock(100);
    Connect();
    Settle();
    wall_step = GetParam();
    peer.far_clock.ahead_seconds -= GetParam(); // the peer's own clock stays
    Answer();
    EXPECT_EQ(Glb_time_diff, 10'000);
    Step(20);
    EXPECT_FALSE(peer.has_unread());
    Step(2);
    EXPECT_TRUE(peer.receive_frame().is_alive_signal());
    EXPECT_FALSE(Is_Any_Record());
    Step(38);
    EXPECT_FALSE(Is_Any_Record());
    Step(2);
    Expect_Status(17);
}

TEST_P(DriverClockStepTest, OfTheServersCorrectionMovesNoTimeOut)
{
    Put_Far_Clock(GetParam());
    Connect();
    Answer();
    Step(60);
    EXPECT_FALSE(Is_Any_Record());
    Step(2);
    Expect_Status(17);
}

INSTANTIATE_TEST_SUITE_P(AnHour, DriverClockStepTest, testing::Values(hour, -hour));

TEST_F(DriverClockTest, ACountOfTicksThatBeginsAnewEndsNoConnection)
{
    Put_Far_Clock(100);
    Connect();
    Settle();
    tick_step = -900'000; // two hours and a half
    Answer();
    EXPECT_EQ(Glb_time_diff, 10'000);
    Step_With_Live_Peer(100);
    EXPECT_FALSE(Is_Any_Record());
    Step(62);
    Expect_Status(17);
}

} // namespace
