// Record files as a table uses them: what stands on disk, which slots are used, and what is told.
#include "support/fake_system.h"
#include "support/record_file.h"

#include "persis/table_pers_file.h"
#include "record_io.h"

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Persis : public RecordFileTest
{
protected:
    Persis() { cities.Open(DO_NOT_RENAME); }
    void SaveUpTo(unsigned last)
    {
        for (unsigned slot = 1; slot <= last; ++slot) {
            Save(cities, slot);
        }
    }
};

// ---- Bytes on disk ---------------------------------------------------------------------------------------------

TEST_F(Persis, NewFileHasTheHeaderAlone)
{
    EXPECT_EQ(cities.m_working, 1);
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("new")));
}

TEST_F(Persis, SavedRecordIsOnDiskWhenTheCallReturns)
{
    EXPECT_EQ(Save(cities, 1), 1);
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("one_record")));
}

TEST_F(Persis, SlotOneOfBranchesHasItsHeaderAt581AndItsDataAt731)
{
    CPersFile branches(PERS_BRANCHNUM_CODE, "branches", 331);
    branches.Open(DO_NOT_RENAME);
    const std::string branch(331, 'b');
    EXPECT_EQ(branches.Save_Record(1, branch.data(), "identity"), 1);
    const std::string bytes = directory.read("branches");
    EXPECT_EQ(ToHex(bytes.substr(112, 469)), ToHex(std::string(469, '\0')));
    EXPECT_EQ(ToHex(bytes.substr(581, 8)), "1800000002000000");
    EXPECT_EQ(ToHex(bytes.substr(629, 102)), ToHex(std::string(102, '\0')));
    EXPECT_EQ(ToHex(bytes.substr(731, 8)), "7901000004000000");
    EXPECT_EQ(bytes.size(), 731 + 24 + 12 + 16 + 8 + 331 + 10);
}

TEST_F(Persis, SpaceBetweenBlocksIsNotWritten)
{
    Save(cities, 1);
    Save(cities, 2);
    const std::string sentinel = "a1b2c3d4";
    for (const std::size_t gap : {112UL, 254UL, 258 + 48UL, 404UL, 486UL, 512UL}) {
        Patch(gap, sentinel);
    }
    Save(cities, 1, "CHANGED!");
    cities.Delete_Record(1);
    for (const std::size_t gap : {112UL, 254UL, 258 + 48UL, 404UL, 486UL, 512UL}) {
        EXPECT_EQ(BytesAt(gap, 4), sentinel) << gap;
    }
}

TEST_F(Persis, DeletedRecordKeepsItsData)
{
    cities.Save_Record(1, "RECORD-1", "\1\0\0\0\2\0\0\0");
    cities.Save_Record(2, "RECORD-2", "\3\0\0\0\4\0\0\0");
    EXPECT_EQ(cities.Delete_Record(1), 1);
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("deleted_slot")));
}

TEST_F(Persis, FileHeaderIsWrittenWhenTheHighestSlotChangesAlone)
{
    Save(cities, 1);
    Patch(24 + 8, "ffffffff"); // where the file code stands
    Save(cities, 1, "CHANGED!");
    EXPECT_EQ(BytesAt(32, 4), "ffffffff");
    Save(cities, 2);
    EXPECT_EQ(BytesAt(32, 4), "7f000000");
}

TEST_F(Persis, FileIsItsOwnersAlone)
{
    namespace fs = std::filesystem;
    EXPECT_EQ(fs::status("cities").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

class PersisSync : public Persis
{
protected:
    PersisSync()
    {
        waits = 0;
        system.calls.sync_data = [](int) { return ++waits, 0; };
        Set_System(&system.calls);
        Glb_sync_files = 1;
    }
    ~PersisSync() override
    {
        Glb_sync_files = 0;
        Set_System(nullptr);
    }

    static inline std::atomic<int> waits;
    FakeSystem system;
};

TEST_F(PersisSync, EveryChangeWaitsForTheDiskAndLeavesTheSameBytes)
{
    EXPECT_EQ(Save(cities, 1), 1);
    EXPECT_EQ(waits, 1);
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("one_record")));
    EXPECT_EQ(cities.Delete_Record(1), 1);
    EXPECT_EQ(waits, 2);
    cities.Set_Date_Reference("20261122");
    EXPECT_EQ(waits, 3);
}

