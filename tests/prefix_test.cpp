// What each reference gives for a code that is known, one that isn't, and one of a table that isn't subscribed.
#include "qcapi/prefix.h"

#include "support/log_session.h"
#include "support/table_world.h"

#include <gmock/gmock.h>

#include <array>
#include <climits>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int untouched = 77; // a status that nobody set

using Texts = std::vector<std::pair<int, const char*>>;

void write(CMessage& record, const Texts& texts)
{
    for (const auto& [field_id, text] : texts) {
        record[field_id].Set_Text(text);
    }
}

template <class Record> std::unique_ptr<CMessage> make()
{
    return std::make_unique<Record>();
}

// A function, the field that it follows, and a record of the table that it leads to.
struct Reference
{
    const char* name;
    CField_Ref_Fun* function;
    int index;
    int type; // of the table, 0 if it needs no subscription
    std::unique_ptr<CMessage> (*from)();
    int field;
    Texts code; // in the record of the field
    CMessage& (*put)(const Texts& texts);
    Texts named; // in the record of the table
    bool needs_record = false;
};

void PrintTo(const Reference& reference, std::ostream* to)
{
    *to << reference.name;
}

template <auto& table> CMessage& put(const Texts& texts)
{
    auto record = TableWorld::Record_Of(table);
    write(record, texts);
    record[REC_IDX] = 1U;
    return *table->Insert_Local_Record(&record, nullptr);
}

