// Received records as a host reads them: taken by name, field by field, in any state that a call may find.
#include "support/reader_fixture.h"
#include "support/record_links.h"
#include "support/session_fixture.h"

#include "outbound/composed.h"
#include "qcapi/session.h"

#include <atomic>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int alpha = 6;

std::string padded(std::string text, std::size_t size)
{
    text.resize(size);
    return text;
}

class MessageAccessTest : public ReaderTest
{
protected:
    // A chat from user U123 at its number 1, taken.
    void take_a_chat()
    {
        Want(chat);
        receive(MessageBytes::Of(chat).Put(83 + 66, "20260317").Put(83 + 84, "U123").Put(chat_text_at, "good morning"));
        ASSERT_EQ(host.take("Chat", 1), 0);
        take_lines();
    }

    // All fields that a walk tells, "PATH type bytes" each.
    std::vector<std::string> walk()
    {
        std::vector<std::string> told;
        std::string path(1024, '\0');
        std::string data(4096, '#');
        while (const int type = host.GetNextField(path.data(), data.data())) {
            told.push_back(std::string(path.c_str()) + ' ' + std::to_string(type));
            EXPECT_EQ(field(path.c_str()).type, type) << path.c_str();
            EXPECT_EQ(field(path.c_str()).bytes, data.substr(0, data.find('#'))) << path.c_str();
            data.assign(data.size(), '#');
        }
        EXPECT_EQ(data[0], '\0');
        return told;
    }
};

// ---- Take

TEST_F(MessageAccessTest, ARecordIsTakenByEachOfItsNamesInAnyCase)
{
    receive_chat("good morning");
    for (const char* name : {"Chat", "mensaje_charla", "chat_message", "CHAT", "Mensaje_CHARLA", "chat_MESSAGE"}) {
        EXPECT_EQ(host.take(name, 1), 0) << name;
        EXPECT_EQ(Taken_Kind().number, chat);
    }
}

TEST_F(MessageAccessTest, AnyNameOfAnOrderLeadsToAllOrders)
{
    Want(121);
    receive(MessageBytes::Of(121));
    for (const char* name : {"Orden_Transaccion", "mensaje_tabla_moneda", "currency_table_message",
                             "Orden_Transaccion_RFQ", "mensaje_tabla_moneda_rfq", "currency_rfq_table_message"}) {
        EXPECT_EQ(host.take(name, 1), 0) << name;
    }
}

TEST_F(MessageAccessTest, ANameWithoutAMailboxTakesNothing)
{
    take_a_chat();
    for (const char* name : {"Login", "Log_Req", "Global_Table", "DataManagers_List", "no such kind", ""}) {
        EXPECT_EQ(host.take(name, 1), 15) << name;
        EXPECT_THAT(take_lines(),
                    ElementsAre("error 14 Illegal record type specified (" + std::string(name) + ") / 0 0"));
        EXPECT_EQ(Glb_taken_message_ptr, nullptr);
    }
    EXPECT_EQ(host.TakeMessage(nullptr, 1), 15);
}

TEST_F(MessageAccessTest, ARecordThatIsNotThereTakesTheLastOneAway)
{
    take_a_chat();
    EXPECT_EQ(host.take("chat_message", 4294967295U), 18);
    EXPECT_THAT(take_lines(), ElementsAre("error 14 Record (chat_message) number (-1) not found / 0 0"));
    EXPECT_EQ(field("texto").type, 0);
    EXPECT_THAT(take_lines(), ElementsAre("error 14 There is no record previously taken / 0 0"));
}

TEST_F(MessageAccessTest, ANumberOfAnotherMailboxIsNotFound)
{
    receive_chat("one");
    EXPECT_EQ(host.take("Tarnel", 1), 18);
}

