// Login, Connect, Logout, LogoutForce and what is left of them.
#include "arrm.h"
#include "global.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/session.h"
#include "qcapi/support.h"
#include "records/envelope_template.h"
#include "support/fake_system.h"
#include "support/session_fixture.h"
#include "thrct.h"
#include "transport/dcon.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/resource.h>
#include <thread>

namespace {

using LifecycleTest = SessionTest;

constexpr const char* stopped_line =
    "status 27 Attempts to establish a connection and processing messages have been suspended";
constexpr const char* already_line = "error 17 The API was already initiated state Trying since / 0 0";

// A disk that is full behind so many bytes, as far as this process can tell.
void let_files_grow_to(rlim_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{.rlim_cur = bytes, .rlim_max = bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

TEST_F(LifecycleTest, LoginStartsFourThreadsAndLogoutEndsThem)
{
    RecordingHost host;
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_INITIALIZED);
    wait_for_worker_threads(4);
    EXPECT_EQ(host.Logout(), 0);
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_NOT_INITIALIZED);
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 0);
    EXPECT_TRUE(host.has(stopped_line));
}

TEST_F(LifecycleTest, ASecondLoginIsRefusedAndLeavesTheSessionRunning)
{
    RecordingHost host;
    host.login("first", "one");
    wait_for_worker_threads(4);
    wait_until_it_listens();
    EXPECT_EQ(host.login("second", "two"), QAPI_ERR_ALREADY_INITIALIZED);
    EXPECT_TRUE(host.has(already_line));
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 4);
    EXPECT_STREQ(Gbl_User_Name, "second"); // taken over all the same
    EXPECT_STREQ(Glb_User_Key, "two");
    EXPECT_EQ(host.connect("127.0.0.1", 1), QAPI_ERR_ALREADY_INITIALIZED);
}

TEST_F(LifecycleTest, ARefusedLoginIsInTheLog)
{
    RecordingHost host;
    host.login();
    wait_until_it_listens();
    host.login();
    host.Logout();
    const std::vector<std::string> lines = text_lines_of_log(scratch.read("qapi.log"));
    EXPECT_NE(std::find(lines.begin(), lines.end(), "ER-The API was already initiated state Trying since"),
              lines.end());
}

TEST_F(LifecycleTest, AMissingConfigurationIsCodeTwo)
{
    std::filesystem::remove("qapi.cfg");
    RecordingHost host;
    EXPECT_EQ(host.login(), QAPI_ERR_CONFIG_NOT_FOUND);
    EXPECT_TRUE(host.has("error 2 Config file " + scratch.path("qapi.cfg").string() + " does not exist / 0 0"));
}

TEST_F(LifecycleTest, APreviousDateFileWithoutADateEndsTheLogin)
{
    scratch.write(QAPI_TMP_CONFIG_FILE_NAME, "# nothing\n");
    RecordingHost host;
    EXPECT_EQ(host.login(), QAPI_ERR_EMPTY_TMP_CONFIG);
    EXPECT_TRUE(host.has("error 26 Empty temporal config file " + scratch.path(QAPI_TMP_CONFIG_FILE_NAME).string() +
                         " / 999 0"));
}

TEST_F(LifecycleTest, AnObjectStartsFromNothing)
{
    Glb_Log_Flag = 1;
    Glb_last_sent_message_num = 5;
    COMMON_Adjust_Time(500);
    glb_DCon_DESCR->modesend = 0;
    glb_DCon_DESCR->use_ssl = 1;
    glb_DCon_DESCR->ticking_message = 1;
    glb_DCon_DESCR->number_of_hosts = 3;
    glb_DCon_DESCR->current_host = 2;
    glb_DCon_DESCR->fhost[3] = 1;
    const RecordingHost host;
    EXPECT_EQ(Glb_Log_Flag, 0);
    EXPECT_EQ(Glb_last_sent_message_num, 0U);
    EXPECT_EQ(Glb_time_diff, 0);
    EXPECT_EQ(glb_DCon_DESCR->modesend, 2);
    EXPECT_EQ(glb_DCon_DESCR->use_ssl + glb_DCon_DESCR->ticking_message, 0);
    EXPECT_EQ(glb_DCon_DESCR->number_of_hosts + glb_DCon_DESCR->current_host + glb_DCon_DESCR->fhost[3], 0U);
    EXPECT_EQ(glb_DCon_DESCR->pLog_Mss, nullptr);
    EXPECT_EQ(glb_DCon_DESCR->pRecv_Mss, &*Glb_Recv_Mss);
}

