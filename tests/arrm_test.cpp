#include "global.h"
#include "support/ring_fixture.h"

namespace {

TEST_F(RingTest, NewRingIsEmptyWithItsSlotsAndLength)
{
    EXPECT_EQ(ring.Is_Any_Pkt(), 0);
    EXPECT_EQ(ring.Get_Total_Num_Records(), 6);
    EXPECT_EQ(ring.Get_Rec_Len(), 16);
    EXPECT_EQ(ring.Get_Flag(), 0U);
    EXPECT_EQ(Counters(), (Counts{0, 0, 0, 0, 0}));
}

TEST_F(RingTest, RecordComesOutWithStatusLengthSourceAndExtraData)
{
    ring.Collect(22, "hello", 5, source_name, extra_bytes);
    std::array<char, rec_len> bytes{};
    int len = 0;
    const char* source = nullptr;
    std::array<char, CMSS_EXTRA_LEN> extra{};
    EXPECT_EQ(ring.Withdraw(bytes.data(), &len, &source, extra.data()), 22);
    EXPECT_EQ(std::string(bytes.data(), 5), "hello");
    EXPECT_EQ(len, 5);
    EXPECT_EQ(source, source_name);
    EXPECT_EQ(std::string(extra.data(), extra.size()), "abcdefghijklmnopqrst");
}

TEST_F(RingTest, NullSourceTravelsAsNull)
{
    ring.Collect(22, "hello", 5, nullptr, nullptr);
    std::array<char, rec_len> bytes{};
    int len = 0;
    const char* source = source_name;
    ring.Withdraw(bytes.data(), &len, &source, nullptr);
    EXPECT_EQ(source, nullptr);
}

TEST_F(RingTest, RecordWithoutExtraDataKeepsWhatTheSlotHeld)
{
    ring.Collect(22, "first", 5, nullptr, extra_bytes);
    Take();
    Turn(slots - 1);
    Put("second");
    EXPECT_EQ(std::string(inside.Live()[0]->extra_data, CMSS_EXTRA_LEN), "abcdefghijklmnopqrst");
}

TEST_F(RingTest, WithdrawOnAnEmptyRingReturnsMinusOneAndLeavesOutputsAlone)
{
    std::string bytes(rec_len, '#');
    std::string extra(CMSS_EXTRA_LEN, '#');
    int len = 77;
    const char* source = source_name;
    EXPECT_EQ(ring.Withdraw(bytes.data(), &len, &source, extra.data()), -1);
    EXPECT_EQ(bytes, std::string(rec_len, '#'));
    EXPECT_EQ(extra, std::string(CMSS_EXTRA_LEN, '#'));
    EXPECT_EQ(len, 77);
    EXPECT_EQ(source, source_name);
}

TEST_F(RingTest, WithdrawWritesNoByteBehindTheRecordsLength)
{
    Put("hello");
    std::string bytes(rec_len, '#');
    int len = 0;
    ring.Withdraw(bytes.data(), &len, nullptr, nullptr);
    EXPECT_EQ(bytes, "hello###########");
}

TEST_F(RingTest, FiveRecordsFitIntoSixSlots)
{
    Put_Numbers(1, 5);
    EXPECT_EQ(ring.Get_Total_Num_Records(), 6);
    Expect_Numbers(1, 5);
}

TEST_F(RingTest, RingGrowsToTwelveSlotsAndKeepsOrder)
{
    Put_Numbers(1, 6);
    EXPECT_EQ(ring.Get_Total_Num_Records(), 12);
    Expect_Numbers(1, 6);
    EXPECT_EQ(Take(), "-");
}

TEST_F(RingTest, RingGrowsToTwelveSlotsAndKeepsOrderFromEveryPlaceOfTheWrap)
{
    for (int turned = 0; turned < slots; ++turned) {
        CMss_Arr fresh(slots, rec_len, CMSS_FIFO);
        for (int i = 0; i < turned + 6; ++i) {
            fresh.Collect(i, "record", 6, nullptr, nullptr);
            if (i < turned) {
                fresh.Dropped();
            }
        }
        EXPECT_EQ(fresh.Get_Total_Num_Records(), 12);
        std::array<char, rec_len> bytes{};
        int len = 0;
        for (int i = turned; i < turned + 6; ++i) {
            EXPECT_EQ(fresh.Withdraw(bytes.data(), &len, nullptr, nullptr), i) << "turned by " << turned;
        }
        EXPECT_EQ(fresh.Is_Any_Pkt(), 0);
    }
}

TEST_F(RingTest, GrownRingTakesElevenRecordsBeforeItGrowsAgain)
{
    Turn(4);
    Put_Numbers(0, 11);
    EXPECT_EQ(ring.Get_Total_Num_Records(), 12);
    Put_Numbers(11, 1);
    EXPECT_EQ(ring.Get_Total_Num_Records(), 24);
    Expect_Numbers(0, 12);
}

TEST_F(RingTest, OrderHoldsOverManyGrowths)
{
    int next_in = 0;
    int next_out = 0;
    for (int round = 0; round < 100; ++round) {
        Put_Numbers(next_in, 7);
        next_in += 7;
        Expect_Numbers(next_out, 3);
        next_out += 3;
    }
    EXPECT_EQ(ring.Get_Total_Num_Records(), 768); // 407 live at the most: 6 doubled until more than that fit
    Expect_Numbers(next_out, next_in - next_out);
    EXPECT_EQ(Take(), "-");
}

TEST_F(RingTest, EmptiedRingKeepsItsGrownSize)
{
    Put_Numbers(1, 6);
    Expect_Numbers(1, 6);
    EXPECT_EQ(ring.Get_Total_Num_Records(), 12);
}

TEST_F(RingTest, MessagesAreCountedInAndOut)
{
    Put("five5");
    Put("six666");
    EXPECT_EQ(Counters(), (Counts{2, 0, 2, 0, 0}));
    Take();
    EXPECT_EQ(Counters(), (Counts{2, 1, 1, 0, 0}));
}

TEST_F(RingTest, RecordOfUpToFourBytesPostsButCountsOnlyOnItsWayOut)
{
    for (unsigned len = 0; len <= 4; ++len) {
        Put(std::string(len, 'x'));
        EXPECT_EQ(Counters(), (Counts{0, 0, 0, 0, len}));
        EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 1);
        EXPECT_EQ(Take(), std::string(len, 'x'));
        EXPECT_EQ(Counters(), (Counts{0, 0, 0, 0, len + 1}));
    }
}

