// Torn and hostile record files: whatever the bytes are, the file opens or is refused, what is whole is read, nothing
// else is taken for a record, and the file can be written on.
#include "support/record_file.h"

#include "persis/table_pers_file.h"

#include <random>
#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string first = "1 RECORD-1 4433221188776655";
const std::string second = "2 RECORD-2 4433221188776655";
const std::string third = "3 RECORD-3 4433221188776655";

class PersisHostile : public RecordFileTest
{
protected:
    PersisHostile()
    {
        cities.Open(DO_NOT_RENAME);
        for (const unsigned slot : {1U, 2U, 3U}) {
            Save(cities, slot);
        }
        cities.Close();
        sound = Bytes();
    }

    // What a load finds in this image, and that the file can be written on.
    Texts LoadAndGrow(const std::string& image)
    {
        Put(image);
        CPersFile file(PERS_CITY_CODE, "cities", city_size);
        if (file.Open(DO_NOT_RENAME) == 0) {
            return {"doesn't open"};
        }
        Texts live = Load(file);
        if (file.Check_Forced_Save() == 0) {
            EXPECT_EQ(Save(file, file.Get_Next_Free(), "NEWCOMER"), 1);
            EXPECT_THAT(LoadAnew(), testing::Contains(testing::HasSubstr("NEWCOMER")));
        }
        return live;
    }

    static bool IsOneOfOurs(const std::string& record)
    {
        return record == first || record == second || record == third;
    }

    std::string sound;
};

// ---- Torn ------------------------------------------------------------------------------------------------------

TEST_F(PersisHostile, FileCutAtAnyByteGivesWhatIsWhole)
{
    for (std::size_t size = 0; size <= sound.size(); ++size) {
        const std::size_t whole = (size >= DataAt(1) + 78 ? 1U : 0U) + (size >= DataAt(2) + 78 ? 1U : 0U) +
                                  (size >= DataAt(3) + 78 ? 1U : 0U);
        Texts expected = {first, second, third};
        expected.resize(whole);
        EXPECT_EQ(LoadAndGrow(sound.substr(0, size)), expected) << size;
        const Texts told(size != 0 && size < 112 ? 1 : 0, "1 File cities has a damaged header, it can't be read\n");
        EXPECT_EQ(ReportTexts::Take(), told) << size;
    }
}

TEST_F(PersisHostile, HeaderThatIsNoBlockIsToldOnceAndTheRecordsAreThere)
{
    std::string image = sound;
    image[3] = '\x7f'; // of its length
    EXPECT_THAT(LoadAndGrow(image), ElementsAre(first, second, third));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 File cities has a damaged header, it can't be read\n"));
}

TEST_F(PersisHostile, EmptyFileIsANewOne)
{
    EXPECT_THAT(LoadAndGrow(""), IsEmpty());
    EXPECT_EQ(BytesAt(32, 4), "7f000000");
}

TEST_F(PersisHostile, RecordHeaderWithoutDataIsNoRecord)
{
    std::string image = sound;
    image.replace(DataAt(2), 78, std::string(78, '\0'));
    EXPECT_THAT(LoadAndGrow(image), ElementsAre(first, third));
}

TEST_F(PersisHostile, DataWithoutARecordHeaderAreNoRecord)
{
    std::string image = sound;
    image.replace(HeaderAt(2), 48, std::string(48, '\0'));
    EXPECT_THAT(LoadAndGrow(image), ElementsAre(first, third));
}

TEST_F(PersisHostile, KillBetweenTheTwoWritesBringsNoDeletedRecordBack)
{
    Put(sound);
    cities.Open(DO_NOT_RENAME);
    cities.Delete_Record(3);
    {
        const FileSizeLimit full(DataAt(3) + 40); // the data can't be written whole
        EXPECT_EQ(Save(cities, 3, "NEWCOMER"), 0);
    }
    EXPECT_THAT(LoadAnew(), ElementsAre(first, second));
}

TEST_F(PersisHostile, MissingEndSignalAloneRefusesNothing)
{
    std::string image = sound;
    image.replace(DataAt(2) + 76, 2, "??");
    EXPECT_THAT(LoadAndGrow(image), ElementsAre(first, second, third));
}

TEST_F(PersisHostile, DataWithoutARecordInThemAreNoRecord)
{
    std::string image = sound;
    image[DataAt(2) + 24 + 12 + 16] = 77; // the code of the record's item
    EXPECT_THAT(LoadAndGrow(image), ElementsAre(first, third));
}

// ---- Flipped bytes ---------------------------------------------------------------------------------------------

TEST_F(PersisHostile, AnyByteOfAnyValueLeavesTheOtherRecords)
{
    for (std::size_t at = HeaderAt(2); at < HeaderAt(3); ++at) {
        for (const int flip : {0x01, 0x80, 0xFF}) {
            std::string image = sound;
            image[at] = static_cast<char>(image[at] ^ flip);
            Put(image);
            const Texts live = LoadAnew();
            ASSERT_GE(live.size(), 2U) << at;
            EXPECT_EQ(live.front(), first) << at;
            EXPECT_EQ(live.back(), third) << at;
        }
    }
}

