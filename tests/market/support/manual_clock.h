// A clock of the market that stands until a test moves it.
#pragma once

#include "clock.h"

#include <atomic>

class ManualClock : public qm::Clock
{
public:
    [[nodiscard]] Time now() const override { return Time(m_now.load()); }
    [[nodiscard]] std::timespec wall() const override;

    void advance(Time by) { m_now += by.count(); }
    void set_wall(std::time_t seconds) { m_wall_at_start = seconds * 1000 - m_now; }

private:
    std::atomic<long long> m_now{1'000'000};                   // milliseconds
    std::atomic<long long> m_wall_at_start{1'768'477'400'000}; // with m_now at the beginning 2026-01-15 12:00:00 UTC
};
