// Record files: each record of a persistent table stands in a numbered slot of a file of its own, so that a new process
// finds the table again and a change costs two small writes, a third where its slot lies on two pages.
// docs/file_formats.md has the layout to the byte.
//
//   file_d          the file: reads and writes at positions, reading ahead
//   pers_d          a block of tagged items at a position
//   file_header     the block at the file's start: kind, counters, distance of the slots
//   record_data     the two blocks of a slot: record header and record data
//   record_kinds    one class for each kind of file, from one table of rows
//   pers_file       CPersFile: the file as a table uses it
//   table_pers_file the same behind TableFile
//
// One thread at a time uses a file. Whatever a call has written survives the end of the process, however it comes; what
// a power cut takes is up to the system, unless the configuration says sync_files.
#pragma once

// Versions of a record's layout. A record whose version is another than its kind's is rewritten when it is read.
inline constexpr int PERSIS_FIRST_VERSION = 100;
inline constexpr int PERSIS_VERSION_CRC32 = 101;
inline constexpr int PERSIS_VERSION_ENV_CRC32 = 102; // before it, the identity has 4 bytes
inline constexpr int PERSIS_VERSION_FACTRIESGO = 103;
inline constexpr int PERSIS_VERSION_PENDCOBRANZA = 104;
inline constexpr int PERSIS_VERSION_INDICATIVES = 105;
inline constexpr int PERSIS_VERSION_CUPOSXDIA = 106;
inline constexpr int PERSIS_VERSION_PRIMARYUSER = 107;
inline constexpr int PERSIS_VERSION_CONFCUPOS = 108;

inline constexpr int PERSIS_BUFFER_MAX_SIZE = 3300; // bytes of the items of a block, and so of a record's value

// Name, and errno.
inline constexpr const char* PERSIS_FILE_ERROR = "The file \"%s\" could not be opened, error = %u\n";

// Who is told of errors: a text that the function may write into, and a level. Null: they become reports of code 1.
void PERSIS_SetErrFunction(void (*function)(char* text, int level));

// Tells. The text is cut at 511 characters.
void PERSIS_Report_Error(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Writes the values of the live records of any record file, one behind the other and nothing else, into
// `output_file_name`, or if that is null beside the file with "_plain" behind its name. Tells on standard output what
// it did. Returns 1, or 0 if it failed.
int PERSIS_Export(const char* pers_file_name, const char* output_file_name);
