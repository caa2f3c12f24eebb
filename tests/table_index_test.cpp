// Indexes alone: idx values that are generated or given, keys that are missing or of another class.
#include "support/table_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class IdxOrderTest : public TableTest
{
protected:
    unsigned Generate(int put_environment = 0)
    {
        City city;
        m_order.Add_Record(m_next_pos++, &city, put_environment);
        m_environment = static_cast<unsigned>(city[ENVIRONMENT]);
        return Idx_Of(city);
    }
    void Add(int pos, unsigned idx)
    {
        City city(idx, "");
        m_order.Add_Local_Record(pos, &city);
    }

    CIdxOrder<City> m_order;
    int m_next_pos = 100;
    unsigned m_environment = 0;
};

TEST_F(IdxOrderTest, GeneratedValuesRunThroughTheRangeAndStartAgainWithOneMessageForTheProcess)
{
    Give_Range(1, 3);
    EXPECT_EQ(Generate(), 1U);
    EXPECT_EQ(Generate(), 2U);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    EXPECT_EQ(Generate(), 1U);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Range limit for global table records (3) has been reached. !!!"));
    EXPECT_EQ(m_order.Search_By_Idx(1), 102) << "the newcomer has it";
    EXPECT_EQ(m_order.Search_By_Idx(2), 101);
    Generate();
    CIdxOrder<City> other;
    City city;
    other.Add_Idx(0, 5, &city);
    other.Add_Idx(1, 5, &city);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(IdxOrderTest, GenerationGoesOnBehindTheLatestValueAndPassesThoseThatAreTaken)
{
    Give_Range(10, 20);
    EXPECT_EQ(Generate(), 10U);
    Add(1, 11);
    Add(2, 12);
    EXPECT_EQ(Generate(), 13U);
    Add(3, 18);
    Add(4, 19);
    Add(5, 14);
    EXPECT_EQ(Generate(), 15U);
}

TEST_F(IdxOrderTest, GenerationWrapsToTheFirstFreeValue)
{
    Give_Range(10, 13);
    Generate();
    Generate();
    Generate();
    City city(11, "");
    EXPECT_EQ(m_order.Delete_By_Idx_Record(&city), 101);
    EXPECT_EQ(Generate(), 11U);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(IdxOrderTest, AnEmptyRangeGivesItsLowestValue)
{
    Give_Range(5, 5);
    EXPECT_EQ(Generate(), 5U);
    EXPECT_EQ(Generate(), 5U);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Range limit for global table records (1) has been reached. !!!"));
}

TEST_F(IdxOrderTest, TheEndOfTheNumbersIsNoObstacle)
{
    Give_Range(0xFFFFFFFE, 0xFFFFFFFF);
    EXPECT_EQ(Generate(), 0xFFFFFFFEU);
    EXPECT_EQ(Generate(), 0xFFFFFFFEU);
    Give_Range(0, 0xFFFFFFFF);
    EXPECT_EQ(Generate(), 0U);
}

TEST_F(IdxOrderTest, InitializeForgetsTheRecordsButNotTheLatestValue)
{
    EXPECT_EQ(Generate(), 1U);
    m_order.Initialize();
    EXPECT_EQ(m_order.Search_By_Idx(1), -1);
    EXPECT_EQ(Generate(), 2U);
}

TEST_F(IdxOrderTest, EnvironmentIsWrittenIfItIsAskedFor)
{
    Generate(0);
    EXPECT_EQ(m_environment, 0U);
    Generate(1);
    EXPECT_EQ(m_environment, our_environment);
}

TEST_F(IdxOrderTest, AGivenIdxThatExistsIsToldAndTakenAllTheSame)
{
    City city;
    m_order.Add_Idx(1, 7, &city);
    EXPECT_EQ(Idx_Of(city), 7U);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    m_order.Add_Idx(2, 7, &city);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Idx value (7) for global table already exists. !!!"));
    EXPECT_EQ(m_order.Search_By_Idx(7), 2);
    m_order.Add_Idx(3, 7, &city);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty()) << "told once";
    Give_Range(7, 8);
    EXPECT_EQ(Generate(), 7U);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty()) << "one latch for both messages";
}

