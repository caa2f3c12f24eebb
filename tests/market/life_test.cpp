// A client's life in the market beside its login: signals, stalls, slowness, and what the journal keeps of it.
#include "market/support/manual_clock.h"
#include "market/support/market_client.h"
#include "market/support/market_thread.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <future>
#include <thread>

using namespace market;

namespace {

class MarketLifeByClock : public ::testing::Test
{
protected:
    void pass(int seconds)
    {
        for (int i = 0; i < seconds; ++i) {
            clock.advance(std::chrono::seconds(1));
            market.look_at_clock();
            market.look_at_clock(); // timers are due behind what was posted
        }
    }

    ManualClock clock;
    MarketThread market{SmallScenario(), {}, clock};
    MarketClient maria{market.port(), "L001", "U001"};
};

TEST_F(MarketLifeByClock, ASignalComesAfterTwentySilentSeconds)
{
    maria.log_in("maria");
    maria.expect_range();
    pass(19);
    EXPECT_FALSE(maria.has_unread());
    pass(2);
    EXPECT_TRUE(maria.receive_frame().payload.empty());
    EXPECT_FALSE(maria.has_unread());
}

TEST_F(MarketLifeByClock, AnythingKeepsAClientAlive)
{
    maria.log_in("maria");
    maria.expect_range();
    for (int i = 0; i < 3; ++i) {
        pass(70);
        EXPECT_TRUE(maria.is_quiet());
    }
    pass(82);
    maria.expect_end();
    EXPECT_EQ(market.command("clients"), "0 clients");
}

TEST_F(MarketLifeByClock, AStallEndsAfterItsSeconds)
{
    maria.bring_up("maria");
    market.command("stall L001 5");
    market.command("chat pedro maria hello");
    pass(4);
    EXPECT_FALSE(maria.has_unread());
    pass(2);
    EXPECT_EQ(TakeChat(maria.expect(575)).chat.text, "hello");
}

TEST_F(MarketLifeByClock, AStalledClientIsNotTakenForSilent)
{
    maria.bring_up("maria");
    market.command("stall L001");
    pass(100);
    EXPECT_FALSE(maria.has_unread());
    market.command("resume L001");
    EXPECT_NE(market.command("clients"), "0 clients");
}

TEST(MarketSlowClient, IsGivenUpAndTheOthersAreServed)
{
    qm::MarketOptions options;
    options.most_queued = 4'000'000;
    MarketThread market(SmallScenario(), options);
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    MarketClient pedro(market.port(), "L002", "U002");
    pedro.bring_up("pedro");
    market.command("stall L001");
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(market.command("garbage L001 1000000"), "1 client") << i;
    }
    market.command("garbage L001 1000000");
    market.command("chat maria pedro hello");
    EXPECT_EQ(TakeChat(pedro.expect(575)).chat.text, "hello");
    EXPECT_TRUE(market.command("clients").ends_with("\n1 client"));
    maria.receive_until_closed();
}

TEST(MarketChats, ReachTheBranchesThatTheyName)
{
    MarketThread market;
    MarketClient maria(market.port(), "L001", "U001");
    maria.bring_up("maria");
    MarketClient pedro(market.port(), "L002", "U002");
    pedro.bring_up("pedro");
    MarketClient lucia(market.port(), "L003", "U003");
    lucia.bring_up("lucia");
    ChatText chat{.text = "to two branches"};
    chat.receiver_count = 2;
    chat.receiver_kind = 'S';
    chat.receivers = "NOBODYX1CORRBOG1";
    maria.send_message(Make(Chat{.cabeza = {.machine = "L001", .user = "U001"}, .chat = chat}));
    EXPECT_EQ(TakeChat(lucia.expect(575)).chat.text, "to two branches");
    EXPECT_TRUE(pedro.is_quiet());
    EXPECT_TRUE(maria.is_quiet());
}

TEST(MarketLog, TheSecondRoundMayBeAskedForAheadOfTheFirstOnesEnd)
{
    MarketThread market;
    market.command("chat pedro maria one");
    MarketClient maria(market.port(), "L001", "U001");
    maria.log_in("maria");
    maria.expect_range();
    market.command("stall L001");
    maria.send_message(Record(203, 983).letter(83, 'A').text(84, "AB", 2).bytes());
    maria.send_message(Record(252, 83).bytes());
    market.command("resume L001");
    for (const int number : {204, 575, 205, 204, 205}) {
        EXPECT_EQ(NumberOf(maria.next()), number);
    }
}

// ---- The journal

class MarketJournal : public ::testing::Test
{
protected:
    // One line a message or event: "in 201", "connected".
    std::vector<std::string> entries() const
    {
        std::ifstream in(directory.path("journal"));
        std::vector<std::string> found;
        for (std::string line; std::getline(in, line);) {
            const auto entry = nlohmann::json::parse(line);
            found.push_back(entry.contains("event")
                                ? entry["event"].get<std::string>()
                                : entry["direction"].get<std::string>() + " " + entry["number"].dump());
        }
        return found;
    }

    void on_thread(const std::function<void()>& action)
    {
        std::promise<void> done;
        loop.Post([&] {
            action();
            done.set_value();
        });
        done.get_future().wait();
    }

    ScratchDirectory directory;
    qm::Clock clock;
    qm::EventLoop loop{clock};
};

TEST_F(MarketJournal, HasAWholeSession)
{
    {
        qm::Journal journal(clock, directory.path("journal"), true);
        qm::Market market(loop, qm::Parse_Scenario(SmallScenario(), "small.json"), {}, journal);
        std::thread thread([this] { loop.Run(); });
        MarketClient maria(market.port(), "L001", "U001");
        maria.place(71, 'D', "1.0000", "1", "000001"); // too early
        maria.log_in("maria");
        maria.expect_range();
        maria.subscribe(25);
        maria.first_log();
        maria.second_log();
        maria.place(71, 'D', "4012.2500", "100", "000001");
        maria.expect(111);
        maria.place(99, 'D', "4012.2500", "100", "000002");
        maria.expect(575);
        on_thread([&] { market.Do("restart"); });
        maria.expect_end();
        loop.Stop();
        thread.join();
    }
    const std::vector<std::string> expected = {"connected", "in 111",  "ignored", "in 201",  "out 201", "out 888",
                                               "in 888",    "out 888", "out 888", "out 888", "out 888", "in 203",
                                               "out 204",   "out 205", "in 252",  "out 204", "out 205", "in 111",
                                               "out 111",   "in 111",  "refused", "out 575", "restart", "closed"};
    EXPECT_EQ(entries(), expected);
    std::ifstream in(directory.path("journal"));
    const std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(all.find("secret"), std::string::npos);
    EXPECT_NE(all.find("4012.25"), std::string::npos);
}

} // namespace
