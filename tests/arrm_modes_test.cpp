// The mode of a ring that does not grow, the trace word, and transactions.
#include "support/ring_fixture.h"

namespace {

class NoOutputRingTest : public RingTest
{
protected:
    NoOutputRingTest() { ring.Change_Type(CMSS_NOT_OUTPUT); }
};

TEST_F(RingTest, ChangingTheTypeReturnsThePreviousOne)
{
    EXPECT_EQ(ring.Change_Type(CMSS_NOT_OUTPUT), CMSS_FIFO);
    EXPECT_EQ(ring.Change_Type(CMSS_FIFO), CMSS_NOT_OUTPUT);
}

TEST_F(NoOutputRingTest, FullRingDoesNotGrowAndLooksEmpty)
{
    Put_Numbers(1, 5);
    EXPECT_EQ(ring.Is_Any_Pkt(), 1);
    Put_Numbers(6, 1);
    EXPECT_EQ(ring.Get_Total_Num_Records(), 6);
    EXPECT_EQ(ring.Is_Any_Pkt(), 0);
    EXPECT_EQ(Take(), "-");
}

TEST_F(NoOutputRingTest, ForgottenRecordsStayCountedAsPending)
{
    Put_Numbers(1, 6);
    EXPECT_EQ(Counters(), (Counts{6, 0, 6, 0, 0}));
    EXPECT_EQ(ring.Wait_For_Any_Pkt(), 0);
}

TEST_F(NoOutputRingTest, RingThatForgotItsRecordsGoesOnWithTheNextOne)
{
    Put_Numbers(1, 6);
    Put_Numbers(7, 1);
    Expect_Numbers(7, 1);
    EXPECT_EQ(Take(), "-");
}

TEST_F(NoOutputRingTest, FullRingGrowsRatherThanForgetARecordThatIsBeingRead)
{
    Put_Numbers(1, 5);
    char* buffer = nullptr;
    int len = 0;
    ring.Init_Withdraw(&buffer, &len, nullptr, nullptr);
    Put_Numbers(6, 2);
    EXPECT_EQ(ring.Get_Total_Num_Records(), 12);
    EXPECT_EQ(std::string(buffer, static_cast<unsigned>(len)), "record 1");
    ring.Take_Withdraw();
    Expect_Numbers(2, 6);
}

TEST_F(RingTest, TraceWordShowsEntryAndExitOfEveryOperation)
{
    char* buffer = nullptr;
    int len = 0;
    Put("hello");
    EXPECT_EQ(ring.Get_Flag(), 0x2AU);
    Take();
    EXPECT_EQ(ring.Get_Flag(), 0x2A5DU);
    ring.Init_Collect(22, &buffer);
    EXPECT_EQ(ring.Get_Flag(), 0x2A5D3BU);
    ring.Take_Collect(5);
    EXPECT_EQ(ring.Get_Flag(), 0x2A5D3B4CU);
    ring.Init_Withdraw(&buffer, &len, nullptr, nullptr);
    EXPECT_EQ(ring.Get_Flag(), 0x5D3B4C6EU);
    ring.Take_Withdraw();
    EXPECT_EQ(ring.Get_Flag(), 0x3B4C6E7FU);
    ring.Initialize();
    EXPECT_EQ(ring.Get_Flag(), 0x4C6E7F19U);
}

TEST_F(RingTest, TraceWordShowsAWaitAsTwoSteps)
{
    Put("hello");
    ring.Wait_For_Any_Pkt();
    EXPECT_EQ(ring.Get_Flag(), 0x2A11U);
}

TEST_F(RingTest, TraceWordShowsAttemptsOnAnEmptyRingToo)
{
    char* buffer = nullptr;
    int len = 0;
    Take();
    ring.Init_Withdraw(&buffer, &len, nullptr, nullptr);
    EXPECT_EQ(ring.Get_Flag(), 0x5D6EU);
}

TEST_F(RingTest, TraceWordIsLeftAloneByTheOtherOperations)
{
    Put("hello");
    ring.Check_For_Any_Pkt_Without_Wait();
    ring.Dropped();
    ring.Change_Type(CMSS_FIFO);
    EXPECT_EQ(ring.Get_Flag(), 0x2AU);
}

TEST_F(RingTest, RecordsOfATransactionAreNeitherPostedNorCounted)
{
    const unsigned simulated = Glb_Tot_Simulated_Collections;
    inside.Open_Transaction({0});
    Put("inside");
    char* buffer = nullptr;
    ring.Init_Collect(22, &buffer);
    ring.Take_Collect(5);
    EXPECT_EQ(inside.Posts(), 0);
    EXPECT_EQ(Counters(), (Counts{0, 0, 0, 0, 0}));
    EXPECT_EQ(inside.Transaction_Pending(), 2);
    EXPECT_EQ(Glb_Tot_Simulated_Collections - simulated, 2U);
}

TEST_F(RingTest, WithdrawingARecordOfATransactionDoesNotTakePendingBelowZero)
{
    inside.Open_Transaction({0});
    Put("inside");
    Take();
    EXPECT_EQ(Counters(), (Counts{0, 1, 0, 0, 0}));
}

TEST_F(RingTest, GrowthWithWrapMovesTransactionSlotsFromTheOldestRecordOn)
{
    Turn(3);
    inside.Open_Transaction({2, 3, 5});
    Put_Numbers(1, 6);
    EXPECT_EQ(inside.Oldest(), 9); // three slots, 3 to 5, stand at the end of twelve
    EXPECT_EQ(inside.Free(), 3);
    EXPECT_EQ(inside.Transaction_Slot(0), 2);
    EXPECT_EQ(inside.Transaction_Slot(1), 9);
    EXPECT_EQ(inside.Transaction_Slot(2), 11);
}

TEST_F(RingTest, GrowthMovesOnlyTheTransactionSlotsInForce)
{
    Turn(3);
    inside.Open_Transaction({3, 4, 5});
    inside.Open_Transaction({3});
    Put_Numbers(1, 6);
    EXPECT_EQ(inside.Transaction_Slot(0), 9);
    EXPECT_EQ(inside.Transaction_Slot(1), 4);
}

TEST_F(RingTest, GrowthWithoutWrapLeavesTransactionSlotsAlone)
{
    inside.Open_Transaction({0, 5});
    Put_Numbers(1, 6);
    EXPECT_EQ(inside.Oldest(), 0);
    EXPECT_EQ(inside.Transaction_Slot(0), 0);
    EXPECT_EQ(inside.Transaction_Slot(1), 5);
}

} // namespace
