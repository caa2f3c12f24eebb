#include "scenario/record_builder.h"

#include "field/field_classes.h"
#include "records/all_records.h"
#include "records/orders.h"
#include "support/report_texts.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <set>

using namespace qm;
using nlohmann::json;
using nlohmann::ordered_json;
using testing::IsEmpty;

namespace {

// Bytes of a record from a place on.
std::string BytesAt(const CMessage& record, std::size_t at, std::size_t count)
{
    return {record.m_data + at, count};
}

std::string WithZeros(std::string text, std::size_t size)
{
    text.resize(size, '\0');
    return text;
}

class OneRecord : public testing::Test
{
protected:
    std::string Set(const char* record_class, const std::string& field, const json& value)
    {
        m_record = Make_Record(record_class);
        return Set_Field(*m_record, field, value);
    }
    [[nodiscard]] std::string Body(std::size_t at, std::size_t count) const
    {
        return Body_Of(*m_record).substr(at, count);
    }

    std::unique_ptr<CMessage> m_record;
    ReportTexts m_reports;
};

using SetText = OneRecord;
using SetNumber = OneRecord;
using SetAnyField = OneRecord;
using FieldsOf = OneRecord;

} // namespace

// ---- Tables and records

TEST(TableNames, HaveTheirCodeAndClass)
{
    EXPECT_EQ(Find_Table_Name("cities")->code, 25);
    EXPECT_STREQ(Find_Table_Name("cities")->record_class, "CGTCity");
    EXPECT_STREQ(Find_Table_Of_Code(32141)->name, "sub_principals");
    EXPECT_EQ(Find_Table_Name("voice_groups")->code, 0);
}

TEST(TableNames, AreNotFoundWhenUnknown)
{
    EXPECT_EQ(Find_Table_Name("citys"), nullptr);
    EXPECT_EQ(Find_Table_Of_Code(0), nullptr);
    EXPECT_EQ(Find_Table_Of_Code(99), nullptr);
}

TEST(TableNames, EachHasAClassOfTableRecords)
{
    std::string names = All_Table_Names() + ", ";
    std::set<std::string> seen;
    while (!names.empty()) {
        const std::string name = names.substr(0, names.find(','));
        names.erase(0, name.size() + 2);
        const TableName* table = Find_Table_Name(name);
        ASSERT_NE(table, nullptr) << name;
        ASSERT_NE(Make_Record(table->record_class), nullptr) << name;
        EXPECT_EQ(Make_Record(table->record_class)->m_type, 1) << name;
        EXPECT_TRUE(seen.insert(table->record_class).second) << name;
    }
    EXPECT_EQ(seen.size(), 22U);
}

TEST(MakeRecord, GivesAnEmptyRecordOfItsClass)
{
    const auto city = Make_Record("CGTCity");
    ASSERT_NE(city, nullptr);
    EXPECT_EQ(city->m_data_len, 22 + 135);
    EXPECT_EQ(Body_Of(*city), std::string(135, '\0'));
    EXPECT_EQ(Make_Record("CGTTown"), nullptr);
}

// ---- Texts

TEST_F(SetText, PadsWithZeros)
{
    EXPECT_EQ(Set("CGTCity", "codigo_3c", "NOR"), "");
    EXPECT_EQ(Set_Field(*m_record, "nombre", "Puerto Norte"), "");
    EXPECT_EQ(Body(0, 26), "NOR" + std::string(2, '\0') + WithZeros("Puerto Norte", 21));
}

TEST_F(SetText, PadsTheKindThatStopsAtATerminator)
{
    EXPECT_EQ(Set("CGTInstit", "nombre", "Banco Norte"), "");
    EXPECT_EQ(Body(24, 30), WithZeros("Banco Norte", 30));
}

TEST_F(SetText, ReplacesALongerOne)
{
    Set("CGTCity", "nombre", "Puerto Norte");
    EXPECT_EQ(Set_Field(*m_record, "nombre", "Sur"), "");
    EXPECT_EQ(Body(5, 20), WithZeros("Sur", 20));
}

