// What a peer may write into a clock check, and what comes of it.
#include "support/clock_check_fixture.h"
#include "support/codec_vectors.h"

#include <string>

namespace {

TEST_F(ClockCheckTest, ACheckTooLongForARecordIsBadAndKeepsItsBytes)
{
    CheckFrame frame = CheckFrame::WithWord(8);
    frame.bytes.resize(3301, 'x');
    const std::string before = frame.bytes;
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_BAD);
    EXPECT_EQ(frame.bytes, before);
    EXPECT_FALSE(IsAnythingSent());
}

TEST_F(ClockCheckTest, AStageAboveTheLastIsBadAndKeepsItsBytes)
{
    for (const unsigned word : {24U, 25U, 32U, 0x8000U, 0xFFFFU}) {
        CheckFrame frame = CheckFrame::WithWord(word);
        EXPECT_EQ(Arrive(frame), DCON_MESSAGE_BAD);
        EXPECT_EQ(frame.bytes, CheckFrame::WithWord(word).bytes);
    }
    EXPECT_FALSE(IsAnythingSent());
}

TEST_F(ClockCheckTest, EveryTruncationIsAPlainMessageOrBadUntilTheBlockIsWhole)
{
    const std::string whole = CheckFrame::WithWord(8).bytes;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        GuardedBuffer buffer(size);
        std::memcpy(buffer.data(), whole.data(), size);
        const char* data = reinterpret_cast<const char*>(buffer.data());
        int len = static_cast<int>(size);
        const bool is_good = (size >= 16 && size < 19) || size >= 16 + 97 + 74;
        EXPECT_EQ(DCON_Skip_Header(&data, &len, "D"), is_good ? DCON_MESSAGE_GOOD : DCON_MESSAGE_BAD) << size;
        EXPECT_TRUE(buffer.Intact()) << size;
        EXPECT_EQ(IsAnythingSent(), size >= 16 + 97 + 74) << size;
        Glb_Send_Mss->Initialize();
    }
}

TEST_F(ClockCheckTest, AnAnswerToACheckThatNeverBeganHereIsTakenAtItsWord)
{
    CheckFrame frame = CheckFrame::WithWord(20);
    Answer(frame, Ticks(evening, 30));
    frame.Stamp(2, evening, 0, 100);
    system.ticks += 40;
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_DONE);
    EXPECT_EQ(Glb_time_diff, 10);
}

TEST_F(ClockCheckTest, WithoutUnitsTheFarEndsSecondsCountAlone)
{
    CheckFrame frame = Begin();
    Answer(frame, Ticks(evening + 3));
    frame.Stamp(3, evening + 3, 99, 0);
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_DONE);
    EXPECT_EQ(Glb_time_diff, 300);
}

TEST_F(ClockCheckTest, TheFarEndsFractionIsBroughtToTheOwnUnits)
{
    CheckFrame frame = Begin();
    Answer(frame, Ticks(evening));
    frame.Stamp(3, evening, 509'999, 1'000'000);
    Arrive(frame);
    EXPECT_EQ(Glb_time_diff, 50);
}

TEST_F(ClockCheckTest, WithoutOwnUnitsTheFractionsAreLeft)
{
    CheckFrame frame = Begin();
    Answer(frame, Ticks(evening + 1000));
    frame.Stamp(2, evening, 10, 0);
    system.ticks += 37;
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_DONE);
    EXPECT_EQ(Glb_time_diff, -23); // - (10 + 37) / 2
}

TEST_F(ClockCheckTest, AnOffsetBeyond31BitsIsItsLow32BitsWithTheirSign)
{
    EXPECT_EQ(Measure(Ticks(evening), 0x7FFFFFFF), 0x7FFFFFFF);
    COMMON_Adjust_Time(0);
    CheckFrame frame = Begin();
    Answer(frame, Ticks(evening, 2) + 0x80000005);
    Arrive(frame);
    EXPECT_EQ(Glb_time_diff, -0x7FFFFFFBL);
}

TEST_F(ClockCheckTest, ABlockOfAllOnesWraps)
{
    CheckFrame frame = CheckFrame::WithWord(20);
    for (unsigned stage = 0; stage < 6; ++stage) {
        frame.Stamp(stage, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF);
    }
    system.ticks += 37;
    EXPECT_EQ(Arrive(frame), DCON_MESSAGE_DONE);
    EXPECT_EQ(Glb_time_diff, -1297483666L);
}

} // namespace
