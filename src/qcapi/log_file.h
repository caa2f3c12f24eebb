// What the producers of log records need to know of the file that they end up in.
#pragma once

// True from LOG_Init to LOG_End, also while the file changes at midnight, so that no record of that moment is lost.
// Any thread, without a lock.
bool LOG_Is_Open();