TEST_F(SetText, MayFillTheField)
{
    EXPECT_EQ(Set("CGTCity", "nombre", "abcdefghijklmnopqrst"), "");
    EXPECT_EQ(Body(5, 21), std::string("abcdefghijklmnopqrst\0", 21));
}

TEST_F(SetText, CountsBytesOfItsLength)
{
    EXPECT_EQ(Set("CGTCity", "nombre", "abcdefghijklmnopqrstu"), "expected a text of at most 20 bytes, found 21 bytes");
    EXPECT_EQ(Set("CGTCity", "letra_ciudad", "Ñ"), "expected a text of at most 1 bytes, found 2 bytes");
    EXPECT_EQ(Body_Of(*m_record), std::string(135, '\0'));
}

TEST_F(SetText, ReachesAnElementByItsName)
{
    EXPECT_EQ(Set("CGTCity", "nombre[2]", "North Harbour"), "");
    EXPECT_EQ(Body(25, 20), WithZeros("North Harbour", 20));
}

TEST_F(SetText, RefusesWhatIsNoText)
{
    const std::string complaint = R"(expected a text of at most 20 bytes or {"hex": "...", "times": ...}, found )";
    EXPECT_EQ(Set("CGTCity", "nombre", 71), complaint + "71");
    EXPECT_EQ(Set("CGTCity", "nombre", nullptr), complaint + "null");
    EXPECT_EQ(Set("CGTCity", "nombre", true), complaint + "true");
    EXPECT_EQ(Set("CGTCity", "nombre", json::array()), complaint + "[]");
}

TEST_F(SetText, TakesBytesAsHex)
{
    EXPECT_EQ(Set("CGTUser", "acceso_mercados_ver", {{"hex", "aA"}, {"times", 50}}), "");
    EXPECT_EQ(Body(150, 52), '\0' + std::string(50, '\xAA') + '\0');
    EXPECT_EQ(Set("CGTUser", "acceso_mercados_ver", {{"hex", "0100FF"}}), "");
    EXPECT_EQ(Body(151, 4), std::string("\x01\0\xFF\0", 4));
}

TEST_F(SetText, RefusesHexThatIsNone)
{
    for (const char* value : {R"({"hex": "A"})", R"({"hex": ""})", R"({"hex": "GG"})", R"({"hex": 10})", R"({})",
                              R"({"times": 1})", R"({"hex": "AA", "times": -1})", R"({"hex": "AA", "times": 1.5})",
                              R"({"hex": "AA", "time": 1})", R"({"hex": "AA", "times": 4000000000})"}) {
        EXPECT_THAT(Set("CGTUser", "acceso_mercados_ver", json::parse(value)),
                    testing::StartsWith("expected a text of at most 50 bytes or {"))
            << value;
    }
    EXPECT_EQ(Set("CGTUser", "acceso_mercados_ver", {{"hex", "AA"}, {"times", 51}}),
              "expected a text of at most 50 bytes, found 51 bytes");
}

TEST_F(SetText, RefusesAZeroWhereItWouldEndTheText)
{
    EXPECT_THAT(Set("CGTInstit", "nombre", {{"hex", "410042"}}), testing::StartsWith("expected a text of at most 30"));
}

TEST_F(SetText, IsTakenWithoutJsonToo)
{
    m_record = Make_Record("CMsgOrder");
    EXPECT_EQ(Set_Text_Field(*m_record, "usuario_postura", "U001"), "");
    EXPECT_EQ(Set_Text_Field(*m_record, "mercado", "71"), "");
    EXPECT_EQ(BytesAt(*m_record, 87 + 4, 4), "U001");
    EXPECT_EQ(BytesAt(*m_record, 87 + 55, 3), " 71");
    EXPECT_EQ(Set_Text_Field(*m_record, "mercado", "\xE1"), "expected a number from 0 to 999, found \"\\ufffd\"");
}

// ---- Numbers

