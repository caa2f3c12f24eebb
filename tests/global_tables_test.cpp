#include "tblproc/global_tables.h"

#include "support/table_world.h"

#include <gmock/gmock.h>

#include <array>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

// ---- Replicas --------------------------------------------------------------------------------------------------

class Replicas : public testing::Test
{
protected:
    // A record with these texts is found by the key of these bytes, and by its identity if it has one.
    template <class Key, class Table>
    void Finds(ProcessLifetime<Table>& table, std::initializer_list<std::pair<int, const char*>> texts,
               const char* key_bytes, bool by_identity = true)
    {
        auto& record = world.Put(table, 7, texts);
        Key key;
        key.Init(key_bytes);
        EXPECT_EQ(table->Find_NKey_Record(&key, 1), &record) << key_bytes;
        EXPECT_EQ(table->Find_By_Idx(7), &record);
        CEnvCrc32Key identity;
        record.Init_Key(&identity);
        EXPECT_EQ(table->Find_NKey_Record(&identity, 2), by_identity ? &record : nullptr);
    }

    TableWorld world;
};

TEST_F(Replicas, FindTheirRecordsByTheFieldsOfTheirKeys)
{
    Finds<CBranchesKey>(Glb_Branches_Table, {{CODIGO_SUCURSAL_BRANCHES, "AB12BOG1"}}, "AB12BOG1");
    Finds<CInstitKey>(Glb_Instit_Table, {{CODIGO_UNICO_INSTITUCION, "AB12"}}, "AB12");
    Finds<CUserKey>(Glb_User_Table, {{CODIGO_USUARIO, "U123"}}, "U123");
    Finds<CCityKey>(Glb_City_Table, {{CODIGO_3C_CITY, "BOG"}}, "BOG");
    Finds<CCountryKey>(Glb_Country_Table, {{CODIGO_COUNTRY, "CO"}}, "CO");
    Finds<CPuKey>(Glb_Primaryuser_Table, {{CODIGO_PU, "P001"}}, "P001");
    Finds<CMoneyKey>(Glb_Money_Table, {{CODIGO_MONEY, "USD"}}, "USD");
    Finds<CPInsPermKey>(Glb_InsPerm_Table, {{CODIGO_IP, "U1231"}}, "U1231");
    Finds<CMarketsKey>(Glb_Markets_Table, {{CODIGO_MARKETS, "171"}}, "171");
    Finds<CSuperGroupKey>(Glb_IntSuperGroup_Table, {{CODIGO_VOICESUPERGROUP, "S001"}}, "S001");
    Finds<CVoiceGroupKey>(Glb_IntVoiceGroup_Table, {{CODIGO_VOICEGROUP, "G001"}}, "G001");
    Finds<CEmisoresKey>(Glb_Emisores_Table, {{DATOS_CODIGO_EMISOR, "COABC"}}, "COABC");
    Finds<CEmployeeKey>(Glb_Employee_Table, {{CODIGO_EMPLOYEE, "E001"}}, "E001");
    Finds<CFixedIncomeMarketsKey>(Glb_IntFixedIncomeMarkets_Table, {{CODIGO_FIXEDINCOMEMARKETS, "F001"}}, "F001",
                                  false);
}

TEST_F(Replicas, KeysOfSeveralFieldsHaveThemOneBehindTheOther)
{
    Finds<CComitentesKey>(Glb_Comitentes_Table,
                          {{CLASE_CODIGO_COMITENTES, "N"}, {CODIGO_COMITENTE_COMITENTES, "800123456"}},
                          "N800123456\0\0\0\0\0\0");
    Finds<CFiduciariosKey>(Glb_Fiduciarios_Table,
                           {{CODIGO_INSTITUCION_NUESTRA_FIDUCIARIOS, "AB12"}, {CODIGO_FIDUCIARIO_FIDUCIARIOS, "F07"}},
                           "AB12F07");
    Finds<CSubComitenteSubKey>(
        Glb_SubComitente_Table,
        {{CLASE_CODIGO_SUBCOMITENTE_SUBCOMITENTE, "C"}, {CODIGO_SUBCOMITENTE_SUBCOMITENTE, "79"}},
        "C79\0\0\0\0\0\0\0\0\0\0\0\0\0");
}

