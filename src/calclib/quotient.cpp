// Division, by the schoolbook: the divisor stays where it is, the remainder takes in the dividend's digits group by
// group and then zeros, and each group gives as many digits of the quotient. The remainder is always less than the
// divisor, so the first groups, which would stand above the number, tell an overflow.
//
// Words that are no digits divide as the nearest that are.
#include "calclib/layout.h"

#include <algorithm>
#include <bit>

using namespace qapi::calc;

namespace {

// ---- Any precision -----------------------------------------------------------------------------------------------

// Words from index 1 on, with a zero behind the last one for the estimate.
using Words = std::array<std::int32_t, most_words + 2>;

std::int32_t& at(Words& words, int index)
{
    return words[static_cast<std::size_t>(index)];
}

template <class Layout> Words digits_of(Layout layout, const CALC_MNUM* n)
{
    Words words{};
    for (int i = 1; i <= layout.words; ++i) {
        at(words, i) = std::clamp<std::int32_t>(n[i], 0, word_limit);
    }
    return words;
}

template <class Layout> int first_not_zero(Layout layout, Words& words)
{
    int i = 1;
    while (i <= layout.words && at(words, i) == 0) {
        ++i;
    }
    return i;
}

// Never too small, and at most two too large: it leaves out what stands behind the divisor's second word, and those two
// words are at least 10000.
std::int32_t estimate(Words& remainder, Words& divisor, int lead)
{
    const std::int64_t upper =
        (std::int64_t{at(remainder, lead - 1)} * word_base + at(remainder, lead)) * word_base + at(remainder, lead + 1);
    const std::int64_t lower = std::int64_t{at(divisor, lead)} * word_base + at(divisor, lead + 1);
    return static_cast<std::int32_t>(upper / lower);
}

// remainder -= divisor * factor; what is still borrowed at the top stays there as a negative word.
template <class Layout>
void subtract_multiple(Layout layout, Words& remainder, Words& divisor, int lead, std::int32_t factor)
{
    std::int32_t borrow = 0;
    for (int i = layout.words; i >= lead; --i) {
        const std::int32_t product = at(divisor, i) * factor + borrow;
        std::int32_t word = at(remainder, i) - product % word_base;
        borrow = product / word_base;
        if (word < 0) {
            word += word_base;
            ++borrow;
        }
        at(remainder, i) = word;
    }
    at(remainder, lead - 1) -= borrow;
}

template <class Layout> void add_back(Layout layout, Words& remainder, Words& divisor, int lead)
{
    std::int32_t carry = 0;
    for (int i = layout.words; i >= lead; --i) {
        const std::int32_t sum = at(remainder, i) + at(divisor, i) + carry;
        carry = sum > word_limit ? 1 : 0;
        at(remainder, i) = sum - carry * word_base;
    }
    at(remainder, lead - 1) += carry;
}

template <class Layout> void take_in(Layout layout, Words& remainder, std::int32_t word)
{
    for (int i = 0; i < layout.words; ++i) {
        at(remainder, i) = at(remainder, i + 1);
    }
    at(remainder, layout.words) = word;
}

// Writes the digit words of dividend / divisor, cut behind the last one; false if there are more before the first.
template <class Layout> bool divide_words(Layout layout, Words& dividend, Words& divisor, CALC_MNUM* quotient)
{
    const int decimal_words = layout.words - layout.integer_words;
    const int lead = first_not_zero(layout, divisor);
    Words remainder{};
    for (int i = 1; i <= layout.words + decimal_words; ++i) {
        take_in(layout, remainder, i <= layout.words ? at(dividend, i) : 0);
        std::int32_t digits = estimate(remainder, divisor, lead);
        subtract_multiple(layout, remainder, divisor, lead, digits);
        for (; at(remainder, lead - 1) < 0; --digits) {
            add_back(layout, remainder, divisor, lead);
        }
        if (i > decimal_words) {
            quotient[i - decimal_words] = static_cast<CALC_MNUM>(digits);
        } else if (digits != 0) {
            return false;
        }
    }
    return true;
}

template <class Layout> int divide_any(Layout layout, const CALC_MNUM* a, CALC_MNUM* b)
{
    Words dividend = digits_of(layout, b);
    Words divisor = digits_of(layout, a);
    const auto sign = static_cast<CALC_MNUM>(a[CALC_SGN] ^ b[CALC_SGN]);
    clear(layout, b);
    if (first_not_zero(layout, dividend) > layout.words) {
        b[CALC_SGN] = sign;
        return 1;
    }
    if (first_not_zero(layout, divisor) > layout.words || !divide_words(layout, dividend, divisor, b)) {
        clear(layout, b);
        return 1;
    }
    b[CALC_SGN] = sign;
    return 0;
}

template <class Layout> int divide(Layout layout, const CALC_MNUM* a, CALC_MNUM* b)
{
    return divide_any(layout, a, b);
}

// ---- The system's precision, where the machine multiplies to 128 bits ---------------------------------------------

#ifdef __SIZEOF_INT128__

__extension__ using Wide = unsigned __int128;

std::uint64_t join(const CALC_MNUM* n, int from, int to)
{
    std::uint64_t value = 0;
    for (int i = from; i <= to; ++i) {
        value = value * word_base + static_cast<std::uint64_t>(n[i]);
    }
    return value;
}

// All seven words as one integer, below 2^94.
Wide whole(const CALC_MNUM* n)
{
    return Wide{join(n, 1, 3)} * 10'000'000'000'000'000U + join(n, 4, 7);
}

int leading_zeros(Wide value)
{
    const auto upper = static_cast<std::uint64_t>(value >> 64);
    return upper != 0 ? std::countl_zero(upper) : 64 + std::countl_zero(static_cast<std::uint64_t>(value));
}

// Divisor and remainder are moved left until the divisor has 96 bits, so that the upper 32 of them estimate every group
// of eight digits to within one.
class Division
{
public:
    // `remainder` is less than `divisor`.
    Division(Wide divisor, std::uint64_t remainder)
        : m_shift(leading_zeros(divisor) - 32), m_divisor(divisor << m_shift), m_remainder(Wide{remainder} << m_shift),
          m_reciprocal(~std::uint64_t{0} / (static_cast<std::uint64_t>(m_divisor >> 64) + 1))
    {
    }