TEST_F(SetNumber, WritesDigitsBehindBlanks)
{
    EXPECT_EQ(Set("CGTMarkets", "codigo", 71), "");
    EXPECT_EQ(Body(0, 3), " 71");
    EXPECT_EQ(Set("CGTMarkets", "codigo", "007"), "");
    EXPECT_EQ(Body(0, 3), "  7");
    EXPECT_EQ(Set("CGTMarkets", "codigo", 999), "");
    EXPECT_EQ(Body(0, 3), "999");
    EXPECT_EQ(Set("CGTMarkets", "codigo", 0), "");
    EXPECT_EQ(Body(0, 3), "   ");
}

TEST_F(SetNumber, RefusesDigitsThatDontFit)
{
    const std::string complaint = "expected a number from 0 to 999, found ";
    EXPECT_EQ(Set("CGTMarkets", "codigo", 1000), complaint + "1000");
    EXPECT_EQ(Set("CGTMarkets", "codigo", -1), complaint + "-1");
    EXPECT_EQ(Set("CGTMarkets", "codigo", 1.5), complaint + "1.5");
    EXPECT_EQ(Set("CGTMarkets", "codigo", ""), complaint + "\"\"");
    EXPECT_EQ(Set("CGTMarkets", "codigo", " 71"), complaint + "\" 71\"");
    EXPECT_EQ(Set("CGTMarkets", "codigo", "7l"), complaint + "\"7l\"");
    EXPECT_EQ(Set("CGTMarkets", "codigo", nullptr), complaint + "null");
    EXPECT_EQ(Set("CGTMarkets", "codigo", "99999999999999999999"), complaint + "\"99999999999999999999\"");
    EXPECT_EQ(Body(0, 3), std::string(3, '\0'));
}

TEST_F(SetNumber, WritesFixedPointWithItsDecimals)
{
    EXPECT_EQ(Set("CMsgOrder", "precio", "4012.25"), "");
    EXPECT_EQ(BytesAt(*m_record, 217, 19), "          4012.2500");
    EXPECT_EQ(Set("CMsgOrder", "precio", 4012.25), "");
    EXPECT_EQ(BytesAt(*m_record, 217, 19), "          4012.2500");
    EXPECT_EQ(Set("CMsgOrder", "precio", -12.5), "");
    EXPECT_EQ(BytesAt(*m_record, 217, 19), "-           12.5000");
    EXPECT_EQ(Set("CMsgOrder", "numero", 100000), "");
    EXPECT_EQ(BytesAt(*m_record, 246, 13), "       100000");
}

TEST_F(SetNumber, PrintsDoublesShortest)
{
    EXPECT_EQ(Set("CMsgOrder", "precio", 0.1), "");
    EXPECT_EQ(BytesAt(*m_record, 217, 19), "             0.1000");
    EXPECT_EQ(Set("CMsgOrder", "precio", 1e10), "");
    EXPECT_EQ(BytesAt(*m_record, 217, 19), "   10000000000.0000");
}

TEST_F(SetNumber, TakesZerosThatMeanNothing)
{
    EXPECT_EQ(Set("CMsgOrder", "precio", "0004012.250000"), "");
    EXPECT_EQ(BytesAt(*m_record, 217, 19), "          4012.2500");
    EXPECT_EQ(Set("CMsgOrder", "numero", "5.0"), "");
    EXPECT_EQ(BytesAt(*m_record, 246, 13), "            5");
}

