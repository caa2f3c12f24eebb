#include "support/table_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* same_idx = "1 Error. Record to be inserted/updated has the same idx (";
constexpr const char* same_key = "1 Error. Record received to be inserted/updated has the same n key (";

class OneKey : public TableTest
{
protected:
    // A city as the server sends it: with the code of its table.
    City& Insert_Of_Table(unsigned idx, const std::string& code, int table)
    {
        City city(idx, code);
        city[DATA_CODE] = static_cast<unsigned short>(table);
        return *m_table.Insert_Local_Record(&city, nullptr);
    }

    OneKeyTable m_table;
};

// ---- Insertion -------------------------------------------------------------------------------------------------

TEST_F(OneKey, PoolHasTwelvePositionsAfterTheFirstInsertAndTwentyFourAfterTheNext)
{
    EXPECT_EQ(m_table.m_recs.max_number, 6);
    Insert(m_table, 1, "AAA");
    EXPECT_EQ(m_table.m_recs.max_number, 12);
    Insert(m_table, 2, "BBB");
    EXPECT_EQ(m_table.m_recs.max_number, 24);
}

TEST_F(OneKey, AnInsertedRecordIsACopyThatKnowsItsPlace)
{
    City city(7, "QTO", "Quito");
    std::memset(city.m_data + city.m_data_len, 'x', 100);
    City& inserted = *m_table.Insert_Local_Record(&city, nullptr);
    EXPECT_NE(&inserted, &city);
    EXPECT_EQ(inserted.m_table_ptr, &m_table);
    EXPECT_EQ(inserted.m_pos_in_table, 0);
    EXPECT_EQ(Name_Of(inserted), "Quito");
    EXPECT_EQ(std::string(inserted.m_data + inserted.m_data_len, 100), std::string(20, 'x') + std::string(80, '\0'));
    EXPECT_EQ(m_table.m_last_operation, OPER_INSERT);
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
}

TEST_F(OneKey, ARecordIsFoundByIdxByKeyAndByAnotherRecord)
{
    City& city = Insert(m_table, 7, "QTO");
    City same_idx_city(7, "");
    CCityKey key;
    key.Init("QTO");
    EXPECT_EQ(m_table.Find_By_Idx(7), &city);
    EXPECT_EQ(m_table.Find_Idx_Key_Record(&same_idx_city), &city);
    EXPECT_EQ(By_Code(m_table, "QTO"), &city);
    EXPECT_EQ(m_table.Find_NKey_Record(&key, 1), &city);
    EXPECT_EQ(m_table.Find_NKey_Record(static_cast<void*>(&key), 1), &city);
    EXPECT_EQ(m_table.Find_NKey_Record(&key, 2), nullptr);
    EXPECT_EQ(m_table.Find_By_Idx(8), nullptr);
    EXPECT_EQ(By_Code(m_table, "GYE"), nullptr);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(OneKey, AKeyOfAnotherClassFindsNothingAndIsReported)
{
    CMarketsKey key;
    EXPECT_EQ(m_table.Find_NKey_Record(&key, 1), nullptr);
    EXPECT_EQ(m_table.Find_NKey_Record(static_cast<void*>(nullptr), 1), nullptr);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error. key given as argument is not the correct class!",
                                                 "1 Error. key given as argument is not the correct class!"));
}

TEST_F(OneKey, AKeyThatWasGivenAnotherLengthFindsNothingAndIsReported)
{
    Insert(m_table, 7, "QTO");
    CCityKey key;
    for (const CBaseKey& other : {CBaseKey(), static_cast<const CBaseKey&>(CCountryKey()), CBaseKey(30)}) {
        static_cast<CBaseKey&>(key) = other;
        EXPECT_EQ(m_table.Find_NKey_Record(static_cast<CBaseKey*>(&key), 1), nullptr);
        EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error. key given as argument is not the correct class!"));
    }
}

TEST_F(OneKey, AnInsertWhoseIdxExistsReplacesTheOldRecordAndTellsIt)
{
    Insert_Of_Table(7, "QTO", 25);
    City& city = Insert_Of_Table(7, "GYE", 25);
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre(std::string(same_idx) + "7) of an existing one. Table 25, Record =GYE"));
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
    EXPECT_EQ(m_table.Find_By_Idx(7), &city);
    EXPECT_EQ(By_Code(m_table, "QTO"), nullptr);
}