const Reference references[] = {
    {"city",
     PREFIX_City_from_codigo_3c,
     1,
     9,
     make<CMsgOrder>,
     CIUDAD,
     {{CIUDAD, "BOG"}},
     put<Glb_City_Table>,
     {{CODIGO_3C_CITY, "BOG"}}},
    {"issuer",
     PREFIX_Emisores_from_codigo,
     2,
     18,
     make<CMsgOrder>,
     EMISOR,
     {{EMISOR, "COABC"}},
     put<Glb_Emisores_Table>,
     {{DATOS_CODIGO_EMISOR, "COABC"}}},
    {"institution",
     PREFIX_Institucion_from_codigo_institucion,
     3,
     6,
     make<CMsgOrder>,
     CODIGO_INSTITUCION,
     {{CODIGO_INSTITUCION, "AB12"}},
     put<Glb_Instit_Table>,
     {{CODIGO_UNICO_INSTITUCION, "AB12"}}},
    {"market",
     PREFIX_Market_from_codigo,
     4,
     10,
     make<CMsgOrder>,
     MERCADO,
     {{MERCADO, "171"}},
     put<Glb_Markets_Table>,
     {{CODIGO_MARKETS, "171"}}},
    {"currency",
     PREFIX_Money_from_codigo,
     5,
     11,
     make<CMsgOrder>,
     MONEDA,
     {{MONEDA, "USD"}},
     put<Glb_Money_Table>,
     {{CODIGO_MONEY, "USD"}}},
    {"country",
     PREFIX_Country_from_codigo,
     6,
     12,
     make<CGTBranches>,
     CODIGO_PAIS_BRANCHES,
     {{CODIGO_PAIS_BRANCHES, "CO"}},
     put<Glb_Country_Table>,
     {{CODIGO_COUNTRY, "CO"}}},
    {"primary_user",
     PREFIX_Primaryuser_from_codigo,
     7,
     8,
     make<CMsgOrder>,
     CODIGO_PRIMARYUSER,
     {{CODIGO_PRIMARYUSER, "P001"}},
     put<Glb_Primaryuser_Table>,
     {{CODIGO_PU, "P001"}}},
    {"branch",
     PREFIX_Sucursal_from_codigo_sucursal,
     8,
     3,
     make<CMsgOrder>,
     SUCURSAL,
     {{SUCURSAL, "AB12BOG1"}},
     put<Glb_Branches_Table>,
     {{CODIGO_SUCURSAL_BRANCHES, "AB12BOG1"}}},
    {"user",
     PREFIX_User_from_codigo_usuario,
     9,
     4,
     make<CMsgOrder>,
     USUARIO,
     {{USUARIO, "U123"}},
     put<Glb_User_Table>,
     {{CODIGO_USUARIO, "U123"}}},
    {"voice_group",
     PREFIX_VoiceGroup_from_codigo_grupo,
     10,
     0,
     make<CMsgOrder>,
     CODIGO_GRUPO,
     {{CODIGO_GRUPO, "G001"}},
     put<Glb_IntVoiceGroup_Table>,
     {{CODIGO_VOICEGROUP, "G001"}}},
    {"super_group",
     PREFIX_SuperGroup_from_codigo,
     11,
     7,
     make<CGTVoiceGroup>,
     CODIGO_SUPER_GRUPO_VOICEGROUP,
     {{CODIGO_SUPER_GRUPO_VOICEGROUP, "S001"}},
     put<Glb_IntSuperGroup_Table>,
     {{CODIGO_VOICESUPERGROUP, "S001"}}},
    {"instruction",
     PREFIX_InsPerm_from_codigo,
     12,
     13,
     make<CMsgPayInstruc>,
     CODIGO_IP_PAY,
     {{CODIGO_IP_PAY, "U1231"}},
     put<Glb_InsPerm_Table>,
     {{CODIGO_IP, "U1231"}}},
    {"buyer",
     PREFIX_Comitentes_from_identificacion_comprador,
     13,
     19,
     make<CMsgTransMon>,
     IDENTIFICACION_COMPRADOR_TMONEDA,
     {{TIPO_IDENTIFICACION_COMPRADOR_TMONEDA, "N"}, {IDENTIFICACION_COMPRADOR_TMONEDA, "800123456789012"}},
     put<Glb_Comitentes_Table>,
     {{CLASE_CODIGO_COMITENTES, "N"}, {CODIGO_COMITENTE_COMITENTES, "800123456789012"}},
     true},
    {"buyers_trustee",
     PREFIX_Fiduciarios_from_codigo_comprador,
     14,
     20,
     make<CMsgTransMon>,
     CODIGO_ESPECIAL_FIDUCIARIO_COMPRADOR_TMONEDA,
     {{CODIGO_INSTITUCION_COMPRADOR_TMONEDA, "AB12"}, {CODIGO_ESPECIAL_FIDUCIARIO_COMPRADOR_TMONEDA, "F07"}},
     put<Glb_Fiduciarios_Table>,
     {{CODIGO_INSTITUCION_NUESTRA_FIDUCIARIOS, "AB12"}, {CODIGO_FIDUCIARIO_FIDUCIARIOS, "F07"}},
     true},
    {"sellers_trustee",
     PREFIX_Fiduciarios_from_codigo_vendedor,
     15,
     20,
     make<CMsgTransMon>,
     CODIGO_ESPECIAL_FIDUCIARIO_VENDEDOR_TMONEDA,
     {{CODIGO_INSTITUCION_VENDEDOR_TMONEDA, "CD34"}, {CODIGO_ESPECIAL_FIDUCIARIO_VENDEDOR_TMONEDA, "F08"}},
     put<Glb_Fiduciarios_Table>,
     {{CODIGO_INSTITUCION_NUESTRA_FIDUCIARIOS, "CD34"}, {CODIGO_FIDUCIARIO_FIDUCIARIOS, "F08"}},
     true},
    {"employee",
     PREFIX_Employee_from_codigo,
     16,
     21,
     make<CMsgOrder>,
     USUARIO_EMPLEADO,
     {{BANDERA_SECTOR_FINANCIERO, "E"}, {USUARIO_EMPLEADO, "E001"}},
     put<Glb_Employee_Table>,
     {{CODIGO_EMPLOYEE, "E001"}}},
    {"seller",
     PREFIX_Comitentes_from_identificacion_vendedor,
     18,
     19,
     make<CMsgTransMon>,
     IDENTIFICACION_VENDEDOR_TMONEDA,
     {{TIPO_IDENTIFICACION_VENDEDOR_TMONEDA, "C"}, {IDENTIFICACION_VENDEDOR_TMONEDA, "790000000000001"}},
     put<Glb_Comitentes_Table>,
     {{CLASE_CODIGO_COMITENTES, "C"}, {CODIGO_COMITENTE_COMITENTES, "790000000000001"}},
     true},
    {"sub_principal",
     PREFIX_SubComitente_from_codigo_comitente,
     19,
     23,
     make<CGTComitentes>,
     CODIGO_COMITENTE_COMITENTES,
     {{CLASE_CODIGO_COMITENTES, "N"}, {CODIGO_COMITENTE_COMITENTES, "800123456789012"}},
     put<Glb_SubComitente_Table>,
     {{CLASE_CODIGO_SUBCOMITENTE_SUBCOMITENTE, "N"}, {CODIGO_SUBCOMITENTE_SUBCOMITENTE, "800123456789012"}},
     true},
    {"own_principal",
     PREFIX_Comitente_from_id_comitente_propio,
     20,
     19,
     make<CMsgOrder>,
     ID_COMITENTE_PROPIO,
     {{TIPO_ID_COMITENTE_PROPIO, "N"}, {ID_COMITENTE_PROPIO, "800123456789012"}},
     put<Glb_Comitentes_Table>,
     {{CLASE_CODIGO_COMITENTES, "N"}, {CODIGO_COMITENTE_COMITENTES, "800123456789012"}},
     true},
    {"counterparty",
     PREFIX_Comitente_from_identificacion_contraparte,
     21,
     19,
     make<CMsgOrder>,
     IDENTIFICACION_CONTRAPARTE,
     {{TIPO_IDENTIFICACION_CONTRAPARTE, "N"}, {IDENTIFICACION_CONTRAPARTE, "800123456789012"}},
     put<Glb_Comitentes_Table>,
     {{CLASE_CODIGO_COMITENTES, "N"}, {CODIGO_COMITENTE_COMITENTES, "800123456789012"}},
     true},
    {"other_principal",
     PREFIX_Comitente_from_id_comitente_contraparte,
     22,
     19,
     make<CMsgOrder>,
     ID_COMITENTE_CONTRAPARTE,
     {{TIPO_ID_COMITENTE_CONTRAPARTE, "N"}, {ID_COMITENTE_CONTRAPARTE, "800123456789012"}},
     put<Glb_Comitentes_Table>,
     {{CLASE_CODIGO_COMITENTES, "N"}, {CODIGO_COMITENTE_COMITENTES, "800123456789012"}},
     true},
};

