// A table comes back from its file: idx values of this run, identities of the file, newcomers that replace.
#include "support/table_fixture.h"

#include "little_endian.h"

#include <gmock/gmock.h>

#include <array>
#include <string>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t theirs = 0x4F430000;

std::string identity(std::uint32_t crc32, std::uint32_t environment)
{
    std::string bytes(8, '\0');
    store_le(bytes.data(), crc32);
    store_le(bytes.data() + 4, environment);
    return bytes;
}

// A city whose code tells what Check_Pers_Data says of it.
class CheckedCity : public City
{
public:
    explicit CheckedCity(char* data) : City(data) {}
    using City::operator=;
    int Check_Pers_Data(int /*version*/) override
    {
        const std::string code = Code_Of(*this);
        return code == "DEL" ? 2 : code == "UPD" ? 1 : 0;
    }
};
using CheckedTable = OpenTable<CheckedCity, CMap2KeyOrder<CCityKey, CEnvCrc32Key, CheckedCity>>;

class RestartedFile : public FakeTableFile
{
public:
    [[nodiscard]] bool Is_Converting() const override { return m_is_converting; }
    bool Check_Forced_Save() override { return m_is_forced; }
    bool m_is_forced = false;
    bool m_is_converting = false;
};

class TableLoad : public TableTest
{
protected:
    TableLoad()
    {
        auto made = std::make_unique<RestartedFile>();
        file = made.get();
        table.Assoc_To_Pers_File(std::move(made));
        table.Set_Table_Flag(TABLE_NOT_PUBLISHED | TABLE_NO_LOG_ERRORS_INSERTION_MODIFICATION);
    }
    void Keep(const std::string& code, std::uint32_t crc32, std::uint32_t environment = theirs)
    {
        file->m_kept.push_back(code);
        file->m_identities_kept.push_back(identity(crc32, environment));
    }
    void Put(unsigned idx, const std::string& code, const std::string& name = "")
    {
        CheckedCity city(nullptr);
        city.Be(idx, code, name);
        table.Insert_Local_Record(&city, nullptr);
    }
    CheckedCity& At(int pos) { return table.m_recs[pos]; }

    CheckedTable table;
    RestartedFile* file = nullptr;
};

TEST_F(TableLoad, RecordsHaveNewNumbersAndTheIdentitiesOfTheFile)
{
    Keep("BOG", 11);
    Keep("MED", 12);
    table.Load_Pers_File();
    ASSERT_EQ(table.Used_Num_Records(), 2);
    EXPECT_EQ(Code_Of(*table.Find_By_Idx(1)), "BOG");
    EXPECT_EQ(Code_Of(*table.Find_By_Idx(2)), "MED");
    EXPECT_EQ(table.Get_Record_By_Env_Crc32({12, theirs}), table.Find_By_Idx(2));
    EXPECT_EQ(Identity_In_Buffer(*table.Find_By_Idx(1)), (DLONG{11, theirs}));
    EXPECT_EQ(table.Find_By_Idx(2)->m_unic_number, 2U);
    EXPECT_THAT(file->Take_Calls(), IsEmpty()) << "nothing has changed";
}

TEST_F(TableLoad, SecondLoadReplacesWhatWasThereAndLeavesTheFile)
{
    Keep("BOG", 11);
    table.Load_Pers_File();
    table.Load_Pers_File();
    EXPECT_EQ(table.Used_Num_Records(), 1);
    EXPECT_EQ(table.Find_By_Idx(1), nullptr) << "each load gives numbers of its own";
    EXPECT_EQ(Code_Of(*table.Find_By_Idx(2)), "BOG");
    EXPECT_THAT(file->Take_Calls(), IsEmpty());
}

TEST_F(TableLoad, WithoutAFileRecordsStay)
{
    table.Assoc_To_Pers_File(nullptr);
    Put(7, "BOG");
    table.Load_Pers_File();
    EXPECT_EQ(table.Used_Num_Records(), 1);
}

TEST_F(TableLoad, RecordWithoutAnIdentityIsGivenOneAndSaved)
{
    Keep("BOG", 0, 0);
    table.Load_Pers_File();
    EXPECT_EQ(At(0).m_env_crc32.high, our_environment);
    EXPECT_NE(At(0).m_env_crc32.low, 0U);
    EXPECT_EQ(Identity_In_Buffer(At(0)), At(0).m_env_crc32);
    EXPECT_EQ(table.Get_Record_By_Env_Crc32(At(0).m_env_crc32), &At(0));
    EXPECT_THAT(file->Take_Calls(), ElementsAre("save 1 BOG"));
}

TEST_F(TableLoad, CrcWithoutAnEnvironmentIsAnIdentity)
{
    Keep("BOG", 11, 0);
    table.Load_Pers_File();
    EXPECT_EQ(At(0).m_env_crc32, (DLONG{11, 0}));
    EXPECT_EQ(Identity_In_Buffer(At(0)), (DLONG{11, 0}));
    EXPECT_THAT(file->Take_Calls(), IsEmpty());
}

