#include "exchange/order_records.h"

#include "exchange/record_fields.h"

#include <cstddef>
#include <cstdio>
#include <span>

namespace qm {

using field::Put_Missing_Text;
using field::Put_Number;
using field::Put_Short;
using field::Put_Text;

namespace {

constexpr int price_decimals = 4; // of PRICE_UNITS
constexpr int mean_decimals = 6;  // of the means for calculations
constexpr std::uint32_t mean_factor = 100;
constexpr std::uint32_t trade_numbers = 1'000'000; // that six digits tell apart

std::string bytes_of(const CMessage& record)
{
    return {record.m_data, static_cast<std::size_t>(record.m_data_len)};
}

void put_price(CMessage& record, int field, std::int64_t price)
{
    Put_Number(record, field, price, price_decimals);
}

void put_side(CMessage& record, int field, Side side)
{
    const char letter = static_cast<char>(side);
    Put_Text(record, field, {&letter, 1});
}

// The envelope of a message about a trade names the party that came.
void put_envelope(CMessage& record, const Party& sender, const Moment& moment)
{
    Put_Text(record, CODIGO_PRIMARYUSER, sender.machine);
    Put_Text(record, USUARIO, sender.user);
    Put_Text(record, SUCURSAL, sender.branch);
    Put_Text(record, FECHA, moment.date);
    Put_Text(record, HORA, moment.hour);
}

void begin(CMessage& record, const Trade& trade)
{
    record.Zero_Data_Buffer();
    put_envelope(record, trade.taking.sender, trade.moment);
}

std::string six_digits(std::uint32_t number)
{
    char text[8] = {};
    std::snprintf(text, sizeof text, "%06u", static_cast<unsigned>(number % trade_numbers));
    return text;
}

int number_in(const std::string& text, std::size_t from, std::size_t count)
{
    int number = 0;
    for (const char c : std::string_view(text).substr(from, count)) {
        number = 10 * number + (c - '0');
    }
    return number;
}

void put_amounts(CMessage& row, const StandingOrder& order)
{
    Put_Number(row, NUMERO, order.left());
    Put_Number(row, NUMERO_TOTAL, order.total);
    Put_Number(row, NUMERO_TRANSADO, order.traded);
}

void put_taker(CMsgTransMon& record, const Trade& trade)
{
    const StandingOrder& taker = trade.taking;
    Put_Text(record, USUARIO_POSTURA_1, taker.sender.user);
    Put_Text(record, MCOD_POSTURA_1, taker.own_code);
    Put_Text(record, CODIGO_SUCURSAL_POSTURA_1, taker.branch);
    Put_Text(record, CODIGO_PRIMARYUSER_POSTURA_1, taker.sender.machine);
    Put_Text(record, HORA_ACEPTACION, trade.moment.hour);
    put_side(record, BANDERA_AGRESOR, taker.side);
}

void put_parties(CMsgTransMon& record, const Trade& trade)
{
    Put_Text(record, CODIGO_SUCURSAL_COMPRADOR_TMONEDA, trade.buyer().branch);
    Put_Text(record, USUARIO_COMPRADOR_TMONEDA, trade.buyer().sender.user);
    Put_Text(record, CODIGO_SUCURSAL_VENDEDOR_TMONEDA, trade.seller().branch);
    Put_Text(record, USUARIO_VENDEDOR_TMONEDA, trade.seller().sender.user);
    Put_Number(record, NUMERO_FINAL_TMONEDA, trade.amount);
}

void put_trade_of_today(CMsgPrcMntTrans& record, const Trade& trade)
{
    Put_Text(record, FECHA_HISTORIA_HOY, trade.moment.date);
    Put_Text(record, HORA_HISTORIA_HOY, trade.moment.hour);
    Put_Number(record, MERCADO_HOY, trade.taking.market);
    put_price(record, PRECIO_HOY, trade.price);
    Put_Number(record, MONTO_HOY, trade.amount);
    Put_Text(record, USUARIO_POSTURA_HOY, trade.resting.sender.user);
    Put_Text(record, MCOD_POSTURA_HOY, trade.resting.own_code);
    Put_Text(record, USUARIO_POSTURA_1_HOY, trade.taking.sender.user);
    Put_Text(record, MCOD_POSTURA_1_HOY, trade.taking.own_code);
    put_side(record, O_D_HOY, trade.taking.side);
    Put_Text(record, USUARIO_CLIENTE_COMPRADOR_HOY, trade.buyer().sender.user);
    Put_Text(record, USUARIO_CLIENTE_VENDEDOR_HOY, trade.seller().sender.user);
    Put_Text(record, MONEDA_HOY, trade.currency);
    Put_Text(record, HORA_REGISTRO_HOY, trade.moment.hour);
    Put_Text(record, HORA_FIN_TRANSACCION_HOY, trade.moment.hour);
}

void put_day(CMsgPrcMntTrans& record, int market, const TradedPrices& day)
{
    Put_Text(record, FECHA_HISTORIA_DIA, day.date);
    Put_Number(record, MERCADO_DIA, market);
    put_price(record, PRECIO_APERTURA_DIA, day.opening);
    put_price(record, PRECIO_CIERRE_DIA, day.last);
    put_price(record, PRECIO_PROMEDIO_DIA, day.Mean());
    put_price(record, PRECIO_MINIMO_DIA, day.lowest);
    put_price(record, PRECIO_MAXIMO_DIA, day.highest);
    Put_Number(record, PRECIO_PROMEDIO_CALCULOS_DIA, day.price_times_amount.Mean(day.total_amount, mean_factor),
               mean_decimals);
    Put_Number(record, MONTO_TOTAL_DIA, day.total_amount);
    Put_Number(record, MONTO_MINIMO_DIA, day.least_amount);
    Put_Number(record, MONTO_MAXIMO_DIA, day.greatest_amount);
    Put_Number(record, MONTO_PROMEDIO_DIA, day.Mean_Amount());
    Put_Number(record, NUMERO_TRANSACCIONES_DIA, day.trades);
    Put_Number(record, MONTO_ULTIMO_DIA, day.last_amount);
    Put_Text(record, HORA_ULTIMA_TRANSACCION_DIA, day.last_hour);
    Put_Text(record, HORA_PRIMERA_TRANSACCION_DIA, day.first_hour);
    Put_Number(record, PRECIO_X_MONTO_TOTAL_DIA, day.price_times_amount, price_decimals);
}

void put_month(CMsgPrcMntTrans& record, int market, const TradedPrices& month)
{
    Put_Number(record, ANO_MES, number_in(month.date, 0, 4));
    Put_Number(record, MES_MES, number_in(month.date, 4, 2));
    Put_Number(record, MERCADO_MES, market);
    put_price(record, PRECIO_APERTURA_MES, month.opening);
    put_price(record, PRECIO_CIERRE_MES, month.last);
    put_price(record, PRECIO_PROMEDIO_MES, month.Mean());
    put_price(record, PRECIO_MINIMO_MES, month.lowest);
    put_price(record, PRECIO_MAXIMO_MES, month.highest);
    Put_Number(record, PRECIO_PROMEDIO_CALCULOS_MES, month.price_times_amount.Mean(month.total_amount, mean_factor),
               mean_decimals);
    Put_Number(record, PRECIO_X_MONTO_TOTAL_MES, month.price_times_amount, price_decimals);
    Put_Number(record, MONTO_TOTAL_MES, month.total_amount);
    Put_Number(record, MONTO_MINIMO_MES, month.least_amount);
    Put_Number(record, MONTO_MAXIMO_MES, month.greatest_amount);
    Put_Number(record, MONTO_PROMEDIO_MES, month.Mean_Amount());
    Put_Number(record, NUMERO_TRANSACCIONES_MES, month.trades);
}

void put_placed_today(CMsgPrcMntHour& record, int market, const PlacedPrices& placed)
{
    Put_Text(record, FECHA_HISTORIA_H_DIA_HISTMHOY, placed.date);
    Put_Number(record, MERCADO_H_DIA_HISTMHOY, market);
    put_price(record, PRECIO_DEMANDA_ALTA_H_DIA_HISTMHOY, placed.bids.highest);
    put_price(record, PRECIO_DEMANDA_BAJA_H_DIA_HISTMHOY, placed.bids.lowest);
    put_price(record, PRECIO_OFERTA_ALTA_H_DIA_HISTMHOY, placed.offers.highest);
    put_price(record, PRECIO_OFERTA_BAJA_H_DIA_HISTMHOY, placed.offers.lowest);
    put_price(record, PRECIO_DEMANDA_PROMEDIO_H_DIA_HISTMHOY, placed.bids.Mean());
    put_price(record, PRECIO_OFERTA_PROMEDIO_H_DIA_HISTMHOY, placed.offers.Mean());
    Put_Number(record, REGISTROS_DEMANDA_H_DIA_HISTMHOY, placed.bids.orders);
    Put_Number(record, REGISTROS_OFERTA_H_DIA_HISTMHOY, placed.offers.orders);
    Put_Number(record, SUMA_PRECIOS_DEMANDA_H_DIA_HISTMHOY, placed.bids.sum, price_decimals);
    Put_Number(record, SUMA_PRECIOS_OFERTA_H_DIA_HISTMHOY, placed.offers.sum, price_decimals);
}

void put_placed_in_month(CMsgPrcMntHour& record, int market, const PlacedPrices& placed)
{
    Put_Number(record, ANO_H_MES_HISTMHOY, number_in(placed.date, 0, 4));
    Put_Number(record, MES_H_MES_HISTMHOY, number_in(placed.date, 4, 2));
    Put_Number(record, MERCADO_H_MES_HISTMHOY, market);
    put_price(record, PRECIO_DEMANDA_ALTA_H_MES_HISTMHOY, placed.bids.highest);
    put_price(record, PRECIO_DEMANDA_BAJA_H_MES_HISTMHOY, placed.bids.lowest);
    put_price(record, PRECIO_OFERTA_ALTA_H_MES_HISTMHOY, placed.offers.highest);
    put_price(record, PRECIO_OFERTA_BAJA_H_MES_HISTMHOY, placed.offers.lowest);
    put_price(record, PRECIO_DEMANDA_PROMEDIO_H_MES_HISTMHOY, placed.bids.Mean());
    put_price(record, PRECIO_OFERTA_PROMEDIO_H_MES_HISTMHOY, placed.offers.Mean());
    Put_Number(record, REGISTROS_DEMANDA_H_MES_HISTMHOY, placed.bids.orders);
    Put_Number(record, REGISTROS_OFERTA_H_MES_HISTMHOY, placed.offers.orders);
    Put_Number(record, SUMA_PRECIOS_DEMANDA_H_MES_HISTMHOY, placed.bids.sum, price_decimals);
    Put_Number(record, SUMA_PRECIOS_OFERTA_H_MES_HISTMHOY, placed.offers.sum, price_decimals);
}

} // namespace

// ---- Orders --------------------------------------------------------------------------------------------------------

CMsgOrder& OrderRecords::Lay_Out(std::string_view message)
{
    m_order.Update_Message_Info(std::span<const char>(message.data(), message.size()));
    return m_order;
}

void OrderRecords::Fill_In(const Party& sender, std::string_view currency, const Moment& moment)
{
    Put_Text(m_order, CODIGO_PRIMARYUSER_POSTURA, sender.machine);
    Put_Missing_Text(m_order, USUARIO_POSTURA, sender.user);
    Put_Text(m_order, CODIGO_SUCURSAL_POSTURA, sender.branch);
    Put_Missing_Text(m_order, FECHA_POSTURA, moment.date);
    Put_Missing_Text(m_order, HORA_POSTURA, moment.hour);
    Put_Missing_Text(m_order, MONEDA, currency);
}

std::string OrderRecords::Order_Message() const
{
    return bytes_of(m_order);
}

void OrderRecords::Begin_Row(StandingOrder& order)
{
    order.branch = field::Text_Of(m_order, CODIGO_SUCURSAL_POSTURA);
    order.body = field::Bytes_Of(m_order, DATOS_GLOBALES);
    Renew_Row(order);
}

void OrderRecords::Renew_Row(StandingOrder& order)
{
    Put_Text(m_row, DATOS_GLOBALES, order.body);
    put_amounts(m_row, order);
    order.body = field::Bytes_Of(m_row, DATOS_GLOBALES);
}

// ---- Trades --------------------------------------------------------------------------------------------------------

// The order that rested is the one that the message is about, the other one accepted it.
std::string OrderRecords::Transaction(const Trade& trade)
{
    begin(m_transaction, trade);
    Put_Text(m_transaction, DATOS_GLOBALES, trade.resting.body);
    put_price(m_transaction, PRECIO, trade.price);
    Put_Number(m_transaction, NUMERO, trade.amount);
    Put_Number(m_transaction, NUMERO_TRANSADO, trade.amount);
    Put_Text(m_transaction, HORA_OPERACION, trade.moment.hour);
    Put_Text(m_transaction, MCOD_TRANSACCION, six_digits(trade.number));
    put_taker(m_transaction, trade);
    put_parties(m_transaction, trade);
    return bytes_of(m_transaction);
}

std::string OrderRecords::End_Of_Transaction(const Trade& trade)
{
    begin(m_end, trade);
    Put_Number(m_end, MERCADO_LOGTRANSACTION, trade.taking.market);
    put_side(m_end, O_D_LOGTRANSACTION, trade.taking.side);
    Put_Number(m_end, MONTO_TOTAL_LOGTRANSACTION, trade.amount);
    put_price(m_end, PRECIO_LOGTRANSACTION, trade.price);
    m_end.Put_Word(CODIGO_UNICO_REGISTRO_RESUMENES_LOGTRANSACTION, trade.resting.idx);
    return bytes_of(m_end);
}

std::string OrderRecords::Prices_Of_Day(const Trade& trade, const TradedPrices& day, const TradedPrices& month)
{
    begin(m_day, trade);
    put_trade_of_today(m_day, trade);
    put_day(m_day, trade.taking.market, day);
    put_month(m_day, trade.taking.market, month);
    return bytes_of(m_day);
}

std::string OrderRecords::Prices_By_Hour(const Trade& trade, const TradedPrices& day, const PlacedPrices& placed_today,
                                         const PlacedPrices& placed_in_month)
{
    begin(m_hour, trade);
    Put_Text(m_hour, FECHA_HISTORIA_HISTMHOY, trade.moment.date);
    Put_Text(m_hour, HORA_HISTORIA_HISTMHOY, trade.moment.hour.substr(0, 2) + "0000");
    Put_Number(m_hour, MERCADO_HISTMHOY, trade.taking.market);
    put_side(m_hour, O_D_HISTMHOY, trade.taking.side);
    put_price(m_hour, PRECIO_HISTMHOY, trade.price);
    Put_Number(m_hour, MONTO_HISTMHOY, trade.amount);
    Put_Short(m_hour, SECUENCIAL_HISTMHOY, day.trades_of_hour);
    put_placed_today(m_hour, trade.taking.market, placed_today);
    put_placed_in_month(m_hour, trade.taking.market, placed_in_month);
    return bytes_of(m_hour);
}

// ---- Orders of the market's own ------------------------------------------------------------------------------------

std::string Compose_Order(const Party& sender, int kind, int market, Side side, std::int64_t price, std::int64_t amount,
                          std::string_view own_code, const Clock& clock)
{
    CMsgOrder order;
    const Moment now{.date = clock.date(), .hour = clock.hour()};
    put_envelope(order, sender, now);
    Put_Number(order, CLASE_MENSAJE, kind);
    Put_Text(order, CODIGO_PRIMARYUSER_POSTURA, sender.machine);
    Put_Text(order, USUARIO_POSTURA, sender.user);
    Put_Text(order, MCOD_POSTURA, own_code);
    Put_Text(order, CODIGO_SUCURSAL_POSTURA, sender.branch);
    Put_Number(order, MERCADO, market);
    put_side(order, O_D, side);
    Put_Text(order, FECHA_POSTURA, now.date);
    Put_Text(order, HORA_POSTURA, now.hour);
    put_price(order, PRECIO, price);
    Put_Number(order, NUMERO, amount);
    return bytes_of(order);
}

} // namespace qm
