// What clients of a market get of each other's orders, trades and chats.
#include "market/support/market_client.h"
#include "market/support/market_thread.h"

#include <gtest/gtest.h>

using namespace market;

namespace {

class MarketTrading : public ::testing::Test
{
protected:
    MarketTrading()
    {
        maria.bring_up("maria");
        pedro.bring_up("pedro");
        lucia.bring_up("lucia");
    }

    // The number that the market gave, by log letter.
    static std::uint32_t number_of(const std::string& message)
    {
        return RecordReader(message, "a message", message.size()).u32(17);
    }

    MarketThread market;
    MarketClient maria{market.port(), "L001", "U001"};
    MarketClient pedro{market.port(), "L002", "U002"};
    MarketClient lucia{market.port(), "L003", "U003"};
};

TEST_F(MarketTrading, PublishesAnOrderToSubscribersAndGivesItBackToItsSender)
{
    EXPECT_TRUE(pedro.subscribe(71).empty());
    maria.place(71, 'D', "4012.2500", "100", "000001");
    const Order back = TakeOrder(maria.expect(111));
    EXPECT_EQ(back.code, "000001");
    EXPECT_EQ(back.price, "4012.2500");
    EXPECT_EQ(back.cabeza.server, "AB");
    EXPECT_EQ(back.cabeza.server_number, 1U);
    EXPECT_EQ(back.branch, "NORTBOG1");
    const SeenRow row = pedro.expect_row(71);
    EXPECT_EQ(row.letter, 'I');
    EXPECT_EQ(row.body.substr(4, 10), "U001000001");
    EXPECT_TRUE(pedro.is_quiet());
    EXPECT_TRUE(lucia.is_quiet());
}

TEST_F(MarketTrading, GivesAnOrderToItsAddressees)
{
    Order order{.market = 71, .user = "U001", .code = "000002", .branch = "", .price = "1.0000", .amount = "5"};
    maria.send_envelope(
        MakeEnvelope(Make(order), {{"PU", {std::string("L002\0", 5)}}, {"PU", {"DM01"}}}, 60, 100, "L001"));
    EXPECT_EQ(TakeOrder(pedro.expect(111)).code, "000002");
    EXPECT_TRUE(lucia.is_quiet());
}

TEST_F(MarketTrading, SendsTheOpenOrdersToALateSubscriber)
{
    maria.place(71, 'D', "4012.2500", "100", "000001");
    maria.place(71, 'O', "4013.0000", "50", "000002");
    maria.place(72, 'D', "4400.0000", "10", "000003");
    maria.expect(111);
    maria.expect(111);
    maria.expect(111);
    EXPECT_EQ(pedro.subscribe(71).size(), 2U);
    EXPECT_EQ(pedro.subscribe(72).size(), 1U);
}

TEST_F(MarketTrading, CrossingOrdersTrade)
{
    lucia.subscribe(71);
    maria.place(71, 'D', "4012.2500", "100", "000001");
    maria.expect(111);
    pedro.place(71, 'O', "4012.0000", "40", "000001");
    // Both parties hear of the trade, everybody of its end and of the prices.
    for (MarketClient* party : {&maria, &pedro}) {
        EXPECT_EQ(number_of(party->expect(112)), 1U);
    }
    for (MarketClient* client : {&maria, &pedro, &lucia}) {
        RecordReader end(client->expect(879), "an end of a trade", 123);
        EXPECT_EQ(end.number(83, 3), 71);
        EXPECT_EQ(end.amount(87, 13), "40");
        EXPECT_EQ(end.amount(100, 19), "4012.2500");
        client->expect(87);
        client->expect(176);
    }
    EXPECT_EQ(lucia.expect_row(71).letter, 'I'); // maria's
    EXPECT_EQ(lucia.expect_row(71).letter, 'I'); // pedro's
    EXPECT_EQ(lucia.expect_row(71).letter, 'A'); // maria's has 60 left
    EXPECT_EQ(lucia.expect_row(71).letter, 'B'); // pedro's is done
    EXPECT_EQ(market.command("book 71"), "bid          4012.2500              60  U001000001\n1 order");
}

TEST_F(MarketTrading, WithdrawnOrdersLeave)
{
    pedro.subscribe(71);
    maria.place(71, 'D', "4012.2500", "100", "000001");
    const std::uint32_t idx = pedro.expect_row(71).idx;
    maria.place(71, 'D', "4012.2500", "100", "000001", 3);
    const SeenRow row = pedro.expect_row(71);
    EXPECT_EQ(row.letter, 'B');
    EXPECT_EQ(row.idx, idx);
}

TEST_F(MarketTrading, TellsTheSenderWhyAnOrderIsRefused)
{
    maria.place(99, 'D', "1.0000", "1", "000001");
    const SeenChat answer = TakeChat(maria.expect(575));
    EXPECT_EQ(answer.chat.text, "Order refused: there is no market 99");
    EXPECT_TRUE(pedro.is_quiet());
}

TEST_F(MarketTrading, ChatsReachTheirReceiver)
{
    maria.chat("to pedro alone", "U002");
    EXPECT_EQ(TakeChat(pedro.expect(575)).chat.text, "to pedro alone");
    EXPECT_TRUE(lucia.is_quiet());
    EXPECT_TRUE(maria.is_quiet());
}

TEST_F(MarketTrading, ChatsWithoutReceiverReachEveryoneElse)
{
    maria.chat("to all");
    EXPECT_EQ(TakeChat(pedro.expect(575)).chat.text, "to all");
    EXPECT_EQ(TakeChat(lucia.expect(575)).chat.text, "to all");
    EXPECT_TRUE(maria.is_quiet());
}

TEST_F(MarketTrading, PricesAccumulateOverTrades)
{
    for (const char* code : {"000001", "000002"}) {
        maria.place(71, 'D', "4000.0000", "10", code);
        pedro.place(71, 'O', "4000.0000", "10", code);
        lucia.expect(879);
        const std::string day = lucia.expect(87);
        const std::string count = code == std::string("000001") ? "1" : "2";
        EXPECT_EQ(RecordReader(day, "prices", day.size()).amount(83 + 465, 8), count);
        lucia.expect(176);
    }
}

TEST_F(MarketTrading, OrdersTypedAtThePromptAreOrders)
{
    pedro.subscribe(71);
    EXPECT_EQ(market.command("order maria 71 bid 4010.5 25 TYPED"), "order U001TYPED");
    EXPECT_EQ(pedro.expect_row(71).body.substr(4, 9), "U001TYPED");
    EXPECT_EQ(TakeOrder(maria.expect(111)).code, "TYPED");
}

} // namespace
