#include "table/table_reports.h"

#include "qcapi/support.h"

#include <algorithm>

namespace {

constexpr int shown_bytes = 20;

int idx_of(CMessage& record)
{
    return static_cast<int>(static_cast<unsigned>(record[REC_IDX]));
}

// Records without a table record's header have none of its fields either.
bool has(const CMessage& record, int field_id)
{
    return record.Layout_In_Force().Find(field_id) != nullptr;
}

int data_code(CMessage& record)
{
    return has(record, DATA_CODE) ? static_cast<int>(record[DATA_CODE]) : 0;
}

// The beginning of the record's data, and how many of its bytes may be shown: it has no terminator of its own.
struct Data
{
    explicit Data(CMessage& record)
        : text(has(record, DATA_INFO) ? record[DATA_INFO].Get_Data_Ptr() : record.m_data),
          len(static_cast<int>(std::min<std::ptrdiff_t>(shown_bytes, record.m_data + record.Buffer_Size() - text)))
    {
    }

    const char* text;
    int len;
};

} // namespace

void qapi::Report_Wrong_Key_Class()
{
    COMMON_Put_Syslog_Message(1, "Error. key given as argument is not the correct class!");
}

void qapi::Report_Key_To_Delete_Missing(const char* key)
{
    COMMON_Put_Syslog_Message(1, "Error. Delete_Record- The key %s was not found", key);
}

void qapi::Report_Changed_Key_Missing(const char* key)
{
    COMMON_Put_Syslog_Message(1, "Error. Key changed was not found %s", key);
}

void qapi::Report_Same_Idx(CMessage& record)
{
    const Data data(record);
    COMMON_Put_Syslog_Message(1,
                              "Error. Record to be inserted/updated has the same idx (%d) of an existing one. Table "
                              "%d, Record =%.*s",
                              idx_of(record), data_code(record), data.len, data.text);
}

void qapi::Report_Same_Key(CMessage& record, int number, CMessage& existing)
{
    const Data data(record);
    COMMON_Put_Syslog_Message(1,
                              "Error. Record received to be inserted/updated has the same n key (%d) of an existing "
                              "one. Existing idx=%d, Table %d, Record =%.*s",
                              number, idx_of(existing), data_code(record), data.len, data.text);
}

void qapi::Report_Changed_Idx(CMessage& record)
{
    const Data data(record);
    COMMON_Put_Syslog_Message(1, "Error. Record updating has changed the idx=%d, Table=%d, Record=%.*s", idx_of(record),
                              data_code(record), data.len, data.text);
}

void qapi::Report_No_Record(int pos)
{
    LOG_Put_Err_Msg("Error. Record could not be retrieved. Record pos: %d.", pos);
}

void qapi::Report_Unknown_Action(const char* action)
{
    LOG_Put_Err_Msg("Error. Unhandled action when checking record actions. Action %s.", action);
}
