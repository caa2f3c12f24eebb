// What tables tell of records and keys that don't fit.
#pragma once

#include "message/message.h"

namespace qapi {

void Report_Wrong_Key_Class();
void Report_Key_To_Delete_Missing(const char* key);
void Report_Changed_Key_Missing(const char* key);

// `record` is the one that comes in; `number` of a key, and the idx of the record that has it.
void Report_Same_Idx(CMessage& record);
void Report_Same_Key(CMessage& record, int number, CMessage& existing);
void Report_Changed_Idx(CMessage& record);

void Report_No_Record(int pos);
void Report_Unknown_Action(const char* action);

} // namespace qapi
