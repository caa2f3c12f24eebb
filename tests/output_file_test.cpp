// Records that are appended to a file, many with each write.
#include "replay/output_file.h"

#include "support/file_size_limit.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace {

class OutputFileTest : public testing::Test
{
protected:
    ScratchDirectory directory;
    OutputFile out;
};

TEST_F(OutputFileTest, RecordsComeBehindWhatStandsThere)
{
    directory.write("out", "before ");
    ASSERT_TRUE(out.Open("out"));
    EXPECT_TRUE(out.Write("one "));
    EXPECT_TRUE(out.Write("two"));
    EXPECT_TRUE(out.Flush());
    EXPECT_EQ(directory.read("out"), "before one two");
    EXPECT_EQ(out.Written(), 2U);
}

TEST_F(OutputFileTest, ANewFileIsItsOwnersAlone)
{
    ASSERT_TRUE(out.Open("out"));
    EXPECT_EQ(std::filesystem::status("out").permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(OutputFileTest, ManyRecordsComeInTheirOrder)
{
    ASSERT_TRUE(out.Open("out"));
    std::string all;
    for (int number = 0; number < 200'000; ++number) {
        const std::string record = std::to_string(number) + '\n';
        ASSERT_TRUE(out.Write(record));
        all += record;
    }
    EXPECT_TRUE(out.Flush());
    EXPECT_TRUE(directory.read("out") == all);
    EXPECT_EQ(out.Written(), 200'000U);
}

TEST_F(OutputFileTest, AFullDiskLeavesWholeRecordsAndTellsHowMany)
{
    const std::string record(100'000, 'r');
    ASSERT_TRUE(out.Open("out"));
    {
        const FileSizeLimit limit(1'000'000);
        while (out.Write(record)) {
        }
        EXPECT_EQ(out.Error(), EFBIG);
    }
    EXPECT_FALSE(out.Write(record));
    EXPECT_FALSE(out.Flush());
    EXPECT_EQ(out.Written(), 9U);
    EXPECT_EQ(directory.read("out").size(), 9 * record.size());
}

TEST_F(OutputFileTest, WhatIsNoFileIsRefused)
{
    EXPECT_FALSE(out.Open(nullptr));
    EXPECT_FALSE(out.Open("."));
    EXPECT_FALSE(out.Open("missing/out"));
}

} // namespace
