// A host of the library in a session with the market, on a real connection, in all four send modes.
#include "market/support/market_client.h"
#include "market/support/market_thread.h"
#include "support/recording_host.h"
#include "support/session_fixture.h"

#include <gtest/gtest.h>

using namespace market;

namespace {

constexpr const char* modes[] = {"encrypt", "plain", "compress", "both"};

class LibraryAndMarket : public SessionTest, public ::testing::WithParamInterface<int>
{
protected:
    LibraryAndMarket()
    {
        std::string scenario = SmallScenario();
        scenario.replace(scenario.find("\"plain\""), 7, '"' + std::string(modes[GetParam()]) + '"');
        scenario.replace(scenario.find("\"tables\": ["), 11, R"("tables": [
    {"name": "users", "records": [
      {"codigo": "U001", "codigo_sucursal": "NORTBOG1", "nombre_completo": "Maria Gomez", "acceso_mercados_ver": {"hex": "AA", "times": 50}},
      {"codigo": "U002", "codigo_sucursal": "SURBMED1", "nombre_completo": "Pedro Ruiz"},
      {"codigo": "U003", "codigo_sucursal": "CORRBOG1", "nombre_completo": "Lucia Paz"}
    ]},)");
        market = std::make_unique<MarketThread>(scenario);
    }

    void log_in()
    {
        scratch.write("qapi.cfg",
                      "data_server DSAB\nds_ip_address 127.0.0.1\nds_tcp_port " + std::to_string(market->port()) +
                          "\nlocal_code L001\nuser_code U001\nbranch_code NORTBOG1\nsend_mode " +
                          std::to_string(GetParam()) + "\ntransaction_feed = 1\ntable_code = 71 Posturas_Vigentes\n");
        ASSERT_EQ(host.login("maria", "secret"), 0);
        ASSERT_TRUE(host.wait_for("connection 0"));
        // The table of orders is asked for behind the stored messages.
        market->wait_until([](qm::Market& its) { return its.Do("clients").find("live") != std::string::npos; });
    }

    // The number of the last record of a kind; waits for one.
    unsigned announced(const std::string& kind)
    {
        const std::string head = "message " + kind + " ";
        market->wait_until([&](qm::Market&) { return host.count_of(head) > 0; });
        std::string found;
        for (const std::string& line : host.lines()) {
            found = line.starts_with(head) ? line.substr(head.size()) : found;
        }
        return static_cast<unsigned>(std::stoul(found));
    }

    std::string field_of(const std::string& kind, std::string name)
    {
        char value[4096] = "";
        EXPECT_EQ(host.take(kind, announced(kind)), 0);
        host.GetField(name.data(), value);
        return value;
    }

    std::unique_ptr<MarketThread> market;
    RecordingHost host;
};

INSTANTIATE_TEST_SUITE_P(Modes, LibraryAndMarket, ::testing::Range(0, 4),
                         [](const auto& its) { return std::string(modes[its.param]); });

TEST_P(LibraryAndMarket, TakesPartInAWholeSession)
{
    market->command("chat pedro maria stored");
    log_in();
    announced("Chat");
    EXPECT_EQ(field_of("Chat", "emisor.nombre_completo").substr(0, 10), "Pedro Ruiz");

    // A bid of its own, as message and as record of the table of orders.
    host.compose("Orden_Transaccion");
    host.set_number("Orden_Transaccion", "clase_mensaje", 1);
    host.set_number("Orden_Transaccion", "mercado", 71);
    host.set("Orden_Transaccion", "o_d", "D");
    host.set("Orden_Transaccion", "mcod_postura", "000001");
    host.set("Orden_Transaccion", "precio", "          4012.2500");
    host.set("Orden_Transaccion", "numero", "          100");
    EXPECT_EQ(host.send("Orden_Transaccion"), 0);
    announced("Orden_Transaccion");
    EXPECT_EQ(field_of("Orden_Transaccion", "usuario_postura.nombre_completo").substr(0, 11), "Maria Gomez");

    // Trades, of which it hears everything.
    market->command("order pedro 71 offer 4012.25 40 B");
    announced("Mantenimiento_Transacciones");
    announced("Fin_Transaccion");
    announced("Precios_Montos_Transados");
    announced("Precios_Por_Hora");
    EXPECT_EQ(field_of("Fin_Transaccion", "monto_total"), "           40");
    EXPECT_EQ(host.count_of("error"), 0);
}

TEST_P(LibraryAndMarket, ComesBackBehindADroppedConnection)
{
    log_in();
    market->command("drop L001");
    EXPECT_TRUE(host.wait_for("status 20 Disconnected"));
    market->wait_until([&](qm::Market& its) {
        return host.count("connection 0") == 2 && its.Do("clients").find("live") != std::string::npos;
    });
    market->command("chat pedro maria again");
    announced("Chat");
}

TEST_P(LibraryAndMarket, SurvivesGarbage)
{
    log_in();
    market->command("garbage L001 200");
    market->command("drop L001");
    market->wait_until([&](qm::Market&) { return host.count("connection 0") == 2; });
}

TEST_P(LibraryAndMarket, TakesARepeatedMessageOnce)
{
    log_in();
    market->command("chat pedro maria hello");
    announced("Chat");
    market->command("duplicate L001");
    market->command("order maria 71 bid 1 1 LAST");
    announced("Orden_Transaccion");
    EXPECT_EQ(host.count_of("message Chat "), 1);
}

TEST_P(LibraryAndMarket, ComesBackWhenAFrameIsCutInTheMiddle)
{
    log_in();
    market->command("drop L001 after 100");
    market->command("chat pedro maria this is cut");
    EXPECT_TRUE(host.wait_for("status 20 Disconnected"));
    announced("Chat"); // whole, from the stored messages of the next connection
    EXPECT_EQ(host.count("connection 0"), 2);
}

TEST_P(LibraryAndMarket, WaitsForAMarketThatStalls)
{
    log_in();
    market->command("stall L001");
    market->command("chat pedro maria hello");
    market->command("resume L001");
    announced("Chat");
    EXPECT_EQ(host.count("status 20 Disconnected"), 0);
}

TEST_P(LibraryAndMarket, HearsOfARefusalAndOfTheNextLogin)
{
    market->command("refuse maria D");
    scratch.write("qapi.cfg", "data_server DSAB\nds_ip_address 127.0.0.1\nds_tcp_port " +
                                  std::to_string(market->port()) +
                                  "\nlocal_code L001\nuser_code U001\nbranch_code NORTBOG1\ntransaction_feed = 1\n");
    ASSERT_EQ(host.login("maria", "secret"), 0);
    EXPECT_TRUE(host.wait_for("connection " + std::to_string(int{'D'})));
    market->command("admit maria");
    EXPECT_TRUE(host.wait_for("connection 0"));
}

} // namespace
