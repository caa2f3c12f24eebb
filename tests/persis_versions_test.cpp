// Records of other versions and of the other byte order, and records that have outgrown their slots.
#include "support/record_file.h"

#include "persis/table_pers_file.h"

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class PersisVersions : public RecordFileTest
{
protected:
    void OpenImage(const std::string& name)
    {
        Put(StoredImage(name));
        EXPECT_EQ(cities.Open(DO_NOT_RENAME), 1);
    }
    // A file of one record, with the version and the bytes given.
    static std::string IndicativesFile(const std::string& version, char mark)
    {
        std::string value(90, '.');
        value[80] = mark;
        return FromHex("5800000007000000" + Zeros(16) + "0100000004000000" + "54000000" + "020000000400000001000000" +
                       "030000000400000000000000" + "040000000400000001000000" + "050000000400000054010000" +
                       "060000000400000001000000" + "0700000008000000" + Zeros(8)) +
               std::string(340 - 112, '\0') +
               FromHex("1800000002000000" + Zeros(16) + "010000000400000000000000" + "02000000040000005a000000") +
               std::string(102, '\0') +
               FromHex("7800000003000000" + Zeros(16) + "0100000004000000" + version + "0a0000005a000000") + value +
               FromHex("0b00000002000000079c");
    }
    static std::string Zeros(std::size_t count) { return std::string(2 * count, '0'); }
    char MarkAfterLoad(const std::string& version, char mark)
    {
        Put(IndicativesFile(version, mark));
        CPersFile file(PERS_INDICATIVES_CODE, "cities", 90);
        EXPECT_EQ(file.Open(DO_NOT_RENAME), 1);
        std::string value(90, '?');
        unsigned slot = 1;
        EXPECT_NE(file.Load_Next_Record(&slot, value.data(), nullptr), 0);
        return value[80];
    }
};

// ---- Versions --------------------------------------------------------------------------------------------------

TEST_F(PersisVersions, RecordsOfAllVersionsAreRead)
{
    OpenImage("versions");
    EXPECT_THAT(Load(cities),
                ElementsAre("1 RECORD-0 0000000000000000", "2 RECORD-1 4433221100000000", "3 RECORD-2 4433221188776655",
                            "4 RECORD-3 4433221188776655", "5 RECORD-4 4433221188776655", "6 RECORD-5 4433221188776655",
                            "7 RECORD-6 4433221188776655", "8 RECORD-7 4433221188776655",
                            "9 RECORD-8 4433221188776655"));
}

TEST_F(PersisVersions, LoadRewritesEveryOtherVersionInPlace)
{
    OpenImage("versions");
    Load(cities);
    for (unsigned slot = 1; slot <= 9; ++slot) {
        EXPECT_EQ(BytesAt(DataAt(slot) + 24, 12), "010000000400000066000000") << slot;
        EXPECT_EQ(BytesAt(DataAt(slot), 8), "3600000004000000") << slot;
    }
    EXPECT_EQ(LoadAnew().size(), 9U);
}

// Byte for byte: what a load leaves of each stored image.
TEST_F(PersisVersions, LoadedFilesAreThoseOfTheCurrentVersion)
{
    std::string expected;
    for (const char digit : {'0', '1', '2', '3', '4', '5', '6', '7', '8'}) {
        std::string slot = StoredImage("one_record").substr(HeaderAt(1));
        slot[150 + 60 + 7] = digit;
        slot.replace(150 + 44, 8, FromHex(digit == '0' ? "0000000000000000" : "4433221188776655"));
        slot.replace(150 + 48, 4, digit < '2' ? std::string(4, '\0') : FromHex("88776655"));
        expected += slot + std::string(digit < '8' ? distance - slot.size() : 0, '\0');
    }
    Put(StoredImage("versions"));
    LoadAnew();
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("versions").substr(0, HeaderAt(1)) + expected));

    Put(StoredImage("old_identity"));
    LoadAnew();
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("one_record").replace(DataAt(1) + 48, 4, 4, '\0')));

    Put(StoredImage("unknown_items"));
    LoadAnew();
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("unknown_items")));
}