TEST_F(OneKey, AnInsertWhoseKeyExistsReplacesTheOldRecordAndTellsIt)
{
    Insert_Of_Table(7, "QTO", 25);
    City& city = Insert_Of_Table(8, "QTO", 26);
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre(std::string(same_key) + "1) of an existing one. Existing idx=7, Table 26, Record =QTO"));
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
    EXPECT_EQ(m_table.Find_By_Idx(7), nullptr);
    EXPECT_EQ(By_Code(m_table, "QTO"), &city);
}

TEST_F(OneKey, AnInsertMayReplaceTwo)
{
    Insert(m_table, 1, "QTO");
    Insert(m_table, 2, "GYE");
    Insert(m_table, 1, "GYE");
    EXPECT_EQ(ReportTexts::Take().size(), 2U);
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
    EXPECT_THAT(Codes(m_table), ElementsAre("GYE"));
}

TEST_F(OneKey, CollisionsAreNotToldWithTheFlag)
{
    m_table.Set_Table_Flag(TABLE_NOT_PUBLISHED | TABLE_NO_LOG_ERRORS_INSERTION_MODIFICATION);
    Insert(m_table, 1, "QTO");
    Insert(m_table, 2, "GYE");
    Insert(m_table, 1, "GYE");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
}

TEST_F(OneKey, DataAreShownUpToTwentyBytesOrAZero)
{
    Insert(m_table, 7, "QTO");
    City city(7, "ABC");
    std::memset(city.m_data + 22, '#', static_cast<std::size_t>(city.m_data_len) - 22 + 100);
    m_table.Insert_Local_Record(&city, nullptr);
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre(std::string(same_idx) + "7) of an existing one. Table 0, Record =####################"));
}

TEST_F(OneKey, TheOldestFreePositionIsReusedAndNotTheOneJustFreed)
{
    Insert(m_table, 1, "AAA");
    Insert(m_table, 2, "BBB");
    Delete(m_table, 1);
    EXPECT_EQ(Insert(m_table, 3, "CCC").m_pos_in_table, 2);
    for (unsigned idx = 4; idx < 25; ++idx) {
        EXPECT_EQ(Insert(m_table, 100, "WWW").m_pos_in_table, static_cast<int>(idx) - 1);
        Delete(m_table, 100);
    }
    EXPECT_EQ(Insert(m_table, 100, "WWW").m_pos_in_table, 0);
}

TEST_F(OneKey, APositionThatIsReusedHoldsNothingOfTheRecordBefore)
{
    City long_name(1, "AAA", "a name of twenty chr");
    std::memset(long_name.m_data + long_name.m_data_len, 'x', 20);
    City& inserted = *m_table.Insert_Local_Record(&long_name, nullptr);
    std::memset(inserted.m_data + inserted.m_data_len, 'y', 100);
    Delete(m_table, 1);
    while (Insert(m_table, 2, "BBB", "b").m_pos_in_table != 0) {
        Delete(m_table, 2);
    }
    City& city = *m_table.Find_By_Idx(2);
    EXPECT_EQ(std::string(city[NOMBRE_CITY_1].Get_Ptr(), 20), "b" + std::string(19, '\0'));
    EXPECT_EQ(std::string(city.m_data + city.m_data_len, 100), std::string(100, '\0'));
}

TEST_F(OneKey, ARecordThatWasDeletedCanBeInsertedFromItsOldPlace)
{
    Insert(m_table, 1, "AAA", "name");
    City* deleted = Delete(m_table, 1);
    while (m_table.m_recs.first_free != deleted->m_pos_in_table) {
        Insert(m_table, 2, "BBB");
        Delete(m_table, 2);
    }
    City* inserted = m_table.Insert_Local_Record(deleted, nullptr);
    EXPECT_EQ(inserted, deleted);
    EXPECT_EQ(Name_Of(*inserted), "name");
}

// ---- Update ----------------------------------------------------------------------------------------------------

