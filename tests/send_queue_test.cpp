// The last step of a message: stamp, envelope, log, queue. Every kind byte for byte.
#include "calclib/calclib.h"
#include "qcapi/config.h"
#include "qcapi/support.h"
#include "records/envelope_template.h"
#include "records/orders.h"
#include "records/prices.h"
#include "records/session.h"
#include "session/session_state.h"
#include "support/hex.h"
#include "support/outbound_fixture.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// A message of any number: 83 bytes, the envelope in it filled with '#'.
class Message : public CMsgNextLogReq
{
public:
    explicit Message(int number)
    {
        std::memset(m_data + 3, '#', 80);
        (*this)[MSG_NUMBER_FIELD] = number;
    }
};

class SendQueue : public OutboundTest
{
protected:
    static void Put_Number(int number)
    {
        Message message(number);
        Put(message);
    }
    static std::string Template() { return {reinterpret_cast<const char*>(&glb_cabeza_dfn), 82}; }
    static std::string Connection_Of(const TakenRecord& record) { return record.extra.substr(0, 4); }
};

// ---- Every kind

struct Row
{
    int number;
    const char* label;
    bool is_stamped;
    int running_number;
    const char* receivers; // codes of four letters
};

constexpr std::array<Row, 17> rows{{
    {111, "SO-Order message sent", false, 0, "DM01DM02"},
    {113, "SO-Order message sent", false, 0, "DM01DM02"},
    {121, "SO-Order message sent", false, 0, "DM01DM02"},
    {133, "SU-Tarnel [Wh] message sent", true, 1, "DM01DM02"},
    {134, "SU-Tarnel [Wh] message sent", true, 1, "DM01DM02"},
    {201, "SM-Machine logging sent", true, 0, "DSAB"},
    {202, "SR-Connection close sent", true, 0, "DSAB"},
    {203, "SM-Asking for log", true, 0, "DSAB"},
    {204, "SM-Initiating log sending", true, 0, "DSAB"},
    {205, "SM-Ending log sending", true, 0, "DSAB"},
    {213, "ST-Asking table sent", true, 0, "DSAB"},
    {214, "ST-End Asking table sent", true, 0, "DSAB"},
    {252, "SM-Asking for next log", true, 0, "DSAB"},
    {253, "SV-Version information sent", true, 0, "DSAB"},
    {575, "SC-Chat message sent", true, 0, "DSAB"},
    {865, "SD-DataManager list sent", true, 0, "DSAB"},
    {888, "ST-Table record sent", false, 0, "DSAB"},
}};

class SendQueueRow : public SendQueue, public testing::WithParamInterface<Row>
{
protected:
    SendQueueRow()
    {
        Add_Data_Managers("DM01DM02", 2);
        Put_Number(GetParam().number);
    }
    static std::string Expected()
    {
        const Row& row = GetParam();
        const std::string cabeza =
            row.is_stamped ? Stamped(static_cast<unsigned>(row.running_number)) : std::string(80, '#');
        return Framed(Primary_Users(row.receivers), std::to_string(row.number) + cabeza);
    }
};

INSTANTIATE_TEST_SUITE_P(All, SendQueueRow, testing::ValuesIn(rows),
                         [](const auto& row) { return "Of" + std::to_string(row.param.number); });

