#include "support/config_fixture.h"

#include "record_io.h"

#include <algorithm>
#include <array>
#include <string>

using namespace std::string_literals;

namespace {

class Directive : public ConfigFixture
{
protected:
    [[nodiscard]] static std::string server(int index) { return bytes_of(glb_dss[index], 4); }
};

// ---- Defaults --------------------------------------------------------------------------------------------------

TEST_F(Directive, NothingButAServerLeavesTheDefaults)
{
    ASSERT_EQ(apply(""), 0);
    EXPECT_EQ(glb_DCon_DESCR->modesend, 2);
    EXPECT_EQ(glb_DCon_DESCR->use_ssl, 0);
    EXPECT_EQ(Glb_Send_Msg_Delay_Millisec, 0U);
    EXPECT_EQ(Glb_log_last_processed_message, 'L');
    EXPECT_EQ(Glb_Language, 0);
    EXPECT_EQ(Glb_Message_Code, 0);
    EXPECT_EQ(Glb_logging_test_name, nullptr);
}

// ---- Texts -----------------------------------------------------------------------------------------------------

TEST_F(Directive, OperFileVersionIsCopiedWhole)
{
    ASSERT_EQ(apply("oper_file_version V2.14-b\n"), 0);
    EXPECT_STREQ(Gbl_Oper_File_Version, "V2.14-b");
    ASSERT_EQ(apply("oper_file_version " + std::string(91, 'v') + "\n"), 0);
    EXPECT_EQ(Gbl_Oper_File_Version, std::string(90, 'v'));
}

TEST_F(Directive, UserNameKeepsTenCharactersUnderBothKeywords)
{
    ASSERT_EQ(apply("user_name Maria\n"), 0);
    EXPECT_STREQ(Gbl_User_Name, "Maria");
    ASSERT_EQ(apply("username abcdefghijk\n"), 0);
    EXPECT_STREQ(Gbl_User_Name, "abcdefghij");
}

TEST_F(Directive, ShorterTextLeavesNothingOfALongerOne)
{
    ASSERT_EQ(apply("user_name abcdefghij\nuser_name Li\n"), 0);
    EXPECT_EQ(bytes_of(Gbl_User_Name, 11), "Li\0\0\0\0\0\0\0\0\0"s);
}

TEST_F(Directive, PasswordKeepsSixteenCharacters)
{
    ASSERT_EQ(apply("password 0123456789abcdefg\n"), 0);
    EXPECT_STREQ(Glb_User_Key, "0123456789abcdef");
}

TEST_F(Directive, UserAndPasswordOverrideWhatLoginGave)
{
    std::copy_n("given", 6, Gbl_User_Name);
    std::copy_n("given", 6, Glb_User_Key);
    ASSERT_EQ(apply("user_name file\npassword file\n"), 0);
    EXPECT_STREQ(Gbl_User_Name, "file");
    EXPECT_STREQ(Glb_User_Key, "file");
}

TEST_F(Directive, EsquemaCodeKeepsEightCharacters)
{
    ASSERT_EQ(apply("esquema_code ABCDEFGHI\n"), 0);
    EXPECT_STREQ(Glb_Esquema_Code, "ABCDEFGH");
}

// ---- Codes: all their bytes, whatever the length of the token ----------------------------------------------------

TEST_F(Directive, CodesTakeTheirFullWidth)
{
    ASSERT_EQ(apply("local_code ABCDE\nuser_code FGHIJ\nbranch_code KLMNOPQRS\n"), 0);
    EXPECT_STREQ(Glb_Local_Machine, "ABCD");
    EXPECT_STREQ(Glb_User_Code, "FGHI");
    EXPECT_STREQ(Gbl_Branch_Code, "KLMNOPQR");
}

TEST_F(Directive, ShortLocalCodeTakesItsZeroAndTheNextByteOfTheLine)
{
    ASSERT_EQ(apply("local_code AB XY\n"), 0);
    EXPECT_EQ(bytes_of(Glb_Local_Machine, 5), "AB\0X\0"s);
}

TEST_F(Directive, ShortUserCodeTakesItsZeroAndTheRestOfTheLine)
{
    ASSERT_EQ(apply("user_code A XYZ\n"), 0);
    EXPECT_EQ(bytes_of(Glb_User_Code, 5), "A\0XY\0"s);
}

TEST_F(Directive, ShortBranchCodeTakesEightBytesOfTheLine)
{
    ASSERT_EQ(apply("branch_code AB CD EF GH\n"), 0);
    EXPECT_EQ(bytes_of(Gbl_Branch_Code, 9), "AB\0CD EF\0"s);
}

TEST_F(Directive, ShortCodeAtTheEndOfALineTakesWhatAnEarlierLineLeft)
{
    ASSERT_EQ(read("data_server DSxy\nlocal_code A\n"), 0);
    // Behind "local_code A" stand zeros for the newline and the end, then the 'x' of the line before.
    EXPECT_EQ(bytes_of(Glb_Local_Machine, 5), "A\0\0x\0"s);
}

TEST_F(Directive, ShortCodeInAFreshBufferIsFilledWithZeros)
{
    ASSERT_EQ(read("data_server AB\n"), 0);
    EXPECT_EQ(server(0), "AB\0\0"s);
    ASSERT_EQ(read("branch_code AB"), 21);
    EXPECT_EQ(bytes_of(Gbl_Branch_Code, 9), "AB\0\0\0\0\0\0\0"s);
}

TEST_F(Directive, CodeAtTheVeryEndOfTheLineBufferTakesZeros)
{
    const std::string keyword = "branch_code";
    ASSERT_EQ(apply(keyword + std::string(1022 - keyword.size(), ' ') + "Q"), 0);
    EXPECT_EQ(bytes_of(Gbl_Branch_Code, 9), "Q\0\0\0\0\0\0\0\0"s);
}

// ---- Data servers ----------------------------------------------------------------------------------------------

TEST_F(Directive, DataServersAreKeptInTheirOrder)
{
    ASSERT_EQ(read("data_server DS02\ndata_server DS01\n"), 0);
    EXPECT_EQ(glb_dss_counter, 2);
    EXPECT_EQ(server(0), "DS02");
    EXPECT_EQ(server(1), "DS01");
}

TEST_F(Directive, DataServerListedTwiceIsStoredOnce)
{
    ASSERT_EQ(read("data_server DS01\ndata_server DS02\ndata_server DS01\n"), 0);
    EXPECT_EQ(glb_dss_counter, 2);
}

TEST_F(Directive, ThirtySeventhDataServerIsRefusedOnStandardOutput)
{
    std::string text;
    for (int i = 0; i < 37; ++i) {
        text += "data_server S" + std::to_string(100 + i) + "\n";
    }
    testing::internal::CaptureStdout();
    EXPECT_EQ(read(text + "data_server S100\n"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error: The limit of Data Servers has been exceeded\n");
    EXPECT_EQ(glb_dss_counter, 36);
    EXPECT_EQ(server(35), "S135");
}

TEST_F(Directive, SeveralServerCodesComeInOneText)
{
    COMMON_Set_Code_Data_Servers_List(3, "AAAABBBBAAAA");
    EXPECT_EQ(glb_dss_counter, 2);
    EXPECT_EQ(server(1), "BBBB");
}

// ---- Addresses and ports ---------------------------------------------------------------------------------------

TEST_F(Directive, AddressAndPortShareASlot)
{
    ASSERT_EQ(apply("ds_ip_address 10.1.2.3\nds_tcp_port 7001\n"), 0);
    const std::array<unsigned char, 4> expected{10, 1, 2, 3}; // network order
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(),
                           reinterpret_cast<const unsigned char*>(&glb_DCon_DESCR->fhost[0])));
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[0], 7001);
    EXPECT_EQ(glb_DCon_DESCR->number_of_hosts, 0U);
}