TEST_F(OneKey, UpdateGivesTheRecordItsNewContentsInItsPlace)
{
    City& city = Insert(m_table, 1, "QTO", "Quito");
    const unsigned number = city.m_unic_number;
    EXPECT_EQ(Update(m_table, 1, "QTO", "San Francisco"), &city);
    EXPECT_EQ(Name_Of(city), "San Francisco");
    EXPECT_EQ(city.m_unic_number, number);
    EXPECT_EQ(m_table.m_last_operation, OPER_UPDATE);
}

TEST_F(OneKey, UpdateForAnUnknownIdxChangesNothingAndTellsNothing)
{
    City& city = Insert(m_table, 1, "QTO", "Quito");
    EXPECT_EQ(Update(m_table, 2, "QTO", "other"), nullptr);
    EXPECT_EQ(Name_Of(city), "Quito");
    EXPECT_EQ(m_table.m_last_operation, OPER_INSERT);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(OneKey, UpdateMovesTheRecordToItsNewKey)
{
    City& city = Insert(m_table, 1, "QTO");
    Insert(m_table, 2, "MMM");
    Update(m_table, 1, "AAA");
    EXPECT_EQ(By_Code(m_table, "QTO"), nullptr);
    EXPECT_EQ(By_Code(m_table, "AAA"), &city);
    EXPECT_THAT(Codes(m_table), ElementsAre("AAA", "MMM"));
}

TEST_F(OneKey, UpdateToTheKeyOfAThirdRecordRemovesThatOne)
{
    City& city = Insert(m_table, 1, "QTO");
    Insert(m_table, 2, "GYE");
    Update(m_table, 1, "GYE");
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre(std::string(same_key) + "1) of an existing one. Existing idx=2, Table 0, Record =GYE"));
    EXPECT_EQ(m_table.Find_By_Idx(2), nullptr);
    EXPECT_EQ(By_Code(m_table, "GYE"), &city);
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
}

TEST_F(OneKey, UpdateInPlaceThatLeavesTheKeyTellsNothing)
{
    City& city = Insert(m_table, 1, "QTO", "Quito");
    city[NOMBRE_CITY_1].Set_Text("other");
    EXPECT_EQ(m_table.Update_Local_Record(&city), &city);
    EXPECT_EQ(Name_Of(city), "other");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(OneKey, UpdateThroughAViewOnTheRecordFindsThatItsKeyIsMissing)
{
    City& city = Insert(m_table, 7, "QTO");
    City view(city.m_data);
    std::memcpy(city.m_data + 22, "GYE", 3);
    EXPECT_EQ(m_table.Update_Local_Record(&view), &city);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error. Key changed was not found GYE"));
    EXPECT_EQ(By_Code(m_table, "GYE"), &city);
    EXPECT_EQ(By_Code(m_table, "QTO"), nullptr);
}

TEST_F(OneKey, UpdateInPlaceOfTheKeyIsToldAndTheIndexFollows)
{
    City& city = Insert_Of_Table(1, "QTO", 25);
    city[CODIGO_3C_CITY].Set_Text("CUE");
    m_table.Update_Local_Record(&city);
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre("1 Error. Record updating has changed the idx=1, Table=25, Record=CUE"));
    EXPECT_EQ(By_Code(m_table, "QTO"), nullptr);
    EXPECT_EQ(By_Code(m_table, "CUE"), &city);
}

TEST_F(OneKey, UpdateInPlaceToAnothersKeyRemovesThatOne)
{
    City& city = Insert(m_table, 1, "QTO");
    Insert(m_table, 2, "GYE");
    city[CODIGO_3C_CITY].Set_Text("GYE");
    m_table.Update_Local_Record(&city);
    EXPECT_EQ(ReportTexts::Take().size(), 2U);
    EXPECT_EQ(m_table.Find_By_Idx(2), nullptr);
    EXPECT_THAT(Codes(m_table), ElementsAre("GYE"));
    EXPECT_EQ(By_Code(m_table, "GYE"), &city);
}

TEST_F(OneKey, UpdateOfARecordThatWasWrittenToUnderItsKeyTellsThatTheKeyIsMissing)
{
    City& city = Insert(m_table, 1, "QTO");
    city[CODIGO_3C_CITY].Set_Text("WWW");
    Update(m_table, 1, "CUE");
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error. Key changed was not found WWW"));
    EXPECT_THAT(Codes(m_table), ElementsAre("CUE"));
    EXPECT_EQ(By_Code(m_table, "CUE"), &city);
}