TEST_F(SetNumber, RefusesDecimalsAndDigitsThatTheFieldCantHold)
{
    const std::string complaint = "expected a number of at most 13 digits and 4 decimals, found ";
    EXPECT_EQ(Set("CMsgOrder", "precio", 1.00005), complaint + "1.00005");
    EXPECT_EQ(Set("CMsgOrder", "precio", "1.00005"), complaint + "\"1.00005\"");
    EXPECT_EQ(Set("CMsgOrder", "precio", "12345678901234"), complaint + "\"12345678901234\"");
    EXPECT_EQ(Set("CMsgOrder", "precio", 1e300), complaint + "1e+300");
    EXPECT_EQ(Set("CMsgOrder", "precio", "1e3"), complaint + "\"1e3\"");
    EXPECT_EQ(Set("CMsgOrder", "precio", "1."), complaint + "\"1.\"");
    EXPECT_EQ(Set("CMsgOrder", "precio", ".5"), complaint + "\".5\"");
    EXPECT_EQ(Set("CMsgOrder", "precio", "+1"), complaint + "\"+1\"");
    EXPECT_EQ(Set("CMsgOrder", "precio", "-"), complaint + "\"-\"");
    EXPECT_EQ(Set("CMsgOrder", "precio", std::numeric_limits<double>::quiet_NaN()), complaint + "null");
    EXPECT_EQ(Set("CMsgOrder", "numero", 0.5), "expected a number of at most 12 digits and 0 decimals, found 0.5");
}

TEST_F(SetNumber, RefusesDecimalsThatTheLibraryWouldCut)
{
    EXPECT_EQ(Set("CGTHistoryTransDayTerm", "precio_por_monto_total", "1.00000001"), "");
    EXPECT_EQ(Set("CGTHistoryTransDayTerm", "precio_por_monto_total", "1.000000001"),
              "expected a number of at most 15 digits and 8 decimals, found \"1.000000001\"");
}

TEST_F(SetNumber, RefusesADoubleWithMoreDigitsThanItKeeps)
{
    EXPECT_EQ(Set("CMsgOrder", "precio", 1234567890123.4567), // is 1234567890123.45678...
              "expected a number of at most 13 digits and 4 decimals, found 1234567890123.4568");
    EXPECT_EQ(Set("CMsgOrder", "precio", "1234567890123.4567"), "");
    EXPECT_EQ(BytesAt(*m_record, 217, 19), " 1234567890123.4567");
}

TEST_F(SetNumber, WritesBinaryNumbers)
{
    EXPECT_EQ(Set("CGTVoiceGroup", "numero_grupo", 65535), "");
    EXPECT_EQ(Body(256, 2), "\xFF\xFF");
    EXPECT_EQ(Set("CGTVoiceGroup", "color_fondo_franja", 0xFFFEFDFC), "");
    EXPECT_EQ(Body(248, 4), "\xFC\xFD\xFE\xFF");
    EXPECT_EQ(Set("CGTVoiceGroup", "picture_precio", -2), "");
    EXPECT_EQ(Body(290, 2), "\xFE\xFF");
    EXPECT_EQ(Set("CGTVoiceGroup", "monto_maximo_plazo", "-2147483648"), "");
    EXPECT_EQ(Body(271, 4), std::string("\0\0\0\x80", 4));
}

TEST_F(SetNumber, RefusesBinaryNumbersOutOfRange)
{
    EXPECT_EQ(Set("CGTVoiceGroup", "numero_grupo", 65536), "expected a number from 0 to 65535, found 65536");
    EXPECT_EQ(Set("CGTVoiceGroup", "numero_grupo", -1), "expected a number from 0 to 65535, found -1");
    EXPECT_EQ(Set("CGTVoiceGroup", "picture_precio", 32768), "expected a number from -32768 to 32767, found 32768");
    EXPECT_EQ(Set("CGTVoiceGroup", "color_fondo_franja", 4294967296),
              "expected a number from 0 to 4294967295, found 4294967296");
    EXPECT_EQ(Set("CGTVoiceGroup", "monto_maximo_plazo", 2147483648),
              "expected a number from -2147483648 to 2147483647, found 2147483648");
    EXPECT_EQ(Set("CGTVoiceGroup", "numero_grupo", 18446744073709551615ULL),
              "expected a number from 0 to 65535, found 18446744073709551615");
}

// ---- All fields

TEST_F(SetAnyField, MustBeOneOfTheClass)
{
    const std::string complaint = "expected the name of a field of CGTCity";
    EXPECT_EQ(Set("CGTCity", "nombr", "x"), complaint);
    EXPECT_EQ(Set("CGTCity", "nombre[7]", "x"), complaint);
    EXPECT_EQ(Set("CGTCity", "nombre.", "x"), complaint);
    EXPECT_EQ(Set("CGTCity", "", "x"), complaint);
    EXPECT_EQ(Set("CGTUser", "codigo_sucursal.nombre", "x"), "expected the name of a field of CGTUser");
}

