#include "tblproc/tblequiv.h"

#include "tblproc/global_tables.h"

#include <gmock/gmock.h>

#include <climits>
#include <string>

namespace {

struct ExpectedRow
{
    int type;
    int code;
    int source;
    int flags;
    int protocol;
    int level;
    const char* table;
};

constexpr ExpectedRow rows[] = {
    {0, 0, 0, 1, 0, 0, "none"},
    {1, 0, 1, 9, 0, 2, "Glb_Order_Table"},
    {2, 0, 1, 1, 0, 1, "Glb_VoiceSummary_Table"},
    {3, 22, 1, 17, 2, 1, "Glb_Branches_Table"},
    {4, 0, 1, 1, 0, 1, "Glb_User_Table"},
    {5, 8, 1, 1, 0, 1, "none"},
    {6, 21, 1, 17, 2, 1, "Glb_Instit_Table"},
    {7, 30, 1, 17, 2, 1, "Glb_IntSuperGroup_Table"},
    {8, 23, 1, 17, 2, 1, "Glb_Primaryuser_Table"},
    {9, 25, 1, 17, 2, 1, "Glb_City_Table"},
    {10, 0, 1, 1, 0, 1, "Glb_Markets_Table"},
    {11, 28, 1, 17, 2, 1, "Glb_Money_Table"},
    {12, 26, 1, 17, 2, 1, "Glb_Country_Table"},
    {13, 54, 1, 17, 2, 1, "Glb_InsPerm_Table"},
    {14, 0, 1, 17, 2, 1, "Glb_IntVoiceGroup_Table"},
    {15, 0, 1, 17, 0, 1, "Glb_IntFixedIncomeMarkets_Table"},
    {16, 0, 1, 17, 0, 2, "Glb_IntHistoryTransDayTerm_Table"},
    {17, 0, 1, 17, 0, 2, "Glb_IntRates_Table"},
    {18, 35, 1, 17, 2, 1, "Glb_Emisores_Table"},
    {19, 66, 1, 17, 2, 1, "Glb_Comitentes_Table"},
    {20, 32026, 1, 17, 2, 1, "Glb_Fiduciarios_Table"},
    {21, 32053, 1, 17, 2, 1, "Glb_Employee_Table"},
    {22, 32055, 1, 17, 2, 1, "Glb_Esquema_Table"},
    {23, 32141, 1, 17, 2, 1, "Glb_SubComitente_Table"},
};

std::string name_of(const GlobalTable* table)
{
    return table != nullptr ? table->name : "none";
}

class TableRow : public testing::TestWithParam<ExpectedRow>
{
};

TEST_P(TableRow, TiesATypeToTheServers)
{
    const ExpectedRow& expected = GetParam();
    const TABLE_ID_EQUIVALENCE& row = G_table_id_equivalence.at(static_cast<std::size_t>(expected.type));
    EXPECT_EQ(row.type_id, expected.type);
    EXPECT_EQ(row.code, expected.code);
    EXPECT_EQ(row.table_source, expected.source);
    EXPECT_EQ(row.publish_flag, expected.flags);
    EXPECT_EQ(row.start_protocol, expected.protocol);
    EXPECT_EQ(row.level, expected.level);
}

TEST_P(TableRow, KnowsTheTableOfItsRecords)
{
    const GlobalTable* table = Table_Of_Type(GetParam().type);
    EXPECT_EQ(name_of(table), GetParam().table);
    EXPECT_EQ(TBLEQUIV_Row(GetParam().type).Ptr_CTableBase(), table != nullptr ? &table->get() : nullptr);
}

INSTANTIATE_TEST_SUITE_P(All, TableRow, testing::ValuesIn(rows),
                         [](const auto& each) { return std::to_string(each.param.type); });

TEST(TableRows, ThereIsOneForEachType)
{
    static_assert(MAX_CODE_ID == 24);
    EXPECT_EQ(std::size(rows), G_table_id_equivalence.size());
}

TEST(TableRows, TypesHaveTheirNumbers)
{
    static_assert(ZERO_CODE_ID == 0 && TABLE_CODE_ID == 1 && VOICE_SUMMARY_CODE_ID == 2 && BRANCHES_CODE_ID == 3);
    static_assert(USER_CODE_ID == 4 && DATAMANAGER_LIST_ID == 5 && INSTIT_CODE_ID == 6 && SUPERGROUP_CODE_ID == 7);
    static_assert(PRIMARY_USERS_CODE_ID == 8 && CITIES_CODE_ID == 9 && MARKETS_CODE_ID == 10 && MONEYS_CODE_ID == 11);
    static_assert(COUNTRIES_CODE_ID == 12 && INSTPERM_CODE_ID == 13 && VOICE_GROUP_CODE_ID == 14);
    static_assert(FIXEDINCOMEMARKETS_TABLE_ID == 15 && HISTORYTRANSDAYTERM_CODE_ID == 16 && RATES_TABLE_ID == 17);
    static_assert(EMISORES_CODE_ID == 18 && COMITENTES_CODE_ID == 19 && FIDUCIARIOS_CODE_ID == 20);
    static_assert(EMPLOYEE_CODE_ID == 21 && ESQUEMA_CODE_ID == 22 && SUBCOMITENTE_CODE_ID == 23);
}

TEST(TableRows, TheCodesOfTheFeedHaveTheirNames)
{
    static_assert(DATAMANAGER_LIST_CODE == 8 && INSTIT_TABLE_CODE == 21 && BRANCHES_TABLE_CODE == 22);
    static_assert(PRIMARY_USERS_TABLE_CODE == 23 && USER_TABLE_CODE == 24 && CITIES_TABLE_CODE == 25);
    static_assert(COUNTRIES_TABLE_CODE == 26 && MARKETS_TABLE_CODE == 27 && MONEYS_TABLE_CODE == 28);
    static_assert(SUPERGROUP_TABLE_CODE == 30 && EMISORES_TABLE_CODE == 35 && INSTPERM_TABLE_CODE == 54);
    static_assert(COMITENTES_TABLE_CODE == 66 && FIDUCIARIOS_TABLE_CODE == 32026 && EMPLOYEE_TABLE_CODE == 32053);
    static_assert(ESQUEMA_TABLE_CODE == 32055 && SUBCOMITENTE_TABLE_CODE == 32141);
    static_assert(VOICE_TERM_GROUP_TABLE_CODE == TABLENUM_VOICEGROUP && USER_TABLE_CODE == TABLENUM_USER);
    static_assert(TABLENUM_CONNUSER == 16 && TABLENUM_CUPOSXDIA == 32040);
}

TEST(TableRows, ANumberThatIsNoTypeHasRow0)
{
    for (const int type : {0, -1, 24, 25, 39999, INT_MAX, INT_MIN}) {
        EXPECT_EQ(&TBLEQUIV_Row(type), &G_table_id_equivalence[0]) << type;
        EXPECT_EQ(Table_Of_Type(type), nullptr) << type;
    }
    EXPECT_EQ(&TBLEQUIV_Row(23), &G_table_id_equivalence[23]);
}

TEST(TableRows, CodesThatSubscriptionsFilledInAreForgottenAndNoOthers)
{
    for (const int type : {1, 2, 4, 10, 14, 15, 16, 17}) {
        TBLEQUIV_Row(type).code = 700 + type;
    }
    TBLEQUIV_Forget_Codes();
    for (const ExpectedRow& expected : rows) {
        EXPECT_EQ(TBLEQUIV_Row(expected.type).code, expected.code) << expected.type;
    }
}

} // namespace