TEST_F(PersisSync, ALoadThatWritesRecordsBackWaitsOnce)
{
    cities.Close();
    Put(StoredImage("versions"));
    const auto table = qapi::PersTableFile::Open(PERS_CITY_CODE, "cities", city_size);
    waits = 0;
    table->Load([](auto...) {});
    EXPECT_EQ(waits, 1);
}

TEST_F(Persis, SlotsLieBeyondFourGigabytes)
{
    constexpr unsigned highest = 20'000'000;
    Save(cities, 1);
    std::filesystem::resize_file("cities", std::uint64_t{highest} * distance + 1); // sparse
    cities.m_header.max_number_of_records = highest;
    EXPECT_EQ(Save(cities, highest + 1, "FAR AWAY"), 1);
    std::string value(8, '?');
    EXPECT_EQ(cities.Load_Record(highest + 1, value.data(), nullptr), 1);
    EXPECT_EQ(value, "FAR AWAY");
    EXPECT_EQ(std::filesystem::file_size("cities"), (std::uint64_t{highest} + 1) * distance + 150 + 78);
}

// ---- Slots -----------------------------------------------------------------------------------------------------

TEST_F(Persis, SlotsGrowByAtMostThree)
{
    SaveUpTo(1);
    EXPECT_EQ(Save(cities, 5), 0);
    EXPECT_EQ(Save(cities, 0), 0);
    EXPECT_EQ(Save(cities, 4), 1);
    EXPECT_EQ(cities.m_header.max_number_of_records, 4U);
    EXPECT_EQ(cities.m_header.total_number_of_records, 2U);
}

TEST_F(Persis, DeletedSlotIsUsedAgainByTheNextProcess)
{
    SaveUpTo(3);
    cities.Delete_Record(2);
    EXPECT_EQ(cities.Get_Next_Free(), 4U);
    CPersFile next(PERS_CITY_CODE, "cities", city_size);
    next.Open(DO_NOT_RENAME);
    EXPECT_THAT(Load(next), ElementsAre("1 RECORD-1 4433221188776655", "3 RECORD-3 4433221188776655"));
    EXPECT_EQ(next.Get_Next_Free(), 2U);
    EXPECT_EQ(next.Get_Next_Free(), 4U);
}

TEST_F(Persis, SlotsBehindTheLastThatALoadTriedLeadToTheSameNumbers)
{
    SaveUpTo(1);
    Load(cities);
    for (const unsigned number : {2U, 3U, 4U, 5U}) {
        EXPECT_EQ(cities.Get_Next_Free(), number);
        EXPECT_EQ(Save(cities, number), 1);
    }
}

TEST_F(Persis, SlotOfASaveThatFailedIsNotGivenToAnother)
{
    SaveUpTo(1);
    {
        const FileSizeLimit full(HeaderAt(2));
        for (unsigned number = 2; number < 300; ++number) {
            EXPECT_EQ(cities.Get_Next_Free(), number);
            EXPECT_EQ(Save(cities, number), 0);
        }
    }
    EXPECT_EQ(cities.Get_Next_Free(), 300U);
    EXPECT_EQ(Save(cities, 300), 1);
    EXPECT_THAT(LoadAnew(), ElementsAre("1 RECORD-1 4433221188776655", "300 RECORD-0 4433221188776655"));
}

TEST_F(Persis, SecondLoadGivesNoSlotTwice)
{
    SaveUpTo(2);
    cities.Delete_Record(1);
    Load(cities);
    EXPECT_EQ(cities.Get_Next_Free(), 1U);
    Load(cities);
    EXPECT_EQ(cities.Get_Next_Free(), 3U);
    EXPECT_EQ(cities.Get_Next_Free(), 4U);
    EXPECT_EQ(cities.Get_Next_Free(), 5U);
}

