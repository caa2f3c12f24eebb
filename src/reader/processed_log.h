// Which received messages the host has finished: the numbers from which the next log request goes on, and the pending
// messages of which repeats are refused. Numbers are kept by data server and by log type:
//
//   type  letter  messages
//      0     A    that are persistent
//      1     B    others of a priority up to 79
//      2     C    others
//
// What is known stands in memory and, while there is a running log, in three files a server beside it, so that it
// outlives the process: docs/file_formats.md. A message without a number (0) is neither pending nor counted nor
// written.
//
// `header` points to a message's CABEZA, 80 bytes. Any thread, but where a line says otherwise.
#pragma once

#include "mutex.h"

#include <memory>

inline constexpr int LOG_TYPES = 3;

// Opens the files of all configured servers and takes up what they know; nothing is pending. A server whose files can't
// be opened, or whose code can't stand in a file name, is reported and left out: its messages need no handling, those
// of the others go on. From the first pass on the files are closed when the process exits. Before threads start.
void LOG_Msg_Init();

// The same for one server, by its index in glb_dss, while others finish messages. 1, or 0 behind a report. For the
// reader.
int LOG_DS_Files_Init(int ds_index);

namespace qapi {
// Closes all files and forgets all servers; LOG_End runs it.
void Log_Close_Files();
} // namespace qapi

// 1 if the message needs no handling: a copy of it is pending, it was finished on its day or a later one, or its server
// is unknown. Writes the letter of its type into its field LOG. `extra` is the beginning of its transport envelope, or
// null.
int LOG_Is_Processed_Record(void* header, char* extra);

// The message is about to be given to the host.
void LOG_Register_Record(const char* header);

// The message is done: `finished` 1 by the host, 0 if it was never offered. When it returns, the system has what the
// files say of it; with sync_files and `finished` 1, the disk.
void LOG_Update_Last_Proc_Message(const char* header, int finished);

namespace qapi {
class ProcessedFile;

// Guards all that is known of processed messages, and their files.
extern constinit Mutex L_proc_messages;

// The two halves of that for a message that the host has finished. The first may be called under a lock, inside a
// ReportHold; it returns the file if the disk is to be waited for, else null. The second is called under no lock.
std::shared_ptr<ProcessedFile> Log_Note_Finished(const char* header);
void Log_Wait_For_Disk(const std::shared_ptr<ProcessedFile>& file);
} // namespace qapi

using qapi::L_proc_messages;

// Writes a line into the running log if messages are pending. For the reader, when their records went with the
// connection: they hold the numbers up from then on.
void LOG_Tell_Pending();

// The date (8 bytes) and number up to which all messages are finished; returns the highest number that was received. An
// index or type out of range gives 1 and leaves both alone.
unsigned LOG_Get_Last_Processed_Message(int ds_index, int log_type, char* date, unsigned long* last_proc);

// There is no store of sent messages: 1 for a number, 0 for 0, and nothing filled in.
int LOG_Load_Record(char* record, int* len, unsigned number);
