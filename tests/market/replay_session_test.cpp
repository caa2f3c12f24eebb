// A whole session is recorded in the running log, and a replay of it gives the host the same again: the same callbacks
// in the same order, and in each of its records the same fields with the same values.
#include "market/support/market_thread.h"
#include "support/forget_configuration.h"
#include "support/recording_host.h"
#include "support/session_fixture.h"
#include "table/table_state.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <memory>

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Values;

namespace {

using Lines = std::vector<std::string>;

// Hears every callback, and reads all fields of each record in it, those of the records that its codes name included.
class FieldHost : public RecordingHost
{
public:
    FieldHost()
    {
        in_callback = [this](const std::string& line) {
            if (line.starts_with("error ")) {
                return; // on other threads too, and in no log
            }
            m_lines.push_back(line);
            if (line.starts_with("message ")) {
                const std::size_t number_at = line.rfind(' ');
                read(line.substr(8, number_at - 8), static_cast<unsigned>(std::stoul(line.substr(number_at + 1))));
            }
        };
    }
    ~FieldHost() override { Logout(); }

    // Behind Logout: what it heard and read, as far as a log tells it. The network's own troubles and the reason of a
    // closing stand in none.
    [[nodiscard]] Lines heard() const
    {
        Lines lines;
        for (const std::string& line : m_lines) {
            if (line.starts_with("disconnection ")) {
                lines.emplace_back("disconnection");
            } else if (!line.starts_with("status 7 ")) {
                lines.push_back(line);
            }
        }
        return lines;
    }

private:
    void read(const std::string& kind, unsigned number)
    {
        EXPECT_EQ(take(kind, number), 0) << kind;
        std::array<char, 1024> path{};
        std::array<char, 4096> value{};
        while (const int type = GetNextField(path.data(), value.data())) {
            m_lines.push_back(std::string(path.data()) + " (" + std::to_string(type) + ") = " + value.data());
        }
        EXPECT_EQ(finish(kind, number), 0) << kind;
    }

    Lines m_lines;
};

class ReplaySession : public SessionTest, public testing::WithParamInterface<const char*>
{
protected:
    ReplaySession() { Forget_Configuration(); }
    ~ReplaySession() override { Forget_Configuration(); }

    static constexpr const char* settings = "data_server DSAB\nlocal_code L001\nuser_code U001\nbranch_code NORTBOG1\n"
                                            "transaction_feed = 1\n";

    // A session with the market, which does all that it does in one; gives what the host heard.
    Lines Record(const std::string& send_mode)
    {
        std::string scenario = SmallScenario();
        const std::string plain = R"("send_mode": "plain")";
        scenario.replace(scenario.find(plain), plain.size(), R"("send_mode": ")" + send_mode + '"');
        MarketThread market(scenario);
        market.command("chat pedro maria before the login");
        scratch.write("qapi.cfg", settings + std::string("ds_ip_address 127.0.0.1\nds_tcp_port ") +
                                      std::to_string(market.port()) + "\n");
        Glb_Unic_Number = 0; // as in a new process
        FieldHost host;
        EXPECT_EQ(host.login("maria", "secret"), 0);
        const auto is_live = [&](qm::Market& its) { return its.Do("clients").find("live") != std::string::npos; };
        market.wait_until([&](qm::Market& its) { return host.has("connection 0") && is_live(its); });
        for (const char* command : {"chat pedro maria good morning", "order pedro 71 offer 4012.25 100 ASK1",
                                    "order lucia 71 bid 4012.25 40 BID1", "order lucia 72 bid 10.5 7 BID2",
                                    R"(table 25 insert {"codigo_3c":"PER","nombre":"Pereira"})", "table 25 delete 1"}) {
            EXPECT_THAT(market.command(command), testing::Not(HasSubstr("error"))) << command;
        }
        market.command("drop L001");
        market.wait_until([&](qm::Market& its) { return host.count("connection 0") == 2 && is_live(its); });
        market.command("chat pedro maria the last word");
        market.wait_until([&](qm::Market&) { return host.count_of("message Chat ") >= 3; });
        host.Logout();
        Forget_Tables();
        return host.heard();
    }

    // The log of yesterday in a directory where nothing else stands, until the host has heard the last word.
    Lines Replay(const std::string& log, const Lines& live)
    {
        const ScratchDirectory fresh;
        fresh.write("yesterday.log", log);
        fresh.write("qapi.cfg", settings + std::string("testing_file yesterday.log\n"));
        Glb_Unic_Number = 0; // as in a new process
        FieldHost host;
        EXPECT_EQ(host.login("maria", "secret"), 0);
        const auto last = std::find_if(live.rbegin(), live.rend(),
                                       [](const std::string& line) { return line.starts_with("message "); });
        EXPECT_TRUE(host.wait_for(*last));
        host.Logout();
        Forget_Tables();
        return host.heard();
    }

    // The lines around the first that differs.
    static void expect_same(const Lines& again, const Lines& live)
    {
        const auto [other, wanted] = std::mismatch(again.begin(), again.end(), live.begin(), live.end());
        if (other == again.end() && wanted == live.end()) {
            return;
        }
        const auto around = [](const Lines& lines, Lines::const_iterator at) {
            std::string text;
            for (auto line = at - std::min<std::ptrdiff_t>(3, at - lines.begin());
                 line != at + std::min<std::ptrdiff_t>(3, lines.end() - at); ++line) {
                text += "\n    " + *line;
            }
            return text;
        };
        ADD_FAILURE() << "line " << other - again.begin() << ", live:" << around(live, wanted)
                      << "\nreplayed:" << around(again, other);
    }
};

TEST_P(ReplaySession, GivesTheSameCallbacksAndFieldsInTheSameOrder)
{
    const Lines live = Record(GetParam());
    EXPECT_THAT(live, Contains(HasSubstr("the last word")));
    EXPECT_THAT(live, Contains(HasSubstr("4012.25")));
    const Lines again = Replay(scratch.read("qapi.log"), live);
    expect_same(again, live);
}

INSTANTIATE_TEST_SUITE_P(Modes, ReplaySession, Values("encrypt", "plain", "compress", "both"),
                         [](const auto& mode) { return mode.param; });

using TranslatedSession = ReplaySession;

TEST_F(TranslatedSession, GivesTheSameToo)
{
    const Lines live = Record("compress");
    const std::string log = scratch.read("qapi.log");
    std::string translated;
    {
        const ScratchDirectory fresh;
        fresh.write("yesterday.log", log);
        fresh.write("qapi.cfg",
                    settings + std::string("testing_file yesterday.log\ntesting_output_file translated.log\n"));
        RecordingHost host;
        EXPECT_EQ(host.login("maria", "secret"), 0);
        translated = fresh.read("translated.log");
    }
    EXPECT_EQ(translated.size(), log.size());
    expect_same(Replay(translated, live), live);
}

} // namespace
