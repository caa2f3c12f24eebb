#include "scenario/record_builder.h"

#include "field/field_classes.h"
#include "records/all_records.h"
#include "scenario/values.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <limits>
#include <optional>

namespace qm {

namespace {

using nlohmann::json;
using qapi::FieldPlace;
using qapi::RecordLayout;

// clang-format off
constexpr std::array tables{
    TableName{"branches",                22, "CGTBranches"},
    TableName{"users",                   24, "CGTUser"},
    TableName{"institutions",            21, "CGTInstit"},
    TableName{"super_groups",            30, "CGTSuperGroup"},
    TableName{"primary_users",           23, "CGTPu"},
    TableName{"cities",                  25, "CGTCity"},
    TableName{"markets",                 27, "CGTMarkets"},
    TableName{"currencies",              28, "CGTMoney"},
    TableName{"countries",               26, "CGTCountry"},
    TableName{"permissions",             54, "CGTInsPerm"},
    TableName{"issuers",                 35, "CGTEmisores"},
    TableName{"principals",              66, "CGTComitentes"},
    TableName{"trusts",               32026, "CGTFiduciarios"},
    TableName{"employees",            32053, "CGTEmployee"},
    TableName{"schemes",              32055, "CGTEsquema"},
    TableName{"sub_principals",       32141, "CGTSubComitente"},
    TableName{"voice_groups",             0, "CGTVoiceGroup"},
    TableName{"fixed_income_markets",     0, "CGTFixedIncomeMarkets"},
    TableName{"facts",                    0, "CGTHistoryTransDayTerm"},
    TableName{"rates",                    0, "CGTRates"},
    TableName{"summaries",                0, "CGTVoiceSummary"},
    TableName{"orders",                   0, "CGTOrder"},
};
// clang-format on

constexpr int table_record = 1; // RecordLayout::Message_Type

template <class Function> const TableName* table_where(Function function)
{
    const auto* table = std::find_if(tables.begin(), tables.end(), function);
    return table != tables.end() ? table : nullptr;
}

std::string class_name(const RecordLayout& layout)
{
    const auto classes = All_Record_Classes();
    const auto row =
        std::find_if(classes.begin(), classes.end(), [&](const auto& known) { return &known.layout() == &layout; });
    return row != classes.end() ? row->name : "the record";
}

std::string lower_case(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

// A field that its class keeps from hosts is found by the catalogue's name: such are the markets that a user may see.
const FieldPlace* find_place(const RecordLayout& layout, const std::string& name)
{
    for (const FieldPlace* place : layout.With_Code(qapi::Name_Code(name))) {
        if (name == place->name) {
            return place;
        }
    }
    const auto places = layout.Fields();
    const auto unnamed = std::find_if(places.begin(), places.end(), [&name](const FieldPlace& place) {
        const char* known = place.name == nullptr ? Field_Name(place.field_id) : nullptr;
        return known != nullptr && name == known;
    });
    return unnamed != places.end() ? &*unnamed : nullptr;
}

std::string found_instead(const std::string& expected, const json& value)
{
    return "expected " + expected + ", found " + Shown(value);
}

// ---- Texts

std::optional<unsigned> hex_digit(char c)
{
    constexpr std::string_view digits = "0123456789abcdef";
    const std::size_t at = digits.find(lower_case({&c, 1}));
    return at != std::string_view::npos ? std::optional(static_cast<unsigned>(at)) : std::nullopt;
}

std::optional<std::string> from_hex(const std::string& text)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        const auto high = hex_digit(text[i]);
        const auto low = hex_digit(text[i + 1]);
        if (!high || !low) {
            return std::nullopt;
        }
        bytes += static_cast<char>(*high << 4U | *low);
    }
    return !text.empty() && text.size() % 2 == 0 ? std::optional(bytes) : std::nullopt;
}

std::string repeated(const std::string& bytes, std::size_t times)
{
    std::string all;
    for (std::size_t i = 0; i < times; ++i) {
        all += bytes;
    }
    return all;
}

// {"hex": "AA", "times": 50}; as often as a record is long at most.
std::optional<std::string> bytes_of_object(const json& value)
{
    const std::size_t keys = value.contains("times") ? 2 : 1;
    if (value.size() != keys || !value.contains("hex") || !value["hex"].is_string()) {
        return std::nullopt;
    }
    const auto bytes = from_hex(value["hex"].get<std::string>());
    const auto times = Decimal_Of(value.value("times", json(1)));
    const auto count = times ? times->units(0) : std::nullopt;
    if (!bytes || !count || *count < 1 || *count > LARGEST_RECORD_BUFFER) {
        return std::nullopt;
    }
    return repeated(*bytes, static_cast<std::size_t>(*count));
}

std::optional<std::string> bytes_of(const json& value)
{
    if (value.is_string()) {
        return value.get<std::string>();
    }
    return value.is_object() ? bytes_of_object(value) : std::nullopt;
}

std::string set_text(CField& field, const json& value)
{
    const auto length = static_cast<std::size_t>(field.m_len);
    const std::string expected = "a text of at most " + std::to_string(length) + " bytes";
    const auto bytes = bytes_of(value);
    if (!bytes) {
        return found_instead(expected + R"( or {"hex": "...", "times": ...})", value);
    }
    if (bytes->size() > length) {
        return "expected " + expected + ", found " + std::to_string(bytes->size()) + " bytes";
    }
    const bool is_padded_text = field.m_type == FLD_ALPHA && field.m_decimal_len == FLD_ALPHA_TYPE_STRING;
    if (is_padded_text && bytes->find('\0') != std::string::npos) {
        return found_instead(expected + " without zeros", value);
    }
    field.Set_Text(*bytes);
    return {};
}

std::string set_date(CField& field, const json& value)
{
    const std::string text = value.is_string() ? value.get<std::string>() : std::string();
    const bool digits = text.size() == 8 && text.find_first_not_of("0123456789") == std::string::npos;
    const int number = digits ? std::stoi(text) : 0;
    const std::chrono::year_month_day day{std::chrono::year(number / 10000),
                                          std::chrono::month(static_cast<unsigned>(number / 100 % 100)),
                                          std::chrono::day(static_cast<unsigned>(number % 100))};
    if (!digits || !day.ok()) {
        return found_instead("a date YYYYMMDD", value);
    }
    field.Set_Text(text);
    return {};
}

// ---- Numbers

struct Range
{
    std::int64_t lowest;
    std::int64_t highest;
};

template <class Value> constexpr Range range_of()
{
    return {std::numeric_limits<Value>::min(), std::numeric_limits<Value>::max()};
}

// What a field of digits or a binary one can hold.
Range range_of(const CField& field)
{
    switch (field.m_type) {
    case FLD_SHORT:
        return range_of<std::int16_t>();
    case FLD_UNSIGNED_SHORT:
        return range_of<std::uint16_t>();
    case FLD_UNSIGNED_INT:
        return range_of<std::uint32_t>();
    case FLD_INT:
        return range_of<std::int32_t>();
    default:
        break;
    }
    std::int64_t end = 1;
    for (int i = 0; i < std::min(field.m_len, FIELD_LONGEST_NUM_ASCII_INT); ++i) {
        end *= 10;
    }
    return {0, end - 1};
}

std::string set_integer(CField& field, const json& value)
{
    const Range range = range_of(field);
    const auto decimal = Decimal_Of(value);
    const auto number = decimal ? decimal->units(0) : std::nullopt;
    if (!number || *number < range.lowest || *number > range.highest) {
        return found_instead("a number from " + std::to_string(range.lowest) + " to " + std::to_string(range.highest),
                             value);
    }
    field = static_cast<int>(static_cast<std::uint32_t>(*number));
    return {};
}

// A position is kept for the sign. Some fields have more decimals than the library's numbers.
std::string set_fixed_point(CField& field, const json& value)
{
    const auto decimals = static_cast<std::size_t>(std::min(field.m_decimal_len, COMMON_CALC_DEC));
    const auto length = static_cast<std::size_t>(std::max(field.m_len - 1, 0));
    const std::size_t behind = decimals != 0 ? static_cast<std::size_t>(field.m_decimal_len) + 1 : 0;
    const std::size_t whole = std::min<std::size_t>(length - std::min(length, behind), COMMON_CALC_INT);
    const auto number = Decimal_Of(value);
    if (!number || number->decimals.size() > decimals || number->whole.size() > whole) {
        return found_instead("a number of at most " + std::to_string(whole) + " digits and " +
                                 std::to_string(decimals) + " decimals",
                             value);
    }
    field = number->text().c_str();
    return {};
}

std::string set_value(CField& field, const json& value)
{
    switch (field.m_type) {
    case FLD_ALPHA:
        return set_text(field, value);
    case FLD_DATE:
        return set_date(field, value);
    case FLD_NUM_ASCII_DOUBLE:
        return set_fixed_point(field, value);
    default:
        return set_integer(field, value);
    }
}

} // namespace

