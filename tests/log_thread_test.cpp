// Who writes the running log's file and when: the log thread, and before and after it whoever runs the session.
#include "arrm.h"
#include "global.h"
#include "support/file_size_limit.h"
#include "support/log_session.h"
#include "thrct.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

void collect(int status, const std::string& record = {})
{
    Glb_Log_Mss->Collect(status, record.data(), static_cast<int>(record.size()), nullptr, nullptr);
}

class LogThread : public LogSession
{
protected:
    ~LogThread() override { Stop_Thread(); }

    void Start_Thread()
    {
        m_thread = std::thread([] { LOG_Process(nullptr); });
        while (THRCT_Get_App_Thread_Counter() == 0) {
            std::this_thread::yield();
        }
    }
    void Stop_Thread()
    {
        if (m_thread.joinable()) {
            collect(TCP_SHUTTING_DOWN);
            m_thread.join();
        }
    }
    void Join() { m_thread.join(); }

    // Descriptors of this process that are open on a file of the scratch directory.
    [[nodiscard]] std::vector<int> Descriptors() const
    {
        std::vector<int> found;
        for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            if (fs::read_symlink(entry.path(), gone).string().starts_with(scratch.path().string())) {
                found.push_back(std::stoi(entry.path().filename()));
            }
        }
        return found;
    }

private:
    std::thread m_thread;
};

TEST_F(LogThread, WritesEachRecordAndLeavesTheFileOpen)
{
    Start();
    LOG_Text("-before the thread");
    Start_Thread();
    LOG_Text("-while it runs");
    Stop_Thread();
    EXPECT_EQ(Bodies_Of(scratch.read("qapi.log")), (Names{"before the thread", "while it runs"}));
    LOG_Text("-after it");
    EXPECT_EQ(Bodies().back(), "after it");
}

TEST_F(LogThread, RecordReachesTheFileWithoutAStop)
{
    Start();
    Start_Thread();
    LOG_Text("-t");
    while (scratch.read("qapi.log").size() < 34) {
        std::this_thread::yield();
    }
    EXPECT_EQ(Bodies_Of(scratch.read("qapi.log")), Names{"t"});
}

TEST_F(LogThread, CountsItselfWhileItRuns)
{
    Start_Thread();
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 1);
    Stop_Thread();
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 0);
}

TEST_F(LogThread, GoesOnAfterAPostWithoutARecord)
{
    Start();
    collect(0, "dropped");
    Glb_Log_Mss->Dropped();
    Start_Thread();
    LOG_Text("-t");
    Stop_Thread();
    EXPECT_EQ(Bodies_Of(scratch.read("qapi.log")), Names{"t"});
}

TEST_F(LogThread, PacketForTheLogThreadAloneIsTakenAndNotWritten)
{
    Start();
    collect(TCP_STATUS_LOG_PACKET, "not for the file");
    LOG_Text("-t");
    EXPECT_EQ(Bodies(), Names{"t"});
    Start_Thread();
    collect(TCP_STATUS_LOG_PACKET, "not for the file");
    Stop_Thread();
    EXPECT_EQ(Bodies(), Names{"t"});
}

TEST_F(LogThread, PendingRecordsAreWrittenPastAStop)
{
    Start();
    LOG_Text("-one");
    collect(TCP_SHUTTING_DOWN);
    LOG_Text("-two");
    EXPECT_EQ(Bodies(), (Names{"one", "two"}));
    EXPECT_EQ(Glb_Log_Mss->Is_Any_Pkt(), 0);
}

TEST_F(LogThread, PendingRecordsTakeTheirPostsAlong)
{
    Start();
    for (int i = 0; i < 10; ++i) {
        LOG_Text("-%d", i);
    }
    LOG_Write_Pending();
    collect(0, "a record of the test");
    EXPECT_EQ(Glb_Log_Mss->Check_For_Any_Pkt_Without_Wait(), 1);
    EXPECT_EQ(Glb_Log_Mss->Check_For_Any_Pkt_Without_Wait(), 0) << "a post was left over";
}

