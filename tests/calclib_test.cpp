#include "support/calc_fixture.h"

#include <gmock/gmock.h>

namespace {

using Calc = CalcTest;

// Result code and text of an operation.
std::string After(int code, const std::string& text)
{
    return std::to_string(code) + " " + text;
}

class CalcArithmetic : public CalcTest
{
protected:
    static std::string Do(char op, const Words& a, Words b)
    {
        const int code = calc_do(a.data(), op, b.data());
        EXPECT_EQ(b[8], 77) << "word 8 is touched";
        return After(code, Text(b));
    }
    static std::string Do(char op, const std::string& a, const std::string& b) { return Do(op, Number(a), Number(b)); }
};

constexpr const char* largest = "9999999999999999.99999999";

// ---- Addition ----

TEST_F(CalcArithmetic, AddsAndCarries)
{
    EXPECT_EQ(Do('+', "0.00000001", "9999.99999999"), "0 10000.000000000000");
    EXPECT_EQ(Do('+', "-1.5", "-2.75"), "0 -4.250000000000");
    EXPECT_EQ(Do('+', "-1.5", "2"), "0 0.500000000000");
    EXPECT_EQ(Do('+', "1.5", "-2"), "0 -0.500000000000");
}

TEST_F(CalcArithmetic, AnAdditionThatOverflowsWrapsAndMarksTheSign)
{
    Words b = Number(largest);
    EXPECT_EQ(calc_add(Number("1").data(), b.data()), 1);
    EXPECT_EQ(b, Of(9, {0, 0, 0, 0, 9999, 9999, 0}));
}

TEST_F(CalcArithmetic, TheMarkOfAnOverflowStaysInLaterSums)
{
    const Words marked = Of(9, {0, 0, 0, 5, 0, 0, 0});
    EXPECT_EQ(Do('+', Number("2"), marked), "0 ?3.000000000000");
    EXPECT_EQ(Do('+', marked, marked), "0 ?10.000000000000");
}

TEST_F(CalcArithmetic, OppositeNumbersAddToAZeroWithTheSignOfTheSecond)
{
    Words b = Number("-5");
    EXPECT_EQ(calc_add(Number("5").data(), b.data()), 0);
    EXPECT_EQ(b, Of(-1, {0, 0, 0, 0, 0, 0, 0}));
    b = Number("5");
    EXPECT_EQ(calc_add(Number("-5").data(), b.data()), 0);
    EXPECT_EQ(b, Of(0, {0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(CalcArithmetic, TwoNegativeZerosAddToAPlainZero)
{
    EXPECT_EQ(Do('+', "-0", "-0"), "0 0.000000000000");
    EXPECT_EQ(Do('+', "0", "-0"), "0 -0.000000000000");
}

TEST_F(CalcArithmetic, TheGuardWordTakesPart)
{
    EXPECT_EQ(Do('+', Of(0, {0, 0, 0, 0, 0, 0, 1}), Of(0, {0, 0, 0, 0, 9999, 9999, 9999})), "0 1.000000000000");
    EXPECT_EQ(Do('-', Of(0, {0, 0, 0, 0, 0, 0, 1}), Number("1")), "0 0.999999999999");
}

TEST_F(CalcArithmetic, SubtractionTakesTheFirstFromTheSecond)
{
    EXPECT_EQ(Do('-', "3", "10"), "0 7.000000000000");
    EXPECT_EQ(Do('-', "10", "3"), "0 -7.000000000000");
    EXPECT_EQ(Do('-', "-3", "-10"), "0 -7.000000000000");
    EXPECT_EQ(Do('-', largest, std::string("-") + largest), "1 ?9999999999999999.999999980000");
}

TEST_F(CalcArithmetic, NoOperationWritesItsFirstOperand)
{
    for (const char op : {'+', '-', '*', '/'}) {
        const Words a = Number("-12.5");
        Words b = Number("7.25");
        calc_do(a.data(), op, b.data());
        EXPECT_EQ(a, Number("-12.5")) << op;
    }
}

TEST_F(CalcArithmetic, BothOperandsMayBeTheSameArray)
{
    for (const char op : {'+', '-', '*', '/'}) {
        for (const char* text : {"-12.5", "7", "0", "-0", "9999999999999999"}) {
            Words copy = Number(text);
            Words same = Number(text);
            const int code = calc_do(Number(text).data(), op, copy.data());
            EXPECT_EQ(calc_do(same.data(), op, same.data()), code) << op << text;
            EXPECT_EQ(same, copy) << op << text;
        }
    }
}

// ---- Multiplication ----

TEST_F(CalcArithmetic, MultipliesAndCutsBehindTheTwelfthDecimal)
{
    EXPECT_EQ(Do('*', "12.5", "-0.04"), "0 -0.500000000000");
    EXPECT_EQ(Do('*', "-3", "-3"), "0 9.000000000000");
    EXPECT_EQ(Do('*', "0.00009999", "0.00009999"), "0 0.000000009998"); // ...0001 is cut
    EXPECT_EQ(Do('*', Of(0, {0, 0, 0, 0, 0, 0, 9999}), Number("0.99999999")), "0 0.000000009998");
    EXPECT_EQ(Do('*', "99999999", "99999999"), "0 9999999800000001.000000000000");
}

TEST_F(CalcArithmetic, AProductOfZeroKeepsTheSignOfTheRule)
{
    EXPECT_EQ(Do('*', "-5", "0"), "0 -0.000000000000");
}

TEST_F(CalcArithmetic, AProductOf10To16OverflowsThroughTheWordAboveTheNumber)
{
    EXPECT_EQ(Do('*', "100000000", "100000000"), "1 0.000000000000");
}

TEST_F(CalcArithmetic, AProductOf10To20IsNotSeenAndLosesItsUpperDigits)
{
    EXPECT_EQ(Do('*', "1000000000000", "100000000"), "0 0.000000000000");
    EXPECT_EQ(Do('*', "1000000000000", "999900000007"), "0 7000000000000.000000000000");
}

TEST_F(CalcArithmetic, AProductOf10To24OverflowsThroughTheUppermostColumn)
{
    EXPECT_EQ(Do('*', "1000000000000", "1000000000000"), "1 0.000000000000");
}

// ---- Division ----

TEST_F(CalcArithmetic, DividesTheSecondByTheFirstAndCuts)
{
    EXPECT_EQ(Do('/', "3", "1"), "0 0.333333333333");
    EXPECT_EQ(Do('/', "-3", "2"), "0 -0.666666666666");
    EXPECT_EQ(Do('/', "-0.5", "-1"), "0 2.000000000000");
    EXPECT_EQ(Do('/', "9999999999999999", "0.00000001"), "0 0.000000000000");
}

TEST_F(CalcArithmetic, DividesExactlyByDivisorsOfManyWords)
{
    EXPECT_EQ(Do('/', "4.874247", "421677.65"), "0 86511.342162184230");
    EXPECT_EQ(Do('/', "12345678.12345678", "99999999.99999999"), "0 8.100000583200");
}

TEST_F(CalcArithmetic, AQuotientBelowTheLastDecimalIsAZeroWithItsSign)
{
    EXPECT_EQ(Do('/', "-9999999999999999", "0.0001"), "0 -0.000000000000");
}

TEST_F(CalcArithmetic, DivisionByZeroClearsTheResult)
{
    Words b = Number("-7");
    EXPECT_EQ(calc_div(Number("0").data(), b.data()), 1);
    EXPECT_EQ(b, Of(0, {0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(CalcArithmetic, ZeroDividedIsZeroAndSaysOne)
{
    EXPECT_EQ(Do('/', "7", "0"), "1 0.000000000000");
    EXPECT_EQ(Do('/', "-7", "0"), "1 -0.000000000000");
    EXPECT_EQ(Do('/', "-0", "0"), "1 -0.000000000000"); // zero dividends come before zero divisors
}

TEST_F(CalcArithmetic, AQuotientOf10To16Overflows)
{
    EXPECT_EQ(Do('/', "0.1", "-1000000000000000"), "1 0.000000000000");
    EXPECT_EQ(Do('/', "0.00000001", "9999999999999999"), "1 0.000000000000");
    EXPECT_EQ(Do('/', "0.1", "-999999999999999.99999999"), "0 -9999999999999999.999999900000");
}

// ---- The rest ----

TEST_F(Calc, DoRefusesOtherOperations)
{
    Words b = Number("7");
    for (const short op : std::array<short, 4>{'%', 0, -1, '+' + 256}) {
        EXPECT_EQ(calc_do(b.data(), op, b.data()), -1);
    }
    EXPECT_EQ(b, Number("7"));
}

TEST_F(Calc, MuliMultipliesTheWordsDownToTheFirstDecimals)
{
    Words b = Number("12.00340056");
    EXPECT_EQ(calc_muli(3, b.data()), 0);
    EXPECT_EQ(b, Of(0, {0, 0, 0, 36, 102, 56, 0}));
}

TEST_F(Calc, MuliKeepsAddingItsCarryToEveryWordAbove)
{
    Words b = Number("5000.5");
    EXPECT_EQ(calc_muli(3, b.data()), 1);
    EXPECT_EQ(b, Of(0, {2, 2, 2, 5001, 5000, 0, 0}));
}

TEST_F(Calc, MuliOfANegativeFactorMakesTheSignWordOne)
{
    Words b = Number("2");
    EXPECT_EQ(calc_muli(-3, b.data()), 0);
    EXPECT_EQ(b, Of(1, {0, 0, 0, 6, 0, 0, 0}));
    b = Number("-2");
    EXPECT_EQ(calc_muli(-3, b.data()), 0);
    EXPECT_EQ(b, Of(-2, {0, 0, 0, 6, 0, 0, 0}));
}

TEST_F(Calc, MuliWrapsInSixteenBits)
{
    Words b = Number("9999");
    EXPECT_EQ(calc_muli(4, b.data()), 1); // 39996 is -25540 in 16 bits
    EXPECT_EQ(b, Of(0, {-2, -2, -2, -5540, 0, 0, 0}));
    EXPECT_EQ(calc_muli(std::numeric_limits<int>::min(), b.data()), 0);
}

TEST_F(Calc, ComparesByTheFirstDifferentWord)
{
    EXPECT_EQ(calc_cmp(Number("5").data(), Number("3").data()), 2);
    EXPECT_EQ(calc_cmp(Number("3").data(), Number("5").data()), -2);
    EXPECT_EQ(calc_cmp(Number("-5").data(), Number("-3").data()), -2);
    EXPECT_EQ(calc_cmp(Number("1.0007").data(), Number("1.0002").data()), 5);
    EXPECT_EQ(calc_cmp(Of(0, {0, 0, 0, 0, 0, 0, 9}).data(), Number("0").data()), 9);
    EXPECT_EQ(calc_cmp(Number("-1.5").data(), Number("-1.5").data()), 0);
}

TEST_F(Calc, ComparesUnlikeSignsByTheFirstSign)
{
    EXPECT_EQ(calc_cmp(Number("1").data(), Number("-9").data()), 1);
    EXPECT_EQ(calc_cmp(Number("-9").data(), Number("1").data()), -1);
    EXPECT_EQ(calc_cmp(Number("-0").data(), Number("1").data()), -1);
    EXPECT_EQ(calc_cmp(Of(9, {0, 0, 0, 1, 0, 0, 0}).data(), Number("-1").data()), -1);
}

TEST_F(Calc, ANegativeZeroEqualsZero)
{
    EXPECT_EQ(calc_cmp(Number("-0").data(), Number("0").data()), 0);
    EXPECT_EQ(calc_cmp(Number("0").data(), Number("-0").data()), 0);
}

TEST_F(Calc, NotZeroLooksAtEveryDigitWordAndNotAtTheSign)
{
    EXPECT_EQ(calc_not_zero(Number("-0").data()), 0);
    for (std::size_t i = 1; i <= 7; ++i) {
        Words n = Number("0");
        n[i] = 1;
        EXPECT_EQ(calc_not_zero(n.data()), 1) << i;
    }
}

TEST_F(Calc, CopyAndClearTouchEightWords)
{
    Words to{};
    to[8] = 5;
    calc_mtom(Of(-1, {1, 2, 3, 4, 5, 6, 7}).data(), to.data());
    EXPECT_THAT(to, testing::ElementsAre(-1, 1, 2, 3, 4, 5, 6, 7, 5));
    calc_zer(to.data());
    EXPECT_THAT(to, testing::ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 5));
}

TEST_F(Calc, ComplementTakesEveryWordFromNines)
{
    Words n = Of(-1, {0, 1, 9999, 5000, 0, 0, 1234});
    calc_com(n.data());
    EXPECT_EQ(n, Of(9, {9999, 9998, 0, 4999, 9999, 9999, 8765}));
    n[0] = 0;
    calc_com(n.data());
    EXPECT_EQ(n, Of(0, {0, 1, 9999, 5000, 0, 0, 1234}));
}

} // namespace
