// What the reader does with each record, in both roles: here its thread function runs on a thread of the test's, so
// that nobody else takes records from the rings.
#include "arrm.h"
#include "global.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/log.h"
#include "qcapi/session.h"
#include "support/forget_configuration.h"
#include "support/session_fixture.h"
#include "support/table_world.h"
#include "thrct.h"
#include "transport/envelope.h"
#include "transport/inbound_door.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
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

// ---- Sessions ----

void news(int status, unsigned connection, unsigned host = 0)
{
    char extra[CMSS_EXTRA_LEN];
    Store_News(extra, {connection, host});
    Glb_Recv_Mss->Collect(status, "D", 1, "D", extra);
}

TEST_F(InboundTest, ASessionBelongsToTheConnectionThatOpenedLast)
{
    for (void* (*reader)(void*) : {ReadingHost::Process_Messages, ReadingHost::Process_DS_Messages}) {
        news(TCP_STATUS_OPEN_CONNECTION, 7);
        read(reader);
        EXPECT_EQ(Session_Connection(), 7U);
        news(TCP_STATUS_CLOSED_CONNECTION, 7);
        news(TCP_STATUS_OPEN_CONNECTION, 8);
        read(reader);
        EXPECT_EQ(Session_Connection(), 8U);
        Close_Session();
    }
}

TEST_F(InboundTest, ASessionIsOverWhenTheHostHearsOfTheDisconnection)
{
    for (void* (*reader)(void*) : {ReadingHost::Process_Messages, ReadingHost::Process_DS_Messages}) {
        unsigned connection = 99;
        host.in_callback = [&](const std::string& line) {
            if (line == "status 20 Disconnected") {
                connection = Session_Connection();
            }
        };
        news(TCP_STATUS_OPEN_CONNECTION, 7);
        news(TCP_STATUS_CLOSED_CONNECTION, 7);
        read(reader);
        EXPECT_EQ(connection, 0U);
    }
}

TEST_F(InboundTest, TablesOfAnOlderConnectionMakeNoSessionReady)
{
    news(TCP_STATUS_OPEN_CONNECTION, 8);
    news(PRIMARY_TABLES_RECEIVED, 7);
    read(ReadingHost::Process_Messages);
    EXPECT_THAT(host.lines(), ElementsAre("status 21 Connected", stopped));
    Close_Session();
}

TEST_F(InboundTest, TheTablesOfTheConnectionMakeTheSessionReady)
{
    news(TCP_STATUS_OPEN_CONNECTION, 8);
    news(PRIMARY_TABLES_RECEIVED, 8);
    read(ReadingHost::Process_Messages);
    EXPECT_THAT(host.lines(), ElementsAre("status 21 Connected", "connection 0", stopped));
    Close_Session();
}

TEST_F(InboundTest, AStatusThatIsNotKnownIsToldAndTheNextRecordIsRead)
{
    connection_says(5000, "bad data");
    connection_says(TCP_ERROR_CANT_CONNECT);
    read(ReadingHost::Process_Messages);
    EXPECT_THAT(host.lines(), ElementsAre("error 23001 The connection changed to status 5000, detail (bad data) / 0 0",
                                          "status 7 Can't connect", stopped));
}

// ---- Messages ----

class MessagesOfAConnection : public InboundTest
{
protected:
    MessagesOfAConnection()
    {
        Forget_Configuration();
        Flag_Mailboxes();
        Glb_Unic_Number = 0;
        Glb_suscribed_message[575] = 1;
    }
    ~MessagesOfAConnection() override { Forget_Configuration(); }

    static std::string chat(const std::string& text) { return "575" + std::string(168, '\0') + text; }

    TableWorld world;
};

TEST_F(MessagesOfAConnection, ReachTheClientsHostInTheirOrder)
{
    connection_says(TCP_STATUS_PACKET_RECEIVED, chat("one"));
    connection_says(TCP_STATUS_PACKET_RECEIVED, "no message");
    connection_says(TCP_STATUS_PACKET_RECEIVED, "");
    connection_says(TCP_STATUS_PACKET_RECEIVED, chat("two"));
    read(ReadingHost::Process_Messages);
    EXPECT_THAT(host.lines(), ElementsAre("message Chat 1", "message Chat 2", stopped));
}

