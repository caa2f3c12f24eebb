// Random numbers, with fixed seeds, against plain loops (any words, any precision) and against whole integers.
#include "support/calc_agreement.h"
#include "support/calc_fixture.h"

#include <random>

namespace {

using boost::multiprecision::cpp_int;

class CalcModelTest : public CalcTest
{
protected:
    unsigned Below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    // Mostly round words, so that carries, borrows and ties are frequent.
    CALC_MNUM Digits()
    {
        const std::array<CALC_MNUM, 6> usual{0, 0, 9999, 1, 5000, 9990};
        return Below(2) != 0 ? usual.at(Below(6)) : static_cast<CALC_MNUM>(Below(10000));
    }

    CALC_MNUM AnyWord() { return Below(3) != 0 ? Digits() : static_cast<CALC_MNUM>(Below(65536)); }

    CalcNumber Valid(int words)
    {
        CalcNumber n{};
        const std::array<CALC_MNUM, 5> signs{0, 0, -1, -1, 9};
        n[0] = signs.at(Below(5));
        const unsigned leading_zeros = Below(static_cast<unsigned>(words));
        for (unsigned i = 1 + leading_zeros; i <= static_cast<unsigned>(words); ++i) {
            n.at(i) = Digits();
        }
        return n;
    }

    CalcNumber AnyWords(int words)
    {
        CalcNumber n{};
        std::generate_n(n.begin(), words + 1, [this] { return AnyWord(); });
        return n;
    }

    std::string AnyText()
    {
        const std::string alphabet = "00112233445566778899...-+ x,";
        std::string text(Below(30), '0');
        const unsigned variety = Below(3) != 0 ? 23 : 28; // digits and points, or everything
        std::generate(text.begin(), text.end(), [&] { return alphabet.at(Below(variety)); });
        return text;
    }

    std::string Disagreement(const CalcAgreement& agreement, const CalcNumber& a, const CalcNumber& b)
    {
        const int decs = static_cast<int>(Below(16)) - 2;
        std::string wrong = agreement.Pair(a, b, static_cast<int>(Below(40000)) - 20000, decs);
        wrong +=
            agreement.Print(b, static_cast<short>(Below(36)), static_cast<short>(decs), Below(2) != 0, Below(2) != 0);
        return wrong + agreement.Text(AnyText());
    }

    void Compare(int ints, int decs, int rounds)
    {
        ASSERT_EQ(calc_set_precision(static_cast<short>(ints), static_cast<short>(decs)), 0);
        const CalcAgreement agreement(ints, decs);
        const int words = agreement.Model().Words();
        for (int round = 0; round < rounds; ++round) {
            const bool valid = round % 2 == 0;
            const CalcNumber a = valid ? Valid(words) : AnyWords(words);
            const CalcNumber b = Below(8) == 0 ? a : (valid ? Valid(words) : AnyWords(words));
            ASSERT_EQ(Disagreement(agreement, a, b), "")
                << ints << "," << decs << " a " << testing::PrintToString(a) << " b " << testing::PrintToString(b);
        }
    }

    std::mt19937 m_random{20240117};
};

TEST_F(CalcModelTest, AgreesWithPlainLoopsInTheSystemsPrecision)
{
    Compare(16, 8, 15000);
}

TEST_F(CalcModelTest, AgreesWithPlainLoopsInPrecisionsOfTheSameWords)
{
    Compare(13, 11, 2000);
    Compare(15, 10, 2000);
}

TEST_F(CalcModelTest, AgreesWithPlainLoopsInEveryPrecision)
{
    for (int ints = 0; ints <= 32; ++ints) {
        for (int decs = 0; ints + decs <= 32; ++decs) {
            Compare(ints, decs, 40);
        }
    }
}

// ---- Whole integers: a number is a count of its smallest units, 10^-12 ----

cpp_int Units(const Words& n)
{
    cpp_int value = 0;
    for (std::size_t i = 1; i <= 7; ++i) {
        value = value * 10000 + n[i];
    }
    return n[0] == -1 ? cpp_int(-value) : value;
}

const cpp_int one = boost::multiprecision::pow(cpp_int(10), 12);
const cpp_int limit = boost::multiprecision::pow(cpp_int(10), 28);

class CalcExact : public CalcModelTest
{
protected:
    Words Random()
    {
        Words n{};
        const CalcNumber words = Valid(7);
        std::copy_n(words.begin(), 8, n.begin());
        n[0] = n[0] == 9 ? CALC_MNUM{0} : n[0];
        return n;
    }

