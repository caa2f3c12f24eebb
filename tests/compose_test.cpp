// InitMessage and the SetField operations: which object a name selects, and what reaches its bytes.
#include "message_numbers.h"
#include "outbound/addressing.h"
#include "outbound/composed.h"
#include "qcapi/qcapi.h"
#include "reader/taken_record.h"
#include "reader/views.h"
#include "support/outbound_fixture.h"
#include "support/recording_host.h"
#include "support/table_world.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* order = "Orden_Transaccion";

class Compose : public OutboundTest
{
protected:
    Compose()
    {
        CQcApi::initialize_flag = QAPI_INITIALIZED; // the object has put it back
        Glb_cur_message_ptr = nullptr;
        for (char* buffer : {Glb_send_order_msg->m_data, Glb_send_chat_msg->m_data}) {
            std::memset(buffer + 3, '#', 200);
        }
        Glb_send_order_msg->Init();
        Glb_send_chat_msg->Init();
        ReportTexts::Take();
    }
    ~Compose() override { CQcApi::initialize_flag = QAPI_NOT_INITIALIZED; } // so that the host has nothing to stop

    int Init(std::string name) { return host.InitMessage(name.data()); }
    int Set(std::string field, std::string value, std::string name = order)
    {
        value.resize(4000); // a text field reads as many bytes as it is long
        return host.SetFieldBSTR(name.data(), field.data(), value.data());
    }
    int Set_Number(std::string field, long value, std::string name = order)
    {
        return host.SetFieldLONG(name.data(), field.data(), value);
    }
    static std::string Order_Bytes(std::size_t at, std::size_t count)
    {
        return {Glb_send_order_msg->m_data + at, count};
    }
    // As TakeMessage leaves it for a record that wasn't found.
    static void Take_Kind(int number, int table_type = -1)
    {
        Glb_taken_message_type = number;
        Glb_taken_global_table_type = table_type;
    }

    RecordingHost host;
    ReportTexts heard; // the host has taken the reports over
};

// ---- Which object

int Located(std::string name)
{
    return Locate_Record(name.data(), nullptr);
}

TEST_F(Compose, EachKindHasItsObject)
{
    const std::vector<std::pair<const char*, CMessage*>> kinds{
        {"Precios_Montos_Transados", &*Glb_send_htramhoy_msg},
        {"Orden_Transaccion", &*Glb_send_order_msg},
        {"Orden_Transaccion_RFQ", &*Glb_send_order_msg},
        {"Mantenimiento_Transacciones", &*Glb_send_transmon_msg},
        {"Historia_Posturas", &*Glb_send_logordertable_msg},
        {"Mantenimiento_Transaccion_Renta_Fija", &*Glb_send_mnt_trans_renta_fija_msg},
        {"Tarnel", &*Glb_send_tarnel_msg},
        {"TarnelWh", &*Glb_send_tarnelwh_msg},
        {"Precios_Por_Hora", &*Glb_send_histmhoy_msg},
        {"Precios_Por_Hora_Por_Plazo", &*Glb_send_htramtermhoy_msg},
        {"Precios_Promedio_Compra", &*Glb_send_average_puchase_price_msg},
        {"Precios_Por_Hora_Am_Pm", &*Glb_send_histmampmhoy_msg},
        {"Chat", &*Glb_send_chat_msg},
        {"Fin_Transaccion", &*Glb_send_endtransaction_msg},
        {"Posturas_Vigentes", &*Glb_send_gt_order_msg},
        {"Resumenes_Vigentes", &*Glb_send_voice_summary},
        {"Grupos_Vigentes", &*Glb_send_voicegroup},
        {"Mercados_Renta_Fija_Vigentes", &*Glb_send_fixedincomemarkets},
        {"Hechos_Vigentes", &*Glb_send_historytransdayterm},
        {"Indices_Vigentes", &*Glb_send_rates},
    };
    for (const auto& [name, object] : kinds) {
        EXPECT_EQ(Located(name), 0) << name;
        EXPECT_EQ(Glb_cur_message_ptr, object) << name;
    }
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Compose, AKindThatIsOnlyReceivedCantBeComposed)
{
    Located("Chat");
    for (const char* name : {"Instruccion_De_Pago", "Login", "Log_Req", "Global_Table", "End_Pending", "No_Such"}) {
        EXPECT_EQ(Located(name), 15) << name;
        EXPECT_THAT(ReportTexts::Take(), ElementsAre("14 Illegal record type specified ("s + name + ")"));
    }
    EXPECT_EQ(Glb_cur_message_ptr, &*Glb_send_chat_msg);
}

