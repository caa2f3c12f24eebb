#include "support/config_fixture.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/stat.h>
#include <thread>

using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

class DateFile : public ConfigFixture
{
protected:
    static constexpr const char* name = "qapi_tmp_previous_date_log_request.txt";

    // Takes the date of a file with this text.
    int take(const std::string& text)
    {
        directory.write(name, text);
        return take();
    }
    int take() { return CONF_Take_Previous_Date(folder().c_str(), error); }
    [[nodiscard]] bool kept() const { return directory.has(name); }
    [[nodiscard]] std::string file() const { return path(name); }
    [[nodiscard]] static std::string date() { return Glb_Prev_Date_Log_Req; }
};

// ---- A date is taken -------------------------------------------------------------------------------------------

TEST_F(DateFile, NoFileIsNoRequest)
{
    EXPECT_EQ(take(), 0);
    EXPECT_EQ(date(), "");
    EXPECT_EQ(Glb_Prev_Date_Log_Req_Successfullty, 0);
    EXPECT_TRUE(logged("ER-Error (ENOENT), file not found (" + file() + ")."));
}

TEST_F(DateFile, DateIsTakenAndTheFileRemoved)
{
    EXPECT_EQ(take("20230115\n"), 0);
    EXPECT_EQ(date(), "20230115");
    EXPECT_STREQ(Glb_Prev_Date_Log_Req_Copy, "20230115");
    EXPECT_EQ(Glb_Prev_Date_Log_Req_Successfullty, 1);
    EXPECT_FALSE(kept());
}

TEST_F(DateFile, LastLineWithoutNewlineCounts)
{
    EXPECT_EQ(take("20230115"), 0);
    EXPECT_EQ(date(), "20230115");
}

TEST_F(DateFile, BlankLinesAndCommentsAreSkipped)
{
    EXPECT_EQ(take("\n \t\r\n# 20220101\n#\n  20230115\n20240101\n"), 0);
    EXPECT_EQ(date(), "20230115");
}

TEST_F(DateFile, WhatStandsBehindTheDateIsIgnored)
{
    EXPECT_EQ(take("20230115 please\npassword\n"), 0);
    EXPECT_EQ(date(), "20230115");
}

TEST_F(DateFile, LongerTokenIsItsFirstEightCharacters)
{
    EXPECT_EQ(take("202301159\n"), 0);
    EXPECT_EQ(date(), "20230115");
    EXPECT_EQ(take("20230116abcdefgh\n"), 0);
    EXPECT_EQ(date(), "20230116");
    EXPECT_STREQ(Glb_Prev_Date_Log_Req_Copy, "20230116");
}

TEST_F(DateFile, LinesAreLoggedAsReadWithTheirPath)
{
    EXPECT_EQ(take("# Note\n20230115 x\nrest\n"), 0);
    EXPECT_TRUE(logged("ER-Conf-line " + file() + "(1): # Note\n"));
    EXPECT_TRUE(logged("ER-Conf-line " + file() + "(2): 20230115 x\n"));
    EXPECT_FALSE(logged("rest"));
}

// ---- A date is refused -----------------------------------------------------------------------------------------

TEST_F(DateFile, InvalidDateIsCode27AndKeepsTheFile)
{
    EXPECT_EQ(take("20231301\n"), 27);
    EXPECT_EQ(error, ("Invalid date (20231301) in the tmp config file (" + file() + ")").substr(0, 199));
    EXPECT_TRUE(kept());
    EXPECT_EQ(Glb_Prev_Date_Log_Req_Successfullty, 0);
}

TEST_F(DateFile, ShortOrWordyDateIsInvalidAndShownInLowerCase)
{
    EXPECT_EQ(take("2023011\n"), 27);
    EXPECT_EQ(take("2023JAN1\n"), 27);
    EXPECT_EQ(error.substr(0, 23), "Invalid date (2023jan1)");
}

TEST_F(DateFile, GluedHashIsAnInvalidDate)
{
    EXPECT_EQ(take("#20230115\n"), 27);
    EXPECT_EQ(error.substr(0, 23), "Invalid date (#2023011)");
}

TEST_F(DateFile, FileWithoutADateIsCode26)
{
    for (const char* text : {"", "\n", "# 20230115\n", "  \t\n#"}) {
        EXPECT_EQ(take(text), 26);
        EXPECT_EQ(error, "Empty temporal config file " + file());
        EXPECT_TRUE(kept());
    }
}

TEST_F(DateFile, LineOfTheStopMarkIsMinusOneAndKeepsTheFile)
{
    EXPECT_EQ(take("# Note\n\xFF\n20230115\n"), -1);
    EXPECT_EQ(error, "");
    EXPECT_EQ(date(), "");
    EXPECT_TRUE(kept());
    EXPECT_TRUE(logged("(2): \xFF\n"));
}

TEST_F(DateFile, StopMarkElsewhereInALineIsText)
{
    EXPECT_EQ(take(" \xFF\n"), 27);
}

TEST_F(DateFile, NulEndsTheTextOfItsLine)
{
    EXPECT_EQ(take("\0 20220101\n20230115\0junk\n"s), 0);
    EXPECT_EQ(date(), "20230115");
}

TEST_F(DateFile, DirectoryInItsPlaceIsCode25)
{
    fs::create_directory(file());
    EXPECT_EQ(take(), 25);
    EXPECT_EQ(error, "Reading temporal config file " + file());
    EXPECT_TRUE(kept());
}