TEST_F(MessageAccessTest, OfTwoTakenRecordsTheSecondIsTakenAndBothStay)
{
    receive_chat("one");
    receive_chat("two");
    host.take("Chat", 1);
    host.take("Chat", 2);
    EXPECT_EQ(text("texto"), "two");
    EXPECT_EQ(waiting(TableId::Glb_Chat_Message_Table), 2);
}

TEST_F(MessageAccessTest, NothingIsTakenUntilSomethingRuns)
{
    receive_chat("one");
    CQcApi::initialize_flag = QAPI_NOT_INITIALIZED;
    EXPECT_EQ(host.take("Chat", 1), 4);
    EXPECT_EQ(host.finish("Chat", 1), 4);
    EXPECT_EQ(waiting(TableId::Glb_Chat_Message_Table), 1);
}

// ---- GetField

TEST_F(MessageAccessTest, AFieldIsItsTypeItsBytesAndAZero)
{
    take_a_chat();
    EXPECT_EQ(field("texto").type, alpha);
    EXPECT_EQ(field("texto").bytes, padded("good morning", 2048) + '\0');
    EXPECT_EQ(field("EMISOR").bytes, std::string("U123\0", 5));
    EXPECT_THAT(take_lines(), IsEmpty());
}

TEST_F(MessageAccessTest, APathLeadsIntoTheReplicas)
{
    take_a_chat();
    world.Subscribe_All();
    world.Put(Glb_User_Table, 1, {{CODIGO_USUARIO, "U123"}, {NOMBRE_COMPLETO, "maria"}});
    EXPECT_EQ(text("emisor.nombre_completo"), "maria");
    EXPECT_EQ(host.IsDefined(std::string("Emisor.Nombre_Completo").data()), 1);
}

TEST_F(MessageAccessTest, AnElementIsItsOwnBytes)
{
    Want(chat);
    receive(MessageBytes::Of(chat).Put(83 + 2136, "  2").Put(83 + 2139, "U").Put(83 + 2140, "AAAA    BBBB    "));
    host.take("Chat", 1);
    EXPECT_EQ(text("receptor[1]"), "AAAA    ");
    EXPECT_EQ(text("receptor[2]"), "BBBB    ");
    EXPECT_EQ(field("receptor").bytes.size(), 1601U);
}

TEST_F(MessageAccessTest, AFieldThatTheRecordDoesNotHaveIsReported)
{
    take_a_chat();
    EXPECT_EQ(field("precio").type, 0);
    EXPECT_EQ(field("precio").bytes, std::string(1, '\0'));
    const std::string line = "error 14 Illegal name field specified (precio) in Chat message / 0 0";
    EXPECT_THAT(take_lines(), ElementsAre(line, line));
}

TEST_F(MessageAccessTest, TheReportNamesTheMessageInTheLanguageOfTheConfiguration)
{
    take_a_chat();
    Glb_Language = 2;
    field("precio");
    EXPECT_THAT(take_lines(),
                ElementsAre("error 14 Illegal name field specified (precio) in chat_message message / 0 0"));
}

TEST_F(MessageAccessTest, AMessageIsAnnouncedByItsFirstNameInEveryLanguage)
{
    Glb_Language = 2;
    receive_chat("one");
    EXPECT_THAT(take_lines(), ElementsAre("message Chat 1"));
}

TEST_F(MessageAccessTest, ThreeNamesThatChatsDoNotHaveAreQuiet)
{
    take_a_chat();
    for (const char* name : {"mercado", "clase_mensaje", "bandera", "MERCADO"}) {
        EXPECT_EQ(field(name).type, 0);
        EXPECT_EQ(field(name).bytes, std::string(1, '\0'));
        std::string data = "untouched";
        EXPECT_EQ(host.GetFieldBSTR(std::string(name).data(), data.data()), 0);
        EXPECT_EQ(data, "untouched");
    }
    EXPECT_THAT(take_lines(), IsEmpty());
}