TEST_F(Compose, TheKindFoundIsTold)
{
    int kind = 0;
    std::string name = "CURRENCY_RFQ_table_message";
    EXPECT_EQ(Locate_Record(name.data(), &kind), 0);
    EXPECT_EQ(kind, 113);
}

TEST_F(Compose, WithoutASessionNothingIsFound)
{
    CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
    EXPECT_EQ(Located("Chat"), 4);
    EXPECT_EQ(Init("Chat"), 4);
    EXPECT_EQ(Set("texto", "hello", "Chat"), 4);
    EXPECT_EQ(Set_Number("mercado", 5), 4);
    EXPECT_EQ(Set_Number("mercado", LONG_MAX), 4);
    EXPECT_EQ(Glb_cur_message_ptr, nullptr);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Compose, AnEmptyNameIsTheTakenKind)
{
    Take_Kind(121);
    EXPECT_EQ(Located(""), 0);
    EXPECT_EQ(Glb_cur_message_ptr, &*Glb_send_order_msg);
    Take_Kind(888, 14);
    EXPECT_EQ(Locate_Record(nullptr, nullptr), 0);
    EXPECT_EQ(Glb_cur_message_ptr, &*Glb_send_voicegroup);
    Take_Kind(888, 3);
    EXPECT_EQ(Locate_Record(nullptr, nullptr), 15);
    Take_Kind(0, 0);
    EXPECT_EQ(Located(""), 15);
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre("14 Illegal record type specified ()", "14 Illegal record type specified ()"));
}

// ---- InitMessage

TEST_F(Compose, AMessageStartsEmptyWithItsNumber)
{
    EXPECT_EQ(Init("Orden_Transaccion"), 0);
    EXPECT_EQ(Bytes_Of(*Glb_send_order_msg), "111" + std::string(1501, '\0'));
    EXPECT_EQ(Init("Orden_Transaccion_RFQ"), 0);
    EXPECT_EQ(Bytes_Of(*Glb_send_order_msg), "113" + std::string(1501, '\0'));
    EXPECT_EQ(Init("Precios_Montos_Transados"), 0);
    EXPECT_EQ(Bytes_Of(*Glb_send_htramhoy_msg).substr(0, 4), " 87\0"s);
}

TEST_F(Compose, InitForgetsAddressees)
{
    Add_Host_Address("XYname");
    Init("No_Such");
    const OutboundLock lock;
    EXPECT_EQ(Host_Addresses().Get_Gen_Adress_Len(), 0);
}

TEST_F(Compose, AReplyToNothingIsCodeFifteen)
{
    EXPECT_EQ(Init(""), 15);
    EXPECT_EQ(host.InitMessage(nullptr), 15);
    Take_Kind(575);
    EXPECT_EQ(Init(""), 15); // the record was not found
}

TEST_F(Compose, WhatArrivesStaysAsItIs)
{
    for (const char* name :
         {"Posturas_Vigentes", "Resumenes_Vigentes", "Historia_Posturas", "Fin_Transaccion", "Chat"}) {
        The_Receive_Buffer->Take("xxxARRIVED"s);
        EXPECT_EQ(Init(name), 0);
        EXPECT_EQ(std::string(Glb_cur_msg_buffer(), 10), "xxxARRIVED") << name;
    }
}

// ---- SetField

TEST_F(Compose, TextsReachTheirBytes)
{
    Init(order);
    EXPECT_EQ(Set("SUB_Mercado", "M"), 0);
    EXPECT_EQ(Set("fecha_postura", "20261120"), 0);
    EXPECT_EQ(Order_Bytes(87 + 58, 1), "M");
    EXPECT_EQ(Order_Bytes(87 + 77, 8), "20261120");
    std::string name = order;
    std::string field = "fecha_postura";
    EXPECT_EQ(host.SetFieldDATE(name.data(), field.data(), std::string("20270102").data()), 0);
    EXPECT_EQ(Order_Bytes(87 + 77, 8), "20270102");
}

TEST_F(Compose, ANullTextEmptiesTheField)
{
    Init(order);
    Set("fecha_postura", "20261120");
    std::string field = "fecha_postura";
    EXPECT_EQ(host.SetFieldBSTR(std::string(order).data(), field.data(), nullptr), 0);
    EXPECT_EQ(Order_Bytes(87 + 77, 8), std::string(8, '\0'));
}

