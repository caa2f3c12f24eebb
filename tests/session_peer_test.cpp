// The tests' market, met by a client that sends bytes put together by hand.
#include "support/session_peer.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

using namespace market;

namespace {

using testing::ElementsAre;

// Of the right length, with the number and nothing else.
std::string Empty(int number, std::size_t size)
{
    std::string bytes(size, '\0');
    return bytes.replace(0, 3, std::to_string(number));
}

std::string Request(char letter, char code)
{
    std::string bytes = Empty(888, 22);
    bytes[3] = letter;
    bytes[4] = code;
    return bytes;
}

class SessionPeerTest : public testing::Test
{
protected:
    SessionPeerTest()
    {
        peer.listen();
        client.connect_to(peer.port());
    }

    void Client_Sends(const std::vector<std::string>& messages)
    {
        for (const std::string& message : messages) {
            client.send_message(message);
        }
    }

    // Of all messages that the peer has sent: the number, and for table records letter and code.
    std::vector<std::string> Client_Got()
    {
        std::vector<std::string> names;
        while (const auto envelope = client.receive_message_if_any()) {
            const std::string& message = envelope->message;
            const bool is_table = message.starts_with("888");
            names.push_back(is_table ? message.substr(3, 1) + std::to_string(message[4]) : message.substr(0, 3));
        }
        return names;
    }

    template <class Action> static std::string ComplaintOf(Action action)
    {
        try {
            action();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "none";
    }

    SessionPeer peer;
    TestPeer client;
};

TEST_F(SessionPeerTest, BringsAClientUp)
{
    peer.tables[25] = {{.idx = 1, .body = "BOG"}};
    peer.first_log = {Empty(111, 1504)};
    Client_Sends({Empty(201, 518), Empty(213, 178), Request('S', 24), Request('S', 25), Empty(203, 983),
                  Empty(888, 180), Empty(253, 194), Empty(252, 83), Empty(213, 178), Request('S', 71),
                  Empty(214, 178)});
    peer.bring_up();
    EXPECT_THAT(Client_Got(), ElementsAre("201", "g0", "z24", "I25", "z25", "204", "111", "205", "204", "205", "z71"));
}

TEST_F(SessionPeerTest, ComplainsOfAMessageThatIsNotDue)
{
    Client_Sends({Empty(213, 178)});
    peer.accept();
    EXPECT_EQ(ComplaintOf([this] { peer.expect_login(); }), "the market expected message 201 and got 213 of 178 bytes");
}

TEST_F(SessionPeerTest, ARefusalHasTheLetter)
{
    peer.accept();
    peer.refuse_login('X');
    EXPECT_EQ(client.receive_message().message[87], 'X');
    peer.accept_login();
    EXPECT_EQ(client.receive_message().message[87], 'S');
}

TEST_F(SessionPeerTest, ASubscriptionHasJustTheTablesThatAreExpected)
{
    Client_Sends({Empty(213, 178), Request('S', 24), Request('Q', 25), Empty(213, 178), Request('S', 24)});
    peer.accept();
    const std::vector<TableRequest> requests = peer.expect_subscription({24, 25});
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[1].letter, 'Q');
    EXPECT_EQ(ComplaintOf([this] { peer.expect_subscription({25}); }),
              "the market expected a request for table 25 of 25 and got letter S for 24");
}

TEST_F(SessionPeerTest, OnlySAndQAskForATable)
{
    Client_Sends({Empty(213, 178), Request('I', 24)});
    peer.accept();
    EXPECT_THAT(ComplaintOf([this] { peer.expect_subscription({24}); }), testing::EndsWith("got letter I for 24"));
}

TEST_F(SessionPeerTest, EndsTables)
{
    peer.accept();
    peer.end_tables({24, 25});
    EXPECT_EQ(client.receive_message().message, Request('z', 24));
    EXPECT_EQ(client.receive_message().message, Request('z', 25));
}

TEST_F(SessionPeerTest, TheFeedHasSeventeenTables)
{
    EXPECT_THAT(SessionPeer::feed_tables(),
                ElementsAre(8, 21, 22, 23, 24, 25, 26, 27, 28, 30, 35, 54, 66, 32026, 32053, 32055, 32141));
}

TEST_F(SessionPeerTest, WhoAsksByHashGetsAllRecordsAndIsNotHeardAgain)
{
    peer.tables[25] = {{.idx = 1, .body = "BOG"}};
    Client_Sends({Empty(213, 178), Request('Q', 25), Request('P', 25), Empty(203, 983)});
    peer.accept();
    EXPECT_EQ(peer.serve_primary_tables().size(), 1U);
    peer.expect_log_request();
    EXPECT_THAT(Client_Got(), ElementsAre("L25", "I25", "z25"));
}

TEST_F(SessionPeerTest, WhatTheHostSendsWhileTheLogIsPlayedIsKeptForAfterwards)
{
    Client_Sends({Make(Order{.market = 5}), Empty(252, 83), Empty(575, 3823), Empty(213, 178), Make(Order{.market = 6}),
                  Request('S', 71), Make(Order{.market = 7}), Empty(214, 178), Make(Order{.market = 8})});
    peer.accept();
    EXPECT_EQ(peer.play_log_rounds().size(), 1U);
    EXPECT_EQ(peer.expect_order().market, 5);
    peer.expect_chat();
    EXPECT_EQ(peer.expect_order().market, 6);
    EXPECT_EQ(TakeOrder(peer.receive_message_if_any()->message).market, 7);
    EXPECT_EQ(peer.expect_order().market, 8);
}

TEST_F(SessionPeerTest, NothingOfTheHostMayComeAheadOfTheLogin)
{
    Client_Sends({Make(Order{}), Empty(201, 518)});
    peer.accept();
    EXPECT_EQ(ComplaintOf([this] { peer.expect_login(); }),
              "the market expected message 201 and got 111 of 1504 bytes");
}

TEST_F(SessionPeerTest, WhatAStepPutBackIsForgottenWithItsConnection)
{
    Client_Sends({Empty(213, 178), Empty(203, 983)});
    peer.accept();
    peer.serve_primary_tables();
    client.connect_to(peer.port());
    Client_Sends({Empty(201, 518)});
    peer.accept();
    peer.expect_login();
}

TEST_F(SessionPeerTest, TellsToWhomTheLastMessageWent)
{
    client.send_envelope(MakeEnvelope(Empty(202, 99), {{"DM", {"DM01"}}}));
    peer.accept();
    peer.expect_offline();
    ASSERT_EQ(peer.last().groups.size(), 1U);
    EXPECT_EQ(peer.last().groups[0].elements[0], "DM01");
}

TEST_F(SessionPeerTest, OrdersAndChatsOfClientsAreTaken)
{
    Client_Sends({Make(Order{.market = 5}), Empty(575, 3823)});
    peer.accept();
    EXPECT_EQ(peer.expect_order().market, 5);
    peer.expect_chat();
}

TEST_F(SessionPeerTest, AMessageThatIsNotThereIsNotWaitedFor)
{
    peer.accept();
    EXPECT_FALSE(client.receive_message_if_any());
    peer.send_alive_signal();
    peer.send_order({});
    const auto envelope = client.receive_message_if_any();
    ASSERT_TRUE(envelope);
    EXPECT_EQ(envelope->message, Make(Order{}));
    EXPECT_EQ(client.alive_signals(), 1);
}

} // namespace
