// The pause between two messages of the host, as send_msg_delay_millisec asks for it.
#pragma once

#include <cstdint>

namespace qapi {

// A moment of a clock that moves in steps: the true time is less than a step behind it. Microseconds.
struct PaceMoment
{
    std::int64_t at;
    std::int64_t step;
};

// Keeps the moments of two sends apart. Belongs to one thread at a time.
class Pacer
{
public:
    // How long to wait before the send that is due now, from 0 to the delay; microseconds.
    std::int64_t Wait_For(PaceMoment now, std::int64_t delay);

private:
    bool m_has_sent = false;
    std::int64_t m_last_send = 0; // when it went, or was to go
};

// Waits in the calling thread until the next message may go. Without a configured delay it does nothing.
void Pace_Send();

} // namespace qapi

using qapi::Pace_Send;
using qapi::PaceMoment;
using qapi::Pacer;
