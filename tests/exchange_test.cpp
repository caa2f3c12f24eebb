// The exchange at the start of a session, each step by itself: what it sends, byte for byte, and what it tells the
// host.
#include "session/exchange.h"

#include "qcapi/config.h"
#include "qcapi/session.h"
#include "reader/processed_log.h"
#include "reader/views.h"
#include "session/session_state.h"
#include "support/fake_system.h"
#include "support/forget_configuration.h"
#include "support/log_session.h"
#include "support/recording_host.h"
#include "support/sent_messages.h"
#include "tblproc/subscription.h"
#include "tblproc/table_messages.h"
#include "transport/dcon.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace {

using sent::take_messages;
using sent::take_numbers;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t login_len = 3 + 80 + 435;
constexpr std::size_t log_request_len = 3 + 80 + 900;
constexpr std::size_t entries_at = 83;

// Zeros with texts at places.
class Bytes
{
public:
    explicit Bytes(std::size_t len) : m_bytes(len, '\0') {}
    explicit Bytes(std::string bytes) : m_bytes(std::move(bytes)) {}
    Bytes& put(std::size_t at, const std::string& text)
    {
        m_bytes.replace(at, text.size(), text);
        return *this;
    }
    operator const std::string&() const { return m_bytes; }

private:
    std::string m_bytes;
};

// Behind the number and the 80 bytes of the envelope that the template gave.
std::string body_of(const std::string& message)
{
    return message.substr(83);
}

std::string entry(char letter, const std::string& server, const std::string& date, unsigned last)
{
    Bytes bytes(25);
    bytes.put(0, {letter}).put(1, server).put(3, date);
    std::string text = bytes;
    for (std::size_t i = 0; i < 4; ++i) {
        text[17 + i] = static_cast<char>(last >> 8 * i & 0xFF);
    }
    return text;
}

class ExchangeTest : public LogSession
{
protected:
    ExchangeTest()
    {
        system.calls.local_addresses = [](std::vector<std::string>& texts) {
            texts.emplace_back("192.0.2.1");
            return true;
        };
        Set_System(&system.calls);
        COMMON_Find_IP_LocalHost();
        Forget_Configuration();
        std::memcpy(Glb_Local_Machine, "L001", 4);
        std::memcpy(Glb_User_Code, "U001", 4);
        std::memcpy(Gbl_Branch_Code, "BRANCH01", 8);
        Take_Credentials("maria", "Secret-1");
        COMMON_Set_Code_Data_Servers_List(1, "DSAB");
        glb_DCon_DESCR->fhost[0] = 1;
        LOG_Msg_Init();
        COMMON_Init();
        COMMON_Adjust_Time(0);
        *L_dir_name = scratch.path().string();
        Open_Session(sent::connection, nullptr);
        Choose_Server(0);
        Glb_Send_Mss->Initialize();
    }
    ~ExchangeTest() override
    {
        Close_Session();
        Glb_Send_Mss->Initialize();
        Glb_Recv_Mss->Initialize();
        Forget_Configuration();
        COMMON_Log_Req(0);
    }

    static void receive(const std::string& message) { The_Receive_Buffer->Take(message); }

    static std::string reply(char letter)
    {
        return Bytes(login_len)
            .put(0, "201")
            .put(83, "L0X9")
            .put(87, {letter})
            .put(83 + 31, "  40")
            .put(83 + 109, "B4CC")
            .put(83 + 136, "20261119")
            .put(83 + 144, std::string("\x39\x30\0\0", 4));
    }

    // A message of the server, as the log tells it: finished or pending.
    static void log_knows(const std::string& server, int type, const std::string& date, unsigned number, bool finished)
    {
        std::string header(80, '\0');
        header[4] = type == 0 ? 'S' : '\0';
        header.replace(8, 2, server);
        std::memcpy(header.data() + 14, &number, 4);
        header[18] = static_cast<char>('A' + type);
        header.replace(29, 8, date);
        LOG_Register_Record(header.data());
        if (finished) {
            LOG_Update_Last_Proc_Message(header.data(), 1);
        }
    }

    static std::vector<std::string> entries_of_request()
    {
        COMMON_Send_Log_Req();
        const auto messages = take_messages();
        EXPECT_EQ(messages.size(), 1U);
        EXPECT_EQ(messages.at(0).size(), log_request_len);
        EXPECT_EQ(messages.at(0).substr(0, 3), "203");
        std::vector<std::string> entries;
        for (std::size_t at = entries_at; at < log_request_len && messages[0][at] != '\0'; at += 25) {
            entries.push_back(messages[0].substr(at, 25));
        }
        return entries;
    }

