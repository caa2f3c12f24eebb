// Small steps between JSON, text and the numbers of records.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace qm {

// A decimal number as it was written: "-012.50" has the whole "12" and the decimals "5". Zero isn't negative.
struct Decimal
{
    bool negative = false;
    std::string whole{};    // without zeros in front, "0" if nothing is left
    std::string decimals{}; // without zeros at the end

    [[nodiscard]] std::string text() const;

    // In units of 10^-places; none if that needs more decimals, or more than 18 digits.
    [[nodiscard]] std::optional<std::int64_t> units(std::size_t places) const;
};

// A minus, digits, a point and digits; nothing else.
std::optional<Decimal> Parse_Decimal(std::string_view text);

// The same of a JSON number or a text. None of a number with more digits than JSON's readers keep (15): who needs them
// writes a text.
std::optional<Decimal> Decimal_Of(const nlohmann::json& value);

// A value for a complaint: as JSON, shortened.
std::string Shown(const nlohmann::json& value);

// The text with each byte that isn't part of a UTF-8 character as the character of that number: E1 becomes U+00E1.
std::string Valid_Utf8(std::string_view text);

} // namespace qm
