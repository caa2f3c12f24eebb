// The pause between two messages, by clocks of every resolution, and clocks that somebody sets.
#include "outbound/pacing.h"
#include "qcapi/config.h"
#include "qcapi/support.h"
#include "support/fake_system.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t tenth = 100'000; // of a second
constexpr std::int64_t hour = 3'600'000'000;

// ---- The rule, by a clock that shows microseconds

class PacerTest : public testing::Test
{
protected:
    std::int64_t Send_At(std::int64_t moment, std::int64_t step = 0)
    {
        return pacer.Wait_For({.at = moment, .step = step}, tenth);
    }

    Pacer pacer;
};

TEST_F(PacerTest, TheFirstSendDoesNotWait)
{
    EXPECT_EQ(Send_At(hour), 0);
}

TEST_F(PacerTest, ASendRightBehindAnotherWaitsTheWholeDelay)
{
    Send_At(hour);
    EXPECT_EQ(Send_At(hour), tenth);
    EXPECT_EQ(Send_At(hour + tenth), tenth);
}

TEST_F(PacerTest, TimeThatHasPassedIsNotWaitedFor)
{
    Send_At(hour);
    EXPECT_EQ(Send_At(hour + 60'000), 40'000);
    EXPECT_EQ(Send_At(hour + 150'000), 50'000); // the second left at 100'000
}

TEST_F(PacerTest, ASendBehindTheDelayDoesNotWait)
{
    Send_At(hour);
    EXPECT_EQ(Send_At(hour + tenth), 0);
    EXPECT_EQ(Send_At(hour + 9 * tenth), 0);
}

TEST_F(PacerTest, AClockThatIsSetBackCostsOneDelay)
{
    Send_At(100 * hour);
    EXPECT_EQ(Send_At(hour), tenth);
    EXPECT_EQ(Send_At(hour + 2 * tenth), 0);
}

TEST_F(PacerTest, AClockThatIsSetAheadCostsNothing)
{
    Send_At(hour);
    EXPECT_EQ(Send_At(100 * hour), 0);
    EXPECT_EQ(Send_At(100 * hour), tenth);
}

TEST_F(PacerTest, OneTickOfTheClockIsNoTimeThatHasPassed)
{
    constexpr std::int64_t step = 1'000'000;
    Send_At(hour, step);
    EXPECT_EQ(Send_At(hour, step), tenth);
    EXPECT_EQ(Send_At(hour + step, step), tenth);
    EXPECT_EQ(Send_At(hour + 4 * step, step), 0);
}

// True time goes on, and the clock shows whole steps of it: whatever the step, two sends are a delay apart.
TEST_F(PacerTest, SendsAreApartWhateverTheClockShows)
{
    for (const std::int64_t step : {1, 10, 999, 10'000, 70'000, 100'000, 1'000'000}) {
        Pacer by_steps;
        std::int64_t now = hour + step / 3;
        std::int64_t last = now - tenth;
        for (int i = 0; i < 200; ++i) {
            now += by_steps.Wait_For({.at = now / step * step, .step = step}, tenth);
            EXPECT_GE(now - last, tenth) << "with a step of " << step;
            last = now;
            now += i % 7 * 17'001; // what the host does in between
        }
    }
}

// ---- By the library's clock of a hundred ticks a second

class Pacing : public testing::Test
{
protected:
    Pacing()
    {
        system.advance_seconds(tests++ * 10'000'000); // the last test's send is over, whatever its delay
        Glb_Send_Msg_Delay_Millisec = 100;
    }
    ~Pacing() override { Glb_Send_Msg_Delay_Millisec = 0; }

    static void Send(int count)
    {
        for (int i = 0; i < count; ++i) {
            Pace_Send();
        }
    }

    FakeSystem system;

private:
    inline static int tests = 1;
};

TEST_F(Pacing, ThreeSendsInARowSleepTwice)
{
    Send(3);
    EXPECT_THAT(system.waits(), ElementsAre(100'000, 100'000));
}

TEST_F(Pacing, ADelayBelowATickIsSleptWhole)
{
    Glb_Send_Msg_Delay_Millisec = 4;
    Send(1);
    system.ticks += 1;
    Send(1);
    Send(1);
    EXPECT_THAT(system.waits(), ElementsAre(4000, 4000));
}

TEST_F(Pacing, WithoutADelayNothingSleeps)
{
    Glb_Send_Msg_Delay_Millisec = 0;
    Send(3);
    EXPECT_THAT(system.waits(), IsEmpty());
}

TEST_F(Pacing, ANegativeDelayIsNone)
{
    Glb_Send_Msg_Delay_Millisec = static_cast<unsigned long long>(-5);
    Send(3);
    EXPECT_THAT(system.waits(), IsEmpty());
}

TEST_F(Pacing, TheLongestDelayIsThatOfASleep)
{
    Glb_Send_Msg_Delay_Millisec = std::numeric_limits<long long>::max();
    Send(1);
    EXPECT_THAT(system.waits(), IsEmpty());
    Send(1);
    EXPECT_THAT(system.waits(), ElementsAre(4'294'967'295'000));
}

TEST_F(Pacing, ACorrectionOfTheClockIsNoTimeThatHasPassed)
{
    Send(1);
    COMMON_Adjust_Time(100'000);
    Send(1);
    COMMON_Adjust_Time(-100'000);
    Send(1);
    COMMON_Adjust_Time(0);
    EXPECT_THAT(system.waits(), ElementsAre(100'000, 100'000));
}

TEST_F(Pacing, ATickCounterThatFallsCostsOneDelay)
{
    Send(1);
    system.ticks -= 500'000; // and the wall clock with it
    system.wall -= 5000;
    Send(2);
    EXPECT_THAT(system.waits(), ElementsAre(100'000, 100'000));
}

TEST_F(Pacing, TimeThatHasPassedIsNotSlept)
{
    Send(1);
    system.ticks += 6; // of which one may not have been whole
    Send(1);
    EXPECT_THAT(system.waits(), ElementsAre(50'000));
    system.advance_seconds(1);
    Send(1);
    EXPECT_THAT(system.waits(), ElementsAre(50'000));
}

} // namespace