TEST_F(PersisHostile, AnyByteOfTheFileHeaderMayLie)
{
    for (std::size_t at = 0; at < 112; ++at) {
        for (const int flip : {0x01, 0x80, 0xFF}) {
            std::string image = sound;
            image[at] = static_cast<char>(image[at] ^ flip);
            for (const std::string& record : LoadAndGrow(image)) {
                EXPECT_TRUE(IsOneOfOurs(record) || record == "doesn't open") << at << " " << record;
            }
        }
    }
}

TEST_F(PersisHostile, ManyWrongBytesDoNoHarm)
{
    std::mt19937 random(9);
    for (int round = 0; round < 150; ++round) {
        std::string image = sound;
        for (int i = 0; i < 8; ++i) {
            image[random() % image.size()] = static_cast<char>(random());
        }
        LoadAndGrow(image);
    }
}

// ---- Numbers that lie ------------------------------------------------------------------------------------------

TEST_F(PersisHostile, LowCountersHeal)
{
    std::string image = sound;
    image.replace(24 + 36 + 8, 4, 4, '\0');
    image.replace(24 + 12 + 8, 4, 4, '\0');
    EXPECT_THAT(LoadAndGrow(image), ElementsAre(first, second, third));
    EXPECT_EQ(BytesAt(24 + 36 + 8, 4), "04000000");
}

TEST_F(PersisHostile, HighestSlotFarBehindTheEndIsToldAndPutRight)
{
    std::string image = sound;
    image.replace(24 + 36 + 8, 4, 4, '\xFF');
    EXPECT_THAT(LoadAndGrow(image), ElementsAre(first, second, third));
    EXPECT_LT(Bytes().size(), 2 * image.size());
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 File cities has a damaged header, highest record 4294967295\n"));
    Put(image);
    LoadAnew();
    EXPECT_THAT(LoadAnew(), ElementsAre(first, second, third));
    EXPECT_EQ(ReportTexts::Take().size(), 1U);
    Put(image);
    CPersFile reader(0, "cities", 0);
    reader.Open(DO_NOT_RENAME);
    EXPECT_EQ(ToHex(Bytes()), ToHex(image));
}

