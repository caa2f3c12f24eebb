// What all keys have in common, and those that are numbers.
#include "support/report_texts.h"

#include "keys/credit_keys.h"
#include "keys/feed_keys.h"
#include "keys/idx_keys.h"
#include "keys/plain_keys.h"
#include "keys/sequence_keys.h"

#include <gmock/gmock.h>

#include <set>
#include <string>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

CBaseKey key_of(const std::string& bytes)
{
    CBaseKey key(static_cast<int>(bytes.size()));
    key.Init(bytes.c_str());
    return key;
}

constexpr const char* different_lengths = "1 Error. Key comparison between keys with different length!";

// ---- Bytes -----------------------------------------------------------------------------------------------------

TEST(BaseKey, IsEmptyOrZeroAtFirst)
{
    const CBaseKey none;
    EXPECT_EQ(none.m_key, nullptr);
    EXPECT_EQ(none.m_key_len, 0);
    CBaseKey key(3);
    EXPECT_EQ(std::string(key.m_key, 5), std::string(5, '\0'));
    EXPECT_EQ(key.Get_Key_Ptr(), key.m_key);
}

TEST(BaseKey, TakesItsLengthOfBytesAndAZero)
{
    CBaseKey key(3);
    key.m_key[3] = 'x';
    key.Init("ABCDE");
    EXPECT_STREQ(key.m_key, "ABC");
}

TEST(BaseKey, CopiesHaveBytesOfTheirOwn)
{
    CBaseKey key = key_of("ABC");
    const CBaseKey copy(key);
    key.Init("XYZ");
    EXPECT_STREQ(copy.m_key, "ABC");
    EXPECT_NE(copy.m_key, key.m_key);
}

TEST(BaseKey, TakesTheLengthOfWhatItIsAssigned)
{
    CBaseKey key = key_of("ABC");
    key = key_of("VWXYZ");
    EXPECT_EQ(key.m_key_len, 5);
    EXPECT_STREQ(key.m_key, "VWXYZ");
    key = *&key;
    EXPECT_STREQ(key.m_key, "VWXYZ");
    key = CBaseKey();
    EXPECT_EQ(key.m_key_len, 0);
    EXPECT_EQ(key.m_key, nullptr);
}

TEST(BaseKey, IgnoresSortingMethods)
{
    CBaseKey key = key_of("ABC");
    key.Set_Price_Key_Sorting_Method(1);
    EXPECT_STREQ(key.m_key, "ABC");
}

// ---- Patterns --------------------------------------------------------------------------------------------------

TEST(Pattern, OfQuestionMarksFitsAnyKey)
{
    CBaseKey pattern = key_of("???");
    EXPECT_EQ(key_of("ABC").Fit_Pattern(&pattern), 1);
    EXPECT_EQ(key_of(std::string("\0\xff?", 3)).Fit_Pattern(&pattern), 1);
}

TEST(Pattern, FitsWhereEveryOtherByteIsEqual)
{
    CBaseKey pattern = key_of("A?C");
    EXPECT_EQ(key_of("ABC").Fit_Pattern(&pattern), 1);
    EXPECT_EQ(key_of("ABD").Fit_Pattern(&pattern), 0);
    CBaseKey key = key_of("ABC");
    EXPECT_EQ(pattern.Fit_Pattern(&key), 0) << "a question mark of the key is a byte";
}

TEST(Pattern, ThatIsShorterOrMissingFitsNothing)
{
    CBaseKey shorter = key_of("??");
    CBaseKey longer = key_of("???X");
    EXPECT_EQ(key_of("ABC").Fit_Pattern(&shorter), 0);
    EXPECT_EQ(key_of("ABC").Fit_Pattern(&longer), 1);
    EXPECT_EQ(key_of("ABC").Fit_Pattern(nullptr), 0);
}

// ---- Order -----------------------------------------------------------------------------------------------------

TEST(BaseKey, IsOrderedByUnsignedBytes)
{
    EXPECT_TRUE(key_of("AB") < key_of("AC"));
    EXPECT_FALSE(key_of("AC") < key_of("AB"));
    EXPECT_FALSE(key_of("AB") < key_of("AB"));
    EXPECT_TRUE(key_of("A\x7f") < key_of("A\x80"));
    EXPECT_TRUE(key_of("AB") == key_of("AB"));
    EXPECT_TRUE(key_of("AB") != key_of("AC"));
}

TEST(BaseKey, ReportsDifferentLengthsWhenOrderedAndNotWhenCompared)
{
    const ReportTexts reports;
    EXPECT_TRUE(key_of("AB") < key_of("ACD"));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(different_lengths));
    EXPECT_FALSE(key_of("AB") < key_of("AB"));
    EXPECT_FALSE(key_of("ABC") == key_of("AB"));
    EXPECT_TRUE(key_of("AB") == key_of("ABC")) << "by the bytes of the first";
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST(BaseKey, ComparesALongerKeyAsIfTheOtherHadZeros)
{
    const ReportTexts reports;
    EXPECT_TRUE(key_of(std::string("AB\0", 3)) == key_of("AB"));
    EXPECT_TRUE(key_of("A") < key_of("BCDEF"));
    EXPECT_FALSE(key_of("BCDEF") < key_of("A"));
    EXPECT_FALSE(CBaseKey() < CBaseKey());
}

