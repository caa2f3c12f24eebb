#include "support/field_record.h"

#include <climits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FieldBinary : public FieldTest
{
};

// ---- Encoding ----

TEST_F(FieldBinary, ValuesAreLittleEndian)
{
    EXPECT_EQ(static_cast<int>(Put('S', 2, "\x01\x80")), -32767);
    EXPECT_EQ(static_cast<int>(Put('W', 2, "\x01\x80")), 32769);
    EXPECT_EQ(static_cast<int>(Put('I', 4, "\xFE\xFF\xFF\xFF")), -2);
    EXPECT_EQ(static_cast<unsigned>(Put('L', 4, "\x01\x02\x03\x84")), 0x84030201U);
}

TEST_F(FieldBinary, ConversionsWrapIntoTheOtherSign)
{
    EXPECT_EQ(static_cast<unsigned>(Put('S', 2, "\xFF\xFF")), UINT_MAX);
    EXPECT_EQ(static_cast<unsigned>(Put('I', 4, "\xFF\xFF\xFF\xFF")), UINT_MAX);
    EXPECT_EQ(static_cast<int>(Put('L', 4, "\xFF\xFF\xFF\xFF")), -1);
}

TEST_F(FieldBinary, AStoreWritesTheTypesWidthAndIsKept)
{
    CField& small = Put('S', 2, "~~");
    EXPECT_EQ(small = -2, 1);
    EXPECT_EQ(Bytes(small.m_displacement, 3), "\xFE\xFF~");
    EXPECT_EQ(*small.m_msg_field_init_pointer, 1);
    CField& large = Put('L', 4, "~~~~");
    EXPECT_EQ(large = 0x84030201U, 1);
    EXPECT_EQ(Bytes(large.m_displacement, 5), "\x01\x02\x03\x84~");
}

TEST_F(FieldBinary, AnIntegerHasFourBytesWhateverItsLength)
{
    CField& field = record.Put('I', 10, 1);
    Fill(10, "\x01\x02\x03\x04");
    EXPECT_EQ(static_cast<int>(field), 0x04030201);
    EXPECT_EQ(field = -1, 1);
    EXPECT_EQ(Bytes(9, 6), "~\xFF\xFF\xFF\xFF~");
}

TEST_F(FieldBinary, BytesBehindTheBufferReadAsZeroAndAreNotWritten)
{
    CField& field = record.Put('I', 158, 1);
    Fill(158, "\x01\x02");
    EXPECT_EQ(static_cast<int>(field), 0x0201);
    EXPECT_EQ(field = 0x11121314, 1);
    EXPECT_EQ(Bytes(157, 3), "~\x14\x13");
    record.Init();
    EXPECT_EQ(static_cast<int>(field), 0x1314);
}

// ---- Assignments ----

TEST_F(FieldBinary, AnIntIsCutToTheTypesWidth)
{
    CField& small = Put('S', 2, "~~");
    EXPECT_EQ(small = 0x18001, 1);
    EXPECT_EQ(static_cast<int>(small), -32767);
    CField& unsigned_small = Put('W', 2, "~~");
    EXPECT_EQ(unsigned_small = -1, 1);
    EXPECT_EQ(static_cast<int>(unsigned_small), 65535);
}

TEST_F(FieldBinary, ATextIsReadAsFarAsItIsANumberAndSaturates)
{
    CField& field = Put('I', 4, "~~~~");
    const auto after = [&](const char* text) {
        EXPECT_EQ(field = text, 1);
        return static_cast<int>(field);
    };
    EXPECT_EQ(after(" 12x"), 12);
    EXPECT_EQ(after("-7"), -7);
    EXPECT_EQ(after("x"), 0);
    EXPECT_EQ(after(""), 0);
    EXPECT_EQ(after("99999999999999999999"), INT_MAX);
    EXPECT_EQ(after("-99999999999999999999"), INT_MIN);
    EXPECT_EQ(after("2147483648"), INT_MAX);
}

