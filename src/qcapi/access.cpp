// Received messages as the host reads them: take, read by name, finish.
#include "qcapi.h"

#include "log.h"
#include "message_names.h"
#include "support.h"

#include <algorithm>
#include <array>

namespace {

// Kinds whose received records are kept for the host; the six table kinds stand behind number 888.
constexpr std::array kept_kinds{87, 111, 112, 113, 114, 121, 132, 133, 134, 153, 176, 177, 291, 300, 575, 879};
constexpr std::array kept_table_types{1, 2, 14, 15, 16, 17};

bool is_kept(int kind, int table_type)
{
    if (kind == MSS_TABLA_GLOBAL) {
        return std::find(kept_table_types.begin(), kept_table_types.end(), table_type) != kept_table_types.end();
    }
    return std::find(kept_kinds.begin(), kept_kinds.end(), kind) != kept_kinds.end();
}

struct Kind
{
    int number = 0;
    int table_type = 0;
};

Kind kind_of(const char* message_type)
{
    Kind kind;
    kind.number = COMMON_Take_Message_Kind(message_type != nullptr ? message_type : "", &kind.table_type);
    return kind;
}

int report_illegal_type(const char* message_type)
{
    COMMON_Put_Syslog_Message(QAPI_ERR_IMPROPER_OPERATION, QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED_TXT,
                              message_type != nullptr ? message_type : "");
    return QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED;
}

int report_not_found(const char* message_type, unsigned message_num)
{
    COMMON_Put_Syslog_Message(QAPI_ERR_IMPROPER_OPERATION, QAPI_ERR_RECORD_NOT_FOUND_TXT, message_type,
                              static_cast<int>(message_num));
    return QAPI_ERR_RECORD_NOT_FOUND;
}

void report_no_record()
{
    COMMON_Put_Syslog_Message(QAPI_ERR_IMPROPER_OPERATION, "%s", QAPI_ERR_NO_RECORD_TAKEN_TXT);
}

} // namespace

int CQcApi::TakeMessage(char* message_type, unsigned int message_num)
{
    if (initialize_flag == QAPI_NOT_INITIALIZED) {
        return QAPI_ERR_NOT_INITIALIZED_YET;
    }
    const Kind kind = kind_of(message_type);
    if (!is_kept(kind.number, kind.table_type)) {
        return report_illegal_type(message_type);
    }
    return report_not_found(message_type, message_num);
}

int CQcApi::FinishMessageProcess(char* message_type, unsigned int message_num)
{
    if (initialize_flag == QAPI_NOT_INITIALIZED) {
        return QAPI_ERR_NOT_INITIALIZED_YET;
    }
    LOG_Text("FinishMessageProcess called with message_type=\"%s\" and message_num=%u",
             message_type != nullptr ? message_type : "", message_num);
    const Kind kind = kind_of(message_type);
    if (!is_kept(kind.number, kind.table_type)) {
        return report_illegal_type(message_type);
    }
    // A table record may have been replaced by a later change of the table; that is no mistake of the host.
    return kind.number == MSS_TABLA_GLOBAL ? 0 : report_not_found(message_type, message_num);
}

int CQcApi::GetField(char* /*field_name*/, char* data_copy)
{
    report_no_record();
    *data_copy = '\0';
    return 0;
}

int CQcApi::GetNextField(char* /*field_name*/, char* data_copy)
{
    report_no_record();
    *data_copy = '\0';
    return 0;
}

char* CQcApi::GetSField(char* /*field_name*/, char* /*data_copy*/)
{
    static thread_local char nothing[1];
    nothing[0] = '\0';
    return nothing;
}

int CQcApi::GetFieldBSTR(char* /*field_name*/, char* /*data_copy*/)
{
    report_no_record();
    return 0;
}

int CQcApi::GetFieldDATE(char* /*field_name*/, char* /*date_copy*/)
{
    report_no_record();
    return 0;
}

long CQcApi::GetFieldLONG(char* /*field_name*/)
{
    report_no_record();
    return 0;
}

int CQcApi::IsDefined(char* /*field_name*/)
{
    report_no_record();
    return 0;
}
