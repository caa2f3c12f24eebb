// What others than the log thread need to know of the running log's file.
#pragma once

#include <string>

// True from LOG_Init to LOG_End, also while the file changes at midnight, so that no record of that moment is lost.
// Any thread, without a lock.
bool LOG_Is_Open();

// Writes what waits if it is much and no log thread runs to write it: behind LogoutForce a host may go on for long.
void LOG_Write_If_Much_Waits();

// The path of the running log, also of one that can't be opened; empty before LOG_Init and behind LOG_End.
std::string LOG_Path();

namespace qapi {

// What LOG_End closes beside the running log. Installed by the floor above.
void Set_Log_End_Sink(void (*close_files)());

} // namespace qapi

using qapi::Set_Log_End_Sink;
