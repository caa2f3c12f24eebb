// Keys of a book of orders: the instrument, then the side, then the price, the best first, then the time. On both
// sides of one instrument the prices run in opposite directions, and which is which can be turned round.
#pragma once

#include "keys/packed_key.h"
#include "keys/price_comparison.h"

#include <cstring>
#include <tuple>

namespace qapi {

// `Key` has the parts o_d, category_code and price, and says where the byte stands whose order is turned round.
template <class Key> class PriceKey : public PackedKey<Key>
{
    using Packed = PackedKey<Key>;

public:
    static constexpr bool ordered_by_bytes = false;
    static constexpr int none = -1;

    void Init(const char* new_key_value) { Packed::Init(new_key_value); }

    // A whole key; or, with a fill as the last argument, the bound of a range: 0 is in front of all orders that begin
    // as the texts do, 255 behind them. With a market alone the fill is the price's too.
    template <class... Arguments> void Init(const char* market, Arguments... rest) requires(sizeof...(Arguments) != 0)
    {
        Packed::Init(market, rest...);
        constexpr std::size_t last = sizeof...(Arguments) - 1;
        const auto& fill = std::get<last>(std::tie(rest...));
        if constexpr (std::is_arithmetic_v<std::tuple_element_t<last, std::tuple<Arguments...>>>) {
            Finish_Bound(static_cast<int>(fill), last != 0);
        }
    }

    // The bound of what has the instrument and the side of any key; what that lacks is zeros.
    void Init(const CBaseKey* l_k, int fill_value_char)
    {
        constexpr int head = Key::forms[0].Offset_Of("category_code");
        this->Copy_Head(l_k, head, fill_value_char);
        Finish_Bound(fill_value_char, true);
    }

    void Set_Price_Key_Sorting_Method(int method) override { m_price_key_sorting_method = method; }

    int m_price_key_sorting_method = CPRICE_BID_DESC_OFFER_ASC_SORTING;

private:
    void Finish_Bound(int fill, bool has_side)
    {
        if (this->m_key_len < Key::length) { // its base was given a shorter key
            return;
        }
        if (Key::descending_at != none) {
            this->m_key[Key::descending_at] = fill != 0 ? '\0' : '\xff';
        }
        if (has_side) {
            constexpr int price = Key::forms[0].Offset_Of("price");
            constexpr int side = Key::forms[0].Offset_Of("o_d");
            TABLE_KEY_Price_Key_Fill(this->m_key + price, this->m_key + side, fill, m_price_key_sorting_method);
        }
    }
};

} // namespace qapi

inline constexpr int PRICE_G7_MARKET_KEY_LEN = 73;
inline constexpr int PRICE_VOICE_MARKET_KEY_LEN = 79;

// Of equal prices those of order type 'D' come first.
class CPriceG7MarketKey : public qapi::PriceKey<CPriceG7MarketKey>
{
public:
    static constexpr int length = PRICE_G7_MARKET_KEY_LEN;
    static constexpr int descending_at = none;
    static constexpr qapi::PackedForm forms[] = {
        "market 3, level 1, maturity_date 8, xdays 2, days 2, text_term 10, sub_market 1, o_d 1, category_code 1, "
        "price 19, order_type 1, order_date 8, operation_hour 6, order_code 10",
        "market 3, level 1, maturity_date 8, xdays 2, days 2, text_term 10, sub_market 1, o_d 1, fill",
        "market 3, fill"};

    bool operator<(const CBaseKey& other) const;
};

// Orders that are linked to others: in the direction of the link, and against it.
inline constexpr int PRICE_TYPE_LINKED = 1;
inline constexpr int PRICE_TYPE_INVLINKED = 2;

class CPriceG7MarketKeyLink : public CPriceG7MarketKey
{
};

class CPriceG7MarketKeyInvLink : public CPriceG7MarketKey
{
};

// The order type comes in front of the price, and the higher one comes first.
class CPriceVoicemarketKey : public qapi::PriceKey<CPriceVoicemarketKey>
{
public:
    static constexpr int length = PRICE_VOICE_MARKET_KEY_LEN;
    static constexpr int descending_at = 36;
    static constexpr qapi::PackedForm forms[] = {
        "market 3, xdays 2, days 2, group_code 4, title_reference 12, currency 3, arrange 2, value_date 2, "
        "cama_de_monto 1, tipo_operacion 2, linea_pico 1, o_d 1, category_code 1, order_type 1, price 19, "
        "ordering_rest 1, order_number 6, operation_hour 6, order_code 10",
        "market 3, xdays 2, days 2, group_code 4, title_reference 12, currency 3, arrange 2, value_date 2, "
        "cama_de_monto 1, tipo_operacion 2, linea_pico 1, o_d 1, fill",
        "market 3, fill"};

    bool operator<(const CBaseKey& other) const;
};
