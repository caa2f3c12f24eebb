// A host's tables beside the market's over a real connection, from session to session: whatever changed while the host
// was away, lost its connection or started again, the next session makes its tables equal.
#include "market/support/market_thread.h"
#include "support/recording_host.h"
#include "support/session_fixture.h"

#include "tblproc/global_tables.h"
#include "tblproc/replica_lock.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <string>

namespace {

constexpr std::uint16_t cities = 25;

class ReplicaSession : public SessionTest, public ::testing::WithParamInterface<unsigned>
{
protected:
    ReplicaSession()
    {
        qm::MarketOptions options;
        options.tell = [this](const std::string& line) { note(line); };
        market = std::make_unique<MarketThread>(SmallScenario(), std::move(options));
        scratch.write("qapi.cfg", "data_server DSAB\nds_ip_address 127.0.0.1\nds_tcp_port " +
                                      std::to_string(market->port()) +
                                      "\nlocal_code L001\nuser_code U001\nbranch_code NORTBOG1\n"
                                      "transaction_feed = 1\n");
        host = std::make_unique<RecordingHost>();
    }
    ~ReplicaSession() override { host.reset(); }

    // ---- Sessions

    void wait_until_live(int connections)
    {
        market->wait_until([&](qm::Market& its) {
            return host->count("connection 0") > connections && its.Do("clients").find("live") != std::string::npos;
        });
    }
    void log_in()
    {
        const int before = host->count("connection 0");
        ASSERT_EQ(host->login("maria", "secret"), 0);
        wait_until_live(before);
    }
    void log_out()
    {
        host->Logout();
        market->wait_until([](qm::Market& its) { return its.Do("clients") == "0 clients"; });
    }
    void lose_connection()
    {
        const int before = host->count("connection 0");
        market->command("stall L001"); // changes from here on don't arrive
        change_some();
        market->command("drop L001");
        wait_until_live(before);
    }

    // ---- The market's cities

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    std::string any_code()
    {
        std::string code(3, 'A');
        code[1] = static_cast<char>('A' + below(26));
        code[2] = static_cast<char>('A' + below(2));
        return code;
    }
    void change()
    {
        const std::string idx = std::to_string(1 + below(40));
        const std::string name = R"("nombre":")" + std::to_string(below(100)) + "\"";
        const std::string code = any_code();
        switch (below(3)) {
        case 0:
            market->command("table 25 delete " + idx);
            break;
        case 1:
            market->command("table 25 update " + idx + " {" + name + "}");
            break;
        default:
            if (m_codes.insert(code).second) {
                market->command(R"(table 25 insert {"codigo_3c":")" + code + "\"," + name + "}");
            }
            break;
        }
    }
    void change_some()
    {
        for (unsigned changes = below(12); changes > 0; --changes) {
            change();
        }
    }

    // ---- Both

    static std::uint32_t replica_hash()
    {
        const ReplicaLock lock;
        return Glb_City_Table->Get_Crc32();
    }
    void expect_equal()
    {
        market->wait_until(
            [](qm::Market& its) { return its.tables().Find(cities)->Hash() == replica_hash(); }); // or it never is
        market->on_thread([](qm::Market& its) {
            const ReplicaLock lock;
            const auto& rows = its.tables().Find(cities)->rows();
            EXPECT_EQ(static_cast<std::size_t>(Glb_City_Table->Used_Num_Records()), rows.size());
            for (const auto& [idx, row] : rows) {
                CGTCity* city = Glb_City_Table->Find_By_Idx(idx);
                ASSERT_NE(city, nullptr);
                EXPECT_EQ(std::string(city->m_data + 22, row.body.size()), row.body);
            }
        });
    }

    // Rows that the market has and the replica hasn't.
    std::size_t missing()
    {
        std::size_t count = 0;
        market->on_thread([&](qm::Market& its) {
            const ReplicaLock lock;
            for (const auto& [idx, row] : its.tables().Find(cities)->rows()) {
                count += Glb_City_Table->Get_Record_By_Env_Crc32({row.crc32, row.environment}) == nullptr ? 1 : 0;
            }
        });
        return count;
    }
    std::size_t sent()
    {
        const std::lock_guard lock(m_lock);
        return m_sent;
    }

    std::unique_ptr<MarketThread> market;
    std::unique_ptr<RecordingHost> host;

private:
    // "machine L001: table 25 cities, 3 records"
    void note(const std::string& line)
    {
        const std::string mark = ": table 25 cities, ";
        if (const std::size_t at = line.find(mark); at != std::string::npos) {
            const std::lock_guard lock(m_lock);
            m_sent = static_cast<std::size_t>(std::stoul(line.substr(at + mark.size())));
        }
    }

    std::mt19937 m_random{GetParam()};
    std::set<std::string> m_codes; // that were ever given
    std::mutex m_lock;
    std::size_t m_sent = 0;
};

TEST_P(ReplicaSession, MakesTheTableEqualWhateverHappenedBeforeIt)
{
    log_in();
    lose_connection();
    expect_equal();
    for (int round = 0; round < 5 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        change_some(); // live
        expect_equal();
        log_out();
        change_some();
        const std::size_t lacking = missing();
        if (below(2) == 0) {
            Forget_Tables(); // the process starts again
        }
        log_in();
        expect_equal();
        EXPECT_EQ(sent(), lacking);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, ReplicaSession, ::testing::Range(0U, 3U));

} // namespace
