// Descriptors, timers and calls of other threads, each in its round.
#include "net/event_loop.h"

#include "market/support/loop_fixture.h"

#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/epoll.h>
#include <thread>
#include <vector>

namespace {

using qm::Clock;
using qm::Descriptor;
using qm::EventLoop;
using std::chrono::milliseconds;
using Numbers = std::vector<int>;

// A pipe whose end for reading is watched.
struct Pipe
{
    Pipe()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
        in.Reset(ends[0]);
        out.Reset(ends[1]);
    }
    void Write() const { EXPECT_EQ(write(out.get(), "x", 1), 1); }

    Descriptor in;
    Descriptor out;
};

class EventLoopTest : public LoopTest
{
protected:
    std::function<void()> Note(int number)
    {
        return [this, number] { notes.push_back(number); };
    }
    EventLoop::Ready Note_Event(int number)
    {
        return [this, number](std::uint32_t) { notes.push_back(number); };
    }
    void Round() { loop.Run_Once(Clock::Time::zero()); }

    Numbers notes;
};

// ---- Descriptors

TEST_F(EventLoopTest, ReadyDescriptorIsToldInEachRoundUntilItIsForgotten)
{
    const Pipe pipe;
    loop.Watch(pipe.in.get(), EPOLLIN, Note_Event(1));
    Round();
    EXPECT_EQ(notes, Numbers{});
    pipe.Write();
    Round();
    Round();
    EXPECT_EQ(notes, (Numbers{1, 1}));
    loop.Forget(pipe.in.get());
    Round();
    EXPECT_EQ(notes, (Numbers{1, 1}));
}

TEST_F(EventLoopTest, EventsAreThoseThatCame)
{
    Pipe pipe;
    std::uint32_t came = 0;
    loop.Watch(pipe.in.get(), EPOLLIN, [&](std::uint32_t events) { came = events; });
    pipe.Write();
    Round();
    EXPECT_EQ(came, std::uint32_t{EPOLLIN});
    pipe.out.Reset();
    Round();
    EXPECT_EQ(came, std::uint32_t{EPOLLIN | EPOLLHUP});
}

TEST_F(EventLoopTest, WhatIsWaitedForCanBeChanged)
{
    const Pipe pipe;
    loop.Watch(pipe.out.get(), 0, Note_Event(1));
    Round();
    EXPECT_EQ(notes, Numbers{});
    loop.Change(pipe.out.get(), EPOLLOUT);
    Round();
    EXPECT_EQ(notes, Numbers{1});
    loop.Change(12345, EPOLLOUT); // nobody's
}

TEST_F(EventLoopTest, WatchingAgainReplacesTheCall)
{
    const Pipe pipe;
    pipe.Write();
    loop.Watch(pipe.in.get(), EPOLLIN, Note_Event(1));
    loop.Watch(pipe.in.get(), EPOLLIN, Note_Event(2));
    Round();
    EXPECT_EQ(notes, Numbers{2});
}

TEST_F(EventLoopTest, CallMayForgetItsOwnDescriptorAndGoOn)
{
    const Pipe pipe;
    pipe.Write();
    const auto kept = std::make_shared<int>(7);
    loop.Watch(pipe.in.get(), EPOLLIN, [this, &pipe, kept](std::uint32_t) {
        loop.Forget(pipe.in.get());
        notes.push_back(*kept);
    });
    Round();
    Round();
    EXPECT_EQ(notes, Numbers{7});
    EXPECT_EQ(kept.use_count(), 1);
}

TEST_F(EventLoopTest, DescriptorForgottenInARoundIsNotToldInIt)
{
    const Pipe one;
    const Pipe other;
    const auto forget_both = [&](std::uint32_t) {
        notes.push_back(1);
        loop.Forget(one.in.get());
        loop.Forget(other.in.get());
    };
    loop.Watch(one.in.get(), EPOLLIN, forget_both);
    loop.Watch(other.in.get(), EPOLLIN, forget_both);
    one.Write();
    other.Write();
    Run_Some();
    EXPECT_EQ(notes, Numbers{1});
}

// Two descriptors are ready; whoever is called first closes the other one, whose number a silent one gets.
TEST_F(EventLoopTest, EventOfAnEarlierDescriptorOfTheNumberIsNotTold)
{
    std::array<Pipe, 2> pipes;
    const Pipe silent;
    const auto replace = [&](std::size_t other) {
        return [&, other](std::uint32_t) {
            notes.push_back(1);
            const int number = pipes.at(other).in.get();
            loop.Forget(number);
            ASSERT_EQ(dup2(silent.in.get(), number), number);
            loop.Watch(number, EPOLLIN, Note_Event(99));
            loop.Forget(pipes.at(1 - other).in.get());
        };
    };
    for (const std::size_t i : {0U, 1U}) {
        loop.Watch(pipes.at(i).in.get(), EPOLLIN, replace(1 - i));
        pipes.at(i).Write();
    }
    Run_Some();
    EXPECT_EQ(notes, Numbers{1});
    silent.Write();
    Round();
    EXPECT_EQ(notes, (Numbers{1, 99}));
}

TEST_F(EventLoopTest, NumberOfAClosedDescriptorCanBeWatchedAgainWithoutForgetting)
{
    const Pipe pipe;
    int number = -1;
    {
        const Descriptor copy(dup(pipe.out.get()));
        number = copy.get();
        loop.Watch(number, EPOLLIN, Note_Event(1));
    }
    const Pipe next;
    ASSERT_EQ(dup2(next.in.get(), number), number);
    const Descriptor owner(number);
    next.Write();
    loop.Watch(number, EPOLLIN, Note_Event(2));
    Round();
    EXPECT_EQ(notes, Numbers{2});
}

