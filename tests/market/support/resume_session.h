// A host of the library and a market on a thread, over and over: what a host that starts again has from its files.
#pragma once

#include "market/support/market_thread.h"
#include "support/recording_host.h"
#include "support/session_fixture.h"

#include "tblproc/global_tables.h"
#include "tblproc/tblproc.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <mutex>

class ResumeSession : public SessionTest
{
protected:
    ResumeSession()
    {
        qm::MarketOptions options;
        options.tell = [this](const std::string& line) { note(line); };
        market = std::make_unique<MarketThread>(SmallScenario(), std::move(options));
        configure("log_last_processed_message F\n");
        host = std::make_unique<RecordingHost>();
    }
    ~ResumeSession() override { host.reset(); }

    // What the next login reads.
    void configure(const std::string& more_lines)
    {
        scratch.write("qapi.cfg", "data_server DSAB\nds_ip_address 127.0.0.1\nds_tcp_port " +
                                      std::to_string(market->port()) +
                                      "\nlocal_code L001\nuser_code U001\nbranch_code NORTBOG1\n"
                                      "transaction_feed = 1\n" +
                                      more_lines);
    }

    void log_in()
    {
        const int before = host->count("connection 0");
        ASSERT_EQ(host->login("maria", "secret"), 0);
        market->wait_until([&](qm::Market& its) {
            return host->count("connection 0") > before && its.Do("clients").find("live") != std::string::npos;
        });
    }

    void log_out()
    {
        host->Logout();
        market->wait_until([](qm::Market& its) { return its.Do("clients") == "0 clients"; });
    }

    // How many records of a table the market has sent last.
    int sent(const std::string& table)
    {
        const std::lock_guard lock(m_lock);
        return m_sent.at(table);
    }

    // Behind which messages the host has asked for the log last, as the market tells it.
    std::string asked()
    {
        const std::lock_guard lock(m_lock);
        return m_asked;
    }

    void finish_first_chat()
    {
        const std::string head = "message Chat ";
        for (const std::string& line : host->lines()) {
            if (line.starts_with(head)) {
                EXPECT_EQ(host->finish("Chat", static_cast<unsigned>(std::stoul(line.substr(head.size())))), 0);
                return;
            }
        }
    }

    static int cities() { return Glb_City_Table->Used_Num_Records(); }

    std::unique_ptr<MarketThread> market;
    std::unique_ptr<RecordingHost> host;

private:
    // "machine L001: table 25 cities, 3 records", "machine L001: asks for stored messages behind P 0, A 2 of 20260105"
    void note(const std::string& line)
    {
        if (const std::size_t asks = line.find(" behind "); asks != std::string::npos) {
            const std::lock_guard lock(m_lock);
            m_asked = line.substr(asks + 8);
        }
        const std::size_t at = line.find(": table ");
        const std::size_t comma = line.rfind(", ");
        if (at != std::string::npos && comma != std::string::npos) {
            const std::lock_guard lock(m_lock);
            m_sent[line.substr(at + 8, comma - at - 8)] = std::stoi(line.substr(comma + 2));
        }
    }

    std::mutex m_lock;
    std::map<std::string, int> m_sent;
    std::string m_asked;
};
