// The bytes of each message and row at offsets counted by hand from the reference pages of the fields.
#include "exchange/exchange.h"

#include "market/support/manual_clock.h"
#include "market/support/recording_sink.h"
#include "records/orders.h"
#include "records/prices.h"
#include "support/market_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

using namespace qm;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const Party u001{.machine = "M001", .user = "U001", .branch = "BNK1CIT1"};
const Party u002{.machine = "M002", .user = "U002", .branch = "BNK2CIT2"};

// An order as a client of this user sends it.
market::Order Order_Of(const Party& party, char side, const std::string& price, const std::string& amount,
                       const std::string& code = "000001")
{
    market::Order order;
    order.cabeza.machine = party.machine;
    order.cabeza.user = party.user;
    order.cabeza.branch = party.branch;
    order.user = party.user;
    order.branch = party.branch;
    order.side = side;
    order.price = price;
    order.amount = amount;
    order.code = code;
    return order;
}

std::string Zeros(std::size_t count)
{
    return std::string(count, '\0');
}

// Texts of numbers at the right of their fields.
std::string Right(const std::string& digits, std::size_t width)
{
    return std::string(width - digits.size(), ' ') + digits;
}

class ExchangeTest : public testing::Test
{
protected:
    ExchangeTest()
    {
        setenv("TZ", "UTC", 1);
        tzset();
        m_clock.set_wall(1'768'478'645); // 2026-01-15 12:04:05
    }

    std::string Take(const market::Order& order, const Party& party, const Audience& audience = {})
    {
        return m_exchange.Take(market::Make(order), party, audience);
    }
    std::string Bid(const Party& party, const std::string& price, const std::string& amount,
                    const std::string& code = "000001")
    {
        return Take(Order_Of(party, 'D', price, amount, code), party);
    }
    std::string Offer(const Party& party, const std::string& price, const std::string& amount,
                      const std::string& code = "000001")
    {
        return Take(Order_Of(party, 'O', price, amount, code), party);
    }
    std::string As_Kind(int kind, market::Order order, const Party& party)
    {
        order.kind = kind;
        return Take(order, party);
    }

    // u001's offer of 100 at 4012.25 rests, u002 takes 30 of it with a bid at 4013.
    void Trade_Once()
    {
        Offer(u001, "4012.2500", "100", "A00001");
        m_sink.Forget();
        Bid(u002, "4013.0000", "30", "B00001");
    }

    std::string Only(const std::string& number)
    {
        const auto said = m_sink.With_Number(number);
        EXPECT_EQ(said.size(), 1U) << number;
        return said.empty() ? Zeros(4000) : said.front().message;
    }
    std::string Last(const std::string& number)
    {
        const auto said = m_sink.With_Number(number);
        EXPECT_FALSE(said.empty()) << number;
        return said.empty() ? Zeros(4000) : said.back().message;
    }

    ManualClock m_clock;
    RecordingSink m_sink;
    Exchange m_exchange{
        {{.number = 71, .orders_table = 501, .currency = "USD"}, {.number = 5, .orders_table = 505, .currency = "EUR"}},
        m_clock,
        m_sink};
};

// ---- Orders ----------------------------------------------------------------------------------------------------

TEST_F(ExchangeTest, AnOrderGoesOnAsItCame)
{
    const market::Order order = Order_Of(u001, 'D', "4012.2500", "100");
    EXPECT_EQ(Take(order, u001), "");
    std::string expected = market::Make(order);
    expected.replace(87, 4, "M001");
    EXPECT_EQ(Only("111"), expected);
}

TEST_F(ExchangeTest, AnOrderGoesToItsAddresseesAndItsSender)
{
    Take(Order_Of(u001, 'D', "1", "1"), u001, {.machines = {"M009"}, .institutions = {"BNK2"}, .excluded = {"M008"}});
    const auto said = m_sink.With_Number("111");
    ASSERT_EQ(said.size(), 1U);
    EXPECT_EQ(said[0].log, Log::A);
    EXPECT_EQ(said[0].priority, 60);
    const Audience expected{.machines = {"M009", "M001"}, .institutions = {"BNK2"}, .excluded = {"M008"}};
    EXPECT_EQ(said[0].audience, expected);
}

TEST_F(ExchangeTest, ASenderAmongTheAddresseesIsNamedOnce)
{
    Take(Order_Of(u001, 'D', "1", "1"), u001, {.machines = {"M001"}});
    EXPECT_THAT(m_sink.said.at(0).audience.machines, ElementsAre("M001"));
}

TEST_F(ExchangeTest, AllThreeNumbersAreOrders)
{
    market::Order order = Order_Of(u001, 'D', "1", "1", "A");
    EXPECT_EQ(Take(order, u001), "");
    order.number = 113;
    order.code = "B";
    EXPECT_EQ(Take(order, u001), "");
    order.number = 121;
    order.code = "C";
    EXPECT_EQ(Take(order, u001), "");
    EXPECT_THAT(m_sink.events, ElementsAre("say 111", "I 1", "say 113", "I 2", "say 121", "I 3"));
}

TEST_F(ExchangeTest, WhatAnOrderLacksIsFilledIn)
{
    market::Order order = Order_Of(u001, 'D', "1", "1");
    order.user = order.branch = order.date = order.hour = order.currency = "";
    EXPECT_EQ(Take(order, u001), "");
    const std::string message = Only("111");
    EXPECT_EQ(message.substr(87, 4), "M001");
    EXPECT_EQ(message.substr(91, 4), "U001");
    EXPECT_EQ(message.substr(101, 8), "BNK1CIT1");
    EXPECT_EQ(message.substr(164, 8), "20260115");
    EXPECT_EQ(message.substr(172, 6), "120405");
    EXPECT_EQ(message.substr(513, 3), "USD");
    EXPECT_EQ(m_sink.rows.at(1).body.substr(4, 4), "U001");
}

TEST_F(ExchangeTest, ARowIsTheOrdersDataWithItsAmounts)
{
    const market::Order order = Order_Of(u001, 'D', "4012.2500", "100");
    Take(order, u001);
    std::string expected = market::OrderData(market::Make(order));
    expected.replace(0, 4, "M001");
    expected.replace(185, 16, Right("0.00", 16));
    expected.replace(201, 13, Right("100", 13));
    ASSERT_EQ(m_sink.rows.size(), 1U);
    EXPECT_EQ(m_sink.rows.at(1).table, 501);
    EXPECT_EQ(m_sink.rows.at(1).body, expected);
    EXPECT_EQ(expected.size(), 1194U);
}

TEST_F(ExchangeTest, FieldsThatNobodyLooksAtStayInTheRow)
{
    std::string message = market::Make(Order_Of(u001, 'D', "1", "1"));
    message.replace(1183, 5, "hello");
    m_exchange.Take(message, u001, {});
    EXPECT_EQ(m_sink.rows.at(1).body.substr(1183 - 87, 5), "hello");
}

TEST_F(ExchangeTest, AMessageThatIsCutReadsAsZeros)
{
    const std::string message = market::Make(Order_Of(u001, 'D', "4012.2500", "100"));
    EXPECT_EQ(m_exchange.Take(message.substr(0, 259), u001, {}), ""); // behind the amount
    EXPECT_EQ(Only("111").substr(0, 87), message.substr(0, 87));
    EXPECT_EQ(Only("111").size(), 1504U);
    EXPECT_EQ(Only("111").substr(516), Zeros(1504 - 516));
    EXPECT_NE(m_exchange.Take(message.substr(0, 258), u002, {}), "");
}

TEST_F(ExchangeTest, WhatAMessageHasBehindAnOrderIsDropped)
{
    const std::string message = market::Make(Order_Of(u001, 'D', "4012.2500", "100"));
    EXPECT_EQ(m_exchange.Take(message + std::string(3000, 'x'), u001, {}), "");
    EXPECT_EQ(Only("111").size(), 1504U);
    m_sink.Forget();
    EXPECT_EQ(m_exchange.Take(market::Make(Order_Of(u002, 'D', "1", "1")), u002, {}), "");
    EXPECT_THAT(Only("111"), testing::Not(HasSubstr("x")));
}

TEST_F(ExchangeTest, MakesOrdersThatItTakes)
{
    const std::string made = Exchange::Make_Order(u001, 0, 71, Side::offer, 40'122'500, 100, "A1", m_clock);
    const market::Order order = market::TakeOrder(made);
    EXPECT_EQ(order.number, 111);
    EXPECT_EQ(order.kind, 0);
    EXPECT_EQ(order.market, 71);
    EXPECT_EQ(order.side, 'O');
    EXPECT_EQ(order.price, "4012.2500");
    EXPECT_EQ(order.amount, "100");
    EXPECT_EQ(order.user, "U001");
    EXPECT_EQ(order.code, "A1");
    EXPECT_EQ(order.branch, "BNK1CIT1");
    EXPECT_EQ(order.cabeza.machine, "M001");
    EXPECT_EQ(order.cabeza.user, "U001");
    EXPECT_EQ(order.cabeza.branch, "BNK1CIT1");
    EXPECT_EQ(order.cabeza.date, "20260115");
    EXPECT_EQ(order.cabeza.hour, "120405");
    EXPECT_EQ(m_exchange.Take(made, u001, {}), "");
}

// ---- Refusals --------------------------------------------------------------------------------------------------

TEST_F(ExchangeTest, ARefusedOrderLeavesNoTrace)
{
    EXPECT_NE(Bid(u001, "0", "1"), "");
    EXPECT_THAT(m_sink.events, IsEmpty());
    EXPECT_EQ(m_exchange.Book(71)->size(), 0U);
    EXPECT_THAT(m_exchange.Open_Orders(71), IsEmpty());
}

TEST_F(ExchangeTest, RefusesWhatIsNoOrder)
{
    EXPECT_EQ(m_exchange.Take("", u001, {}), "a message \"\" is no order");
    EXPECT_EQ(m_exchange.Take(std::string("1\0", 2), u001, {}), "a message \"1?\" is no order");
    EXPECT_EQ(m_exchange.Take(std::string(1504, '5'), u001, {}), "a message \"555\" is no order");
}

TEST_F(ExchangeTest, RefusesAMarketThatIsNotThere)
{
    market::Order order = Order_Of(u001, 'D', "1", "1");
    order.market = 72;
    EXPECT_EQ(Take(order, u001), "there is no market 72");
    std::string message = market::Make(order);
    message.replace(142, 3, "7x1");
    EXPECT_EQ(m_exchange.Take(message, u001, {}), "the market (mercado) is to be a number");
    EXPECT_EQ(m_exchange.Book(72), nullptr);
    EXPECT_EQ(m_exchange.Prices(72), nullptr);
    EXPECT_THAT(m_exchange.Open_Orders(72), IsEmpty());
}

TEST_F(ExchangeTest, RefusesASideThatIsNone)
{
    EXPECT_EQ(Take(Order_Of(u001, 'd', "1", "1"), u001), "the side (o_d) is D for demand or O for offer, not \"d\"");
    EXPECT_EQ(Take(Order_Of(u001, '\0', "1", "1"), u001), "the side (o_d) is D for demand or O for offer, not \"?\"");
}

TEST_F(ExchangeTest, RefusesPricesThatAreNone)
{
    for (const char* price : {"", "0", "0.0000", "-1.0000", "1,5", "abc", "1.00001", "1000000000", "1..2", ".5",
                              "99999999999999.9999", "9999999999999999999", "1e3", "+1"}) {
        EXPECT_EQ(Bid(u001, price, "1"), "the price is to be above 0 and below 1000000000") << price;
    }
}

TEST_F(ExchangeTest, TakesPricesInAnyForm)
{
    int code = 0;
    for (const char* price : {"0.0001", "1", "1.", "1.5", "0000001.50000", "999999999.9999", "1.00000000", "12 "}) {
        EXPECT_EQ(Bid(u001, price, "1", std::to_string(++code)), "") << price;
    }
    EXPECT_EQ(m_exchange.Book(71)->Side_In_Order(Side::bid).front().price, 9'999'999'999'999);
    EXPECT_EQ(m_exchange.Book(71)->Side_In_Order(Side::bid).back().price, 1);
}

TEST_F(ExchangeTest, RefusesAmountsThatAreNone)
{
    for (const char* amount : {"", "0", "-1", "1.5", "x", "1000000000000", "9999999999999", "0.0"}) {
        EXPECT_EQ(Bid(u001, "1", amount), "the amount (numero) is to be a whole number above 0 and below 1000000000000")
            << amount;
    }
    EXPECT_EQ(Bid(u001, "1", "999999999999"), "");
    EXPECT_EQ(Bid(u001, "1", "2.00", "B"), "");
}

TEST_F(ExchangeTest, RefusesAKindThatIsNone)
{
    EXPECT_EQ(As_Kind(5, Order_Of(u001, 'D', "1", "1"), u001),
              "clase_mensaje is 0 or 1 to place, 2 to replace, 3 to withdraw, 8 to ask for quotes, not \" 5\"");
    std::string message = market::Make(Order_Of(u001, 'D', "1", "1"));
    message.replace(83, 2, "-1");
    EXPECT_THAT(m_exchange.Take(message, u001, {}), HasSubstr("not \"-1\""));
}

TEST_F(ExchangeTest, AnEmptyKindPlaces)
{
    std::string message = market::Make(Order_Of(u001, 'D', "1", "1"));
    message.replace(83, 2, Zeros(2));
    EXPECT_EQ(m_exchange.Take(message, u001, {}), "");
    EXPECT_EQ(m_exchange.Book(71)->size(), 1U);
}

TEST_F(ExchangeTest, RefusesOrdersInTheNameOfOthers)
{
    EXPECT_EQ(Take(Order_Of(u002, 'D', "1", "1"), u001), "an order of U001 can't be placed in the name of \"U002\"");
    EXPECT_EQ(Take(Order_Of(u002, 'D', "1", "1"), {.machine = "M003"}), "nobody is logged in who could place orders");
}

TEST_F(ExchangeTest, RefusesOrdersWithoutACodeOfTheirOwn)
{
    EXPECT_EQ(Bid(u001, "1", "1", ""), "the order has no code (mcod_postura)");
    EXPECT_EQ(Bid(u001, "1", "1", "A\nB"), "the order's code has characters that can't be shown: \"A?B\"");
}

TEST_F(ExchangeTest, ACodeIsTakenWhileItsOrderIsOpen)
{
    EXPECT_EQ(Bid(u001, "1", "1", "A"), "");
    EXPECT_EQ(Bid(u001, "1", "1", "A"), "you have an open order with the code \"A\" already");
    EXPECT_EQ(Bid(u001, "1", "1", "A  "), "you have an open order with the code \"A\" already");
    EXPECT_EQ(Bid(u002, "1", "1", "A"), "");
    EXPECT_EQ(Offer(u002, "1", "2", "B"), "");
    EXPECT_EQ(Bid(u001, "1", "1", "A"), "");
}

TEST_F(ExchangeTest, RefusesToChangeWhatIsNotThere)
{
    Bid(u002, "1", "1", "A");
    EXPECT_EQ(As_Kind(2, Order_Of(u001, 'D', "1", "1", "A"), u001), "you have no open order with the code \"A\"");
    EXPECT_EQ(As_Kind(3, Order_Of(u001, 'D', "1", "1", "A"), u001), "you have no open order with the code \"A\"");
}

TEST_F(ExchangeTest, RefusesToMoveAnOrderToAnotherMarket)
{
    Bid(u001, "1", "1", "A");
    market::Order order = Order_Of(u001, 'D', "1", "1", "A");
    order.market = 5;
    EXPECT_EQ(As_Kind(2, order, u001), "your order \"A\" is in market 71");
    EXPECT_EQ(As_Kind(3, order, u001), "your order \"A\" is in market 71");
    EXPECT_EQ(m_exchange.Book(71)->size(), 1U);
}

TEST_F(ExchangeTest, AUserHasFiftyThousandOpenOrdersAtMost)
{
    RecordingSink& sink = m_sink;
    for (int i = 0; i < 50'000; ++i) {
        ASSERT_EQ(m_exchange.Take(Exchange::Make_Order(u001, 1, 5, Side::bid, 10'000, 1, std::to_string(i), m_clock),
                                  u001, {}),
                  "");
        sink.said.clear();
        sink.last_rows.clear();
    }
    market::Order order = Order_Of(u001, 'D', "1", "1", "X");
    EXPECT_EQ(Take(order, u001), "you have too many open orders");
    EXPECT_EQ(Take(Order_Of(u002, 'D', "1", "1", "X"), u002), "");
    order.market = 5;
    order.code = "77";
    EXPECT_EQ(As_Kind(2, order, u001), "");
    EXPECT_EQ(As_Kind(3, order, u001), "");
    EXPECT_EQ(Bid(u001, "1", "1", "X"), "");
}

// ---- Requests, withdrawals, replacements -----------------------------------------------------------------------

TEST_F(ExchangeTest, ARequestIsPassedOnAndMeetsNothing)
{
    Offer(u002, "1", "5");
    m_sink.Forget();
    EXPECT_EQ(As_Kind(8, Order_Of(u001, 'D', "", "5", ""), u001), "");
    EXPECT_EQ(As_Kind(8, Order_Of(u002, 'D', "9", "5", "000001"), u002), "");
    EXPECT_THAT(m_sink.events, ElementsAre("say 111", "say 111"));
    EXPECT_EQ(m_exchange.Book(71)->size(), 1U);
}

TEST_F(ExchangeTest, AWithdrawnOrderLosesItsRow)
{
    Bid(u001, "1", "1", "A");
    Bid(u001, "2", "1", "B");
    m_sink.Forget();
    EXPECT_EQ(As_Kind(3, Order_Of(u001, '\0', "", "", "A"), u001), "");
    EXPECT_THAT(m_sink.events, ElementsAre("say 111", "B 1"));
    ASSERT_EQ(m_exchange.Open_Orders(71).size(), 1U);
    EXPECT_EQ(m_exchange.Open_Orders(71)[0].code, "U001B");
}

TEST_F(ExchangeTest, AReplacementKeepsTheRowAndLosesItsTime)
{
    Bid(u001, "2", "5", "A");
    Bid(u002, "2", "5", "A");
    m_sink.Forget();
    EXPECT_EQ(As_Kind(2, Order_Of(u001, 'D', "2.0000", "7", "A"), u001), "");
    EXPECT_THAT(m_sink.events, ElementsAre("say 111", "A 1"));
    EXPECT_EQ(m_sink.rows.at(1).body.substr(159, 13), Right("7", 13));
    EXPECT_EQ(m_sink.rows.at(1).body.substr(201, 13), Right("7", 13));
    const auto open = m_exchange.Open_Orders(71);
    ASSERT_EQ(open.size(), 2U);
    EXPECT_EQ(open[0].code, "U002A");
    EXPECT_EQ(open[0].idx, 2U);
    EXPECT_EQ(open[1].code, "U001A");
    EXPECT_EQ(open[1].idx, 1U);
    EXPECT_EQ(open[1].order.amount, 7);
}

TEST_F(ExchangeTest, AReplacementBeginsItsAmountsAfresh)
{
    Bid(u001, "2", "5", "A");
    Offer(u002, "2", "3", "A");
    As_Kind(2, Order_Of(u001, 'D', "1", "8", "A"), u001);
    const std::string body = m_sink.rows.at(1).body;
    EXPECT_EQ(body.substr(159, 13), Right("8", 13));
    EXPECT_EQ(body.substr(185, 16), Right("0.00", 16));
    EXPECT_EQ(body.substr(201, 13), Right("8", 13));
}

TEST_F(ExchangeTest, AReplacementMayTrade)
{
    Bid(u001, "1", "5", "A");
    Offer(u002, "3", "5", "A");
    m_sink.Forget();
    EXPECT_EQ(As_Kind(2, Order_Of(u001, 'D', "3", "5", "A"), u001), "");
    EXPECT_THAT(m_sink.events, ElementsAre("say 111", "A 1", "B 2", "B 1", "say 112", "say 879", "say  87", "say 176"));
    EXPECT_EQ(m_exchange.Book(71)->size(), 0U);
}

TEST_F(ExchangeTest, AReplacementMayChangeSides)
{
    Bid(u001, "2", "5", "A");
    EXPECT_EQ(As_Kind(2, Order_Of(u001, 'O', "2", "5", "A"), u001), "");
    EXPECT_EQ(m_exchange.Book(71)->Side_In_Order(Side::offer).size(), 1U);
    EXPECT_EQ(m_exchange.Book(71)->Side_In_Order(Side::bid).size(), 0U);
}

// ---- Trades ----------------------------------------------------------------------------------------------------

TEST_F(ExchangeTest, ATradeIsToldInOrder)
{
    Trade_Once();
    EXPECT_THAT(m_sink.events, ElementsAre("say 111", "I 2", "A 1", "B 2", "say 112", "say 879", "say  87", "say 176"));
}

TEST_F(ExchangeTest, MarketsDoNotMeet)
{
    Offer(u001, "1", "1");
    market::Order order = Order_Of(u002, 'D', "1", "1");
    order.market = 5;
    Take(order, u002);
    EXPECT_EQ(m_exchange.Book(71)->size(), 1U);
    EXPECT_EQ(m_exchange.Book(5)->size(), 1U);
    EXPECT_EQ(m_sink.rows.at(2).table, 505);
}

TEST_F(ExchangeTest, ARowTellsWhatIsLeft)
{
    Trade_Once();
    const std::string body = m_sink.rows.at(1).body;
    EXPECT_EQ(body.substr(130, 19), Right("4012.2500", 19));
    EXPECT_EQ(body.substr(159, 13), Right("70", 13));
    EXPECT_EQ(body.substr(185, 16), Right("30.00", 16));
    EXPECT_EQ(body.substr(201, 13), Right("100", 13));
}

TEST_F(ExchangeTest, AnOrderMayMeetSeveral)
{
    Offer(u001, "2", "5", "A");
    Offer(u001, "1", "5", "B");
    m_sink.Forget();
    Bid(u002, "2", "12", "C");
    EXPECT_THAT(m_sink.events, ElementsAre("say 111", "I 3", "B 2", "A 3", "say 112", "say 879", "say  87", "say 176",
                                           "B 1", "A 3", "say 112", "say 879", "say  87", "say 176"));
    EXPECT_EQ(m_sink.rows.at(3).body.substr(159, 13), Right("2", 13));
    EXPECT_EQ(m_sink.With_Number("112")[0].message.substr(1404, 6), "000001");
    EXPECT_EQ(m_sink.With_Number("112")[1].message.substr(1404, 6), "000002");
}

TEST_F(ExchangeTest, AudiencesAndLogsOfATrade)
{
    Trade_Once();
    const RecordingSink::Said trade = m_sink.With_Number("112").at(0);
    EXPECT_EQ(trade.log, Log::P);
    EXPECT_EQ(trade.priority, 60);
    EXPECT_EQ(trade.audience, (Audience{.machines = {"M001", "M002"}}));
    const RecordingSink::Said end = m_sink.With_Number("879").at(0);
    EXPECT_EQ(end.log, Log::P);
    EXPECT_EQ(end.priority, 60);
    EXPECT_EQ(end.audience, Audience::All());
    for (const char* number : {" 87", "176"}) {
        const RecordingSink::Said prices = m_sink.With_Number(number).at(0);
        EXPECT_EQ(prices.log, Log::B);
        EXPECT_EQ(prices.priority, 80);
        EXPECT_EQ(prices.audience, Audience::All());
    }
}

TEST_F(ExchangeTest, ATradeWithOneselfGoesToOneMachine)
{
    Offer(u001, "1", "1", "A");
    Bid(u001, "1", "1", "B");
    EXPECT_THAT(m_sink.With_Number("112").at(0).audience.machines, ElementsAre("M001"));
}

TEST_F(ExchangeTest, EnvelopesOfATradeNameTheTaker)
{
    Trade_Once();
    for (const char* number : {"112", "879", " 87", "176"}) {
        const std::string message = Only(number);
        EXPECT_EQ(message.substr(3, 4), "M002");
        EXPECT_EQ(message.substr(7, 15), Zeros(15)); // server, numbers and log are for others to write
        EXPECT_EQ(message.substr(22, 4), "U002");
        EXPECT_EQ(message.substr(26, 14), "12040520260115");
        EXPECT_EQ(message.substr(40, 14), Zeros(14));
        EXPECT_EQ(message.substr(54, 8), "BNK2CIT2");
        EXPECT_EQ(message.substr(62, 21), Zeros(21));
    }
}

TEST_F(ExchangeTest, ATransactionHasBothParties)
{
    Trade_Once();
    const std::string message = Only("112");
    ASSERT_EQ(message.size(), 2368U);
    std::string expected = message.substr(0, 83) + Zeros(2368 - 83);
    std::string data = market::OrderData(market::Make(Order_Of(u001, 'O', "4012.2500", "30", "A00001")));
    data.replace(0, 4, "M001");
    data.replace(61, 6, "120405");             // hora_operacion
    data.replace(185, 16, Right("30.00", 16)); // numero_transado
    data.replace(201, 13, Right("100", 13));   // numero_total
    expected.replace(167, 1194, data);
    expected.replace(1404, 6, "000001");            // mcod_transaccion
    expected.replace(1423, 4, "U002");              // usuario_postura_1
    expected.replace(1427, 6, "B00001");            // mcod_postura_1
    expected.replace(1433, 8, "BNK2CIT2");          // codigo_sucursal_postura_1
    expected.replace(1466, 6, "120405");            // hora_aceptacion
    expected.replace(1510, 4, "M002");              // codigo_primaryuser_postura_1
    expected.replace(1583, 1, "D");                 // bandera_agresor
    expected.replace(1601, 8, "BNK1CIT1");          // codigo_sucursal_vendedor
    expected.replace(1614, 4, "U001");              // usuario_vendedor
    expected.replace(1618, 8, "BNK2CIT2");          // codigo_sucursal_comprador
    expected.replace(1631, 4, "U002");              // usuario_comprador
    expected.replace(1754, 16, Right("30.00", 16)); // numero_final
    EXPECT_EQ(message, expected);
}

TEST_F(ExchangeTest, ARestingBidBuys)
{
    Bid(u001, "5", "10", "A");
    Offer(u002, "4", "10", "B");
    const std::string message = Only("112");
    EXPECT_EQ(message.substr(171, 10), "U001A" + Zeros(5));
    EXPECT_EQ(message.substr(226, 1), "D");
    EXPECT_EQ(message.substr(297, 19), Right("5.0000", 19));
    EXPECT_EQ(message.substr(1423, 10), "U002B" + Zeros(5));
    EXPECT_EQ(message.substr(1583, 1), "O");
    EXPECT_EQ(message.substr(1614, 4), "U002"); // seller
    EXPECT_EQ(message.substr(1631, 4), "U001"); // buyer
}

TEST_F(ExchangeTest, TheEndOfATransactionNamesTheRestingRow)
{
    Trade_Once();
    const std::string message = Only("879");
    ASSERT_EQ(message.size(), 123U);
    EXPECT_EQ(message.substr(83),
              " 71" + std::string("D") + Right("30", 13) + Right("4012.2500", 19) + std::string("\1\0\0\0", 4));
}

TEST_F(ExchangeTest, PricesOfTheDay)
{
    Offer(u001, "10.0000", "100", "A");
    Bid(u002, "10", "10", "B");
    Bid(u002, "9", "20", "C");
    m_clock.set_wall(1'768'482'245); // 13:04:05
    Offer(u001, "9", "20", "D");
    const std::string message = Last(" 87");
    ASSERT_EQ(message.size(), 1002U);
    std::string expected = message.substr(0, 83) + Zeros(1002 - 83);
    const auto put = [&](std::size_t at, const std::string& text) { expected.replace(83 + at, text.size(), text); };
    put(1, "20260115130405");
    put(15, " 71" + Right("9.0000", 10) + Right("20.00", 16));
    put(44, "U002C" + Zeros(5) + "U001D" + Zeros(5));
    put(85, "O");
    put(95, "U002");
    put(103, "U001");
    put(107, "USD130405");
    put(188, "130405");
    put(333, "20260115 71");
    put(344, "   10.0000    9.0000    9.3333    9.0000   10.0000");
    put(394, "    9.333333" + Right("30.000000", 20)); // (100 + 180) / 30
    put(426, Right("10", 13) + Right("20", 13) + Right("15", 13) + Right("2", 8) + Right("20", 13));
    put(500, "130405120405");
    put(596, Right("280.000000000", 26));
    put(652, "2026 1 71   10.0000    9.0000    9.3333    9.0000   10.0000    9.333333");
    put(723, Right("280.000000000", 26) + Right("30.000000", 20));
    put(769, Right("10", 13) + Right("20", 13) + Right("15", 13) + Right("2", 8));
    EXPECT_EQ(message, expected);
}

TEST_F(ExchangeTest, PricesByHour)
{
    Offer(u001, "10.0000", "100", "A");
    Bid(u002, "8.5", "10", "B");
    Bid(u002, "10.0001", "20", "C");
    const std::string message = Last("176");
    ASSERT_EQ(message.size(), 407U);
    std::string expected = message.substr(0, 83) + Zeros(407 - 83);
    const auto put = [&](std::size_t at, const std::string& text) { expected.replace(83 + at, text.size(), text); };
    put(1, "20260115120000 71D   10.0000" + Right("20", 13) + std::string("\1\0", 2));
    const std::string placed = "   10.0001    8.5000   10.0000   10.0000    9.2501   10.0000" // mean 9.25005
                               "    2    1" +
                               Right("18.5001", 15) + Right("10.0000", 15);
    put(64, "20260115 71" + placed);
    put(195, "2026 1 71" + placed);
    EXPECT_EQ(message, expected);
}

TEST_F(ExchangeTest, TradesAreCountedByHour)
{
    Offer(u001, "1", "100", "A");
    Bid(u002, "1", "1", "B");
    Bid(u002, "1", "1", "B");
    EXPECT_EQ(Last("176").substr(83 + 42, 2), std::string("\2\0", 2));
    m_clock.set_wall(1'768'482'000); // 13:00:00
    Bid(u002, "1", "1", "B");
    EXPECT_EQ(Last("176").substr(83 + 9, 6), "130000");
    EXPECT_EQ(Last("176").substr(83 + 42, 2), std::string("\1\0", 2));
}

TEST_F(ExchangeTest, ANewDayBeginsAfresh)
{
    Offer(u001, "10", "100", "A");
    Bid(u002, "10", "1", "B");
    EXPECT_EQ(m_exchange.Prices(71)->trades, 1U);
    EXPECT_EQ(m_exchange.Prices(71)->date, "20260115");
    m_clock.set_wall(1'768'565'045); // 2026-01-16 12:04:05
    EXPECT_EQ(m_exchange.Prices(71)->trades, 0U);
    EXPECT_EQ(m_exchange.Prices(71)->date, "20260116");
    Bid(u002, "10", "2", "B");
    const std::string day = Last(" 87").substr(83);
    EXPECT_EQ(day.substr(333, 8), "20260116");
    EXPECT_EQ(day.substr(406, 20), Right("2.000000", 20));
    EXPECT_EQ(day.substr(749, 20), Right("3.000000", 20)); // of the month
    const std::string hour = Last("176").substr(83);
    EXPECT_EQ(hour.substr(135, 10), "    1    0"); // the offer was placed yesterday
    EXPECT_EQ(hour.substr(264, 10), "    2    1");
}

TEST_F(ExchangeTest, ANewMonthBeginsAfresh)
{
    Offer(u001, "10", "100", "A");
    Bid(u002, "10", "1", "B");
    m_clock.set_wall(1'769'947'445); // 2026-02-01 12:04:05
    Bid(u002, "10", "2", "B");
    EXPECT_EQ(Last(" 87").substr(83 + 652, 9), "2026 2 71");
    EXPECT_EQ(Last(" 87").substr(83 + 749, 20), Right("2.000000", 20));
    EXPECT_EQ(Last("176").substr(83 + 264, 10), "    1    0");
}

TEST_F(ExchangeTest, StatisticsOfTheDay)
{
    Offer(u001, "10", "5", "A");
    Bid(u002, "10", "5", "B");
    Offer(u001, "11", "10", "A");
    Bid(u002, "11", "10", "B");
    const TradedPrices& prices = *m_exchange.Prices(71);
    EXPECT_EQ(prices.opening, 100'000);
    EXPECT_EQ(prices.last, 110'000);
    EXPECT_EQ(prices.lowest, 100'000);
    EXPECT_EQ(prices.highest, 110'000);
    EXPECT_EQ(prices.last_amount, 10);
    EXPECT_EQ(prices.total_amount, 15);
    EXPECT_EQ(prices.trades, 2U);
    EXPECT_EQ(prices.Mean(), 106'667); // 10.66666...
    EXPECT_EQ(m_exchange.Prices(5)->trades, 0U);
}

// ---- The greatest numbers --------------------------------------------------------------------------------------

TEST_F(ExchangeTest, HugeTradesAreClippedToTheFields)
{
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(Offer(u001, "999999999.9999", "999999999999", "A"), "");
        ASSERT_EQ(Bid(u002, "999999999.9999", "999999999999", "B"), "");
    }
    const TradedPrices& prices = *m_exchange.Prices(71);
    EXPECT_EQ(prices.total_amount, 19'999'999'999'980);
    EXPECT_EQ(prices.Mean(), 9'999'999'999'999);
    const std::string day = Last(" 87").substr(83);
    EXPECT_EQ(day.substr(18, 10), "99999.9999");
    EXPECT_EQ(day.substr(28, 16), " 999999999999.00");
    EXPECT_EQ(day.substr(364, 10), "99999.9999");
    EXPECT_EQ(day.substr(394, 12), "99999.999999");
    EXPECT_EQ(day.substr(406, 20), "9999999999999.999999");
    EXPECT_EQ(day.substr(452, 13), " 999999999999");
    EXPECT_EQ(day.substr(596, 26), "9999999999999999.999999999");
    EXPECT_EQ(Last("112").substr(297, 19), Right("999999999.9999", 19));
    EXPECT_EQ(Last("879").substr(87, 13), " 999999999999");
    EXPECT_EQ(Last("176").substr(83 + 145, 15), "9999999999.9999");
}

// ---- As clients read it ----------------------------------------------------------------------------------------

TEST_F(ExchangeTest, TheLibraryReadsTheNumbers)
{
    Trade_Once();
    CMsgPrcMntTrans prices;
    const std::string message = Only(" 87");
    prices.Update_Message_Info(std::span<const char>(message));
    char text[64] = {};
    prices[PRECIO_PROMEDIO_DIA] >> text;
    EXPECT_STREQ(text, "4012.2500");
    prices[MONTO_TOTAL_DIA] >> text;
    EXPECT_STREQ(text, "30.000000");
    EXPECT_EQ(static_cast<int>(prices[NUMERO_TRANSACCIONES_DIA]), 1);
    EXPECT_EQ(static_cast<int>(prices[MERCADO_DIA]), 71);
}

} // namespace
