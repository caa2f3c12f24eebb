// What CQcApi::DescribeField tells, against the pinned layouts and against what reading a record gives.
#include "message_numbers.h"
#include "qcapi/message_names.h"
#include "reader/mailboxes.h"
#include "reader/taken_record.h"
#include "support/record_classes.h"
#include "support/recording_host.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr int untouched = -7;

QapiField Blank()
{
    return {untouched, untouched, untouched, untouched, untouched};
}

QapiField Described(const std::string& kind, const std::string& name)
{
    QapiField field = Blank();
    EXPECT_EQ(CQcApi::DescribeField(kind.c_str(), name.c_str(), &field), 0) << kind << " " << name;
    return field;
}

int Refused(const char* kind, const char* name)
{
    QapiField field = Blank();
    const int code = CQcApi::DescribeField(kind, name, &field);
    EXPECT_EQ(field.type, untouched);
    EXPECT_EQ(field.element_length, untouched);
    return code;
}

void Expect_Field(const QapiField& field, int type, int length, int decimals)
{
    EXPECT_EQ(field.type, type);
    EXPECT_EQ(field.length, length);
    EXPECT_EQ(field.decimals, decimals);
    EXPECT_EQ(field.elements, 1);
    EXPECT_EQ(field.element_length, length);
}

// Kind in the interface, record class.
const std::vector<std::pair<std::string, std::string>> kinds = {
    {"Precios_Montos_Transados", "CMsgPrcMntTrans"},
    {"Orden_Transaccion", "CMsgOrder"},
    {"Mantenimiento_Transacciones", "CMsgTransMon"},
    {"Orden_Transaccion_RFQ", "CMsgOrder"},
    {"Historia_Posturas", "CMsgOrder"},
    {"Mantenimiento_Transaccion_Renta_Fija", "CMsgPrcMntTransRentaFija"},
    {"Tarnel", "CTarnelMsg"},
    {"TarnelWh", "CTarnelWhMsg"},
    {"Instruccion_De_Pago", "CMsgPayInstruc"},
    {"Precios_Por_Hora", "CMsgPrcMntHour"},
    {"Precios_Por_Hora_Por_Plazo", "CMsgPrcMntHourTerm"},
    {"Precios_Promedio_Compra", "CMsgAvgPurchasePrice"},
    {"Precios_Por_Hora_Am_Pm", "CMsgPrcMntHourAmPm"},
    {"Chat", "CMsgChat"},
    {"Fin_Transaccion", "CMsgEndTransaction"},
    {"Posturas_Vigentes", "CGTOrder"},
    {"Resumenes_Vigentes", "CGTVoiceSummary"},
    {"Grupos_Vigentes", "CGTVoiceGroup"},
    {"Mercados_Renta_Fija_Vigentes", "CGTFixedIncomeMarkets"},
    {"Hechos_Vigentes", "CGTHistoryTransDayTerm"},
    {"Indices_Vigentes", "CGTRates"},
};

const PinnedClass& Pinned(const std::string& name)
{
    const auto& all = pinned_classes();
    const auto found = std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.name == name; });
    EXPECT_NE(found, all.end()) << name;
    return *found;
}

int Type_Of(const std::string& word)
{
    static const std::map<std::string, int> types = {{"short", 1},  {"ushort", 2}, {"uint", 3},
                                                     {"digits", 4}, {"fixed", 5},  {"alpha", 6},
                                                     {"string", 6}, {"int", 7},    {"date", 8}};
    return types.at(word);
}

TEST(DescribeField, EveryNamedFieldOfEveryKindIsAsItsLayoutHasIt)
{
    int described = 0;
    for (const auto& [kind, name_of_class] : kinds) {
        std::set<std::string> seen; // of two fields with one name the first is found
        for (const PinnedField& pinned : Pinned(name_of_class).fields) {
            if (!pinned.is_named() || !seen.insert(pinned.name).second || pinned.name == "receptor") {
                continue;
            }
            SCOPED_TRACE(kind + " " + pinned.name);
            Expect_Field(Described(kind, pinned.name), Type_Of(pinned.type), pinned.length,
                         pinned.type == "fixed" ? pinned.decimal_count() : 0);
            ++described;
        }
    }
    EXPECT_GT(described, 3000);
}

