// What the library queues for its server, without a connection: a session is opened by hand, and the messages are taken
// out of the outbound ring and out of their envelopes.
#pragma once

#include "arrm.h"
#include "outbound/send_queue.h"
#include "support/taken_record.h"
#include "support/wire_codec.h"

#include <string>
#include <vector>

namespace sent {

inline constexpr unsigned connection = 7;

// The envelopes in the order in which they were queued, and none afterwards.
inline std::vector<WireEnvelope> take_envelopes()
{
    std::vector<WireEnvelope> envelopes;
    while (Glb_Send_Mss->Is_Any_Pkt() != 0) {
        envelopes.push_back(TakeEnvelope(TakeRecord(*Glb_Send_Mss).data));
    }
    return envelopes;
}

inline std::vector<std::string> take_messages()
{
    std::vector<std::string> messages;
    for (const WireEnvelope& envelope : take_envelopes()) {
        messages.push_back(envelope.message);
    }
    return messages;
}

// The first three characters of each.
inline std::vector<std::string> take_numbers()
{
    std::vector<std::string> numbers;
    for (const std::string& message : take_messages()) {
        numbers.push_back(message.substr(0, 3));
    }
    return numbers;
}

} // namespace sent