// The thread takes what waits in bursts; a stop inside one still ends it there.
TEST_F(LogThread, StopEndsTheThreadAheadOfLaterRecordsAtAnyPlace)
{
    Start();
    for (const std::size_t ahead : {0U, 1U, 15U, 16U, 17U, 40U}) {
        for (std::size_t i = 0; i < ahead; ++i) {
            LOG_Text("-%zu", i);
        }
        collect(TCP_SHUTTING_DOWN);
        LOG_Text("-later");
        LOG_Process(nullptr);
        EXPECT_EQ(Bodies_Of(scratch.read("qapi.log")).size(), ahead);
        EXPECT_EQ(Bodies().size(), ahead + 1);
        LOG_End();
        fs::remove(scratch.path("qapi.log"));
        Start();
    }
}

TEST_F(LogThread, EndWritesWhatWaitsAndIsSafeTwice)
{
    Start();
    LOG_Text("-t");
    LOG_End();
    LOG_End();
    EXPECT_EQ(Bodies_Of(scratch.read("qapi.log")), Names{"t"});
    EXPECT_TRUE(Descriptors().empty());
}

TEST_F(LogThread, EndDoesNotTakeTheStopFromARunningThread)
{
    for (int round = 0; round < 50; ++round) {
        Start();
        Start_Thread();
        LOG_Text("-t");
        collect(TCP_SHUTTING_DOWN);
        LOG_End();
        Join();
        EXPECT_EQ(Bodies_Of(scratch.read("qapi.log")), Names{"t"});
        fs::remove(scratch.path("qapi.log"));
    }
}

TEST_F(LogThread, HundredRoundsLeaveNoDescriptor)
{
    for (int round = 0; round < 100; ++round) {
        Start();
        Start();
        EXPECT_EQ(Descriptors().size(), 1U);
        LOG_End();
    }
    EXPECT_TRUE(Descriptors().empty());
}

TEST_F(LogThread, ChildProcessesDoNotInheritTheFile)
{
    Start();
    ASSERT_EQ(Descriptors().size(), 1U);
    EXPECT_EQ(fcntl(Descriptors().front(), F_GETFD), FD_CLOEXEC);
}

TEST_F(LogThread, NoRecordIsLostWhileTheDayChanges)
{
    constexpr int texts_of_each = 2000;
    constexpr int days = 5;
    Start();
    Start_Thread();
    std::atomic<int> written{0};
    auto write_texts = [&written](const char* who) {
        for (int i = 0; i < texts_of_each; ++i) {
            LOG_Text("-%s %d", who, i);
            ++written;
        }
    };
    std::thread first(write_texts, "first");
    std::thread second(write_texts, "second");
    for (int changed = 1; changed <= days; ++changed) {
        while (written < changed * 2 * texts_of_each / (days + 1)) {
            std::this_thread::yield();
        }
        Step(86400);
    }
    first.join();
    second.join();
    Stop_Thread();

    Names texts = Bodies_Of(scratch.read("qapi.log"));
    for (int number = 1; number <= 5; ++number) {
        for (const std::string& text : Bodies_Of(scratch.read("qapi" + std::to_string(number) + ".log"))) {
            texts.push_back(text);
        }
    }
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(texts.size(), 2U * texts_of_each);
    EXPECT_EQ(std::adjacent_find(texts.begin(), texts.end()), texts.end()) << "written twice";
}

// ---- Trouble with the file -----------------------------------------------------------------------------------------

class LogTrouble : public LogThread
{
protected:
    // A whole short session with texts, messages and the log thread.
    static void Use_The_Log()
    {
        LOG_Text("-t");
        LOG_Put_Msg("m", "p", 1, nullptr, 0, nullptr);
        LOG_Write_Pending();
    }
};

TEST_F(LogTrouble, DirectoryWithTheLogsNameMeansNoLog)
{
    fs::create_directory(scratch.path("qapi.log"));
    Set_Written_At("qapi.log", Moment(2026, 11, 20, 9));
    Start();
    Use_The_Log();
    EXPECT_TRUE(fs::is_directory(scratch.path("qapi.log")));
    EXPECT_EQ(Glb_Log_Mss->Is_Any_Pkt(), 0);
    EXPECT_TRUE(Descriptors().empty());
}