const TableName* Find_Table_Name(std::string_view name)
{
    return table_where([name](const TableName& table) { return name == table.name; });
}

const TableName* Find_Table_Of_Code(std::uint16_t code)
{
    return table_where([code](const TableName& table) { return code != 0 && code == table.code; });
}

std::string All_Table_Names()
{
    std::string names;
    for (const TableName& table : tables) {
        names += (names.empty() ? "" : ", ") + std::string(table.name);
    }
    return names;
}

std::unique_ptr<CMessage> Make_Record(std::string_view record_class)
{
    const auto classes = All_Record_Classes();
    const auto row =
        std::find_if(classes.begin(), classes.end(), [&](const auto& known) { return record_class == known.name; });
    return row != classes.end() ? row->make(nullptr) : nullptr;
}

std::string Set_Field(CMessage& record, const std::string& name, const json& value)
{
    const RecordLayout& layout = record.Layout_In_Force();
    const FieldPlace* place = find_place(layout, lower_case(name));
    if (place == nullptr) {
        return "expected the name of a field of " + class_name(layout);
    }
    const bool in_header = layout.Message_Type() == table_record && place->displacement < GTABLE_MSG_HEADER_SIZE;
    if (in_header || place->displacement >= layout.Data_Len()) {
        return "expected a field of what a scenario gives: the market writes this one itself";
    }
    CField& field = record[place->field_id];
    if (field.Get_Data_Ptr() != record.m_data + place->displacement) {
        return "expected a field of this record: its bytes belong to another one here";
    }
    return set_value(field, value);
}

std::string Set_Text_Field(CMessage& record, const std::string& name, std::string_view text)
{
    return Set_Field(record, name, json(std::string(text)));
}

std::string Body_Of(const CMessage& record)
{
    const auto size = static_cast<std::size_t>(std::max(record.m_data_len - GTABLE_MSG_HEADER_SIZE, 0));
    return {record.m_data + GTABLE_MSG_HEADER_SIZE, size};
}

} // namespace qm
