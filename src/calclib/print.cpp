// Numbers to texts. All digits are written into a line with the point at a fixed place, and the text is the part of
// that line that begins with its first position.
#include "calclib/layout.h"

#include <algorithm>

using namespace qapi::calc;

namespace {

constexpr int longest_text = 32;
constexpr int point_at = longest_text;                   // no text has more positions before its point
constexpr int line_size = point_at + 1 + 4 * most_words; // a precision without integers has nine words behind it

using Line = std::array<char, line_size>;

char& at(Line& line, int position)
{
    return line[static_cast<std::size_t>(position)];
}

// ---- Digits ------------------------------------------------------------------------------------------------------

constexpr std::array<char, 200> make_pairs()
{
    std::array<char, 200> texts{};
    for (std::size_t i = 0; i < 100; ++i) {
        texts[2 * i] = static_cast<char>('0' + i / 10);
        texts[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return texts;
}

constexpr std::array<char, 200> pairs = make_pairs();

void put_word(unsigned word, char* text)
{
    std::memcpy(text, &pairs[2 * std::size_t{word / 100}], 2);
    std::memcpy(text + 2, &pairs[2 * std::size_t{word % 100}], 2);
}

template <class Layout> void put_digits(Layout layout, const CALC_MNUM* n, Line& line)
{
    char* before_point = line.data() + point_at - 4 * layout.integer_words;
    for (int i = 0; i < layout.integer_words; ++i) {
        put_word(static_cast<unsigned>(n[i + 1]), before_point + 4 * i);
    }
    char* behind_point = line.data() + point_at + 1;
    for (int i = 0; i < layout.words - layout.integer_words; ++i) {
        put_word(static_cast<unsigned>(n[layout.integer_words + i + 1]), behind_point + 4 * i);
    }
}

char digit_or_mark(int digit)
{
    return digit >= 0 && digit <= 9 ? static_cast<char>('0' + digit) : '#';
}

// Words that are no digits: four characters of each from its right end, and what word 1 has left before them.
template <class Layout> void mark_integers(Layout layout, const CALC_MNUM* n, Line& line)
{
    int index = layout.integer_words;
    int word = index > 0 ? n[index] : 0;
    for (int position = point_at - 1, taken = 1; position >= 0; --position, ++taken) {
        at(line, position) = digit_or_mark(word % 10);
        word /= 10;
        if (taken % 4 == 0 && index > 1) {
            word = n[--index];
        }
    }
}

// Four characters of each from its left end, the first of which holds all that is above.
template <class Layout> void mark_decimals(Layout layout, const CALC_MNUM* n, Line& line)
{
    int position = point_at + 1;
    for (int i = layout.integer_words + 1; i <= layout.words; ++i) {
        int word = n[i];
        for (int weight = 1000; weight != 0; weight /= 10) {
            at(line, position++) = digit_or_mark(word / weight);
            word %= weight;
        }
    }
}

Line line_of(const CALC_MNUM* n)
{
    Line line;
    line.fill('0');
    with_layout([&](auto layout) {
        if (all_digits(layout, n)) {
            put_digits(layout, n, line);
        } else {
            mark_integers(layout, n, line);
            mark_decimals(layout, n, line);
        }
    });
    at(line, point_at) = GMDecPoint;
    return line;
}

// ---- Layout of the text ------------------------------------------------------------------------------------------

char sign_mark(const CALC_MNUM* n, bool plus)
{
    if (n[CALC_SGN] != CALC_SGNPOS) {
        return n[CALC_SGN] == CALC_SGNNEG ? '-' : '?';
    }
    return plus && calc_not_zero(n) != 0 ? '+' : '\0';
}

// Decimals of a text of `len` characters. A field cut short by the end of its record may have fewer characters than
// decimals; one of fewer than ten is left without any.
int shown_decimals(int len, int decs)
{
    return std::max(len < decs ? len - 10 : decs, 0);
}

// Blanks for leading zeros, but for the digit before the point. Returns the position of the first digit.
int blank_zeros(Line& line, int position)
{
    while (position < point_at - 1 && at(line, position) == '0') {
        at(line, position++) = ' ';
    }
    return position;
}

char* copy(const char* from, const char* end, char* to)
{
    const auto size = static_cast<std::size_t>(end - from);
    std::memcpy(to, from, size);
    return to + size;
}

} // namespace

// A text as long as its decimals has no room for the point, and none for a sign.
void calc_mtos(const CALC_MNUM* n, char* text, short len, short decs, int plus, int left)
{
    if (len < 0) {
        return;
    }
    const int size = std::min<int>(len, longest_text);
    const int decimals = shown_decimals(size, decs);
    std::array<CALC_MNUM, most_words + 1> rounded;
    calc_mtom(n, rounded.data());
    calc_redondear(rounded.data(), static_cast<short>(decimals), 0);
    Line line = line_of(rounded.data());

    const int begin = point_at - (decimals != 0 ? size - decimals - 1 : size);
    const char mark = size != 0 && begin <= point_at ? sign_mark(n, plus != 0) : '\0';
    const int behind_mark = begin + (mark != '\0' ? 1 : 0);
    const int first_digit = blank_zeros(line, behind_mark);
    if (mark != '\0') {
        at(line, begin) = mark;
    }
    const char* start = line.data() + begin;
    const char* end = start + size;
    if (left != 0) {
        text = copy(start, line.data() + behind_mark, text);
        start = line.data() + first_digit;
    }
    *copy(start, end, text) = '\0';
}
