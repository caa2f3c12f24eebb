// Which tables of the configuration are opened by the environment and by the user's record.
#include "tblproc/table_messages.h"

#include "support/table_message_fixture.h"

#include <string>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MarketAccess : public TableMessages
{
protected:
    static constexpr unsigned user_table = 24;

    MarketAccess()
    {
        COMMON_Global_Codes_Add(USER_CODE_ID, user_table);
        std::memcpy(Glb_User_Code, "U001", 4);
    }

    static void Be_In(const char* environment) { std::memcpy(Glb_environment, environment, 2); }

    static void Configure(std::initializer_list<INFO_TABLE_CODE> tables)
    {
        std::copy(tables.begin(), tables.end(), std::begin(Glb_access_tables));
    }

    // 699 bytes: the code first, two bits a market from byte 151 on, the lowest first.
    static std::string user(const std::string& code, std::initializer_list<unsigned> markets, unsigned access = 2)
    {
        std::string bytes = code + std::string(695, '\0');
        for (const unsigned market : markets) {
            char& byte = bytes.at(151 + market / 4);
            byte = static_cast<char>(static_cast<unsigned char>(byte) | access << market % 4 * 2);
        }
        return bytes;
    }
    static void Receive_User(const std::string& data, char letter = 'I')
    {
        Receive({.letter = letter, .code = user_table, .idx = 1, .data = data});
    }

    // The configured tables that are open, by code.
    static std::vector<int> open()
    {
        std::vector<int> codes;
        for (int code = 0; code < MAX_TABLE_CODES; ++code) {
            if (Glb_subscribed_global_table_type[code] != 0) {
                EXPECT_EQ(gbl_code_table_type[code], static_cast<int>(Glb_subscribed_global_table_type[code]));
                EXPECT_EQ(Glb_subscribed_code_table_id[gbl_code_table_type[code]], 1U);
                codes.push_back(code);
            }
        }
        return codes;
    }
};

// ---- By the user ---------------------------------------------------------------------------------------------------

TEST_F(MarketAccess, TableOfAMarketThatTheUserSeesIsOpened)
{
    Configure({{.table_code = 14006, .table_type = 14},
               {.table_code = 6906, .table_type = 15},
               {.table_code = 31, .table_type = 16}});
    Receive_User(user("U001", {140}));
    EXPECT_THAT(open(), ElementsAre(14006));
    EXPECT_EQ(Glb_subscribed_global_table_type[14006], 14U);
}

TEST_F(MarketAccess, MarketIsThreeDigitsOfALongCodeAndTwoOfOthers)
{
    struct Case
    {
        int code;
        unsigned market;
    };
    for (const Case& each : {Case{14006, 140}, Case{6906, 69}, Case{1406, 14}, Case{310, 31}, Case{31, 31}, Case{7, 7},
                             Case{10000, 100}, Case{19999, 199}}) {
        Glb_subscribed_global_table_type[each.code] = 0;
        Configure({{.table_code = each.code, .table_type = 16}});
        Receive_User(user("U001", {each.market}));
        EXPECT_EQ(Glb_subscribed_global_table_type[each.code], 16U) << each.code;
    }
}

TEST_F(MarketAccess, NoOtherMarketOpensATable)
{
    Configure({{.table_code = 14006, .table_type = 14}, {.table_code = 6906, .table_type = 15}});
    for (unsigned market = 0; market < 200; ++market) {
        if (market != 140 && market != 69) {
            Receive_User(user("U001", {market}));
        }
    }
    EXPECT_THAT(open(), IsEmpty());
}

TEST_F(MarketAccess, OnlyAnAccessOfTwoOpens)
{
    Configure({{.table_code = 6906, .table_type = 15}});
    Receive_User(user("U001", {69}, 1));
    Receive_User(user("U001", {69}, 3));
    Receive_User(user("U001", {69}, 0));
    EXPECT_THAT(open(), IsEmpty());
    Receive_User(user("U001", {69}, 2));
    EXPECT_THAT(open(), ElementsAre(6906));
}

TEST_F(MarketAccess, RecordsOfOtherUsersOpenNothing)
{
    Configure({{.table_code = 6906, .table_type = 15}});
    for (const char* code : {"U002", "u001", "    ", "U00"}) {
        Receive_User(user(std::string(code).append(4, '\0').substr(0, 4), {69}));
    }
    EXPECT_THAT(open(), IsEmpty());
}

// ACCESO_MERCADOS_VER ends at market 199. What a user may deal in follows it.
TEST_F(MarketAccess, AMarketBehindTheFieldHasNoAccess)
{
    Configure({{.table_code = 20006, .table_type = 14},
               {.table_code = 39901, .table_type = 15},
               {.table_code = 39999, .table_type = 16}});
    std::string bytes = user("U001", {});
    bytes.replace(201, 498, std::string(498, '\xAA'));
    Receive_User(bytes);
    EXPECT_THAT(open(), IsEmpty());
}

TEST_F(MarketAccess, TheLastMarketOfTheFieldHasItsAccess)
{
    Configure({{.table_code = 19906, .table_type = 14}});
    Receive_User(user("U001", {199}));
    EXPECT_THAT(open(), ElementsAre(19906));
}

TEST_F(MarketAccess, AnyLetterOfTheUsersRecordOpens)
{
    Configure({{.table_code = 6906, .table_type = 15}});
    for (const char letter : {'I', 'C', 'A', 'B', 'z', 'R', 'S', '\0'}) {
        Glb_subscribed_global_table_type[6906] = 0;
        Receive_User(user("U001", {69}), letter);
        EXPECT_THAT(open(), ElementsAre(6906)) << letter;
    }
}

