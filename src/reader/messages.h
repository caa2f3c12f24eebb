// What becomes of a received message. The reader calls this with the message in the buffer of the views.
#pragma once

#include "message/message.h"

namespace qapi {

struct ReceivedMessage
{
    const char* source;  // identity of the connection it came from
    char* extra;         // 20 bytes: the beginning of its transport envelope
    unsigned connection; // number of that connection
};

// A client's message: acted on by its number, or dropped.
void Act_On_Message(int number, const ReceivedMessage& message);

} // namespace qapi

using qapi::Act_On_Message;
using qapi::ReceivedMessage;

// 1 for the operations of table records that hosts hear of: insert, update, copy, delete.
int GlobalTables_SendTo_MessageReceived(int i_op);

// 1 if the message was handled before. Writes the letter of its log type into its envelope.
int COMMON_Is_Processed_Record(CMessage* message, char* extra_data);
