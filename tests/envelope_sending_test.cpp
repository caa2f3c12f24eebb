#include "arrm.h"
#include "qcapi/config.h"
#include "support/hex.h"
#include "support/log_session.h"
#include "support/report_texts.h"
#include "support/taken_record.h"
#include "transport/envelope.h"
#include "transport/wsock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class EnvelopeSending : public LogSession
{
protected:
    EnvelopeSending()
    {
        std::memcpy(Glb_Local_Machine, "ABCD", 4);
        COM_sock_state = &state;
        Glb_main_connected = 1;
        glb_num_sent_msgs = 0;
        Glb_Send_Mss->Initialize();
        Start();
    }
    ~EnvelopeSending() override
    {
        COM_sock_state = nullptr;
        Glb_main_connected = 0;
        Glb_Send_Mss->Initialize();
        std::memset(Glb_Local_Machine, 0, sizeof Glb_Local_Machine);
    }
    void Send(std::string message, const char* log_text = "")
    {
        COM_Send_Pkt(message.data(), static_cast<int>(message.size()), &list, 7, log_text);
    }
    static TakenRecord Sent() { return TakeRecord(*Glb_Send_Mss); }
    // The packet of the only message of the log, behind the label and the zeros.
    std::string LoggedPacket()
    {
        const std::vector<std::string> bodies = Bodies();
        EXPECT_THAT(bodies, SizeIs(1));
        return bodies.empty() ? "" : bodies[0].substr(88);
    }

    ReportTexts reports;
    std::atomic<int> state{CONN_STATE_OPENED};
    CDestinationsList list{NORMAL_DEST};
};

TEST_F(EnvelopeSending, AMessageIsQueuedWithItsEnvelopeAndCounted)
{
    list.Add_in_PU_List("USER");
    Send("HI");
    const TakenRecord sent = Sent();
    EXPECT_EQ(sent.status, 0);
    EXPECT_EQ(ToHex(sent.data), "01001f0064000700"
                                "41424344"
                                "0a00"
                                "50550100040055534552"
                                "0500"
                                "4849"
                                "000000");
    EXPECT_EQ(glb_num_sent_msgs, 1U);
    EXPECT_THAT(Bodies(), IsEmpty());
}

TEST_F(EnvelopeSending, ADataServersListIsSentToo)
{
    list.Set_Target(DS_DEST);
    Send("HI");
    EXPECT_EQ(Sent().status, 0);
}

TEST_F(EnvelopeSending, WithoutAListItGoesToTheDataServer)
{
    char message[] = "HI";
    COM_Send_Pkt(message, 2, nullptr, 7, nullptr);
    EXPECT_EQ(ToHex(Sent().data), "010015006400070041424344000005004849000000");
}

TEST_F(EnvelopeSending, OverAConnectionThatIsNotOpenNothingHappens)
{
    for (const int other : {CONN_NO_STATE, CONN_STATE_OPENNING, CONN_STATE_CLOSING, CONN_STATE_DELETING}) {
        state = other;
        Send("HI", "label");
    }
    COM_sock_state = nullptr;
    Send("HI", "label");
    EXPECT_EQ(Sent().status, -1);
    EXPECT_EQ(glb_num_sent_msgs, 0U);
    EXPECT_THAT(Bodies(), IsEmpty());
}

TEST_F(EnvelopeSending, AListForAnotherKindOfServerIsNeitherSentNorLogged)
{
    list.Set_Target(DGI_DEST);
    Send("HI", "label");
    EXPECT_EQ(Sent().status, -1);
    EXPECT_THAT(Bodies(), IsEmpty());
}

TEST_F(EnvelopeSending, AMessageForABrokersMachineIsLoggedAndNotSent)
{
    list.Set_Target(DMDI_DEST);
    state = CONN_NO_STATE;
    Send("HI", "label");
    EXPECT_EQ(Sent().status, -1);
    EXPECT_EQ(glb_num_sent_msgs, 0U);
    const std::vector<StoredRecord> records = Records();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].source, 'B');
}

TEST_F(EnvelopeSending, BeforeTheConnectionIsKnownToStandAMessageIsLoggedAlone)
{
    Glb_main_connected = 0;
    Send("HI", "label");
    EXPECT_EQ(Sent().status, -1);
    const std::vector<StoredRecord> records = Records();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].source, 'D');
    EXPECT_EQ(records[0].priority, 0); // no extra data
    EXPECT_EQ(records[0].data_length, 21U);
    EXPECT_EQ(records[0].body.substr(0, 6), "label\0"s);
}

TEST_F(EnvelopeSending, TheLogHasTheEnvelopeFromItsDestinationsOnAndNothingOfOlderMessages)
{
    Send(std::string(100, 'x'));
    Send("HI", "label");
    EXPECT_EQ(ToHex(LoggedPacket()), "0000"
                                     "0500"
                                     "4849"
                                     "000000" +
                                         std::string(24, '0'));
}

TEST_F(EnvelopeSending, TheLongestEnvelopeIsARecordAndALongerOneIsRefused)
{
    Send(std::string(3300 - 19, 'x'));
    EXPECT_EQ(Sent().data.size(), 3300U);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    Send(std::string(3301 - 19, 'x'), "label");
    EXPECT_EQ(Sent().status, -1);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 An envelope of 3301 bytes is longer than a record of 3300 and is "
                                                 "not sent"));
    EXPECT_EQ(glb_num_sent_msgs, 1U);
}

TEST_F(EnvelopeSending, WhatFitsNoEnvelopeIsNotSent)
{
    Send(std::string(5000, 'x'), "label");
    EXPECT_EQ(Sent().status, -1);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 A message of 5000 bytes with 0 bytes of addressees doesn't fit its "
                                                 "envelope and is not sent"));
}

TEST_F(EnvelopeSending, TheSecondWayIsLikeTheFirst)
{
    char message[] = "HI";
    COM_Send_Pkt2(message, 2, &list, 7, "label");
    EXPECT_EQ(ToHex(Sent().data), "010015006400070041424344000005004849000000");
    EXPECT_EQ(glb_num_sent_msgs, 1U);
    EXPECT_EQ(LoggedPacket().size(), 21U);
}

TEST(EnvelopeReplies, GoToTheListOfTheServersKind)
{
    CDestinationsList* list = nullptr;
    COM_Get_Target_DS_List(1, &list);
    EXPECT_EQ(list, &glb_ds_dest_list_to_DGI);
    COM_Get_Target_DS_List(2, &list);
    EXPECT_EQ(list, &glb_ds_dest_list_to_DS);
    for (const int other : {0, 3, 4, -1}) {
        COM_Get_Target_DS_List(other, &list);
        EXPECT_EQ(list, &glb_ds_dest_list);
    }
}

TEST(EnvelopeIdentities, AreSingleLetters)
{
    EXPECT_STREQ(Glb_DS_Id, "D");
    EXPECT_STREQ(Glb_BR_Id, "B");
}

} // namespace
