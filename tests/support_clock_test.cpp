#include "qcapi/support.h"
#include "support/fake_system.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

namespace {

constexpr unsigned evening = 1'700'000'000; // Tuesday 2023-11-14, 22:13:20 UTC
constexpr long two_hours = 2L * 60 * 60 * FakeSystem::ticks_per_second;

struct Moment
{
    unsigned seconds;
    unsigned numerator;
    unsigned denominator;
    bool operator==(const Moment&) const = default;
};

void PrintTo(const Moment& moment, std::ostream* out)
{
    *out << moment.seconds << " and " << moment.numerator << "/" << moment.denominator;
}

Moment Adjusted()
{
    Moment moment{};
    moment.seconds = COMMON_GetTime_Frc(&moment.numerator, &moment.denominator);
    return moment;
}

Moment Local()
{
    Moment moment{};
    moment.seconds = COMMON_GetLocTime_Frc(&moment.numerator, &moment.denominator);
    return moment;
}

class Clock : public testing::Test
{
protected:
    Clock()
    {
        UseZone("UTC0");
        RestartTicksAt(1'000'000);
        COMMON_Adjust_Time(0);
    }

    static void UseZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }

    // The tick counter falls from far above to `tick`.
    void RestartTicksAt(std::int64_t tick)
    {
        m_system.ticks = tick + 1'000'000'000;
        COMMON_GetTime();
        m_system.ticks = tick;
        COMMON_GetTime();
    }

    static std::string LastSentDate()
    {
        char date[9];
        COMMON_Get_Last_Sent_Date(date);
        return date;
    }

    FakeSystem m_system{evening};
};

TEST_F(Clock, StartsAtTheWallClock)
{
    EXPECT_EQ(COMMON_GetTime(), evening);
}

TEST_F(Clock, FollowsTheTicksAndNotTheWallClock)
{
    m_system.wall += 5000;
    m_system.ticks += 250;
    EXPECT_EQ(COMMON_GetTime(), evening + 2);
}

TEST_F(Clock, TicksThatFallByAMinuteAnchorItToTheWallClockAgain)
{
    m_system.wall += 5000;
    m_system.ticks -= 6000;
    EXPECT_EQ(COMMON_GetTime(), evening + 5000);
    m_system.ticks += 300;
    EXPECT_EQ(COMMON_GetTime(), evening + 5003);
}

TEST_F(Clock, TicksThatFallByLessThanAMinuteAreTheSameMoment)
{
    m_system.wall += 5000;
    m_system.ticks -= 5999;
    EXPECT_EQ(COMMON_GetTime(), evening);
    m_system.ticks += 5999 + 100;
    EXPECT_EQ(COMMON_GetTime(), evening + 1);
}

TEST_F(Clock, CountsOnWhenTheTickCounterIsNegative)
{
    RestartTicksAt(-150);
    EXPECT_EQ(Local(), (Moment{evening, 50, 100}));
    m_system.ticks += 50;
    EXPECT_EQ(Local(), (Moment{evening + 1, 0, 100}));
    m_system.ticks += 175;
    EXPECT_EQ(Local(), (Moment{evening + 2, 75, 100}));
}

TEST_F(Clock, GivesTheFractionOfTheSecondInTicks)
{
    m_system.ticks += 137;
    EXPECT_EQ(Adjusted(), (Moment{evening + 1, 37, 100}));
    EXPECT_EQ(Local(), (Moment{evening + 1, 37, 100}));
}

TEST_F(Clock, TheOffsetMovesTheAdjustedReadingsAlone)
{
    COMMON_Adjust_Time(250);
    EXPECT_EQ(COMMON_GetTime(), evening + 2);
    EXPECT_EQ(Adjusted(), (Moment{evening + 2, 50, 100}));
    EXPECT_EQ(Local(), (Moment{evening, 0, 100}));
}

TEST_F(Clock, ANegativeOffsetRoundsDown)
{
    COMMON_Adjust_Time(-1);
    EXPECT_EQ(COMMON_GetTime(), evening - 1);
    EXPECT_EQ(Adjusted(), (Moment{evening - 1, 99, 100}));
}

