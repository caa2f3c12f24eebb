#include "exchange/wide_sum.h"

#include <limits>

namespace qm {

namespace {

constexpr std::uint64_t low_half(std::uint64_t value)
{
    return value & 0xFFFFFFFFU;
}

} // namespace

void WideSum::Add(std::uint64_t high, std::uint64_t low)
{
    m_low += low;
    m_high += high + (m_low < low ? 1 : 0);
}

void WideSum::Add_Product(std::int64_t a, std::int64_t b)
{
    const auto left = static_cast<std::uint64_t>(a);
    const auto right = static_cast<std::uint64_t>(b);
    const std::uint64_t across = (left >> 32) * low_half(right);
    const std::uint64_t back = low_half(left) * (right >> 32);
    Add((left >> 32) * (right >> 32), low_half(left) * low_half(right));
    Add(across >> 32, across << 32);
    Add(back >> 32, back << 32);
}

// Bit by bit where a division of the machine won't do. The rest stays below the divisor, so below 2^63, and may be
// doubled.
std::optional<WideSum::Quotient> WideSum::Divided_By(std::int64_t divisor) const
{
    const auto by = static_cast<std::uint64_t>(divisor);
    if (divisor <= 0 || m_high >= by) {
        return {};
    }
    if (m_high == 0) {
        return Quotient{.value = m_low / by, .rest = m_low % by};
    }
    Quotient result{.rest = m_high};
    for (int bit = 63; bit >= 0; --bit) {
        result.rest = (result.rest << 1) | ((m_low >> bit) & 1);
        result.value <<= 1;
        if (result.rest >= by) {
            result.rest -= by;
            result.value |= 1;
        }
    }
    return result;
}

std::int64_t WideSum::Mean(std::int64_t divisor, std::uint32_t factor) const
{
    WideSum scaled;
    scaled.Add(0, low_half(m_low) * factor);
    const std::uint64_t middle = (m_low >> 32) * factor;
    scaled.Add(middle >> 32, middle << 32);
    scaled.Add(m_high * factor, 0);
    scaled.Add(0, static_cast<std::uint64_t>(divisor > 0 ? divisor / 2 : 0));
    const auto quotient = scaled.Divided_By(divisor);
    const bool fits = quotient && quotient->value <= std::uint64_t{std::numeric_limits<std::int64_t>::max()};
    return fits ? static_cast<std::int64_t>(quotient->value) : 0;
}

} // namespace qm
