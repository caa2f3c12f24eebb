#include "scenario/section.h"

#include "scenario/values.h"

#include <algorithm>

namespace qm {

namespace {

using nlohmann::ordered_json;

bool has_only(const std::string& text, char lowest, char highest)
{
    return std::all_of(text.begin(), text.end(), [=](char c) { return c >= lowest && c <= highest; });
}

bool is_code(const ordered_json& value, std::size_t length)
{
    return value.is_string() && value.get_ref<const std::string&>().size() == length &&
           has_only(value.get_ref<const std::string&>(), '!', '~');
}

std::string all_names(std::span<const Key> keys)
{
    std::string names;
    for (const Key& key : keys) {
        names += (names.empty() ? "" : ", ") + std::string(key.name);
    }
    return names;
}

} // namespace

Section::Section(const ordered_json& value, std::string place, std::span<const Key> keys, Mistakes& mistakes)
    : m_value(value), m_place(std::move(place)), m_keys(keys), m_mistakes(mistakes)
{
    if (!value.is_object()) {
        mistakes.Add(m_place, "expected an object with the keys " + all_names(keys) + ", found " + Shown(value));
        return;
    }
    Look_At_Keys();
}

void Section::Look_At_Keys()
{
    for (const auto& member : m_value.items()) {
        const bool known =
            std::any_of(m_keys.begin(), m_keys.end(), [&](const Key& key) { return member.key() == key.name; });
        if (!known) {
            m_mistakes.Add(Place(member.key()), "expected one of the keys " + all_names(m_keys));
        }
    }
    for (const Key& key : m_keys) {
        if (key.is_required && !has(key.name)) {
            m_mistakes.Add(Place(key.name), "expected " + std::string(key.expected) + ", found nothing");
        }
    }
}

const ordered_json* Section::Find(std::string_view key) const
{
    if (!m_value.is_object()) {
        return nullptr;
    }
    const auto at = m_value.find(std::string(key));
    return at != m_value.end() ? &*at : nullptr;
}

const Key& Section::Row(std::string_view key) const
{
    return *std::find_if(m_keys.begin(), m_keys.end(), [key](const Key& row) { return key == row.name; });
}

void Section::Refuse(std::string_view key)
{
    Refuse(key, Row(key).expected);
}

void Section::Refuse(std::string_view key, const std::string& expected)
{
    const ordered_json* value = Find(key);
    m_mistakes.Add(Place(key), "expected " + expected + ", found " + (value != nullptr ? Shown(*value) : "nothing"));
}

std::string Section::Text(std::string_view key, std::size_t shortest, std::size_t longest)
{
    const ordered_json* value = Find(key);
    if (value == nullptr) {
        return {};
    }
    std::string text = value->is_string() ? value->get<std::string>() : std::string();
    if (!value->is_string() || text.size() < shortest || text.size() > longest || !has_only(text, ' ', '~')) {
        Refuse(key);
        return {};
    }
    return text;
}

std::string Section::Code(std::string_view key, std::size_t length)
{
    const ordered_json* value = Find(key);
    if (value == nullptr) {
        return {};
    }
    if (!is_code(*value, length)) {
        Refuse(key);
        return {};
    }
    return value->get<std::string>();
}

std::vector<std::string> Section::Codes(std::string_view key, std::size_t length)
{
    std::vector<std::string> codes;
    std::size_t index = 0;
    for (const ordered_json& item : Items(key)) {
        const std::string place = Place_Of_Item(Place(key), index++);
        if (!is_code(item, length)) {
            m_mistakes.Add(place, "expected " + std::to_string(length) + " characters, found " + Shown(item));
        } else if (std::find(codes.begin(), codes.end(), item) != codes.end()) {
            m_mistakes.Add(place, "expected each code once, found " + Shown(item) + " again");
        } else {
            codes.push_back(item.get<std::string>());
        }
    }
    return codes;
}

std::optional<std::int64_t> Section::Number(std::string_view key, std::int64_t lowest, std::int64_t highest,
                                            std::size_t decimals)
{
    const ordered_json* value = Find(key);
    if (value == nullptr) {
        return std::nullopt;
    }
    const auto decimal = Decimal_Of(*value);
    const auto number = decimal ? decimal->units(decimals) : std::nullopt;
    if (!number || *number < lowest || *number > highest) {
        Refuse(key);
        return std::nullopt;
    }
    return number;
}

std::span<const ordered_json> Section::Items(std::string_view key)
{
    const ordered_json* value = Find(key);
    if (value == nullptr) {
        return {};
    }
    if (!value->is_array()) {
        Refuse(key);
        return {};
    }
    return value->get_ref<const ordered_json::array_t&>();
}

} // namespace qm
