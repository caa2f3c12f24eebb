// What a record says, field by field: by bytes and offsets rather than by field objects, as a journal asks this of
// every message.
#include "field/field.h"
#include "little_endian.h"
#include "scenario/record_builder.h"
#include "scenario/values.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

namespace qm {

namespace {

using nlohmann::ordered_json;
using qapi::FieldPlace;
using qapi::RecordLayout;

using Places = std::vector<const FieldPlace*>;

struct ShownField
{
    std::string name{};
    int field_id = 0;
    int type = 0;
    std::size_t at = 0;
    std::size_t length = 0;
    bool has_policy = false;
};

int type_of(const FieldPlace& place)
{
    return glb_field_equivalence[static_cast<std::size_t>(place.field_id)].field_type;
}

bool is_text(const FieldPlace& place)
{
    return type_of(place) == FLD_ALPHA || type_of(place) == FLD_DATE;
}

// A text that stands for a group of fields: there is a number among them, or they are many.
bool is_group(const FieldPlace& whole, const Places& fields)
{
    constexpr int many = 4;
    int parts = 0;
    for (const FieldPlace* part : fields) {
        const bool inside = part->displacement >= whole.displacement && part->len < whole.len &&
                            part->displacement + part->len <= whole.displacement + whole.len;
        if (inside) {
            parts += is_text(*part) ? 1 : many;
        }
    }
    return is_text(whole) && parts >= many;
}

// Messages of the session have no names for hosts; they are shown by the catalogue's.
Places named_fields(const RecordLayout& layout)
{
    const auto named = layout.Named();
    Places places(named.begin(), named.end());
    if (places.empty()) {
        for (const FieldPlace& place : layout.Fields()) {
            if (Field_Name(place.field_id) != nullptr) {
                places.push_back(&place);
            }
        }
    }
    return places;
}

std::vector<ShownField> fields_to_show(const RecordLayout& layout)
{
    std::vector<ShownField> shown;
    const Places named = named_fields(layout);
    for (const FieldPlace* place : named) {
        const int length =
            std::min(qapi::Bytes_Of_Value(place->field_id, place->len), layout.Data_Len() - place->displacement);
        if (length > 0 && !is_group(*place, named)) {
            shown.push_back({place->name != nullptr ? place->name : Field_Name(place->field_id), place->field_id,
                             type_of(*place), static_cast<std::size_t>(place->displacement),
                             static_cast<std::size_t>(length), place->policy != nullptr});
        }
    }
    return shown;
}

// Made once for a class. The references stay good.
const std::vector<ShownField>& fields_of_class(const RecordLayout& layout)
{
    static std::mutex mutex;
    static std::map<const RecordLayout*, std::vector<ShownField>> known;
    const std::lock_guard lock(mutex);
    auto at = known.find(&layout);
    if (at == known.end()) {
        at = known.emplace(&layout, fields_to_show(layout)).first;
    }
    return at->second;
}

std::string_view bytes_of(CMessage& record, const ShownField& shown)
{
    if (!shown.has_policy) {
        return {record.m_data + shown.at, shown.length};
    }
    CField& field = record[shown.field_id];
    const char* at = field.Get_Data_Ptr();
    return {at, std::min(shown.length, static_cast<std::size_t>(std::max(field.Readable(at), 0)))};
}

// ---- Values; none of an empty field

bool is_padding(char c)
{
    return c == ' ' || c == '\0';
}

std::string_view without_padding_behind(std::string_view bytes)
{
    while (!bytes.empty() && is_padding(bytes.back())) {
        bytes.remove_suffix(1);
    }
    return bytes;
}

std::string_view without_padding(std::string_view bytes)
{
    while (!bytes.empty() && is_padding(bytes.front())) {
        bytes.remove_prefix(1);
    }
    return without_padding_behind(bytes);
}

std::optional<ordered_json> text_value(std::string_view bytes)
{
    const std::string_view text = without_padding_behind(bytes);
    return text.empty() ? std::nullopt : std::optional<ordered_json>(Valid_Utf8(text));
}

std::optional<ordered_json> digits_value(std::string_view bytes)
{
    const std::string_view text = without_padding(bytes);
    const auto decimal = Parse_Decimal(text);
    const auto number = decimal ? decimal->units(0) : std::nullopt;
    return number ? std::optional<ordered_json>(*number) : text_value(text);
}

// The sign stands in front of blanks.
std::optional<ordered_json> fixed_point_value(std::string_view bytes)
{
    const std::string_view text = without_padding(bytes);
    const bool negative = text.starts_with('-');
    std::string number(negative ? 1 : 0, '-');
    number += negative ? without_padding(text.substr(1)) : text;
    return text_value(number);
}

template <class Value> std::optional<ordered_json> binary_value(std::string_view bytes)
{
    const auto value = bytes.size() >= sizeof(Value) ? load_le<Value>(bytes.data()) : Value{};
    return value != 0 ? std::optional<ordered_json>(value) : std::nullopt;
}

std::optional<ordered_json> value_of(int type, std::string_view bytes)
{
    switch (type) {
    case FLD_SHORT:
        return binary_value<std::int16_t>(bytes);
    case FLD_UNSIGNED_SHORT:
        return binary_value<std::uint16_t>(bytes);
    case FLD_UNSIGNED_INT:
        return binary_value<std::uint32_t>(bytes);
    case FLD_INT:
        return binary_value<std::int32_t>(bytes);
    case FLD_NUM_ASCII_INT:
        return digits_value(bytes);
    case FLD_NUM_ASCII_DOUBLE:
        return fixed_point_value(bytes);
    default:
        return text_value(bytes);
    }
}

} // namespace

ordered_json Fields_Of(CMessage& record)
{
    ordered_json fields = ordered_json::object();
    auto& members = fields.get_ref<ordered_json::object_t&>();
    for (const ShownField& shown : fields_of_class(record.Layout_In_Force())) {
        auto value = value_of(shown.type, bytes_of(record, shown));
        if (value) {
            members.emplace_back(shown.name, std::move(*value)); // names differ, so none is looked for
        }
    }
    return fields;
}

} // namespace qm
