#include "support/manual_time.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr std::int64_t second = 1'000'000;
constexpr std::int64_t first_tick = 1'000'000;

// How often readiness that nobody announces is looked at, and when a thread that doesn't park is given up.
constexpr auto look_again = std::chrono::milliseconds(5);
constexpr auto a_minute = std::chrono::minutes(1);

ManualTime* time_in_force = nullptr;

std::int64_t microseconds(timeval span)
{
    return std::int64_t{span.tv_sec} * second + span.tv_usec;
}

void ring(int wake_up)
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wake_up, &one, sizeof one);
}

} // namespace

// A thread's stay among the parked.
class ManualTime::Stay
{
public:
    Stay(ManualTime& time, std::int64_t span, std::vector<pollfd> descriptors) : m_time(time)
    {
        const std::lock_guard lock(m_time.m_lock);
        m_wake_up = m_time.Take_Wake_Up();
        m_place = m_time.m_parked.insert(m_time.m_parked.end(),
                                         Parked{m_time.m_now + span, std::move(descriptors), m_wake_up});
        if (m_time.m_runs_free) {
            m_time.m_now += span;
            ring(m_wake_up);
        }
        m_time.m_changed.notify_all();
    }
    ~Stay()
    {
        const std::lock_guard lock(m_time.m_lock);
        m_time.m_parked.erase(m_place);
        std::uint64_t rings = 0;
        [[maybe_unused]] const ssize_t got = read(m_wake_up, &rings, sizeof rings);
        m_time.m_spare_wake_ups.push_back(m_wake_up);
        m_time.m_changed.notify_all();
    }
    Stay(const Stay&) = delete;
    Stay& operator=(const Stay&) = delete;

    [[nodiscard]] int Wake_Up() const { return m_wake_up; }

private:
    ManualTime& m_time;
    int m_wake_up = -1;
    std::list<Parked>::iterator m_place;
};

ManualTime::ManualTime(std::int64_t wall_seconds) : calls(Real_System()), m_first_wall_second(wall_seconds)
{
    time_in_force = this;
    calls.ticks = [](int* per_second) {
        *per_second = ticks_per_second;
        return first_tick + time_in_force->m_now * ticks_per_second / second;
    };
    calls.wall_seconds = [] { return time_in_force->m_first_wall_second + time_in_force->m_now / second; };
    calls.sleep = [](timeval span) { return time_in_force->Sleep(span); };
    calls.wait_ready = [](pollfd* descriptors, unsigned count, timeval span) {
        return time_in_force->Wait_Ready(descriptors, count, span);
    };
    Set_System(&calls);
}

ManualTime::~ManualTime()
{
    Set_System(nullptr);
    run_free();
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_parked.empty(); });
    time_in_force = nullptr;
    for (const int wake_up : m_spare_wake_ups) {
        close(wake_up);
    }
}

// ---- The test's side -----------------------------------------------------------------------------------------------

void ManualTime::advance_seconds(std::int64_t seconds)
{
    Wake(seconds * second, false);
}

void ManualTime::Wake(std::int64_t span, bool run_free)
{
    const std::lock_guard lock(m_lock);
    m_now += span;
    m_runs_free = m_runs_free || run_free;
    for (const Parked& wait : m_parked) {
        if (Is_Over(wait)) {
            ring(wait.wake_up);
        }
    }
    m_changed.notify_all();
}

void ManualTime::step_seconds(int seconds, std::size_t parked)
{
    settle(parked);
    for (int i = 0; i < seconds; ++i) {
        advance_seconds(1);
        settle(parked);
    }
}

// A descriptor that has become ready is as good as the end of the span, though its thread may not run yet.
bool ManualTime::May_Go_On(const Parked& wait) const
{
    std::vector<pollfd> descriptors = wait.descriptors;
    return Is_Over(wait) || poll(descriptors.data(), descriptors.size(), 0) > 0;
}

// 0 as long as somebody is on the way out.
std::size_t ManualTime::Settled() const
{
    const bool somebody_goes =
        std::any_of(m_parked.begin(), m_parked.end(), [this](const Parked& wait) { return May_Go_On(wait); });
    return somebody_goes ? 0 : m_parked.size();
}

void ManualTime::settle(std::size_t parked)
{
    const auto give_up = std::chrono::steady_clock::now() + a_minute;
    std::unique_lock lock(m_lock);
    while (Settled() < parked) {
        m_changed.wait_for(lock, look_again);
        if (std::chrono::steady_clock::now() > give_up) {
            throw std::runtime_error(std::to_string(parked) + " threads should be parked, " +
                                     std::to_string(m_parked.size()) + " are");
        }
    }
}

std::size_t ManualTime::parked() const
{
    const std::lock_guard lock(m_lock);
    return static_cast<std::size_t>(
        std::count_if(m_parked.begin(), m_parked.end(), [this](const Parked& wait) { return !May_Go_On(wait); }));
}

std::vector<std::int64_t> ManualTime::waits() const
{
    const std::lock_guard lock(m_lock);
    return m_waits;
}

// ---- The side of the threads under test ----------------------------------------------------------------------------

int ManualTime::Take_Wake_Up()
{
    if (m_spare_wake_ups.empty()) {
        return eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    }
    const int wake_up = m_spare_wake_ups.back();
    m_spare_wake_ups.pop_back();
    return wake_up;
}

void ManualTime::Note(timeval span)
{
    const std::lock_guard lock(m_lock);
    m_waits.push_back(microseconds(span));
}

int ManualTime::Sleep(timeval span)
{
    Note(span);
    return microseconds(span) < shortest_sleep ? Real_System().sleep(span) : Park(nullptr, 0, microseconds(span));
}

int ManualTime::Wait_Ready(pollfd* descriptors, unsigned count, timeval span)
{
    Note(span);
    return microseconds(span) < shortest_wait ? Real_System().wait_ready(descriptors, count, span)
                                              : Park(descriptors, count, microseconds(span));
}

// The eventfd is rung only when the wait is over, so one poll without a limit does it all.
int ManualTime::Park(pollfd* descriptors, unsigned count, std::int64_t span)
{
    std::vector<pollfd> watched(descriptors, descriptors + count);
    int ready = 0;
    int error = 0;
    {
        const Stay stay(*this, span, watched);
        watched.push_back({.fd = stay.Wake_Up(), .events = POLLIN, .revents = 0});
        ready = poll(watched.data(), watched.size(), -1);
        error = errno;
    }
    if (ready < 0) {
        errno = error;
        return ready;
    }
    std::copy_n(watched.begin(), count, descriptors);
    return watched.back().revents != 0 ? ready - 1 : ready;
}
