// What the producers of log records need to know of the file that they end up in.
#pragma once

// True from LOG_Init to LOG_End, also while the file changes at midnight, so that no record of that moment is lost.
// Any thread, without a lock.
bool LOG_Is_Open();

// Writes what waits if it is much and no log thread runs to write it: behind LogoutForce a host may go on for long.
void LOG_Write_If_Much_Waits();
