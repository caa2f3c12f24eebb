// What a host sends: the way of a message from InitMessage to the ring.
#include "arrm.h"
#include "outbound/addressing.h"
#include "outbound/composed.h"
#include "qcapi/config.h"
#include "qcapi/qcapi.h"
#include "reader/taken_record.h"
#include "support/outbound_fixture.h"
#include "support/recording_host.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* too_long = "1 Size of generic destination in a message has been exceeded.";

class SendMessageTest : public OutboundTest
{
protected:
    SendMessageTest() { CQcApi::initialize_flag = QAPI_INITIALIZED; } // the object has put it back
    ~SendMessageTest() override
    {
        CQcApi::initialize_flag = QAPI_NOT_INITIALIZED; // so that the host has nothing to stop
        Glb_markets_code_counter = 0;
        Glb_Send_Msg_Delay_Millisec = 0;
    }

    int Init(std::string name) { return host.InitMessage(name.data()); }
    int Set_Market(long market, std::string name = "Orden_Transaccion")
    {
        return host.SetFieldLONG(name.data(), std::string("mercado").data(), market);
    }
    int To(std::string address) { return host.SendMessageTo(address.data()); }
    int Send(std::string name) { return host.SendMessage(name.data()); }

    // An order in the market, as the record that left.
    std::string Order_In(long market, const std::string& name = "Orden_Transaccion")
    {
        Init(name);
        Set_Market(market, name);
        EXPECT_EQ(Send(name), 0);
        return Sent_Message();
    }
    static void Use_Code(int code, const std::vector<int>& markets)
    {
        Glb_Message_Code = code;
        Glb_markets_code_counter = 0;
        for (const int market : markets) {
            Glb_Markets_Code[Glb_markets_code_counter++] = market;
        }
    }
    // The addressees of the next order.
    std::string Groups_Of_An_Order()
    {
        EXPECT_EQ(Send("Orden_Transaccion"), 0);
        const std::string data = Sent().data;
        return data.substr(14, data.size() - 19 - 1504);
    }

    RecordingHost host;
    ReportTexts heard; // the host has taken the reports over
};

// ---- Orders

TEST_F(SendMessageTest, AnOrderIsSignedByteForByte)
{
    const std::string signature = "L001"
                                  "S\0\0\0"s +
                                  std::string(11, '\0') + Padded("U7", 4) + "09300520261120" + std::string(14, '\0') +
                                  "BRNC" + std::string(25, '\0');
    ASSERT_EQ(signature.size(), 80U);
    EXPECT_EQ(Order_In(5), "111" + signature + std::string(4 + 55, '\0') + "  5" + std::string(1504 - 145, '\0'));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(SendMessageTest, AnOrderIsSignedWithTheWholeOfEachCode)
{
    std::memcpy(Glb_User_Code, "USER", 4);
    std::memcpy(Gbl_Branch_Code, "BRANCH78", 8);
    const std::string sent = Order_In(5);
    EXPECT_EQ(sent.substr(3 + 19, 5), "USER0");
    EXPECT_EQ(sent.substr(3 + 50, 6), "\0BRAN\0"s);
}

TEST_F(SendMessageTest, TheSignatureIsInLocalTime)
{
    Set_Time_Zone("EAST-15");
    const std::string sent = Order_In(5);
    Set_Time_Zone("UTC0");
    EXPECT_EQ(sent.substr(3 + 23, 14), "00300520261121");
}

TEST_F(SendMessageTest, OrdersOfListedMarketsTravelUnderTheirNumber)
{
    Use_Code(121, {5, 17});
    EXPECT_EQ(Order_In(5).substr(0, 3), "121");
    EXPECT_EQ(Order_In(17).substr(0, 3), "121");
    EXPECT_EQ(Order_In(6).substr(0, 3), "111");
}

TEST_F(SendMessageTest, AnOrderThatIsSentAgainInAnotherMarketChangesItsNumber)
{
    Use_Code(121, {5});
    EXPECT_EQ(Order_In(5).substr(0, 3), "121");
    Set_Market(6);
    EXPECT_EQ(Send("Orden_Transaccion"), 0);
    EXPECT_EQ(Sent_Message().substr(0, 3), "111");
}

TEST_F(SendMessageTest, AMarketBehindTheCountIsNotListed)
{
    Use_Code(121, {5, 17});
    Glb_markets_code_counter = 1;
    EXPECT_EQ(Order_In(17).substr(0, 3), "111");
}

TEST_F(SendMessageTest, AnOrderOnRequestKeepsItsNumberAndItsEnvelope)
{
    Use_Code(121, {5});
    const std::string sent = Order_In(5, "Orden_Transaccion_RFQ");
    EXPECT_EQ(sent.substr(0, 83), "113\0\0\0\0S"s + std::string(75, '\0'));
}

TEST_F(SendMessageTest, AnOrderUnderANumberThatGoesNowhereIsNotSent)
{
    Use_Code(112, {5});
    Init("Orden_Transaccion");
    Set_Market(5);
    EXPECT_EQ(Send("Orden_Transaccion"), 0);
    EXPECT_FALSE(Is_Any_Sent());
}

// ---- Other kinds

TEST_F(SendMessageTest, AChatGoesToTheServerAloneInTheTemplatesEnvelope)
{
    Init("Orden_Transaccion");
    Init("Chat");
    host.SetFieldBSTR(std::string("Chat").data(), std::string("texto").data(), Padded("hello", 2048).data());
    To("XYsomebody");
    EXPECT_EQ(Send("Chat"), 0);
    EXPECT_EQ(Sent().data, Framed(to_server, "575" + Stamped() + std::string(88, '\0') + "hello" +
                                                 std::string(3271 - 83 - 88 - 5, '\0')));
    EXPECT_EQ(Groups_Of_An_Order(), ""); // the addressees were that chat's
}

TEST_F(SendMessageTest, ATradeIsNumbered)
{
    Add_Data_Managers("DM01", 1);
    Init("TarnelWh");
    EXPECT_EQ(Send("TarnelWh"), 0);
    EXPECT_EQ(Sent().data, Framed(Primary_Users("DM01"), "134" + Stamped(1) + std::string(551, '\0')));
}

TEST_F(SendMessageTest, KindsThatGoNowhereGiveZeroAllTheSame)
{
    for (const char* name :
         {"Mantenimiento_Transacciones", "Precios_Montos_Transados", "Precios_Por_Hora", "Precios_Por_Hora_Por_Plazo",
          "Precios_Por_Hora_Am_Pm", "Mantenimiento_Transaccion_Renta_Fija", "Precios_Promedio_Compra",
          "Historia_Posturas", "Fin_Transaccion"}) {
        EXPECT_EQ(Init(name), 0) << name;
        EXPECT_EQ(Send(name), 0) << name;
        EXPECT_FALSE(Is_Any_Sent()) << name;
    }
    EXPECT_THAT(Bodies(), IsEmpty());
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(SendMessageTest, ATableRecordLeavesAsItWasComposed)
{
    Init("Indices_Vigentes");
    const std::string composed = Bytes_Of(*Glb_send_rates);
    EXPECT_EQ(Send("Indices_Vigentes"), 0);
    EXPECT_EQ(Sent().data, Framed(to_server, composed));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty()); // it has no mark of persistence
}

TEST_F(SendMessageTest, AnEmptyNameSendsWhatTheTakenKindSelects)
{
    Init("Chat");
    Init("TarnelWh");
    Glb_taken_message_type = 575;
    EXPECT_EQ(Send(""), 0);
    EXPECT_EQ(Sent_Message().substr(0, 3), "575");
    EXPECT_EQ(host.SendMessage(nullptr), 0);
    EXPECT_EQ(Sent_Message().substr(0, 3), "575");
}

TEST_F(SendMessageTest, WhatCantBeComposedCantBeSent)
{
    EXPECT_EQ(Send("Login"), 15);
    CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
    EXPECT_EQ(Send("Chat"), 4);
    EXPECT_FALSE(Is_Any_Sent());
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("14 Illegal record type specified (Login)"));
}

