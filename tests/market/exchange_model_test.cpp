// Random streams of orders from four clients against a model: one list of orders in the order of their time, searched
// through for each trade, and the list of all trades, from which statistics are computed anew.
#include "exchange/exchange.h"

#include "market/support/manual_clock.h"
#include "market/support/recording_sink.h"
#include "support/market_records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <random>

using namespace qm;

namespace {

constexpr std::array<int, 2> markets = {71, 5};

Party Client(unsigned number)
{
    const std::string digits = "00" + std::to_string(number);
    return {.machine = "M" + digits, .user = "U" + digits, .branch = "BANKCIT" + std::to_string(number)};
}

std::string Price_Text(std::int64_t price)
{
    std::string fraction = std::to_string(price % PRICE_UNITS);
    return std::to_string(price / PRICE_UNITS) + "." + std::string(4 - fraction.size(), '0') + fraction;
}

// A number of a field, its point left out.
std::int64_t Number_At(const std::string& bytes, std::size_t at, std::size_t width)
{
    std::string digits = bytes.substr(at, width);
    std::erase_if(digits, [](char c) { return c == ' ' || c == '.'; });
    return std::stoll(digits);
}

std::string Text_At(const std::string& bytes, std::size_t at, std::size_t width)
{
    const std::string text = bytes.substr(at, width);
    return text.substr(0, text.find('\0'));
}

struct ModelOrder
{
    Party owner{};
    std::string code{};
    int market = 0;
    char side = 'D';
    std::int64_t price = 0;
    std::int64_t placed = 0;
    std::int64_t traded = 0;

    [[nodiscard]] std::int64_t left() const { return placed - traded; }
};

struct ModelTrade
{
    std::string day{};
    ModelOrder resting{};
    ModelOrder taking{};
    std::int64_t amount = 0;
};

struct Ledger
{
    std::int64_t placed = 0;
    std::int64_t traded = 0;
    std::int64_t withdrawn = 0;
};

class Model
{
public:
    std::vector<ModelTrade> Place(ModelOrder taking, const std::string& day)
    {
        std::vector<ModelTrade> made;
        ledgers[taking.owner.user].placed += taking.placed;
        while (taking.left() > 0) {
            const auto best = Best_For(taking);
            if (best == open.end()) {
                open.push_back(taking);
                break;
            }
            made.push_back({.day = day, .amount = std::min(taking.left(), best->left())});
            best->traded += made.back().amount;
            taking.traded += made.back().amount;
            ledgers[best->owner.user].traded += made.back().amount;
            ledgers[taking.owner.user].traded += made.back().amount;
            made.back().resting = *best;
            made.back().taking = taking;
            if (best->left() == 0) {
                open.erase(best);
            }
        }
        trades.insert(trades.end(), made.begin(), made.end());
        return made;
    }

    void Withdraw(const Party& owner, const std::string& code)
    {
        const auto order = Find(owner, code);
        ledgers[owner.user].withdrawn += order->left();
        open.erase(order);
    }

    std::vector<ModelOrder>::iterator Find(const Party& owner, const std::string& code)
    {
        return std::find_if(open.begin(), open.end(),
                            [&](const ModelOrder& order) { return order.owner == owner && order.code == code; });
    }

    [[nodiscard]] std::vector<ModelOrder> In_Order(int market, char side) const
    {
        std::vector<ModelOrder> orders;
        std::copy_if(open.begin(), open.end(), std::back_inserter(orders),
                     [&](const ModelOrder& order) { return order.market == market && order.side == side; });
        std::stable_sort(orders.begin(), orders.end(), [side](const ModelOrder& a, const ModelOrder& b) {
            return side == 'D' ? a.price > b.price : a.price < b.price;
        });
        return orders;
    }