TEST_F(Persis, HoleOfManyDeletedSlotsDoesNotEndTheLoad)
{
    SaveUpTo(500);
    for (unsigned slot = 2; slot < 500; ++slot) {
        cities.Delete_Record(slot);
    }
    EXPECT_THAT(LoadAnew(), ElementsAre("1 RECORD-1 4433221188776655", "500 RECORD-0 4433221188776655"));
}

TEST_F(Persis, LoadCountsDeletedSlotsAnew)
{
    SaveUpTo(3);
    cities.Delete_Record(1);
    cities.Delete_Record(3);
    LoadAnew();
    EXPECT_EQ(BytesAt(24 + 24 + 8, 4), "02000000");
    LoadAnew();
    EXPECT_EQ(BytesAt(24 + 24 + 8, 4), "02000000");
}

TEST_F(Persis, RecordIsReadAsItWasSaved)
{
    SaveUpTo(2);
    std::string value(8, '?');
    std::string identity(8, '?');
    EXPECT_EQ(cities.Load_Record(2, value.data(), identity.data()), 1);
    EXPECT_EQ(value, "RECORD-2");
    EXPECT_EQ(ToHex(identity), "4433221188776655");
    EXPECT_EQ(cities.Load_Record(3, value.data(), identity.data()), 0);
    EXPECT_EQ(cities.Load_Record(0, value.data(), identity.data()), 0);
    EXPECT_EQ(cities.Load_Record(6, value.data(), identity.data()), 0);
}

TEST_F(Persis, WhatAnotherWroteIsSeen)
{
    SaveUpTo(1);
    std::string value(8, '?');
    EXPECT_EQ(cities.Load_Record(1, value.data(), nullptr), 1);
    Patch(DataAt(1) + 60, ToHex("CHANGED!"));
    EXPECT_EQ(cities.Load_Record(1, value.data(), nullptr), 1);
    EXPECT_EQ(value, "CHANGED!");
    unsigned slot = 1;
    EXPECT_EQ(cities.Load_Next_Record(&slot, value.data(), nullptr), 1);
    Patch(DataAt(1) + 60, ToHex("AND ANEW"));
    EXPECT_THAT(Load(cities), ElementsAre("1 AND ANEW 4433221188776655"));
}

TEST_F(Persis, LoadTriesThreeSlotsBehindTheHighest)
{
    Save(cities, 1);
    Save(cities, 4);
    Patch(24 + 36 + 8, "01000000"); // as if the header had not been written any more
    EXPECT_THAT(LoadAnew(), ElementsAre("1 RECORD-1 4433221188776655", "4 RECORD-4 4433221188776655"));
    EXPECT_EQ(BytesAt(24 + 36 + 8, 4), "04000000");
}

TEST_F(Persis, LoadTriesNoFourthSlotBehindTheHighest)
{
    Save(cities, 1);
    Save(cities, 4);
    Save(cities, 5);
    Patch(HeaderAt(4), ToHex(std::string(4, '\0')));
    Patch(24 + 36 + 8, "01000000");
    EXPECT_THAT(LoadAnew(), ElementsAre("1 RECORD-1 4433221188776655"));
}

TEST_F(Persis, ClosedFileDoesNothing)
{
    SaveUpTo(1);
    EXPECT_EQ(cities.Close(), 1);
    EXPECT_EQ(cities.Close(), 0);
    EXPECT_EQ(Save(cities, 1), 0);
    EXPECT_EQ(cities.Delete_Record(1), 0);
    EXPECT_EQ(cities.Get_Next_Free(), 1U);
    EXPECT_THAT(Load(cities), IsEmpty());
}

