#include "master_mutex.h"

#include <algorithm>

void Master_Mutex::Lock()
{
    std::unique_lock lock(m_guard);
    if (m_depth > 0 && m_owner == std::this_thread::get_id()) {
        ++m_depth;
        return;
    }
    wait_for_turn(lock);
}

void Master_Mutex::Unlock()
{
    const std::lock_guard lock(m_guard);
    if (m_depth > 0 && m_owner == std::this_thread::get_id() && --m_depth == 0) {
        pass_on();
    }
}

bool Master_Mutex::Is_Mine()
{
    const std::lock_guard lock(m_guard);
    return m_depth > 0 && m_owner == std::this_thread::get_id();
}

bool Master_Mutex::Is_Free()
{
    const std::lock_guard lock(m_guard);
    return m_depth == 0;
}

int Master_Mutex::Waiting()
{
    const std::lock_guard lock(m_guard);
    return static_cast<int>(m_next_ticket - m_now_serving) - (m_depth > 0 ? 1 : 0);
}

void Master_Mutex::Let_Waiting_Threads_In()
{
    const Hold before = Give_Up();
    // The ticket drawn here stands behind those of all who wait now.
    std::unique_lock lock(m_guard);
    if (m_open > 0) {
        return;
    }
    wait_for_turn(lock);
    if (m_open > 0) {
        m_depth = 0;
        pass_on();
        return;
    }
    m_depth = std::max(before.depth, 1);
    m_parked = true;
}

Master_Mutex::Hold Master_Mutex::Give_Up()
{
    const std::lock_guard lock(m_guard);
    if (m_depth == 0 || m_owner != std::this_thread::get_id()) {
        return {};
    }
    const Hold hold{m_depth, m_parked};
    m_depth = 0;
    pass_on();
    return hold;
}

void Master_Mutex::Take_Back(Hold hold)
{
    std::unique_lock lock(m_guard);
    if (hold.depth == 0 || (hold.parked && m_open > 0)) {
        return;
    }
    wait_for_turn(lock);
    m_depth = hold.depth;
    m_parked = hold.parked;
}

void Master_Mutex::Free()
{
    const std::lock_guard lock(m_guard);
    free_it();
}

void Master_Mutex::Begin_Open()
{
    const std::lock_guard lock(m_guard);
    ++m_open;
    if (m_parked) {
        free_it();
    }
}

void Master_Mutex::End_Open()
{
    const std::lock_guard lock(m_guard);
    --m_open;
}

void Master_Mutex::free_it()
{
    if (m_depth > 0) {
        m_depth = 0;
        pass_on();
    }
}

void Master_Mutex::wait_for_turn(std::unique_lock<std::mutex>& lock)
{
    const std::uint64_t ticket = m_next_ticket++;
    m_turn.wait(lock, [&] { return m_now_serving == ticket; });
    m_owner = std::this_thread::get_id();
    m_depth = 1;
}

void Master_Mutex::pass_on()
{
    m_owner = {};
    m_parked = false;
    ++m_now_serving;
    m_turn.notify_all();
}
