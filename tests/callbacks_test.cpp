// When callbacks come, on which thread, and how a host keeps them out.
#include "arrm.h"
#include "global.h"
#include "mutex.h"
#include "qcapi/session.h"
#include "qcapi/support.h"
#include "support/session_fixture.h"
#include "thrct.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace {

constexpr const char* cant_connect = "status 7 Can't connect";

class CallbackTest : public SessionTest
{
protected:
    CallbackTest() { EXPECT_EQ(host.login(), 0); }

    RecordingHost host;
};

TEST_F(CallbackTest, AReportInsideACallbackReachesTheHostOnTheSameThread)
{
    std::atomic<std::thread::id> callback_thread;
    std::atomic<std::thread::id> report_thread;
    host.in_callback = [&](const std::string& line) {
        if (line == cant_connect) {
            callback_thread = std::this_thread::get_id();
            EXPECT_EQ(host.take("no such name", 1), QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED);
        } else if (line.starts_with("error 14")) {
            report_thread = std::this_thread::get_id();
        }
    };
    connection_says(TCP_ERROR_CANT_CONNECT);
    ASSERT_TRUE(host.wait_for(cant_connect));
    EXPECT_TRUE(host.has("error 14 Illegal record type specified (no such name) / 0 0"));
    EXPECT_EQ(report_thread.load(), callback_thread.load());
    EXPECT_NE(callback_thread.load(), std::this_thread::get_id());
}

TEST_F(CallbackTest, ProcessMyEventsLetsCallbacksThroughAndNothingElseDoes)
{
    host.ProcessMyEvents();
    connection_says(TCP_ERROR_CANT_CONNECT);
    connection_says(TCP_ERROR_CANT_CONNECT);
    wait_for_a_waiting_callback();
    EXPECT_EQ(host.count(cant_connect), 0);
    while (host.count(cant_connect) < 2) {
        host.ProcessMyEvents();
    }
    EXPECT_EQ(host.Logout(), 0); // the callback of the stop comes without another ProcessMyEvents
    EXPECT_TRUE(host.has("status 27 Attempts to establish a connection and processing messages have been suspended"));
}

TEST_F(CallbackTest, AHostThatHeldCallbacksBackStillHoldsThemAfterLogout)
{
    host.ProcessMyEvents();
    host.Logout();
    ASSERT_EQ(host.login(), 0);
    connection_says(TCP_ERROR_CANT_CONNECT);
    wait_for_a_waiting_callback();
    EXPECT_FALSE(host.has(cant_connect));
    while (!host.has(cant_connect)) {
        host.ProcessMyEvents();
    }
}

TEST_F(SessionTest, ANewObjectStartsWithCallbacksFreeToCome)
{
    RecordingHost* first = new RecordingHost;
    first->ProcessMyEvents();
    std::thread([&] { delete first; }).join(); // on another thread than the one that held callbacks back
    RecordingHost second;
    ASSERT_EQ(second.login(), 0);
    connection_says(TCP_ERROR_CANT_CONNECT);
    EXPECT_TRUE(second.wait_for(cant_connect));
}

TEST_F(CallbackTest, OneCallbackRunsAtATime)
{
    std::atomic<bool> reported{false};
    std::atomic<bool> overlapped{false};
    host.in_callback = [&](const std::string& line) {
        if (line == cant_connect) {
            wait_for_a_waiting_callback(); // that of the report below
            overlapped = reported.load();
        } else if (line == "error 1 from another thread / 0 0") {
            reported = true;
        }
    };
    connection_says(TCP_ERROR_CANT_CONNECT);
    std::thread([&] {
        while (The_Master_Mutex->Is_Free()) { // until the first callback runs
            std::this_thread::yield();
        }
        COMMON_Put_Syslog_Message(1, "from another thread");
    }).join();
    EXPECT_TRUE(reported);
    EXPECT_FALSE(overlapped);
}

