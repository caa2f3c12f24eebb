// A market on a thread and a port of its own, as tests drive it.
#pragma once

#include "clock.h"
#include "journal.h"
#include "market.h"
#include "net/event_loop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

// Two banks and a broker with a user each (maria U001 of L001, pedro U002 of L002, lucia U003 of L003; password
// "secret"), markets 71 and 72, a few cities. `more` are further members of the JSON object, each behind a comma.
std::string SmallScenario(const std::string& more = {});

class MarketThread
{
public:
    explicit MarketThread(const std::string& scenario = SmallScenario(), qm::MarketOptions options = {});
    MarketThread(const std::string& scenario, qm::MarketOptions options, const qm::Clock& clock);
    ~MarketThread();
    MarketThread(const MarketThread&) = delete;
    MarketThread& operator=(const MarketThread&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }

    // A line of the prompt, done on the market's thread; gives what it says.
    std::string command(const std::string& line);

    // Runs there and returns when it is done.
    void on_thread(const std::function<void(qm::Market&)>& action);

    // Goes round until the condition holds on the market's thread; throws std::runtime_error after a minute.
    void wait_until(const std::function<bool(qm::Market&)>& condition);

    // For a manual clock: look at it again.
    void look_at_clock();

private:
    qm::Clock m_real_clock;
    qm::EventLoop m_loop;
    std::unique_ptr<qm::Journal> m_journal;
    std::unique_ptr<qm::Market> m_market;
    std::uint16_t m_port = 0;
    std::thread m_thread;
};
