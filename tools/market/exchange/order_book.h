// The orders of one market in their order, and how they meet: price first, then time. Numbers alone: no records, no
// I/O.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

namespace qm {

enum class Side : char
{
    bid = 'D',
    offer = 'O'
}; // demand and offer, as orders have them

inline constexpr std::int64_t PRICE_UNITS = 10'000; // of a price in whole numbers: four decimals

struct BookOrder
{
    std::uint64_t id = 0; // the book's caller gives it, unlike that of any order that rests in the book
    Side side = Side::bid;
    std::int64_t price = 0;  // in units of 1 / PRICE_UNITS
    std::int64_t amount = 0; // what is left of it

    bool operator==(const BookOrder&) const = default;
};

struct Fill
{
    std::uint64_t resting = 0; // id of the order that was there
    std::uint64_t taking = 0;  // id of the order that came
    std::int64_t price = 0;    // that of the resting order
    std::int64_t amount = 0;
    std::int64_t resting_left = 0; // 0: it has left the book

    bool operator==(const Fill&) const = default;
};

class OrderBook
{
public:
    // Meets what it crosses, best price first, the older first of one price; what is left rests. The amount must be
    // above 0 and the id new.
    std::vector<Fill> Place(const BookOrder& order);

    // Gives the order as it was; none if it doesn't rest here.
    std::optional<BookOrder> Withdraw(std::uint64_t id);

    [[nodiscard]] const BookOrder* Find(std::uint64_t id) const;
    [[nodiscard]] std::vector<BookOrder> Side_In_Order(Side side) const; // best first
    [[nodiscard]] std::size_t size() const { return m_places.size(); }

private:
    using Level = std::list<BookOrder>; // oldest first
    using Levels = std::map<std::int64_t, Level>;
    struct Place_Of_Order
    {
        Side side;
        std::int64_t price;
        Level::iterator at;
    };

    [[nodiscard]] Levels& Levels_Of(Side side) { return side == Side::bid ? m_bids : m_offers; }
    [[nodiscard]] Levels::iterator Best(Side side);
    void Meet(BookOrder& taking, Level& level, std::vector<Fill>& fills);
    void Rest(const BookOrder& order);

    Levels m_bids;   // best last
    Levels m_offers; // best first
    std::unordered_map<std::uint64_t, Place_Of_Order> m_places;
};

} // namespace qm
