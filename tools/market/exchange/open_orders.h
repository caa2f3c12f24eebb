// The orders that were open when a market stopped, from the messages that it has stored: what was placed, on whichever
// day, less what was traded and withdrawn.
#pragma once

#include "audience.h"
#include "store/message_store.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qm {

struct OrderLeftOpen
{
    Party sender{};
    std::string message{}; // places what is left of it
};

// In the order of their time. Placed anew in that order they don't meet each other, since they didn't then.
std::vector<OrderLeftOpen> Orders_Left_Open(const MessageStore& store);

// The number of the last trade that both parties were told, 0 for none.
std::uint32_t Last_Trade_Number(const MessageStore& store);

} // namespace qm