TEST_F(PersisVersions, FileThatBeganAfreshIsThatOfItsRecordsSize)
{
    Put(StoredImage("outgrown"));
    const auto table = qapi::PersTableFile::Open(PERS_CITY_CODE, "cities", 39);
    table->Load([](auto...) {});
    EXPECT_TRUE(table->Check_Forced_Save());
    const std::string value(39, 'v');
    table->Save_Record(1, value.data(), FromHex("4433221188776655").data());
    std::string expected = StoredImage("one_record").substr(0, 112);
    expected.replace(24 + 48 + 8, 4, FromHex("21010000")); // 289 from slot to slot
    expected.resize(289);
    expected += StoredImage("one_record").substr(HeaderAt(1), 44) + FromHex("27000000") + std::string(102, '\0');
    expected += FromHex("55000000") + StoredImage("one_record").substr(DataAt(1) + 4, 52);
    expected += FromHex("27000000") + value + FromHex("0b00000002000000079c");
    EXPECT_EQ(ToHex(Bytes()), ToHex(expected));
    EXPECT_EQ(ToHex(directory.read("cities.old").substr(0, 112)), ToHex(StoredImage("outgrown").substr(0, 112)));
}

TEST_F(PersisVersions, RecordOfTheCurrentVersionIsNotWritten)
{
    Put(StoredImage("one_record"));
    Patch(486 - 2, "1234"); // a rewrite would put the end signal right
    LoadAnew();
    EXPECT_EQ(BytesAt(484, 2), "1234");
}

TEST_F(PersisVersions, NewerVersionIsRewrittenToo)
{
    Put(StoredImage("one_record"));
    Patch(DataAt(1) + 32, "67000000");
    EXPECT_EQ(LoadAnew().size(), 1U);
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("one_record")));
}

TEST_F(PersisVersions, DeletedRecordOfAnotherVersionStaysAsItIs)
{
    Put(StoredImage("deleted_slot"));
    Patch(DataAt(1) + 32, "65000000");
    LoadAnew();
    EXPECT_EQ(BytesAt(DataAt(1) + 32, 4), "65000000");
}

TEST_F(PersisVersions, IdentityOfFourBytesHasNoEnvironment)
{
    OpenImage("old_identity");
    EXPECT_THAT(Load(cities), ElementsAre("1 RECORD-1 4433221100000000"));
    EXPECT_EQ(BytesAt(DataAt(1) + 36, 16), "15000000080000004433221100000000");
}

TEST_F(PersisVersions, ShorterRecordHasZerosBehindIt)
{
    Put(StoredImage("one_record"));
    CPersFile longer(PERS_CITY_CODE, "cities", 20);
    longer.Open(DO_NOT_RENAME);
    std::string value(20, '?');
    EXPECT_EQ(longer.Load_Record(1, value.data(), nullptr), 1);
    EXPECT_EQ(value, "RECORD-1" + std::string(12, '\0'));
}

TEST_F(PersisVersions, ItemsThatNobodyKnowsArePassed)
{
    OpenImage("unknown_items");
    EXPECT_THAT(Load(cities), ElementsAre("1 RECORD-1 4433221188776655"));
}

TEST_F(PersisVersions, OldIndicativesGetTheDefaultMark)
{
    EXPECT_EQ(MarkAfterLoad("68000000", 'L'), 'L');
    EXPECT_EQ(MarkAfterLoad("68000000", 'X'), 'E');
    EXPECT_EQ(BytesAt(340 + 150 + 24 + 12 + 8 + 80, 1), "45");
    EXPECT_EQ(BytesAt(340 + 150 + 32, 4), "69000000");
    EXPECT_EQ(MarkAfterLoad("69000000", 'X'), 'X');
}

// ---- Outgrown slots --------------------------------------------------------------------------------------------

