// What the build promises to every source, in 64-bit and 32-bit programs alike: times and file offsets of 64 bits.
#include "support/scratch_directory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/types.h>

static_assert(sizeof(std::time_t) == 8);
static_assert(sizeof(off_t) == 8);
static_assert(sizeof(timeval::tv_sec) == 8);

using FileStatus = struct stat;
static_assert(sizeof(FileStatus::st_size) == 8);
static_assert(sizeof(FileStatus::st_mtim.tv_sec) == 8);

namespace {

constexpr std::time_t noon_of_july_1_2040 = 2'224'756'800; // beyond what 32 bits with a sign can hold
constexpr off_t three_gigabytes = 3'000'000'000;

TEST(Build, DatesAfter2038AreKept)
{
    std::tm date{};
    ASSERT_NE(gmtime_r(&noon_of_july_1_2040, &date), nullptr);
    EXPECT_EQ(date.tm_year, 140);
    EXPECT_EQ(date.tm_mon, 6);
    EXPECT_EQ(date.tm_mday, 1);
    EXPECT_EQ(date.tm_hour, 12);
}

TEST(Build, AFileKeepsItsDateAfter2038)
{
    const ScratchDirectory directory;
    directory.write("file", "x");
    const timespec times[2] = {{noon_of_july_1_2040, 0}, {noon_of_july_1_2040, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, "file", times, 0), 0);
    FileStatus status{};
    ASSERT_EQ(stat("file", &status), 0);
    EXPECT_EQ(status.st_mtime, noon_of_july_1_2040);
}

TEST(Build, FilesBeyondTwoGigabytesCanBeReached)
{
    const ScratchDirectory directory;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("file", "wb"), &std::fclose);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fseeko(file.get(), three_gigabytes, SEEK_SET), 0);
    EXPECT_EQ(ftello(file.get()), three_gigabytes);
}

} // namespace
