#include "clock.h"

namespace qm {

namespace {

std::string formatted(std::time_t time, const char* format)
{
    std::tm local{};
    localtime_r(&time, &local);
    char text[16] = {};
    std::strftime(text, sizeof text, format, &local);
    return text;
}

} // namespace

Clock::Time Clock::now() const
{
    return std::chrono::duration_cast<Time>(std::chrono::steady_clock::now().time_since_epoch());
}

std::timespec Clock::wall() const
{
    std::timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

std::string Clock::date() const
{
    return formatted(wall().tv_sec, "%Y%m%d");
}

std::string Clock::hour() const
{
    return formatted(wall().tv_sec, "%H%M%S");
}

} // namespace qm
