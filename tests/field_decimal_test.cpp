#include "support/field_record.h"

#include <thread>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FieldDecimal : public FieldTest
{
protected:
    std::string Stored(int len, int decimals, const char* text)
    {
        next = 3;
        CField& field = Put('D', len, std::string(static_cast<std::size_t>(len), '~'), decimals);
        EXPECT_EQ(field = text, 1);
        EXPECT_EQ(Bytes(field.m_displacement + len, 1), "~");
        return Bytes(field);
    }
};

// ---- Writing ----

TEST_F(FieldDecimal, ASignStandsFirstAndDigitsAtTheRight)
{
    EXPECT_EQ(Stored(19, 4, "-12.5"), "-           12.5000");
    EXPECT_EQ(Stored(19, 4, "12.5"), "            12.5000");
    EXPECT_EQ(Stored(13, 0, "120"), "          120");
}

TEST_F(FieldDecimal, ATextIsBroughtIntoTheFieldsForm)
{
    EXPECT_EQ(Stored(8, 2, "0007.129"), "    7.13");
    EXPECT_EQ(Stored(8, 2, ""), "    0.00");
    EXPECT_EQ(Stored(6, 2, "123456.78"), "456.78");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(FieldDecimal, ATextThatIsNoNumberIsReportedAndTheNumberWrittenAnew)
{
    CField& field = Put('D', 8, "   7.496", 2);
    EXPECT_EQ(field = "12345678901234567", 1);
    EXPECT_EQ(Bytes(field), "    7.50");
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CNumAsciiDouble couldn't be = 12345678901234567")));
}

TEST_F(FieldDecimal, TakesANumber)
{
    CField& field = Put('D', 8, "~~~~~~~~", 2);
    auto number = Number("-3.456");
    EXPECT_EQ(field = number.data(), 1);
    EXPECT_EQ(Bytes(field), "-   3.46");
    EXPECT_EQ(Text(field), "-3.4560"); // the kept number isn't rounded
    record.Init();
    EXPECT_EQ(Text(field), "-3.4600");
    EXPECT_EQ(field = static_cast<CALC_MNUM*>(field), 1);
    EXPECT_EQ(Bytes(field), "-   3.46");
}

TEST_F(FieldDecimal, OfTheIntsOnlyZeroCanBeAssigned)
{
    CField& field = Put('D', 8, "    7.00", 2);
    EXPECT_EQ(field = 5, 0);
    EXPECT_EQ(Bytes(field), "    7.00");
    EXPECT_EQ(field = 0, 1);
    EXPECT_EQ(Bytes(field), "    0.00");
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CNumAsciiDouble couldn't be = int")));
}

TEST_F(FieldDecimal, TakesTheValueOfAnotherInItsOwnForm)
{
    CField& from = Put('D', 10, "  -12.3456", 4);
    CField& to = Put('D', 6, "~~~~~~", 1);
    EXPECT_EQ(to = from, 0);
    EXPECT_EQ(Bytes(to), "- 12.3");
}

// ---- Reading ----

TEST_F(FieldDecimal, ReadsWhatItFinds)
{
    EXPECT_EQ(Text(Put('D', 10, "-    12.50", 2)), "-12.5000");
    EXPECT_EQ(Text(Put('D', 6, "   7.5", 2)), "7.5000");
    EXPECT_EQ(Text(Put('D', 3, {"\0\0\0", 3}, 2)), "0.0000");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(FieldDecimal, TooManyDigitsAreReportedAndCountAsZero)
{
    CField& field = Put('D', 18, "123456789012345678", 0);
    EXPECT_EQ(Text(field), "0.0000");
    EXPECT_EQ(*field.m_msg_field_init_pointer, 1);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CNumAsciiDouble couldn't be set 123456789012345678")));
    Fill(field.m_displacement, "                 7");
    EXPECT_EQ(Text(field), "7.0000");
    Fill(field.m_displacement, "123456789012345678");
    EXPECT_EQ(Text(field), "0.0000");
}

TEST_F(FieldDecimal, AsAnIntItIsWhatItsTextBeginsWith)
{
    EXPECT_EQ(static_cast<int>(Put('D', 8, "   12.90", 2)), 12);
    EXPECT_EQ(static_cast<int>(Put('D', 8, "  -12.90", 2)), -12);
    EXPECT_EQ(static_cast<int>(Put('D', 8, "-  12.90", 2)), 0); // a sign and blanks are no number
    EXPECT_EQ(static_cast<unsigned>(Put('D', 8, "   12.90", 2)), 12U);
    EXPECT_EQ(static_cast<int>(Put('D', 12, "999999999999", 0)), 2147483647);
}

TEST_F(FieldDecimal, ShowsItsNumberLeftJustified)
{
    char dest[12] = {};
    EXPECT_EQ(Put('D', 10, "-    12.50", 2) >> dest, dest + 6);
    EXPECT_STREQ(dest, "-12.50");
}

// ---- Comparisons and sums ----

TEST_F(FieldDecimal, ComparesNumbersNotTexts)
{
    CField& a = Put('D', 8, "   12.50", 2);
    CField& b = Put('D', 6, "12.500", 3);
    CField& c = Put('D', 6, " 9.000", 3);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);
    EXPECT_TRUE(c < a);
    EXPECT_TRUE(a > c);
    auto nine = Number("9");
    EXPECT_TRUE(c == nine.data());
    EXPECT_TRUE(a > nine.data());
    EXPECT_FALSE(a < nine.data());
    EXPECT_TRUE(a != nine.data());
}

TEST_F(FieldDecimal, AddsAndSubtractsIntoAResultOfTheOperator)
{
    auto& a = As<CNumAsciiDouble>(Put('D', 8, "   12.50", 2));
    auto& b = As<CNumAsciiDouble>(Put('D', 8, "    5.25", 2));
    auto one = Number("1");
    CALC_MNUM* const results[] = {a + b, a - b, a + one.data(), a - one.data()};
    EXPECT_EQ(Text(results[0]), "17.7500");
    EXPECT_EQ(Text(results[1]), "7.2500");
    EXPECT_EQ(Text(results[2]), "13.5000");
    EXPECT_EQ(Text(results[3]), "11.5000");
    EXPECT_EQ(a + a, results[0]);
    EXPECT_EQ(Text(results[0]), "25.0000");
    EXPECT_EQ(Text(a), "12.5000");
    EXPECT_EQ(Text(one.data()), "1.0000");
}

TEST_F(FieldDecimal, AResultMayTakePartInTheNextSum)
{
    auto& a = As<CNumAsciiDouble>(Put('D', 8, "    2.50", 2));
    auto one = Number("1");
    EXPECT_EQ(Text(a + (a + one.data())), "6.0000");
    EXPECT_EQ(Text(a - (a - one.data())), "1.0000");
}

TEST_F(FieldDecimal, EachThreadHasItsOwnResult)
{
    auto& a = As<CNumAsciiDouble>(Put('D', 8, "   12.50", 2));
    CALC_MNUM* const here = a + a;
    const CALC_MNUM* there = nullptr;
    std::thread([&] { there = a + a; }).join();
    EXPECT_NE(here, there);
}

} // namespace
