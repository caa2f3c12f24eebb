// The files of the running log: which day it is, and the names of the old generations and of what stands beside it. No
// function here reports or fails: logging never stops the system, and a file that can't be renamed is written on.
#pragma once

#include <ctime>
#include <string>

// Takes the local date of the corrected clock. Returns 0 if it is the last day seen or the day before it, so that a
// correction of minutes back over midnight does not rotate a second time. Any other date becomes the last day seen,
// and the result is 1; so is the result of the first call. Any thread; cheap within one second.
int LOG_Check_Update_Last_Log_Date();

// 1 if the file was last written on `day` (week day, day, month, year; local time), or can't be looked at: then there
// is nothing to rotate.
int LOG_Is_File_Same_Date(const char* path, const std::tm& day);

// Moves every generation of `path` ("qapi.log", or with another name ahead of ".log" or "log") one number up, ends the
// fifth, and renames `path` itself to number 1.
void LOG_Rename_Log_Files(const char* path);

// The file of processed messages beside the log at `path`: "qapi.AB01.log" for the code "AB" and the type 1.
std::string LOG_create_ds_log_name(const std::string& path, const char* code, int log_type);

// Rotates unless `path` was last written on the last day seen.
void LOG_Check_Log_Files_Renaming(const char* path);
