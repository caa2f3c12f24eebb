// Fields by name, of the record that the host has taken and of the message that it composes. All return 0 with the
// field, or a code behind a report. A null name is an empty one.
//
// A path leads into the replicas, so the caller holds ReplicaLock until it is done with the field; for the taken record
// it holds CQcApi::mutex_lock as well, taken before that and behind a ReportHold.
#pragma once

#include "message/message.h"

// Of the taken record: 23 without one, 16 for a field that it doesn't have. 24, without a report, for three fields that
// a chat message doesn't have and hosts ask every message for.
int COMMON_Get_Field(const char* name, CField** field);

// The field behind the one that *cursor names, as CMessage::Next_Field: 23 without a record, 16 at the end, which is
// not reported.
int COMMON_Get_Next_Field(char** cursor, CField** field);

// Of the message that is being composed: 16 for a field that it doesn't have, and, without a report, if there is none.
// The two are alike.
int COMMON_Get_SField(const char* name, CField** field);
int COMMON_Get_RField(const char* name, CField** field);

namespace qapi {

// Reports a name that is no kind, or none that the operation takes; null is an empty name. Returns 15.
int Report_Illegal_Type(const char* message_type);

// Reports that no record is taken. Returns 23.
int Report_No_Record_Taken();

// Reports a field that the record doesn't have: "TEXT (name) in NAME OF THE MESSAGE message".
void Report_No_Field(const char* text, const char* name, CMessage& record);

} // namespace qapi

using qapi::Report_Illegal_Type;
using qapi::Report_No_Field;
using qapi::Report_No_Record_Taken;
