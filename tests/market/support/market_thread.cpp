#include "market/support/market_thread.h"

#include <chrono>
#include <future>
#include <stdexcept>

using namespace qm;

std::string SmallScenario(const std::string& more)
{
    return R"({
  "server": "DSAB", "data_servers": ["DSAB"], "data_managers": ["DM01"], "environment": "CO",
  "send_mode": "plain",
  "users": [
    {"name": "maria", "password": "secret", "code": "U001", "branch": "NORTBOG1", "machine": "L001"},
    {"name": "pedro", "password": "secret", "code": "U002", "branch": "SURBMED1", "machine": "L002"},
    {"name": "lucia", "password": "secret", "code": "U003", "branch": "CORRBOG1", "machine": "L003"}
  ],
  "markets": [
    {"number": 71, "orders_table": 71, "currency": "USD"},
    {"number": 72, "orders_table": 72, "currency": "EUR"}
  ],
  "tables": [
    {"name": "cities", "records": [
      {"codigo_3c": "BOG", "nombre": "Bogota"}, {"codigo_3c": "MED", "nombre": "Medellin"}, {"codigo_3c": "CAL", "nombre": "Cali"}
    ]}
  ])" + more +
           "\n}\n";
}

MarketThread::MarketThread(const std::string& scenario, MarketOptions options)
    : MarketThread(scenario, std::move(options), m_real_clock)
{
}

MarketThread::MarketThread(const std::string& scenario, MarketOptions options, const Clock& clock)
    : m_loop(clock), m_journal(std::make_unique<Journal>(clock))
{
    m_market = std::make_unique<Market>(m_loop, Parse_Scenario(scenario, "small.json"), std::move(options), *m_journal);
    m_port = m_market->port();
    m_thread = std::thread([this] { m_loop.Run(); });
}

MarketThread::~MarketThread()
{
    m_loop.Stop();
    m_thread.join();
}

std::string MarketThread::command(const std::string& line)
{
    std::string said;
    on_thread([&](Market& market) { said = market.Do(line); });
    return said;
}

void MarketThread::on_thread(const std::function<void(Market&)>& action)
{
    std::promise<void> done;
    m_loop.Post([&] {
        action(*m_market);
        done.set_value();
    });
    done.get_future().wait();
}

void MarketThread::wait_until(const std::function<bool(Market&)>& condition)
{
    const auto dead_line = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    for (bool holds = false; !holds;) {
        on_thread([&](Market& market) { holds = condition(market); });
        if (std::chrono::steady_clock::now() > dead_line) {
            throw std::runtime_error("waited a minute for the market");
        }
    }
}

void MarketThread::look_at_clock()
{
    on_thread([](Market&) {});
}
