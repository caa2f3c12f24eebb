#include "reader/taken_record.h"

#include "qcapi/message_names.h"
#include "qcapi/session.h"
#include "qcapi/support.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <span>

CMessage* Glb_taken_message_ptr = nullptr;
int Glb_taken_message_type = 0;
int Glb_taken_global_table_type = 0;

Kind qapi::Kind_Of(const char* message_type)
{
    Kind kind;
    kind.number = COMMON_Take_Message_Kind(message_type, &kind.table_type);
    return kind;
}

Kind qapi::Taken_Kind()
{
    const std::lock_guard lock(*The_Mailbox_Mutex);
    return {Glb_taken_message_type, Glb_taken_global_table_type};
}

bool qapi::Copy_Taken_Record(CMessage& copy, const Kind& kind)
{
    const ReportHold reports_wait;
    const std::lock_guard lock(*The_Mailbox_Mutex);
    if (Glb_taken_message_ptr == nullptr || kind != Kind{Glb_taken_message_type, Glb_taken_global_table_type}) {
        return false;
    }
    const CMessage& taken = *Glb_taken_message_ptr;
    char* spare = copy.m_data + copy.m_data_len;
    std::memset(spare, 0, static_cast<std::size_t>(copy.Buffer_Size() - copy.m_data_len));
    if (taken.m_data_len == copy.m_data_len) {
        std::memcpy(spare, taken.m_data + taken.m_data_len, MESSAGE_EXTRA_USED_SIZE);
    }
    copy.Update_Message_Info(std::span<const char>(taken.m_data, static_cast<std::size_t>(taken.m_data_len)));
    return true;
}
