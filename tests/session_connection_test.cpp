// A whole session over a real connection: what the host hears and what the log holds.
#include "qcapi/session.h"
#include "support/driver_fixture.h"
#include "support/session_fixture.h"
#include "thrct.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr const char* connected_line = "status 21 Connected";
constexpr const char* disconnected_line = "status 20 Disconnected";
constexpr const char* cant_connect_line = "status 7 Can't connect";
constexpr const char* stopped_line =
    "status 27 Attempts to establish a connection and processing messages have been suspended";
constexpr const char* peer_closed_line = "disconnection 4 Closed by remote, triggered when receiving data";

class SessionConnectionTest : public SessionTest
{
protected:
    SessionConnectionTest()
    {
        time.calls.local_addresses = [](std::vector<std::string>& texts) {
            texts.emplace_back("192.0.2.1");
            return true;
        };
    }
    ~SessionConnectionTest() override
    {
        peer.close();
        time.run_free();
        if (CQcApi::initialize_flag == QAPI_INITIALIZED_AS_DS) {
            host.LogoutForce(); // in that role nobody stops the log thread but the next who comes
        }
        host.Logout();
    }

    void Configure(const std::vector<std::uint16_t>& ports)
    {
        std::string text = "data_server = DSAB\nlocal_code = L001\n";
        for (const std::uint16_t port : ports) {
            text += "ds_ip_address = 127.0.0.1\nds_tcp_port = " + std::to_string(port) + "\n";
        }
        scratch.write("qapi.cfg", text);
    }
    void Log_In_And_Connect()
    {
        peer.send_mode = 2;
        peer.listen();
        Configure({peer.port()});
        ASSERT_EQ(host.login(), 0);
        peer.accept();
        ASSERT_TRUE(host.wait_for(connected_line));
    }
    // The clock check and the login. With nothing unread, a close is an end and no reset.
    void Read_Greeting()
    {
        peer.receive_frame();
        peer.receive_frame();
        time.settle();
    }
    // While the peer goes along with it.
    int Log_Out()
    {
        std::future<int> result = std::async(std::launch::async, [this] { return host.Logout(); });
        peer.receive_until_closed();
        peer.close();
        return result.get();
    }
    std::vector<std::string> Log_Lines() { return text_lines_of_log(scratch.read("qapi.log")); }

    ManualTime time;
    TestPeer peer;
    RecordingHost host;
};

// ---- Log-in

TEST_F(SessionConnectionTest, TheHostHearsOfTheConnectionAndOfItsEnd)
{
    Log_In_And_Connect();
    Read_Greeting();
    peer.close();
    ASSERT_TRUE(host.wait_for(peer_closed_line));
    EXPECT_EQ(host.lines(), (std::vector<std::string>{connected_line, disconnected_line, peer_closed_line}));
    time.step_seconds(1);
    peer.accept();
    EXPECT_TRUE(host.wait_for(connected_line));
    EXPECT_EQ(Log_Out(), 0);
}

TEST_F(SessionConnectionTest, ALoginBeginsUnconnectedWhateverTheLastSessionLeft)
{
    Log_In_And_Connect();
    EXPECT_EQ(Log_Out(), 0);
    Glb_main_connected = 1; // its reader ended ahead of the close
    peer.stop_listening();
    ASSERT_EQ(host.login(), 0);
    EXPECT_EQ(Glb_main_connected, 0);
}

TEST_F(SessionConnectionTest, AnObjectMadeInACallbackLeavesTheRunningConnectionItsServers)
{
    std::unique_ptr<RecordingHost> second;
    std::atomic<std::uint32_t> server{0};
    host.in_callback = [&](const std::string& line) {
        if (line == connected_line && second == nullptr) {
            second = std::make_unique<RecordingHost>();
            server = glb_DCon_DESCR->fhost[0];
        }
    };
    Log_In_And_Connect();
    EXPECT_EQ(server, inet_addr("127.0.0.1"));
    peer.close();
    time.run_free();
    second.reset();
}

TEST_F(SessionConnectionTest, TheConnectionIsInTheLog)
{
    Log_In_And_Connect();
    Read_Greeting();
    peer.close();
    ASSERT_TRUE(host.wait_for(peer_closed_line));
    EXPECT_EQ(host.Logout(), 0);
    const std::vector<std::string> lines = Log_Lines();
    EXPECT_THAT(lines, testing::Contains("ROD-Status changed to opened connection"));
    EXPECT_THAT(lines, testing::Contains("RCD-Status changed to closed connection"));
}

