// The clock of dead-lines: the library's clock without the server's correction, so that a clock check, which may move
// the corrected one by hours, ends no waiting early or late.
#pragma once

#include "qcapi/support.h"

namespace qapi {

inline unsigned Transport_Seconds()
{
    unsigned fraction = 0;
    unsigned per_second = 0;
    return COMMON_GetLocTime_Frc(&fraction, &per_second);
}

} // namespace qapi

using qapi::Transport_Seconds;
