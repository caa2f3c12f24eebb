// Directives that take more than one value: use_msg_code and table_code.
#include "support/config_fixture.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

class ConfigLists : public ConfigFixture
{
protected:
    [[nodiscard]] static std::vector<int> markets()
    {
        return {Glb_Markets_Code, Glb_Markets_Code + Glb_markets_code_counter};
    }
    [[nodiscard]] static std::string numbers(int first, int last)
    {
        std::string text;
        for (int number = first; number <= last; ++number) {
            text += " " + std::to_string(number);
        }
        return text;
    }
    [[nodiscard]] static int rows()
    {
        const auto* end = std::find_if(std::begin(Glb_access_tables), std::end(Glb_access_tables),
                                       [](const auto& row) { return row.table_code == 0 && row.table_type == 0; });
        return static_cast<int>(end - Glb_access_tables);
    }
    [[nodiscard]] bool refused(const std::string& type, const std::string& name) const
    {
        return logged("ER-Table code " + type + " with name " + name +
                      " defined in config file is not handled. This table code will be ignored.");
    }
};

// ---- use_msg_code ----------------------------------------------------------------------------------------------

TEST_F(ConfigLists, MessageCodeAndMarketsAreTaken)
{
    EXPECT_EQ(apply("use_msg_code 113 in markets 71 72 140\n"), 0);
    EXPECT_EQ(Glb_Message_Code, 113);
    EXPECT_EQ(markets(), (std::vector<int>{71, 72, 140}));
}

TEST_F(ConfigLists, MessageCodeMayStandBehindEquals)
{
    EXPECT_EQ(apply("use_msg_code = 113 in markets 71\n"), 0);
    EXPECT_EQ(Glb_Message_Code, 113);
    EXPECT_EQ(markets(), std::vector<int>{71});
}

TEST_F(ConfigLists, MessageCodeIsThreeDigitsWide)
{
    EXPECT_EQ(apply("use_msg_code 1134 in markets 71\n"), 0);
    EXPECT_EQ(Glb_Message_Code, 113);
}

TEST_F(ConfigLists, WordsNeedOnlyBeContainedInAnyCase)
{
    EXPECT_EQ(apply("use_msg_code 113 WithIN theMARKETS: 71\n"), 0);
    EXPECT_EQ(markets(), std::vector<int>{71});
}

TEST_F(ConfigLists, MarketThatIsNoNumberIsZero)
{
    EXPECT_EQ(apply("use_msg_code 113 in markets 71, x\n"), 0);
    EXPECT_EQ(markets(), (std::vector<int>{71, 0}));
}

TEST_F(ConfigLists, OtherFormsAreCode3)
{
    for (const char* line :
         {"use_msg_code 113", "use_msg_code 113 in", "use_msg_code 113 in markets", "use_msg_code 113 at markets 71",
          "use_msg_code 113 in fields 71", "use_msg_code 113 markets in 71"}) {
        EXPECT_EQ(apply(std::string(line) + "\nuser_name Late\n"), 3) << line;
        EXPECT_EQ(error, "Config file has incorrect line 2");
    }
    EXPECT_TRUE(markets().empty());
    EXPECT_STREQ(Gbl_User_Name, "");
}

TEST_F(ConfigLists, MessageCodeOfAnUnsoundLineStays)
{
    EXPECT_EQ(apply("use_msg_code 113\n"), 3);
    EXPECT_EQ(Glb_Message_Code, 113);
}

TEST_F(ConfigLists, ThirtyMarketsAreTakenInSilence)
{
    EXPECT_EQ(apply("use_msg_code 113 in markets" + numbers(1, 30) + "\n"), 0);
    EXPECT_EQ(Glb_markets_code_counter, 30);
    EXPECT_EQ(Glb_Markets_Code[29], 30);
    EXPECT_TRUE(reports.empty());
}

TEST_F(ConfigLists, ThirtyFirstMarketIsReportedOnceAndTheReadingGoesOn)
{
    EXPECT_EQ(apply("use_msg_code 113 in markets" + numbers(1, 33) + "\nuser_name Ann\n"), 0);
    EXPECT_EQ(Glb_markets_code_counter, 30);
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].first, 3);
    EXPECT_EQ(reports[0].second, "The maximum number of code markts was exceeded.\n");
    EXPECT_STREQ(Gbl_User_Name, "Ann");
}

