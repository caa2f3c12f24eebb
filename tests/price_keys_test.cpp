#include "support/price_key_texts.h"
#include "support/report_texts.h"

#include <gmock/gmock.h>

#include <functional>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* different_lengths = "1 Error. Key comparison between keys with different length!";

CPriceVoicemarketKey floor_key(char side, const char* price, char type = 'E', int method = 0)
{
    return key_with<CPriceVoicemarketKey>(
        {{34, std::string(1, side)}, {36, std::string(1, type)}, {37, right_aligned(price)}}, method);
}

template <class Key> void expect_less(const Key& left, const Key& right)
{
    EXPECT_TRUE(left < right) << bytes_of(left) << "\n" << bytes_of(right);
    EXPECT_FALSE(right < left) << bytes_of(left) << "\n" << bytes_of(right);
}

template <class Key> void expect_equivalent(const Key& left, const Key& right)
{
    EXPECT_FALSE(left < right);
    EXPECT_FALSE(right < left);
}

// ---- Prices in a book ------------------------------------------------------------------------------------------

TEST(BookKey, BestBidAndBestOfferComeFirst)
{
    expect_less(book('D', "1.5"), book('D', "1.4"));
    expect_less(book('O', "1.4"), book('O', "1.5"));
}

TEST(BookKey, OtherMethodTurnsBothSidesRound)
{
    expect_less(book('D', "1.4", 'E', 1), book('D', "1.5", 'E', 1));
    expect_less(book('O', "1.5", 'E', 1), book('O', "1.4", 'E', 1));
}

TEST(BookKey, BlankAndZeroInFrontOfThePointAreEqual)
{
    expect_equivalent(book('O', " .5"), book('O', "0.5"));
    expect_equivalent(book('D', " .5"), book('D', "0.5"));
    expect_less(book('O', " .5"), book('O', "0.6"));
    EXPECT_FALSE(book('O', " .5") == book('O', "0.5")) << "the bytes differ";
}

TEST(BookKey, NegativeOfferComesBeforeAPositiveOne)
{
    expect_less(book('O', "-9.5"), book('O', "1.5"));
    expect_less(book('D', "1.5"), book('D', "-9.5"));
}

TEST(BookKey, TextOrderOfTwoNegativePricesIsInverted)
{
    expect_less(book('O', "-2.5"), book('O', "-1.5"));
    expect_less(book('O', "-12.5"), book('O', "-2.5"));
    expect_less(book('D', "-1.5"), book('D', "-2.5"));
}

TEST(BookKey, PricesAreLessThanWhatStandsInFront)
{
    for (int offset = 0; offset < 29; ++offset) {
        auto left = book('O', "9.5");
        auto right = book('O', "1.5");
        right.m_key[offset] = static_cast<char>(right.m_key[offset] + 1);
        expect_less(left, right);
        left.m_key[offset] = '\x7f';
        right.m_key[offset] = '\x80';
        expect_less(left, right);
    }
}

TEST(BookKey, OfEqualPricesOrderTypeDComesFirst)
{
    expect_less(book('O', "1.5", 'D'), book('O', "1.5", 'E'));
    expect_less(book('O', "1.5", 'D'), book('O', "1.5", 'A'));
    expect_less(book('O', "1.5", 'A'), book('O', "1.5", 'E'));
    expect_less(book('O', "1.5", 'E'), book('O', "1.5", '\x80'));
    expect_less(book('O', " .5", 'D'), book('O', "0.5", 'E'));
}

TEST(BookKey, DateTimeAndCodeComeLast)
{
    for (const int offset : {49, 57, 63, 72}) {
        auto later = book('O', "1.5");
        later.m_key[offset] = 1;
        expect_less(book('O', "1.5"), later);
        expect_less(book('O', "1.5", 'D'), book('O', "1.5"));
    }
}

TEST(BookKey, SideAndMethodAreThoseOfTheLeftKey)
{
    EXPECT_FALSE(book('O', "1.4", 'E', 1) < book('O', "1.5", 'E', 0));
    EXPECT_TRUE(book('O', "1.4", 'E', 0) < book('O', "1.5", 'E', 1));
    EXPECT_TRUE(book('O', "1.5", 'E', 7) < book('O', "1.6", 'E', 7)) << "any other method is the default";
}

