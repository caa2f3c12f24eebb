// The connection thread of a client: attempts, hosts, connections that fall, restarts, silence.
#include "support/driver_fixture.h"
#include "support/report_texts.h"
#include "transport/inbound_door.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <vector>

namespace {

constexpr std::int64_t one_second = 1'000'000; // as waits are noted
constexpr std::int64_t three_seconds = 3'000'000;

unsigned host_of(const TakenRecord& record)
{
    return Load_News(record.extra.data()).host;
}

unsigned connection_of(const TakenRecord& record)
{
    return Load_News(record.extra.data()).connection;
}

class ClientTest : public DriverTest
{
protected:
    ~ClientTest() override { End(); }

    void Add_Refusing_Hosts(unsigned count)
    {
        for (unsigned i = 0; i < count; ++i) {
            refusing.emplace_back();
            Add_Host(refusing.back().number());
        }
    }
    // The hosts of the next failed attempts, a second apart.
    std::vector<unsigned> Failed_Hosts(int attempts)
    {
        std::vector<unsigned> hosts;
        for (int i = 0; i < attempts; ++i) {
            hosts.push_back(host_of(Expect_Status(cant_connect)));
            Settle();
            EXPECT_FALSE(Is_Any_Record());
            Step(1);
        }
        return hosts;
    }
    // The peer accepts and leaves so many seconds later. The host that this counted for.
    unsigned Fall_After(int seconds)
    {
        peer.accept();
        const unsigned host = host_of(Expect_Status(opened));
        Step(seconds);
        Drop();
        Settle();
        return host;
    }
    // The spans of the waits that an action brings about.
    template <typename Action> std::vector<std::int64_t> Waits_Of(Action action)
    {
        const std::size_t before = time.waits().size();
        action();
        const std::vector<std::int64_t> all = time.waits();
        return {all.begin() + static_cast<std::ptrdiff_t>(before), all.end()};
    }

    std::vector<ReservedPort> refusing;
    FullBacklog full;
};

// ---- Attempts and hosts

TEST_F(ClientTest, AHostGetsFourAttemptsAndTheFirstComesAgainBehindTheLast)
{
    Add_Refusing_Hosts(2);
    Start();
    EXPECT_EQ(Failed_Hosts(13), (std::vector<unsigned>{0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0, 1}));
    EXPECT_EQ(descr->current_host, 1U);
}

TEST_F(ClientTest, EachSessionBeginsWithTheFirstHost)
{
    Add_Refusing_Hosts(2);
    descr->current_host = 1; // where an earlier session ended
    Start();
    EXPECT_EQ(host_of(Expect_Status(cant_connect)), 0U);
}

TEST_F(ClientTest, TheServersMayBeDifferentMachinesAtOnePort)
{
    refusing.emplace_back();
    Add_Host(refusing[0].number(), "127.0.0.1");
    Add_Host(refusing[0].number(), "127.0.0.2");
    Start();
    EXPECT_EQ(Failed_Hosts(5), (std::vector<unsigned>{0, 0, 0, 0, 1}));
    Settle();
    const TransportLock lock(descr->DCON_lock);
    EXPECT_TRUE(descr->DWsock.am_i(inet_addr("127.0.0.2")));
}

TEST_F(ClientTest, TheOnlyHostIsTriedForEver)
{
    Add_Refusing_Hosts(1);
    Start();
    EXPECT_EQ(Failed_Hosts(20), std::vector<unsigned>(20, 0));
}

TEST_F(ClientTest, AttemptsAreASecondApartAndEachIsOneConnectionBegun)
{
    Add_Refusing_Hosts(1);
    Start();
    Failed_Hosts(6);
    EXPECT_EQ(Connections(), 7U);
    EXPECT_THAT(time.waits(), testing::Each(one_second));
}

TEST_F(ClientTest, TheWaitBehindAFailureIsTheConfiguredOne)
{
    Glb_connection_retry_wait = 3;
    Add_Refusing_Hosts(1);
    Start();
    Expect_Status(cant_connect);
    Step(2);
    EXPECT_FALSE(Is_Any_Record());
    Step(1);
    Expect_Status(cant_connect);
}

TEST_F(ClientTest, AServerGivenByTheHostAlternatesWithAnEmptyEntryThatIsReported)
{
    const ReportTexts reports;
    Add_Refusing_Hosts(1);
    descr->number_of_hosts = 1;
    Start();
    EXPECT_EQ(Failed_Hosts(9), (std::vector<unsigned>{0, 0, 0, 0, 1, 1, 1, 1, 0}));
    const std::vector<std::string> texts = ReportTexts::Take();
    EXPECT_EQ(texts.size(), 4U);
    EXPECT_THAT(texts, testing::Each(testing::EndsWith(" Error. Bad ip address 0.0.0.0\n")));
}

// ---- Connections that fall

TEST_F(ClientTest, AServerThatAcceptsAndDropsIsLeftBehind)
{
    peer.listen();
    Add_Host(peer.port());
    Add_Refusing_Hosts(1);
    Start();
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(Fall_After(0), 0U);
        Step(1);
    }
    EXPECT_EQ(host_of(Expect_Status(cant_connect)), 1U);
}

TEST_F(ClientTest, AConnectionOfFourteenSecondsCountsAsAFailure)
{
    peer.listen();
    Add_Host(peer.port());
    Add_Refusing_Hosts(1);
    Glb_connection_retry_wait = 3;
    Start();
    for (int i = 0; i < 4; ++i) {
        EXPECT_THAT(Waits_Of([&] { Fall_After(14); }), testing::Contains(three_seconds));
        EXPECT_FALSE(Is_Any_Record());
        Step(3);
    }
    EXPECT_EQ(host_of(Expect_Status(cant_connect)), 1U);
}

