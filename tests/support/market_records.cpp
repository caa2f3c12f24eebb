#include "support/market_records.h"

#include "support/wire_codec.h"

#include <algorithm>

namespace market {

namespace {

constexpr std::size_t message_body = 83; // behind the number (3) and the envelope (80)
constexpr std::size_t table_body = 22;
constexpr std::size_t order_size = 1504;
constexpr std::size_t order_data = 87;
constexpr std::size_t order_data_len = 1194;
constexpr std::size_t chat_size = 3823;
constexpr std::size_t log_entry_len = 25;
constexpr std::size_t log_request_size = 983;

std::string without_zeros(std::string text)
{
    text.erase(text.find_last_not_of('\0') + 1);
    return text;
}

void put_cabeza(Record& record, const Cabeza& cabeza)
{
    record.text(3, cabeza.machine, 4)
        .letter(7, cabeza.persistent)
        .letter(10, cabeza.processed)
        .text(11, cabeza.server, 2)
        .u32(13, cabeza.sender_number)
        .u32(17, cabeza.server_number)
        .letter(21, cabeza.log)
        .text(22, cabeza.user, 4)
        .text(26, cabeza.hour, 6)
        .text(32, cabeza.date, 8)
        .text(54, cabeza.branch, 8);
}

Cabeza take_cabeza(RecordReader& reader)
{
    return {.machine = reader.text(3, 4),
            .persistent = reader.letter(7),
            .processed = reader.letter(10),
            .server = reader.text(11, 2),
            .sender_number = reader.u32(13),
            .server_number = reader.u32(17),
            .log = reader.letter(21),
            .user = reader.text(22, 4),
            .hour = reader.text(26, 6),
            .date = reader.text(32, 8),
            .branch = reader.text(54, 8)};
}

Stamp take_stamp(RecordReader& reader)
{
    return {.machine = reader.text(3, 4),
            .server = reader.text(11, 2),
            .sender_number = reader.u32(13),
            .server_number = reader.u32(17),
            .user = reader.text(22, 4),
            .hour = reader.text(26, 6),
            .date = reader.text(32, 8),
            .branch = reader.text(55, 8)};
}

Stamp take_bare_stamp(std::string_view message, const std::string& what, int number, std::size_t size)
{
    RecordReader reader(message, what, size);
    Stamp stamp = take_stamp(reader.expect_number(number));
    reader.expect_nothing_else();
    return stamp;
}

TableRequest take_table_header(RecordReader& reader)
{
    return {.letter = reader.letter(3),
            .code = reader.u16(4),
            .count = reader.u16(6),
            .idx = reader.u32(10),
            .crc32 = reader.u32(14),
            .environment = reader.u32(18),
            .payload = {}};
}

bool is_order_number(int number)
{
    return number == 111 || number == 113 || number == 121;
}

} // namespace

// ---- Bytes ---------------------------------------------------------------------------------------------------------

Record::Record(int number, std::size_t size) : Record(size)
{
    this->number(0, number, 3);
}

char* Record::Place(std::size_t offset, std::size_t width)
{
    if (offset + width > m_bytes.size()) {
        throw WireError("a field at " + std::to_string(offset) + " does not fit into its record");
    }
    return m_bytes.data() + offset;
}

Record& Record::text(std::size_t offset, std::string_view text, std::size_t width)
{
    if (text.size() > width) {
        throw WireError("\"" + std::string(text) + "\" is longer than its field at " + std::to_string(offset));
    }
    char* const place = Place(offset, width);
    std::fill(std::copy(text.begin(), text.end(), place), place + width, '\0');
    return *this;
}

Record& Record::number(std::size_t offset, std::string_view digits, std::size_t width)
{
    const std::string blanks(width - std::min(width, digits.size()), ' ');
    return text(offset, blanks + std::string(digits), width);
}

Record& Record::number(std::size_t offset, int value, std::size_t width)
{
    return number(offset, std::to_string(value), width);
}

Record& Record::u16(std::size_t offset, std::uint16_t value)
{
    char* const place = Place(offset, 2);
    place[0] = static_cast<char>(value & 255);
    place[1] = static_cast<char>(value >> 8);
    return *this;
}

Record& Record::u32(std::size_t offset, std::uint32_t value)
{
    u16(offset, static_cast<std::uint16_t>(value & 0xFFFF));
    return u16(offset + 2, static_cast<std::uint16_t>(value >> 16));
}

RecordReader::RecordReader(std::string_view bytes, std::string what, std::size_t size)
    : m_bytes(bytes), m_what(std::move(what)), m_seen(bytes.size()), m_number(NumberOf(bytes))
{
    if (bytes.size() != size) {
        Complain("has " + std::to_string(bytes.size()) + " bytes where " + std::to_string(size) + " are due");
    }
    Part(0, 3);
}

void RecordReader::Complain(const std::string& text) const
{
    throw WireError(m_what + " " + text);
}

RecordReader& RecordReader::expect_number(int number)
{
    if (m_number != number) {
        Complain("has the number " + m_bytes.substr(0, 3));
    }
    return *this;
}

std::string_view RecordReader::Part(std::size_t offset, std::size_t width)
{
    if (offset + width > m_bytes.size()) {
        Complain("ends before byte " + std::to_string(offset + width));
    }
    std::fill_n(m_seen.begin() + static_cast<std::ptrdiff_t>(offset), width, true);
    return std::string_view(m_bytes).substr(offset, width);
}

std::string RecordReader::text(std::size_t offset, std::size_t width)
{
    return without_zeros(std::string(Part(offset, width)));
}

std::string RecordReader::bytes(std::size_t offset, std::size_t width)
{
    return std::string(Part(offset, width));
}

char RecordReader::letter(std::size_t offset)
{
    return Part(offset, 1).front();
}

std::string RecordReader::amount(std::size_t offset, std::size_t width)
{
    std::string digits = text(offset, width);
    digits.erase(0, digits.find_first_not_of(' '));
    return digits;
}

int RecordReader::number(std::size_t offset, std::size_t width)
{
    const std::string digits = amount(offset, width);
    if (digits.size() > 9 || !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        Complain("has no number at " + std::to_string(offset) + " but \"" + digits + "\"");
    }
    return digits.empty() ? 0 : std::stoi(digits);
}

std::uint16_t RecordReader::u16(std::size_t offset)
{
    const std::string_view part = Part(offset, 2);
    return static_cast<std::uint16_t>(static_cast<unsigned char>(part[0]) + 256U * static_cast<unsigned char>(part[1]));
}

std::uint32_t RecordReader::u32(std::size_t offset)
{
    return u16(offset) + (static_cast<std::uint32_t>(u16(offset + 2)) << 16);
}

void RecordReader::expect_nothing_else() const
{
    for (std::size_t at = 0; at < m_bytes.size(); ++at) {
        if (!m_seen[at] && m_bytes[at] != '\0') {
            Complain("has " + std::to_string(static_cast<unsigned char>(m_bytes[at])) + " at byte " +
                     std::to_string(at) + ", where nothing stands");
        }
    }
}

int NumberOf(std::string_view message)
{
    int number = 0;
    bool has_digit = false;
    for (const char c : message.substr(0, 3)) {
        if (c >= '0' && c <= '9') {
            number = 10 * number + (c - '0');
            has_digit = true;
        } else if (c != ' ' || has_digit) {
            return -1;
        }
    }
    return message.size() >= 3 && has_digit ? number : -1;
}

// ---- From the market -----------------------------------------------------------------------------------------------

std::string Make(const LoginReply& reply)
{
    Record record(201, 518);
    put_cabeza(record, {.machine = reply.sender, .log = reply.log});
    return record.text(83, reply.machine, 4)
        .letter(87, reply.letter)
        .number(114, reply.expiry, 4)
        .text(192, reply.branch_4c, 4)
        .text(219, reply.date, 8)
        .u32(227, reply.number)
        .bytes();
}

std::string Make(const Range& range)
{
    const std::string body = Record(10).u32(0, range.low).u32(4, range.high).text(8, range.environment, 2).bytes();
    return Make(TableRecord{.letter = 'g', .body = body});
}

std::string Make(const TableRecord& record)
{
    return Record(888, table_body + record.body.size())
        .letter(3, record.letter)
        .u16(4, record.code)
        .u16(6, record.count)
        .u32(10, record.idx)
        .u32(14, record.crc32)
        .u32(18, record.environment)
        .text(table_body, record.body, record.body.size())
        .bytes();
}

std::string EndOfTable(std::uint16_t code)
{
    return Make(TableRecord{.letter = 'z', .code = code});
}

std::string ServerListBody(std::uint16_t type, const std::vector<std::string>& machines)
{
    Record record(64);
    record.u16(0, type).u16(2, static_cast<std::uint16_t>(machines.size()));
    for (std::size_t i = 0; i < machines.size(); ++i) {
        record.text(4 + 4 * i, machines[i], 4);
    }
    return record.bytes();
}

std::string Make(int number, std::size_t size, const Cabeza& cabeza)
{
    Record record(number, size);
    put_cabeza(record, cabeza);
    return record.bytes();
}

std::string LogBegin()
{
    return Make(204, 92, {});
}

std::string LogEnd()
{
    return Make(205, 123, {});
}

// ---- Both ways -----------------------------------------------------------------------------------------------------

std::string Make(const Order& order)
{
    Record record(order.number, order_size);
    put_cabeza(record, order.cabeza);
    return record.number(83, order.kind, 2)
        .text(91, order.user, 4)
        .text(95, order.code, 6)
        .text(101, order.branch, 8)
        .number(142, order.market, 3)
        .letter(146, order.side)
        .text(164, order.date, 8)
        .text(172, order.hour, 6)
        .number(217, order.price, 19)
        .number(246, order.amount, 13)
        .text(513, order.currency, 3)
        .bytes();
}

Order TakeOrder(std::string_view message)
{
    RecordReader reader(message, "an order", order_size);
    if (!is_order_number(reader.record_number())) {
        throw WireError("an order has the number " + std::to_string(reader.record_number()));
    }
    return {.number = reader.record_number(),
            .cabeza = take_cabeza(reader),
            .kind = reader.number(83, 2),
            .market = reader.number(142, 3),
            .user = reader.text(91, 4),
            .code = reader.text(95, 6),
            .branch = reader.text(101, 8),
            .side = reader.letter(146),
            .date = reader.text(164, 8),
            .hour = reader.text(172, 6),
            .price = reader.amount(217, 19),
            .amount = reader.amount(246, 13),
            .currency = reader.text(513, 3)};
}

std::string OrderData(std::string_view order_message)
{
    if (order_message.size() < order_data + order_data_len) {
        throw WireError("an order is too short for its data");
    }
    return std::string(order_message.substr(order_data, order_data_len));
}

std::string Make(const Chat& chat)
{
    Record record(575, chat_size);
    put_cabeza(record, chat.cabeza);
    record.text(83, chat.chat.id, 64).letter(147, chat.chat.kind).letter(148, chat.chat.origin);
    record.text(149, chat.chat.date, 8).text(157, chat.chat.hour, 6).text(167, chat.chat.sender, 4);
    return record.text(171, chat.chat.text, 2048)
        .number(2219, chat.chat.receiver_count, 3)
        .letter(2222, chat.chat.receiver_kind)
        .text(2223, chat.chat.receivers, 1600)
        .bytes();
}

// One that was cut on its way reads as if zeros stood behind it.
SeenChat TakeChat(std::string_view message)
{
    std::string whole(message);
    whole.resize(std::max(whole.size(), chat_size));
    RecordReader reader(whole, "a chat", chat_size);
    reader.expect_number(575);
    return {.stamp = take_stamp(reader),
            .chat = {.id = reader.text(83, 64),
                     .kind = reader.letter(147),
                     .origin = reader.letter(148),
                     .date = reader.text(149, 8),
                     .hour = reader.text(157, 6),
                     .sender = reader.text(167, 4),
                     .text = reader.text(171, 2048),
                     .receiver_count = reader.number(2219, 3),
                     .receiver_kind = reader.letter(2222),
                     .receivers = reader.text(2223, 1600)}};
}

// ---- From the client -----------------------------------------------------------------------------------------------

Login TakeLogin(std::string_view message)
{
    RecordReader reader(message, "a login", 518);
    reader.expect_number(201);
    Login login{.stamp = take_stamp(reader),
                .machine = reader.text(83, 4),
                .branch_password = reader.text(118, 10),
                .user_name = reader.text(88, 10),
                .password = reader.text(132, 16),
                .password_form = reader.letter(198),
                .version = reader.text(128, 4),
                .client_kind = reader.letter(164),
                .user_flag = reader.letter(113),
                .expiry = reader.number(114, 4),
                .address = reader.text(291, 15)};
    reader.expect_nothing_else();
    return login;
}

Offline TakeOffline(std::string_view message)
{
    RecordReader reader(message, "an offline message", 99);
    reader.expect_number(202);
    Offline offline{.stamp = take_stamp(reader),
                    .machine = reader.text(83, 4),
                    .machine_flag = reader.letter(87),
                    .user_name = reader.text(88, 10),
                    .user_flag = reader.letter(98)};
    reader.expect_nothing_else();
    return offline;
}

LogRequest TakeLogRequest(std::string_view message)
{
    RecordReader reader(message, "a log request", log_request_size);
    reader.expect_number(203);
    LogRequest request{.stamp = take_stamp(reader), .entries = {}};
    for (std::size_t at = message_body; at < log_request_size && message[at] != '\0'; at += log_entry_len) {
        request.entries.push_back({.log = reader.letter(at),
                                   .server = reader.text(at + 1, 2),
                                   .date = reader.text(at + 3, 8),
                                   .last_message = reader.u32(at + 17)});
    }
    reader.expect_nothing_else();
    return request;
}

Stamp TakeTablesRequest(std::string_view message)
{
    return take_bare_stamp(message, "a request for tables", 213, 178);
}

Stamp TakeTablesRequestEnd(std::string_view message)
{
    return take_bare_stamp(message, "an end of requests for tables", 214, 178);
}

Stamp TakeNextLogRequest(std::string_view message)
{
    return take_bare_stamp(message, "a request for the next log", 252, message_body);
}

Version TakeVersion(std::string_view message)
{
    RecordReader reader(message, "a version message", 194);
    reader.expect_number(253);
    Version version{.stamp = take_stamp(reader),
                    .machine = reader.text(83, 4),
                    .branch = reader.text(87, 8),
                    .branch_4c = reader.text(95, 4),
                    .kind = reader.number(100, 2),
                    .objects = reader.text(102, 6),
                    .date = reader.text(108, 8),
                    .hour = reader.text(116, 6),
                    .data_files = reader.u32(122),
                    .object_files = reader.u32(126),
                    .system = reader.text(156, 4),
                    .user = reader.text(160, 4),
                    .user_name = reader.text(164, 10)};
    reader.expect_nothing_else();
    return version;
}

TableRequest TakeTableRequest(std::string_view message)
{
    const std::size_t size = std::max(message.size(), table_body);
    RecordReader reader(message, "a table request", size);
    TableRequest request = take_table_header(reader.expect_number(888));
    request.payload = reader.bytes(table_body, size - table_body);
    reader.expect_nothing_else();
    return request;
}

Presence TakePresence(std::string_view message)
{
    RecordReader reader(message, "a presence record", 180);
    reader.expect_number(888);
    Presence presence{.header = take_table_header(reader),
                      .branch = reader.text(22, 8),
                      .user_name = reader.text(30, 10),
                      .user = reader.text(40, 4),
                      .client_flag = reader.number(50, 2),
                      .branch_4c = reader.text(52, 4),
                      .machine = reader.text(56, 4),
                      .user_kind = reader.letter(73),
                      .server = reader.text(75, 4),
                      .address = reader.text(83, 15),
                      .state = reader.number(173, 1)};
    reader.expect_nothing_else();
    return presence;
}

} // namespace market
