// Decimal arithmetic in plain loops, one word and one character at a time, for any words and any precision: what the
// library's own, faster code is compared with. A quotient is that of whole integers.
#pragma once

#include "calclib/calclib.h"

#include <boost/multiprecision/cpp_int.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

using CalcNumber = std::array<CALC_MNUM, CALC_MXELEMD4 + 1>; // sign word and nine digit words

class CalcModel
{
public:
    CalcModel(int ints, int decs)
        : m_ints(ints), m_decs(decs), m_integer_words((ints + 3) / 4), m_words(m_integer_words + (decs + 4) / 4)
    {
    }

    [[nodiscard]] int IntegerWords() const { return m_integer_words; }
    [[nodiscard]] int Words() const { return m_words; }

    int Add(CalcNumber a, CalcNumber& b) const
    {
        bool a_larger = false;
        for (int i = m_words; i >= 1; --i) {
            a_larger = Word(a, i) != Word(b, i) ? Word(a, i) > Word(b, i) : a_larger;
        }
        if (a[0] == b[0]) {
            return AddMagnitudes(a, b);
        }
        const CalcNumber larger = a_larger ? a : b;
        const CalcNumber smaller = a_larger ? b : a;
        SubtractMagnitudes(larger, smaller, b);
        return 0;
    }

    int Sub(CalcNumber a, CalcNumber& b) const
    {
        a[0] = static_cast<CALC_MNUM>(~a[0]);
        return Add(a, b);
    }

    int Mul(const CalcNumber& a, CalcNumber& b) const
    {
        std::array<std::int64_t, 64> work{}; // the columns begin at index 32
        for (int i = 1; i <= m_words; ++i) {
            for (int j = 1; j <= m_words; ++j) {
                work.at(static_cast<std::size_t>(32 + i + j)) += Word(a, i) * Word(b, j);
            }
        }
        const std::size_t lowest = 32 + static_cast<std::size_t>(std::max(m_integer_words - 1, 1));
        for (std::size_t k = 32 + 2 * static_cast<std::size_t>(m_words); k >= lowest; --k) {
            work.at(k - 1) += work.at(k) / 10000;
            work.at(k) %= 10000;
        }
        b[0] = static_cast<CALC_MNUM>(a[0] ^ b[0]);
        const std::size_t above = 32 + static_cast<std::size_t>(m_integer_words);
        for (int i = 1; i <= m_words; ++i) {
            Word(b, i) = static_cast<CALC_MNUM>(work.at(above + static_cast<std::size_t>(i)));
        }
        bool overflow = work.at(above) != 0;
        for (std::size_t k = 32; k + 2 <= above; ++k) {
            overflow = overflow || work.at(k) > 0;
        }
        return overflow ? 1 : 0;
    }

    int Muli(int n, CalcNumber& b) const
    {
        const std::int64_t factor = n < 0 ? -std::int64_t{n} : n;
        std::int16_t carry = 0;
        for (int i = m_integer_words + 1; i >= 1; --i) {
            const auto word = static_cast<std::int16_t>(carry + factor * Word(b, i));
            carry = static_cast<std::int16_t>(carry + word / 10000);
            Word(b, i) = static_cast<CALC_MNUM>(word % 10000);
        }
        b[0] = static_cast<CALC_MNUM>((n < 0 ? 1 : 0) ^ b[0]);
        return carry != 0 ? 1 : 0;
    }

    // Words that are no digits count as the nearest that are.
    int Div(const CalcNumber& a, CalcNumber& b) const
    {
        using boost::multiprecision::cpp_int;
        const auto sign = static_cast<CALC_MNUM>(a[0] ^ b[0]);
        const cpp_int divisor = Whole(a);
        cpp_int dividend = Whole(b);
        std::fill_n(b.begin(), m_words + 1, CALC_MNUM{0});
        if (dividend == 0) {
            b[0] = sign;
            return 1;
        }
        if (divisor == 0) {
            return 1;
        }
        for (int i = m_integer_words; i < m_words; ++i) {
            dividend *= 10000;
        }
        cpp_int quotient = dividend / divisor;
        for (int i = m_words; i >= 1; --i) {
            Word(b, i) = static_cast<CALC_MNUM>(quotient % 10000);
            quotient /= 10000;
        }
        if (quotient != 0) {
            std::fill_n(b.begin(), m_words + 1, CALC_MNUM{0});
            return 1;
        }
        b[0] = sign;
        return 0;
    }

