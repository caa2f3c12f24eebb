// Quotes that come by themselves, on a clock in the test's hand.
#include "feeds.h"

#include "exchange/order_form.h"
#include "market/support/loop_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>

namespace {

constexpr std::uint16_t orders_table = 71;
constexpr qm::Clock::Time every{100};

// Counts what the exchange says.
class CountingSink : public qm::ExchangeSink
{
public:
    void Say(qm::Log log, std::uint16_t, const qm::Audience&, std::string) override { ++said[log]; }
    std::uint32_t Insert_Row(std::uint16_t, std::string) override { return ++last; }
    void Update_Row(std::uint16_t, std::uint32_t, std::string) override { ++updates; }
    void Delete_Row(std::uint16_t, std::uint32_t) override {}

    std::map<qm::Log, int> said;
    std::uint32_t last = 0;
    int updates = 0;
};

class FeedsTest : public LoopTest
{
protected:
    static qm::Feed feed(int levels, std::uint32_t seed = 1)
    {
        return {.market = 71,
                .user = "N001",
                .every = every,
                .price = 4000 * qm::PRICE_UNITS,
                .step = qm::PRICE_UNITS,
                .amount = 10,
                .levels = levels,
                .seed = seed};
    }

    // In a market where nothing stands yet.
    void run(std::vector<qm::Feed> feeds)
    {
        running.reset();
        exchange = std::make_unique<qm::Exchange>(
            std::vector<qm::MarketDescription>{{.number = 71, .orders_table = orders_table, .currency = "USD"}}, clock,
            sink);
        running = std::make_unique<qm::Feeds>(
            loop, std::move(feeds),
            [](const std::string& user) { return qm::Party{.machine = "FEED", .user = user, .branch = "NORTBOG1"}; },
            [this](const qm::Party& sender, const std::string& order) {
                ++asked;
                return exchange->Take(order, sender, {}).empty();
            });
    }

    void quote(int times)
    {
        for (int i = 0; i < times; ++i) {
            clock.advance(every);
            loop.Run_Once(qm::Clock::Time::zero());
        }
    }

    std::vector<std::int64_t> prices(qm::Side side) const
    {
        std::vector<std::int64_t> found;
        for (const qm::BookOrder& order : exchange->Book(71)->Side_In_Order(side)) {
            found.push_back(order.price);
        }
        return found;
    }

    std::string trade(qm::Side side, std::int64_t price, std::int64_t amount)
    {
        const qm::Party other{.machine = "L002", .user = "U002", .branch = "SURBMED1"};
        return exchange->Take(qm::Exchange::Make_Order(other, 1, 71, side, price, amount, "T", clock), other, {});
    }

    CountingSink sink;
    std::unique_ptr<qm::Exchange> exchange;
    std::unique_ptr<qm::Feeds> running;
    int asked = 0;
};

TEST_F(FeedsTest, SayNothingUntilTheyAreSwitchedOn)
{
    run({feed(2)});
    quote(5);
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(running->Switch(71, true));
    quote(3);
    EXPECT_EQ(asked, 3);
}

TEST_F(FeedsTest, KeepALadderOnBothSides)
{
    run({feed(3)});
    running->Switch(0, true);
    quote(6);
    EXPECT_EQ(prices(qm::Side::bid).size(), 3U);
    EXPECT_EQ(prices(qm::Side::offer).size(), 3U);
    const std::vector<std::int64_t> bids = prices(qm::Side::bid);
    EXPECT_EQ(bids[0] - bids[2], 2 * qm::PRICE_UNITS);
    EXPECT_EQ(prices(qm::Side::offer)[0] - bids[0], 2 * qm::PRICE_UNITS);
    EXPECT_NEAR(static_cast<double>(bids[0]), 3999.0 * qm::PRICE_UNITS, 0.5 * qm::PRICE_UNITS);
}

TEST_F(FeedsTest, ReplaceTheirOrdersAndNeverTradeWithThemselves)
{
    run({feed(3)});
    running->Switch(0, true);
    quote(600);
    EXPECT_EQ(exchange->Open_Orders(71).size(), 6U);
    EXPECT_EQ(sink.updates, 594);
    EXPECT_EQ(sink.said[qm::Log::P], 0);
    EXPECT_EQ(asked, 600);
}

TEST_F(FeedsTest, HaveACodeForEachOfAHundredLevels)
{
    run({feed(100)});
    running->Switch(0, true);
    quote(400);
    std::set<std::string> codes;
    for (const auto& order : exchange->Open_Orders(71)) {
        codes.insert(order.code);
    }
    EXPECT_EQ(codes.size(), 200U);
    EXPECT_EQ(asked, 400);
}

TEST_F(FeedsTest, PlaceAnOrderAnewThatWasTraded)
{
    run({feed(1)});
    running->Switch(0, true);
    quote(2);
    const std::int64_t offer = prices(qm::Side::offer).at(0);
    EXPECT_EQ(trade(qm::Side::bid, offer, 10), "");
    EXPECT_TRUE(prices(qm::Side::offer).empty());
    quote(2);
    EXPECT_EQ(prices(qm::Side::offer).size(), 1U);
    EXPECT_EQ(prices(qm::Side::bid).size(), 1U);
}

TEST_F(FeedsTest, WalkAlikeWithTheSameSeed)
{
    const auto walk = [this](std::uint32_t seed) {
        run({feed(1, seed)});
        running->Switch(0, true);
        std::vector<std::int64_t> seen;
        for (int i = 0; i < 40; ++i) {
            quote(2);
            seen.push_back(prices(qm::Side::bid).at(0));
        }
        return seen;
    };
    const std::vector<std::int64_t> first = walk(7);
    EXPECT_EQ(walk(7), first);
    EXPECT_NE(walk(8), first);
    EXPECT_NE(*std::min_element(first.begin(), first.end()), *std::max_element(first.begin(), first.end()));
}

TEST_F(FeedsTest, StopWhenTheyAreSwitchedOffAndGoOn)
{
    run({feed(2)});
    running->Switch(0, true);
    quote(4);
    EXPECT_TRUE(running->Switch(71, false));
    quote(4);
    EXPECT_EQ(asked, 4);
    running->Switch(71, true);
    running->Switch(71, true); // not twice as fast
    quote(1);
    EXPECT_EQ(asked, 5);
}

TEST_F(FeedsTest, KnowTheirMarkets)
{
    run({feed(1)});
    EXPECT_FALSE(running->Switch(72, true));
    EXPECT_TRUE(running->Switch(0, true));
}

TEST_F(FeedsTest, EndWithTheirOwner)
{
    run({feed(1)});
    running->Switch(0, true);
    running.reset();
    quote(3);
    EXPECT_EQ(asked, 0);
}

TEST_F(FeedsTest, StayWithinThePricesThatAnOrderCanHave)
{
    qm::Feed high = feed(2);
    high.price = (qm::PRICE_LIMIT - 1) * qm::PRICE_UNITS;
    run({high});
    running->Switch(0, true);
    quote(400);
    EXPECT_EQ(exchange->Open_Orders(71).size(), 4U);
    EXPECT_EQ(asked, 400);
}

TEST_F(FeedsTest, StayAboveNothing)
{
    qm::Feed low = feed(2);
    low.price = 3 * qm::PRICE_UNITS;
    run({low});
    running->Switch(0, true);
    quote(400);
    EXPECT_EQ(exchange->Open_Orders(71).size(), 4U);
    EXPECT_EQ(asked, 400);
}

} // namespace
