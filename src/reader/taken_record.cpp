#include "reader/taken_record.h"

#include "qcapi/message_names.h"

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
    return {Glb_taken_message_type, Glb_taken_global_table_type};
}

bool qapi::Copy_Taken_Record(CMessage& /*copy*/)
{
    return false;
}
