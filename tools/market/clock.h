// The market's time, behind one interface so that a test can move it.
#pragma once

#include <chrono>
#include <ctime>
#include <string>

namespace qm {

class Clock
{
public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;

    using Time = std::chrono::milliseconds; // since some moment; never goes back

    [[nodiscard]] virtual Time now() const;
    [[nodiscard]] virtual std::timespec wall() const; // since 1970

    [[nodiscard]] std::string date() const; // YYYYMMDD, local time
    [[nodiscard]] std::string hour() const; // HHMMSS, local time
};

} // namespace qm
