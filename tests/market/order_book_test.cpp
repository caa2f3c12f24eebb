#include "exchange/order_book.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

using namespace qm;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

BookOrder Bid(std::uint64_t id, std::int64_t price, std::int64_t amount)
{
    return {.id = id, .side = Side::bid, .price = price, .amount = amount};
}

BookOrder Offer(std::uint64_t id, std::int64_t price, std::int64_t amount)
{
    return {.id = id, .side = Side::offer, .price = price, .amount = amount};
}

} // namespace

// ---- By hand ---------------------------------------------------------------------------------------------------

TEST(OrderBook, OrdersThatDoNotReachEachOtherRest)
{
    OrderBook book;
    EXPECT_THAT(book.Place(Bid(1, 100, 5)), IsEmpty());
    EXPECT_THAT(book.Place(Offer(2, 101, 5)), IsEmpty());
    EXPECT_THAT(book.Side_In_Order(Side::bid), ElementsAre(Bid(1, 100, 5)));
    EXPECT_THAT(book.Side_In_Order(Side::offer), ElementsAre(Offer(2, 101, 5)));
    EXPECT_EQ(book.size(), 2U);
}

TEST(OrderBook, TradesAtThePriceOfTheRestingOrder)
{
    OrderBook book;
    book.Place(Offer(1, 100, 5));
    EXPECT_THAT(book.Place(Bid(2, 103, 5)),
                ElementsAre(Fill{.resting = 1, .taking = 2, .price = 100, .amount = 5, .resting_left = 0}));
    EXPECT_EQ(book.size(), 0U);
}

TEST(OrderBook, EqualPricesMeet)
{
    OrderBook book;
    book.Place(Bid(1, 100, 5));
    EXPECT_THAT(book.Place(Offer(2, 100, 2)),
                ElementsAre(Fill{.resting = 1, .taking = 2, .price = 100, .amount = 2, .resting_left = 3}));
    EXPECT_THAT(book.Side_In_Order(Side::bid), ElementsAre(Bid(1, 100, 3)));
    EXPECT_THAT(book.Side_In_Order(Side::offer), IsEmpty());
}

TEST(OrderBook, TheBestPriceTradesFirst)
{
    OrderBook book;
    book.Place(Bid(1, 100, 1));
    book.Place(Bid(2, 102, 1));
    book.Place(Bid(3, 101, 1));
    EXPECT_THAT(book.Side_In_Order(Side::bid), ElementsAre(Bid(2, 102, 1), Bid(3, 101, 1), Bid(1, 100, 1)));
    EXPECT_THAT(book.Place(Offer(4, 101, 3)),
                ElementsAre(Fill{.resting = 2, .taking = 4, .price = 102, .amount = 1, .resting_left = 0},
                            Fill{.resting = 3, .taking = 4, .price = 101, .amount = 1, .resting_left = 0}));
    EXPECT_THAT(book.Side_In_Order(Side::offer), ElementsAre(Offer(4, 101, 1)));
}

TEST(OrderBook, OfOnePriceTheOlderTradesFirst)
{
    OrderBook book;
    book.Place(Offer(7, 100, 2));
    book.Place(Offer(3, 100, 2));
    EXPECT_THAT(book.Place(Bid(9, 100, 3)),
                ElementsAre(Fill{.resting = 7, .taking = 9, .price = 100, .amount = 2, .resting_left = 0},
                            Fill{.resting = 3, .taking = 9, .price = 100, .amount = 1, .resting_left = 1}));
}

TEST(OrderBook, WhatIsLeftOfAnOrderKeepsItsTime)
{
    OrderBook book;
    book.Place(Bid(1, 100, 5));
    book.Place(Bid(2, 100, 5));
    book.Place(Offer(3, 100, 1));
    EXPECT_THAT(book.Side_In_Order(Side::bid), ElementsAre(Bid(1, 100, 4), Bid(2, 100, 5)));
}

TEST(OrderBook, WithdrawGivesTheOrderAsItWas)
{
    OrderBook book;
    book.Place(Bid(1, 100, 5));
    book.Place(Offer(2, 100, 2));
    EXPECT_EQ(book.Withdraw(1), Bid(1, 100, 3));
    EXPECT_EQ(book.Withdraw(1), std::nullopt);
    EXPECT_EQ(book.Find(1), nullptr);
    EXPECT_EQ(book.size(), 0U);
}

TEST(OrderBook, AWithdrawnOrderMeetsNothing)
{
    OrderBook book;
    book.Place(Bid(1, 100, 5));
    book.Withdraw(1);
    EXPECT_THAT(book.Place(Offer(2, 90, 5)), IsEmpty());
}

TEST(OrderBook, FindsOrdersThatRest)
{
    OrderBook book;
    book.Place(Offer(1, 100, 5));
    ASSERT_NE(book.Find(1), nullptr);
    EXPECT_EQ(*book.Find(1), Offer(1, 100, 5));
    book.Place(Bid(2, 100, 5));
    EXPECT_EQ(book.Find(1), nullptr);
    EXPECT_EQ(book.Find(2), nullptr);
}

// ---- Against a model -------------------------------------------------------------------------------------------

