#include "qcapi/master_mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

// A thread that waits for the lock, notes its number when it gets it, and releases.
std::thread visitor(Master_Mutex& mutex, std::vector<int>& visits, int number)
{
    return std::thread([&mutex, &visits, number] {
        mutex.Lock();
        visits.push_back(number);
        mutex.Unlock();
    });
}

TEST(MasterMutex, ItsOwnThreadTakesItAgain)
{
    Master_Mutex mutex;
    mutex.Lock();
    mutex.Lock();
    mutex.Unlock();
    EXPECT_TRUE(mutex.Is_Mine());
    mutex.Unlock();
    EXPECT_FALSE(mutex.Is_Mine());
}

TEST(MasterMutex, AThreadThatHoldsNothingReleasesNothing)
{
    Master_Mutex mutex;
    mutex.Unlock();
    mutex.Lock();
    std::thread([&] { mutex.Unlock(); }).join();
    EXPECT_TRUE(mutex.Is_Mine());
    mutex.Unlock();
}

TEST(MasterMutex, LetsWaitingThreadsInAndKeepsItAfterwards)
{
    Master_Mutex mutex;
    std::vector<int> visits;
    mutex.Let_Waiting_Threads_In(); // nobody holds it yet
    EXPECT_TRUE(mutex.Is_Mine());
    std::thread first = visitor(mutex, visits, 1);
    while (mutex.Waiting() < 1) {
        std::this_thread::yield();
    }
    std::thread second = visitor(mutex, visits, 2);
    while (mutex.Waiting() < 2) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(visits.empty());
    mutex.Let_Waiting_Threads_In();
    EXPECT_EQ(visits, (std::vector{1, 2}));
    EXPECT_TRUE(mutex.Is_Mine());
    mutex.Unlock();
    first.join();
    second.join();
}

TEST(MasterMutex, GivesUpAllLevelsAndTakesThemBack)
{
    Master_Mutex mutex;
    mutex.Lock();
    mutex.Lock();
    const Master_Mutex::Hold hold = mutex.Give_Up();
    EXPECT_EQ(hold.depth, 2);
    EXPECT_FALSE(mutex.Is_Mine());
    mutex.Take_Back(hold);
    mutex.Unlock();
    EXPECT_TRUE(mutex.Is_Mine());
    mutex.Unlock();
    EXPECT_FALSE(mutex.Is_Mine());
    EXPECT_EQ(mutex.Give_Up().depth, 0);
}

TEST(MasterMutex, IsParkedAgainOnlyIfItWas)
{
    Master_Mutex mutex;
    mutex.Let_Waiting_Threads_In();
    mutex.Take_Back(mutex.Give_Up()); // still parked
    mutex.Begin_Open();
    EXPECT_TRUE(mutex.Is_Free());
    mutex.End_Open();
    mutex.Lock();
    mutex.Take_Back(mutex.Give_Up()); // still not parked
    mutex.Begin_Open();
    EXPECT_TRUE(mutex.Is_Mine());
    mutex.End_Open();
    mutex.Unlock();
}

TEST(MasterMutex, IsFreedFromAThreadThatEndedWithIt)
{
    Master_Mutex mutex;
    std::thread([&] { mutex.Lock(); }).join();
    EXPECT_FALSE(mutex.Is_Free());
    mutex.Free();
    EXPECT_TRUE(mutex.Is_Free());
    mutex.Free(); // twice is no harm
    mutex.Lock();
    EXPECT_TRUE(mutex.Is_Mine());
    mutex.Unlock();
}

TEST(MasterMutex, AnOpenStretchOpensAParkedLockAndNobodyParksItInside)
{
    Master_Mutex mutex;
    std::vector<int> visits;
    mutex.Let_Waiting_Threads_In();
    std::thread waiting = visitor(mutex, visits, 1);
    std::thread([&] { mutex.Begin_Open(); }).join();
    waiting.join();
    EXPECT_EQ(visits, std::vector{1});
    mutex.Let_Waiting_Threads_In();
    EXPECT_FALSE(mutex.Is_Mine());
    mutex.End_Open();
    mutex.Let_Waiting_Threads_In();
    EXPECT_TRUE(mutex.Is_Mine());
    mutex.Unlock();
}

TEST(MasterMutex, AnOpenStretchDoesNotOpenALockThatACallbackHolds)
{
    Master_Mutex mutex;
    mutex.Lock();
    mutex.Begin_Open();
    EXPECT_TRUE(mutex.Is_Mine());
    mutex.Unlock();
}

TEST(MasterMutex, LetsOneThreadInAtATime)
{
    Master_Mutex mutex;
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 500; ++round) {
                mutex.Lock();
                if (++inside != 1) {
                    overlapped = true;
                }
                --inside;
                mutex.Unlock();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(overlapped);
}

} // namespace
