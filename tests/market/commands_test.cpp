// What is typed at the market's prompt, as it answers and as clients see it.
#include "market/support/market_client.h"
#include "market/support/market_thread.h"

#include <gtest/gtest.h>

#include <mutex>

using namespace market;

namespace {

constexpr const char* quoting_user = R"(,
  "feeds": [{"market": 71, "user": "U002", "every_milliseconds": 1, "price": 4000, "step": 1, "amount": 10, "levels": 2}])";

class MarketCommands : public ::testing::Test
{
protected:
    MarketThread market;
};

// ---- Lines that can't be done

TEST_F(MarketCommands, OddLinesAreRefusedAndHarmNothing)
{
    const std::string many(100'000, 'x');
    for (const std::string& line : {std::string("drop L001 after -1"),
                                    std::string("drop L001 after"),
                                    std::string("drop L001 behind 3"),
                                    std::string("drop 99999999999999999999"),
                                    std::string("stall L001 -5"),
                                    std::string("stall L001 4294967296"),
                                    std::string("garbage L001 1000001"),
                                    std::string("flood L001 71 1000000001"),
                                    std::string("flood L001 99999999999 1"),
                                    std::string("book 99999999999"),
                                    std::string("book -71"),
                                    std::string("book 71.0"),
                                    std::string("order maria 71 bid 1e3 5"),
                                    std::string("order maria 71 bid -1 5"),
                                    std::string("order maria 71 bid 1.00001 5"),
                                    std::string("order maria 71 bid 1. 5"),
                                    std::string("order maria 71 bid 9999999999999 5"),
                                    std::string("order maria 71 bid 999999999999 5"),
                                    std::string("order maria 71 bid 1 9223372036854775807"),
                                    std::string("order maria 71 bid 1 -5"),
                                    std::string("order maria 71 bid 1 5 \xC3\xB1"),
                                    std::string("order maria 71 bid 1 5 SEVENTH"),
                                    std::string("order maria 2147483647 bid 1 5"),
                                    std::string("order maria -2147483648 bid 1 5"),
                                    std::string("order maria 1071 bid 1 5"),
                                    std::string("order nobody 71 bid 1 5"),
                                    std::string("order maria 71 both 1 5"),
                                    std::string("withdraw maria 71 NONE"),
                                    std::string("withdraw maria x NONE"),
                                    std::string("chat nobody all hello"),
                                    std::string("chat maria nobody hello"),
                                    std::string("chat maria all"),
                                    std::string("table 65536 delete 1"),
                                    std::string("table 25 delete x"),
                                    std::string("table 25 delete 77"),
                                    std::string("table 25 update 77 {}"),
                                    std::string("table 25 update 1 {"),
                                    std::string("table 25 update 1 []"),
                                    std::string("table 25 insert {\"nombre\":null}"),
                                    std::string("table 25 insert {\"nombre\":[[[]]]}"),
                                    std::string("table 25 insert {\"nombre\":1e400}"),
                                    std::string("table 25 insert {\"nombre\":\"\xFF\"}"),
                                    std::string("table 25 insert {\"none\":1}"),
                                    std::string("table 25 upsert 1 {}"),
                                    std::string("table 8 insert {\"codigo\":1}"),
                                    std::string("feed 71 on"),
                                    std::string("feed all on"),
                                    std::string("feed 71 maybe"),
                                    std::string("refuse nobody D"),
                                    std::string("refuse maria DD"),
                                    std::string("refuse maria S"),
                                    std::string("admit nobody"),
                                    std::string("restart now"),
                                    std::string("\xFF"),
                                    std::string("quit now"),
                                    many,
                                    "drop " + many,
                                    "table 25 insert " + std::string(50'000, '[')}) {
        EXPECT_TRUE(market.command(line).starts_with("error: ")) << line.substr(0, 60);
    }
    EXPECT_EQ(market.command(" \t "), "");
    EXPECT_EQ(market.command("book 71"), "0 orders");
}

TEST_F(MarketCommands, WithdrawTakesWholeCodes)
{
    market.command("order maria 71 bid 1 5 A12345");
    EXPECT_EQ(market.command("withdraw maria 71 A123456"), "error: usage: withdraw USER MARKET CODE");
    EXPECT_EQ(market.command("withdraw maria 71 A12345"), "withdrawn");
    EXPECT_EQ(market.command("book 71"), "0 orders");
}

TEST_F(MarketCommands, HelpNamesThemAll)
{
    const std::string help = market.command("help");
    for (const char* name : {"clients", "book", "order", "withdraw", "chat", "table", "feed", "drop", "stall", "resume",
                             "garbage", "duplicate", "refuse", "admit", "flood", "restart", "help", "quit"}) {
        EXPECT_NE(help.find("  " + std::string(name) + " "), std::string::npos) << name;
    }
}

// ---- Clients

TEST_F(MarketCommands, ClientsAreShownWithTheirState)
{
    EXPECT_EQ(market.command("clients"), "0 clients");
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    MarketClient refused(market.port(), "L002", "U002");
    refused.log_in("pedro", "wrong");
    const std::string shown = market.command("clients");
    EXPECT_NE(shown.find("   1  L001 U001 NORTBOG1  live        3 in, 6 out, 0 bytes wait  127.0.0.1:"),
              std::string::npos)
        << shown;
    EXPECT_NE(shown.find("refused"), std::string::npos);
    EXPECT_TRUE(shown.ends_with("\n2 clients"));
    market.command("stall 1");
    EXPECT_NE(market.command("clients").find("stalled"), std::string::npos);
}

TEST_F(MarketCommands, AClientIsNamedByItsNumberToo)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    EXPECT_EQ(market.command("drop 2"), "error: no client 2");
    EXPECT_EQ(market.command("drop 1"), "1 client");
    maria.expect_end();
}

// ---- Tables

TEST_F(MarketCommands, TablesChangeForThoseWhoHaveThem)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    maria.subscribe(25);
    EXPECT_EQ(market.command(R"(table 25 insert {"codigo_3c":"LET","nombre":"Leticia"})"), "record 4");
    SeenRow row = maria.expect_row(25);
    EXPECT_EQ(row.letter, 'I');
    EXPECT_EQ(row.idx, 4U);
    EXPECT_NE(row.body.find("Leticia"), std::string::npos);
    EXPECT_EQ(market.command(R"(table 25 update 4 {"nombre":"Tabatinga"})"), "record 4");
    row = maria.expect_row(25);
    EXPECT_EQ(row.letter, 'A');
    EXPECT_NE(row.body.find("Tabatinga"), std::string::npos);
    EXPECT_NE(row.body.find("LET"), std::string::npos); // what isn't named stays
    EXPECT_EQ(market.command("table 25 delete 4"), "deleted");
    row = maria.expect_row(25);
    EXPECT_EQ(row.letter, 'B');
    EXPECT_EQ(row.idx, 4U);
    EXPECT_EQ(maria.subscribe(25).size(), 3U);
}

TEST_F(MarketCommands, ATableOfOrdersLosesARecordWithoutHarm)
{
    market.command("order maria 71 bid 4000 10 A");
    EXPECT_EQ(market.command("table 71 delete 1"), "deleted");
    EXPECT_EQ(market.command("order pedro 71 offer 4000 4 B"), "order U002B");
    EXPECT_EQ(market.command("withdraw maria 71 A"), "withdrawn");
    EXPECT_EQ(market.command("book 71"), "0 orders");
}

// ---- Feeds

TEST(MarketFeed, IsSwitchedOnAndOff)
{
    MarketThread market(SmallScenario(quoting_user), {.quiet_feeds = true});
    EXPECT_EQ(market.command("book 71"), "0 orders");
    EXPECT_EQ(market.command("feed 72 on"), "error: no feed 72");
    EXPECT_EQ(market.command("feed 71 on"), "feed on");
    market.wait_until([](qm::Market& its) { return its.exchange().Open_Orders(71).size() == 4; });
    EXPECT_EQ(market.command("feed all off"), "feed off");
}

TEST(MarketFeed, GoesOnWhenTheMarketStartsAgainAndIsNotStored)
{
    MarketThread market(SmallScenario(quoting_user));
    market.wait_until([](qm::Market& its) { return its.exchange().Open_Orders(71).size() == 4; });
    EXPECT_EQ(market.command("restart"), "started again with 0 stored messages");
    market.wait_until([](qm::Market& its) { return its.exchange().Open_Orders(71).size() == 4; });
}

// ---- Logins

TEST_F(MarketCommands, RefusalsStandUntilTheyAreTakenBack)
{
    EXPECT_EQ(market.command("refuse maria L"), "logins of maria are refused with L");
    for (int i = 0; i < 2; ++i) {
        MarketClient maria(market.port(), "L001", "U001");
        EXPECT_EQ(maria.log_in("maria").letter, 'L');
    }
    MarketClient pedro(market.port(), "L002", "U002");
    EXPECT_EQ(pedro.log_in("pedro").letter, 'S');
    market.command("restart");
    MarketClient maria(market.port(), "L001", "U001");
    EXPECT_EQ(maria.log_in("maria").letter, 'L');
}

TEST_F(MarketCommands, AMachineThatStallsMayLogInAnew)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    market.command("stall L001");
    MarketClient again(market.port(), "L001", "U001");
    EXPECT_EQ(again.log_in("maria").letter, 'S');
    maria.expect_end();
    MarketClient third(market.port(), "L001", "U001");
    EXPECT_EQ(third.log_in("maria").letter, 'R');
}

TEST(MarketUsers, OrdersOfThePromptReachAUserWhereverHeIs)
{
    std::string scenario = SmallScenario();
    scenario.replace(scenario.find(R"(, "machine": "L001")"), 19, "");
    MarketThread market(scenario);
    MarketClient maria(market.port(), "L077", "U001");
    maria.bring_up("maria");
    market.command("order maria 71 bid 1 5 A");
    EXPECT_EQ(TakeOrder(maria.expect(111)).code, "A");
}

// ---- Floods

TEST_F(MarketCommands, FloodsGoOutOneBehindTheOther)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    market.command("stall L001");
    market.command("flood L001 71 600");
    market.command("flood L001 72 400");
    market.command("resume L001");
    market.command("chat pedro maria behind the flood");
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(TakeOrder(maria.expect(111)).market, i < 600 ? 71 : 72);
    }
    EXPECT_EQ(TakeChat(maria.expect(575)).chat.text, "behind the flood");
}

