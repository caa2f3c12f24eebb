// Price keys as tests build them.
#pragma once

#include "keys/price_keys.h"
#include "support/price_texts.h"

#include <initializer_list>
#include <string>
#include <utility>

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

inline CPriceG7MarketKey book(char side, const char* price, char type = 'E', int method = 0)
{
    return key_with<CPriceG7MarketKey>(
        {{27, std::string(1, side)}, {29, right_aligned(price)}, {48, std::string(1, type)}}, method);
}

inline CPriceG7MarketKey book_bound(const char* side, int fill, int method)
{
    CPriceG7MarketKey key;
    key.Set_Price_Key_Sorting_Method(method);
    key.Init("MKT", "1", "20271231", "xx", "dd", "term-text-", "s", side, fill);
    return key;
}