TEST_F(IdxOrderTest, ARecordsOwnIdxLeadsToItsLatestPosition)
{
    Add(1, 7);
    Add(2, 7);
    City city(7, "");
    EXPECT_EQ(m_order.Search_Idx_Record(&city), 2);
    EXPECT_EQ(m_order.Delete_By_Idx_Record(&city), 2);
    EXPECT_EQ(m_order.Delete_By_Idx_Record(&city), -1);
}

TEST_F(IdxOrderTest, APositionGoesWhateverItsRecordsIdxIsByNow)
{
    Add(1, 7);
    Add(2, 8);
    City changed(8, "");
    m_order.Delete_Position(1, &changed);
    EXPECT_EQ(m_order.Search_By_Idx(7), -1);
    EXPECT_EQ(m_order.Search_By_Idx(8), 2);
}

// ---- Keys ------------------------------------------------------------------------------------------------------

class KeyTableTest : public TableTest
{
protected:
    void Add(int pos, const std::string& code)
    {
        City city(0, code);
        m_table.Add_Local_Record(pos, &city);
    }
    int Search(const std::string& code)
    {
        City city(0, code);
        return m_table.Search_Key_Record(static_cast<CMessage*>(&city));
    }

    CMapKeyTable<CCityKey, City> m_table;
};

TEST_F(KeyTableTest, FindsByMessageAndByReadyKey)
{
    Add(4, "QTO");
    CCityKey key;
    key.Init("QTO");
    EXPECT_EQ(Search("QTO"), 4);
    EXPECT_EQ(m_table.Search_Key_Record(static_cast<void*>(static_cast<CBaseKey*>(&key))), 4);
    key.Init("GYE");
    EXPECT_EQ(m_table.Search_Key_Record(&key), -1);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(KeyTableTest, AKeyOfAClassBelowItsOwnWillDo)
{
    class Derived : public CCityKey
    {
    } key;
    Add(4, "QTO");
    key.Init("QTO");
    EXPECT_EQ(m_table.Search_Key_Record(static_cast<CBaseKey*>(&key)), 4);
}

TEST_F(KeyTableTest, AKeyOfAnotherClassOrNoneIsReported)
{
    const std::string line = "1 Error. key given as argument is not the correct class!";
    CMarketsKey other;
    other.Init("QTO");
    Add(4, "QTO");
    EXPECT_EQ(m_table.Search_Key_Record(static_cast<CBaseKey*>(&other)), -1);
    EXPECT_EQ(m_table.Search_Key_Record(static_cast<void*>(nullptr)), -1);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(line, line));
    CMapKeyTable<CIdxKey, City> by_idx;
    EXPECT_EQ(by_idx.Search_Key_Record(static_cast<CBaseKey*>(&other)), -1);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(line));
}

TEST_F(KeyTableTest, ARecordThatDoesNotFillTheKeyHasTheEmptyOneAndNotTheLatest)
{
    Add(4, "QTO");
    EXPECT_EQ(Search("QTO"), 4);
    CGTRates rate;
    EXPECT_EQ(m_table.Search_Key_Record(static_cast<CMessage*>(&rate)), -1);
}

TEST_F(KeyTableTest, DeletionOfAMissingKeyIsReportedAndThePositionGoes)
{
    Add(4, "QTO");
    Add(5, "GYE");
    City changed(0, "CUE");
    m_table.Delete_Record(4, &changed);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error. Delete_Record- The key CUE was not found"));
    EXPECT_EQ(Search("QTO"), -1);
    EXPECT_EQ(Search("GYE"), 5);
}

