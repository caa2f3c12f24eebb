// A table comes back from its file: part of table/table.h.
//
// A record is found in the file by its number alone, has no idx there, and brings its identity: the server's, if it
// came from there. Where the file has none, it is computed.
#pragma once

#include "table/table.h"

#include "little_endian.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

template <class REC, class KEYS, class LIST> void CTable<REC, KEYS, LIST>::Load_Pers_File()
{
    if (m_Pers_File == nullptr) {
        return;
    }
    Delete_All_Records();
    m_Pers_File->Load([this](unsigned number, std::span<const char> data_info, std::span<const char> env_crc32) {
        Load_Record(number, data_info, env_crc32);
    });
    if (m_Pers_File->Check_Forced_Save()) {
        Save_All_Again();
    }
}

template <class REC, class KEYS, class LIST>
void CTable<REC, KEYS, LIST>::Load_Record(unsigned number, std::span<const char> data_info,
                                          std::span<const char> env_crc32)
{
    constexpr int should_be_deleted = 2;
    constexpr int was_updated = 1;
    const int pos = Search_Next_Free_Pos();
    REC& record = m_recs[pos];
    m_room = Room::by_keys;
    Fill_From_File(record, data_info);
    record.Take_Unic_Number(number);
    const bool has_changed = Take_Identity_Of_File(record, env_crc32);
    Check_Delete_Existing_Records(&record, 0, 1);
    const int check = record.Check_Pers_Data(1);
    if (check == should_be_deleted) {
        m_Pers_File->Delete_Record(number);
        m_recs.Release(pos);
        m_room = Room::none;
        return;
    }
    if (has_changed || check == was_updated || m_Pers_File->Is_Converting()) {
        record.Init();
        m_Pers_File->Save_Record(number, record[DATA_INFO].Get_Ptr(), record[ENV_CRC32].Get_Ptr());
    }
    m_room = Room::none;
    Set_List(pos, m_tn_list.get());
    m_key_maps.Add_Record(pos, &record, 0);
}

// A position that was used before still has what it held then.
template <class REC, class KEYS, class LIST>
void CTable<REC, KEYS, LIST>::Fill_From_File(REC& record, std::span<const char> data_info)
{
    record.Zero_Data_Buffer();
    CField& data = record[DATA_INFO];
    const auto count = std::min(data_info.size(), static_cast<std::size_t>(data.m_len));
    std::copy_n(data_info.begin(), count, data.Get_Ptr());
}

// True if the record is to be saved with another identity than its file has.
template <class REC, class KEYS, class LIST>
bool CTable<REC, KEYS, LIST>::Take_Identity_Of_File(REC& record, std::span<const char> env_crc32)
{
    bool has_changed = Init_Changes(record);
    const auto crc32 = load_le<std::uint32_t>(env_crc32.data());
    auto environment = load_le<std::uint32_t>(env_crc32.data() + sizeof crc32);
    record.Put_Word(CRC32, crc32);
    record.Put_Word(ENVIRONMENT, environment);
    if (environment == 0) {
        // Records of this environment had none in files of old.
        const std::uint32_t ours = Glb_range_environment.load(std::memory_order_relaxed);
        record.Put_Word(ENVIRONMENT, ours);
        if (crc32 != 0) {
            environment = record.Do_We_Maintain_It() != 0 ? ours : 0;
            record.Put_Word(ENVIRONMENT, environment);
        }
    }
    record.m_env_crc32 = {.low = crc32, .high = environment};
    const auto identity = static_cast<std::int64_t>(std::uint64_t{environment} << 32 | crc32);
    if (identity > 0) {
        record.m_env_crc32_to_use = record.m_env_crc32;
        has_changed = Init_Changes(record);
    }
    return has_changed;
}

// Lets the record bring itself up to date; true if that gave it another identity in its buffer.
template <class REC, class KEYS, class LIST> bool CTable<REC, KEYS, LIST>::Init_Changes(REC& record)
{
    const DLONG before{record.Word_Of(CRC32), record.Word_Of(ENVIRONMENT)};
    record.Init();
    return DLONG{record.Word_Of(CRC32), record.Word_Of(ENVIRONMENT)} != before;
}

// The file has been started afresh. It gives its numbers out from 1 up, and keeps those for itself that it could not
// save.
template <class REC, class KEYS, class LIST> void CTable<REC, KEYS, LIST>::Save_All_Again()
{
    For_Each_Used([this](int /*pos*/, REC& record) {
        const unsigned number = m_Pers_File->Get_Next_Free();
        record.Take_Unic_Number(number);
        m_Pers_File->Save_Record(number, record[DATA_INFO].Get_Ptr(), record[ENV_CRC32].Get_Ptr());
    });
}
