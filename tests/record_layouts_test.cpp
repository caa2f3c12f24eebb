// What every record class is and where its fields stand, field by field against tests/data/record_layouts.txt.
#include "support/record_classes.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <vector>

namespace {

std::string type_word(int type, int decimals)
{
    static constexpr std::array<const char*, 9> words = {"",      "short", "ushort", "uint", "digits",
                                                         "fixed", "alpha", "int",    "date"};
    if (type == FLD_ALPHA && decimals == FLD_ALPHA_TYPE_STRING) {
        return "string";
    }
    return words.at(static_cast<std::size_t>(type));
}

std::string decimals_of(int type, int decimals)
{
    return type == FLD_ALPHA || type == FLD_DATE ? "-" : std::to_string(decimals);
}

// A field as its line in the file says it.
std::string line_of(const PinnedField& field)
{
    return field.symbol + " " + field.name + " " + field.type + " at " + std::to_string(field.offset) + " for " +
           std::to_string(field.length) + ", " + field.decimals + " decimals, leads to " +
           std::to_string(field.reference);
}

std::string line_of(const FieldPlace& place)
{
    const FIELD_EQUIVALENCE& row = glb_field_equivalence.at(static_cast<std::size_t>(place.field_id));
    return line_of(PinnedField{Field_Symbol(place.field_id), place.name != nullptr ? place.name : "-",
                               type_word(row.field_type, row.field_decimal_len), place.displacement, place.len,
                               decimals_of(row.field_type, row.field_decimal_len), row.field_reference});
}

std::string line_of(const CField& field)
{
    return line_of(PinnedField{Field_Symbol(field.m_field_id), field.Is_Named() ? field.m_field_name : "-",
                               type_word(field.m_type, field.m_decimal_len), field.m_displacement, field.m_len,
                               decimals_of(field.m_type, field.m_decimal_len), field.m_ref_value});
}

std::string three_digits(int number)
{
    const std::string digits = std::to_string(number);
    return std::string(3 - digits.size(), ' ') + digits;
}

class RecordLayouts : public RecordClassTest
{
};

INSTANTIATE_TEST_SUITE_P(Class, RecordLayouts, testing::ValuesIn(pinned_classes()), name_of_class);

TEST_P(RecordLayouts, ClassIsAsPinned)
{
    EXPECT_EQ(layout().Message_Id(), m_pinned.id);
    EXPECT_EQ(layout().Message_Type(), m_pinned.type);
    EXPECT_EQ(layout().Number(), m_pinned.number);
    EXPECT_EQ(layout().Size(), m_pinned.size);
    EXPECT_EQ(layout().Data_Len(), m_pinned.data_len);
    EXPECT_EQ(layout().End_Base(), m_pinned.base);
    const FieldPlace* crc = layout().Crc32_Field();
    EXPECT_EQ(crc != nullptr ? Field_Symbol(crc->field_id) : "-", m_pinned.crc);
}

TEST_P(RecordLayouts, RecordIsOfItsClass)
{
    EXPECT_EQ(record().m_message_id, m_pinned.id);
    EXPECT_EQ(record().m_type, m_pinned.type);
    EXPECT_EQ(record().m_data_len, m_pinned.data_len);
    EXPECT_EQ(record().Buffer_Size(), m_pinned.data_len + 100);
    EXPECT_EQ(record().m_msg_displacement, m_pinned.base);
    EXPECT_EQ(&record().Layout_In_Force(), &layout());
    EXPECT_EQ(std::string(record().m_data, 3), three_digits(m_pinned.number));
}

TEST_P(RecordLayouts, LayoutKnowsTheFieldOfTheCrc)
{
    const FieldPlace* crc = layout().Crc32_Field();
    EXPECT_EQ(crc != nullptr ? Field_Symbol(crc->field_id) : "-", m_pinned.crc);
}

TEST_P(RecordLayouts, FieldsOfTheLayoutStandAsPinned)
{
    const auto fields = layout().Fields();
    for (std::size_t i = 0; i < std::min(fields.size(), m_pinned.fields.size()); ++i) {
        ASSERT_EQ(line_of(fields[i]), line_of(m_pinned.fields[i])) << "field " << i;
    }
    EXPECT_EQ(fields.size(), m_pinned.fields.size());
}

TEST_P(RecordLayouts, FieldsOfARecordStandAsPinned)
{
    for (const PinnedField& pinned : m_pinned.fields) {
        const int id = field_id_of(pinned.symbol);
        ASSERT_GE(id, 0) << pinned.symbol;
        const CField& field = record()[id];
        EXPECT_EQ(field.m_field_id, id);
        EXPECT_EQ(line_of(field), line_of(pinned));
        EXPECT_EQ(field.m_parent, &record());
    }
}

TEST_P(RecordLayouts, PositionsRiseInTheOrderOfTheFields)
{
    int last = 0;
    for (const FieldPlace& place : layout().Fields()) {
        EXPECT_GT(place.position, last) << Field_Symbol(place.field_id);
        EXPECT_EQ(record().GetFieldPos(place.field_id), place.position) << Field_Symbol(place.field_id);
        last = place.position;
    }
}

// The users of a table and those who are connected share a class id, and its positions.
TEST_P(RecordLayouts, PositionsHaveNoGapUnlessTheClassSharesItsId)
{
    const auto fields = layout().Fields();
    if (m_pinned.id != CGTUSER_TYPE) {
        EXPECT_EQ(fields.back().position, static_cast<int>(fields.size()));
    }
}

TEST_P(RecordLayouts, ClassHasNoOtherField)
{
    for (int id = 0; id < MAX_FIELDS_DEFINED; ++id) {
        const bool expected = m_pinned.find(Field_Symbol(id)) != nullptr;
        EXPECT_EQ(layout().Find(id) != nullptr, expected) << Field_Symbol(id);
    }
}

// Of several fields with one name the first is found.
TEST_P(RecordLayouts, EveryNameLeadsToItsFirstField)
{
    std::set<std::string> seen;
    for (const PinnedField& pinned : m_pinned.fields) {
        if (!pinned.is_named() || !seen.insert(pinned.name).second) {
            continue;
        }
        const CField* field = record().Find_Field(pinned.name.c_str());
        ASSERT_NE(field, nullptr) << pinned.name;
        EXPECT_EQ(line_of(*field), line_of(pinned));
    }
}

TEST_P(RecordLayouts, OnlyTheHeaderOfATableRecordTakesNoPartInTransactions)
{
    const std::set<std::string> header = {"MSG_NUMBER_FIELD", "I_OP", "DATA_CODE", "ENV_CRC32", "ENVIRONMENT", "CRC32"};
    for (const PinnedField& pinned : m_pinned.fields) {
        const bool expected = m_pinned.type == 1 && header.contains(pinned.symbol);
        EXPECT_EQ(record()[field_id_of(pinned.symbol)].m_no_change_message_flag, expected ? 1 : 0) << pinned.symbol;
    }
}

TEST_P(RecordLayouts, OnlyUsersOfOrdersAndTransactionsHaveAPolicy)
{
    const std::set<std::string> users = {"USUARIO_SUCURSAL_INTERMEDIARIO", "USUARIO_SUCURSAL_INTERMEDIARIO_1",
                                         "USUARIO_EMPLEADO", "USUARIO_EMPLEADO_1"};
    const bool trades = m_pinned.name == "CMsgOrder" || m_pinned.name == "CMsgTransMon";
    for (const FieldPlace& place : layout().Fields()) {
        const bool expected = trades && users.contains(Field_Symbol(place.field_id));
        EXPECT_EQ(place.policy != nullptr, expected) << Field_Symbol(place.field_id);
    }
}

TEST(RecordLayoutFile, HasEveryClassOfTheTreeAndNoOther)
{
    std::multiset<std::string> pinned;
    std::multiset<std::string> built;
    for (const PinnedClass& record : pinned_classes()) {
        pinned.insert(record.name);
    }
    for (const RecordClass& record : All_Record_Classes()) {
        built.insert(record.name);
    }
    EXPECT_EQ(built, pinned);
    EXPECT_EQ(pinned.size(), 51U);
}

TEST(RecordLayoutFile, HasThisManyFields)
{
    std::size_t fields = 0;
    for (const PinnedClass& record : pinned_classes()) {
        fields += record.fields.size();
    }
    EXPECT_EQ(fields, 3511U);
}

TEST(RecordLayoutFile, LargestRecordFitsTheLargestBuffer)
{
    int largest = 0;
    for (const PinnedClass& record : pinned_classes()) {
        largest = std::max(largest, record.data_len + 100);
    }
    EXPECT_EQ(LARGEST_RECORD_BUFFER, largest);
}

TEST(Catalogue, RowIsBuiltIfAndOnlyIfSomeClassHasIt)
{
    std::set<int> used;
    for (const RecordClass& record : All_Record_Classes()) {
        for (const FieldPlace& place : record.layout().Fields()) {
            used.insert(place.field_id);
        }
    }
    for (int id = 0; id < MAX_FIELDS_DEFINED; ++id) {
        EXPECT_EQ(used.contains(id), Field_Is_Built(id)) << Field_Symbol(id);
    }
}

} // namespace