TEST_F(MessageAccessTest, TheThreeNamesAreReportedElsewhereAndByIsDefined)
{
    take_a_chat();
    EXPECT_EQ(host.IsDefined(std::string("mercado").data()), 0);
    EXPECT_THAT(take_lines(), ElementsAre("error 14 There is not the field (mercado) in Chat message / 0 0"));
    Want(879);
    receive(MessageBytes::Of(879));
    host.take("Fin_Transaccion", 2);
    take_lines();
    field("clase_mensaje");
    EXPECT_THAT(take_lines(),
                ElementsAre("error 14 Illegal name field specified (clase_mensaje) in Fin_Transaccion message / 0 0"));
}

TEST_F(MessageAccessTest, ANameOfAnyLengthOrNoneIsSafe)
{
    take_a_chat();
    char data[8] = "x";
    EXPECT_EQ(host.GetField(nullptr, data), 0);
    EXPECT_EQ(host.GetFieldLONG(nullptr), 0);
    EXPECT_EQ(host.IsDefined(nullptr), 0);
    EXPECT_EQ(field(std::string(5000, 'x')).type, 0);
    EXPECT_EQ(field(std::string(1023, 'x')).type, 0);
    EXPECT_EQ(field("").type, 0);
    EXPECT_EQ(take_lines().size(), 6U);
}

TEST_F(MessageAccessTest, WithoutARecordEachOperationSaysSo)
{
    char name[1024] = "texto";
    char data[16] = "untouched";
    EXPECT_EQ(host.GetFieldBSTR(name, data), 0);
    EXPECT_EQ(host.GetFieldDATE(name, data), 0);
    EXPECT_STREQ(data, "untouched");
    EXPECT_EQ(host.GetFieldLONG(name), 0);
    EXPECT_EQ(host.IsDefined(name), 0);
    EXPECT_EQ(host.GetField(name, data), 0);
    EXPECT_EQ(host.GetNextField(name, data), 0);
    EXPECT_STREQ(data, "");
    EXPECT_EQ(host.count("error 14 There is no record previously taken / 0 0"), 6);
}

// ---- The others

TEST_F(MessageAccessTest, BstrGivesTheLength)
{
    take_a_chat();
    std::string data(10, '#');
    EXPECT_EQ(host.GetFieldBSTR(std::string("emisor").data(), data.data()), 4);
    EXPECT_EQ(data, std::string("U123\0#####", 10));
}

TEST_F(MessageAccessTest, ADateIsEightBytesAndNoMore)
{
    take_a_chat();
    std::string data(10, '#');
    EXPECT_EQ(host.GetFieldDATE(std::string("fecha_mensaje").data(), data.data()), 8);
    EXPECT_EQ(data, "20260317##");
}

TEST_F(MessageAccessTest, AFieldThatIsShorterThanADateEndsInZeros)
{
    take_a_chat();
    std::string data(10, '#');
    EXPECT_EQ(host.GetFieldDATE(std::string("emisor").data(), data.data()), 8);
    EXPECT_EQ(data, std::string("U123\0\0\0\0##", 10));
}

TEST_F(MessageAccessTest, ANumberIsReadByItsType)
{
    Want(chat);
    receive(MessageBytes::Of(chat, 77).Put(83 + 2136, "  9"));
    host.take("Chat", 1);
    EXPECT_EQ(host.GetFieldLONG(std::string("numero_receptores").data()), 9);
    EXPECT_EQ(host.GetFieldLONG(std::string("numero_dataserver").data()), 77);
}

TEST_F(MessageAccessTest, AnUnsignedNumberBeyondTheIntsIsNegativeAtAnyWidth)
{
    Want(chat);
    receive(MessageBytes::Of(chat, 4000000000U));
    host.take("Chat", 1);
    EXPECT_EQ(host.GetFieldLONG(std::string("numero_dataserver").data()), -294967296L);
}

