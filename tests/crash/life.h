// One life of the host that is killed: its process, and what it and the market have told of it.
#pragma once

#include "crash/market_stream.h"
#include "demo/child.h"

#include "store/message_store.h"

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace crash {

// A rule doesn't hold; what() says which.
class Fault : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// What the host does at a moment, as far as was told.
enum class Stage
{
    connecting,
    primary_tables,
    log_rounds,
    secondary_tables,
    live,
};
inline constexpr std::size_t stages = 5;

class Life
{
public:
    // Starts it in a directory with a qapi.cfg, with the program's arguments, a blank between two.
    Life(const std::filesystem::path& program, const std::filesystem::path& directory, MarketStream& market,
         const std::string& arguments);

    // Until the condition holds; `meanwhile` is done again and again, and tells whether it has done anything. Throws
    // Fault after a minute, or if the host ends.
    void wait(const std::string& what, const std::function<bool()>& has_happened,
              const std::function<bool()>& meanwhile = {});

    // Until it has killed itself, or for so long without an end that it won't.
    void wait_for_death(const std::function<bool()>& meanwhile);

    [[nodiscard]] bool was_killed() { return m_child->exit_status() == 128 + SIGKILL; }
    [[nodiscard]] bool has_ended() const { return m_child->output() < 0; }
    void tell(const std::string& command) { m_child->send(command); }
    void kill(); // if it lives, and takes what was told last
    int end();   // lets it log out; gives the exit code, -1 if it doesn't end

    [[nodiscard]] Stage stage() const;
    [[nodiscard]] std::size_t tables() const { return m_tables; } // that the market has ended for it
    [[nodiscard]] const std::set<std::string>& got() const { return m_got; }
    [[nodiscard]] const std::set<std::string>& done() const { return m_done; }
    [[nodiscard]] bool has_asked() const { return m_has_asked; }
    [[nodiscard]] const std::vector<qm::LogPosition>& asked() const { return m_asked; } // by its log request
    [[nodiscard]] bool is_ready() const { return m_is_ready; }
    [[nodiscard]] std::size_t listed() const { return m_listed; } // times that it has told its tables
    [[nodiscard]] const std::vector<std::string>& rows() const { return m_rows; }

private:
    void hear();
    void hear_host(const std::string& line);
    void hear_market(const std::string& line);

    MarketStream& m_market;
    std::unique_ptr<demo::Child> m_child;
    std::set<std::string> m_got;
    std::set<std::string> m_done;
    std::vector<qm::LogPosition> m_asked;
    std::vector<std::string> m_rows;
    std::size_t m_tables = 0;
    std::size_t m_rounds = 0;
    std::size_t m_listed = 0;
    bool m_has_logged_in = false;
    bool m_has_asked = false;
    bool m_has_secondary_tables = false;
    bool m_is_ready = false;
};

} // namespace crash
