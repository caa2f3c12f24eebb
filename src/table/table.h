// All records that the library keeps in memory live in tables: the replicas of the server's reference tables, and the
// mailboxes of records that wait for the host. A table is a pool of records, and indexes that lead from a record's idx
// and keys to its position in the pool.
//
// A record that comes in wins over those that have its idx or one of its keys: they go. This is how a table heals when
// the server reuses an idx or a key.
//
// Records stay where they are: a pointer that a table gave is good as long as the table lives. The record of a position
// that was given back keeps its contents until the position is taken again, the longest free one first.
//
// A table has no lock. Whoever uses one that several threads use holds the lock that guards it, for reading too, and a
// ReportHold: what doesn't fit is reported. No operation calls the host.
#pragma once

#include "message/message.h"
#include "table/map_key_order.h"
#include "table/table_file.h"
#include "table/table_flags.h"
#include "table/table_list.h"
#include "table/table_reports.h"
#include "table/table_state.h"
#include "table/vector_at.h"

#include <cstring>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

// KEYS is a CMapKeyOrder or a CMap2KeyOrder of REC.
template <class REC, class KEYS, class LIST> class CTable : public CTableBase
{
public:
    // `type` is given to the records' constructor.
    CTable(int initial_records, char* type)
        : m_table_num(Glb_table_counter++), m_recs(initial_records, type), m_tlists(initial_records)
    {
        m_key_maps.Initialize();
    }

    // ---- Changes -----------------------------------------------------------------------------------------------

    // Takes a copy of the record in, whatever it replaces. Returns the table's own.
    REC* Insert_Local_Record(REC* record_to_insert, LIST* list_table)
    {
        const int pos = Search_Next_Free_Pos();
        REC& cur_rec = m_recs[pos];
        m_room = Has_Own_Idx() ? Room::none : Room::by_idx_and_keys;
        Take_Contents(cur_rec, *record_to_insert);
        m_room = Room::none;
        Take_Number(cur_rec);
        if (Has_Own_Idx()) {
            cur_rec.Put_Word(REC_IDX, Number_For_Idx());
        } else {
            Check_Delete_Existing_Records(&cur_rec, 1, 1);
        }
        Set_List(pos, list_table);
        m_key_maps.Add_Local_Record(pos, &cur_rec);
        Check_Record_Actions(pos, list_table, "I", restr_action, 1, SAVE_IF_PERSISTENT);
        return &cur_rec;
    }

    // Gives the record of the same idx these contents. Null, and nothing happens, if there is none. The table's own
    // record may be given, after its contents were changed in their place; its idx and key 1 may not be among them.
    REC* Update_Local_Record(REC* record_to_update)
    {
        const int pos = m_key_maps.Search_Idx_Record(record_to_update);
        if (pos < 0) {
            return nullptr;
        }
        REC& cur_rec = m_recs[pos];
        if (record_to_update == &cur_rec) {
            Update_In_Place(pos, cur_rec);
        } else {
            m_key_maps.Begin_Update_Keys(&cur_rec);
            Update_Contents(cur_rec, *record_to_update);
            Check_Delete_Existing_Records(&cur_rec, 1, 1);
            m_key_maps.End_Update_Keys(pos, &cur_rec);
        }
        Check_Record_Actions(pos, nullptr, "A", restr_action, 1, SAVE_IF_PERSISTENT);
        return &cur_rec;
    }

    // Takes the record of the same idx out. Returns it, null if there is none.
    REC* Delete_Local_Record(REC* record_to_delete)
    {
        const int pos = m_key_maps.Search_Idx_Record(record_to_delete);
        return pos >= 0 ? Remove(pos, &m_recs[pos], restr_action, 1) : nullptr;
    }

    // The same by the idx and the keys that the given record has. Returns the list of the record's position.
    LIST* Delete_Record(REC* record_to_delete)
    {
        const int pos = Is_Own(*record_to_delete) ? record_to_delete->m_pos_in_table
                                                  : m_key_maps.Search_Idx_Record(record_to_delete);
        if (pos < 0) {
            return nullptr;
        }
        Remove(pos, record_to_delete, 1, 0);
        return &m_tlists(pos);
    }

    // Takes the record of this idx out and gives the caller a copy with all its bytes and its number: one step for
    // callers who hold the mailboxes' lock around it, as the position may be taken again once they let go. False if
    // there is none.
    bool Take_Out(unsigned int idx, REC& copy)
    {
        const int pos = m_key_maps.Search_By_Idx(idx);
        if (pos < 0) {
            return false;
        }
        REC& record = m_recs[pos];
        copy = record;
        if (copy.m_data_len == record.m_data_len) {
            std::memcpy(copy.m_data, record.m_data, static_cast<std::size_t>(record.Buffer_Size()));
        }
        copy.Take_Unic_Number(record.m_unic_number);
        Remove(pos, &record, restr_action, 1);
        return true;
    }

    // Empties the table in memory; the pool stays as large as it is, and a file as it is. Records that no key leads to
    // go too.
    void Delete_All_Records()
    {
        for (int pos = m_key_maps.Begin(); pos >= 0; pos = m_key_maps.Next()) {
            Clear_Position(pos);
        }
        for (int pos = 0; m_recs.cur_used != 0 && pos < m_recs.max_number; ++pos) {
            Clear_Position(pos);
        }
        m_last_operation = OPER_DELETE;
        m_key_maps.Initialize();
    }

    // ---- Look-ups: the record, null if there is none -----------------------------------------------------------

    REC* Find_Idx_Key_Record(REC* record) { return At(m_key_maps.Search_Idx_Record(record)); }
    REC* Find_By_Idx(unsigned int idx) { return At(m_key_maps.Search_By_Idx(idx)); }

    // By key 1 or 2, as the message fills it, or as it is given: the last form takes the address of a CBaseKey.
    REC* Find_NKey_Record(CMessage* message, int key_number)
    {
        return At(m_key_maps.Search_Key_Record(message, key_number));
    }
    REC* Find_NKey_Record(CBaseKey* key, int key_number) { return At(m_key_maps.Search_Key_Record(key, key_number)); }
    REC* Find_NKey_Record(void* key, int key_number) { return At(m_key_maps.Search_Key_Record(key, key_number)); }

    CMessage* Get_Record_By_Env_Crc32(DLONG env_crc32) override
    {
        return At(m_key_maps.Search_By_Env_Crc32(env_crc32));
    }

    // Asked while the newcomer's contents are being filled in: only then is anything replaced.
    bool Will_Replace(CMessage& newcomer, CMessage& holder) override
    {
        const int pos = holder.m_pos_in_table;
        return (m_room == Room::by_idx_and_keys && m_key_maps.Search_Idx_Record(&newcomer) == pos) ||
               (m_room != Room::none && m_key_maps.Search_Key_Record(&newcomer, 1) == pos);
    }

    // ---- The file (table/table_load.h) -------------------------------------------------------------------------

    // Keeps the records in this file from here on; null: in memory alone.
    void Assoc_To_Pers_File(std::unique_ptr<qapi::TableFile> file) { m_Pers_File = std::move(file); }

    // Replaces what the table has by the records of its file, with idx values of this client's range: those of the file
    // mean nothing.
    void Load_Pers_File();

    // ---- The dialogue by hashes (table/table_hash.h) ------------------------------------------------------------

    unsigned Get_Crc32() override;
    void Initialize_Missing_Crc32s() override;
    void Set_Idx_For_Record_With_Env_Crc32(const IDX_ENV_CRC32_PAIR* pair, DLONG env_crc32, unsigned int idx) override;
    void Check_Crc32_Updating(Delete_Call_Back* delete_call_back, Ask_Call_Back* ask_call_back) override;
    void Finalize_Crc32_Updating() override;

    // ---- Steps of a change -------------------------------------------------------------------------------------

    // Takes a position; its record belongs to the table and the position from here on, and has no identity yet: one
    // that was left from the record before it would pass for its own.
    int Search_Next_Free_Pos()
    {
        const int pos = m_recs.Use_One();
        REC& record = m_recs[pos];
        record.Set_Owner_Table_Data(this, pos);
        record.m_env_crc32 = {};
        record.m_env_crc32_to_use = {};
        return pos;
    }

    // Makes room for the record: whichever others have its idx (unless `check_idx` is 0) or one of its keys go, which
    // is told unless the table's flag says no.
    void Check_Delete_Existing_Records(REC* record_to_check, int check_idx, int is_local_action)
    {
        if (check_idx == 1) {
            const int pos = m_key_maps.Search_Idx_Record(record_to_check);
            if (Is_Another(pos, *record_to_check)) {
                if (Tells_Collisions()) {
                    qapi::Report_Same_Idx(*record_to_check);
                }
                Remove_Existing(pos, is_local_action);
            }
        }
        for (int key = 1; key <= KEYS::Get_Num_Keys(); ++key) {
            const int pos = m_key_maps.Search_Key_Record(static_cast<CMessage*>(record_to_check), key);
            if (Is_Another(pos, *record_to_check)) {
                if (Tells_Collisions()) {
                    qapi::Report_Same_Key(*record_to_check, key, m_recs[pos]);
                }
                Remove_Existing(pos, is_local_action);
            }
        }
    }

    // Where every change ends: notes it ("I", "A" or "B") and brings it to the file.
    void Check_Record_Actions(int record_pos, LIST* /*list_table*/, const char* table_action,
                              int /*restr_action_required*/, int /*is_local_action*/, int save_persistent_flag)
    {
        if (!m_recs.Has(record_pos)) {
            qapi::Report_No_Record(record_pos);
            return;
        }
        const int operation = qapi::Operation_Of(table_action);
        if (operation == OPER_UNDEF) {
            qapi::Report_Unknown_Action(table_action);
            return;
        }
        m_last_operation = operation;
        if (m_Pers_File != nullptr && save_persistent_flag != DO_NOT_SAVE_IF_PERSISTENT) {
            To_File(m_recs[record_pos], operation);
        }
    }

    // ---- The table itself --------------------------------------------------------------------------------------

    int Used_Num_Records() override { return m_recs.cur_used; }
    int Do_We_Maintain_It() override { return m_table_flag & TABLE_PUBLISHED_TO_DS; }

    // Returns the flags that were in force.
    int Set_Table_Flag(int flag) { return std::exchange(m_table_flag, flag); }
    void Set_Table_Num(int code) { m_tn_list = std::make_unique<LIST>(code); }

    int m_table_num;
    int m_table_flag = TABLE_NOT_PUBLISHED;
    int m_confirm_status = 0;
    int m_last_operation = OPER_UNDEF;
    int m_crc32_records_marked = 0;                // 1 once a list has been worked off, until the next hash
    std::vector<DLONG> m_missing_Env_Crc32_List;   // that the server has and this table lacks
    std::vector<std::uint32_t> m_missing_Idx_List; // the same, in a table that this process maintains
    std::unique_ptr<LIST> m_tn_list;               // holds the table's code
    std::unique_ptr<qapi::TableFile> m_Pers_File;  // null: the table has no file

protected:
    // Which records go for the one that is being filled. Those that a file brings have idx values that mean nothing.
    enum class Room
    {
        none,
        by_keys,
        by_idx_and_keys,
    };
    Room m_room = Room::none;

    CVectorAt<REC> m_recs;
    CVector<LIST> m_tlists; // by position; made for those that were given one
    KEYS m_key_maps;

private:
    static constexpr int restr_action = 8;

    [[nodiscard]] bool Has_Own_Idx() const { return (m_table_flag & TABLE_USE_OWN_UNIQUE_IDX) != 0; }
    [[nodiscard]] bool Tells_Collisions() const
    {
        return (m_table_flag & TABLE_NO_LOG_ERRORS_INSERTION_MODIFICATION) == 0;
    }

    REC* At(int pos) { return pos >= 0 ? &m_recs[pos] : nullptr; }

    // True if it is the record of a position of this table that is in use.
    bool Is_Own(const REC& record)
    {
        return record.m_table_ptr == this && m_recs.Is_Used(record.m_pos_in_table) &&
               &m_recs[record.m_pos_in_table] == &record;
    }

    static bool Is_Another(int pos, const REC& record) { return pos >= 0 && pos != record.m_pos_in_table; }

    // ---- Contents ----------------------------------------------------------------------------------------------

    // Where the server gives identities, the copy that follows takes this one and computes none.
    void Expect_Identity(REC& cur_rec, REC& from)
    {
        if (m_use_crc32_computing != 0) {
            cur_rec.m_env_crc32_to_use = {from.Word_Of(CRC32), from.Word_Of(ENVIRONMENT)};
        }
    }

    // Nothing of what the position held before stays: the copy covers all but the last spare bytes.
    void Take_Contents(REC& cur_rec, REC& from)
    {
        Expect_Identity(cur_rec, from);
        if (&cur_rec != &from) {
            std::memset(cur_rec.m_data + cur_rec.m_data_len + MESSAGE_EXTRA_USED_SIZE, 0,
                        MESSAGE_EXTRA_ALLOCATED_SIZE - MESSAGE_EXTRA_USED_SIZE);
        }
        cur_rec = from;
    }

    void Update_Contents(REC& cur_rec, REC& from)
    {
        Expect_Identity(cur_rec, from);
        m_room = Room::by_idx_and_keys;
        cur_rec.Update_Message_Info(std::span<const char>(from.m_data, static_cast<std::size_t>(from.m_data_len)));
        m_room = Room::none;
    }

    void Update_In_Place(int pos, REC& record)
    {
        const bool key_changed = m_key_maps.Search_Key_Record(static_cast<CMessage*>(&record), 1) != pos;
        if (key_changed) {
            qapi::Report_Changed_Idx(record);
        }
        m_key_maps.Begin_Update_Identity(&record);
        Update_Contents(record, record);
        Check_Delete_Existing_Records(&record, 1, 1);
        m_key_maps.End_Update_Identity(pos, &record);
        if (key_changed) {
            m_key_maps.Replace_Key1(pos, &record);
        }
    }

    void Set_List(int pos, LIST* list)
    {
        if (list != nullptr) {
            m_tlists(pos) = *list;
        } else if (m_tlists.Has(pos)) {
            m_tlists[pos].Clean_Tables();
        }
    }

    // ---- Numbers -----------------------------------------------------------------------------------------------

    // A number of the counter may be in use as an idx where idx values come from it; elsewhere nothing is found by it.
    bool Is_Taken(std::uint32_t number) { return Has_Own_Idx() && m_key_maps.Search_By_Idx(number) >= 0; }

    void Take_Number(REC& record)
    {
        record.Take_Unic_Number(
            m_Pers_File != nullptr ? m_Pers_File->Get_Next_Free()
                                   : qapi::Next_Unic_Number([this](std::uint32_t number) { return Is_Taken(number); }));
    }

    // The counter as it stands. In a table with a file the record's own number didn't move it.
    std::uint32_t Number_For_Idx()
    {
        const std::uint32_t number = Glb_Unic_Number;
        if (number != 0 && !Is_Taken(number)) {
            return number;
        }
        return qapi::Next_Unic_Number([this](std::uint32_t next) { return Is_Taken(next); });
    }

    // ---- The file ----------------------------------------------------------------------------------------------

    void Load_Record(unsigned number, std::span<const char> data_info, std::span<const char> env_crc32);
    void Fill_From_File(REC& record, std::span<const char> data_info);
    bool Take_Identity_Of_File(REC& record, std::span<const char> env_crc32);
    bool Init_Changes(REC& record);
    void Save_All_Again();

    // ---- The dialogue by hashes --------------------------------------------------------------------------------

    // The server's list decides, unless this process maintains the table's records, or some of them.
    [[nodiscard]] bool Own_All() const { return (m_table_flag & TABLE_NOT_PUBLISHED) == 0; }
    [[nodiscard]] bool Own_Some() const
    {
        return (m_table_flag & TABLE_PUBLISHED_TO_DS_AND_FROM_DS) == TABLE_PUBLISHED_TO_DS_AND_FROM_DS;
    }
    bool Is_Maintained(REC& record) { return Own_Some() ? record.Do_We_Maintain_It() != 0 : Own_All(); }
    template <class Function> void For_Each_Used(Function function);
    void Take_Assigned_Idx(int pos, REC& record);
    void Ask_For_Missing(Ask_Call_Back* ask_call_back);
    void Settle_Unlisted(int pos, REC& record);
    void Drop_Unlisted(int pos, REC& record);

    // ---- Deletion ----------------------------------------------------------------------------------------------

    // `keys` has the keys under which the position's record is expected.
    REC* Remove(int pos, CMessage* keys, int restr_action_required, int is_local_action)
    {
        m_key_maps.Delete_Position(pos, keys);
        m_recs.Release(pos);
        Check_Record_Actions(pos, nullptr, "B", restr_action_required, is_local_action, SAVE_IF_PERSISTENT);
        return &m_recs[pos];
    }

    // By position: after a used up range of idx values the record's idx may lead to another one.
    void Remove_Existing(int pos, int is_local_action)
    {
        Remove(pos, &m_recs[pos], is_local_action == 1 ? restr_action : 1, is_local_action);
    }

    void Clear_Position(int pos)
    {
        if (m_recs.Is_Used(pos)) {
            m_recs.Release(pos);
            Check_Record_Actions(pos, nullptr, "B", restr_action, 1, DO_NOT_SAVE_IF_PERSISTENT);
        }
    }

    void To_File(REC& record, int operation)
    {
        if (operation == OPER_DELETE) {
            m_Pers_File->Delete_Record(record.m_unic_number);
        } else {
            m_Pers_File->Save_Record(record.m_unic_number, record[DATA_INFO].Get_Ptr(), record[ENV_CRC32].Get_Ptr());
            if (m_Pers_File->Check_Forced_Save()) {
                Save_All_Again();
            }
        }
    }
};

#include "table/table_hash.h" // IWYU pragma: export
#include "table/table_load.h" // IWYU pragma: export