TEST_F(Clock, NegativeAdjustedTicksRoundDown)
{
    COMMON_Adjust_Time(-1'000'050); // 10,000 seconds of ticks, and half a second more
    EXPECT_EQ(Adjusted(), (Moment{evening - 10'001, 50, 100}));
}

TEST_F(Clock, AnOffsetOutOfAllReasonWraps)
{
    COMMON_Adjust_Time(LONG_MAX);
    EXPECT_EQ(Adjusted().numerator, sizeof(long) == 8 ? 91U : 47U);
    COMMON_Adjust_Time(LONG_MIN);
    EXPECT_EQ(Adjusted().numerator, sizeof(long) == 8 ? 92U : 52U);
}

TEST_F(Clock, TellsTicksAndTicksPerSecond)
{
    int scale = 0;
    EXPECT_EQ(COMMON_SYS_Times(&scale), 1'000'000);
    EXPECT_EQ(scale, 100);
}

// In the middle of one reading the counter falls and another reading anchors the clock. `tick_of_the_reading` is what
// the first one then gets.
unsigned ReadingOvertakenByAFall(FakeSystem& system, std::int64_t tick_of_the_reading)
{
    static FakeSystem* overtaken;
    static std::int64_t tick;
    overtaken = &system;
    tick = tick_of_the_reading;
    static auto* const usual_ticks = system.calls.ticks;
    system.calls.ticks = [](int* per_second) {
        overtaken->calls.ticks = usual_ticks;
        overtaken->ticks -= 500'000;
        COMMON_GetTime();
        *per_second = FakeSystem::ticks_per_second;
        return tick;
    };
    return COMMON_GetTime();
}

TEST_F(Clock, AReadingWithATickFromBeforeAFallKeepsItsOwnAnchor)
{
    EXPECT_EQ(ReadingOvertakenByAFall(m_system, 1'000'000), evening);
    EXPECT_EQ(COMMON_GetTime(), evening);
}

TEST_F(Clock, AReadingWithATickFromBehindAFallTakesTheNewAnchor)
{
    EXPECT_EQ(ReadingOvertakenByAFall(m_system, 500'000), evening);
    EXPECT_EQ(COMMON_GetTime(), evening);
}

TEST_F(Clock, ThreadsNeverMixTwoCountsOfTheTickCounter)
{
    std::atomic<unsigned> readings{0};
    std::atomic<unsigned> wrong{0};
    const auto read = [&] {
        for (int reading = 0; reading < 50'000; ++reading) {
            wrong += COMMON_GetTime() != evening; // the wall clock stands still, so there is one right answer
            ++readings;
        }
    };
    RestartTicksAt(1'000'000'000);
    std::thread first(read);
    std::thread second(read);
    while (readings < 100'000) {
        m_system.ticks -= 10'000;
        wrong += COMMON_GetTime() != evening;
    }
    first.join();
    second.join();
    EXPECT_EQ(wrong, 0U);
}

TEST_F(Clock, AnOffsetAcrossMidnightResetsTheMessageNumberOnce)
{
    EXPECT_EQ(LastSentDate(), "20231114");
    Glb_last_sent_message_num = 7;
    COMMON_Adjust_Time(two_hours);
    EXPECT_EQ(LastSentDate(), "20231115");
    EXPECT_EQ(Glb_last_sent_message_num, 0U);

    Glb_last_sent_message_num = 3;
    COMMON_Adjust_Time(two_hours);
    EXPECT_EQ(Glb_last_sent_message_num, 3U);
}

TEST_F(Clock, AnOffsetWithinTheDayKeepsTheMessageNumber)
{
    Glb_last_sent_message_num = 7;
    COMMON_Adjust_Time(-two_hours);
    EXPECT_EQ(Glb_last_sent_message_num, 7U);
    EXPECT_EQ(Glb_time_diff, -two_hours);
}

TEST_F(Clock, TheDayIsThatOfTheLocalTime)
{
    UseZone("EAST-3");
    COMMON_Adjust_Time(0);
    EXPECT_EQ(LastSentDate(), "20231115");
}

TEST_F(Clock, ADateFromAMessageKeepsTheMessageNumberOfToday)
{
    COMMON_Put_Last_Sent_Date("20231113 and more");
    EXPECT_EQ(LastSentDate(), "20231113");
    Glb_last_sent_message_num = 7;
    COMMON_Adjust_Time(0);
    EXPECT_EQ(LastSentDate(), "20231114");
    EXPECT_EQ(Glb_last_sent_message_num, 7U);
}

TEST_F(Clock, ADateOfTomorrowFromAMessageDoesNotKeepTodaysNumberTomorrow)
{
    COMMON_Put_Last_Sent_Date("20231115");
    Glb_last_sent_message_num = 7;
    COMMON_Adjust_Time(two_hours);
    EXPECT_EQ(LastSentDate(), "20231115");
    EXPECT_EQ(Glb_last_sent_message_num, 0U);
}

timeval asked_span;

class Sleep : public testing::Test
{
protected:
    Sleep()
    {
        m_system.calls.sleep = [](timeval span) {
            asked_span = span;
            return -1;
        };
    }

    FakeSystem m_system;
};

TEST_F(Sleep, OfMillisecondsIsSplitIntoSecondsAndMicroseconds)
{
    EXPECT_EQ(Do_mSleep(1500), -1);
    EXPECT_EQ(asked_span.tv_sec, 1);
    EXPECT_EQ(asked_span.tv_usec, 500'000);
}

TEST_F(Sleep, OfTheLongestMillisecondsIsWhole)
{
    Do_mSleep(4'294'967'295U);
    EXPECT_EQ(asked_span.tv_sec, 4'294'967);
    EXPECT_EQ(asked_span.tv_usec, 295'000);
}

TEST_F(Sleep, OfSecondsReturnsWhatTheSystemReturns)
{
    EXPECT_EQ(Do_Sleep(3), -1);
    EXPECT_EQ(asked_span.tv_sec, 3);
    EXPECT_EQ(asked_span.tv_usec, 0);
}

TEST_F(Sleep, OfNegativeSecondsIsNone)
{
    Do_Sleep(-5);
    EXPECT_EQ(asked_span.tv_sec, 0);
    EXPECT_EQ(asked_span.tv_usec, 0);
}

} // namespace
