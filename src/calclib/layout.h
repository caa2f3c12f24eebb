// How a number's words are divided, for the sources of calclib alone. Every hot function is a template over a layout:
// the compiler unrolls it for the system's own, and one comparison a call chooses between that and all the others.
#pragma once

#include "calclib/calclib.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace qapi::calc {

inline constexpr int word_base = 10000;
inline constexpr int word_limit = word_base - 1;
inline constexpr int most_words = 9; // digit words of a precision of 32 digits, at most

// Digit words are counted from 1: those up to `integer_words` stand before the point, those up to `words` behind it.
struct SystemLayout
{
    static constexpr int integer_words = (COMMON_CALC_INT + 3) / 4;
    static constexpr int words = COMMON_CALC_NUM_DIG;
};

struct SetLayout
{
    int integer_words;
    int words;
};

template <class Function> decltype(auto) with_layout(Function&& function)
{
    if (GMNumIntD4 == SystemLayout::integer_words && GMNtDigD4 == SystemLayout::words) {
        return function(SystemLayout{});
    }
    return function(SetLayout{GMNumIntD4, GMNtDigD4});
}

template <class Layout> void clear(Layout layout, CALC_MNUM* n)
{
    std::memset(n, 0, static_cast<std::size_t>(layout.words + 1) * sizeof *n);
}

// ---- Four words at a time ----------------------------------------------------------------------------------------

inline constexpr std::uint64_t each_lane = 0x0001000100010001;
inline constexpr std::uint64_t lane_tops = each_lane << 15;

// True if each of the four 16-bit lanes holds 0 to 9999. A lane of 10000 to 32767 reaches its top bit in the sum, a
// larger one has it set already, and only such a lane could disturb its neighbour.
[[nodiscard]] constexpr bool lanes_are_digits(std::uint64_t lanes)
{
    return ((lanes | (lanes + each_lane * (32768 - word_base))) & lane_tops) == 0;
}

[[nodiscard]] inline std::uint64_t four_words(const CALC_MNUM* words)
{
    std::uint64_t lanes = 0;
    std::memcpy(&lanes, words, sizeof lanes);
    return lanes;
}

[[nodiscard]] inline bool all_zero(SystemLayout /*layout*/, const CALC_MNUM* n)
{
    return (four_words(n + 1) | four_words(n + 4)) == 0;
}

[[nodiscard]] inline bool all_zero(SetLayout layout, const CALC_MNUM* n)
{
    int seen = 0;
    for (int i = 1; i <= layout.words; ++i) {
        seen |= n[i];
    }
    return seen == 0;
}

// True if every digit word holds 0 to 9999, which a number from a peer need not.
[[nodiscard]] inline bool all_digits(SystemLayout /*layout*/, const CALC_MNUM* n)
{
    return lanes_are_digits(four_words(n + 1)) && lanes_are_digits(four_words(n + 4));
}

[[nodiscard]] inline bool all_digits(SetLayout layout, const CALC_MNUM* n)
{
    for (int i = 1; i <= layout.words; ++i) {
        if (n[i] < 0 || n[i] > word_limit) {
            return false;
        }
    }
    return true;
}

} // namespace qapi::calc
