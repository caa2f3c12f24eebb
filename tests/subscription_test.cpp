// How tables are asked for, and the count of the primary ones.
#include "tblproc/subscription.h"

#include "support/table_message_fixture.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* zero_count_line = "1 \nError. Global Reference Table End of Transmition Received, but waiting "
                                        "reference variable is zero (%d)!!!.";
constexpr const char* unregistered_line =
    "1 \nError. Global Reference Table End of Transmition Received without been registered (%d)!!!.";

std::string line(std::string text, int type)
{
    return text.replace(text.find("%d"), 2, std::to_string(type));
}

std::string request_for(unsigned code)
{
    return "888S" + TableMessage::word(code, 2) + std::string(16, '\0');
}

class Subscription : public TableMessages
{
protected:
    static void Know(int type, int code) { COMMON_Global_Codes_Add(type, code); }
};

// ---- Requests ----------------------------------------------------------------------------------------------------

TEST_F(Subscription, AsksForTheTablesOfALevelInTheOrderOfTheirCodes)
{
    Know(CITIES_CODE_ID, 25);
    Know(SUBCOMITENTE_CODE_ID, 32141);
    Know(DATAMANAGER_LIST_ID, 8);
    Know(RATES_TABLE_ID, 6917);
    Know(TABLE_CODE_ID, 14001);
    Know(FIXEDINCOMEMARKETS_TABLE_ID, 39999);
    TBLPROC_Send_Global_Tables_Subscription(1);
    const std::vector<std::string> sent = Take_Sent();
    ASSERT_EQ(sent.size(), 5U);
    EXPECT_EQ(sent[1], request_for(8));
    EXPECT_EQ(sent[2], request_for(25));
    EXPECT_EQ(sent[3], request_for(32141));
    EXPECT_EQ(sent[4], request_for(39999));
    TBLPROC_Send_Global_Tables_Subscription(2);
    EXPECT_THAT(Take_Asked_For(), ElementsAre(6917U, 14001U));
}

TEST_F(Subscription, BeginsWithARequestForTables)
{
    TBLPROC_Send_Global_Tables_Subscription(2);
    const std::vector<std::string> sent = Take_Sent();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].size(), 178U); // number, envelope, 95 bytes
    EXPECT_EQ(sent[0].substr(0, 3), "213");
    EXPECT_EQ(sent[0].substr(83), std::string(95, '\0'));
}

TEST_F(Subscription, RequestsHoldNothingOfWhatWasReceived)
{
    Know(CITIES_CODE_ID, 25);
    The_Receive_Buffer->Take(std::string(3000, 'x'));
    TBLPROC_Send_Global_Tables_Subscription(1);
    EXPECT_EQ(Take_Sent().at(1), request_for(25));
    EXPECT_EQ(std::string(Glb_cur_msg_buffer(), 3000), std::string(3000, 'x'));
}

TEST_F(Subscription, TheRangeRecordThatAsksIsNotInTheRequests)
{
    Know(CITIES_CODE_ID, 25);
    Receive({.letter = 'g',
             .code = 77,
             .idx = 78,
             .data = "lowehighMX",
             .crc32 = 79,
             .environment = 80,
             .rec_num = 81,
             .flags = 82});
    EXPECT_EQ(Take_Sent().at(1), request_for(25));
}

TEST_F(Subscription, SeveralCodesOfATypeAreAskedForEach)
{
    Know(VOICE_GROUP_CODE_ID, 31);
    Know(VOICE_GROUP_CODE_ID, 36);
    TBLPROC_Send_Global_Tables_Subscription(1);
    EXPECT_THAT(Take_Asked_For(), ElementsAre(31U, 36U));
}

TEST_F(Subscription, CodesOfNoTableAreNotAskedFor)
{
    Know(24, 50);
    Know(39999, 51);
    Know(CITIES_CODE_ID, 0);
    TBLPROC_Send_Global_Tables_Subscription(1);
    TBLPROC_Send_Global_Tables_Subscription(2);
    EXPECT_THAT(Take_Asked_For(), IsEmpty());
}

TEST_F(Subscription, TablesThatHaveRecordsAreAskedForByHash)
{
    Know(CITIES_CODE_ID, 25);
    world.Put(Glb_City_Table, 1, {});
    TBLPROC_Send_Global_Tables_Subscription(1);
    EXPECT_THAT(Take_Sent().at(1), ::testing::StartsWith("888Q\x19"));
}

TEST_F(Subscription, CodesOfTheRowsStayAsTheyAre)
{
    Know(USER_CODE_ID, 24);
    Know(VOICE_GROUP_CODE_ID, 31);
    TBLPROC_Send_Global_Tables_Subscription(1);
    EXPECT_EQ(TBLEQUIV_Row(USER_CODE_ID).code, 0);
    EXPECT_EQ(TBLEQUIV_Row(VOICE_GROUP_CODE_ID).code, 0);
}

TEST_F(Subscription, WithoutASessionNothingIsQueued)
{
    qapi::Close_Session();
    Know(CITIES_CODE_ID, 25);
    TBLPROC_Send_Global_Tables_Subscription(1);
    EXPECT_THAT(Take_Sent(), IsEmpty());
}

