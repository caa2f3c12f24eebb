// The sender thread: from the outbound ring to the wire, in order, whatever the peer does.
#include "support/driver_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int many_records = sanitized ? 1000 : 2000;

// Bytes that no form makes much shorter.
std::string with_length(int number, std::size_t length)
{
    std::string text = "575 " + std::to_string(number) + " ";
    std::minstd_rand random(static_cast<unsigned>(number + 1));
    while (text.size() < length) {
        text += static_cast<char>(random() >> 8U);
    }
    return text;
}

// Lengths around the borders of the forms, and most of what a record holds.
std::string numbered(int number)
{
    constexpr std::array<std::size_t, 8> lengths{10, 100, 990, 1005, 1024, 2029, 2040, 3281};
    return with_length(number, lengths[static_cast<std::size_t>(number) % lengths.size()]);
}

class SenderTest : public DriverTest
{
protected:
    void Connect_With_Small_Buffer()
    {
        Connect();
        Shrink_Send_Buffer(*descr);
    }
    void Send_Next() { Send_Of(connection_of_numbered, numbered(sent++)); }
    // More than the queue and both ends' buffers hold; nothing moves any more when this returns.
    void Send_Until_The_Queue_Is_Full()
    {
        for (std::size_t bytes = 0; bytes < 1'000'000; bytes += numbered(sent).size()) {
            Send_Next();
        }
        int queued = -1;
        while (std::exchange(queued, Queued_Behind_Pauses()) != queued) {
        }
    }
    // What the queue holds when the sender has found no room many times more.
    int Queued_Behind_Pauses()
    {
        const int pauses = descr->DCON_pauses;
        EXPECT_TRUE(Becomes([&] { return descr->DCON_pauses > pauses + 15; }));
        const TransportLock lock(descr->DCON_lock);
        return descr->DWsock.Queued_Bytes();
    }
    void Expect_All_At_Peer()
    {
        for (; received < sent; ++received) {
            ASSERT_EQ(peer.receive_message().message, numbered(received));
        }
    }
    // The ring holds what nobody took; the room behind what it has now.
    void Send_Until_The_Ring_Grows()
    {
        const int slots = Glb_Send_Mss->Get_Total_Num_Records();
        while (Glb_Send_Mss->Get_Total_Num_Records() == slots) {
            Send_Next();
        }
    }

    unsigned connection_of_numbered = 0; // 0: whichever stands
    int sent = 0;
    int received = 0;
};

