#include "support/field_record.h"

#include <climits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FieldText : public FieldTest
{
};

// ---- Assignments ----

TEST_F(FieldText, AStringIsPaddedWithZerosAndCutWithoutATerminator)
{
    CField& field = Put('T', 5, "~~~~~");
    EXPECT_EQ(field = "AB", 1);
    EXPECT_EQ(Bytes(2, 7), std::string("~AB\0\0\0~", 7));
    EXPECT_EQ(field = "ABCDEFG", 1);
    EXPECT_EQ(Bytes(2, 7), "~ABCDE~");
    EXPECT_EQ(*field.m_msg_field_init_pointer, 1);
}

TEST_F(FieldText, AnyOtherTextTakesAsManyBytesAsItIsLong)
{
    CField& field = Put('A', 5, "~~~~~");
    EXPECT_EQ(field = std::string("AB\0CDEF", 7).data(), 1);
    EXPECT_EQ(Bytes(2, 7), std::string("~AB\0CD~", 7));
    EXPECT_EQ(*field.m_msg_field_init_pointer, 1);
}

TEST_F(FieldText, TheSourceMayOverlapTheField)
{
    CField& field = Put('A', 5, "12345");
    EXPECT_EQ(field = field.Get_Ptr() - 1, 1);
    EXPECT_EQ(Bytes(2, 7), "~~1234~");
}

TEST_F(FieldText, SetStrPadsWithZerosWhateverTheKind)
{
    CField& field = Put('A', 4, "~~~~");
    EXPECT_EQ(field.SetStr("AB"), 1);
    EXPECT_EQ(Bytes(2, 6), std::string("~AB\0\0~", 6));
    EXPECT_EQ(field.SetStr("ABCDEF"), 1);
    EXPECT_EQ(Bytes(2, 6), "~ABCD~");
    EXPECT_EQ(*field.m_msg_field_init_pointer, 0);
}

TEST_F(FieldText, SetStrLeavesTheValuesOfFieldsThatShareItsBytes)
{
    CField& text = record.Put('A', 10, 4);
    CField& digits = record.Put('N', 10, 4);
    text.m_shares_bytes = true;
    Fill(10, "   1");
    EXPECT_EQ(static_cast<int>(digits), 1);
    EXPECT_EQ(text.SetStr("2222"), 1);
    EXPECT_EQ(static_cast<int>(digits), 1);
    record.Init();
    EXPECT_EQ(static_cast<int>(digits), 2222);
}

TEST_F(FieldText, AnotherTextFillsAsFarAsItGoesAndZerosTheRest)
{
    CField& small = Put('A', 2, "ab");
    CField& large = Put('A', 4, "wxyz");
    EXPECT_EQ(large = small, 0);
    EXPECT_EQ(Bytes(large), std::string("ab\0\0", 4));
    CField& other = Put('A', 4, "wxyz");
    EXPECT_EQ(small = other, 0);
    EXPECT_EQ(Bytes(2, 4), "~wx~");
}

TEST_F(FieldText, ANumberBecomesItsTextWithAZeroBehindTheField)
{
    CField& field = Put('A', 5, "~~~~~");
    EXPECT_EQ(field = -12, 1);
    EXPECT_EQ(Bytes(2, 8), std::string("~-12\0\0\0~", 8));
    EXPECT_EQ(*field.m_msg_field_init_pointer, 0);
    EXPECT_EQ(field = 1234567, 1);
    EXPECT_EQ(Bytes(2, 8), std::string("~12345\0~", 8));
    EXPECT_EQ(field = INT_MIN, 1);
    EXPECT_EQ(Bytes(field), "-2147");
}

TEST_F(FieldText, ANumberInALongTextLeavesNoOldByte)
{
    CField& field = Put('A', 40, std::string(40, 'x'));
    EXPECT_EQ(field = 7, 1);
    EXPECT_EQ(Bytes(2, 43), "~7" + std::string(40, '\0') + "~");
}

TEST_F(FieldText, AtTheEndOfTheBufferNoZeroStandsBehind)
{
    CField& field = record.Put('A', 157, 3);
    EXPECT_EQ(field = 12345, 1);
    EXPECT_EQ(Bytes(156, 4), "~123");
}

