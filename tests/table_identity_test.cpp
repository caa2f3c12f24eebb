// Records that come again, and records whose contents have one CRC.
#include "support/table_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::IsEmpty;

class TableIdentityTest : public TableTest
{
protected:
    TableIdentityTest() { m_table.Set_Table_Flag(TABLE_NOT_PUBLISHED | TABLE_NO_LOG_ERRORS_INSERTION_MODIFICATION); }

    City* Find(DLONG identity) { return static_cast<City*>(m_table.Get_Record_By_Env_Crc32(identity)); }
    static DLONG Of_Contents(const City& city) { return {COMMON_Get_Crc32(city.m_data + 22, 135, 0), our_environment}; }

    // Takes a city in as one whose identity the server gives.
    City& Insert_As(unsigned idx, const std::string& code, DLONG identity)
    {
        m_table.m_use_crc32_computing = 1;
        City city(idx, code);
        city.With_Identity(identity);
        City& inserted = *m_table.Insert_Local_Record(&city, nullptr);
        m_table.m_use_crc32_computing = 0;
        return inserted;
    }

    TwoKeyTable m_table;
};

TEST_F(TableIdentityTest, ARecordIsFoundByTheIdentityOfItsContents)
{
    City& city = Insert(m_table, 1, "QTO", "Quito");
    EXPECT_EQ(city.m_env_crc32, Of_Contents(city));
    EXPECT_EQ(Identity_In_Buffer(city), Of_Contents(city));
    EXPECT_EQ(Find(Of_Contents(city)), &city);
    EXPECT_EQ(Find({1, 2}), nullptr);
}

TEST_F(TableIdentityTest, AOneKeyTableFindsNoneByIdentity)
{
    OneKeyTable table;
    const City& city = Insert(table, 1, "QTO");
    EXPECT_FALSE(city.m_env_crc32.is_zero());
    EXPECT_EQ(table.Get_Record_By_Env_Crc32(city.m_env_crc32), nullptr);
}

TEST_F(TableIdentityTest, ARepeatedInsertKeepsTheIdentity)
{
    const DLONG identity = Insert(m_table, 1, "QTO", "Quito").m_env_crc32;
    for (int turn = 0; turn < 3; ++turn) {
        const City& city = Insert(m_table, 1, "QTO", "Quito");
        EXPECT_EQ(city.m_env_crc32, identity);
        EXPECT_EQ(m_table.Used_Num_Records(), 1);
    }
}

TEST_F(TableIdentityTest, ARepeatedInsertWithAnotherIdxKeepsTheIdentity)
{
    const DLONG identity = Insert(m_table, 1, "QTO", "Quito").m_env_crc32;
    City& city = Insert(m_table, 2, "QTO", "Quito");
    EXPECT_EQ(city.m_env_crc32, identity);
    EXPECT_EQ(Find(identity), &city);
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
}

TEST_F(TableIdentityTest, AnInsertOverTheIdxOfARecordWithItsIdentityTakesTheIdentityOver)
{
    const DLONG identity = Of_Contents(City(1, "QTO"));
    Insert_As(1, "GYE", identity);
    const City& city = Insert(m_table, 1, "QTO");
    EXPECT_EQ(city.m_env_crc32, identity);
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
}

TEST_F(TableIdentityTest, WhereNothingIsReplacedARecordOfTheSameKeyAndContentsCountsUp)
{
    m_table.Set_Table_Flag(TABLE_NOT_PUBLISHED | TABLE_USE_OWN_UNIQUE_IDX);
    const DLONG identity = Insert(m_table, 1, "QTO", "Quito").m_env_crc32;
    EXPECT_EQ(Insert(m_table, 1, "QTO", "Quito").m_env_crc32.low, identity.low + 1);
    EXPECT_EQ(m_table.Used_Num_Records(), 2);
}

TEST_F(TableIdentityTest, AStoredRecordsIdxIsThatOfAnotherTime)
{
    City& holder = Insert(m_table, 1, "QTO");
    City& city = m_table.m_recs[m_table.Search_Next_Free_Pos()];
    city.m_env_crc32_to_use = holder.m_env_crc32;
    City stored(1, "GYE");
    m_table.m_room = TwoKeyTable::Room::by_keys;
    city = stored;
    m_table.Check_Delete_Existing_Records(&city, 0, 1);
    EXPECT_EQ(city.m_env_crc32.low, holder.m_env_crc32.low + 1);
    EXPECT_EQ(m_table.Used_Num_Records(), 2);
}

TEST_F(TableIdentityTest, AStoredRecordReplacesTheOneWithItsKeyAndTakesItsIdentityOver)
{
    const DLONG identity = Insert(m_table, 1, "QTO").m_env_crc32;
    City& city = m_table.m_recs[m_table.Search_Next_Free_Pos()];
    City stored(9, "QTO");
    m_table.m_room = TwoKeyTable::Room::by_keys;
    city = stored;
    m_table.Check_Delete_Existing_Records(&city, 0, 1);
    EXPECT_EQ(city.m_env_crc32, identity);
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
}