    static Words OfUnits(cpp_int units)
    {
        Words n{};
        for (std::size_t i = 7; i >= 1; --i) {
            n[i] = static_cast<CALC_MNUM>(units % 10000);
            units /= 10000;
        }
        return n;
    }

    static void Check(int (*operation)(const CALC_MNUM*, CALC_MNUM*), const Words& a, Words b, const cpp_int& expected)
    {
        if (boost::multiprecision::abs(expected) >= limit) {
            return;
        }
        ASSERT_EQ(operation(a.data(), b.data()), 0);
        ASSERT_EQ(Units(b), expected);
    }
};

TEST_F(CalcExact, SumsDifferencesProductsAndQuotientsThatFitAreThoseOfIntegers)
{
    for (int round = 0; round < 20000; ++round) {
        const Words a = Random();
        const Words b = Random();
        Check(calc_add, a, b, Units(b) + Units(a));
        Check(calc_sub, a, b, Units(b) - Units(a));
        Check(calc_mul, a, b, Units(b) * Units(a) / one);
        if (Units(a) != 0 && Units(b) != 0) {
            Check(calc_div, a, b, Units(b) * one / Units(a));
        }
    }
}

// Where an estimated digit is most easily one too large or too small.
TEST_F(CalcExact, QuotientsNextToWholeMultiplesAreThoseOfIntegers)
{
    for (int round = 0; round < 20000; ++round) {
        const Words divisor = Random();
        const cpp_int dividend = Units(Random()) * Units(divisor) / one + static_cast<int>(Below(3)) - 1;
        if (Units(divisor) != 0 && dividend > 0 && dividend < limit) {
            Check(calc_div, divisor, OfUnits(dividend), dividend * one / Units(divisor));
        }
    }
}

TEST_F(CalcExact, RoundingAndTruncationAreThoseOfIntegers)
{
    for (int round = 0; round < 20000; ++round) {
        const int decs = static_cast<int>(Below(12));
        const cpp_int unit = boost::multiprecision::pow(cpp_int(10), 12 - static_cast<unsigned>(decs));
        const Words given = Random();
        const cpp_int units = boost::multiprecision::abs(Units(given));
        Words n = given;
        calc_redondear(n.data(), static_cast<short>(decs), 1);
        ASSERT_EQ(boost::multiprecision::abs(Units(n)), (units + unit / 2) / unit * unit % limit);
        n = given;
        calc_truncate(n.data(), decs);
        ASSERT_EQ(boost::multiprecision::abs(Units(n)), units / unit * unit);
        ASSERT_EQ(calc_with_decimals(given.data(), decs) != 0, units % one / unit != 0);
    }
}

TEST_F(CalcExact, ComparisonIsThatOfIntegers)
{
    for (int round = 0; round < 20000; ++round) {
        const Words a = Random();
        const Words b = Below(4) == 0 ? a : Random();
        const int order = calc_cmp(a.data(), b.data());
        ASSERT_EQ((order > 0) - (order < 0), Units(a).compare(Units(b)));
    }
}

TEST_F(CalcExact, TheTextOfANumberIsReadBackAsTheNumber)
{
    for (int round = 0; round < 20000; ++round) {
        Words n = Random();
        n[7] = 0;
        n[8] = 77;
        ASSERT_EQ(CalcTest::Number(Print(n, 26, 8)), n);
        ASSERT_EQ(CalcTest::Number(Print(n, 26, 8, 1, 1)), n);
    }
    EXPECT_TRUE(Reports().empty());
}

} // namespace