// Records of a class without fields, of the size that is in force when they are made.
class Sized : public CMessage
{
public:
    explicit Sized(char* data = nullptr) : CMessage(data, size) {}
    using CMessage::operator=;
    using CMessage::Init_Key;
    void Init_Key(CIdxKey* to_fill) override { to_fill->Init(0, static_cast<unsigned char>(m_data[3])); }
    inline static int size = 10;
};

TEST_F(OneKey, AShorterRecordUpdatesWithWhatItHasAndZeros)
{
    OpenTable<Sized, CMapKeyOrder<CIdxKey, Sized>> table;
    Sized::size = 10;
    Sized whole;
    std::memcpy(whole.m_data + 3, "\1bcdefghij", 10);
    table.Insert_Local_Record(&whole, nullptr);
    Sized::size = 4;
    Sized part;
    std::memcpy(part.m_data + 3, "\1XYZ################", 20);
    const Sized& updated = *table.Update_Local_Record(&part);
    EXPECT_EQ(std::string(updated.m_data + 3, 10), std::string("\1XYZ", 4) + std::string(6, '\0'));
}

// ---- Deletion --------------------------------------------------------------------------------------------------

TEST_F(OneKey, DeletionReturnsTheRecordWhichStaysReadable)
{
    City& city = Insert(m_table, 1, "QTO", "Quito");
    EXPECT_EQ(Delete(m_table, 1), &city);
    EXPECT_EQ(Name_Of(city), "Quito");
    EXPECT_EQ(m_table.Used_Num_Records(), 0);
    EXPECT_EQ(m_table.m_last_operation, OPER_DELETE);
    EXPECT_EQ(By_Code(m_table, "QTO"), nullptr);
    EXPECT_EQ(Delete(m_table, 1), nullptr);
}

TEST_F(OneKey, DeletionByTheTablesOwnRecordReturnsThePositionsList)
{
    CTableList list(22);
    City city(1, "QTO");
    City* inserted = m_table.Insert_Local_Record(&city, &list);
    CTableList* kept = m_table.Delete_Record(inserted);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->First_Table(), 22);
    EXPECT_EQ(m_table.Used_Num_Records(), 0);
    EXPECT_EQ(m_table.Delete_Record(inserted), nullptr);
}

TEST_F(OneKey, DeletionByARecordWithOtherKeysIsToldAndNothingLeadsToThePosition)
{
    Insert(m_table, 1, "QTO");
    Insert(m_table, 2, "GYE");
    City other(1, "GYE");
    EXPECT_NE(m_table.Delete_Record(&other), nullptr);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Error. Delete_Record- The key GYE was not found"));
    EXPECT_THAT(Codes(m_table), ElementsAre("GYE"));
    EXPECT_EQ(m_table.Find_By_Idx(1), nullptr);
    EXPECT_NE(m_table.Find_By_Idx(2), nullptr);
}

TEST_F(OneKey, DeletionByARecordOfAnUnknownIdxDoesNothing)
{
    Insert(m_table, 1, "QTO");
    City other(2, "QTO");
    EXPECT_EQ(m_table.Delete_Record(&other), nullptr);
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
}

TEST_F(OneKey, ARecordWhoseIdxWasOverwrittenLeavesNoIdxBehind)
{
    City& city = Insert(m_table, 1, "QTO");
    Insert(m_table, 2, "GYE");
    city[REC_IDX] = 2U;
    m_table.Delete_Record(&city);
    EXPECT_EQ(m_table.Find_By_Idx(1), nullptr);
    EXPECT_EQ(Code_Of(*m_table.Find_By_Idx(2)), "GYE");
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
}