TEST_F(Compose, NumbersReachTheirBytes)
{
    Init(order);
    EXPECT_EQ(Set_Number("mercado", 5), 0);
    EXPECT_EQ(Order_Bytes(87 + 55, 3), "  5");
    EXPECT_EQ(Set_Number("ticks_operacion", -2), 0);
    EXPECT_EQ(Order_Bytes(87 + 67, 4), "\xfe\xff\xff\xff");
    std::string name = order;
    EXPECT_EQ(host.SetFieldUINT(name.data(), std::string("ticks_operacion").data(), 0xFEDCBA98U), 0);
    EXPECT_EQ(Order_Bytes(87 + 67, 4), "\x98\xba\xdc\xfe");
}

TEST_F(Compose, ALongThatIsNoIntIsReportedAndLeavesTheField)
{
    if constexpr (sizeof(long) == 8) {
        constexpr long beyond = 1L << (sizeof(long) * 8 - 2);
        Init(order);
        Set_Number("ticks_operacion", INT_MIN);
        EXPECT_EQ(Set_Number("ticks_operacion", beyond), 16);
        EXPECT_EQ(Set_Number("ticks_operacion", -beyond), 16);
        EXPECT_EQ(Order_Bytes(87 + 67, 4), "\0\0\0\x80"s);
        EXPECT_THAT(ReportTexts::Take(),
                    ElementsAre("14 Value 4611686018427387904 out of range for field (ticks_operacion) in "
                                "Orden_Transaccion message",
                                "14 Value -4611686018427387904 out of range for field (ticks_operacion) in "
                                "Orden_Transaccion message"));
    }
}

TEST_F(Compose, TheLargestIntsAreTaken)
{
    Init(order);
    EXPECT_EQ(Set_Number("ticks_operacion", INT_MAX), 0);
    EXPECT_EQ(Order_Bytes(87 + 67, 4), "\xff\xff\xff\x7f");
    EXPECT_EQ(Set_Number("ticks_operacion", INT_MIN), 0);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Compose, AnUnknownFieldIsReportedAndChangesNothing)
{
    Init(order);
    const std::string before = Bytes_Of(*Glb_send_order_msg);
    EXPECT_EQ(Set("no_such_field", "x"), 16);
    EXPECT_EQ(Set_Number("", 1), 16);
    EXPECT_EQ(host.SetFieldUINT(std::string(order).data(), nullptr, 1), 16);
    EXPECT_EQ(Set(std::string(1024, 'x'), "x"), 16);
    EXPECT_EQ(Bytes_Of(*Glb_send_order_msg), before);
    const std::vector<std::string> texts = ReportTexts::Take();
    ASSERT_EQ(texts.size(), 4U);
    EXPECT_EQ(texts[0], "14 Illegal name field specified (no_such_field) in Orden_Transaccion message");
    EXPECT_EQ(texts[1], "14 Illegal name field specified () in Orden_Transaccion message");
}

TEST_F(Compose, AFieldOfTheRecordThatACodeNamesIsNotWritten)
{
    TableWorld world;
    TableWorld::Subscribe_All();
    CMessage& user = world.Put(Glb_User_Table, 1, {{CODIGO_USUARIO, "U7"}, {NOMBRE_COMPLETO, "Maria"}});
    const std::string before = Bytes_Of(user);
    Init(order);
    EXPECT_EQ(Set("usuario", "U7"), 0);
    {
        const ReplicaLock lock;
        ASSERT_NE(Glb_send_order_msg->Find_Field("usuario.nombre_completo"), nullptr);
    }
    EXPECT_EQ(Set("usuario.nombre_completo", "Eve"), 16);
    EXPECT_EQ(Bytes_Of(user), before);
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre("14 Illegal name field specified (usuario.nombre_completo) in Orden_Transaccion message"));
}

TEST_F(Compose, AnotherNameSelectsAnotherObjectThanInitDid)
{
    Init(order);
    EXPECT_EQ(Set("texto", "hello", "Chat"), 0);
    EXPECT_EQ(Glb_cur_message_ptr, &*Glb_send_chat_msg);
    EXPECT_EQ(std::string(Glb_send_chat_msg->m_data + 83 + 88, 6), "hello\0"s);
    EXPECT_EQ(Set("texto", "hello", "Login"), 15);
}

TEST_F(Compose, AcknowledgementsHaveNoEffect)
{
    EXPECT_EQ(host.LastAcknowledgedMessage(nullptr, 7), 0);
    CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
    EXPECT_EQ(host.LastAcknowledgedMessage(nullptr, 7), 4);
}

} // namespace
