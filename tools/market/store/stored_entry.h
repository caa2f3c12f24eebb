// A stored message as the bytes of an entry.
#pragma once

#include "store/message_store.h"

#include <optional>
#include <string>
#include <string_view>

namespace qm {

std::string Pack(const StoredMessage& message);

// None if the bytes aren't what Pack gives.
std::optional<StoredMessage> Unpack(std::string_view entry);

} // namespace qm
