#include "reader/field_access.h"

#include "outbound/composed.h"
#include "qcapi/errors.h"
#include "qcapi/message_names.h"
#include "qcapi/support.h"
#include "reader/taken_record.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace {

constexpr std::array<std::string_view, 3> fields_that_no_chat_has{"mercado", "clase_mensaje", "bandera"};

int number_of(CMessage& record)
{
    return record[MSG_NUMBER_FIELD];
}

bool equal_in_any_case(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return ascii_lower(a) == ascii_lower(b); });
}

bool is_missing_in_chats(CMessage& record, std::string_view name)
{
    return number_of(record) == MSS_CHAT &&
           std::any_of(fields_that_no_chat_has.begin(), fields_that_no_chat_has.end(),
                       [name](std::string_view missing) { return equal_in_any_case(missing, name); });
}

const char* text_of(const char* name)
{
    return name != nullptr ? name : "";
}

int report_illegal_name(CMessage& record, const char* name)
{
    Report_No_Field(QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED_TXT, name, record);
    return QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED;
}

int find_composed(const char* name, CField** field)
{
    if (Glb_cur_message_ptr == nullptr) {
        return QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED;
    }
    *field = Glb_cur_message_ptr->Find_Field(text_of(name));
    return *field != nullptr ? 0 : report_illegal_name(*Glb_cur_message_ptr, text_of(name));
}

} // namespace

int COMMON_Get_Field(const char* name, CField** field)
{
    if (Glb_taken_message_ptr == nullptr) {
        return Report_No_Record_Taken();
    }
    CMessage& record = *Glb_taken_message_ptr;
    *field = record.Find_Field(text_of(name));
    if (*field != nullptr) {
        return 0;
    }
    return is_missing_in_chats(record, text_of(name)) ? QAPI_ERR_NO_FIELD_TAKEN
                                                      : report_illegal_name(record, text_of(name));
}

int COMMON_Get_Next_Field(char** cursor, CField** field)
{
    if (Glb_taken_message_ptr == nullptr) {
        return Report_No_Record_Taken();
    }
    *field = Glb_taken_message_ptr->Next_Field(cursor);
    return *field != nullptr ? 0 : QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED;
}

int COMMON_Get_SField(const char* name, CField** field)
{
    return find_composed(name, field);
}

int COMMON_Get_RField(const char* name, CField** field)
{
    return find_composed(name, field);
}

int qapi::Report_Illegal_Type(const char* message_type)
{
    COMMON_Put_Syslog_Message(QAPI_ERR_IMPROPER_OPERATION, QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED_TXT,
                              text_of(message_type));
    return QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED;
}

int qapi::Report_No_Record_Taken()
{
    COMMON_Put_Syslog_Message(QAPI_ERR_IMPROPER_OPERATION, "%s", QAPI_ERR_NO_RECORD_TAKEN_TXT);
    return QAPI_ERR_NO_RECORD_TAKEN;
}

void qapi::Report_No_Field(const char* text, const char* name, CMessage& record)
{
    COMMON_Put_Syslog_Message(QAPI_ERR_IMPROPER_OPERATION, "%s (%s) in %s message", text, name,
                              COMMON_Get_Message_Name(number_of(record)));
}