    RecordingHost host;
};

// ---- Opening and login

TEST_F(ExchangeTest, AnOpenedConnectionIsToldLoggedInAndRidOfTwoFiles)
{
    scratch.write("qapi.markets", "old");
    scratch.write("qapi.userper", "old");
    scratch.write("qapi.other", "kept");
    Glb_Proc_Flag = 0;
    Session_Opened(9, 0, 'D');
    EXPECT_EQ(Glb_main_connected, 1);
    EXPECT_EQ(Session_Connection(), 9U);
    EXPECT_THAT(host.lines(), ElementsAre("status 21 Connected"));
    EXPECT_THAT(take_numbers(), ElementsAre("201"));
    EXPECT_FALSE(scratch.has("qapi.markets"));
    EXPECT_FALSE(scratch.has("qapi.userper"));
    EXPECT_TRUE(scratch.has("qapi.other"));
    EXPECT_EQ(Glb_Proc_Flag, 0x45U);
}

TEST_F(ExchangeTest, TheLogTellsTheStepsOfAnOpening)
{
    Start();
    Session_Opened(9, 0, 'D');
    auto lines = Bodies();
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("SM-"); }); // the login's own copy
    EXPECT_THAT(lines, ElementsAre("RO" + std::string("D-Status changed to opened connection"),
                                   "ER-Status changed to opened connection reported", "ER-Sending login requirements",
                                   "ER-Login requirements sent"));
}

TEST_F(ExchangeTest, TheServerIsTheOneOfTheHostsIndex)
{
    COMMON_Set_Code_Data_Servers_List(1, "DSXY");
    Session_Opened(9, 1, 'D');
    EXPECT_STREQ(Glb_Current_DS, "DSXY");
    EXPECT_EQ(std::string(*glb_ds_dest, 4), "DSXY");
    const auto envelopes = sent::take_envelopes();
    ASSERT_EQ(envelopes.size(), 1U);
    EXPECT_EQ(envelopes[0].groups, (std::vector<WireGroup>{{"PU", {"DSXY"}}}));
    EXPECT_EQ(envelopes[0].message.substr(3 + 8, 2), "XY");
}

TEST_F(ExchangeTest, ALoginHasItsFieldsAndZerosElsewhere)
{
    Session_Opened(9, 0, 'D');
    const auto messages = take_messages();
    ASSERT_EQ(messages.size(), 1U);
    const std::string expected = Bytes(435)
                                     .put(0, "L001")
                                     .put(5, "maria")
                                     .put(30, "S")
                                     .put(31, "  80")
                                     .put(35, "L001")
                                     .put(45, "3003")
                                     .put(49, "Secret-1")
                                     .put(81, "d")
                                     .put(115, "U")
                                     .put(208, "192.0.2.1");
    EXPECT_EQ(body_of(messages[0]), expected);
}

TEST_F(ExchangeTest, ALoginIsTheSameWhateverArrivedBefore)
{
    Session_Opened(9, 0, 'D');
    const auto first = take_messages();
    receive(std::string(3000, 'x'));
    Session_Opened(10, 0, 'D');
    EXPECT_EQ(take_messages(), first);
}

TEST_F(ExchangeTest, WithoutAnAddressNoLoginLeavesAndTheSessionStands)
{
    glb_DCon_DESCR->fhost[0] = 0;
    Session_Opened(9, 0, 'D');
    EXPECT_THAT(take_numbers(), IsEmpty());
    EXPECT_EQ(Session_Connection(), 9U);
    COMMON_Send_Log_Req();
    EXPECT_THAT(take_numbers(), IsEmpty());
}

// ---- Login reply

TEST_F(ExchangeTest, AnAcceptedLoginIsRememberedWithoutACallback)
{
    receive(reply('S'));
    Login_Replied(sent::connection);
    EXPECT_STREQ(Glb_Branch_4c, "B4CC");
    EXPECT_STREQ(Glb_PU_Code, "L0X9");
    EXPECT_STREQ(Glb_req_date, "20261119");
    EXPECT_EQ(Glb_req_message_num, 12345U);
    EXPECT_THAT(host.lines(), IsEmpty());
    EXPECT_THAT(take_numbers(), IsEmpty());
}

