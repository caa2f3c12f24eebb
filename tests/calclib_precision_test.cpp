#include "support/calc_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

class CalcPrecision : public CalcTest
{
protected:
    static std::vector<int> State()
    {
        return {GMNtInt, GMNtDec, GMNtDig, GMMxLen, GMNumIntD4, GMNumDecD4, GMNtDigD4, GMMxLenIntD4};
    }
};

TEST_F(CalcPrecision, IsTheSystemsFromTheStart)
{
    EXPECT_THAT(State(), ElementsAre(16, 8, 24, 25, 4, 3, 7, 8));
    EXPECT_EQ(GMDecPoint, '.');
    EXPECT_EQ(GMCommaSepar, ',');
}

TEST_F(CalcPrecision, IsSetWithAllItsCounts)
{
    EXPECT_EQ(calc_set_precision(5, 3), 0);
    EXPECT_THAT(State(), ElementsAre(5, 3, 8, 9, 2, 1, 3, 4));
    EXPECT_EQ(calc_set_precision(16, 8), 0);
    EXPECT_THAT(State(), ElementsAre(16, 8, 24, 25, 4, 3, 7, 8));
    EXPECT_EQ(calc_set_precision(0, 0), 0);
    EXPECT_THAT(State(), ElementsAre(0, 0, 0, 1, 0, 1, 1, 2));
    EXPECT_EQ(calc_set_precision(0, 32), 0);
    EXPECT_THAT(State(), ElementsAre(0, 32, 32, 33, 0, 9, 9, 10));
}

TEST_F(CalcPrecision, RefusesMoreThan32DigitsAndChangesNothing)
{
    EXPECT_EQ(calc_set_precision(30, 3), -1);
    EXPECT_EQ(calc_set_precision(32767, 32767), -1);
    EXPECT_THAT(State(), ElementsAre(16, 8, 24, 25, 4, 3, 7, 8));
}

TEST_F(CalcPrecision, RefusesNegativeCounts)
{
    EXPECT_EQ(calc_set_precision(-1, 8), -1);
    EXPECT_EQ(calc_set_precision(16, -1), -1);
    EXPECT_EQ(calc_set_precision(-32768, -32768), -1);
    EXPECT_THAT(State(), ElementsAre(16, 8, 24, 25, 4, 3, 7, 8));
}

TEST_F(CalcPrecision, PointAndSeparatorChangePlaces)
{
    EXPECT_EQ(calc_set_decimal_point(','), 0);
    EXPECT_EQ(GMDecPoint, ',');
    EXPECT_EQ(GMCommaSepar, '.');
    EXPECT_EQ(calc_set_decimal_point(';'), -1);
    EXPECT_EQ(GMDecPoint, ',');
    EXPECT_EQ(calc_set_decimal_point('.'), 0);
    EXPECT_EQ(GMDecPoint, '.');
    EXPECT_EQ(GMCommaSepar, ',');
}

TEST_F(CalcPrecision, OfSixDecimalsPadsTheLastWord)
{
    calc_set_precision(4, 6);
    std::array<CALC_MNUM, 5> n{0, 0, 0, 0, 77};
    EXPECT_EQ(calc_stom("-12.123456789", n.data()), 0);
    EXPECT_THAT(n, ElementsAre(-1, 12, 1234, 5600, 77));
}

TEST_F(CalcPrecision, WithoutIntegersTakesAndPrintsFractions)
{
    calc_set_precision(0, 4);
    std::array<CALC_MNUM, 4> n{0, 0, 0, 77};
    EXPECT_EQ(calc_stom("1.5", n.data()), 2);
    EXPECT_EQ(calc_stom("-.1234", n.data()), 0);
    EXPECT_THAT(n, ElementsAre(-1, 1234, 0, 77));
    EXPECT_EQ(calc_add(n.data(), n.data()), 0);
    EXPECT_THAT(n, ElementsAre(-1, 2468, 0, 77));
    std::array<char, 9> text{};
    calc_mtos(n.data(), text.data(), 8, 4, 0, 0);
    EXPECT_STREQ(text.data(), "- 0.2468");
}

TEST_F(CalcPrecision, WithoutDecimalsHasTheGuardWord)
{
    calc_set_precision(4, 0);
    std::array<CALC_MNUM, 4> a{0, 3, 0, 77};
    std::array<CALC_MNUM, 4> b{0, 2, 0, 77};
    EXPECT_EQ(calc_div(a.data(), b.data()), 0);
    EXPECT_THAT(b, ElementsAre(0, 0, 6666, 77));
    calc_redondear(b.data(), 0, 1);
    EXPECT_THAT(b, ElementsAre(0, 1, 0, 77));
}

} // namespace
