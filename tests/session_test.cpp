// Whole sessions on a real connection: a host and a market that checks every byte that the library sends.
#include "support/market_session.h"

#include "support/driver_fixture.h"
#include "transport/dcon.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace {

using market::Order;
using testing::Contains;
using testing::ElementsAre;

using SessionRunTest = MarketSession;

// A record of the table of users behind its header: code, branch with the city in the middle, short branch, machine,
// name.
std::string user_body(const std::string& code, const std::string& name)
{
    std::string body(699, '\0');
    body.replace(0, 20, code + "BANKBOG1" + "BR4C" + "L001");
    return body.replace(20, name.size(), name);
}

std::string city_body(const std::string& code, const std::string& name)
{
    std::string body(135, '\0');
    body.replace(0, 3, code);
    return body.replace(5, name.size(), name);
}

Order order_of(std::uint32_t number)
{
    Order order;
    order.cabeza.server_number = number;
    order.cabeza.date = "20260115";
    return order;
}

TEST_F(SessionRunTest, ALoginHasWhatTheConfigurationAndTheProgramSay)
{
    log_in();
    peer.accept();
    const market::Login login = peer.expect_login();
    EXPECT_EQ(login.machine, "L001");
    EXPECT_EQ(login.branch_password, "L001");
    EXPECT_EQ(login.user_name, "maria");
    EXPECT_EQ(login.password, "Secret-1");
    EXPECT_EQ(login.password_form, 'U');
    EXPECT_EQ(login.version, "3003");
    EXPECT_EQ(login.client_kind, 'd');
    EXPECT_EQ(login.user_flag, 'S');
    EXPECT_EQ(login.expiry, 80);
    EXPECT_EQ(login.address, "192.0.2.1");
    EXPECT_EQ(login.stamp.machine, "L001");
    EXPECT_EQ(login.stamp.server, "AB");
    EXPECT_EQ(login.stamp.user, "U001");
    EXPECT_EQ(login.stamp.branch, "BRANCH01");
    EXPECT_EQ(peer.last().groups, (std::vector<WireGroup>{{"PU", {"DSAB"}}}));
    EXPECT_EQ(peer.last().priority, 60);
    EXPECT_EQ(peer.last().machine, "L001");
}

TEST_F(SessionRunTest, TheHostHearsOfItsConnectionInOrder)
{
    log_in();
    bring_up();
    EXPECT_THAT(host.lines(), ElementsAre("status 21 Connected", "connection 0"));
    EXPECT_EQ(log_out(), 0);
    EXPECT_EQ(host.count_of("status 27 "), 1);
}

TEST_F(SessionRunTest, TheRequestsAskForTheFeedsTablesAndForEachLog)
{
    log_in();
    peer.accept();
    peer.expect_login();
    peer.accept_login();
    peer.send_range();
    const auto requests = peer.serve_primary_tables();
    std::vector<std::uint16_t> codes;
    for (const auto& request : requests) {
        EXPECT_EQ(request.letter, 'S');
        codes.push_back(request.code);
    }
    EXPECT_EQ(codes, SessionPeer::feed_tables());
    const market::LogRequest request = peer.expect_log_request();
    ASSERT_EQ(request.entries.size(), 3U);
    EXPECT_EQ(request.entries[0].log, 'P');
    EXPECT_EQ(request.entries[1].log, 'A');
    EXPECT_EQ(request.entries[2].log, 'B');
    const market::Presence presence = peer.expect_presence();
    EXPECT_EQ(presence.header.idx, peer.range.low);
    EXPECT_EQ(presence.branch_4c, "BR4C");
    EXPECT_EQ(presence.machine, "L001");
    EXPECT_EQ(presence.server, "DSAB");
    EXPECT_EQ(presence.state, 2);
    const market::Version version = peer.expect_version();
    EXPECT_EQ(version.objects, "3.008");
    EXPECT_EQ(version.system, "QAPI");
}

