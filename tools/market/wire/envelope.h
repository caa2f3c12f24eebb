// The envelope around a message (docs/wire_format.md), and its addressees.
#pragma once

#include "audience.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace qm {

inline constexpr std::uint16_t PRIORITY_OF_MESSAGES = 60;
inline constexpr std::uint16_t PRIORITY_OF_PRICES = 80; // from here on a client keeps a log of its own for them

struct Envelope
{
    std::uint16_t type = 100; // 1 in a clock check
    std::uint16_t priority = PRIORITY_OF_MESSAGES;
    std::string machine{};      // who sends
    Audience audience{};        // PU machines, SU branches, IN institutions, XP excluded; the rest is passed over
    std::string_view message{}; // lies in the payload
};

// None if the payload isn't one. Bytes behind the envelope are allowed. Codes lose their padding of zeros and blanks.
std::optional<Envelope> Take_Envelope(std::string_view payload);

// Appends the envelope of a message, without addressees: a client gets what is for it.
void Append_Envelope(std::string& out, std::string_view message, std::uint16_t priority, std::string_view machine,
                     std::uint16_t type = 100);

// The far end's part in a clock check (869): stamps stages 3 and 4 of the message with `now`, the wall clock. False if
// the message is none.
bool Stamp_Clock_Check(std::string& message, const std::timespec& now);

} // namespace qm