TEST_F(ConfigLists, MarketsOfSeveralLinesAddUpToThirty)
{
    EXPECT_EQ(apply("use_msg_code 113 in markets" + numbers(1, 20) + "\nuse_msg_code 114 in markets" + numbers(21, 31) +
                    "\n"),
              0);
    EXPECT_EQ(Glb_Message_Code, 114);
    EXPECT_EQ(Glb_markets_code_counter, 30);
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(ConfigLists, MarketsTextIsLeftAsItIs)
{
    const std::string text = "113 IN MARKETS 71\n";
    const std::string copy = text.c_str();
    EXPECT_EQ(COMMON_Set_Code_Markets_List(text.c_str()), 0);
    EXPECT_EQ(text, copy);
    EXPECT_EQ(COMMON_Set_Code_Markets_List(" \n"), 1);
}

// ---- table_code ------------------------------------------------------------------------------------------------

TEST_F(ConfigLists, TableCodesOfKnownTablesAreRows)
{
    EXPECT_EQ(apply("table_code 31 Posturas_Vigentes\ntable_code = 14006 INDICES_vigentes\n"), 0);
    ASSERT_EQ(rows(), 2);
    EXPECT_EQ(Glb_access_tables[0].table_code, 31);
    EXPECT_EQ(Glb_access_tables[0].table_type, 1);
    EXPECT_EQ(Glb_access_tables[1].table_code, 14006);
    EXPECT_EQ(Glb_access_tables[1].table_type, 17);
}

TEST_F(ConfigLists, TableCodesSubscribeNothingByThemselves)
{
    EXPECT_EQ(apply("table_code 31 Posturas_Vigentes\n"), 0);
    EXPECT_EQ(gbl_code_table_type[31], 0);
}

TEST_F(ConfigLists, UnknownTableNameIsLoggedWithTypeZero)
{
    EXPECT_EQ(apply("table_code 31 Posturas\n"), 0);
    EXPECT_EQ(rows(), 0);
    EXPECT_TRUE(refused("0", "Posturas"));
}

TEST_F(ConfigLists, MessageNameIsLoggedWithTypeMinusOne)
{
    EXPECT_EQ(apply("table_code 31 Chat\n"), 0);
    EXPECT_EQ(rows(), 0);
    EXPECT_TRUE(refused("-1", "Chat"));
}

// The name of all table messages together stands for no table.
TEST_F(ConfigLists, NameOfTheTableMessageItselfIsRefused)
{
    EXPECT_EQ(apply("table_code 31 Global_Table\n"), 0);
    EXPECT_EQ(rows(), 0);
    EXPECT_TRUE(refused("-1", "Global_Table"));
}

TEST_F(ConfigLists, MissingTableNameIsAnUnknownOne)
{
    EXPECT_EQ(apply("table_code 31\n"), 0);
    EXPECT_EQ(rows(), 0);
    EXPECT_TRUE(refused("0", ""));
}

TEST_F(ConfigLists, TableCodesEndAt39999)
{
    EXPECT_EQ(apply("table_code 0 Posturas_Vigentes\ntable_code 39999 Posturas_Vigentes\n"), 0);
    EXPECT_EQ(rows(), 2);
    EXPECT_FALSE(logged("is not handled"));
    EXPECT_EQ(apply("table_code 40000 Posturas_Vigentes\n"), 0);
    EXPECT_EQ(rows(), 0);
    EXPECT_TRUE(refused("1", "Posturas_Vigentes"));
}

TEST_F(ConfigLists, NegativeTableCodeIsRefused)
{
    EXPECT_EQ(apply("table_code -1 Resumenes_Vigentes\n"), 0);
    EXPECT_EQ(rows(), 0);
    EXPECT_TRUE(refused("2", "Resumenes_Vigentes"));
}

TEST_F(ConfigLists, TableCodesEndAt4096RowsAndAnAllZeroOne)
{
    std::string text;
    for (int i = 1; i <= 4096; ++i) {
        text += "table_code " + std::to_string(i) + " Hechos_Vigentes\n";
    }
    EXPECT_EQ(apply(text), 0);
    EXPECT_FALSE(logged("is not handled"));
    EXPECT_EQ(apply(text + "table_code 9999 Hechos_Vigentes\n"), 0);
    EXPECT_TRUE(refused("16", "Hechos_Vigentes"));
    EXPECT_EQ(rows(), 4096);
    EXPECT_EQ(Glb_access_tables[4095].table_code, 4096);
}

} // namespace