TEST_F(SessionRunTest, AnOrderIsReadByNameAndAcrossACode)
{
    log_in();
    peer.tables[24] = {{.idx = 4, .body = user_body("U001", "maria")}};
    peer.tables[25] = {{.idx = 5, .body = city_body("BOG", "Bogota")}};
    bring_up();
    Order order = order_of(1);
    order.price = "4012.2500";
    peer.send_order(order);
    const unsigned number = announced("Orden_Transaccion");
    EXPECT_EQ(field_of("Orden_Transaccion", number, "usuario_postura"), "U001");
    EXPECT_EQ(field_of("Orden_Transaccion", number, "MERCADO"), " 71");
    EXPECT_EQ(field_of("Orden_Transaccion", number, "usuario_postura.nombre"), "maria");
    EXPECT_EQ(field_of("Orden_Transaccion", number, "usuario_postura.codigo_ciudad_3c.nombre"), "Bogota");
    EXPECT_EQ(host.finish("Orden_Transaccion", number), 0);
    EXPECT_EQ(host.finish("Orden_Transaccion", number), 18);
}

TEST_F(SessionRunTest, ChangesOfATableAreSeenThroughTheNextReading)
{
    log_in();
    bring_up();
    peer.send_order(order_of(1));
    const unsigned number = announced("Orden_Transaccion");
    int orders = 1;
    const auto name_after = [&](char letter, const std::string& name) {
        peer.send_table_record({.letter = letter, .code = 24, .idx = 4, .body = user_body("U001", name)});
        peer.send_order(order_of(100 + static_cast<unsigned char>(letter)));
        announced("Orden_Transaccion", ++orders);
        return field_of("Orden_Transaccion", number, "usuario_postura.nombre");
    };
    EXPECT_EQ(name_after('I', "maria"), "maria");
    EXPECT_EQ(name_after('A', "marta"), "marta");
    EXPECT_EQ(name_after('C', "mario"), "mario");
    EXPECT_EQ(name_after('z', ""), "mario");
    EXPECT_EQ(name_after('B', ""), "");
}

TEST_F(SessionRunTest, ARequestForQuotesHasItsOwnName)
{
    log_in();
    bring_up();
    Order order = order_of(2);
    order.number = 113;
    order.kind = 8;
    peer.send_order(order);
    const unsigned number = announced("Orden_Transaccion_RFQ");
    EXPECT_EQ(host.take("Orden_Transaccion", number), 0);
}

TEST_F(SessionRunTest, StoredMessagesOfBothRoundsReachTheHostBehindTheConnection)
{
    log_in();
    peer.first_log = {market::Make(order_of(1)), market::Make(order_of(2))};
    peer.second_log = {market::Make(order_of(3))};
    bring_up();
    announced("Orden_Transaccion", 3);
    const auto lines = host.lines();
    EXPECT_EQ(lines.at(1), "connection 0");
    EXPECT_EQ(lines.size(), 5U);
}

TEST_F(SessionRunTest, AMessageThatIsStillInTheHostsHandsIsNotGivenTwice)
{
    log_in();
    bring_up();
    peer.send_order(order_of(1));
    peer.send_order(order_of(1));
    peer.send_order(order_of(2));
    announced("Orden_Transaccion", 2);
    EXPECT_EQ(host.count_of("message "), 2);
}

