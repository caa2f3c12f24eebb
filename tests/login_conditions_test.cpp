// Conditions on received messages: what each comparison and connective makes of the record in the views' buffer, the
// lines that it logs, and how hosts add them.
#include "outbound/composed.h"
#include "qcapi/config.h"
#include "reader/conditions.h"
#include "reader/views.h"
#include "support/field_record.h"
#include "support/log_session.h"
#include "support/recording_host.h"
#include "support/session_fixture.h"
#include "support/table_world.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstring>
#include <initializer_list>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int order = 111;
constexpr int trade = 112;
constexpr int chat = 575;

// ---- The list by itself ----------------------------------------------------------------------------------------

// Fields of every type, where a test wants them, in a record of 3900 bytes.
class FitFieldsTest : public LogSession
{
protected:
    FitFieldsTest() { Start(); }

    CField& field(char type, const std::string& bytes)
    {
        CField& put = record.Put(type, 3, static_cast<int>(bytes.size()), 4);
        bytes.copy(record.m_data + 3, bytes.size());
        std::memset(record.m_data + 3 + bytes.size(), '9', 50); // what stands behind it counts for nothing
        return put;
    }
    void add(CField* field, const char* operation, const std::string& value, int kind = order)
    {
        conditions.Add(field, kind, operation, value.data(), static_cast<int>(value.size()));
    }
    int fit(int kind = order) { return conditions.FitConditions(kind, nullptr); }

    // The same for one comparison.
    int compares(char type, const std::string& bytes, const char* operation, const std::string& value)
    {
        conditions.EraseAll();
        add(&field(type, bytes), operation, value);
        return fit();
    }
    int is_equal(char type, const std::string& bytes, const std::string& value)
    {
        return compares(type, bytes, "==", value);
    }
    void add_result(bool holds) { add(&record.Put('A', 0, 1), "like", holds ? "%" : "x"); }
    void connect(const char* connective) { add(nullptr, "", connective); }

    FieldRecord record{3900};
    CFitFields conditions;
    ReportTexts reports;
};

TEST_F(FitFieldsTest, WithoutConditionsAMessagePasses)
{
    EXPECT_EQ(fit(), 1);
    EXPECT_THAT(Bodies(), ElementsAre("ER-FitConditions. Return= 1"));
}

TEST_F(FitFieldsTest, ConditionsOfOtherKindsArePassedOver)
{
    add(nullptr, "no such operator", "", trade);
    EXPECT_EQ(fit(order), 1);
    EXPECT_EQ(fit(trade), 0);
}

TEST_F(FitFieldsTest, OperatorsAreReadInAnyCase)
{
    EXPECT_EQ(compares('A', "abc", "LIKE", "a%"), 1);
    EXPECT_EQ(compares('A', "abc", "Not Like", "a%"), 0);
    EXPECT_EQ(compares('A', "abc", "=", "abc"), 1);
    EXPECT_EQ(compares('A', "abc", "==", "abc"), 1);
    EXPECT_EQ(compares('A', "abc", "===", "abc"), 0);
    EXPECT_EQ(compares('A', "abc", "notlike", "xyz"), 0);
    EXPECT_EQ(compares('A', "abc", nullptr, "abc"), 0);
}

TEST_F(FitFieldsTest, LikeAndNotLikeLogWhatTheyCompare)
{
    EXPECT_EQ(compares('A', "abc", "like", "a%"), 1);
    EXPECT_EQ(compares('A', "abc", "not like", "a%"), 0);
    EXPECT_THAT(Bodies(), ElementsAre("ER-FitConditions. field1= abc, operator(LIKE), field2= a%",
                                      "ER-FitConditions. Result operator LIKE: 1", "ER-FitConditions. Return= 1",
                                      "ER-FitConditions. field1= abc, operator(!LIKE), field2= a%",
                                      "ER-FitConditions. Result operator !LIKE: 0",
                                      "ER-It doesn't fit required conditions", "ER-FitConditions. Return= 0"));
}