    // Takes in digits below `base`, at most 10^8, and gives as many of the quotient.
    std::uint32_t take_in(std::uint32_t digits, std::uint32_t base)
    {
        m_remainder = m_remainder * base + (Wide{digits} << m_shift);
        const auto upper = static_cast<std::uint64_t>(m_remainder >> 64);
        auto quotient = static_cast<std::uint32_t>(Wide{upper} * m_reciprocal >> 64);
        m_remainder -= m_divisor * quotient;
        if (m_remainder >= m_divisor) { // the reciprocal errs to the low side alone
            m_remainder -= m_divisor;
            ++quotient;
        }
        return quotient;
    }

private:
    int m_shift;
    Wide m_divisor;
    Wide m_remainder;
    std::uint64_t m_reciprocal; // of the divisor's upper 32 bits, scaled by 2^64
};

void put_words(std::uint32_t digits, CALC_MNUM* words)
{
    words[0] = static_cast<CALC_MNUM>(digits / word_base);
    words[1] = static_cast<CALC_MNUM>(digits % word_base);
}

int divide(SystemLayout layout, const CALC_MNUM* a, CALC_MNUM* b)
{
    constexpr std::uint32_t eight_digits = 100'000'000;
    const Wide divisor = whole(a);
    const std::uint64_t first = join(b, 1, 3);
    if (!all_digits(layout, a) || !all_digits(layout, b) || first >= divisor || all_zero(layout, b)) {
        return divide_any(layout, a, b);
    }
    Division division(divisor, first);
    const auto middle = static_cast<std::uint32_t>(join(b, 4, 5));
    const auto last = static_cast<std::uint32_t>(join(b, 6, 7));
    b[CALC_SGN] = static_cast<CALC_MNUM>(a[CALC_SGN] ^ b[CALC_SGN]);
    put_words(division.take_in(middle, eight_digits), b + 1);
    put_words(division.take_in(last, eight_digits), b + 3);
    put_words(division.take_in(0, eight_digits), b + 5);
    b[7] = static_cast<CALC_MNUM>(division.take_in(0, word_base));
    return 0;
}

#endif

} // namespace

int calc_div(const CALC_MNUM* a, CALC_MNUM* b)
{
    return with_layout([=](auto layout) { return divide(layout, a, b); });
}
