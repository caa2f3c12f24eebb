// Property: whatever the order of operations, a ring shows the same records, counters and semaphore as a plain deque.
// Byte 0 gives the slots (1 to 8), then each pair of bytes is one operation and its amount.
#include "support/ring_model.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    RingModel model(1 + data[0] % 8);
    for (std::size_t i = 1; i + 1 < size; i += 2) {
        const std::string difference = model.Step(data[i], data[i + 1]);
        if (!difference.empty()) {
            std::fprintf(stderr, "%s (byte %zu)\n", difference.c_str(), i);
            std::abort();
        }
    }
    return 0;
}