TEST_F(LogTrouble, DirectoryWhereNothingCanBeMadeMeansNoLog)
{
    for (const char* directory : {"/proc", "/dev/null", "/no/such/directory"}) {
        LOG_Init("any name", directory);
        LOG_Text("-t");
        EXPECT_EQ(Glb_Log_Mss->Is_Any_Pkt(), 0) << directory;
    }
}

TEST_F(LogTrouble, LaterSessionWithAGoodDirectoryHasALogAgain)
{
    LOG_Init("any name", "/no/such/directory");
    Start();
    LOG_Text("-t");
    EXPECT_EQ(Bodies(), Names{"t"});
}

TEST_F(LogTrouble, NoNameForTheDirectoryMeansTheWorkingDirectory)
{
    LOG_Init("any name", "");
    LOG_Text("-one");
    LOG_Init("any name", nullptr);
    LOG_Text("-two");
    LOG_Write_Pending();
    EXPECT_TRUE(scratch.has("qapi.log"));
    EXPECT_FALSE(fs::exists("/qapi.log"));
}

TEST_F(LogTrouble, WorkingDirectoryThatWasDeletedStopsNothing)
{
    fs::create_directory("work");
    fs::current_path("work");
    const std::string place = scratch.path("work");
    LOG_Init("any name", place.c_str());
    fs::remove_all(place);
    Use_The_Log();
    Step(86400);
    Use_The_Log(); // can't be opened again: no log from here on
    LOG_Text("-t");
    EXPECT_EQ(Glb_Log_Mss->Is_Any_Pkt(), 0);
    LOG_Init("any name", place.c_str());
    LOG_Init("any name", "");
    Use_The_Log();
    EXPECT_FALSE(fs::exists(place));
}

TEST_F(LogTrouble, FullDeviceStopsNothing)
{
    struct stat device = {};
    ASSERT_EQ(stat("/dev/full", &device), 0);
    Go_To(device.st_mtime); // written today, so the link stays where it is
    fs::create_symlink("/dev/full", scratch.path("qapi.log"));
    Start();
    Start_Thread();
    for (int i = 0; i < 100; ++i) {
        LOG_Text("-%d", i);
    }
    Stop_Thread();
    EXPECT_TRUE(fs::is_symlink(scratch.path("qapi.log")));
    struct stat after = {};
    ASSERT_EQ(stat("/dev/full", &after), 0);
    EXPECT_EQ(after.st_mode, device.st_mode) << "a device is not the log's to close to others";
}

// The limit on a file's size behaves like a full disk: the record that reaches it is written in part.
TEST_F(LogTrouble, FullDiskLeavesNoTornRecordAndWritingGoesOnWhenThereIsRoom)
{
    Start();
    {
        const FileSizeLimit full(100); // two records of 34 bytes, and part of a third
        for (const char* text : {"1", "2", "3", "4"}) {
            LOG_Text("-%s", text);
        }
        LOG_Write_Pending();
    }
    EXPECT_EQ(scratch.read("qapi.log").size(), 68U);
    LOG_Text("-5");
    EXPECT_EQ(Bodies(), (Names{"1", "2", "5"}));
}

// A write that begins at the limit would be answered by a signal that ends the process.
TEST_F(LogTrouble, RecordBehindTheLimitOfFileSizesIsLostAndEndsNobody)
{
    Start();
    {
        const FileSizeLimit full(68);
        for (const char* text : {"1", "2", "3"}) {
            LOG_Text("-%s", text);
            LOG_Write_Pending();
        }
        Set_Written_At("qapi.log", Moment(2026, 11, 20)); // today, so that the file stays
        Start();                                          // opens a file that is as long as it may be
        LOG_Text("-4");
        LOG_Write_Pending();
    }
    EXPECT_EQ(scratch.read("qapi.log").size(), 68U);
    LOG_Text("-5");
    EXPECT_EQ(Bodies(), (Names{"1", "2", "5"}));
}

TEST_F(LogTrouble, DiskThatIsFullAheadOfTheFirstRecordEndKeepsNothingOfIt)
{
    Start();
    {
        const FileSizeLimit full(33);
        LOG_Text("-1");
        LOG_Write_Pending();
    }
    EXPECT_EQ(scratch.read("qapi.log").size(), 0U);
    LOG_Text("-2");
    EXPECT_EQ(Bodies(), Names{"2"});
}

} // namespace
