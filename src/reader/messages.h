// What becomes of a received message. The reader calls this with the message in the buffer of the views.
//
// A message of a kind that hosts receive (reader/mailboxes.h) is dropped if it was handled before, and passed over if
// it isn't wanted; else it is put into its mailbox and announced. Changes of tables are announced unasked, if the host
// has a mailbox for the table, and brought to the replicas behind that: the host hears of a deletion while the replica
// still has the record. All other messages are steps of the session, or of no interest.
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

// A server's, after Connect: orders, chats and back-office messages are all new and wanted, a login and requests for
// stored messages are answered, the rest is dropped, changes of tables too.
void Act_As_Server(int number, const ReceivedMessage& message);

} // namespace qapi

using qapi::Act_As_Server;
using qapi::Act_On_Message;
using qapi::ReceivedMessage;

// 1 for the operations of table records that hosts hear of: insert, update, copy, delete.
int GlobalTables_SendTo_MessageReceived(int i_op);

// 1 if the message was handled before. Writes the letter of its log type into its envelope.
int COMMON_Is_Processed_Record(CMessage* message, char* extra_data);
