// Received messages as the host reads them: take, read by name, finish.
#include "qcapi.h"

#include "little_endian.h"
#include "log.h"
#include "message_names.h"
#include "outbound/composed.h"
#include "reader/field_access.h"
#include "reader/mailboxes.h"
#include "reader/messages.h"
#include "reader/processed_log.h"
#include "reader/taken_record.h"
#include "session.h"
#include "support.h"
#include "tblproc/replica_lock.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>

namespace {

// Around each reading of the taken record: its place may be taken by another record, and its codes lead into replicas.
// Reports come when both locks are gone.
class SCOPED_CAPABILITY ReadingLock
{
public:
    ReadingLock() ACQUIRE(The_Replica_Mutex) : m_mailboxes(*The_Mailbox_Mutex) { The_Replica_Mutex.lock(); }
    ~ReadingLock() RELEASE() { The_Replica_Mutex.unlock(); }
    ReadingLock(const ReadingLock&) = delete;
    ReadingLock& operator=(const ReadingLock&) = delete;

private:
    ReportHold m_reports_wait;
    std::lock_guard<std::mutex> m_mailboxes;
};

const char* text_of(const char* text)
{
    return text != nullptr ? text : "";
}

int report_not_found(const char* message_type, unsigned message_num)
{
    COMMON_Put_Syslog_Message(QAPI_ERR_IMPROPER_OPERATION, QAPI_ERR_RECORD_NOT_FOUND_TXT, message_type,
                              static_cast<int>(message_num));
    return QAPI_ERR_RECORD_NOT_FOUND;
}

// ---- Fields, under the lock ------------------------------------------------------------------------------------

// Of the taken record; null, behind a report, if there is none.
CField* field_of(const char* name)
{
    CField* field = nullptr;
    return COMMON_Get_Field(name, &field) == 0 ? field : nullptr;
}

// The first `size` bytes of the field, zeros where it is shorter.
void copy_bytes(CField& field, char* to, int size)
{
    const char* from = field.Get_Ptr();
    const int there = std::max(std::min({size, field.m_len, field.Readable(from)}), 0);
    std::memcpy(to, from, static_cast<std::size_t>(there));
    std::memset(to + there, 0, static_cast<std::size_t>(size - there));
}

void copy_with_zero(CField& field, char* to)
{
    copy_bytes(field, to, field.m_len);
    to[field.m_len] = '\0';
}

template <class Number> Number number_in(CField& field)
{
    std::array<char, sizeof(Number)> bytes;
    copy_bytes(field, bytes.data(), static_cast<int>(bytes.size()));
    return load_le<Number>(bytes.data());
}

// The walk stands at the field: its name goes to the end of the text, unless the text tells of an element already.
void write_name(CField& field, char* cursor)
{
    if (field.m_index != 0) {
        field.m_index = 0;
    } else {
        std::strcpy(cursor, field.m_field_name); // the walk leaves room for the longest
    }
}

using Shown = std::array<char, 4096>; // the value of one field as text

void show(CField& field, Shown& text)
{
    switch (field.m_type) {
    case FLD_SHORT:
        std::snprintf(text.data(), text.size(), "%ld", long{number_in<std::int16_t>(field)});
        break;
    case FLD_UNSIGNED_SHORT:
        std::snprintf(text.data(), text.size(), "%hu", number_in<std::uint16_t>(field));
        break;
    case FLD_UNSIGNED_INT:
        std::snprintf(text.data(), text.size(), "%u", number_in<std::uint32_t>(field));
        break;
    case FLD_INT:
        std::snprintf(text.data(), text.size(), "%d", number_in<std::int32_t>(field));
        break;
    default: {
        const int shown = std::min(field.m_len, static_cast<int>(text.size()) - 1);
        copy_bytes(field, text.data(), shown);
        text[static_cast<std::size_t>(shown)] = '\0';
        break;
    }
    }
}

} // namespace

