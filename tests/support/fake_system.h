// Fakes for the operating-system seam, in force while the object lives. Time moves only by the test's hand, or by the
// waits that the code under test asks for; no wait really waits.
#pragma once

#include "system_seam.h"

#include <atomic>
#include <vector>

class FakeSystem
{
public:
    static constexpr int ticks_per_second = 100;

    explicit FakeSystem(std::int64_t wall_seconds = 1'700'000'000);
    ~FakeSystem();
    FakeSystem(const FakeSystem&) = delete;
    FakeSystem& operator=(const FakeSystem&) = delete;

    std::atomic<std::int64_t> ticks{1'000'000};
    std::atomic<std::int64_t> wall;

    // Both clocks move on.
    void advance_seconds(std::int64_t seconds);

    // What was asked to sleep or wait for, in order, in microseconds.
    [[nodiscard]] std::vector<std::int64_t> waits() const;

    SystemCalls calls;
};
