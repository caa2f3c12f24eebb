#include "net/event_loop.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace qm {

namespace {

constexpr int events_in_a_round = 64;
constexpr Clock::Time long_wait{60'000};
constexpr std::uint64_t wake_key = std::numeric_limits<std::uint64_t>::max(); // no descriptor has it

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::system_category(), what);
}

// What epoll gives back with an event: the descriptor, and whose it was.
std::uint64_t key_of(int descriptor, std::uint64_t generation)
{
    return generation << 32 | static_cast<std::uint32_t>(descriptor);
}

int descriptor_of(std::uint64_t key)
{
    return static_cast<int>(static_cast<std::uint32_t>(key));
}

bool control(int epoll, int operation, int descriptor, std::uint32_t events, std::uint64_t key)
{
    epoll_event event{};
    event.events = events;
    event.data.u64 = key;
    return epoll_ctl(epoll, operation, descriptor, &event) == 0;
}

} // namespace

EventLoop::EventLoop(const Clock& clock) : m_clock(clock)
{
    m_epoll = epoll_create1(EPOLL_CLOEXEC);
    m_wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_epoll < 0 || m_wake < 0 || !control(m_epoll, EPOLL_CTL_ADD, m_wake, EPOLLIN, wake_key)) {
        const std::error_code error(errno, std::system_category());
        close(m_epoll);
        close(m_wake);
        throw std::system_error(error, "no event loop");
    }
}

EventLoop::~EventLoop()
{
    close(m_epoll);
    close(m_wake);
}

// ---- Descriptors

// A descriptor that was closed while it was watched has left epoll by itself.
void EventLoop::Watch(int descriptor, std::uint32_t events, Ready ready)
{
    const std::uint64_t key = key_of(descriptor, ++m_generation);
    if (!control(m_epoll, EPOLL_CTL_MOD, descriptor, events, key) &&
        !control(m_epoll, EPOLL_CTL_ADD, descriptor, events, key)) {
        fail("a descriptor can't be watched");
    }
    m_watched[descriptor] = {.generation = m_generation, .ready = std::make_shared<const Ready>(std::move(ready))};
}

void EventLoop::Change(int descriptor, std::uint32_t events)
{
    const auto found = m_watched.find(descriptor);
    if (found != m_watched.end() &&
        !control(m_epoll, EPOLL_CTL_MOD, descriptor, events, key_of(descriptor, found->second.generation))) {
        fail("a descriptor can't be watched");
    }
}

void EventLoop::Forget(int descriptor)
{
    if (m_watched.erase(descriptor) != 0) {
        control(m_epoll, EPOLL_CTL_DEL, descriptor, 0, 0);
    }
}

void EventLoop::Take_Event(std::uint64_t key, std::uint32_t events)
{
    const int descriptor = descriptor_of(key);
    const auto found = m_watched.find(descriptor);
    if (found != m_watched.end() && key_of(descriptor, found->second.generation) == key) {
        const std::shared_ptr<const Ready> ready = found->second.ready;
        (*ready)(events);
    }
}

// ---- Timers

EventLoop::Timer EventLoop::After(Clock::Time delay, std::function<void()> call)
{
    const Clock::Time due = m_clock.now() + std::max(delay, Clock::Time::zero());
    const Timer timer = ++m_last_timer;
    m_timers.emplace(std::pair(due, timer), std::move(call));
    m_timer_times.emplace(timer, due);
    return timer;
}

void EventLoop::Cancel(Timer timer)
{
    const auto found = m_timer_times.find(timer);
    if (found != m_timer_times.end()) {
        m_timers.erase({found->second, timer});
        m_timer_times.erase(found);
    }
}

// A timer that is made on the way stands behind those that were due, and waits for the next round.
void EventLoop::Run_Due_Timers()
{
    const Clock::Time now = m_clock.now();
    const Timer last = m_last_timer;
    while (!m_timers.empty()) {
        const auto first = m_timers.begin();
        const auto [due, timer] = first->first;
        if (due > now || timer > last) {
            return;
        }
        const std::function<void()> call = std::move(first->second);
        m_timers.erase(first);
        m_timer_times.erase(timer);
        call();
    }
}

// ---- Other threads

void EventLoop::Wake()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_wake, &one, sizeof one); // full means awake
}

void EventLoop::Post(std::function<void()> call)
{
    const std::lock_guard lock(m_posted_mutex);
    m_posted.push_back(std::move(call));
    if (m_posted.size() == 1) {
        Wake();
    }
}

void EventLoop::Run_Posted()
{
    std::vector<std::function<void()>> posted;
    {
        const std::lock_guard lock(m_posted_mutex);
        posted.swap(m_posted);
    }
    for (const std::function<void()>& call : posted) {
        call();
    }
}

void EventLoop::Stop()
{
    m_stop = true;
    Wake();
}

// ---- Rounds

void EventLoop::Run()
{
    while (!m_stop.exchange(false)) {
        Run_Once(long_wait);
    }
}

// The wake-up is taken before what was posted, so that none is lost.
void EventLoop::Run_Once(Clock::Time longest_wait)
{
    std::array<epoll_event, events_in_a_round> events{};
    const int count = epoll_wait(m_epoll, events.data(), events_in_a_round, Wait_Milliseconds(longest_wait));
    for (int i = 0; i < count; ++i) {
        const epoll_event& event = events.at(static_cast<std::size_t>(i));
        if (event.data.u64 != wake_key) {
            Take_Event(event.data.u64, event.events);
            continue;
        }
        std::uint64_t wakes = 0;
        [[maybe_unused]] const ssize_t taken = read(m_wake, &wakes, sizeof wakes);
    }
    Run_Posted();
    Run_Due_Timers();
}

int EventLoop::Wait_Milliseconds(Clock::Time longest_wait) const
{
    Clock::Time wait = std::clamp(longest_wait, Clock::Time::zero(), long_wait);
    if (!m_timers.empty()) {
        const Clock::Time due = m_timers.begin()->first.first;
        wait = std::min(wait, std::max(due - m_clock.now(), Clock::Time::zero()));
    }
    return static_cast<int>(wait.count());
}

} // namespace qm