TEST_F(PersisHostile, HighestSlotALittleBehindTheEndIsTaken)
{
    std::string image = sound;
    image.replace(24 + 36 + 8, 4, std::string("\x20\0\0\0", 4));
    EXPECT_THAT(LoadAndGrow(image), ElementsAre(first, second, third));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(PersisHostile, DistanceThatNoFileHasIsThatOfANewFile)
{
    for (const char* wrong : {"01000000", "f9000000", "ffffffff", "df0d0000"}) {
        std::string image = sound;
        image.replace(24 + 48 + 8, 4, FromHex(wrong));
        EXPECT_THAT(LoadAndGrow(image), ElementsAre(first, second, third)) << wrong;
        EXPECT_EQ(BytesAt(24 + 48 + 8, 4), "02010000");
        EXPECT_EQ(ReportTexts::Take().size(), 1U);
    }
}

TEST_F(PersisHostile, RecordLengthAboveTheRecordReadsNothingBehindIt)
{
    for (const char* length : {"09000000", "ffffffff", "00000080", "e50c0000", "00000000"}) {
        std::string image = sound;
        image.replace(HeaderAt(2) + 44, 4, FromHex(length));
        Put(image);
        EXPECT_THAT(LoadAnew(), ElementsAre(first, second, third)) << length;
    }
}

TEST_F(PersisHostile, RecordLengthBelowTheRecordCutsIt)
{
    std::string image = sound;
    image[HeaderAt(2) + 44] = 3;
    Put(image);
    EXPECT_THAT(LoadAnew(), ElementsAre(first, "2 REC 4433221188776655", third));
}

TEST_F(PersisHostile, ItemThatIsLongerThanTheRecordIsCut)
{
    Put(sound);
    CPersFile shorter(PERS_CITY_CODE, "cities", 3);
    shorter.Open(DO_NOT_RENAME);
    EXPECT_THAT(Load(shorter),
                ElementsAre("1 REC 4433221188776655", "2 REC 4433221188776655", "3 REC 4433221188776655"));
}

TEST_F(PersisHostile, LoadGivesUpBehindAHundredSlotsThatCannotBeRead)
{
    std::string image = sound;
    image.replace(24 + 36 + 8, 4, std::string("\x50\0\0\0", 4));
    image.resize(HeaderAt(102));
    image += sound.substr(HeaderAt(1), 228); // slot 102, with 98 unreadable ones before it
    Put(image);
    EXPECT_THAT(LoadAnew(), ElementsAre(first, second, third));
    image[24 + 36 + 8] = 102;
    Put(image);
    EXPECT_THAT(LoadAnew(), ElementsAre(first, second, third, "102 RECORD-1 4433221188776655"));
    image.insert(HeaderAt(102), std::string(distance * 2, '\0'));
    image[24 + 36 + 8] = 104;
    Put(image);
    EXPECT_THAT(LoadAnew(), ElementsAre(first, second, third));
}

TEST_F(PersisHostile, SaveThatNobodyCanMeanWritesNothing)
{
    cities.Open(DO_NOT_RENAME);
    for (const unsigned slot : {7U, 100U, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(Save(cities, slot), 0);
        EXPECT_EQ(cities.Delete_Record(slot), 0);
    }
    EXPECT_EQ(ToHex(Bytes()), ToHex(sound));
}

TEST_F(PersisHostile, HighestSlotOfAllLeavesNoRoom)
{
    cities.Open(DO_NOT_RENAME);
    cities.m_header.max_number_of_records = 0xFFFFFFFF;
    EXPECT_EQ(cities.Get_Next_Free(), 0U);
    EXPECT_EQ(Save(cities, 0), 0);
}

// ---- Files and disks -------------------------------------------------------------------------------------------

TEST_F(PersisHostile, LimitOfTheFileSizeEndsNoProcess)
{
    cities.Open(DO_NOT_RENAME);
    {
        const FileSizeLimit full(HeaderAt(2));
        EXPECT_EQ(Save(cities, 4), 0);
        EXPECT_EQ(errno, EFBIG);
        EXPECT_EQ(Save(cities, 2, "CHANGED!"), 0); // there already, and still behind the limit
        EXPECT_EQ(cities.Delete_Record(3), 0);
        EXPECT_EQ(Save(cities, 1, "CHANGED!"), 1);
    }
    EXPECT_THAT(LoadAnew(), ElementsAre("1 CHANGED! 4433221188776655", second, third));
}

TEST_F(PersisHostile, NewFileOnAFullDiskOpensAndSavesNothing)
{
    CPersFile file(PERS_CITY_CODE, "new", city_size);
    {
        const FileSizeLimit full(0);
        EXPECT_EQ(file.Open(DO_NOT_RENAME), 1);
        EXPECT_EQ(Save(file, file.Get_Next_Free()), 0);
    }
    EXPECT_EQ(Save(file, file.Get_Next_Free()), 1);
    CPersFile next(PERS_CITY_CODE, "new", city_size);
    next.Open(DO_NOT_RENAME);
    EXPECT_THAT(Load(next), ElementsAre(second));
}

TEST_F(PersisHostile, RecordsOfOtherVersionsAreReadFromAFullDisk)
{
    Put(StoredImage("versions"));
    const FileSizeLimit full(112);
    EXPECT_EQ(LoadAnew().size(), 9U);
}

TEST_F(PersisHostile, DirectoriesAndPipesAndDevicesAreNoRecordFiles)
{
    std::filesystem::create_directory("directory");
    mkfifo("pipe", 0600);
    for (const char* name : {"directory", "pipe", "/dev/full", "/dev/null", "missing/file"}) {
        CPersFile file(PERS_CITY_CODE, name, city_size);
        EXPECT_EQ(file.Open(DO_NOT_RENAME), 0) << name;
        EXPECT_NE(errno, 0) << name;
        EXPECT_THAT(Load(file), IsEmpty());
    }
}

TEST_F(PersisHostile, ReadOnlyFileIsNotOpened)
{
    chmod(directory.path().c_str(), 0711);
    chmod("cities", 0444);
    const uid_t before = geteuid();
    if (before == 0 && seteuid(65534) != 0) { // root writes everywhere
        GTEST_SKIP() << "root can't become another user here";
    }
    EXPECT_EQ(cities.Open(DO_NOT_RENAME), 0);
    EXPECT_EQ(errno, EACCES);
    ASSERT_EQ(seteuid(before), 0);
    EXPECT_EQ(ToHex(Bytes()), ToHex(sound));
}

TEST_F(PersisHostile, FileThatCannotBeSetAsideIsNotWrittenOver)
{
    std::filesystem::create_directories("cities.old/in the way");
    EXPECT_EQ(cities.Open(OPEN_RENAME_FILE), 0);
    EXPECT_EQ(cities.m_working, 0);
    EXPECT_EQ(ToHex(Bytes()), ToHex(sound));
}

TEST_F(PersisHostile, OpeningAndClosingLeavesNoDescriptor)
{
    const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(LoadAnew().size(), 3U);
        CPersFile wrong(PERS_COUNTRY_CODE, "cities", city_size);
        EXPECT_EQ(wrong.Open(DO_NOT_RENAME), 0);
        EXPECT_EQ(descriptors(), before);
        cities.Open(DO_NOT_RENAME);
        cities.Open(DO_NOT_RENAME);
        cities.Close();
    }
    EXPECT_EQ(descriptors(), before);
}

} // namespace