TEST_F(FitFieldsTest, EqualLogsWhatItCompares)
{
    EXPECT_EQ(is_equal('A', "abc", "abd"), 0);
    EXPECT_THAT(Bodies(), ElementsAre("ER-FitConditions. field1= abc, operator(==), field2= abd",
                                      "ER-FitConditions. Result operator (==): 0",
                                      "ER-It doesn't fit required conditions", "ER-FitConditions. Return= 0"));
}

TEST_F(FitFieldsTest, AnUnknownOperatorNeverHolds)
{
    EXPECT_EQ(compares('A', "abc", ">", "abc"), 0);
    EXPECT_THAT(Bodies(), ElementsAre("ER-FitConditions. Result default= 0", "ER-It doesn't fit required conditions",
                                      "ER-FitConditions. Return= 0"));
    EXPECT_THAT(reports.Take(), IsEmpty());
}

TEST_F(FitFieldsTest, AConditionWithoutAFieldNeverHolds)
{
    add(nullptr, "==", "");
    EXPECT_EQ(fit(), 0);
    EXPECT_THAT(Bodies(), ElementsAre("ER-FitConditions. Result default= 0", "ER-It doesn't fit required conditions",
                                      "ER-FitConditions. Return= 0"));
}

TEST_F(FitFieldsTest, ConnectivesLogBothSidesAndTheResult)
{
    add_result(true);
    add_result(false);
    connect("&");
    add_result(true);
    connect("|");
    EXPECT_EQ(fit(), 1);
    const auto lines = Bodies();
    ASSERT_THAT(lines, SizeIs(11));
    EXPECT_EQ(lines[4], "ER-FitConditions. field1= 1, operator(&), field2= 0");
    EXPECT_EQ(lines[5], "ER-FitConditions. Result operator (&): 0");
    EXPECT_EQ(lines[8], "ER-FitConditions. field1= 0, operator(|), field2= 1");
    EXPECT_EQ(lines[9], "ER-FitConditions. Result operator (|): 1");
    EXPECT_EQ(lines[10], "ER-FitConditions. Return= 1");
}

struct Pair
{
    bool a;
    bool b;
};

class Connectives : public FitFieldsTest, public testing::WithParamInterface<Pair>
{
};

