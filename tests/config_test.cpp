#include "support/config_fixture.h"

#include "arrm.h"

#include <string>

using namespace std::string_literals;

namespace {

class Config : public ConfigFixture
{
protected:
    [[nodiscard]] static std::string password() { return Glb_User_Key; }
};

// ---- The file --------------------------------------------------------------------------------------------------

TEST_F(Config, MissingFileIsCode2AndNamesItsPath)
{
    EXPECT_EQ(CONF_Read_File("/nowhere/qapi.cfg", error), 2);
    EXPECT_EQ(error, "Config file /nowhere/qapi.cfg does not exist");
}

TEST_F(Config, FileThatCannotBeOpenedIsCode2)
{
    directory.write("file", "");
    EXPECT_EQ(CONF_Read_File(path("file/qapi.cfg").c_str(), error), 2);
}

TEST_F(Config, DirectoryInItsPlaceHasNoLines)
{
    EXPECT_EQ(CONF_Read_File(directory.path().c_str(), error), 21);
    EXPECT_EQ(error, "There is no \"data_server\" directive in the config file");
}

TEST_F(Config, EmptyFileIsCode21)
{
    EXPECT_EQ(read(""), 21);
    EXPECT_EQ(error, "There is no \"data_server\" directive in the config file");
}

TEST_F(Config, FileWithoutDataServerIsAppliedAndIsCode21)
{
    EXPECT_EQ(read("password Secret\n"), 21);
    EXPECT_EQ(password(), "Secret");
}

TEST_F(Config, OneDataServerIsEnough)
{
    EXPECT_EQ(read("data_server DS01\n"), 0);
    EXPECT_EQ(error, "");
}

TEST_F(Config, ErrorTextIsCutAt199Characters)
{
    const std::string long_path = "/nowhere/" + std::string(300, 'x');
    EXPECT_EQ(CONF_Read_File(long_path.c_str(), error), 2);
    EXPECT_EQ(error, ("Config file " + long_path).substr(0, 199));
}

// ---- Lines -----------------------------------------------------------------------------------------------------

TEST_F(Config, KeywordIsFoldedAndValueKeepsItsCase)
{
    EXPECT_EQ(apply("PassWord SeCret\n"), 0);
    EXPECT_EQ(password(), "SeCret");
}

TEST_F(Config, BlanksTabsAndReturnsSeparate)
{
    EXPECT_EQ(apply(" \t password\t \tSecret \r\n"), 0);
    EXPECT_EQ(password(), "Secret");
}

TEST_F(Config, EqualsMayStandAloneBeforeTheValue)
{
    EXPECT_EQ(apply("password = Secret\n"), 0);
    EXPECT_EQ(password(), "Secret");
}

TEST_F(Config, WhatIsGluedToEqualsIsLost)
{
    EXPECT_EQ(apply("password =Lost Secret\n"), 0);
    EXPECT_EQ(password(), "Secret");
    EXPECT_EQ(apply("password =Lost\n"), 3);
    EXPECT_EQ(error, "Config file has incorrect line 2");
}

TEST_F(Config, EqualsGluedToTheKeywordIsPartOfIt)
{
    EXPECT_EQ(apply("password= Secret\n"), 0);
    EXPECT_EQ(password(), "");
}

TEST_F(Config, EqualsWithinTheValueStays)
{
    EXPECT_EQ(apply("password a=b\n"), 0);
    EXPECT_EQ(password(), "a=b");
}

TEST_F(Config, KeywordWithoutValueStopsTheReading)
{
    EXPECT_EQ(read("data_server DS01\npassword\nuser_name Late\n"), 3);
    EXPECT_EQ(error, "Config file has incorrect line 2");
    EXPECT_STREQ(Gbl_User_Name, "");
}

TEST_F(Config, WhatWasAppliedBeforeABadLineStays)
{
    EXPECT_EQ(read("user_name Early\ndata_server DS01\npassword\n"), 3);
    EXPECT_EQ(error, "Config file has incorrect line 3");
    EXPECT_STREQ(Gbl_User_Name, "Early");
    EXPECT_EQ(glb_dss_counter, 1);
}

TEST_F(Config, BadLineComesBeforeTheMissingDataServer)
{
    EXPECT_EQ(read("password\n"), 3);
}

TEST_F(Config, BlankLinesAreSkippedAndCounted)
{
    EXPECT_EQ(apply("\n  \t \n\r\npassword\n"), 3);
    EXPECT_EQ(error, "Config file has incorrect line 5");
}

TEST_F(Config, LoneHashIsAComment)
{
    EXPECT_EQ(apply("# password Secret\n#\n  #\n"), 0);
    EXPECT_EQ(password(), "");
}

TEST_F(Config, GluedHashIsAnUnknownKeyword)
{
    EXPECT_EQ(apply("#password Secret\n"), 0);
    EXPECT_EQ(password(), "");
    EXPECT_EQ(apply("#password\n"), 3);
}

TEST_F(Config, UnknownKeywordWithAValueIsIgnored)
{
    EXPECT_EQ(apply("colour blue\n"), 0);
    EXPECT_TRUE(reports.empty());
}

TEST_F(Config, UnknownKeywordWithoutAValueIsCode3)
{
    EXPECT_EQ(apply("colour\n"), 3);
    EXPECT_EQ(error, "Config file has incorrect line 2");
}

TEST_F(Config, LastLineWithoutNewlineCounts)
{
    EXPECT_EQ(apply("password Secret"), 0);
    EXPECT_EQ(password(), "Secret");
    EXPECT_EQ(apply("password"), 3);
}

TEST_F(Config, LineAbove1023CharactersGoesOnAsTheNext)
{
    const std::string comment = "# " + std::string(1021, 'x');
    EXPECT_EQ(read(comment + "data_server DS01\npassword\n"), 3);
    EXPECT_EQ(error, "Config file has incorrect line 3");
    EXPECT_EQ(bytes_of(glb_dss[0], 4), "DS01");
}

TEST_F(Config, LineOf1023CharactersWithItsNewlineIsOneLine)
{
    const std::string comment = "# " + std::string(1020, 'x') + "\n";
    EXPECT_EQ(read(comment + "data_server DS01\npassword\n"), 3);
    EXPECT_EQ(error, "Config file has incorrect line 3");
}

TEST_F(Config, NulEndsTheTextOfItsLine)
{
    EXPECT_EQ(apply("password Sec\0ret\nuser_name Ann\n"s), 0);
    EXPECT_EQ(password(), "Sec");
    EXPECT_STREQ(Gbl_User_Name, "Ann");
    EXPECT_EQ(apply("password \0Secret\n"s), 3);
}

TEST_F(Config, LineThatBeginsWithNulIsBlank)
{
    EXPECT_EQ(apply("\0password\n"s), 0);
}

// ---- The running log -------------------------------------------------------------------------------------------

TEST_F(Config, EachLineIsLoggedAsRead)
{
    EXPECT_EQ(read("data_server DS01\n\n# Note = %d %s\nPASSWORD\t= Se"), 0);
    EXPECT_TRUE(logged("ER-Conf-line 1: data_server DS01\n"));
    EXPECT_TRUE(logged("ER-Conf-line 2: \n"));
    EXPECT_TRUE(logged("ER-Conf-line 3: # Note = %d %s\n"));
    EXPECT_TRUE(logged("ER-Conf-line 4: PASSWORD\t= Se\n"));
}

TEST_F(Config, BadLineIsTheLastOneLogged)
{
    EXPECT_EQ(apply("password\nuser_name Late\n"), 3);
    EXPECT_TRUE(logged("Conf-line 2: password"));
    EXPECT_FALSE(logged("Conf-line 3"));
}

// No log thread runs while the configuration is read.
TEST_F(Config, LongFileDoesNotPileUpInTheRing)
{
    const int slots = Glb_Log_Mss->Get_Total_Num_Records();
    std::string text;
    for (int line = 2; line < 1000; ++line) {
        text += "# Line\ntable_code 1 unknown\n";
    }
    EXPECT_EQ(apply(text), 0);
    EXPECT_EQ(Glb_Log_Mss->Get_Total_Num_Records(), slots);
    EXPECT_EQ(Glb_Log_Mss->Get_Total_Pending(), 0U);
}

// ---- Read again, at the next login -------------------------------------------------------------------------------

TEST_F(Config, SecondReadingGivesTheSameResult)
{
    const std::string text = "data_server DS01\ndata_server DS02\npassword Secret\ntransaction_feed 1\n"
                             "testing_file in\ntesting_output_file out\ntesting_start a\ntesting_end b\n"
                             "table_code 31 Posturas_Vigentes\n";
    for (int reading = 0; reading < 2; ++reading) {
        EXPECT_EQ(read(text), 0);
        EXPECT_EQ(glb_dss_counter, 2);
        EXPECT_EQ(bytes_of(glb_dss[1], 4), "DS02");
        EXPECT_STREQ(Glb_logging_test_name, "in");
        EXPECT_EQ(Glb_access_tables[0].table_code, 31);
        EXPECT_EQ(Glb_access_tables[1].table_code, 0);
    }
}

TEST_F(Config, ReadingForgetsServersReplayAndTablesOfTheOneBefore)
{
    EXPECT_EQ(apply("testing_file in\ntesting_output_file out\ntesting_start 2025\ntesting_end 2026\ntable_code 31 "
                    "Posturas_Vigentes\ntarnel_feed 1\n"),
              0);
    EXPECT_EQ(read("data_server DS09\n"), 0);
    EXPECT_EQ(glb_dss_counter, 1);
    EXPECT_EQ(bytes_of(glb_dss[0], 4), "DS09");
    EXPECT_EQ(Glb_run_log_testing, 0);
    EXPECT_EQ(Glb_run_log_output, 0);
    EXPECT_EQ(Glb_logging_start, nullptr);
    EXPECT_EQ(Glb_logging_end, nullptr);
    EXPECT_EQ(Glb_access_tables[0].table_type, 0);
    EXPECT_EQ(gbl_code_table_type[8], 0);
    EXPECT_EQ(Glb_subscribed_code_table_id[5], 0U);
}

TEST_F(Config, MissingFileForgetsThemToo)
{
    EXPECT_EQ(apply("testing_file in\n"), 0);
    EXPECT_EQ(CONF_Read_File("/nowhere/qapi.cfg", error), 2);
    EXPECT_EQ(glb_dss_counter, 0);
    EXPECT_EQ(Glb_run_log_testing, 0);
}

TEST_F(Config, SubscribedMessagesAndMarketsOfAnEarlierReadingStay)
{
    EXPECT_EQ(apply("tarnel_feed 1\nuse_msg_code 113 in markets 7\n"), 0);
    EXPECT_EQ(apply("use_msg_code 113 in markets 8\n"), 0);
    EXPECT_EQ(Glb_suscribed_message[133], 1);
    EXPECT_EQ(Glb_markets_code_counter, 2);
    EXPECT_EQ(Glb_Markets_Code[0], 7);
    EXPECT_EQ(Glb_Markets_Code[1], 8);
}

} // namespace
