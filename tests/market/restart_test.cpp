// What a market that starts again has kept, and what a client that comes back is given.
#include "market/support/manual_clock.h"
#include "market/support/market_client.h"
#include "market/support/market_thread.h"
#include "records/orders.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>

using namespace market;

namespace {

std::string date_of(const std::string& message)
{
    return RecordReader(message, "a message", message.size()).text(32, 8);
}

std::uint32_t number_of(const std::string& message)
{
    return RecordReader(message, "a message", message.size()).u32(17);
}

std::string text_of(const std::string& message)
{
    return TakeChat(message).chat.text;
}

class MarketRestart : public ::testing::Test
{
protected:
    static qm::MarketOptions with_store(const ScratchDirectory& directory)
    {
        return {.store = directory.path("store")};
    }

    // The texts of the chats in a log.
    static std::vector<std::string> texts(const std::vector<std::string>& log)
    {
        std::vector<std::string> texts;
        for (const std::string& message : log) {
            texts.push_back(text_of(message));
        }
        return texts;
    }

    ScratchDirectory directory;
    MarketThread market{SmallScenario(), with_store(directory)};
};

TEST_F(MarketRestart, ServesTheStoredMessages)
{
    market.command("chat pedro maria one");
    market.command("chat pedro maria two");
    EXPECT_EQ(market.command("restart"), "started again with 2 stored messages");
    MarketClient maria(market.port(), "L001", "U001");
    maria.log_in("maria");
    EXPECT_EQ(texts(maria.first_log()), (std::vector<std::string>{"one", "two"}));
    EXPECT_TRUE(maria.second_log().empty());
}

TEST_F(MarketRestart, KeepsItsPort)
{
    const std::uint16_t port = market.port();
    MarketClient maria(port, "L001", "U001");
    maria.bring_up("maria");
    market.command("restart");
    maria.expect_end();
    MarketClient again(port, "L001", "U001");
    EXPECT_EQ(again.log_in("maria").letter, 'S');
}

TEST_F(MarketRestart, GoesOnCounting)
{
    market.command("chat pedro maria one");
    market.command("restart");
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    market.command("chat pedro maria two");
    EXPECT_EQ(number_of(maria.expect(575)), 2U);
}

TEST_F(MarketRestart, ForgetsAllOnRequest)
{
    market.command("chat pedro maria one");
    EXPECT_EQ(market.command("restart empty"), "started again with 0 stored messages");
    MarketClient maria(market.port(), "L001", "U001");
    maria.log_in("maria");
    EXPECT_TRUE(maria.first_log().empty());
}

TEST_F(MarketRestart, BringsTheOpenOrdersBackWithWhatIsLeftOfThem)
{
    market.command("order maria 71 bid 4012.25 100 A");
    market.command("order pedro 71 offer 4012.25 40 B"); // trades
    market.command("order maria 71 bid 4011 10 C");
    market.command("order pedro 71 offer 4013 10 D");
    market.command("withdraw pedro 71 D");
    const std::string book = market.command("book 71");
    EXPECT_EQ(book, "bid          4012.2500              60  U001A\nbid          4011.0000              10  U001C\n"
                    "2 orders");
    market.command("restart");
    EXPECT_EQ(market.command("book 71"), book);
    market.command("restart");
    EXPECT_EQ(market.command("book 71"), book);
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    EXPECT_EQ(maria.subscribe(71).size(), 2U);
}

TEST_F(MarketRestart, SaysNothingTwiceWhenItBringsOrdersBack)
{
    market.command("order maria 71 bid 4012.25 100 A");
    market.command("restart");
    MarketClient maria(market.port(), "L001", "U001");
    maria.log_in("maria");
    EXPECT_EQ(maria.first_log().size(), 1U);
}

TEST_F(MarketRestart, GivesOrdersThatItBroughtBackTheirBranch)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    maria.place(71, 'D', "4012.2500", "100", "000001");
    maria.expect(111);
    const std::string before = maria.subscribe(71).at(0).body;
    market.command("restart");
    MarketClient again(market.port(), "L001", "U001");
    again.bring_up("maria");
    EXPECT_EQ(again.subscribe(71).at(0).body, before);
}

TEST_F(MarketRestart, BringsAReplacedOrderBackOnceAndNoRequest)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    maria.place(71, 'D', "4012.2500", "100", "000001");
    maria.place(71, 'D', "4010.0000", "70", "000001", 2);
    maria.place(71, 'D', "4009.0000", "70", "000002", 8);
    maria.place(71, 'D', "4008.0000", "10", "000003");
    for (int i = 0; i < 4; ++i) {
        maria.expect(111);
    }
    market.command("restart");
    EXPECT_EQ(market.command("book 71"), "bid          4010.0000              70  U001000001\n"
                                         "bid          4008.0000              10  U001000003\n2 orders");
}

