#include "outbound/composed.h"

// NOLINTBEGIN(bugprone-macro-parentheses): the name of a type
#define QAPI_DEFINE(object, record) constinit ProcessLifetime<record> object([] { return new record; });
QAPI_COMPOSED(QAPI_DEFINE)
#undef QAPI_DEFINE
// NOLINTEND(bugprone-macro-parentheses)

CMessage* Glb_cur_message_ptr = nullptr;

int Locate_Record(char* /*message_type*/, int* /*message_type_code*/)
{
    return 15;
}