TEST_F(CallbackTest, ALogoutOnAnotherThreadLetsThroughWhatTheMasterThreadHoldsBack)
{
    host.ProcessMyEvents();
    connection_says(TCP_ERROR_CANT_CONNECT);
    wait_for_a_waiting_callback();
    std::thread([&] { EXPECT_EQ(host.Logout(), 0); }).join();
    EXPECT_TRUE(host.has(cant_connect));
}

TEST_F(CallbackTest, AReportOnTheMasterThreadDoesNotWaitForTheLock)
{
    host.Logout();
    std::thread([&] {
        EXPECT_EQ(host.TakeMasterMutex(), 1);
        scratch.write("qapi.cfg", "");
    }).join(); // gone with the lock in its hands
    EXPECT_EQ(host.login(), QAPI_ERR_NO_DS_DIRECTIVE);
    EXPECT_TRUE(host.has("error 21 There is no \"data_server\" directive in the config file / 0 0"));
}

TEST_F(CallbackTest, TheMasterThreadTakesNothingAndOthersKeepCallbacksOut)
{
    EXPECT_EQ(host.TakeMasterMutex(), 0);
    host.ReleaseMasterMutex(); // harmless on a thread that took nothing
    std::atomic<bool> taken{false};
    std::atomic<bool> release{false};
    std::thread other([&] {
        EXPECT_EQ(host.TakeMasterMutex(), 1);
        EXPECT_EQ(host.TakeMasterMutex(), 1); // counts
        host.ReleaseMasterMutex();
        taken = true;
        taken.notify_all();
        release.wait(false);
        EXPECT_FALSE(host.has(cant_connect));
        host.ReleaseMasterMutex();
    });
    taken.wait(false);
    connection_says(TCP_ERROR_CANT_CONNECT);
    wait_for_a_waiting_callback();
    host.ReleaseMasterMutex(); // not this thread's to release
    release = true;
    release.notify_all();
    other.join();
    EXPECT_TRUE(host.wait_for(cant_connect));
}

TEST_F(CallbackTest, AReportUnderALockComesAfterItsRelease)
{
    Mutex lock;
    bool free_at_report = false;
    host.in_callback = [&](const std::string& line) {
        if (line.starts_with("error 1 ") && lock.try_lock()) {
            free_at_report = true;
            lock.unlock();
        }
    };
    {
        const ReportHold hold;
        const MutexLock held(lock);
        COMMON_Put_Syslog_Message(1, "first");
        COMMON_Put_Syslog_Message(1, "second");
        EXPECT_FALSE(host.has("error 1 first / 0 0"));
    }
    EXPECT_TRUE(free_at_report);
    EXPECT_EQ(host.lines(), (std::vector<std::string>{"error 1 first / 0 0", "error 1 second / 0 0"}));
}

TEST_F(CallbackTest, TheReaderTellsTheStatesOfTheConnection)
{
    wait_until_it_listens();
    connection_says(TCP_STATUS_OPEN_CONNECTION);
    connection_says(TCP_ERROR_CANT_CONNECT);
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    ASSERT_TRUE(host.wait_for("disconnection 2 the peer closed"));
    EXPECT_EQ(host.lines(), (std::vector<std::string>{"status 21 Connected", cant_connect, "status 20 Disconnected",
                                                      "disconnection 2 the peer closed"}));
}

TEST_F(CallbackTest, AStatusOutOfTheTableIsReportedWithItsDetailAndTheReaderGoesOn)
{
    connection_says(TCP_STATUS_PACKET_RECEIVED, std::string(200, 'x')); // leaves bytes in the reader's buffer
    connection_says(19, "D > Tcp-error = 104");
    connection_says(TCP_ERROR_CANT_CONNECT);
    ASSERT_TRUE(host.wait_for(cant_connect));
    EXPECT_TRUE(host.has("error 23001 The connection changed to status 19, detail (D > Tcp-error = 104) / 0 0"));
}