TEST_F(ExchangeTest, RepliesOfOthersAreIgnored)
{
    std::memset(Glb_PU_Code, 0, sizeof Glb_PU_Code);
    receive(Bytes(reply('C')).put(3, "$"));
    Login_Replied(sent::connection);
    receive(Bytes(reply('C')).put(3 + 18, "S"));
    Login_Replied(sent::connection);
    EXPECT_THAT(host.lines(), IsEmpty());
    EXPECT_STREQ(Glb_PU_Code, "");
}

TEST_F(ExchangeTest, EachRefusalIsReportedWithItsCodeAndText)
{
    const std::vector<std::pair<char, std::string>> refusals = {
        {'C', "8 Username correct, but password is incorrect"},
        {'D', "9 No administration machine is connected to authorize access to the system"},
        {'E', "11 The computer is not registered"},
        {'L', "12 Incorrect branch password"},
        {'N', "7 The username does not exist"},
        {'R', "10 Another user is currently connected with this code"},
        {'X', "6 User login is not permitted"},
        {'?', "5 The connection has been denied"},
        {'c', "8 Username correct, but password is incorrect"},
        {'x', "6 User login is not permitted"},
        {'s', "5 The connection has been denied"},
        {'\0', "5 The connection has been denied"},
    };
    std::vector<std::string> expected;
    for (const auto& [letter, text] : refusals) {
        receive(reply(letter));
        Login_Replied(sent::connection);
        expected.push_back("error " + text + " / 1 0");
        expected.push_back("connection " + std::to_string(static_cast<int>(letter)));
    }
    EXPECT_EQ(host.lines(), expected);
}

TEST_F(ExchangeTest, ARefusedLoginLeavesItsCodesAndNoDate)
{
    std::memset(Glb_req_date, 0, sizeof Glb_req_date);
    receive(reply('C'));
    Login_Replied(sent::connection);
    EXPECT_STREQ(Glb_Branch_4c, "B4CC");
    EXPECT_STREQ(Glb_PU_Code, "L0X9");
    EXPECT_STREQ(Glb_req_date, "");
}

TEST_F(ExchangeTest, ARefusalGoesToTheLogBeforeTheHost)
{
    Start();
    receive(reply('N'));
    Login_Replied(sent::connection);
    EXPECT_THAT(Bodies(), testing::Contains("ER-Error code 7, txt The username does not exist, nxt_a 1"));
}

// ---- Log request

TEST_F(ExchangeTest, ANewClientAsksForSevenDaysOfPersistentMessages)
{
    COMMON_Put_Last_Sent_Date("20261120");
    EXPECT_THAT(entries_of_request(),
                ElementsAre(entry('P', "AB", "20261113", 0), entry('A', "AB", std::string(8, '\0'), 0),
                            entry('B', "AB", std::string(8, '\0'), 0)));
}

TEST_F(ExchangeTest, AnEarlierLastDateReachesFurtherBack)
{
    COMMON_Put_Last_Sent_Date("20261101");
    EXPECT_EQ(entries_of_request().at(0), entry('P', "AB", "20261101", 0));
}

TEST_F(ExchangeTest, EntriesAreGroupedByClassAndTheLengthStays)
{
    COMMON_Set_Code_Data_Servers_List(1, "DSCD");
    LOG_Msg_Init();
    const auto entries = entries_of_request();
    std::string heads;
    for (const std::string& each : entries) {
        heads += each.substr(0, 3) + " ";
    }
    EXPECT_EQ(heads, "PAB PCD AAB ACD BAB BCD ");
}

TEST_F(ExchangeTest, ARunningLogGoesOnBehindItsLastMessages)
{
    log_knows("AB", 0, "20261120", 70, true);
    log_knows("AB", 1, "20261120", 80, true);
    log_knows("AB", 2, "20261120", 90, true);
    EXPECT_THAT(entries_of_request(), ElementsAre(entry('P', "AB", "20261120", 70), entry('A', "AB", "20261120", 80),
                                                  entry('B', "AB", "20261120", 90)));
}

TEST_F(ExchangeTest, TheDirectiveChoosesReceivedFinishedOrNothing)
{
    log_knows("AB", 1, "20261120", 80, true);
    log_knows("AB", 1, "20261120", 81, false);
    log_knows("AB", 1, "20261120", 82, true);
    std::string last;
    for (const char letter : {'L', 'F', 'N', 'Q'}) {
        Glb_log_last_processed_message = letter;
        const std::string request = entries_of_request().at(1);
        last += std::to_string(static_cast<unsigned char>(request[17])) + " ";
    }
    EXPECT_EQ(last, "82 80 0 0 ");
}