// ---- Texts -----------------------------------------------------------------------------------------------------

TEST(KeyText, ShowsZerosAsBlanks)
{
    EXPECT_STREQ(key_of(std::string("A\0B\0", 4)).Get_Str(), "A B ");
    EXPECT_STREQ(CBaseKey().Get_Str(), "");
}

TEST(KeyText, SixOfThemAreGoodAtATime)
{
    std::set<char*> texts;
    for (const char* bytes : {"A", "B", "C", "D", "E", "F"}) {
        texts.insert(key_of(bytes).Get_Str());
    }
    EXPECT_EQ(texts.size(), 6U);
    char* next = key_of("G").Get_Str();
    EXPECT_TRUE(texts.contains(next));
    EXPECT_STREQ(next, "G");
}

TEST(KeyText, EndsAt256Bytes)
{
    EXPECT_EQ(std::string(key_of(std::string(400, 'x')).Get_Str()), std::string(256, 'x'));
}

// ---- Numbers ---------------------------------------------------------------------------------------------------

TEST(IdxKey, IsOrderedByCodeThenIdx)
{
    EXPECT_LT(CIdxKey().Init(1, 9), CIdxKey().Init(1, 10));
    EXPECT_LT(CIdxKey().Init(1, 0xffffffff), CIdxKey().Init(2, 0));
    EXPECT_EQ(CIdxKey().Init(1, 9), CIdxKey().Init(1, 9));
    EXPECT_STREQ(CIdxKey().Init(65535, 4294967295U).Get_Str(), "655354294967295");
}

TEST(BranchesNumKey, OrdersNineBeforeTen)
{
    CBranchesNumKey nine;
    CBranchesNumKey ten;
    nine.Init(9);
    ten.Init(10);
    EXPECT_LT(nine, ten);
    EXPECT_FALSE(ten < nine);
    EXPECT_NE(nine, ten);
    EXPECT_STREQ(ten.Get_Str(), "10");
    EXPECT_EQ(ten.m_key_len, 0);
}

TEST(EnvCrc32Key, IsOrderedByBytesAndNotByValue)
{
    CEnvCrc32Key low_byte_first;
    CEnvCrc32Key high_byte_first;
    low_byte_first.Init({0xffffff01, 7});
    high_byte_first.Init({0x00000002, 7});
    EXPECT_EQ(std::string(low_byte_first.m_key, 8), std::string("\x01\xff\xff\xff\x07\0\0\0", 8));
    EXPECT_TRUE(low_byte_first < high_byte_first);
    EXPECT_FALSE(high_byte_first < low_byte_first);
}

// ---- Sequences -------------------------------------------------------------------------------------------------

CSeqKey sequence(const char* server, const char* date, std::uint32_t number)
{
    CSeqKey key;
    key.Init(server, date, number);
    return key;
}

TEST(SeqKey, WidensTheServerAndKeepsTheNumberLowByteFirst)
{
    EXPECT_EQ(std::string(sequence("\xfe\xff", "20261122", 0x01020304).m_key, 16),
              std::string("\xfe\xff\0\0"
                          "20261122\x04\x03\x02\x01",
                          16));
}

TEST(SeqKey, IsOrderedByServerThenDateThenNumber)
{
    EXPECT_TRUE(sequence("\xff\x00", "20261122", 9) < sequence("\x00\x01", "20261121", 1)) << "255 and 256";
    EXPECT_TRUE(sequence("\x01\x00", "20261121", 9) < sequence("\x01\x00", "20261122", 1));
    EXPECT_TRUE(sequence("\x01\x00", "20261122", 0x00ff) < sequence("\x01\x00", "20261122", 0x0100));
    EXPECT_TRUE(sequence("\x01\x00", "20261122", 1) < sequence("\x01\x00", "20261122", 0x80000000)) << "unsigned";
    EXPECT_FALSE(sequence("\x01\x00", "20261122", 1) < sequence("\x01\x00", "20261122", 1));
    EXPECT_TRUE(sequence("\x01\x00", "20261122", 1) < sequence("\x00\x90", "20261122", 1))
        << "a widened word is positive";
}

TEST(SeqKey, FirstWordIsSigned)
{
    CSeqKey negative;
    negative.Init("\xff\xff\xff\xff"
                  "2026112200000");
    EXPECT_TRUE(negative < sequence("\x00\x00", "20261122", 0));
}

template <class Key> void expect_a_cut_and_a_lengthened_key_stay(const CBaseKey& cut, const CBaseKey& lengthened)
{
    for (const CBaseKey* other : {&cut, &lengthened}) {
        Key key;
        static_cast<CBaseKey&>(key) = *other;
        key.Init("12345678901234567890");
        EXPECT_TRUE(key == *other);
    }
}