TEST_P(Connectives, JoinTheTwoResultsBeforeThem)
{
    const auto [a, b] = GetParam();
    add_result(a);
    add_result(b);
    EXPECT_EQ(fit(), b ? 1 : 0) << "the last comparison alone decides";
    connect("&");
    EXPECT_EQ(fit(), a && b ? 1 : 0);
    conditions.EraseAll();
    add_result(a);
    add_result(b);
    connect("|");
    EXPECT_EQ(fit(), a || b ? 1 : 0);
    EXPECT_THAT(reports.Take(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(AllResults, Connectives,
                         testing::Values(Pair{false, false}, Pair{false, true}, Pair{true, false}, Pair{true, true}));

TEST_F(FitFieldsTest, AConnectiveBehindOneComparisonTakesTheInitialOne)
{
    add_result(false);
    connect("|");
    EXPECT_EQ(fit(), 1);
    conditions.EraseAll();
    add_result(false);
    connect("&");
    EXPECT_EQ(fit(), 0);
    EXPECT_THAT(reports.Take(), IsEmpty());
}

TEST_F(FitFieldsTest, AValueThatBeginsLikeAConnectiveIsOne)
{
    add_result(true);
    add_result(false);
    add(&field('A', "&x"), "==", "&x");
    EXPECT_EQ(fit(), 0);
    conditions.EraseAll();
    add_result(true);
    add_result(false);
    add(&field('A', "abc"), "==", "|x");
    EXPECT_EQ(fit(), 1);
}

// ---- Equal, by type --------------------------------------------------------------------------------------------

TEST_F(FitFieldsTest, TextsAreEqualOverTheFieldOrUpToAZero)
{
    for (const char type : {'A', 'T', 'F'}) {
        EXPECT_EQ(is_equal(type, "20261122", "20261122"), 1) << type;
        EXPECT_EQ(is_equal(type, "20261122", "20261123"), 0) << type;
        EXPECT_EQ(is_equal(type, "20261122", "2026"), 0) << type;
        EXPECT_EQ(is_equal(type, "2026", "20261122"), 1) << type;
        EXPECT_EQ(is_equal(type, std::string("2026\0\0\0\0", 8), "2026"), 1) << type;
        EXPECT_EQ(is_equal(type, std::string(8, '\0'), ""), 1) << type;
        EXPECT_EQ(is_equal(type, "2026    ", "2026"), 0) << type;
    }
}

TEST_F(FitFieldsTest, ADateIsComparedAsItIsNow)
{
    CField& date = field('F', "20261122");
    add(&date, "==", "20261123");
    EXPECT_EQ(fit(), 0);
    std::memcpy(record.m_data + 3, "20261123", 8); // and nobody calls Init
    EXPECT_EQ(fit(), 1);
    FieldRecord next(100);
    std::memcpy(next.m_data + 3, "20261124", 8);
    record.Set_Data_Buff(next.m_data);
    EXPECT_EQ(fit(), 0);
}

TEST_F(FitFieldsTest, WholeNumbersAreReadAsDigitsBinaryOnesToo)
{
    for (const char type : {'S', 'N', 'I'}) {
        EXPECT_EQ(is_equal(type, "12", "12"), 1) << type;
        EXPECT_EQ(is_equal(type, " 7", "007"), 1) << type;
        EXPECT_EQ(is_equal(type, "7x", "7"), 1) << type;
        EXPECT_EQ(is_equal(type, "-7", "-7"), 1) << type;
        EXPECT_EQ(is_equal(type, "12", "13"), 0) << type;
        EXPECT_EQ(is_equal(type, std::string("\x0C\0", 2), "12"), 0) << type; // the number 12
        EXPECT_EQ(is_equal(type, std::string("\x0C\0", 2), "0"), 1) << type;
        EXPECT_EQ(is_equal(type, "12", ""), 0) << type;
    }
}

TEST_F(FitFieldsTest, NumbersEndWithTheField)
{
    EXPECT_EQ(is_equal('N', "12", "12"), 1); // digits stand behind it
    EXPECT_EQ(is_equal('N', "12", "129"), 0);
    EXPECT_EQ(is_equal('D', "1.5", "1.5"), 1);
    EXPECT_EQ(is_equal('D', "15", "15"), 1);
    EXPECT_EQ(is_equal('W', "15", "15"), 1);
}

TEST_F(FitFieldsTest, ANumberBeyondAnIntIsTheLargest)
{
    EXPECT_EQ(is_equal('N', "99999999999999999999", "2147483647"), 1);
    EXPECT_EQ(is_equal('N', "2147483647", "88888888888888888888888888888"), 1);
    EXPECT_EQ(is_equal('N', "-99999999999999999999", "-2147483648"), 1);
}

TEST_F(FitFieldsTest, UnsignedShortsAreCutTo16Bits)
{
    EXPECT_EQ(is_equal('W', "1", "1"), 1);
    EXPECT_EQ(is_equal('W', "1", "65537"), 1);
    EXPECT_EQ(is_equal('W', "-1", "65535"), 1);
    EXPECT_EQ(is_equal('W', "1", "2"), 0);
    EXPECT_EQ(is_equal('S', "1", "65537"), 0);
}

TEST_F(FitFieldsTest, DecimalsAreComparedWithoutTheirFraction)
{
    EXPECT_EQ(is_equal('D', "1.2", "1.9"), 1);
    EXPECT_EQ(is_equal('D', "       1.2000", "1"), 1);
    EXPECT_EQ(is_equal('D', "-0.9", "0.9"), 1);
    EXPECT_EQ(is_equal('D', "1.9", "2.0"), 0);
    EXPECT_EQ(is_equal('D', "-      12.50", "0"), 1); // blanks behind the sign
}

TEST_F(FitFieldsTest, DecimalsOfNoIntAreDefined)
{
    EXPECT_EQ(is_equal('D', "1e300", "2147483647"), 1);
    EXPECT_EQ(is_equal('D', "-1e300", "-2147483648"), 1);
    EXPECT_EQ(is_equal('D', "inf", "2147483647"), 1);
    EXPECT_EQ(is_equal('D', "nan", "0"), 1);
    EXPECT_EQ(is_equal('D', "nan", "1"), 0);
}

TEST_F(FitFieldsTest, AnUnsignedIntIsNotComparedAndTheLastResultStands)
{
    EXPECT_EQ(is_equal('L', "1234", "1234"), 1);
    conditions.EraseAll();
    add_result(false);
    add(&field('L', "1234"), "==", "1234");
    static_cast<void>(Bodies());
    EXPECT_EQ(fit(), 0);
    EXPECT_EQ(Bodies().end()[-3], "ER-FitConditions. Result operator (==): 0");
    EXPECT_EQ(compares('L', "1234", "like", "12%"), 1);
}

TEST_F(FitFieldsTest, LoggedBytesEndWithTheFieldOrItsZero)
{
    is_equal('A', "abcd", "abcd");
    is_equal('A', std::string("ab\0d", 4), "ab");
    const auto lines = Bodies();
    EXPECT_EQ(lines[0], "ER-FitConditions. field1= abcd, operator(==), field2= abcd");
    EXPECT_EQ(lines[3], "ER-FitConditions. field1= ab, operator(==), field2= ab");
}

TEST_F(FitFieldsTest, AFieldBehindTheBufferIsEmpty)
{
    CField& nowhere = record.Put('A', 3900, 0);
    add(&nowhere, "like", "");
    EXPECT_EQ(fit(), 1);
    add(&nowhere, "like", "_");
    EXPECT_EQ(fit(), 0);
}

// ---- The stack -------------------------------------------------------------------------------------------------

TEST_F(FitFieldsTest, PositionsBelowTheStackAreReportedAndHeldAtItsBottom)
{
    conditions.r_stack_pos = 3;
    EXPECT_EQ(conditions.GetPos(2), 1);
    EXPECT_EQ(conditions.GetPos(3), 0);
    EXPECT_THAT(reports.Take(), IsEmpty());
    EXPECT_EQ(conditions.GetPos(4), 0);
    EXPECT_THAT(reports.Take(), ElementsAre("14 Error evaluating login conditions pos (3)"));
    conditions.r_stack_pos = 1;
    EXPECT_EQ(conditions.BackPos(), 0);
    EXPECT_EQ(conditions.BackPos(), 0);
    EXPECT_EQ(conditions.r_stack_pos, 0);
    EXPECT_THAT(reports.Take(), ElementsAre("14 Error evaluating login conditions pos (-1)"));
}

TEST_F(FitFieldsTest, TheLastPositionIsGivenAgain)
{
    conditions.r_stack_pos = 198;
    EXPECT_EQ(conditions.NextPos(), 198);
    EXPECT_THAT(reports.Take(), IsEmpty());
    EXPECT_EQ(conditions.NextPos(), 199);
    EXPECT_EQ(conditions.NextPos(), 199);
    EXPECT_EQ(conditions.r_stack_pos, 199);
    EXPECT_THAT(reports.Take(), ElementsAre("14 Error evaluating login conditions pos (200)",
                                            "14 Error evaluating login conditions pos (200)"));
}

TEST_F(FitFieldsTest, AConnectiveWithoutComparisonsIsReportedForEachMessage)
{
    connect("&");
    fit();
    EXPECT_THAT(reports.Take(), ElementsAre("14 Error evaluating login conditions pos (1)",
                                            "14 Error evaluating login conditions pos (-1)"));
    EXPECT_EQ(fit(), 1);
    EXPECT_THAT(reports.Take(), SizeIs(2));
}

TEST_F(FitFieldsTest, ComparisonsBeyondTheStackReportOneErrorEach)
{
    for (int i = 0; i < 200; ++i) {
        add_result(true);
    }
    EXPECT_EQ(fit(), 1);
    const auto errors = reports.Take().size();
    for (int i = 0; i < 3; ++i) {
        add_result(true);
    }
    EXPECT_EQ(fit(), 1);
    EXPECT_THAT(reports.Take(), SizeIs(errors + 3));
}

// ---- Adding ----------------------------------------------------------------------------------------------------

class LoginConditionsTest : public LogSession
{
protected:
    LoginConditionsTest()
    {
        The_Conditions->EraseAll();
        std::memset(Glb_suscribed_message, 0, sizeof Glb_suscribed_message);
        for (const int kind : {order, trade, 133, chat}) {
            Glb_suscribed_message[kind] = 1;
        }
        Start();
    }
    ~LoginConditionsTest() override
    {
        The_Conditions->EraseAll();
        std::memset(Glb_suscribed_message, 0, sizeof Glb_suscribed_message);
    }

    int add(std::string kind, std::string field, std::string operation, std::string value)
    {
        return host.AddLoginCondition(kind.data(), field.data(), operation.data(), value.data());
    }

    // Lays the record into the views' buffer.
    static void receive(CMessage& record)
    {
        The_Receive_Buffer->Take({record.m_data, static_cast<std::size_t>(record.m_data_len)});
        Glb_cur_order_msg->Init();
        Glb_cur_chat_msg->Init();
    }
    template <class Record> static void receive(std::initializer_list<std::pair<int, const char*>> texts)
    {
        Record record;
        for (const auto& [field_id, text] : texts) {
            record[field_id].Set_Text(text);
        }
        receive(record);
    }
    int fits(int kind) { return host.FitConditions(kind, &*Glb_cur_order_msg); }

    RecordingHost host;
};

TEST_F(LoginConditionsTest, KindsWithoutAReceivedRecordAreIllegal)
{
    EXPECT_EQ(add("no such kind", "precio", "=", "1"), 15);
    EXPECT_EQ(add("Global_Table", "precio", "=", "1"), 15);
    EXPECT_EQ(add("End_Pending", "precio", "=", "1"), 15);
    EXPECT_EQ(host.AddLoginCondition(nullptr, nullptr, nullptr, nullptr), 15);
    EXPECT_THAT(host.lines(), ElementsAre("error 14 Illegal record type specified (no such kind) / 0 0",
                                          "error 14 Illegal record type specified (Global_Table) / 0 0",
                                          "error 14 Illegal record type specified (End_Pending) / 0 0",
                                          "error 14 Illegal record type specified () / 0 0"));
}

TEST_F(LoginConditionsTest, AFieldThatTheKindDoesNotHaveIsIllegal)
{
    EXPECT_EQ(add("chat_message", "precio", "=", "1"), 16);
    EXPECT_EQ(add("Chat", "usuario.precio", "=", "1"), 16);
    EXPECT_EQ(add("Chat", "receptor[2].precio", "=", "1"), 16);
    EXPECT_EQ(add("Chat", "texto[2]", "=", "1"), 16);
    EXPECT_EQ(add("Chat", std::string(5000, 'x'), "=", "1"), 16);
    char kind[] = "Chat";
    EXPECT_EQ(host.AddLoginCondition(kind, nullptr, nullptr, nullptr), 16);
    EXPECT_TRUE(host.has("error 14 Illegal name field specified (precio) in Chat message / 0 0"));
    EXPECT_TRUE(host.has("error 14 Illegal name field specified (usuario.precio) in Chat message / 0 0"));
    EXPECT_TRUE(host.has("error 14 Illegal name field specified () in Chat message / 0 0"));
    EXPECT_EQ(fits(chat), 1) << "nothing was added";
}

TEST_F(LoginConditionsTest, EachKindTakesConditionsOnItsOwnFields)
{
    struct Row
    {
        const char* kind;
        const char* field;
    };
    for (const Row& row : {Row{"Precios_Montos_Transados", "precio_hoy"},
                           Row{"Orden_Transaccion", "precio"},
                           Row{"Mantenimiento_Transacciones", "transmm_precio"},
                           Row{"Orden_Transaccion_RFQ", "precio"},
                           Row{"Historia_Posturas", "precio"},
                           Row{"Mantenimiento_Transaccion_Renta_Fija", "precio_1"},
                           Row{"Tarnel", "currency_pair"},
                           Row{"TarnelWh", "trade_id"},
                           Row{"Instruccion_De_Pago", "mercado_ip"},
                           Row{"Precios_Por_Hora", "secuencial"},
                           Row{"Precios_Por_Hora_Por_Plazo", "precio_medio"},
                           Row{"Login", "&"},
                           Row{"Log_Req", "&"},
                           Row{"Log_Begin", "&"},
                           Row{"Log_End", "&"},
                           Row{"Next_Log_Req", "&"},
                           Row{"Precios_Promedio_Compra", "precio_promedio_compra"},
                           Row{"Precios_Por_Hora_Am_Pm", "precio_cierre"},
                           Row{"Chat", "texto"},
                           Row{"Fin_Transaccion", "monto_total"}}) {
        EXPECT_EQ(add(row.kind, row.field, "=", "1"), 0) << row.kind;
    }
    EXPECT_THAT(host.lines(), IsEmpty());
}

TEST_F(LoginConditionsTest, AddingLeavesTheMessageThatIsComposed)
{
    Glb_cur_message_ptr = &*Glb_send_order_msg;
    EXPECT_EQ(add("Chat", "texto", "=", "x"), 0);
    EXPECT_EQ(Glb_cur_message_ptr, &*Glb_send_order_msg);
    Glb_cur_message_ptr = nullptr;
}

TEST_F(LoginConditionsTest, WhatTheHostComposesTakesNoPath)
{
    EXPECT_EQ(add("Tarnel", "codigo_primaryuser.data_code", "=", "1"), 16);
    EXPECT_EQ(add("TarnelWh", "trade_id[1]", "=", "1"), 16);
}

TEST_F(LoginConditionsTest, AReceivedFieldIsCompared)
{
    EXPECT_EQ(add("Orden_Transaccion", "MONEDA", "=", "USD"), 0);
    receive<CMsgOrder>({{MONEDA, "USD"}});
    EXPECT_EQ(fits(order), 1);
    receive<CMsgOrder>({{MONEDA, "EUR"}});
    EXPECT_EQ(fits(order), 0);
    EXPECT_EQ(fits(113), 0) << "not subscribed";
    Glb_suscribed_message[113] = 1;
    EXPECT_EQ(fits(113), 1) << "a kind of its own, though it has the same view";
}

TEST_F(LoginConditionsTest, BothOfTwoOrTheSecondAlone)
{
    add("Orden_Transaccion", "moneda", "=", "USD");
    add("Orden_Transaccion", "o_d", "=", "D");
    receive<CMsgOrder>({{MONEDA, "EUR"}, {O_D, "D"}});
    EXPECT_EQ(fits(order), 1);
    add("Orden_Transaccion", "&", "", "");
    EXPECT_EQ(fits(order), 0);
    receive<CMsgOrder>({{MONEDA, "USD"}, {O_D, "D"}});
    EXPECT_EQ(fits(order), 1);
}

TEST_F(LoginConditionsTest, GroupsAreJoinedInTheOrderOfTheirConnectives)
{
    add("Orden_Transaccion", "moneda", "=", "USD");
    add("Orden_Transaccion", "usuario", "=", "U001");
    add("Orden_Transaccion", "usuario", "=", "U002");
    add("Orden_Transaccion", "|", "", "");
    add("Orden_Transaccion", "&", "", "");
    receive<CMsgOrder>({{MONEDA, "USD"}, {USUARIO, "U001"}});
    EXPECT_EQ(fits(order), 1);
    receive<CMsgOrder>({{MONEDA, "USD"}, {USUARIO, "U003"}});
    EXPECT_EQ(fits(order), 0);
    receive<CMsgOrder>({{MONEDA, "EUR"}, {USUARIO, "U002"}});
    EXPECT_EQ(fits(order), 0);
}

TEST_F(LoginConditionsTest, OnlyTheFirstCharacterOfAConnectiveCounts)
{
    EXPECT_EQ(add("Chat", "texto", "like", "no"), 0);
    EXPECT_EQ(add("Chat", "|texto", "=", "not looked at"), 0);
    receive<CMsgChat>({{TEXTO_CHAT, "hello"}});
    EXPECT_EQ(fits(chat), 1);
}

TEST_F(LoginConditionsTest, AnEmptyNameMakesAConditionThatNeverHolds)
{
    for (const char* operation : {"", "==", "like", "not like"}) {
        The_Conditions->EraseAll();
        EXPECT_EQ(add("Chat", "", operation, "hello"), 0);
        EXPECT_EQ(fits(chat), 0) << operation;
    }
}

TEST_F(LoginConditionsTest, AMissingOperatorOrValueIsAnEmptyOne)
{
    char kind[] = "Chat";
    char field[] = "texto";
    char equal[] = "=";
    EXPECT_EQ(host.AddLoginCondition(kind, field, equal, nullptr), 0);
    receive<CMsgChat>({});
    EXPECT_EQ(fits(chat), 1);
    EXPECT_EQ(host.AddLoginCondition(kind, field, nullptr, nullptr), 0);
    EXPECT_EQ(fits(chat), 0);
}

TEST_F(LoginConditionsTest, AMessageThatIsNotSubscribedNeverFits)
{
    Glb_suscribed_message[order] = 0;
    EXPECT_EQ(fits(order), 0);
    EXPECT_THAT(Bodies(), IsEmpty()) << "its conditions are not asked";
    EXPECT_EQ(fits(-1), 0);
    EXPECT_EQ(fits(1000), 0);
    EXPECT_EQ(host.FitConditions(chat, nullptr), 1);
}

TEST_F(LoginConditionsTest, ConditionsOnTarnelLookAtTheMessageThatIsComposed)
{
    EXPECT_EQ(add("Tarnel", "currency_pair", "=", "EURUSD"), 0);
    receive<CTarnelMsg>({{G_CURRENCY_PAIR, "EURUSD"}});
    (*Glb_send_tarnel_msg)[G_CURRENCY_PAIR].Set_Text("USDCOP");
    EXPECT_EQ(fits(133), 0);
    (*Glb_send_tarnel_msg)[G_CURRENCY_PAIR].Set_Text("EURUSD");
    EXPECT_EQ(fits(133), 1);
}

TEST_F(LoginConditionsTest, APathIsFollowedFromEachMessage)
{
    TableWorld world;
    TableWorld::Subscribe_All();
    EXPECT_EQ(add("Chat", "emisor.nombre_completo", "like", "Ana%"), 0) << "before any user is known";
    world.Put(Glb_User_Table, 1, {{CODIGO_USUARIO, "U001"}, {NOMBRE_COMPLETO, "Ana Gil"}});
    world.Put(Glb_User_Table, 2, {{CODIGO_USUARIO, "U002"}, {NOMBRE_COMPLETO, "Juan Rey"}});
    receive<CMsgChat>({{EMISOR_CHAT, "U001"}});
    EXPECT_EQ(fits(chat), 1);
    receive<CMsgChat>({{EMISOR_CHAT, "U002"}});
    EXPECT_EQ(fits(chat), 0);
    receive<CMsgChat>({{EMISOR_CHAT, "U003"}});
    EXPECT_EQ(fits(chat), 0) << "nobody";
}

class ChatReceivers : public LoginConditionsTest
{
protected:
    static void receive_chat(const char* type, int number)
    {
        CMsgChat message;
        message[RECEPTOR_CHAT].Set_Text("U001    U002    ");
        message[TIPO_RECEPTORES_CHAT] = type;
        message[NUMERO_RECEPTORES_CHAT] = number;
        receive(message);
    }
};

TEST_F(ChatReceivers, AnElementIsComparedByItsOwnBytes)
{
    const TableWorld world;
    EXPECT_EQ(add("Chat", "receptor[2]", "=", "U002    "), 0);
    receive_chat("U", 2);
    EXPECT_EQ(fits(chat), 1);
    receive_chat("U", 1);
    EXPECT_EQ(fits(chat), 0) << "no such receiver";
    receive_chat("S", 2);
    EXPECT_EQ(fits(chat), 1);
    receive_chat("?", 2);
    EXPECT_EQ(fits(chat), 0);
}

TEST_F(ChatReceivers, AnElementDoesNotShortenTheFieldForTheNextCondition)
{
    const TableWorld world;
    add("Chat", "receptor", "like", "U001    U002    ");
    receive_chat("U", 2);
    EXPECT_EQ(fits(chat), 1);
    The_Conditions->EraseAll();
    add("Chat", "receptor", "=", "");
    add("Chat", "receptor[2]", "=", "U002    ");
    add("Chat", "receptor", "like", "U001    U002    ");
    add("Chat", "&", "", "");
    EXPECT_EQ(fits(chat), 1);
    EXPECT_EQ(fits(chat), 1) << "without an Init between";
}

TEST_F(ChatReceivers, APathThatOneSortOfReceiverHasIsTaken)
{
    const TableWorld world;
    EXPECT_EQ(add("Chat", "receptor[1].nombre_completo", "like", "%"), 0);
    EXPECT_EQ(add("Chat", "receptor[201]", "like", "%"), 16);
    EXPECT_EQ(add("Chat", "receptor[0]", "like", "%"), 16);
}

// ---- Life ------------------------------------------------------------------------------------------------------

TEST_F(LoginConditionsTest, AddingLeavesTheRecordInTheBufferAlone)
{
    receive<CMsgOrder>({});
    for (const char* kind : {"Login", "Log_End", "Precios_Por_Hora", "Fin_Transaccion"}) {
        EXPECT_EQ(add(kind, "&", "", ""), 0);
        EXPECT_EQ(Received_Number(), order) << kind;
    }
}

class ConditionsOfASession : public SessionTest
{
protected:
    ConditionsOfASession()
    {
        The_Conditions->EraseAll();
        scratch.write("qapi.cfg", "data_server DSAB\ntransaction_feed 1\n");
        add_one();
    }
    ~ConditionsOfASession() override { The_Conditions->EraseAll(); }

    void add_one() { EXPECT_EQ(host.AddLoginCondition(kind, field, operation, value), 0); }
    int fits() { return host.FitConditions(chat, &*Glb_cur_chat_msg); }

    RecordingHost host;
    char kind[5] = "Chat";
    char field[6] = "texto";
    char operation[2] = "=";
    char value[8] = "no such";
};

TEST_F(ConditionsOfASession, LogoutErasesThem)
{
    host.login();
    EXPECT_EQ(fits(), 0);
    host.Logout();
    EXPECT_EQ(fits(), 1);
    add_one();
    host.login();
    EXPECT_EQ(fits(), 0);
}

TEST_F(ConditionsOfASession, LogoutForceLeavesThem)
{
    host.login();
    host.LogoutForce();
    EXPECT_EQ(fits(), 0);
    EXPECT_EQ(host.Logout(), 4);
    EXPECT_EQ(fits(), 0);
}

TEST_F(LoginConditionsTest, MayBeAddedAndErasedWhileTheReaderAsks)
{
    const TableWorld world;
    std::atomic<int> asked{0};
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done) {
            receive<CMsgChat>({{TEXTO_CHAT, "hello"}});
            EXPECT_EQ(host.FitConditions(chat, &*Glb_cur_chat_msg), 1);
            ++asked;
        }
    });
    for (int added = 0; asked < 100; ++added) {
        EXPECT_EQ(add("Chat", added % 2 == 0 ? "texto" : "emisor.nombre_completo", "not like", "x%"), 0);
        if (added % 50 == 0) {
            The_Conditions->EraseAll();
        }
    }
    done = true;
    reader.join();
}

} // namespace