TEST_F(ExchangeTest, BackOfficeFeedAsksForPersistentMessagesFromTheFirst)
{
    log_knows("AB", 0, "20261120", 70, true);
    Glb_suscribed_message[133] = 1;
    EXPECT_EQ(entries_of_request().at(0), entry('P', "AB", "20261120", 0));
    Glb_suscribed_message[133] = 0;
}

TEST_F(ExchangeTest, ALogOfADayToComeIsAskedForFromItsBeginning)
{
    for (const int type : {0, 1, 2}) {
        log_knows("AB", type, "20271231", 70, true);
    }
    EXPECT_THAT(entries_of_request(), ElementsAre(entry('P', "AB", "20271231", 0), entry('A', "AB", "20261120", 0),
                                                  entry('B', "AB", "20261120", 0)));
}

TEST_F(ExchangeTest, APreviousDateRaisesPersistentEntriesAndSetsTheOthers)
{
    log_knows("AB", 0, "20261118", 70, true);
    log_knows("AB", 1, "20261118", 80, true);
    std::strcpy(Glb_Prev_Date_Log_Req, "20261119");
    EXPECT_THAT(entries_of_request(), ElementsAre(entry('P', "AB", "20261119", 0), entry('A', "AB", "20261119", 0),
                                                  entry('B', "AB", "20261119", 0)));
    std::strcpy(Glb_Prev_Date_Log_Req, "20261101");
    EXPECT_THAT(entries_of_request(), ElementsAre(entry('P', "AB", "20261118", 70), entry('A', "AB", "20261101", 0),
                                                  entry('B', "AB", "20261101", 0)));
}

// A process with files beside its running log, and the next one over them.
class ExchangeAcrossRestarts : public ExchangeTest
{
protected:
    ExchangeAcrossRestarts() { restart(); }
    ~ExchangeAcrossRestarts() override { LOG_End(); }

    void restart()
    {
        LOG_End();
        Start();
        LOG_Msg_Init();
        COMMON_Put_Last_Sent_Date("20261120");
    }
};

TEST_F(ExchangeAcrossRestarts, TheRequestIsTheOneThatTheProcessBeforeWouldHaveMade)
{
    log_knows("AB", 0, "20261120", 70, true);
    log_knows("AB", 1, "20261119", 80, true);
    log_knows("AB", 2, "20261120", 90, true);
    const auto before = entries_of_request();
    restart();
    EXPECT_EQ(entries_of_request(), before);
    EXPECT_THAT(before, ElementsAre(entry('P', "AB", "20261120", 70), entry('A', "AB", "20261119", 80),
                                    entry('B', "AB", "20261120", 90)));
}

TEST_F(ExchangeAcrossRestarts, TheDirectiveChoosesAmongTheNumbersOfTheFile)
{
    log_knows("AB", 1, "20261120", 80, true);
    log_knows("AB", 1, "20261120", 81, false);
    log_knows("AB", 1, "20261120", 82, true);
    restart();
    std::string last;
    for (const char letter : {'L', 'F', 'N', 'Q'}) {
        Glb_log_last_processed_message = letter;
        last += std::to_string(static_cast<unsigned char>(entries_of_request().at(1)[17])) + " ";
    }
    EXPECT_EQ(last, "82 80 0 0 ");
}

TEST_F(ExchangeAcrossRestarts, PersistentMessagesGoOnBehindTheLastFinishedOneWhateverTheDirective)
{
    log_knows("AB", 0, "20261120", 70, true);
    log_knows("AB", 0, "20261120", 71, false);
    log_knows("AB", 0, "20261120", 72, true);
    restart();
    EXPECT_EQ(entries_of_request().at(0), entry('P', "AB", "20261120", 70));
    Glb_suscribed_message[133] = 1;
    EXPECT_EQ(entries_of_request().at(0), entry('P', "AB", "20261120", 0));
    Glb_suscribed_message[133] = 0;
}

TEST_F(ExchangeAcrossRestarts, AFileOlderThanSevenDaysIsAskedForFromThere)
{
    log_knows("AB", 0, "20261101", 70, true);
    log_knows("AB", 1, "20261101", 80, true);
    restart();
    EXPECT_THAT(entries_of_request(), ElementsAre(entry('P', "AB", "20261113", 0), entry('A', "AB", "20261101", 80),
                                                  entry('B', "AB", std::string(8, '\0'), 0)));
}

