// A look behind a ring's interface: what no operation tells, and the transaction that no operation opens.
#pragma once

#include "arrm.h"

#include <semaphore.h>
#include <vector>

class CMss_Arr_Test_Access
{
public:
    explicit CMss_Arr_Test_Access(CMss_Arr& ring) : m_ring(ring) {}

    [[nodiscard]] int Oldest() const { return m_ring.m_next_withdraw; }
    [[nodiscard]] int Free() const { return m_ring.m_next_collect; }
    [[nodiscard]] int Posts() const
    {
        int value = 0;
        sem_getvalue(&m_ring.m_sem, &value);
        return value;
    }

    // Live records, oldest first.
    [[nodiscard]] std::vector<const Mss_Rec*> Live() const
    {
        std::vector<const Mss_Rec*> live;
        for (int i = Oldest(); i != Free(); i = (i + 1) % m_ring.m_num_recs) {
            live.push_back(&m_ring.m_records[static_cast<unsigned>(i)]);
        }
        return live;
    }

    void Open_Transaction(const std::vector<int>& slots) const
    {
        const MutexLock lock(m_ring.m_lock);
        m_ring.m_transaction = static_cast<int>(slots.size());
        for (int i = 0; i < m_ring.m_transaction; ++i) {
            m_ring.m_transaction_array[i] = slots[static_cast<unsigned>(i)];
        }
    }
    [[nodiscard]] int Transaction_Slot(int entry) const
    {
        const MutexLock lock(m_ring.m_lock);
        return m_ring.m_transaction_array[entry];
    }
    [[nodiscard]] int Transaction_Pending() const
    {
        const MutexLock lock(m_ring.m_lock);
        return m_ring.m_transaction_pending;
    }

private:
    CMss_Arr& m_ring;
};
