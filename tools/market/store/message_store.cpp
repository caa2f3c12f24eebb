// The file is one of entries (store/entry_file.cpp), each a message with what the store knows about it
// (store/stored_entry.cpp).
#include "store/message_store.h"

#include "little_endian.h"
#include "store/stored_entry.h"

#include <algorithm>

namespace qm {

namespace {

// Where the fields stand in a message.
constexpr std::size_t persistent_at = 7;
constexpr std::size_t number_at = 17;
constexpr std::size_t log_at = 21;
constexpr std::size_t date_at = 32;
constexpr std::size_t date_len = 8;
constexpr std::size_t shortest_message = 83;

// Log requests and CABEZA name the logs differently.
char letter_in_message(Log log)
{
    switch (log) {
    case Log::P:
        return 'A';
    case Log::A:
        return 'B';
    case Log::B:
        break;
    }
    return 'C';
}

void write_fields(std::string& message, Log log, std::string_view date, std::uint32_t number)
{
    message.resize(std::max(message.size(), shortest_message));
    message[persistent_at] = log == Log::P ? 'S' : '\0';
    store_le(message.data() + number_at, number);
    message[log_at] = letter_in_message(log);
    std::string whole_date(date.substr(0, date_len));
    whole_date.resize(date_len);
    message.replace(date_at, date_len, whole_date);
}

bool stands_for_no_date(std::string_view date)
{
    return date.find_first_not_of(std::string_view("\0 0", 3)) == std::string_view::npos;
}

} // namespace

std::optional<Log> Log_Of_Letter(char letter)
{
    for (const Log log : {Log::P, Log::A, Log::B}) {
        if (static_cast<char>(log) == letter) {
            return log;
        }
    }
    return {};
}

MessageStore::MessageStore(const std::filesystem::path& file) : m_file(file)
{
    m_file->Load([this](std::string_view entry) {
        std::optional<StoredMessage> message = Unpack(entry);
        if (!message || message->message.size() < shortest_message) {
            return false;
        }
        std::uint32_t& last = m_last_numbers[{message->log, message->date}];
        last = std::max(last, message->number);
        m_messages.push_back(std::move(*message));
        return true;
    });
}

const StoredMessage& MessageStore::Add(Log log, std::string_view date, std::uint16_t priority, Audience audience,
                                       std::string message)
{
    std::string day(date);
    const std::uint32_t number = ++m_last_numbers[{log, day}];
    write_fields(message, log, date, number);
    m_messages.push_back({.log = log,
                          .date = std::move(day),
                          .number = number,
                          .priority = priority,
                          .audience = std::move(audience),
                          .message = std::move(message)});
    Write(m_messages.back());
    return m_messages.back();
}

void MessageStore::Write(const StoredMessage& message)
{
    if (!m_file) {
        return;
    }
    m_complaint = m_file->Append(Pack(message));
    if (!m_complaint.empty()) { // one that fits again would leave a gap in the numbers
        m_file.reset();
    }
}

bool MessageStore::Is_Wanted(const StoredMessage& message, const std::vector<LogPosition>& positions,
                             std::string_view today)
{
    return std::any_of(positions.begin(), positions.end(), [&](const LogPosition& position) {
        const std::string_view date = stands_for_no_date(position.date) ? today : std::string_view(position.date);
        return message.log == position.log &&
               (message.date > date || (message.date == date && message.number > position.number));
    });
}

} // namespace qm
