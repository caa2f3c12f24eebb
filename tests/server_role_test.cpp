// The server's end of a session: what it hands to its host, what it answers, and what it leaves alone.
#include "arrm.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/session.h"
#include "reader/conditions.h"
#include "reader/views.h"
#include "records/session.h"
#include "session/empty_message.h"
#include "session/server_exchange.h"
#include "support/forget_configuration.h"
#include "support/market_records.h"
#include "support/sent_messages.h"
#include "support/session_fixture.h"
#include "support/table_world.h"
#include "support/test_peer.h"
#include "transport/inbound_door.h"

#include <gmock/gmock.h>

#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

struct ServingHost : RecordingHost
{
    using CQcApi::Process_DS_Messages;
};

class ServerRole : public SessionTest
{
protected:
    ServerRole()
    {
        Forget_Configuration();
        Flag_Mailboxes();
        Glb_Recv_Mss->Initialize();
        Glb_Send_Mss->Initialize();
        Glb_Unic_Number = 0;
        open(sent::connection);
        host.forget_lines();
    }
    ~ServerRole() override
    {
        Close_Session();
        Glb_Unic_Number = 0;
        Forget_Configuration();
    }

    // The reader acts on it, and has ended when this returns.
    static void read()
    {
        connection_says(TCP_SHUTTING_DOWN, "");
        std::thread([] { ServingHost::Process_DS_Messages(nullptr); }).join();
    }
    static void open(unsigned connection)
    {
        char extra[CMSS_EXTRA_LEN];
        Store_News(extra, {.connection = connection, .host = 0});
        Glb_Recv_Mss->Collect(TCP_STATUS_OPEN_CONNECTION, "D", 1, "D", extra);
        read();
    }
    static void receive(const std::string& message)
    {
        connection_says(TCP_STATUS_PACKET_RECEIVED, message);
        read();
    }
    // As much of it as a frame can have.
    static std::string chat(const market::Chat& what) { return market::Make(what).substr(0, 3000); }
    // Nothing but its number, which has three characters.
    static std::string empty_message(int number)
    {
        const std::string digits = std::to_string(number);
        return std::string(3 - digits.size(), ' ') + digits + std::string(97, '\0');
    }

    ServingHost host;
    TableWorld world;
};

TEST_F(ServerRole, OrdersChatsAndBackOfficeReachTheHost)
{
    for (const int number : {111, 113, 121}) {
        receive(market::Make(market::Order{.number = number}));
    }
    receive(market::Make(market::Order{.kind = 8}));
    receive(empty_message(133));
    receive(empty_message(134));
    receive(chat({}));
    EXPECT_THAT(host.lines(), ElementsAre("message Orden_Transaccion 1", "message Orden_Transaccion 2",
                                          "message Orden_Transaccion 3", "message Orden_Transaccion_RFQ 4",
                                          "message Tarnel 5", "message TarnelWh 6", "message Chat 7"));
}

TEST_F(ServerRole, NobodyAsksWhetherItIsWantedOrARepeat)
{
    CQcApi::initialize_flag = QAPI_INITIALIZED_AS_DS;
    std::string kind = "Chat";
    std::string field = "texto";
    std::string condition = "=";
    std::string value = "another text";
    host.AddLoginCondition(kind.data(), field.data(), condition.data(), value.data());
    const std::string message = chat({.cabeza = {.server_number = 5}, .chat = {.text = "a text"}});
    receive(message);
    receive(message);
    CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
    EXPECT_THAT(host.lines(), SizeIs(2));
}

TEST_F(ServerRole, TheHostTakesReadsAndFinishesThem)
{
    CQcApi::initialize_flag = QAPI_INITIALIZED_AS_DS;
    receive(chat({.chat = {.text = "good morning"}}));
    std::array<char, 4096> text{};
    std::string name = "texto";
    EXPECT_EQ(host.take("Chat", 1), 0);
    host.GetField(name.data(), text.data());
    EXPECT_STREQ(text.data(), "good morning");
    EXPECT_EQ(host.finish("Chat", 1), 0);
    CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
}

// ---- Answers

