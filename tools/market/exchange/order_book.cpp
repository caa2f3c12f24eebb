#include "exchange/order_book.h"

#include <algorithm>
#include <iterator>

namespace qm {

namespace {

bool reaches(const BookOrder& taking, std::int64_t resting_price)
{
    return taking.side == Side::bid ? taking.price >= resting_price : taking.price <= resting_price;
}

} // namespace

OrderBook::Levels::iterator OrderBook::Best(Side side)
{
    Levels& levels = Levels_Of(side);
    return side == Side::bid && !levels.empty() ? std::prev(levels.end()) : levels.begin();
}

std::vector<Fill> OrderBook::Place(const BookOrder& order)
{
    const Side other = order.side == Side::bid ? Side::offer : Side::bid;
    std::vector<Fill> fills;
    BookOrder taking = order;
    while (taking.amount > 0 && !Levels_Of(other).empty()) {
        const auto best = Best(other);
        if (!reaches(taking, best->first)) {
            break;
        }
        Meet(taking, best->second, fills);
        if (best->second.empty()) {
            Levels_Of(other).erase(best);
        }
    }
    if (taking.amount > 0) {
        Rest(taking);
    }
    return fills;
}

void OrderBook::Meet(BookOrder& taking, Level& level, std::vector<Fill>& fills)
{
    while (taking.amount > 0 && !level.empty()) {
        BookOrder& resting = level.front();
        const std::int64_t amount = std::min(taking.amount, resting.amount);
        taking.amount -= amount;
        resting.amount -= amount;
        fills.push_back({.resting = resting.id,
                         .taking = taking.id,
                         .price = resting.price,
                         .amount = amount,
                         .resting_left = resting.amount});
        if (resting.amount == 0) {
            m_places.erase(resting.id);
            level.pop_front();
        }
    }
}

void OrderBook::Rest(const BookOrder& order)
{
    Level& level = Levels_Of(order.side)[order.price];
    level.push_back(order);
    m_places.emplace(order.id, Place_Of_Order{order.side, order.price, std::prev(level.end())});
}

std::optional<BookOrder> OrderBook::Withdraw(std::uint64_t id)
{
    const auto place = m_places.find(id);
    if (place == m_places.end()) {
        return {};
    }
    const BookOrder order = *place->second.at;
    const auto level = Levels_Of(order.side).find(order.price);
    level->second.erase(place->second.at);
    if (level->second.empty()) {
        Levels_Of(order.side).erase(level);
    }
    m_places.erase(place);
    return order;
}

const BookOrder* OrderBook::Find(std::uint64_t id) const
{
    const auto place = m_places.find(id);
    return place != m_places.end() ? &*place->second.at : nullptr;
}

std::vector<BookOrder> OrderBook::Side_In_Order(Side side) const
{
    std::vector<BookOrder> orders;
    const auto append = [&orders](const auto& level) {
        orders.insert(orders.end(), level.second.begin(), level.second.end());
    };
    if (side == Side::bid) {
        std::for_each(m_bids.rbegin(), m_bids.rend(), append);
    } else {
        std::for_each(m_offers.begin(), m_offers.end(), append);
    }
    return orders;
}

} // namespace qm