TEST_F(ExchangeAcrossRestarts, AFileOfADayToComeIsAskedForFromItsBeginning)
{
    log_knows("AB", 0, "20271231", 70, true);
    log_knows("AB", 1, "20271231", 80, true);
    restart();
    EXPECT_THAT(entries_of_request(), ElementsAre(entry('P', "AB", "20271231", 0), entry('A', "AB", "20261120", 0),
                                                  entry('B', "AB", std::string(8, '\0'), 0)));
}

// Its place in the request stays, without a number.
TEST_F(ExchangeAcrossRestarts, AServerWithoutFilesIsAskedForFromItsBeginning)
{
    LOG_End();
    std::filesystem::create_directory(scratch.path("qapi.CD00.log"));
    COMMON_Set_Code_Data_Servers_List(1, "DSCD");
    restart();
    log_knows("AB", 1, "20261120", 80, true);
    log_knows("CD", 1, "20261120", 80, true);
    const auto entries = entries_of_request();
    EXPECT_EQ(entries.at(2), entry('A', "AB", "20261120", 80));
    EXPECT_EQ(entries.at(3), entry('A', "CD", std::string(8, '\0'), 0));
}

TEST_F(ExchangeTest, ARequestHoldsTwelveServersAndReportsTheRest)
{
    for (char c = 'A'; c < 'A' + 14; ++c) {
        COMMON_Set_Code_Data_Servers_List(1, (std::string("DS") + c + "1").c_str());
    }
    LOG_Msg_Init();
    const auto entries = entries_of_request();
    EXPECT_EQ(entries.size(), 36U);
    EXPECT_EQ(entries.back().substr(0, 3), "BK1");
    EXPECT_THAT(host.lines(),
                ElementsAre("error 1 Stored messages are asked of the first 12 data servers of 15: a request "
                            "holds no more / 0 0"));
}

// ---- Presence and version

TEST_F(ExchangeTest, PresenceLeavesAheadOfTheVersion)
{
    std::memcpy(Glb_Branch_4c, "B4CC", 4);
    std::memcpy(Glb_PU_Code, "L0X9", 4);
    std::memcpy(Glb_Current_DS, "DSAB", 4);
    glb_min_pu_connected_gtable_rec_index = 0x01020304;
    Glb_range_environment = 0x584D0000;
    SendVersionInformation();
    const auto messages = take_messages();
    ASSERT_EQ(messages.size(), 2U);
    const std::string presence = Bytes(180)
                                     .put(0, "888I")
                                     .put(4, std::string("\x10\0", 2))
                                     .put(10, "\x04\x03\x02\x01")
                                     .put(18, std::string("\0\0MX", 4))
                                     .put(22, "BRANCH01")
                                     .put(30, "maria")
                                     .put(40, "U001")
                                     .put(50, " 1")
                                     .put(52, "B4CC")
                                     .put(56, "L0X9")
                                     .put(73, "P")
                                     .put(75, "DSAB")
                                     .put(83, "192.0.2.1")
                                     .put(173, "2");
    EXPECT_EQ(messages[0], presence);
    EXPECT_EQ(messages[1].substr(0, 3), "253");
    std::string version = body_of(messages[1]);
    const std::string built = version.substr(25, 14);
    EXPECT_EQ(built.find_first_not_of("0123456789"), std::string::npos);
    version.replace(25, 14, 14, '\0');
    const std::string expected = Bytes(111)
                                     .put(0, "L001")
                                     .put(4, "BRANCH01")
                                     .put(12, "B4CC")
                                     .put(17, " 1")
                                     .put(19, "3.008")
                                     .put(73, "QAPI")
                                     .put(77, "U001")
                                     .put(81, "maria");
    EXPECT_EQ(version, expected);
}

TEST_F(ExchangeTest, InAReplayTheAddressIsTheLoopback)
{
    Glb_run_log_testing = 1;
    Send_Msg_Qapi_Connected();
    Glb_run_log_testing = 0;
    EXPECT_EQ(take_messages().at(0).substr(83, 15), std::string("127.0.0.1") + std::string(6, '\0'));
}

// ---- Rounds of stored messages

TEST_F(ExchangeTest, PrimaryTablesLeadToTheLogAndTheHost)
{
    Glb_Log_Flag = 0;
    std::strcpy(Glb_Prev_Date_Log_Req, "20261119");
    Primary_Tables_Arrived(sent::connection);
    EXPECT_THAT(take_numbers(), ElementsAre("203", "888", "253"));
    EXPECT_THAT(host.lines(), ElementsAre("connection 0"));
    EXPECT_EQ(Glb_Log_Flag, 1);
    EXPECT_STREQ(Glb_Prev_Date_Log_Req, "");
}

