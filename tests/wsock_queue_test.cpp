// The queue by which frames leave: its room, its order, and a stream that takes less than it is given, or nothing.
#include "support/socket_access.h"
#include "support/wsock_fixture.h"

namespace {

using WSocketQueue = WSocketTest;

TEST_F(WSocketQueue, FrameIsDroppedAsIfSentWhenTheConnectionIsNotOpen)
{
    EXPECT_EQ(Send("abc"), 3);
    EXPECT_EQ(socket.Queued_Bytes(), 0);
    Open();
    socket.DoClose(1);
    EXPECT_EQ(Send("abc"), 3);
    EXPECT_EQ(socket.Frames_Sent(), 0U);
    EXPECT_EQ(Wire(), "");
}

TEST_F(WSocketQueue, QueueTakes60000BytesInclusiveAndIsReadyForOneLess)
{
    Open();
    EXPECT_TRUE(socket.IsReadyToSend(59'993));
    EXPECT_FALSE(socket.IsReadyToSend(59'994));
    EXPECT_EQ(Queue(Noise(59'995)), 0);
    EXPECT_EQ(socket.Queued_Bytes(), 0);
    EXPECT_EQ(Queue(Noise(59'994)), 59'994);
    EXPECT_EQ(socket.Queued_Bytes(), 60'000);
    EXPECT_FALSE(socket.IsReadyToSend(0));
}

TEST_F(WSocketQueue, FrameWithoutRoomLeavesNoTrace)
{
    Open();
    Queue(Noise(59'900));
    EXPECT_EQ(Queue(Noise(89)), 0);
    EXPECT_EQ(socket.Frames_Sent(), 1U);
    EXPECT_EQ(Queue(Noise(88)), 88);
    EXPECT_EQ(Queue(""), 0);
    EXPECT_EQ(socket.Queued_Bytes(), 60'000);
    socket.Send_Queued();
    EXPECT_EQ(Frames(), (std::vector<WireFrame>{{"DTCP", Noise(59'900)}, {"DTCP", Noise(88)}}));
}

TEST_F(WSocketQueue, QueuedRecordsLeaveTogetherAndInOrder)
{
    Open();
    Queue("one");
    Queue("two");
    EXPECT_EQ(Wire(), "");
    socket.Send_Queued();
    EXPECT_EQ(Frames(), (std::vector<WireFrame>{{"DTCP", "one"}, {"DTCP", "two"}}));
    EXPECT_EQ(socket.Queued_Bytes(), 0);
}

TEST_F(WSocketQueue, RefusedDataIsPendingUntilTheSocketTakesDataAgain)
{
    Open();
    Narrow();
    Send(Noise(40'000));
    EXPECT_EQ(socket.MssPending(), 1);
    EXPECT_GT(socket.Queued_Bytes(), 0);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    std::string wire;
    while (socket.MssPending() != 0) {
        wire += Wire();
        Look();
    }
    EXPECT_EQ(wire + Wire(), MakeFrame("DTCP", Noise(40'000)));
}

TEST_F(WSocketQueue, BehindTheEndOfSendingNothingIsPendingAndNothingIsTriedInVain)
{
    Open();
    Narrow();
    Send(Noise(40'000));
    socket.DoClose(4);
    EXPECT_EQ(socket.MssPending(), 0);
    Wire(); // there would be room now
    Look();
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

TEST_F(WSocketQueue, NothingIsTriedWhileDataIsPendingAndTheOrderStays)
{
    Open();
    Narrow();
    Send(Noise(20'000));
    std::string wire = Wire();
    const int queued = socket.Queued_Bytes();
    EXPECT_EQ(Send("behind"), 6);
    EXPECT_EQ(socket.Queued_Bytes(), queued + 12);
    while (socket.MssPending() != 0) {
        Look();
        wire += Wire();
    }
    EXPECT_EQ(wire, MakeFrame("DTCP", Noise(20'000)) + MakeFrame("DTCP", "behind"));
}

TEST_F(WSocketQueue, WithTheSslSettingOneSendIsMadeAndTheNextLookGoesOn)
{
    socket.Create(0, 1);
    Open();
    Narrow();
    DAsyncSocket_Test_Access::Set_Last_Error(0);
    Send(Noise(20'000));
    EXPECT_EQ(DAsyncSocket::GetLastError(), 0); // nothing was refused
    EXPECT_EQ(socket.MssPending(), 1);
    std::string wire = Wire();
    while (socket.MssPending() != 0) {
        const int queued = socket.Queued_Bytes();
        Look();
        ASSERT_LT(socket.Queued_Bytes(), queued);
        wire += Wire();
    }
    EXPECT_EQ(wire, MakeFrame("DTNC", Noise(20'000)));
}

TEST_F(WSocketQueue, WithTheSslSettingNothingIsPendingBehindAWholeFrame)
{
    socket.Create(0, 1);
    Open();
    Send("abc");
    EXPECT_EQ(socket.MssPending(), 0);
    EXPECT_EQ(DAsyncSocket_Test_Access(socket).State(), 0);
}

TEST_F(WSocketQueue, NothingIsTriedOnceTheConnectionCloses)
{
    Open();
    Queue("never sent");
    socket.DoClose(1);
    socket.Send_Queued();
    EXPECT_EQ(Wire(), "");
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

TEST_F(WSocketQueue, BrokenStreamIsToldAndClosesForReasonEight)
{
    Open();
    shutdown(stream->Far(), SHUT_RDWR);
    EXPECT_EQ(Send("abc"), 3);
    EXPECT_EQ(Take_Statuses(), Statuses{9});
    EXPECT_EQ(socket.GetState(), CONN_STATE_CLOSING);
    Look();
    Look();
    EXPECT_EQ(Take_Closing_Text(), "Closed by this host, after a tcp-ip error encountered when sending");
}

// ---- Waiting

TEST_F(WSocketQueue, WaitForSendWithoutASocketSleepsThatLong)
{
    WSocket::WaitForSend(-1, 2, 500'000);
    EXPECT_EQ(system.waits(), std::vector<std::int64_t>{2'500'000});
}

TEST_F(WSocketQueue, WaitForSendLooksWhetherTheSocketTakesData)
{
    static pollfd asked{};
    static timeval longest{};
    system.calls.wait_ready = [](pollfd* descriptors, unsigned count, timeval span) {
        asked = descriptors[count - 1];
        longest = span;
        return 1;
    };
    WSocket::WaitForSend(7, 2, 500'000);
    EXPECT_EQ(asked.fd, 7);
    EXPECT_EQ(asked.events, POLLOUT);
    EXPECT_EQ(longest.tv_sec, 2);
    EXPECT_EQ(longest.tv_usec, 500'000);
    EXPECT_EQ(system.waits().size(), 0U);
}

} // namespace
