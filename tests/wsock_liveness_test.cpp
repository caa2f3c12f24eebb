// Alive signals, time-outs and their grace periods, by a clock in the test's hand.
#include "qcapi/support.h"
#include "support/wsock_fixture.h"

#include <tuple>
#include <utility>

namespace {

constexpr long an_hour = 3'600 * FakeSystem::ticks_per_second;

class WSocketLiveness : public WSocketTest
{
protected:
    // A connection whose stream took its last bytes at the start and takes no more, with one frame in the queue.
    void Open_And_Queue()
    {
        Open();
        Send("first");
        Queue("second");
        Wire();
    }
    // So long behind the start, with a sign of life from the peer.
    void At_With_Alive_Signal(unsigned seconds)
    {
        ASSERT_EQ(stream->Write(AliveFrame()), 6U);
        At(seconds);
    }
    auto Settings()
    {
        return std::tuple{Inside::Send_Grace(socket), Inside::Send_Time_Out(socket), Inside::Receive_Time_Out(socket),
                          Inside::Alive_Time(socket)};
    }
    auto Dead_Lines()
    {
        return std::tuple{Inside::Next_Alive(socket) - start, Inside::Receive_Dead_Line(socket) - start};
    }
};

using Four = std::tuple<unsigned, unsigned, unsigned, unsigned>;
using Two = std::tuple<unsigned, unsigned>;

// ---- Alive signals

TEST_F(WSocketLiveness, AliveSignalGoesOutBehind20SecondsOfSilenceAndNotAt20)
{
    Open();
    At(20);
    EXPECT_EQ(Wire(), "");
    At(21);
    EXPECT_EQ(Wire(), AliveFrame());
    EXPECT_EQ(socket.Alive_Signals_Sent(), 1U);
    EXPECT_EQ(socket.Frames_Sent(), 0U);
    At(41);
    EXPECT_EQ(Wire(), "");
    At(42);
    EXPECT_EQ(Wire(), AliveFrame());
    EXPECT_EQ(socket.Alive_Signals_Sent(), 2U);
}

TEST_F(WSocketLiveness, AnySendPutsTheAliveSignalOff)
{
    Open();
    At(15);
    Send("abc");
    At(35);
    EXPECT_EQ(Wire(), MakeFrame("DTCP", "abc"));
    At(36);
    EXPECT_EQ(Wire(), AliveFrame());
}

TEST_F(WSocketLiveness, NoAliveSignalJoinsAQueueThatWaits)
{
    Open_And_Queue();
    At(30);
    EXPECT_EQ(socket.Queued_Bytes(), 12);
    EXPECT_EQ(socket.Alive_Signals_Sent(), 0U);
}

TEST_F(WSocketLiveness, WhatArrivesIsReadByControl)
{
    Open();
    EXPECT_EQ(stream->Write(MakeFrame("DTCP", MakeEnvelope("message"))), 32U);
    At(1);
    EXPECT_EQ(Take_Messages(), Texts{Delivered("message")});
}

// ---- Receiving

TEST_F(WSocketLiveness, SilenceOf60SecondsIsWarnedOfAnd60MoreCloseForReasonFive)
{
    Open();
    At(60);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    At(61);
    EXPECT_EQ(Take_Statuses(), Statuses{17});
    EXPECT_TRUE(Inside::In_Receive_Extra_Time(socket));
    At(121);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    At(122);
    EXPECT_EQ(Take_Statuses(), Statuses{14});
    EXPECT_EQ(socket.GetState(), CONN_STATE_CLOSING);
    At(130);
    EXPECT_EQ(Take_Closing_Text(), "Closed by this host, limit time exeeded and didn't receive alive signal");
}

TEST_F(WSocketLiveness, AnyByteRestartsTheReceiveDeadLine)
{
    Open();
    At(59);
    Feed("D");
    At(119);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    At(120);
    EXPECT_EQ(Take_Statuses(), Statuses{17});
}

TEST_F(WSocketLiveness, AnyByteEndsTheExtraTimeOfReceiving)
{
    Open();
    At(61);
    Feed("D");
    EXPECT_EQ(Take_Statuses(), (Statuses{17, 31}));
    EXPECT_FALSE(Inside::In_Receive_Extra_Time(socket));
    At(121);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    At(122);
    EXPECT_EQ(Take_Statuses(), Statuses{17});
}

TEST_F(WSocketLiveness, NothingIsWatchedOnceClosing)
{
    Open_And_Queue();
    socket.DoClose(1);
    socket.Control(start + 7);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    socket.Control(start + 1'000);
    EXPECT_EQ(Take_Statuses(), Statuses{20});
    socket.Control(start + 2'000);
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

// ---- Sending

TEST_F(WSocketLiveness, QueueThatWaits40SecondsIsWarnedOfAnd100MoreCloseForReasonFour)
{
    Open_And_Queue();
    At_With_Alive_Signal(40);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    At_With_Alive_Signal(41);
    EXPECT_EQ(Take_Statuses(), Statuses{30});
    At_With_Alive_Signal(90);
    At_With_Alive_Signal(141);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    At_With_Alive_Signal(142);
    EXPECT_EQ(Take_Statuses(), Statuses{23});
    At(150);
    EXPECT_EQ(Take_Closing_Text(), "Closed by this host, limit time exeeded and couldn't send more data");
}

TEST_F(WSocketLiveness, SendTimeOutThatClosesLeavesReceivingUnwatched)
{
    Open_And_Queue();
    At(41);
    At(61);
    Take_Statuses();
    At(300);
    EXPECT_EQ(Take_Statuses(), Statuses{23});
}

TEST_F(WSocketLiveness, AnySendEndsTheExtraTimeOfSending)
{
    Open_And_Queue();
    At(41);
    socket.Send_Queued();
    EXPECT_EQ(Take_Statuses(), (Statuses{30, 31}));
    EXPECT_FALSE(Inside::In_Send_Extra_Time(socket));
    EXPECT_EQ(Inside::Send_Dead_Line(socket), start + 81);
}

TEST_F(WSocketLiveness, EmptyQueueHasNoSendTimeOut)
{
    Open();
    Send("abc");
    system.advance_seconds(41);
    socket.UpdateTime(); // no alive signal is due
    socket.Control(start + 41);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    EXPECT_EQ(Wire(), MakeFrame("DTCP", "abc"));
}

// ---- Settings

TEST_F(WSocketLiveness, NewSocketHasTheDefaultsAndTheirDeadLines)
{
    EXPECT_EQ(Settings(), Four(100, 40, 60, 20));
    EXPECT_EQ(Dead_Lines(), Two(20, 60));
    EXPECT_EQ(Inside::Send_Dead_Line(socket), start + 100);
}

TEST_F(WSocketLiveness, ExpireTimeOf100Gives60And60And25)
{
    Open();
    At(10);
    EXPECT_EQ(socket.SetExpireTime(100), 0);
    EXPECT_EQ(Settings(), Four(100, 60, 60, 25));
    EXPECT_EQ(Dead_Lines(), Two(35, 70));
}

TEST_F(WSocketLiveness, ExpireTimesAreDividedWholly)
{
    for (const auto& [seconds, settings] : {std::pair{1, Four(1, 0, 0, 0)},
                                            {2, Four(2, 1, 1, 0)},
                                            {3, Four(3, 1, 1, 0)},
                                            {4, Four(4, 2, 2, 1)},
                                            {65'535, Four(65'535, 39'321, 39'321, 16'383)}}) {
        socket.SetExpireTime(static_cast<unsigned short>(seconds));
        EXPECT_EQ(Settings(), settings) << seconds;
    }
}

TEST_F(WSocketLiveness, ExpireTimeZeroKeepsTheSettingsAndRestartsTheDeadLines)
{
    Open();
    At(10);
    EXPECT_EQ(socket.SetExpireTime(0), 0);
    EXPECT_EQ(Settings(), Four(100, 40, 60, 20));
    EXPECT_EQ(Dead_Lines(), Two(30, 70));
}

TEST_F(WSocketLiveness, NewSettingsRule)
{
    Open();
    socket.SetExpireTime(40);
    At(11);
    EXPECT_EQ(Wire(), AliveFrame());
    At(24);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    At(25);
    EXPECT_EQ(Take_Statuses(), Statuses{17});
    Queue("abc");
    EXPECT_EQ(Inside::Send_Dead_Line(socket), start + 24 + 24); // of the second alive signal
}

TEST_F(WSocketLiveness, UpdateTimeEndsBothExtraTimes)
{
    Open_And_Queue();
    At(61);
    EXPECT_EQ(Take_Statuses(), (Statuses{30, 17}));
    socket.UpdateTime();
    EXPECT_EQ(Take_Statuses(), (Statuses{31, 31}));
    EXPECT_EQ(Dead_Lines(), Two(81, 121));
    socket.UpdateTime();
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

// ---- Closing

TEST_F(WSocketLiveness, ClosingEndsBehindEightSeconds)
{
    Open();
    At(5);
    socket.DoClose(1);
    At(12);
    EXPECT_EQ(socket.GetState(), CONN_STATE_CLOSING);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    At(13);
    EXPECT_EQ(socket.GetState(), CONN_STATE_DELETING);
    EXPECT_EQ(Take_Closing_Text(), "1");
}

TEST_F(WSocketLiveness, SecondCloseNeitherChangesTheReasonNorTheEnd)
{
    Open();
    socket.DoClose(4);
    At(5);
    socket.DoClose(5);
    At(7);
    EXPECT_EQ(socket.GetState(), CONN_STATE_CLOSING);
    At(8);
    EXPECT_EQ(Take_Closing_Text(), "Closed by this host, limit time exeeded and couldn't send more data");
}

TEST_F(WSocketLiveness, ReasonsBeyondTheTableHaveItsLastEntryOrItsFirst)
{
    for (const auto& [reason, text] : {std::pair{0, "The reason of disconnection is not clearly defined"},
                                       {2, "2"},
                                       {9, "-"},
                                       {10, "-"},
                                       {-1, "The reason of disconnection is not clearly defined"}}) {
        Open();
        socket.DoClose(reason);
        socket.ForceClose();
        EXPECT_EQ(Take_Closing_Text(), text) << reason;
    }
}

// ---- Clocks that move

TEST_F(WSocketLiveness, ClockCheckMovesNoDeadLine)
{
    for (const long ticks : {an_hour, -an_hour}) {
        Open();
        COMMON_Adjust_Time(ticks);
        EXPECT_EQ(WSocket::SetTimeOut(5), start + 5);
        Send("abc");
        Feed(AliveFrame());
        EXPECT_EQ(Dead_Lines(), Two(20, 60));
        EXPECT_EQ(Inside::Send_Dead_Line(socket), start + 40);
        socket.UpdateTime();
        EXPECT_EQ(Dead_Lines(), Two(20, 60));
        EXPECT_EQ(Inside::Longest_Silence_Received(socket), 0);
    }
}

TEST_F(WSocketLiveness, StepOfTheWallClockMovesNoDeadLine)
{
    Open();
    system.wall += 3'600;
    At(20);
    EXPECT_EQ(Wire(), "");
    At(60);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    At(61);
    EXPECT_EQ(Take_Statuses(), Statuses{17});
}

TEST_F(WSocketLiveness, WrapOfTheTicksMovesNoDeadLine)
{
    Fall_To(std::int64_t{0xFFFFFFFF} - 1'000, start); // as far as 32 bits count
    Open();
    EXPECT_EQ(Dead_Lines(), Two(20, 60));
    system.ticks = 0;
    system.wall = start + 10;
    At(20);
    EXPECT_EQ(Wire(), "");
    At(21);
    EXPECT_EQ(Wire(), AliveFrame());
    At(60);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    At(61);
    EXPECT_EQ(Take_Statuses(), Statuses{17});
}

// ---- What was seen

TEST_F(WSocketLiveness, LongestSilencesAreKept)
{
    Open();
    for (const unsigned second : {3U, 10U, 11U}) {
        At_With_Alive_Signal(second);
        Send("abc");
    }
    EXPECT_EQ(Inside::Longest_Silence_Received(socket), 7);
    EXPECT_EQ(Inside::Longest_Silence_Sent(socket), 7);
}

TEST_F(WSocketLiveness, LongestSilenceIsAtMostThatOfAShort)
{
    Open();
    system.advance_seconds(40'000);
    Feed(AliveFrame());
    Send("abc");
    EXPECT_EQ(Inside::Longest_Silence_Received(socket), 32'767);
    EXPECT_EQ(Inside::Longest_Silence_Sent(socket), 32'767);
}

TEST_F(WSocketLiveness, ClockThatFallsBackMakesNoSilence)
{
    Open();
    Fall_To(1'000, start - 100);
    Feed(AliveFrame());
    Send("abc");
    EXPECT_EQ(Inside::Longest_Silence_Received(socket), 0);
    EXPECT_EQ(Inside::Longest_Silence_Sent(socket), 0);
}

} // namespace