TEST_F(Subscription, TheOlderFormAsksForAllTablesWithTheServersFirst)
{
    Know(CITIES_CODE_ID, 25);
    Know(RATES_TABLE_ID, 6917);
    Know(DATAMANAGER_LIST_ID, 8);
    Know(RATES_TABLE_ID, 55);
    TBLPROC_Send_Global_Tables_Subscription();
    const std::vector<std::string> sent = Take_Sent();
    ASSERT_EQ(sent.size(), 6U);
    EXPECT_EQ(sent[0].substr(0, 3), "213");
    EXPECT_EQ(sent[1], request_for(8));
    EXPECT_EQ(sent[2], request_for(25));
    EXPECT_EQ(sent[3], request_for(6917));
    EXPECT_EQ(sent[4], request_for(55));
    EXPECT_EQ(sent[5], request_for(81));
}

TEST_F(Subscription, TheOlderFormAsksByHashToo)
{
    Know(VOICE_GROUP_CODE_ID, 31);
    world.Put(Glb_IntVoiceGroup_Table, 1, {});
    TBLPROC_Send_Global_Tables_Subscription();
    const std::vector<std::string> sent = Take_Sent();
    ASSERT_EQ(sent.size(), 5U);
    EXPECT_EQ(sent[2].substr(0, 8), std::string("888Q\x1F\0\x01\0", 8));
    EXPECT_EQ(TBLEQUIV_Row(VOICE_GROUP_CODE_ID).code, 0) << "the row's code stays as it is";
    Receive({.letter = 'L', .code = 31});
    EXPECT_EQ(Take_Sent().at(0).substr(0, 8), std::string("888P\x1F\0\0\0", 8));
}

TEST_F(Subscription, TheOlderFormCountsNothing)
{
    Know(CITIES_CODE_ID, 25);
    TBLPROC_Register_Ref_Table(CITIES_CODE_ID);
    TBLPROC_Send_Global_Tables_Subscription();
    TBLPROC_Check_Referenced_Table(CITIES_CODE_ID);
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
}

// ---- The count ---------------------------------------------------------------------------------------------------

TEST_F(Subscription, TheLastPrimaryTablesEndIsPostedWithTheConnection)
{
    Know(CITIES_CODE_ID, 25);
    Know(COUNTRIES_CODE_ID, 26);
    Know(MARKETS_CODE_ID, 27);
    TBLPROC_Send_Global_Tables_Subscription(1);
    Receive({.letter = 'z', .code = 26});
    Receive({.letter = 'z', .code = 27});
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
    Receive({.letter = 'z', .code = 25});
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Subscription, ATypeIsAwaitedOnceForEachOfItsCodes)
{
    Know(VOICE_GROUP_CODE_ID, 31);
    Know(VOICE_GROUP_CODE_ID, 36);
    TBLPROC_Send_Global_Tables_Subscription(1);
    Receive({.letter = 'z', .code = 31});
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
    Receive({.letter = 'z', .code = 31});
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
}

TEST_F(Subscription, ThePrimaryLevelStartsTheCountAgain)
{
    Know(CITIES_CODE_ID, 25);
    TBLPROC_Register_Ref_Table(MARKETS_CODE_ID);
    TBLPROC_Register_Ref_Table(CITIES_CODE_ID);
    TBLPROC_Send_Global_Tables_Subscription(1);
    TBLPROC_Check_Referenced_Table(CITIES_CODE_ID);
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
}

TEST_F(Subscription, TheSecondaryLevelCountsNothing)
{
    Know(RATES_TABLE_ID, 6917);
    TBLPROC_Register_Ref_Table(CITIES_CODE_ID);
    TBLPROC_Send_Global_Tables_Subscription(2);
    Receive({.letter = 'z', .code = 6917});
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    TBLPROC_Check_Referenced_Table(CITIES_CODE_ID);
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
}

TEST_F(Subscription, EndWhileNoneIsAwaitedIsReported)
{
    TBLPROC_Check_Referenced_Table(CITIES_CODE_ID);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(line(zero_count_line, 9)));
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
}

TEST_F(Subscription, EndOfATableThatIsNotAwaitedIsReportedAndCountsNothing)
{
    TBLPROC_Register_Ref_Table(CITIES_CODE_ID);
    TBLPROC_Check_Referenced_Table(MARKETS_CODE_ID);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(line(unregistered_line, 10)));
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
    TBLPROC_Check_Referenced_Table(CITIES_CODE_ID);
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Subscription, SecondaryTablesAndNoTypesEndInSilence)
{
    for (const int type : {0, 1, 16, 17, 24, 39999, -1}) {
        TBLPROC_Check_Referenced_Table(type);
    }
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
}

TEST_F(Subscription, NoTypesAreNotAwaited)
{
    for (const int type : {24, 39999, -1}) {
        TBLPROC_Register_Ref_Table(type);
    }
    TBLPROC_Register_Ref_Table(CITIES_CODE_ID);
    TBLPROC_Check_Referenced_Table(CITIES_CODE_ID);
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
}

TEST_F(Subscription, AResetForgetsWhatWasAwaited)
{
    TBLPROC_Register_Ref_Table(CITIES_CODE_ID);
    TBLPROC_Reset_Primary_Tables_Check();
    TBLPROC_Check_Referenced_Table(CITIES_CODE_ID);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(line(zero_count_line, 9)));
    TBLPROC_Register_Ref_Table(MARKETS_CODE_ID);
    TBLPROC_Check_Referenced_Table(CITIES_CODE_ID);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(line(unregistered_line, 9)));
}

TEST_F(Subscription, TheReaderMeetsTheMarkBehindWhatWaitsAlready)
{
    TBLPROC_Register_Ref_Table(CITIES_CODE_ID);
    Glb_Recv_Mss->Collect(TCP_STATUS_PACKET_RECEIVED, "111", 3, "D", nullptr);
    TBLPROC_Check_Referenced_Table(CITIES_CODE_ID);
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value()); // the message
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
}

} // namespace