TEST_F(OneKey, TakingOutCopiesEverythingAndDeletes)
{
    City city(7, "QTO", "Quito");
    std::memset(city.m_data + city.m_data_len, 'x', 20);
    City& inserted = *m_table.Insert_Local_Record(&city, nullptr);
    inserted.m_data[inserted.m_data_len + 99] = 'y';
    City copy;
    ASSERT_TRUE(m_table.Take_Out(7, copy));
    EXPECT_EQ(std::memcmp(copy.m_data, inserted.m_data, static_cast<std::size_t>(copy.Buffer_Size())), 0);
    EXPECT_EQ(Name_Of(copy), "Quito");
    EXPECT_EQ(copy.m_unic_number, inserted.m_unic_number);
    EXPECT_EQ(copy.m_table_ptr, nullptr);
    EXPECT_EQ(m_table.Used_Num_Records(), 0);
    EXPECT_FALSE(m_table.Take_Out(7, copy));
    EXPECT_EQ(m_table.m_last_operation, OPER_DELETE);
}

TEST_F(OneKey, DeletingAllKeepsThePoolAndFreesInTheOrderOfTheKeys)
{
    Insert(m_table, 1, "CCC");
    Insert(m_table, 2, "AAA");
    Insert(m_table, 3, "BBB");
    m_table.Delete_All_Records();
    EXPECT_EQ(m_table.Used_Num_Records(), 0);
    EXPECT_EQ(m_table.m_recs.max_number, 24);
    EXPECT_EQ(m_table.m_last_operation, OPER_DELETE);
    EXPECT_EQ(m_table.m_recs.Next(1), 2);
    EXPECT_EQ(m_table.m_recs.Next(2), 0);
    EXPECT_EQ(m_table.m_recs.last_free, 0);
    EXPECT_EQ(m_table.Find_By_Idx(1), nullptr);
}

TEST_F(OneKey, DeletingAllFreesWhatNoKeyLeadsTo)
{
    Insert(m_table, 1, "AAA");
    m_table.Search_Next_Free_Pos();
    m_table.Search_Next_Free_Pos();
    m_table.Delete_All_Records();
    EXPECT_EQ(m_table.Used_Num_Records(), 0);
    EXPECT_EQ(m_table.m_recs.last_free, 2) << "behind those with a key, in the order of the pool";
}

TEST_F(OneKey, ARecordThatLostItsIdxToAUsedUpRangeIsReplacedByItsKeyAlone)
{
    Give_Range(1, 2);
    for (const char* code : {"AAA", "BBB"}) {
        const int pos = m_table.Search_Next_Free_Pos();
        City city(0, code);
        m_table.m_recs[pos] = city;
        m_table.m_key_maps.Add_Record(pos, &m_table.m_recs[pos], 0);
    }
    City& second = *By_Code(m_table, "BBB");
    EXPECT_EQ(m_table.Find_By_Idx(1), &second);
    Update(m_table, 1, "AAA");
    EXPECT_EQ(m_table.Used_Num_Records(), 1);
    EXPECT_EQ(By_Code(m_table, "AAA"), &second);
    EXPECT_EQ(m_table.Find_By_Idx(1), &second) << "the newcomer, though the one it replaced has its idx";
}

// ---- Actions ---------------------------------------------------------------------------------------------------

TEST_F(OneKey, AnActionOnAPositionThatIsNotThereIsReported)
{
    m_table.Check_Record_Actions(6, nullptr, "I", 8, 1, 0);
    m_table.Check_Record_Actions(-1, nullptr, "I", 8, 1, 0);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("23001 Error. Record could not be retrieved. Record pos: 6.",
                                                 "23001 Error. Record could not be retrieved. Record pos: -1."));
    EXPECT_EQ(m_table.m_last_operation, OPER_UNDEF);
}

TEST_F(OneKey, AnUnknownActionIsReported)
{
    m_table.Check_Record_Actions(0, nullptr, "X", 8, 1, 0);
    m_table.Check_Record_Actions(0, nullptr, "", 8, 1, 0);
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre("23001 Error. Unhandled action when checking record actions. Action X.",
                            "23001 Error. Unhandled action when checking record actions. Action ."));
    EXPECT_EQ(m_table.m_last_operation, OPER_UNDEF);
}

TEST_F(OneKey, TheFirstLetterOfAnActionTellsTheOperation)
{
    for (const auto& [action, operation] : {std::pair{"Insert", OPER_INSERT}, {"A", OPER_UPDATE}, {"B", OPER_DELETE}}) {
        m_table.Check_Record_Actions(0, nullptr, action, 8, 1, 0);
        EXPECT_EQ(m_table.m_last_operation, operation);
    }
}

