// What a table does with a server's list: which records stay, under which numbers, and what is told to whom.
#include "support/table_fixture.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t theirs = 0x4F430000;

// Of a table that is kept up in both directions, this client maintains the cities from M on.
class SharedCity : public City
{
public:
    explicit SharedCity(char* data = nullptr) : City(data) {}
    SharedCity(unsigned idx, const std::string& code) : City(idx, code) {}
    using City::operator=;
    int Do_We_Maintain_It() override { return Code_Of(*this) >= "M" ? CMessage::Do_We_Maintain_It() : 0; }
};
using SharedTable = OpenTable<SharedCity, CMap2KeyOrder<CCityKey, CEnvCrc32Key, SharedCity>>;

std::vector<std::string> told;

void Tell_Delete(unsigned int idx)
{
    told.push_back("delete " + std::to_string(idx));
}
void Tell_Ask(int is_last, int count, const DLONG* identities)
{
    std::string line = is_last != 0 ? "last ask" : "ask";
    for (int i = 0; i < count; ++i) {
        line += " " + std::to_string(identities[i].low);
    }
    told.push_back(line);
}

class TableHash : public TableTest
{
protected:
    TableHash() : file(table.With_File())
    {
        told.clear();
        Be(TABLE_NOT_PUBLISHED | TABLE_NO_LOG_ERRORS_INSERTION_MODIFICATION);
        table.Initialize_Missing_Crc32s();
    }

    void Be(int flags) { table.Set_Table_Flag(flags); }
    SharedCity& Come(unsigned idx, const std::string& code, std::uint32_t crc32)
    {
        SharedCity city(idx, code);
        city.With_Identity({crc32, theirs});
        return *table.Insert_Local_Record(&city, nullptr);
    }
    void Begin()
    {
        file.Take_Calls();
        table.Initialize_Missing_Crc32s();
        table.Get_Crc32();
    }
    void List(std::uint32_t idx, std::uint32_t crc32)
    {
        const IDX_ENV_CRC32_PAIR pair{idx, crc32, theirs};
        table.Set_Idx_For_Record_With_Env_Crc32(&pair, {crc32, theirs}, idx);
    }
    std::vector<std::string> End()
    {
        table.Check_Crc32_Updating(Tell_Delete, Tell_Ask);
        return std::exchange(told, {});
    }

    // "CODE idx" of each record in the order of the codes.
    std::vector<std::string> Records()
    {
        std::vector<std::string> records;
        for (int pos = table.m_key_maps.Begin(); pos >= 0; pos = table.m_key_maps.Next()) {
            SharedCity& city = table.m_recs[pos];
            EXPECT_EQ(table.Find_By_Idx(Idx_Of(city)), &city);
            EXPECT_EQ(table.Get_Record_By_Env_Crc32(city.m_env_crc32), &city);
            records.push_back(Code_Of(city) + " " + std::to_string(Idx_Of(city)));
        }
        EXPECT_EQ(static_cast<int>(records.size()), table.Used_Num_Records());
        return records;
    }

    SharedTable table;
    FakeTableFile& file;
};

// ---- A table of the servers

TEST_F(TableHash, ListDecidesInATableOfTheServers)
{
    Come(1, "BOG", 11);
    Come(2, "CAL", 12);
    Come(3, "MED", 13);
    Begin();
    List(3, 11);
    List(2, 14);
    List(1, 13);
    EXPECT_THAT(End(), ElementsAre("last ask 14"));
    EXPECT_THAT(Records(), ElementsAre("BOG 3", "MED 1"));
    EXPECT_THAT(file.Take_Calls(), ElementsAre("delete 2"));
}

TEST_F(TableHash, RenumberedRecordKeepsItsPlace)
{
    const SharedCity* before = &Come(1, "BOG", 11);
    Begin();
    List(70, 11);
    End();
    EXPECT_EQ(table.Find_By_Idx(70), before);
    EXPECT_EQ(table.Find_By_Idx(1), nullptr);
}

// A server sends no record of a table ahead of its last list. One that comes all the same has the mark of whatever had
// its place before: none in a new place.
TEST_F(TableHash, RecordAheadOfTheListGoesWithIt)
{
    Come(1, "BOG", 11);
    Begin();
    Come(2, "CAL", 12);
    List(1, 11);
    End();
    EXPECT_THAT(Records(), ElementsAre("BOG 1"));
}

TEST_F(TableHash, RecordAheadOfTheListThatIsInItStays)
{
    Begin();
    Come(2, "CAL", 12);
    List(5, 12);
    EXPECT_THAT(End(), ElementsAre("last ask"));
    EXPECT_THAT(Records(), ElementsAre("CAL 5"));
}

TEST_F(TableHash, RecordAheadOfTheListHasTheMarkOfItsPlace)
{
    Come(1, "BOG", 11);
    Begin();
    List(40, 11);
    End();
    SharedCity gone(40, "");
    table.Delete_Local_Record(&gone);
    while (table.m_recs.first_free != 0) { // until that place is the next one
        table.m_recs.Release(table.m_recs.Use_One());
    }
    Begin();
    Come(2, "CAL", 12);
    End();
    EXPECT_THAT(Records(), ElementsAre("CAL 40"));
    Begin();
    End();
    EXPECT_THAT(Records(), IsEmpty()) << "the next dialogue clears the mark";
}

