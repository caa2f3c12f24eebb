// Conditions on received messages, as the host adds them and the reader asks for them.
#include "qcapi.h"

#include "errors.h"
#include "message_names.h"
#include "message_numbers.h"
#include "outbound/composed.h"
#include "reader/conditions.h"
#include "reader/field_access.h"
#include "reader/taken_record.h"
#include "reader/views.h"
#include "support.h"
#include "tblproc/replica_lock.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <type_traits>

namespace {

// A kind that takes conditions. Views belong to the reader, so that whether one has a field is asked of another record
// of its class, and the reader looks the field up. What the host composes belongs to the host.
struct ConditionedKind
{
    int number;
    bool is_view;
    CMessage& (*object)();
    std::unique_ptr<CMessage> (*new_record)();
};

template <auto& object> CMessage& object_behind()
{
    return *object;
}

template <auto& object> std::unique_ptr<CMessage> record_like()
{
    return std::make_unique<std::remove_reference_t<decltype(*object)>>();
}

template <auto& object> constexpr ConditionedKind view(int number)
{
    return {number, true, object_behind<object>, record_like<object>};
}

template <auto& object> constexpr ConditionedKind composed(int number)
{
    return {number, false, object_behind<object>, record_like<object>};
}

constexpr std::array conditioned_kinds{
    view<Glb_cur_htramhoy_msg>(87),
    view<Glb_cur_order_msg>(111),
    view<Glb_cur_transmon_msg>(112),
    view<Glb_cur_order_msg>(113),
    view<Glb_cur_logordertable_msg>(114),
    view<Glb_cur_order_msg>(121),
    view<Glb_cur_mnt_trans_renta_fija_msg>(132),
    composed<Glb_send_tarnel_msg>(133),
    composed<Glb_send_tarnelwh_msg>(134),
    view<Glb_cur_payinst_msg>(153),
    view<Glb_cur_histmhoy_msg>(176),
    view<Glb_cur_histmtermhoy_msg>(177),
    view<Glb_cur_login_msg>(201),
    view<Glb_cur_log_req_msg>(203),
    view<Glb_cur_log_begin>(204),
    view<Glb_cur_log_end>(205),
    view<Glb_cur_next_log_req>(252),
    view<Glb_cur_avgpurchaseprice_msg>(291),
    view<Glb_cur_histmampmhoy_msg>(300),
    view<Glb_cur_chat_msg>(575),
    view<Glb_cur_endtransaction_msg>(879),
};

const ConditionedKind* find_kind(int number)
{
    const auto* found = std::find_if(conditioned_kinds.begin(), conditioned_kinds.end(),
                                     [number](const ConditionedKind& kind) { return kind.number == number; });
    return found != conditioned_kinds.end() ? found : nullptr;
}

const char* or_empty(const char* text)
{
    return text != nullptr ? text : "";
}

int report_unknown_field(const char* field_name, int kind)
{
    COMMON_Put_Syslog_Message(QAPI_ERR_IMPROPER_OPERATION, "%s (%s) in %s message",
                              QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED_TXT, or_empty(field_name),
                              COMMON_Get_Message_Name(kind));
    return QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED;
}

bool is_path(const char* field_name)
{
    return std::strpbrk(field_name, ".[") != nullptr;
}

// Paths lead into the replicas.
CField* find_field(CMessage& record, const char* field_name)
{
    const ReplicaLock lock;
    return record.Find_Field(field_name);
}

bool has_field(CMessage& record, const char* field_name)
{
    return find_field(record, field_name) != nullptr;
}

// A chat says how many receivers it has, and whether they are users, branches or markets: what fits one chat will do.
bool can_have_field(const ConditionedKind& kind, const char* field_name)
{
    const auto record = kind.new_record();
    if (has_field(*record, field_name)) {
        return true;
    }
    if (kind.number != MSS_CHAT) {
        return false;
    }
    constexpr int most_receivers = 200;
    constexpr std::array receivers{"U", "S", "M"};
    (*record)[NUMERO_RECEPTORES_CHAT] = most_receivers;
    return std::any_of(receivers.begin(), receivers.end(), [&](const char* type) {
        (*record)[TIPO_RECEPTORES_CHAT] = type;
        return has_field(*record, field_name);
    });
}

} // namespace

int CQcApi::AddLoginCondition(char* message_type, char* field_name, char* cond_operation, char* eq_value)
{
    const ConditionedKind* kind = find_kind(Kind_Of(message_type).number);
    if (kind == nullptr) {
        return Report_Illegal_Type(message_type);
    }
    CMessage& object = kind->object(); // which isn't the one that is composed: another thread may be at that
    if (field_name == nullptr) {
        return report_unknown_field(field_name, kind->number);
    }
    if (std::strchr("&|", *field_name) != nullptr) { // an empty name is found too, and makes a condition without field
        m_fit_fields.Add(nullptr, kind->number, cond_operation, field_name, *field_name != '\0' ? 1 : 0);
        return 0;
    }
    // What the host composes is not the reader's to follow a path in.
    CField* field = kind->is_view || is_path(field_name) ? nullptr : find_field(object, field_name);
    if (kind->is_view ? !can_have_field(*kind, field_name) : field == nullptr) {
        return report_unknown_field(field_name, kind->number);
    }
    const char* value = or_empty(eq_value);
    const int value_len = static_cast<int>(std::strlen(value));
    if (kind->is_view) {
        m_fit_fields.Add_Named(&object, field_name, kind->number, cond_operation, value, value_len);
    } else {
        m_fit_fields.Add(field, kind->number, cond_operation, value, value_len);
    }
    return 0;
}

int CQcApi::FitConditions(int message_t, CMessage* message)
{
    return Fit_Conditions(message_t, message);
}