TEST_F(MarketCommands, AFloodBeginsWhenAStallEnds)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    market.command("stall L001");
    market.command("flood L001 71 10");
    market.command("resume L001");
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(TakeOrder(maria.expect(111)).market, 71);
    }
}

TEST_F(MarketCommands, AFloodDoesNotKeepAClientFromItsLogin)
{
    MarketClient maria(market.port(), "L001", "U001");
    market.wait_until([](qm::Market& its) { return its.Do("clients") != "0 clients"; });
    market.command("flood 1 71 10");
    EXPECT_EQ(maria.log_in("maria").letter, 'S');
    maria.expect_range();
    EXPECT_TRUE(maria.is_quiet());
}

// The log waits in the store, not in memory, while a client takes its time with a flood.
TEST_F(MarketCommands, StoredMessagesGoOutBesideAFlood)
{
    constexpr int chats = 2000;
    constexpr int orders = 20'000;
    for (int i = 0; i < chats; ++i) {
        market.command("chat pedro maria " + std::to_string(i));
    }
    MarketClient maria(market.port(), "L001", "U001");
    maria.log_in("maria");
    maria.expect_range();
    market.command("flood L001 71 " + std::to_string(orders));
    maria.send_message(Record(203, 983).letter(83, 'A').text(84, "AB", 2).bytes());
    market.wait_until([](qm::Market& its) { return its.Do("clients").find(" 2 in, ") != std::string::npos; });
    const std::string shown = market.command("clients");
    const std::size_t begin = shown.find("out, ") + 5;
    EXPECT_LT(std::stoul(shown.substr(begin)), 2U * 1024 * 1024) << shown;
    maria.expect(204);
    for (int i = 0; i < chats; ++i) {
        ASSERT_EQ(TakeChat(maria.expect(575)).chat.text, std::to_string(i));
    }
    maria.expect(205);
    for (int i = 0; i < orders; ++i) {
        maria.expect(111);
    }
}

