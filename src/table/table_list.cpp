#include "table/table_list.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int capacity_for_one_table = 2;

} // namespace

CTableList::CTableList(int table) : m_max_tables(capacity_for_one_table), m_tables(capacity_for_one_table)
{
    Add_Table(table);
}

void CTableList::Add_Table(int table)
{
    m_tables[m_num_tables++] = table;
    if (m_num_tables >= m_max_tables) {
        m_max_tables *= 2;
        m_tables.Set_New_Limit(m_max_tables);
    }
}

void CTableList::Clean_Tables()
{
    m_num_tables = 0;
    m_restricted_dest = 0;
}

int CTableList::First_Table()
{
    m_cur_table = 0;
    return Next_Table();
}

int CTableList::Next_Table()
{
    return m_cur_table < m_num_tables ? m_tables[m_cur_table++] : 0;
}

int CTableList::Copy_Tables(void* to, int limit)
{
    const int count = std::clamp(limit, 0, m_num_tables * static_cast<int>(sizeof(int)));
    if (count != 0) {
        std::memcpy(to, &m_tables[0], static_cast<std::size_t>(count));
    }
    return count;
}