TEST_F(MarketAccess, EndOfTheUsersFindsNoUserCode)
{
    Configure({{.table_code = 6906, .table_type = 15}});
    TBLPROC_Register_Ref_Table(USER_CODE_ID);
    Receive({.letter = 'z', .code = user_table});
    EXPECT_THAT(open(), IsEmpty());
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
}

TEST_F(MarketAccess, RowsBehindTheEndAreNotLookedAt)
{
    Configure({{.table_code = 6906, .table_type = 15},
               {.table_code = 0, .table_type = 0},
               {.table_code = 6907, .table_type = 15}});
    Receive_User(user("U001", {69}));
    EXPECT_THAT(open(), ElementsAre(6906));
}

TEST_F(MarketAccess, AllRowsAreLookedAt)
{
    for (int row = 0; row < MAX_ACCESS_TABLES; ++row) {
        Glb_access_tables[row] = {.table_code = 10000 + row, .table_type = 16};
    }
    Receive_User(user("U001", {140}));
    EXPECT_EQ(open().size(), 96U); // 14000 to 14095
}

TEST_F(MarketAccess, CodeZeroIsATableLikeOthers)
{
    Configure({{.table_code = 0, .table_type = 16}});
    Receive_User(user("U001", {0}));
    EXPECT_THAT(open(), ElementsAre(0));
}

TEST_F(MarketAccess, TheOlderFormOpensNothing)
{
    Configure({{.table_code = 6906, .table_type = 15}});
    Receive_In_The_Older_Form({.letter = 'I', .code = user_table, .idx = 1, .data = user("U001", {69})});
    EXPECT_EQ(records_of_type(USER_CODE_ID), 1);
    EXPECT_THAT(open(), IsEmpty());
}

TEST_F(MarketAccess, WhatIsOpenStaysOpen)
{
    Configure({{.table_code = 6906, .table_type = 15}});
    Receive_User(user("U001", {69}));
    Receive_User(user("U001", {}), 'A');
    EXPECT_THAT(open(), ElementsAre(6906));
}

TEST_F(MarketAccess, ATableThatWasOpenedIsAskedForWithItsLevel)
{
    Configure({{.table_code = 6917, .table_type = 17}});
    Receive_User(user("U001", {69}));
    TBLPROC_Send_Global_Tables_Subscription(2);
    EXPECT_THAT(Take_Asked_For(), ElementsAre(6917U));
}

// ---- By the environment ------------------------------------------------------------------------------------------

constexpr std::initializer_list<INFO_TABLE_CODE> tables_of_mx = {
    {.table_code = 31, .table_type = 14},    {.table_code = 36, .table_type = 14},
    {.table_code = 6906, .table_type = 14},  {.table_code = 14006, .table_type = 15},
    {.table_code = 6907, .table_type = 16},  {.table_code = 14007, .table_type = 16},
    {.table_code = 14107, .table_type = 16}, {.table_code = 7007, .table_type = 16},
    {.table_code = 14207, .table_type = 16},
};

TEST_F(MarketAccess, InMxFourTablesAreOpenToAll)
{
    Configure(tables_of_mx);
    Be_In("MX");
    Set_Subscription_MX_Primary_Tables();
    EXPECT_THAT(open(), ElementsAre(31, 36, 6906, 14006));
    EXPECT_EQ(Glb_subscribed_global_table_type[14006], 15U);
}

TEST_F(MarketAccess, InMxTheyCountAmongThePrimaryTables)
{
    Configure({{.table_code = 31, .table_type = 14},
               {.table_code = 36, .table_type = 14},
               {.table_code = 6907, .table_type = 14}});
    Be_In("MX");
    Set_Subscription_MX_Primary_Tables();
    TBLPROC_Check_Referenced_Table(14);
    EXPECT_FALSE(Take_Primary_Tables_Received().has_value());
    TBLPROC_Check_Referenced_Table(14);
    EXPECT_EQ(Take_Primary_Tables_Received(), connection);
}

TEST_F(MarketAccess, InOtherEnvironmentsNoTableIsOpenToAll)
{
    Configure(tables_of_mx);
    for (const char* environment : {"AR", "mx", "M\0", "\0\0"}) {
        Be_In(environment);
        Set_Subscription_MX_Primary_Tables();
        EXPECT_THAT(open(), IsEmpty());
    }
}

TEST_F(MarketAccess, InMxOnlyTablesThatAreConfiguredAreOpened)
{
    Configure({{.table_code = 6906, .table_type = 14}});
    Be_In("MX");
    Set_Subscription_MX_Primary_Tables();
    EXPECT_THAT(open(), ElementsAre(6906));
}

TEST_F(MarketAccess, InMxTheUserOpensTablesOfThreeMarketsAndNotThePrimaryOnes)
{
    Configure(tables_of_mx);
    Be_In("MX");
    Receive_User(user("U001", {31, 36, 69, 70, 140, 141, 142}));
    EXPECT_THAT(open(), ElementsAre(6907, 14007, 14107));
}

TEST_F(MarketAccess, ElsewhereTheUserOpensThemAll)
{
    Configure(tables_of_mx);
    Be_In("AR");
    Receive_User(user("U001", {31, 36, 69, 70, 140, 141, 142}));
    EXPECT_EQ(open().size(), tables_of_mx.size());
}

} // namespace
