// Tables in whole sessions: what the user may see is asked for, what changes is announced, and fields are read across
// codes while tables change and connections fall.
#include "support/driver_fixture.h"
#include "support/market_session.h"

#include <gmock/gmock.h>

#include <atomic>
#include <set>
#include <thread>

namespace {

using testing::ElementsAre;

// A record of the table of users behind its header. `market` is one that the user may see: two bits each.
std::string user_body(const std::string& name, unsigned market = 0)
{
    std::string body(699, '\0');
    body.replace(0, 20, "U001BANKBOG1BR4CL001");
    body.replace(20, name.size(), name);
    body[151 + market / 4] = static_cast<char>(2 << market % 4 * 2);
    return body;
}

std::string group_body(const std::string& name)
{
    std::string body(303, '\0');
    body.replace(0, 8, "G001S001");
    return body.replace(8, name.size(), name);
}

class SessionTablesTest : public MarketSession
{
protected:
    void Send_Orders(std::uint32_t first, std::uint32_t last)
    {
        for (std::uint32_t number = first; number <= last; ++number) {
            market::Order order;
            order.cabeza.server_number = number;
            peer.send_order(order);
        }
    }
};

TEST_F(SessionTablesTest, ATableOfAMarketThatTheUserSeesIsAskedForBehindTheLog)
{
    log_in("table_code = 71 Posturas_Vigentes\ntable_code = 72 Posturas_Vigentes\n");
    peer.tables[24] = {{.idx = 4, .body = user_body("maria", 71)}};
    peer.bring_up_to_log();
    const auto requests = peer.play_log_rounds();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].letter, 'S');
    EXPECT_EQ(requests[0].code, 71);
}

TEST_F(SessionTablesTest, ChangesOfASeenTableAreAnnouncedAndThoseOfOthersAreNot)
{
    log_in("table_code = 71 Posturas_Vigentes\ntable_code = 72 Posturas_Vigentes\n");
    peer.tables[24] = {{.idx = 4, .body = user_body("maria", 71)}};
    bring_up();
    for (const char letter : {'I', 'A', 'C', 'B', 'z', 'R', 'Q'}) {
        peer.send_table_record({.letter = letter, .code = 72, .idx = 9, .body = "x"});
        peer.send_table_record({.letter = letter, .code = 71, .idx = 9, .body = "x"});
    }
    Send_Orders(1, 1);
    announced("Orden_Transaccion");
    EXPECT_EQ(host.count_of("message Posturas_Vigentes"), 4);
}

TEST_F(SessionTablesTest, ADeletionIsAnnouncedWithTheBodyOfTheReplica)
{
    log_in("table_code = 31 Grupos_Vigentes\n");
    peer.tables[24] = {{.idx = 4, .body = user_body("maria", 31)}};
    bring_up();
    peer.send_table_record({.letter = 'I', .code = 31, .idx = 3, .body = group_body("Spot")});
    const unsigned inserted = announced("Grupos_Vigentes", 1);
    EXPECT_EQ(field_of("Grupos_Vigentes", inserted, "nombre[1]").c_str(), std::string("Spot"));
    peer.send_table_record({.letter = 'B', .code = 31, .idx = 3});
    const unsigned deleted = announced("Grupos_Vigentes", 2);
    EXPECT_EQ(field_of("Grupos_Vigentes", deleted, "nombre[1]").c_str(), std::string("Spot"));
    peer.send_table_record({.letter = 'B', .code = 31, .idx = 3});
    const unsigned unknown = announced("Grupos_Vigentes", 3);
    EXPECT_EQ(field_of("Grupos_Vigentes", unknown, "nombre[1]").c_str(), std::string());
    EXPECT_EQ(host.finish("Grupos_Vigentes", unknown), 0);
    EXPECT_EQ(host.finish("Grupos_Vigentes", unknown), 0);
}

TEST_F(SessionTablesTest, ATableThatOpensWhileItsLevelIsUnderWayComesWithTheNextConnection)
{
    log_in("table_code = 31 Grupos_Vigentes\n");
    peer.tables[24] = {{.idx = 4, .body = user_body("maria", 31)}};
    bring_up();
    peer.reset();
    peer.accept();
    peer.expect_login();
    peer.accept_login();
    peer.send_range();
    std::set<std::uint16_t> codes;
    for (const auto& request : peer.serve_primary_tables()) {
        codes.insert(request.code);
    }
    EXPECT_TRUE(codes.contains(31));
}

TEST_F(SessionTablesTest, RecordsOfAnyShapeCostNoGoodOne)
{
    log_in();
    peer.tables[24] = {{.idx = 4, .body = user_body("maria")}};
    bring_up();
    for (const char* message : {"888", "888I", "8", "", "999", "xyz", "2019", "203", "205", "888g", "888L"}) {
        peer.send_message(message);
    }
    peer.send_message(std::string(3200, '\xff'));
    peer.send_table_record({.letter = 'I', .code = 65535, .idx = 0xFFFFFFFF, .body = std::string(2800, '\xff')});
    peer.send_table_record({.letter = 'I', .code = 8, .body = std::string("\x01\0\xff\xff", 4) + std::string(60, 'D')});
    Send_Orders(1, 1);
    const unsigned number = announced("Orden_Transaccion");
    EXPECT_EQ(field_of("Orden_Transaccion", number, "usuario_postura.nombre"), "maria");
}

TEST_F(SessionTablesTest, LoginRepliesInTheWrongMomentChangeNothingForTheHost)
{
    log_in();
    bring_up();
    peer.accept_login();
    peer.login_reply.log = 'S';
    peer.refuse_login('C');
    Send_Orders(1, 1);
    announced("Orden_Transaccion");
    EXPECT_EQ(host.count_of("connection "), 1);
}

// The reader changes the record that the path leads to, and the mailboxes go with each connection.
TEST_F(SessionTablesTest, AFieldIsReadWholeWhileTablesChangeAndConnectionsFall)
{
    log_in();
    peer.tables[24] = {{.idx = 4, .body = user_body("mmmmmmmmmm")}};
    bring_up();
    std::atomic<bool> done{false};
    std::set<std::string> values;
    std::thread reader([&] {
        while (!done) {
            const auto lines = host.lines();
            for (auto line = lines.rbegin(); line != lines.rend() && line - lines.rbegin() < 8; ++line) {
                if (line->starts_with("message Orden_Transaccion ")) {
                    const auto number = static_cast<unsigned>(std::stoul(line->substr(26)));
                    values.insert(field_of("Orden_Transaccion", number, "usuario_postura.nombre"));
                    host.finish("Orden_Transaccion", number);
                }
            }
        }
    });
    std::uint32_t number = 0;
    for (int connection = 2; connection <= 5; ++connection) {
        for (int change = 0; change < 20; ++change) {
            const std::string name(10, change % 2 == 0 ? 'a' : 'm');
            peer.send_table_record({.letter = 'A', .code = 24, .idx = 4, .body = user_body(name)});
            Send_Orders(number + 1, number + 3);
            number += 3;
        }
        peer.reset();
        peer.bring_up();
        EXPECT_TRUE(connected(connection));
    }
    done = true;
    reader.join();
    values.erase("");
    values.erase("aaaaaaaaaa");
    values.erase("mmmmmmmmmm");
    EXPECT_THAT(values, testing::IsEmpty());
}

} // namespace