TEST_F(MessageAccessTest, AFieldIsDefinedOrReported)
{
    take_a_chat();
    EXPECT_EQ(host.IsDefined(std::string("TEXTO").data()), 1);
    EXPECT_THAT(take_lines(), IsEmpty());
    EXPECT_EQ(host.IsDefined(std::string("precio").data()), 0);
    EXPECT_THAT(take_lines(), ElementsAre("error 14 There is not the field (precio) in Chat message / 0 0"));
}

// ---- Walks

TEST_F(MessageAccessTest, AWalkTellsAllFieldsOfARecordAndEndsQuietly)
{
    take_a_chat();
    std::vector<std::string> paths;
    for (const std::string& told : walk()) {
        paths.push_back(told.substr(0, told.find(' ')));
    }
    EXPECT_EQ(paths, Walk_All(*Glb_taken_message_ptr));
    EXPECT_THAT(take_lines(), IsEmpty());
}

TEST_F(MessageAccessTest, AWalkGoesThroughTheElementsAndTheRecordsThatTheyName)
{
    world.Subscribe_All();
    Want(chat);
    receive(MessageBytes::Of(chat).Put(83 + 2136, "  2").Put(83 + 2139, "U").Put(83 + 2140, "AAAA    BBBB    "));
    host.take("Chat", 1);
    world.Put(Glb_User_Table, 1, {{CODIGO_USUARIO, "AAAA"}, {NOMBRE_COMPLETO, "maria"}});
    const std::vector<std::string> told = walk();
    EXPECT_THAT(told, testing::Contains("receptor[1] " + std::to_string(alpha)));
    EXPECT_THAT(told, testing::Contains("receptor[2] " + std::to_string(alpha)));
    EXPECT_THAT(told, testing::Contains("receptor[1].nombre_completo " + std::to_string(alpha)));
}

TEST_F(MessageAccessTest, EachKindIsWalkedToItsEnd)
{
    world.Subscribe_All();
    const std::pair<int, const char*> kinds[] = {{87, "Precios_Montos_Transados"},
                                                 {111, "Orden_Transaccion"},
                                                 {112, "Mantenimiento_Transacciones"},
                                                 {114, "Historia_Posturas"},
                                                 {132, "Mantenimiento_Transaccion_Renta_Fija"},
                                                 {133, "Tarnel"},
                                                 {134, "TarnelWh"},
                                                 {153, "Instruccion_De_Pago"},
                                                 {176, "Precios_Por_Hora"},
                                                 {177, "Precios_Por_Hora_Por_Plazo"},
                                                 {291, "Precios_Promedio_Compra"},
                                                 {300, "Precios_Por_Hora_Am_Pm"},
                                                 {879, "Fin_Transaccion"}};
    unsigned number = 0;
    for (const auto& [code, name] : kinds) {
        Want(code);
        receive(MessageBytes::Of(code).Put(83, std::string(3000, '7')));
        ASSERT_EQ(host.take(name, ++number), 0) << name;
        EXPECT_FALSE(walk().empty()) << name;
    }
}

// ---- What is being composed

TEST_F(MessageAccessTest, AComposedFieldIsShownAsText)
{
    Glb_send_chat_msg->Zero_Data_Buffer();
    (*Glb_send_chat_msg)[TEXTO_CHAT].Set_Text("good evening");
    (*Glb_send_chat_msg)[NUMERO_DATASERVER] = 4000000000U;
    Glb_cur_message_ptr = &*Glb_send_chat_msg;
    EXPECT_STREQ(host.GetSField(std::string("Texto").data(), nullptr), "good evening");
    EXPECT_STREQ(host.GetSField(std::string("numero_dataserver").data(), nullptr), "4000000000");
    EXPECT_STREQ(host.GetSField(std::string("precio").data(), nullptr), "");
    EXPECT_THAT(take_lines(), ElementsAre("error 14 Illegal name field specified (precio) in Chat message / 0 0"));
    Glb_cur_message_ptr = nullptr;
}