TEST_F(LifecycleTest, EachSessionStartsFromTheDefaultsOfTheConnection)
{
    RecordingHost host;
    glb_DCon_DESCR->modesend = 0;
    glb_DCon_DESCR->use_ssl = 1;
    glb_DCon_DESCR->number_of_hosts = 3;
    host.login();
    EXPECT_EQ(glb_DCon_DESCR->modesend, 2);
    EXPECT_EQ(glb_DCon_DESCR->use_ssl, 0);
    EXPECT_EQ(glb_DCon_DESCR->number_of_hosts, 0U);
}

TEST_F(LifecycleTest, BothWaysOutTakeThePrimaryTablesFlagBack)
{
    RecordingHost host;
    host.login();
    Glb_Log_Flag = 1;
    host.Logout();
    EXPECT_EQ(Glb_Log_Flag, 0);
    host.login();
    Glb_Log_Flag = 1;
    host.LogoutForce();
    EXPECT_EQ(Glb_Log_Flag, 0);
}

int stops_left_in(CMss_Arr& ring)
{
    char record[MESSAGE_TRANS_RECORD_SIZE];
    int len = 0;
    int stops = 0;
    for (int status = 0; status != -1; status = ring.Withdraw(record, &len, nullptr, nullptr)) {
        stops += status == TCP_SHUTTING_DOWN ? 1 : 0; // the close of the socket is told between two of them
    }
    return stops;
}

TEST_F(LifecycleTest, EachRingGetsAStopOfLogoutAndOneOfTheConnectionOrOfTheReplay)
{
    RecordingHost host;
    host.login();
    host.Logout();
    EXPECT_EQ(stops_left_in(*Glb_Recv_Mss), 1); // the first ended the thread
    EXPECT_EQ(stops_left_in(*Glb_Send_Mss), 1);
    scratch.write("qapi.cfg", "data_server DSAB\ntesting_file old.log\n");
    host.login();
    host.Logout();
    EXPECT_EQ(stops_left_in(*Glb_Recv_Mss), 1); // no connection, and one for the replay
    EXPECT_EQ(stops_left_in(*Glb_Send_Mss), 1);
}

TEST_F(LifecycleTest, ReplayTextsGoWithTheSessionOrWithItsLastThread)
{
    scratch.write("qapi.cfg", "data_server DSAB\ntesting_file old.log\ntesting_start 20260101000000\n");
    RecordingHost host;
    host.login();
    EXPECT_STREQ(Glb_logging_test_name, "old.log");
    host.Logout();
    EXPECT_EQ(Glb_logging_test_name, nullptr);
    EXPECT_EQ(Glb_logging_start, nullptr);
    host.login();
    host.LogoutForce();
    EXPECT_STREQ(Glb_logging_test_name, "old.log"); // a replay may still read it
    host.Logout();
    EXPECT_EQ(Glb_logging_test_name, nullptr);
}

TEST_F(LifecycleTest, ALoginInsideAReportOfALoginIsRefused)
{
    std::string configuration = "data_server DSAB\nuse_msg_code 121 in markets";
    for (int market = 1; market <= 31; ++market) {
        configuration += " " + std::to_string(market);
    }
    scratch.write("qapi.cfg", configuration + "\n");
    RecordingHost host;
    int inner = -1;
    int inner_logout = -1;
    host.in_callback = [&](const std::string& line) {
        if (line.starts_with("error 3 ")) {
            inner = host.login();
            inner_logout = host.Logout();
        }
    };
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(inner, QAPI_ERR_ALREADY_INITIALIZED);
    EXPECT_EQ(inner_logout, QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 4);
    EXPECT_EQ(host.Logout(), 0);
}

TEST_F(LifecycleTest, AHostMayAnswerTheNoticeOfAWaitWithAnything)
{
    std::vector<int> results; // outlives the host, whose destructor waits once more
    RecordingHost host;
    host.in_callback = [&](const std::string& line) {
        if (line.starts_with("error 0 Waiting")) {
            results = {host.Logout(), host.login(), host.LogoutForce()};
        }
    };
    host.login();
    host.LogoutForce();
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(results, (std::vector<int>{4, 17, 4}));
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_INITIALIZED);
}

TEST_F(LifecycleTest, TwoThreadsMayLogOutAtOnce)
{
    RecordingHost host;
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(host.login(), 0);
        std::atomic<int> sum{0};
        std::thread other([&] { sum += host.Logout(); });
        sum += host.Logout();
        other.join();
        EXPECT_EQ(sum, QAPI_ERR_NOT_INITIALIZED_YET); // 0 for one, 4 for the other
    }
}

