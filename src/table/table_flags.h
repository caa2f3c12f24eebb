// What a table is told about itself, and what it tells of its latest change.
#pragma once

inline constexpr int INITIAL_TABLE_RECORDS = 6;

// Who owns the table's content. The client owns none that is not published: the server's copy wins.
inline constexpr int TABLE_NOT_PUBLISHED = 1;
inline constexpr int TABLE_PUBLISHED_TO_DGI = 2;
inline constexpr int TABLE_PUBLISHED_TO_DS = 4;
inline constexpr int TABLE_PUBLISHED_ALL = TABLE_PUBLISHED_TO_DGI | TABLE_PUBLISHED_TO_DS;
inline constexpr int TABLE_PUBLISHED_TO_DS_AND_FROM_DS = TABLE_PUBLISHED_TO_DS | TABLE_NOT_PUBLISHED;

inline constexpr int TABLE_USE_OWN_UNIQUE_IDX = 8; // an inserted record's REC_IDX becomes its running number
inline constexpr int TABLE_NO_LOG_ERRORS_INSERTION_MODIFICATION = 16; // a record is replaced without a line of the log

// The latest change.
inline constexpr int OPER_UNDEF = 0;
inline constexpr int OPER_INSERT = 1;
inline constexpr int OPER_DELETE = 2;
inline constexpr int OPER_UPDATE = 3;

inline constexpr int SAVE_IF_PERSISTENT = 0;
inline constexpr int DO_NOT_SAVE_IF_PERSISTENT = 1;

namespace qapi {

// The operation that an action's letter stands for: I inserts, A updates, B deletes.
[[nodiscard]] constexpr int Operation_Of(const char* table_action)
{
    switch (table_action[0]) {
    case 'I':
        return OPER_INSERT;
    case 'A':
        return OPER_UPDATE;
    case 'B':
        return OPER_DELETE;
    default:
        return OPER_UNDEF;
    }
}

} // namespace qapi
