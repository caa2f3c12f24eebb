#include "support/report_texts.h"

#include "keys/order_keys.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>

namespace {

using testing::IsEmpty;

COrderKey order_key(const std::string& bytes)
{
    COrderKey key;
    key.Init(bytes.c_str());
    return key;
}

template <class Key> std::string bytes_of(const Key& key)
{
    return {key.m_key, static_cast<std::size_t>(key.m_key_len)};
}

constexpr const char* whole = "MKTcode-12345Dsterm-text-";

// ---- Forms -----------------------------------------------------------------------------------------------------

TEST(OrderKey, RangeOfAnOrderCodeHasTenBytesOfIt)
{
    COrderKey key;
    key.Init("MKT", "code-12345", '\xff', true);
    EXPECT_EQ(bytes_of(key), "MKTcode-12345" + std::string(12, '\xff'));
}

TEST(OrderKey, RangeOfAnInstitutionHasFourBytesOfTheCode)
{
    COrderKey key;
    key.Init("MKT", "code", '\0', false);
    EXPECT_EQ(bytes_of(key), "MKTcode" + std::string(18, '\0'));
}

TEST(OrderKey, RangeOfAnotherKeyKeepsItsMarketAndOrderCode)
{
    const COrderKey from = order_key(whole);
    COrderKey key;
    key.Init(&from, 255);
    EXPECT_EQ(bytes_of(key), "MKTcode-12345" + std::string(12, '\xff'));
    key = order_key(whole);
    key.Init(&key, 0);
    EXPECT_EQ(bytes_of(key), "MKTcode-12345" + std::string(12, '\0')) << "of itself";
}

TEST(OrderKey, RangeOfAMarketFillsAllBehindIt)
{
    COrderKey key;
    key.Init("MKT", 255);
    EXPECT_EQ(bytes_of(key), "MKT" + std::string(22, '\xff'));
    key.Init(7);
    EXPECT_EQ(bytes_of(key), std::string(25, '\7'));
}

TEST(OrderKey, BoundsEncloseAllOrdersOfAMarket)
{
    COrderKey lower;
    COrderKey upper;
    lower.Init("MKT", 0);
    upper.Init("MKT", 255);
    EXPECT_TRUE(lower < order_key(whole));
    EXPECT_TRUE(order_key(whole) < upper);
    EXPECT_TRUE(upper < order_key("MKUcode-12345Dsterm-text-"));
}

TEST(OrderKey, RangeOfAShorterKeyHasZerosForWhatItLacks)
{
    CBaseKey cut(5);
    cut.Init("MKTco");
    COrderKey key;
    key.Init(&cut, 255);
    EXPECT_EQ(bytes_of(key), "MKTco" + std::string(8, '\0') + std::string(12, '\xff'));
    key.Init(static_cast<const CBaseKey*>(nullptr), 255);
    EXPECT_EQ(bytes_of(key), std::string(13, '\0') + std::string(12, '\xff'));
}

TEST(OrderKeyUser, RangeOfAnotherKeyKeepsPrimaryUserAndUser)
{
    COrderKeyUser from;
    from.Init("PRIMuserMKTcode-12345Dsterm-text-");
    COrderKeyUser key;
    key.Init(&from, 255);
    EXPECT_EQ(bytes_of(key), "PRIMuser" + std::string(25, '\xff'));
    key.Init("PRIM", "user", 0);
    EXPECT_EQ(bytes_of(key), "PRIMuser" + std::string(25, '\0'));
}

TEST(OrderKeyLoginName, RangeOfAnotherKeyKeepsMarketAndLogin)
{
    COrderKeyLoginName from;
    from.Init("MKTlogin-of-16-byteDcode-12345");
    COrderKeyLoginName key;
    key.Init(&from, 255);
    EXPECT_EQ(bytes_of(key), "MKTlogin-of-16-byte" + std::string(11, '\xff'));
}

// ---- Comparisons -----------------------------------------------------------------------------------------------

TEST(OrderKey, IsComparedByItsBytes)
{
    EXPECT_TRUE(order_key("MKTcode-12345Dsterm-text-") < order_key("MKTcode-12345Dsterm-texu-"));
    EXPECT_TRUE(order_key(whole) == order_key(whole));
    EXPECT_TRUE(order_key(whole) != order_key("MKTcode-12345Osterm-text-"));
}

TEST(OrderKey, IsComparedWithoutAWordWithKeysOfOtherLengths)
{
    const ReportTexts reports;
    CBaseKey longer(30);
    longer.Init("MKTcode-12345Dsterm-text-extra");
    EXPECT_FALSE(order_key(whole) < longer);
    EXPECT_TRUE(order_key(whole) == longer);
    CBaseKey shorter(3);
    shorter.Init("MKU");
    EXPECT_TRUE(order_key(whole) < shorter);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST(OrderKey, FitsPatternsOfAtLeastItsLength)
{
    COrderKey pattern = order_key("MKT??????????D???????????");
    EXPECT_EQ(order_key(whole).Fit_Pattern(&pattern), 1);
    EXPECT_EQ(order_key("MKTcode-12345Osterm-text-").Fit_Pattern(&pattern), 0);
    COrderKey any = order_key(std::string(25, '?'));
    EXPECT_EQ(order_key(whole).Fit_Pattern(&any), 1);
    CBaseKey cut(24);
    cut.Init(std::string(24, '?').c_str());
    EXPECT_EQ(order_key(whole).Fit_Pattern(&cut), 0);
    EXPECT_EQ(order_key(whole).Fit_Pattern(nullptr), 0);
}

TEST(OrderKey, ThatWasCutByItsBaseIsReadAsFarAsItGoes)
{
    COrderKey cut = order_key(whole);
    CBaseKey market(3);
    market.Init("MKT");
    static_cast<CBaseKey&>(cut) = market;
    COrderKey any = order_key(std::string(25, '?'));
    EXPECT_EQ(cut.Fit_Pattern(&any), 0);
    EXPECT_STREQ(cut.Get_Str(), "MKT");
    EXPECT_TRUE(order_key("AAAcode-12345Dsterm-text-") < cut);
    cut.Init("MKT", "code-12345", 'x', true);
    cut.Init(&any, 255);
    EXPECT_EQ(bytes_of(cut), "???") << "no byte behind its end is written";
}

// ---- Text ------------------------------------------------------------------------------------------------------

TEST(OrderKey, HasOneTextForAllKeysOfAThread)
{
    COrderKey first = order_key(whole);
    COrderKey second = order_key(std::string("MKT\0\0", 5) + std::string(20, 'x'));
    char* text = first.Get_Str();
    EXPECT_STREQ(text, whole);
    EXPECT_EQ(second.Get_Str(), text);
    EXPECT_STREQ(text, "MKT  xxxxxxxxxxxxxxxxxxxx");
    char* of_another_thread = nullptr;
    std::thread([&] { of_another_thread = first.Get_Str(); }).join();
    EXPECT_NE(of_another_thread, text);
    EXPECT_STREQ(text, "MKT  xxxxxxxxxxxxxxxxxxxx");
}

TEST(OrderKey, TextOfAShorterKeyEndsWithIt)
{
    COrderKey key = order_key(whole);
    key.Get_Str();
    CBaseKey market(3);
    market.Init("MKT");
    static_cast<CBaseKey&>(key) = market;
    EXPECT_STREQ(key.Get_Str(), "MKT");
}

} // namespace
