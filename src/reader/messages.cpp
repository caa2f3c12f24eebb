#include "reader/messages.h"

#include "reader/processed_log.h"
#include "tblproc/table_messages.h"

void qapi::Act_On_Message(int /*number*/, const ReceivedMessage& /*message*/) {}

int GlobalTables_SendTo_MessageReceived(int i_op)
{
    return i_op == DATA_INSERT_CHAR || i_op == DATA_UPDATE_CHAR || i_op == DATA_COPY_CHAR || i_op == DATA_DELETE_CHAR
               ? 1
               : 0;
}

int COMMON_Is_Processed_Record(CMessage* message, char* extra_data)
{
    return LOG_Is_Processed_Record((*message)[CABEZA].Get_Ptr(), extra_data);
}
