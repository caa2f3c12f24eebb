// How a client asks for tables, and how it learns that the primary ones have arrived. For the reader.
#pragma once

#include "message/table_base.h"

// Asks for all tables of a level: 213, then one table record a code, in ascending order. A table that is kept in a file
// and has records tells their number and their hash, so that just what differs is sent; all others are asked for as a
// whole. The primary level counts the tables that it asks for.
void TBLPROC_Send_Global_Tables_Subscription(int table_level);

// The same for all tables at once, without a count, the list of servers first; the rows' codes stay as they are.
// Nothing in the library calls it.
void TBLPROC_Send_Global_Tables_Subscription();

// The count of primary tables that are awaited.
void TBLPROC_Reset_Primary_Tables_Check();
void TBLPROC_Register_Ref_Table(int table_type);

// A table's end arrived. The last awaited one posts PRIMARY_TABLES_RECEIVED into the inbound ring, with the number of
// the session's connection.
void TBLPROC_Check_Referenced_Table(int table_type);

// The server's list of a table's records, in answer to a question by hash, is in the buffer of the views. With the last
// one the table takes the server's idx values, asks for what it lacks and drops what the server doesn't have. A list
// that wasn't asked for, or comes behind the last one or the table's end, changes nothing. Two codes of one type are
// asked for and listed one by one, and share the type's table: what no list has named by then goes, so a type that is
// asked for by hash has one code.
void TBLPROC_Process_Hash_Answer(int table_type, CTableBase* table, int is_the_last_answer);

// The end of a code's table arrived, so no list of it is awaited any more: the server has the same records.
void TBLPROC_Forget_Awaited_List(unsigned code);

// What a table tells the server while its list is worked off; the table's code is that of the list.
void TBLPROC_Send_Delete_For_Missing_Call_Back(unsigned int idx);
void TBLPROC_Send_Ask_For_Missing_Call_Back(int is_last_requirement, int num_of_records, const DLONG* env_crc32_ptr);

// All primary tables are there: asks for the stored messages, tells the servers and the host.
// `session/stored_messages.cpp`.
void TBLPROC_Primary_Tables_Received();
