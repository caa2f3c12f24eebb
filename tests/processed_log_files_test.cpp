// The files of processed messages: their names and bytes, and what a process knows that starts over them.
#include "support/fake_system.h"
#include "support/killed_child.h"
#include "support/processed_files.h"

#include "qcapi/log_files.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string as_text(std::initializer_list<int> bytes)
{
    std::string text;
    for (const int byte : bytes) {
        text += static_cast<char>(byte);
    }
    return text;
}

// ---- Names and bytes

TEST(ProcessedLogNames, CodeAndTypeStandAheadOfTheExtension)
{
    EXPECT_EQ(LOG_create_ds_log_name("qapi.log", "AB", 0), "qapi.AB00.log");
    EXPECT_EQ(LOG_create_ds_log_name("/home/x.log/qapi.log", "C9", 2), "/home/x.log/qapi.C902.log");
}

TEST_F(ProcessedFiles, AServerHasThreeFilesNamedByItsThirdAndFourthCharacter)
{
    start("XYABXYCD");
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    EXPECT_THAT(names, ElementsAre("qapi.AB00.log", "qapi.AB01.log", "qapi.AB02.log", "qapi.CD00.log", "qapi.CD01.log",
                                   "qapi.CD02.log", "qapi.log"));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(ProcessedFiles, ANewFileIsAHeaderOfZeros)
{
    start();
    EXPECT_EQ(directory.read("qapi.AB00.log"), std::string(28, '\0'));
    EXPECT_EQ(position(), "0 0 ");
}

TEST_F(ProcessedFiles, AFinishedMessageStandsAtAHundredTimesItsNumber)
{
    start();
    handled(MessageHeader(7));
    const std::string header =
        as_text({7, 0, 0, 0, 7, 0, 0, 0, '2', '0', '2', '6', '0', '1', '0', '5', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    const std::string record =
        as_text({7, 0, 0, 0, 1, 0, 0, 0, '2', '0', '2', '6', '0', '1', '0', '5', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(directory.read(file_b), header + std::string(672, '\0') + record);
}

TEST_F(ProcessedFiles, TheTypeChoosesTheFile)
{
    start();
    handled(MessageHeader(1).Persistent());
    handled(MessageHeader(2));
    handled(MessageHeader(3).Put(18, "C"));
    EXPECT_EQ(bytes_at(100, "qapi.AB00.log"), Record_Bytes(1, 1, "20260105"));
    EXPECT_EQ(bytes_at(200, "qapi.AB01.log"), Record_Bytes(2, 1, "20260105"));
    EXPECT_EQ(bytes_at(300, "qapi.AB02.log"), Record_Bytes(3, 1, "20260105"));
}

TEST_F(ProcessedFiles, APendingMessageIsNotInTheFile)
{
    start();
    given(MessageHeader(7));
    EXPECT_EQ(directory.read(file_b), std::string(28, '\0'));
}

TEST_F(ProcessedFiles, AnUntrackedMessageIsNotInTheFile)
{
    start();
    handled(MessageHeader(7).Put(5, "S"));
    EXPECT_EQ(directory.read(file_b), std::string(28, '\0'));
}

TEST_F(ProcessedFiles, ASkippedMessageBehindAPendingOneIsWrittenAndDoesNotLetTheNumberRunAhead)
{
    start();
    handled(MessageHeader(2));
    given(MessageHeader(3));
    skipped(MessageHeader(8));
    EXPECT_EQ(bytes_at(800), Record_Bytes(8, 1, "20260105"));
    EXPECT_EQ(bytes_at(0), Record_Bytes(8, 2, "20260105"));
}

TEST_F(ProcessedFiles, NumberZeroLeavesTheFileAsItIs)
{
    start();
    handled(MessageHeader(5));
    const std::string before = directory.read(file_b);
    given(MessageHeader(0));
    EXPECT_FALSE(is_processed(MessageHeader(0)));
    finished(MessageHeader(0, "20260109"));
    skipped(MessageHeader(0, "20260109"));
    EXPECT_EQ(directory.read(file_b), before);
    EXPECT_FALSE(is_processed(MessageHeader(0)));
}

// The header is what a record of number 0 would be: it must not be taken for one.
TEST_F(ProcessedFiles, NumberZeroIsNotProcessedWhateverTheHeaderHolds)
{
    directory.write(file_b, Record_Bytes(1, 1, "20261231"));
    start();
    EXPECT_FALSE(is_processed(MessageHeader(0)));
}

TEST_F(ProcessedFiles, ALowerNumberOnAnEmptyMapSetsTheHeaderBack)
{
    start();
    handled(MessageHeader(50));
    handled(MessageHeader(20));
    EXPECT_EQ(bytes_at(0), Record_Bytes(20, 20, "20260105"));
    EXPECT_EQ(bytes_at(5000), Record_Bytes(50, 1, "20260105"));
}

TEST_F(ProcessedFiles, ThePlaceOfAMessageNeedsMoreThanThirtyTwoBits)
{
    start();
    handled(MessageHeader(50'000'000)); // at 5,000,000,000, which is 705,032,704 in 32 bits
    EXPECT_EQ(std::filesystem::file_size(file_b), 5'000'000'028U);
    EXPECT_TRUE(is_processed(MessageHeader(50'000'000)));
    EXPECT_FALSE(is_processed(MessageHeader(7'050'327)));
    start();
    EXPECT_TRUE(is_processed(MessageHeader(50'000'000)));
}

TEST_F(ProcessedFiles, TheHighestNumberTakesNoRoomOnTheDisk)
{
    start();
    handled(MessageHeader(0xFFFFFFFF));
    EXPECT_EQ(std::filesystem::file_size(file_b), 429'496'729'528U);
    struct stat file = {};
    ASSERT_EQ(stat(file_b, &file), 0);
    EXPECT_LT(file.st_blocks * 512, 1 << 20);
    EXPECT_TRUE(is_processed(MessageHeader(0xFFFFFFFF)));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

// ---- Across restarts

TEST_F(ProcessedFiles, ARestartRefusesWhatWasFinishedAndTakesWhatWasPending)
{
    start();
    given(MessageHeader(7));
    handled(MessageHeader(8));
    start();
    EXPECT_FALSE(is_processed(MessageHeader(7)));
    EXPECT_TRUE(is_processed(MessageHeader(8)));
    EXPECT_FALSE(is_processed(MessageHeader(9)));
    EXPECT_EQ(position(), "8 6 20260105");
}

TEST_F(ProcessedFiles, TheRecordOfYesterdayIsNotTodaysMessage)
{
    start();
    handled(MessageHeader(7, "20260105"));
    EXPECT_FALSE(is_processed(MessageHeader(7, "20260106")));
    EXPECT_TRUE(is_processed(MessageHeader(7, "20260105")));
}

TEST_F(ProcessedFiles, TheRecordOfTodayIsYesterdaysMessageToo)
{
    start();
    handled(MessageHeader(7, "20260106"));
    EXPECT_TRUE(is_processed(MessageHeader(7, "20260105")));
}

TEST_F(ProcessedFiles, ANewDayWritesOverTheRecordsOfTheOldOne)
{
    start();
    handled(MessageHeader(7, "20260105"));
    handled(MessageHeader(8, "20260105"));
    start();
    handled(MessageHeader(7, "20260106"));
    EXPECT_EQ(bytes_at(700), Record_Bytes(7, 1, "20260106"));
    EXPECT_EQ(bytes_at(800), Record_Bytes(8, 1, "20260105"));
    EXPECT_FALSE(is_processed(MessageHeader(8, "20260106")));
    EXPECT_EQ(position(), "7 7 20260106");
}

TEST_F(ProcessedFiles, AWordOtherThanOneIsNotProcessed)
{
    directory.write(file_b, std::string(700, '\0') + Record_Bytes(7, 0, "20260105") + std::string(72, '\0') +
                                Record_Bytes(8, 2, "20260105"));
    start();
    EXPECT_FALSE(is_processed(MessageHeader(7)));
    EXPECT_FALSE(is_processed(MessageHeader(8)));
}

TEST_F(ProcessedFiles, TypesAndServersKeepToTheirFiles)
{
    start("DSABDSCD");
    handled(MessageHeader(7));
    start("DSCDDSAB");
    EXPECT_TRUE(is_processed(MessageHeader(7)));
    EXPECT_FALSE(is_processed(MessageHeader(7).Of_Server("CD")));
    EXPECT_FALSE(is_processed(MessageHeader(7).Persistent()));
    EXPECT_EQ(position(0), "0 0 ");
    EXPECT_EQ(position(1), "7 7 20260105");
}

TEST_F(ProcessedFiles, AMessageOfAServerThatIsNotConfiguredIsTakenForProcessedAndLeavesNoFile)
{
    start();
    EXPECT_TRUE(is_processed(MessageHeader(7).Of_Server("ZZ")));
    handled(MessageHeader(7).Of_Server("ZZ"));
    EXPECT_FALSE(directory.has("qapi.ZZ01.log"));
}

TEST_F(ProcessedFiles, WhatAFileKnowsOfAServerThatJoinsCounts)
{
    directory.write("qapi.EF01.log", sound_file());
    start();
    COMMON_Set_Code_Data_Servers_List(1, "DSEF");
    EXPECT_EQ(LOG_DS_Files_Init(1), 1);
    EXPECT_TRUE(is_processed(MessageHeader(7).Of_Server("EF")));
    EXPECT_EQ(position(1), "7 7 20260105");
}

// ---- Beginning and end

TEST_F(ProcessedFiles, BehindTheEndNothingIsWritten)
{
    start();
    handled(MessageHeader(7));
    LOG_End();
    handled(MessageHeader(8));
    EXPECT_EQ(bytes_at(0), Record_Bytes(7, 7, "20260105"));
    EXPECT_TRUE(is_processed(MessageHeader(9))); // no server is known any more
    LOG_End();
}

TEST_F(ProcessedFiles, WithoutARunningLogNothingOutlivesTheProcess)
{
    COMMON_Set_Code_Data_Servers_List(1, "DSAB");
    LOG_Msg_Init();
    handled(MessageHeader(7));
    EXPECT_EQ(position(), "7 7 20260105");
    EXPECT_FALSE(directory.has(file_b));
}

TEST_F(ProcessedFiles, AHundredStartsLeaveNoDescriptorOpen)
{
    const auto open_descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    start("DSABDSCD");
    const auto before = open_descriptors();
    for (int i = 0; i < 100; ++i) {
        start("DSABDSCD");
        handled(MessageHeader(7));
    }
    EXPECT_EQ(open_descriptors(), before);
    LOG_End();
    EXPECT_EQ(open_descriptors(), before - 7);
}

// Exit removes the scratch directory too, so the file is held open.
TEST_F(ProcessedFiles, ExitWritesWhatWaitsForTheLog)
{
    directory.write("qapi.log", "");
    std::ifstream log("qapi.log");
    EXPECT_EXIT(
        {
            start();
            LOG_Text("-the last line");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
    const std::string bytes(std::istreambuf_iterator<char>(log), {});
    EXPECT_NE(bytes.find("the last line"), std::string::npos);
}

TEST_F(ProcessedFiles, PendingMessagesAreCountedInOneLine)
{
    start("DSABDSCD");
    LOG_Tell_Pending();
    given(MessageHeader(7));
    given(MessageHeader(8).Persistent());
    given(MessageHeader(7).Of_Server("CD"));
    LOG_Tell_Pending();
    LOG_End();
    const std::string log = directory.read("qapi.log");
    const std::string line = "Messages not finished when the connection closed: 3. Repeats of them are refused until "
                             "Login is called again.";
    EXPECT_NE(log.find(line), std::string::npos);
    EXPECT_EQ(log.find("closed: 0"), std::string::npos);
}

// ---- Two modes of durability

TEST_F(ProcessedFiles, EachFinishedMessageWaitsForTheDiskIfAsked)
{
    static std::atomic<int> waits;
    waits = 0;
    FakeSystem system;
    system.calls.sync_data = [](int) { return ++waits, 0; };
    Set_System(&system.calls);
    start();
    handled(MessageHeader(1));
    EXPECT_EQ(waits, 0);
    Glb_sync_files = 1;
    handled(MessageHeader(2));
    EXPECT_EQ(waits, 1);
    skipped(MessageHeader(3));
    handled(MessageHeader(0));
    EXPECT_EQ(waits, 1);
}

TEST_F(ProcessedFiles, WithTheDiskWaitedForTheBytesAreTheSame)
{
    Glb_sync_files = 1;
    start();
    handled(MessageHeader(7));
    EXPECT_EQ(directory.read(file_b), sound_file());
}

TEST_F(ProcessedFiles, ADiskThatFailsIsReported)
{
    FakeSystem system;
    system.calls.sync_data = [](int) { return errno = EIO, -1; };
    Set_System(&system.calls);
    Glb_sync_files = 1;
    start();
    handled(MessageHeader(2));
    handled(MessageHeader(3)); // and once
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("20 The following log file couldn't be written " +
                                                 directory.path(file_b).string() + ": Input/output error"));
}

// ---- A kill

TEST_F(ProcessedFiles, AKillTakesNothingBackThatHadReturned)
{
    std::uint32_t last = 0;
    for (std::uint32_t kill_behind = 1; kill_behind < 2000; kill_behind *= 2) {
        start();
        const std::uint32_t returned =
            last + Kill_Behind(kill_behind, [&](unsigned step) { handled(MessageHeader(last + step)); });
        start();
        for (std::uint32_t number = 1; number <= returned; ++number) {
            ASSERT_TRUE(is_processed(MessageHeader(number))) << number;
        }
        EXPECT_FALSE(is_processed(MessageHeader(returned + 2)));
        const std::string exact = std::to_string(returned) + ' ' + std::to_string(returned) + " 20260105";
        const std::string ahead = std::to_string(returned + 1) + ' ' + std::to_string(returned + 1) + " 20260105";
        EXPECT_THAT(position(), testing::AnyOf(exact, ahead));
        last = returned;
    }
}

// A number of 1024 has its date on two pages. Of yesterday's year and today's day a date far ahead would come.
TEST_F(ProcessedFiles, AKillLeavesNoDateOfTwoDays)
{
    constexpr std::uint32_t number = 901;
    static_assert((number * 100 + 12) % 4096 == 0);
    const std::array<const char*, 2> dates{"20251231", "20260105"};
    for (unsigned i = 0; i < 100; ++i) {
        start();
        Kill_Behind(1 + i % 50, [&](unsigned step) { handled(MessageHeader(number, dates[step % 2])); });
        const std::string record = bytes_at(number * 100);
        const bool is_processed = record[4] == 1;
        EXPECT_TRUE(!is_processed || record.substr(8, 8) == dates[0] || record.substr(8, 8) == dates[1]) << record;
    }
}

// ---- Threads

TEST_F(ProcessedFiles, HostsFinishWhileServersAreAdded)
{
    start();
    std::array<std::thread, 3> hosts;
    for (unsigned each = 0; each < hosts.size(); ++each) {
        hosts[each] = std::thread([each] {
            for (unsigned i = 0; i < 300; ++i) {
                handled(MessageHeader(1 + each + 3 * i));
                EXPECT_TRUE(is_processed(MessageHeader(1 + each + 3 * i)));
            }
        });
    }
    for (int index = 1; index < DCON_MAX_DS_SERVERS; ++index) {
        std::string({'D', 'S', 'S', static_cast<char>('A' + index)}).copy(glb_dss[index], 4);
        EXPECT_EQ(LOG_DS_Files_Init(index), 1);
    }
    for (std::thread& each : hosts) {
        each.join();
    }
    start();
    for (unsigned number = 1; number <= 900; ++number) {
        EXPECT_TRUE(is_processed(MessageHeader(number))) << number;
    }
}

} // namespace
