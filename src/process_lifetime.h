// An object that is made at its first use and never destroyed. Worker threads may outlive main() (a host that leaves
// through exit() inside a callback, or after LogoutForce), so nothing they touch may have a destructor run at exit;
// and constant initialisation of the holder makes the order between source files irrelevant.
#pragma once

#include <atomic>
#include <mutex>

namespace qapi {

template <typename T> class ProcessLifetime
{
public:
    using Maker = T* (*)();

    constexpr explicit ProcessLifetime(Maker maker) : m_maker(maker) {}
    ProcessLifetime(const ProcessLifetime&) = delete;
    ProcessLifetime& operator=(const ProcessLifetime&) = delete;

    T& get()
    {
        T* object = m_object.load(std::memory_order_acquire);
        return object != nullptr ? *object : make();
    }
    T* operator->() { return &get(); }
    T& operator*() { return get(); }

private:
    T& make()
    {
        const std::lock_guard lock(m_making);
        T* object = m_object.load(std::memory_order_relaxed);
        if (object == nullptr) {
            object = m_maker();
            m_object.store(object, std::memory_order_release);
        }
        return *object;
    }

    Maker m_maker;
    std::atomic<T*> m_object{nullptr};
    std::mutex m_making;
};

} // namespace qapi

using qapi::ProcessLifetime;
