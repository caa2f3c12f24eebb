#include "support/price_texts.h"
#include "support/report_texts.h"

#include "keys/price_keys.h"
#include "keys/price_order_key.h"
#include "records/orders.h"

#include <gmock/gmock.h>

#include <functional>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* different_lengths = "1 Error. Key comparison between keys with different length!";

template <class Key> std::string bytes_of(const Key& key)
{
    return {key.m_key, static_cast<std::size_t>(key.m_key_len)};
}

// A key of zeros but for some bytes.
template <class Key> Key key_with(std::initializer_list<std::pair<int, std::string>> parts, int method = 0)
{
    Key key;
    for (const auto& [offset, bytes] : parts) {
        std::copy(bytes.begin(), bytes.end(), key.m_key + offset);
    }
    key.Set_Price_Key_Sorting_Method(method);
    return key;
}

CPriceG7MarketKey book(char side, const char* price, char type = 'E', int method = 0)
{
    return key_with<CPriceG7MarketKey>(
        {{27, std::string(1, side)}, {29, right_aligned(price)}, {48, std::string(1, type)}}, method);
}

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

CPriceG7MarketKey book_bound(const char* side, int fill, int method)
{
    CPriceG7MarketKey key;
    key.Set_Price_Key_Sorting_Method(method);
    key.Init("MKT", "1", "20271231", "xx", "dd", "term-text-", "s", side, fill);
    return key;
}

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

// ---- The wrapper -----------------------------------------------------------------------------------------------

CPriceOrderKey wrapper_of(const CPriceG7MarketKey& key, int class_type = 0)
{
    CPriceOrderKey wrapper;
    wrapper.Build(CPRICE_DEFAULT, key.m_price_key_sorting_method, class_type);
    wrapper.Init(key.m_key);
    return wrapper;
}

template <class Key> bool holds(const CPriceOrderKey& wrapper)
{
    return dynamic_cast<const Key*>(wrapper.m_internal_price.get()) != nullptr;
}

TEST(PriceOrderKey, BuildsTheKeyOfAClass)
{
    CPriceOrderKey wrapper;
    wrapper.Build(CPRICE_DEFAULT, 1, 0);
    EXPECT_EQ(wrapper.m_internal_price->m_price_key_sorting_method, 1);
    wrapper.Build(CPRICE_DEFAULT, 0, PRICE_TYPE_LINKED);
    EXPECT_TRUE(holds<CPriceG7MarketKeyLink>(wrapper));
    wrapper.Build(CPRICE_DEFAULT, 0, PRICE_TYPE_INVLINKED);
    EXPECT_TRUE(holds<CPriceG7MarketKeyInvLink>(wrapper));
    wrapper.Build(CPRICE_DEFAULT, 0, 0);
    EXPECT_FALSE(holds<CPriceG7MarketKeyLink>(wrapper) || holds<CPriceG7MarketKeyInvLink>(wrapper));
}

TEST(PriceOrderKey, KeepsAKeyOfTheSameTypeAndClassWithItsMethod)
{
    CPriceOrderKey wrapper;
    wrapper.Build(CPRICE_G7MODE, 1, PRICE_TYPE_LINKED);
    const CBaseKey* built = wrapper.m_internal_price.get();
    wrapper.Build(CPRICE_G7MODE, 0, PRICE_TYPE_LINKED);
    EXPECT_EQ(wrapper.m_internal_price.get(), built);
    EXPECT_EQ(wrapper.m_price_key_sorting_method, 1);
    wrapper.m_internal_price->m_key[0] = 'x';
    wrapper.Build(CPRICE_VOICE, 0, PRICE_TYPE_LINKED);
    EXPECT_EQ(wrapper.m_internal_price->m_key[0], 0) << "another type makes a new one";
    EXPECT_EQ(wrapper.m_price_key_sorting_method, 0);
}

TEST(PriceOrderKey, HandsOnWhatItIsAsked)
{
    CPriceOrderKey wrapper = wrapper_of(book('O', "1.5"));
    CPriceOrderKey pattern;
    pattern.Build(0, 0, 0);
    pattern.Init(std::string(73, '?').c_str());
    EXPECT_EQ(wrapper.Get_Key_Ptr(), wrapper.m_internal_price->m_key);
    EXPECT_EQ(std::string(wrapper.Get_Str()), std::string(wrapper.m_internal_price->Get_Str()));
    EXPECT_EQ(wrapper.Fit_Pattern(&pattern), 1);
    EXPECT_EQ(wrapper.Fit_Pattern(pattern.m_internal_price.get()), 1);
    pattern.m_internal_price->m_key[27] = 'D';
    EXPECT_EQ(wrapper.Fit_Pattern(&pattern), 0);
    wrapper.Set_Price_Key_Sorting_Method(1);
    EXPECT_EQ(wrapper.m_internal_price->m_price_key_sorting_method, 1);
}

