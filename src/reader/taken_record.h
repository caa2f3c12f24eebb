// The record that the host reads: one a process, selected by TakeMessage. A pointer into a mailbox, so the three
// variables are used under the mailboxes' lock.
#pragma once

#include "message/message.h"

extern CMessage* Glb_taken_message_ptr; // null for none
extern int Glb_taken_message_type;      // kind
extern int Glb_taken_global_table_type;

namespace qapi {

struct Kind
{
    int number = 0; // 0 for no kind
    int table_type = 0;

    friend constexpr bool operator==(const Kind&, const Kind&) = default;
};

// The kind that a name stands for; null is no name.
Kind Kind_Of(const char* message_type);

// The kind of the record that was taken last. Any thread.
Kind Taken_Kind();

// Copies the taken record, as far as both go; its spare bytes too, if both are of one length. False, and nothing
// happens, if there is none or it is of another kind by now. Any thread.
bool Copy_Taken_Record(CMessage& copy, const Kind& kind);

} // namespace qapi

using qapi::Copy_Taken_Record;
using qapi::Kind;
using qapi::Kind_Of;
using qapi::Taken_Kind;
