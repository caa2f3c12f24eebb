#include "support/calc_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* invalid_report = "1 Error!: Number string with invalid character(s). \"";
constexpr const char* points_report = "1 Error!: Number string with more than one decimal point. \"";

class CalcParse : public CalcTest
{
protected:
    static std::string Parsed(const std::string& text) { return Text(Number(text)); }

    struct Counts
    {
        short ints = -1;
        short decs = -1;
        short sign = -7;
        std::string rest;
    };
    static Counts Count(const std::string& text)
    {
        Counts counts;
        const char* at = text.c_str();
        EXPECT_EQ(calc_chkstr(&at, &counts.ints, &counts.decs, &counts.sign), 0);
        counts.rest = at;
        return counts;
    }
};

TEST_F(CalcParse, AnEmptyTextIsZero)
{
    EXPECT_EQ(Number(""), Of(0, {0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Number("   "), Of(0, {0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Number("."), Of(0, {0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(CalcParse, ALoneMinusIsANegativeZero)
{
    EXPECT_EQ(Number("-"), Of(-1, {0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Number("+"), Of(0, {0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(CalcParse, FillsWordsFromThePointOutwards)
{
    EXPECT_EQ(Number("12345.6"), Of(0, {0, 0, 1, 2345, 6000, 0, 0}));
    EXPECT_EQ(Number("-1234567890123456.12345678"), Of(-1, {1234, 5678, 9012, 3456, 1234, 5678, 0}));
    EXPECT_EQ(Number(".00001"), Of(0, {0, 0, 0, 0, 0, 1000, 0}));
    EXPECT_EQ(Number("7."), Of(0, {0, 0, 0, 7, 0, 0, 0}));
}

TEST_F(CalcParse, SkipsBlanksBeforeAndBehindTheSign)
{
    EXPECT_EQ(Parsed("   -  12.5"), "-12.500000000000");
    EXPECT_EQ(Parsed("  +12.5"), "12.500000000000");
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(CalcParse, RefusesSeventeenIntegerDigits)
{
    Words n = Number("5");
    EXPECT_EQ(calc_stom("12345678901234567", n.data()), 2);
    EXPECT_EQ(calc_stom("00000000000000001.5", n.data()), 2);
    EXPECT_EQ(n, Number("5"));
}

TEST_F(CalcParse, CutsFurtherDecimals)
{
    EXPECT_EQ(Parsed("1.123456789"), "1.123456780000");
    EXPECT_EQ(Parsed("1.99999999999999999999999999999999999999"), "1.999999990000");
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(CalcParse, CountsAnInvalidCharacterAsZeroAndReportsIt)
{
    EXPECT_EQ(Parsed("12a.5"), "120.500000000000");
    EXPECT_THAT(Reports(), ElementsAre(std::string(invalid_report) + "12a.5\"\n"));
}

TEST_F(CalcParse, CountsASecondPointAsADecimalZeroAndReportsIt)
{
    EXPECT_EQ(Parsed("1.2.3"), "1.203000000000");
    EXPECT_THAT(Reports(), ElementsAre(std::string(points_report) + "1.2.3\"\n"));
}

TEST_F(CalcParse, ReportsPointsBeforeCharactersWithTheTextAsGiven)
{
    EXPECT_EQ(Parsed(" -1.x.3"), "-1.003000000000");
    EXPECT_THAT(Reports(),
                ElementsAre(std::string(points_report) + " -1.x.3\"\n", std::string(invalid_report) + " -1.x.3\"\n"));
}

TEST_F(CalcParse, TakesBlanksAloneForBlanks)
{
    EXPECT_EQ(Parsed("\t5"), "5.000000000000");
    EXPECT_EQ(Parsed("5 "), "50.000000000000");
    EXPECT_EQ(Parsed("--5"), "-5.000000000000");
    EXPECT_EQ(Parsed("\xFF\x80"), "0.000000000000");
    EXPECT_EQ(Reports().size(), 4U);
}

TEST_F(CalcParse, KnowsEveryInvalidCharacterAtEveryPosition)
{
    const std::string digits = "1234567890123456.12345678";
    for (std::size_t position = 1; position < digits.size(); ++position) {
        for (const char c : std::string("/:0 \xB5\x01?")) {
            std::string given = digits;
            std::string read = digits + "0000";
            given[position] = position == 16 ? '.' : c;
            read[position] = position == 16 ? '.' : '0';
            Reports().clear();
            EXPECT_EQ(Parsed(given), read);
            EXPECT_EQ(Reports().size(), given[position] == '0' || position == 16 ? 0U : 1U) << given;
        }
    }
}

TEST_F(CalcParse, ReportsWhatStandsInDecimalsThatAreCut)
{
    EXPECT_EQ(Parsed("1.123456789x"), "1.123456780000");
    EXPECT_THAT(Reports(), ElementsAre(std::string(invalid_report) + "1.123456789x\"\n"));
}

TEST_F(CalcParse, TakesTheSetPoint)
{
    EXPECT_EQ(calc_set_decimal_point(','), 0);
    EXPECT_EQ(Number("1,5"), Of(0, {0, 0, 0, 1, 5000, 0, 0}));
    EXPECT_EQ(Number("1.5"), Of(0, {0, 0, 0, 105, 0, 0, 0}));
    EXPECT_EQ(Reports().size(), 1U);
}

TEST_F(CalcParse, TellsTheFirstWordItFilled)
{
    (void)Number("12345");
    EXPECT_EQ(POS_INI_NUM, 3);
    (void)Number(".5");
    EXPECT_EQ(POS_INI_NUM, 4);
    (void)Number("123456789012345x");
    EXPECT_EQ(POS_INI_NUM, 1);
}

TEST_F(CalcParse, CountsDigitsOnBothSidesOfThePoint)
{
    const Counts counts = Count("  - 123.45");
    EXPECT_EQ(counts.ints, 3);
    EXPECT_EQ(counts.decs, 2);
    EXPECT_EQ(counts.sign, CALC_SGNNEG);
    EXPECT_EQ(counts.rest, "123.45");
    EXPECT_EQ(Count("+.").ints, 0);
    EXPECT_EQ(Count("+.").sign, CALC_SGNPOS);
    EXPECT_EQ(Count("1.2.3").decs, 3);
}

TEST_F(CalcParse, CountsStopAt32767)
{
    const Counts counts = Count(std::string(32768, '1') + "." + std::string(70000, '2'));
    EXPECT_EQ(counts.ints, 32767);
    EXPECT_EQ(counts.decs, 32767);
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(CalcParse, LongTextsDoNoHarm)
{
    Words n = Number("5");
    EXPECT_EQ(calc_stom(std::string(3'000'000, '1').c_str(), n.data()), 2);
    EXPECT_EQ(calc_stom(std::string(65537, 'x').c_str(), n.data()), 2);
    EXPECT_EQ(n, Number("5"));
    EXPECT_EQ(Parsed("2." + std::string(3'000'000, '3')), "2.333333330000");
    EXPECT_EQ(Parsed(std::string(100'000, ' ') + "-" + std::string(100'000, ' ') + "4"), "-4.000000000000");
}

using CalcPrint = CalcTest;

TEST_F(CalcPrint, StandsAtTheRightBehindBlanks)
{
    EXPECT_EQ(Print(Number("1234.5"), 10, 2), "   1234.50");
    EXPECT_EQ(Print(Number("0"), 5, 0), "    0");
    EXPECT_EQ(Print(Number("0.5"), 6, 2), "  0.50");
}

TEST_F(CalcPrint, WritesTheSetPoint)
{
    EXPECT_EQ(calc_set_decimal_point(','), 0);
    EXPECT_EQ(Text(Number("12,5")), "12,500000000000");
}

TEST_F(CalcPrint, PutsTheMinusIntoTheFirstCharacter)
{
    EXPECT_EQ(Print(Number("-1234.5"), 10, 2), "-  1234.50");
    EXPECT_EQ(Print(Number("-0"), 4, 0), "-  0");
}

TEST_F(CalcPrint, MarksAnOverflowWithAQuestionMark)
{
    Words n = Number("9999999999999999");
    ASSERT_EQ(calc_add(Number("3").data(), n.data()), 1);
    EXPECT_EQ(Print(n, 8, 2), "?   2.00");
    EXPECT_EQ(Print(Of(1, {0, 0, 0, 5, 0, 0, 0}), 8, 2), "?   5.00");
}

TEST_F(CalcPrint, PutsAPlusBeforeNumbersAboveZeroIfAsked)
{
    EXPECT_EQ(Print(Number("5"), 6, 2, 1), "+ 5.00");
    EXPECT_EQ(Print(Number("0"), 6, 2, 1), "  0.00");
    EXPECT_EQ(Print(Number("-5"), 6, 2, 1), "- 5.00");
    EXPECT_EQ(Print(Number("0.001"), 6, 2, 1), "+ 0.00");
}

TEST_F(CalcPrint, StandsAtTheLeftIfAsked)
{
    EXPECT_EQ(Print(Number("1234.5"), 10, 2, 0, 1), "1234.50");
    EXPECT_EQ(Print(Number("-1234.5"), 10, 2, 0, 1), "-1234.50");
    EXPECT_EQ(Print(Number("1234.5"), 10, 2, 1, 1), "+1234.50");
    EXPECT_EQ(Print(Number("0"), 10, 0, 0, 1), "0");
}

TEST_F(CalcPrint, RoundsToItsDecimals)
{
    EXPECT_EQ(Print(Number("1.995"), 6, 2), "  2.00");
    EXPECT_EQ(Print(Number("9999999999999999.9"), 16, 0), "               0");
    EXPECT_EQ(Print(Of(0, {0, 0, 0, 0, 9999, 9999, 5000}), 10, 8), "1.00000000");
}

TEST_F(CalcPrint, DropsDigitsThatDoNotFit)
{
    EXPECT_EQ(Print(Number("123456.78"), 5, 2), "56.78");
    EXPECT_EQ(Print(Number("100056.78"), 6, 2), " 56.78");
    EXPECT_EQ(Print(Number("-123456.78"), 5, 2), "-6.78");
    EXPECT_EQ(Print(Number("123456.78"), 5, 2, 1), "+6.78");
}

TEST_F(CalcPrint, FillsPositionsBeyondTheNumber)
{
    EXPECT_EQ(Print(Number("1234567890123456"), 20, 0), "    1234567890123456");
    EXPECT_EQ(Print(Number("1.12345678"), 20, 16), "  1.1234567800000000");
    EXPECT_EQ(Print(Of(0, {0, 0, 0, 1, 0, 0, 7}), 20, 16), "  1.0000000000070000");
}

TEST_F(CalcPrint, CutsALengthAbove32)
{
    EXPECT_EQ(Print(Number("7.5"), 33, 2), std::string(28, ' ') + "7.50");
    EXPECT_EQ(Print(Number("7.5"), 32767, 2).size(), 32U);
}

TEST_F(CalcPrint, TakesTenOffALengthBelowItsDecimals)
{
    EXPECT_EQ(Print(Number("7.5"), 12, 13), "        7.50");
    EXPECT_EQ(Print(Number("7.5"), 10, 11), "         8");
    EXPECT_EQ(Print(Number("7.5"), 5, 8), "    8");
    EXPECT_EQ(Print(Number("7.5"), 40, 33), "        7." + std::string("5000000000000000000000"));
}

TEST_F(CalcPrint, WithoutIntegerPositionsBeginsWithThePoint)
{
    EXPECT_EQ(Print(Number("7.25"), 3, 2), ".25");
    EXPECT_EQ(Print(Number("-7.25"), 3, 2), "-25");
    EXPECT_EQ(Print(Number("-7.25"), 3, 2, 0, 1), "-25");
}

TEST_F(CalcPrint, AsLongAsItsDecimalsShowsThemAlone)
{
    EXPECT_EQ(Print(Number("-7.25"), 2, 2), "25");
    EXPECT_EQ(Print(Number("-7.25"), 2, 2, 0, 1), "25");
}

TEST_F(CalcPrint, OfNoLengthIsTheTerminator)
{
    EXPECT_EQ(Print(Number("-7.25"), 0, 0), "");
    EXPECT_EQ(Print(Number("-7.25"), 0, 0, 1, 1), "");
    EXPECT_EQ(Print(Number("-7.25"), 0, 5), "");
    EXPECT_EQ(Print(Number("7.25"), 1, 0), "7");
    EXPECT_EQ(Print(Number("-7.25"), 1, 0), "-");
    EXPECT_EQ(Print(Number("-7.25"), 1, 1), "3");
}

TEST_F(CalcPrint, OfANegativeLengthWritesNothing)
{
    std::array<char, 2> text{'~', '~'};
    calc_mtos(Number("7").data(), text.data() + 1, -1, 0, 0, 0);
    calc_mtos(Number("7").data(), text.data() + 1, -32768, 8, 1, 1);
    EXPECT_THAT(text, ElementsAre('~', '~'));
}

TEST_F(CalcPrint, OfNegativeDecimalsHasNone)
{
    EXPECT_EQ(Print(Number("7.25"), 4, -1), "   7");
    EXPECT_EQ(Print(Number("7.25"), 4, -32768), "   7");
}

TEST_F(CalcPrint, ShowsWordsThatAreNoDigitsAsMarks)
{
    EXPECT_EQ(Print(Of(0, {0, 0, 0, -5, 0, 0, 0}), 8, 2), "    #.00");
    EXPECT_EQ(Print(Of(0, {0, 0, 0, 0, -1234, 0, 0}), 9, 4), "   0.####");
    EXPECT_EQ(Print(Of(0, {0, 0, 0, 0, 12345, 0, 0}), 9, 4), "   0.#345");
}

TEST_F(CalcPrint, DropsWhatIsAboveAnIntegerWordButNotAboveTheFirst)
{
    EXPECT_EQ(Print(Of(0, {0, 0, 0, 12345, 0, 0, 0}), 20, 0), "                2345");
    EXPECT_EQ(Print(Of(0, {12345, 0, 0, 1, 0, 0, 0}), 20, 0), "   12345000000000001");
}

} // namespace