TEST_F(EventLoopTest, WhatCantBeWatchedIsRefused)
{
    EXPECT_THROW(loop.Watch(-1, EPOLLIN, Note_Event(1)), std::system_error);
}

// ---- Timers

TEST_F(EventLoopTest, TimersComeInTheOrderOfTheirTimes)
{
    loop.After(milliseconds(30), Note(3));
    loop.After(milliseconds(10), Note(1));
    loop.After(milliseconds(20), Note(2));
    loop.After(milliseconds(20), Note(22));
    clock.advance(milliseconds(9));
    Round();
    EXPECT_EQ(notes, Numbers{});
    clock.advance(milliseconds(1));
    Round();
    EXPECT_EQ(notes, Numbers{1});
    clock.advance(milliseconds(100));
    Round();
    EXPECT_EQ(notes, (Numbers{1, 2, 22, 3}));
    Round();
    EXPECT_EQ(notes.size(), 4U);
}

TEST_F(EventLoopTest, CancelledTimerDoesNotCome)
{
    const EventLoop::Timer first = loop.After(milliseconds(10), Note(1));
    const EventLoop::Timer second = loop.After(milliseconds(10), Note(2));
    EXPECT_NE(first, 0U);
    EXPECT_NE(first, second);
    loop.Cancel(first);
    loop.Cancel(first);
    loop.Cancel(0);
    clock.advance(milliseconds(10));
    Round();
    EXPECT_EQ(notes, Numbers{2});
    loop.Cancel(second);
}

TEST_F(EventLoopTest, TimerMayCancelAnotherOfItsMoment)
{
    EventLoop::Timer second = 0;
    loop.After(milliseconds(10), [&] {
        notes.push_back(1);
        loop.Cancel(second);
    });
    second = loop.After(milliseconds(10), Note(2));
    clock.advance(milliseconds(10));
    Run_Some();
    EXPECT_EQ(notes, Numbers{1});
}

TEST_F(EventLoopTest, TimerMadeByATimerWaitsForTheNextRound)
{
    std::function<void()> again = [&] {
        notes.push_back(1);
        loop.After(milliseconds(-5), again);
    };
    loop.After(Clock::Time::zero(), again);
    Round();
    EXPECT_EQ(notes, Numbers{1});
    Round();
    EXPECT_EQ(notes, (Numbers{1, 1}));
}

TEST_F(EventLoopTest, RoundWaitsForATimerOfTheRealClock)
{
    const Clock real;
    EventLoop own(real);
    bool came = false;
    const Clock::Time start = real.now();
    own.After(milliseconds(3), [&] { came = true; });
    while (!came) {
        own.Run_Once(std::chrono::hours(1));
    }
    EXPECT_GE(real.now() - start, milliseconds(3));
}

TEST_F(EventLoopTest, ManualClockDoesNotHoldARoundLongerThanAsked)
{
    loop.After(std::chrono::hours(1), Note(1));
    loop.Run_Once(milliseconds(1));
    EXPECT_EQ(notes, Numbers{});
}

// ---- Other threads

TEST_F(EventLoopTest, PostedCallsRunInTheirOrder)
{
    for (const int number : {1, 2, 3}) {
        loop.Post(Note(number));
    }
    EXPECT_EQ(notes, Numbers{});
    loop.Run_Once(std::chrono::hours(1)); // is awake
    EXPECT_EQ(notes, (Numbers{1, 2, 3}));
}

TEST_F(EventLoopTest, CallPostedByACallWaitsForTheNextRound)
{
    loop.Post([this] {
        notes.push_back(1);
        loop.Post(Note(2));
    });
    Round();
    EXPECT_EQ(notes, Numbers{1});
    loop.Run_Once(std::chrono::hours(1));
    EXPECT_EQ(notes, (Numbers{1, 2}));
}

TEST_F(EventLoopTest, CallsOfAllThreadsArrive)
{
    constexpr int calls = 2000;
    std::array<int, 3> counts{};
    std::vector<std::jthread> threads;
    for (int& count : counts) {
        threads.emplace_back([this, &count] {
            for (int i = 0; i < calls; ++i) {
                loop.Post([&count, i] { count += count == i ? 1 : 0; }); // counts only in order
            }
        });
    }
    Run_Until([&] { return counts == std::array<int, 3>{calls, calls, calls}; });
}

TEST_F(EventLoopTest, RunEndsWithStopAndCanBeRunAgain)
{
    for (int i = 0; i < 2; ++i) {
        std::jthread runner([this] { loop.Run(); });
        std::atomic<bool> ran{false};
        loop.Post([&] {
            ran = true;
            ran.notify_all();
        });
        ran.wait(false);
        loop.Stop();
    }
}

TEST_F(EventLoopTest, StopAheadOfRunCounts)
{
    loop.Stop();
    loop.Run();
    loop.Post([this] { loop.Stop(); });
    loop.Run();
}

TEST_F(EventLoopTest, MovedClockIsLookedAtWhenSomethingIsPosted)
{
    loop.After(std::chrono::hours(1), [this] { loop.Stop(); });
    std::jthread runner([this] { loop.Run(); });
    clock.advance(std::chrono::hours(1));
    loop.Post([] {});
}

} // namespace
