// The end of both threads, whatever they are at when it is asked for.
#include "qcapi/support.h"
#include "support/driver_fixture.h"

#include <string>

namespace {

class StopTest : public DriverTest
{
protected:
    // The threads end without any time passing.
    void Expect_An_End_At_Once()
    {
        Request_Stop();
        Join();
    }
    // Records in the outbound ring while nobody can take them, so that they stand there when the stop comes.
    void Send_Numbers_And_Stop(int count)
    {
        const TransportLock lock(descr->DCON_lock);
        for (int i = 0; i < count; ++i) {
            Send("575 number " + std::to_string(i));
        }
        Request_Stop();
    }
    void Expect_Numbers_At_Peer(int count)
    {
        for (int i = 0; i < count; ++i) {
            Expect_At_Peer("575 number " + std::to_string(i));
        }
    }
    // A peer that doesn't read, and more than anything on the way to it can hold.
    void Stall()
    {
        Connect();
        Shrink_Send_Buffer(*descr);
        const int pauses = descr->DCON_pauses;
        for (int i = 0; i < 400; ++i) {
            Send("575 " + std::string(3000, 'x'));
        }
        EXPECT_TRUE(Becomes([&] { return descr->DCON_pauses > pauses; }));
    }
    static std::vector<int> Statuses_In(CMss_Arr& ring)
    {
        std::vector<int> statuses;
        for (int status = TakeRecord(ring).status; status != -1; status = TakeRecord(ring).status) {
            statuses.push_back(status);
        }
        return statuses;
    }

