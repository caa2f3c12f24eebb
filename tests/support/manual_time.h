// Time in the test's hand while the threads under test run: both clocks move only when the test says so, and a thread
// that asks to sleep or to wait for a descriptor is parked until its span has passed on them, or a descriptor is ready.
//
// Short spans, which only ease off a retry, are really waited, and so are waits for a condition. Made before the
// threads start and destroyed after they have ended; one at a time.
#pragma once

#include "system_seam.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <vector>

class ManualTime
{
public:
    static constexpr int ticks_per_second = 100;
    static constexpr std::int64_t shortest_sleep = 100'000; // microseconds; a shorter one is really slept
    static constexpr std::int64_t shortest_wait = 50'000;   // the same for a wait for descriptors

    explicit ManualTime(std::int64_t wall_seconds = 1'700'000'000);
    ~ManualTime(); // whoever is parked is let go
    ManualTime(const ManualTime&) = delete;
    ManualTime& operator=(const ManualTime&) = delete;

    // Both clocks move on at once.
    void advance_seconds(std::int64_t seconds);

    // Second by second, and ahead of the first one and behind each the threads settle.
    void step_seconds(int seconds, std::size_t parked = 1);

    // Returns when at least so many threads are parked and nobody among the parked has a reason to go on, so that what
    // was due is done. Throws std::runtime_error after a minute.
    void settle(std::size_t parked = 1);

    // From now on time passes by itself: every wait ends at once and takes its span off the clock. For the end of a
    // session that nobody steps through.
    void run_free() { Wake(0, true); }

    // Threads that are parked with no reason to go on.
    [[nodiscard]] std::size_t parked() const;

    // Spans that were asked for, in order, in microseconds; the short ones too.
    [[nodiscard]] std::vector<std::int64_t> waits() const;

    SystemCalls calls;

private:
    struct Parked
    {
        std::int64_t end;                // microsecond of m_now
        std::vector<pollfd> descriptors; // none in a sleep
        int wake_up;                     // an eventfd, rung when the wait is over
    };
    class Stay;

    [[nodiscard]] bool Is_Over(const Parked& wait) const { return m_runs_free || m_now >= wait.end; }
    [[nodiscard]] bool May_Go_On(const Parked& wait) const;
    [[nodiscard]] std::size_t Settled() const;
    void Wake(std::int64_t span, bool run_free);

    [[nodiscard]] int Take_Wake_Up();
    void Note(timeval span);
    int Sleep(timeval span);
    int Wait_Ready(pollfd* descriptors, unsigned count, timeval span);
    int Park(pollfd* descriptors, unsigned count, std::int64_t span);

    const std::int64_t m_first_wall_second;
    std::atomic<std::int64_t> m_now{0}; // microseconds since the start; written under m_lock

    mutable std::mutex m_lock; // guards all that follows
    std::condition_variable m_changed;
    std::list<Parked> m_parked;
    std::vector<std::int64_t> m_waits;
    std::vector<int> m_spare_wake_ups; // kept open, so that a process out of descriptors can still be parked
    bool m_runs_free = false;
};
