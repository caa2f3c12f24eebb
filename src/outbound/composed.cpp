#include "outbound/composed.h"

#include "message_numbers.h"
#include "qcapi/qcapi.h"
#include "reader/field_access.h"
#include "reader/taken_record.h"

// NOLINTBEGIN(bugprone-macro-parentheses): the name of a type
#define QAPI_DEFINE(object, record) constinit ProcessLifetime<record> object([] { return new record; });
QAPI_COMPOSED(QAPI_DEFINE)
#undef QAPI_DEFINE
// NOLINTEND(bugprone-macro-parentheses)

CMessage* Glb_cur_message_ptr = nullptr;

namespace {

// The object in which a table record is composed, by the type of its table; null for a type without one.
CMessage* table_record_of(int table_type)
{
    switch (table_type) {
    case 1:
        return &*Glb_send_gt_order_msg;
    case 2:
        return &*Glb_send_voice_summary;
    case 14:
        return &*Glb_send_voicegroup;
    case 15:
        return &*Glb_send_fixedincomemarkets;
    case 16:
        return &*Glb_send_historytransdayterm;
    case 17:
        return &*Glb_send_rates;
    default:
        return nullptr;
    }
}

// The object in which a kind is composed, null for a kind without one.
CMessage* object_of(const Kind& kind)
{
    switch (kind.number) {
    case MSS_PRCMNT_TRANS_HOY:
        return &*Glb_send_htramhoy_msg;
    case MSS_ORDEN:
    case MSS_ORDEN_RFQ:
    case MSS_ORDEN_2:
        return &*Glb_send_order_msg;
    case MSS_TRANS_MONEDA:
        return &*Glb_send_transmon_msg;
    case MSS_LOG_ORDER_TABLE:
        return &*Glb_send_logordertable_msg;
    case MSS_PRCMNT_TRANS_RENTA_FIJA:
        return &*Glb_send_mnt_trans_renta_fija_msg;
    case MSS_TARNEL:
        return &*Glb_send_tarnel_msg;
    case MSS_TARNELWH:
        return &*Glb_send_tarnelwh_msg;
    case MSS_PRCMNT_HORA_HOY:
        return &*Glb_send_histmhoy_msg;
    case MSS_PRCMNT_HORA_PLAZO_HOY:
        return &*Glb_send_htramtermhoy_msg;
    case MSS_AVGPURCHASEPRICE:
        return &*Glb_send_average_puchase_price_msg;
    case MSS_PRCMNT_HORA_AM_PM_HOY:
        return &*Glb_send_histmampmhoy_msg;
    case MSS_CHAT:
        return &*Glb_send_chat_msg;
    case MSS_END_TRANSACTION:
        return &*Glb_send_endtransaction_msg;
    case MSS_TABLA_GLOBAL:
        return table_record_of(kind.table_type);
    default:
        return nullptr;
    }
}

bool is_empty(const char* text)
{
    return text == nullptr || *text == '\0';
}

} // namespace

Located qapi::Locate(const char* message_type)
{
    if (CQcApi::initialize_flag == QAPI_NOT_INITIALIZED) {
        return {QAPI_ERR_NOT_INITIALIZED_YET, {}, nullptr};
    }
    Located located{0, is_empty(message_type) ? Taken_Kind() : Kind_Of(message_type), nullptr};
    located.message = object_of(located.kind);
    if (located.message == nullptr) {
        located.code = Report_Illegal_Type(message_type);
        return located;
    }
    Glb_cur_message_ptr = located.message;
    return located;
}

int Locate_Record(char* message_type, int* message_type_code)
{
    const Located located = Locate(message_type);
    if (message_type_code != nullptr && located.code != QAPI_ERR_NOT_INITIALIZED_YET) {
        *message_type_code = located.kind.number;
    }
    return located.code;
}