// What conditions keep out isn't asked for again.
TEST_F(SessionRunTest, AnOrderThatFailsAConditionIsDroppedAndTheLogGoesOnBehindIt)
{
    char kind[] = "Orden_Transaccion";
    char field[] = "mercado";
    char equal[] = "=";
    char market_72[] = "72";
    ASSERT_EQ(host.AddLoginCondition(kind, field, equal, market_72), 0);
    log_in();
    bring_up();
    Order wanted = order_of(4);
    wanted.market = 72;
    peer.send_order(wanted);
    EXPECT_EQ(host.finish("Orden_Transaccion", announced("Orden_Transaccion")), 0);
    peer.send_order(order_of(5));
    peer.send_chat({});
    announced("Chat");
    EXPECT_EQ(host.count_of("message Orden_Transaccion "), 1);
    peer.reset();
    peer.accept();
    peer.expect_login();
    peer.accept_login();
    peer.send_range();
    peer.serve_primary_tables();
    EXPECT_EQ(peer.expect_log_request().entries.at(1).last_message, 5U);
}

// ---- Sending

TEST_F(SessionRunTest, AnOrderGoesToItsAddresseesAndTheDataManagers)
{
    log_in();
    peer.tables[8] = {{.idx = 1, .body = market::ServerListBody(1, {"DM01", "DM02"})}};
    bring_up();
    EXPECT_EQ(host.compose("Orden_Transaccion"), 0);
    EXPECT_EQ(host.set("Orden_Transaccion", "usuario_postura", "U001"), 0);
    EXPECT_EQ(host.set_number("Orden_Transaccion", "mercado", 71), 0);
    host.address("PUL002");
    EXPECT_EQ(host.send("Orden_Transaccion"), 0);
    const Order order = peer.expect_order();
    EXPECT_EQ(order.market, 71);
    EXPECT_EQ(order.user, "U001");
    EXPECT_EQ(order.cabeza.machine, "L001");
    EXPECT_EQ(order.cabeza.persistent, 'S');
    EXPECT_EQ(peer.last().groups, (std::vector<WireGroup>{{"PU", {"DM01", "DM02"}}, {"PU", {std::string("L002")}}}));
}

TEST_F(SessionRunTest, AChatGoesToTheServerAlone)
{
    log_in();
    bring_up();
    EXPECT_EQ(host.compose("Chat"), 0);
    host.address("PUL002");
    EXPECT_EQ(host.send("Chat"), 0);
    peer.expect_chat();
    EXPECT_EQ(peer.last().groups, (std::vector<WireGroup>{{"PU", {"DSAB"}}}));
}

TEST_F(SessionRunTest, ALogoutSaysGoodbye)
{
    log_in();
    bring_up();
    std::thread leaving([this] { host.Logout(); });
    const market::Offline offline = peer.expect_offline();
    peer.close();
    leaving.join();
    EXPECT_EQ(offline.machine, "L001");
    EXPECT_EQ(offline.user_name, "maria");
}

// ---- Lost and refused

TEST_F(SessionRunTest, ALostConnectionIsBroughtUpAgainFromEveryStep)
{
    log_in();
    const std::vector<std::function<void()>> steps = {
        [this] { peer.accept(); },
        [this] { peer.expect_login(); },
        [this] { peer.accept_login(); },
        [this] { peer.send_range(); },
        [this] { peer.serve_primary_tables(); },
        [this] { peer.expect_log_request(); },
        [this] {
            peer.expect_presence();
            peer.expect_version();
        },
        [this] { peer.send_log_round({market::Make(order_of(1))}); },
        [this] { peer.expect_next_log_request(); },
        [this] { peer.send_log_round({}); },
        [this] { peer.serve_secondary_tables(); },
    };
    for (std::size_t last = 0; last < steps.size(); ++last) {
        for (std::size_t step = 0; step <= last; ++step) {
            steps[step]();
        }
        EXPECT_TRUE(hears_times("status 21 Connected", static_cast<int>(last) + 1));
        peer.reset();
        EXPECT_TRUE(hears_times("status 20 Disconnected", static_cast<int>(last) + 1));
    }
    peer.bring_up();
    EXPECT_TRUE(connected(static_cast<int>(steps.size() - 4)));
}

