// Messages that the host composes and sends.
#include "qcapi.h"

#include "config.h"
#include "message/message.h"
#include "message_names.h"
#include "outbound/addressing.h"
#include "outbound/composed.h"
#include "outbound/pacing.h"
#include "outbound/send_queue.h"
#include "reader/field_access.h"
#include "reader/taken_record.h"
#include "support.h"
#include "tblproc/replica_lock.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

namespace {

// ---- Fields ----------------------------------------------------------------------------------------------------

const char* name_of(CMessage& message)
{
    return COMMON_Get_Message_Name(message[MSG_NUMBER_FIELD]);
}

const char* text_or_empty(const char* text)
{
    return text != nullptr ? text : "";
}

// A field that a path reaches in another record belongs to a replica, which is not the host's to write.
CField* own_field(CMessage& message, const char* path)
{
    CField* field = message.Find_Field(path);
    return field != nullptr && field->m_parent == &message ? field : nullptr;
}

// Finds the field and lets `assign` write it.
template <class Assign> int set_field(char* message_type, const char* field_name, Assign assign)
{
    const Located located = Locate(message_type);
    if (located.code != 0) {
        return located.code;
    }
    CMessage& message = *located.message;
    const ReplicaLock lock;
    CField* field = own_field(message, text_or_empty(field_name));
    if (field == nullptr) {
        Report_No_Field(QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED_TXT, text_or_empty(field_name), message);
        return QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED;
    }
    assign(*field);
    return 0;
}

int set_text(char* message_type, const char* field_name, const char* value)
{
    return set_field(message_type, field_name, [value](CField& field) {
        if (value != nullptr) {
            field = value;
        } else {
            field.Set_Text("");
        }
    });
}

int report_range(const char* field_name, long value, CMessage& message)
{
    COMMON_Put_Syslog_Message(QAPI_ERR_IMPROPER_OPERATION, "Value %ld out of range for field (%s) in %s message", value,
                              text_or_empty(field_name), name_of(message));
    return QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED;
}

constexpr bool fits_an_int(long value)
{
    using Range = std::numeric_limits<int>;
    return value >= Range::min() && value <= Range::max();
}

// ---- Orders ----------------------------------------------------------------------------------------------------

bool is_order_of_a_market(int number)
{
    return number == MSS_ORDEN || number == MSS_ORDEN_2;
}

// Orders of the markets that use_msg_code lists travel under its number, all others under that of an order.
int number_in_market(int market)
{
    const std::span listed(Glb_Markets_Code, static_cast<std::size_t>(Glb_markets_code_counter));
    return std::find(listed.begin(), listed.end(), market) != listed.end() ? Glb_Message_Code : MSS_ORDEN;
}

// An order keeps its own envelope, so who sends it and when is written there.
void sign(CMessage& order)
{
    std::array<char, 14> now{}; // HHMMSSYYYYMMDD
    COMMON_Get_Current_time(now.data());
    order[MSG_NUMBER_FIELD] = number_in_market(order[MERCADO]);
    order[CODIGO_PRIMARYUSER] = Glb_Local_Machine;
    order[USUARIO] = Glb_User_Code;
    order[CODIGO_INSTITUCION] = Gbl_Branch_Code;
    order[FECHA] = now.data() + 6;
    order[HORA] = now.data();
}

// Table records have no envelope to write it into.
void mark_persistent(CMessage& message)
{
    if (message.Layout_In_Force().Find(BANDERA_MENSAJE_PERSISTENTE) != nullptr) {
        message[BANDERA_MENSAJE_PERSISTENTE] = "S";
    }
}

bool is_reply(const char* message_type)
{
    return message_type == nullptr || *message_type == '\0';
}

} // namespace

int CQcApi::InitMessage(char* message_type)
{
    Forget_Host_Addresses();
    const Located located = Locate(message_type);
    if (located.code != 0) {
        return located.code;
    }
    CMessage& message = *located.message;
    if (!is_reply(message_type)) {
        message.Zero_Data_Buffer();
    } else if (!Copy_Taken_Record(message, located.kind)) {
        return QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED;
    }
    message[MSG_NUMBER_FIELD] = located.kind.number;
    return 0;
}

int CQcApi::SetFieldBSTR(char* message_type, char* field_name, char* new_value)
{
    return set_text(message_type, field_name, new_value);
}

int CQcApi::SetFieldDATE(char* message_type, char* field_name, char* new_value)
{
    return set_text(message_type, field_name, new_value);
}

int CQcApi::SetFieldLONG(char* message_type, char* field_name, long new_value)
{
    if (!fits_an_int(new_value)) {
        const Located located = Locate(message_type);
        return located.code != 0 ? located.code : report_range(field_name, new_value, *located.message);
    }
    return set_field(message_type, field_name, [new_value](CField& field) { field = static_cast<int>(new_value); });
}

int CQcApi::SetFieldUINT(char* message_type, char* field_name, unsigned int new_value)
{
    return set_field(message_type, field_name, [new_value](CField& field) { field = new_value; });
}

int CQcApi::SendMessage(char* message_type)
{
    const Located located = Locate(message_type);
    if (located.code != 0) {
        return located.code;
    }
    CMessage& message = *located.message;
    mark_persistent(message);
    if (is_order_of_a_market(message[MSG_NUMBER_FIELD])) {
        sign(message);
    }
    Pace_Send();
    Send_Composed(message);
    return 0;
}

int CQcApi::SendMessageTo(char* address_data)
{
    Add_Host_Address(address_data);
    return 0;
}

int CQcApi::LastAcknowledgedMessage(char* /*date*/, unsigned int /*message_num*/)
{
    return initialize_flag == QAPI_NOT_INITIALIZED ? QAPI_ERR_NOT_INITIALIZED_YET : 0;
}
