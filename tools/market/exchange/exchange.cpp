#include "exchange/exchange.h"

#include "exchange/order_form.h"
#include "exchange/order_records.h"
#include "wire/envelope.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace qm {

namespace {

struct Market
{
    MarketDescription description{};
    OrderBook book{};
    TradedPrices today{};
    TradedPrices this_month{};
    PlacedPrices placed_today{};
    PlacedPrices placed_this_month{};
};

template <class Statistics> void begin_if_other(Statistics& statistics, const std::string& date)
{
    if (statistics.date != date) {
        statistics = Statistics{.date = date};
    }
}

Audience with_machine(Audience audience, const std::string& machine)
{
    const bool is_there =
        std::find(audience.machines.begin(), audience.machines.end(), machine) != audience.machines.end();
    if (!is_there) {
        audience.machines.push_back(machine);
    }
    return audience;
}

} // namespace

struct Exchange::State
{
    State(std::vector<MarketDescription> descriptions, const Clock& its_clock, ExchangeSink& its_sink);

    void Look_At_Clock();
    Market* Find_Market(int number);
    StandingOrder* Find_Order(const std::string& code);

    std::string Refusal(const OrderForm& form, const StandingOrder* known, const Party& sender) const;
    void Place(const OrderForm& form, const Party& sender);
    void Replace(const OrderForm& form, const Party& sender, std::uint64_t old_id);
    void Withdraw(std::uint64_t id);

    void Enter(Market& market, const OrderForm& form, StandingOrder order);
    void Fill_Both(Market& market, StandingOrder& taking, const Fill& fill);
    void Tell_Row(const Market& market, StandingOrder& order, std::int64_t traded);
    void Tell_Trade(Market& market, const Trade& trade);
    void Forget(std::uint64_t id);
    StandingOrder Stand(const OrderForm& form, const Party& sender);

    const Clock& clock;
    ExchangeSink& sink;
    std::map<int, Market> markets;
    OrderRecords records;

    std::unordered_map<std::uint64_t, StandingOrder> orders; // those that rest, and the one that comes
    std::unordered_map<std::string, std::uint64_t> ids;      // by code
    std::unordered_map<std::string, std::size_t> counts;     // of open orders by user
    std::uint64_t last_id = 0;
    std::uint32_t last_trade = 0;

    std::time_t second = -1; // of the wall clock, to which the next belongs
    Moment moment;
};

Exchange::State::State(std::vector<MarketDescription> descriptions, const Clock& its_clock, ExchangeSink& its_sink)
    : clock(its_clock), sink(its_sink)
{
    for (MarketDescription& description : descriptions) {
        const int number = description.number;
        markets[number].description = std::move(description);
    }
    Look_At_Clock();
}

// ---- What is there -------------------------------------------------------------------------------------------------

// Texts of time cost as much as an order, so they are made once a second.
void Exchange::State::Look_At_Clock()
{
    const std::time_t now = clock.wall().tv_sec;
    if (now == second) {
        return;
    }
    second = now;
    moment = {.date = clock.date(), .hour = clock.hour()};
    const std::string month = moment.date.substr(0, 6);
    for (auto& [number, market] : markets) {
        begin_if_other(market.today, moment.date);
        begin_if_other(market.placed_today, moment.date);
        begin_if_other(market.this_month, month);
        begin_if_other(market.placed_this_month, month);
    }
}

Market* Exchange::State::Find_Market(int number)
{
    const auto market = markets.find(number);
    return market != markets.end() ? &market->second : nullptr;
}

StandingOrder* Exchange::State::Find_Order(const std::string& code)
{
    const auto id = ids.find(code);
    return id != ids.end() ? &orders.at(id->second) : nullptr;
}

std::string Exchange::State::Refusal(const OrderForm& form, const StandingOrder* known, const Party& sender) const
{
    const std::string code = Shown_Text(form.own_code);
    if (form.kind == OrderKind::request) {
        return {};
    }
    if (form.kind == OrderKind::place) {
        const auto count = counts.find(sender.user);
        if (known != nullptr) {
            return "you have an open order with the code " + code + " already";
        }
        return count != counts.end() && count->second >= OPEN_ORDERS_OF_A_USER ? "you have too many open orders" : "";
    }
    if (known == nullptr) {
        return "you have no open order with the code " + code;
    }
    return known->market == form.market ? "" : "your order " + code + " is in market " + std::to_string(known->market);
}

// ---- What an order does --------------------------------------------------------------------------------------------

StandingOrder Exchange::State::Stand(const OrderForm& form, const Party& sender)
{
    return {.id = ++last_id,
            .market = form.market,
            .side = form.side,
            .code = form.code,
            .own_code = form.own_code,
            .sender = sender,
            .total = form.amount};
}

void Exchange::State::Place(const OrderForm& form, const Party& sender)
{
    Market& market = markets.at(form.market);
    StandingOrder order = Stand(form, sender);
    records.Begin_Row(order);
    order.idx = sink.Insert_Row(market.description.orders_table, order.body);
    Enter(market, form, std::move(order));
}

void Exchange::State::Replace(const OrderForm& form, const Party& sender, std::uint64_t old_id)
{
    Market& market = markets.at(form.market);
    StandingOrder order = Stand(form, sender);
    records.Begin_Row(order);
    order.idx = orders.at(old_id).idx;
    market.book.Withdraw(old_id);
    Forget(old_id);
    sink.Update_Row(market.description.orders_table, order.idx, order.body);
    Enter(market, form, std::move(order));
}

void Exchange::State::Withdraw(std::uint64_t id)
{
    const StandingOrder& order = orders.at(id);
    Market& market = markets.at(order.market);
    market.book.Withdraw(id);
    sink.Delete_Row(market.description.orders_table, order.idx);
    Forget(id);
}

