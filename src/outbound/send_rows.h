// How each kind of message leaves, one row a number. A number without a row goes nowhere.
#pragma once

#include "message_numbers.h"

#include <algorithm>
#include <array>

namespace qapi {

enum class SendTo
{
    data_server,
    data_managers,
    addressees, // those that the host named, and the data managers
};

enum class Cabeza
{
    own,      // the sender has filled it
    stamped,  // becomes the template
    numbered, // the same, with a running number: the message is persistent
};

struct SendRow
{
    int number;
    const char* log_text;
    Cabeza cabeza;
    SendTo destination;
};

// clang-format off
inline constexpr std::array<SendRow, 17> send_rows{{
    {MSS_ORDEN,                "SO-Order message sent",       Cabeza::own,      SendTo::addressees},
    {MSS_ORDEN_RFQ,            "SO-Order message sent",       Cabeza::own,      SendTo::addressees},
    {MSS_ORDEN_2,              "SO-Order message sent",       Cabeza::own,      SendTo::addressees},
    {MSS_TARNEL,               "SU-Tarnel [Wh] message sent", Cabeza::numbered, SendTo::data_managers},
    {MSS_TARNELWH,             "SU-Tarnel [Wh] message sent", Cabeza::numbered, SendTo::data_managers},
    {MSS_INGRESO_EQUIPO,       "SM-Machine logging sent",     Cabeza::stamped,  SendTo::data_server},
    {MSS_RETIROEQUIPO,         "SR-Connection close sent",    Cabeza::stamped,  SendTo::data_server},
    {MSS_PEDIDO_LOG,           "SM-Asking for log",           Cabeza::stamped,  SendTo::data_server},
    {MSS_INICIO_LOG,           "SM-Initiating log sending",   Cabeza::stamped,  SendTo::data_server},
    {MSS_FIN_LOG,              "SM-Ending log sending",       Cabeza::stamped,  SendTo::data_server},
    {MSS_PEDIR_TABLAS,         "ST-Asking table sent",        Cabeza::stamped,  SendTo::data_server},
    {MSS_FIN_PEDIR_TABLAS,     "ST-End Asking table sent",    Cabeza::stamped,  SendTo::data_server},
    {MSS_PEDIDO_SIGUIENTE_LOG, "SM-Asking for next log",      Cabeza::stamped,  SendTo::data_server},
    {MSS_VERSION_CONTROL,      "SV-Version information sent", Cabeza::stamped,  SendTo::data_server},
    {MSS_CHAT,                 "SC-Chat message sent",        Cabeza::stamped,  SendTo::data_server},
    {MSS_LISTA_DATAMANAGERS,   "SD-DataManager list sent",    Cabeza::stamped,  SendTo::data_server},
    {MSS_TABLA_GLOBAL,         "ST-Table record sent",        Cabeza::own,      SendTo::data_server},
}};
// clang-format on

// Null for a number that goes nowhere.
constexpr const SendRow* Send_Row_Of(int number)
{
    const auto* row =
        std::find_if(send_rows.begin(), send_rows.end(), [number](const SendRow& r) { return r.number == number; });
    return row != send_rows.end() ? row : nullptr;
}

} // namespace qapi
