#include "qcapi/qcapi.h"
#include "qcapi/support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What the sinks were given, in order: "line TEXT" and "host CODE TEXT".
std::mutex heard_lock;
std::vector<std::string> heard;
void (*in_callback)(const std::string& text) = nullptr;

void Hear(std::string text)
{
    const std::lock_guard lock(heard_lock);
    heard.push_back(std::move(text));
}

void HearLine(const char* text)
{
    Hear(std::string("line ") + text);
}

void HearHost(int code, char* text)
{
    const std::string given = text;
    std::memset(text, '!', std::strlen(text));
    Hear("host " + std::to_string(code) + " " + given);
    if (in_callback != nullptr) {
        in_callback(given);
    }
}

class Report : public testing::Test
{
public:
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

protected:
    Report()
    {
        heard.clear();
        in_callback = nullptr;
        Set_Report_Host_Sink(HearHost);
    }

    ~Report() override
    {
        Set_Report_Line_Sink(nullptr);
        Set_Report_Host_Sink(nullptr);
    }
};

TEST_F(Report, IsALineAndThenACallOfTheHost)
{
    Set_Report_Line_Sink(HearLine);
    COMMON_Put_Syslog_Message(14, "Record (%s) number (%d) not found", "trade", 7);
    EXPECT_THAT(heard,
                ElementsAre("line Record (trade) number (7) not found", "host 14 Record (trade) number (7) not found"));
}

TEST_F(Report, OfAnErrorTextHasTheInternalCode)
{
    LOG_Put_Err_Msg("detail (%s)", "x");
    EXPECT_THAT(heard, ElementsAre("host 23001 detail (x)"));
}

TEST_F(Report, WithoutSinksIsDropped)
{
    Set_Report_Host_Sink(nullptr);
    COMMON_Put_Syslog_Message(1, "nobody hears");
    Set_Report_Line_Sink(HearLine);
    COMMON_Put_Syslog_Message(1, "the log alone");
    EXPECT_THAT(heard, ElementsAre("line the log alone"));
}

TEST_F(Report, IsCutAt511Characters)
{
    Set_Report_Line_Sink(HearLine);
    COMMON_Put_Syslog_Message(1, "%s", std::string(511, 'x').c_str());
    COMMON_Put_Syslog_Message(1, "%s", std::string(512, 'y').c_str());
    EXPECT_THAT(heard, ElementsAre("line " + std::string(511, 'x'), "host 1 " + std::string(511, 'x'),
                                   "line " + std::string(511, 'y'), "host 1 " + std::string(511, 'y')));
}

TEST_F(Report, HeldIsCutAt511CharactersToo)
{
    {
        const ReportHold hold;
        COMMON_Put_Syslog_Message(1, "%s", std::string(512, 'y').c_str());
    }
    EXPECT_THAT(heard, ElementsAre("host 1 " + std::string(511, 'y')));
}

TEST_F(Report, WaitsForTheEndOfTheHoldAndKeepsItsOrder)
{
    {
        const ReportHold hold;
        COMMON_Put_Syslog_Message(1, "first");
        LOG_Put_Err_Msg("second");
        EXPECT_THAT(heard, IsEmpty());
    }
    COMMON_Put_Syslog_Message(1, "third");
    EXPECT_THAT(heard, ElementsAre("host 1 first", "host 23001 second", "host 1 third"));
}

TEST_F(Report, WaitsForTheOutermostHold)
{
    {
        const ReportHold outer;
        {
            const ReportHold inner;
            COMMON_Put_Syslog_Message(1, "inner");
        }
        COMMON_Put_Syslog_Message(1, "outer");
        EXPECT_THAT(heard, IsEmpty());
    }
    EXPECT_THAT(heard, ElementsAre("host 1 inner", "host 1 outer"));
}

TEST_F(Report, IsForgottenIfTheHoldDropsItAndThoseAheadOfTheHoldStay)
{
    {
        const ReportHold outer;
        COMMON_Put_Syslog_Message(1, "ahead");
        {
            ReportHold inner;
            COMMON_Put_Syslog_Message(1, "dropped");
            inner.Drop();
            COMMON_Put_Syslog_Message(1, "behind");
        }
    }
    EXPECT_THAT(heard, ElementsAre("host 1 ahead", "host 1 behind"));
}

