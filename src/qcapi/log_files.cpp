#include "log_files.h"

#include "log.h"
#include "mutex.h"
#include "support.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>

namespace {

bool same_date(const std::tm& one, const std::tm& other)
{
    return one.tm_mday == other.tm_mday && one.tm_mon == other.tm_mon && one.tm_year == other.tm_year;
}

std::tm day_before(const std::tm& day)
{
    std::tm before{};
    before.tm_year = day.tm_year;
    before.tm_mon = day.tm_mon;
    before.tm_mday = day.tm_mday - 1;
    before.tm_hour = 12; // away from the hours that a change to or from summer time removes or repeats
    before.tm_isdst = -1;
    std::mktime(&before);
    return before;
}

Mutex date_lock;
bool any_day_seen GUARDED_BY(date_lock) = false;
unsigned last_second GUARDED_BY(date_lock) = 0; // of the last check; its answer is known
std::tm last_day GUARDED_BY(date_lock){};
std::tm before_last_day GUARDED_BY(date_lock){};

std::tm last_day_seen()
{
    const MutexLock lock(date_lock);
    return last_day;
}

std::string generation(const std::string& stem, int number)
{
    return stem + std::to_string(number) + ".log";
}

std::string stem_of(std::string_view path)
{
    for (const std::string_view ending : {".log", "log"}) {
        if (path.ends_with(ending)) {
            path.remove_suffix(ending.size());
            break;
        }
    }
    return std::string(path);
}

// A log that another program left behind may be open to all; what it holds is the owner's business alone.
void keep_private(const std::string& path)
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    if (fs::is_regular_file(fs::symlink_status(path, ignored))) {
        fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write, ignored);
    }
}

} // namespace

int LOG_Check_Update_Last_Log_Date()
{
    const MutexLock lock(date_lock);
    const unsigned now = COMMON_GetTime();
    if (any_day_seen && now == last_second) {
        return 0;
    }
    const std::time_t seconds = now;
    std::tm day{};
    if (localtime_r(&seconds, &day) == nullptr) {
        return 0;
    }
    last_second = now;
    if (any_day_seen && (same_date(day, last_day) || same_date(day, before_last_day))) {
        return 0;
    }
    any_day_seen = true;
    last_day = day;
    before_last_day = day_before(day);
    return 1;
}

int LOG_Is_File_Same_Date(const char* path, const std::tm& day)
{
    struct stat file = {};
    if (stat(path, &file) != 0) {
        return 1;
    }
    std::tm written{};
    if (localtime_r(&file.st_mtime, &written) == nullptr) {
        return 0;
    }
    return same_date(written, day) && written.tm_wday == day.tm_wday ? 1 : 0;
}

void LOG_Rename_Log_Files(const char* path)
{
    const std::string stem = stem_of(path);
    std::remove(generation(stem, LOG_GENERATIONS).c_str());
    for (int number = LOG_GENERATIONS - 1; number >= 1; --number) {
        std::rename(generation(stem, number).c_str(), generation(stem, number + 1).c_str());
    }
    const std::string newest = generation(stem, 1);
    if (std::rename(path, newest.c_str()) == 0) {
        keep_private(newest);
    }
}

std::string LOG_create_ds_log_name(const std::string& path, const char* code, int log_type)
{
    return stem_of(path) + "." + std::string(code, 2) + "0" + std::to_string(log_type) + ".log";
}

void LOG_Check_Log_Files_Renaming(const char* path)
{
    if (LOG_Is_File_Same_Date(path, last_day_seen()) == 0) {
        LOG_Rename_Log_Files(path);
    }
}
