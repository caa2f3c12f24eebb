#include "qcapi/message_names.h"

#include "qcapi/config.h"

#include <gtest/gtest.h>

#include <cctype>
#include <limits>
#include <string>
#include <thread>

namespace {

struct Kind
{
    int code;
    const char* names[3];
};

constexpr Kind kinds[] = {
    {133, {"Tarnel", "mensaje_transaccion_tarnel_qapi", "trade_tarnel_qapi_message"}},
    {134, {"TarnelWh", "mensaje_transaccion_tarnelwh_qapi", "trade_tarnelwh_qapi_message"}},
    {201, {"Login", "mensaje_ingreso_equipo", "primaryuser_login_message"}},
    {203, {"Log_Req", "mensaje_pedir_log", "log_request_message"}},
    {204, {"Log_Begin", "mensaje_inicio_log", "log_start_message"}},
    {205, {"Log_End", "mensaje_fin_log", "log_end_message"}},
    {252, {"Next_Log_Req", "mensaje_siguiente_log", "next_log_request_message"}},
    {116, {"End_Pending", "mensaje_procesar_ordenes_pendientes", "process_pending_order_message"}},
    {888, {"Global_Table", "mensaje_cambio_tabla_global", "global_table_change_message"}},
    {213, {"Table_Requirement", "mensaje_pedir_tablas", "table_request_message"}},
    {214, {"End_Table_Requirement", "mensaje_fin_pedir_tablas", "table_request_end_message"}},
    {865, {"DataManagers_List", "mensaje_lista_datamanagers", "datamanager_list_message"}},
    {111, {"Orden_Transaccion", "mensaje_tabla_moneda", "currency_table_message"}},
    {112, {"Mantenimiento_Transacciones", "mensaje_mantenimiento_transacciones", "currency_trade_message"}},
    {87,
     {"Precios_Montos_Transados", "mensaje_precios_montos_transados_monedas", "currency_price_amount_traded_message"}},
    {176, {"Precios_Por_Hora", "mensaje_precios_por_hora_monedas", "currency_price_by_hour_message"}},
    {153, {"Instruccion_De_Pago", "mensaje_instruccion_pago", "payment_instruction_message"}},
    {879, {"Fin_Transaccion", "mensaje_fin_transaccion", "end_trade_message"}},
    {114, {"Historia_Posturas", "mensaje_log_posturas", "order_log_message"}},
    {177,
     {"Precios_Por_Hora_Por_Plazo", "mensaje_precios_por_hora_por_plazo_monedas",
      "currency_price_by_hour_by_term_message"}},
    {300, {"Precios_Por_Hora_Am_Pm", "mensaje_precios_am_pm_monedas", "currency_price_am_pm_message"}},
    {132,
     {"Mantenimiento_Transaccion_Renta_Fija", "mensaje_mantenimiento_transaccion_renta_fija",
      "fixed_income_trade_maintenance_message"}},
    {291, {"Precios_Promedio_Compra", "mensaje_precios_promedio_compra", "average_purchase_price_message"}},
    {113, {"Orden_Transaccion_RFQ", "mensaje_tabla_moneda_rfq", "currency_rfq_table_message"}},
    {575, {"Chat", "mensaje_charla", "chat_message"}},
};

constexpr Kind tables[] = {
    {1, {"Posturas_Vigentes"}}, {2, {"Resumenes_Vigentes"}},
    {14, {"Grupos_Vigentes"}},  {15, {"Mercados_Renta_Fija_Vigentes"}},
    {16, {"Hechos_Vigentes"}},  {17, {"Indices_Vigentes"}},
};

std::string upper(std::string text)
{
    for (char& c : text) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

// Every second letter in capitals.
std::string mixed(std::string text)
{
    for (std::size_t i = 0; i < text.size(); i += 2) {
        text[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
    }
    return text;
}

class MessageNames : public testing::Test
{
protected:
    MessageNames() { Glb_Language = 0; }
    ~MessageNames() override { Glb_Language = 0; }

    int type = 77;
};

TEST_F(MessageNames, EveryNameOfEveryMessageGivesItsCodeInAnyCase)
{
    for (const Kind& kind : kinds) {
        for (const char* name : kind.names) {
            for (const std::string& text : {std::string(name), upper(name), mixed(name)}) {
                type = 77;
                EXPECT_EQ(COMMON_Take_Message_Kind(text.c_str(), &type), kind.code) << text;
                EXPECT_EQ(type, -1);
            }
        }
    }
}

TEST_F(MessageNames, EveryTableNameGivesItsTypeUnder888)
{
    for (const Kind& table : tables) {
        for (const std::string& text : {std::string(table.names[0]), upper(table.names[0]), mixed(table.names[0])}) {
            EXPECT_EQ(COMMON_Take_Message_Kind(text.c_str(), &type), 888) << text;
            EXPECT_EQ(type, table.code);
        }
    }
}

TEST_F(MessageNames, ChatIs575UnderItsThreeNames)
{
    for (const char* name : {"Chat", "mensaje_charla", "chat_message", "CHAT", "Mensaje_Charla", "cHaT_mEsSaGe"}) {
        EXPECT_EQ(COMMON_Take_Message_Kind(name, nullptr), 575) << name;
    }
}

TEST_F(MessageNames, UnknownNameIsZeroAndLeavesTheType)
{
    for (const char* name : {"", "Cha", "Chats", "Chat ", "Posturas", "888"}) {
        EXPECT_EQ(COMMON_Take_Message_Kind(name, &type), 0) << name;
    }
    EXPECT_EQ(COMMON_Take_Message_Kind(nullptr, &type), 0);
    EXPECT_EQ(type, 77);
}

TEST_F(MessageNames, TypeNeedNotBeAskedFor)
{
    EXPECT_EQ(COMMON_Take_Message_Kind("Indices_Vigentes", nullptr), 888);
    EXPECT_EQ(COMMON_Take_Message_Kind("nothing", nullptr), 0);
}

TEST_F(MessageNames, NameFollowsTheLanguage)
{
    for (Glb_Language = 0; Glb_Language < 3; ++Glb_Language) {
        for (const Kind& kind : kinds) {
            EXPECT_STREQ(COMMON_Get_Message_Name(kind.code), kind.names[Glb_Language]);
        }
    }
}

TEST_F(MessageNames, EnglishChatIsChatMessage)
{
    Glb_Language = 2;
    EXPECT_STREQ(COMMON_Get_Message_Name(575), "chat_message");
}

TEST_F(MessageNames, LanguageThatIsNoneGivesTheNamesOfTheInterface)
{
    for (const int language : {-1, 3, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        Glb_Language = language;
        EXPECT_STREQ(COMMON_Get_Message_Name(133), "Tarnel");
    }
}

TEST_F(MessageNames, UnknownCodeIsShownWithinNineteenCharacters)
{
    EXPECT_STREQ(COMMON_Get_Message_Name(121), "Undefined <121>");
    EXPECT_STREQ(COMMON_Get_Message_Name(-5), "Undefined <-5>");
    EXPECT_STREQ(COMMON_Get_Message_Name(std::numeric_limits<int>::min()), "Undefined <-2147483");
}

TEST_F(MessageNames, ThreadsDontShareTheTextOfAnUnknownCode)
{
    const char* mine = COMMON_Get_Message_Name(1);
    std::thread([] { EXPECT_STREQ(COMMON_Get_Message_Name(2), "Undefined <2>"); }).join();
    EXPECT_STREQ(mine, "Undefined <1>");
}

TEST_F(MessageNames, TablesRunInParallel)
{
    for (std::size_t row = 0; row < ARRAY_MSG_NAMES_SIZE; ++row) {
        EXPECT_EQ(QAPI_Messages_Codes[row], kinds[row].code);
        EXPECT_STREQ(QAPI_Messages_Names[row][Glb_Old_Names], kinds[row].names[0]);
    }
    for (std::size_t row = 0; row < QAPI_GLOBAL_TABLE_SIZE; ++row) {
        EXPECT_EQ(QAPI_Global_Table_Types[row], tables[row].code);
        EXPECT_STREQ(QAPI_Global_Table_Names[row][Glb_English_Names], tables[row].names[0]);
    }
}

} // namespace