TEST_F(LifecycleTest, ReportsBehindAForcedLogoutDoNotPileUp)
{
    RecordingHost host;
    host.login();
    host.LogoutForce();
    wait_for_worker_threads(0);
    char field[] = "mercado";
    for (int i = 0; i < 5000; ++i) {
        host.GetFieldLONG(field);
    }
    EXPECT_LE(Glb_Log_Mss->Get_Total_Num_Records(), 1536);
    host.Logout();
    EXPECT_GE(text_lines_of_log(scratch.read("qapi.log")).size(), 5000U);
}

TEST_F(LifecycleTest, LogoutWithoutASessionReturnsFourAndSendsNothing)
{
    RecordingHost host;
    Glb_Recv_Mss->Initialize();
    Glb_Send_Mss->Initialize();
    EXPECT_EQ(host.Logout(), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(host.LogoutForce(), QAPI_ERR_NOT_INITIALIZED_YET);
    EXPECT_EQ(Glb_Send_Mss->Is_Any_Pkt() + Glb_Recv_Mss->Is_Any_Pkt() + Glb_Log_Mss->Is_Any_Pkt(), 0);
    EXPECT_TRUE(host.lines().empty());
}

TEST_F(LifecycleTest, ASessionThatLoggedInTellsThatItGoes)
{
    RecordingHost host;
    host.login();
    host.Logout();
    EXPECT_NE(scratch.read("qapi.log").find("SR-Connection close sent"), std::string::npos);
}

TEST_F(LifecycleTest, ASessionThatIsLeftInACallbackTellsItToo)
{
    RecordingHost host;
    host.login();
    host.LogoutForce();
    host.Logout(); // waits for the log
    EXPECT_NE(scratch.read("qapi.log").find("SR-Connection close sent"), std::string::npos);
}

TEST_F(LifecycleTest, ADataServerTellsNobodyThatItGoes)
{
    RecordingHost host;
    host.connect("127.0.0.1", 1);
    host.LogoutForce();
    host.Logout();
    EXPECT_EQ(scratch.read("qapi.log").find("SR-Connection close sent"), std::string::npos);
}

TEST_F(LifecycleTest, EachSessionStartsWithATemplateOfItsOwn)
{
    RecordingHost host;
    Open_Session(7, nullptr);
    Glb_last_sent_message_num = 9;
    host.login();
    EXPECT_EQ(std::string(glb_cabeza_dfn.codigo_primaryuser, 4), "L001");
    EXPECT_EQ(Glb_last_sent_message_num, 0U);
    EXPECT_EQ(Session_Connection(), 0U);
}

TEST_F(LifecycleTest, ConnectRunsItsThreadsWithAnUnreadableConfigurationToo)
{
    RecordingHost host;
    ASSERT_EQ(host.login(), 0); // a session before it leaves stop records behind in the rings
    ASSERT_EQ(host.Logout(), 0);
    std::filesystem::remove(scratch.path("qapi.cfg"));
    EXPECT_EQ(host.connect("127.0.0.1", 1), QAPI_ERR_CONFIG_NOT_FOUND);
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_INITIALIZED_AS_DS);
    wait_for_worker_threads(4);
    connection_says(TCP_STATUS_OPEN_CONNECTION);
    EXPECT_TRUE(host.wait_for("status 21 Connected"));
    EXPECT_EQ(host.LogoutForce(), 0);
}

TEST_F(LifecycleTest, ConnectTakesItsServerIntoTheFirstPlace)
{
    scratch.write("qapi.cfg", "data_server = DSAB\ndata_server = DSCD\nds_ip_address = 10.0.0.1\n");
    RecordingHost host;
    EXPECT_EQ(host.connect("127.0.0.2", 40000), 0);
    EXPECT_EQ(glb_DCon_DESCR->fhost[0], 0x0200007FU); // network order, as the bytes 7F 00 00 02 read little-endian
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[0], 40000);
    EXPECT_EQ(glb_DCon_DESCR->number_of_hosts, 1U);
    EXPECT_EQ(glb_dss_counter, 1);
    host.LogoutForce();
    EXPECT_EQ(host.login(), 0);
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[0], 0); // a later login has the configuration's servers again
    EXPECT_EQ(glb_dss_counter, 2);
}

