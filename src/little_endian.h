// Integers as they stand on the wire and on disk: little-endian, at any alignment, on any machine.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>

namespace qapi {

// The `sizeof(T)` bytes at `from` as a number.
template <std::integral T> [[nodiscard]] constexpr T load_le(const char* from)
{
    std::array<char, sizeof(T)> bytes{};
    std::copy_n(from, sizeof(T), bytes.begin()); // one memcpy, and so one load, outside constant expressions
    if constexpr (std::endian::native == std::endian::big) {
        std::reverse(bytes.begin(), bytes.end());
    }
    return std::bit_cast<T>(bytes);
}

// Writes `value` into the `sizeof(T)` bytes at `to`.
template <std::integral T> constexpr void store_le(char* to, T value)
{
    auto bytes = std::bit_cast<std::array<char, sizeof(T)>>(value);
    if constexpr (std::endian::native == std::endian::big) {
        std::reverse(bytes.begin(), bytes.end());
    }
    std::copy_n(bytes.begin(), sizeof(T), to);
}

} // namespace qapi

using qapi::load_le;
using qapi::store_le;
