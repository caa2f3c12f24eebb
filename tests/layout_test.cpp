#include "message/layout.h"

#include "message/message.h"
#include "message_numbers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr int free_class_id = CMSGBRIDGE_TYPE; // no class of this library has it

std::vector<std::string> names(const RecordLayout& layout)
{
    std::vector<std::string> all;
    for (const FieldPlace& place : layout.Fields()) {
        all.emplace_back(place.name != nullptr ? place.name : "-");
    }
    return all;
}

} // namespace

TEST(Layout, MessageIsItsNumberItsEnvelopeAndItsBody)
{
    auto composed = Composition::Of_Message(free_class_id, MSS_BRIDGE, 20);
    composed.Init_Header_Msg().Init_Field_Advancing(CABEZA).Init_Field(MERCADO_IP);
    const RecordLayout& layout = composed.Keep();
    EXPECT_EQ(layout.Size(), 100);
    EXPECT_EQ(layout.Data_Len(), 103);
    EXPECT_EQ(layout.Number(), 225);
    EXPECT_EQ(layout.Fields().size(), 1U + 27U + 1U + 1U);
    EXPECT_EQ(layout.Find(CODIGO_PRIMARYUSER)->displacement, 3);
    EXPECT_EQ(layout.Find(CABEZA)->displacement, 3);
    EXPECT_EQ(layout.Find(MERCADO_IP)->displacement, 83);
    EXPECT_EQ(layout.End_Base(), 83);
}

TEST(Layout, TableRecordHasTheHeaderInItsOrder)
{
    const RecordLayout& layout = Composition::Of_Table_Record(free_class_id, 30).Keep();
    EXPECT_EQ(names(layout),
              (std::vector<std::string>{"-", "i_op", "data_code", "rec_num", "-", "-", "-", "-", "data_info"}));
    EXPECT_EQ(layout.Find(DATA_INFO)->len, 30);
    EXPECT_EQ(layout.Find(FLAGS), nullptr);
    EXPECT_EQ(layout.End_Base(), 22);
}

TEST(Layout, FieldIsCutWhereTheRecordEnds)
{
    auto composed = Composition::Of_Table_Record(free_class_id, 10);
    composed.At(29).Init_Field(HORA).Behind(HORA).Init_Field(FECHA);
    const RecordLayout& layout = composed.Keep();
    EXPECT_EQ(layout.Find(HORA)->displacement, 52);
    EXPECT_EQ(layout.Find(HORA)->len, 6) << "begins behind the record: only the spare bytes limit it";
    auto cut = Composition::Of_Table_Record(free_class_id, 10);
    cut.At(5).Init_Field(HORA);
    EXPECT_EQ(cut.Keep().Find(HORA)->len, 32 - 28);
}

TEST(Layout, FieldBehindTheSpareBytesHasNoLengthAndStaysInside)
{
    auto composed = Composition::Of_Table_Record(free_class_id, 10);
    composed.At(200).Init_Field(HORA);
    const FieldPlace place = *composed.Keep().Find(HORA);
    EXPECT_EQ(place.len, 0);
    EXPECT_EQ(place.displacement, 32 + 100 - 1);
}

TEST(Layout, RunLeavesOutWhatIsOnlyCarried)
{
    auto composed = Composition::Of_Table_Record(free_class_id, 135);
    composed.Add_Run(DATOS_CITY, RELLENO_CITY);
    const RecordLayout& layout = composed.Keep();
    EXPECT_EQ(layout.Find(RELLENO_A_CITY), nullptr);
    EXPECT_NE(layout.Find(NOMBRE_CITY_6), nullptr);
    EXPECT_EQ(layout.Fields().size(), 9U + 10U);
}

TEST(Layout, NamesCanBeTakenAwayAndHaveAPrefix)
{
    auto composed = Composition::Of_Message(free_class_id, 1, 20);
    composed.With_Prefix("new_").Init_Field(HORA).With_Prefix(nullptr).Init_Field(FECHA).Init_Field(LOG);
    composed.Unnamed({LOG}).Without_Names().Init_Field(USUARIO);
    EXPECT_EQ(names(composed.Keep()), (std::vector<std::string>{"-", "new_hora", "fecha", "-", "-"}));
}

