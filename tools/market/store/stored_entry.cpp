//   width  of an entry's bytes
//       1  log: P, A, B
//       4  number
//       2  priority
//       1  1 if it is for everyone, else 0
//          date
//          lists: machines, users, branches, institutions, excluded machines
//          message
//
// A text is its length (4) and its bytes, a list the number of its texts (4) and the texts.
#include "store/stored_entry.h"

#include "little_endian.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <vector>

namespace qm {

namespace {

class Writer
{
public:
    template <std::integral T> Writer& number(T value)
    {
        std::array<char, sizeof value> bytes{};
        store_le(bytes.data(), value);
        m_bytes.append(bytes.data(), bytes.size());
        return *this;
    }
    Writer& text(std::string_view text)
    {
        number(static_cast<std::uint32_t>(text.size()));
        m_bytes.append(text);
        return *this;
    }
    Writer& texts(const std::vector<std::string>& texts)
    {
        number(static_cast<std::uint32_t>(texts.size()));
        for (const std::string& each : texts) {
            text(each);
        }
        return *this;
    }
    std::string bytes() { return std::move(m_bytes); }

private:
    std::string m_bytes;
};

// Zeros and empty texts behind the end, which it remembers to have met.
class Reader
{
public:
    explicit Reader(std::string_view bytes) : m_rest(bytes) {}

    template <std::integral T> T number()
    {
        const std::string_view bytes = Part(sizeof(T));
        return bytes.empty() ? T{0} : load_le<T>(bytes.data());
    }
    std::string text() { return std::string(Part(number<std::uint32_t>())); }
    std::vector<std::string> texts()
    {
        std::vector<std::string> texts;
        for (auto count = number<std::uint32_t>(); count > 0 && !m_has_failed; --count) {
            texts.push_back(text());
        }
        return texts;
    }
    [[nodiscard]] bool is_done() const { return m_rest.empty() && !m_has_failed; }

private:
    std::string_view Part(std::size_t count)
    {
        if (count > m_rest.size()) {
            m_has_failed = true;
            return {};
        }
        const std::string_view part = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return part;
    }

    std::string_view m_rest;
    bool m_has_failed = false;
};

} // namespace

std::string Pack(const StoredMessage& message)
{
    const Audience& audience = message.audience;
    return Writer()
        .number(static_cast<char>(message.log))
        .number(message.number)
        .number(message.priority)
        .number(static_cast<char>(audience.everyone ? 1 : 0))
        .text(message.date)
        .texts(audience.machines)
        .texts(audience.users)
        .texts(audience.branches)
        .texts(audience.institutions)
        .texts(audience.excluded)
        .text(message.message)
        .bytes();
}

std::optional<StoredMessage> Unpack(std::string_view entry)
{
    Reader reader(entry);
    StoredMessage message;
    const std::optional<Log> log = Log_Of_Letter(reader.number<char>());
    message.number = reader.number<std::uint32_t>();
    message.priority = reader.number<std::uint16_t>();
    message.audience.everyone = reader.number<char>() != 0;
    message.date = reader.text();
    message.audience.machines = reader.texts();
    message.audience.users = reader.texts();
    message.audience.branches = reader.texts();
    message.audience.institutions = reader.texts();
    message.audience.excluded = reader.texts();
    message.message = reader.text();
    if (!reader.is_done() || !log) {
        return {};
    }
    message.log = *log;
    return message;
}

} // namespace qm
