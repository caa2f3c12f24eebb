// What replies of the servers do to a session, and what a host may do in its callbacks while it comes up.
#include "qcapi/config.h"
#include "reader/processed_log.h"
#include "session/exchange.h"
#include "support/driver_fixture.h"
#include "support/forget_configuration.h"
#include "support/market_session.h"
#include "support/table_message_fixture.h"
#include "support/wsock_access.h"
#include "transport/dcon.h"
#include <atomic>
#include <gmock/gmock.h>
#include <thread>

namespace {

using SessionReplies = MarketSession;

TEST_F(SessionReplies, WhatTheHostSendsInOnConnectionComesBehindTheVersion)
{
    host.in_callback = [this](const std::string& line) {
        if (line == "connection 0") {
            host.compose("Orden_Transaccion");
            host.send("Orden_Transaccion");
        }
    };
    log_in();
    peer.accept();
    peer.expect_login();
    peer.accept_login();
    peer.send_range();
    peer.serve_primary_tables();
    std::string numbers;
    for (int i = 0; i < 4; ++i) {
        numbers += peer.receive_message().message.substr(0, 3) + " ";
    }
    EXPECT_EQ(numbers, "203 888 253 111 ");
    EXPECT_EQ(log_out(), 0);
}

TEST_F(SessionReplies, WhatTheHostSendsInTheOpenCallbackIsDropped)
{
    host.in_callback = [this](const std::string& line) {
        if (line == "status 21 Connected") {
            host.compose("Chat");
            host.send("Chat");
        }
    };
    log_in();
    peer.bring_up();
    EXPECT_TRUE(connected(1));
    EXPECT_EQ(log_out(), 0);
}

class LogoutInACallback : public MarketSession, public testing::WithParamInterface<const char*>
{
protected:
    void Play_Until_The_Host_Leaves()
    {
        peer.accept();
        peer.stop_listening(); // a connection that comes too late would only be waited for
        peer.expect_login();
        if (Is_Refused()) {
            peer.refuse_login('C');
            return;
        }
        peer.accept_login();
        peer.send_range();
        peer.serve_primary_tables();
        peer.expect_log_request();
        peer.expect_presence();
        peer.expect_version();
        market::Order order;
        order.cabeza.server_number = 1;
        peer.send_log_round({market::Make(order)});
        peer.expect_next_log_request();
        peer.reset();
    }

    [[nodiscard]] static bool Is_Refused()
    {
        const std::string line = GetParam();
        return line == "error 8" || line == "connection 67";
    }
};

TEST_P(LogoutInACallback, EndsTheSession)
{
    host.in_callback = [this](const std::string& line) {
        if (line.starts_with(GetParam())) {
            host.Logout();
        }
    };
    log_in();
    try {
        Play_Until_The_Host_Leaves();
    } catch (const std::runtime_error&) { // the host has left
    }
    EXPECT_TRUE(Becomes([] { return CQcApi::initialize_flag == QAPI_NOT_INITIALIZED; }));
    peer.close();
    host.Logout(); // joins the threads, before the lambda's captures go
}

INSTANTIATE_TEST_SUITE_P(Callbacks, LogoutInACallback,
                         testing::Values("status 21 Connected", "connection 0", "message Orden", "error 8",
                                         "connection 67", "status 20", "disconnection"));

TEST_F(SessionReplies, ARefusedLoginWithAPreviousDateEndsTheSession)
{
    scratch.write("qapi_tmp_previous_date_log_request.txt", "20260101\n");
    log_in();
    peer.accept();
    peer.expect_login();
    peer.refuse_login('C');
    EXPECT_EQ(peer.receive_until_closed(), "");
    peer.close();
    EXPECT_TRUE(Becomes([] { return CQcApi::initialize_flag == QAPI_NOT_INITIALIZED; }));
    EXPECT_EQ(host.count_of("error 29 "), 1);
}

TEST_F(SessionReplies, AReplyWithoutALetterIsARefusal)
{
    log_in();
    peer.accept();
    peer.expect_login();
    peer.send_message("201");
    EXPECT_EQ(peer.receive_until_closed(), "");
    peer.close();
    EXPECT_TRUE(hears_times("connection 0", 1));
    EXPECT_EQ(host.count_of("error 5 "), 1);
}

TEST_F(SessionReplies, EachLoginReplySetsTheTimeOutsOfItsConnection)
{
    const auto alive_after = [] {
        const TransportLock lock(glb_DCon_DESCR->DCON_lock);
        return WSocket_Test_Access::Alive_Time(glb_DCon_DESCR->DWsock);
    };
    log_in();
    std::vector<unsigned> times;
    for (const char* seconds : {"40", "80", "60"}) {
        peer.login_reply.expiry = seconds;
        peer.accept();
        peer.expect_login();
        peer.accept_login();
        peer.send_range();
        peer.expect_subscription();
        times.push_back(alive_after());
        peer.reset();
    }
    EXPECT_EQ(times, (std::vector<unsigned>{10, 20, 15}));
}

using LateReplies = TableMessages;

TEST_F(LateReplies, ARefusalOfAnOlderConnectionRestartsNothing)
{
    std::string reply(518, '\0');
    reply.replace(0, 3, "201");
    reply[87] = 'C';
    The_Receive_Buffer->Take(reply);
    DCON_Clear_Request(*glb_DCon_DESCR);
    Login_Replied(connection - 1); // no such connection stands
    EXPECT_EQ(glb_DCon_DESCR->DCON_terminate, DCON_NEXT_STATE_VOID);
    DCON_Clear_Request(*glb_DCon_DESCR);
}

TEST_F(LateReplies, WithoutAFeedNoTableIsAwaitedAndTheSessionIsNeverReady)
{
    Receive({.letter = 'g', .data = std::string(10, '\0')});
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
}

TEST_F(LateReplies, EmptyCodesInAListOfServersAreNoServers)
{
    Know_All_Types();
    COMMON_Set_Code_Data_Servers_List(1, "DS01");
    LOG_Msg_Init();
    Receive(
        {.letter = 'I', .code = code_of_type(5), .data = std::string("\5\0\17\0", 4) + "DS02" + std::string(56, '\0')});
    EXPECT_EQ(glb_dss_counter, 2);
}

TEST_F(LateReplies, CountOfALostConnectionIsNotTheNextOnes)
{
    COMMON_Global_Codes_Add(CITIES_CODE_ID, 25);
    Receive({.letter = 'g', .data = std::string(10, '\0')});
    Close_Session();
    Session_Opened(connection + 1, 0, 'D');
    Receive({.letter = 'z', .code = 25});
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
}

} // namespace