TEST_F(KeyTableTest, DeletionLeavesAKeyThatLeadsElsewhere)
{
    Add(4, "QTO");
    Add(5, "QTO");
    City city(0, "QTO");
    m_table.Delete_Record(4, &city);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error. Delete_Record- The key QTO was not found"));
    EXPECT_EQ(Search("QTO"), 5);
}

TEST_F(KeyTableTest, UpdateMovesTheKey)
{
    Add(4, "QTO");
    City city(0, "QTO");
    m_table.Begin_Update_Keys(&city);
    city.Be(0, "GYE");
    m_table.End_Update_Keys(4, &city);
    EXPECT_EQ(Search("QTO"), -1);
    EXPECT_EQ(Search("GYE"), 4);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(KeyTableTest, UpdateOfAMissingKeyIsReportedAndTheNewOneCounts)
{
    Add(4, "WWW");
    City city(0, "QTO");
    m_table.Begin_Update_Keys(&city);
    city.Be(0, "GYE");
    m_table.End_Update_Keys(4, &city);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error. Key changed was not found QTO"));
    EXPECT_EQ(Search("GYE"), 4);
    EXPECT_EQ(Search("WWW"), -1);
    EXPECT_EQ(m_table.Size(), 1U);
}

TEST_F(KeyTableTest, WalkIsInTheOrderOfTheKeysAndStaysAtItsEnd)
{
    Add(1, "QTO");
    Add(2, "CUE");
    Add(3, "GYE");
    EXPECT_EQ(m_table.Begin(), 2);
    EXPECT_EQ(m_table.Next(), 3);
    EXPECT_EQ(m_table.Next(), 1);
    EXPECT_EQ(m_table.Next(), -1);
    EXPECT_EQ(m_table.Next(), -1);
}

TEST_F(KeyTableTest, ATableHasAsManyKeysAsItsIndexes)
{
    City city(7, "QTO");
    CMapKeyOrder<CCityKey, City> one;
    one.Add_Local_Record(3, &city);
    EXPECT_EQ(one.Get_Num_Keys(), 1);
    EXPECT_EQ(one.Search_Key_Record(static_cast<CMessage*>(&city), 1), 3);
    EXPECT_EQ(one.Search_Key_Record(static_cast<CMessage*>(&city), 2), -1);
    EXPECT_EQ(one.Search_Key_Record(static_cast<CMessage*>(&city), 0), -1);
    CMap2KeyOrder<CCityKey, CEnvCrc32Key, City> two;
    city.m_env_crc32 = {5, 6};
    two.Add_Local_Record(3, &city);
    EXPECT_EQ(two.Get_Num_Keys(), 2);
    EXPECT_EQ(two.Search_Key_Record(static_cast<CMessage*>(&city), 2), 3);
    EXPECT_EQ(two.Search_Key_Record(static_cast<CMessage*>(&city), 3), -1);
    EXPECT_EQ(two.Search_By_Env_Crc32({5, 6}), 3);
    city.m_pos_in_table = 3;
    EXPECT_EQ(two.Delete_But_Not_Idx_Record(&city), 0);
    EXPECT_EQ(two.Search_By_Idx(7), 3);
    EXPECT_EQ(two.Search_By_Env_Crc32({5, 6}), -1);
    EXPECT_EQ(two.m_key1_mkt.Size(), 0U);
}

TEST_F(KeyTableTest, DeletionByIdxTakesTheRecordOutOfAllIndexes)
{
    City city(7, "QTO");
    city.m_env_crc32 = {5, 6};
    CMap2KeyOrder<CCityKey, CEnvCrc32Key, City> maps;
    EXPECT_EQ(maps.Delete_By_Idx_Record(&city), -1);
    maps.Add_Record(3, &city, 0);
    EXPECT_EQ(Idx_Of(city), 1U);
    EXPECT_EQ(maps.Delete_By_Idx_Record(&city), 3);
    EXPECT_EQ(maps.m_key_idx.Size() + maps.m_key1_mkt.Size() + maps.m_key2_mkt.Size(), 0U);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

} // namespace
