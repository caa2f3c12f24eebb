#include "crash/life.h"

#include <algorithm>
#include <chrono>
#include <poll.h>
#include <sstream>

namespace crash {

namespace {

constexpr auto patience = std::chrono::minutes(1);
constexpr auto patience_with_the_living = std::chrono::milliseconds(300);
constexpr std::size_t log_rounds = 2;

// "asks for stored messages behind P 17 of 20260105, A 3 of 20260105, B 0"
std::vector<qm::LogPosition> positions_in(std::istringstream words)
{
    std::vector<qm::LogPosition> positions;
    std::string word;
    while (words >> word) {
        if (word == "of") {
            words >> positions.back().date;
            positions.back().date.resize(8);
        } else if (const auto log = qm::Log_Of_Letter(word.front()); log && word.size() == 1) {
            positions.push_back({.log = *log});
            words >> positions.back().number;
        }
    }
    return positions;
}

} // namespace

Life::Life(const std::filesystem::path& program, const std::filesystem::path& directory, MarketStream& market,
           const std::string& arguments)
    : m_market(market)
{
    market.take_told();
    std::vector<std::string> command{program.string()};
    std::istringstream words(arguments);
    for (std::string word; words >> word;) {
        command.push_back(word);
    }
    m_child = std::make_unique<demo::Child>(command, directory);
}

void Life::wait(const std::string& what, const std::function<bool()>& has_happened,
                const std::function<bool()>& meanwhile)
{
    const auto dead_line = std::chrono::steady_clock::now() + patience;
    for (;;) {
        hear();
        if (has_happened()) {
            return;
        }
        if (has_ended()) {
            throw Fault("the host has ended while \"" + what + "\" was waited for");
        }
        if (std::chrono::steady_clock::now() > dead_line) {
            throw Fault("waited a minute until " + what);
        }
        if (!meanwhile || !meanwhile()) {
            pollfd output{.fd = m_child->output(), .events = POLLIN, .revents = 0};
            poll(&output, 1, 1); // the market's word wakes nobody
        }
    }
}

void Life::wait_for_death(const std::function<bool()>& meanwhile)
{
    auto dead_line = std::chrono::steady_clock::now() + patience_with_the_living;
    while (!has_ended() && std::chrono::steady_clock::now() < dead_line) {
        hear();
        if (meanwhile()) {
            dead_line = std::chrono::steady_clock::now() + patience_with_the_living;
        } else {
            poll(nullptr, 0, 1);
        }
    }
}

void Life::kill()
{
    m_child->kill();
    hear();
}

int Life::end()
{
    m_child->send("quit");
    const auto dead_line = std::chrono::steady_clock::now() + patience;
    while (!m_child->exit_status() && std::chrono::steady_clock::now() < dead_line) {
        hear();
        poll(nullptr, 0, 1);
    }
    hear();
    return m_child->exit_status().value_or(-1);
}

Stage Life::stage() const
{
    if (!m_has_logged_in) {
        return Stage::connecting;
    }
    if (!m_has_asked) {
        return Stage::primary_tables;
    }
    if (m_rounds < log_rounds) {
        return Stage::log_rounds;
    }
    return m_has_secondary_tables ? Stage::live : Stage::secondary_tables;
}

// ---- What is told ----------------------------------------------------------------------------------------------

void Life::hear()
{
    m_child->read();
    while (const auto line = m_child->next_line()) {
        hear_host(*line);
    }
    for (const std::string& line : m_market.take_told()) {
        hear_market(line);
    }
}

void Life::hear_host(const std::string& line)
{
    const std::string verb = line.substr(0, line.find(' '));
    const std::string rest = line.substr(std::min(line.size(), verb.size() + 1));
    if (verb == "got") {
        if (!m_got.insert(rest).second) {
            throw Fault("message " + rest + " was delivered twice in one life");
        }
    } else if (verb == "done") {
        m_done.insert(rest);
    } else if (verb == "row" || verb == "count") {
        m_rows.push_back(line);
    } else if (verb == "end") {
        ++m_listed;
    } else if (verb == "ready") {
        m_is_ready = true;
    } else {
        throw Fault("the host says \"" + line + "\"");
    }
}

void Life::hear_market(const std::string& line)
{
    constexpr std::string_view asks = "asks for stored messages behind ";
    if (line.starts_with("login")) {
        m_has_logged_in = true;
    } else if (line.starts_with(asks)) {
        m_has_asked = true;
        m_asked = positions_in(std::istringstream(line.substr(asks.size())));
    } else if (line.starts_with("table ")) {
        ++m_tables;
        m_has_secondary_tables =
            m_has_secondary_tables || line.starts_with(std::string("table ") + MarketStream::orders_table);
    } else if (line.starts_with("stored messages")) {
        ++m_rounds;
    }
}

} // namespace crash
