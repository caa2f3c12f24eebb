// The kinds of records that a host receives, one row each: what the record is read as, the mailbox in which it waits,
// the name by which the host hears of it.
#pragma once

#include "reader/taken_record.h"
#include "records/sizes.h"

#include <array>

// clang-format off

// Messages: number, view, mailbox, name. An order has one of two names, told by the order itself.
#define QAPI_RECEIVED_MESSAGES(MESSAGE) \
    MESSAGE( 87, Glb_cur_htramhoy_msg,             Glb_PrcMntTrans_Message_Table,           "Precios_Montos_Transados") \
    MESSAGE(111, Glb_cur_order_msg,                Glb_Order_Message_Table,                 qapi::name_of_an_order) \
    MESSAGE(112, Glb_cur_transmon_msg,             Glb_Trans_Moneda_Message_Table,          "Mantenimiento_Transacciones") \
    MESSAGE(113, Glb_cur_order_msg,                Glb_Order_Message_Table,                 qapi::name_of_an_order) \
    MESSAGE(114, Glb_cur_logordertable_msg,        Glb_LogOrderTable_Message_Table,         "Historia_Posturas") \
    MESSAGE(121, Glb_cur_order_msg,                Glb_Order_Message_Table,                 qapi::name_of_an_order) \
    MESSAGE(132, Glb_cur_mnt_trans_renta_fija_msg, Glb_PrcMnt_Trans_Renta_Fija_Table,       "Mantenimiento_Transaccion_Renta_Fija") \
    MESSAGE(133, Glb_cur_tarnel_msg,               Glb_Tarnel_Message_Table,                "Tarnel") \
    MESSAGE(134, Glb_cur_tarnelwh_msg,             Glb_Tarnel_Wh_Message_Table,             "TarnelWh") \
    MESSAGE(153, Glb_cur_payinst_msg,              Glb_PayInstruct_Message_Table,           "Instruccion_De_Pago") \
    MESSAGE(176, Glb_cur_histmhoy_msg,             Glb_PrcMntHour_Message_Table,            "Precios_Por_Hora") \
    MESSAGE(177, Glb_cur_histmtermhoy_msg,         Glb_PrcMntHourTerm_Message_Table,        "Precios_Por_Hora_Por_Plazo") \
    MESSAGE(291, Glb_cur_avgpurchaseprice_msg,     Glb_Average_Puchase_Price_Message_Table, "Precios_Promedio_Compra") \
    MESSAGE(300, Glb_cur_histmampmhoy_msg,         Glb_PrcMntHourAmPm_Message_Table,        "Precios_Por_Hora_Am_Pm") \
    MESSAGE(575, Glb_cur_chat_msg,                 Glb_Chat_Message_Table,                  "Chat") \
    MESSAGE(879, Glb_cur_endtransaction_msg,       Glb_EndTransaction_Message_Table,        "Fin_Transaccion")

// Changes of tables, all of message 888: type, view, mailbox, name. Those in KEPT are kept as replicas too, in the last
// column.
#define QAPI_RECEIVED_TABLES(TABLE, KEPT) \
    TABLE( 1, Glb_cur_gt_order_msg,       Glb_Order_Table,              "Posturas_Vigentes") \
    TABLE( 2, Glb_cur_voice_summary,      Glb_VoiceSummary_Table,       "Resumenes_Vigentes") \
    KEPT( 14, Glb_cur_voicegroup,         Glb_VoiceGroup_Table,         "Grupos_Vigentes",              Glb_IntVoiceGroup_Table) \
    KEPT( 15, Glb_cur_fixedincomemarkets, Glb_FixedIncomeMarkets_Table, "Mercados_Renta_Fija_Vigentes", Glb_IntFixedIncomeMarkets_Table) \
    KEPT( 16, Glb_cur_historytransdayterm,Glb_HistoryTransDayTerm_Table,"Hechos_Vigentes",              Glb_IntHistoryTransDayTerm_Table) \
    KEPT( 17, Glb_cur_rates,              Glb_Rates_Table,              "Indices_Vigentes",             Glb_IntRates_Table)
// clang-format on

namespace qapi {

inline constexpr const char* name_of_an_order = nullptr;

// What a message begins with behind its number.
using Header = std::array<char, CABEZA_HEADER_SIZE>;

// A mailbox as hosts use it: under CQcApi::mutex_lock and a ReportHold.
struct Mailbox
{
    Kind kind;
    CMessage* (*find)(unsigned number); // null if the record isn't there

    // Removes the record; false if it isn't there. `header` receives the bytes behind its number.
    bool (*take_out)(unsigned number, Header& header);
};

// The mailbox of a kind, null for a kind without one.
const Mailbox* Mailbox_Of(const Kind& kind);

} // namespace qapi

using qapi::Mailbox;
using qapi::Mailbox_Of;
