#include "support/config_fixture.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace {

class Feeds : public ConfigFixture
{
protected:
    [[nodiscard]] static std::set<int> subscribed()
    {
        std::set<int> messages;
        for (int message = 0; message < MAX_SUSCRIBED_MESSAGES; ++message) {
            if (Glb_suscribed_message[message] != 0) {
                messages.insert(message);
            }
        }
        return messages;
    }
    [[nodiscard]] static auto table_codes()
    {
        return std::count_if(std::begin(gbl_code_table_type), std::end(gbl_code_table_type),
                             [](int type) { return type != 0; });
    }
};

TEST_F(Feeds, NoneIsTheDefault)
{
    ASSERT_EQ(apply(""), 0);
    EXPECT_TRUE(subscribed().empty());
    EXPECT_EQ(table_codes(), 0);
}

TEST_F(Feeds, TransactionFeedSubscribesItsMessages)
{
    ASSERT_EQ(apply("transaction_feed 1\n"), 0);
    EXPECT_EQ(subscribed(), (std::set<int>{87, 111, 112, 113, 114, 121, 132, 153, 176, 177, 291, 300, 575, 879}));
}

TEST_F(Feeds, TransactionFeedRegistersItsTables)
{
    const std::pair<int, int> rows[] = {
        {5, 8},   {6, 21}, {3, 22},  {8, 23},  {4, 24},     {9, 25},     {12, 26},    {10, 27},    {13, 54},
        {11, 28}, {7, 30}, {18, 35}, {19, 66}, {20, 32026}, {21, 32053}, {22, 32055}, {23, 32141},
    };
    ASSERT_EQ(apply("transaction_feed 1\n"), 0);
    for (const auto& [type, code] : rows) {
        EXPECT_EQ(gbl_code_table_type[code], type);
        EXPECT_EQ(Glb_subscribed_code_table_id[type], 1U) << type;
    }
    EXPECT_EQ(table_codes(), 17);
}

TEST_F(Feeds, TarnelFeedSubscribes133AndNot134)
{
    ASSERT_EQ(apply("tarnel_feed 1\n"), 0);
    EXPECT_EQ(subscribed(), std::set<int>{133});
    EXPECT_EQ(gbl_code_table_type[8], 5);
    EXPECT_EQ(Glb_subscribed_code_table_id[5], 1U);
    EXPECT_EQ(table_codes(), 1);
}

TEST_F(Feeds, BothFeedsLeave134Out)
{
    ASSERT_EQ(apply("transaction_feed 1\ntarnel_feed 1\n"), 0);
    EXPECT_EQ(subscribed().count(134), 0U);
}

TEST_F(Feeds, FeedOfZeroSubscribesNothing)
{
    ASSERT_EQ(apply("transaction_feed 0\ntarnel_feed no\n"), 0);
    EXPECT_TRUE(subscribed().empty());
    EXPECT_EQ(table_codes(), 0);
}

TEST_F(Feeds, FeedOfAnyOtherNumberSubscribes)
{
    ASSERT_EQ(apply("tarnel_feed -2\n"), 0);
    EXPECT_EQ(subscribed(), std::set<int>{133});
}

TEST_F(Feeds, NumbersOutsideTheCodeTablesAreLeftOut)
{
    COMMON_Global_Codes_Add(5, 40000);
    COMMON_Global_Codes_Add(5, -1);
    COMMON_Global_Codes_Add(40000, 8);
    COMMON_Global_Codes_Add(-1, 8);
    EXPECT_EQ(table_codes(), 0);
    COMMON_Global_Codes_Add(39999, 39999);
    EXPECT_EQ(gbl_code_table_type[39999], 39999);
    EXPECT_EQ(Glb_subscribed_code_table_id[39999], 1U);
}

} // namespace