class SenderModesTest : public SenderTest, public testing::WithParamInterface<int>
{
protected:
    SenderModesTest() { descr->modesend = GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(All, SenderModesTest, testing::Values(0, 1, 2, 3));

// ---- Records

TEST_P(SenderModesTest, RecordsOfAllLengthsArriveInOrder)
{
    Connect();
    for (int i = 0; i < 200; ++i) {
        Send_Next();
    }
    Expect_All_At_Peer();
}

TEST_P(SenderModesTest, TheLongestRecordArrivesWhole)
{
    Connect();
    const std::string longest = with_length(1, 3300 - 19);
    EXPECT_EQ(MakeEnvelope(longest).size(), 3300U);
    Send(longest);
    Expect_At_Peer(longest);
}

TEST_F(SenderTest, ARecordWithoutBytesIsPassedOver)
{
    Connect();
    peer.receive_frame();
    Glb_Send_Mss->Collect(0, nullptr, 0, nullptr, nullptr);
    Send("575 behind it");
    Glb_Send_Mss->Collect(0, nullptr, 0, nullptr, nullptr);
    Glb_Send_Mss->Collect(0, nullptr, 0, nullptr, nullptr);
    Send("575 behind two");
    EXPECT_EQ(peer.receive_frame().payload, MakeEnvelope("575 behind it")); // and no alive signal
    EXPECT_EQ(peer.receive_frame().payload, MakeEnvelope("575 behind two"));
    EXPECT_EQ(descr->DCON_pauses, 0);
}

TEST_F(SenderTest, ARecordWithoutConnectionIsDropped)
{
    const ReservedPort port;
    Add_Host(port.number());
    Start();
    Expect_Status(cant_connect);
    Send("575 for nobody");
    EXPECT_TRUE(Becomes([] { return Glb_Send_Mss->Get_Total_Pending() == 0; }));
    Settle();
    Send("575 for nobody either");
    EXPECT_TRUE(Becomes([] { return Glb_Send_Mss->Get_Total_Pending() == 0; }));
    peer.listen(port.number());
    Step(1);
    Take_Connection();
    Send("575 for the peer");
    Expect_At_Peer("575 for the peer");
}

TEST_F(SenderTest, TheTraceTellsItsSteps)
{
    Connect();
    peer.receive_frame();
    EXPECT_TRUE(Becomes([this] { return (descr->send_flag & 0xFFFFU) == 0x2351U; })); // taken, sent, helped, waits
    Request_Stop();
    peer.receive_until_closed();
    peer.close();
    Join();
    EXPECT_EQ(descr->send_flag & 0xFFU, 0x26U);
}

// ---- Records of a session

TEST_F(SenderTest, OnlyRecordsOfTheConnectionThatStandsAreSent)
{
    Connect();
    Send_Of(Connections() + 1, "575 of the next connection");
    Send_Of(Connections(), "575 of this connection");
    Send_Of(Connections() + 2, "575 of the one behind it");
    Send_Of(Connections() + 256, "575 of a later connection");
    Send_Of(0, "575 of any connection");
    Expect_At_Peer("575 of this connection");
    Expect_At_Peer("575 of any connection");
}

TEST_F(SenderTest, WhatWasQueuedForALostConnectionDoesNotReachTheNext)
{
    Connect();
    const unsigned lost = Connections();
    Drop();
    Step(1);
    Take_Connection();
    Send_Of(lost, "575 too late");
    Send_Of(Connections(), "201 login");
    Expect_At_Peer("201 login");
}

TEST_F(SenderTest, ARecordThatWaitsForRoomIsNotSentOverTheNextConnection)
{
    Connect_With_Small_Buffer();
    connection_of_numbered = Connections();
    Send_Until_The_Queue_Is_Full();
    for (int i = 0; i < 100; ++i) {
        Send_Of(Connections(), "575 of the lost connection");
    }
    Settle();
    peer.reset();
    Skip_To(closed);
    Step(1);
    Take_Connection();
    Send_Of(Connections(), "201 login");
    Expect_At_Peer("201 login");
}

// ---- A peer that doesn't read

TEST_P(SenderModesTest, APeerThatReadsAgainGetsEveryRecordInOrder)
{
    Connect_With_Small_Buffer();
    Send_Until_The_Queue_Is_Full();
    Send_Until_The_Ring_Grows();
    while (sent < many_records) {
        Send_Next();
    }
    Step(42);
    Expect_Status(30);
    Expect_All_At_Peer();
    Expect_Status(31);
    EXPECT_FALSE(Is_Any_Record());
}

TEST_F(SenderTest, NoRecordIsDroppedWhileTheSocketIsOpenAheadOfTheState)
{
    Connect_With_Small_Buffer();
    Settle();
    descr->DCON_state = DCON_ST_OPENCHK; // as it is for a moment behind the opening
    Send_Until_The_Queue_Is_Full();
    descr->DCON_state = DCON_ST_NORMCON;
    Expect_All_At_Peer();
}

TEST_F(SenderTest, PausesClimbWhileTheQueueIsFull)
{
    Connect_With_Small_Buffer();
    Send_Until_The_Queue_Is_Full();
    const int pauses = descr->DCON_pauses;
    EXPECT_TRUE(Becomes([&] { return descr->DCON_pauses > pauses + 3; }));
    {
        const TransportLock lock(descr->DCON_lock);
        EXPECT_GT(descr->DWsock.Queued_Bytes(), 60'000 - 3300 - 6);
    }
    Expect_All_At_Peer();
}

TEST_F(SenderTest, TheWaitForRoomGrowsFromATenthToTenMilliseconds)
{
    Connect_With_Small_Buffer();
    Send_Until_The_Queue_Is_Full();
    const std::vector<std::int64_t> growing{100, 200, 400, 800, 1600, 3200, 6400, 10'000, 10'000};
    EXPECT_TRUE(Becomes([&] {
        std::vector<std::int64_t> waits = time.waits();
        std::erase_if(waits, [](std::int64_t wait) { return wait > 10'000; }); // the connection thread's
        return std::search(waits.begin(), waits.end(), growing.begin(), growing.end()) != waits.end();
    }));
}

TEST_F(SenderTest, WhatTheSystemRefusedIsHelpedOutUntilThereIsMore)
{
    Connect_With_Small_Buffer();
    while (descr->DCON_mpauses == 0) {
        Send_Next();
        EXPECT_TRUE(Becomes([] { return !Glb_Send_Mss->Is_Any_Pkt(); }));
        const int pauses = descr->DCON_mpauses;
        EXPECT_TRUE(Becomes([&] { return descr->DWsock.MssPending() == 0 || descr->DCON_mpauses > pauses; }));
    }
    EXPECT_EQ(descr->DCON_pauses, 0);
    Expect_All_At_Peer();
    EXPECT_TRUE(Becomes([this] { return descr->DWsock.MssPending() == 0; }));
}

TEST_F(SenderTest, APeerThatNeverReadsIsLeftBehindTheGracePeriod)
{
    peer.small_buffers();
    Connect_With_Small_Buffer();
    Send_Until_The_Queue_Is_Full();
    Step_With_Live_Peer(40);
    EXPECT_FALSE(Is_Any_Record());
    Step(2);
    Expect_Status(30);
    Step_With_Live_Peer(100);
    EXPECT_FALSE(Is_Any_Record());
    Step(2);
    Expect_Status(23);
    Step(8);
    EXPECT_STREQ(Skip_To(closed).source, "Closed by this host, limit time exeeded and couldn't send more data");
    Step(1);
    Take_Connection();
}

TEST_F(SenderTest, ARecordThatWaitsForRoomWhenItsConnectionFallsIsDropped)
{
    Connect_With_Small_Buffer();
    Send_Until_The_Queue_Is_Full();
    Settle();
    peer.reset();
    Skip_To(closed);
    EXPECT_TRUE(Becomes([] { return Glb_Send_Mss->Get_Total_Pending() == 0; }));
    Step(1);
    Take_Connection();
    Send("575 of the next connection");
    Expect_At_Peer("575 of the next connection");
}

} // namespace
