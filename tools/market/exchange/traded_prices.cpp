#include "exchange/traded_prices.h"

#include <algorithm>
#include <limits>

namespace qm {

namespace {

template <class Number> void add_up(Number& sum, Number more)
{
    sum = more > std::numeric_limits<Number>::max() - sum ? std::numeric_limits<Number>::max() : sum + more;
}

void widen(std::int64_t& lowest, std::int64_t& highest, std::int64_t value, bool is_first)
{
    lowest = is_first ? value : std::min(lowest, value);
    highest = is_first ? value : std::max(highest, value);
}

} // namespace

void TradedPrices::Add(std::int64_t price, std::int64_t amount, const std::string& hour)
{
    const bool is_first = trades == 0;
    if (is_first) {
        opening = price;
        first_hour = hour;
    }
    widen(lowest, highest, price, is_first);
    widen(least_amount, greatest_amount, amount, is_first);
    last = price;
    last_amount = amount;
    last_hour = hour;
    add_up(total_amount, amount);
    price_times_amount.Add_Product(price, amount);
    add_up(trades, std::uint32_t{1});
    if (hour.compare(0, 2, running_hour) != 0) {
        running_hour = hour.substr(0, 2);
        trades_of_hour = 0;
    }
    add_up(trades_of_hour, std::uint32_t{1});
}

void PlacedPrices::Add(Side side, std::int64_t price)
{
    OfSide& prices = side == Side::bid ? bids : offers;
    widen(prices.lowest, prices.highest, price, prices.orders == 0);
    prices.sum.Add_Product(price, 1);
    add_up(prices.orders, std::uint32_t{1});
}

} // namespace qm
