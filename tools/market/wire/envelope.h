// The envelope around a message (docs/wire_format.md), and its addressees.
#pragma once

#include "audience.h"

#include <cstddef>
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

// None if the payload isn't one: all its lengths must agree. Bytes behind the envelope are allowed. Codes lose their
// padding of zeros and blanks at the end, and empty ones are left out. A group is a fixed list, whose codes have the
// length of their kind, or has one element of any length; there may be several of a kind.
std::optional<Envelope> Take_Envelope(std::string_view payload);

inline constexpr std::size_t LONGEST_MESSAGE = 65535 - 19; // that an envelope can hold; frames hold less

// Appends the envelope of a message, without addressees: a client gets what is for it. False, with `out` as it is, for
// one above LONGEST_MESSAGE. Four characters of the machine count.
bool Append_Envelope(std::string& out, std::string_view message, std::uint16_t priority, std::string_view machine,
                     std::uint16_t type = 100);

// The far end's part in a clock check (869): stamps stages 3 and 4 of the message with `now`, the wall clock. False,
// with the message as it is, if it is none or not at stage 3.
bool Stamp_Clock_Check(std::string& message, const std::timespec& now);

} // namespace qm