TEST_F(SessionConnectionTest, AMessageOfThePeerReachesTheReader)
{
    Log_In_And_Connect();
    peer.send_message("575 a chat");
    peer.half_close(); // told behind the message
    ASSERT_TRUE(host.wait_for(disconnected_line));
    EXPECT_EQ(host.Logout(), 0);
    const std::string log = scratch.read("qapi.log");
    const std::size_t label = log.find("RM-Message Received");
    ASSERT_NE(label, std::string::npos);
    EXPECT_EQ(log.substr(label + 88, 14), std::string("575 a chat\0\0\0\n", 14));
}

TEST_F(SessionConnectionTest, EachAttemptThatFailsIsTold)
{
    const ReservedPort refusing;
    Configure({refusing.number()});
    ASSERT_EQ(host.login(), 0);
    ASSERT_TRUE(host.wait_for(cant_connect_line));
    time.step_seconds(2);
    EXPECT_TRUE(Becomes([this] { return host.count(cant_connect_line) == 3; }));
    EXPECT_EQ(host.Logout(), 0);
    EXPECT_TRUE(host.has(stopped_line));
}

TEST_F(SessionConnectionTest, TheSecondServerIsTriedBehindFourFailuresOfTheFirst)
{
    const ReservedPort refusing;
    peer.listen();
    Configure({refusing.number(), peer.port()});
    ASSERT_EQ(host.login(), 0);
    time.step_seconds(4);
    peer.accept();
    ASSERT_TRUE(host.wait_for(connected_line));
    EXPECT_EQ(host.count(cant_connect_line), 4);
    EXPECT_EQ(Log_Out(), 0);
}

// ---- Log-out

TEST_F(SessionConnectionTest, ALogoutWhileConnectedEndsTheStream)
{
    Log_In_And_Connect();
    EXPECT_EQ(Log_Out(), 0);
    EXPECT_TRUE(host.has(stopped_line));
    EXPECT_FALSE(host.has(disconnected_line)); // the reader ends ahead of it
    EXPECT_FALSE(peer.is_awaited());
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 0);
}

TEST_F(SessionConnectionTest, ALogoutRightBehindTheLoginNeedsNoTime)
{
    const FullBacklog full;
    Configure({full.port()});
    ASSERT_EQ(host.login(), 0);
    EXPECT_EQ(host.Logout(), 0);
}

TEST_F(SessionConnectionTest, ALogoutDuringAConnectNeedsNoTime)
{
    const FullBacklog full;
    Configure({full.port()});
    ASSERT_EQ(host.login(), 0);
    time.settle();
    EXPECT_EQ(host.Logout(), 0);
    EXPECT_TRUE(host.has(stopped_line));
}

TEST_F(SessionConnectionTest, ALogoutBehindALostConnectionNeedsNoTime)
{
    Log_In_And_Connect();
    time.settle();
    peer.reset();
    ASSERT_TRUE(host.wait_for(disconnected_line));
    time.settle();
    EXPECT_EQ(host.Logout(), 0);
}

TEST_F(SessionConnectionTest, TheNextLoginConnectsAgain)
{
    Log_In_And_Connect();
    EXPECT_EQ(Log_Out(), 0);
    ASSERT_EQ(host.login(), 0);
    peer.accept();
    EXPECT_TRUE(Becomes([this] { return host.count(connected_line) == 2; }));
    EXPECT_EQ(Log_Out(), 0);
}

// ---- Connect

TEST_F(SessionConnectionTest, ConnectGoesToTheGivenServer)
{
    peer.listen();
    ASSERT_EQ(host.connect("127.0.0.1", peer.port()), 0);
    peer.accept();
    ASSERT_TRUE(host.wait_for(connected_line));
    peer.receive_frame();
    time.settle();
    peer.close();
    EXPECT_TRUE(host.wait_for(peer_closed_line));
}

TEST_F(SessionConnectionTest, ConnectWithoutAnAddressListens)
{
    const ReservedPort port;
    ASSERT_EQ(host.connect("0.0.0.0", port.number()), 0);
    peer.connect_to(port.number());
    ASSERT_TRUE(host.wait_for(connected_line));
    peer.close();
    EXPECT_TRUE(host.wait_for(peer_closed_line));
}

} // namespace
