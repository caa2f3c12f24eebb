// What the reader does with each record, in both roles: here its thread function runs on a thread of the test's, so
// that nobody else takes records from the rings.
#include "arrm.h"
#include "global.h"
#include "qcapi/log.h"
#include "qcapi/session.h"
#include "support/session_fixture.h"
#include "support/table_world.h"
#include "transport/envelope.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <optional>
#include <thread>

namespace {

using testing::ElementsAre;

struct ReadingHost : RecordingHost
{
    using CQcApi::Process_DS_Messages;
    using CQcApi::Process_Messages;
};

class InboundTest : public SessionTest
{
protected:
    InboundTest()
    {
        Glb_Recv_Mss->Initialize();
        Glb_Send_Mss->Initialize();
        Glb_Proc_Flag = 0;
    }

    // Runs a reader over all that was said so far.
    static void read(void* (*reader)(void*))
    {
        connection_says(TCP_SHUTTING_DOWN, "");
        std::thread(reader, nullptr).join();
    }

    ReadingHost host;
};

constexpr const char* stopped =
    "status 27 Attempts to establish a connection and processing messages have been suspended";

TEST_F(InboundTest, TheClientsReaderTellsEachStateAndTheStop)
{
    connection_says(TCP_STATUS_OPEN_CONNECTION);
    connection_says(TCP_ERROR_CANT_CONNECT);
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_Messages);
    EXPECT_THAT(host.lines(), ElementsAre("status 21 Connected", "status 7 Can't connect", "status 20 Disconnected",
                                          "disconnection 0 the peer closed", stopped));
}

TEST_F(InboundTest, TheServersReaderKnowsOpenAndCloseAndNoOtherStatus)
{
    connection_says(TCP_STATUS_OPEN_CONNECTION);
    connection_says(TCP_ERROR_CANT_CONNECT);
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_DS_Messages);
    EXPECT_THAT(host.lines(),
                ElementsAre("status 21 Connected", "error 23001 The connection changed to status 7, detail (D) / 0 0",
                            "status 20 Disconnected", "disconnection 0 the peer closed"));
}

TEST_F(InboundTest, AClosedConnectionEmptiesTheOutboundRingButKeepsAStop)
{
    for (void* (*reader)(void*) : {ReadingHost::Process_Messages, ReadingHost::Process_DS_Messages}) {
        Glb_Send_Mss->Collect(0, "an old order", 12, nullptr, nullptr);
        Glb_Send_Mss->Collect(TCP_SHUTTING_DOWN, nullptr, 0, nullptr, nullptr);
        connection_says(TCP_STATUS_CLOSED_CONNECTION);
        read(reader);
        char record[MESSAGE_TRANS_RECORD_SIZE];
        int len = -1;
        EXPECT_EQ(Glb_Send_Mss->Withdraw(record, &len, nullptr, nullptr), TCP_SHUTTING_DOWN);
        EXPECT_EQ(Glb_Send_Mss->Withdraw(record, &len, nullptr, nullptr), -1);
    }
}

// ---- Tables ----

class TablesOfAConnection : public InboundTest
{
protected:
    TablesOfAConnection()
    {
        Flag_Mailboxes();
        world.Put(Glb_Chat_Message_Table, 1, {{TEXTO_CHAT, "good morning"}});
        world.Put(Glb_User_Table, 1, {{CODIGO_USUARIO, "U123"}});
        world.Put(Glb_City_Table, 1, {{CODIGO_3C_CITY, "BOG"}});
    }

    // Records of received messages, of users, of cities.
    static std::array<int, 3> records()
    {
        return {TableWorld::Records_In(TableId::Glb_Chat_Message_Table),
                TableWorld::Records_In(TableId::Glb_User_Table), TableWorld::Records_In(TableId::Glb_City_Table)};
    }

    // What was there when a callback of this line came.
    void note_records_at(const std::string& line)
    {
        host.in_callback = [this, line](const std::string& each) {
            if (each == line) {
                seen = records();
            }
        };
    }

    TableWorld world;
    std::array<int, 3> seen{-1, -1, -1};
};

constexpr std::array<int, 3> all_there = {1, 1, 1};
constexpr std::array<int, 3> cities_alone = {0, 0, 1};

TEST_F(TablesOfAConnection, AreCleanedWhenItClosesBeforeTheHostHearsOfTheDisconnection)
{
    note_records_at("disconnection 0 the peer closed");
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_Messages);
    EXPECT_EQ(seen, cities_alone);
}

TEST_F(TablesOfAConnection, AreThereWhenTheHostHearsThatItIsDisconnected)
{
    note_records_at("status 20 Disconnected");
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_Messages);
    EXPECT_EQ(seen, all_there);
}

TEST_F(TablesOfAConnection, AreCleanedWhenTheSessionStops)
{
    note_records_at(stopped);
    read(ReadingHost::Process_Messages);
    EXPECT_EQ(seen, cities_alone);
}

TEST_F(TablesOfAConnection, AreKeptInTheServersRole)
{
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_DS_Messages);
    EXPECT_EQ(records(), all_there);
}

