// Rounding, cutting, and the question whether a number has decimals. A count of decimals below 0 stands for 0; behind
// the last word there is nothing to round or cut.
#include "calclib/layout.h"

#include <algorithm>

using namespace qapi::calc;

namespace {

// Where `decs` decimals end: in `word`, with that many of its four digits kept. `word` 0 stands behind the last one.
struct Position
{
    int word;
    int kept;
};

template <class Layout> Position position_behind(Layout layout, int decs)
{
    const int decimals = std::max(decs, 0);
    const int word = decimals / 4 < layout.words - layout.integer_words ? layout.integer_words + decimals / 4 + 1 : 0;
    return {word, decimals % 4};
}

// Weight of the last digit that is kept. A division by each of them alone is a multiplication.
constexpr int kept_unit(int kept)
{
    constexpr std::array<int, 4> units{10000, 1000, 100, 10};
    return units[static_cast<std::size_t>(kept)];
}

int digits_behind(int word, int kept)
{
    switch (kept) {
    case 0:
        return word % kept_unit(0);
    case 1:
        return word % kept_unit(1);
    case 2:
        return word % kept_unit(2);
    default:
        return word % kept_unit(3);
    }
}

template <class Layout> void clear_from(Layout layout, int word, CALC_MNUM* n)
{
    std::fill(n + word, n + layout.words + 1, CALC_MNUM{0});
}

void carry_into(int word, CALC_MNUM* n)
{
    for (; word >= 1; --word) {
        const int sum = n[word] + 1;
        if (sum <= word_limit) {
            n[word] = static_cast<CALC_MNUM>(sum);
            return;
        }
        n[word] = static_cast<CALC_MNUM>(sum - word_base);
    }
}

void round_up(int word, int value, CALC_MNUM* n)
{
    if (value <= word_limit) {
        n[word] = static_cast<CALC_MNUM>(value);
    } else {
        n[word] = 0;
        carry_into(word - 1, n);
    }
}

template <class Layout> void round_at(Layout layout, CALC_MNUM* n, int decs, bool cut)
{
    const Position end = position_behind(layout, decs);
    if (end.word == 0) {
        return;
    }
    const int behind = digits_behind(n[end.word], end.kept);
    const int kept = n[end.word] - behind;
    const int unit = kept_unit(end.kept);
    if (behind >= unit / 2) {
        round_up(end.word, kept + unit, n);
    } else if (cut) {
        n[end.word] = static_cast<CALC_MNUM>(kept);
    }
    if (cut) {
        clear_from(layout, end.word + 1, n);
    }
}

template <class Layout> void truncate_at(Layout layout, CALC_MNUM* n, int decs)
{
    const Position end = position_behind(layout, decs);
    if (end.word != 0) {
        n[end.word] = static_cast<CALC_MNUM>(n[end.word] - digits_behind(n[end.word], end.kept));
        clear_from(layout, end.word + 1, n);
    }
}

template <class Layout> bool has_decimals(Layout layout, const CALC_MNUM* n, int decs)
{
    const Position end = position_behind(layout, decs);
    const int whole_words = end.word != 0 ? end.word - 1 : layout.words;
    for (int i = layout.integer_words + 1; i <= whole_words; ++i) {
        if (n[i] != 0) {
            return true;
        }
    }
    return end.word != 0 && n[end.word] / kept_unit(end.kept) != 0 && end.kept != 0;
}

} // namespace

void calc_redondear(CALC_MNUM* n, short decs, int cut)
{
    with_layout([=](auto layout) { round_at(layout, n, decs, cut != 0); });
}

short calc_truncate(CALC_MNUM* n, int decs)
{
    with_layout([=](auto layout) { truncate_at(layout, n, decs); });
    return 0;
}

short calc_with_decimals(const CALC_MNUM* n, int decs)
{
    return with_layout([=](auto layout) -> short { return has_decimals(layout, n, decs) ? 1 : 0; });
}
