// A running log in a scratch directory, under a clock in the test's hand (UTC, unless the test says otherwise), and a
// reader of its records that knows the layout by literal offsets.
#pragma once

#include "qcapi/log.h"
#include "qcapi/support.h"
#include "support/fake_system.h"
#include "support/scratch_directory.h"

#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

struct StoredRecord
{
    std::string date;
    std::string hour;
    char priority;
    char source;
    std::uint32_t pkt_length;
    std::uint32_t data_length;
    std::uint32_t compressed_length;
    std::uint32_t status;
    std::string body;
    char end;
};

// Stops at the first byte that can't be one; `EXPECT`s that there is none.
std::vector<StoredRecord> Records_Of(const std::string& bytes);

// The bodies alone.
std::vector<std::string> Bodies_Of(const std::string& bytes);

// Seconds since the epoch of a moment in UTC.
std::int64_t Moment(int year, unsigned month, unsigned day, int hour = 0, int minute = 0, int second = 0);

class LogSession : public testing::Test
{
protected:
    // 2026-11-20 09:30:05
    LogSession();
    ~LogSession() override;

    // The clock is anchored anew, and all offsets are gone.
    void Go_To(std::int64_t moment);
    // The clock check moves the clock, forth or back.
    void Step(std::int64_t seconds);

    void Start() { LOG_Init("any name", scratch.path().c_str()); }
    // What is queued reaches the file.
    std::string Written();
    std::vector<StoredRecord> Records() { return Records_Of(Written()); }
    std::vector<std::string> Bodies() { return Bodies_Of(Written()); }

    // The file looks as if it was last written at the moment.
    void Set_Written_At(const std::string& name, std::int64_t moment) const;

    static void Set_Time_Zone(const char* zone);

    ScratchDirectory scratch;
    FakeSystem system;

private:
    std::int64_t m_stepped = 0;
};
