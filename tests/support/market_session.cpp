#include "support/market_session.h"

#include "support/driver_fixture.h"
#include "support/forget_configuration.h"
#include "transport/dcon.h"

#include <array>
#include <thread>

MarketSession::MarketSession()
{
    Forget_Configuration();
    Glb_connection_retry_wait = 0; // a test needn't wait for the next attempt
    peer.listen();
}

// The market leaves first, so that the end waits for nobody.
MarketSession::~MarketSession()
{
    peer.close();
    peer.stop_listening();
    host.Logout();
    Glb_connection_retry_wait = DEFAULT_CONNECTION_RETRY_WAIT;
    Forget_Configuration();
}

void MarketSession::log_in(const std::string& more_lines)
{
    scratch.write("qapi.cfg",
                  "data_server = DSAB\nds_ip_address = 127.0.0.1\nds_tcp_port = " + std::to_string(peer.port()) +
                      "\nsend_mode = 1\nlocal_code = L001\nuser_code = U001\nbranch_code = BRANCH01\n"
                      "transaction_feed = 1\n" +
                      more_lines);
    ASSERT_EQ(host.login("maria", "Secret-1"), 0);
}

void MarketSession::bring_up()
{
    peer.bring_up();
    ASSERT_TRUE(host.wait_for("connection 0"));
}

int MarketSession::log_out()
{
    std::thread market([this] {
        peer.receive_until_closed();
        peer.close();
    });
    const int result = host.Logout();
    market.join();
    return result;
}

bool MarketSession::hears_times(const std::string& line, int times)
{
    return Becomes([&] { return host.count(line) >= times; });
}

std::string MarketSession::field_of(const std::string& kind, unsigned number, std::string name)
{
    std::array<char, 4096> value{};
    if (host.take(kind, number) != 0) {
        return "";
    }
    host.GetField(name.data(), value.data());
    return value.data();
}

unsigned MarketSession::announced(const std::string& kind, int times)
{
    const std::string head = "message " + kind + " ";
    std::string last;
    const bool came = Becomes([&] {
        int count = 0;
        for (const std::string& line : host.lines()) {
            if (line.starts_with(head)) {
                last = line.substr(head.size());
                ++count;
            }
        }
        return count >= times;
    });
    EXPECT_TRUE(came) << kind;
    return came ? static_cast<unsigned>(std::stoul(last)) : 0;
}