TEST_F(CallbackTest, TheFullestRecordOfAnUnexpectedStatusIsShownWithinBounds)
{
    connection_says(9, std::string(MESSAGE_TRANS_RECORD_SIZE, 'y'));
    connection_says(TCP_ERROR_CANT_CONNECT);
    ASSERT_TRUE(host.wait_for(cant_connect));
    EXPECT_TRUE(host.lines().front().starts_with("error 23001 The connection changed to status 9, detail (yyyy"));
    EXPECT_EQ(host.lines().front().size(), std::string("error 23001 ").size() + 511 + std::string(" / 0 0").size());
}

TEST_F(CallbackTest, AnAnnouncedMessageIsInTheLog)
{
    char name[] = "Chat";
    host.CallMessageReceived(name, 4294967295U);
    host.Logout();
    const std::vector<std::string> lines = text_lines_of_log(scratch.read("qapi.log"));
    EXPECT_THAT(lines,
                testing::Contains("ER-OnMessageReceived Called with message_type=\"Chat\" and message_num=4294967295"));
    EXPECT_TRUE(host.has("message Chat 4294967295"));
}

TEST_F(CallbackTest, AReceivedMessageIsCopiedToTheRunningLog)
{
    connection_says(TCP_STATUS_PACKET_RECEIVED, "575 a chat");
    connection_says(TCP_ERROR_CANT_CONNECT);
    ASSERT_TRUE(host.wait_for(cant_connect));
    host.Logout();
    const std::string log = scratch.read("qapi.log");
    const std::size_t label = log.find("RM-Message Received");
    ASSERT_NE(label, std::string::npos);
    EXPECT_EQ(log.substr(label + 88, 11), "575 a chat\n");
    EXPECT_EQ(log[label - 32 + 15], 'D'); // the source
}

TEST_F(CallbackTest, OpenAndCloseAreInTheLogWithTheirCodes)
{
    wait_until_it_listens();
    connection_says(TCP_STATUS_OPEN_CONNECTION);
    connection_says(TCP_STATUS_CLOSED_CONNECTION);
    ASSERT_TRUE(host.wait_for("disconnection 2 D"));
    host.Logout();
    const std::vector<std::string> lines = text_lines_of_log(scratch.read("qapi.log"));
    EXPECT_NE(std::find(lines.begin(), lines.end(), "ROD-Status changed to opened connection"), lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(), "RCD-Status changed to closed connection"), lines.end());
}

// Deletes itself in its first status callback.
struct ShortLivedHost : CQcApi
{
    explicit ShortLivedHost(std::atomic<bool>& gone_flag) : gone(gone_flag) {}
    ~ShortLivedHost() override
    {
        Logout();
        gone = true;
    }
    void OnStatusChanged(int /*status_code*/, char* /*status_text*/) override { delete this; }

    std::atomic<bool>& gone;
};

TEST_F(SessionTest, AHostThatDeletesItselfInACallbackLeavesThreadsThatEnd)
{
    std::atomic<bool> gone{false};
    auto* host = new ShortLivedHost(gone);
    char text[] = "x";
    ASSERT_EQ(host->Login(text, text), 0);
    wait_for_worker_threads(4);
    connection_says(TCP_ERROR_CANT_CONNECT);
    while (!gone) {
        std::this_thread::yield();
    }
    RecordingHost next; // waits for what is left, which says nothing to it
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 0);
    EXPECT_TRUE(next.lines().empty());
    EXPECT_EQ(next.login(), 0);
}

TEST(DefaultCallbacks, AHostNeedsToOverrideNone)
{
    struct Silent : CQcApi
    {
        ~Silent() override { Logout(); }
    };
    Silent host;
    char text[] = "text";
    host.CallMessageReceived(text, 1);
    host.CallOnConnection(0);
    host.CallOnDisconnection(1, text);
    host.CallReportError(1, text, 0, 0);
    host.CallStatusChanged(21, text);
    EXPECT_EQ(host.LogoutForce(), QAPI_ERR_NOT_INITIALIZED_YET);
}

} // namespace
