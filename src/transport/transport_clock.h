// The clock of dead-lines: the library's clock without the server's correction, so that a clock check, which may move
// the corrected one by hours, ends no waiting early or late.
#pragma once

#include "qcapi/support.h"

#include <algorithm>
#include <limits>

namespace qapi {

inline unsigned Transport_Seconds()
{
    unsigned fraction = 0;
    unsigned per_second = 0;
    return COMMON_GetLocTime_Frc(&fraction, &per_second);
}

// The longer of `longest` and the seconds from `before` (0 for never) to `now`.
inline short Longer_Silence(short longest, unsigned before, unsigned now)
{
    constexpr unsigned most = std::numeric_limits<short>::max();
    const unsigned silence = before != 0 && now > before ? std::min(now - before, most) : 0;
    return std::max(longest, static_cast<short>(silence));
}

} // namespace qapi

using qapi::Longer_Silence;
using qapi::Transport_Seconds;
