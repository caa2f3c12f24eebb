#include "support/clock_check_fixture.h"
#include "support/codec_vectors.h"

#include <string>

namespace {

// ---- The first leg

TEST_F(ClockCheckTest, TheFirstLegIsAFrameOf207BytesStampedAtStageTwo)
{
    system.ticks += 37;
    DCON_Format_time_message();
    const TakenRecord sent = TakeRecord(*Glb_Send_Mss);
    EXPECT_EQ(sent.status, 0);
    EXPECT_EQ(BytesOf(sent.data), FromPieces("0100CF0001000400+41424344+0000BF00"
                                             "+383639+41424344+00*90" // message
                                             "+0C00"                  // stage 3 is next
                                             "+00*8+00F15365+00*12"   // seconds
                                             "+00*8+25000000+00*12"   // fractions
                                             "+00*8+64000000+00*12"   // units
                                             "+00*17+000000"));
    EXPECT_FALSE(IsAnythingSent());
}

TEST_F(ClockCheckTest, TheFirstLegBearsTheOwnClockAndTheNextOneIsDueByIt)
{
    COMMON_Adjust_Time(hour);
    EXPECT_EQ(Begin().Seconds(2), evening);
    EXPECT_EQ(L_next_check_time, evening + 341);
}

// ---- Whole checks

struct Zone
{
    const char* name;
    const char* rule;
    int seconds_ahead; // of UTC, that evening
};

class ClockCheckZones : public ClockCheckTest, public testing::WithParamInterface<Zone>
{
};

TEST_P(ClockCheckZones, TheStampIsLocalTimeWrittenAsUniversal)
{
    UseZone(GetParam().rule);
    EXPECT_EQ(Begin().Seconds(2), evening + static_cast<unsigned>(GetParam().seconds_ahead));
}

TEST_P(ClockCheckZones, TheOffsetIsExactToTheTickBothWays)
{
    UseZone(GetParam().rule);
    std::int64_t now = Ticks(std::int64_t{evening} + GetParam().seconds_ahead);
    for (const long ahead : {0L, -1L, 1L, -hour, hour, -hour - 1, hour + 1}) {
        EXPECT_EQ(Measure(now, ahead), ahead);
        now += 2;
    }
}

INSTANTIATE_TEST_SUITE_P(All, ClockCheckZones,
                         testing::Values(Zone{"Universal", "UTC0", 0},
                                         Zone{"Winter", "CST6CDT,M4.1.0,M10.5.0", -6 * 3600},
                                         Zone{"Summer", "CST6CDT,M10.5.0,M4.1.0", -5 * 3600},
                                         Zone{"HalfHour", "IST-5:30", 19800}),
                         [](const auto& zone) { return std::string(zone.param.name); });

TEST_F(ClockCheckTest, AFarEndInAnotherZoneMovesTheClockToItsLocalTime)
{
    UseZone("CST6");
    EXPECT_EQ(Measure(Ticks(evening - 6 * 3600), -hour), -hour);
    EXPECT_EQ(COMMON_GetTime(), evening - 3600);
}

TEST_F(ClockCheckTest, AFinishedCheckMakesTheNextOneAndATickDue)
{
    CheckFrame frame = Begin();
    system.ticks += 1000;
    Answer(frame, Ticks(evening + 5) + hour);
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_DONE);
    EXPECT_EQ(Glb_time_diff, hour);
    EXPECT_EQ(L_next_check_time, evening + 10 + 341);
    EXPECT_EQ(L_process_this_time, evening + 10);
    EXPECT_EQ(L_process_last_time, 0U);
}

TEST_F(ClockCheckTest, TheFifthStageIsStampedWithTheOwnClock)
{
    COMMON_Adjust_Time(hour);
    CheckFrame frame = Begin();
    Answer(frame, Ticks(evening));
    system.ticks += 150;
    Arrive(frame);
    EXPECT_EQ(frame.Seconds(5), evening + 1);
    EXPECT_EQ(frame.Fraction(5), 50U);
    EXPECT_EQ(frame.Units(5), 100U);
}

TEST_F(ClockCheckTest, TheTickCounterMayWrapOnTheWay)
{
    RestartAt(evening, 0xFFFFFFCE); // 50 ticks ahead of its end
    CheckFrame frame = Begin();
    EXPECT_EQ(frame.Fraction(2), 46U); // 4294967246 % 100
    system.wall = evening + 1;
    system.ticks = 0;
    Answer(frame, Ticks(evening, 73) + 5);
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_DONE);
    EXPECT_EQ(Glb_time_diff, 5); // between evening.46 and the new count's evening + 1.00
}

TEST_F(ClockCheckTest, StepsOfTheWallClockOnTheWayAreNotSeen)
{
    for (const std::int64_t step : {5000, -9000}) {
        const std::int64_t start = Ticks(evening) + system.ticks - 1'000'000;
        CheckFrame frame = Begin();
        system.wall += step;
        system.ticks += 2;
        Answer(frame, start + 1 - 42);
        Arrive(frame);
        EXPECT_EQ(Glb_time_diff, -42);
    }
}

// ---- A change of the zone on the way

TEST_F(ClockCheckTest, AChangeOfTheZoneOnTheWayAdjustsNothingAndMakesANewCheckDueAtOnce)
{
    COMMON_Adjust_Time(123);
    UseZone("CST6");
    CheckFrame frame = Begin();
    UseZone("CST5");
    Answer(frame, Ticks(evening - 6 * 3600));
    L_process_last_time = unadjusted;
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_DONE);
    EXPECT_EQ(Glb_time_diff, 123);
    EXPECT_EQ(L_next_check_time, evening);
    EXPECT_EQ(L_process_last_time, 0U);
    EXPECT_EQ(Measure(Ticks(evening - 5 * 3600), 7), 7);
    EXPECT_EQ(L_next_check_time, evening + 341);
}