TEST_F(PersisVersions, NewVersionThatOutgrewItsSlotIsReadAndStartsTheFileAfresh)
{
    Put(StoredImage("outgrown"));
    CPersFile longer(PERS_CITY_CODE, "cities", 39);
    longer.Open(DO_NOT_RENAME);
    EXPECT_THAT(Load(longer), ElementsAre("1 RECORD-1 4433221100000000"));
    EXPECT_EQ(longer.m_save_file_again, 1);
    EXPECT_EQ(Save(longer, 1, std::string(39, 'v')), 0);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());

    EXPECT_EQ(longer.Check_Forced_Save(), 1);
    EXPECT_EQ(longer.Check_Forced_Save(), 0);
    EXPECT_EQ(Bytes().size(), 112U);
    EXPECT_EQ(BytesAt(24 + 48 + 8, 4), "21010000");
    EXPECT_TRUE(directory.has("cities.old"));
    EXPECT_EQ(Save(longer, 1, std::string(39, 'v')), 1);
    EXPECT_THAT(LoadAnew(39), ElementsAre("1 " + std::string(39, 'v') + " 4433221188776655"));
}

TEST_F(PersisVersions, FileThatCannotBeSetAsideIsToldAndStays)
{
    std::filesystem::create_directories("cities.old/in the way");
    Put(StoredImage("outgrown"));
    CPersFile longer(PERS_CITY_CODE, "cities", 39);
    longer.Open(DO_NOT_RENAME);
    Load(longer);
    EXPECT_EQ(longer.Check_Forced_Save(), 1);
    EXPECT_EQ(Save(longer, 1, std::string(39, 'v')), 0);
    EXPECT_EQ(Bytes().size(), StoredImage("outgrown").size());
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 The file \"cities\" could not be opened, error = 21\n"));
}

TEST_F(PersisVersions, RecordThatJustFitsItsSlotStays)
{
    Put(StoredImage("outgrown"));
    CPersFile longer(PERS_CITY_CODE, "cities", 38);
    longer.Open(DO_NOT_RENAME);
    EXPECT_EQ(Load(longer).size(), 1U);
    EXPECT_EQ(longer.Check_Forced_Save(), 0);
    EXPECT_EQ(Bytes().size(), DataAt(1) + 108);
}

TEST_F(PersisVersions, SlotThatIsTooSmallGetsItsHeadsAndKeepsTheItems)
{
    Put(StoredImage("one_record"));
    CPersFile longer(PERS_CITY_CODE, "cities", 39);
    longer.Open(DO_NOT_RENAME);
    EXPECT_EQ(Save(longer, 1, std::string(39, 'v')), MUST_SAVE_ALL_FILE_AGAIN);
    EXPECT_EQ(BytesAt(HeaderAt(1) + 36, 12), "020000000400000027000000");
    EXPECT_EQ(BytesAt(DataAt(1), 8), "5500000004000000");
    EXPECT_EQ(BytesAt(DataAt(1) + 24, 54), ToHex(StoredImage("one_record").substr(432, 54)));
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre("1 Some data could not be written to the file, size 109 file code 127\n"));
}

TEST_F(PersisVersions, KilledBeforeTheFreshFileTheOldRecordsAreStillRead)
{
    for (const std::string name : {"outgrown", "versions"}) { // of version 101, and of others that lack items
        Put(StoredImage(name));
        const Texts live = LoadAnew(39);
        EXPECT_FALSE(live.empty());
        EXPECT_EQ(LoadAnew(39), live) << name;
        EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage(name)));
    }
}

