// Multiplication. Digit words of the system's precision are joined to limbs of eight digits: sixteen products of the
// schoolbook instead of forty-nine, and columns that fit into 64 bits with their carries.
#include "calclib/layout.h"

using namespace qapi::calc;

namespace {

CALC_MNUM product_sign(const CALC_MNUM* a, const CALC_MNUM* b)
{
    return static_cast<CALC_MNUM>(a[CALC_SGN] ^ b[CALC_SGN]);
}

// ---- Any words, any precision ------------------------------------------------------------------------------------
// Column k of the work array has the weight of word k - integer_words of the result.

using Columns = std::array<std::int64_t, 2 * most_words + 1>;

std::int64_t& at(Columns& columns, int index)
{
    return columns[static_cast<std::size_t>(index)];
}

template <class Layout> void add_products(Layout layout, const CALC_MNUM* a, const CALC_MNUM* b, Columns& work)
{
    for (int i = 1; i <= layout.words; ++i) {
        for (int j = 1; j <= layout.words; ++j) {
            at(work, i + j) += a[i] * b[j];
        }
    }
}

// Carries up to two columns above the number; with few integer words there are fewer above it.
template <class Layout> void carry_columns(Layout layout, Columns& work)
{
    const int uppermost = layout.integer_words > 2 ? layout.integer_words - 1 : 1;
    for (int k = 2 * layout.words; k >= uppermost; --k) {
        std::int64_t& column = at(work, k);
        at(work, k - 1) += column / word_base;
        column %= word_base;
    }
}

// The column next to the one right above the number is not looked at: a product from 10^20 to 10^23 wraps unseen to
// what is left of it, and whoever computes with it relies on the same amounts.
template <class Layout> bool overflows(Layout layout, Columns& work)
{
    bool seen = at(work, layout.integer_words) != 0;
    for (int k = layout.integer_words - 2; k >= 0; --k) {
        seen |= at(work, k) > 0;
    }
    return seen;
}

template <class Layout> int multiply_words(Layout layout, const CALC_MNUM* a, CALC_MNUM* b)
{
    Columns work{};
    add_products(layout, a, b, work);
    carry_columns(layout, work);
    b[CALC_SGN] = product_sign(a, b);
    for (int i = 1; i <= layout.words; ++i) {
        b[i] = static_cast<CALC_MNUM>(at(work, layout.integer_words + i));
    }
    return overflows(layout, work) ? 1 : 0;
}

// ---- The system's precision --------------------------------------------------------------------------------------

constexpr std::uint64_t limb_base = 100'000'000;

// Eight digits each, the first limb the least significant; the last one holds word 1 alone.
struct Limbs
{
    std::uint64_t l0, l1, l2, l3;
};

std::uint64_t joined(CALC_MNUM upper, CALC_MNUM lower)
{
    return static_cast<std::uint32_t>(upper * word_base + lower);
}

Limbs limbs_of(const CALC_MNUM* n)
{
    return {joined(n[6], n[7]), joined(n[4], n[5]), joined(n[2], n[3]), joined(0, n[1])};
}

std::uint32_t take_limb(std::uint64_t& column, std::uint64_t next_column)
{
    const std::uint64_t carry = column / limb_base;
    const auto limb = static_cast<std::uint32_t>(column - carry * limb_base);
    column = next_column + carry;
    return limb;
}

CALC_MNUM upper_word(std::uint32_t limb)
{
    return static_cast<CALC_MNUM>(limb / word_base);
}

CALC_MNUM lower_word(std::uint32_t limb)
{
    return static_cast<CALC_MNUM>(limb % word_base);
}

// A column is the sum of at most four products below 10^16 and a carry. Its first limb and a half are the decimals that
// are cut; digits 40 to 43 are the word right above the number, 44 to 47 the one that nobody looks at.
int multiply_limbs(const Limbs& a, const Limbs& b, CALC_MNUM* result)
{
    std::uint64_t column = a.l0 * b.l0;
    take_limb(column, a.l0 * b.l1 + a.l1 * b.l0);
    const std::uint32_t limb1 = take_limb(column, a.l0 * b.l2 + a.l1 * b.l1 + a.l2 * b.l0);
    const std::uint32_t limb2 = take_limb(column, a.l0 * b.l3 + a.l1 * b.l2 + a.l2 * b.l1 + a.l3 * b.l0);
    const std::uint32_t limb3 = take_limb(column, a.l1 * b.l3 + a.l2 * b.l2 + a.l3 * b.l1);
    const std::uint32_t limb4 = take_limb(column, a.l2 * b.l3 + a.l3 * b.l2);
    const std::uint32_t limb5 = take_limb(column, a.l3 * b.l3);
    result[1] = upper_word(limb4);
    result[2] = lower_word(limb4);
    result[3] = upper_word(limb3);
    result[4] = lower_word(limb3);
    result[5] = upper_word(limb2);
    result[6] = lower_word(limb2);
    result[7] = upper_word(limb1);
    return column != 0 || lower_word(limb5) != 0 ? 1 : 0;
}

int multiply(SetLayout layout, const CALC_MNUM* a, CALC_MNUM* b)
{
    return multiply_words(layout, a, b);
}

int multiply(SystemLayout layout, const CALC_MNUM* a, CALC_MNUM* b)
{
    if (!all_digits(layout, a) || !all_digits(layout, b)) {
        return multiply_words(layout, a, b);
    }
    const Limbs a_limbs = limbs_of(a);
    const Limbs b_limbs = limbs_of(b);
    b[CALC_SGN] = product_sign(a, b);
    return multiply_limbs(a_limbs, b_limbs, b);
}

} // namespace

int calc_mul(const CALC_MNUM* a, CALC_MNUM* b)
{
    return with_layout([=](auto layout) { return multiply(layout, a, b); });
}

int calc_muli(int n, CALC_MNUM* b)
{
    const std::uint32_t factor = n < 0 ? 0U - static_cast<std::uint32_t>(n) : static_cast<std::uint32_t>(n);
    std::int16_t carry = 0;
    for (int i = GMNumIntD4 + 1; i >= 1; --i) {
        const std::uint32_t product = static_cast<std::uint32_t>(carry) + factor * static_cast<std::uint32_t>(b[i]);
        const auto word = static_cast<std::int16_t>(product);
        carry = static_cast<std::int16_t>(carry + word / word_base);
        b[i] = static_cast<CALC_MNUM>(word % word_base);
    }
    b[CALC_SGN] = static_cast<CALC_MNUM>((n < 0 ? 1 : 0) ^ b[CALC_SGN]);
    return carry != 0 ? 1 : 0;
}