void Exchange::State::Enter(Market& market, const OrderForm& form, StandingOrder order)
{
    const std::uint64_t id = order.id;
    ids.emplace(order.code, id);
    ++counts[order.sender.user];
    StandingOrder& taking = orders.emplace(id, std::move(order)).first->second;
    market.placed_today.Add(form.side, form.price);
    market.placed_this_month.Add(form.side, form.price);
    for (const Fill& fill :
         market.book.Place({.id = id, .side = form.side, .price = form.price, .amount = form.amount})) {
        Fill_Both(market, taking, fill);
    }
    if (taking.left() == 0) {
        Forget(id);
    }
}

void Exchange::State::Fill_Both(Market& market, StandingOrder& taking, const Fill& fill)
{
    StandingOrder& resting = orders.at(fill.resting);
    Tell_Row(market, resting, fill.amount);
    Tell_Row(market, taking, fill.amount);
    Tell_Trade(market, {.resting = resting,
                        .taking = taking,
                        .price = fill.price,
                        .amount = fill.amount,
                        .number = ++last_trade,
                        .currency = market.description.currency,
                        .moment = moment});
    if (fill.resting_left == 0) {
        Forget(fill.resting);
    }
}

void Exchange::State::Tell_Row(const Market& market, StandingOrder& order, std::int64_t traded)
{
    order.traded += traded;
    records.Renew_Row(order);
    if (order.left() == 0) {
        sink.Delete_Row(market.description.orders_table, order.idx);
    } else {
        sink.Update_Row(market.description.orders_table, order.idx, order.body);
    }
}

void Exchange::State::Tell_Trade(Market& market, const Trade& trade)
{
    market.today.Add(trade.price, trade.amount, moment.hour);
    market.this_month.Add(trade.price, trade.amount, moment.hour);
    const Audience parties = with_machine({.machines = {trade.resting.sender.machine}}, trade.taking.sender.machine);
    sink.Say(Log::P, PRIORITY_OF_MESSAGES, parties, records.Transaction(trade));
    sink.Say(Log::P, PRIORITY_OF_MESSAGES, Audience::All(), records.End_Of_Transaction(trade));
    sink.Say(Log::B, PRIORITY_OF_PRICES, Audience::All(),
             records.Prices_Of_Day(trade, market.today, market.this_month));
    sink.Say(Log::B, PRIORITY_OF_PRICES, Audience::All(),
             records.Prices_By_Hour(trade, market.today, market.placed_today, market.placed_this_month));
}

void Exchange::State::Forget(std::uint64_t id)
{
    const auto order = orders.find(id);
    const auto count = counts.find(order->second.sender.user);
    if (--count->second == 0) {
        counts.erase(count);
    }
    ids.erase(order->second.code);
    orders.erase(order);
}

// ---- The exchange --------------------------------------------------------------------------------------------------

Exchange::Exchange(std::vector<MarketDescription> markets, const Clock& clock, ExchangeSink& sink)
    : m_state(std::make_unique<State>(std::move(markets), clock, sink))
{
}

Exchange::~Exchange() = default;

std::string Exchange::Take(std::string_view order_message, const Party& sender, const Audience& audience)
{
    State& state = *m_state;
    state.Look_At_Clock();
    if (!Is_Order(order_message)) {
        return "a message " + Shown_Text(order_message.substr(0, 3)) + " is no order";
    }
    OrderForm form;
    std::string why = Read_Order(state.records.Lay_Out(order_message), sender, form);
    if (!why.empty()) {
        return why;
    }
    const Market* market = state.Find_Market(form.market);
    if (market == nullptr) {
        return form.market < 0 ? "the market (mercado) is to be a number"
                               : "there is no market " + std::to_string(form.market);
    }
    const StandingOrder* known = state.Find_Order(form.code);
    why = state.Refusal(form, known, sender);
    if (!why.empty()) {
        return why;
    }
    state.records.Fill_In(sender, market->description.currency, state.moment);
    state.sink.Say(Log::A, PRIORITY_OF_MESSAGES, with_machine(audience, sender.machine), state.records.Order_Message());
    switch (form.kind) {
    case OrderKind::place:
        state.Place(form, sender);
        break;
    case OrderKind::replace:
        state.Replace(form, sender, known->id);
        break;
    case OrderKind::withdraw:
        state.Withdraw(known->id);
        break;
    case OrderKind::request:
        break;
    }
    return {};
}

void Exchange::Count_Trades_From(std::uint32_t last_trade)
{
    m_state->last_trade = last_trade;
}

const OrderBook* Exchange::Book(int market) const
{
    const Market* found = m_state->Find_Market(market);
    return found != nullptr ? &found->book : nullptr;
}

const TradedPrices* Exchange::Prices(int market) const
{
    m_state->Look_At_Clock();
    const Market* found = m_state->Find_Market(market);
    return found != nullptr ? &found->today : nullptr;
}

std::vector<Exchange::OpenOrder> Exchange::Open_Orders(int market) const
{
    std::vector<OpenOrder> open;
    const Market* found = m_state->Find_Market(market);
    if (found == nullptr) {
        return open;
    }
    open.reserve(found->book.size());
    for (const Side side : {Side::bid, Side::offer}) {
        for (const BookOrder& order : found->book.Side_In_Order(side)) {
            const StandingOrder& standing = m_state->orders.at(order.id);
            open.push_back({.code = standing.code, .market = market, .order = order, .idx = standing.idx});
        }
    }
    return open;
}

std::string Exchange::Make_Order(const Party& sender, int kind, int market, Side side, std::int64_t price,
                                 std::int64_t amount, std::string_view own_code, const Clock& clock)
{
    return Compose_Order(sender, kind, market, side, price, amount, own_code, clock);
}

} // namespace qm
