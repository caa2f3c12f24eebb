#include "market/support/replica.h"

#include "support/market_records.h"

#include <algorithm>
#include <stdexcept>

namespace {

constexpr std::size_t most_asked = 320; // in a message

std::string word(std::uint32_t value)
{
    return market::Record(4).u32(0, value).bytes();
}

std::uint32_t word_at(std::string_view bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t byte = 4; byte > 0; --byte) {
        value = value << 8U | static_cast<unsigned char>(bytes.at(at + byte - 1));
    }
    return value;
}

std::string bytes_of(const Replica::Identity& identity)
{
    return word(identity.first) + word(identity.second);
}

} // namespace

void Replica::put(std::uint32_t idx, const Row& row)
{
    std::erase_if(m_rows, [&](const auto& each) { return each.second.identity == row.identity; });
    m_rows[idx] = row;
}

std::uint32_t Replica::hash() const
{
    std::uint32_t crc = 0xFFFFFFFF;
    for (const auto& [idx, row] : m_rows) {
        for (const char each : word(idx) + bytes_of(row.identity)) {
            crc ^= static_cast<unsigned char>(each);
            for (int bit = 0; bit < 8; ++bit) {
                crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
            }
        }
        crc = crc == 0 ? 0xFFFFFFFF : crc;
    }
    return crc;
}

std::string Replica::request(char letter, std::string_view identities, std::uint32_t hash) const
{
    const std::size_t count = letter == 'Q' ? m_rows.size() : identities.size() / 8;
    return market::Make(market::TableRecord{.letter = letter,
                                            .code = m_code,
                                            .crc32 = hash,
                                            .body = std::string(identities),
                                            .count = static_cast<std::uint16_t>(count)});
}

std::string Replica::begin()
{
    m_matched.clear();
    m_missing.clear();
    if (m_rows.empty()) {
        m_state = State::asking;
        return request('S');
    }
    m_state = State::queried;
    return request('Q', {}, hash());
}

std::vector<std::string> Replica::take(std::string_view message)
{
    const market::TableRequest taken = market::TakeTableRequest(message);
    switch (taken.letter) {
    case 'H':
        take_triples(taken.payload);
        return {};
    case 'L':
        take_triples(taken.payload);
        return end_of_list();
    case 'z':
        m_state = State::complete;
        return {};
    default:
        change(taken.letter, taken.idx, {{taken.crc32, taken.environment}, taken.payload});
        return {};
    }
}

void Replica::take_triples(std::string_view triples)
{
    if (m_state != State::queried || triples.size() > std::size_t{12} * 233) {
        throw std::runtime_error("a list where none is due, or one that is too long");
    }
    ++m_lists;
    for (; !triples.empty(); triples.remove_prefix(12)) {
        const Identity identity{word_at(triples, 4), word_at(triples, 8)};
        const auto own = std::find_if(m_rows.begin(), m_rows.end(),
                                      [&](const auto& each) { return each.second.identity == identity; });
        if (own != m_rows.end()) {
            m_matched[word_at(triples, 0)] = own->second;
        } else {
            m_missing += bytes_of(identity);
        }
    }
}

std::vector<std::string> Replica::end_of_list()
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

void Replica::change(char letter, std::uint32_t idx, const Row& row)
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