    std::vector<ModelOrder> open{};
    std::vector<ModelTrade> trades{};
    std::map<std::string, Ledger> ledgers{};

private:
    std::vector<ModelOrder>::iterator Best_For(const ModelOrder& taking)
    {
        auto best = open.end();
        for (auto order = open.begin(); order != open.end(); ++order) {
            if (order->market != taking.market || order->side == taking.side) {
                continue;
            }
            const bool meets = taking.side == 'D' ? order->price <= taking.price : order->price >= taking.price;
            const bool is_better =
                best == open.end() || (taking.side == 'D' ? order->price < best->price : order->price > best->price);
            best = meets && is_better ? order : best;
        }
        return best;
    }
};

class ExchangeStreams : public testing::TestWithParam<unsigned>
{
protected:
    ExchangeStreams()
    {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    unsigned Any(unsigned below) { return static_cast<unsigned>(m_random() % below); }
    char Any_Byte() { return static_cast<char>(Any(256)); }

    // ---- What clients send

    market::Order Any_Order(const Party& owner)
    {
        market::Order order;
        order.user = owner.user;
        order.branch = owner.branch;
        order.kind = static_cast<int>(Any(2));
        order.market = markets[Any(2)];
        order.side = Any(2) == 0 ? 'D' : 'O';
        order.price = Price_Text(10'000 + 2'500 * Any(12));
        order.amount = std::to_string(1 + Any(50));
        order.code = "C" + std::to_string(Any(12));
        return order;
    }

    ModelOrder As_Model(const market::Order& order, const Party& owner)
    {
        return {.owner = owner,
                .code = order.code,
                .market = order.market,
                .side = order.side,
                .price = Number_At(order.price, 0, 19),
                .placed = std::stoll(order.amount)};
    }

    void Place(const Party& owner, const market::Order& order)
    {
        m_sink.Forget();
        const std::string why = m_exchange.Take(market::Make(order), owner, {});
        if (m_model.Find(owner, order.code) != m_model.open.end()) {
            ASSERT_NE(why, "");
            return;
        }
        ASSERT_EQ(why, "");
        Check_Trades(m_model.Place(As_Model(order, owner), m_clock.date()));
    }

    void Replace(const Party& owner, market::Order order)
    {
        order.kind = 2;
        m_sink.Forget();
        const std::string why = m_exchange.Take(market::Make(order), owner, {});
        const auto known = m_model.Find(owner, order.code);
        if (known == m_model.open.end() || known->market != order.market) {
            ASSERT_NE(why, "");
            return;
        }
        ASSERT_EQ(why, "");
        m_model.Withdraw(owner, order.code);
        Check_Trades(m_model.Place(As_Model(order, owner), m_clock.date()));
    }

    void Withdraw(const Party& owner, market::Order order)
    {
        order.kind = 3;
        m_sink.Forget();
        const std::string why = m_exchange.Take(market::Make(order), owner, {});
        const auto known = m_model.Find(owner, order.code);
        if (known == m_model.open.end() || known->market != order.market) {
            ASSERT_NE(why, "");
            return;
        }
        ASSERT_EQ(why, "");
        m_model.Withdraw(owner, order.code);
    }

    // One thing of an order that no exchange can take, or no order at all.
    void Garbage(const Party& owner, market::Order order)
    {
        std::string message = market::Make(order);
        switch (Any(8)) {
        case 0:
            message = message.substr(0, Any(259));
            break;
        case 1:
            message.replace(217, 19, 19, static_cast<char>(':' + Any(60)));
            break;
        case 2:
            message.replace(246, 13, "     1000000x");
            break;
        case 3:
            message[146] = static_cast<char>('E' + Any(9));
            break;
        case 4:
            message.replace(142, 3, "999");
            break;
        case 5:
            message.replace(91, 4, "U777");
            break;
        case 6:
            message.replace(83, 2, "77");
            break;
        default:
            message = std::string(Any(2000), static_cast<char>('a' + Any(26)));
        }
        m_sink.Forget();
        ASSERT_NE(m_exchange.Take(message, owner, {}), "");
        ASSERT_TRUE(m_sink.events.empty());
    }

    // ---- What must hold

    void Check_Trades(const std::vector<ModelTrade>& trades)
    {
        const auto told = m_sink.With_Number("112");
        const auto ends = m_sink.With_Number("879");
        ASSERT_EQ(told.size(), trades.size());
        ASSERT_EQ(ends.size(), trades.size());
        for (std::size_t i = 0; i < trades.size(); ++i) {
            Check_Transaction(told[i], trades[i]);
            ASSERT_EQ(Number_At(ends[i].message, 87, 13), trades[i].amount);
            ASSERT_EQ(Number_At(ends[i].message, 100, 19), trades[i].resting.price);
            ASSERT_EQ(ends[i].message[86], trades[i].taking.side);
        }
    }

    static void Check_Transaction(const RecordingSink::Said& told, const ModelTrade& trade)
    {
        const std::string& bytes = told.message;
        const bool taker_buys = trade.taking.side == 'D';
        const ModelOrder& buyer = taker_buys ? trade.taking : trade.resting;
        const ModelOrder& seller = taker_buys ? trade.resting : trade.taking;
        ASSERT_EQ(Number_At(bytes, 222, 3), trade.resting.market);
        ASSERT_EQ(Number_At(bytes, 297, 19), trade.resting.price);
        ASSERT_EQ(Number_At(bytes, 326, 13), trade.amount);
        ASSERT_EQ(Text_At(bytes, 171, 4), trade.resting.owner.user);
        ASSERT_EQ(Text_At(bytes, 175, 6), trade.resting.code);
        ASSERT_EQ(Text_At(bytes, 1423, 4), trade.taking.owner.user);
        ASSERT_EQ(Text_At(bytes, 1427, 6), trade.taking.code);
        ASSERT_EQ(Text_At(bytes, 1614, 4), seller.owner.user);
        ASSERT_EQ(Text_At(bytes, 1631, 4), buyer.owner.user);
        ASSERT_TRUE(told.audience.has(buyer.owner));
        ASSERT_TRUE(told.audience.has(seller.owner));
    }

    // The rows as told, the book, and what the exchange says of it are one.
    void Check_Rows()
    {
        ASSERT_TRUE(m_sink.complaints.empty()) << m_sink.complaints.front();
        std::size_t open = 0;
        for (const int market : markets) {
            const auto orders = m_exchange.Open_Orders(market);
            ASSERT_EQ(m_exchange.Book(market)->size(), orders.size());
            for (const Exchange::OpenOrder& order : orders) {
                ASSERT_TRUE(m_sink.rows.contains(order.idx));
                const RecordingSink::Row& row = m_sink.rows[order.idx];
                ASSERT_EQ(row.body.size(), 1194U);
                ASSERT_EQ(row.table, 500 + market);
                ASSERT_EQ(row.body[59], static_cast<char>(order.order.side));
                ASSERT_EQ(Number_At(row.body, 159, 13), order.order.amount);
                ASSERT_EQ(Number_At(row.body, 201, 13),
                          order.order.amount + Number_At(row.body, 185, 16) / 100); // total = left + traded
            }
            open += orders.size();
        }
        ASSERT_EQ(m_sink.rows.size(), open);
    }

    void Check_Book()
    {
        for (const int market : markets) {
            std::vector<ModelOrder> expected = m_model.In_Order(market, 'D');
            const std::vector<ModelOrder> offers = m_model.In_Order(market, 'O');
            expected.insert(expected.end(), offers.begin(), offers.end());
            const auto open = m_exchange.Open_Orders(market);
            ASSERT_EQ(open.size(), expected.size());
            for (std::size_t i = 0; i < open.size(); ++i) {
                ASSERT_EQ(open[i].code, expected[i].owner.user + expected[i].code);
                ASSERT_EQ(open[i].order.price, expected[i].price);
                ASSERT_EQ(open[i].order.amount, expected[i].left());
                ASSERT_EQ(Number_At(m_sink.rows[open[i].idx].body, 185, 16), 100 * expected[i].traded);
                ASSERT_EQ(Number_At(m_sink.rows[open[i].idx].body, 130, 19), expected[i].price);
            }
        }
    }

    void Check_Ledgers()
    {
        std::map<std::string, std::int64_t> left;
        for (const int market : markets) {
            for (const auto& order : m_exchange.Open_Orders(market)) {
                left[order.code.substr(0, 4)] += order.order.amount;
            }
        }
        for (const auto& [user, ledger] : m_model.ledgers) {
            ASSERT_EQ(ledger.placed, ledger.traded + ledger.withdrawn + left[user]) << user;
        }
    }

    void Check_Statistics()
    {
        for (const int market : markets) {
            Check_Statistics(market);
        }
    }

    void Check_Statistics(int market)
    {
        std::vector<ModelTrade> today;
        std::copy_if(m_model.trades.begin(), m_model.trades.end(), std::back_inserter(today),
                     [&](const ModelTrade& t) { return t.resting.market == market && t.day == m_clock.date(); });
        const TradedPrices& prices = *m_exchange.Prices(market);
        ASSERT_EQ(prices.trades, today.size());
        if (today.empty()) {
            return;
        }
        const auto by_price = [](const ModelTrade& a, const ModelTrade& b) {
            return a.resting.price < b.resting.price;
        };
        std::int64_t amount = 0;
        std::int64_t product = 0;
        for (const ModelTrade& trade : today) {
            amount += trade.amount;
            product += trade.amount * trade.resting.price;
        }
        ASSERT_EQ(prices.opening, today.front().resting.price);
        ASSERT_EQ(prices.last, today.back().resting.price);
        ASSERT_EQ(prices.last_amount, today.back().amount);
        ASSERT_EQ(prices.lowest, std::min_element(today.begin(), today.end(), by_price)->resting.price);
        ASSERT_EQ(prices.highest, std::max_element(today.begin(), today.end(), by_price)->resting.price);
        ASSERT_EQ(prices.total_amount, amount);
        ASSERT_EQ(prices.Mean(), (2 * product + amount) / (2 * amount));
    }

    std::mt19937 m_random{GetParam()};
    ManualClock m_clock;
    RecordingSink m_sink;
    Exchange m_exchange{
        {{.number = 71, .orders_table = 571, .currency = "USD"}, {.number = 5, .orders_table = 505, .currency = "EUR"}},
        m_clock,
        m_sink};
    Model m_model;
};

} // namespace

TEST_P(ExchangeStreams, AgreeWithTheModel)
{
    for (int step = 0; step < 400 && !HasFatalFailure(); ++step) {
        const Party owner = Client(Any(4));
        const market::Order order = Any_Order(owner);
        switch (Any(10)) {
        case 0:
            Withdraw(owner, order);
            break;
        case 1:
        case 2:
            Replace(owner, order);
            break;
        case 3:
            Garbage(owner, order);
            break;
        default:
            Place(owner, order);
        }
        m_clock.advance(std::chrono::minutes(Any(8)));
        Check_Rows();
        Check_Book();
        Check_Ledgers();
        Check_Statistics();
    }
    EXPECT_GT(m_model.trades.size(), 50U);
}

// Orders with some bytes changed, cut or lengthened: whatever is taken, rows and book stay one.
TEST_P(ExchangeStreams, DamagedOrdersLeaveRowsAndBookAtOne)
{
    for (int step = 0; step < 400 && !HasFatalFailure(); ++step) {
        const Party owner = Client(Any(4));
        market::Order order = Any_Order(owner);
        order.kind = static_cast<int>(Any(4));
        std::string message = market::Make(order);
        for (unsigned damage = Any(4); damage > 0; --damage) {
            message[Any(2) == 0 ? Any(260) : Any(1504)] = Any(2) == 0 ? Any_Byte() : ' ';
        }
        message.resize(Any(8) == 0 ? Any(3000) : message.size(), Any_Byte());
        m_sink.Forget();
        const std::string why = m_exchange.Take(message, owner, {});
        ASSERT_EQ(why.empty(), !m_sink.events.empty());
        ASSERT_TRUE(std::all_of(why.begin(), why.end(), [](char c) { return c >= ' ' && c <= '~'; })) << why;
        Check_Rows();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, ExchangeStreams, testing::Range(1U, 9U));