TEST_F(DateFile, FileThatCannotBeLookedAtIsLoggedAndCode25)
{
    directory.write("file", "");
    const std::string inside = path("file/") + name;
    EXPECT_EQ(CONF_Read_Date_File(inside.c_str(), error), 25);
    EXPECT_EQ(error, "Reading temporal config file " + inside);
    EXPECT_TRUE(logged("ER-Error (20) in stat function (" + inside + ").")); // ENOTDIR
}

TEST_F(DateFile, ReadingAloneGivesOneForNoFileAndKeepsOneThatIsThere)
{
    EXPECT_EQ(CONF_Read_Date_File(file().c_str(), error), 1);
    directory.write(name, "20231301\n");
    EXPECT_EQ(CONF_Read_Date_File(file().c_str(), error), 0);
    EXPECT_EQ(date(), "20231301");
    EXPECT_TRUE(kept());
}

// The file goes away under its reader: a pipe is opened by both ends, removed, and only then given its date.
TEST_F(DateFile, FileThatCannotBeRemovedIsCode28)
{
    ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
    std::thread writer([this] {
        std::ofstream pipe(file());
        fs::remove(file());
        pipe << "20230115\n";
    });
    EXPECT_EQ(take(), 28);
    writer.join();
    EXPECT_EQ(error, "Can not delete tmp config file " + file());
    EXPECT_EQ(Glb_Prev_Date_Log_Req_Successfullty, 0);
}

TEST_F(DateFile, ARefusedDateIsNotAskedForByALaterLogin)
{
    directory.write(name, "20231301\n");
    EXPECT_EQ(take(), 27);
    fs::remove(file());
    EXPECT_EQ(take(), 0);
    EXPECT_EQ(date(), "");
    EXPECT_STREQ(Glb_Prev_Date_Log_Req_Copy, "20231301");
}

TEST_F(DateFile, ErrorTextIsCutAt199Characters)
{
    const std::string deep = path(std::string(200, 'd'));
    fs::create_directory(deep);
    fs::create_directory(deep + "/" + name);
    EXPECT_EQ(CONF_Take_Previous_Date(deep.c_str(), error), 25);
    EXPECT_EQ(error, ("Reading temporal config file " + deep).substr(0, 199));
}

TEST_F(DateFile, RandomBytesEndInOneOfTheCodes)
{
    std::mt19937 engine{20230115}; // NOLINT: the same bytes in every run
    std::uniform_int_distribution<int> byte(0, 255);
    for (int round = 0; round < 200; ++round) {
        std::string text(300, 0);
        for (char& c : text) {
            c = static_cast<char>(byte(engine));
        }
        const int code = take(text);
        EXPECT_TRUE(code == 0 || code == -1 || code == 26 || code == 27) << code;
        EXPECT_LE(date().size(), 8U);
    }
}

// ---- Dates -----------------------------------------------------------------------------------------------------

TEST(Date, NoTextIsValid)
{
    EXPECT_EQ(QCAPI_Validate_Date(nullptr), 1);
    EXPECT_EQ(QCAPI_Validate_Date(""), 1);
}

TEST(Date, RealDatesAreValid)
{
    for (const char* text : {"20230115", "00010101", "99991231", "20240229", "20000229", "00960229", "20230430"}) {
        EXPECT_EQ(QCAPI_Validate_Date(text), 1) << text;
    }
}

TEST(Date, OtherTextsAreNot)
{
    for (const char* text :
         {"00000000",  "00000101", "20230001", "20231301", "20230100", "20230132", "20230431", "20230631",
          "20230931",  "20231131", "20230229", "20230230", "20240230", "20240231", "19000229", "2023011",
          "202301150", "2023011x", "-2023011", " 2023011", "x",        "2023/1/5"}) {
        EXPECT_EQ(QCAPI_Validate_Date(text), 0) << text;
    }
}

TEST(Date, VerificationTakesNumbers)
{
    EXPECT_EQ(QCAPI_Verify_YMD(2023, 1, 31), 1);
    EXPECT_EQ(QCAPI_Verify_YMD(0, 0, 0), 0);
    EXPECT_EQ(QCAPI_Verify_YMD(10000, 1, 1), 0);
    EXPECT_EQ(QCAPI_Verify_YMD(-1, 1, 1), 0);
    EXPECT_EQ(QCAPI_Verify_YMD(2023, -1, 1), 0);
    EXPECT_EQ(QCAPI_Verify_YMD(2023, 1, -1), 0);
    EXPECT_EQ(QCAPI_Verify_YMD(96, 2, 29), 1); // 1996
    EXPECT_EQ(QCAPI_Verify_YMD(100, 2, 29), 0);
}

TEST(Date, LeapYearsUpTo99AreOfTheTwentiethCentury)
{
    for (const int year : {2024, 2000, 1996, 96, 4, 400}) {
        EXPECT_EQ(QCAPI_IsLeapyr(static_cast<short>(year)), 1) << year;
    }
    for (const int year : {2023, 1900, 2100, 0, 99, 100}) {
        EXPECT_EQ(QCAPI_IsLeapyr(static_cast<short>(year)), 0) << year;
    }
}

TEST(ConfigText, NumbersAreDigitsAlone)
{
    EXPECT_EQ(str_isnum("0123456789"), 1);
    EXPECT_EQ(str_isnum(""), 1);
    for (const char* text : {"12a", "1 2", "+1", "-1", "/", ":", "\xB2"}) {
        EXPECT_EQ(str_isnum(text), 0) << text;
    }
}

TEST(ConfigText, FoldingIsInPlaceAndAsciiAlone)
{
    char text[] = "AZaz09@[\xC1\xD1\xFF";
    EXPECT_EQ(tolowerstr(text), text);
    EXPECT_STREQ(text, "azaz09@[\xC1\xD1\xFF");
}

} // namespace