TEST(BookKey, CopiesKeepTheMethod)
{
    const CPriceG7MarketKey key = book('O', "1.5", 'E', 1);
    const CPriceG7MarketKey copy(key);
    CPriceG7MarketKey assigned;
    EXPECT_EQ(assigned.m_price_key_sorting_method, CPRICE_BID_DESC_OFFER_ASC_SORTING);
    assigned = key;
    EXPECT_EQ(copy.m_price_key_sorting_method, CPRICE_BID_ASC_OFFER_DESC_SORTING);
    EXPECT_EQ(assigned.m_price_key_sorting_method, CPRICE_BID_ASC_OFFER_DESC_SORTING);
}

// ---- Prices of a floor -----------------------------------------------------------------------------------------

TEST(FloorKey, HigherOrderTypeComesFirstWhateverThePrice)
{
    expect_less(floor_key('O', "9.5", 'E'), floor_key('O', "1.5", 'D'));
    expect_less(floor_key('O', "9.5", '\x80'), floor_key('O', "1.5", 'Z'));
}

TEST(FloorKey, PricesRunByTheSide)
{
    expect_less(floor_key('D', "1.5"), floor_key('D', "1.4"));
    expect_less(floor_key('O', "1.4"), floor_key('O', "1.5"));
    expect_less(floor_key('O', "1.5", 'E', 1), floor_key('O', "1.4", 'E', 1));
}

TEST(FloorKey, WhatStandsInFrontComesBeforeTypeAndPrice)
{
    for (int offset = 0; offset < 36; ++offset) {
        const auto left = floor_key('O', "9.5", 'D');
        auto right = floor_key('O', "1.5", 'E');
        right.m_key[offset] = static_cast<char>(right.m_key[offset] + 1);
        expect_less(left, right);
    }
}

TEST(FloorKey, RestNumberTimeAndCodeComeLast)
{
    for (const int offset : {56, 57, 63, 69, 78}) {
        auto later = floor_key('O', "1.5");
        later.m_key[offset] = 1;
        expect_less(floor_key('O', "1.5"), later);
        expect_less(floor_key('O', "1.4"), floor_key('O', "1.5"));
    }
}

// ---- Bounds ----------------------------------------------------------------------------------------------------

CPriceVoicemarketKey floor_bound(const char* side, int fill, int method)
{
    CPriceVoicemarketKey key;
    key.Set_Price_Key_Sorting_Method(method);
    key.Init("MKT", "xx", "dd", "grup", "title-twelve", "USD", "aa", "vv", "m", "oo", "p", side, fill);
    return key;
}

template <class Key> void expect_bounds_enclose(const std::function<Key(int fill)>& bound, int first, int price)
{
    const Key lower = bound(0);
    const Key upper = bound(255);
    PriceTexts prices(6);
    Key key = lower;
    for (int i = 0; i < 500; ++i) {
        std::generate(key.m_key + first, key.m_key + key.m_key_len,
                      [&prices] { return static_cast<char>('0' + prices.Below(60)); });
        const std::string text = prices.Well_Formed();
        std::copy(text.begin(), text.end(), key.m_key + price);
        expect_less(lower, key);
        expect_less(key, upper);
    }
}

TEST(BookBounds, EncloseAllOrdersOfASide)
{
    for (const char* side : {"D", "O"}) {
        for (const int method : {0, 1}) {
            expect_bounds_enclose<CPriceG7MarketKey>([=](int fill) { return book_bound(side, fill, method); }, 28, 29);
        }
    }
}

TEST(FloorBounds, EncloseAllOrdersOfASide)
{
    for (const char* side : {"D", "O"}) {
        for (const int method : {0, 1}) {
            expect_bounds_enclose<CPriceVoicemarketKey>([=](int fill) { return floor_bound(side, fill, method); }, 35,
                                                        37);
        }
    }
}

TEST(BookBounds, FillWhatStandsBehindTheSideAndTheComplementOfABidsPrice)
{
    const std::string head = "MKT120271231xxddterm-text-s";
    EXPECT_EQ(bytes_of(book_bound("D", 255, 0)), head + "D" + '\xff' + std::string(19, '\0') + std::string(25, '\xff'));
    EXPECT_EQ(bytes_of(book_bound("D", 255, 1)), head + "D" + std::string(45, '\xff'));
    EXPECT_EQ(bytes_of(book_bound("O", 0, 1)), head + "O" + '\0' + std::string(19, '\xff') + std::string(25, '\0'));
    EXPECT_EQ(bytes_of(book_bound("O", 'a', 0)), head + "O" + std::string(45, 'a'));
}

