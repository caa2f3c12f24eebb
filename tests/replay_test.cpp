// A running log in place of the connection: what the host hears of it, where it stands still, and how it ends.
#include "replay/replay.h"

#include "arrm.h"
#include "qcapi/config.h"
#include "support/driver_fixture.h"
#include "support/forget_configuration.h"
#include "support/log_records.h"
#include "support/log_session.h"
#include "support/market_records.h"
#include "support/session_fixture.h"
#include "support/taken_record.h"
#include "table/table_state.h"
#include "transport/inbound_door.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;
using Lines = std::vector<std::string>;

constexpr const char* stopped =
    "status 27 Attempts to establish a connection and processing messages have been suspended";

// Counts what waits a whole second, as a replay does behind its later bound.
class CountedSeconds
{
public:
    CountedSeconds() : m_before(&System()), m_calls(System())
    {
        forget();
        m_calls.wait = [](std::condition_variable& changed, std::unique_lock<std::mutex>& lock, timeval span) {
            L_begun += span.tv_sec >= 1 ? 1 : 0;
            return Real_System().wait(changed, lock, span);
        };
        Set_System(&m_calls);
    }
    ~CountedSeconds() { Set_System(m_before); }
    CountedSeconds(const CountedSeconds&) = delete;
    CountedSeconds& operator=(const CountedSeconds&) = delete;

    static void forget() { L_begun = 0; }
    static void wait_for_one()
    {
        EXPECT_TRUE(Becomes([] { return L_begun != 0; }));
    }

private:
    static std::atomic<int> L_begun;

    const SystemCalls* m_before;
    SystemCalls m_calls;
};

std::atomic<int> CountedSeconds::L_begun{0};

class ReplayTest : public SessionTest
{
protected:
    ReplayTest()
    {
        Forget_Configuration();
        Glb_Unic_Number = 0;
    }
    ~ReplayTest() override
    {
        host.Logout();
        Forget_Tables();
        Glb_Unic_Number = 0;
        Forget_Configuration();
    }

    void configure(const std::string& more_lines = {})
    {
        scratch.write("qapi.cfg", "data_server DSAB\nlocal_code L001\ntransaction_feed = 1\n"
                                  "testing_file yesterday.log\n" +
                                      more_lines);
    }

    static LogRecord Opened(const std::string& stamp = "20261120093005")
    {
        return LogRecord::Text("ROD-Status changed to opened connection", stamp);
    }
    static LogRecord Closed(const std::string& stamp = "20261120093005")
    {
        return LogRecord::Text("RCD-Status changed to closed connection", stamp);
    }
    static LogRecord Chat(unsigned number, const std::string& stamp = "20261120093005")
    {
        market::Chat chat;
        chat.cabeza.server_number = number;
        chat.chat.text = "chat " + std::to_string(number);
        return LogRecord::Message(market::Make(chat).substr(0, 3000), "RM-Message Received", stamp);
    }

    // Everything up to the line, the notice of a Logout left out.
    Lines heard_up_to(const std::string& line)
    {
        EXPECT_TRUE(host.wait_for(line));
        host.Logout();
        Lines lines = host.lines();
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](const std::string& each) { return each.starts_with("error 0 Waiting"); }),
                    lines.end());
        return lines;
    }
    // The texts of the session's own log.
    [[nodiscard]] Lines texts_of_log() const { return text_lines_of_log(scratch.read("qapi.log")); }

    const CountedSeconds seconds; // outlives the threads
    RecordingHost host;
};

TEST_F(ReplayTest, OpeningsMessagesAndClosingsComeAsFromAConnection)
{
    configure();
    scratch.write("yesterday.log", Opened().bytes() + Chat(1).bytes() + Chat(2).bytes() + Closed().bytes());
    ASSERT_EQ(host.login(), 0);
    EXPECT_THAT(heard_up_to("status 20 Disconnected"),
                ElementsAre("status 21 Connected", "message Chat 1", "message Chat 2", "status 20 Disconnected",
                            "disconnection 0 D", stopped));
    EXPECT_THAT(texts_of_log(), Contains("ER-Directing input from file = yesterday.log, range(empty:empty)"));
}

TEST_F(ReplayTest, EachOpeningIsAConnectionOfItsOwn)
{
    scratch.write("yesterday.log", Opened().bytes() + Closed().bytes() + Opened().bytes());
    Glb_Recv_Mss->Initialize();
    std::string path = "yesterday.log";
    Prepare_Replay();
    ASSERT_EQ(LOG_Set_Source_Messages(path.data(), nullptr, nullptr), 1);
    LOG_Do_Testing(nullptr);
    std::vector<unsigned> connections;
    while (Glb_Recv_Mss->Is_Any_Pkt() != 0) {
        const TakenRecord record = TakeRecord(*Glb_Recv_Mss);
        if (record.status == TCP_STATUS_OPEN_CONNECTION) {
            connections.push_back(Load_News(record.extra.data()).connection);
        }
    }
    EXPECT_THAT(connections, ElementsAre(1, 2));
}

