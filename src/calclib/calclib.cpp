// The precision, the copies, and the comparison. Sums, products, quotients, roundings and texts have sources of their
// own.
#include "calclib/calclib.h"

#include "calclib/layout.h"

#include <bit>

using namespace qapi::calc;

std::uint16_t GMNtInt = COMMON_CALC_INT;
std::uint16_t GMNtDec = COMMON_CALC_DEC;
std::uint16_t GMNtDig = COMMON_CALC_INT + COMMON_CALC_DEC;
std::uint16_t GMMxLen = COMMON_CALC_INT + COMMON_CALC_DEC + 1;
std::uint16_t GMNumIntD4 = SystemLayout::integer_words;
std::uint16_t GMNumDecD4 = SystemLayout::words - SystemLayout::integer_words;
std::uint16_t GMNtDigD4 = SystemLayout::words;
std::uint16_t GMMxLenIntD4 = SystemLayout::words + 1;
char GMDecPoint = '.';
char GMCommaSepar = ',';
std::atomic<std::uint16_t> POS_INI_NUM{0};

static_assert(CALC_MXELEMD4 == most_words);
static_assert(COMMON_CALC_SIZE == 9 && COMMON_CALC_NUM_DIG == 7 && CALC_TOTAL_BYTES_MXDIGITS == 18);

short calc_set_precision(short ints, short decs)
{
    if (ints < 0 || decs < 0 || ints + decs > CALC_MXDIGITS) {
        return -1;
    }
    GMNtInt = static_cast<std::uint16_t>(ints);
    GMNtDec = static_cast<std::uint16_t>(decs);
    GMNtDig = static_cast<std::uint16_t>(ints + decs);
    GMMxLen = static_cast<std::uint16_t>(GMNtDig + 1);
    GMNumIntD4 = static_cast<std::uint16_t>((ints + 3) / 4);
    GMNumDecD4 = static_cast<std::uint16_t>((decs + 4) / 4);
    GMNtDigD4 = static_cast<std::uint16_t>(GMNumIntD4 + GMNumDecD4);
    GMMxLenIntD4 = static_cast<std::uint16_t>(GMNtDigD4 + 1);
    return 0;
}

short calc_set_decimal_point(char c)
{
    if (c != '.' && c != ',') {
        return -1;
    }
    GMDecPoint = c;
    GMCommaSepar = c == ',' ? '.' : ',';
    return 0;
}

int calc_do(const CALC_MNUM* a, short op, CALC_MNUM* b)
{
    switch (op) {
    case '+':
        return calc_add(a, b);
    case '-':
        return calc_sub(a, b);
    case '*':
        return calc_mul(a, b);
    case '/':
        return calc_div(a, b);
    default:
        return -1;
    }
}

namespace {

// Index of the first of four words that differs, or the last index if none does. `difference` is the exclusive or of
// the four words as they stand in memory.
int first_difference(std::uint64_t difference)
{
    if constexpr (std::endian::native == std::endian::little) {
        return std::countr_zero(difference | std::uint64_t{1} << 63) / 16;
    }
    return std::countl_zero(difference | 1) / 16;
}

short unlike_signs(CALC_MNUM sign, bool both_zero)
{
    const int order = sign == CALC_SGNPOS ? 1 : -1;
    return static_cast<short>(both_zero ? 0 : order);
}

// The word difference has the width of a word: one between words that are no digits wraps.
short like_signs(CALC_MNUM sign, int difference)
{
    return static_cast<short>(sign != CALC_SGNPOS ? -difference : difference);
}

short compare(SetLayout layout, const CALC_MNUM* a, const CALC_MNUM* b)
{
    if (a[CALC_SGN] != b[CALC_SGN]) {
        return unlike_signs(a[CALC_SGN], all_zero(layout, a) && all_zero(layout, b));
    }
    int i = 1;
    while (i < layout.words && a[i] == b[i]) {
        ++i;
    }
    return like_signs(a[CALC_SGN], a[i] - b[i]);
}

// Both answers are worked out and one is taken: the signs of amounts are not to be guessed by the processor.
short compare(SystemLayout layout, const CALC_MNUM* a, const CALC_MNUM* b)
{
    const std::uint64_t front = four_words(a + 1) ^ four_words(b + 1);
    const std::uint64_t back = four_words(a + 4) ^ four_words(b + 4);
    const int i = front != 0 ? 1 + first_difference(front) : 4 + first_difference(back);
    const short like = like_signs(a[CALC_SGN], a[i] - b[i]);
    const short unlike = unlike_signs(a[CALC_SGN], all_zero(layout, a) && all_zero(layout, b));
    return a[CALC_SGN] == b[CALC_SGN] ? like : unlike;
}

} // namespace

short calc_cmp(const CALC_MNUM* a, const CALC_MNUM* b)
{
    return with_layout([=](auto layout) { return compare(layout, a, b); });
}

short calc_not_zero(const CALC_MNUM* n)
{
    return with_layout([=](auto layout) -> short { return all_zero(layout, n) ? 0 : 1; });
}

void calc_mtom(const CALC_MNUM* from, CALC_MNUM* to)
{
    with_layout([=](auto layout) { std::memmove(to, from, static_cast<std::size_t>(layout.words + 1) * sizeof *to); });
}

void calc_zer(CALC_MNUM* n)
{
    with_layout([=](auto layout) { clear(layout, n); });
}

void calc_com(CALC_MNUM* n)
{
    if (n[CALC_SGN] != CALC_SGNPOS) {
        n[CALC_SGN] = CALC_SGNOVERFLOW;
    }
    for (int i = 1; i <= GMNtDigD4; ++i) {
        n[i] = static_cast<CALC_MNUM>(word_limit - n[i]);
    }
}