TEST_F(RingTest, DroppedDiscardsTheOldestRecordAndCountsIt)
{
    Put_Numbers(1, 2);
    ring.Dropped();
    EXPECT_EQ(Counters(), (Counts{2, 0, 1, 1, 0}));
    Expect_Numbers(2, 1);
}

TEST_F(RingTest, DroppedShortRecordCountsAsADataPacket)
{
    Put("stop");
    ring.Dropped();
    EXPECT_EQ(Counters(), (Counts{0, 0, 0, 0, 1}));
}

TEST_F(RingTest, DroppedOnAnEmptyRingDoesNothing)
{
    ring.Dropped();
    EXPECT_EQ(Counters(), (Counts{0, 0, 0, 0, 0}));
    EXPECT_EQ(ring.Is_Any_Pkt(), 0);
}

TEST_F(RingTest, WaitAfterDroppedReturnsZeroBecauseThePostStays)
{
    Put_Numbers(1, 1);
    ring.Dropped();
    EXPECT_EQ(ring.Wait_For_Any_Pkt(), 0);
    EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 0);
}

TEST_F(RingTest, WaitReturnsOnceForEachRecord)
{
    Put_Numbers(1, 2);
    EXPECT_EQ(ring.Wait_For_Any_Pkt(), 1);
    EXPECT_EQ(ring.Wait_For_Any_Pkt(), 1);
    EXPECT_EQ(inside.Posts(), 0);
}

TEST_F(RingTest, CheckWithoutWaitReturnsZeroWhenNothingWasPosted)
{
    EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 0);
    Put_Numbers(1, 1);
    EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 1);
    EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 0);
    EXPECT_EQ(ring.Is_Any_Pkt(), 1);
}