TEST_F(MessageAccessTest, EachThreadHasATextOfItsOwn)
{
    (*Glb_send_chat_msg)[TEXTO_CHAT].Set_Text("good evening");
    Glb_cur_message_ptr = &*Glb_send_chat_msg;
    const char* ours = host.GetSField(std::string("texto").data(), nullptr);
    std::thread([&] { host.GetSField(std::string("emisor").data(), nullptr); }).join();
    EXPECT_STREQ(ours, "good evening");
    Glb_cur_message_ptr = nullptr;
}

// ---- Copies

TEST_F(MessageAccessTest, ACopyOfTheTakenRecordIsBoundedByBoth)
{
    receive_chat("good morning");
    host.take("Chat", 1);
    CMsgEndTransaction shorter;
    ASSERT_TRUE(Copy_Taken_Record(shorter, Taken_Kind()));
    EXPECT_EQ(std::string(shorter.m_data, 3), "575");
    CMsgChat same;
    ASSERT_TRUE(Copy_Taken_Record(same, Taken_Kind()));
    EXPECT_STREQ(same[TEXTO_CHAT].Get_Ptr(), "good morning");
    Want(879);
    receive(MessageBytes::Of(879).Put(83, std::string(40, 'x')));
    host.take("Fin_Transaccion", 2);
    std::fill_n(same.m_data, same.Buffer_Size(), '#');
    ASSERT_TRUE(Copy_Taken_Record(same, Taken_Kind()));
    EXPECT_EQ(std::string(same.m_data, 3), "879");
    EXPECT_EQ(std::string(same.m_data + 123, static_cast<std::size_t>(same.Buffer_Size() - 123)),
              std::string(static_cast<std::size_t>(same.Buffer_Size() - 123), '\0'));
}

TEST_F(MessageAccessTest, ACopyOfAnotherKindThanWasMeantIsNotMade)
{
    receive_chat("good morning");
    host.take("Chat", 1);
    const Kind before = Taken_Kind();
    Want(879);
    receive(MessageBytes::Of(879));
    host.take("Fin_Transaccion", 2);
    CMsgChat copy;
    EXPECT_FALSE(Copy_Taken_Record(copy, before));
    EXPECT_TRUE(Copy_Taken_Record(copy, Taken_Kind()));
}

TEST_F(MessageAccessTest, AReplyKeepsTheIdxThatTheHostWasShown)
{
    Want_Table(1071, 1);
    receive(MessageBytes::Of_Table('I', 1071, 5, "x"));
    ASSERT_EQ(host.take("Posturas_Vigentes", 1), 0);
    EXPECT_EQ(host.GetFieldLONG(std::string("codigo_unico_registro").data()), 5);
    ASSERT_EQ(host.compose(""), 0);
    EXPECT_STREQ(host.GetSField(std::string("codigo_unico_registro").data(), nullptr), "5");
}

TEST_F(MessageAccessTest, WithoutATakenRecordThereIsNoCopy)
{
    CMsgChat copy;
    EXPECT_FALSE(Copy_Taken_Record(copy, Taken_Kind()));
    EXPECT_EQ(Taken_Kind().number, 0);
}

// ---- Threads

// The host keeps on reading a record whose place is taken by others.
TEST_F(MessageAccessTest, AFieldIsNeverHalfOfAnotherRecord)
{
    receive_chat(std::string(2000, '0'));
    ASSERT_EQ(host.take("Chat", 1), 0);
    std::atomic<bool> done = false;
    std::thread reader([&] {
        for (int i = 0; i < 3000; ++i) {
            host.finish("Chat", static_cast<unsigned>(i) + 1);
            receive(MessageBytes::Of(chat).Put(chat_text_at, std::string(2000, static_cast<char>('a' + i % 26))));
        }
        done = true;
    });
    while (!done) {
        const std::string seen = text("texto");
        EXPECT_EQ(seen.size(), 2000U);
        EXPECT_EQ(seen.find_first_not_of(seen[0]), std::string::npos);
    }
    reader.join();
}

} // namespace