TEST_F(ReplayTest, WhatIsNoNewsOfAConnectionIsPassedOver)
{
    configure();
    scratch.write("yesterday.log", LogRecord::Text("ER-a line").bytes() +
                                       LogRecord::Message("575", "SC-Chat message sent").bytes() +
                                       LogRecord::Text("").bytes() + Opened().bytes() + Closed().bytes());
    ASSERT_EQ(host.login(), 0);
    EXPECT_THAT(heard_up_to("disconnection 0 D"),
                ElementsAre("status 21 Connected", "status 20 Disconnected", "disconnection 0 D", stopped));
}

TEST_F(ReplayTest, AnotherRecordThatBeginsWithREndsIt)
{
    configure();
    scratch.write("yesterday.log", Opened().bytes() + LogRecord::Text("RX what is that").bytes() + Closed().bytes());
    ASSERT_EQ(host.login(), 0);
    EXPECT_TRUE(Becomes([this] { return scratch.read("qapi.log").find("ER-Erroneous") != std::string::npos; }));
    EXPECT_THAT(heard_up_to("status 21 Connected"), ElementsAre("status 21 Connected", stopped));
    EXPECT_THAT(texts_of_log(), Contains("ER-Erroneous log message : \"RX what is that\" "));
}

TEST_F(ReplayTest, TheLetterTellsTheConnectionsIdentity)
{
    configure();
    scratch.write("yesterday.log",
                  Opened().bytes() + LogRecord::Text("RCG-closed").bytes() + LogRecord::Text("RC").bytes());
    ASSERT_EQ(host.login(), 0);
    EXPECT_THAT(heard_up_to("disconnection 0 D"), Contains("disconnection 0 G"));
}

TEST_F(ReplayTest, TheRangeIsReplayedAlone)
{
    configure("testing_start 20261120100000\ntesting_end 2026112011\n");
    scratch.write("yesterday.log", Opened("20261120090000").bytes() + Chat(1, "20261120095959").bytes() +
                                       Chat(2, "20261120100000").bytes() + Chat(3, "20261120115959").bytes() +
                                       Chat(4, "20261120120000").bytes() + Chat(5, "20261120110000").bytes());
    ASSERT_EQ(host.login(), 0);
    CountedSeconds::wait_for_one();
    EXPECT_THAT(heard_up_to("message Chat 2"), ElementsAre("message Chat 1", "message Chat 2", stopped));
    EXPECT_THAT(texts_of_log(),
                Contains("ER-Directing input from file = yesterday.log, range(20261120100000:2026112011)"));
}

TEST_F(ReplayTest, ALogThatIsMissingLeavesTheHostRunning)
{
    configure();
    ASSERT_EQ(host.login(), 0);
    host.Logout();
    EXPECT_THAT(texts_of_log(), Contains("ER-Input log file \"yesterday.log\", couldn't be opened"));
    EXPECT_THAT(texts_of_log(), Contains("ER-The input log file for testing is not opened, need a succesfull call to "
                                         "LOG_Set_Source_Messages"));
}

TEST_F(ReplayTest, NothingReachesANetwork)
{
    configure();
    scratch.write("yesterday.log", Opened().bytes() + Closed().bytes());
    ASSERT_EQ(host.login(), 0);
    heard_up_to("disconnection 0 D");
    const std::string log = scratch.read("qapi.log");
    EXPECT_THAT(log, Not(HasSubstr("connect to")));
}

// ---- Its end ---------------------------------------------------------------------------------------------------

TEST_F(ReplayTest, TodaysOwnLogEndsWhereItStoodAtTheLogin)
{
    configure();
    std::filesystem::remove("qapi.cfg");
    scratch.write("qapi.cfg", "data_server DSAB\nlocal_code L001\ntransaction_feed = 1\ntesting_file qapi.log\n");
    scratch.write("qapi.log", Opened().bytes() + Chat(1).bytes() + Closed().bytes());
    ASSERT_EQ(host.login(), 0);
    EXPECT_THAT(heard_up_to("disconnection 0 D"), ElementsAre("status 21 Connected", "message Chat 1",
                                                              "status 20 Disconnected", "disconnection 0 D", stopped));
}

