// One object of a scenario, read by keys that are told in a table. What isn't as the table says is told once, and read
// as nothing.
#pragma once

#include "scenario/json_text.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

struct Key
{
    const char* name;
    bool is_required;
    const char* expected; // words behind "expected" in a complaint
};

class Section
{
public:
    Section(const nlohmann::ordered_json& value, std::string place, std::span<const Key> keys, Mistakes& mistakes);

    [[nodiscard]] bool has(std::string_view key) const { return Find(key) != nullptr; }
    [[nodiscard]] std::string Place(std::string_view key) const { return Place_Of_Member(m_place, std::string(key)); }

    // The value of a key; an empty text, none, nothing if it isn't there or was told to be wrong.
    std::string Text(std::string_view key, std::size_t shortest, std::size_t longest); // of bytes from ' ' on
    std::string Code(std::string_view key, std::size_t length);                        // characters without blanks
    std::vector<std::string> Codes(std::string_view key, std::size_t length);          // an array of them
    std::optional<std::int64_t> Number(std::string_view key, std::int64_t lowest, std::int64_t highest,
                                       std::size_t decimals = 0); // in units of the last decimal
    std::span<const nlohmann::ordered_json> Items(std::string_view key);

    // Tells that the value isn't what the table says, or something else.
    void Refuse(std::string_view key);
    void Refuse(std::string_view key, const std::string& expected);

private:
    [[nodiscard]] const nlohmann::ordered_json* Find(std::string_view key) const;
    [[nodiscard]] const Key& Row(std::string_view key) const;
    void Look_At_Keys();

    const nlohmann::ordered_json& m_value;
    std::string m_place;
    std::span<const Key> m_keys;
    Mistakes& m_mistakes;
};

} // namespace qm
