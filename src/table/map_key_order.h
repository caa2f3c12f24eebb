// The indexes of a table: by idx, and by one key or two. The second key is a record's identity.
#pragma once

#include "table/idx_order.h"
#include "table/map_key_table.h"

template <class KEY, class REC> class CMapKeyOrder
{
public:
    using Key1 = KEY;

    void Initialize()
    {
        m_key_idx.Initialize();
        m_key1_mkt.Initialize();
    }

    void Add_Local_Record(int pos, REC* record)
    {
        m_key_idx.Add_Local_Record(pos, record);
        m_key1_mkt.Add_Local_Record(pos, record);
    }

    // With an idx that is generated.
    void Add_Record(int pos, REC* record, int put_environment)
    {
        m_key_idx.Add_Record(pos, record, put_environment);
        m_key1_mkt.Add_Local_Record(pos, record);
    }

    int Search_Idx_Record(CMessage* record) { return m_key_idx.Search_Idx_Record(record); }
    [[nodiscard]] int Search_By_Idx(unsigned int idx) const { return m_key_idx.Search_By_Idx(idx); }

    // By key 1; any other number gives -1. `Key` is a CMessage that the key is taken from, or the key.
    template <class Key> int Search_Key_Record(Key* key, int key_number)
    {
        return key_number == 1 ? m_key1_mkt.Search_Key_Record(key) : -1;
    }
    int Search_By_Env_Crc32(DLONG /*env_crc32*/) { return -1; }

    void Begin_Update_Keys(REC* record) { m_key1_mkt.Begin_Update_Keys(record); }
    void End_Update_Keys(int pos, REC* record) { m_key1_mkt.End_Update_Keys(pos, record); }

    // The same for the identity alone: of a record that is updated in its place, key 1 stays.
    void Begin_Update_Identity(REC* /*record*/) {}
    void End_Update_Identity(int /*pos*/, REC* /*record*/) {}

    // Takes the record out of all indexes. Returns the position that its idx led to, -1 if there was none.
    int Delete_By_Idx_Record(REC* record)
    {
        const int pos = Search_Idx_Record(record);
        if (pos >= 0) {
            Delete_Position(pos, record);
        }
        return pos;
    }

    // The same for a position that is known. Nothing leads there afterwards, whatever the record's keys are by now.
    void Delete_Position(int pos, CMessage* record)
    {
        m_key_idx.Delete_Position(pos, record);
        m_key1_mkt.Delete_Record(pos, record);
    }

    int Delete_But_Not_Idx_Record(REC* record)
    {
        m_key1_mkt.Delete_Record(record->m_pos_in_table, record);
        return 0;
    }

    // Leads the record's key 1 to the position, and no other.
    void Replace_Key1(int pos, REC* record) { m_key1_mkt.Replace_Key(pos, record); }

    // The positions in the order of key 1.
    int Begin() { return m_key1_mkt.Begin(); }
    int Next() { return m_key1_mkt.Next(); }

    [[nodiscard]] static constexpr int Get_Num_Keys() { return 1; }

    CIdxOrder<REC> m_key_idx;
    CMapKeyTable<KEY, REC> m_key1_mkt;
};

template <class KEY1, class KEY2, class REC> class CMap2KeyOrder : public CMapKeyOrder<KEY1, REC>
{
    using One = CMapKeyOrder<KEY1, REC>;

public:
    void Initialize()
    {
        One::Initialize();
        m_key2_mkt.Initialize();
    }

    void Add_Local_Record(int pos, REC* record)
    {
        One::Add_Local_Record(pos, record);
        m_key2_mkt.Add_Local_Record(pos, record);
    }

    void Add_Record(int pos, REC* record, int put_environment)
    {
        One::Add_Record(pos, record, put_environment);
        m_key2_mkt.Add_Local_Record(pos, record);
    }

    template <class Key> int Search_Key_Record(Key* key, int key_number)
    {
        return key_number == 2 ? m_key2_mkt.Search_Key_Record(key) : One::Search_Key_Record(key, key_number);
    }
    int Search_By_Env_Crc32(DLONG env_crc32)
    {
        m_identity.Init(env_crc32);
        return m_key2_mkt.Search_Key(m_identity);
    }

    void Begin_Update_Keys(REC* record)
    {
        One::Begin_Update_Keys(record);
        m_key2_mkt.Begin_Update_Keys(record);
    }
    void End_Update_Keys(int pos, REC* record)
    {
        One::End_Update_Keys(pos, record);
        m_key2_mkt.End_Update_Keys(pos, record);
    }

    void Begin_Update_Identity(REC* record) { m_key2_mkt.Begin_Update_Keys(record); }
    void End_Update_Identity(int pos, REC* record) { m_key2_mkt.End_Update_Keys(pos, record); }

    int Delete_By_Idx_Record(REC* record)
    {
        const int pos = One::Search_Idx_Record(record);
        if (pos >= 0) {
            Delete_Position(pos, record);
        }
        return pos;
    }

    void Delete_Position(int pos, CMessage* record)
    {
        One::Delete_Position(pos, record);
        m_key2_mkt.Delete_Record(pos, record);
    }

    int Delete_But_Not_Idx_Record(REC* record)
    {
        One::Delete_But_Not_Idx_Record(record);
        m_key2_mkt.Delete_Record(record->m_pos_in_table, record);
        return 0;
    }

    [[nodiscard]] static constexpr int Get_Num_Keys() { return 2; }

    CMapKeyTable<KEY2, REC> m_key2_mkt;

private:
    KEY2 m_identity; // of a search by identity
};
