// Messages that say all by their number.
#pragma once

#include "message_numbers.h"
#include "outbound/send_queue.h"

namespace qapi {

template <class Message> void Send_Empty(int number)
{
    Message message;
    message[MSG_NUMBER_FIELD] = number;
    COMMON_Put_Message_In_Send_Queue(&message, 5, nullptr, 0, nullptr);
}

} // namespace qapi

using qapi::Send_Empty;
