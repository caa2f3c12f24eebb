// A client's copy of one table and its side of the dialogue by hashes, written apart from the library and the market.
// Complains (std::runtime_error) about a record that comes where it would confuse a client.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class Replica
{
public:
    using Identity = std::pair<std::uint32_t, std::uint32_t>; // CRC, environment
    struct Row
    {
        Identity identity{};
        std::string body{};

        bool operator==(const Row&) const = default;
    };

    explicit Replica(std::uint16_t code) : m_code(code) {}

    void put(std::uint32_t idx, const Row& row); // in the place of those of its idx or identity
    [[nodiscard]] const std::map<std::uint32_t, Row>& rows() const { return m_rows; }
    [[nodiscard]] std::uint32_t hash() const;

    std::string begin(); // the client's first request

    // Takes a message from the market, and gives what the client answers.
    std::vector<std::string> take(std::string_view message);

    [[nodiscard]] bool is_complete() const { return m_state == State::complete; }
    [[nodiscard]] std::size_t asked() const { return m_asked; }       // identities
    [[nodiscard]] std::size_t received() const { return m_received; } // records ahead of the end of the table
    [[nodiscard]] std::size_t lists() const { return m_lists; }       // messages
    [[nodiscard]] std::string request(char letter, std::string_view identities = {}, std::uint32_t hash = 0) const;

private:
    enum class State
    {
        idle,
        queried,
        asking, // or subscribed
        complete
    };
    void take_triples(std::string_view triples);
    std::vector<std::string> end_of_list();
    void change(char letter, std::uint32_t idx, const Row& row);

    std::uint16_t m_code;
    std::map<std::uint32_t, Row> m_rows;
    State m_state = State::idle;
    std::map<std::uint32_t, Row> m_matched; // by the idx of the list
    std::string m_missing;                  // identities, 8 bytes each
    std::size_t m_asked = 0;
    std::size_t m_received = 0;
    std::size_t m_lists = 0;
};
