// A growable list of table numbers: where a record goes on to. Servers walk it; here it is stored with the record.
#pragma once

#include "cvarray.h"

inline constexpr int INITIAL_MAXIMUM_TABLES_LIST = 3;

class CTableList
{
public:
    CTableList() = default;
    explicit CTableList(int table); // holds that table

    void Add_Table(int table);
    void Clean_Tables();

    // Walk over the numbers; 0 at the end, so 0 is no table.
    int First_Table();
    int Next_Table();

    // Copies the numbers as they lie in memory, at most `limit` bytes. Returns how many bytes that were.
    int Copy_Tables(void* to, int limit);

    int m_max_tables = INITIAL_MAXIMUM_TABLES_LIST;
    int m_cur_table = 0; // of the walk
    CvArray<int> m_tables{INITIAL_MAXIMUM_TABLES_LIST};
    int m_num_tables = 0;
    int m_restricted_dest = 0;
};