// A running log, and tables.
class PrefixSession : public LogSession
{
protected:
    PrefixSession() { Start(); }

    // The lines that were logged.
    std::vector<std::string> Lines() { return Bodies(); }

    TableWorld world;
    int status = untouched;
};

class Prefix : public PrefixSession, public testing::WithParamInterface<Reference>
{
protected:
    void SetUp() override
    {
        Write_Code();
        TableWorld::Subscribe_All();
    }

    void Write_Code() { write(*from, reference.code); }
    CMessage& Put_Named() { return reference.put(reference.named); }
    void* Follow(int flag) { return reference.function(&field(), 0, &status, flag); }
    CField& field() { return (*from)[reference.field]; }

    // The record that stands for one that isn't there: of the class of the table's own, without contents.
    void Expect_Empty(void* answer)
    {
        auto* record = static_cast<CMessage*>(answer);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->m_table_ptr, nullptr);
        const CMessage& real = Put_Named();
        EXPECT_EQ(record->m_message_id, real.m_message_id);
        EXPECT_EQ(std::string(record->m_data + 3, static_cast<std::size_t>(record->m_data_len) - 3),
                  std::string(static_cast<std::size_t>(real.m_data_len) - 3, '\0'));
        EXPECT_EQ(status, untouched);
    }

    const Reference& reference = GetParam();
    std::unique_ptr<CMessage> from = reference.from();
};

