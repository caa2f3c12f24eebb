#include "thrct.h"

#include "process_lifetime.h"
#include "qcapi/support.h"
#include "system_seam.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <mutex>

namespace {

struct Thread_Count
{
    std::mutex lock;
    std::condition_variable reached_zero;
    std::condition_variable another_start;
    int count = 0;        // guarded by `lock`
    unsigned started = 0; // guarded by `lock`
};

constinit ProcessLifetime<Thread_Count> L_thread_count([] { return new Thread_Count; });
constinit std::atomic<bool> L_thread_count_lock_inited{false};

timeval span_of(std::int64_t ticks, int ticks_per_second)
{
    timeval span{};
    span.tv_sec = static_cast<decltype(span.tv_sec)>(ticks / ticks_per_second);
    span.tv_usec = static_cast<decltype(span.tv_usec)>(ticks % ticks_per_second * 1'000'000 / ticks_per_second);
    return span;
}

// Waits one second, less if the counter reaches 0. Whatever else wakes it, the round keeps its length: the limit of
// Logout is a span of time.
void wait_one_round(Thread_Count& threads, std::unique_lock<std::mutex>& lock)
{
    int ticks_per_second = 1;
    const std::int64_t end = COMMON_SYS_Times(&ticks_per_second) + ticks_per_second;
    std::int64_t left = ticks_per_second;
    while (threads.count > 0 && left > 0 && left <= ticks_per_second &&
           System().wait(threads.reached_zero, lock, span_of(left, ticks_per_second))) {
        left = end - COMMON_SYS_Times(&ticks_per_second);
    }
}

bool threads_end_in_time()
{
    std::unique_lock lock(L_thread_count->lock);
    for (int round = 0; round < THRCT_WAIT_ROUNDS && L_thread_count->count > 0; ++round) {
        wait_one_round(*L_thread_count, lock);
    }
    return L_thread_count->count < 1;
}

} // namespace

void THRCT_Init()
{
    if (!L_thread_count_lock_inited.exchange(true)) {
        std::atexit(THRCT_End_Thread_Count_Mutex);
    }
}

void THRCT_End_Thread_Count_Mutex()
{
    // Threads still count while the process exits, so there is a lock to the very end.
}

void THRCT_Increase_App_Thread_Counter()
{
    const std::lock_guard lock(L_thread_count->lock);
    ++L_thread_count->count;
    ++L_thread_count->started;
    L_thread_count->another_start.notify_all();
}

void THRCT_Decrease_App_Thread_Counter()
{
    const std::lock_guard lock(L_thread_count->lock);
    if (--L_thread_count->count < 1) {
        L_thread_count->reached_zero.notify_all();
    }
}

int THRCT_Get_App_Thread_Counter()
{
    const std::lock_guard lock(L_thread_count->lock);
    return L_thread_count->count;
}

unsigned THRCT_Get_Started_Threads()
{
    const std::lock_guard lock(L_thread_count->lock);
    return L_thread_count->started;
}

void THRCT_Wait_For_Another_Start(unsigned started_before)
{
    std::unique_lock lock(L_thread_count->lock);
    L_thread_count->another_start.wait(lock, [&] { return L_thread_count->started != started_before; });
}

void THRCT_Wait_For_Threads_Termination()
{
    COMMON_Put_Syslog_Message(0, "Waiting threads termination........");
    THRCT_Wait_Without_Notice();
}

void THRCT_Wait_Without_Notice()
{
    if (!threads_end_in_time()) {
        THRCT_Force_Segmentation();
    }
}

__attribute__((no_sanitize("undefined"))) void THRCT_Force_Segmentation()
{
    // Volatile twice: the compiler may neither see that the pointer is null nor leave the write out.
    volatile int* volatile nowhere = nullptr;
    *nowhere = 0; // NOLINT(clang-analyzer-core.NullDereference): it is what this function is for
    std::abort(); // where a page is mapped at address 0
}
