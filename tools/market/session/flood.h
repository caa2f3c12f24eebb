// Orders at the speed of the connection, for measurements: frames that are built once and sent over and over. They bear
// no number, so a client neither counts nor resumes by them, and the market doesn't store them.
#pragma once

#include "clock.h"

#include <cstdint>

namespace qm {

class Client;

// Everything else for this client waits until they are out. In the modes that compress or encrypt, frames depend on
// those before them, and each is built for itself.
void Start_Flood(Client& client, int market, std::uint64_t count, const Clock& clock);

} // namespace qm