// ---- What a client says

class MarketTelling : public ::testing::Test
{
protected:
    bool was_told(const std::string& line)
    {
        const std::lock_guard lock(mutex);
        return std::find(told.begin(), told.end(), line) != told.end();
    }

    std::mutex mutex;
    std::vector<std::string> told;
    MarketThread market{SmallScenario(), {.tell = [this](const std::string& line) {
                            const std::lock_guard lock(mutex);
                            told.push_back(line);
                        }}};
};

TEST_F(MarketTelling, ChatsAreShownOnOneLineWithoutControls)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    maria.chat("one\ntwo\x1b[2J caf\xC3\xA9");
    market.wait_until([this](qm::Market&) { return was_told("chat of U001: one?two?[2J caf\xC3\xA9"); });
}

TEST_F(MarketTelling, NobodyChatsInTheNameOfAnother)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    MarketClient pedro(market.port(), "L002", "U002");
    pedro.bring_up("pedro");
    maria.send_message(
        Make(Chat{.cabeza = {.machine = "L003", .user = "U003"}, .chat = {.sender = "U003", .text = "it was me"}}));
    const std::string chat = pedro.expect(575);
    EXPECT_EQ(TakeChat(chat).chat.sender, "U001");
    EXPECT_EQ(RecordReader(chat, "a chat", chat.size()).text(22, 4), "U001");
    EXPECT_TRUE(was_told("chat of U001: it was me"));
}

} // namespace