TEST_F(PersisVersions, SaveThatOutgrowsADeletedSlotOfAnotherVersionIsNotTold)
{
    Put(StoredImage("outgrown"));
    Patch(HeaderAt(1) + 32, "01000000");
    CPersFile longer(PERS_CITY_CODE, "cities", 39);
    longer.Open(DO_NOT_RENAME);
    std::string value(39, '?');
    EXPECT_EQ(longer.Load_Record(1, value.data(), nullptr), 1);
    EXPECT_EQ(Save(longer, 1, value), MUST_SAVE_ALL_FILE_AGAIN);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

// ---- The other byte order --------------------------------------------------------------------------------------

TEST_F(PersisVersions, FileOfTheOtherByteOrderIsTurnedAsItIsRead)
{
    OpenImage("other_byte_order");
    EXPECT_EQ(cities.m_header.Get_Big_End(), 1);
    EXPECT_EQ(cities.m_header.loaded_file_code, 127U);
    EXPECT_EQ(cities.m_header.max_number_of_records, 2U);
    EXPECT_THAT(Load(cities), ElementsAre("1 RECORD-1 4433221188776655"));
    EXPECT_EQ(cities.Get_Next_Free(), 2U);
}

TEST_F(PersisVersions, BehindItsLoadTheFileIsNative)
{
    Put(StoredImage("other_byte_order"));
    const auto table = qapi::PersTableFile::Open(PERS_CITY_CODE, "cities", city_size);
    EXPECT_TRUE(table->Is_Converting());
    table->Load([&](unsigned number, std::span<const char> data, std::span<const char> identity) {
        EXPECT_TRUE(table->Is_Converting());
        table->Save_Record(number, data.data(), identity.data());
    });
    EXPECT_FALSE(table->Is_Converting());
    EXPECT_EQ(table->File().m_record_header.Get_Big_End(), 0);
    EXPECT_EQ(table->File().m_record_p->Get_Big_End(), 0);
    EXPECT_EQ(BytesAt(0, 56), ToHex(StoredImage("one_record").substr(0, 32)) + "7f000000" + "020000000400000002000000" +
                                  "0300000004000000");
    EXPECT_EQ(BytesAt(HeaderAt(1), 228), ToHex(StoredImage("one_record").substr(258, 228)));
    EXPECT_THAT(LoadAnew(), ElementsAre("1 RECORD-1 4433221188776655"));
}

TEST_F(PersisVersions, RecordWithoutAVersionIsOfItsFilesOrder)
{
    Put(StoredImage("other_byte_order"));
    Patch(DataAt(1) + 24, "4d000000"); // an item that nobody knows
    EXPECT_THAT(LoadAnew(), ElementsAre("1 RECORD-1 4433221188776655"));
}

TEST_F(PersisVersions, FileThatFollowsAForeignOneIsNative)
{
    Put(StoredImage("other_byte_order").substr(0, 486)); // no room in its slot
    CPersFile longer(PERS_CITY_CODE, "cities", 39);
    longer.Open(DO_NOT_RENAME);
    EXPECT_EQ(longer.m_header.Get_Big_End(), 1);
    longer.m_save_file_again = 1;
    EXPECT_EQ(longer.Check_Forced_Save(), 1);
    EXPECT_EQ(longer.m_header.Get_Big_End(), 0);
    EXPECT_EQ(longer.m_record_p->Get_Big_End(), 0);
}

TEST_F(PersisVersions, HeaderOfAForeignFileIsWrittenBehindItsLoad)
{
    Put(StoredImage("other_byte_order").substr(0, 486)); // without the deleted slot, whose count writes it as well
    Patch(24 + 36 + 8, "00000001");
    qapi::PersTableFile::Open(PERS_CITY_CODE, "cities", city_size)->Load([](auto...) {});
    EXPECT_EQ(BytesAt(24, 12), "01000000040000007f000000");
    EXPECT_EQ(BytesAt(24 + 36, 12), "040000000400000001000000");
}

TEST_F(PersisVersions, TurningThatWasCutOffGoesOn)
{
    Put(StoredImage("other_byte_order"));
    Patch(HeaderAt(1), ToHex(StoredImage("one_record").substr(258, 228))); // this one was written back
    EXPECT_THAT(LoadAnew(), ElementsAre("1 RECORD-1 4433221188776655"));

    Put(StoredImage("other_byte_order"));
    Patch(0, ToHex(StoredImage("deleted_slot").substr(0, 112))); // the header alone was
    EXPECT_THAT(LoadAnew(), ElementsAre("1 RECORD-1 4433221188776655"));
    EXPECT_EQ(BytesAt(DataAt(1) + 32, 20), "66000000"
                                           "15000000"
                                           "08000000"
                                           "4433221188776655");
}

} // namespace