TEST_F(ClockCheckTest, DaylightSavingThatBeginsOnTheWayAdjustsNothing)
{
    UseZone("CST6CDT,M4.1.0,M10.5.0");
    const std::int64_t before = 1'712'455'199; // 2024-04-07, 01:59:59
    RestartAt(before, 1'000'000);
    CheckFrame frame = Begin();
    EXPECT_EQ(frame.Seconds(2), before - 6 * 3600);
    system.advance_seconds(3602);
    Answer(frame, Ticks(before - 6 * 3600 + 1801));
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_DONE);
    EXPECT_EQ(Glb_time_diff, 0);
    EXPECT_EQ(L_next_check_time, before + 3602);
}

// ---- The other roles

TEST_F(ClockCheckTest, ACheckBegunByThePeerIsStampedTwiceAndFinishedHere)
{
    COMMON_Adjust_Time(hour);
    CheckFrame arrived = CheckFrame::WithWord(4);
    arrived.Stamp(0, evening + 9, 0, 100);
    EXPECT_EQ(Arrive(arrived), DCON_MESSAGE_GOOD);
    CheckFrame sent = TakeSent();
    EXPECT_EQ(sent.bytes, arrived.bytes);
    EXPECT_EQ(sent.Word(), 12U);
    EXPECT_EQ(sent.Seconds(0), evening + 9);
    EXPECT_EQ(sent.Seconds(1), evening);
    EXPECT_EQ(sent.Seconds(2), evening);
    EXPECT_EQ(sent.Seconds(3), 0U);
    EXPECT_EQ(Glb_time_diff, hour);
    Answer(sent, Ticks(evening) + 1 - 250);
    system.ticks += 2;
    EXPECT_EQ(Arrive(sent), DCON_MESSAGE_DONE);
    EXPECT_EQ(Glb_time_diff, -250);
}

TEST_F(ClockCheckTest, ACheckThatArrivesAtStageZeroIsStampedSentOnAndAMessageAsWell)
{
    COMMON_Adjust_Time(250);
    CheckFrame frame = CheckFrame::WithWord(0);
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_GOOD);
    const CheckFrame sent = TakeSent();
    EXPECT_EQ(sent.bytes, frame.bytes);
    EXPECT_EQ(sent.Word(), 4U);
    EXPECT_EQ(sent.Seconds(0), evening + 2); // the corrected clock
    EXPECT_EQ(sent.Fraction(0), 50U);
    EXPECT_EQ(sent.Seconds(1), 0U);
    EXPECT_FALSE(IsAnythingSent());
}

TEST_F(ClockCheckTest, AsTheFarEndItShowsTheCorrectedClockTwice)
{
    COMMON_Adjust_Time(250);
    CheckFrame frame = CheckFrame::WithWord(12);
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_GOOD);
    const CheckFrame sent = TakeSent();
    EXPECT_EQ(sent.Word(), 20U);
    for (const unsigned stage : {3U, 4U}) {
        EXPECT_EQ(sent.Seconds(stage), evening + 2);
        EXPECT_EQ(sent.Fraction(stage), 50U);
        EXPECT_EQ(sent.Units(stage), 100U);
    }
    EXPECT_EQ(Glb_time_diff, 250);
}

TEST_F(ClockCheckTest, AStageWordBetweenTwoStagesKeepsItsRest)
{
    CheckFrame frame = CheckFrame::WithWord(11);
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_GOOD);
    EXPECT_EQ(frame.Word(), 15U);
    EXPECT_EQ(frame.Seconds(2), evening);
    CheckFrame last = CheckFrame::WithWord(23);
    EXPECT_EQ(Arrive(last), DCON_MESSAGE_DONE);
}

TEST_F(ClockCheckTest, OnlyACheckFromTheServerIsSentOn)
{
    for (const char* source : {"E", "", "d", static_cast<const char*>(nullptr)}) {
        CheckFrame frame = CheckFrame::WithWord(8);
        EXPECT_EQ(Arrive(frame, source), DCON_MESSAGE_GOOD);
        EXPECT_EQ(frame.Seconds(2), evening);
        EXPECT_FALSE(IsAnythingSent());
    }
    CheckFrame frame = CheckFrame::WithWord(8);
    Arrive(frame, "Data");
    EXPECT_TRUE(IsAnythingSent());
}

TEST_F(ClockCheckTest, ACheckIsSentOnWithAllItsBytes)
{
    CheckFrame frame = CheckFrame::WithWord(8);
    frame.bytes.resize(3300, 'x');
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_GOOD);
    const TakenRecord sent = TakeRecord(*Glb_Send_Mss);
    EXPECT_EQ(sent.status, 0);
    EXPECT_EQ(sent.source, nullptr);
    EXPECT_EQ(sent.data, frame.bytes);
}

TEST_F(ClockCheckTest, ACheckWithAddresseesIsStampedBehindThemAndSentOnWithThem)
{
    const CheckFrame inner = CheckFrame::WithWord(8);
    const std::string head = inner.bytes.substr(0, 12) + FromHex("0a00 5055 0100 0400 55534552 bf00");
    CheckFrame frame(head + inner.bytes.substr(16));
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_GOOD);
    const TakenRecord sent = TakeRecord(*Glb_Send_Mss);
    EXPECT_EQ(sent.data.substr(0, head.size()), head);
    CheckFrame stamped(sent.data.substr(10));
    EXPECT_EQ(stamped.Word(), 12U);
    EXPECT_EQ(stamped.Seconds(2), evening);
}

} // namespace
