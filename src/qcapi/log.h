// The running log "qapi.log": text lines and raw copies of messages, written by one thread from the ring Glb_Log_Mss,
// so that a caller's cost is a copy into a ring slot. One file a day, five old generations "qapi1.log" to "qapi5.log".
//
// Every record starts with 32 bytes and ends with a newline; integers are little-endian:
//
//   offset width  field
//        0     8  log_date           YYYYMMDD, local time of the corrected clock
//        8     6  log_hour           HHMMSS
//       14     1                     message: priority (byte 6 of the extra data); text: 0
//       15     1                     message: first character of the source's identity; text: 0
//       16     4  pkt_length         32 + compressed_length + 1
//       20     4  data_length        message: length of the packet; text: 0
//       24     4  compressed_length  bytes between this header and the newline
//       28     4  status             bit 0 set: message; 0: text
//       32        body, then one newline
//
// A text body is the text, without terminator. A message body is a label of 72 bytes, zero-padded, 16 zero bytes, and
// the packet; what does not fit a ring record is cut, so a packet keeps 3179 bytes.
#pragma once

#include <cstddef>

inline constexpr const char* QAPI_LOG_FILE_NAME = "qapi.log";

inline constexpr int LOG_TEXT_HEADER_LENGTH = 32;
inline constexpr int LOG_LABEL_LENGTH = 72;
inline constexpr int LOG_MESSAGE_PREFIX_LENGTH = 88; // label and zeros ahead of the packet
inline constexpr int LOG_GENERATIONS = 5;

// Opens `dir`/"qapi.log" for appending, after rotating it if it was last written on another day. `name` is not looked
// at. The file is created for its owner alone: the configuration's lines, passwords among them, stand in it. A log
// that can't be opened means no log. Before threads start.
void LOG_Init(const char* name, const char* dir);

// Thread function of the log thread; ends on TCP_SHUTTING_DOWN. Leaves the file open for what comes after it.
void* LOG_Process(void* unused);

// Writes what waits in Glb_Log_Mss, in the calling thread. For the times when no log thread runs.
void LOG_Write_Pending();

// Writes what waits and closes the log, and before it the files of processed messages. Safe to run twice.
void LOG_End();

// Queues a message record. `label` is cut at 72 bytes; `source` and `extra` (20 bytes) may be null. Any thread.
void LOG_Put_Msg(const char* label, const char* data, int len, const char* source, int unused, const char* extra);

// Queues a text record. A format that begins with "-" is written without it; any other text gets the prefix "ER-". A
// text too long for a ring record is cut. Any thread.
void LOG_Text(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Date (YYYYMMDD and a zero, if not null) and hour (HHMMSS and a zero) of the corrected clock in local time.
void LOG_Get_Current_time(char* time_out, char* date_out);