TEST_F(SessionRunTest, ARefusedLoginIsRetriedForEver)
{
    log_in();
    for (int time = 1; time <= 3; ++time) {
        peer.accept();
        peer.expect_login();
        peer.refuse_login('C');
        EXPECT_TRUE(hears_times("connection 67", time));
        EXPECT_EQ(peer.receive_until_closed(), "");
        peer.close();
    }
    peer.bring_up();
    EXPECT_TRUE(connected(1));
    EXPECT_EQ(host.count("error 8 Username correct, but password is incorrect / 1 0"), 3);
}

TEST_F(SessionRunTest, UnfinishedRecordsGoWithTheirConnectionAndTheirRepeatsAreRefused)
{
    log_in();
    bring_up();
    peer.send_order(order_of(1));
    const unsigned number = announced("Orden_Transaccion");
    peer.reset();
    ASSERT_TRUE(host.wait_for("status 20 Disconnected"));
    peer.first_log = {market::Make(order_of(1)), market::Make(order_of(2))};
    peer.bring_up();
    EXPECT_TRUE(connected(2));
    announced("Orden_Transaccion", 2);
    EXPECT_EQ(host.finish("Orden_Transaccion", number), 18);
    EXPECT_EQ(host.count_of("message "), 2);
}

TEST_F(SessionRunTest, WhatWasNotFinishedIsCountedInTheLogWhenTheConnectionCloses)
{
    log_in();
    bring_up();
    peer.send_order(order_of(1));
    peer.send_order(order_of(2));
    announced("Orden_Transaccion", 2);
    peer.stop_listening();
    peer.reset();
    ASSERT_TRUE(host.wait_for("status 20 Disconnected"));
    EXPECT_EQ(host.Logout(), 0);
    const std::string log = scratch.read("qapi.log");
    const std::string line = "Messages not finished when the connection closed: 2. Repeats of them are refused until "
                             "Login is called again.";
    EXPECT_NE(log.find(line), std::string::npos);
    EXPECT_EQ(log.find(line), log.rfind(line)) << "told once";
}

TEST_F(SessionRunTest, ALoginGoesOnBehindTheFilesOfTheOneBefore)
{
    log_in();
    bring_up();
    peer.send_order(order_of(1));
    EXPECT_EQ(host.finish("Orden_Transaccion", announced("Orden_Transaccion")), 0);
    peer.send_order(order_of(2));
    announced("Orden_Transaccion", 2);
    EXPECT_EQ(log_out(), 0);

    log_in();
    peer.accept();
    peer.expect_login();
    peer.accept_login();
    peer.send_range();
    peer.serve_primary_tables();
    EXPECT_EQ(peer.expect_log_request().entries.at(1),
              (market::LogRequest::Entry{.log = 'A', .server = "AB", .date = "20260115", .last_message = 1}));
    peer.expect_presence();
    peer.expect_version();
    peer.first_log = {market::Make(order_of(1)), market::Make(order_of(2)), market::Make(order_of(3))};
    peer.play_log_rounds();
    announced("Orden_Transaccion", 4);
    EXPECT_EQ(host.count_of("message Orden_Transaccion "), 4); // the second time without number 1
}

TEST_F(SessionRunTest, TheSecondServerIsLoggedInToUnderItsOwnCode)
{
    SessionPeer second;
    second.listen();
    log_in("data_server = DSXY\nds_ip_address = 127.0.0.1\nds_tcp_port = " + std::to_string(second.port()) + "\n");
    peer.accept();
    peer.expect_login();
    peer.stop_listening();
    peer.reset();
    second.accept();
    EXPECT_EQ(second.expect_login().stamp.server, "XY");
    second.accept_login();
    second.send_range();
    second.serve_primary_tables();
    std::string heads;
    for (const auto& entry : second.expect_log_request().entries) {
        heads += entry.log + entry.server + " ";
    }
    EXPECT_EQ(heads, "PAB PXY AAB AXY BAB BXY ");
    EXPECT_EQ(second.expect_presence().server, "DSXY");
    second.close();
    second.stop_listening();
}