// A Logout that had to wait for it would end in the crash.
TEST_F(ReplayTest, BehindTheLaterBoundItStandsStillUntilALogout)
{
    configure("testing_end 20261120\n");
    scratch.write("yesterday.log",
                  Opened().bytes() + Closed("20261121000000").bytes() + Closed("20261120000000").bytes());
    ASSERT_EQ(host.login(), 0);
    CountedSeconds::wait_for_one();
    connection_says(TCP_ERROR_CANT_CONNECT); // the host lives
    EXPECT_EQ(heard_up_to("status 7 Can't connect"), (Lines{"status 21 Connected", "status 7 Can't connect", stopped}));
}

// A slow host would else need longer for what waits for it than a Logout has.
TEST_F(ReplayTest, ALogoutWaitsForNothingThatIsReadAhead)
{
    configure();
    std::string log = Opened().bytes();
    for (unsigned number = 1; number <= 2000; ++number) {
        log += Chat(number).bytes();
    }
    scratch.write("yesterday.log", log);
    std::atomic<bool> leaves{false};
    host.in_callback = [&](const std::string& line) {
        if (line.starts_with("error 0 Waiting")) {
            leaves = true;
            leaves.notify_all();
        } else if (line == "message Chat 1") {
            leaves.wait(false);
        }
    };
    ASSERT_EQ(host.login(), 0);
    EXPECT_TRUE(Becomes([] { return Glb_Recv_Mss->Get_Total_Pending() >= 1000; }));
    host.Logout();
    EXPECT_LE(host.count_of("message Chat "), 2); // one may be on its way
}

TEST_F(ReplayTest, ManyMessagesWaitInNoLargeRing)
{
    configure();
    std::string log = Opened().bytes();
    for (unsigned number = 1; number <= 10'000; ++number) {
        log += Chat(number).bytes();
    }
    scratch.write("yesterday.log", log + Closed().bytes());
    const int slots_before = Glb_Recv_Mss->Get_Total_Num_Records();
    ASSERT_EQ(host.login(), 0);
    heard_up_to("disconnection 0 D");
    EXPECT_EQ(host.count_of("message Chat "), 10'000);
    EXPECT_LE(Glb_Recv_Mss->Get_Total_Num_Records(), std::max(slots_before, 2048));
}

TEST_F(ReplayTest, LogoutForceStopsItToo)
{
    configure("testing_end 20261120\n");
    scratch.write("yesterday.log", Opened().bytes() + Closed("20261121000000").bytes());
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(host.login(), 0);
        CountedSeconds::wait_for_one();
        EXPECT_EQ(host.LogoutForce(), 0);
        host.Logout(); // joins it
    }
}

TEST_F(ReplayTest, AReplayThatIsOverLeavesNothingOpen)
{
    configure();
    scratch.write("yesterday.log", Opened().bytes() + Closed().bytes());
    ASSERT_EQ(host.login(), 0);
    heard_up_to("disconnection 0 D");
    const int before = open_descriptors();
    const int threads = running_threads();
    for (int round = 0; round < 10; ++round) {
        host.forget_lines();
        ASSERT_EQ(host.login(), 0);
        heard_up_to("disconnection 0 D");
    }
    EXPECT_EQ(open_descriptors(), before);
    wait_until_running_threads_fall_to(threads);
}

// ---- The server's end

TEST_F(ReplayTest, BehindConnectTheServersReaderGetsIt)
{
    configure();
    scratch.write("yesterday.log", Opened().bytes() + Chat(1).bytes());
    ASSERT_EQ(host.connect("127.0.0.1", 1), 0);
    EXPECT_TRUE(host.wait_for("message Chat 1"));
    EXPECT_EQ(host.lines(), (Lines{"status 21 Connected", "message Chat 1"}));
    host.LogoutForce();
}

// ---- Translation -----------------------------------------------------------------------------------------------

class TranslationTest : public ReplayTest
{
protected:
    void configure_translation(const std::string& more_lines = {})
    {
        configure("testing_output_file translated.log\n" + more_lines);
    }
    const std::string log = Opened().bytes() + LogRecord::Text("ER-a line").bytes() + Chat(1).bytes();
    const std::string translated = Opened().bytes() + LogRecord::Text("ER-a line").bytes() + Chat(1).expanded();
};

TEST_F(TranslationTest, WritesTheRecordsOutAndLogsOut)
{
    configure_translation();
    scratch.write("yesterday.log", log);
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_NOT_INITIALIZED);
    EXPECT_EQ(scratch.read("translated.log"), translated);
    EXPECT_THAT(host.lines(),
                UnorderedElementsAre("status 21 Initiating log translation", "status 20 Finalizing log translation",
                                     HasSubstr("error 0 Waiting"), stopped));
    EXPECT_THAT(texts_of_log(),
                Contains("ER-Directing output translation to file = translated.log, range(empty:empty)"));
    EXPECT_THAT(texts_of_log(), Contains("ER-Total of processed records = 3"));
}