TEST_F(LifecycleTest, EmptyTextsKeepTheLastNameAndPassword)
{
    RecordingHost host;
    host.login("someone", "secret");
    host.Logout();
    host.login("", "");
    EXPECT_STREQ(Gbl_User_Name, "someone");
    EXPECT_STREQ(Glb_User_Key, "secret");
    host.Logout();
    EXPECT_EQ(host.Login(nullptr, nullptr), 0);
    EXPECT_STREQ(Gbl_User_Name, "someone");
}

TEST_F(LifecycleTest, NamesAreCutAtTenAndPasswordsAtSixteen)
{
    RecordingHost host;
    host.login("0123456789AB", "0123456789ABCDEFGH");
    EXPECT_STREQ(Gbl_User_Name, "0123456789");
    EXPECT_STREQ(Glb_User_Key, "0123456789ABCDEF");
    host.Logout();
    host.login("x", "y");
    EXPECT_EQ(std::memcmp(Gbl_User_Name, "x\0\0\0\0\0\0\0\0\0\0", 11), 0); // nothing of the longer one is left
}

TEST_F(LifecycleTest, TheConfigurationOverridesNameAndPassword)
{
    scratch.write("qapi.cfg", "data_server DSAB\nuser_name = fromfile\npassword = filekey\n");
    RecordingHost host;
    host.login("argument", "other");
    EXPECT_STREQ(Gbl_User_Name, "fromfile");
    EXPECT_STREQ(Glb_User_Key, "filekey");
}

TEST_F(LifecycleTest, AFailedLoginReportsItsTextAndMayBeTriedAgain)
{
    scratch.write("qapi.cfg", "local_code = L001\n");
    RecordingHost host;
    EXPECT_EQ(host.login(), QAPI_ERR_NO_DS_DIRECTIVE);
    EXPECT_TRUE(host.has("error 21 There is no \"data_server\" directive in the config file / 0 0"));
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_NOT_INITIALIZED);
    scratch.write("qapi.cfg", "data_server\n");
    EXPECT_EQ(host.login(), QAPI_ERR_CONFIG_BAD_DATA);
    EXPECT_TRUE(host.has("error 3 Config file has incorrect line 1 / 999 0"));
    scratch.write("qapi.cfg", "data_server DSAB\n");
    EXPECT_EQ(host.login(), 0);
}

TEST_F(LifecycleTest, AWorkingDirectoryThatIsGoneIsAnInternalError)
{
    RecordingHost host;
    std::filesystem::create_directory("gone");
    std::filesystem::current_path("gone");
    std::filesystem::remove(scratch.path("gone"));
    EXPECT_EQ(host.login(), QAPI_ERR_INTERNAL_ERROR);
    EXPECT_TRUE(host.has("error 1 Internal system error 2 / 0 0")); // ENOENT
    std::filesystem::current_path(scratch.path());
}

TEST_F(LifecycleTest, ADirectoryThatDisappearsUnderASessionDoesNotStopIt)
{
    RecordingHost host;
    std::filesystem::create_directory("short-lived");
    std::filesystem::copy("qapi.cfg", "short-lived/qapi.cfg");
    std::filesystem::current_path("short-lived");
    ASSERT_EQ(host.login(), 0);
    std::filesystem::remove_all(scratch.path("short-lived"));
    connection_says(TCP_STATUS_OPEN_CONNECTION);
    EXPECT_TRUE(host.wait_for("status 21 Connected"));
    EXPECT_EQ(host.Logout(), 0);
    std::filesystem::current_path(scratch.path());
}

TEST_F(LifecycleTest, ADiskThatIsFullUnderTheLogLeavesTheSessionRunning)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            let_files_grow_to(300);
            RecordingHost host;
            const int login = host.login();
            connection_says(TCP_STATUS_OPEN_CONNECTION);
            const bool heard = host.wait_for("status 21 Connected");
            const int logout = host.Logout();
            std::fprintf(stderr, "login %d, heard %d, logout %d, log %s", login, heard, logout,
                         scratch.read("qapi.log").ends_with('\n') ? "whole" : "torn");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^login 0, heard 1, logout 0, log whole$");
}

