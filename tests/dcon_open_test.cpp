// What the connection thread of a client does while the connection is open: ticks, alive signals, time-outs.
#include "support/driver_fixture.h"

namespace {

using OpenConnectionTest = DriverTest;

TEST_F(OpenConnectionTest, TicksComeEveryTwoSecondsIfAskedFor)
{
    descr->ticking_message = 1;
    Connect();
    for (int i = 0; i < 5; ++i) {
        Step(1);
        EXPECT_FALSE(Is_Any_Record());
        Step(1);
        const TakenRecord tick = Expect_Status(29);
        EXPECT_EQ(tick.data, "D");
        EXPECT_EQ(tick.source, Glb_DS_Id);
    }
}

TEST_F(OpenConnectionTest, NobodyElseGetsTicks)
{
    Connect();
    Step(20);
    EXPECT_FALSE(Is_Any_Record());
}

TEST_F(OpenConnectionTest, TheExpireTimeSetsTheTimeOutsOfEachConnection)
{
    descr->expire_time = 40; // alive signals after 10 seconds, receive time-out after 24
    Connect();
    peer.receive_frame();
    for (int connection = 0; connection < 2; ++connection) {
        Step(10);
        EXPECT_FALSE(peer.has_unread());
        Step(2);
        EXPECT_TRUE(peer.receive_frame().is_alive_signal());
        Step(14);
        Expect_Status(17);
        Drop();
        Step(1);
        Take_Connection();
        peer.receive_frame();
    }
}

TEST_F(OpenConnectionTest, AnotherThreadMaySetTheTimeOutsOfAnOpenConnection)
{
    Connect();
    peer.receive_frame();
    Settle();
    DCON_Set_Expire_Time(*descr, 40);
    Step(12);
    EXPECT_TRUE(peer.receive_frame().is_alive_signal());
}

TEST_F(OpenConnectionTest, TimeOutsOfAConnectionThatWentAreNotTheNextOnes)
{
    Connect();
    peer.receive_frame();
    Settle();
    DCON_Set_Expire_Time(*descr, Connections() - 1, 40);
    Step(12);
    EXPECT_FALSE(peer.has_unread());
    DCON_Set_Expire_Time(*descr, Connections(), 40);
    Step(12);
    EXPECT_TRUE(peer.receive_frame().is_alive_signal());
}

TEST_F(OpenConnectionTest, OnlyTheConnectionThatStandsIsRestarted)
{
    Connect();
    peer.receive_frame();
    Settle();
    DCON_Restart_Connection(*descr, Connections() - 1);
    EXPECT_EQ(descr->DCON_terminate, DCON_NEXT_STATE_VOID);
    DCON_Restart_Connection(*descr, Connections());
    EXPECT_EQ(peer.receive_until_closed(), "");
}

TEST_F(OpenConnectionTest, AnAliveSignalLeavesBehindTwentySilentSeconds)
{
    Connect();
    peer.receive_frame();
    Step(20);
    EXPECT_FALSE(peer.has_unread());
    Step(2);
    EXPECT_TRUE(peer.receive_frame().is_alive_signal());
}

TEST_F(OpenConnectionTest, ASilentPeerIsLeftAfterSixtySecondsOfWarning)
{
    Connect();
    Step(60);
    EXPECT_FALSE(Is_Any_Record());
    Step(2);
    Expect_Status(17);
    Step(60);
    EXPECT_FALSE(Is_Any_Record());
    Step(2);
    Expect_Status(14);
    peer.receive_until_closed();
    peer.close();
    EXPECT_STREQ(Expect_Status(closed).source,
                 "Closed by this host, limit time exeeded and didn't receive alive signal");
    Step(1);
    Take_Connection();
}

TEST_F(OpenConnectionTest, APeerThatSpeaksAgainIsKept)
{
    Connect();
    Step(62);
    Expect_Status(17);
    peer.send_alive_signal();
    Expect_Status(31);
    Step_With_Live_Peer(130);
    EXPECT_FALSE(Is_Any_Record());
}

} // namespace
