#include "keys/price_comparison.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

int where_is(char wanted, const char* price)
{
    return static_cast<int>(std::find(price, price + ORD_PRICE_LEN, wanted) - price);
}

bool has(char wanted, const char* price)
{
    return where_is(wanted, price) != ORD_PRICE_LEN;
}

bool is_blank_or_zero(char digit)
{
    return digit == ' ' || digit == '0';
}

// A bound of a range is one byte again and again.
bool is_bound(char first)
{
    return first == '\0' || first == '\xff';
}

int compare_bytes(const char* left, const char* right, int count)
{
    const int order = std::memcmp(left, right, static_cast<std::size_t>(count));
    return order < 0 ? -1 : static_cast<int>(order > 0);
}

// As texts, but " 0.5" is "  .5": a blank or zero in front of the point says nothing.
int compare_texts(const char* left, const char* right)
{
    const int order = compare_bytes(left, right, ORD_PRICE_LEN);
    const int point = where_is('.', left);
    const int unit = point - 1;
    if (order == 0 || point == 0 || !is_blank_or_zero(left[unit]) || !is_blank_or_zero(right[unit])) {
        return order;
    }
    const int front = compare_bytes(left, right, unit);
    return front != 0 ? front : compare_bytes(left + point, right + point, ORD_PRICE_LEN - point);
}

int with_signs(int order, const char* left, const char* right)
{
    if (has('-', left)) {
        return has('-', right) ? -order : -1;
    }
    return has('-', right) ? 1 : order;
}

bool is_descending(bool bid, int sorting_method)
{
    return bid != (sorting_method == CPRICE_BID_ASC_OFFER_DESC_SORTING);
}

} // namespace

int TABLE_KEY_Price_Comp(const char* key_ptr, const char* x_key_ptr, int bid_offer, int price_key_sorting_method)
{
    int order = compare_texts(key_ptr, x_key_ptr);
    if (order == 0) {
        return 0;
    }
    if (!is_bound(*key_ptr) && !is_bound(*x_key_ptr)) {
        order = with_signs(order, key_ptr, x_key_ptr);
    }
    return is_descending(bid_offer == KEY_BID_CHAR, price_key_sorting_method) ? -order : order;
}

void TABLE_KEY_Price_Key_Fill(char* cur_cpr_ptr, const char* o_d, int fill_value_char, int price_key_sorting_method)
{
    const bool bid = o_d != nullptr && *o_d == *Glb_Bid_Id;
    const int fill = is_descending(bid, price_key_sorting_method) ? ~fill_value_char : fill_value_char;
    std::memset(cur_cpr_ptr, fill, ORD_PRICE_LEN);
}