TEST_F(OneKey, EachPositionKeepsACopyOfItsList)
{
    CTableList list(22);
    City city(1, "QTO");
    const City& inserted = *m_table.Insert_Local_Record(&city, &list);
    list.Clean_Tables();
    EXPECT_EQ(m_table.m_tlists[inserted.m_pos_in_table].First_Table(), 22);
}

TEST_F(OneKey, ARecordWithoutAListHasNotTheOneOfTheRecordBeforeIt)
{
    CTableList list(22);
    City city(1, "QTO");
    m_table.Insert_Local_Record(&city, &list);
    Delete(m_table, 1);
    while (m_table.m_recs.first_free != 0) {
        m_table.Insert_Local_Record(&city, nullptr);
        Delete(m_table, 1);
    }
    EXPECT_EQ(m_table.Delete_Record(m_table.Insert_Local_Record(&city, nullptr))->First_Table(), 0);
}

// ---- With a file -----------------------------------------------------------------------------------------------

TEST_F(OneKey, ChangesReachTheFileUnderItsNumbers)
{
    FakeTableFile& file = m_table.With_File();
    file.m_next = 5;
    const City& city = Insert(m_table, 1, "QTO");
    EXPECT_EQ(city.m_unic_number, 5U);
    EXPECT_EQ(Glb_Unic_Number, 0U) << "the process's numbers are for tables without a file";
    Update(m_table, 1, "GYE");
    Delete(m_table, 1);
    EXPECT_THAT(file.Take_Calls(), ElementsAre("save 5 QTO", "save 5 GYE", "delete 5"));
    const std::string in_record(city.m_data + 14, 8);
    EXPECT_EQ(file.m_identities.back(), in_record);
    EXPECT_NE(in_record, std::string(8, '\0'));
}

TEST_F(OneKey, AReplacedRecordLeavesTheFileBeforeTheNewOneEnters)
{
    FakeTableFile& file = m_table.With_File();
    Insert(m_table, 1, "QTO");
    Insert(m_table, 2, "QTO");
    EXPECT_THAT(file.Take_Calls(), ElementsAre("save 1 QTO", "delete 1", "save 2 QTO"));
}

TEST_F(OneKey, DeletingAllLeavesTheFileUntouched)
{
    FakeTableFile& file = m_table.With_File();
    Insert(m_table, 1, "QTO");
    m_table.Search_Next_Free_Pos();
    file.Take_Calls();
    m_table.Delete_All_Records();
    EXPECT_THAT(file.Take_Calls(), IsEmpty());
    EXPECT_EQ(m_table.Used_Num_Records(), 0);
}

TEST_F(OneKey, TakingOutAndDeletionByRecordReachTheFileToo)
{
    FakeTableFile& file = m_table.With_File();
    City copy;
    Insert(m_table, 1, "QTO");
    m_table.Take_Out(1, copy);
    m_table.Delete_Record(&Insert(m_table, 2, "GYE"));
    EXPECT_THAT(file.Take_Calls(), ElementsAre("save 1 QTO", "delete 1", "save 2 GYE", "delete 2"));
}

// ---- Numbers ---------------------------------------------------------------------------------------------------

TEST_F(OneKey, RecordsHaveRunningNumbersOfTheProcess)
{
    OneKeyTable other;
    EXPECT_EQ(Insert(m_table, 1, "QTO").m_unic_number, 1U);
    EXPECT_EQ(Insert(other, 1, "QTO").m_unic_number, 2U);
    EXPECT_EQ(Insert(m_table, 2, "GYE").m_unic_number, 3U);
}

TEST_F(OneKey, NumberZeroIsPassedOver)
{
    Glb_Unic_Number = 0xFFFFFFFE;
    EXPECT_EQ(Insert(m_table, 1, "QTO").m_unic_number, 0xFFFFFFFFU);
    EXPECT_EQ(Insert(m_table, 2, "GYE").m_unic_number, 1U);
}

class Mailbox : public TableTest
{
protected:
    Mailbox() { m_table.Set_Table_Flag(TABLE_NOT_PUBLISHED | TABLE_USE_OWN_UNIQUE_IDX); }
    IdxTable m_table;
};

