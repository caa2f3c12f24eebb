// The wrapper around the keys of a book.
#include "keys/price_order_key.h"
#include "records/orders.h"
#include "support/price_key_texts.h"

#include <gtest/gtest.h>

namespace {

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

TEST(PriceOrderKey, AssignmentTakesTheSortingMethodTooWhereTheKindIsTheSame)
{
    CPriceOrderKey rising;
    rising.Build(CPRICE_DEFAULT, CPRICE_BID_ASC_OFFER_DESC_SORTING, 0);
    CPriceOrderKey key;
    key.Build(CPRICE_DEFAULT, CPRICE_BID_DESC_OFFER_ASC_SORTING, 0);
    key = rising;
    EXPECT_EQ(key.m_price_key_sorting_method, CPRICE_BID_ASC_OFFER_DESC_SORTING);
    EXPECT_EQ(key.m_internal_price->m_price_key_sorting_method, CPRICE_BID_ASC_OFFER_DESC_SORTING);
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
