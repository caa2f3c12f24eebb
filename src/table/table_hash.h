// The dialogue by hashes, as a table takes part in it: part of table/table.h.
//
// A table is equal to the server's if idx and identity of all records are. If its hash is another one, the server lists
// its records; the table matches them by identity, whatever idx its own have, and takes the server's idx for each.
#pragma once

#include "table/table.h"

#include "little_endian.h"
#include "qcapi/support.h"

#include <array>
#include <cstddef>

namespace qapi {

// One record's part of the hash. A running value of 0 stands for the start value, here as at the beginning.
inline std::uint32_t Add_To_Table_Hash(std::uint32_t crc, std::uint32_t idx, DLONG identity)
{
    std::array<char, 12> triple{};
    store_le<std::uint32_t>(triple.data(), idx);
    store_le<std::uint32_t>(triple.data() + 4, identity.low);
    store_le<std::uint32_t>(triple.data() + 8, identity.high);
    return COMMON_Get_Crc32(triple.data(), static_cast<int>(triple.size()), crc);
}

} // namespace qapi

// Over (idx, CRC-32, environment) of the records in the order of idx, without a closing complement. Records lie
// anywhere in memory, so some are asked for at a time before the first of them is looked at.
template <class REC, class KEYS, class LIST> unsigned CTable<REC, KEYS, LIST>::Get_Crc32()
{
    struct Entry
    {
        std::uint32_t idx;
        const DLONG* identity;
    };
    std::array<Entry, 32> ahead{};
    std::size_t count = 0;
    std::uint32_t crc = 0xFFFFFFFF;
    const auto take = [&] {
        for (std::size_t i = 0; i < count; ++i) {
            crc = qapi::Add_To_Table_Hash(crc, ahead[i].idx, *ahead[i].identity);
        }
        count = 0;
    };
    m_crc32_records_marked = 0;
    m_key_maps.m_key_idx.For_Each([&](std::uint32_t idx, int pos) {
        const DLONG& identity = m_recs[pos].m_env_crc32;
        __builtin_prefetch(&identity);
        ahead[count] = {idx, &identity};
        if (++count == ahead.size()) {
            take();
        }
    });
    take();
    return crc;
}

// Marks of records that no idx leads to are cleared too: a stale one would bring its record back.
template <class REC, class KEYS, class LIST> void CTable<REC, KEYS, LIST>::Initialize_Missing_Crc32s()
{
    m_use_crc32_computing = 1;
    m_missing_Env_Crc32_List.clear();
    m_missing_Idx_List.clear();
    For_Each_Used([](int /*pos*/, REC& record) { record.m_is_checked = 0; });
}

template <class REC, class KEYS, class LIST>
void CTable<REC, KEYS, LIST>::Set_Idx_For_Record_With_Env_Crc32(const IDX_ENV_CRC32_PAIR* /*pair*/, DLONG env_crc32,
                                                                unsigned int idx)
{
    const int pos = m_key_maps.Search_By_Env_Crc32(env_crc32);
    if (pos >= 0) {
        m_recs[pos].m_is_checked = 1;
        m_recs[pos].m_assigned_idx = idx;
    } else if (Own_All()) {
        m_missing_Idx_List.push_back(idx);
    } else {
        m_missing_Env_Crc32_List.push_back(env_crc32);
    }
}

template <class REC, class KEYS, class LIST>
void CTable<REC, KEYS, LIST>::Check_Crc32_Updating(Delete_Call_Back* delete_call_back, Ask_Call_Back* ask_call_back)
{
    m_crc32_records_marked = 1;
    m_key_maps.m_key_idx.Initialize();
    For_Each_Used([this](int pos, REC& record) {
        if (record.m_is_checked != 0) {
            Take_Assigned_Idx(pos, record);
        }
    });
    if (Own_All()) {
        ask_call_back(1, 0, nullptr);
        for (const std::uint32_t idx : m_missing_Idx_List) {
            delete_call_back(idx);
        }
    } else {
        Ask_For_Missing(ask_call_back);
    }
    m_missing_Env_Crc32_List.clear();
    m_missing_Idx_List.clear();
    For_Each_Used([this](int pos, REC& record) {
        if (record.m_is_checked == 0) {
            Settle_Unlisted(pos, record);
        }
    });
}

template <class REC, class KEYS, class LIST> void CTable<REC, KEYS, LIST>::Finalize_Crc32_Updating()
{
    if (m_crc32_records_marked == 0 || !(Own_All() || Own_Some())) {
        return;
    }
    For_Each_Used([this](int pos, REC& record) {
        if (record.m_is_checked == 0 && Is_Maintained(record)) {
            Check_Record_Actions(pos, nullptr, "I", restr_action, 2, SAVE_IF_PERSISTENT);
        }
    });
}

// In the order of the pool. The function may release the position that it is given.
template <class REC, class KEYS, class LIST>
template <class Function>
void CTable<REC, KEYS, LIST>::For_Each_Used(Function function)
{
    for (int pos = 0; pos < m_recs.max_number; ++pos) {
        if (m_recs.Is_Used(pos)) {
            function(pos, m_recs[pos]);
        }
    }
}

// Of two records that a list has under one idx the later one stays, as of two that come in.
template <class REC, class KEYS, class LIST> void CTable<REC, KEYS, LIST>::Take_Assigned_Idx(int pos, REC& record)
{
    const int holder = m_key_maps.Search_By_Idx(record.m_assigned_idx);
    m_key_maps.m_key_idx.Add_Idx(pos, record.m_assigned_idx, &record);
    if (holder >= 0) {
        Drop_Unlisted(holder, m_recs[holder]);
    }
}

template <class REC, class KEYS, class LIST> void CTable<REC, KEYS, LIST>::Ask_For_Missing(Ask_Call_Back* ask_call_back)
{
    const DLONG* next = m_missing_Env_Crc32_List.data();
    std::size_t left = m_missing_Env_Crc32_List.size();
    for (; left >= CRC32_ASKS_IN_A_MESSAGE; left -= CRC32_ASKS_IN_A_MESSAGE, next += CRC32_ASKS_IN_A_MESSAGE) {
        ask_call_back(0, CRC32_ASKS_IN_A_MESSAGE, next);
    }
    ask_call_back(1, static_cast<int>(left), next);
}

template <class REC, class KEYS, class LIST> void CTable<REC, KEYS, LIST>::Settle_Unlisted(int pos, REC& record)
{
    if (Is_Maintained(record)) {
        m_key_maps.m_key_idx.Add_Record(pos, &record, 1);
    } else {
        Drop_Unlisted(pos, record);
    }
}

// No idx leads to the record by now.
template <class REC, class KEYS, class LIST> void CTable<REC, KEYS, LIST>::Drop_Unlisted(int pos, REC& record)
{
    m_key_maps.Delete_But_Not_Idx_Record(&record);
    m_recs.Release(pos);
    Check_Record_Actions(pos, nullptr, "B", restr_action, 1, SAVE_IF_PERSISTENT);
}