TEST_P(SendQueueRow, LeavesByteForByte)
{
    const TakenRecord sent = Sent();
    EXPECT_EQ(sent.status, 0);
    EXPECT_EQ(ToHex(sent.data), ToHex(Expected()));
    EXPECT_EQ(sent.source, nullptr);
    EXPECT_EQ(sent.extra, "\5"s + std::string(19, '\0'));
    EXPECT_FALSE(Is_Any_Sent());
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_P(SendQueueRow, StandsInTheLogUnderItsLabel)
{
    EXPECT_THAT(Bodies(), ElementsAre(Padded(GetParam().label, 88) + Expected()));
}

TEST_P(SendQueueRow, IsToldToTheLogThreadIfItIsPersistent)
{
    TakeRecord(*Glb_Log_Mss); // the log's own
    const TakenRecord told = TakeRecord(*Glb_Log_Mss);
    if (GetParam().running_number == 0) {
        EXPECT_EQ(told.status, -1);
        return;
    }
    EXPECT_EQ(told.status, 24);
    EXPECT_EQ(told.data, Expected());
    EXPECT_EQ(told.extra, "\1"s + std::string(19, '\0'));
    EXPECT_EQ(TakeRecord(*Glb_Log_Mss).status, -1);
}

class SendQueueOther : public SendQueue, public testing::WithParamInterface<int>
{
};

INSTANTIATE_TEST_SUITE_P(All, SendQueueOther,
                         testing::Values(112, 87, 176, 177, 300, 132, 291, 114, 879, 116, 153, 869, 0, 999));

TEST_P(SendQueueOther, GoesNowhereWithoutAWord)
{
    Message message(GetParam());
    const std::string before = Bytes_Of(message);
    Put(message);
    EXPECT_FALSE(Is_Any_Sent());
    EXPECT_THAT(Bodies(), IsEmpty());
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    EXPECT_EQ(Bytes_Of(message), before);
}

// ---- Stamp

TEST_F(SendQueue, AMessageIsWhatItsLayoutSays)
{
    Put_Number(252);
    EXPECT_EQ(ToHex(Sent().data), "0100700064003c00"
                                  "4c303031"
                                  "0a00"
                                  "50550100040044534142"
                                  "5600"
                                  "323532"
                                  "4c303031"
                                  "00000000"
                                  "4142"
                                  "0000000000000000"
                                  "00"
                                  "55370000"
                                  "303933303035"
                                  "3230323631313230"
                                  "000000000000000000000000000000"
                                  "42524e4348310000"
                                  "0000000000000000000000000000000000000000"
                                  "000000");
}

TEST_F(SendQueue, TheStampIsThatOfTheMoment)
{
    system.advance_seconds(3600 * 24);
    Put_Number(214);
    EXPECT_EQ(Sent_Message().substr(3 + 23, 14), "09300520261121");
}

TEST_F(SendQueue, AMessageWithoutARowStampsTheTemplateAllTheSame)
{
    Put_Number(112);
    EXPECT_EQ(Template(), Stamped() + "\0\0"s);
}

TEST_F(SendQueue, ATableRecordLeavesTheTemplateAlone)
{
    const std::string before = Template();
    system.advance_seconds(1);
    Put_Number(888);
    EXPECT_EQ(Template(), before);
}

TEST_F(SendQueue, WhatWasReadOfTheEnvelopeIsReadAnew)
{
    Message message(214);
    EXPECT_EQ(message[MSG_NUMBER_FIELD] == 214, true);
    CMsgOrder order;
    order[MSG_NUMBER_FIELD] = 133;
    EXPECT_EQ(static_cast<unsigned>(order[NUMERO_REMITENTE]), 0U);
    Put(order);
    EXPECT_EQ(static_cast<unsigned>(order[NUMERO_REMITENTE]), 1U);
}

TEST_F(SendQueue, TheTemplateStartsWithWhatStaysTheSame)
{
    std::memset(static_cast<void*>(&glb_cabeza_dfn), '#', sizeof glb_cabeza_dfn);
    Glb_last_sent_message_num = 3;
    COMMON_Init();
    EXPECT_EQ(Template(), "L001"s + std::string(4, '\0') + "AB" + std::string(9, '\0') + Padded("U7", 4) +
                              std::string(29, '\0') + Padded("BRNCH1", 8) + std::string(22, '\0'));
    EXPECT_EQ(Glb_last_sent_message_num, 0U);
    EXPECT_EQ(Session_Connection(), 0U);
}

TEST_F(SendQueue, TheBranchFillsItsEightBytes)
{
    std::memcpy(Gbl_Branch_Code, "BRANCH78", 8);
    COMMON_Init();
    EXPECT_EQ(Template().substr(51, 10), "\0BRANCH78\0"s);
}

TEST_F(SendQueue, TheStartSetsThePrecisionOfDecimals)
{
    calc_set_precision(10, 2);
    COMMON_Init();
    EXPECT_EQ(GMNtInt, 16);
    EXPECT_EQ(GMNtDec, 8);
}

// ---- Running numbers

TEST_F(SendQueue, TradesAreNumberedAndNothingElseIs)
{
    std::vector<std::string> numbers;
    for (const int number : {133, 214, 134, 888, 111, 133}) {
        Put_Number(number);
        numbers.push_back(Sent_Message().substr(0, 3 + 18).erase(3, 10));
    }
    EXPECT_THAT(numbers, ElementsAre("133\1\0\0\0\1\0\0\0"s, "214"s + std::string(8, '\0'), "134\2\0\0\0\2\0\0\0"s,
                                     "888########", "111########", "133\3\0\0\0\3\0\0\0"s));
}

TEST_F(SendQueue, NumbersGoOnAfterAMessageOfYesterday)
{
    COMMON_Adjust_Time(0);
    Put_Number(133);
    COMMON_Put_Last_Sent_Date("20261119");
    COMMON_Adjust_Time(0);
    Put_Number(133);
    EXPECT_EQ(Glb_last_sent_message_num, 2U);
}

TEST_F(SendQueue, NumbersStartAgainOnTheNextDay)
{
    COMMON_Adjust_Time(0);
    Put_Number(133);
    system.advance_seconds(3600 * 24);
    COMMON_Adjust_Time(0);
    Put_Number(133);
    EXPECT_EQ(Glb_last_sent_message_num, 1U);
}

// ---- Orders

class Orders : public SendQueue
{
protected:
    static std::string Groups(CDestinationsList* addressees)
    {
        CMsgOrder order;
        Put(order, addressees);
        const std::string data = Sent().data;
        return data.substr(14, data.size() - 19 - 1504);
    }

    CDestinationsList addressees{NORMAL_DEST};
};

TEST_F(Orders, HaveTheLengthOfTheirRecord)
{
    CMsgOrder order;
    EXPECT_EQ(order.m_data_len, 1504);
    Put(order);
    EXPECT_EQ(Sent().data.size(), 1504U + 19);
}

TEST_F(Orders, GoToAddresseesAndDataManagers)
{
    Add_Data_Managers("DM01", 1);
    addressees.Add_in_PU_List("USER");
    addressees.Add_in_Branch_List("BRANCH12");
    addressees.Add_in_Gen_To_List("XYname", 0);
    EXPECT_EQ(Groups(&addressees), "PU\2\0\4\0USERDM01"
                                   "SU\1\0\10\0BRANCH12"
                                   "XY\1\0\4\0name"s);
    EXPECT_EQ(*addressees.Get_Numbers(), 0);
    EXPECT_EQ(addressees.Get_Gen_Adress_Len(), 0);
}

TEST_F(Orders, WithoutAddresseesGoToTheDataManagers)
{
    Add_Data_Managers("DM01DM02", 2);
    addressees.Add_in_PU_List("USER");
    Groups(&addressees);
    EXPECT_EQ(Groups(&addressees), Primary_Users("DM01DM02")); // nothing of the order before
    EXPECT_EQ(Groups(nullptr), Primary_Users("DM01DM02"));
}

TEST_F(Orders, WithoutAnybodyGoToNobody)
{
    EXPECT_EQ(Groups(&addressees), "");
}

TEST_F(Orders, ReachADataManagerThatIsAnAddresseeOnce)
{
    Add_Data_Managers("DM01DM02", 2);
    addressees.Add_in_PU_List("DM02");
    EXPECT_EQ(Groups(&addressees), Primary_Users("DM02DM01"));
}

TEST_F(Orders, LeaveOutTheGroupsThatFindNoRoom)
{
    std::string branch = "B0000000";
    for (int i = 0; i < 300; ++i) {
        std::memcpy(branch.data() + 1, std::to_string(1000 + i).data(), 4);
        addressees.Add_in_Branch_List(branch.data());
    }
    Add_Data_Managers("DM01", 1);
    addressees.Add_in_Instit_List("BANK");
    addressees.Add_in_Gen_To_List("XYname", 0);
    addressees.Add_in_Exclude_List("NOT1");
    addressees.Add_in_Group_List("GROUP123");
    CMsgOrder order;
    order[USUARIO] = "user";
    Put(order, &addressees);
    EXPECT_EQ(Sent().data, Framed("PU\1\0\4\0DM01"
                                  "XP\1\0\4\0NOT1"
                                  "IN\1\0\4\0BANK"
                                  "GR\1\0\10\0GROUP123"
                                  "XY\1\0\4\0name"s,
                                  Bytes_Of(order)));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Size of generic destination in a message has been exceeded."));
}

// 3300 bytes less 19 of the envelope less 1504: 1777 for groups, of which 6 are the head of each.
TEST_F(Orders, GroupsMayFillTheRecordToItsLastByte)
{
    std::string branch = "B0000000";
    for (int i = 0; i < 160; ++i) {
        std::memcpy(branch.data() + 1, std::to_string(1000 + i).data(), 4);
        addressees.Add_in_Branch_List(branch.data()); // 1286 bytes
    }
    for (int i = 0; i < 84; ++i) {
        addressees.Add_in_Instit_List(std::to_string(1000 + i).data()); // 342 bytes
    }
    addressees.Add_in_Gen_To_List(("XY" + std::string(143, 'x')).data(), 0); // 149 bytes
    EXPECT_EQ(Groups(&addressees).size(), 1777U);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

// ---- Chat

TEST_F(SendQueue, AChatIsCutToWhatARecordHolds)
{
    CMsgChat chat;
    std::memset(chat.m_data + 83, 'c', 3740);
    Put(chat);
    const TakenRecord sent = Sent();
    EXPECT_EQ(sent.data, Framed(to_server, "575" + Stamped() + std::string(3271 - 83, 'c')));
    EXPECT_EQ(sent.data.size(), 3300U);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 A sent message is longer with 552 than the maximum allowed"));
}

TEST_F(SendQueue, AChatThatLosesNothingButZerosIsCutWithoutAWord)
{
    CMsgChat chat;
    std::memset(chat.m_data + 83, 'c', 3271 - 83);
    Put(chat);
    EXPECT_EQ(Sent().data.size(), 3300U);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    chat.m_data[3271] = 'c';
    Put(chat);
    EXPECT_EQ(ReportTexts::Take().size(), 1U);
}

TEST_F(SendQueue, AddresseesOfAnythingButAnOrderAreNotLookedAt)
{
    CDestinationsList addressees{NORMAL_DEST};
    addressees.Add_in_PU_List("USER");
    Message message(214);
    Put(message, &addressees);
    EXPECT_EQ(Sent().data, Framed(to_server, "214" + Stamped()));
}

// ---- Servers

TEST_F(SendQueue, TheChosenServerIsStampedAndAddressed)
{
    Choose_Server(1);
    EXPECT_EQ(*glb_ds_dest, glb_dss[1]);
    Put_Number(214);
    EXPECT_EQ(Sent().data, Framed(Primary_Users("DSCD"), "214" + Stamped(0, "CD")));
}

TEST_F(SendQueue, TheServersCodeIsInTheTemplateAtOnce)
{
    Choose_Server(1);
    EXPECT_EQ(Template().substr(8, 2), "CD");
}

TEST_F(SendQueue, AServerBehindTheListIsTheLastOne)
{
    for (const unsigned host : {2U, 36U, ~0U}) {
        Choose_Server(0);
        Choose_Server(host);
        EXPECT_EQ(*glb_ds_dest, glb_dss[1]);
    }
    glb_dss_counter = 0;
    Choose_Server(7);
    EXPECT_EQ(*glb_ds_dest, glb_dss[0]);
    glb_dss_counter = 1000;
    Choose_Server(~0U);
    EXPECT_EQ(*glb_ds_dest, glb_dss[35]);
    Put_Number(214); // an entry without a code is addressed to nobody
    EXPECT_EQ(Sent().data, Framed("", "214" + Stamped(0, "\0\0"s)));
}

// ---- Sessions

TEST_F(SendQueue, WithoutASessionAMessageIsStampedAndLoggedAndDropped)
{
    Close_Session();
    Put_Number(214);
    EXPECT_FALSE(Is_Any_Sent());
    EXPECT_THAT(Bodies(), ElementsAre(Padded("ST-End Asking table sent", 88) + Framed(to_server, "214" + Stamped())));
}

TEST_F(SendQueue, WithoutASessionTheNumbersOfTradesGoOn)
{
    Close_Session();
    Put_Number(133);
    Open_Session(6, nullptr);
    Put_Number(133);
    EXPECT_EQ(Sent().data, Framed("", "133" + Stamped(2)));
    EXPECT_FALSE(Is_Any_Sent());
    Close_Session();
    Glb_Log_Mss->Initialize();
    Put_Number(133);
    TakeRecord(*Glb_Log_Mss); // the log's own
    EXPECT_EQ(TakeRecord(*Glb_Log_Mss).status, -1);
}

TEST_F(SendQueue, ALoginIsTheFirstRecordOfItsConnection)
{
    Close_Session();
    Put_Number(214);
    CMsgLogin login;
    Open_Session(0x01020304, &login);
    EXPECT_EQ(Session_Connection(), 0x01020304U);
    Put_Number(214);
    const TakenRecord first = Sent();
    EXPECT_EQ(first.data, Framed(to_server, "201" + Stamped() + std::string(435, '\0')));
    EXPECT_EQ(Connection_Of(first), "\4\3\2\1");
    const TakenRecord second = Sent();
    EXPECT_EQ(second.data, Framed(to_server, "214" + Stamped()));
    EXPECT_EQ(Connection_Of(second), "\4\3\2\1");
}

TEST_F(SendQueue, AClosedSessionHasNoConnection)
{
    EXPECT_EQ(Session_Connection(), 5U);
    Close_Session();
    EXPECT_EQ(Session_Connection(), 0U);
}

TEST_F(SendQueue, TheOfflineMessageTellsMachineAndUser)
{
    Add_Data_Managers("DM01", 1);
    Send_Offline();
    EXPECT_EQ(Sent().data, Framed(to_server, "202" + Stamped() + "L001" + "\0"s + Padded("Maria", 11)));
    EXPECT_EQ(*glb_work_dest_list_to_DS.Get_Numbers(), 1);
}

} // namespace
