// How the process ends: by exit() in any thread and at any moment, and by the deliberate crash behind 35 seconds.
#include "arrm.h"
#include "global.h"
#include "support/fake_system.h"
#include "support/log_records.h"
#include "support/session_fixture.h"
#include "thrct.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

// Threads that a process leaves running at its end are what these tests are about.
extern "C" __attribute__((visibility("default"))) const char*
__tsan_default_options();                       // NOLINT(bugprone-reserved-identifier): the sanitizer's own name
extern "C" const char* __tsan_default_options() // NOLINT(bugprone-reserved-identifier)
{
    return "report_thread_leaks=0";
}

namespace {

class ExitTest : public SessionTest
{
protected:
    ExitTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

constexpr const char* cant_connect = "status 7 Can't connect";

// Tells on standard error what it hears, which is where a death test listens.
struct TellingHost : RecordingHost
{
    TellingHost()
    {
        in_callback = [](const std::string& line) { std::fprintf(stderr, "[%s]\n", line.c_str()); };
    }
};

// Waits of the library return at once here, as if their second had passed; all else is real. The crash that comes next
// removes no scratch directory.
void let_waits_pass_at_once()
{
    std::filesystem::remove_all(std::filesystem::current_path());
    static SystemCalls calls = System();
    calls.wait = [](std::condition_variable&, std::unique_lock<std::mutex>&, timeval span) {
        std::fprintf(stderr, "<%ld>", static_cast<long>(span.tv_sec));
        return false;
    };
    Set_System(&calls);
}

// Called before Login, so that it runs behind the library's own handler.
void tell_last_line_of_log_at_exit()
{
    std::atexit([] {
        std::ifstream log("qapi.log", std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(log), {}};
        std::fprintf(stderr, "%s", text_lines_of_log(bytes).back().c_str());
    });
}

std::string thirty_five_seconds()
{
    std::string waits;
    for (int i = 0; i < 35; ++i) {
        waits += "<1>";
    }
    return waits;
}

using testing::AllOf;
using testing::ContainsRegex;
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::KilledBySignal;
using testing::Not;

TEST_F(ExitTest, ACallbackThatNeverReturnsEndsTheProcessAfterThirtyFiveSeconds)
{
    EXPECT_EXIT(
        {
            let_crashes_kill();
            RecordingHost host;
            host.login();
            wait_for_worker_threads(4);
            std::atomic<bool> stuck{false};
            host.in_callback = [&](const std::string& line) {
                if (line == cant_connect) {
                    stuck = true;
                    stuck.notify_all();
                    for (;;) {
                        pause();
                    }
                }
            };
            connection_says(TCP_ERROR_CANT_CONNECT);
            stuck.wait(false);
            let_waits_pass_at_once();
            host.Logout();
        },
        KilledBySignal(SIGSEGV), thirty_five_seconds());
}

TEST_F(ExitTest, TheThirtyFiveSecondsRunOnAnotherThreadThanTheMastersToo)
{
    EXPECT_EXIT(
        {
            let_crashes_kill();
            RecordingHost host;
            host.login();
            wait_for_worker_threads(4);
            std::atomic<bool> stuck{false};
            host.in_callback = [&](const std::string&) {
                stuck = true;
                stuck.notify_all();
                for (;;) {
                    pause();
                }
            };
            connection_says(TCP_ERROR_CANT_CONNECT);
            stuck.wait(false);
            let_waits_pass_at_once();
            std::thread([&] { host.Logout(); }).join();
        },
        KilledBySignal(SIGSEGV), thirty_five_seconds());
}

TEST_F(ExitTest, LogoutAfterConnectWaitsForTheLogThreadInVain)
{
    EXPECT_EXIT(
        {
            let_crashes_kill();
            RecordingHost host;
            host.connect("127.0.0.1", 1);
            wait_for_worker_threads(4);
            let_waits_pass_at_once();
            host.Logout();
        },
        KilledBySignal(SIGSEGV), thirty_five_seconds());
}

TEST_F(ExitTest, ASessionThatRunsAtExitIsStoppedWithoutStatusCallbacks)
{
    EXPECT_EXIT(
        {
            TellingHost* host = new TellingHost; // lives until the end of the process
            host->login();
            host->ProcessMyEvents(); // the reader's callbacks wait from here on
            connection_says(TCP_ERROR_CANT_CONNECT);
            connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "closed at exit");
            while (Glb_Recv_Mss->Get_Total_DataPacket() < 1) {
                std::this_thread::yield();
            }
            std::exit(5);
        },
        ExitedWithCode(5),
        AllOf(ContainsRegex("disconnection [0-9] closed at exit"), Not(HasSubstr("[status 20")),
              Not(HasSubstr("[status 27")), Not(HasSubstr("[status 7"))));
}

TEST_F(ExitTest, ExitInsideACallbackEndsTheOtherThreadsAndNotItsOwn)
{
    EXPECT_EXIT(
        {
            TellingHost* host = new TellingHost;
            host->in_callback = [](const std::string& line) {
                if (line == cant_connect) {
                    std::exit(6);
                }
                std::fprintf(stderr, "[%s]\n", line.c_str());
            };
            host->login();
            connection_says(TCP_ERROR_CANT_CONNECT);
            for (;;) {
                pause();
            }
        },
        ExitedWithCode(6), "^$");
}

TEST_F(ExitTest, ExitInsideAReportOfAReplayCountsOnlyThreadsThatCount)
{
    LogRecord cut = LogRecord::Message("575");
    cut.data_length = 4; // one byte more than there is: a report on the replay's thread
    const std::string log = cut.bytes();
    EXPECT_EXIT(
        {
            std::atexit([] { std::fprintf(stderr, "threads %d", THRCT_Get_App_Thread_Counter()); });
            scratch.write("qapi.cfg", "data_server DSAB\ntesting_file yesterday.log\n");
            scratch.write("yesterday.log", log);
            TellingHost* host = new TellingHost;
            host->in_callback = [](const std::string& line) {
                if (line.starts_with("error 1 Uncompressed packet")) {
                    std::exit(14);
                }
            };
            host->login();
            for (;;) {
                pause();
            }
        },
        ExitedWithCode(14), "threads 0");
}

TEST_F(ExitTest, ExitBesideATranslationEndsIt)
{
    const std::string log = LogRecord::Text("ER-a line").bytes();
    EXPECT_EXIT(
        {
            std::atexit([] { std::fprintf(stderr, "<%ju>", std::filesystem::file_size("translated.log")); });
            scratch.write("qapi.cfg", "data_server DSAB\ntesting_file yesterday.log\n"
                                      "testing_output_file translated.log\n");
            scratch.write("yesterday.log", log);
            TellingHost* host = new TellingHost;
            std::thread exiting;
            host->in_callback = [&](const std::string& line) {
                if (line.starts_with("status 21")) {
                    exiting = std::thread([] { std::exit(15); });
                    while (!CQcApi::atexitqapi) {
                        std::this_thread::yield();
                    }
                }
            };
            host->login();
            exiting.join();
        },
        ExitedWithCode(15), "<0>");
}

TEST_F(ExitTest, ExitInTheNoticeOfALogoutWaitsForTheThreads)
{
    EXPECT_EXIT(
        {
            static TellingHost host; // destroyed at exit: no thread may call it then
            host.in_callback = [](const std::string& line) {
                std::fprintf(stderr, "[%s]", line.c_str());
                if (line.starts_with("error 0 Waiting")) {
                    std::exit(12);
                }
            };
            host.login();
            host.Logout();
        },
        ExitedWithCode(12), "error 0 Waiting threads termination");
}

TEST_F(ExitTest, ExitInTheLastCallbackOfALogoutKeepsTheLastLines)
{
    EXPECT_EXIT(
        {
            tell_last_line_of_log_at_exit();
            TellingHost* host = new TellingHost;
            host->in_callback = [host](const std::string& line) {
                if (line.starts_with("status 27")) {
                    while (!host->has("error 0 Waiting threads termination........ / 0 0")) {
                        std::this_thread::yield(); // the line that is to be the log's last one comes from Logout
                    }
                    std::exit(13);
                }
            };
            host->login();
            host->Logout();
            for (;;) {
                pause();
            }
        },
        ExitedWithCode(13), "^ER-Waiting threads termination[.]*$");
}

// The log's own handler must come behind that of the session, whatever an earlier login met.
TEST_F(ExitTest, BehindALoginWithoutAServersFilesTheLogIsOpenUntilTheThreadsHaveEnded)
{
    EXPECT_EXIT(
        {
            tell_last_line_of_log_at_exit();
            TellingHost* host = new TellingHost;
            std::filesystem::create_directory("qapi.AB00.log");
            host->login();
            host->Logout();
            std::filesystem::remove("qapi.AB00.log");
            host->login();
            wait_for_worker_threads(4);
            std::exit(14);
        },
        ExitedWithCode(14), "ER-Waiting threads termination[.]*$");
}

TEST_F(ExitTest, ExitOfAnotherThreadOpensWhatTheMasterThreadKeepsClosed)
{
    EXPECT_EXIT(
        {
            TellingHost* host = new TellingHost;
            host->login();
            host->ProcessMyEvents();
            connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "closed at exit");
            std::thread([] { std::exit(7); }).detach();
            for (;;) {
                pause();
            }
        },
        ExitedWithCode(7), "disconnection [0-9] closed at exit");
}

