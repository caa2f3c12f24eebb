#include "journal.h"

#include "little_endian.h"
#include "message_numbers.h"
#include "qcapi/message_names.h"
#include "records/all_records.h"
#include "scenario/record_builder.h"
#include "scenario/values.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace qm {

namespace {

using nlohmann::ordered_json;
using qapi::RecordClass;

constexpr std::size_t buffer_size = 64 * 1024;
constexpr std::size_t header_of_table_record = 22;

// Numbers of messages that are read with the class of another one.
constexpr std::array other_orders{MSS_ORDEN_RFQ, MSS_LOG_ORDER_TABLE, MSS_ORDEN_3, MSS_ORDEN_2};
constexpr std::array other_table_requests{MSS_FIN_PEDIR_TABLAS};

std::string local_time(const Clock& clock)
{
    const std::timespec now = clock.wall();
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    std::array<char, 32> seconds{};
    std::strftime(seconds.data(), seconds.size(), "%Y-%m-%dT%H:%M:%S", &local);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%s.%03ld", seconds.data(), now.tv_nsec / 1'000'000 % 1000);
    return text.data();
}

int number_of(std::string_view message)
{
    constexpr std::size_t digits = 3;
    std::string_view text = message.substr(0, digits);
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const auto number = message.size() >= digits ? Parse_Decimal(text) : std::nullopt;
    return number && !number->negative ? static_cast<int>(number->units(0).value_or(-1)) : -1;
}

const char* kind_of(int number)
{
    const auto* row = std::find(std::begin(QAPI_Messages_Codes), std::end(QAPI_Messages_Codes), number);
    return row != std::end(QAPI_Messages_Codes) ? QAPI_Messages_Names[row - QAPI_Messages_Codes][Glb_Old_Names]
                                                : nullptr;
}

template <std::size_t count> bool is_among(const std::array<int, count>& numbers, int number)
{
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

int number_of_class(int number)
{
    if (is_among(other_orders, number)) {
        return MSS_ORDEN;
    }
    return is_among(other_table_requests, number) ? MSS_PEDIR_TABLAS : number;
}

std::unique_ptr<CMessage> make_message(int number)
{
    constexpr int table_record = 1;
    const auto classes = All_Record_Classes();
    const auto row = std::find_if(classes.begin(), classes.end(), [number](const RecordClass& known) {
        return known.layout().Message_Type() != table_record && known.layout().Number() == number;
    });
    return row != classes.end() ? row->make(nullptr) : nullptr;
}

struct TableHeader
{
    char letter;
    std::uint16_t code;
};

std::optional<TableHeader> header_of(int number, std::string_view message)
{
    if (number != MSS_TABLA_GLOBAL || message.size() < 6) {
        return std::nullopt;
    }
    return TableHeader{message[3], load_le<std::uint16_t>(message.data() + 4)};
}

bool is_of_a_record(char letter)
{
    return letter == 'I' || letter == 'C' || letter == 'A' || letter == 'B';
}

// What is there, and zeros; no more than the record has.
void fill(CMessage& record, std::string_view message)
{
    const auto size = static_cast<std::size_t>(record.m_data_len);
    const std::size_t there = std::min(size, message.size());
    std::memcpy(record.m_data, message.data(), there);
    std::memset(record.m_data + there, 0, size - there);
    record.Forget_Values();
}

bool is_password(const std::string& field)
{
    return field.starts_with("clave_usuario") || field.starts_with("texto_clave");
}

bool is_of_header(const std::string& field)
{
    return field == "i_op" || field == "data_code";
}

// The fields of a record, without what the line has in front of them.
ordered_json fields_of(CMessage& record, bool of_table)
{
    ordered_json fields = Fields_Of(record);
    auto& members = fields.get_ref<ordered_json::object_t&>();
    for (auto& [name, value] : members) {
        if (is_password(name)) {
            value = "***";
        }
    }
    if (of_table) {
        while (!members.empty() && is_of_header(members.front().first)) {
            members.erase(members.begin());
        }
    }
    return fields;
}

} // namespace

Journal::Journal(const Clock& clock) : m_clock(clock), m_file(nullptr, std::fclose) {}

Journal::Journal(const Clock& clock, const std::filesystem::path& file, bool with_fields)
    : m_clock(clock), m_file(std::fopen(file.c_str(), "ae"), std::fclose), m_with_fields(with_fields)
{
    if (m_file == nullptr) {
        throw std::runtime_error("The journal " + file.string() + " can't be written: " + std::strerror(errno));
    }
    std::setvbuf(m_file.get(), nullptr, _IOFBF, buffer_size);
}

Journal::~Journal() = default;

void Journal::Name_Table(std::uint16_t code, std::string_view record_class)
{
    m_of_tables[code] = Make_Record(record_class);
}

CMessage* Journal::Record_Of_Table(std::uint16_t code)
{
    const auto known = m_of_tables.find(code);
    if (known != m_of_tables.end()) {
        return known->second.get();
    }
    const TableName* fixed = Find_Table_Of_Code(code);
    return fixed != nullptr ? (m_of_tables[code] = Make_Record(fixed->record_class)).get() : nullptr;
}

CMessage* Journal::Record_For(int number, std::string_view message)
{
    if (number == MSS_TABLA_GLOBAL) {
        const auto header = header_of(number, message);
        const bool has_record = header && is_of_a_record(header->letter) && message.size() >= header_of_table_record;
        return has_record ? Record_Of_Table(header->code) : nullptr;
    }
    const int of_class = number_of_class(number);
    const auto known = m_records.find(of_class);
    return known != m_records.end() ? known->second.get() : (m_records[of_class] = make_message(of_class)).get();
}

void Journal::Message(std::uint64_t client, std::string_view machine, Direction direction, std::string_view message)
{
    if (!is_on()) {
        return;
    }
    const int number = number_of(message);
    ordered_json line{{"time", local_time(m_clock)},
                      {"client", client},
                      {"machine", Valid_Utf8(machine)},
                      {"direction", direction == Direction::in ? "in" : "out"},
                      {"number", number}};
    if (const char* kind = kind_of(number); kind != nullptr) {
        line["kind"] = kind;
    }
    const auto header = header_of(number, message);
    if (header) {
        line["letter"] = Valid_Utf8({&header->letter, 1});
        line["code"] = header->code;
    }
    line["bytes"] = message.size();
    CMessage* record = m_with_fields ? Record_For(number, message) : nullptr;
    if (record != nullptr) {
        fill(*record, message);
        line["fields"] = fields_of(*record, header.has_value());
    }
    Write_Line(line.dump());
}

void Journal::Event(std::uint64_t client, std::string_view event, std::string_view text)
{
    if (is_on()) {
        const ordered_json line{{"time", local_time(m_clock)},
                                {"client", client},
                                {"event", Valid_Utf8(event)},
                                {"text", Valid_Utf8(text)}};
        Write_Line(line.dump());
    }
}

void Journal::Write_Line(const std::string& line)
{
    std::fwrite(line.data(), 1, line.size(), m_file.get());
    std::fputc('\n', m_file.get());
}

void Journal::Flush()
{
    if (is_on()) {
        std::fflush(m_file.get());
    }
}

} // namespace qm
