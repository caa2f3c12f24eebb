// One operation at a time starts or stops a session: Login, Connect, Logout, a constructor that finds threads left. Its
// callbacks may come back with another one on the same thread, which finds the gate its own.
#pragma once

#include "process_lifetime.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace qapi {

class LifecycleGate
{
public:
    // Both return whether the gate is the caller's now. enter() waits for an operation of another thread, as long as a
    // Logout may last at the most.
    bool try_enter();
    bool enter();
    void leave();

    [[nodiscard]] bool is_mine();
    [[nodiscard]] bool is_taken();

private:
    bool take();

    std::mutex m_guard;
    std::condition_variable m_left;
    bool m_taken = false;
    std::thread::id m_owner;
};

extern ProcessLifetime<LifecycleGate> Lifecycle_Gate;

// The stretch of one operation, if the gate let it in.
class LifecycleStretch
{
public:
    explicit LifecycleStretch(bool entered) : m_entered(entered) {}
    ~LifecycleStretch()
    {
        if (m_entered) {
            Lifecycle_Gate->leave();
        }
    }
    LifecycleStretch(const LifecycleStretch&) = delete;
    LifecycleStretch& operator=(const LifecycleStretch&) = delete;
    explicit operator bool() const { return m_entered; }

private:
    bool m_entered;
};

} // namespace qapi

using qapi::Lifecycle_Gate;
using qapi::LifecycleStretch;
