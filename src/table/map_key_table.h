// A table's records by one of their keys, which the record fills itself.
#pragma once

#include "keys/base_key.h"
#include "message/message.h"
#include "table/index_form.h"
#include "table/sorted_blocks.h"
#include "table/table_reports.h"

#include <algorithm>
#include <type_traits>
#include <typeinfo>

template <class KEY, class REC> class CMapKeyTable
{
public:
    void Initialize() { m_key_table.Clear(); }

    // The record's key leads to the position from here on, wherever it led before.
    void Add_Local_Record(int pos, REC* record) { m_key_table.Put(Key_Of(*record), pos); }

    // The position, -1 if there is none. A key of another class is reported. The last form takes a CBaseKey.
    int Search_Key_Record(CMessage* message) { return m_key_table.Find(Key_Of(*message)); }
    int Search_Key(const KEY& key) const { return m_key_table.Find(Form::Of(key)); }
    int Search_Key_Record(CBaseKey* key)
    {
        const KEY* own = As_Own_Class(key);
        if (own == nullptr) {
            qapi::Report_Wrong_Key_Class();
            return -1;
        }
        return Search_Key(*own);
    }
    int Search_Key_Record(void* key) { return Search_Key_Record(static_cast<CBaseKey*>(key)); }

    // Takes out the record's key, which is supposed to lead to the position. If it doesn't, that is reported, and
    // whatever leads there goes: nothing may lead to a position that is given back.
    void Delete_Record(int pos, CMessage* record)
    {
        if (!m_key_table.Erase(Key_Of(*record), pos)) {
            qapi::Report_Key_To_Delete_Missing(m_key.Get_Str());
            m_key_table.Erase_Number(pos);
        }
    }

    // Around a change of the record's contents: its key moves with them.
    void Begin_Update_Keys(REC* record) { Fill(m_key_old, *record); }
    void End_Update_Keys(int update_pos, REC* new_rec)
    {
        const auto new_key = Key_Of(*new_rec);
        const auto old_key = Form::Of(m_key_old);
        if (new_key == old_key && m_key_table.Find(new_key) == update_pos) {
            return;
        }
        if (!m_key_table.Erase(old_key, update_pos)) {
            qapi::Report_Changed_Key_Missing(m_key_old.Get_Str());
            m_key_table.Erase_Number(update_pos); // the record was written to before, and stands under yet another key
        }
        m_key_table.Put(new_key, update_pos);
    }

    // Leads the record's key to the position, and no other.
    void Replace_Key(int pos, REC* record)
    {
        m_key_table.Erase_Number(pos);
        Add_Local_Record(pos, record);
    }

    // The positions in the order of the keys; -1 at the end, and from then on. What is changed meanwhile is met if it
    // comes behind the latest key.
    int Begin() { return m_key_table.Begin(m_key_it); }
    int Next() { return m_key_table.Next(m_key_it); }

    [[nodiscard]] std::size_t Size() const { return m_key_table.Size(); }

private:
    using Form = qapi::IndexForm<KEY>;

    static const KEY* As_Own_Class(CBaseKey* key)
    {
        if constexpr (std::is_base_of_v<CBaseKey, KEY>) {
            const bool is_exactly = key != nullptr && typeid(*key) == typeid(KEY);
            const auto* own = is_exactly ? static_cast<const KEY*>(key) : dynamic_cast<const KEY*>(key);
            return own != nullptr && Has_Its_Length(*own) ? own : nullptr;
        } else {
            return nullptr;
        }
    }

    // A key may be given another's length by an assignment to its base.
    static bool Has_Its_Length(const KEY& key)
    {
        if constexpr (requires { KEY::length; }) {
            return key.m_key_len == KEY::length;
        } else {
            return true;
        }
    }

    // Bytes that the record leaves alone are 0, and not those of the record before it.
    static void Fill(KEY& key, CMessage& record)
    {
        if constexpr (std::is_base_of_v<CBaseKey, KEY>) {
            std::fill_n(key.m_key, key.m_key_len, '\0');
        } else {
            key = KEY();
        }
        record.Init_Key(&key);
    }

    typename Form::Stored Key_Of(CMessage& record)
    {
        Fill(m_key, record);
        return Form::Of(m_key);
    }

    qapi::SortedBlocks<typename Form::Stored> m_key_table;
    KEY m_key;
    KEY m_key_old;
    typename qapi::SortedBlocks<typename Form::Stored>::Walk m_key_it;
};
