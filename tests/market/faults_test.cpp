// The faults that a market plays on request, as its clients see them.
#include "market/support/market_client.h"
#include "market/support/market_thread.h"

#include <gtest/gtest.h>

using namespace market;

namespace {

class MarketFaults : public ::testing::Test
{
protected:
    MarketFaults()
    {
        maria.bring_up("maria");
        pedro.bring_up("pedro");
    }

    MarketThread market;
    MarketClient maria{market.port(), "L001", "U001"};
    MarketClient pedro{market.port(), "L002", "U002"};
};

TEST_F(MarketFaults, DropsOneClientNow)
{
    EXPECT_EQ(market.command("drop L001"), "1 client");
    maria.expect_end();
    EXPECT_TRUE(maria.was_reset());
    EXPECT_TRUE(pedro.is_quiet());
}

TEST_F(MarketFaults, DropsAllClients)
{
    EXPECT_EQ(market.command("drop all"), "2 clients");
    maria.expect_end();
    pedro.expect_end();
}

TEST_F(MarketFaults, DropsAfterSoManyBytes)
{
    market.command("drop L001 after 100");
    market.command("chat pedro maria a text that is longer than that");
    EXPECT_EQ(maria.receive_until_closed().size(), 100U);
}

TEST_F(MarketFaults, StallsAndResumes)
{
    market.command("stall L001");
    market.command("chat pedro maria hello");
    market.command("chat maria pedro hello");
    EXPECT_EQ(TakeChat(pedro.expect(575)).chat.text, "hello");
    EXPECT_FALSE(maria.has_unread());
    market.command("resume L001");
    EXPECT_EQ(TakeChat(maria.expect(575)).chat.text, "hello");
}

TEST_F(MarketFaults, SendsGarbage)
{
    market.command("garbage L001 32");
    market.command("drop L001");
    const std::string got = maria.receive_until_closed();
    if (!maria.was_reset()) {
        EXPECT_EQ(got.size(), 32U);
    }
    EXPECT_TRUE(pedro.is_quiet());
}

TEST_F(MarketFaults, SendsItsLastMessageOnceMore)
{
    market.command("chat pedro maria hello");
    const std::string first = maria.expect(575);
    market.command("duplicate L001");
    EXPECT_EQ(maria.expect(575), first);
}

TEST_F(MarketFaults, CommandsThatCannotBeDoneSaySo)
{
    EXPECT_EQ(market.command("drop nobody"), "error: no client nobody");
    EXPECT_EQ(market.command("drop"), "error: usage: drop CLIENT [after BYTES]");
    EXPECT_EQ(market.command("dance"), "error: unknown command \"dance\"; help lists them");
    EXPECT_EQ(market.command("order maria 71 bid cheap 1"),
              "error: usage: order USER MARKET bid|offer PRICE AMOUNT [CODE]");
    EXPECT_EQ(market.command(""), "");
}

TEST_F(MarketFaults, FloodsAClientWithOrders)
{
    market.command("flood L001 71 1000");
    market.command("chat pedro maria behind the flood");
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(TakeOrder(maria.expect(111)).market, 71);
    }
    EXPECT_EQ(TakeChat(maria.expect(575)).chat.text, "behind the flood");
}

TEST(MarketFloods, AreFollowedByTheLogThatWasAskedForMeanwhile)
{
    MarketThread market;
    for (int i = 0; i < 800; ++i) { // more than waits for a client at a time
        market.command("chat pedro maria " + std::to_string(i));
    }
    MarketClient maria(market.port(), "L001", "U001");
    maria.log_in("maria");
    maria.expect_range();
    market.command("flood L001 71 5000"); // more than the connection takes at once
    const std::vector<std::string> log = maria.first_log();
    ASSERT_EQ(log.size(), 800U);
    EXPECT_EQ(TakeChat(log.back()).chat.text, "799");
}

TEST(MarketFaultsCompressed, FloodsInEveryMode)
{
    for (const char* mode : {"encrypt", "plain", "compress", "both"}) {
        std::string scenario = SmallScenario();
        scenario.replace(scenario.find("\"plain\""), 7, '"' + std::string(mode) + '"');
        MarketThread market(scenario);
        MarketClient maria(market.port(), "L001", "U001");
        maria.bring_up("maria");
        market.command("flood L001 71 300");
        market.command("chat pedro maria behind the flood");
        for (int i = 0; i < 300; ++i) {
            EXPECT_EQ(TakeOrder(maria.expect(111)).market, 71);
        }
        EXPECT_EQ(TakeChat(maria.expect(575)).chat.text, "behind the flood");
    }
}

} // namespace