TEST_F(ServerRole, ALoginComesBackAcceptedAndElseUnchanged)
{
    CMsgLogin login;
    login[MSG_NUMBER_FIELD] = 201;
    login[EQUIPO_USUARIO].Set_Text("L001");
    login[NOMBRE_USUARIO].Set_Text("maria");
    login[TIEMPO_EXPIRACION_CONEXION] = 80;
    login[BANDERA_LOGIN].Set_Text("C");
    const std::string came(login.m_data, static_cast<std::size_t>(login.m_data_len));
    receive(came);
    EXPECT_THAT(host.lines(), ElementsAre("message User_Entered 0"));
    const std::vector<std::string> answers = sent::take_messages();
    ASSERT_THAT(answers, SizeIs(1));
    login[BANDERA_LOGIN].Set_Text("S");
    const std::string accepted(login.m_data, static_cast<std::size_t>(login.m_data_len));
    constexpr std::size_t behind_envelope = 3 + 80;
    EXPECT_EQ(answers[0].substr(0, 3), "201");
    EXPECT_EQ(answers[0].substr(behind_envelope), accepted.substr(behind_envelope));
}

TEST_F(ServerRole, EachRequestForStoredMessagesIsAnsweredByAnEmptyLog)
{
    receive(empty_message(203));
    EXPECT_THAT(sent::take_numbers(), ElementsAre("204", "205"));
    receive(empty_message(252));
    EXPECT_THAT(sent::take_numbers(), ElementsAre("204", "205"));
    EXPECT_EQ(qapi::Log_Requests(), 2U);
    EXPECT_THAT(host.lines(), IsEmpty());
}

TEST_F(ServerRole, ASecondClientFindsItAsTheFirstOneDid)
{
    receive(empty_message(203));
    connection_says(TCP_STATUS_CLOSED_CONNECTION);
    read();
    EXPECT_THAT(sent::take_numbers(), IsEmpty());
    open(sent::connection + 1);
    EXPECT_EQ(qapi::Log_Requests(), 0U);
    receive(empty_message(203));
    receive(empty_message(252));
    EXPECT_THAT(sent::take_numbers(), ElementsAre("204", "205", "204", "205"));
    EXPECT_EQ(qapi::Log_Requests(), 2U);
}

TEST_F(ServerRole, AClientThatAsksWithoutEndAndDoesntReadGetsABoundedNumberOfAnswers)
{
    for (int request = 0; request < 2000; ++request) {
        connection_says(TCP_STATUS_PACKET_RECEIVED, empty_message(request % 2 == 0 ? 203 : 201));
    }
    read();
    EXPECT_EQ(host.count("message User_Entered 0"), 1000);
    EXPECT_THAT(sent::take_numbers(), SizeIs(1500)); // to the first thousand requests
    receive(empty_message(203));
    EXPECT_THAT(sent::take_numbers(), ElementsAre("204", "205"));
}

TEST_F(ServerRole, WhatTheHostSendsTakesNoAnswerFromTheClient)
{
    for (int message = 0; message < 1500; ++message) {
        Send_Empty<CMsgLogEnd>(205);
    }
    receive(empty_message(203));
    EXPECT_THAT(sent::take_numbers(), SizeIs(1502));
}

// ---- The rest

TEST_F(ServerRole, AllElseIsCountedAndDropped)
{
    const unsigned before = glb_num_proc_msgs;
    const std::vector<int> numbers = {888, 204, 205, 87, 112, 114, 213, 214, 253, 300, 879, 0};
    for (const int number : numbers) {
        receive(empty_message(number));
    }
    receive("");
    EXPECT_EQ(glb_num_proc_msgs - before, numbers.size() + 1);
    EXPECT_THAT(host.lines(), IsEmpty());
    EXPECT_THAT(sent::take_numbers(), IsEmpty());
}

TEST_F(ServerRole, ChangesOfTablesAreNoneOfItsBusiness)
{
    TableWorld::Subscribe(CITIES_CODE_ID);
    receive(market::Make(market::TableRecord{.code = 25, .idx = 1, .body = "BOG"}));
    EXPECT_EQ(TableWorld::Records_In(TableId::Glb_City_Table), 0);
    EXPECT_THAT(sent::take_numbers(), IsEmpty());
    EXPECT_THAT(host.lines(), IsEmpty());
}

} // namespace
