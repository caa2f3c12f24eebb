// What the library asks of the operating system and a test has to replace: clock, waiting, random bytes, host names,
// the wait for the disk.
// Everything else calls these through System(); a test installs a copy with some functions exchanged before it starts
// threads, and takes it out after they have ended.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <poll.h>
#include <string>
#include <sys/time.h>
#include <vector>

namespace qapi {

struct SystemCalls
{
    // Ticks since some fixed moment, monotonic, not moved by changes of the system clock; 100 a second as a rule.
    std::int64_t (*ticks)(int* ticks_per_second);

    // Wall clock, seconds since the epoch.
    std::int64_t (*wall_seconds)();

    // Waits through the whole span, less if a signal arrives. Returns what select returns: 0, or -1 after a signal.
    int (*sleep)(timeval span);

    // Waits until the condition is notified, at most `span`. Returns false when the span ran out.
    bool (*wait)(std::condition_variable& changed, std::unique_lock<std::mutex>& lock, timeval span);

    // Waits until one of the descriptors is ready, at most `span`; less if a signal arrives. Returns what ppoll
    // returns.
    int (*wait_ready)(pollfd* descriptors, unsigned count, timeval span);

    void (*random_bytes)(void* target, std::size_t count);

    // Texts of this machine's own addresses, in the resolver's order; false if the look-up failed. May take seconds.
    bool (*local_addresses)(std::vector<std::string>& texts);

    // Returns when the file's bytes are on the disk: what fdatasync returns.
    int (*sync_data)(int descriptor);
};

// The calls in force.
const SystemCalls& System();

// The real ones, to copy and change.
const SystemCalls& Real_System();

// Puts `calls` in force; null puts the real ones back. The object must outlive its use.
void Set_System(const SystemCalls* calls);

} // namespace qapi

using qapi::Real_System;
using qapi::Set_System;
using qapi::System;
using qapi::SystemCalls;