TEST_F(RingTest, InitializeEmptiesTheRingAndItsSemaphore)
{
    Put_Numbers(1, 4);
    ring.Initialize();
    EXPECT_EQ(ring.Is_Any_Pkt(), 0);
    EXPECT_EQ(inside.Posts(), 0);
    EXPECT_EQ(inside.Oldest(), 0);
    EXPECT_EQ(inside.Free(), 0);
}

TEST_F(RingTest, InitializeZeroesAllCountersButDataPackets)
{
    Put_Numbers(1, 3);
    Take();
    ring.Dropped();
    Put("x");
    Take();
    Take();
    EXPECT_EQ(Counters(), (Counts{3, 2, 0, 1, 1}));
    ring.Initialize();
    EXPECT_EQ(Counters(), (Counts{0, 0, 0, 0, 1}));
}

TEST_F(RingTest, InitializeKeepsTheGrownSizeAndTheRingWorksOn)
{
    Put_Numbers(1, 6);
    ring.Initialize();
    EXPECT_EQ(ring.Get_Total_Num_Records(), 12);
    Put_Numbers(20, 11);
    EXPECT_EQ(ring.Get_Total_Num_Records(), 12);
    Expect_Numbers(20, 11);
}

TEST_F(RingTest, InitializeKeepingLeavesTheRecordsOfOneStatusInOrder)
{
    Turn(4); // the live records wrap
    Put("stop one", TCP_SHUTTING_DOWN);
    Put("order", 0);
    Put("stop two", TCP_SHUTTING_DOWN);
    Put("order", 0);
    ring.Initialize_Keeping(TCP_SHUTTING_DOWN);
    EXPECT_EQ(Take(), "stop one");
    EXPECT_EQ(Take(), "stop two");
    EXPECT_EQ(Take(), "-");
}

TEST_F(RingTest, InitializeKeepingPostsAndCountsOnlyWhatItKept)
{
    Put("order", 0);
    Put("", TCP_SHUTTING_DOWN);
    Put("long stop", TCP_SHUTTING_DOWN);
    ring.Initialize_Keeping(TCP_SHUTTING_DOWN);
    EXPECT_EQ(inside.Posts(), 2);
    EXPECT_EQ(Counters(), (Counts{1, 0, 1, 0, 0}));
}

TEST_F(RingTest, InitializeKeepingPostsForARecordWhosePostWasTakenAlready)
{
    Put("", TCP_SHUTTING_DOWN);
    EXPECT_EQ(ring.Wait_For_Any_Pkt(), 1);
    ring.Initialize_Keeping(TCP_SHUTTING_DOWN);
    EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 1);
}

TEST_F(RingTest, InitializeKeepingAStatusThatIsNotThereEmptiesTheRing)
{
    Put_Numbers(1, 5);
    ring.Initialize_Keeping(TCP_SHUTTING_DOWN);
    EXPECT_EQ(ring.Is_Any_Pkt(), 0);
    EXPECT_EQ(inside.Posts(), 0);
}

TEST_F(RingTest, InitializeKeepingEverythingKeepsAFullRing)
{
    Turn(3);
    for (int i = 0; i < 5; ++i) {
        Put("stop " + std::to_string(i), TCP_SHUTTING_DOWN);
    }
    ring.Initialize_Keeping(TCP_SHUTTING_DOWN);
    Put("stop 5", TCP_SHUTTING_DOWN);
    EXPECT_EQ(ring.Get_Total_Num_Records(), 12);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(Take(), "stop " + std::to_string(i));
    }
}

TEST(LibraryRings, AllThreeHoldSixRecordsOf3300Bytes)
{
    for (auto* ring : {&Glb_Send_Mss, &Glb_Recv_Mss, &Glb_Log_Mss}) {
        EXPECT_EQ((*ring)->Get_Total_Num_Records(), 6);
        EXPECT_EQ((*ring)->Get_Rec_Len(), 3300);
    }
    EXPECT_NE(&Glb_Send_Mss.get(), &Glb_Recv_Mss.get());
}

} // namespace