TEST_F(MessagesOfAConnection, AreThereUntilItCloses)
{
    int waiting = -1;
    host.in_callback = [&](const std::string& line) {
        if (line == "status 20 Disconnected") {
            waiting = TableWorld::Records_In(TableId::Glb_Chat_Message_Table);
        }
    };
    connection_says(TCP_STATUS_PACKET_RECEIVED, chat("one"));
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_Messages);
    EXPECT_EQ(waiting, 1);
    EXPECT_EQ(TableWorld::Records_In(TableId::Glb_Chat_Message_Table), 0);
}

TEST_F(MessagesOfAConnection, AreThereInTheServersRoleBehindItToo)
{
    connection_says(TCP_STATUS_PACKET_RECEIVED, chat("one"));
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_DS_Messages);
    EXPECT_EQ(TableWorld::Records_In(TableId::Glb_Chat_Message_Table), 1);
}

TEST_F(MessagesOfAConnection, OfTheLongestKindDoNotReadWhatLiesBehindThem)
{
    connection_says(TCP_STATUS_PACKET_RECEIVED, chat(std::string(MESSAGE_TRANS_RECORD_SIZE - 171, 'x')));
    connection_says(TCP_STATUS_PACKET_RECEIVED, chat("short"));
    std::string seen(4096, '#');
    host.in_callback = [&](const std::string& line) {
        if (line == "message Chat 2") {
            CQcApi::initialize_flag = QAPI_INITIALIZED;
            host.take("Chat", 2);
            host.GetField(std::string("texto").data(), seen.data());
            CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
        }
    };
    read(ReadingHost::Process_Messages);
    EXPECT_EQ(seen.substr(0, 2049), "short" + std::string(2044, '\0'));
}

// ---- A previous date ----

class PreviousDate : public InboundTest
{
protected:
    PreviousDate()
    {
        Forget_Configuration();
        std::strcpy(Glb_Prev_Date_Log_Req_Copy, "20261119");
        Glb_Prev_Date_Log_Req_Successfullty = 1;
        CQcApi::initialize_flag = QAPI_INITIALIZED;
    }
    ~PreviousDate() override
    {
        CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
        Forget_Configuration();
        Prepare_Rings();
    }
};

constexpr const char* refused_date = "error 29 Messages asked of previous date (20261119) not received. Shutdown the "
                                     "aplication and try again. / 999 0";

TEST_F(PreviousDate, ThatNoServerHasEndsTheSession)
{
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    connection_says(TCP_ERROR_CANT_CONNECT);
    read(ReadingHost::Process_Messages);
    EXPECT_THAT(host.lines(), ElementsAre("status 20 Disconnected", "disconnection 0 the peer closed", refused_date));
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_NOT_INITIALIZED);
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 0);
}

TEST_F(PreviousDate, ThatNoServerHasIsInTheLog)
{
    LOG_Init("", scratch.path().c_str());
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_Messages);
    LOG_End();
    EXPECT_THAT(text_lines_of_log(scratch.read("qapi.log")),
                testing::Contains("ER-Messages asked of previous date (20261119) not received. Shutdown the "
                                  "aplication and try again."));
}

TEST_F(PreviousDate, ThatIsAnsweredLetsTheSessionGoOn)
{
    Glb_Status_Init_Ask_Log = 1;
    Glb_Prev_Date_Log_Req_Successfullty = 0;
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_Messages);
    EXPECT_TRUE(host.has(stopped));
    EXPECT_FALSE(host.has(refused_date));
}

TEST_F(PreviousDate, ThatWasAnsweredOnceDoesNotEndTheSessionAgain)
{
    Glb_Status_Init_Ask_Log = 1;
    Glb_Prev_Date_Log_Req_Successfullty = 1;
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_Messages);
    EXPECT_TRUE(host.has(stopped));
    EXPECT_FALSE(host.has(refused_date));
}

TEST_F(PreviousDate, EndsTheSessionThoughTheHostDeletesTheObjectOnTheWay)
{
    auto other = std::make_unique<ReadingHost>();
    CQcApi::initialize_flag = QAPI_INITIALIZED;
    other->in_callback = [&](const std::string& line) {
        if (line == refused_date) {
            CQcApi::initialize_flag = QAPI_NOT_INITIALIZED; // as the destructor's Logout leaves it
            Set_Current_Api(nullptr);
        }
    };
    connection_says(TCP_STATUS_CLOSED_CONNECTION, "D", "the peer closed");
    read(ReadingHost::Process_Messages);
    EXPECT_TRUE(other->has(refused_date));
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 0);
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
