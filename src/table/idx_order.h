// A table's records by their idx.
#pragma once

#include "message/message.h"
#include "table/index_form.h"
#include "table/sorted_blocks.h"
#include "table/table_state.h"

template <class REC> class CIdxOrder
{
public:
    void Initialize() { m_idx_table.Clear(); } // the idx values that were given out are not forgotten

    // The record's own idx leads to the position from here on, wherever it led before.
    void Add_Local_Record(int pos, REC* record) { m_idx_table.Put(Idx_Of(*record), pos); }

    // The same with a new idx of the client's range, which is written to the record; and, if `put_environment` isn't 0,
    // so is the client's environment. If the range is used up the lowest idx leads to the new record, and the one that
    // had it is no longer found by it.
    void Add_Record(int pos, REC* record, int put_environment)
    {
        const std::uint32_t idx =
            qapi::Generate_Idx(m_last_idx, [this](std::uint32_t candidate) { return Search_By_Idx(candidate) >= 0; });
        record->Put_Word(REC_IDX, idx);
        if (put_environment != 0) {
            record->Put_Word(ENVIRONMENT, Glb_range_environment.load(std::memory_order_relaxed));
        }
        m_idx_table.Put(Stored_Idx(idx), pos);
    }

    // The same with an idx that the caller chose.
    void Add_Idx(int pos, unsigned int idx, REC* record)
    {
        if (Search_By_Idx(idx) >= 0) {
            qapi::Tell_Idx_Error(qapi::idx_exists_error, idx);
        }
        record->Put_Word(REC_IDX, idx);
        m_idx_table.Put(Stored_Idx(idx), pos);
    }

    // The position, -1 if there is none.
    int Search_Idx_Record(CMessage* record) { return m_idx_table.Find(Idx_Of(*record)); }
    [[nodiscard]] int Search_By_Idx(unsigned int idx) const { return m_idx_table.Find(Stored_Idx(idx)); }

    // Takes the record's idx out. Returns the position that it led to, -1 if there was none.
    int Delete_By_Idx_Record(REC* record)
    {
        const auto idx = Idx_Of(*record);
        const int pos = m_idx_table.Find(idx);
        m_idx_table.Erase(idx, pos);
        return pos;
    }

    // Takes out what leads to the position, where the record's idx is supposed to. A record that was written to without
    // an update may have another idx by now, and a used up range may have led its idx elsewhere.
    void Delete_Position(int pos, CMessage* record)
    {
        if (!m_idx_table.Erase(Idx_Of(*record), pos)) {
            m_idx_table.Erase_Number(pos);
        }
    }

    // Each idx and its position, in the order of idx.
    template <class Function> void For_Each(Function function) const
    {
        m_idx_table.For_Each([&](Form::Stored key, int pos) { function(static_cast<std::uint32_t>(key), pos); });
    }

    [[nodiscard]] std::size_t Size() const { return m_idx_table.Size(); }

private:
    using Form = qapi::IndexForm<CIdxKey>;

    static Form::Stored Stored_Idx(unsigned int idx) { return Form::Of(CIdxKey().Init(0, idx)); }

    Form::Stored Idx_Of(CMessage& record)
    {
        record.Init_Key(&m_idx_key);
        return Form::Of(m_idx_key);
    }

    std::uint32_t m_last_idx = 0; // the latest that was generated
    qapi::SortedBlocks<Form::Stored> m_idx_table;
    CIdxKey m_idx_key;
};
