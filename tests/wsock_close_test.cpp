// How connections end, by either side, and what is told of it.
#include "support/wsock_life.h"

namespace {

const std::string peer_closed = "Closed by remote, triggered when receiving data";

using WSocketClose = WSocketLifeTest;

// ---- Closing by this end

TEST_F(WSocketClose, CloseWhileOpeningIsAtOnceAndNothingRevivesIt)
{
    peer.listen();
    Begin_Connect(peer.port());
    socket.DoClose(1);
    EXPECT_EQ(Take_Closing_Text(), "1");
    EXPECT_EQ(socket.GetState(), CONN_STATE_DELETING);
    EXPECT_EQ(socket.Get_Sockfd(), -1);
    Look();
    At(1);
    EXPECT_EQ(Take_Statuses(), Statuses{});
    EXPECT_EQ(socket.GetState(), CONN_STATE_DELETING);
}

TEST_F(WSocketClose, CloseOfASocketWithoutAConnectionIsAtOnce)
{
    socket.DoClose(1);
    EXPECT_EQ(Take_Closing_Text(), "1");
    socket.DoClose(4);
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

TEST_F(WSocketClose, CloseEndsSendingAndStillDeliversWhatThePeerSends)
{
    Connect_To_Peer();
    Send("last");
    socket.DoClose(1);
    EXPECT_EQ(socket.GetState(), CONN_STATE_CLOSING);
    EXPECT_EQ(peer.receive_until_closed(), MakeFrame("DTNC", "last"));
    peer.send_message("still heard");
    Look_When_Readable();
    EXPECT_EQ(Take_Messages(), Texts{Delivered("still heard")});
    peer.close();
    See_Closing();
    EXPECT_EQ(Take_Closing_Text(), "1");
}

TEST_F(WSocketClose, ControlAloneSeesThatThePeerClosesToo)
{
    Connect_To_Peer();
    socket.DoClose(1);
    peer.close();
    Await(socket.Get_Sockfd(), POLLIN);
    At(1);
    Look();
    EXPECT_EQ(Take_Closing_Text(), "1");
}

TEST_F(WSocketClose, EndBehindTheLastDataIsSeenWithThem)
{
    Connect_To_Peer();
    socket.DoClose(1);
    peer.send_message("last words");
    peer.close();
    Await(socket.Get_Sockfd(), POLLRDHUP);
    At(1);
    EXPECT_EQ(Take_Messages(), Texts{Delivered("last words")});
    Look();
    EXPECT_EQ(Take_Closing_Text(), "1");
}

TEST_F(WSocketClose, ResetWhileClosingEndsAtOnce)
{
    Connect_To_Peer();
    socket.DoClose(1);
    peer.reset();
    Await(socket.Get_Sockfd(), POLLIN);
    At(1);
    EXPECT_EQ(Take_Closing_Text(), "1");
}

TEST_F(WSocketClose, SecondForceCloseIsSilent)
{
    Connect_To_Peer();
    socket.ForceClose();
    socket.ForceClose();
    EXPECT_EQ(Take_Closing_Text(), "The reason of disconnection is not clearly defined");
    EXPECT_EQ(peer.receive_until_closed(), "");
}

TEST_F(WSocketClose, CountersAndBuffersAreResetAtClose)
{
    Connect_To_Peer();
    Send("abc");
    At(21);
    peer.send(AliveFrame() + MakeFrame("DTCP", MakeEnvelope("message")) + LyingFrame("DTCP", 100, "half"));
    Look_When_Readable();
    EXPECT_EQ(socket.Frames_Sent() + socket.Frames_Received(), 2U);
    EXPECT_EQ(socket.Alive_Signals_Sent() + socket.Alive_Signals_Received(), 2U);
    socket.ForceClose();
    EXPECT_EQ(socket.Frames_Sent() + socket.Frames_Received(), 0U);
    EXPECT_EQ(socket.Alive_Signals_Sent() + socket.Alive_Signals_Received(), 0U);
    EXPECT_EQ(Inside::Held(socket), 0);
    EXPECT_EQ(Inside::Awaited(socket), 0);
    EXPECT_EQ(socket.MssPending(), 0);
}

TEST_F(WSocketClose, PendingDataOfAClosedConnectionHoldsUpNothing)
{
    Connect_To_Peer();
    while (socket.MssPending() == 0) {
        Send(Noise(50'000));
    }
    socket.ForceClose();
    EXPECT_EQ(socket.MssPending(), 0);
}

// ---- Closing by the peer

TEST_F(WSocketClose, PeerThatClosesIsReasonSix)
{
    Connect_To_Peer();
    peer.close();
    See_Closing();
    EXPECT_EQ(Take_Closing_Text(), peer_closed);
    EXPECT_EQ(socket.GetState(), CONN_STATE_DELETING);
}

TEST_F(WSocketClose, WhatThePeerSendsRightBeforeItClosesIsDelivered)
{
    Connect_To_Peer();
    peer.send_message("last words");
    peer.close();
    See_Closing();
    Look();
    const std::vector<Record> records = Take_All();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].data, Delivered("last words"));
    EXPECT_EQ(records[1].text(), peer_closed);
}

TEST_F(WSocketClose, ExtraTimeOfSendingEndsSilentlyWithItsConnection)
{
    Connect_To_Peer();
    Send("first");
    peer.receive_frame();
    Queue("never sent");
    At(41);
    EXPECT_EQ(Take_Statuses(), Statuses{30});
    peer.close();
    See_Closing();
    EXPECT_EQ(Take_Closing_Text(), peer_closed);
    socket.UpdateTime();
    EXPECT_EQ(Take_Statuses(), Statuses{});
}

TEST_F(WSocketClose, ResetIsToldWithItsErrorAndIsReasonSeven)
{
    Connect_To_Peer();
    peer.reset();
    See_Closing();
    Look();
    const std::vector<Record> records = Take_All();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].status, 19);
    EXPECT_EQ(records[0].data, "D > Tcp-error = 104");
    EXPECT_EQ(records[0].text(), "D");
    EXPECT_EQ(records[1].status, 20);
    EXPECT_EQ(records[1].text(), "Closed by this host, after a tcp-ip error encountered when receiving");
}

TEST_F(WSocketClose, ReasonOfOneConnectionIsNotThatOfTheNext)
{
    Connect_To_Peer();
    socket.DoClose(4);
    socket.ForceClose();
    Take_Statuses();
    Connect_To_Peer();
    peer.close();
    See_Closing();
    EXPECT_EQ(Take_Closing_Text(), peer_closed);
}

TEST_F(WSocketClose, NewsBearTheNumberOfTheirConnection)
{
    for (std::uint32_t number = 1; number <= 3; ++number) {
        Connect_To_Peer();
        socket.ForceClose();
        const std::optional<Record> record = Take();
        ASSERT_TRUE(record);
        EXPECT_EQ(record->news().connection, number);
    }
}

} // namespace