TEST_F(Replicas, AnElementOfASchemeIsFoundByItsNumber)
{
    CGTEsquema element;
    element[CODIGO_ESQUEMA_ESQUEMA].Set_Text("ESQ1");
    element[ID_ELEMENTO_ESQUEMA] = 0x0102;
    CGTEsquema* stored = Glb_Esquema_Table->Insert_Local_Record(&element, nullptr);
    CEsquemaKey key;
    key.Init("ESQ1\0\0\0\0\x02\x01");
    EXPECT_EQ(Glb_Esquema_Table->Find_NKey_Record(&key, 1), stored);
}

// ---- All of them -----------------------------------------------------------------------------------------------

TEST(GlobalTables, ThereAreTwentyReplicasAndTwentyOneMailboxes)
{
    std::map<bool, int> counts;
    std::set<std::string> names;
    std::set<CTableBase*> objects;
    for (const GlobalTable& table : All_Global_Tables()) {
        ++counts[table.is_mailbox];
        names.insert(table.name);
        objects.insert(&table.get());
        EXPECT_EQ(&Global_Table(table.id), &table);
        EXPECT_EQ(&table.get(), &table.get()) << "made once";
    }
    EXPECT_EQ(counts[false], 20);
    EXPECT_EQ(counts[true], 21);
    EXPECT_EQ(names.size(), 41U);
    EXPECT_EQ(objects.size(), 41U);
}

TEST(GlobalTables, ATableIsThatOfItsName)
{
    EXPECT_EQ(&Global_Table(TableId::Glb_City_Table).get(), &*Glb_City_Table);
    EXPECT_EQ(&Global_Table(TableId::Glb_Rates_Table).get(), &*Glb_Rates_Table);
    EXPECT_STREQ(Global_Table(TableId::Glb_Chat_Message_Table).name, "Glb_Chat_Message_Table");
}

TEST(GlobalTables, MailboxesFindARecordByTheNumberThatItWasGiven)
{
    TableWorld world;
    Flag_Mailboxes();
    auto& first = world.Put(Glb_Chat_Message_Table, 7, {{TEXTO_CHAT, "one"}});
    auto& second = world.Put(Glb_Chat_Message_Table, 7, {{TEXTO_CHAT, "two"}});
    EXPECT_NE(first.m_unic_number, second.m_unic_number);
    EXPECT_EQ(Glb_Chat_Message_Table->Find_By_Idx(first.m_unic_number), &first);
    EXPECT_EQ(Glb_Chat_Message_Table->Find_By_Idx(second.m_unic_number), &second);
}

// ---- The start of a session --------------------------------------------------------------------------------------

std::map<std::string, int> flags_by_name()
{
    std::map<std::string, int> flags;
    for (const GlobalTable& table : All_Global_Tables()) {
        const int in_force = table.set_flags(0);
        table.set_flags(in_force);
        flags[table.name] = in_force;
    }
    return flags;
}

