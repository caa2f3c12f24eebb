// Time in the test's hand, tried on small threads of the test's own.
#include "support/manual_time.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <csignal>
#include <functional>
#include <memory>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr timeval one_second{1, 0};
constexpr timeval two_seconds{2, 0};
constexpr timeval a_day{86400, 0};

struct Pipe
{
    Pipe() { EXPECT_EQ(pipe(ends.data()), 0); }
    ~Pipe()
    {
        close(ends[0]);
        close(ends[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void Fill() const { EXPECT_EQ(write(ends[1], "x", 1), 1); }
    void Empty() const
    {
        char byte = 0;
        EXPECT_EQ(read(ends[0], &byte, 1), 1);
    }
    [[nodiscard]] pollfd Entry() const { return {.fd = ends[0], .events = POLLIN, .revents = 0}; }

    std::array<int, 2> ends{-1, -1};
};

class ManualTimeTest : public testing::Test
{
protected:
    ~ManualTimeTest() override
    {
        if (time != nullptr) {
            time->run_free(); // a failed test may leave somebody behind
        }
        End();
    }

    void Start(std::function<void()> work) { threads.emplace_back(std::move(work)); }
    void StartSleeper(timeval span)
    {
        Start([this, span] {
            System().sleep(span);
            ++ended;
        });
    }
    // Waits for the pipe; `result` and `events` tell what came.
    void StartWaiter(timeval span)
    {
        Start([this, span] {
            pollfd entry = fifo.Entry();
            result = System().wait_ready(&entry, 1, span);
            events = entry.revents;
            ++ended;
        });
    }
    void End()
    {
        for (std::thread& thread : threads) {
            thread.join();
        }
        threads.clear();
    }

    std::unique_ptr<ManualTime> time = std::make_unique<ManualTime>(1000);
    Pipe fifo;
    std::atomic<int> ended{0};
    std::atomic<int> result{-7};
    std::atomic<int> events{-7};
    std::vector<std::thread> threads;
};

TEST_F(ManualTimeTest, BothClocksMoveByTheTestsHandOnly)
{
    int per_second = 0;
    const std::int64_t before = System().ticks(&per_second);
    EXPECT_EQ(per_second, 100);
    EXPECT_EQ(System().wall_seconds(), 1000);
    time->advance_seconds(3);
    EXPECT_EQ(System().ticks(&per_second), before + 300);
    EXPECT_EQ(System().wall_seconds(), 1003);
}

TEST_F(ManualTimeTest, TheRealSystemIsBackBehindIt)
{
    time.reset();
    EXPECT_EQ(&System(), &Real_System());
}

TEST_F(ManualTimeTest, ASleeperStaysUntilItsSpanHasPassed)
{
    StartSleeper(two_seconds);
    time->step_seconds(1);
    EXPECT_EQ(time->parked(), 1U);
    EXPECT_EQ(ended, 0);
    time->advance_seconds(1);
    End();
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(time->parked(), 0U);
}

TEST_F(ManualTimeTest, AWaiterWithNothingReadyEndsWithItsSpan)
{
    StartWaiter(two_seconds);
    time->step_seconds(1);
    EXPECT_EQ(ended, 0);
    time->advance_seconds(1);
    End();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(events, 0);
}

TEST_F(ManualTimeTest, ADescriptorThatBecomesReadyLetsItsWaiterGo)
{
    StartWaiter(a_day);
    time->settle();
    fifo.Fill();
    End();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(events, POLLIN);
    EXPECT_EQ(time->parked(), 0U);
}

TEST_F(ManualTimeTest, ADescriptorThatIsReadyParksNobody)
{
    fifo.Fill();
    StartWaiter(a_day);
    End();
    EXPECT_EQ(result, 1);
}

TEST_F(ManualTimeTest, AWaitForNoDescriptorIsASleep)
{
    Start([this] { result = System().wait_ready(nullptr, 0, one_second); });
    time->settle();
    time->advance_seconds(1);
    End();
    EXPECT_EQ(result, 0);
}

TEST_F(ManualTimeTest, WhatBecomesReadyWithTheEndOfTheSpanIsTold)
{
    StartWaiter(one_second);
    time->settle();
    fifo.Fill();
    time->advance_seconds(1);
    End();
    EXPECT_EQ(result, 1);
}

TEST_F(ManualTimeTest, AllWhoseSpanHasPassedAreWoken)
{
    StartSleeper(one_second);
    StartSleeper(two_seconds);
    StartWaiter(two_seconds);
    StartWaiter(a_day);
    time->settle(4);
    time->advance_seconds(2);
    time->settle(1);
    while (ended < 3) {
        std::this_thread::yield();
    }
    EXPECT_EQ(time->parked(), 1U);
    time->advance_seconds(86400);
    End();
    EXPECT_EQ(ended, 4);
}

// A thread as the library has them: it counts the seconds that it sees, on shared memory without a lock.
TEST_F(ManualTimeTest, BehindEachStepTheThreadHasDoneWhatWasDue)
{
    int seen = 0;
    std::atomic<bool> stop{false};
    Start([&] {
        while (!stop) {
            System().sleep(one_second);
            ++seen;
        }
    });
    for (int second = 0; second < 50; ++second) {
        time->settle();
        EXPECT_EQ(seen, second);
        time->advance_seconds(1);
    }
    time->step_seconds(50);
    EXPECT_EQ(seen, 100);
    stop = true;
    time->advance_seconds(1);
    End();
}

TEST_F(ManualTimeTest, SettlingWaitsForWhoeverHasSomethingToRead)
{
    std::atomic<int> taken{0};
    Start([&] {
        for (int left = 1000; left > 0;) {
            pollfd entry = fifo.Entry();
            if (System().wait_ready(&entry, 1, a_day) == 1) {
                fifo.Empty();
                ++taken;
                --left;
            }
        }
        System().sleep(a_day);
    });
    for (int sent = 1; sent <= 1000; ++sent) {
        fifo.Fill();
        time->settle();
        EXPECT_EQ(taken, sent);
    }
    time->advance_seconds(86400);
    End();
}

TEST_F(ManualTimeTest, SettlingWaitsForAsManyAsAreAskedFor)
{
    StartSleeper(a_day);
    Start([this] {
        for (int i = 0; i < 100; ++i) {
            std::this_thread::yield();
        }
        ++ended;
        System().sleep(a_day);
    });
    time->settle(2);
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(time->parked(), 2U);
    time->advance_seconds(86400);
}

TEST_F(ManualTimeTest, ShortSpansAreReallyWaited)
{
    EXPECT_EQ(System().sleep({0, 99'999}), 0);
    pollfd entry = fifo.Entry();
    EXPECT_EQ(System().wait_ready(&entry, 1, {0, 49'999}), 0);
    EXPECT_EQ(System().wall_seconds(), 1000);
    EXPECT_EQ(time->waits(), (std::vector<std::int64_t>{99'999, 49'999}));
}

TEST_F(ManualTimeTest, SpansFromTheLimitsOnAreParked)
{
    StartSleeper({0, 100'000});
    StartWaiter({0, 50'000});
    time->settle(2);
    time->advance_seconds(1);
    End();
    EXPECT_EQ(ended, 2);
}

TEST_F(ManualTimeTest, AsksAreListedInOrder)
{
    StartSleeper(two_seconds);
    time->settle();
    StartWaiter(one_second);
    time->settle(2);
    EXPECT_EQ(time->waits(), (std::vector<std::int64_t>{2'000'000, 1'000'000}));
    time->advance_seconds(2);
}

TEST_F(ManualTimeTest, RunningFreeEveryWaitEndsAtOnceAndTakesItsSpanOffTheClock)
{
    Start([this] {
        for (int i = 0; i < 3; ++i) {
            System().sleep(two_seconds);
        }
        ++ended;
    });
    time->settle();
    time->run_free();
    End();
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(System().wall_seconds(), 1004); // the one that was under way took none
}

TEST_F(ManualTimeTest, ItsEndLetsEverybodyGo)
{
    StartSleeper(a_day);
    StartWaiter(a_day);
    time->settle(2);
    time.reset();
    End();
    EXPECT_EQ(ended, 2);
}

TEST_F(ManualTimeTest, ASignalEndsAWaitAsInTheRealSystem)
{
    struct sigaction action
    {
    };
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    StartWaiter(a_day);
    time->settle();
    while (ended == 0) {
        pthread_kill(threads.front().native_handle(), SIGUSR1);
        std::this_thread::yield();
    }
    End();
    EXPECT_EQ(result, -1);
}

} // namespace