TEST(PriceOrderKey, IsComparedAsTheKeyThatItHolds)
{
    for (const int class_type : {0, PRICE_TYPE_LINKED, PRICE_TYPE_INVLINKED}) {
        const CPriceOrderKey best = wrapper_of(book('D', "1.5"), class_type);
        const CPriceOrderKey next = wrapper_of(book('D', "1.4"), class_type);
        EXPECT_TRUE(best < next);
        EXPECT_FALSE(next < best);
        EXPECT_TRUE(best == best);
        EXPECT_TRUE(best != next);
        EXPECT_FALSE(best != best);
    }
}

TEST(PriceOrderKey, CopiesHaveAKeyOfTheSameKindAndBytesOfTheirOwn)
{
    const CPriceOrderKey wrapper = wrapper_of(book('O', "1.5", 'E', 1), PRICE_TYPE_LINKED);
    const CPriceOrderKey copy(wrapper);
    EXPECT_TRUE(holds<CPriceG7MarketKeyLink>(copy));
    EXPECT_TRUE(copy == wrapper);
    EXPECT_EQ(copy.m_internal_price->m_price_key_sorting_method, 1);
    EXPECT_NE(copy.m_internal_price, wrapper.m_internal_price);
    CPriceOrderKey assigned = wrapper_of(book('D', "9"), PRICE_TYPE_LINKED);
    assigned = wrapper;
    EXPECT_TRUE(assigned == wrapper);
    assigned = *&assigned;
    EXPECT_TRUE(assigned == wrapper);
    assigned = CPriceOrderKey();
    EXPECT_EQ(assigned.m_internal_price, nullptr);
}

TEST(PriceOrderKey, WithoutAKeyDoesNoHarm)
{
    CPriceOrderKey none;
    CPriceOrderKey unknown = wrapper_of(book('O', "1.5"));
    CPriceOrderKey key = wrapper_of(book('O', "1.5"));
    CGTOrder order;
    unknown.Build(CPRICE_DEFAULT, 0, 3);
    for (CPriceOrderKey* empty : {&none, &unknown}) {
        EXPECT_FALSE(*empty < key || key < *empty || *empty == key || key == *empty || *empty != key || key != *empty);
        EXPECT_FALSE(*empty < *empty || *empty == *empty || *empty != *empty);
        EXPECT_EQ(empty->Get_Key_Ptr(), nullptr);
        EXPECT_STREQ(empty->Get_Str(), "");
        EXPECT_EQ(empty->Fit_Pattern(&key), 0);
        EXPECT_EQ(key.Fit_Pattern(empty), 0);
        empty->Init("bytes");
        empty->Init(&key, 255);
        empty->Set_Price_Key_Sorting_Method(1);
        EXPECT_TRUE(CPriceOrderKey(*empty).m_internal_price == nullptr);
    }
    EXPECT_EQ(key.Fit_Pattern(nullptr), 0);
    unknown.Build(&order);
    unknown.Build(&order, "D", 255);
    EXPECT_EQ(unknown.m_internal_price, nullptr) << "of an unknown class";
}

TEST(PriceOrderKey, BoundOfAMarketIsOfClassZero)
{
    CPriceOrderKey wrapper = wrapper_of(book('O', "1.5"), PRICE_TYPE_LINKED);
    wrapper.Init("MKT", 255);
    EXPECT_EQ(wrapper.m_class_type, 0);
    EXPECT_FALSE(holds<CPriceG7MarketKeyLink>(wrapper));
    EXPECT_EQ(bytes_of(*wrapper.m_internal_price), "MKT" + std::string(70, '\xff'));
    CPriceOrderKey none;
    none.Init("MKT", 0);
    EXPECT_EQ(bytes_of(*none.m_internal_price), "MKT" + std::string(70, '\0'));
}

TEST(PriceOrderKey, BoundOfAnotherKeyLooksIntoWrappers)
{
    const CPriceOrderKey from = wrapper_of(book_bound("D", 'x', 0));
    CPriceOrderKey wrapper = wrapper_of(book('O', "1.5"));
    wrapper.Init(&from, 255);
    EXPECT_EQ(bytes_of(*wrapper.m_internal_price), bytes_of(book_bound("D", 255, 0)));
}

TEST(PriceOrderKey, BuildOfARecordIsTheDefaultOfItsClass)
{
    CGTOrder order;
    CPriceOrderKey wrapper;
    wrapper.Build(CPRICE_G7MODE, 1, PRICE_TYPE_INVLINKED);
    wrapper.Build(&order, "D", 255);
    EXPECT_TRUE(holds<CPriceG7MarketKeyInvLink>(wrapper));
    EXPECT_EQ(wrapper.m_price_market_type, CPRICE_DEFAULT);
    EXPECT_EQ(wrapper.m_price_key_sorting_method, CPRICE_BID_DESC_OFFER_ASC_SORTING);
    EXPECT_EQ(wrapper.m_internal_price->m_key[27], 'D');
    wrapper.Build(&order);
    EXPECT_EQ(wrapper.m_internal_price->m_key[27], 0);
    wrapper.Build(static_cast<CMessage*>(nullptr));
    wrapper.Build(nullptr, "D", 0);
    EXPECT_EQ(wrapper.m_internal_price->m_key[27], 0) << "no record changes nothing";
}

} // namespace
