// Does the library agree with the model? Every check names the first operation that doesn't, or says nothing. The
// arrays given to the library have a guard word behind their last one.
#pragma once

#include "support/calc_model.h"

#include <cstring>
#include <string>

class CalcAgreement
{
public:
    // The precision must be set in the library already.
    CalcAgreement(int ints, int decs) : m_model(ints, decs) {}

    [[nodiscard]] const CalcModel& Model() const { return m_model; }

    [[nodiscard]] std::string Pair(const CalcNumber& a, const CalcNumber& b, int factor, int decs) const
    {
        std::string wrong;
        wrong += Binary("add", calc_add, &CalcModel::Add, a, b);
        wrong += Binary("sub", calc_sub, &CalcModel::Sub, a, b);
        wrong += Binary("mul", calc_mul, &CalcModel::Mul, a, b);
        wrong += Binary("div", calc_div, &CalcModel::Div, a, b);
        wrong += calc_cmp(a.data(), b.data()) == m_model.Compare(a, b) ? "" : "cmp ";
        wrong += Changed(
            "muli", b, [=](CALC_MNUM* n) { return calc_muli(factor, n); },
            [=, this](CalcNumber& n) { return m_model.Muli(factor, n); });
        return wrong + Single(b, decs);
    }

    [[nodiscard]] std::string Text(const std::string& text) const
    {
        const CalcNumber before{7, 7, 7, 7, 7, 7, 7, 7, 7, 7};
        return Changed(
            "stom", before, [&](CALC_MNUM* n) { return calc_stom(text.c_str(), n); },
            [&](CalcNumber& n) { return m_model.Parse(text.c_str(), n); });
    }

    // `len` above 0 and `decs` from 0 to `len` - 1 are compared; any others must stay inside the text.
    [[nodiscard]] std::string Print(const CalcNumber& n, short len, short decs, bool plus, bool left) const
    {
        constexpr std::size_t room = 32 + 1;
        std::array<char, room + 2> buffer;
        buffer.fill('~');
        calc_mtos(n.data(), buffer.data() + 1, len, decs, plus ? 1 : 0, left ? 1 : 0);
        const std::size_t allowed = len < 0 ? 0 : static_cast<std::size_t>(std::min<int>(len, 32)) + 1;
        const bool inside = buffer[0] == '~' && std::all_of(buffer.begin() + 1 + static_cast<std::ptrdiff_t>(allowed),
                                                            buffer.end(), [](char c) { return c == '~'; });
        if (!inside) {
            return "mtos writes outside ";
        }
        if (len <= 0) {
            return allowed == 0 || buffer[1] == '\0' ? "" : "mtos has no terminator ";
        }
        if (std::memchr(buffer.data() + 1, '\0', allowed) == nullptr) {
            return "mtos has no terminator ";
        }
        const bool plain = decs >= 0 && decs < std::min<int>(len, 32);
        return !plain || m_model.Print(n, len, decs, plus, left) == buffer.data() + 1 ? "" : "mtos ";
    }

private:
    template <class Ours, class Theirs>
    [[nodiscard]] std::string Changed(const char* name, const CalcNumber& before, Ours ours, Theirs theirs) const
    {
        CalcNumber expected = before;
        std::array<CALC_MNUM, CALC_MXELEMD4 + 2> got{};
        std::copy(before.begin(), before.end(), got.begin());
        const auto guard = static_cast<std::size_t>(m_model.Words() + 1);
        got[guard] = 12321;
        const int code = theirs(expected);
        const bool same = ours(got.data()) == code && std::equal(got.begin(), got.begin() + guard, expected.begin());
        return same && got[guard] == 12321 ? "" : std::string(name) + " ";
    }

    template <class Theirs>
    [[nodiscard]] std::string Binary(const char* name, int (*ours)(const CALC_MNUM*, CALC_MNUM*), Theirs theirs,
                                     const CalcNumber& a, const CalcNumber& b) const
    {
        const CalcNumber a_before = a;
        std::string wrong = Changed(
            name, b, [&](CALC_MNUM* n) { return ours(a.data(), n); },
            [&](CalcNumber& n) { return (m_model.*theirs)(a, n); });
        wrong += Changed(
            name, b, [&](CALC_MNUM* n) { return ours(n, n); }, [&](CalcNumber& n) { return (m_model.*theirs)(b, n); });
        return wrong + (a == a_before ? "" : "first operand written ");
    }

    [[nodiscard]] std::string Single(const CalcNumber& b, int decs) const
    {
        std::string wrong;
        for (const bool cut : {false, true}) {
            wrong += Changed(
                "redondear", b,
                [=](CALC_MNUM* n) { return calc_redondear(n, static_cast<short>(decs), cut ? 1 : 0), 0; },
                [=, this](CalcNumber& n) { return m_model.Round(n, static_cast<short>(decs), cut), 0; });
        }
        wrong += Changed(
            "truncate", b, [=](CALC_MNUM* n) { return calc_truncate(n, decs); },
            [=, this](CalcNumber& n) { return m_model.Truncate(n, decs), 0; });
        wrong += (calc_with_decimals(b.data(), decs) != 0) == m_model.WithDecimals(b, decs) ? "" : "with_decimals ";
        wrong += (calc_not_zero(b.data()) != 0) == m_model.NotZero(b) ? "" : "not_zero ";
        return wrong + Complement(b);
    }

    [[nodiscard]] std::string Complement(const CalcNumber& b) const
    {
        return Changed(
            "com", b, [](CALC_MNUM* n) { return calc_com(n), 0; },
            [this](CalcNumber& n) {
                n[0] = n[0] != 0 ? CALC_SGNOVERFLOW : CALC_SGNPOS;
                std::transform(n.begin() + 1, n.begin() + 1 + m_model.Words(), n.begin() + 1,
                               [](CALC_MNUM word) { return static_cast<CALC_MNUM>(9999 - word); });
                return 0;
            });
    }

    CalcModel m_model;
};