TEST_F(ExitTest, ExitWhileTheThreadsOfALogoutForceStillRun)
{
    EXPECT_EXIT(
        {
            TellingHost* host = new TellingHost;
            host->login();
            host->LogoutForce();
            std::exit(8);
        },
        ExitedWithCode(8), "");
}

TEST_F(ExitTest, ExitInTheServerRoleLeftByForce)
{
    EXPECT_EXIT(
        {
            static TellingHost host; // its destructor runs at exit and joins what is left
            host.connect("127.0.0.1", 1);
            host.LogoutForce();
            wait_for_worker_threads(1); // the log's, which calls nobody: a host that is being destroyed hears no more
            std::exit(9);
        },
        ExitedWithCode(9), "Waiting threads termination");
}

TEST_F(ExitTest, ExitInTheServerRoleWhileItRuns)
{
    EXPECT_EXIT(
        {
            TellingHost* host = new TellingHost;
            host->connect("127.0.0.1", 1);
            wait_for_worker_threads(4);
            std::exit(10);
        },
        ExitedWithCode(10), Not(HasSubstr("Waiting threads termination")));
}

TEST_F(ExitTest, AnObjectThatIsGoneAtExitIsNotAskedToStop)
{
    EXPECT_EXIT(
        {
            {
                RecordingHost host;
                host.login();
            }
            std::exit(11);
        },
        ExitedWithCode(11), "");
}

} // namespace
