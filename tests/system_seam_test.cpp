#include "system_seam.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <csignal>
#include <ctime>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr timeval no_time{0, 0};
constexpr timeval a_minute{60, 0};

TEST(RealSystem, TicksDoNotGoBack)
{
    int per_second = 0;
    std::int64_t before = System().ticks(&per_second);
    EXPECT_EQ(per_second, sysconf(_SC_CLK_TCK));
    for (int reading = 0; reading < 10'000; ++reading) {
        const std::int64_t now = System().ticks(&per_second);
        ASSERT_GE(now, before);
        before = now;
    }
}

TEST(RealSystem, TicksGoOn)
{
    int per_second = 0;
    const std::int64_t before = System().ticks(&per_second);
    while (System().ticks(&per_second) ==
           before) { // a hundredth of a second; a clock that stands runs into ctest's limit
    }
    EXPECT_GT(System().ticks(&per_second), before);
}

TEST(RealSystem, WallClockIsThatOfTheMachine)
{
    const std::int64_t before = std::time(nullptr);
    const std::int64_t now = System().wall_seconds();
    EXPECT_GE(now, before);
    EXPECT_LE(now, std::time(nullptr));
}

TEST(RealSystem, SleepRunsOut)
{
    EXPECT_EQ(System().sleep(no_time), 0);
    EXPECT_EQ(System().sleep({0, 1000}), 0);
}

TEST(RealSystem, ASignalShortensASleep)
{
    struct sigaction action
    {
    };
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    std::atomic<bool> awake{false};
    std::thread waker([&awake, sleeper = pthread_self()] {
        while (!awake) {
            pthread_kill(sleeper, SIGUSR1);
            std::this_thread::yield();
        }
    });
    const int result = System().sleep(a_minute);
    awake = true;
    waker.join();
    EXPECT_EQ(result, -1);
}

TEST(RealSystem, WaitIsTrueWhenNotified)
{
    std::mutex mutex;
    std::condition_variable changed;
    bool ready = false;
    std::unique_lock lock(mutex);
    std::thread notifier([&] {
        const std::lock_guard other_lock(mutex); // taken only once the wait below has let go
        ready = true;
        changed.notify_one();
    });
    bool notified = true;
    while (!ready && notified) {
        notified = System().wait(changed, lock, a_minute);
    }
    lock.unlock();
    notifier.join();
    EXPECT_TRUE(notified);
}

TEST(RealSystem, WaitIsFalseWhenItsSpanRunsOut)
{
    std::mutex mutex;
    std::condition_variable changed;
    std::unique_lock lock(mutex);
    while (System().wait(changed, lock, {0, 1000})) { // the system may wake it without reason
    }
    EXPECT_TRUE(lock.owns_lock());
}

TEST(RealSystem, RandomBytesDifferAndKeepToTheirCount)
{
    std::array<unsigned char, 34> first{};
    std::array<unsigned char, 34> second{};
    System().random_bytes(first.data() + 1, 32);
    System().random_bytes(second.data() + 1, 32);
    EXPECT_NE(first, second);
    EXPECT_EQ(first.front(), 0);
    EXPECT_EQ(first.back(), 0);
}

TEST(RealSystem, RandomBytesFillALongBuffer)
{
    std::vector<unsigned char> bytes(100'000);
    System().random_bytes(bytes.data(), bytes.size());
    const auto zeros = std::count(bytes.end() - 1000, bytes.end(), 0);
    EXPECT_LT(zeros, 100);
}

bool IsAddress(const std::string& text)
{
    std::array<unsigned char, 16> address{};
    return inet_pton(AF_INET, text.c_str(), address.data()) == 1 ||
           inet_pton(AF_INET6, text.c_str(), address.data()) == 1;
}

TEST(RealSystem, LocalAddressesAreAddressTexts)
{
    std::vector<std::string> texts;
    const bool found = System().local_addresses(texts);
    EXPECT_EQ(found, !texts.empty());
    EXPECT_TRUE(std::all_of(texts.begin(), texts.end(), IsAddress));
}

TEST(SystemSeam, AnExchangedCallIsInForceUntilTakenOut)
{
    SystemCalls calls = Real_System();
    calls.wall_seconds = [] { return std::int64_t{42}; };
    Set_System(&calls);
    EXPECT_EQ(System().wall_seconds(), 42);
    Set_System(nullptr);
    EXPECT_EQ(&System(), &Real_System());
}

} // namespace
