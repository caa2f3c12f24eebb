// What a fuzz target states must hold; if it does not, the run ends and the input is kept.
#pragma once

#include <cstdlib>

inline void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}