TEST_F(TranslationTest, GoesOnBehindWhatStandsThere)
{
    configure_translation();
    scratch.write("yesterday.log", log);
    scratch.write("translated.log", "before");
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(scratch.read("translated.log"), "before" + translated + translated);
}

TEST_F(TranslationTest, EndsAtTheLaterBoundWhereAReplayStandsStill)
{
    configure_translation("testing_end 20261120\n");
    scratch.write("yesterday.log", log + Chat(2, "20261121000000").bytes());
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(scratch.read("translated.log"), translated);
    EXPECT_THAT(texts_of_log(),
                Contains("ER-Directing output translation to file = translated.log, range(empty:20261120)"));
}

TEST_F(TranslationTest, WithoutItsOutputNothingIsTranslated)
{
    configure_translation();
    scratch.write("yesterday.log", log);
    std::filesystem::create_directory("translated.log");
    EXPECT_EQ(host.login(), 0);
    EXPECT_THAT(texts_of_log(), Contains("ER-Output log file \"translated.log\", couldn't be opened"));
    EXPECT_THAT(texts_of_log(), Not(Contains(HasSubstr("Total of processed records"))));
}

TEST_F(TranslationTest, WithoutItsInputThereAreNoRecords)
{
    configure_translation();
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(scratch.read("translated.log"), "");
    EXPECT_THAT(texts_of_log(), Contains("ER-Total of processed records = 0"));
}

TEST_F(TranslationTest, OfTodaysOwnLogEndsWhereItStoodAtTheLogin)
{
    scratch.write("qapi.cfg", "data_server DSAB\nlocal_code L001\ntesting_file qapi.log\n"
                              "testing_output_file translated.log\n");
    scratch.write("qapi.log", log);
    EXPECT_EQ(host.login(), 0);
    const std::string written = scratch.read("translated.log");
    EXPECT_TRUE(written.starts_with(translated));
    EXPECT_THAT(written, Not(HasSubstr("Directing output translation")));
}

TEST_F(TranslationTest, IntoTheRunningLogIsRefused)
{
    configure("testing_output_file qapi.log\n");
    scratch.write("yesterday.log", log);
    EXPECT_EQ(host.login(), 0);
    EXPECT_THAT(texts_of_log(), Contains("ER-Output log file \"qapi.log\", couldn't be opened"));
    EXPECT_THAT(scratch.read("qapi.log"), Not(HasSubstr("chat 1")));
}

TEST_F(TranslationTest, OntoItselfEnds)
{
    configure("testing_output_file yesterday.log\n");
    scratch.write("yesterday.log", log);
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(scratch.read("yesterday.log"), log + translated);
}

TEST_F(TranslationTest, BehindConnectTheProcessGoesOn)
{
    configure_translation();
    scratch.write("yesterday.log", log);
    EXPECT_EQ(host.connect("127.0.0.1", 1), 0);
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_NOT_INITIALIZED);
    EXPECT_EQ(scratch.read("translated.log"), translated);
    EXPECT_EQ(host.Logout(), QAPI_ERR_NOT_INITIALIZED_YET);
    scratch.write("qapi.cfg", "data_server DSAB\nlocal_code L001\n");
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(host.Logout(), 0);
}

TEST_F(TranslationTest, AnOutputWithoutAnInputHasNoEffect)
{
    scratch.write("qapi.cfg", "data_server DSAB\nlocal_code L001\ntesting_output_file translated.log\n");
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_INITIALIZED);
    wait_until_it_listens();
    host.Logout();
    EXPECT_FALSE(scratch.has("translated.log"));
}

TEST_F(TranslationTest, AnEmptyOutputEntryIsALineWithoutAValue)
{
    scratch.write("qapi.cfg", "data_server DSAB\nlocal_code L001\ntesting_output_file\n");
    EXPECT_EQ(host.login(), 3);
    EXPECT_EQ(host.count_of("status 21"), 0);
    EXPECT_THAT(texts_of_log(), Not(Contains(HasSubstr("Directing output translation"))));
}

TEST_F(TranslationTest, ACallbackMayLeaveByForce)
{
    configure_translation();
    scratch.write("yesterday.log", log);
    host.in_callback = [this](const std::string& line) {
        if (line.starts_with("status 21")) {
            host.LogoutForce();
        }
    };
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(scratch.read("translated.log"), translated);
    EXPECT_EQ(host.login(), 0);
}

} // namespace
