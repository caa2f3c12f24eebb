#include "support/field_record.h"

#include <climits>
#include <random>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FieldDigits : public FieldTest
{
protected:
    int Read(const std::string& bytes) { return static_cast<int>(Put('N', static_cast<int>(bytes.size()), bytes)); }
    std::string Stored(int len, int value)
    {
        next = 3;
        CField& field = Put('N', len, std::string(static_cast<std::size_t>(len), '~'));
        EXPECT_EQ(field = value, 1);
        EXPECT_EQ(static_cast<int>(field), value);
        EXPECT_EQ(Bytes(field.m_displacement + len, 1), "~");
        return Bytes(field);
    }
};

// ---- Reading ----

TEST_F(FieldDigits, BlanksCountForNothing)
{
    EXPECT_EQ(Read("  12"), 12);
    EXPECT_EQ(Read("12 3"), 123);
    EXPECT_EQ(Read("   "), 0);
}

TEST_F(FieldDigits, AMinusAnywhereNegates)
{
    EXPECT_EQ(Read("-12"), -12);
    EXPECT_EQ(Read("1-2"), -12);
    EXPECT_EQ(Read("12-"), -12);
    EXPECT_EQ(Read("--1"), -1);
}

TEST_F(FieldDigits, OtherBytesCountAsTheirDistanceFromZero)
{
    EXPECT_EQ(Read({"1\0"
                    "2",
                    3}),
              102);
    EXPECT_EQ(Read("A"), 17);
    EXPECT_EQ(Read("1/"), 9);
    EXPECT_EQ(Read("\x80"), -176);
    EXPECT_EQ(Read("\x7F\x7F\x7F\x7F\x7F\x7F\x7F\x7F"), 877777769);
    EXPECT_EQ(Read("\x80\x80\x80\x80\x80\x80\x80\x80"), -1955555536);
    EXPECT_EQ(Read("-\x80\x80\x80\x80\x80\x80\x80"), 195555536);
}

TEST_F(FieldDigits, NineBytesCannotBeRead)
{
    CField& field = Put('N', 9, "        7");
    EXPECT_EQ(static_cast<int>(field), 0);
    EXPECT_EQ(*field.m_msg_field_init_pointer, 0);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CNumAsciiInt couldn't be Length CField &")));
    EXPECT_EQ(field = 7, 1);
    EXPECT_EQ(static_cast<int>(field), 7);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(FieldDigits, RandomBytesReadAsAModelOfThemDoes)
{
    std::mt19937 random(5);
    const std::string likely = "0123456789 -";
    CField& field = Put('N', 8, "        ");
    for (int round = 0; round < 5000; ++round) {
        std::string bytes(8, ' ');
        long model = 0;
        bool negative = false;
        for (char& c : bytes) {
            c = random() % 8 != 0 ? likely[random() % likely.size()] : static_cast<char>(random());
            const int code = static_cast<unsigned char>(c);
            negative = negative || code == '-';
            const int digit = code == 0 ? 0 : (code >= 0x80 ? code - 256 : code) - 48;
            model = code == ' ' || code == '-' ? model : model * 10 + digit;
        }
        Fill(field.m_displacement, bytes);
        ASSERT_EQ(static_cast<int>(field), negative ? -model : model) << testing::PrintToString(bytes);
    }
}

// ---- Writing ----

TEST_F(FieldDigits, DigitsStandAtTheRightBehindBlanks)
{
    EXPECT_EQ(Stored(4, 12), "  12");
    EXPECT_EQ(Stored(4, 1000), "1000");
    EXPECT_EQ(Stored(3, 100), "100");
}

TEST_F(FieldDigits, ZeroIsAllBlanksAndReadsAsZero)
{
    EXPECT_EQ(Stored(3, 0), "   ");
    record.Init();
    EXPECT_EQ(Read("   "), 0);
}

TEST_F(FieldDigits, ANegativeValueLeavesCharactersBelowZero)
{
    EXPECT_EQ(Stored(3, -5), "  +");
    EXPECT_EQ(Stored(3, -105), "/0+");
}

TEST_F(FieldDigits, AValueThatDoesNotFitIsReportedAndItsLastDigitsStay)
{
    EXPECT_EQ(Stored(3, 12345), "345");
    EXPECT_EQ(Stored(3, 1005), "  5");
    EXPECT_EQ(Stored(1, INT_MIN), "(");
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre(Complaint("CNumAsciiInt couldn't be = 12345"), Complaint("CNumAsciiInt couldn't be = 1005"),
                            Complaint("CNumAsciiInt couldn't be = -2147483648")));
}

TEST_F(FieldDigits, ATextIsCutToTheFieldBeforeItIsRead)
{
    CField& field = Put('N', 3, "~~~");
    EXPECT_EQ(field = "12345", 1);
    EXPECT_EQ(Bytes(field), "123");
    EXPECT_EQ(field = "7", 1);
    EXPECT_EQ(Bytes(field), "  7");
    EXPECT_EQ(field = "x", 1);
    EXPECT_EQ(Bytes(field), "   ");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

// The text need not be as long as the field: the sanitizers see what is read behind its terminator.
TEST_F(FieldDigits, ATextIsReadUpToItsTerminator)
{
    CField& field = Put('N', 8, "~~~~~~~~");
    const auto text = std::make_unique<char[]>(2);
    text[0] = '4';
    EXPECT_EQ(field = text.get(), 1);
    EXPECT_EQ(Bytes(field), "       4");
}

TEST_F(FieldDigits, TakesTheValueOfAnotherOfItsClass)
{
    CField& from = Put('N', 5, "12345");
    CField& to = Put('N', 3, "~~~");
    EXPECT_EQ(to = from, 0);
    EXPECT_EQ(Bytes(to), "345");
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CNumAsciiInt couldn't be = 12345")));
}

// ---- Texts and numbers ----

TEST_F(FieldDigits, ShowsItsNumberLeftJustified)
{
    char dest[9] = {};
    EXPECT_EQ(Put('N', 6, "   120") >> dest, dest + 3);
    EXPECT_STREQ(dest, "120");
    EXPECT_EQ(Put('N', 6, "   -12") >> dest, dest + 3);
    EXPECT_STREQ(dest, "-12");
}

TEST_F(FieldDigits, GivesTheTextAsItStandsAsANumber)
{
    EXPECT_EQ(Text(Put('N', 4, " -12")), "-12.0000");
    EXPECT_EQ(Text(Put('N', 4, "1x3 ")), "1030.0000");
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error!: Number string with invalid character(s). \"1x3 \"\n"));
}

TEST_F(FieldDigits, ComparesAndAddsValues)
{
    CField& low = Put('N', 3, " -9");
    CField& high = Put('N', 2, " 8");
    EXPECT_TRUE(low < high);
    EXPECT_FALSE(low > high);
    EXPECT_TRUE(low != high);
    EXPECT_EQ(low + high, -1);
    EXPECT_EQ(low - high, -17);
    EXPECT_TRUE(low == -9);
    EXPECT_TRUE(low != 9);
    EXPECT_EQ(static_cast<unsigned>(low), 4294967287U);
}

TEST_F(FieldDigits, SumsWrap)
{
    CField& a = Put('N', 8, "        ");
    CField& b = Put('N', 8, "        ");
    EXPECT_EQ(a = INT_MAX, 1);
    EXPECT_EQ(b = 1, 1);
    EXPECT_EQ(a + b, INT_MIN);
}

} // namespace
