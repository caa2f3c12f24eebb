#include "thrct.h"

#include "qcapi/support.h"
#include "support/fake_system.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> reports;
std::vector<std::int64_t> waits; // microseconds
FakeSystem* fake = nullptr;

std::int64_t Microseconds(timeval span)
{
    return std::int64_t{span.tv_sec} * 1'000'000 + span.tv_usec;
}

class ThreadCounter : public testing::Test
{
public:
    ThreadCounter(const ThreadCounter&) = delete;
    ThreadCounter& operator=(const ThreadCounter&) = delete;

protected:
    ThreadCounter()
    {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        fake = &m_system;
        reports.clear();
        waits.clear();
        Set_Report_Host_Sink([](int code, char* text) { reports.push_back(std::to_string(code) + " " + text); });
    }

    ~ThreadCounter() override
    {
        Set_Report_Host_Sink(nullptr);
        while (THRCT_Get_App_Thread_Counter() > 0) {
            THRCT_Decrease_App_Thread_Counter();
        }
        while (THRCT_Get_App_Thread_Counter() < 0) {
            THRCT_Increase_App_Thread_Counter();
        }
    }

    FakeSystem m_system;
};

TEST_F(ThreadCounter, CountsUpAndDown)
{
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 0);
    THRCT_Increase_App_Thread_Counter();
    THRCT_Increase_App_Thread_Counter();
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 2);
    THRCT_Decrease_App_Thread_Counter();
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 1);
}

TEST_F(ThreadCounter, CountsThreadsThatComeAndGoAtOnce)
{
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int turn = 0; turn < 1000; ++turn) {
                THRCT_Increase_App_Thread_Counter();
                THRCT_Decrease_App_Thread_Counter();
            }
            THRCT_Increase_App_Thread_Counter();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 4);
}

TEST_F(ThreadCounter, WaitReportsAndReturnsAtOnceWhenNothingRuns)
{
    THRCT_Wait_For_Threads_Termination();
    EXPECT_THAT(reports, ElementsAre("0 Waiting threads termination........"));
    EXPECT_THAT(m_system.waits(), IsEmpty());
}

TEST_F(ThreadCounter, WaitReturnsAtOnceWhenTheCounterIsNegative)
{
    THRCT_Decrease_App_Thread_Counter();
    THRCT_Wait_For_Threads_Termination();
    EXPECT_THAT(m_system.waits(), IsEmpty());
}

TEST_F(ThreadCounter, WaitEndsItsRoundWhenTheLastThreadEnds)
{
    THRCT_Increase_App_Thread_Counter();
    m_system.calls.wait = [](std::condition_variable&, std::unique_lock<std::mutex>& lock, timeval span) {
        waits.push_back(Microseconds(span));
        lock.unlock();
        THRCT_Decrease_App_Thread_Counter();
        lock.lock();
        return true;
    };
    THRCT_Wait_For_Threads_Termination();
    EXPECT_THAT(waits, ElementsAre(1'000'000));
}

TEST_F(ThreadCounter, ADisturbedRoundWaitsForTheRestOfItsSecond)
{
    THRCT_Increase_App_Thread_Counter();
    m_system.calls.wait = [](std::condition_variable&, std::unique_lock<std::mutex>& lock, timeval span) {
        waits.push_back(Microseconds(span));
        fake->ticks += 30;
        if (waits.size() == 5) { // 0.3 seconds into the second round
            lock.unlock();
            THRCT_Decrease_App_Thread_Counter();
            lock.lock();
        }
        return true;
    };
    THRCT_Wait_For_Threads_Termination();
    EXPECT_THAT(waits, ElementsAre(1'000'000, 700'000, 400'000, 100'000, 1'000'000));
}

TEST_F(ThreadCounter, WaitHoldsOutThirtyFourRoundsAndReturnsInTheThirtyFifth)
{
    THRCT_Increase_App_Thread_Counter();
    m_system.calls.wait = [](std::condition_variable&, std::unique_lock<std::mutex>& lock, timeval span) {
        waits.push_back(Microseconds(span));
        if (waits.size() == 35) {
            lock.unlock();
            THRCT_Decrease_App_Thread_Counter();
            lock.lock();
        }
        return false;
    };
    THRCT_Wait_For_Threads_Termination();
    EXPECT_EQ(waits, std::vector<std::int64_t>(35, 1'000'000));
}

TEST_F(ThreadCounter, RealWaitIsWokenByTheLastThread)
{
    Set_System(nullptr);
    THRCT_Increase_App_Thread_Counter();
    std::thread last([] { THRCT_Decrease_App_Thread_Counter(); });
    THRCT_Wait_For_Threads_Termination();
    last.join();
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 0);
}

// ---- The crash -------------------------------------------------------------------------------------------------

// The signal's own action, whatever a sanitizer made of it, and no core file.
void DieQuietly()
{
    std::signal(SIGSEGV, SIG_DFL);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

void WaitForAThreadThatNeverEnds(SystemCalls& calls)
{
    DieQuietly();
    calls.wait = [](std::condition_variable&, std::unique_lock<std::mutex>&, timeval span) {
        std::fprintf(stderr, "wait %lld\n", static_cast<long long>(Microseconds(span)));
        return false;
    };
    THRCT_Increase_App_Thread_Counter();
    THRCT_Wait_For_Threads_Termination();
}

TEST_F(ThreadCounter, AThreadThatNeverEndsCostsThirtyFiveSecondsAndThenTheProcess)
{
    EXPECT_EXIT(WaitForAThreadThatNeverEnds(m_system.calls), testing::KilledBySignal(SIGSEGV),
                "^(wait 1000000\n){35}$");
}

TEST_F(ThreadCounter, ForcedSegmentationKillsTheProcess)
{
    const auto die = [] {
        DieQuietly();
        THRCT_Force_Segmentation();
    };
    EXPECT_EXIT(die(), testing::KilledBySignal(SIGSEGV), "");
}

// ---- Exit ------------------------------------------------------------------------------------------------------

TEST_F(ThreadCounter, ThreadsMayCountWhileTheProcessExits)
{
    const auto leave = [] {
        std::atexit([] { // runs behind the hook that THRCT_Init registers
            THRCT_Increase_App_Thread_Counter();
            std::fprintf(stderr, "counter %d", THRCT_Get_App_Thread_Counter());
        });
        THRCT_Increase_App_Thread_Counter();
        THRCT_Init();
        THRCT_Init();
        std::exit(0);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(0), "^counter 2$");
}

TEST_F(ThreadCounter, StillCountsBehindTheEndOfItsMutex)
{
    THRCT_Init();
    THRCT_End_Thread_Count_Mutex();
    THRCT_Increase_App_Thread_Counter();
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 1);
}

} // namespace
