// What is done to all tables together: at the start of a session, and when its connection is gone.
#pragma once

#include "tblproc/global_tables.h"

#include <mutex>
#include <span>

// Brings the rows of G_table_id_equivalence, the tables that follow them and the codes that are announced to the state
// before any subscription. Before the threads of a session start.
void TBLPROC_Init_Tables();

// Opens the files of the tables that are kept in some, once in the life of the process, in the working directory as it
// is then; and loads them, if the range of idx values is a new one. A table whose file doesn't open is told of and
// stays in memory. Returns whether the last one opened, 0 after the first call. For the reader.
int TBLPROC_Load_Persistent_Files(unsigned int min, unsigned int max);

// What servers do with their tables when they start and stop. A client's tables are cleared with the connection, and
// nothing of them is published: these do nothing.
void TBLPROC_Clean_Tables();
void TBLPROC_Send_To_Dgi_Global_Tables();
void TBLPROC_Send_To_DGI_Persis_Tables();
void TBLPROC_Send_To_DS_Persis_Tables();

namespace qapi {

// Gives a table the code and the flags of a type: those of row 0 for a number that is no type. Returns 0.
int Set_Table_Type(const GlobalTable& table, int table_type_id);

// Gives the mailboxes their flags. Before the threads of a session start.
void Flag_Mailboxes();

// The tables whose records go with the connection, in the order in which they are cleared: all mailboxes, and the
// replicas that aren't kept in files. The others stay, and are brought up to date when they are next subscribed.
std::span<const TableId> Tables_Of_The_Connection();

// Clears them, each under its lock: mailboxes under that which is given, replicas under their own. For the reader, or
// when no thread runs. Reports wait until the lock is gone.
void Clear_Tables_Of_The_Connection(std::mutex& mailbox_mutex);

// Takes the files from their tables, so that the next load opens them again. While no session runs.
void Forget_Table_Files();

} // namespace qapi

using qapi::Clear_Tables_Of_The_Connection;
using qapi::Flag_Mailboxes;
using qapi::Forget_Table_Files;
using qapi::Tables_Of_The_Connection;
