// The names of the message kinds. The interface works by name; all three columns are accepted, in any case.
#pragma once

#include "message_numbers.h"

inline constexpr int Glb_Old_Names = 0; // column of the names that callbacks use
inline constexpr int Glb_DFN_Names = 1; // long Spanish names
inline constexpr int Glb_English_Names = 2;

inline constexpr int ARRAY_MSG_NAMES_SIZE = 25;
inline constexpr int ARRAY_MSG_NAMES_DIMENSION = 3;
inline constexpr int QAPI_GLOBAL_TABLE_SIZE = 6;

// The message kinds: number and names, row by row.
extern const int QAPI_Messages_Codes[ARRAY_MSG_NAMES_SIZE];
extern const char* const QAPI_Messages_Names[ARRAY_MSG_NAMES_SIZE][ARRAY_MSG_NAMES_DIMENSION];

// The table kinds, all of message MSS_TABLA_GLOBAL: table type and names.
extern const int QAPI_Global_Table_Types[QAPI_GLOBAL_TABLE_SIZE];
extern const char* const QAPI_Global_Table_Names[QAPI_GLOBAL_TABLE_SIZE][ARRAY_MSG_NAMES_DIMENSION];

// The kind that a name stands for, 0 if none. `global_table_type`, if not null, receives -1 for a message, the table
// type for a table kind (888), and stays as it was for an unknown name.
int COMMON_Take_Message_Kind(const char* message_type, int* global_table_type);

// A kind's name in the configured language, or "Undefined <%d>" in a buffer of the calling thread.
const char* COMMON_Get_Message_Name(int code);
