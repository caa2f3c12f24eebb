#include "session/log_rounds.h"

#include "little_endian.h"
#include "message_numbers.h"
#include "records/sizes.h"

#include <algorithm>
#include <utility>

namespace qm {

namespace {

// An entry of a log request; src/session/log_request.cpp has all of it.
constexpr std::size_t body_at = MSG_NUMBER_FIELD_SIZE + CABEZA_HEADER_SIZE;
constexpr std::size_t entry_len = 25;
constexpr std::size_t server_at = 1;
constexpr std::size_t date_at = 3;
constexpr std::size_t date_len = 8;
constexpr std::size_t number_at = 17;

// In the CABEZA of a message from the server.
constexpr std::size_t sender_in_message = 3;
constexpr std::size_t server_in_message = 11;

bool is_of(Log log, const std::vector<LogPosition>& positions)
{
    return std::any_of(positions.begin(), positions.end(),
                       [log](const LogPosition& position) { return position.log == log; });
}

std::string round_mark(int number, int body_len, std::string_view server)
{
    std::string code(server.substr(0, 4));
    code.resize(4);
    std::string message = std::to_string(number);
    message.resize(body_at + static_cast<std::size_t>(body_len));
    message.replace(sender_in_message, 4, code);
    message.replace(server_in_message, 2, code.substr(2));
    return message;
}

} // namespace

std::vector<LogPosition> Take_Log_Request(std::string_view message, std::string_view server)
{
    std::vector<LogPosition> positions;
    message.remove_prefix(std::min(body_at, message.size()));
    for (; message.size() >= entry_len; message.remove_prefix(entry_len)) {
        const std::string_view entry = message.substr(0, entry_len);
        if (entry.find_first_not_of('\0') == std::string_view::npos) {
            break;
        }
        const std::optional<Log> log = Log_Of_Letter(entry.front());
        if (!log || entry.substr(server_at, 2) != server || is_of(*log, positions)) {
            continue;
        }
        std::string date(entry.substr(date_at, date_len));
        date.erase(date.find_last_not_of('\0') + 1);
        positions.push_back(
            {.log = *log, .date = std::move(date), .number = load_le<std::uint32_t>(entry.data() + number_at)});
    }
    return positions;
}

LogRounds::LogRounds(std::string_view server)
    : m_begin_message(round_mark(MSS_INICIO_LOG, LOG_BEGIN_AFTER_CABEZA_SIZE, server)),
      m_end_message(round_mark(MSS_FIN_LOG, LOG_END_AFTER_CABEZA_SIZE, server))
{
}

void LogRounds::Begin(std::vector<LogPosition> positions, Party party, std::string today, std::size_t stored)
{
    m_state = State::first_begin;
    m_is_second_asked = false;
    m_positions = std::move(positions);
    m_party = std::move(party);
    m_today = std::move(today);
    m_position = 0;
    m_end = stored;
}

bool LogRounds::Begin_Second()
{
    const bool is_due = m_state == State::first_begin || m_state == State::first || m_state == State::between;
    m_is_second_asked = m_is_second_asked || is_due;
    return is_due;
}

std::optional<LogRounds::Item> LogRounds::Next(const MessageStore& store)
{
    if (m_state == State::first_begin) {
        return Begin_Round(State::first, m_end);
    }
    if (m_state == State::between && m_is_second_asked) {
        return Begin_Round(State::second, store.size());
    }
    if (m_state == State::idle || m_state == State::between) {
        return {};
    }
    const StoredMessage* message = Next_Wanted(store, is_live() ? store.size() : m_end);
    if (message != nullptr) {
        return Item{message->message, message->priority};
    }
    if (is_live()) {
        return {};
    }
    return End_Round();
}

LogRounds::Item LogRounds::Begin_Round(State round, std::size_t end)
{
    m_state = round;
    m_end = end;
    return {m_begin_message, PRD_INICIO_LOG_ALTA};
}

LogRounds::Item LogRounds::End_Round()
{
    m_state = m_state == State::first ? State::between : State::live;
    return {m_end_message, PRD_FIN_LOG_ALTA};
}

const StoredMessage* LogRounds::Next_Wanted(const MessageStore& store, std::size_t end)
{
    for (end = std::min(end, store.size()); m_position < end;) {
        const StoredMessage& message = store.at(m_position++);
        if (Is_Wanted(message)) {
            return &message;
        }
    }
    return nullptr;
}

// What was stored behind the request can't be known to the client, whatever numbers it gave.
bool LogRounds::Is_Wanted(const StoredMessage& message) const
{
    return message.audience.has(m_party) &&
           (m_state != State::first || MessageStore::Is_Wanted(message, m_positions, m_today));
}

} // namespace qm