TEST_F(TablesOfAConnection, AreKeptWhenOneOpensOrFails)
{
    connection_says(TCP_ERROR_CANT_CONNECT);
    connection_says(TCP_STATUS_OPEN_CONNECTION);
    note_records_at("status 21 Connected");
    read(ReadingHost::Process_Messages);
    EXPECT_EQ(seen, all_there);
}

TEST_F(TablesOfAConnection, AreCleanedWithoutAnObject)
{
    std::optional<ReadingHost> other(std::in_place); // and no more: the first one gave its place
    other.reset();
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_Messages);
    EXPECT_EQ(records(), cities_alone);
}

TEST_F(TablesOfAConnection, AreCleanedWhenNoHostThreadWorksOnAMailbox)
{
    std::atomic<bool> reader_ended = false;
    Glb_Send_Mss->Collect(0, "an old order", 12, nullptr, nullptr);
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    connection_says(TCP_SHUTTING_DOWN, "");
    std::unique_lock a_host_works(*The_Mailbox_Mutex);
    std::thread reader([&] {
        ReadingHost::Process_Messages(nullptr);
        reader_ended = true;
    });
    while (Glb_Send_Mss->Is_Any_Pkt() != 0) { // that goes first
        std::this_thread::yield();
    }
    for (int i = 0; i < 1000; ++i) { // the reader has all the time it wants, and can't get further
        std::this_thread::yield();
    }
    EXPECT_FALSE(reader_ended);
    EXPECT_EQ(Glb_Proc_Flag % 16, 6U);
    EXPECT_EQ(TableWorld::Records_In(TableId::Glb_Chat_Message_Table), 1);
    a_host_works.unlock();
    reader.join();
    EXPECT_EQ(records(), cities_alone);
}

TEST_F(TablesOfAConnection, HaveTheStateOfTheStartThoughTheConfigurationIsMissing)
{
    TBLEQUIV_Row(TABLE_CODE_ID).code = 1071;
    Glb_Chat_Message_Table->Set_Table_Flag(1);
    std::remove("qapi.cfg");
    EXPECT_NE(host.Initialize(), 0);
    EXPECT_EQ(TBLEQUIV_Row(TABLE_CODE_ID).code, 0);
    EXPECT_EQ(Glb_Chat_Message_Table->m_table_flag,
              9); // a reader that runs all the same gives out idx values of its own
    LOG_End();
}

TEST_F(TablesOfAConnection, HaveTheStateOfTheStartBehindInitialize)
{
    TBLEQUIV_Row(TABLE_CODE_ID).code = 1071; // as a subscription of an earlier session left it
    Glb_City_Table->Set_Table_Flag(1);
    Glb_Chat_Message_Table->Set_Table_Flag(1);
    EXPECT_EQ(host.Initialize(), 0);
    EXPECT_EQ(TBLEQUIV_Row(TABLE_CODE_ID).code, 0);
    EXPECT_EQ(Glb_City_Table->m_table_flag, 17);
    EXPECT_EQ(Glb_Chat_Message_Table->m_table_flag, 9);
    EXPECT_EQ(records(), all_there);
    LOG_End();
}

TEST_F(InboundTest, TheObjectRegistersTheReferences)
{
    for (int index = 1; index < MAX_REF_CALL; ++index) {
        CField::Set_Reference_Call(index, nullptr);
    }
    const ReadingHost another;
    CMsgOrder order;
    for (const int field_id : {CIUDAD, MERCADO, ID_COMITENTE_PROPIO}) {
        EXPECT_NE(order[field_id].Do_Reference_Call(0, 0, nullptr), nullptr) << field_id;
    }
}

// ---- Traces ----

TEST_F(InboundTest, TheConnectedWordFollowsTheConnection)
{
    connection_says(TCP_STATUS_OPEN_CONNECTION);
    read(ReadingHost::Process_Messages);
    EXPECT_EQ(Glb_main_connected, 1);
    connection_says(TCP_STATUS_CLOSED_CONNECTION);
    read(ReadingHost::Process_Messages);
    EXPECT_EQ(Glb_main_connected, 0);
}

TEST_F(InboundTest, TheTraceHoldsTheLastEightSteps)
{
    connection_says(TCP_STATUS_OPEN_CONNECTION);
    connection_says(TCP_STATUS_CLOSED_CONNECTION);
    read(ReadingHost::Process_Messages);
    EXPECT_EQ(Glb_Proc_Flag,
              0x45126712U); // open told, login sent; waits, took, close told, tables cleaned; waits, took
}

TEST_F(InboundTest, MessagesAreCounted)
{
    const unsigned before = glb_num_proc_msgs;
    connection_says(TCP_STATUS_PACKET_RECEIVED, "575");
    connection_says(TCP_STATUS_PACKET_RECEIVED, "133");
    read(ReadingHost::Process_Messages);
    connection_says(TCP_STATUS_PACKET_RECEIVED, "575");
    read(ReadingHost::Process_DS_Messages);
    EXPECT_EQ(glb_num_proc_msgs, before + 3);
}

} // namespace
