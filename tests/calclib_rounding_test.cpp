#include "support/calc_fixture.h"

namespace {

class CalcRounding : public CalcTest
{
protected:
    static std::string Round(const Words& number, short decs, int cut)
    {
        Words n = number;
        calc_redondear(n.data(), decs, cut);
        EXPECT_EQ(n[8], 77) << "word 8 is touched";
        return Text(n);
    }
    static std::string Truncate(const Words& number, int decs)
    {
        Words n = number;
        EXPECT_EQ(calc_truncate(n.data(), decs), 0);
        EXPECT_EQ(n[8], 77) << "word 8 is touched";
        return Text(n);
    }
};

TEST_F(CalcRounding, GoesUpFromFive)
{
    EXPECT_EQ(Round(Number("1.235"), 2, 1), "1.240000000000");
    EXPECT_EQ(Round(Number("1.234"), 2, 1), "1.230000000000");
    EXPECT_EQ(Round(Number("1.5"), 0, 1), "2.000000000000");
}

TEST_F(CalcRounding, IgnoresTheSign)
{
    EXPECT_EQ(Round(Number("-1.235"), 2, 1), "-1.240000000000");
}

TEST_F(CalcRounding, LooksAtOneDigitAlone)
{
    EXPECT_EQ(Round(Number("1.2349999"), 2, 1), "1.230000000000");
}

TEST_F(CalcRounding, LeavesTheDigitsBehindUnlessTheyAreCut)
{
    EXPECT_EQ(Round(Number("1.23456789"), 2, 0), "1.234567890000");
    EXPECT_EQ(Round(Number("1.23456789"), 2, 1), "1.230000000000");
}

TEST_F(CalcRounding, UpReplacesTheDigitsOfItsWordAndLeavesLaterWords)
{
    EXPECT_EQ(Round(Number("1.23756789"), 2, 0), "1.240067890000");
    EXPECT_EQ(Round(Number("1.23756789"), 2, 1), "1.240000000000");
}

TEST_F(CalcRounding, CarriesThroughFullWords)
{
    EXPECT_EQ(Round(Number("9999.99999999"), 4, 1), "10000.000000000000");
    EXPECT_EQ(Round(Number("0.99995"), 4, 1), "1.000000000000");
}

TEST_F(CalcRounding, LosesTheCarryOutOfTheFirstWord)
{
    EXPECT_EQ(Round(Number("9999999999999999.5"), 0, 1), "0.000000000000");
}

TEST_F(CalcRounding, AtEightDecimalsLooksIntoTheGuard)
{
    EXPECT_EQ(Round(Of(0, {0, 0, 0, 0, 0, 1, 5000}), 8, 1), "0.000000020000");
    EXPECT_EQ(Round(Of(0, {0, 0, 0, 0, 0, 1, 4999}), 8, 1), "0.000000010000");
}

TEST_F(CalcRounding, BehindTheLastWordChangesNothing)
{
    for (const short decs : std::array<short, 4>{12, 13, 32, 32767}) {
        EXPECT_EQ(Round(Of(0, {0, 0, 0, 0, 1, 2, 9999}), decs, 1), "0.000100029999") << decs;
    }
}

TEST_F(CalcRounding, OfNegativeCountsIsThatOfZero)
{
    EXPECT_EQ(Round(Number("1.6"), -1, 1), "2.000000000000");
    EXPECT_EQ(Round(Number("1.6"), -32768, 1), "2.000000000000");
    EXPECT_EQ(Truncate(Number("1.6"), std::numeric_limits<int>::min()), "1.000000000000");
    EXPECT_EQ(calc_with_decimals(Number("1.6").data(), -1), 0);
}

TEST_F(CalcRounding, TruncationKeepsDigitsAndNeverRounds)
{
    EXPECT_EQ(Truncate(Number("-1.99999999"), 0), "-1.000000000000");
    EXPECT_EQ(Truncate(Number("-1.99999999"), 3), "-1.999000000000");
    EXPECT_EQ(Truncate(Number("-1.99999999"), 4), "-1.999900000000");
    EXPECT_EQ(Truncate(Of(0, {0, 0, 0, 0, 0, 0, 9999}), 11), "0.000000009990");
    EXPECT_EQ(Truncate(Of(0, {0, 0, 0, 0, 0, 0, 9999}), 12), "0.000000009999");
}

TEST_F(CalcRounding, WithDecimalsLooksAtTheFirstOnesAlone)
{
    const Words n = Number("5.0000012");
    EXPECT_EQ(calc_with_decimals(n.data(), 0), 0);
    EXPECT_EQ(calc_with_decimals(n.data(), 4), 0);
    EXPECT_EQ(calc_with_decimals(n.data(), 5), 0);
    EXPECT_EQ(calc_with_decimals(n.data(), 6), 1);
    EXPECT_EQ(calc_with_decimals(n.data(), 8), 1);
    EXPECT_EQ(calc_with_decimals(Number("0.5").data(), 4), 1);
}

TEST_F(CalcRounding, WithDecimalsEndsWithTheNumber)
{
    Words n = Number("5");
    EXPECT_EQ(calc_with_decimals(n.data(), 100), 0); // word 8 is not zero
    n[7] = 1;
    EXPECT_EQ(calc_with_decimals(n.data(), 11), 0);
    EXPECT_EQ(calc_with_decimals(n.data(), 12), 1);
    EXPECT_EQ(calc_with_decimals(n.data(), std::numeric_limits<int>::max()), 1);
}

} // namespace
