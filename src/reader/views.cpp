#include "reader/views.h"

#include "field/field.h"

constinit ProcessLifetime<ReceiveBuffer> qapi::The_Receive_Buffer([] { return new ReceiveBuffer; });

char* Glb_cur_msg_buffer()
{
    return The_Receive_Buffer->data();
}

// NOLINTBEGIN(bugprone-macro-parentheses): the name of a type
#define QAPI_DEFINE(view, record)                                                                                      \
    constinit ProcessLifetime<record> view([] { return new record(Glb_cur_msg_buffer()); });
QAPI_VIEWS(QAPI_DEFINE)
#undef QAPI_DEFINE
// NOLINTEND(bugprone-macro-parentheses)

int qapi::Received_Number()
{
    return (*Glb_cur_order_msg)[MSG_NUMBER_FIELD];
}
