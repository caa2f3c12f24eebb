// How a market lets clients in.
#include "market/support/manual_clock.h"
#include "market/support/market_client.h"
#include "market/support/market_thread.h"

#include <gtest/gtest.h>

namespace {

class MarketLogin : public ::testing::Test
{
protected:
    char letter_for(const std::string& machine, const std::string& code, const std::string& name,
                    const std::string& password)
    {
        MarketClient client(market.port(), machine, code);
        return client.log_in(name, password).letter;
    }

    MarketThread market;
};

TEST_F(MarketLogin, AcceptsAUserOfTheScenario)
{
    MarketClient client(market.port(), "L001", "U001");
    const SeenReply reply = client.log_in("maria");
    EXPECT_EQ(reply.letter, 'S');
    EXPECT_EQ(reply.machine, "L001");
    EXPECT_EQ(reply.branch_4c, "NORT");
    EXPECT_EQ(reply.expiry, 80);
}

TEST_F(MarketLogin, GivesEachClientARangeOfItsOwn)
{
    MarketClient maria(market.port(), "L001", "U001");
    maria.log_in("maria");
    const market::Range first = maria.expect_range();
    MarketClient pedro(market.port(), "L002", "U002");
    pedro.log_in("pedro");
    const market::Range second = pedro.expect_range();
    EXPECT_EQ(first.environment, "CO");
    EXPECT_LT(first.low, first.high);
    EXPECT_TRUE(first.high < second.low || second.high < first.low);
}

TEST_F(MarketLogin, RefusesAnUnknownName)
{
    EXPECT_EQ(letter_for("L001", "U001", "nobody", "secret"), 'N');
}

TEST_F(MarketLogin, RefusesAWrongPassword)
{
    EXPECT_EQ(letter_for("L001", "U001", "maria", "Secret"), 'C');
}

TEST_F(MarketLogin, RefusesAMachineThatTheUserDoesNotHave)
{
    EXPECT_EQ(letter_for("L002", "U001", "maria", "secret"), 'E');
}

TEST_F(MarketLogin, RefusesTheCodeOfAnotherUser)
{
    EXPECT_EQ(letter_for("L001", "U002", "maria", "secret"), 'X');
}

TEST_F(MarketLogin, RefusesAMachineThatIsInUse)
{
    MarketClient client(market.port(), "L001", "U001");
    client.log_in("maria");
    EXPECT_EQ(letter_for("L001", "U001", "maria", "secret"), 'R');
}

TEST_F(MarketLogin, LetsAMachineInAgainWhenItsConnectionIsGone)
{
    MarketClient client(market.port(), "L001", "U001");
    client.log_in("maria");
    client.close();
    market.wait_until([](qm::Market& its) { return its.Do("clients") == "0 clients"; });
    EXPECT_EQ(letter_for("L001", "U001", "maria", "secret"), 'S');
}

TEST_F(MarketLogin, RefusesOnRequestAndAdmitsAgain)
{
    market.command("refuse maria D");
    EXPECT_EQ(letter_for("L001", "U001", "maria", "secret"), 'D');
    market.command("admit maria");
    EXPECT_EQ(letter_for("L001", "U001", "maria", "secret"), 'S');
}

TEST_F(MarketLogin, ListensToNothingBeforeIt)
{
    MarketClient client(market.port(), "L001", "U001");
    client.send_request('S', 25);
    client.place(71, 'D', "1.0000", "1", "000001");
    EXPECT_EQ(client.log_in("maria").letter, 'S');
    EXPECT_EQ(client.expect_range().environment, "CO");
    EXPECT_EQ(market.command("book 71"), "0 orders");
}

TEST_F(MarketLogin, TakesOneOfAConnection)
{
    MarketClient client(market.port(), "L001", "U001");
    client.log_in("maria");
    client.expect_range();
    client.send_message(market::Record(201, 518).bytes());
    EXPECT_TRUE(client.is_quiet());
}

TEST_F(MarketLogin, ScenarioRefusesWithItsLetter)
{
    std::string scenario = SmallScenario();
    scenario.replace(scenario.find("\"machine\": \"L001\""), 17, "\"refusal\": \"L\"");
    MarketThread strict(scenario);
    MarketClient maria(strict.port(), "L001", "U001");
    EXPECT_EQ(maria.log_in("maria").letter, 'L');
    strict.command("admit maria");
    MarketClient again(strict.port(), "L001", "U001");
    EXPECT_EQ(again.log_in("maria").letter, 'S');
}

// ---- Life of a connection

TEST(MarketLife, SendsAliveSignalsAndClosesASilentClient)
{
    ManualClock clock;
    MarketThread market(SmallScenario(), {}, clock);
    MarketClient client(market.port(), "L001", "U001");
    client.log_in("maria");
    client.expect_range();
    for (int seconds = 0; seconds < 81; ++seconds) {
        clock.advance(std::chrono::seconds(1));
        market.look_at_clock();
    }
    client.receive_until_closed();
    EXPECT_EQ(market.command("clients"), "0 clients");
}

TEST(MarketLife, AnswersClockChecks)
{
    MarketThread market;
    MarketClient client(market.port(), "L001", "U001");
    std::string check = market::Record(869, 171).bytes();
    check[97] = 12; // stage 3 is next
    client.send_envelope(MakeEnvelope(check, {}, 4, 1, "L001"));
    const WireFrame frame = client.receive_frame();
    const WireEnvelope answer = TakeEnvelope(client.decoder.Decode(frame));
    EXPECT_EQ(answer.type, 1);
    EXPECT_EQ(answer.message[97], 20); // 3 and 4 are stamped
}

TEST(MarketLife, EndsAConnectionThatSendsBadDataAndServesTheOthers)
{
    MarketThread market;
    MarketClient bad(market.port(), "L001", "U001");
    MarketClient good(market.port(), "L002", "U002");
    good.log_in("pedro");
    bad.send("this is not a frame");
    bad.expect_end();
    good.expect_range();
    EXPECT_TRUE(good.is_quiet());
}

TEST(MarketLife, ServesFiftyClients)
{
    std::string users;
    for (int i = 0; i < 50; ++i) {
        const std::string digits = std::to_string(100 + i);
        users += (i > 0 ? "," : "") + std::string(R"({"name":"user)") + digits + R"(","password":"secret","code":"V)" +
                 digits + R"(","branch":"NORTBOG1","machine":"M)" + digits + R"("})";
    }
    const std::string scenario =
        R"({"server":"DSAB","data_servers":["DSAB"],"data_managers":["DM01"],"environment":"CO","send_mode":"plain","users":[)" +
        users + R"(],"markets":[{"number":71,"orders_table":71,"currency":"USD"}]})";
    MarketThread market(scenario);
    std::vector<std::unique_ptr<MarketClient>> clients;
    for (int i = 0; i < 50; ++i) {
        const std::string digits = std::to_string(100 + i);
        clients.push_back(std::make_unique<MarketClient>(market.port(), "M" + digits, "V" + digits));
        clients.back()->bring_up("user" + digits);
    }
    clients.front()->chat("good morning");
    for (std::size_t i = 1; i < clients.size(); ++i) {
        EXPECT_EQ(market::TakeChat(clients[i]->expect(575)).chat.text, "good morning");
    }
}

} // namespace
