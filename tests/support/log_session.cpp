#include "support/log_session.h"

#include "qcapi/log_files.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

std::uint32_t number_at(const std::string& bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;) {
        value = value * 256 + static_cast<unsigned char>(bytes[at + i]);
    }
    return value;
}

StoredRecord record_at(const std::string& bytes, std::size_t at)
{
    const std::uint32_t body_length = number_at(bytes, at + 24);
    return {.date = bytes.substr(at, 8),
            .hour = bytes.substr(at + 8, 6),
            .priority = bytes[at + 14],
            .source = bytes[at + 15],
            .pkt_length = number_at(bytes, at + 16),
            .data_length = number_at(bytes, at + 20),
            .compressed_length = body_length,
            .status = number_at(bytes, at + 28),
            .body = bytes.substr(at + 32, body_length),
            .end = bytes[at + 32 + body_length]};
}

bool record_stands_at(const std::string& bytes, std::size_t at)
{
    return at + 33 <= bytes.size() && number_at(bytes, at + 24) <= 3267 &&
           at + 33 + number_at(bytes, at + 24) <= bytes.size();
}

} // namespace

std::vector<StoredRecord> Records_Of(const std::string& bytes)
{
    std::vector<StoredRecord> records;
    std::size_t at = 0;
    while (record_stands_at(bytes, at)) {
        records.push_back(record_at(bytes, at));
        EXPECT_EQ(records.back().pkt_length, 33 + records.back().compressed_length);
        EXPECT_EQ(records.back().end, '\n');
        at += 33 + records.back().compressed_length;
    }
    EXPECT_EQ(at, bytes.size()) << "something else than a record";
    return records;
}

std::vector<std::string> Bodies_Of(const std::string& bytes)
{
    std::vector<std::string> bodies;
    for (const StoredRecord& record : Records_Of(bytes)) {
        bodies.push_back(record.body);
    }
    return bodies;
}

std::int64_t Moment(int year, unsigned month, unsigned day, int hour, int minute, int second)
{
    namespace ch = std::chrono;
    const ch::sys_days date = ch::year_month_day(ch::year(year), ch::month(month), ch::day(day));
    const auto moment = date + ch::hours(hour) + ch::minutes(minute) + ch::seconds(second);
    return ch::duration_cast<ch::seconds>(moment.time_since_epoch()).count();
}

LogSession::LogSession()
{
    Set_Time_Zone("UTC0");
    Go_To(Moment(2001, 1, 1)); // whatever day an earlier test saw last, it is not next to this test's
    LOG_Check_Update_Last_Log_Date();
    Go_To(Moment(2026, 11, 20, 9, 30, 5));
}

LogSession::~LogSession()
{
    LOG_End();
    Set_Report_Line_Sink(nullptr);
    COMMON_Adjust_Time(0);
}

void LogSession::Go_To(std::int64_t moment)
{
    static std::int64_t next_count = -1'000'000; // a counter that falls far makes the clock look at the wall again
    system.wall = moment;
    system.ticks = next_count;
    next_count -= 1'000'000;
    m_stepped = 0;
    COMMON_Adjust_Time(0);
}

void LogSession::Step(std::int64_t seconds)
{
    m_stepped += seconds;
    COMMON_Adjust_Time(static_cast<long>(m_stepped * FakeSystem::ticks_per_second));
}

std::string LogSession::Written()
{
    LOG_Write_Pending();
    return scratch.read("qapi.log");
}

void LogSession::Set_Written_At(const std::string& name, std::int64_t moment) const
{
    const timespec time{.tv_sec = static_cast<std::time_t>(moment), .tv_nsec = 0};
    const std::array<timespec, 2> access_and_change{time, time};
    ASSERT_EQ(utimensat(AT_FDCWD, scratch.path(name).c_str(), access_and_change.data(), 0), 0);
}

void LogSession::Set_Time_Zone(const char* zone)
{
    setenv("TZ", zone, 1);
    tzset();
}
