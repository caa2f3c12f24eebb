// A price key of a kind that is chosen at run time. Until one is built it has no bytes, fits no pattern and is neither
// less than another, nor equal, nor unequal.
#pragma once

#include "keys/price_keys.h"

class CMessage;

inline constexpr int CPRICE_DEFAULT = 0;
inline constexpr int CPRICE_G7MODE = 1;
inline constexpr int CPRICE_VOICE = 2;

class CPriceOrderKey : public CBaseKey
{
public:
    static constexpr bool ordered_by_bytes = false;

    CPriceOrderKey() = default;
    CPriceOrderKey(const CPriceOrderKey& other);
    CPriceOrderKey& operator=(const CPriceOrderKey& other);

    // Builds the key of a class: 0, PRICE_TYPE_LINKED or PRICE_TYPE_INVLINKED. One that was built for the same type and
    // class stays, with its sorting method; a class that there isn't leaves none.
    void Build(int price_market_type, int sorting_method, int class_type);

    // The key of an order; and the bound of its instrument on the side *omarket. Both build the default.
    void Build(CMessage* order);
    void Build(CMessage* order, const char* omarket, int fill);

    void Init(const char* new_key_value);
    void Init(const char* omarket, int fill_value_char); // of class 0, whatever was built
    void Init(const CBaseKey* l_k, int fill_value_char);

    int Fit_Pattern(CBaseKey* pattern) override;
    char* Get_Str() override;
    char* Get_Key_Ptr() override; // null if none is built
    void Set_Price_Key_Sorting_Method(int method) override;

    bool operator<(const CPriceOrderKey& other) const;
    bool operator==(const CPriceOrderKey& other) const;
    bool operator!=(const CPriceOrderKey& other) const;

    int m_price_market_type = CPRICE_DEFAULT;
    int m_price_key_sorting_method = CPRICE_BID_DESC_OFFER_ASC_SORTING;
    int m_class_type = 0;
    std::unique_ptr<CPriceG7MarketKey> m_internal_price;

private:
    [[nodiscard]] bool Can_Compare(const CPriceOrderKey& other) const;
};
