// Addition and subtraction: magnitudes are added or subtracted, the larger one first, after the signs.
//
// Words that are digits go four at a time through one 64-bit sum. Each lane gets 55536 more than its digits, so that a
// decimal carry is a carry of the processor into the lane above; a lane without a carry, known by its top bit, gives
// the 55536 back. In a difference it is the lanes that borrowed which are 55536 too large, and show the same bit.
#include "calclib/layout.h"

#include <bit>

using namespace qapi::calc;

namespace {

// ---- Any words, any precision ------------------------------------------------------------------------------------

template <class Layout> bool exceeds(Layout layout, const CALC_MNUM* a, const CALC_MNUM* b)
{
    for (int i = 1; i <= layout.words; ++i) {
        if (a[i] != b[i]) {
            return a[i] > b[i];
        }
    }
    return false;
}

template <class Layout> int add_magnitudes(Layout layout, const CALC_MNUM* a, CALC_MNUM* b)
{
    int carry = 0;
    int seen = 0;
    for (int i = layout.words; i >= 1; --i) {
        const int sum = a[i] + b[i] + carry;
        carry = sum > word_limit ? 1 : 0;
        b[i] = static_cast<CALC_MNUM>(sum - carry * word_base);
        seen |= b[i];
    }
    if (carry != 0) {
        b[CALC_SGN] = CALC_SGNOVERFLOW;
    } else if (seen == 0) {
        b[CALC_SGN] = CALC_SGNPOS;
    }
    return carry;
}

CALC_MNUM borrowed_difference(int difference, int& borrow)
{
    borrow = difference < 0 ? 1 : 0;
    return static_cast<CALC_MNUM>(difference + borrow * word_base);
}

// The sign words take part, as the uppermost digits: two that differ keep a zero from losing its sign.
template <class Layout>
void subtract_magnitudes(Layout layout, const CALC_MNUM* larger, const CALC_MNUM* smaller, int signs, CALC_MNUM sign,
                         CALC_MNUM* result)
{
    int borrow = 0;
    int seen = 0;
    for (int i = layout.words; i >= 1; --i) {
        result[i] = borrowed_difference(larger[i] - smaller[i] - borrow, borrow);
        seen |= result[i];
    }
    seen |= borrowed_difference(signs - borrow, borrow);
    result[CALC_SGN] = seen != 0 ? sign : CALC_SGNPOS;
}

// Out of line, to leave the registers to the ordinary case.
template <class Layout>
[[gnu::noinline]] int add_words(Layout layout, const CALC_MNUM* a, CALC_MNUM a_sign, CALC_MNUM* b)
{
    const CALC_MNUM b_sign = b[CALC_SGN];
    if (a_sign == b_sign) {
        return add_magnitudes(layout, a, b);
    }
    if (exceeds(layout, a, b)) {
        subtract_magnitudes(layout, a, b, a_sign - b_sign, a_sign, b);
    } else {
        subtract_magnitudes(layout, b, a, b_sign - a_sign, b_sign, b);
    }
    return 0;
}

// ---- The system's precision --------------------------------------------------------------------------------------

// Words 1 to 3 and 4 to 7, the more significant ones in the upper bits; the sign's lane, on top, is free for a carry.
struct Lanes
{
    std::uint64_t high;
    std::uint64_t low;
};

constexpr std::uint64_t sign_lane = 0xFFFF000000000000;
constexpr std::uint64_t lane_surplus = 65536 - word_base;
constexpr std::uint64_t high_surplus = lane_surplus * (each_lane >> 16);
constexpr std::uint64_t low_surplus = lane_surplus * each_lane;

using EightWords = CALC_MNUM __attribute__((vector_size(16)));
using TwoHalves = std::uint64_t __attribute__((vector_size(16)));

// Turns four and four words around, on machines that keep the last of four in the upper bits.
void put_first_words_on_top(EightWords& words)
{
    if constexpr (std::endian::native == std::endian::little) {
        words = __builtin_shufflevector(words, words, 3, 2, 1, 0, 7, 6, 5, 4);
    }
}

std::uint64_t sign_bits(CALC_MNUM sign)
{
    return static_cast<std::uint16_t>(sign);
}

Lanes lanes_of(const CALC_MNUM* n)
{
    EightWords words;
    std::memcpy(&words, n, sizeof words);
    put_first_words_on_top(words);
    const auto halves = reinterpret_cast<TwoHalves>(words);
    return {halves[0] & ~sign_lane, halves[1]};
}

void store(Lanes lanes, CALC_MNUM sign, CALC_MNUM* n)
{
    const TwoHalves halves{(lanes.high & ~sign_lane) | sign_bits(sign) << 48, lanes.low};
    auto words = reinterpret_cast<EightWords>(halves);
    put_first_words_on_top(words);
    std::memcpy(n, &words, sizeof words);
}

bool are_digits(Lanes lanes)
{
    return lanes_are_digits(lanes.high) && lanes_are_digits(lanes.low);
}

std::uint64_t without_surplus(std::uint64_t lanes)
{
    return lanes - ((lanes & lane_tops) >> 15) * lane_surplus;
}

Lanes sum_with_surplus(Lanes a, Lanes b)
{
    const std::uint64_t low = a.low + (b.low + low_surplus);
    const std::uint64_t carry = low < a.low ? 1 : 0;
    return {a.high + b.high + high_surplus + carry, low};
}

// `minus` gets all bits if b is the larger one; the difference is taken the other way round then. Digits leave the top
// bits clear, so that a top bit is a borrow.
Lanes difference_with_surplus(Lanes a, Lanes b, std::uint64_t& minus)
{
    const std::uint64_t low = a.low - b.low;
    const std::uint64_t high = a.high - b.high - (low >> 63);
    const std::uint64_t borrow = high >> 63;
    minus = 0 - borrow;
    const std::uint64_t no_low = low == 0 ? 1 : 0;
    return {(high ^ minus) + (borrow & no_low), (low ^ minus) + borrow};
}

std::uint64_t choose(std::uint64_t mask, std::uint64_t set, std::uint64_t unset)
{
    return unset ^ ((set ^ unset) & mask);
}

// Sum and difference are both worked out and one is taken, without a jump: whether two signs agree is not to be
// guessed.
int add_lanes(Lanes a, CALC_MNUM a_sign, Lanes b, CALC_MNUM b_sign, CALC_MNUM* result)
{
    const std::uint64_t alike = a_sign == b_sign ? ~std::uint64_t{0} : 0;
    std::uint64_t b_larger = 0;
    const Lanes difference = difference_with_surplus(a, b, b_larger);
    const Lanes sum = sum_with_surplus(a, b);
    const Lanes digits{without_surplus(choose(alike, sum.high, difference.high)),
                       without_surplus(choose(alike, sum.low, difference.low))};
    const bool zero = (digits.high | digits.low) == 0;
    const std::uint64_t larger_sign = choose(b_larger, sign_bits(b_sign), sign_bits(a_sign));
    const std::uint64_t sign = zero ? sign_bits(b_sign) & ~alike : larger_sign;
    const std::uint64_t overflow = 0 - (digits.high >> 48);
    store(digits, static_cast<CALC_MNUM>(choose(overflow, CALC_SGNOVERFLOW, sign)), result);
    return static_cast<int>(digits.high >> 48);
}

int add(SetLayout layout, const CALC_MNUM* a, CALC_MNUM a_sign, CALC_MNUM* b)
{
    return add_words(layout, a, a_sign, b);
}

int add(SystemLayout layout, const CALC_MNUM* a, CALC_MNUM a_sign, CALC_MNUM* b)
{
    const Lanes a_lanes = lanes_of(a);
    const Lanes b_lanes = lanes_of(b);
    if (are_digits(a_lanes) && are_digits(b_lanes)) {
        return add_lanes(a_lanes, a_sign, b_lanes, b[CALC_SGN], b);
    }
    return add_words(layout, a, a_sign, b);
}

} // namespace

int calc_add(const CALC_MNUM* a, CALC_MNUM* b)
{
    return with_layout([=](auto layout) { return add(layout, a, a[CALC_SGN], b); });
}

int calc_sub(const CALC_MNUM* a, CALC_MNUM* b)
{
    const auto opposite = static_cast<CALC_MNUM>(~a[CALC_SGN]);
    return with_layout([=](auto layout) { return add(layout, a, opposite, b); });
}