TEST_F(Persis, SlotsThatWereHandedOutAreFreeBehindTheClosing)
{
    SaveUpTo(2);
    cities.Delete_Record(1);
    for (int round = 0; round < 2; ++round) {
        cities.Open(DO_NOT_RENAME);
        EXPECT_EQ(cities.Get_Next_Free(), 3U);
        EXPECT_EQ(cities.Get_Next_Free(), 4U);
    }
    for (int round = 0; round < 2; ++round) {
        cities.Open(DO_NOT_RENAME);
        Load(cities);
        EXPECT_EQ(cities.Get_Next_Free(), 1U);
    }
}

TEST_F(Persis, DeleteOfASlotBehindTheLastIsRefused)
{
    SaveUpTo(1);
    EXPECT_EQ(cities.Delete_Record(2), 0);
    EXPECT_EQ(cities.Delete_Record(0), 0);
}

// ---- Kinds and header ------------------------------------------------------------------------------------------

TEST_F(Persis, EveryKindOfFileOpensWithItsVersion)
{
    int kinds = 0;
#define KIND(code, name, record, base, current)                                                                        \
    {                                                                                                                  \
        CPersFile file(name, #name, city_size);                                                                        \
        EXPECT_EQ(file.Open(DO_NOT_RENAME), 1);                                                                        \
        EXPECT_EQ(file.m_record_p->Get_Version(), current);                                                            \
        EXPECT_NE(dynamic_cast<base*>(file.m_record_p.get()), nullptr);                                                \
        EXPECT_EQ(Save(file, 1), 1);                                                                                   \
        CPersFile again(name, #name, city_size);                                                                       \
        EXPECT_EQ(again.Open(DO_NOT_RENAME), 1);                                                                       \
        EXPECT_EQ(again.m_header.Get_Big_End(), 0);                                                                    \
        EXPECT_EQ(Load(again).size(), 1U);                                                                             \
        ++kinds;                                                                                                       \
    }
#include "persis/record_kinds.def"
#undef KIND
    EXPECT_EQ(kinds, 38);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Persis, UndefinedKindsAreRefused)
{
    for (const unsigned code : {132U, 109U, 0U}) {
        CPersFile file(code, "other", city_size);
        EXPECT_EQ(file.Open(DO_NOT_RENAME), 0);
        EXPECT_EQ(file.m_working, 0);
    }
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 File \"other\" has an undefined file_code 132\n",
                                                 "1 File \"other\" has an undefined file_code 109\n",
                                                 "1 File \"other\" has an undefined file_code 0\n"));
}

TEST_F(Persis, FileOfAnotherKindIsRefused)
{
    SaveUpTo(1);
    CPersFile file(PERS_COUNTRY_CODE, "cities", city_size);
    EXPECT_EQ(file.Open(DO_NOT_RENAME), 0);
    EXPECT_EQ(file.m_working, 0);
    EXPECT_EQ(file.Load_Record(1, nullptr, nullptr), 0);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 File cities has different file_code 127, it should be 128\n"));
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("one_record")));
}

TEST_F(Persis, FileOpenedByAnyKindKeepsItsOwn)
{
    SaveUpTo(1);
    CPersFile any(0, "cities", city_size);
    EXPECT_EQ(any.Open(DO_NOT_RENAME), 1);
    EXPECT_EQ(Save(any, 2), 1);
    EXPECT_EQ(BytesAt(32, 4), "7f000000");
}

TEST_F(Persis, FileCodeChangesWithTheNextHeader)
{
    EXPECT_EQ(cities.Set_File_Code(PERS_COUNTRY_CODE), 127U);
    SaveUpTo(1);
    EXPECT_EQ(BytesAt(32, 4), "80000000");
}

TEST_F(Persis, DateReferenceIsOnDiskAtOnce)
{
    cities.Set_Date_Reference("20261122");
    EXPECT_EQ(Bytes().substr(104, 8), "20261122");
    CPersFile next(PERS_CITY_CODE, "cities", city_size);
    next.Open(DO_NOT_RENAME);
    std::string date(8, '?');
    next.Get_Date_Reference(date.data());
    EXPECT_EQ(date, "20261122");
}