TEST_F(MarketRestart, NumbersTradesOn)
{
    const auto code_of_trade = [this](const std::string& code) {
        MarketClient maria(market.port(), "L001", "U001");
        maria.bring_up("maria");
        market.command("order maria 71 bid 4000 5 " + code);
        market.command("order pedro 71 offer 4000 5 " + code);
        const std::string trade = maria.expect(112);
        maria.close();
        market.wait_until([](qm::Market& its) { return its.Do("clients") == "0 clients"; });
        CMsgTransMon record;
        record.Update_Message_Info(std::span(trade.data(), trade.size()));
        return std::string(record[MCOD_TRANSACCION].Get_Ptr(), 6);
    };
    EXPECT_EQ(code_of_trade("A"), "000001");
    EXPECT_EQ(code_of_trade("B"), "000002");
    market.command("restart");
    EXPECT_EQ(code_of_trade("C"), "000003");
    market.command("restart empty");
    EXPECT_EQ(code_of_trade("D"), "000001");
}

TEST_F(MarketRestart, SurvivesInMemoryToo)
{
    MarketThread in_memory;
    in_memory.command("chat pedro maria one");
    EXPECT_EQ(in_memory.command("restart"), "started again with 1 stored message");
}

// ---- By number and by date

class MarketLog : public ::testing::Test
{
protected:
    // A day of 2026, in local time.
    void set_day(int day) { clock.set_wall(noon_of_first + (day - 1) * 86'400); }

    std::vector<std::string> log_of_maria(const std::vector<LogEntry>& entries)
    {
        MarketClient maria(market.port(), "L001", "U001");
        maria.log_in("maria");
        std::vector<std::string> texts;
        for (const std::string& message : maria.first_log(entries)) {
            texts.push_back(text_of(message));
            dates.push_back(date_of(message));
        }
        maria.close();
        market.wait_until([](qm::Market& its) { return its.Do("clients") == "0 clients"; });
        return texts;
    }

    static constexpr std::time_t noon_of_first = 1'767'268'800; // 2026-01-01 12:00:00 UTC
    ManualClock clock;
    MarketThread market{SmallScenario(), {}, clock};
    std::vector<std::string> dates;
};

TEST_F(MarketLog, GoesOnBehindANumberOfADay)
{
    set_day(10);
    market.command("chat pedro maria one");
    market.command("chat pedro maria two");
    market.command("chat pedro maria three");
    const std::string today = clock.date();
    EXPECT_EQ(log_of_maria({{'A', today, 1}}), (std::vector<std::string>{"two", "three"}));
    EXPECT_EQ(log_of_maria({{'A', today, 3}}), std::vector<std::string>{});
    EXPECT_EQ(log_of_maria({{'A', {}, 0}}).size(), 3U);
    EXPECT_EQ(log_of_maria({{'P', today, 0}, {'B', today, 0}}), std::vector<std::string>{});
}

TEST_F(MarketLog, CountsEachDayForItself)
{
    set_day(10);
    const std::string first_day = clock.date();
    market.command("chat pedro maria one");
    market.command("chat pedro maria two");
    set_day(11);
    const std::string second_day = clock.date();
    market.command("chat pedro maria three");
    EXPECT_EQ(log_of_maria({{'A', first_day, 1}}), (std::vector<std::string>{"two", "three"}));
    EXPECT_EQ(dates, (std::vector<std::string>{first_day, second_day}));
    EXPECT_EQ(log_of_maria({{'A', second_day, 0}}), std::vector<std::string>{"three"});
    EXPECT_EQ(log_of_maria({{'A', second_day, 1}}), std::vector<std::string>{});
    EXPECT_EQ(log_of_maria({{'A', {}, 0}}), std::vector<std::string>{"three"});
}

TEST_F(MarketLog, OpenOrdersOutlastMidnightAndARestart)
{
    set_day(10);
    market.command("order maria 71 bid 4012.25 100 A");
    market.command("order pedro 71 offer 4013 10 B");
    set_day(11);
    market.command("order pedro 71 offer 4012.25 40 C"); // trades
    market.command("withdraw pedro 71 B");
    const std::string book = market.command("book 71");
    EXPECT_EQ(book, "bid          4012.2500              60  U001A\n1 order");
    market.command("restart");
    EXPECT_EQ(market.command("book 71"), book);
}

TEST_F(MarketLog, HasWhatCameBetweenTheRoundsInTheSecond)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.log_in("maria");
    market.command("chat pedro maria one");
    EXPECT_EQ(maria.first_log().size(), 1U);
    market.command("chat pedro maria two");
    const std::vector<std::string> second = maria.second_log();
    ASSERT_EQ(second.size(), 1U);
    EXPECT_EQ(text_of(second.front()), "two");
    market.command("chat pedro maria three");
    EXPECT_EQ(text_of(maria.expect(575)), "three");
}

TEST_F(MarketLog, HasOnlyWhatIsForTheClient)
{
    market.command("chat maria pedro not for maria");
    EXPECT_TRUE(log_of_maria({{'P'}, {'A'}, {'B'}}).empty());
}

TEST_F(MarketLog, IsServedWholeThoughItIsLongerThanAnyQueue)
{
    for (int i = 0; i < 4000; ++i) {
        market.command("chat pedro maria " + std::to_string(i));
    }
    MarketClient maria(market.port(), "L001", "U001");
    maria.log_in("maria");
    const std::vector<std::string> log = maria.first_log();
    ASSERT_EQ(log.size(), 4000U);
    EXPECT_EQ(text_of(log.front()), "0");
    EXPECT_EQ(text_of(log.back()), "3999");
}

} // namespace