const std::map<std::string, int> flags_of_a_session = {
    {"Glb_Branches_Table", 17},
    {"Glb_Instit_Table", 17},
    {"Glb_User_Table", 1},
    {"Glb_City_Table", 17},
    {"Glb_Country_Table", 17},
    {"Glb_Primaryuser_Table", 17},
    {"Glb_Money_Table", 17},
    {"Glb_InsPerm_Table", 17},
    {"Glb_Markets_Table", 1},
    {"Glb_IntSuperGroup_Table", 17},
    {"Glb_IntVoiceGroup_Table", 17},
    {"Glb_Emisores_Table", 17},
    {"Glb_Comitentes_Table", 17},
    {"Glb_Fiduciarios_Table", 17},
    {"Glb_Employee_Table", 17},
    {"Glb_Esquema_Table", 17},
    {"Glb_SubComitente_Table", 17},
    {"Glb_IntFixedIncomeMarkets_Table", 1},
    {"Glb_IntHistoryTransDayTerm_Table", 1},
    {"Glb_IntRates_Table", 1},
    {"Glb_Tarnel_Message_Table", 9},
    {"Glb_Tarnel_Wh_Message_Table", 9},
    {"Glb_Order_Message_Table", 9},
    {"Glb_LogOrderTable_Message_Table", 9},
    {"Glb_Chat_Message_Table", 9},
    {"Glb_Trans_Moneda_Message_Table", 9},
    {"Glb_PrcMntTrans_Message_Table", 9},
    {"Glb_PrcMntHourTerm_Message_Table", 9},
    {"Glb_PrcMntHourAmPm_Message_Table", 9},
    {"Glb_Average_Puchase_Price_Message_Table", 9},
    {"Glb_PrcMntHour_Message_Table", 9},
    {"Glb_PrcMnt_Trans_Renta_Fija_Table", 9},
    {"Glb_PayInstruct_Message_Table", 9},
    {"Glb_EndTransaction_Message_Table", 9},
    {"Glb_Order_Table", 9},
    {"Glb_Published_Order_Table", 4},
    {"Glb_VoiceSummary_Table", 9},
    {"Glb_VoiceGroup_Table", 9},
    {"Glb_FixedIncomeMarkets_Table", 9},
    {"Glb_HistoryTransDayTerm_Table", 9},
    {"Glb_Rates_Table", 9},
};

class StartOfASession : public testing::Test
{
protected:
    // The code that a table's list of its own holds, 0 for none.
    template <class Table> static int code_of(ProcessLifetime<Table>& table)
    {
        return table->m_tn_list != nullptr ? table->m_tn_list->First_Table() : 0;
    }

    TableWorld world;
};

TEST_F(StartOfASession, EveryTableHasItsFlags)
{
    TBLPROC_Init_Tables();
    Flag_Mailboxes();
    EXPECT_EQ(flags_by_name(), flags_of_a_session);
}

TEST_F(StartOfASession, TablesOfFixedCodesKnowThem)
{
    TBLPROC_Init_Tables();
    EXPECT_EQ(code_of(Glb_Branches_Table), 22);
    EXPECT_EQ(code_of(Glb_Instit_Table), 21);
    EXPECT_EQ(code_of(Glb_IntSuperGroup_Table), 30);
    EXPECT_EQ(code_of(Glb_Fiduciarios_Table), 32026);
    EXPECT_EQ(code_of(Glb_SubComitente_Table), 32141);
    EXPECT_EQ(code_of(Glb_IntRates_Table), 0);
    EXPECT_EQ(code_of(Glb_Chat_Message_Table), 0);
}

TEST_F(StartOfASession, CodesThatWereFilledInBeforeAreGone)
{
    TBLEQUIV_Row(TABLE_CODE_ID).code = 1071;
    TBLEQUIV_Row(VOICE_GROUP_CODE_ID).code = 31;
    TBLPROC_Init_Tables();
    EXPECT_EQ(TBLEQUIV_Row(TABLE_CODE_ID).code, 0);
    EXPECT_EQ(TBLEQUIV_Row(VOICE_GROUP_CODE_ID).code, 0);
    EXPECT_EQ(TBLEQUIV_Row(BRANCHES_CODE_ID).code, 22);
}

TEST_F(StartOfASession, ATableTakesCodeAndFlagsOfAType)
{
    TBLEQUIV_Row(RATES_TABLE_ID).code = 1777;
    EXPECT_EQ(qapi::Set_Table_Type(Global_Table(TableId::Glb_IntRates_Table), RATES_TABLE_ID), 0);
    EXPECT_EQ(Glb_IntRates_Table->m_table_flag, 17);
    EXPECT_EQ(code_of(Glb_IntRates_Table), 1777);
}

TEST_F(StartOfASession, ANumberThatIsNoTypeGivesTheFlagsOfRow0AndKeepsTheCode)
{
    for (const int type : {-1, 24, 25, 0}) {
        qapi::Set_Table_Type(Global_Table(TableId::Glb_City_Table), CITIES_CODE_ID);
        EXPECT_EQ(qapi::Set_Table_Type(Global_Table(TableId::Glb_City_Table), type), 0);
        EXPECT_EQ(Glb_City_Table->m_table_flag, 1) << type;
        EXPECT_EQ(code_of(Glb_City_Table), 25) << type;
    }
}

