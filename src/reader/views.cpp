#include "reader/views.h"

#include "field/field.h"
#include "records/sizes.h"

#include <algorithm>
#include <array>

constinit ProcessLifetime<ReceiveBuffer> qapi::The_Receive_Buffer([] { return new ReceiveBuffer; });

char* Glb_cur_msg_buffer()
{
    return The_Receive_Buffer->data();
}

namespace {

// A view is made when it is first used, which may be when a record lies in the buffer already: the number that a new
// record gets from its class must not take the place of the one that arrived.
template <class Record> Record* view_on_buffer()
{
    std::array<char, MSG_NUMBER_FIELD_SIZE> number{};
    std::copy_n(Glb_cur_msg_buffer(), number.size(), number.begin());
    auto* view = new Record(Glb_cur_msg_buffer());
    std::copy_n(number.begin(), number.size(), Glb_cur_msg_buffer());
    return view;
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): the name of a type
#define QAPI_DEFINE(view, record) constinit ProcessLifetime<record> view(view_on_buffer<record>);
QAPI_VIEWS(QAPI_DEFINE)
#undef QAPI_DEFINE
// NOLINTEND(bugprone-macro-parentheses)

int qapi::Received_Number()
{
    return (*Glb_cur_order_msg)[MSG_NUMBER_FIELD];
}
