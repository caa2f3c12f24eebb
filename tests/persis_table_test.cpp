// The file behind a table: what a load hands over, what a save brings to it, and when it begins afresh.
#include "support/record_file.h"
#include "support/table_fixture.h"

#include "persis/table_pers_file.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class PersisTable : public RecordFileTest
{
protected:
    std::unique_ptr<qapi::PersTableFile> OpenTable(unsigned size = city_size)
    {
        return qapi::PersTableFile::Open(PERS_CITY_CODE, "cities", size);
    }
    static Texts LoadTable(qapi::PersTableFile& file)
    {
        Texts live;
        file.Load([&](unsigned number, std::span<const char> data, std::span<const char> identity) {
            live.push_back(std::to_string(number) + " " + std::string(data.data(), data.size()) + " " +
                           ToHex({identity.data(), identity.size()}));
        });
        return live;
    }
};

TEST_F(PersisTable, LoadsLiveRecordsWithSlotAndIdentity)
{
    Put(StoredImage("deleted_slot"));
    const auto table = OpenTable();
    EXPECT_THAT(LoadTable(*table), ElementsAre("2 RECORD-2 0300000004000000"));
    EXPECT_FALSE(table->Check_Forced_Save());
    EXPECT_EQ(table->Get_Next_Free(), 1U);
    table->Save_Record(1, "RECORD-3", "\5\0\0\0\6\0\0\0");
    EXPECT_THAT(LoadTable(*OpenTable()), ElementsAre("1 RECORD-3 0500000006000000", "2 RECORD-2 0300000004000000"));
}

// The market would take what is left for the record that it knows.
TEST_F(PersisTable, RecordThatItsHeaderCutsLosesItsIdentity)
{
    Put(StoredImage("one_record"));
    Patch(HeaderAt(1) + 44, "03000000");
    EXPECT_THAT(LoadTable(*OpenTable()), ElementsAre("1 REC" + std::string(5, '\0') + " 0000000000000000"));
    Patch(HeaderAt(1) + 44, "09000000");
    EXPECT_THAT(LoadTable(*OpenTable()), ElementsAre("1 RECORD-1 4433221188776655"));
    EXPECT_THAT(LoadTable(*OpenTable(3)), ElementsAre("1 REC 4433221188776655"));
}

TEST_F(PersisTable, RecordThatDoesNotFitStartsTheFileAfresh)
{
    Put(StoredImage("one_record"));
    const std::string value(50, 'v');
    const auto table = OpenTable(50);
    LoadTable(*table);
    EXPECT_FALSE(table->Check_Forced_Save());
    table->Save_Record(1, value.data(), "identity");
    EXPECT_TRUE(table->Check_Forced_Save());
    table->Save_Record(1, value.data(), "identity");
    EXPECT_FALSE(table->Check_Forced_Save());
    EXPECT_THAT(LoadTable(*OpenTable(50)), ElementsAre("1 " + value + " " + ToHex("identity")));
    EXPECT_EQ(BytesAt(24 + 48 + 8, 4), "2c010000");
}

TEST_F(PersisTable, FullDiskIsToldOnce)
{
    const auto table = OpenTable();
    for (int round = 0; round < 2; ++round) {
        {
            const FileSizeLimit full(112);
            for (unsigned number = 1; number < 4; ++number) {
                table->Save_Record(number, "RECORD-1", "identity");
            }
            table->Delete_Record(1000);
        }
        EXPECT_THAT(ReportTexts::Take(),
                    ElementsAre(testing::StartsWith("1 Record 1 could not be written to the file cities, error = ")));
        table->Save_Record(1, "RECORD-1", "identity");
    }
}

TEST_F(PersisTable, DeletingWhatWasNeverWrittenIsNoFailure)
{
    const auto table = OpenTable();
    table->Delete_Record(table->Get_Next_Free());
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(PersisTable, TableBringsItsChangesToTheFile)
{
    constexpr unsigned whole_city = 154;
    IdxTable table;
    table.m_Pers_File = OpenTable(whole_city);
    for (const unsigned idx : {7U, 8U}) {
        City city(idx, idx == 7 ? "BUE" : "ROS");
        table.Insert_Local_Record(&city, nullptr);
    }
    City changed(8, "COR");
    table.Update_Local_Record(&changed);
    City gone(7, "");
    table.Delete_Local_Record(&gone);

    City& kept = *table.Find_By_Idx(8);
    const std::string bytes(kept[DATA_INFO].Get_Ptr(), whole_city);
    EXPECT_THAT(LoadTable(*OpenTable(whole_city)),
                ElementsAre("2 " + bytes + " " + ToHex({kept[ENV_CRC32].Get_Ptr(), 8})));
}

TEST_F(PersisTable, FileThatDoesNotOpenIsNull)
{
    std::filesystem::create_directory("cities");
    EXPECT_EQ(OpenTable(), nullptr);
    EXPECT_EQ(errno, EISDIR);
}

} // namespace