TEST(DescribeField, EveryKindWithAMailboxIsDescribed)
{
    std::set<std::string> with_mailbox;
    for (const auto& names : QAPI_Messages_Names) {
        if (Mailbox_Of(Kind_Of(names[0])) != nullptr) {
            with_mailbox.insert(names[0]);
        }
    }
    for (const auto& names : QAPI_Global_Table_Names) {
        with_mailbox.insert(names[0]);
    }
    std::set<std::string> listed;
    for (const auto& [kind, name_of_class] : kinds) {
        listed.insert(kind);
    }
    EXPECT_EQ(listed, with_mailbox);
}

// A record of each class is taken, and GetField and GetFieldBSTR are asked for each of its fields.
TEST(DescribeField, ReadingGivesTheSameTypesAndLengths)
{
    RecordingHost host;
    for (const auto& [kind, name_of_class] : kinds) {
        const auto record = record_class(name_of_class)->make(nullptr);
        Glb_taken_message_ptr = record.get();
        for (const FieldPlace* place : record->Layout_In_Force().Named()) {
            SCOPED_TRACE(kind + " " + place->name);
            std::string name = place->name;
            std::vector<char> data(4096);
            const QapiField field = Described(kind, name);
            EXPECT_EQ(host.GetField(name.data(), data.data()), field.type);
            EXPECT_EQ(host.GetFieldBSTR(name.data(), data.data()), field.length);
            EXPECT_LT(field.length, 4096);
        }
        Glb_taken_message_ptr = nullptr;
    }
}

TEST(DescribeField, NamesAreTakenInAnyCaseAndLanguage)
{
    Expect_Field(Described("CHAT_message", "NUMERO_Receptores"), 4, 3, 0);
}

TEST(DescribeField, ARepeatingFieldTellsOfItsElements)
{
    const QapiField whole = Described("Chat", "receptor");
    EXPECT_EQ(whole.type, 6);
    EXPECT_EQ(whole.length, 1600);
    EXPECT_EQ(whole.elements, 200);
    EXPECT_EQ(whole.element_length, 8);
}

TEST(DescribeField, AnIndexTellsOfOneElement)
{
    Expect_Field(Described("Chat", "receptor[1]"), 6, 8, 0);
    Expect_Field(Described("Chat", "Receptor[200]"), 6, 8, 0);
}

TEST(DescribeField, AnElementThatTheFieldLacksIsUnknown)
{
    for (const char* name : {"receptor[0]", "receptor[201]", "receptor[-1]", "receptor[]", "receptor[", "receptor[2",
                             "receptor[2]x", "receptor[2].nombre", "receptor[99999999999]", "mensaje[1]"}) {
        EXPECT_EQ(Refused("Chat", name), QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED) << name;
    }
}

TEST(DescribeField, AnUnknownKindIsToldFromAnUnknownField)
{
    EXPECT_EQ(Refused("No_Such_Kind", "precio"), QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED);
    EXPECT_EQ(Refused("", "precio"), QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED);
    EXPECT_EQ(Refused(nullptr, "precio"), QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED);
    EXPECT_EQ(Refused("Login", "precio"), QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED);
    EXPECT_EQ(Refused("Orden_Transaccion", "no_such_field"), QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED);
    EXPECT_EQ(Refused("Orden_Transaccion", ""), QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED);
    EXPECT_EQ(Refused("Orden_Transaccion", nullptr), QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED);
}

TEST(DescribeField, APathIntoAnotherRecordIsNoFieldOfTheKind)
{
    EXPECT_EQ(Refused("Orden_Transaccion", "usuario_postura.nombre"), QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED);
}

TEST(DescribeField, ANameWithoutEndIsUnknown)
{
    EXPECT_EQ(Refused("Chat", std::string(5000, 'a').c_str()), QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED);
}

} // namespace