TEST_F(FieldBinary, AShortTakesAnUnsignedShortAsItsBitsAndReturnsZero)
{
    CField& field = Put('S', 2, "~~");
    EXPECT_EQ(field = static_cast<unsigned short>(0x8001), 0);
    EXPECT_EQ(static_cast<int>(field), -32767);
    EXPECT_EQ(Bytes(field), "\x01\x80");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(FieldBinary, AShortTakesAnUnsignedIntThatItsSixteenBitsExtendTo)
{
    CField& field = Put('S', 2, "~~");
    EXPECT_EQ(field = 32767U, 1);
    EXPECT_EQ(field = 0xFFFF8000U, 1);
    EXPECT_EQ(static_cast<int>(field), -32768);
    EXPECT_EQ(field = 32768U, 0);
    EXPECT_EQ(field = 4294934527U, 0);
    EXPECT_EQ(Bytes(field), std::string("\x00\x80", 2));
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre(Complaint("CShort couldn't be = 32768"), Complaint("CShort couldn't be = 4294934527")));
}

TEST_F(FieldBinary, AnUnsignedShortTakesSixteenBitsAndComplainsAsAShort)
{
    CField& field = Put('W', 2, "~~");
    EXPECT_EQ(field = 65535U, 1);
    EXPECT_EQ(field = 65536U, 0);
    EXPECT_EQ(field = 0xFFFF8000U, 0);
    EXPECT_EQ(Bytes(field), "\xFF\xFF");
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre(Complaint("CShort couldn't be = 65536"), Complaint("CShort couldn't be = 4294934528")));
}

TEST_F(FieldBinary, TakesTheValueOfAnotherOfItsClass)
{
    CField& from = Put('L', 4, "\xFF\xFF\xFF\xFF");
    CField& to = Put('L', 4, "~~~~");
    EXPECT_EQ(to = from, 0);
    EXPECT_EQ(Bytes(to), "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(to = to, 0);
    EXPECT_EQ(Bytes(to), "\xFF\xFF\xFF\xFF");
}

// ---- Comparisons and sums ----

TEST_F(FieldBinary, ComparesByValueInTheTypesSign)
{
    CField& low = Put('I', 4, "\xFF\xFF\xFF\xFF");
    CField& high = Put('I', 4, {"\x01\0\0\0", 4});
    EXPECT_TRUE(low < high);
    EXPECT_FALSE(low > high);
    EXPECT_TRUE(low != high);
    CField& large = Put('L', 4, "\xFF\xFF\xFF\xFF");
    CField& small = Put('L', 4, {"\x01\0\0\0", 4});
    EXPECT_TRUE(large > small);
    EXPECT_TRUE(large == -1);
    EXPECT_TRUE(large == UINT_MAX);
    EXPECT_FALSE(Put('W', 2, "\xFF\xFF") == -1);
    EXPECT_TRUE(Put('S', 2, "\xFF\xFF") == -1);
}

TEST_F(FieldBinary, SumsAndDifferencesWrap)
{
    CField& large = Put('I', 4, "\xFF\xFF\xFF\x7F");
    CField& two = Put('I', 4, {"\x02\0\0\0", 4});
    EXPECT_EQ(large + two, INT_MIN + 1);
    EXPECT_EQ(two - large, -2147483645);
    CField& one = Put('W', 2, {"\x01\0", 2});
    CField& most = Put('W', 2, "\xFF\xFF");
    EXPECT_EQ(one - most, -65534);
    EXPECT_EQ(most + most, 131070);
    CField& unsigned_one = Put('L', 4, {"\x01\0\0\0", 4});
    CField& unsigned_two = Put('L', 4, {"\x02\0\0\0", 4});
    EXPECT_EQ(unsigned_one - unsigned_two, -1);
}

TEST_F(FieldBinary, TheDifferenceOfShortsReadsBothAndIsZero)
{
    auto& a = As<CShort>(Put('S', 2, {"\x09\0", 2}));
    auto& b = As<CShort>(Put('S', 2, {"\x02\0", 2}));
    EXPECT_EQ(a - b, 0);
    EXPECT_EQ(*a.m_msg_field_init_pointer, 1);
    EXPECT_EQ(*b.m_msg_field_init_pointer, 1);
    EXPECT_EQ(a + b, 11);
}

TEST_F(FieldBinary, GivesItsValueAsANumber)
{
    EXPECT_EQ(Text(Put('S', 2, {"\x00\x80", 2})), "-32768.0000");
    EXPECT_EQ(Text(Put('W', 2, "\xFF\xFF")), "65535.0000");
    EXPECT_EQ(Text(Put('I', 4, {"\0\0\0\x80", 4})), "-2147483648.0000");
    EXPECT_EQ(Text(Put('L', 4, "\xFF\xFF\xFF\xFF")), "4294967295.0000");
}

} // namespace
