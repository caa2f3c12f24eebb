// Which received messages the host has finished: the numbers from which the next log request goes on, and the pending
// messages of which repeats are refused. Numbers are kept by data server and by log type:
//
//   type  letter  messages
//      0     A    that are persistent
//      1     B    others of a priority up to 79
//      2     C    others
//
// What is known is in memory: it begins with the process, so a message that was finished before may come again. A
// message without a number (0) is neither pending nor counted.
//
// `header` points to a message's CABEZA, 80 bytes. Any thread, but where a line says otherwise.
#pragma once

inline constexpr int LOG_TYPES = 3;

// Knows the configured servers and nothing of their messages. Before threads start.
void LOG_Msg_Init();

// One server that became known later, by its index in glb_dss. Returns 1. For the reader.
int LOG_DS_Files_Init(int ds_index);

// 1 if the message needs no handling: a copy of it is pending, or its server is unknown. Writes the letter of its type
// into its field LOG. `extra` is the beginning of its transport envelope, or null.
int LOG_Is_Processed_Record(void* header, char* extra);

// The message is about to be given to the host.
void LOG_Register_Record(const char* header);

// The message is done: `finished` 1 by the host, 0 if it was never offered.
void LOG_Update_Last_Proc_Message(const char* header, int finished);

// The date (8 bytes) and number up to which all messages are finished; returns the highest number that was received. An
// index or type out of range gives 1 and leaves both alone.
unsigned LOG_Get_Last_Processed_Message(int ds_index, int log_type, char* date, unsigned long* last_proc);

// There is no store of sent messages: 1 for a number, 0 for 0, and nothing filled in.
int LOG_Load_Record(char* record, int* len, unsigned number);
