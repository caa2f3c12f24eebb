// The records of an exchange: rows of the table of orders and the messages of a trade, composed with the library's
// record classes.
//
// Numbers that a field can't hold become the greatest one that it can. Fields with less room than what an exchange
// takes (prices below 10^9, amounts below 10^12):
//
//   prices of 87 and 176           5 digits before the point: 99999.9999
//   monto_total_dia, _mes         13 digits: 9999999999999.999999
//   precio_x_monto_total_dia, _mes  16 digits
//   suma_precios_*_h_dia, _h_mes  10 digits
//   registros_*_h_dia, _h_mes      5 digits
//   secuencial of 176             65535
#pragma once

#include "audience.h"
#include "clock.h"
#include "exchange/order_book.h"
#include "exchange/traded_prices.h"
#include "records/orders.h"
#include "records/prices.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace qm {

// An order that was placed, also if nothing of it is left.
struct StandingOrder
{
    std::uint64_t id = 0; // in its book
    int market = 0;
    Side side = Side::bid;
    std::string code{};     // the user in 4 characters, and the next
    std::string own_code{}; // up to 6 characters
    Party sender{};
    std::string branch{}; // as the order has it
    std::int64_t total = 0;
    std::int64_t traded = 0;
    std::uint32_t idx = 0; // of its row
    std::string body{};    // of its row

    [[nodiscard]] std::int64_t left() const { return total - traded; }
};

struct Moment
{
    std::string date{}; // YYYYMMDD
    std::string hour{}; // HHMMSS
};

struct Trade
{
    const StandingOrder& resting; // with this trade in its amounts, as the next one
    const StandingOrder& taking;
    std::int64_t price = 0;
    std::int64_t amount = 0;
    std::uint32_t number = 0; // from 1
    std::string_view currency{};
    const Moment& moment;

    [[nodiscard]] const StandingOrder& buyer() const { return taking.side == Side::bid ? taking : resting; }
    [[nodiscard]] const StandingOrder& seller() const { return taking.side == Side::bid ? resting : taking; }
};

class OrderRecords
{
public:
    // A view of the message in a record of an order's length: what the message lacks is zero, what it has more is
    // dropped. Good until the next call.
    CMsgOrder& Lay_Out(std::string_view message);

    // Who placed the order, whatever it says, and what it lacks: when, and the currency of its market.
    void Fill_In(const Party& sender, std::string_view currency, const Moment& moment);

    [[nodiscard]] std::string Order_Message() const;

    // Makes the row of the order that is laid out, and brings an order's row up to date with its amounts.
    void Begin_Row(StandingOrder& order);
    void Renew_Row(StandingOrder& order);

    std::string Transaction(const Trade& trade);                                                              // 112
    std::string End_Of_Transaction(const Trade& trade);                                                       // 879
    std::string Prices_Of_Day(const Trade& trade, const TradedPrices& day, const TradedPrices& month);        // 87
    std::string Prices_By_Hour(const Trade& trade, const TradedPrices& day, const PlacedPrices& placed_today, // 176
                               const PlacedPrices& placed_in_month);

private:
    CMsgOrder m_order;
    CGTOrder m_row;
    CMsgTransMon m_transaction;
    CMsgEndTransaction m_end;
    CMsgPrcMntTrans m_day;
    CMsgPrcMntHour m_hour;
};

// An order as a client would compose it.
std::string Compose_Order(const Party& sender, int kind, int market, Side side, std::int64_t price, std::int64_t amount,
                          std::string_view own_code, const Clock& clock);

} // namespace qm