TEST_F(LifecycleTest, AnInvalidPreviousDateStopsTheLoginAndKeepsItsFile)
{
    scratch.write(QAPI_TMP_CONFIG_FILE_NAME, "20231301\n");
    RecordingHost host;
    EXPECT_EQ(host.login(), QAPI_ERR_INVALID_DATE);
    EXPECT_TRUE(host.has("error 27 Invalid date (20231301) in the tmp config file "
                         "(qapi_tmp_previous_date_log_request.txt) / 999 0") ||
                host.has("error 27 Invalid date (20231301) in the tmp config file (" +
                         scratch.path(QAPI_TMP_CONFIG_FILE_NAME).string() + ") / 999 0"));
    EXPECT_TRUE(scratch.has(QAPI_TMP_CONFIG_FILE_NAME));
    EXPECT_EQ(CQcApi::initialize_flag, QAPI_NOT_INITIALIZED);
    const std::vector<std::string> lines = text_lines_of_log(scratch.read("qapi.log"));
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[lines.size() - 2], "ER-Error code 27, txt Invalid date (20231301) in the tmp config file (" +
                                           scratch.path(QAPI_TMP_CONFIG_FILE_NAME).string() + "), nxt_a 999");
    EXPECT_EQ(lines.back(), "ER-Error (27) to process file (qapi_tmp_previous_date_log_request.txt).");
    std::filesystem::remove(QAPI_TMP_CONFIG_FILE_NAME);
    EXPECT_EQ(host.login(), 0);
}

TEST_F(LifecycleTest, APreviousDateThatNoServerAnsweredRefusesTheNextLogin)
{
    scratch.write(QAPI_TMP_CONFIG_FILE_NAME, "20231201\n");
    RecordingHost host;
    EXPECT_EQ(host.login(), 0);
    EXPECT_FALSE(scratch.has(QAPI_TMP_CONFIG_FILE_NAME));
    EXPECT_EQ(host.Logout(), 0);
    EXPECT_EQ(host.login(), QAPI_ERR_DATE_NOT_EXIST_DS);
    EXPECT_TRUE(
        host.has("error 29 Messages asked of previous date (20231201) not received. Shutdown the aplication and "
                 "try again. / 999 0"));
    Glb_Prev_Date_Log_Req_Successfullty = 0;
}

TEST_F(LifecycleTest, ALogoutInACallbackReturnsAndTheNextLoginWaitsForTheThreads)
{
    RecordingHost host;
    ASSERT_EQ(host.login(), 0);
    std::atomic<int> result{-1};
    host.in_callback = [&](const std::string& line) {
        if (line == "status 7 Can't connect") {
            result = host.Logout();
        }
    };
    connection_says(TCP_ERROR_CANT_CONNECT);
    ASSERT_TRUE(host.wait_for("status 7 Can't connect"));
    EXPECT_EQ(result, 0);
    EXPECT_EQ(host.login(), 0);
    wait_for_worker_threads(4);
    EXPECT_EQ(host.Logout(), 0);
}

TEST_F(LifecycleTest, ALoginInACallbackBehindLogoutForceIsRefused)
{
    RecordingHost host;
    ASSERT_EQ(host.login(), 0);
    std::atomic<int> result{-1};
    host.in_callback = [&](const std::string& line) {
        if (line == "status 7 Can't connect") {
            host.LogoutForce();
            result = host.login();
        }
    };
    connection_says(TCP_ERROR_CANT_CONNECT);
    ASSERT_TRUE(host.wait_for("status 7 Can't connect"));
    EXPECT_EQ(result, QAPI_ERR_ALREADY_INITIALIZED);
    EXPECT_EQ(host.login(), 0);
}

TEST_F(LifecycleTest, AHundredLoginsAndLogoutsLeaveNoThreadAndNoDescriptor)
{
    RecordingHost host;
    const int threads = running_threads();
    ASSERT_EQ(host.login() + host.Logout(), 0);
    const int descriptors = open_descriptors();
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(host.login(), 0);
        ASSERT_EQ(host.Logout(), 0);
    }
    EXPECT_EQ(open_descriptors(), descriptors);
    wait_until_running_threads_fall_to(threads);
}

TEST_F(LifecycleTest, AHundredForcedLogoutsLeaveNoThreadAndNoDescriptor)
{
    RecordingHost host;
    const int threads = running_threads();
    ASSERT_EQ(host.login() + host.Logout(), 0);
    const int descriptors = open_descriptors();
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(host.login(), 0);
        ASSERT_EQ(host.LogoutForce(), 0);
    }
    EXPECT_EQ(host.Logout(), QAPI_ERR_NOT_INITIALIZED_YET); // but it joins what was left
    EXPECT_EQ(open_descriptors(), descriptors);
    wait_until_running_threads_fall_to(threads);
}