TEST_F(FieldText, OneByteTakesTheLowByteOfANumber)
{
    CField& field = Put('A', 1, "~");
    EXPECT_EQ(field = 0x141, 1);
    EXPECT_EQ(Bytes(2, 3), "~A~");
    EXPECT_EQ(*field.m_msg_field_init_pointer, 0);
}

// ---- Reading ----

TEST_F(FieldText, AsAnIntItIsItsFirstByteSigned)
{
    EXPECT_EQ(static_cast<int>(Put('A', 2,
                                   "\xE9"
                                   "a")),
              -23);
}

TEST_F(FieldText, OneByteCanBeComparedWithACharacterButNotFoundDifferent)
{
    CField& field = Put('A', 1, "\xE9");
    EXPECT_TRUE(field == -23);
    EXPECT_FALSE(field == 0xE9);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    EXPECT_FALSE(field != 5);
    EXPECT_FALSE(Put('A', 2, "\x05x") == 5);
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre(Complaint("CAlpha couldn't be != int"), Complaint("CAlpha couldn't be == int")));
}

TEST_F(FieldText, WritesItsBytesAndATerminator)
{
    char dest[8];
    std::memset(dest, 'z', sizeof dest);
    EXPECT_EQ(Put('A', 3, {"a\0c", 3}) >> dest, dest + 3);
    EXPECT_EQ(std::string(dest, 5), std::string("a\0c\0z", 5));
}

TEST_F(FieldText, GetStrCopiesFromTheBeginningWhatStartAndSizeLeave)
{
    CField& field = Put('A', 5, "abcde");
    char dest[8];
    const auto copied = [&](int start, int size) {
        std::memset(dest, 'z', sizeof dest);
        const char* end = field.GetStr(dest, start, size);
        return std::string(dest, 7) + (*end == '\0' ? " " + std::to_string(end - dest) : "");
    };
    EXPECT_EQ(copied(0, 7), std::string("abcde\0z 5", 9));
    EXPECT_EQ(copied(2, 7), std::string("abc\0zzz 3", 9));
    EXPECT_EQ(copied(0, 3), std::string("ab\0zzzz 2", 9));
    EXPECT_EQ(copied(0, 1), std::string("\0zzzzzz 0", 9));
    EXPECT_EQ(copied(9, 7), std::string("\0zzzzzz 0", 9));
    EXPECT_EQ(copied(-3, 7), std::string("abcde\0z 5", 9));
    EXPECT_EQ(copied(INT_MIN, INT_MAX), std::string("abcde\0z 5", 9));
    EXPECT_EQ(copied(0, 0), "zzzzzzz");
    EXPECT_EQ(copied(0, INT_MIN), "zzzzzzz");
}

TEST_F(FieldText, ComparesUpToItsLengthOrATerminator)
{
    CField& field = Put('A', 3, "abc");
    EXPECT_TRUE(field == "abcd");
    EXPECT_FALSE(field == "ab");
    EXPECT_TRUE(field != "abd");
    CField& ended = Put('A', 4, {"ab\0x", 4});
    EXPECT_TRUE(ended == "ab");
}

TEST_F(FieldText, ComparesTwoTextsOverTheLengthOfTheLeft)
{
    CField& small = Put('A', 2, "ab");
    CField& large = Put('A', 3, "abc");
    EXPECT_TRUE(small == large);
    EXPECT_FALSE(large == small); // behind the small one stands '~'
    EXPECT_TRUE(large < small);
    EXPECT_TRUE(Put('A', 1, "b") > large);
    EXPECT_TRUE(Put('A', 1, "\xE9") > large);
}

TEST_F(FieldText, WhatTheOtherLacksAtTheEndOfTheBufferCountsAsZeros)
{
    CField& last = record.Put('A', 158, 2);
    Fill(158, "ab");
    EXPECT_TRUE(Put('A', 3, {"ab\0", 3}) == last);
    EXPECT_TRUE(Put('A', 3, "abc") > last);
    EXPECT_TRUE(Put('A', 4, {"ab\0x", 4}) == last);
    EXPECT_TRUE(Put('A', 3, "aac") < last);
    EXPECT_TRUE(Put('A', 3, "abc") > record.Put('A', 159, 0));
}

TEST_F(FieldText, SeesTheBufferAtEachLook)
{
    CField& field = Put('A', 3, "abc");
    EXPECT_TRUE(field == "abc");
    std::memcpy(field.Get_Ptr(), "xyz", 3);
    EXPECT_TRUE(field == "xyz");
}

} // namespace