    using Statuses = std::vector<int>;
};

// ---- Without a connection

TEST_F(StopTest, DuringAPendingConnectTakesNoTime)
{
    const FullBacklog full;
    Add_Host(full.port());
    Start();
    Settle();
    Expect_An_End_At_Once();
    EXPECT_EQ(Statuses_In(*Glb_Recv_Mss), (Statuses{stopped, closed}));
}

TEST_F(StopTest, InThePauseBetweenAttemptsTakesNoTime)
{
    const ReservedPort refusing;
    Glb_connection_retry_wait = 1000;
    Add_Host(refusing.number());
    Start();
    Expect_Status(cant_connect);
    Settle();
    Expect_An_End_At_Once();
    EXPECT_EQ(Statuses_In(*Glb_Recv_Mss), (Statuses{stopped, closed}));
}

TEST_F(StopTest, InThePauseBehindALongConnectionTakesNoTime)
{
    Connect();
    Step(16);
    Drop();
    Settle();
    Expect_An_End_At_Once();
    EXPECT_EQ(Statuses_In(*Glb_Recv_Mss), (Statuses{stopped}));
}

TEST_F(StopTest, AheadOfTheFirstConnectIsNotForgotten)
{
    const FullBacklog full;
    Add_Host(full.port());
    Start();
    Expect_An_End_At_Once();
}

TEST_F(StopTest, RightBehindTheStartEndsWithinTenSecondsAlsoIfThePeerNeverCloses)
{
    peer.listen();
    Add_Host(peer.port());
    Start();
    Request_Stop();
    EXPECT_GE(Seconds_Until_The_End(10), 0);
}

TEST_F(StopTest, WithoutAServerAndWithoutARingForTheLogNeedsNothing)
{
    Start();
    Expect_An_End_At_Once();
}

// ---- Connected

TEST_F(StopTest, TakesNoTimeWhenThePeerClosesAtOnce)
{
    Connect();
    Request_Stop();
    peer.receive_until_closed();
    peer.close();
    Join();
    EXPECT_EQ(Expect_Status(stopped).data, "D");
    EXPECT_STREQ(Expect_Status(closed).source, "1");
    EXPECT_FALSE(Is_Any_Record());
}

TEST_F(StopTest, WhatStoodInTheRingArrivesAheadOfTheEnd)
{
    Connect();
    Send_Numbers_And_Stop(500);
    Expect_Numbers_At_Peer(500);
    EXPECT_EQ(peer.receive_until_closed(), "");
    EXPECT_FALSE(peer.was_reset());
    peer.close();
    Join();
}

TEST_F(StopTest, WhatIsQueuedBehindItIsDropped)
{
    Connect();
    Send_Numbers_And_Stop(3);
    Expect_Numbers_At_Peer(3);
    EXPECT_EQ(peer.receive_until_closed(), "");
    Send("575 too late");
    EXPECT_GE(Seconds_Until_The_End(8), 0);
    EXPECT_EQ(peer.receive_until_closed(), "");
}

TEST_F(StopTest, AStopThatStandsInTheRingEndsTheSenderBehindWhatCameEarlier)
{
    Connect();
    Send("575 early");
    Glb_Send_Mss->Collect(TCP_SHUTTING_DOWN, nullptr, 0, nullptr, nullptr);
    Send("575 late");
    Expect_At_Peer("575 early");
    Request_Stop();
    EXPECT_EQ(peer.receive_until_closed(), "");
    peer.close();
    Join();
}

// The reader has ended by then, and a server in the middle of a log would fill the memory.
TEST_F(StopTest, WhatThePeerSendsBehindTheStopIsReadAndNotTakenIn)
{
    Connect();
    Request_Stop();
    peer.receive_until_closed();
    peer.send_message("575 last words");
    peer.close();
    Join();
    Expect_Status(stopped);
    Expect_Status(closed);
}

TEST_F(StopTest, APeerThatNeverClosesIsGivenEightSeconds)
{
    Connect();
    Request_Stop();
    peer.receive_until_closed();
    EXPECT_EQ(Seconds_Until_The_End(20), 8);
    EXPECT_EQ(Statuses_In(*Glb_Recv_Mss), (Statuses{stopped, closed}));
}

TEST_F(StopTest, AStalledPeerIsGivenTwoSecondsMore)
{
    Stall();
    Settle();
    Request_Stop();
    EXPECT_EQ(Seconds_Until_The_End(20), 10);
    Expect_Status(stopped);
    EXPECT_STREQ(Skip_To(closed).source, "1"); // the sender may have met the end of sending in between
}

TEST_F(StopTest, APeerThatReadsAgainWithinTheTwoSecondsGetsAll)
{
    Stall();
    Send("575 the last one");
    Settle();
    Request_Stop();
    Step(1);
    while (!peer.receive_message().message.starts_with("575 the last one")) {
    }
    EXPECT_EQ(peer.receive_until_closed(), "");
    peer.close();
    Join();
}

// The sender has ended by then; the queue is the connection thread's to send.
TEST_F(StopTest, WhatTheSystemRefusedAtTheEndStillLeaves)
{
    Connect();
    Shrink_Send_Buffer(*descr);
    while (descr->DWsock.MssPending() == 0) {
        Send("575 " + std::string(3000, 'x'));
        EXPECT_TRUE(Becomes([] { return !Glb_Send_Mss->Is_Any_Pkt(); }));
    }
    Send("575 the last one");
    Request_Stop();
    EXPECT_TRUE(Becomes([this] { return !descr->sender_running; }));
    while (!peer.receive_message().message.starts_with("575 the last one")) {
    }
    EXPECT_EQ(peer.receive_until_closed(), "");
    peer.close();
    Join();
}

TEST_F(StopTest, APeerThatLeavesDuringTheTwoSecondsEndsThem)
{
    Stall();
    Settle();
    Request_Stop();
    Settle();
    peer.reset();
    Join();
}

// ---- Stop records

TEST_F(StopTest, EachRingGetsAStopRecord)
{
    CMss_Arr log(6, 100, CMSS_FIFO);
    descr->pLog_Mss = &log;
    const ReservedPort refusing;
    Add_Host(refusing.number());
    Start();
    Expect_Status(cant_connect);
    Settle();
    Expect_An_End_At_Once();
    EXPECT_EQ(Expect_Status(stopped).source, Glb_DS_Id);
    EXPECT_EQ(Statuses_In(log), (Statuses{stopped}));
    EXPECT_EQ(Statuses_In(*Glb_Send_Mss), Statuses{}); // the sender took it
}

TEST_F(StopTest, AConnectionLeavesAStopRecordMoreForTheSender)
{
    Connect();
    Request_Stop();
    peer.receive_until_closed();
    peer.close();
    Join();
    EXPECT_EQ(Statuses_In(*Glb_Send_Mss), (Statuses{stopped}));
}

TEST_F(StopTest, TheDescriptorServesASecondSession)
{
    Connect();
    Request_Stop();
    peer.receive_until_closed();
    peer.close();
    Join();
    Statuses_In(*Glb_Recv_Mss);
    Statuses_In(*Glb_Send_Mss);
    Start();
    Take_Connection();
    Send("575 again");
    Expect_At_Peer("575 again");
}

TEST_F(StopTest, AStopOnAnEndedSessionDoesNothing)
{
    Request_Stop();
    Request_Restart();
    EXPECT_EQ(descr->DCON_terminate, DCON_NEXT_STATE_TERMINATE);
}

} // namespace