TEST_F(LifecycleTest, ARoundOfTheServerRoleLeftByForceLeavesNoThread)
{
    RecordingHost host;
    const int threads = running_threads();
    ASSERT_EQ(host.login() + host.Logout(), 0);
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(host.connect("127.0.0.1", 1), 0);
        ASSERT_EQ(host.LogoutForce(), 0);
    }
    host.Logout();
    wait_until_running_threads_fall_to(threads);
}

TEST_F(LifecycleTest, AFailingLoginRepeatedTwoThousandTimesGrowsInNothing)
{
    scratch.write("qapi.cfg", "data_server = DSAB\npassword\n");
    RecordingHost host;
    ASSERT_EQ(host.login(), QAPI_ERR_CONFIG_BAD_DATA);
    const int descriptors = open_descriptors();
    const int slots = Glb_Log_Mss->Get_Total_Num_Records();
    for (int round = 0; round < 2000; ++round) {
        ASSERT_EQ(host.login(), QAPI_ERR_CONFIG_BAD_DATA);
    }
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_EQ(Glb_Log_Mss->Get_Total_Num_Records(), slots);
    EXPECT_EQ(Glb_Log_Mss->Is_Any_Pkt(), 0);
    EXPECT_EQ(glb_dss_counter, 1);
}

TEST_F(LifecycleTest, TheLogHoldsTheBannerTheConfigurationAndTheLastLines)
{
    RecordingHost host;
    host.login();
    host.Logout();
    const std::vector<std::string> lines = text_lines_of_log(scratch.read("qapi.log"));
    ASSERT_GE(lines.size(), 4U);
    EXPECT_NE(lines[0].find("Quentar-API Interface Program. Version 3.0.0.8\n"), std::string::npos);
    EXPECT_EQ(lines[1], "ER-Conf-line 1: data_server = DSAB\n");
    EXPECT_EQ(lines[2], "ER-Conf-line 2: local_code = L001\n");
    EXPECT_EQ(lines.back(), "ER-Waiting threads termination........"); // written after the log thread had ended
}

TEST_F(LifecycleTest, TheConfigurationLinesOfAFailedLoginAreInTheLog)
{
    scratch.write("qapi.cfg", "password\n");
    RecordingHost host;
    host.login();
    EXPECT_EQ(text_lines_of_log(scratch.read("qapi.log")).back(), "ER-Conf-line 1: password\n");
}

TEST_F(LifecycleTest, TheDestructorEndsTheSessionAndClearsThePointer)
{
    {
        RecordingHost host;
        EXPECT_EQ(Cur_Qapi, &host);
        host.login();
    }
    EXPECT_EQ(Cur_Qapi, nullptr);
    EXPECT_EQ(THRCT_Get_App_Thread_Counter(), 0);
    COMMON_Put_Syslog_Message(1, "nobody is there to hear this");
}

TEST_F(LifecycleTest, VersionsAndPlatformAreFixedWords)
{
    RecordingHost host;
    char word[16] = {};
    EXPECT_EQ(host.GetVersion(word), 1);
    EXPECT_STREQ(word, "3.0.0.8");
    EXPECT_EQ(host.GetCompilationType(word), 1);
    EXPECT_STREQ(word, "x86");
    EXPECT_EQ(GetCompilationPlatform(word), 1);
    EXPECT_STREQ(word, "Linux");
}

TEST(ConnectionRequest, ATerminationStaysAndARestartTakesOnlyAnEmptyPlace)
{
    DCON_DESCR descr;
    DCON_Request(descr, DCON_NEXT_STATE_RESTART);
    EXPECT_EQ(descr.DCON_terminate, DCON_NEXT_STATE_RESTART);
    DCON_Request(descr, DCON_NEXT_STATE_TERMINATE);
    DCON_Request(descr, DCON_NEXT_STATE_RESTART);
    EXPECT_EQ(descr.DCON_terminate, DCON_NEXT_STATE_TERMINATE);
    DCON_Clear_Request(descr);
    EXPECT_EQ(descr.DCON_terminate, DCON_NEXT_STATE_VOID);
}

TEST(ConnectionState, EveryStateHasItsWord)
{
    const char* const words[] = {"None",         "Opening at", "Trying since", "Open init",
                                 "Connected at", "Closing at", "Terminating",  "None"};
    for (int state = 0; state < 8; ++state) {
        EXPECT_STREQ(DCON_Status_Word(state), words[state]);
    }
    EXPECT_STREQ(DCON_Status_Word(-1), "None");
}

} // namespace
