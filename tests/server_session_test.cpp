// The server's end of a session on real sockets: a host that called Connect, and clients that speak to it byte by byte.
#include "message_numbers.h"
#include "qcapi/config.h"
#include "records/session.h"
#include "support/driver_fixture.h"
#include "support/forget_configuration.h"
#include "support/market_records.h"
#include "support/recording_host.h"
#include "support/session_fixture.h"
#include "support/test_peer.h"
#include "table/table_state.h"
#include "transport/dcon.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using testing::ElementsAre;

namespace {

class ServerSession : public SessionTest
{
protected:
    ServerSession()
    {
        Forget_Configuration();
        Glb_Unic_Number = 0;
        Glb_connection_retry_wait = 0; // a test needn't wait for the next attempt
        scratch.write("qapi.cfg", "data_server DSAB\nlocal_code L001\nsend_mode 1\n");
    }
    // As programs leave this role.
    ~ServerSession() override
    {
        host.LogoutForce();
        client.close();
        client.stop_listening();
        host.Logout();
        Glb_connection_retry_wait = DEFAULT_CONNECTION_RETRY_WAIT;
        Glb_Unic_Number = 0;
        Forget_Configuration();
    }

    void listen() { ASSERT_EQ(host.connect("0.0.0.0", port.number()), 0); }

    // Nothing but its number, which has three characters.
    static std::string empty_message(int number) { return std::to_string(number) + std::string(97, '\0'); }
    static std::string login_of(const std::string& user)
    {
        CMsgLogin login;
        login[MSG_NUMBER_FIELD] = MSS_INGRESO_EQUIPO;
        login[EQUIPO_USUARIO].Set_Text("L001");
        login[NOMBRE_USUARIO].Set_Text(user.c_str());
        return {login.m_data, static_cast<std::size_t>(login.m_data_len)};
    }
    static std::string chat(const std::string& text)
    {
        return market::Make(market::Chat{.chat = {.text = text}}).substr(0, 3000);
    }

    // What a client does between its opening and its first order.
    void log_in(const std::string& user)
    {
        client.send_message(login_of(user));
        const std::string accepted = client.receive_message().message;
        EXPECT_EQ(accepted.substr(0, 3), "201");
        EXPECT_EQ(accepted[87], 'S');
        EXPECT_THAT(accepted, testing::HasSubstr(user));
        for (const int request : {203, 252}) {
            client.send_message(empty_message(request));
            EXPECT_EQ(client.receive_message().message.substr(0, 3), "204");
            EXPECT_EQ(client.receive_message().message.substr(0, 3), "205");
        }
    }

    void send_chat(const std::string& text)
    {
        EXPECT_EQ(host.compose("Chat"), 0);
        EXPECT_EQ(host.set("Chat", "texto", padded(text)), 0);
        EXPECT_EQ(host.send("Chat"), 0);
    }
    void send_range()
    {
        EXPECT_EQ(host.compose("Posturas_Vigentes"), 0);
        EXPECT_EQ(host.set("Posturas_Vigentes", "i_op", "g"), 0);
        EXPECT_EQ(host.set("Posturas_Vigentes", "data_info", padded({"\x01\0\0\0\xFF\x0F\0\0CO", 10})), 0);
        EXPECT_EQ(host.send("Posturas_Vigentes"), 0);
    }