namespace {

// A list of orders in the order of their coming, searched through for every single unit that trades.
class NaiveBook
{
public:
    // Units of one pair in a row make one fill.
    std::vector<Fill> Place(BookOrder taking)
    {
        std::vector<Fill> fills;
        while (taking.amount > 0) {
            const auto best = Best_For(taking);
            if (best == m_orders.end()) {
                m_orders.push_back(taking);
                break;
            }
            --best->amount;
            --taking.amount;
            if (fills.empty() || fills.back().resting != best->id) {
                fills.push_back({.resting = best->id, .taking = taking.id, .price = best->price});
            }
            ++fills.back().amount;
            fills.back().resting_left = best->amount;
            std::erase_if(m_orders, [](const BookOrder& order) { return order.amount == 0; });
        }
        return fills;
    }

    std::optional<BookOrder> Withdraw(std::uint64_t id)
    {
        for (auto order = m_orders.begin(); order != m_orders.end(); ++order) {
            if (order->id == id) {
                const BookOrder found = *order;
                m_orders.erase(order);
                return found;
            }
        }
        return {};
    }

    [[nodiscard]] std::vector<BookOrder> Side_In_Order(Side side) const
    {
        std::vector<BookOrder> orders;
        std::copy_if(m_orders.begin(), m_orders.end(), std::back_inserter(orders),
                     [side](const BookOrder& order) { return order.side == side; });
        std::stable_sort(orders.begin(), orders.end(), [side](const BookOrder& a, const BookOrder& b) {
            return side == Side::bid ? a.price > b.price : a.price < b.price;
        });
        return orders;
    }

private:
    std::vector<BookOrder>::iterator Best_For(const BookOrder& taking)
    {
        auto best = m_orders.end();
        for (auto order = m_orders.begin(); order != m_orders.end(); ++order) {
            if (order->side == taking.side || !Meets(taking, *order)) {
                continue;
            }
            if (best == m_orders.end() || Is_Better(*order, *best)) {
                best = order;
            }
        }
        return best;
    }

    static bool Meets(const BookOrder& a, const BookOrder& b)
    {
        const BookOrder& bid = a.side == Side::bid ? a : b;
        const BookOrder& offer = a.side == Side::bid ? b : a;
        return bid.price >= offer.price;
    }

    static bool Is_Better(const BookOrder& a, const BookOrder& b)
    {
        return a.side == Side::bid ? a.price > b.price : a.price < b.price;
    }

    std::vector<BookOrder> m_orders;
};

class OrderBookStreams : public testing::TestWithParam<unsigned>
{
protected:
    unsigned Any(unsigned below) { return static_cast<unsigned>(m_random() % below); }

    // Four users place and withdraw; the id tells the user.
    void Place()
    {
        const BookOrder order{.id = 4 * ++m_count + Any(4),
                              .side = Any(2) == 0 ? Side::bid : Side::offer,
                              .price = 1000 + Any(m_prices),
                              .amount = 1 + Any(20)};
        const std::vector<Fill> fills = m_book.Place(order);
        ASSERT_EQ(fills, m_model.Place(order));
        m_ids.push_back(order.id);
        m_placed[order.id] = order.amount;
        for (const Fill& fill : fills) {
            m_traded[fill.resting] += fill.amount;
            m_traded[fill.taking] += fill.amount;
        }
    }

    void Withdraw()
    {
        const std::uint64_t id = m_ids.empty() ? 1 : m_ids[Any(static_cast<unsigned>(m_ids.size()))];
        const auto order = m_book.Withdraw(id);
        ASSERT_EQ(order, m_model.Withdraw(id));
        m_withdrawn[id] += order ? order->amount : 0;
    }

    void Look()
    {
        std::size_t resting = 0;
        for (const Side side : {Side::bid, Side::offer}) {
            const auto orders = m_book.Side_In_Order(side);
            ASSERT_EQ(orders, m_model.Side_In_Order(side));
            resting += orders.size();
        }
        ASSERT_EQ(m_book.size(), resting);
        for (const auto& [id, placed] : m_placed) {
            const BookOrder* left = m_book.Find(id);
            ASSERT_EQ(placed, m_traded[id] + m_withdrawn[id] + (left != nullptr ? left->amount : 0)) << id;
        }
    }

    std::mt19937 m_random{GetParam()};
    unsigned m_prices = 1 + GetParam() * 7 % 30;
    std::uint64_t m_count = 0;
    OrderBook m_book;
    NaiveBook m_model;
    std::vector<std::uint64_t> m_ids;
    std::map<std::uint64_t, std::int64_t> m_placed;
    std::map<std::uint64_t, std::int64_t> m_traded;
    std::map<std::uint64_t, std::int64_t> m_withdrawn;
};

} // namespace

TEST_P(OrderBookStreams, DoWhatTheModelDoesAndLoseNothing)
{
    for (int step = 0; step < 500 && !HasFatalFailure(); ++step) {
        if (Any(4) == 0) {
            Withdraw();
        } else {
            Place();
        }
        if (step % 10 == 0) {
            Look();
        }
    }
    Look();
}

INSTANTIATE_TEST_SUITE_P(Seeds, OrderBookStreams, testing::Range(1U, 17U));
