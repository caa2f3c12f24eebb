#include "outbound/pacing.h"

#include "mutex.h"
#include "qcapi/config.h"
#include "qcapi/support.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::int64_t microseconds_per_second = 1'000'000;
constexpr std::int64_t microseconds_per_millisecond = 1000;

constinit Mutex pacing_lock;
constinit Pacer the_pacer GUARDED_BY(pacing_lock);

std::int64_t divide_up(std::int64_t value, std::int64_t divisor)
{
    return (value + divisor - 1) / divisor;
}

// A negative number in the file has become a huge one.
std::int64_t configured_milliseconds()
{
    constexpr std::int64_t longest = std::numeric_limits<unsigned>::max();
    return std::clamp<std::int64_t>(static_cast<std::int64_t>(Glb_Send_Msg_Delay_Millisec), 0, longest);
}

// By the clock that no check corrects: a correction is no time that has passed.
PaceMoment current_moment()
{
    unsigned numerator = 0;
    unsigned denominator = 0;
    const std::int64_t seconds = COMMON_GetLocTime_Frc(&numerator, &denominator);
    const std::int64_t per_second = std::max(denominator, 1U);
    return {seconds * microseconds_per_second + numerator * microseconds_per_second / per_second,
            divide_up(microseconds_per_second, per_second)};
}

} // namespace

// Of the time that the clock shows to have passed, one step may not have: taken for real, it would let two messages out
// together whenever the clock ticks between them. A clock that was set back, or far ahead, costs one delay at most.
std::int64_t qapi::Pacer::Wait_For(PaceMoment now, std::int64_t delay)
{
    const std::int64_t passed = m_has_sent ? now.at - m_last_send - now.step : delay;
    const std::int64_t wait = delay - std::clamp<std::int64_t>(passed, 0, delay);
    m_has_sent = true;
    m_last_send = now.at + wait;
    return wait;
}

void qapi::Pace_Send()
{
    const std::int64_t delay = configured_milliseconds();
    if (delay == 0) {
        return;
    }
    std::int64_t wait = 0;
    {
        const MutexLock lock(pacing_lock);
        wait = the_pacer.Wait_For(current_moment(), delay * microseconds_per_millisecond);
    }
    if (wait > 0) {
        Do_mSleep(static_cast<unsigned>(divide_up(wait, microseconds_per_millisecond)));
    }
}