// ---- Addressees

TEST_F(SendMessageTest, AddresseesTravelWithTheNextOrderOnly)
{
    Add_Data_Managers("DM01", 1);
    Init("Orden_Transaccion");
    EXPECT_EQ(To("PUUSER"), 0);
    EXPECT_EQ(To("INbank of all"), 0);
    EXPECT_EQ(To("XX"), 0);
    EXPECT_EQ(Groups_Of_An_Order(), Primary_Users("DM01") + "PU\1\0\4\0USER"
                                                            "IN\1\0\13\0bank of all"
                                                            "XX\1\0\0\0"s);
    EXPECT_EQ(Groups_Of_An_Order(), Primary_Users("DM01"));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(SendMessageTest, AnEmptyAddressIsPassedOver)
{
    EXPECT_EQ(To(""), 0);
    EXPECT_EQ(host.SendMessageTo(nullptr), 0);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    EXPECT_EQ(Groups_Of_An_Order(), "");
}

TEST_F(SendMessageTest, AnAddressOfOneCharacterIsReportedAndLeftOut)
{
    EXPECT_EQ(To("P"), 0);
    EXPECT_EQ(To("PUUSER"), 0);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(too_long));
    EXPECT_EQ(Groups_Of_An_Order(), "PU\1\0\4\0USER"s);
}

TEST_F(SendMessageTest, AnAddressThatDoesNotFitIsReportedAndLeftOut)
{
    To("XY" + std::string(140, 'x')); // 143 bytes with its terminator
    EXPECT_EQ(To("PU12345"), 0);      // 8
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(too_long));
    EXPECT_EQ(To("PUUSER"), 0); // 7
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    EXPECT_EQ(Groups_Of_An_Order(), "XY\1\0\x8c\0"s + std::string(140, 'x') + "PU\1\0\4\0USER"s);
}

TEST_F(SendMessageTest, AllAddressesThatFitTheListFitAnOrder)
{
    std::string managers;
    for (int i = 0; i < 300; ++i) {
        managers += std::to_string(1000 + i);
    }
    Add_Data_Managers(managers.data(), 300);
    std::string addressees;
    for (int i = 0; i < 50; ++i) {
        To("XX");
        addressees += "XX\1\0\0\0"s;
    }
    EXPECT_EQ(Groups_Of_An_Order(), Primary_Users(managers) + addressees);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

// ---- Pace

TEST_F(SendMessageTest, ThreeMessagesInARowAreSpacedByTheDelay)
{
    Glb_Send_Msg_Delay_Millisec = 100;
    Init("Chat");
    Send("Chat");
    EXPECT_THAT(system.waits(), IsEmpty());
    Send("Chat");
    EXPECT_THAT(system.waits(), ElementsAre(100'000));
    Send("Chat");
    EXPECT_THAT(system.waits(), ElementsAre(100'000, 100'000));
}

TEST_F(SendMessageTest, TheLibrarysOwnMessagesAreNotPaced)
{
    Glb_Send_Msg_Delay_Millisec = 100;
    Init("Chat");
    for (int i = 0; i < 3; ++i) {
        Put(*Glb_send_chat_msg);
    }
    EXPECT_THAT(system.waits(), IsEmpty());
}

} // namespace