TEST_F(SetAnyField, IsFoundInAnyCase)
{
    EXPECT_EQ(Set("CGTCity", "Codigo_3C", "NOR"), "");
    EXPECT_EQ(Body(0, 3), "NOR");
}

TEST_F(SetAnyField, MustBePartOfWhatAScenarioGives)
{
    const std::string complaint = "expected a field of what a scenario gives: the market writes this one itself";
    EXPECT_EQ(Set("CGTCity", "data_code", 25), complaint);
    EXPECT_EQ(Set("CGTVoiceGroup", "codigo_unico_registro", 1), complaint);
}

TEST_F(SetAnyField, MustHaveItsBytesForItself)
{
    EXPECT_EQ(Set("CMsgOrder", "usuario_empleado", "0001"),
              "expected a field of this record: its bytes belong to another one here");
}

// Each named field of each class takes the longest value that it should, gives it back, and nothing is reported.
TEST_F(SetAnyField, TakesItsLongestValueInEveryClass)
{
    int fields = 0;
    for (const RecordClass& row : All_Record_Classes()) {
        for (const qapi::FieldPlace* place : row.layout().Named()) {
            m_record = Make_Record(row.name);
            CField& field = (*m_record)[place->field_id];
            const int decimals = field.m_decimal_len;
            json value = std::string(static_cast<std::size_t>(field.m_len), 'x');
            if (field.m_type == FLD_NUM_ASCII_DOUBLE) {
                const int whole = std::min(field.m_len - 1 - (decimals > 0 ? decimals + 1 : 0), 16);
                value = std::string(static_cast<std::size_t>(whole), '9') +
                        (decimals > 0 ? "." + std::string(static_cast<std::size_t>(std::min(decimals, 8)), '9') +
                                            std::string(static_cast<std::size_t>(std::max(decimals - 8, 0)), '0')
                                      : "");
            } else if (field.m_type == FLD_NUM_ASCII_INT) {
                value = std::stoi(std::string(static_cast<std::size_t>(field.m_len), '9'));
            } else if (field.m_type == FLD_DATE) {
                value = "20260115";
            } else if (field.m_type != FLD_ALPHA) {
                value = field.m_type == FLD_SHORT || field.m_type == FLD_UNSIGNED_SHORT ? 32767 : 2147483647;
            }
            const std::string complaint = Set_Field(*m_record, place->name, value);
            if (complaint.find("belong") != std::string::npos || complaint.find("itself") != std::string::npos) {
                continue;
            }
            ASSERT_EQ(complaint, "") << row.name << " " << place->name;
            const ordered_json shown = Fields_Of(*m_record);
            if (shown.contains(place->name)) {
                EXPECT_EQ(shown[place->name].dump(), value.dump()) << row.name << " " << place->name;
                ++fields;
            }
        }
    }
    EXPECT_GT(fields, 1000);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

// ---- What a record says

TEST_F(FieldsOf, LeavesOutWhatIsEmpty)
{
    m_record = Make_Record("CGTCity");
    EXPECT_EQ(Fields_Of(*m_record), ordered_json::object());
    std::memset(m_record->m_data + 22, ' ', 135);
    EXPECT_EQ(Fields_Of(*m_record), ordered_json::object());
}

TEST_F(FieldsOf, ShowsTextsAndNumbersInTheOrderOfTheRecord)
{
    Set("CGTMarkets", "codigo", 71);
    Set_Field(*m_record, "nombre", "Dólar");
    Set_Field(*m_record, "nombre[2]", "Dollar");
    Set_Field(*m_record, "spread_maximo", "-0.2500");
    Set_Field(*m_record, "base", 360);
    Set_Field(*m_record, "monto_inicial_convocatoria", -5);
    EXPECT_EQ(Fields_Of(*m_record).dump(), R"({"codigo":71,"nombre":"Dólar","nombre[2]":"Dollar",)"
                                           R"("spread_maximo":"-0.2500","base":360,"monto_inicial_convocatoria":-5})");
}

TEST_F(FieldsOf, LeavesOutTextsThatStandForAGroup)
{
    Set("CMsgOrder", "usuario_postura", "U001");
    Set_Field(*m_record, "mercado", 71);
    ordered_json fields = Fields_Of(*m_record);
    EXPECT_EQ(fields["codigo_postura"], "U001");
    EXPECT_EQ(fields["mercado"], 71);
    EXPECT_FALSE(fields.contains("datos_globales"));
    EXPECT_FALSE(fields.contains("datos_postulante"));
    EXPECT_FALSE(fields.contains("data_info"));
}

TEST_F(FieldsOf, ShowsBytesThatAreNoUtf8AsCharactersOfTheirNumber)
{
    Set("CGTCity", "nombre", {{"hex", "53C3B1C341E1"}}); // S, ñ, a lead without its follower, A, a byte alone
    EXPECT_EQ(Fields_Of(*m_record)["nombre"], "Sñ\u00C3A\u00E1");
    EXPECT_EQ(Fields_Of(*m_record).dump(-1, ' ', true), R"({"nombre":"S\u00f1\u00c3A\u00e1"})");
}

TEST_F(FieldsOf, KeepsUtf8FromOverlongFormsAndSurrogates)
{
    Set("CGTCity", "nombre", {{"hex", "C080EDA080F4908080"}});
    EXPECT_EQ(Fields_Of(*m_record)["nombre"], "\u00C0\u0080\u00ED\u00A0\u0080\u00F4\u0090\u0080\u0080");
    Set("CGTCity", "nombre", "€ 😀");
    EXPECT_EQ(Fields_Of(*m_record)["nombre"], "€ 😀");
}

TEST_F(FieldsOf, ShowsDigitsThatAreNoneAsText)
{
    m_record = Make_Record("CGTMarkets");
    std::memcpy(m_record->m_data + 22, "7x ", 3);
    EXPECT_EQ(Fields_Of(*m_record)["codigo"], "7x");
}

TEST_F(FieldsOf, KeepsATextWithZerosInside)
{
    Set("CGTCity", "nombre", {{"hex", "410042"}});
    EXPECT_EQ(Fields_Of(*m_record).dump(), R"({"nombre":"A\u0000B"})");
}

TEST_F(FieldsOf, ShowsASessionsMessageByTheCataloguesNames)
{
    Set("CMsgLogin", "nombre_usuario", "ana");
    EXPECT_EQ(Fields_Of(*m_record).dump(), R"({"nombre_usuario":"ana"})");
}

TEST_F(FieldsOf, ShowsBytesByTheFlagThatTellsWhoseTheyAre)
{
    Set("CMsgOrder", "usuario_sucursal_intermediario", "U001");
    EXPECT_EQ(Fields_Of(*m_record)["usuario_sucursal_intermediario"], "U001");
    Set_Field(*m_record, "bandera_sector_financiero", "E");
    ordered_json fields = Fields_Of(*m_record);
    EXPECT_FALSE(fields.contains("usuario_sucursal_intermediario"));
    EXPECT_EQ(fields["usuario_empleado"].get<std::string>().substr(0, 4), "U001");
}

TEST_F(FieldsOf, GivesUtf8OfAnyBytesInEveryClass)
{
    for (const RecordClass& row : All_Record_Classes()) {
        m_record = Make_Record(row.name);
        for (int i = 3; i < m_record->m_data_len; ++i) {
            m_record->m_data[i] = static_cast<char>(i * 37);
        }
        EXPECT_NO_THROW(Fields_Of(*m_record).dump()) << row.name;
    }
}

TEST(BodyOf, BeginsBehindTheHeader)
{
    const auto country = Make_Record("CGTCountry");
    Set_Text_Field(*country, "codigo", "NV");
    EXPECT_EQ(Body_Of(*country), WithZeros("NV", 253));
}
