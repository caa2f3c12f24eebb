// Lets this process kill itself at a write to one of its record files: a moment between two writes, or inside one, that
// a kill from outside hardly ever meets.
#pragma once

#include <string>

namespace crash {

// At the so many-th write from now on, counted from 1. `moment` is "before" it, "behind" it, or "within" it. In the
// last case the writes across a border of two pages are counted alone, and of the one that is met the first page's part
// is in the file then: there the kernel may cut a write short whose process is killed.
void Die_At_Write(int number, const std::string& moment);

} // namespace crash
