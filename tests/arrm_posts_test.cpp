#include "arrm.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <thread>

namespace {

class HeldPosts : public testing::Test
{
protected:
    static void Put(CMss_Arr& ring) { ring.Collect(22, "record", 6, nullptr, nullptr); }

    CMss_Arr ring{6, 100, CMSS_FIFO};
};

TEST_F(HeldPosts, ARecordIsInTheRingAndItsConsumerIsWokenBehindTheHold)
{
    {
        const PostsHeld hold;
        Put(ring);
        EXPECT_EQ(ring.Is_Any_Pkt(), 1);
        EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 0);
    }
    EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 1);
}

TEST_F(HeldPosts, EachRecordHasItsPost)
{
    {
        const PostsHeld hold;
        for (int i = 0; i < 20; ++i) {
            Put(ring);
        }
    }
    std::array<char, 100> record;
    int len = 0;
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 1);
        ASSERT_EQ(ring.Withdraw(record.data(), &len, nullptr, nullptr), 22);
    }
    EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 0);
}

TEST_F(HeldPosts, TheOutermostHoldCounts)
{
    const auto outer = std::make_unique<PostsHeld>();
    {
        const PostsHeld inner;
        Put(ring);
    }
    EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 0);
}

TEST_F(HeldPosts, OtherThreadsPostAtOnce)
{
    const PostsHeld hold;
    std::thread([this] { Put(ring); }).join();
    EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 1);
}

TEST_F(HeldPosts, SlotsWrittenInPlaceAreHeldToo)
{
    {
        const PostsHeld hold;
        char* buffer = nullptr;
        ring.Init_Collect(22, &buffer);
        ring.Take_Collect(50);
        EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 0);
    }
    EXPECT_EQ(ring.Check_For_Any_Pkt_Without_Wait(), 1);
}

TEST_F(HeldPosts, ThreeRingsAreHeldAndAFourthPostsAtOnce)
{
    std::array<std::unique_ptr<CMss_Arr>, 4> rings;
    {
        const PostsHeld hold;
        for (auto& one : rings) {
            one = std::make_unique<CMss_Arr>(6, 100, CMSS_FIFO);
            Put(*one);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(rings[i]->Check_For_Any_Pkt_Without_Wait(), i < 3 ? 0 : 1) << i;
        }
    }
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(rings[i]->Check_For_Any_Pkt_Without_Wait(), 1) << i;
    }
}

TEST_F(HeldPosts, ARingThatWasEmptiedMeanwhileSendsItsConsumerRoundAgain)
{
    {
        const PostsHeld hold;
        Put(ring);
        ring.Initialize();
    }
    EXPECT_EQ(ring.Wait_For_Any_Pkt(), 0);
    Put(ring);
    EXPECT_EQ(ring.Wait_For_Any_Pkt(), 1);
}

} // namespace