TEST(Layout, FieldsOfOneCodeComeInTheirOrder)
{
    auto composed = Composition::Of_Table_Record(free_class_id, 135);
    composed.Add_Run(NOMBRE_CITY_1, NOMBRE_CITY_6).Init_Field(CODIGO_3C_CITY);
    const RecordLayout& layout = composed.Keep();
    std::vector<std::string> found;
    for (const FieldPlace* place : layout.With_Code(qapi::Name_Code("nombre"))) {
        found.emplace_back(place->name);
    }
    EXPECT_EQ(found,
              (std::vector<std::string>{"nombre", "nombre[2]", "nombre[3]", "nombre[4]", "nombre[5]", "nombre[6]"}));
    EXPECT_TRUE(layout.With_Code(qapi::Name_Code("nombres")).empty());
}

TEST(Layout, EveryNameIsFoundByItsCode)
{
    auto composed = Composition::Of_Message(free_class_id, 1, 1421);
    composed.Init_Header_Msg().Init_Field_Advancing(CABEZA).Add_Run(DATOS_GLOBALES, IP_ACREDITAR_VENDEDOR_MONEDA_2);
    const RecordLayout& layout = composed.Keep();
    for (const FieldPlace* place : layout.Named()) {
        const auto found = layout.With_Code(place->code);
        EXPECT_NE(std::find(found.begin(), found.end(), place), found.end()) << place->name;
    }
}

TEST(Layout, CodeOfANameEndsAtItsBracketOrPoint)
{
    EXPECT_EQ(qapi::Name_Code(""), 1000);
    EXPECT_EQ(qapi::Name_Code("a"), (1000 * 2) ^ 'a');
    EXPECT_EQ(qapi::Name_Code("ab"), (((1000 * 2) ^ 'a') * 2) ^ 'b');
    EXPECT_EQ(qapi::Name_Code("receptor[2]"), qapi::Name_Code("receptor"));
    EXPECT_EQ(qapi::Name_Code("mercado.nombre"), qapi::Name_Code("mercado"));
    EXPECT_EQ(CMessage::Get_Code("mercado"), qapi::Name_Code("mercado"));
}

TEST(Layout, CodeCountsCharactersAsSignedAndWraps)
{
    EXPECT_EQ(qapi::Name_Code("\xFF"), (1000 * 2) ^ -1);
    EXPECT_EQ(qapi::Name_Code(std::string(40, 'a')), qapi::Name_Code(std::string(64, 'a'))) << "old characters leave";
}

TEST(Layout, PositionsOfAClassIdGoOnOverItsClasses)
{
    auto first = Composition::Of_Message(CMSGRBRIDGE_TYPE, 1, 20);
    first.Init_Field(HORA);
    auto second = Composition::Of_Message(CMSGRBRIDGE_TYPE, 1, 20);
    second.Init_Field(FECHA).Init_Field(HORA);
    const RecordLayout& one = first.Keep();
    const RecordLayout& other = second.Keep();
    EXPECT_EQ(one.Find(HORA)->position, 2);
    EXPECT_EQ(other.Find(FECHA)->position, 3);
    EXPECT_EQ(other.Find(HORA)->position, 2);
    EXPECT_EQ(one.Find(FECHA), nullptr);
}

TEST(Layout, KnowsWhoseBytesAreSharedWithAKeptValue)
{
    auto composed = Composition::Of_Message(free_class_id, 1, 20);
    composed.Init_Header_Msg().Init_Field(CABEZA);
    const RecordLayout& layout = composed.Keep();
    EXPECT_TRUE(layout.Find(CABEZA)->shares_bytes) << "numbers stand inside";
    EXPECT_FALSE(layout.Find(NUMERO_REMITENTE)->shares_bytes) << "only texts stand around it";
    EXPECT_FALSE(layout.Find(FECHA)->shares_bytes);
}