TEST_F(Mailbox, IdxOfARecordIsItsNumber)
{
    City& city = Insert(m_table, 77, "QTO");
    EXPECT_EQ(Idx_Of(city), 1U);
    EXPECT_EQ(city.m_unic_number, 1U);
    EXPECT_EQ(m_table.Find_By_Idx(1), &city);
    EXPECT_EQ(m_table.Find_By_Idx(77), nullptr);
    Insert(m_table, 77, "QTO");
    EXPECT_EQ(m_table.Used_Num_Records(), 2);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Mailbox, NumbersThatAreStillInUseArePassedOverWhenTheyStartAgain)
{
    City& first = Insert(m_table, 0, "AAA");
    City& second = Insert(m_table, 0, "BBB");
    Glb_Unic_Number = 0xFFFFFFFE;
    EXPECT_EQ(Idx_Of(Insert(m_table, 0, "CCC")), 0xFFFFFFFFU);
    EXPECT_EQ(Idx_Of(Insert(m_table, 0, "DDD")), 3U);
    EXPECT_EQ(m_table.Find_By_Idx(1), &first);
    EXPECT_EQ(m_table.Find_By_Idx(2), &second);
    EXPECT_EQ(m_table.Used_Num_Records(), 4);
}

TEST_F(Mailbox, WithAFileTheIdxIsTheCounterAsItStands)
{
    m_table.With_File().m_next = 40;
    Glb_Unic_Number = 9;
    City& city = Insert(m_table, 0, "AAA");
    EXPECT_EQ(Idx_Of(city), 9U);
    EXPECT_EQ(city.m_unic_number, 40U);
    EXPECT_EQ(Glb_Unic_Number, 9U);
    EXPECT_EQ(Idx_Of(Insert(m_table, 0, "BBB")), 10U) << "9 is in use";
    EXPECT_EQ(m_table.Find_By_Idx(9), &city);
}

TEST_F(Mailbox, OneRecordAtATimeNeedsNoMorePositionsThanTwo)
{
    for (int turn = 0; turn < 1000; ++turn) {
        City* city = &Insert(m_table, 0, "AAA");
        EXPECT_EQ(m_table.Delete_Local_Record(city), city);
    }
    EXPECT_EQ(m_table.m_recs.max_number, 24);
}

// ---- The table itself ------------------------------------------------------------------------------------------

TEST_F(OneKey, TablesAreNumbered)
{
    const OneKeyTable other;
    EXPECT_GE(m_table.m_table_num, 1000);
    EXPECT_EQ(other.m_table_num, m_table.m_table_num + 1);
}

TEST_F(OneKey, FlagsAreExchanged)
{
    EXPECT_EQ(m_table.Set_Table_Flag(17), 1);
    EXPECT_EQ(m_table.Set_Table_Flag(4), 17);
    EXPECT_EQ(m_table.Do_We_Maintain_It(), 4);
    m_table.Set_Table_Flag(TABLE_PUBLISHED_TO_DS_AND_FROM_DS);
    EXPECT_EQ(m_table.Do_We_Maintain_It(), 4);
    m_table.Set_Table_Flag(TABLE_PUBLISHED_TO_DGI);
    EXPECT_EQ(m_table.Do_We_Maintain_It(), 0);
}

TEST_F(OneKey, TableKeepsAListOfItsCode)
{
    EXPECT_EQ(m_table.m_tn_list, nullptr);
    m_table.Set_Table_Num(25);
    EXPECT_EQ(m_table.m_tn_list->First_Table(), 25);
    m_table.Set_Table_Num(26);
    EXPECT_EQ(m_table.m_tn_list->First_Table(), 26);
    EXPECT_EQ(m_table.m_tn_list->Next_Table(), 0);
}

TEST_F(OneKey, ATableIsNotWhatItIsNotTold)
{
    CTableBase base;
    EXPECT_EQ(base.Used_Num_Records(), 0);
    EXPECT_EQ(base.Get_Record_By_Env_Crc32({1, 2}), nullptr);
    EXPECT_EQ(base.Do_We_Maintain_It(), 0);
}

} // namespace
