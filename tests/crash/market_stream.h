// The market of the crash tests: it says and changes something whenever it is asked to, at random, and knows all that
// was ever true of its tables.
#pragma once

#include "market/support/market_thread.h"

#include "store/message_store.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace crash {

// A table that the host keeps in a file, and two of its fields: one that tells its records apart, and a text.
struct KeptTable
{
    std::uint16_t code;
    const char* file;
    const char* key;
    std::size_t key_width;
    const char* text;
    std::size_t text_width;
};

std::span<const KeptTable> Kept_Tables();

class MarketStream
{
public:
    static constexpr const char* orders_table = "14071"; // of the second level

    explicit MarketStream(unsigned seed);

    [[nodiscard]] std::uint16_t port() const { return m_market->port(); }
    [[nodiscard]] bool has_clients();

    // So many messages and changes of tables.
    void stream(int events);

    // One that the host can wait for; as message_name gives it.
    std::string mark();

    // What it has told about the host's connection, a line each ("table 25 cities, 3 records"), and forgets.
    std::vector<std::string> take_told();

    // All messages for the host, by the names that the host gives them: "A 17 20260105".
    [[nodiscard]] std::vector<std::string> messages() const { return m_messages; }

    // Those of them that it would be sent who asks for them from these positions.
    [[nodiscard]] std::set<std::string> wanted(const std::vector<qm::LogPosition>& positions);

    // The records of a table: their idx, and the rest by row_text.h.
    [[nodiscard]] std::map<std::uint32_t, std::string> rows(std::uint16_t code);
    [[nodiscard]] bool has_ever_had(std::uint16_t code, const std::string& row) const;
    [[nodiscard]] std::size_t body_size(std::uint16_t code) const { return m_body_sizes.at(code); }
    [[nodiscard]] std::uint32_t highest_idx() const { return m_highest_idx; }

private:
    struct Content
    {
        std::map<std::uint32_t, std::string> keys{}; // by idx
        std::set<std::string> used{};
        std::set<std::string> ever{}; // rows
    };

    unsigned any(unsigned count) { return static_cast<unsigned>(m_random() % count); }
    std::string any_text(std::size_t longest);
    std::string any_key(const KeptTable& table, const Content& content);
    void trade();
    void change(const KeptTable& table);
    void insert(const KeptTable& table, Content& content);
    void update(const KeptTable& table, Content& content, std::uint32_t idx);
    void remove(const KeptTable& table, Content& content, std::uint32_t idx);
    std::string command(const std::string& line);
    void note_row(const KeptTable& table, Content& content, std::uint32_t idx);
    void note_messages();

    std::mt19937 m_random;
    std::mutex m_lock;
    std::vector<std::string> m_told;
    std::map<std::uint16_t, Content> m_contents;
    std::map<std::uint16_t, std::size_t> m_body_sizes;
    std::uint32_t m_highest_idx = 0;
    std::vector<std::string> m_messages;
    std::size_t m_looked_at = 0; // of the store
    int m_orders = 0;
    std::unique_ptr<MarketThread> m_market; // last: it tells the rest
};

} // namespace crash
