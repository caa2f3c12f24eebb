// Small steps that the numbers' classes share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace qapi {

// The number that a text begins with, as far as an int goes.
[[nodiscard]] inline int Saturated_Int(const char* text)
{
    const long number = std::strtol(text, nullptr, 10);
    return static_cast<int>(std::clamp<long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

// The same, as far as an unsigned number of 32 bits goes, of a text that may also be a negative int.
[[nodiscard]] inline std::uint32_t Saturated_Unsigned(const char* text)
{
    const long long number = std::strtoll(text, nullptr, 10);
    return static_cast<std::uint32_t>(std::clamp<long long>(number, std::numeric_limits<std::int32_t>::min(),
                                                            std::numeric_limits<std::uint32_t>::max()));
}

// Below 0, 0 or above 0 as `a` is less than, equal to or greater than `b`.
template <class Number> [[nodiscard]] constexpr int Order_Of(Number a, Number b)
{
    return static_cast<int>(a > b) - static_cast<int>(a < b);
}

[[nodiscard]] constexpr int Wrapped_Sum(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

[[nodiscard]] constexpr int Wrapped_Difference(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}

} // namespace qapi
