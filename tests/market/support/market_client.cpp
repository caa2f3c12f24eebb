#include "market/support/market_client.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

using namespace market;

namespace {

constexpr std::uint16_t unknown_table = 39'999;
constexpr std::size_t table_body = 22;

} // namespace

SeenRow TakeRow(std::string_view message)
{
    RecordReader reader(message, "a table record", message.size());
    reader.expect_number(888);
    SeenRow row{.letter = reader.letter(3),
                .code = reader.u16(4),
                .count = reader.u16(6),
                .idx = reader.u32(10),
                .crc32 = reader.u32(14),
                .environment = reader.u32(18)};
    row.body = reader.bytes(table_body, message.size() - table_body);
    reader.expect_nothing_else();
    return row;
}

MarketClient::MarketClient(std::uint16_t market_port, std::string machine, std::string user)
    : m_machine(std::move(machine)), m_user(std::move(user))
{
    connect_to(market_port);
}

std::string MarketClient::Stamped(int number, std::size_t size) const
{
    return Record(number, size).text(3, m_machine, 4).text(11, "AB", 2).text(22, m_user, 4).bytes();
}

SeenReply MarketClient::log_in(const std::string& name, const std::string& password)
{
    Record login(201, 518);
    login.text(3, m_machine, 4).text(22, m_user, 4).text(83, m_machine, 4).text(88, name, 10);
    login.letter(113, 'S').number(114, 80, 4).text(118, m_machine, 10).text(128, "3003", 4);
    login.text(132, password, 16).letter(164, 'd').letter(198, 'U');
    send_message(login.bytes());
    RecordReader reply(expect(201), "a login reply", 518);
    return {.letter = reply.letter(87),
            .machine = reply.text(83, 4),
            .branch_4c = reply.text(192, 4),
            .expiry = reply.number(114, 4)};
}

Range MarketClient::expect_range()
{
    const SeenRow row = TakeRow(expect(888));
    if (row.letter != 'g' || row.body.size() != 10) {
        throw std::runtime_error("expected the range of records");
    }
    RecordReader body(Record(888, 3).bytes() + row.body, "a range", 13);
    return {.low = body.u32(3), .high = body.u32(7), .environment = body.text(11, 2)};
}

std::vector<SeenRow> MarketClient::subscribe(std::uint16_t code)
{
    send_request('S', code);
    std::vector<SeenRow> rows;
    for (SeenRow row = expect_row(code); row.letter != 'z'; row = expect_row(code)) {
        rows.push_back(std::move(row));
    }
    return rows;
}

void MarketClient::send_request(char letter, std::uint16_t code, std::uint16_t count, std::uint32_t crc32,
                                const std::string& payload)
{
    send_message(Make(TableRecord{.letter = letter, .code = code, .crc32 = crc32, .body = payload, .count = count}));
}

std::vector<std::string> MarketClient::first_log(const std::vector<LogEntry>& entries)
{
    Record request(203, 983);
    std::size_t at = 83;
    for (const LogEntry& entry : entries) {
        request.letter(at, entry.log).text(at + 1, "AB", 2).text(at + 3, entry.date, 8).u32(at + 17, entry.number);
        at += 25;
    }
    send_message(request.bytes());
    return Take_Log();
}

std::vector<std::string> MarketClient::second_log()
{
    send_message(Stamped(252, 83));
    return Take_Log();
}

std::vector<std::string> MarketClient::Take_Log()
{
    expect(204);
    std::vector<std::string> messages;
    for (std::string message = Receive(); NumberOf(message) != 205; message = Receive()) {
        messages.push_back(std::move(message));
    }
    return messages;
}

void MarketClient::bring_up(const std::string& name)
{
    if (log_in(name).letter != 'S') {
        throw std::runtime_error("the login of " + name + " was refused");
    }
    expect_range();
    first_log();
    second_log();
}

void MarketClient::place(int in_market, char side, const std::string& price, const std::string& amount,
                         const std::string& code, int kind)
{
    Order order{.kind = kind, .market = in_market, .user = m_user, .code = code, .branch = {}, .side = side};
    order.cabeza = {.machine = m_machine, .server = "AB", .user = m_user, .hour = "", .date = ""};
    order.price = price;
    order.amount = amount;
    order.date = order.hour = order.currency = "";
    send_message(Make(order));
}

void MarketClient::chat(const std::string& text, const std::string& receiver)
{
    ChatText chat{.sender = m_user, .text = text};
    if (!receiver.empty()) {
        chat.receiver_count = 1;
        chat.receiver_kind = 'U';
        chat.receivers = receiver;
    }
    send_message(Make(Chat{.cabeza = {.machine = m_machine, .user = m_user}, .chat = chat}).substr(0, 3300));
}

std::string MarketClient::Receive()
{
    return receive_message().message;
}

std::string MarketClient::next()
{
    if (m_kept.empty()) {
        return Receive();
    }
    std::string message = std::move(m_kept.front());
    m_kept.pop_front();
    return message;
}

std::string MarketClient::expect(int number)
{
    const auto kept = std::find_if(m_kept.begin(), m_kept.end(),
                                   [&](const std::string& message) { return NumberOf(message) == number; });
    if (kept != m_kept.end()) {
        std::string message = std::move(*kept);
        m_kept.erase(kept);
        return message;
    }
    for (;;) {
        std::string message = Receive();
        if (NumberOf(message) == number) {
            return message;
        }
        m_kept.push_back(std::move(message));
    }
}

SeenRow MarketClient::expect_row(std::uint16_t code)
{
    std::deque<std::string> others;
    for (;;) {
        std::string message = expect(888);
        if (SeenRow row = TakeRow(message); row.code == code) {
            m_kept.insert(m_kept.end(), others.begin(), others.end());
            return row;
        }
        others.push_back(std::move(message));
    }
}

// A market answers for tables that it doesn't know with their end, at once.
bool MarketClient::is_quiet()
{
    send_request('S', unknown_table);
    expect_row(unknown_table);
    return m_kept.empty();
}

void MarketClient::expect_end()
{
    receive_until_closed();
}
