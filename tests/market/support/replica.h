// A client's copy of one table and its side of the dialogue by hashes, written apart from the library's tables and the
// market. Complains (std::runtime_error) about what would confuse a client.
#pragma once

#include "little_endian.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
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

    // In the place of those of its idx or identity.
    void put(std::uint32_t idx, const Row& row)
    {
        std::erase_if(m_rows, [&](const auto& each) { return each.second.identity == row.identity; });
        m_rows[idx] = row;
    }
    [[nodiscard]] const std::map<std::uint32_t, Row>& rows() const { return m_rows; }

    [[nodiscard]] std::uint32_t hash() const
    {
        std::uint32_t crc = 0xFFFFFFFF;
        for (const auto& [idx, row] : m_rows) {
            for (const char each : word(idx) + bytes_of(row.identity)) {
                crc = crc_with(crc, each);
            }
            crc = crc == 0 ? 0xFFFFFFFF : crc;
        }
        return crc;
    }

    // The client's first request.
    std::string begin()
    {
        m_matched.clear();
        m_missing.clear();
        m_state = m_rows.empty() ? State::asking : State::queried;
        return m_rows.empty() ? request('S') : request('Q', {}, hash());
    }

    // Takes a message from the market, and gives what the client answers.
    std::vector<std::string> take(std::string_view message)
    {
        const char letter = message.at(3);
        const std::string_view behind_header = message.substr(22);
        if (letter == 'H' || letter == 'L') {
            take_triples(behind_header, load_le<std::uint16_t>(message.data() + 6));
            return letter == 'L' ? end_of_list() : std::vector<std::string>();
        }
        if (letter == 'z') {
            m_state = State::complete;
            return {};
        }
        const Identity identity{word_at(message, 14), word_at(message, 18)};
        change(letter, word_at(message, 10), {identity, std::string(behind_header)});
        return {};
    }

    [[nodiscard]] bool is_complete() const { return m_state == State::complete; }
    [[nodiscard]] std::size_t asked() const { return m_asked; }       // identities
    [[nodiscard]] std::size_t received() const { return m_received; } // records ahead of the end of the table
    [[nodiscard]] std::size_t lists() const { return m_lists; }       // messages

    // A request as a client sends it. A query tells the number of rows, an ask that of its identities.
    [[nodiscard]] std::string request(char letter, std::string_view identities = {}, std::uint32_t hash = 0) const
    {
        const std::size_t count = letter == 'Q' ? m_rows.size() : identities.size() / 8;
        std::string message = "888";
        message += letter;
        message += half_word(m_code) + half_word(static_cast<std::uint16_t>(count)) + half_word(0);
        message += word(0) + word(hash) + word(0);
        return message.append(identities);
    }

private:
    enum class State
    {
        idle,
        queried,
        asking, // or subscribed
        complete
    };
    static constexpr std::size_t most_triples = 233; // in a message
    static constexpr std::size_t most_asked = 320;

    static std::string half_word(std::uint16_t value)
    {
        return {static_cast<char>(value & 255), static_cast<char>(value >> 8)};
    }
    static std::string word(std::uint32_t value)
    {
        return half_word(static_cast<std::uint16_t>(value & 0xFFFF)) +
               half_word(static_cast<std::uint16_t>(value >> 16));
    }
    static std::uint32_t word_at(std::string_view bytes, std::size_t at)
    {
        return load_le<std::uint32_t>(bytes.substr(at, 4).data());
    }
    static std::string bytes_of(const Identity& identity) { return word(identity.first) + word(identity.second); }
    static std::uint32_t crc_with(std::uint32_t crc, char byte)
    {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
        }
        return crc;
    }

    void take_triples(std::string_view triples, std::size_t count)
    {
        if (m_state != State::queried || count > most_triples || triples.size() != 12 * count) {
            throw std::runtime_error("a list that isn't due, or not as long as it says");
        }
        ++m_lists;
        for (; !triples.empty(); triples.remove_prefix(12)) {
            match(word_at(triples, 0), {word_at(triples, 4), word_at(triples, 8)});
        }
    }
    void match(std::uint32_t idx, const Identity& identity)
    {
        const auto own = std::find_if(m_rows.begin(), m_rows.end(),
                                      [&](const auto& each) { return each.second.identity == identity; });
        if (own != m_rows.end()) {
            m_matched[idx] = own->second;
        } else {
            m_missing += bytes_of(identity);
        }
    }
    std::vector<std::string> end_of_list()
    {
        m_state = State::asking;
        m_rows = std::move(m_matched);
        m_asked += m_missing.size() / 8;
        std::vector<std::string> asks;
        std::string_view left = m_missing;
        for (; left.size() >= 8 * most_asked; left.remove_prefix(8 * most_asked)) {
            asks.push_back(request('N', left.substr(0, 8 * most_asked)));
        }
        asks.push_back(request('P', left));
        return asks;
    }
    void change(char letter, std::uint32_t idx, const Row& row)
    {
        if (m_state == State::idle || m_state == State::queried) {
            throw std::runtime_error("a record in the middle of a query");
        }
        m_received += m_state == State::asking ? 1 : 0;
        if (letter == 'B') {
            m_rows.erase(idx);
        } else if (letter == 'I' || letter == 'C' || m_rows.contains(idx)) {
            put(idx, row);
        }
    }

    std::uint16_t m_code;
    std::map<std::uint32_t, Row> m_rows;
    State m_state = State::idle;
    std::map<std::uint32_t, Row> m_matched; // by the idx of the list
    std::string m_missing;                  // identities, 8 bytes each
    std::size_t m_asked = 0;
    std::size_t m_received = 0;
    std::size_t m_lists = 0;
};