TEST_F(Directive, NextAddressOpensTheNextSlotAndItsPortFollows)
{
    ASSERT_EQ(apply("ds_ip_address 10.0.0.1\nds_tcp_port 1\nds_ip_address 10.0.0.2\nds_tcp_port 2\n"), 0);
    EXPECT_EQ(glb_DCon_DESCR->number_of_hosts, 1U);
    EXPECT_NE(glb_DCon_DESCR->fhost[1], 0U);
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[1], 2);
}

TEST_F(Directive, AddressesFirstLeaveTheirPortsBehind)
{
    ASSERT_EQ(apply("ds_ip_address 10.0.0.1\nds_ip_address 10.0.0.2\nds_tcp_port 1\nds_tcp_port 2\n"), 0);
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[0], 0);
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[1], 1);
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[2], 2);
    EXPECT_EQ(glb_DCon_DESCR->number_of_hosts, 2U);
}

TEST_F(Directive, SlotsEndAt35WhichTheLastAddressTakes)
{
    std::string text;
    for (int i = 1; i <= 40; ++i) {
        text += "ds_ip_address 10.0.0." + std::to_string(i) + "\nds_tcp_port " + std::to_string(i) + "\n";
    }
    ASSERT_EQ(apply(text), 0);
    EXPECT_EQ(glb_DCon_DESCR->number_of_hosts, 35U);
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[34], 35);
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[35], 40);
}

