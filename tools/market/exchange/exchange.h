// The exchange: takes orders as clients send them (111, 113, 121), keeps a book for each market, and says what is to be
// told to whom. It sends nothing itself.
//
// Of an order these fields count: clase_mensaje, mercado, o_d ('D' or 'O'), precio, numero (the amount),
// usuario_postura and mcod_postura, which together are the order's code, one of a kind for its user.
//
//   clase_mensaje  what the order asks for
//   0, 1           to be placed
//   2              to take the place of the user's order of the same code: new price and amount, new time; the market
//                  is the same, the side may be the other
//   3              to be withdrawn: market and code count
//   8              a request for quotes: it is passed on and doesn't meet anything; it needs no price and no code
//
// A user's open orders have different codes; a code is free again when its order has left the book. A price is below
// PRICE_LIMIT, an amount a whole number below AMOUNT_LIMIT (exchange/order_form.h).
//
// Every order that is taken is given to its addressees as it came, with its sender's envelope; only what it lacks of
// codigo_primaryuser_postura, usuario_postura, codigo_sucursal_postura, fecha_postura, hora_postura and moneda is
// filled in. One that is placed becomes a record of its market's table of orders (Posturas_Vigentes): 'I' as it comes,
// 'A' when part of it is traded or another one takes its place, 'B' when it leaves. An order that is traded at once is
// inserted and deleted too, so that everybody sees it. numero is what is left, numero_total what was placed,
// numero_transado what is traded.
//
// A trade gives, behind the changes of the two records: to both parties a Mantenimiento_Transacciones (112), which has
// the order that rested and under the names in _1 the one that came; to everyone a Fin_Transaccion (879), the day's
// Precios_Montos_Transados (87) and the Precios_Por_Hora (176) of that hour. Their envelopes name the one whose order
// came. Orders may meet others of their own user.
//
// Orders go to log A, 112 and 879 to log P, with priority 60; 87 and 176 to log B with priority 80. The server's code
// in the envelopes is left to the sink.
//
// A new day begins statistics afresh, a new month those of the month; orders stay.
#pragma once

#include "audience.h"
#include "clock.h"
#include "exchange/order_book.h"
#include "exchange/traded_prices.h"
#include "store/message_store.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

struct MarketDescription
{
    int number = 0;                 // mercado
    std::uint16_t orders_table = 0; // code of its table of orders
    std::string currency{};         // 3 letters
};

// What the exchange says. Called while Take runs, in the order in which things happen, when the book may be further
// already: a sink doesn't call the exchange.
class ExchangeSink
{
public:
    ExchangeSink() = default;
    ExchangeSink(const ExchangeSink&) = delete;
    ExchangeSink& operator=(const ExchangeSink&) = delete;
    virtual ~ExchangeSink() = default;

    // A message, complete but for what the store writes: number and letter of the log.
    virtual void Say(Log log, std::uint16_t priority, const Audience& audience, std::string message) = 0;

    // A record of a table of orders. Insert gives the record's idx, by which it is updated and deleted.
    virtual std::uint32_t Insert_Row(std::uint16_t table, std::string body) = 0;
    virtual void Update_Row(std::uint16_t table, std::uint32_t idx, std::string body) = 0;
    virtual void Delete_Row(std::uint16_t table, std::uint32_t idx) = 0;
};

class Exchange
{
public:
    Exchange(std::vector<MarketDescription> markets, const Clock& clock, ExchangeSink& sink);
    ~Exchange();

    // An order from `sender`, addressed to `audience` (who gets it as a message beside the sender). Empty if it was
    // taken, else why it was refused, in words for its user that can stand behind "refused: ".
    std::string Take(std::string_view order_message, const Party& sender, const Audience& audience);

    // The next trade's number is the one behind it.
    void Count_Trades_From(std::uint32_t last_trade);

    // For the summary at the prompt, and for tests.
    [[nodiscard]] const OrderBook* Book(int market) const;      // null for an unknown market
    [[nodiscard]] const TradedPrices* Prices(int market) const; // of today
    struct OpenOrder
    {
        std::string code{}; // user (4) and its own code (6)
        int market = 0;
        BookOrder order{};
        std::uint32_t idx = 0; // of its record
    };
    [[nodiscard]] std::vector<OpenOrder> Open_Orders(int market) const; // bids best first, then offers best first

    // An order message as a client would compose it, for feeds and the prompt. `kind` is clase_mensaje, `own_code` has
    // up to 6 characters.
    static std::string Make_Order(const Party& sender, int kind, int market, Side side, std::int64_t price,
                                  std::int64_t amount, std::string_view own_code, const Clock& clock);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