TEST_F(ExchangeTest, TablesOfAnotherConnectionAreTooLate)
{
    Primary_Tables_Arrived(sent::connection - 1);
    Close_Session();
    Primary_Tables_Arrived(sent::connection);
    Primary_Tables_Arrived(0);
    EXPECT_THAT(take_numbers(), IsEmpty());
    EXPECT_THAT(host.lines(), IsEmpty());
}

TEST_F(ExchangeTest, TheFirstRoundAsksForTheNextTheSecondForSecondaryTables)
{
    Log_Began();
    Log_Ended();
    EXPECT_THAT(take_numbers(), ElementsAre("252"));
    Log_Began();
    Log_Ended();
    EXPECT_THAT(take_numbers(), ElementsAre("213", "214"));
    Log_Ended();
    EXPECT_THAT(take_numbers(), ElementsAre("213", "214"));
    Log_Began();
    Log_Ended();
    EXPECT_THAT(take_numbers(), IsEmpty());
}

TEST_F(ExchangeTest, AnEndWithoutABeginChangesNothing)
{
    Log_Ended();
    EXPECT_THAT(take_numbers(), IsEmpty());
}

TEST_F(ExchangeTest, RoundsStartAgainWithEveryReadiness)
{
    Log_Began();
    Log_Began();
    Primary_Tables_Arrived(sent::connection);
    take_numbers();
    Log_Began();
    Log_Ended();
    EXPECT_THAT(take_numbers(), ElementsAre("252"));
}

TEST_F(ExchangeTest, ABeginAnswersThePreviousDate)
{
    Glb_Prev_Date_Log_Req_Successfullty = 1;
    Glb_Status_Init_Ask_Log = 0;
    Log_Began();
    EXPECT_EQ(Glb_Status_Init_Ask_Log, 1);
    EXPECT_EQ(Glb_Prev_Date_Log_Req_Successfullty, 0);
}

TEST_F(ExchangeTest, EmptyRequestsAreEnvelopesAndFillers)
{
    COMMON_Send_Next_Log_Req();
    COMMON_Send_Table_Reqs();
    COMMON_Send_Final_Log_Request();
    const auto messages = take_messages();
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].size(), 83U);
    EXPECT_EQ(messages[1].substr(0, 3) + body_of(messages[1]), "213" + std::string(95, '\0'));
    EXPECT_EQ(messages[2].substr(0, 3) + body_of(messages[2]), "214" + std::string(95, '\0'));
}

// Envelope: bytes of addressees at 12, message behind them and two bytes of length; its own envelope behind the number.
TEST_F(ExchangeTest, AStoredMessageIsTurnedToTheServerInUse)
{
    std::memcpy(Glb_Current_DS, "DSXY", 4);
    for (const int addressees : {0, 10, 127}) {
        std::string stored(static_cast<std::size_t>(16 + addressees + 3 + 80), '.');
        stored[12] = static_cast<char>(addressees);
        stored[13] = '\0';
        const std::size_t header = 16 + static_cast<std::size_t>(addressees) + 3;
        const std::string expected = Bytes(stored).put(header + 5, "S").put(header + 8, "XY");
        EXPECT_TRUE(Readdress(stored.data(), static_cast<int>(stored.size())));
        EXPECT_EQ(stored, expected);
    }
}

TEST_F(ExchangeTest, WhatIsNoStoredMessageStaysAsItIs)
{
    for (const char* addressees : {"\x80\x00", "\xff\xff", "\x00\x01"}) {
        std::string stored(400, '.');
        std::memcpy(stored.data() + 12, addressees, 2);
        const std::string before = stored;
        EXPECT_FALSE(Readdress(stored.data(), 400));
        EXPECT_EQ(stored, before);
    }
    std::string cut(400, '\0');
    for (const int len : {0, 15, 16, 28}) {
        EXPECT_FALSE(Readdress(cut.data(), len));
    }
    EXPECT_TRUE(Readdress(cut.data(), 29));
}

TEST_F(ExchangeTest, NothingIsStoredToBeSentAgain)
{
    Glb_req_message_num = 4'294'967'290;
    COMMON_Send_Pend_Msgs();
    EXPECT_THAT(take_numbers(), IsEmpty());
}

} // namespace
