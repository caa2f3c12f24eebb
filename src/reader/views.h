// The views: one object of every record class over one buffer, into which the reader lays each record that arrives, so
// that a record can be read as any class without a copy. The reader alone uses them, each behind an Init.
#pragma once

#include "process_lifetime.h"
#include "records/orders.h"
#include "records/prices.h"
#include "records/receive_buffer.h"
#include "records/reference.h"
#include "records/session.h"

#include <span>

// View, class.
// clang-format off
#define QAPI_VIEWS(VIEW) \
    VIEW(Glb_cur_order_msg,                CMsgOrder) \
    VIEW(Glb_cur_transmon_msg,             CMsgTransMon) \
    VIEW(Glb_cur_htramhoy_msg,             CMsgPrcMntTrans) \
    VIEW(Glb_cur_histmhoy_msg,             CMsgPrcMntHour) \
    VIEW(Glb_cur_histmtermhoy_msg,         CMsgPrcMntHourTerm) \
    VIEW(Glb_cur_histmampmhoy_msg,         CMsgPrcMntHourAmPm) \
    VIEW(Glb_cur_mnt_trans_renta_fija_msg, CMsgPrcMntTransRentaFija) \
    VIEW(Glb_cur_avgpurchaseprice_msg,     CMsgAvgPurchasePrice) \
    VIEW(Glb_cur_payinst_msg,              CMsgPayInstruc) \
    VIEW(Glb_cur_endtransaction_msg,       CMsgEndTransaction) \
    VIEW(Glb_cur_logordertable_msg,        CMsgOrder) \
    VIEW(Glb_cur_chat_msg,                 CMsgChat) \
    VIEW(Glb_cur_tarnel_msg,               CTarnelMsg) \
    VIEW(Glb_cur_tarnelwh_msg,             CTarnelWhMsg) \
    VIEW(Glb_cur_login_msg,                CMsgLogin) \
    VIEW(Glb_cur_log_req_msg,              CMsgLogReq) \
    VIEW(Glb_cur_log_begin,                CMsgLogBegin) \
    VIEW(Glb_cur_log_end,                  CMsgLogEnd) \
    VIEW(Glb_cur_next_log_req,             CMsgNextLogReq) \
    VIEW(Glb_cur_gt_header,                CGTHeader) \
    VIEW(Glb_cur_gt_order_msg,             CGTOrder) \
    VIEW(Glb_cur_voice_summary,            CGTVoiceSummary) \
    VIEW(Glb_cur_voicegroup,               CGTVoiceGroup) \
    VIEW(Glb_cur_fixedincomemarkets,       CGTFixedIncomeMarkets) \
    VIEW(Glb_cur_historytransdayterm,      CGTHistoryTransDayTerm) \
    VIEW(Glb_cur_rates,                    CGTRates) \
    VIEW(Glb_cur_dmtlist,                  CMsgDMTList) \
    VIEW(Glb_cur_branches,                 CGTBranches) \
    VIEW(Glb_cur_user,                     CGTUser) \
    VIEW(Glb_cur_instit,                   CGTInstit) \
    VIEW(Glb_cur_supergroup_msg,           CGTSuperGroup) \
    VIEW(Glb_cur_primaryuser_msg,          CGTPu) \
    VIEW(Glb_cur_city_msg,                 CGTCity) \
    VIEW(Glb_cur_markets_msg,              CGTMarkets) \
    VIEW(Glb_cur_money_msg,                CGTMoney) \
    VIEW(Glb_cur_country_msg,              CGTCountry) \
    VIEW(Glb_cur_insperm_msg,              CGTInsPerm) \
    VIEW(Glb_cur_CGTEmisores,              CGTEmisores) \
    VIEW(Glb_cur_CGTComitentes,            CGTComitentes) \
    VIEW(Glb_cur_CGTFiduciarios,           CGTFiduciarios) \
    VIEW(Glb_cur_CGTEmployee,              CGTEmployee) \
    VIEW(Glb_cur_CGTEsquema,               CGTEsquema) \
    VIEW(Glb_cur_CGTSubComitente,          CGTSubComitente)
// clang-format on

// The buffer, which holds one record and zeros behind it, and its bytes.
namespace qapi {
extern ProcessLifetime<ReceiveBuffer> The_Receive_Buffer;
}
using qapi::The_Receive_Buffer;
char* Glb_cur_msg_buffer();

#define QAPI_DECLARE(view, record)                                                                                     \
    extern ProcessLifetime<record> view; // NOLINT(bugprone-macro-parentheses): the name of a type
QAPI_VIEWS(QAPI_DECLARE)
#undef QAPI_DECLARE

namespace qapi {

// The number of the record in the buffer: its first three characters, blanks in front; 0 if they are no number.
int Received_Number();

} // namespace qapi

using qapi::Received_Number;