TEST(FloorBounds, TurnTheOrderTypeRound)
{
    const std::string head = "MKTxxddgruptitle-twelveUSDaavvmoop";
    EXPECT_EQ(bytes_of(floor_bound("O", 'a', 0)), head + "Oa" + '\0' + std::string(42, 'a'));
    EXPECT_EQ(bytes_of(floor_bound("D", 0, 0)),
              head + "D" + '\0' + '\xff' + std::string(19, '\xff') + std::string(23, '\0'));
}

TEST(BookBounds, OfAMarketAreTheMarketAndTheFill)
{
    CPriceG7MarketKey key;
    key.Init("MKT", 255);
    EXPECT_EQ(bytes_of(key), "MKT" + std::string(70, '\xff'));
}

TEST(FloorBounds, OfAMarketTurnTheOrderTypeRoundToo)
{
    CPriceVoicemarketKey key;
    key.Init("MKT", 255);
    EXPECT_EQ(bytes_of(key), "MKT" + std::string(33, '\xff') + '\0' + std::string(42, '\xff'));
    key.Init("MKT", 0);
    EXPECT_EQ(bytes_of(key), "MKT" + std::string(33, '\0') + '\xff' + std::string(42, '\0'));
}

TEST(BookBounds, OfAnotherKeyHaveItsInstrumentAndSide)
{
    const CPriceG7MarketKey from = book_bound("D", 'x', 0);
    CPriceG7MarketKey key;
    key.Init(&from, 255);
    EXPECT_EQ(bytes_of(key), bytes_of(book_bound("D", 255, 0)));
    key.Init(&key, 0);
    EXPECT_EQ(bytes_of(key), bytes_of(book_bound("D", 0, 0))) << "of itself";
    key.Set_Price_Key_Sorting_Method(1);
    key.Init(&from, 255);
    EXPECT_EQ(bytes_of(key), bytes_of(book_bound("D", 255, 1))) << "by its own method";
}

TEST(FloorBounds, OfAnotherKeyHaveItsInstrumentAndSide)
{
    const CPriceVoicemarketKey from = floor_bound("O", 'x', 0);
    CPriceVoicemarketKey key;
    key.Init(&from, 0);
    EXPECT_EQ(bytes_of(key), bytes_of(floor_bound("O", 0, 0)));
}

TEST(BookBounds, OfAShorterKeyOrNoneHaveZerosForWhatItLacks)
{
    CBaseKey market(3);
    market.Init("MKT");
    CPriceG7MarketKey key;
    key.Init(&market, 255);
    EXPECT_EQ(bytes_of(key), "MKT" + std::string(25, '\0') + std::string(45, '\xff'));
    key.Init(static_cast<const CBaseKey*>(nullptr), 255);
    EXPECT_EQ(bytes_of(key), std::string(28, '\0') + std::string(45, '\xff'));
}

// ---- Keys of other lengths -------------------------------------------------------------------------------------

TEST(PriceKeys, OfDifferentLengthsAreReportedAndComparedAllTheSame)
{
    const ReportTexts reports;
    CPriceVoicemarketKey longer;
    std::fill_n(longer.m_key, 79, 'z');
    EXPECT_TRUE(book('O', "1.5") < longer);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(different_lengths));
    EXPECT_FALSE(longer < book('O', "1.5"));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(different_lengths));
    EXPECT_FALSE(book('O', "1.5") < book('O', "1.5"));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST(PriceKeys, ThatWereCutByTheirBaseAreReadAndWrittenAsFarAsTheyGo)
{
    const ReportTexts reports;
    CBaseKey market(3);
    market.Init("MKT");
    CPriceG7MarketKey book_key;
    CPriceVoicemarketKey voice_key;
    static_cast<CBaseKey&>(book_key) = market;
    static_cast<CBaseKey&>(voice_key) = market;
    book_key.Init("XYZ", 255);
    voice_key.Init("XYZ", 255);
    voice_key.Init(&voice_key, 0);
    EXPECT_EQ(bytes_of(book_key) + bytes_of(voice_key), "MKTMKT");
    EXPECT_TRUE(book('O', "1.5") < book_key);
    EXPECT_FALSE(voice_key < floor_key('O', "1.5"));
}

} // namespace
