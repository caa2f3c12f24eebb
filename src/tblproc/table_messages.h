// Applies table messages (888) to the replicas. For the reader, with the message in the buffer of the views; each
// change happens under the replicas' lock.
//
//   offset width  field
//        0     3  MSG_NUMBER_FIELD  "888"
//        3     1  I_OP              the operation, a letter
//        4     2  DATA_CODE         the table's code
//        6     2  REC_NUM           elements, where there are several
//        8     2  FLAGS
//       10     4  REC_IDX           the record's idx
//       14     4  CRC32             identity of the record
//       18     4  ENVIRONMENT
//       22        DATA_INFO         the record, up to 2800 bytes
#pragma once

#include "global.h"

#include <cstdint>

inline constexpr char DATA_INSERT_CHAR = 'I';
inline constexpr char DATA_COPY_CHAR = 'C';
inline constexpr char DATA_UPDATE_CHAR = 'A';
inline constexpr char DATA_DELETE_CHAR = 'B';
inline constexpr char DATA_RANGE_CHAR = 'g';
inline constexpr char DATA_END_TRANS_CHAR = 'z';
inline constexpr char DATA_INSCRIPTION_CHAR = 'S';
inline constexpr char DATA_HASH_QUERY_CHAR = 'Q';
inline constexpr char DATA_HASH_ANSWER_CHAR = 'H';
inline constexpr char DATA_HASH_LAST_ANSWER_CHAR = 'L';
inline constexpr char DATA_HASH_ASK_CHAR = 'N';
inline constexpr char DATA_HASH_LAST_ASK_CHAR = 'P';
inline constexpr char DATA_HASH_FINISHED_CHAR = 'Z';
inline constexpr char DATA_REBUILD_CHAR = 'R';
inline constexpr char DATA_CLOSE_CHAR = 'D';
inline constexpr char DATA_UPDATE_COPY_CHAR = 'U';
inline constexpr char DATA_UPDATED_SIGNAL_CHAR = 't';

inline constexpr const char* MX_ENVIRONMENT = "MX";

extern unsigned
    Glb_subscribed_global_table_type[MAX_TABLE_CODES];      // by code: the type of a table that the host receives
extern unsigned Glb_Not_Applied_Mss;                        // messages of a type that has no rule here
extern char Glb_environment[2 + 1];                         // of the servers
extern std::uint32_t glb_min_pu_connected_gtable_rec_index; // idx of this client's own record among connected users

// Applies the message in the buffer. `source` is not used.
void TBLPROC_Process_Global_Table_Msg(const char* source);

// The older form: no subscription, no environment, no market check. Nothing in the library calls it.
void COMMON_Process_Global_Table_Msg();

class CGTUser;

// Where the environment is MX, some tables of the configuration count as primary.
void Set_Subscription_MX_Primary_Tables();

// Opens the tables of the configuration whose market this user may see.
void Get_Market_Access_Since_Table_User(CGTUser* user);
