#include "lifecycle_gate.h"

#include "thrct.h"

#include <chrono>

namespace qapi {

constinit ProcessLifetime<LifecycleGate> Lifecycle_Gate([] { return new LifecycleGate; });

bool LifecycleGate::try_enter()
{
    const std::lock_guard lock(m_guard);
    return take();
}

bool LifecycleGate::enter()
{
    std::unique_lock lock(m_guard);
    m_left.wait_for(lock, std::chrono::seconds(THRCT_WAIT_ROUNDS), [this] { return !m_taken; });
    return take();
}

void LifecycleGate::leave()
{
    const std::lock_guard lock(m_guard);
    m_taken = false;
    m_left.notify_all();
}

bool LifecycleGate::is_mine()
{
    const std::lock_guard lock(m_guard);
    return m_taken && m_owner == std::this_thread::get_id();
}

bool LifecycleGate::is_taken()
{
    const std::lock_guard lock(m_guard);
    return m_taken;
}

bool LifecycleGate::take()
{
    if (m_taken) {
        return false;
    }
    m_taken = true;
    m_owner = std::this_thread::get_id();
    return true;
}

} // namespace qapi