TEST_F(TableIdentityTest, ARepeatedUpdateKeepsTheIdentity)
{
    City& city = Insert(m_table, 1, "QTO", "Quito");
    const DLONG identity = city.m_env_crc32;
    EXPECT_EQ(Update(m_table, 1, "QTO", "Quito"), &city);
    EXPECT_EQ(city.m_env_crc32, identity);
    EXPECT_EQ(Find(identity), &city);
}

TEST_F(TableIdentityTest, AnUpdateMovesTheRecordToItsNewIdentity)
{
    City& city = Insert(m_table, 1, "QTO", "Quito");
    const DLONG before = city.m_env_crc32;
    Update(m_table, 1, "QTO", "San Francisco");
    EXPECT_EQ(city.m_env_crc32, Of_Contents(city));
    EXPECT_EQ(Find(before), nullptr);
    EXPECT_EQ(Find(Of_Contents(city)), &city);
}

TEST_F(TableIdentityTest, ATrueCollisionCountsUp)
{
    const DLONG identity = Of_Contents(City(2, "GYE"));
    City& holder = Insert_As(1, "QTO", identity);
    City& city = Insert(m_table, 2, "GYE");
    EXPECT_EQ(city.m_env_crc32, (DLONG{identity.low + 1, our_environment}));
    EXPECT_EQ(Identity_In_Buffer(city), city.m_env_crc32);
    EXPECT_EQ(Find(identity), &holder);
    EXPECT_EQ(m_table.Used_Num_Records(), 2);
}

TEST_F(TableIdentityTest, ARecordThatWasCountedUpKeepsItsNumberWhenItComesAgain)
{
    const DLONG identity = Of_Contents(City(2, "GYE"));
    Insert_As(1, "QTO", identity);
    Insert(m_table, 2, "GYE");
    EXPECT_EQ(Insert(m_table, 2, "GYE").m_env_crc32.low, identity.low + 1);
    EXPECT_EQ(Update(m_table, 2, "GYE")->m_env_crc32.low, identity.low + 1);
    EXPECT_EQ(Update(m_table, 2, "GYE")->m_env_crc32.low, identity.low + 1);
}

TEST_F(TableIdentityTest, ServersIdentityIsTakenAsItIs)
{
    const City& city = Insert_As(1, "QTO", {55, 66});
    EXPECT_EQ(city.m_env_crc32, (DLONG{55, 66}));
    EXPECT_EQ(Insert_As(1, "QTO", {55, 66}).m_env_crc32, (DLONG{55, 66})) << "and again";
    m_table.m_use_crc32_computing = 1;
    City changed(1, "QTO", "other");
    changed.With_Identity({77, 66});
    m_table.Update_Local_Record(&changed);
    EXPECT_EQ(Find({77, 66}), m_table.Find_By_Idx(1));
    EXPECT_EQ(Find({55, 66}), nullptr);
}

TEST_F(TableIdentityTest, ARecordOfAnotherEnvironmentReplacesTheOneWithItsIdentity)
{
    City first(1, "QTO");
    City second(2, "GYE");
    m_table.Insert_Local_Record(&first.With_Identity({5, 9}), nullptr);
    m_table.Set_Table_Flag(TABLE_NOT_PUBLISHED);
    m_table.Insert_Local_Record(&second.With_Identity({5, 9}), nullptr);
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
    EXPECT_EQ(Code_Of(*Find({5, 9})), "GYE");
    EXPECT_THAT(ReportTexts::Take(),
                testing::ElementsAre("1 Error. Record received to be inserted/updated has the same n key (2) of an "
                                     "existing one. Existing idx=1, Table 0, Record =GYE"));
}

TEST_F(TableIdentityTest, AReusedPositionHasNoIdentityOfItsOwnLeft)
{
    Insert(m_table, 1, "QTO");
    const int positions = m_table.m_recs.max_number;
    for (int turn = 0; turn < positions + 1; ++turn) {
        Delete(m_table, 1);
        City& city = Insert(m_table, 1, "QTO");
        EXPECT_EQ(Identity_In_Buffer(city), Of_Contents(city)) << "at position " << city.m_pos_in_table;
    }
}

TEST_F(TableIdentityTest, AnUpdateInPlaceRefreshesTheIdentityInTheIndex)
{
    City& city = Insert(m_table, 1, "QTO", "Quito");
    const DLONG before = city.m_env_crc32;
    city[NOMBRE_CITY_1].Set_Text("San Francisco");
    EXPECT_EQ(m_table.Update_Local_Record(&city), &city);
    EXPECT_EQ(Find(before), nullptr);
    EXPECT_EQ(Find(Of_Contents(city)), &city);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(TableIdentityTest, AMailboxDoesNotTakeTheIdxOfANewcomerForItsOwn)
{
    IdxTable mailbox;
    mailbox.Set_Table_Flag(TABLE_NOT_PUBLISHED | TABLE_USE_OWN_UNIQUE_IDX);
    City& holder = Insert(mailbox, 77, "QTO");
    City newcomer(1, "GYE");
    EXPECT_EQ(Idx_Of(holder), 1U);
    EXPECT_FALSE(mailbox.Will_Replace(newcomer, holder));
}

} // namespace