TEST_F(TableHash, RecordThatNoIdxLeadsToIsUnmarkedToo)
{
    SharedCity& lost = Come(1, "BOG", 11);
    lost.m_is_checked = 1;
    lost.m_assigned_idx = 9;
    table.m_key_maps.m_key_idx.Initialize();
    Begin();
    End();
    EXPECT_THAT(Records(), IsEmpty());
}

TEST_F(TableHash, OfTwoUnderOneNumberTheLaterOfThePoolStays)
{
    Come(1, "BOG", 11);
    Come(2, "CAL", 12);
    Begin();
    List(9, 12);
    List(9, 11);
    End();
    EXPECT_THAT(Records(), ElementsAre("CAL 9"));
    EXPECT_THAT(file.Take_Calls(), ElementsAre("delete 1"));
}

TEST_F(TableHash, ListsAreForgottenWithTheDialogue)
{
    Begin();
    List(1, 21);
    EXPECT_THAT(End(), ElementsAre("last ask 21"));
    EXPECT_THAT(End(), ElementsAre("last ask"));
    List(1, 21);
    Begin();
    EXPECT_THAT(End(), ElementsAre("last ask"));
}

TEST_F(TableHash, HashDependsOnNumbersAndIdentities)
{
    const unsigned of_none = table.Get_Crc32();
    EXPECT_EQ(of_none, 0xFFFFFFFFU);
    SharedCity& city = Come(1, "BOG", 11);
    const unsigned before = table.Get_Crc32();
    EXPECT_NE(before, of_none);
    city.m_env_crc32.low = 12;
    EXPECT_NE(table.Get_Crc32(), before);
    city.m_env_crc32.low = 11;
    EXPECT_EQ(table.Get_Crc32(), before);
    Begin();
    List(2, 11);
    End();
    EXPECT_NE(table.Get_Crc32(), before);
}

// ---- A table of this client's own

TEST_F(TableHash, OwnTableAsksForNothingAndHasTheServersOtherRecordsDeleted)
{
    Be(TABLE_PUBLISHED_TO_DS);
    Come(1, "BOG", 11);
    Begin();
    List(4, 21);
    List(3, 11);
    List(5, 22);
    EXPECT_THAT(End(), ElementsAre("last ask", "delete 4", "delete 5"));
    EXPECT_THAT(Records(), ElementsAre("BOG 3"));
}

TEST_F(TableHash, OwnRecordThatTheServerLacksStaysUnderANewNumberOfThisEnvironment)
{
    Be(TABLE_PUBLISHED_TO_DS);
    Come(1, "BOG", 11);
    Come(8, "CAL", 12);
    Begin();
    List(1, 11);
    End();
    EXPECT_THAT(Records(), ElementsAre("BOG 1", "CAL 2"));
    EXPECT_EQ(Identity_In_Buffer(*By_Code(table, "CAL")).high, our_environment);
    EXPECT_THAT(file.Take_Calls(), IsEmpty());
}

TEST_F(TableHash, InATableOfBothDirectionsEachSideKeepsItsRecords)
{
    Be(TABLE_PUBLISHED_TO_DS_AND_FROM_DS);
    Come(1, "BOG", 11);
    Come(2, "CAL", 12);
    Come(3, "MED", 13);
    Begin();
    List(1, 11);
    List(4, 21);
    EXPECT_THAT(End(), ElementsAre("last ask 21")) << "what is lacking is asked for and not deleted";
    EXPECT_THAT(Records(), ElementsAre("BOG 1", "MED 2")) << "Cali was the servers'";
    EXPECT_THAT(file.Take_Calls(), ElementsAre("delete 2"));
}

// ---- The last step of a publisher

TEST_F(TableHash, OwnRecordsThatTheServerLacksAreToldAtTheEnd)
{
    Be(TABLE_PUBLISHED_TO_DS);
    Come(1, "BOG", 11);
    Come(2, "CAL", 12);
    Begin();
    List(1, 11);
    End();
    table.Finalize_Crc32_Updating();
    EXPECT_THAT(file.Take_Calls(), ElementsAre("save 2 CAL"));
    EXPECT_EQ(table.m_last_operation, OPER_INSERT);
}

TEST_F(TableHash, OfATableOfBothDirectionsItsOwnRecordsAreTold)
{
    Be(TABLE_PUBLISHED_TO_DS_AND_FROM_DS);
    Begin();
    End();
    Come(1, "BOG", 11);
    Come(2, "MED", 12);
    file.Take_Calls();
    table.Finalize_Crc32_Updating();
    EXPECT_THAT(file.Take_Calls(), ElementsAre("save 2 MED"));
}

TEST_F(TableHash, NothingIsToldAtTheEndUnlessAListWasWorkedOff)
{
    Be(TABLE_PUBLISHED_TO_DS);
    Come(1, "BOG", 11);
    Begin();
    table.Finalize_Crc32_Updating();
    EXPECT_THAT(file.Take_Calls(), IsEmpty());
    End();
    table.Get_Crc32(); // the next dialogue begins
    table.Finalize_Crc32_Updating();
    EXPECT_THAT(file.Take_Calls(), IsEmpty());
}

TEST_F(TableHash, NothingIsToldAtTheEndOfATableOfTheServers)
{
    Begin();
    End();
    Come(1, "MED", 11);
    file.Take_Calls();
    table.Finalize_Crc32_Updating();
    EXPECT_THAT(file.Take_Calls(), IsEmpty());
}

} // namespace
