// Small steps that the numbers' classes share.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace qapi {

// The number that a text begins with, as far as an int goes.
[[nodiscard]] inline int Saturated_Int(const char* text)
{
    const long number = std::strtol(text, nullptr, 10);
    return static_cast<int>(std::clamp<long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
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
