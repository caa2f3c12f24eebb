// One thread that waits for descriptors and moments. Everything of the market runs on it; other threads hand work in by
// Post.
#pragma once

#include "clock.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace qm {

class EventLoop
{
public:
    explicit EventLoop(const Clock& clock);
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    // Calls `ready` with the events of epoll that came, for as long as the descriptor is watched. Watching one again
    // changes what is waited for. `ready` may forget any descriptor, its own too.
    using Ready = std::function<void(std::uint32_t events)>;
    void Watch(int descriptor, std::uint32_t events, Ready ready);
    void Change(int descriptor, std::uint32_t events);
    void Forget(int descriptor);

    // Once, so much later, in a later round. The number is for Cancel; 0 is none.
    using Timer = std::uint64_t;
    Timer After(Clock::Time delay, std::function<void()> call);
    void Cancel(Timer timer);

    // From any thread: runs on the loop's, in the order of the calls.
    void Post(std::function<void()> call);

    void Run();  // until Stop, also one that came before
    void Stop(); // from any thread or signal handler

    // One round: waits, at most so long, and does what there is to do. A manual clock's time is looked at in each
    // round; whoever moves it posts something.
    void Run_Once(Clock::Time longest_wait);

    [[nodiscard]] const Clock& clock() const { return m_clock; }

private:
    struct Watched
    {
        std::uint64_t generation;           // tells events of an earlier descriptor of that number apart
        std::shared_ptr<const Ready> ready; // shared with the round that is calling it
    };

    void Wake();
    void Take_Event(std::uint64_t key, std::uint32_t events);
    void Run_Due_Timers();
    void Run_Posted();
    [[nodiscard]] int Wait_Milliseconds(Clock::Time longest_wait) const;

    const Clock& m_clock;
    int m_epoll = -1;
    int m_wake = -1;
    std::uint64_t m_generation = 0;
    std::map<int, Watched> m_watched;
    Timer m_last_timer = 0;
    std::map<std::pair<Clock::Time, Timer>, std::function<void()>> m_timers;
    std::map<Timer, Clock::Time> m_timer_times;
    std::mutex m_posted_mutex;
    std::vector<std::function<void()>> m_posted;
    std::atomic<bool> m_stop{false};
};

} // namespace qm
