#include "market/support/manual_clock.h"

std::timespec ManualClock::wall() const
{
    const long long milliseconds = m_wall_at_start + m_now;
    return {.tv_sec = static_cast<std::time_t>(milliseconds / 1000),
            .tv_nsec = static_cast<long>(milliseconds % 1000) * 1'000'000};
}