TEST_P(Prefix, GivesTheRecordThatTheCodeNames)
{
    CMessage& named = Put_Named();
    EXPECT_EQ(Follow(1), &named);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_P(Prefix, StatusMayBeLeftOut)
{
    CMessage& named = Put_Named();
    EXPECT_EQ(reference.function(&field(), 0, nullptr, 1), &named);
}

TEST_P(Prefix, IsRegisteredBehindItsIndexAndTheFieldHasIt)
{
    EXPECT_EQ(field().m_ref_value, reference.index);
    CMessage& named = Put_Named();
    EXPECT_EQ(field().Do_Reference_Call(0, 1, &status), &named);
    EXPECT_EQ(status, 0);
}

TEST_P(Prefix, WithoutASubscriptionGivesTheEmptyRecordAndNoLine)
{
    CMessage& named = Put_Named();
    Glb_subscribed_code_table_id[reference.type] = 0;
    if (reference.type == 0) {
        COMMON_Global_Codes_Clean();
        EXPECT_EQ(Follow(1), &named);
        return;
    }
    void* answer = Follow(1);
    EXPECT_THAT(Lines(), IsEmpty());
    Expect_Empty(answer);
}

TEST_P(Prefix, AnUnknownCodeGivesTheEmptyRecordAndALineEachTimeIfTheFlagSaysSo)
{
    const std::string line = "ER-Referenced Field was not found while searching Global Table. Field Id: (" +
                             std::to_string(reference.field) + "). Field Name: (" + field().m_field_name + ")";
    Follow(1);
    Expect_Empty(Follow(1));
    EXPECT_THAT(Lines(), ElementsAre(line, line));
}

TEST_P(Prefix, AnUnknownCodeIsNotToldWithoutTheFlag)
{
    Expect_Empty(Follow(0));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_P(Prefix, AnUnknownCodeThatDoesNotFillItsFieldIsNotTold)
{
    char* code = field().Get_Data_Ptr();
    std::memset(code, 'x', static_cast<std::size_t>(field().m_len));
    code[field().m_len - 1] = '\0';
    Expect_Empty(Follow(1));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_P(Prefix, EveryPartOfTheCodeCounts)
{
    for (const auto& [field_id, text] : reference.named) {
        Texts other = reference.named;
        const std::string changed = "?" + std::string(text + 1);
        for (auto& each : other) {
            each.second = each.first == field_id ? changed.c_str() : each.second;
        }
        reference.put(other);
        EXPECT_NE(static_cast<CMessage*>(Follow(0))->m_unic_number, Glb_Unic_Number) << field_id;
    }
}

TEST_P(Prefix, NoFieldGivesTheEmptyRecord)
{
    Expect_Empty(reference.function(nullptr, 0, &status, 1));
}

TEST_P(Prefix, AFieldWithoutARecordGivesTheEmptyRecordWhereThatIsNeeded)
{
    if (!reference.needs_record) {
        return;
    }
    CField& own = field();
    CMessage* parent = std::exchange(own.m_parent, nullptr);
    void* answer = Follow(1);
    own.m_parent = parent;
    Expect_Empty(answer);
}

INSTANTIATE_TEST_SUITE_P(All, Prefix, testing::ValuesIn(references), [](const auto& each) { return each.param.name; });

// ---- All references ----------------------------------------------------------------------------------------------

using PrefixList = PrefixSession;

TEST_F(PrefixList, AFieldWithoutAReferenceLeadsNowhere)
{
    CMsgOrder order;
    EXPECT_EQ(order[PRECIO].Do_Reference_Call(0, 1, &status), nullptr);
    EXPECT_EQ(status, 1);
}

TEST_F(PrefixList, IndexesBehindTheLastFunctionLeadNowhere)
{
    CMsgOrder order;
    for (int index = 24; index < MAX_REF_CALL; ++index) {
        order[PRECIO].m_ref_value = index;
        EXPECT_EQ(order[PRECIO].Do_Reference_Call(0, 1, &status), nullptr) << index;
    }
}

// Of SUCURSAL, which stands 51 bytes behind its group, two bytes are left.
TEST_F(PrefixList, ACodeThatIsCutByTheEndOfTheBufferIsReadNoFurther)
{
    TableWorld::Subscribe_All();
    CMessage& named = put<Glb_Branches_Table>({{CODIGO_SUCURSAL_BRANCHES, "AB"}});
    CMessage small(nullptr, 1);
    small.m_msg_displacement = small.Buffer_Size() - 2 - 51;
    CField& branch = small[SUCURSAL];
    ASSERT_EQ(branch.m_len, 2);
    std::memcpy(branch.Get_Data_Ptr(), "AB", 2);
    EXPECT_EQ(branch.Do_Reference_Call(0, 1, &status), &named);
}

TEST_F(PrefixList, ACodeBehindTheBufferNamesNoRecord)
{
    TableWorld::Subscribe_All();
    CMessage small(nullptr, 1);
    small.m_msg_displacement = small.Buffer_Size();
    small[SUCURSAL].Do_Reference_Call(0, 1, &status);
    EXPECT_EQ(status, 1);
}

// ---- Schemes -----------------------------------------------------------------------------------------------------

class Schemes : public PrefixSession
{
protected:
    Schemes()
    {
        TableWorld::Subscribe(ESQUEMA_CODE_ID);
        TableWorld::Use_Scheme("ESQ1");
        element[CODIGO_ESQUEMA_ESQUEMA].Set_Text("ESQ1");
        element[ID_ELEMENTO_ESQUEMA] = 0x0102;
        named = Glb_Esquema_Table->Insert_Local_Record(&element, nullptr);
        history[COLOR_ULTIMA_TRANS_PRECIO_HISTORYTRANSDAYTERM] = 0x0102;
        summary[COLOR_VOICESUMMARY] = 0x0102;
    }

    void* Follow(CMessage& record, int field_id)
    {
        return PREFIX_Esquema_from_codigo(&record[field_id], 0, &status, 1);
    }
    void Expect_Empty(void* answer)
    {
        EXPECT_NE(answer, named);
        EXPECT_EQ(static_cast<CMessage*>(answer)->m_message_id, named->m_message_id);
        EXPECT_EQ(status, untouched);
    }

    CGTEsquema element;
    CGTEsquema* named = nullptr;
    CGTHistoryTransDayTerm history;
    CGTVoiceSummary summary;
};

TEST_F(Schemes, TheColourOfATradeNamesAnElement)
{
    EXPECT_EQ(Follow(history, COLOR_ULTIMA_TRANS_PRECIO_HISTORYTRANSDAYTERM), named);
    EXPECT_EQ(status, 0);
}

TEST_F(Schemes, TheColourOfASummaryNamesAnElement)
{
    EXPECT_EQ(Follow(summary, COLOR_VOICESUMMARY), named);
    EXPECT_EQ(status, 0);
}

TEST_F(Schemes, BothAreRegistered)
{
    EXPECT_EQ(history[COLOR_ULTIMA_TRANS_PRECIO_HISTORYTRANSDAYTERM].Do_Reference_Call(0, 1, &status), named);
    EXPECT_EQ(summary[COLOR_VOICESUMMARY].Do_Reference_Call(0, 1, &status), named);
}

TEST_F(Schemes, OnlyTwoBytesOfAColourCount)
{
    history[COLOR_ULTIMA_TRANS_PRECIO_HISTORYTRANSDAYTERM] = 0x70102;
    EXPECT_EQ(Follow(history, COLOR_ULTIMA_TRANS_PRECIO_HISTORYTRANSDAYTERM), named);
}

TEST_F(Schemes, RecordsOfAnotherClassHaveNoColour)
{
    CMsgOrder order;
    Expect_Empty(Follow(order, MONEDA));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Schemes, ASessionWithoutASchemeHasNoElements)
{
    TableWorld::Use_Scheme("");
    Expect_Empty(Follow(history, COLOR_ULTIMA_TRANS_PRECIO_HISTORYTRANSDAYTERM));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Schemes, WithoutASubscriptionThereAreNone)
{
    COMMON_Global_Codes_Clean();
    Expect_Empty(Follow(summary, COLOR_VOICESUMMARY));
}

TEST_F(Schemes, NoFieldAndNoRecordGiveTheEmptyElement)
{
    Expect_Empty(PREFIX_Esquema_from_codigo(nullptr, 0, &status, 1));
    CField& colour = summary[COLOR_VOICESUMMARY];
    CMessage* parent = std::exchange(colour.m_parent, nullptr);
    void* answer = PREFIX_Esquema_from_codigo(&colour, 0, &status, 1);
    colour.m_parent = parent;
    Expect_Empty(answer);
}

TEST_F(Schemes, AnUnknownElementIsTold)
{
    TableWorld::Use_Scheme("ESQ2");
    summary[COLOR_VOICESUMMARY] = 0x4142; // its last byte isn't 0
    Expect_Empty(Follow(summary, COLOR_VOICESUMMARY));
    EXPECT_THAT(Lines(), ElementsAre("ER-Referenced Field was not found while searching Global Table. Field Id: (" +
                                     std::to_string(COLOR_VOICESUMMARY) + "). Field Name: (" +
                                     summary[COLOR_VOICESUMMARY].m_field_name + ")"));
}

// ---- Receivers of chats ------------------------------------------------------------------------------------------

class ChatReceivers : public PrefixSession
{
protected:
    ChatReceivers() { Say(3, 'U'); }

    void Say(int number, char type)
    {
        chat[NUMERO_RECEPTORES_CHAT] = number;
        chat[TIPO_RECEPTORES_CHAT].Set_Text(std::string(1, type));
    }
    void Write(int number, const std::string& code)
    {
        std::memset(chat[RECEPTOR_CHAT].Get_Data_Ptr() + (number - 1) * 8, 0, 8);
        code.copy(chat[RECEPTOR_CHAT].Get_Data_Ptr() + (number - 1) * 8, 8);
    }
    CMessage* Follow(int index)
    {
        status = 1;
        return static_cast<CMessage*>(PREFIX_Chat_from_tipo_receptores(&receptor, index, &status, 1));
    }
    void Expect_None(int index)
    {
        EXPECT_EQ(Follow(index), nullptr) << index;
        EXPECT_EQ(status, 1);
    }

    CMsgChat chat;
    CField& receptor = chat[RECEPTOR_CHAT];
};

TEST_F(ChatReceivers, UsersBranchesAndMarketsByTheKindAndNoSubscriptionIsAsked)
{
    CMessage& user = put<Glb_User_Table>({{CODIGO_USUARIO, "U123"}});
    CMessage& branch = put<Glb_Branches_Table>({{CODIGO_SUCURSAL_BRANCHES, "AB12BOG1"}});
    CMessage& market = put<Glb_Markets_Table>({{CODIGO_MARKETS, "171"}});
    const std::pair<char, std::string> kinds[] = {{'U', "U123xxxx"}, {'S', "AB12BOG1"}, {'M', "171xxxxx"}};
    const CMessage* records[] = {&user, &branch, &market};
    for (std::size_t i = 0; i < 3; ++i) {
        Say(3, kinds[i].first);
        Write(2, kinds[i].second);
        EXPECT_EQ(Follow(2), records[i]) << kinds[i].first;
        EXPECT_EQ(status, 2);
    }
}

TEST_F(ChatReceivers, AnUnknownReceiverIsTheEmptyRecordOfItsKind)
{
    const std::pair<char, int> kinds[] = {{'U', CGTUSER_TYPE}, {'S', CGTBRANCHES_TYPE}, {'M', CGTMARKET_TYPE}};
    for (const auto& [kind, class_id] : kinds) {
        Say(3, kind);
        const CMessage* record = Follow(1);
        EXPECT_EQ(record->m_message_id, class_id);
        EXPECT_EQ(record->m_table_ptr, nullptr);
        EXPECT_EQ(status, 2);
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ChatReceivers, ThereIsNoneOfAnotherKindButTheElementIsReached)
{
    Say(3, 'X');
    Expect_None(2);
    EXPECT_EQ(receptor.m_index, 2);
}

TEST_F(ChatReceivers, TheFieldStandsAtTheElement)
{
    Write(3, "U003");
    EXPECT_NE(Follow(3), nullptr);
    EXPECT_EQ(receptor.m_index, 3);
    EXPECT_EQ(receptor.m_len, 8);
    EXPECT_EQ(receptor.m_elem_len, 8);
    EXPECT_EQ(std::string(receptor.Get_Ptr(), 8), std::string("U003\0\0\0\0", 8));
}

TEST_F(ChatReceivers, ThereAreNoMoreThanTheMessageSays)
{
    EXPECT_NE(Follow(3), nullptr);
    Expect_None(4);
    EXPECT_EQ(receptor.m_index, 0);
}

TEST_F(ChatReceivers, NumbersBelowOneNameNone)
{
    for (const int index : {0, -1, INT_MIN}) {
        Expect_None(index);
    }
}

TEST_F(ChatReceivers, ThereAreNoMoreThanTwoHundredWhateverTheMessageSays)
{
    for (const int number : {200, 201, 999}) {
        Say(number, 'U');
        EXPECT_NE(Follow(200), nullptr) << number;
        EXPECT_EQ(std::string(receptor.Get_Ptr(), 8), std::string(8, '\0'));
        Expect_None(201);
        Expect_None(INT_MAX);
    }
}

TEST_F(ChatReceivers, NegativeNumbersAndTextsOfNoneAreNone)
{
    for (const char* number : {"-01", "000", "abc", "   "}) {
        chat[NUMERO_RECEPTORES_CHAT].Set_Text(number);
        Expect_None(1);
    }
}

TEST_F(ChatReceivers, NoFieldAndNoRecordGiveNone)
{
    EXPECT_EQ(PREFIX_Chat_from_tipo_receptores(nullptr, 1, &status, 1), nullptr);
    CMessage* parent = std::exchange(receptor.m_parent, nullptr);
    EXPECT_EQ(PREFIX_Chat_from_tipo_receptores(&receptor, 1, &status, 1), nullptr);
    receptor.m_parent = parent;
}

TEST_F(ChatReceivers, APathLeadsThroughAReceiver)
{
    put<Glb_User_Table>({{CODIGO_USUARIO, "U003"}, {NOMBRE_COMPLETO, "Ana"}});
    Write(3, "U003");
    CField* name = chat.Find_Field("receptor[3].nombre_completo");
    ASSERT_NE(name, nullptr);
    EXPECT_STREQ(name->Get_Data_Ptr(), "Ana");
    EXPECT_EQ(chat.Find_Field("receptor[4].nombre_completo"), nullptr);
    EXPECT_EQ(chat.Find_Field("receptor[4]"), nullptr);
}

} // namespace
