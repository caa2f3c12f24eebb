#include "exchange/record_fields.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <span>

namespace qm::field {

namespace {

constexpr int most_digits = 18; // of a number in 64 bits, whatever its digits
constexpr std::string_view padding("\0 ", 2);

constexpr std::array<std::int64_t, most_digits + 1> powers = [] {
    std::array<std::int64_t, most_digits + 1> values{1};
    for (std::size_t i = 1; i < values.size(); ++i) {
        values[i] = 10 * values[i - 1];
    }
    return values;
}();

constexpr std::int64_t power_of_ten(int digits)
{
    return powers[static_cast<std::size_t>(std::clamp(digits, 0, most_digits))];
}

bool is_digits(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string_view without_padding(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(padding);
    return begin == std::string_view::npos ? std::string_view()
                                           : text.substr(begin, text.find_last_not_of(padding) + 1 - begin);
}

std::span<char> place_of(CField& field)
{
    return {field.Get_Data_Ptr(), static_cast<std::size_t>(std::max(field.m_len, 0))};
}

int decimals_of(const CField& place)
{
    return place.m_type == FLD_NUM_ASCII_DOUBLE ? place.m_decimal_len : 0;
}

// The digits of `value` in all of `to`.
void write_digits(std::span<char> to, std::uint64_t value)
{
    for (std::size_t at = to.size(); at-- > 0; value /= 10) {
        to[at] = static_cast<char>('0' + value % 10);
    }
}

// The same behind blanks. One digit at least is written.
void write_right(std::span<char> to, std::uint64_t value)
{
    for (std::size_t at = to.size(); at-- > 0; value /= 10) {
        to[at] = value != 0 || at + 1 == to.size() ? static_cast<char>('0' + value % 10) : ' ';
    }
}

// A number as its digits before and behind the point. A number that is too wide becomes nines.
void write_decimal(std::span<char> to, int decimals, std::uint64_t whole, std::uint64_t fraction, int fraction_digits)
{
    const std::size_t behind = decimals > 0 ? static_cast<std::size_t>(decimals) + 1 : 0;
    const std::span<char> digits = to.first(to.size() - behind);
    const bool fits = static_cast<int>(digits.size()) > most_digits ||
                      whole < static_cast<std::uint64_t>(power_of_ten(static_cast<int>(digits.size())));
    if (!fits) {
        std::fill(to.begin(), to.end(), '9');
    } else {
        write_right(digits, whole);
    }
    if (behind == 0) {
        return;
    }
    const std::span<char> after = to.subspan(digits.size() + 1);
    to[digits.size()] = '.';
    if (fits) {
        const std::size_t known = std::min(static_cast<std::size_t>(fraction_digits), after.size());
        write_digits(after.first(known), fraction);
        std::fill(after.begin() + static_cast<std::ptrdiff_t>(known), after.end(), '0');
    }
}

} // namespace

std::string_view Bytes_Of(CMessage& record, int field)
{
    const std::span<char> place = place_of(record[field]);
    return {place.data(), place.size()};
}

std::string_view Text_Of(CMessage& record, int field)
{
    const std::string_view bytes = Bytes_Of(record, field);
    return bytes.substr(0, bytes.find_last_not_of(padding) + 1);
}

std::optional<std::int64_t> Number_Of(CMessage& record, int field, int decimals)
{
    const std::string_view text = without_padding(Bytes_Of(record, field));
    const std::size_t point = std::min(text.find('.'), text.size());
    const std::string_view whole = text.substr(0, point);
    std::string_view fraction = text.substr(std::min(point + 1, text.size()));
    fraction = fraction.substr(0, fraction.find_last_not_of('0') + 1);
    const auto places = static_cast<std::size_t>(decimals);
    if (whole.empty() || !is_digits(whole) || !is_digits(fraction) || fraction.size() > places) {
        return {};
    }
    const std::string_view digits = whole.substr(std::min(whole.find_first_not_of('0'), whole.size()));
    if (digits.size() + places > most_digits) {
        return {};
    }
    std::int64_t value = 0;
    for (const char c : digits) {
        value = 10 * value + (c - '0');
    }
    for (std::size_t i = 0; i < places; ++i) {
        value = 10 * value + (i < fraction.size() ? fraction[i] - '0' : 0);
    }
    return value;
}

void Put_Text(CMessage& record, int field, std::string_view text)
{
    const std::span<char> place = place_of(record[field]);
    const std::size_t count = std::min(text.size(), place.size());
    std::copy_n(text.begin(), count, place.begin());
    std::fill(place.begin() + static_cast<std::ptrdiff_t>(count), place.end(), '\0');
}

void Put_Missing_Text(CMessage& record, int field, std::string_view text)
{
    if (Text_Of(record, field).empty()) {
        Put_Text(record, field, text);
    }
}

void Put_Number(CMessage& record, int field, std::int64_t value, int decimals)
{
    const auto unit = static_cast<std::uint64_t>(power_of_ten(decimals));
    const auto number = static_cast<std::uint64_t>(std::max<std::int64_t>(value, 0));
    CField& place = record[field];
    write_decimal(place_of(place), decimals_of(place), number / unit, number % unit, decimals);
}

void Put_Number(CMessage& record, int field, const WideSum& value, int decimals)
{
    const auto parts = value.Divided_By(power_of_ten(decimals));
    const WideSum::Quotient number = parts.value_or(WideSum::Quotient{.value = UINT64_MAX});
    CField& place = record[field];
    write_decimal(place_of(place), decimals_of(place), number.value, number.rest, decimals);
}

void Put_Short(CMessage& record, int field, std::uint32_t value)
{
    const std::uint32_t most = std::numeric_limits<std::uint16_t>::max();
    record[field] = static_cast<unsigned short>(std::min(value, most));
}

} // namespace qm::field