int CQcApi::TakeMessage(char* message_type, unsigned int message_num)
{
    if (initialize_flag == QAPI_NOT_INITIALIZED) {
        return QAPI_ERR_NOT_INITIALIZED_YET;
    }
    const Kind kind = Kind_Of(message_type);
    const Mailbox* mailbox = Mailbox_Of(kind);
    CMessage* record = nullptr;
    {
        const ReportHold reports_wait;
        const std::lock_guard lock(mutex_lock);
        record = mailbox != nullptr ? mailbox->find(message_num) : nullptr;
        Glb_taken_message_type = kind.number;
        Glb_taken_global_table_type = kind.table_type;
        Glb_taken_message_ptr = record;
    }
    if (mailbox == nullptr) {
        return Report_Illegal_Type(message_type);
    }
    return record != nullptr ? 0 : report_not_found(message_type, message_num);
}

int CQcApi::FinishMessageProcess(char* message_type, unsigned int message_num)
{
    if (initialize_flag == QAPI_NOT_INITIALIZED) {
        return QAPI_ERR_NOT_INITIALIZED_YET;
    }
    LOG_Text("FinishMessageProcess called with message_type=\"%s\" and message_num=%u", text_of(message_type),
             message_num);
    const Mailbox* mailbox = Mailbox_Of(Kind_Of(message_type));
    if (mailbox == nullptr) {
        return Report_Illegal_Type(message_type);
    }
    const bool is_tracked = mailbox->kind.number != MSS_TABLA_GLOBAL;
    // Found, read, removed and noted in one hold: once it is gone, its place is the next record's; and the reader
    // clears the mailboxes before it ends, so a Logout closes no file before all that was found there is written.
    bool was_there = false;
    std::shared_ptr<qapi::ProcessedFile> to_wait_for;
    {
        const ReportHold reports_wait;
        const std::lock_guard lock(mutex_lock);
        qapi::Header header;
        was_there = mailbox->take_out(message_num, header);
        if (was_there && is_tracked) {
            to_wait_for = qapi::Log_Note_Finished(header.data());
        }
    }
    if (!was_there && is_tracked) { // a later change of a table may have replaced its record: no mistake of the host
        return report_not_found(message_type, message_num);
    }
    qapi::Log_Wait_For_Disk(to_wait_for);
    return 0;
}

int CQcApi::GetField(char* field_name, char* data_copy)
{
    const ReadingLock lock;
    CField* field = field_of(field_name);
    if (field == nullptr) {
        *data_copy = '\0';
        return 0;
    }
    copy_with_zero(*field, data_copy);
    return field->m_type;
}

int CQcApi::GetNextField(char* field_name, char* data_copy)
{
    const ReadingLock lock;
    CField* field = nullptr;
    char* cursor = field_name;
    if (COMMON_Get_Next_Field(&cursor, &field) != 0) {
        *data_copy = '\0';
        return 0;
    }
    copy_with_zero(*field, data_copy);
    write_name(*field, cursor);
    return field->m_type;
}

char* CQcApi::GetSField(char* field_name, char* /*data_copy*/)
{
    static thread_local Shown text;
    text[0] = '\0';
    const ReplicaLock lock;
    CField* field = nullptr;
    if (COMMON_Get_SField(field_name, &field) == 0) {
        show(*field, text);
    }
    return text.data();
}

int CQcApi::GetFieldBSTR(char* field_name, char* data_copy)
{
    const ReadingLock lock;
    CField* field = field_of(field_name);
    if (field == nullptr) {
        return 0;
    }
    copy_with_zero(*field, data_copy);
    return field->m_len;
}

int CQcApi::GetFieldDATE(char* field_name, char* date_copy)
{
    constexpr int date_len = 8;
    const ReadingLock lock;
    CField* field = field_of(field_name);
    if (field == nullptr) {
        return 0;
    }
    copy_bytes(*field, date_copy, date_len);
    return date_len;
}

long CQcApi::GetFieldLONG(char* field_name)
{
    const ReadingLock lock;
    CField* field = field_of(field_name);
    return field != nullptr ? static_cast<int>(*field) : 0;
}

int CQcApi::IsDefined(char* field_name)
{
    const ReadingLock lock;
    if (Glb_taken_message_ptr == nullptr) {
        Report_No_Record_Taken();
        return 0;
    }
    if (Glb_taken_message_ptr->Find_Field(text_of(field_name)) == nullptr) {
        Report_No_Field("There is not the field", text_of(field_name), *Glb_taken_message_ptr);
        return 0;
    }
    return 1;
}