    ReservedPort port;
    TestPeer client;
    RecordingHost host;

private:
    // As long as any field is.
    static std::string padded(const std::string& text) { return text + std::string(4000 - text.size(), '\0'); }
};

TEST_F(ServerSession, AClientThatComesIsLetInAndFindsAnEmptyLog)
{
    listen();
    client.connect_to(port.number());
    log_in("maria");
    EXPECT_TRUE(host.wait_for("message User_Entered 0"));
    EXPECT_THAT(host.lines(), ElementsAre("status 21 Connected", "message User_Entered 0"));
}

TEST_F(ServerSession, TheHostHearsTheClientAndTalksToIt)
{
    listen();
    client.connect_to(port.number());
    log_in("maria");
    client.send_message(chat("good morning"));
    client.send_message(market::Make(market::Order{.number = 111}));
    EXPECT_TRUE(host.wait_for("message Orden_Transaccion 2"));
    EXPECT_EQ(host.count("message Chat 1"), 1);
    send_range();
    const std::string range = client.receive_message().message;
    EXPECT_EQ(range.substr(0, 4), "888g");
    EXPECT_EQ(range.substr(22, 10), std::string("\x01\0\0\0\xFF\x0F\0\0CO", 10));
    send_chat("good afternoon");
    EXPECT_EQ(market::TakeChat(client.receive_message().message).chat.text, "good afternoon");
}

TEST_F(ServerSession, ASecondClientGetsTheSameAnswersWhenTheFirstHasLeft)
{
    listen();
    for (const char* user : {"maria", "pedro"}) {
        client.connect_to(port.number());
        log_in(user);
        client.close();
        EXPECT_TRUE(host.wait_for("status 20 Disconnected"));
        host.forget_lines();
    }
}

TEST_F(ServerSession, NobodyElseIsServedMeanwhile)
{
    listen();
    client.connect_to(port.number());
    log_in("maria");
    const OwnedDescriptor second(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port.number());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(second.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    client.send_message(empty_message(203)); // the one that is there notices nothing
    EXPECT_EQ(client.receive_message().message.substr(0, 3), "204");
}

TEST_F(ServerSession, AClientThatFloodsLosesNothingAndLeavesRoomForTheNext)
{
    constexpr int flood = 5000;
    listen();
    client.connect_to(port.number());
    host.in_callback = [this](const std::string& line) {
        if (line.starts_with("message Chat ")) {
            host.finish("Chat", static_cast<unsigned>(std::stoul(line.substr(13))));
        }
    };
    for (int number = 0; number < flood; ++number) {
        client.send_message("575" + std::string(168, '\0') + std::to_string(number));
    }
    EXPECT_TRUE(host.wait_for("message Chat " + std::to_string(flood)));
    EXPECT_EQ(host.count_of("message Chat "), flood);
    client.reset();
    EXPECT_TRUE(host.wait_for("status 20 Disconnected"));
    client.connect_to(port.number());
    log_in("pedro");
}

TEST_F(ServerSession, BytesThatAreNoMessageHarmNothing)
{
    listen();
    client.connect_to(port.number());
    client.send(std::string(5000, 'x'));
    EXPECT_TRUE(Becomes([this] { return host.count_of("error ") != 0; })); // what comes in one read with it goes too
    for (const int size : {0, 1, 2, 3}) {
        client.send_message(std::string(static_cast<std::size_t>(size), '2'));
    }
    client.send_message("201");
    client.send_message(std::string(3300, '\xFF'));
    EXPECT_EQ(client.receive_message().message.substr(0, 3), "201"); // of the login with nothing behind its number
    log_in("maria");
}

TEST_F(ServerSession, TheHostLeavesWithoutAFarewell)
{
    listen();
    client.connect_to(port.number());
    log_in("maria");
    host.LogoutForce();
    EXPECT_EQ(client.receive_until_closed(), "");
}

// ---- Outward ---------------------------------------------------------------------------------------------------

TEST_F(ServerSession, ItMayConnectItselfAndDoesSoAgain)
{
    client.listen();
    ASSERT_EQ(host.connect("127.0.0.1", client.port()), 0);
    for (const char* user : {"maria", "pedro"}) {
        client.accept();
        log_in(user);
        client.close();
        EXPECT_TRUE(host.wait_for("status 20 Disconnected"));
        host.forget_lines();
    }
}

TEST_F(ServerSession, ACallbackThatComesAtOnceFindsTheOperationsWorking)
{
    client.listen();
    host.in_callback = [this](const std::string& line) {
        if (line == "status 21 Connected") {
            send_chat("at once");
        }
    };
    ASSERT_EQ(host.connect("127.0.0.1", client.port()), 0);
    client.accept();
    EXPECT_EQ(market::TakeChat(client.receive_message().message).chat.text, "at once");
}

TEST_F(ServerSession, ACallbackMayLeave)
{
    client.listen();
    host.in_callback = [this](const std::string& line) {
        if (line == "status 21 Connected") {
            host.LogoutForce();
        }
    };
    ASSERT_EQ(host.connect("127.0.0.1", client.port()), 0);
    client.accept();
    client.receive_until_closed();
    client.close();
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_NOT_INITIALIZED);
    EXPECT_TRUE(host.wait_for("status 21 Connected")); // the callback has returned
    host.in_callback = nullptr;
    EXPECT_EQ(host.connect("127.0.0.1", client.port()), 0);
    client.accept();
    log_in("maria");
}

} // namespace
