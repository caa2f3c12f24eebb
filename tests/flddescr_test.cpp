#include "field/flddescr.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>

namespace {

// What Check_Fields prints about the catalogue after a change to it.
std::string Printed(const std::function<void(FIELD_TABLE&)>& change)
{
    FIELD_TABLE table = Fields_Of_Catalogue();
    change(table);
    testing::internal::CaptureStdout();
    Check_Fields(table);
    return testing::internal::GetCapturedStdout();
}

std::string Line(const FIELD_TABLE& table, int id)
{
    return std::to_string(table[static_cast<std::size_t>(id)].file_line);
}

FIELD_EQUIVALENCE Row(int id)
{
    FIELD_Check_Consistency();
    return glb_field_equivalence[static_cast<std::size_t>(id)];
}

// ---- The catalogue ----

TEST(FieldCatalogue, HasARowForEachIdAndIsConsistent)
{
    EXPECT_EQ(glb_field_equivalence.size(), 2337U);
    EXPECT_EQ(Printed([](FIELD_TABLE&) {}), "");
    testing::internal::CaptureStdout();
    FIELD_Check_Consistency();
    FIELD_Check_Consistency(); // offsets would be taken for placement codes
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    for (int id = 0; id < MAX_FIELDS_DEFINED; ++id) {
        ASSERT_EQ(Row(id).field_id, id);
    }
}

TEST(FieldCatalogue, OffsetsAreThoseOfTheGroups)
{
    EXPECT_EQ(Row(MSG_NUMBER_FIELD).field_offset, 0);
    EXPECT_EQ(Row(I_OP).field_offset, 0);
    EXPECT_EQ(Row(DATA_CODE).field_offset, 1);
    EXPECT_EQ(Row(REC_IDX).field_offset, 7);
    EXPECT_EQ(Row(ENV_CRC32).field_offset, 11);
    EXPECT_EQ(Row(CRC32).field_offset, 11);
    EXPECT_EQ(Row(ENVIRONMENT).field_offset, 15);
    EXPECT_EQ(Row(DATA_INFO).field_offset, 19);
    EXPECT_EQ(Row(FECHA_ALFANUMERICA).field_offset, 29);
    EXPECT_EQ(Row(FECHA).field_offset, 29);
    EXPECT_EQ(Row(MILISEGUNDO).field_offset, 37);
    EXPECT_EQ(Row(PRECIO).field_offset, 130);
    EXPECT_EQ(Row(TEXTO_CHAT).field_offset, 88);
    EXPECT_EQ(Row(RECEPTOR_CHAT).field_offset, 2140);
}

TEST(FieldCatalogue, RowsSayTypeLengthDecimalsAndReference)
{
    EXPECT_EQ(Row(PRECIO).field_type, FLD_NUM_ASCII_DOUBLE);
    EXPECT_EQ(Row(PRECIO).field_len, 19);
    EXPECT_EQ(Row(PRECIO).field_decimal_len, 4);
    EXPECT_EQ(Row(DATA_INFO).field_type, FLD_ALPHA);
    EXPECT_EQ(Row(DATA_INFO).field_len, 2800);
    EXPECT_EQ(Row(CRC32).field_type, FLD_UNSIGNED_INT);
    EXPECT_EQ(Row(CODIGO_PRIMARYUSER).field_reference, 7);
    EXPECT_EQ(Row(RECEPTOR_CHAT).field_reference, 23);
    EXPECT_EQ(Row(GW_TARNEL_PROCESSED_TIME_STAMP).field_decimal_len, FLD_ALPHA_TYPE_STRING);
}

TEST(FieldCatalogue, RowsThatLeaveThePositionAreMarked)
{
    EXPECT_EQ(Row(ENV_CRC32).has_offset, 1);
    EXPECT_EQ(Row(CRC32).has_offset, 0);
    EXPECT_EQ(Row(DATOS_CHAT).has_offset, 1);
}

// ---- Names ----

TEST(FieldNames, FollowTheRuleOfTheirRow)
{
    EXPECT_STREQ(Field_Name(PRECIO), "precio");
    EXPECT_STREQ(Field_Name(TEXTO_CHAT), "texto");                                       // without its last word
    EXPECT_STREQ(Field_Name(SCND_CODIGO_PRIMARYUSER), "codigo_primaryuser");             // without its first
    EXPECT_STREQ(Field_Name(SCND_FUNCION_INSTITUCION_REMITENTE), "funcion_institucion"); // without both
    EXPECT_STREQ(Field_Name(CODIGO_MARKETS_OLD), "codigo_old");                          // without the last but one
    EXPECT_STREQ(Field_Name(FILIACION_BV_1), "filiacion_bv[1]");
    EXPECT_EQ(Field_Name(ENV_CRC32), nullptr);
    EXPECT_EQ(Field_Name(DATOS_CHAT), nullptr);
    EXPECT_STREQ(Field_Symbol(TEXTO_CHAT), "TEXTO_CHAT");
}

TEST(FieldNames, RowsThatAreCarriedBelongToNoRecord)
{
    EXPECT_FALSE(Field_Is_Built(DATOS_CHAT));
    EXPECT_TRUE(Field_Is_Built(ENV_CRC32));
    EXPECT_TRUE(Field_Is_Built(PRECIO));
}

// ---- Broken tables ----

TEST(FieldCheck, ReportsAnIdThatIsNotItsIndex)
{
    const FIELD_TABLE table = Fields_Of_Catalogue();
    EXPECT_EQ(Printed([](FIELD_TABLE& broken) { broken[PRECIO].field_id = 7; }),
              "Error: bad value 7 line (" + Line(table, PRECIO) + ")\n");
}

TEST(FieldCheck, ReportsARowBehindASeparatorThatOpensNoGroup)
{
    const FIELD_TABLE table = Fields_Of_Catalogue();
    const std::string printed = Printed([](FIELD_TABLE& broken) {
        broken[I_OP].field_offset = 0;
        broken[I_OP].field_len = 0;
    });
    EXPECT_THAT(printed, testing::StartsWith("Error: must init offset " + std::to_string(DATA_CODE) + " line (" +
                                             Line(table, DATA_CODE) + ")\n"));
}

TEST(FieldCheck, ReportsAnEndThatIsNotReachedOrPassed)
{
    const FIELD_TABLE table = Fields_Of_Catalogue();
    for (const int end : {2, 4}) {
        EXPECT_EQ(Printed([end](FIELD_TABLE& broken) { broken[MSG_NUMBER_FIELD].end_pos = end; }),
                  "Error: end position should be 3 line (" + Line(table, MSG_NUMBER_FIELD) + ")\n");
    }
}

TEST(FieldCheck, ReportsALongRowOfATypeThatIsShort)
{
    const FIELD_TABLE table = Fields_Of_Catalogue();
    const auto of_length = [](int type, int length) {
        return Printed([=](FIELD_TABLE& changed) {
            changed[MSG_NUMBER_FIELD].field_type = type;
            changed[MSG_NUMBER_FIELD].field_len = length;
            changed[MSG_NUMBER_FIELD].end_pos = 0;
        });
    };
    const std::string line = Line(table, MSG_NUMBER_FIELD);
    EXPECT_EQ(of_length(FLD_NUM_ASCII_INT, 20), "");
    EXPECT_EQ(of_length(FLD_NUM_ASCII_INT, 21), "Error: bad type 4 line (" + line + ")\n");
    EXPECT_EQ(of_length(FLD_DATE, 21), "Error: bad type 8 line (" + line + ")\n");
    EXPECT_EQ(of_length(FLD_NUM_ASCII_DOUBLE, 26), "");
    EXPECT_EQ(of_length(FLD_NUM_ASCII_DOUBLE, 27), "Error: bad type 5 line (" + line + ")\n");
    EXPECT_EQ(of_length(FLD_ALPHA, 2000), "");
    EXPECT_EQ(of_length(12, 2000), "");
}

TEST(FieldCheck, ReportsAShortThatHasNotTwoBytes)
{
    const FIELD_TABLE table = Fields_Of_Catalogue();
    for (const int type : {FLD_SHORT, FLD_UNSIGNED_SHORT}) {
        const std::string printed = Printed([=](FIELD_TABLE& broken) { broken[MSG_NUMBER_FIELD].field_type = type; });
        EXPECT_EQ(printed, "Error: type " + std::to_string(type) + " bad short len line (" +
                               Line(table, MSG_NUMBER_FIELD) + ")\n");
    }
}

// ---- Placement ----

TEST(FieldCheck, PlacesRowsFromARunningPosition)
{
    std::array<FIELD_EQUIVALENCE, 8> rows{{
        // id, type, reference, placement, length, decimals, line, end, has_offset
        {0, FLD_ALPHA, 0, FLD_PLACE_GROUP, 10, 0, 1, 0, 0},
        {1, FLD_ALPHA, 0, FLD_PLACE_NEXT, 4, 0, 2, 0, 1},
        {2, FLD_ALPHA, 0, FLD_PLACE_OVERLAY, 6, 0, 3, 0, 0},
        {3, FLD_ALPHA, 0, FLD_PLACE_NEXT, 6, 0, 4, 10, 0},
        {4, FLD_ALPHA, 0, FLD_PLACE_BACK, 3, 0, 5, 8, 0},
        {5, 0, 0, 0, 0, 0, 6, 0, 0},
        {6, FLD_ALPHA, 0, FLD_PLACE_FIRST, 5, 0, 7, 0, 0},
        {7, FLD_ALPHA, 0, FLD_PLACE_NEXT, 1, 0, 8, 6, 0},
    }};
    testing::internal::CaptureStdout();
    Check_Fields(rows);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    const int offsets[] = {0, 0, 4, 4, 2, 0, 0, 5};
    const int marks[] = {1, 0, 1, 0, 0, 0, 0, 0};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].field_offset, offsets[i]) << i;
        EXPECT_EQ(rows[i].has_offset, marks[i]) << i;
    }
    EXPECT_EQ(rows[4].end_pos, 0);
}

TEST(FieldReport, NamesTheLineAndTheClassThatLacksTheField)
{
    testing::internal::CaptureStdout();
    FIELD_Report_No_Definition(PRECIO, 33);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Error: field line (" + std::to_string(Row(PRECIO).file_line) + ") should be defined in message-id 33\n");
}

} // namespace