TEST_F(ClientTest, AConnectionOfFifteenSecondsCostsNothingAndIsRetriedBehindASecond)
{
    peer.listen();
    Add_Host(peer.port());
    Add_Refusing_Hosts(1);
    Glb_connection_retry_wait = 3;
    Start();
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(Fall_After(15), 0U);
        EXPECT_FALSE(peer.is_awaited());
        Step(1);
        EXPECT_TRUE(Becomes([this] { return peer.is_awaited(); }));
    }
}

TEST_F(ClientTest, ASuccessfulConnectDoesNotForgiveEarlierFailures)
{
    ReservedPort port;
    Add_Host(port.number());
    Add_Refusing_Hosts(1);
    Start();
    Failed_Hosts(2);
    Expect_Status(cant_connect);
    peer.listen(port.number());
    Step(1);
    Fall_After(0); // the fourth
    Step(1);
    EXPECT_EQ(host_of(Expect_Status(cant_connect)), 1U);
}

TEST_F(ClientTest, RecordsBearTheNumberOfTheirConnection)
{
    Add_Refusing_Hosts(1);
    peer.listen();
    Add_Host(peer.port());
    Start();
    Failed_Hosts(4);
    peer.accept();
    EXPECT_EQ(connection_of(Expect_Status(opened)), 5U);
    Step(1);
    Send("575 last");
    Expect_At_Peer("575 last");
    Settle();
    peer.close();
    const TakenRecord end = Expect_Status(closed);
    EXPECT_EQ(connection_of(end), 5U);
    EXPECT_EQ(host_of(end), 1U);
    Step(1);
    peer.accept();
    EXPECT_EQ(connection_of(Expect_Status(opened)), 6U);
}

TEST_F(ClientTest, TheStateFollowsTheLifeOfTheConnection)
{
    Add_Host(full.port());
    Start();
    Settle();
    EXPECT_EQ(descr->DCON_state, DCON_ST_OPENCHK);
    Request_Stop();
    Join();
    EXPECT_EQ(descr->DCON_state, DCON_ST_TERMIN);
    EXPECT_STREQ(DCON_Status_Word(descr->DCON_state), "Terminating");
}

TEST(DriverStates, HaveTheirWords)
{
    const std::vector<std::string> words{"None",         "Opening at", "Trying since", "Open init",
                                         "Connected at", "Closing at", "Terminating",  "None"};
    for (std::size_t i = 0; i < words.size(); ++i) {
        EXPECT_EQ(DCON_Status_Word(static_cast<int>(i)), words[i]);
    }
    EXPECT_STREQ(DCON_Status_Word(-1), "None");
}

// ---- A connect that is under way

TEST_F(ClientTest, APendingConnectIsGivenUpAfterFourSeconds)
{
    Add_Host(full.port());
    Start();
    Step(3);
    EXPECT_EQ(Connections(), 1U);
    const std::vector<std::int64_t> checks = time.waits();
    EXPECT_EQ(checks, std::vector<std::int64_t>(4, one_second));
    Step(1); // the fifth check, and the pause
    EXPECT_EQ(Connections(), 1U);
    Step(1);
    EXPECT_EQ(Connections(), 2U);
    EXPECT_FALSE(Is_Any_Record());
}

TEST_F(ClientTest, FourPendingConnectsLeaveTheHostBehind)
{
    Add_Host(full.port());
    peer.listen();
    Add_Host(peer.port());
    Start();
    Step(4 * 5 - 1);
    EXPECT_FALSE(peer.is_awaited());
    Step(1);
    peer.accept();
    EXPECT_EQ(host_of(Expect_Status(opened)), 1U);
}

// The system repeats a connect that was dropped within a second or two; no time passes for the driver meanwhile.
TEST_F(ClientTest, AConnectThatCompletesBetweenTwoChecksIsTakenAtOnce)
{
    Add_Host(full.port());
    Start();
    Step(1);
    full.make_room();
    EXPECT_EQ(connection_of(Expect_Status(opened)), 1U);
    Settle();
    EXPECT_EQ(descr->DCON_state, DCON_ST_NORMCON);
}

// ---- Restarts

TEST_F(ClientTest, ARestartClosesWithItsReasonAndConnectsAgain)
{
    Connect();
    Request_Restart();
    peer.receive_until_closed();
    peer.close();
    const TakenRecord end = Expect_Status(closed);
    EXPECT_STREQ(end.source, "1");
    EXPECT_EQ(end.data, "D");
    Step(1);
    Take_Connection();
    Send("575 both threads go on");
    Expect_At_Peer("575 both threads go on");
    EXPECT_EQ(descr->DCON_terminate, DCON_NEXT_STATE_VOID);
}

TEST_F(ClientTest, ARestartGivesThePeerEightSecondsToClose)
{
    Connect();
    Settle();
    Request_Restart();
    Step(6);
    EXPECT_FALSE(Is_Any_Record());
    Step(2);
    EXPECT_STREQ(Expect_Status(closed).source, "1");
}

TEST_F(ClientTest, ARestartDuringAConnectBeginsTheNextAttempt)
{
    Add_Host(full.port());
    Start();
    Settle();
    Request_Restart();
    EXPECT_STREQ(Expect_Status(closed).source, "1");
    Step(1);
    EXPECT_EQ(Connections(), 2U);
    EXPECT_EQ(descr->DCON_state, DCON_ST_OPENCHK);
}

TEST_F(ClientTest, ARestartDoesNotTakeThePlaceOfAStop)
{
    Add_Host(full.port());
    Start();
    Settle();
    descr->DCON_terminate = DCON_NEXT_STATE_TERMINATE; // unheard as yet
    Request_Restart();
    Join();
    Expect_Status(stopped);
}

} // namespace