TEST_F(Report, OfAnOperationWaitsForAHostThatHoldsReports)
{
    {
        CQcApi::ReportsHeld held;
        COMMON_Put_Syslog_Message(1, "dropped");
        held.Drop();
        COMMON_Put_Syslog_Message(1, "kept");
        EXPECT_THAT(heard, IsEmpty());
    }
    EXPECT_THAT(heard, ElementsAre("host 1 kept"));
}

TEST_F(Report, IsDeliveredBehindTheLockThatTheHoldSurrounds)
{
    static bool locked;
    static std::vector<bool> locked_at_delivery;
    struct Lock
    {
        Lock() { locked = true; }
        ~Lock() { locked = false; }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
    };
    locked_at_delivery.clear();
    in_callback = [](const std::string&) { locked_at_delivery.push_back(locked); };
    {
        const ReportHold hold;
        const Lock lock;
        COMMON_Put_Syslog_Message(1, "clipped");
    }
    EXPECT_THAT(locked_at_delivery, ElementsAre(false));
}

TEST_F(Report, OfTheCallbackItselfIsDeliveredBeforeTheCallReturns)
{
    in_callback = [](const std::string& text) {
        if (text == "first") {
            COMMON_Put_Syslog_Message(2, "from the callback");
            Hear("callback returns");
        }
    };
    COMMON_Put_Syslog_Message(1, "first");
    EXPECT_THAT(heard, ElementsAre("host 1 first", "host 2 from the callback", "callback returns"));
}

TEST_F(Report, OfTheCallbackDoesNotOvertakeHeldOnes)
{
    in_callback = [](const std::string& text) {
        if (text == "first") {
            COMMON_Put_Syslog_Message(2, "from the callback");
            Hear("callback returns");
        }
    };
    {
        const ReportHold hold;
        COMMON_Put_Syslog_Message(1, "first");
        COMMON_Put_Syslog_Message(1, "second");
    }
    EXPECT_THAT(heard, ElementsAre("host 1 first", "host 1 second", "host 2 from the callback", "callback returns"));
}

TEST_F(Report, HeldInsideTheCallbackWaitsAndKeepsTheOrder)
{
    in_callback = [](const std::string& text) {
        if (text == "first") {
            const ReportHold hold;
            COMMON_Put_Syslog_Message(2, "from the callback");
            Hear("still held");
        }
    };
    {
        const ReportHold hold;
        COMMON_Put_Syslog_Message(1, "first");
        COMMON_Put_Syslog_Message(1, "second");
    }
    COMMON_Put_Syslog_Message(1, "last");
    EXPECT_THAT(heard,
                ElementsAre("host 1 first", "still held", "host 1 second", "host 2 from the callback", "host 1 last"));
}

TEST_F(Report, OfAnotherThreadDoesNotWaitForThisOnesHold)
{
    const ReportHold hold;
    COMMON_Put_Syslog_Message(1, "held here");
    std::thread([] { COMMON_Put_Syslog_Message(1, "free there"); }).join();
    EXPECT_THAT(heard, ElementsAre("host 1 free there"));
}

TEST_F(Report, OfAThreadsLastObjectsStillArrives)
{
    struct Last_Words
    {
        Last_Words() = default;
        Last_Words(const Last_Words&) = delete;
        Last_Words& operator=(const Last_Words&) = delete;
        ~Last_Words()
        {
            const ReportHold hold;
            COMMON_Put_Syslog_Message(1, "last words");
        }
        void Meet() {}
    };
    std::thread([] {
        static thread_local Last_Words last_words;
        last_words.Meet(); // made before the first hold, and so destroyed after all else of the thread
        const ReportHold hold;
        COMMON_Put_Syslog_Message(1, "at work");
    }).join();
    EXPECT_THAT(heard, ElementsAre("host 1 at work", "host 1 last words"));
}

} // namespace