TEST(Keys, ThatTheirBaseGaveAnotherLengthTakeNoBytes)
{
    const CBaseKey cut = key_of("AB");
    const CBaseKey lengthened(40);
    expect_a_cut_and_a_lengthened_key_stay<CEnvCrc32Key>(cut, lengthened);
    expect_a_cut_and_a_lengthened_key_stay<CSeqKey>(cut, lengthened);
    expect_a_cut_and_a_lengthened_key_stay<CConfirmPendKey>(cut, lengthened);
    expect_a_cut_and_a_lengthened_key_stay<CBranchesKey>(cut, lengthened);
    CEnvCrc32Key identity;
    static_cast<CBaseKey&>(identity) = cut;
    identity.Init(DLONG{1, 2});
    EXPECT_TRUE(identity == cut);
}

TEST(SeqKey, IsComparedAsBytesWithAShorterKey)
{
    const ReportTexts reports;
    CSeqKey key;
    EXPECT_TRUE(key < key_of("A"));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(different_lengths));
    static_cast<CBaseKey&>(key) = key_of("B");
    key.Init("\1\2", "20261122", 1);
    EXPECT_STREQ(key.m_key, "B");
}

TEST(ConfirmPendKey, IsOrderedByTimeThenCodes)
{
    CConfirmPendKey early;
    CConfirmPendKey late;
    EXPECT_EQ(early.end_curtime, 0U);
    early.Init("ZZZZZZZZZZ", "ZZZZZZZZZZ", 9);
    late.Init("AAAAAAAAAA", "BBBBBBBBBB", 10);
    EXPECT_STREQ(late.m_key, "AAAAAAAAAABBBBBBBBBB");
    EXPECT_TRUE(early < late);
    early.Init("ZZZZZZZZZZ", "ZZZZZZZZZZ", 10);
    EXPECT_TRUE(late < early);
    EXPECT_FALSE(early < early);
}

TEST(ConfirmPendKey, BoundsOfATimeEncloseAllItsTrades)
{
    CConfirmPendKey lower;
    CConfirmPendKey upper;
    CConfirmPendKey key;
    lower.Init(0, 10);
    upper.Init(255, 10);
    key.Init("\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80", "AAAAAAAAAA", 10);
    EXPECT_EQ(std::string(upper.m_key, 20), std::string(20, '\xff'));
    EXPECT_TRUE(lower < key);
    EXPECT_TRUE(key < upper);
    key.Init("AAAAAAAAAA", "AAAAAAAAAA", 11);
    EXPECT_TRUE(upper < key);
}

// ---- Parts -----------------------------------------------------------------------------------------------------

TEST(ConfigCreditKey, GivesItsPartsBack)
{
    CConfigCreditKey key;
    key.Init("MKT", "INST", "M");
    char* market = nullptr;
    char* institution = nullptr;
    char* flag = nullptr;
    key.Get(&market, &institution, &flag);
    EXPECT_EQ(market, key.m_key);
    EXPECT_EQ(std::string(institution, 4), "INST");
    EXPECT_EQ(*flag, 'M');
}

TEST(ConfigCreditKey, IsAssignedAsItsClassSays)
{
    CConfigCreditKey key;
    CConfigCreditKey other;
    other.Init("MKT", "INST", "M");
    CConfigCreditKey& assigned = key = other;
    EXPECT_EQ(&assigned, &key);
    EXPECT_STREQ(key.m_key, "MKTINSTM");
}

TEST(BranchesPairKey, GivesItsElementsBack)
{
    CBranchesPairKey key;
    key.Init("MKT", "BRANCH-1", "BRANCH-2");
    char* market = nullptr;
    char* first = nullptr;
    char* second = nullptr;
    key.Get_Elements(&market, &first, &second);
    EXPECT_EQ(market, key.m_key);
    EXPECT_EQ(std::string(first, 8), "BRANCH-1");
    EXPECT_EQ(std::string(second, 8), "BRANCH-2");
}

TEST(PlcCreditKey, HasNoBytes)
{
    CPlcCreditKey key;
    key.Init();
    key.Init("MKT", 255);
    EXPECT_EQ(key.m_key_len, 0);
    EXPECT_TRUE(key == CPlcCreditKey());
    EXPECT_FALSE(key < CPlcCreditKey());
}

TEST(InstrumentFeedKey, TakesTheInstrumentFromItsSummary)
{
    CSummaryKey summary;
    summary.Init("MKT", "xx", "dd", "term-text-", "L", "20271231");
    CInstrumentFeedKey key;
    key.Init(&summary, "D", "USER");
    EXPECT_STREQ(key.m_key, "MKTL20271231xxddterm-text-DUSER");
}

TEST(InstrumentFeedKey, IsLeftAsItWasWithoutASummary)
{
    CInstrumentFeedKey key;
    CSummaryKey cut;
    static_cast<CBaseKey&>(cut) = key_of("MKT");
    key.Init(&cut, "D", "USER");
    key.Init(static_cast<const CSummaryKey*>(nullptr), "D", "USER");
    EXPECT_EQ(key.m_key[0], 0);
}

} // namespace
