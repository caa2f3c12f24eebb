#include "keys/price_keys.h"

namespace {

template <class Key> consteval int offset(std::string_view part)
{
    return Key::forms[0].Offset_Of(part);
}

using G7 = CPriceG7MarketKey;
static_assert(offset<G7>("o_d") == 27);
static_assert(offset<G7>("price") == 29);
static_assert(offset<G7>("order_type") == 48);
static_assert(offset<G7>("order_date") == 49);
static_assert(G7::forms[0].Width() == G7::length);

using Voice = CPriceVoicemarketKey;
static_assert(offset<Voice>("o_d") == 34);
static_assert(offset<Voice>("order_type") == Voice::descending_at);
static_assert(offset<Voice>("price") == 37);
static_assert(offset<Voice>("ordering_rest") == 56);
static_assert(Voice::forms[0].Width() == Voice::length);

int compare_bytes(const CBaseKey& left, const CBaseKey& right, int from, int to)
{
    return std::memcmp(left.m_key + from, right.m_key + from, static_cast<std::size_t>(to - from));
}

// As numbers, from the higher to the lower.
int compare_descending(char left, char right)
{
    return static_cast<unsigned char>(right) - static_cast<unsigned char>(left);
}

int compare_order_types(char left, char right)
{
    if (left == right) {
        return 0;
    }
    if (left == 'D' || right == 'D') {
        return left == 'D' ? -1 : 1;
    }
    return compare_descending(right, left);
}

template <class Key> int compare_prices(const Key& left, const CBaseKey& right)
{
    constexpr int price = offset<Key>("price");
    return TABLE_KEY_Price_Comp(left.m_key + price, right.m_key + price, left.m_key[offset<Key>("o_d")],
                                left.m_price_key_sorting_method);
}

int compare(const G7& left, const CBaseKey& right)
{
    constexpr int type = offset<G7>("order_type");
    int order = compare_bytes(left, right, 0, offset<G7>("price"));
    order = order != 0 ? order : compare_prices(left, right);
    order = order != 0 ? order : compare_order_types(left.m_key[type], right.m_key[type]);
    return order != 0 ? order : compare_bytes(left, right, type + 1, G7::length);
}

int compare(const Voice& left, const CBaseKey& right)
{
    constexpr int type = Voice::descending_at;
    int order = compare_bytes(left, right, 0, type);
    order = order != 0 ? order : compare_descending(left.m_key[type], right.m_key[type]);
    order = order != 0 ? order : compare_prices(left, right);
    return order != 0 ? order : compare_bytes(left, right, offset<Voice>("ordering_rest"), Voice::length);
}

} // namespace

bool CPriceG7MarketKey::operator<(const CBaseKey& other) const
{
    Check_Length(other);
    return (Both_Have(length, other) ? compare(*this, other) : Compare(other)) < 0;
}

bool CPriceVoicemarketKey::operator<(const CBaseKey& other) const
{
    Check_Length(other);
    return (Both_Have(length, other) ? compare(*this, other) : Compare(other)) < 0;
}
