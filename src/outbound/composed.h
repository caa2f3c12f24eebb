// The messages that a host composes: one object a kind, each with a buffer of its own, so that nothing that is composed
// meets what arrives. Composition stays in one thread at a time.
#pragma once

#include "process_lifetime.h"
#include "reader/taken_record.h"
#include "records/orders.h"
#include "records/prices.h"
#include "records/reference.h"

// Object, class.
// clang-format off
#define QAPI_COMPOSED(OBJECT) \
    OBJECT(Glb_send_htramhoy_msg,               CMsgPrcMntTrans) \
    OBJECT(Glb_send_order_msg,                  CMsgOrder) \
    OBJECT(Glb_send_transmon_msg,               CMsgTransMon) \
    OBJECT(Glb_send_mnt_trans_renta_fija_msg,   CMsgPrcMntTransRentaFija) \
    OBJECT(Glb_send_tarnel_msg,                 CTarnelMsg) \
    OBJECT(Glb_send_tarnelwh_msg,               CTarnelWhMsg) \
    OBJECT(Glb_send_histmhoy_msg,               CMsgPrcMntHour) \
    OBJECT(Glb_send_htramtermhoy_msg,           CMsgPrcMntHourTerm) \
    OBJECT(Glb_send_average_puchase_price_msg,  CMsgAvgPurchasePrice) \
    OBJECT(Glb_send_histmampmhoy_msg,           CMsgPrcMntHourAmPm) \
    OBJECT(Glb_send_chat_msg,                   CMsgChat) \
    OBJECT(Glb_send_logordertable_msg,          CMsgOrder) \
    OBJECT(Glb_send_endtransaction_msg,         CMsgEndTransaction) \
    OBJECT(Glb_send_gt_order_msg,               CGTOrder) \
    OBJECT(Glb_send_voice_summary,              CGTVoiceSummary) \
    OBJECT(Glb_send_voicegroup,                 CGTVoiceGroup) \
    OBJECT(Glb_send_fixedincomemarkets,         CGTFixedIncomeMarkets) \
    OBJECT(Glb_send_historytransdayterm,        CGTHistoryTransDayTerm) \
    OBJECT(Glb_send_rates,                      CGTRates)
// clang-format on

// NOLINTBEGIN(bugprone-macro-parentheses): the name of a type
#define QAPI_DECLARE(object, record) extern ProcessLifetime<record> object;
QAPI_COMPOSED(QAPI_DECLARE)
#undef QAPI_DECLARE
// NOLINTEND(bugprone-macro-parentheses)

// The message that is being composed; null before the first. Belongs to the host.
extern CMessage* Glb_cur_message_ptr;

namespace qapi {

struct Located
{
    int code = 0; // 0, 4 when nothing runs, or 15 for a kind that can't be composed, which is reported
    Kind kind;
    CMessage* message = nullptr;
};

// Selects the message to compose by the name of its kind; an empty or null name keeps to the kind of the taken record.
Located Locate(const char* message_type);

} // namespace qapi

using qapi::Locate;
using qapi::Located;

// The same. `message_type_code`, if not null, receives the kind's number unless nothing runs. Returns the code.
int Locate_Record(char* message_type, int* message_type_code);
