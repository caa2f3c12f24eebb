// PERSIS_Export: the values of the live records, one behind the other, and what it tells.
#include "support/record_file.h"

using testing::HasSubstr;

namespace {

class PersisExport : public RecordFileTest
{
protected:
    PersisExport() { cities.Open(DO_NOT_RENAME); }

    // Result and standard output.
    static std::string Export(const char* file, const char* output)
    {
        testing::internal::CaptureStdout();
        const int result = PERSIS_Export(file, output);
        return std::to_string(result) + " " + testing::internal::GetCapturedStdout();
    }
};

TEST_F(PersisExport, WritesTheLiveRecordsOneBehindTheOther)
{
    for (const unsigned slot : {1U, 2U, 3U}) {
        Save(cities, slot);
    }
    cities.Delete_Record(2);
    EXPECT_EQ(Export("cities", "plain"), "1 File plain has been generated\n"
                                         "Exported records       : 2\n"
                                         "Record length          : 8\n"
                                         "Marked as deleted      : 1\n"
                                         "Version                : 102-102\n");
    EXPECT_EQ(directory.read("plain"), "RECORD-1RECORD-3");
}

TEST_F(PersisExport, LooksOneSlotBehindTheHighest)
{
    for (const unsigned slot : {1U, 2U, 3U}) {
        Save(cities, slot);
    }
    Patch(24 + 36 + 8, "01000000");
    EXPECT_THAT(Export("cities", "plain"), HasSubstr("Exported records       : 2\n"));
}

TEST_F(PersisExport, OutputBearsTheNameOfTheFileUnlessItHasOne)
{
    Save(cities, 1);
    EXPECT_THAT(Export("cities", nullptr), HasSubstr("File cities_plain has been generated\n"));
    EXPECT_EQ(directory.read("cities_plain"), "RECORD-1");
}

TEST_F(PersisExport, LeavesTheFileAsItIs)
{
    for (const char* image : {"deleted_slot", "versions", "other_byte_order", "outgrown"}) {
        Put(StoredImage(image));
        EXPECT_THAT(Export("cities", "plain"), HasSubstr("has been generated")) << image;
        EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage(image))) << image;
    }
}

TEST_F(PersisExport, RecordsOfOtherVersionsAreWrittenToo)
{
    Put(StoredImage("versions"));
    EXPECT_THAT(Export("cities", "plain"), HasSubstr("Exported records       : 9\n"));
    EXPECT_EQ(directory.read("plain"), "RECORD-0RECORD-1RECORD-2RECORD-3RECORD-4RECORD-5RECORD-6RECORD-7RECORD-8");
}

TEST_F(PersisExport, RecordOfAnotherLengthIsToldAndWrittenAsLongAsTheFirst)
{
    for (const unsigned slot : {1U, 2U, 3U}) {
        Save(cities, slot);
    }
    Patch(HeaderAt(2) + 44, "06000000");
    Patch(HeaderAt(3) + 44, "0a000000");
    const std::string told = Export("cities", "plain");
    EXPECT_THAT(told, testing::StartsWith("1 Illegal record length , record:(2) length:(6)\n"
                                          "Illegal record length , record:(3) length:(10)\n"));
    EXPECT_EQ(directory.read("plain"), "RECORD-1" + std::string("RECORD\0\0", 8) + "RECORD-3");
}

TEST_F(PersisExport, LengthThatNoBlockHoldsIsCut)
{
    Save(cities, 1);
    Patch(HeaderAt(1) + 44, "ffffffff");
    EXPECT_THAT(Export("cities", "plain"), HasSubstr("Record length          : 3300\n"));
    EXPECT_EQ(directory.read("plain"), "RECORD-1" + std::string(3292, '\0'));
}

TEST_F(PersisExport, SlotsThatCannotBeReadArePassed)
{
    Save(cities, 1);
    Save(cities, 4);
    EXPECT_THAT(Export("cities", "plain"), HasSubstr("Exported records       : 2\n"));
    EXPECT_EQ(directory.read("plain"), "RECORD-1RECORD-4");
}

TEST_F(PersisExport, LyingHeaderEnds)
{
    Save(cities, 1);
    Patch(24 + 36 + 8, "ffffffff");
    Patch(24 + 48 + 8, "00000000");
    const std::string before = Bytes();
    EXPECT_THAT(Export("cities", "plain"), HasSubstr("Exported records       : 0\n"));
    EXPECT_EQ(ToHex(Bytes()), ToHex(before));
}

TEST_F(PersisExport, EmptyFileExportsNothing)
{
    EXPECT_EQ(Export("cities", "plain"), "1 File plain has been generated\n"
                                         "Exported records       : 0\n"
                                         "Record length          : 0\n"
                                         "Marked as deleted      : 0\n"
                                         "Version                : 102-102\n");
}

TEST_F(PersisExport, FileThatDoesNotOpenIsTold)
{
    std::filesystem::create_directory("directory");
    EXPECT_EQ(Export("directory", "plain"), "0 The file \"directory\" could not be opened, error = 21\n");
    EXPECT_FALSE(directory.has("plain"));
}

TEST_F(PersisExport, FileWithoutAKindIsTold)
{
    EXPECT_THAT(Export("missing", "plain"),
                testing::StartsWith("0 The file \"missing\" could not be opened, error = "));
    EXPECT_THAT(ReportTexts::Take(), testing::ElementsAre("1 File \"missing\" has an undefined file_code 0\n"));
}

TEST_F(PersisExport, FileWithoutAHeaderIsToldAndStays)
{
    const std::string bytes = "a text of more than the bytes of a block's head";
    directory.write("text", bytes);
    EXPECT_THAT(Export("text", "plain"), testing::StartsWith("0 The file \"text\" could not be opened, error = "));
    EXPECT_THAT(ReportTexts::Take(), testing::ElementsAre("1 File text has a damaged header, it can't be read\n",
                                                          "1 File \"text\" has an undefined file_code 0\n"));
    EXPECT_EQ(directory.read("text"), bytes);
}

TEST_F(PersisExport, WriteThatFailsIsTold)
{
    Save(cities, 1);
    EXPECT_EQ(Export("cities", "/dev/full"), "0 Couldn't write to file \"/dev/full\" , error = 28\n");
}

TEST_F(PersisExport, OutputMayNotBeTheFileItself)
{
    Save(cities, 1);
    EXPECT_EQ(Export("cities", "./cities"), "0 The file \"./cities\" could not be opened, error = 22\n");
    EXPECT_EQ(ToHex(Bytes()), ToHex(StoredImage("one_record")));
}

} // namespace
