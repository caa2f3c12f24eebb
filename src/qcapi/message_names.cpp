#include "message_names.h"

#include "config.h"
#include "support.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

// One row a kind: number, name in the interface, long Spanish name, English name.
// clang-format off
#define QAPI_MESSAGE_NAMES(X) \
    X(133, "Tarnel",                               "mensaje_transaccion_tarnel_qapi",              "trade_tarnel_qapi_message") \
    X(134, "TarnelWh",                             "mensaje_transaccion_tarnelwh_qapi",            "trade_tarnelwh_qapi_message") \
    X(201, "Login",                                "mensaje_ingreso_equipo",                       "primaryuser_login_message") \
    X(203, "Log_Req",                              "mensaje_pedir_log",                            "log_request_message") \
    X(204, "Log_Begin",                            "mensaje_inicio_log",                           "log_start_message") \
    X(205, "Log_End",                              "mensaje_fin_log",                              "log_end_message") \
    X(252, "Next_Log_Req",                         "mensaje_siguiente_log",                        "next_log_request_message") \
    X(116, "End_Pending",                          "mensaje_procesar_ordenes_pendientes",          "process_pending_order_message") \
    X(888, "Global_Table",                         "mensaje_cambio_tabla_global",                  "global_table_change_message") \
    X(213, "Table_Requirement",                    "mensaje_pedir_tablas",                         "table_request_message") \
    X(214, "End_Table_Requirement",                "mensaje_fin_pedir_tablas",                     "table_request_end_message") \
    X(865, "DataManagers_List",                    "mensaje_lista_datamanagers",                   "datamanager_list_message") \
    X(111, "Orden_Transaccion",                    "mensaje_tabla_moneda",                         "currency_table_message") \
    X(112, "Mantenimiento_Transacciones",          "mensaje_mantenimiento_transacciones",          "currency_trade_message") \
    X( 87, "Precios_Montos_Transados",             "mensaje_precios_montos_transados_monedas",     "currency_price_amount_traded_message") \
    X(176, "Precios_Por_Hora",                     "mensaje_precios_por_hora_monedas",             "currency_price_by_hour_message") \
    X(153, "Instruccion_De_Pago",                  "mensaje_instruccion_pago",                     "payment_instruction_message") \
    X(879, "Fin_Transaccion",                      "mensaje_fin_transaccion",                      "end_trade_message") \
    X(114, "Historia_Posturas",                    "mensaje_log_posturas",                         "order_log_message") \
    X(177, "Precios_Por_Hora_Por_Plazo",           "mensaje_precios_por_hora_por_plazo_monedas",   "currency_price_by_hour_by_term_message") \
    X(300, "Precios_Por_Hora_Am_Pm",               "mensaje_precios_am_pm_monedas",                "currency_price_am_pm_message") \
    X(132, "Mantenimiento_Transaccion_Renta_Fija", "mensaje_mantenimiento_transaccion_renta_fija", "fixed_income_trade_maintenance_message") \
    X(291, "Precios_Promedio_Compra",              "mensaje_precios_promedio_compra",              "average_purchase_price_message") \
    X(113, "Orden_Transaccion_RFQ",                "mensaje_tabla_moneda_rfq",                     "currency_rfq_table_message") \
    X(575, "Chat",                                 "mensaje_charla",                               "chat_message")

// The table kinds: table type, and one name for all three columns.
#define QAPI_TABLE_NAMES(X) \
    X( 1, "Posturas_Vigentes") \
    X( 2, "Resumenes_Vigentes") \
    X(14, "Grupos_Vigentes") \
    X(15, "Mercados_Renta_Fija_Vigentes") \
    X(16, "Hechos_Vigentes") \
    X(17, "Indices_Vigentes")
// clang-format on

#define MESSAGE_CODE(code, ...) code,
#define MESSAGE_NAMES(code, ...) {__VA_ARGS__},
#define TABLE_NAMES(type, name) {name, name, name},
const int QAPI_Messages_Codes[] = {QAPI_MESSAGE_NAMES(MESSAGE_CODE)};
const char* const QAPI_Messages_Names[][ARRAY_MSG_NAMES_DIMENSION] = {QAPI_MESSAGE_NAMES(MESSAGE_NAMES)};
const int QAPI_Global_Table_Types[] = {QAPI_TABLE_NAMES(MESSAGE_CODE)};
const char* const QAPI_Global_Table_Names[][ARRAY_MSG_NAMES_DIMENSION] = {QAPI_TABLE_NAMES(TABLE_NAMES)};
#undef MESSAGE_CODE
#undef MESSAGE_NAMES
#undef TABLE_NAMES

static_assert(std::size(QAPI_Messages_Codes) == ARRAY_MSG_NAMES_SIZE);
static_assert(std::size(QAPI_Global_Table_Types) == QAPI_GLOBAL_TABLE_SIZE);

namespace {

// Most names differ in the first characters, so no length is asked for.
bool equal_in_any_case(const char* left, const char* right)
{
    while (*left != '\0' && ascii_lower(*left) == ascii_lower(*right)) {
        ++left;
        ++right;
    }
    return ascii_lower(*left) == ascii_lower(*right);
}

// The row that has `name` in one of its columns; the number of rows if none has.
template <std::size_t rows>
std::size_t row_of(const char* const (&names)[rows][ARRAY_MSG_NAMES_DIMENSION], const char* name)
{
    const auto* row = std::find_if(std::begin(names), std::end(names), [name](const auto& columns) {
        return std::any_of(std::begin(columns), std::end(columns),
                           [name](const char* known) { return equal_in_any_case(known, name); });
    });
    return static_cast<std::size_t>(row - std::begin(names));
}

int language_column()
{
    const bool known = Glb_Language > Glb_Old_Names && Glb_Language < ARRAY_MSG_NAMES_DIMENSION;
    return known ? Glb_Language : Glb_Old_Names;
}

void store(int* target, int value)
{
    if (target != nullptr) {
        *target = value;
    }
}

} // namespace

int COMMON_Take_Message_Kind(const char* message_type, int* global_table_type)
{
    if (message_type == nullptr) {
        return 0;
    }
    if (const std::size_t row = row_of(QAPI_Messages_Names, message_type); row < ARRAY_MSG_NAMES_SIZE) {
        store(global_table_type, -1);
        return QAPI_Messages_Codes[row];
    }
    if (const std::size_t row = row_of(QAPI_Global_Table_Names, message_type); row < QAPI_GLOBAL_TABLE_SIZE) {
        store(global_table_type, QAPI_Global_Table_Types[row]);
        return MSS_TABLA_GLOBAL;
    }
    return 0;
}

const char* COMMON_Get_Message_Name(int code)
{
    const auto* known = std::find(std::begin(QAPI_Messages_Codes), std::end(QAPI_Messages_Codes), code);
    if (known != std::end(QAPI_Messages_Codes)) {
        return QAPI_Messages_Names[known - QAPI_Messages_Codes][language_column()];
    }
    thread_local std::array<char, 19 + 1> undefined;
    std::snprintf(undefined.data(), undefined.size(), "Undefined <%d>", code);
    return undefined.data();
}