TEST_F(Persis, LongNameIsCut)
{
    const std::string name(120, 'n');
    CPersFile file(PERS_CITY_CODE, name.c_str(), city_size);
    EXPECT_EQ(file.Open(DO_NOT_RENAME), 1);
    EXPECT_TRUE(directory.has(std::string(100, 'n')));
}

TEST_F(Persis, OldGenerationSurvivesOneRewrite)
{
    SaveUpTo(1);
    directory.write("cities.old", "older");
    EXPECT_EQ(cities.Open(OPEN_RENAME_FILE), 1);
    EXPECT_EQ(ToHex(directory.read("cities.old")), ToHex(StoredImage("one_record")));
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("new")));
}

TEST_F(Persis, OldGenerationGoesWithoutAFileToFollowIt)
{
    directory.write("other.old", "older");
    CPersFile other(PERS_CITY_CODE, "other", city_size);
    EXPECT_EQ(other.Open(OPEN_RENAME_FILE), 1);
    EXPECT_FALSE(directory.has("other.old"));
}

TEST_F(Persis, FreshFileHasNoDate)
{
    cities.Set_Date_Reference("20261122");
    EXPECT_EQ(cities.Open(OPEN_RENAME_FILE), 1);
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("new")));
}

TEST_F(Persis, LimitsOfTheHeader)
{
    CFile_Header& header = cities.m_header;
    EXPECT_EQ(header.Review_Limit(5, PERSIS_LIMIT_ADDED), 1);
    EXPECT_EQ(header.Review_Limit(5, PERSIS_LIMIT_ADDED), 0);
    EXPECT_EQ(header.Review_Limit(6, PERSIS_LIMIT_SEEN), 1);
    EXPECT_EQ(header.Review_Limit(0, PERSIS_LIMIT_ERASED), 1);
    EXPECT_EQ(header.Review_Limit(0, PERSIS_LIMIT_RECOVERED), 1);
    EXPECT_EQ(header.Review_Limit(0, PERSIS_LIMIT_RECOVERED), 0);
    EXPECT_EQ(header.Review_Limit(999, PERSIS_LIMIT_LENGTH), 0);
    EXPECT_EQ(header.max_number_of_records, 6U);
    EXPECT_EQ(header.total_number_of_records, 1U);
    EXPECT_EQ(header.record_data_length, 258U);
}

// ---- Errors ----------------------------------------------------------------------------------------------------

TEST_F(Persis, ErrorFunctionGetsTextAndLevel)
{
    static std::vector<std::string> told;
    told.clear();
    PERSIS_SetErrFunction([](char* text, int level) { told.push_back(std::to_string(level) + " " + text); });
    PERSIS_Report_Error(3, "record %u", 7U);
    PERSIS_Report_Error(2, "%s", std::string(600, 'x').c_str());
    PERSIS_SetErrFunction(nullptr);
    EXPECT_THAT(told, ElementsAre("3 record 7", "2 " + std::string(511, 'x')));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Persis, WithoutAnErrorFunctionErrorsAreReportsOfCodeOne)
{
    PERSIS_Report_Error(3, "record %u", 7U);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 record 7"));
}

// ---- Dump ------------------------------------------------------------------------------------------------------

TEST_F(Persis, DumpShowsRecordsAndChangesNothing)
{
    Put(StoredImage("versions"));
    cities.Open(DO_NOT_RENAME);
    testing::internal::CaptureStdout();
    cities.Print_File();
    const std::string dump = testing::internal::GetCapturedStdout();
    EXPECT_THAT(dump, testing::HasSubstr("Highest record         : 9\n"));
    EXPECT_THAT(dump, testing::HasSubstr("Version              : 101\n"));
    EXPECT_THAT(dump, testing::Not(testing::HasSubstr("Unreliable record content!!")));
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("versions")));
}

} // namespace
