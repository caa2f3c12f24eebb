#include "support.h"

#include "mutex.h"
#include "system_seam.h"

#include <algorithm>
#include <cstring>

std::atomic<long> Glb_time_diff{0};
char Glb_last_sent_date[8 + 1] = "";
std::atomic<unsigned> Glb_last_sent_message_num{0};

namespace {

// A tick count that falls by less than this is one moment seen by two threads or two processors, not a new count.
constexpr std::int64_t same_count_seconds = 60;

// The clock is read for every line of the log, so reading takes no lock. What makes the two words safe without one is
// their order. Anchoring stores L_initial_time first and L_last_tick second; a reader loads them in the opposite order
// and asks for the ticks last. So with the new L_last_tick it also has the new L_initial_time, and with the old
// L_last_tick any tick of the new count shows as a fall and sends it to the lock.
constinit std::atomic<std::int64_t> L_initial_time{0}; // wall-clock second at tick 0; 0 before the first reading
constinit std::atomic<std::int64_t> L_last_tick{0};    // highest tick read since then

constinit Mutex anchor_lock; // held by whoever writes L_initial_time
constinit Mutex date_lock;   // guards Glb_last_sent_date

// The day that the running number belongs to. Glb_last_sent_date is of no use for that: a stored message of yesterday
// moves it back, and numbers that start again within a day look like repeats to a server.
char numbered_day[8 + 1] GUARDED_BY(date_lock) = "";

struct Clock_Reading
{
    std::int64_t tick;
    std::int64_t anchor;
    int ticks_per_second;
};

constexpr std::int64_t floor_divide(std::int64_t value, std::int64_t divisor)
{
    const std::int64_t quotient = value / divisor;
    return value % divisor < 0 ? quotient - 1 : quotient;
}

// The offset comes from the peer, so the sum may leave the range; it then wraps.
constexpr std::int64_t wrapping_add(std::int64_t left, std::int64_t right)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(left) + static_cast<std::uint64_t>(right));
}

bool is_new_count(std::int64_t tick, std::int64_t last_tick, int ticks_per_second)
{
    return last_tick - tick >= same_count_seconds * ticks_per_second;
}

// Lifts L_last_tick from `seen`. Gives up when the word fell meanwhile: it then belongs to a newer count than `tick`.
void raise_last_tick(std::int64_t seen, std::int64_t tick)
{
    std::int64_t current = seen;
    while (current >= seen && current < tick &&
           !L_last_tick.compare_exchange_weak(current, tick, std::memory_order_relaxed)) {
    }
}

Clock_Reading continue_count(std::int64_t tick, std::int64_t last_tick, std::int64_t anchor, int ticks_per_second)
{
    raise_last_tick(last_tick, tick);
    return {std::max(tick, last_tick), anchor, ticks_per_second};
}

Clock_Reading read_anchoring()
{
    const MutexLock lock(anchor_lock);
    const std::int64_t last_tick = L_last_tick.load(std::memory_order_relaxed);
    const std::int64_t anchor = L_initial_time.load(std::memory_order_relaxed);
    int ticks_per_second = 1;
    const std::int64_t tick = COMMON_SYS_Times(&ticks_per_second);
    if (anchor != 0 && !is_new_count(tick, last_tick, ticks_per_second)) {
        return continue_count(tick, last_tick, anchor, ticks_per_second); // another thread has just anchored
    }
    const std::int64_t new_anchor = System().wall_seconds() - floor_divide(tick, ticks_per_second);
    L_initial_time.store(new_anchor, std::memory_order_release);
    L_last_tick.store(tick, std::memory_order_release);
    return {tick, new_anchor, ticks_per_second};
}

Clock_Reading read_clock()
{
    const std::int64_t last_tick = L_last_tick.load(std::memory_order_acquire);
    const std::int64_t anchor = L_initial_time.load(std::memory_order_acquire);
    int ticks_per_second = 1;
    const std::int64_t tick = COMMON_SYS_Times(&ticks_per_second);
    if (anchor == 0 || is_new_count(tick, last_tick, ticks_per_second)) {
        return read_anchoring();
    }
    return continue_count(tick, last_tick, anchor, ticks_per_second);
}

Clock_Reading adjusted(Clock_Reading reading)
{
    reading.tick = wrapping_add(reading.tick, Glb_time_diff.load(std::memory_order_relaxed));
    return reading;
}

unsigned seconds_of(const Clock_Reading& reading)
{
    return static_cast<unsigned>(floor_divide(reading.tick, reading.ticks_per_second) + reading.anchor);
}

unsigned with_fraction(const Clock_Reading& reading, unsigned* g_numerator, unsigned* g_denominator)
{
    const std::int64_t remainder = reading.tick % reading.ticks_per_second;
    *g_numerator = static_cast<unsigned>(remainder < 0 ? remainder + reading.ticks_per_second : remainder);
    *g_denominator = static_cast<unsigned>(reading.ticks_per_second);
    return seconds_of(reading);
}

} // namespace

std::int64_t COMMON_SYS_Times(int* scale)
{
    return System().ticks(scale);
}

unsigned COMMON_GetTime()
{
    return seconds_of(adjusted(read_clock()));
}

unsigned COMMON_GetTime_Frc(unsigned* g_numerator, unsigned* g_denominator)
{
    return with_fraction(adjusted(read_clock()), g_numerator, g_denominator);
}

unsigned COMMON_GetLocTime_Frc(unsigned* g_numerator, unsigned* g_denominator)
{
    return with_fraction(read_clock(), g_numerator, g_denominator);
}

void COMMON_Adjust_Time(long adjust_time)
{
    // The lock also spans the reading of the day: a thread that read yesterday must not store it over today.
    const MutexLock lock(date_lock);
    Glb_time_diff.store(adjust_time, std::memory_order_relaxed);
    char today[10];
    L_Get_Other_Date(0, today, nullptr);
    std::memcpy(Glb_last_sent_date, today, sizeof Glb_last_sent_date);
    if (std::strcmp(today, numbered_day) != 0) {
        std::memcpy(numbered_day, today, sizeof numbered_day);
        Glb_last_sent_message_num.store(0, std::memory_order_relaxed);
    }
}

void COMMON_Put_Last_Sent_Date(const char* date)
{
    const MutexLock lock(date_lock);
    std::memcpy(Glb_last_sent_date, date, sizeof Glb_last_sent_date - 1);
}

void COMMON_Get_Last_Sent_Date(char* date)
{
    const MutexLock lock(date_lock);
    std::memcpy(date, Glb_last_sent_date, sizeof Glb_last_sent_date);
}

int Do_Sleep(long seconds)
{
    timeval span{};
    span.tv_sec = std::max(seconds, 0L);
    return System().sleep(span);
}

int Do_mSleep(unsigned milliseconds)
{
    timeval span{};
    span.tv_sec = milliseconds / 1000;
    span.tv_usec = static_cast<suseconds_t>(milliseconds % 1000) * 1000;
    return System().sleep(span);
}