TEST_F(Directive, AddressThatIsNoneIsKeptAsTheSystemReadsIt)
{
    ASSERT_EQ(apply("ds_ip_address elsewhere\n"), 0);
    EXPECT_EQ(glb_DCon_DESCR->fhost[0], 0xFFFFFFFFU);
}

TEST_F(Directive, PortIsCutToSixteenBits)
{
    ASSERT_EQ(apply("ds_tcp_port 65537\n"), 0);
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[0], 1);
}

TEST_F(Directive, PortZeroLeavesItsSlotFree)
{
    ASSERT_EQ(apply("ds_tcp_port 0\nds_tcp_port 7\n"), 0);
    EXPECT_EQ(glb_DCon_DESCR->tcp_port[0], 7);
    EXPECT_EQ(glb_DCon_DESCR->number_of_hosts, 0U);
}

// ---- Numbers ---------------------------------------------------------------------------------------------------

TEST_F(Directive, SendModeAndSslAreNumbers)
{
    ASSERT_EQ(apply("send_mode 5\nuse_ssl 1\n"), 0);
    EXPECT_EQ(glb_DCon_DESCR->modesend, 5);
    EXPECT_EQ(glb_DCon_DESCR->use_ssl, 1);
}

TEST_F(Directive, NumbersAreTheirLeadingDigits)
{
    const std::pair<const char*, int> cases[] = {
        {"12x", 12}, {"+7", 7}, {"-7", -7}, {"x7", 0}, {"0x10", 0}, {"--1", 0}, {"007", 7},
    };
    for (const auto& [text, number] : cases) {
        ASSERT_EQ(apply("send_mode "s + text + "\n"), 0);
        EXPECT_EQ(glb_DCon_DESCR->modesend, number) << text;
    }
}

TEST_F(Directive, NumbersStopAtTheRangeOf32Bits)
{
    const std::pair<const char*, int> cases[] = {
        {"2147483647", 2147483647},           {"2147483648", 2147483647},
        {"-2147483648", -2147483647 - 1},     {"-2147483649", -2147483647 - 1},
        {"99999999999999999999", 2147483647}, {"-99999999999999999999", -2147483647 - 1},
    };
    for (const auto& [text, number] : cases) {
        ASSERT_EQ(apply("send_mode "s + text + "\n"), 0);
        EXPECT_EQ(glb_DCon_DESCR->modesend, number) << text;
    }
}