TEST_F(TableLoad, CrcWithoutAnEnvironmentIsOursInATableOfOurOwn)
{
    table.Set_Table_Flag(TABLE_PUBLISHED_TO_DS);
    Keep("BOG", 11, 0);
    table.Load_Pers_File();
    EXPECT_EQ(At(0).m_env_crc32, (DLONG{11, our_environment}));
}

TEST_F(TableLoad, EnvironmentAboveHalfTheRangeIsTakenAsItIs)
{
    Keep("BOG", 11, 0x80000001);
    table.Load_Pers_File();
    EXPECT_EQ(At(0).m_env_crc32, (DLONG{11, 0x80000001}));
    EXPECT_EQ(Identity_In_Buffer(At(0)), (DLONG{11, 0x80000001}));
    EXPECT_THAT(file->Take_Calls(), ElementsAre("save 1 BOG")) << "as a number with a sign it is none";
}

TEST_F(TableLoad, OfTwoRecordsOfOneKeyTheLaterStaysInTheFileToo)
{
    Keep("BOG", 11);
    Keep("BOG", 12);
    table.Load_Pers_File();
    EXPECT_EQ(table.Used_Num_Records(), 1);
    EXPECT_EQ(table.Get_Record_By_Env_Crc32({11, theirs}), nullptr);
    EXPECT_THAT(file->Take_Calls(), ElementsAre("delete 1"));
}

TEST_F(TableLoad, OfTwoRecordsOfOneIdentityTheLaterStays)
{
    Keep("BOG", 11);
    Keep("MED", 11);
    table.Load_Pers_File();
    EXPECT_EQ(table.Used_Num_Records(), 1);
    EXPECT_EQ(Code_Of(*By_Code(table, "MED")), "MED");
    EXPECT_EQ(By_Code(table, "BOG"), nullptr);
    EXPECT_THAT(file->Take_Calls(), ElementsAre("delete 1"));
}

TEST_F(TableLoad, RecordThatIsToGoIsDeletedInTheFileAndLeavesNothing)
{
    Keep("DEL", 11);
    Keep("BOG", 12);
    table.Load_Pers_File();
    EXPECT_EQ(table.Used_Num_Records(), 1);
    EXPECT_EQ(By_Code(table, "DEL"), nullptr);
    EXPECT_EQ(table.Get_Record_By_Env_Crc32({11, theirs}), nullptr);
    EXPECT_THAT(file->Take_Calls(), ElementsAre("delete 1"));
}

TEST_F(TableLoad, RecordThatBroughtItselfUpToDateIsSaved)
{
    Keep("UPD", 11);
    table.Load_Pers_File();
    EXPECT_EQ(At(0).m_env_crc32, (DLONG{11, theirs}));
    EXPECT_THAT(file->Take_Calls(), ElementsAre("save 1 UPD"));
}

TEST_F(TableLoad, FileThatIsConvertedIsSavedRecordByRecord)
{
    file->m_is_converting = true;
    Keep("BOG", 11);
    Keep("MED", 12);
    table.Load_Pers_File();
    EXPECT_THAT(file->Take_Calls(), ElementsAre("save 1 BOG", "save 2 MED"));
    EXPECT_THAT(file->m_identities, ElementsAre(identity(11, theirs), identity(12, theirs)));
}

TEST_F(TableLoad, FileThatWasStartedAfreshGetsAllRecordsUnderNumbersFromOne)
{
    Keep("DEL", 11);
    Keep("BOG", 12);
    Keep("MED", 13);
    file->m_is_forced = true;
    table.Load_Pers_File();
    EXPECT_THAT(file->Take_Calls(), ElementsAre("delete 1", "save 1 BOG", "save 2 MED"));
    EXPECT_EQ(By_Code(table, "MED")->m_unic_number, 2U);
    EXPECT_EQ(file->m_next, 3U) << "the file knows that they are taken";
}

TEST_F(TableLoad, RecordsHaveTheTablesList)
{
    table.Set_Table_Num(25);
    Keep("BOG", 11);
    table.Load_Pers_File();
    EXPECT_EQ(table.m_tlists[0].First_Table(), 25);
}

TEST_F(TableLoad, NothingOfTheRecordBeforeStaysInItsPlace)
{
    Put(7, "BOG", "Bogota");
    table.Delete_Local_Record(table.Find_By_Idx(7));
    file->Take_Calls();
    for (int i = 0; i < 30; ++i) {
        Keep("C" + std::to_string(10 + i), 20U + static_cast<unsigned>(i));
    }
    table.Load_Pers_File();
    for (int pos = 0; pos < 31; ++pos) {
        EXPECT_TRUE(!table.m_recs.Is_Used(pos) || Name_Of(At(pos)).empty());
    }
}

} // namespace
