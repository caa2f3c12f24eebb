// What a market has seen so far: its trades, and the prices at which orders were placed, of a day or of a month.
//
// Prices are below 10^9 and amounts below 10^12. A sum that would leave the range of its type stays at the type's
// greatest value: of amounts that takes nine million trades of the greatest amount.
#pragma once

#include "exchange/order_book.h"
#include "exchange/wide_sum.h"

#include <cstdint>
#include <string>

namespace qm {

// All prices in units of the book.
struct TradedPrices
{
    std::string date{}; // YYYYMMDD; of a month YYYYMM
    std::int64_t opening = 0;
    std::int64_t last = 0;
    std::int64_t lowest = 0;
    std::int64_t highest = 0;
    std::int64_t last_amount = 0;
    std::int64_t least_amount = 0;
    std::int64_t greatest_amount = 0;
    std::int64_t total_amount = 0;
    WideSum price_times_amount{};
    std::uint32_t trades = 0;
    std::string first_hour{};         // HHMMSS, of the first trade
    std::string last_hour{};          // of the last one
    std::string running_hour{};       // HH, of the last one
    std::uint32_t trades_of_hour = 0; // in that hour

    void Add(std::int64_t price, std::int64_t amount, const std::string& hour);
    [[nodiscard]] std::int64_t Mean() const { return price_times_amount.Mean(total_amount); }
    [[nodiscard]] std::int64_t Mean_Amount() const { return trades != 0 ? total_amount / trades : 0; } // cut

    bool operator==(const TradedPrices&) const = default;
};

// The prices of the orders that were placed.
struct PlacedPrices
{
    struct OfSide
    {
        std::int64_t lowest = 0;
        std::int64_t highest = 0;
        WideSum sum{};
        std::uint32_t orders = 0;

        [[nodiscard]] std::int64_t Mean() const { return sum.Mean(orders); }
        bool operator==(const OfSide&) const = default;
    };

    std::string date{}; // as above
    OfSide bids{};
    OfSide offers{};

    void Add(Side side, std::int64_t price);
    bool operator==(const PlacedPrices&) const = default;
};

} // namespace qm