TEST_F(SessionRunTest, AServerWithoutTheAskedForDateEndsTheSession)
{
    scratch.write("qapi_tmp_previous_date_log_request.txt", "20260101\n");
    log_in();
    peer.bring_up_to_log();
    peer.stop_listening();
    peer.reset();
    ASSERT_TRUE(
        host.wait_for("error 29 Messages asked of previous date (20260101) not received. Shutdown the aplication "
                      "and try again. / 999 0"));
    EXPECT_TRUE(Becomes([] { return CQcApi::initialize_flag == QAPI_NOT_INITIALIZED; }));
    EXPECT_EQ(host.login(), 29);
}

// ---- Several threads

TEST_F(SessionRunTest, NothingOfTheHostLeavesAheadOfALogin)
{
    log_in();
    bring_up();
    std::atomic<bool> done{false};
    std::thread sender([&] {
        while (!done) {
            host.compose("Orden_Transaccion");
            host.send("Orden_Transaccion");
        }
    });
    for (int time = 1; time <= 10; ++time) {
        peer.reset();
        EXPECT_TRUE(hears_times("status 20 Disconnected", time));
        peer.accept();
        peer.expect_login(); // else it throws
    }
    done = true;
    sender.join();
}

TEST_F(SessionRunTest, MessagesOfSeveralThreadsLeaveInOnePiece)
{
    log_in();
    bring_up();
    constexpr int orders = 300;
    std::thread sender([&] {
        for (int i = 0; i < orders; ++i) {
            host.compose("Orden_Transaccion");
            host.set("Orden_Transaccion", "usuario_postura", "U001");
            host.send("Orden_Transaccion");
        }
    });
    std::thread dialogue([&] {
        for (int i = 0; i < 20; ++i) {
            peer.send_range();
        }
    });
    int seen = 0;
    int requests = 0;
    while (seen < orders || requests < 20) {
        const std::string message = peer.receive_message().message;
        switch (market::NumberOf(message)) {
        case 111:
            EXPECT_EQ(market::TakeOrder(message).user, "U001");
            ++seen;
            break;
        case 213:
            market::TakeTablesRequest(message);
            ++requests;
            break;
        default:
            EXPECT_EQ(market::TakeTableRequest(message).letter, 'S');
        }
    }
    sender.join();
    dialogue.join();
    EXPECT_EQ(seen, orders);
}

TEST_F(SessionRunTest, ARecordIsFinishedOnAnotherThreadWhileMoreArrive)
{
    log_in();
    bring_up();
    constexpr unsigned orders = 500;
    std::thread feed([this] {
        for (std::uint32_t number = 1; number <= orders; ++number) {
            peer.send_order(order_of(number));
        }
    });
    unsigned finished = 0;
    const bool all = Becomes([&] {
        for (const std::string& line : host.lines()) {
            if (line.starts_with("message Orden_Transaccion ") &&
                host.finish("Orden_Transaccion", static_cast<unsigned>(std::stoul(line.substr(26)))) == 0) {
                ++finished;
            }
        }
        return finished == orders;
    });
    feed.join();
    EXPECT_TRUE(all);
}

TEST_F(SessionRunTest, AHostMayFinishInsideTheCallback)
{
    host.in_callback = [this](const std::string& line) {
        if (line.starts_with("message Orden_Transaccion ")) {
            const auto number = static_cast<unsigned>(std::stoul(line.substr(26)));
            EXPECT_EQ(host.take("Orden_Transaccion", number), 0);
            EXPECT_EQ(host.finish("Orden_Transaccion", number), 0);
        }
    };
    log_in();
    bring_up();
    peer.send_order(order_of(1));
    peer.send_order(order_of(2));
    announced("Orden_Transaccion", 2);
    EXPECT_EQ(log_out(), 0); // before the lambda's captures go
}

} // namespace
