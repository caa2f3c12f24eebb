#include "scenario/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace qm {

namespace {

constexpr std::size_t digits_of_a_double = 15; // that survive the way into one and back
constexpr std::size_t longest_shown = 60;

bool are_digits(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::string shortest_text(double number)
{
    std::array<char, 512> text{};
    const auto end = std::to_chars(text.begin(), text.end(), number, std::chars_format::fixed).ptr;
    return {text.data(), end};
}

// Digits from the first to the last one that isn't 0.
std::size_t significant_digits(const Decimal& number)
{
    std::string digits = number.whole + number.decimals;
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    const std::size_t last = digits.find_last_not_of('0');
    return last == std::string::npos ? 0 : last + 1;
}

std::optional<Decimal> decimal_of_double(double number)
{
    if (!std::isfinite(number)) {
        return std::nullopt;
    }
    const auto decimal = Parse_Decimal(shortest_text(number));
    return decimal && significant_digits(*decimal) <= digits_of_a_double ? decimal : std::nullopt;
}

// ---- UTF-8

struct Form // of characters with this many bytes behind the first
{
    unsigned char mask; // of the first byte
    unsigned char lead;
    std::size_t following;
    std::uint32_t lowest; // shorter forms take what is below
};
constexpr std::array forms{Form{0x80, 0x00, 0, 0}, Form{0xE0, 0xC0, 1, 0x80}, Form{0xF0, 0xE0, 2, 0x800},
                           Form{0xF8, 0xF0, 3, 0x10000}};

bool is_character(std::uint32_t number, std::uint32_t lowest)
{
    const bool surrogate = number >= 0xD800 && number <= 0xDFFF;
    return number >= lowest && number <= 0x10FFFF && !surrogate;
}

// Bytes of the character that the text begins with, 0 if it begins with none.
std::size_t length_of_character(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text.front());
    const auto* form = std::find_if(forms.begin(), forms.end(),
                                    [first](const Form& known) { return (first & known.mask) == known.lead; });
    if (form == forms.end() || text.size() <= form->following) {
        return 0;
    }
    auto number = static_cast<std::uint32_t>(first & ~form->mask & 0xFFU);
    number = form->following == 0 ? first : number;
    for (std::size_t i = 1; i <= form->following; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0U) != 0x80) {
            return 0;
        }
        number = number << 6U | (byte & 0x3FU);
    }
    return is_character(number, form->lowest) ? form->following + 1 : 0;
}

void append_byte_as_character(std::string& out, unsigned char byte)
{
    out += static_cast<char>(0xC0U | byte >> 6U);
    out += static_cast<char>(0x80U | (byte & 0x3FU));
}

} // namespace

std::string Decimal::text() const
{
    return (negative ? "-" : "") + whole + (decimals.empty() ? "" : "." + decimals);
}

std::optional<std::int64_t> Decimal::units(std::size_t places) const
{
    constexpr std::size_t longest = 18;
    if (decimals.size() > places || whole.size() + places > longest) {
        return std::nullopt;
    }
    const std::string digits = whole + decimals + std::string(places - decimals.size(), '0');
    std::int64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return negative ? -number : number;
}

std::optional<Decimal> Parse_Decimal(std::string_view text)
{
    Decimal number{.negative = text.starts_with('-')};
    text.remove_prefix(number.negative ? 1 : 0);
    const std::size_t point = text.find('.');
    number.whole = text.substr(0, point);
    if (!are_digits(number.whole) || (point != std::string_view::npos && !are_digits(text.substr(point + 1)))) {
        return std::nullopt;
    }
    number.decimals = point != std::string_view::npos ? text.substr(point + 1) : "";
    number.decimals.erase(number.decimals.find_last_not_of('0') + 1);
    number.whole.erase(0, std::min(number.whole.find_first_not_of('0'), number.whole.size() - 1));
    number.negative = number.negative && !(number.whole == "0" && number.decimals.empty());
    return number;
}

std::optional<Decimal> Decimal_Of(const nlohmann::json& value)
{
    if (value.is_string()) {
        return Parse_Decimal(value.get_ref<const std::string&>());
    }
    if (value.is_number_integer()) {
        return Parse_Decimal(value.dump());
    }
    return value.is_number_float() ? decimal_of_double(value.get<double>()) : std::nullopt;
}

std::string Shown(const nlohmann::json& value)
{
    std::string text = value.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    if (text.size() > longest_shown) {
        text.resize(longest_shown - 3);
        text += "...";
    }
    return text;
}

std::string Valid_Utf8(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = length_of_character(text);
        if (length == 0) {
            append_byte_as_character(out, static_cast<unsigned char>(text.front()));
        } else {
            out += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return out;
}

} // namespace qm
