// The look at the ratio every 10000 bytes: what it keeps, when it clears and how it keeps the counters small. The
// counters of both ends are set to just before the look.
#include "support/bsd_link.h"

namespace {

class BsdCheck : public BsdLink
{
protected:
    // Both ends count `in_count` and `bytes_out` behind the next packet, which is one byte and travels in two.
    void SendUpTo(unsigned in_count, unsigned bytes_out)
    {
        ChangeBothEnds([&](bsd_db& db) {
            db.in_count = in_count - 1;
            db.bytes_out = bytes_out - 2;
        });
        ASSERT_NO_FATAL_FAILURE(Send(BytesOf("x")));
    }

    // The same, with a full dictionary that gave the ratio `kept` so far.
    void SendWithFullDictionary(unsigned kept, unsigned in_count, unsigned bytes_out)
    {
        PacketSource source(1);
        ASSERT_NO_FATAL_FAILURE(FillDictionary(source));
        ChangeBothEnds([&](bsd_db& db) { db.ratio = kept; });
        ASSERT_NO_FATAL_FAILURE(SendUpTo(in_count, bytes_out));
    }

    void ExpectKept(unsigned ratio)
    {
        EXPECT_EQ(Db(comp).clear_count, 0U);
        EXPECT_EQ(Db(comp).ratio, ratio);
        EXPECT_EQ(Db(comp).max_ent, 4095U);
        EXPECT_EQ(Db(comp).checkpoint, 20000U);
    }

    void ExpectCleared()
    {
        EXPECT_EQ(Db(comp).clear_count, 1U);
        EXPECT_EQ(Db(comp).ratio, 0U);
        EXPECT_EQ(Db(comp).max_ent, 256U);
        EXPECT_EQ(Db(comp).checkpoint, 10000U);
    }
};

TEST_F(BsdCheck, IsNotMadeOneByteEarly)
{
    SendWithFullDictionary(0, 9999, 20000);
    EXPECT_EQ(Db(comp).clear_count, 0U);
    EXPECT_EQ(Db(comp).checkpoint, 10000U);
}

TEST_F(BsdCheck, ARatioOf256IsKept)
{
    SendWithFullDictionary(0, 10000, 10000);
    ExpectKept(256);
}

TEST_F(BsdCheck, ARatioOf255Clears)
{
    SendWithFullDictionary(0, 10000, 10001);
    ExpectCleared();
}

TEST_F(BsdCheck, ARatioEqualToTheOneKeptIsKept)
{
    SendWithFullDictionary(300, 10000, 8533); // 2560000 / 8533 = 300.01
    ExpectKept(300);
}

TEST_F(BsdCheck, ARatioBelowTheOneKeptClears)
{
    SendWithFullDictionary(301, 10000, 8533);
    ExpectCleared();
}

TEST_F(BsdCheck, CountersBelowTheirLimitStay)
{
    SendUpTo(0x7FFFFE, 0x7FFFFE);
    EXPECT_EQ(Db(comp).in_count, 0x7FFFFEU);
    EXPECT_EQ(Db(comp).bytes_out, 0x7FFFFEU);
}

// 0x7FFFFF less its quarter, 0x1FFFFF.
TEST_F(BsdCheck, PlainBytesAtTheLimitThinBothCounters)
{
    SendUpTo(0x7FFFFF, 20000);
    EXPECT_EQ(Db(comp).in_count, 0x600000U);
    EXPECT_EQ(Db(comp).bytes_out, 15000U);
    EXPECT_EQ(Db(comp).checkpoint, 0x600000U + 10000);
}

TEST_F(BsdCheck, CompressedBytesAtTheLimitThinBothCounters)
{
    SendUpTo(20000, 0x7FFFFF);
    EXPECT_EQ(Db(comp).in_count, 15000U);
    EXPECT_EQ(Db(comp).bytes_out, 0x600000U);
    EXPECT_EQ(Db(comp).checkpoint, 25000U);
}

} // namespace