// ---- The end of a connection -------------------------------------------------------------------------------------

class EndOfAConnection : public testing::Test
{
protected:
    EndOfAConnection()
    {
#define PUT(table, ...) world.Put(table, 1, {});
        QAPI_REPLICAS(PUT, PUT)
        QAPI_IDX_TABLES(PUT, PUT)
#undef PUT
    }

    static std::set<std::string> tables_with_records()
    {
        std::set<std::string> names;
        for (const GlobalTable& table : All_Global_Tables()) {
            if (table.get().Used_Num_Records() != 0) {
                names.insert(table.name);
            }
        }
        return names;
    }

    TableWorld world;
    std::mutex mailbox_mutex;
};

TEST_F(EndOfAConnection, TheTablesThatFilesKeepStayAndAllOthersAreCleared)
{
    EXPECT_EQ(tables_with_records().size(), 41U);
    qapi::Clear_Tables_Of_The_Connection(mailbox_mutex);
    EXPECT_EQ(tables_with_records(),
              (std::set<std::string>{"Glb_Branches_Table", "Glb_Instit_Table", "Glb_City_Table", "Glb_Country_Table",
                                     "Glb_Primaryuser_Table", "Glb_Money_Table", "Glb_InsPerm_Table",
                                     "Glb_IntSuperGroup_Table", "Glb_IntVoiceGroup_Table", "Glb_Emisores_Table",
                                     "Glb_Comitentes_Table", "Glb_Fiduciarios_Table", "Glb_Employee_Table",
                                     "Glb_Esquema_Table", "Glb_SubComitente_Table"}));
}

// Those that stay are those that are asked for by a hash of what is there.
TEST_F(EndOfAConnection, TheTablesThatStayAreThoseOfTheHashQuery)
{
    qapi::Clear_Tables_Of_The_Connection(mailbox_mutex);
    for (const TABLE_ID_EQUIVALENCE& row : G_table_id_equivalence) {
        CTableBase* table = row.Ptr_CTableBase();
        EXPECT_EQ(table != nullptr && table->Used_Num_Records() != 0, row.start_protocol == 2) << row.type_id;
    }
}

TEST_F(EndOfAConnection, TheTablesAreClearedInThisOrder)
{
    std::vector<std::string> names;
    for (const TableId id : Tables_Of_The_Connection()) {
        names.emplace_back(Global_Table(id).name);
    }
    EXPECT_THAT(names,
                ElementsAre("Glb_Tarnel_Message_Table", "Glb_Tarnel_Wh_Message_Table", "Glb_Order_Message_Table",
                            "Glb_Chat_Message_Table", "Glb_Trans_Moneda_Message_Table", "Glb_PrcMntTrans_Message_Table",
                            "Glb_PrcMntHour_Message_Table", "Glb_PrcMnt_Trans_Renta_Fija_Table",
                            "Glb_PayInstruct_Message_Table", "Glb_EndTransaction_Message_Table",
                            "Glb_LogOrderTable_Message_Table", "Glb_Order_Table", "Glb_Published_Order_Table",
                            "Glb_VoiceSummary_Table", "Glb_VoiceGroup_Table", "Glb_FixedIncomeMarkets_Table",
                            "Glb_HistoryTransDayTerm_Table", "Glb_Rates_Table", "Glb_IntFixedIncomeMarkets_Table",
                            "Glb_IntHistoryTransDayTerm_Table", "Glb_IntRates_Table",
                            "Glb_PrcMntHourTerm_Message_Table", "Glb_PrcMntHourAmPm_Message_Table",
                            "Glb_Average_Puchase_Price_Message_Table", "Glb_Markets_Table", "Glb_User_Table"));
}

TEST_F(EndOfAConnection, BothLocksAreFreeAfterwards)
{
    qapi::Clear_Tables_Of_The_Connection(mailbox_mutex);
    EXPECT_TRUE(mailbox_mutex.try_lock());
    mailbox_mutex.unlock();
    const ReplicaLock lock;
}

} // namespace
