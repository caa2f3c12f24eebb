#include "session/table_dialogue.h"

#include "little_endian.h"

#include <algorithm>
#include <iterator>

namespace qm {

namespace {

constexpr char subscribe = 'S';
constexpr char query = 'Q';
constexpr char ask = 'N';
constexpr char last_ask = 'P';

constexpr std::size_t header_len = 22;
constexpr std::size_t identity_len = 8;

void append(std::vector<std::string>& messages, std::vector<std::string> more)
{
    messages.insert(messages.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

} // namespace

struct TableDialogue::Request
{
    explicit Request(std::string_view message)
    {
        if (message.size() < header_len || !message.starts_with("888")) {
            return;
        }
        letter = message[3];
        code = load_le<std::uint16_t>(message.data() + 4);
        hash = load_le<std::uint32_t>(message.data() + 14);
        asked = message.substr(header_len, identity_len * load_le<std::uint16_t>(message.data() + 6));
        asked.remove_suffix(asked.size() % identity_len);
    }

    char letter = '\0'; // of a message that is none
    std::uint16_t code = 0;
    std::uint32_t hash = 0;
    std::string_view asked{}; // identities
};

TableDialogue::Answer TableDialogue::On_Request(std::string_view message, const Tables& tables)
{
    const Request request(message);
    const Table* const table = tables.Find(request.code);
    if (request.letter == subscribe || request.letter == query) {
        m_subscribed.insert(request.code);
        if (table == nullptr) {
            return {.messages = {End_Of_Table(request.code)}};
        }
        return {.messages = request.letter == subscribe ? Subscribe(*table) : Query(*table, request.hash)};
    }
    if (request.letter == ask) {
        return {.note = Collect(request)};
    }
    if (request.letter == last_ask && table != nullptr) {
        return {.messages = Finish(*table, request.asked)};
    }
    if (request.letter == ROW_DELETED) {
        return {.note = "a client deletes no records of the market's tables"};
    }
    return {.note = "no request that a table answers"};
}

// One that gave a dialogue up may still have rows that were deleted meanwhile.
std::vector<std::string> TableDialogue::Subscribe(const Table& table)
{
    std::vector<std::string> messages = Take_Changes(table);
    append(messages, table.Whole());
    return messages;
}

std::vector<std::string> TableDialogue::Query(const Table& table, std::uint32_t hash)
{
    m_open.erase(table.code());
    if (!table.Is_Equal(hash)) {
        m_open[table.code()].rows = table.rows().size();
    }
    return table.Answer_Query(hash);
}

std::string TableDialogue::Collect(const Request& request)
{
    const auto open = m_open.find(request.code);
    if (open == m_open.end()) {
        return "records are asked for without a list";
    }
    std::string& asked = open->second.asked;
    asked += request.asked.substr(0, identity_len * open->second.rows - asked.size());
    return {};
}

// What has changed since the list is sent behind the end of the table: a row with new contents isn't found by the
// identity that the client asks for.
std::vector<std::string> TableDialogue::Finish(const Table& table, std::string_view asked)
{
    const auto open = m_open.find(table.code());
    std::string all = open != m_open.end() ? open->second.asked : std::string();
    all += asked;
    std::vector<std::string> messages = table.Answer_Asks(all);
    append(messages, Take_Changes(table));
    return messages;
}

// Of each row what it is now, as an insertion: the client need not have it.
std::vector<std::string> TableDialogue::Take_Changes(const Table& table)
{
    std::vector<std::string> messages;
    const auto open = m_open.extract(table.code());
    if (open.empty()) {
        return messages;
    }
    for (const auto& [idx, was_listed] : open.mapped().was_listed) {
        const auto row = table.rows().find(idx);
        messages.push_back(row != table.rows().end() ? Table_Message(ROW_INSERTED, table.code(), row->second)
                                                     : Table_Message(ROW_DELETED, table.code(), {.idx = idx}));
    }
    return messages;
}

// A row that came and went since the list was made is forgotten, so that a client that never ends its dialogue costs no
// more memory than the table.
bool TableDialogue::Wants_Change(std::uint16_t code, char letter, std::uint32_t idx)
{
    const auto open = m_open.find(code);
    if (open == m_open.end()) {
        return is_subscribed(code);
    }
    auto& was_listed = open->second.was_listed;
    const auto change = was_listed.try_emplace(idx, letter != ROW_INSERTED).first;
    if (letter == ROW_DELETED && !change->second) {
        was_listed.erase(change);
    }
    return false;
}

} // namespace qm