    // The digits are dropped one by one from the right.
    void Round(CalcNumber& n, int decs, bool cut) const
    {
        const int w = m_integer_words + std::max(decs, 0) / 4 + 1;
        if (w > m_words) {
            return;
        }
        int rest = Word(n, w);
        int power = 1;
        int dropped = 0;
        for (int i = std::max(decs, 0) % 4; i < 4; ++i) {
            dropped = rest % 10;
            rest /= 10;
            power *= 10;
        }
        if (dropped > 4) {
            Carry(n, w, (rest + 1) * power);
        } else if (cut) {
            Word(n, w) = static_cast<CALC_MNUM>(rest * power);
        }
        for (int i = w + 1; cut && i <= m_words; ++i) {
            Word(n, i) = 0;
        }
    }

    void Truncate(CalcNumber& n, int decs) const
    {
        const int w = m_integer_words + std::max(decs, 0) / 4 + 1;
        int unit = 1;
        for (int digit = std::max(decs, 0) % 4; digit < 4; ++digit) {
            unit *= 10;
        }
        for (int i = w; i <= m_words; ++i) {
            Word(n, i) = static_cast<CALC_MNUM>(i == w ? Word(n, i) - Word(n, i) % unit : 0);
        }
    }

    [[nodiscard]] bool WithDecimals(const CalcNumber& n, int decs) const
    {
        for (int i = m_integer_words + 1; i <= m_words && decs > 0; ++i, decs -= 4) {
            int word = Word(n, i);
            for (int digit = decs; digit < 4; ++digit) {
                word /= 10;
            }
            if (word != 0) {
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] bool NotZero(const CalcNumber& n) const
    {
        return std::any_of(n.begin() + 1, n.begin() + 1 + m_words, [](CALC_MNUM word) { return word != 0; });
    }

    [[nodiscard]] int Compare(const CalcNumber& a, const CalcNumber& b) const
    {
        if (a[0] != b[0]) {
            return !NotZero(a) && !NotZero(b) ? 0 : (a[0] == 0 ? 1 : -1);
        }
        for (int i = 1; i <= m_words; ++i) {
            if (Word(a, i) != Word(b, i)) {
                const int difference = Word(a, i) - Word(b, i);
                return static_cast<std::int16_t>(a[0] != 0 ? -difference : difference);
            }
        }
        return 0;
    }

    // With points of '.'; reports nothing.
    int Parse(const std::string& text, CalcNumber& n) const
    {
        std::size_t from = text.find_first_not_of(' ');
        from = from == std::string::npos ? text.size() : from;
        CALC_MNUM sign = 0;
        if (from < text.size() && (text[from] == '-' || text[from] == '+')) {
            sign = text[from] == '-' ? CALC_MNUM{-1} : CALC_MNUM{0};
            from = std::min(text.find_first_not_of(' ', from + 1), text.size());
        }
        const std::size_t point = std::min(text.find('.', from), text.size());
        std::string ints = text.substr(from, point - from);
        std::string decs = point < text.size() ? text.substr(point + 1) : "";
        if (ints.size() > static_cast<std::size_t>(m_ints)) {
            return 2;
        }
        ints.insert(0, static_cast<std::size_t>(4 * m_integer_words) - ints.size(), '0');
        decs.resize(std::min(decs.size(), static_cast<std::size_t>(m_decs)));
        decs.resize(static_cast<std::size_t>(4 * (m_words - m_integer_words)), '0');
        n[0] = sign;
        for (int i = 1; i <= m_words; ++i) {
            Word(n, i) = FourDigits(ints + decs, static_cast<std::size_t>(4 * (i - 1)));
        }
        return 0;
    }

    // Needs a `len` above 0 and `decs` below it.
    [[nodiscard]] std::string Print(const CalcNumber& n, int len, int decs, bool plus, bool left) const
    {
        len = std::min(len, 32);
        CalcNumber copy = n;
        Round(copy, decs, false);
        const int point = decs != 0 ? len - decs - 1 : len;
        std::string text(static_cast<std::size_t>(len), '0');
        FillIntegers(copy, point, text);
        FillDecimals(copy, point, text);
        std::size_t start = 0;
        if (n[0] != 0 || (plus && NotZero(n))) {
            text[start++] = n[0] == 0 ? '+' : (n[0] == -1 ? '-' : '?');
        }
        std::size_t digit = start;
        while (static_cast<int>(digit) < point - 1 && text[digit] == '0') {
            text[digit++] = ' ';
        }
        return left ? text.substr(0, start) + text.substr(digit) : text;
    }

private:
    static const CALC_MNUM& Word(const CalcNumber& n, int i) { return n.at(static_cast<std::size_t>(i)); }
    static CALC_MNUM& Word(CalcNumber& n, int i) { return n.at(static_cast<std::size_t>(i)); }

    int AddMagnitudes(const CalcNumber& a, CalcNumber& b) const
    {
        int carry = 0;
        for (int i = m_words; i >= 1; --i) {
            const int sum = Word(a, i) + Word(b, i) + carry;
            carry = sum > 9999 ? 1 : 0;
            Word(b, i) = static_cast<CALC_MNUM>(carry != 0 ? sum - 10000 : sum);
        }
        b[0] = carry != 0 ? CALC_SGNOVERFLOW : (NotZero(b) ? a[0] : CALC_SGNPOS);
        return carry;
    }

    void SubtractMagnitudes(const CalcNumber& larger, const CalcNumber& smaller, CalcNumber& result) const
    {
        int borrow = 0;
        for (int i = m_words; i >= 0; --i) {
            const int difference = Word(larger, i) - Word(smaller, i) - borrow;
            borrow = difference < 0 ? 1 : 0;
            Word(result, i) = static_cast<CALC_MNUM>(borrow != 0 ? difference + 10000 : difference);
        }
        result[0] = result[0] != 0 || NotZero(result) ? larger[0] : CALC_SGNPOS;
    }

    void Carry(CalcNumber& n, int w, int value) const
    {
        Word(n, w) = value > 9999 ? CALC_MNUM{0} : static_cast<CALC_MNUM>(value);
        bool carry = value > 9999;
        for (int i = w - 1; i >= 1 && carry; --i) {
            const int sum = Word(n, i) + 1;
            carry = sum > 9999;
            Word(n, i) = static_cast<CALC_MNUM>(carry ? sum - 10000 : sum);
        }
    }

    static CALC_MNUM FourDigits(const std::string& text, std::size_t from)
    {
        int word = 0;
        for (const char c : text.substr(from, 4)) {
            word = word * 10 + (c >= '0' && c <= '9' ? c - '0' : 0);
        }
        return static_cast<CALC_MNUM>(word);
    }

    static char Character(int digit) { return digit >= 0 && digit <= 9 ? static_cast<char>('0' + digit) : '#'; }

    void FillIntegers(CalcNumber& copy, int point, std::string& text) const
    {
        int w = m_integer_words;
        for (int position = point - 1, digit = 1; position >= 0 && w > 0; --position, ++digit) {
            text.at(static_cast<std::size_t>(position)) = Character(Word(copy, w) % 10);
            Word(copy, w) = static_cast<CALC_MNUM>(Word(copy, w) / 10);
            w -= digit % 4 == 0 && w > 1 ? 1 : 0;
        }
    }

    void FillDecimals(const CalcNumber& copy, int point, std::string& text) const
    {
        if (point < static_cast<int>(text.size())) {
            text.at(static_cast<std::size_t>(point)) = '.';
        }
        int position = point + 1;
        for (int w = m_integer_words + 1; w <= m_words; ++w) {
            int rest = Word(copy, w);
            for (int weight = 1000; weight > 0 && position < static_cast<int>(text.size()); weight /= 10) {
                text.at(static_cast<std::size_t>(position++)) = Character(rest / weight);
                rest %= weight;
            }
        }
    }

    [[nodiscard]] boost::multiprecision::cpp_int Whole(const CalcNumber& n) const
    {
        boost::multiprecision::cpp_int value = 0;
        for (int i = 1; i <= m_words; ++i) {
            value = value * 10000 + std::clamp<int>(Word(n, i), 0, 9999);
        }
        return value;
    }

    int m_ints;
    int m_decs;
    int m_integer_words;
    int m_words;
};