TEST_F(Directive, SendDelayIsSignExtended)
{
    ASSERT_EQ(apply("send_msg_delay_millisec 250\n"), 0);
    EXPECT_EQ(Glb_Send_Msg_Delay_Millisec, 250U);
    ASSERT_EQ(apply("send_msg_delay_millisec -1\n"), 0);
    EXPECT_EQ(Glb_Send_Msg_Delay_Millisec, 0xFFFFFFFFFFFFFFFFU);
}

// ---- Session and replay ----------------------------------------------------------------------------------------

TEST_F(Directive, LastProcessedMessageIsTheFirstLetter)
{
    ASSERT_EQ(apply("log_last_processed_message First\n"), 0);
    EXPECT_EQ(Glb_log_last_processed_message, 'F');
}

TEST_F(Directive, SyncFilesIsOffUnlessItIsANumberButZero)
{
    ASSERT_EQ(apply(""), 0);
    EXPECT_EQ(Glb_sync_files, 0);
    ASSERT_EQ(apply("sync_files 1\n"), 0);
    EXPECT_EQ(Glb_sync_files, 1);
    ASSERT_EQ(apply("sync_files = 0\n"), 0);
    EXPECT_EQ(Glb_sync_files, 0);
}

TEST_F(Directive, SpanishComesInAnyCase)
{
    for (const char* value : {"spanish", "SPANISH", "Spanish"}) {
        Glb_Language = 0;
        ASSERT_EQ(apply("language "s + value + "\n"), 0);
        EXPECT_EQ(Glb_Language, 1) << value;
    }
}

TEST_F(Directive, EnglishComesInLowerCaseAlone)
{
    ASSERT_EQ(apply("language english\n"), 0);
    EXPECT_EQ(Glb_Language, 2);
}

TEST_F(Directive, OtherLanguagesChangeNothing)
{
    ASSERT_EQ(apply("language spanish\nlanguage ENGLISH\nlanguage English\nlanguage spanishes\n"), 0);
    EXPECT_EQ(Glb_Language, 1);
}

TEST_F(Directive, TestingFilesSwitchReplayOn)
{
    ASSERT_EQ(apply("testing_file in.log\n"), 0);
    EXPECT_EQ(Glb_run_log_testing, 1);
    EXPECT_EQ(Glb_run_log_output, 0);
    EXPECT_STREQ(Glb_logging_test_name, "in.log");
    ASSERT_EQ(apply("testing_output_file out.txt\n"), 0);
    EXPECT_EQ(Glb_run_log_testing, 0);
    EXPECT_EQ(Glb_run_log_output, 1);
    EXPECT_STREQ(Glb_logging_test_output_name, "out.txt");
}

TEST_F(Directive, ReplaySpanIsKeptAsText)
{
    ASSERT_EQ(apply("testing_start 20230115090000\ntesting_end 20230115100000\n"), 0);
    EXPECT_STREQ(Glb_logging_start, "20230115090000");
    EXPECT_STREQ(Glb_logging_end, "20230115100000");
    EXPECT_EQ(Glb_logging_end[15], 0); // a second zero, for a reader that looks one character ahead
    EXPECT_EQ(Glb_run_log_testing, 0);
}

TEST_F(Directive, RepeatedReplayTextTakesThePlaceOfTheFirst)
{
    ASSERT_EQ(apply("testing_file a\ntesting_file much_longer_than_a\ntesting_start x\ntesting_start y\n"), 0);
    EXPECT_STREQ(Glb_logging_test_name, "much_longer_than_a");
    EXPECT_STREQ(Glb_logging_start, "y");
}

TEST_F(Directive, ReplayTextsAreReleasedAndNulled)
{
    ASSERT_EQ(apply("testing_file a\ntesting_output_file b\ntesting_start c\ntesting_end d\n"), 0);
    CONF_Release_Replay_Texts();
    EXPECT_EQ(Glb_logging_test_name, nullptr);
    EXPECT_EQ(Glb_logging_test_output_name, nullptr);
    EXPECT_EQ(Glb_logging_start, nullptr);
    EXPECT_EQ(Glb_logging_end, nullptr);
    CONF_Release_Replay_Texts();
}

} // namespace
