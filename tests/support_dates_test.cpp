#include "qcapi/support.h"
#include "support/fake_system.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

namespace {

// ---- Build date and hour ---------------------------------------------------------------------------------------

using Change = void (*)(const char*, char*);

// Input and output stand in memory of their exact size, so that a sanitizer sees any byte too many.
std::string Changed(Change change, const std::string& input, std::size_t output_size)
{
    const auto exact_input = std::make_unique<char[]>(input.size() + 1);
    const auto exact_output = std::make_unique<char[]>(output_size);
    std::memcpy(exact_input.get(), input.c_str(), input.size() + 1);
    std::memset(exact_output.get(), '#', output_size);
    change(exact_input.get(), exact_output.get());
    return {exact_output.get(), strnlen(exact_output.get(), output_size)};
}

std::string Date(const std::string& input)
{
    return Changed(COMMON_Change_Format_Date, input, 9);
}

std::string Hour(const std::string& input)
{
    return Changed(COMMON_Change_Format_Hour, input, 7);
}

TEST(ChangeFormatDate, ReadsABlankBeforeTheDayAsZero)
{
    EXPECT_EQ(Date("May  5 2023"), "20230505");
}

TEST(ChangeFormatDate, KnowsEnglishMonths)
{
    EXPECT_EQ(Date("Jan 01 2001"), "20010101");
    EXPECT_EQ(Date("Feb 28 2002"), "20020228");
    EXPECT_EQ(Date("Mar 03 2003"), "20030303");
    EXPECT_EQ(Date("Apr 30 2004"), "20040430");
    EXPECT_EQ(Date("May 31 2005"), "20050531");
    EXPECT_EQ(Date("Jun 06 2006"), "20060606");
    EXPECT_EQ(Date("Jul 07 2007"), "20070707");
    EXPECT_EQ(Date("Aug 08 2008"), "20080808");
    EXPECT_EQ(Date("Sep 09 2009"), "20090909");
    EXPECT_EQ(Date("Oct 10 2010"), "20101010");
    EXPECT_EQ(Date("Nov 11 2011"), "20111111");
    EXPECT_EQ(Date("Dec 31 1999"), "19991231");
}

TEST(ChangeFormatDate, KnowsSpanishMonths)
{
    EXPECT_EQ(Date("ene 09 2023"), "20230109");
    EXPECT_EQ(Date("abr 09 2023"), "20230409");
    EXPECT_EQ(Date("ago 09 2023"), "20230809");
    EXPECT_EQ(Date("dic 09 2023"), "20231209");
}

TEST(ChangeFormatDate, FoldsTheCaseOfTheMonth)
{
    EXPECT_EQ(Date("DEC 25 2023"), "20231225");
    EXPECT_EQ(Date("aGo 25 2023"), "20230825");
}

TEST(ChangeFormatDate, LeavesAnUnknownMonthOut)
{
    EXPECT_EQ(Date("Mai 25 2023"), "202325");
}

TEST(ChangeFormatDate, IgnoresWhatStandsBehindTheYear)
{
    EXPECT_EQ(Date("May 25 20234 and more"), "20230525");
}

TEST(ChangeFormatDate, GivesWhatAShortTextHas)
{
    EXPECT_EQ(Date("May 25 202"), "2020525");
    EXPECT_EQ(Date("May 25"), "0525");
    EXPECT_EQ(Date("May  "), "050");
    EXPECT_EQ(Date("May "), "05");
    EXPECT_EQ(Date("Ma"), "");
    EXPECT_EQ(Date(""), "");
}

TEST(ChangeFormatHour, LeavesTheSeparatorsOut)
{
    EXPECT_EQ(Hour("23:59:07"), "235907");
    EXPECT_EQ(Hour("23.59-07 and more"), "235907");
}

TEST(ChangeFormatHour, GivesWhatAShortTextHas)
{
    EXPECT_EQ(Hour("23:59:0"), "23590");
    EXPECT_EQ(Hour("23:5"), "235");
    EXPECT_EQ(Hour("2"), "2");
    EXPECT_EQ(Hour(""), "");
}

TEST(BuildMoment, HasTheFormsThatTheChangesRead)
{
    EXPECT_EQ(Date(Glb_compilation_date).size(), 8U);
    EXPECT_EQ(Hour(Glb_compilation_time).size(), 6U);
}

// ---- Local time ------------------------------------------------------------------------------------------------

class LocalTime : public testing::Test
{
protected:
    LocalTime()
    {
        UseZone("UTC0");
        m_system.ticks += 1'000'000'000; // a fall of the ticks anchors the clock to this test's wall clock
        COMMON_GetTime();
        m_system.ticks -= 1'000'000'000;
        COMMON_Adjust_Time(0);
    }

    static void UseZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }

    FakeSystem m_system{1'700'000'000}; // Tuesday 2023-11-14, 22:13:20 UTC
};

TEST_F(LocalTime, CurrentTimeWritesFourteenBytesAndNotOneMore)
{
    char envelope[16];
    std::memset(envelope, '#', sizeof envelope);
    COMMON_Get_Current_time(envelope + 1);
    EXPECT_EQ(std::string(envelope, sizeof envelope), "#22132020231114#");
}

TEST_F(LocalTime, CurrentTimeIsThatOfTheZoneAndTheOffset)
{
    UseZone("EAST-3");
    COMMON_Adjust_Time(500);
    char text[15] = "";
    COMMON_Get_Current_time(text);
    EXPECT_STREQ(text, "01132520231115");
}

TEST_F(LocalTime, BannerLineTellsDayDateAndHour)
{
    char line[256];
    COMMON_Get_Time_Date(line);
    EXPECT_STREQ(line, "          Tuesday, 14 November 2023    Local Time: 22:13:20 PM\n");
}

TEST_F(LocalTime, GeneralInfoIsTheLineWithDescriptionAndVersion)
{
    COMMON_Fill_Version_General_Info("Quentar-API Interface Program", "3.0.0.8");
    EXPECT_STREQ(Glb_General_Info, "          Tuesday, 14 November 2023    Local Time: 22:13:20 PM\n"
                                   "Quentar-API Interface Program. Version 3.0.0.8\n");
}

TEST_F(LocalTime, GeneralInfoIsCutAtItsSize)
{
    COMMON_Fill_Version_General_Info(std::string(1000, 'd').c_str(), "3.0.0.8");
    EXPECT_EQ(std::strlen(Glb_General_Info), 511U);
    EXPECT_EQ(std::string(Glb_General_Info).substr(63, 3), "ddd");
}

TEST_F(LocalTime, OtherDateGivesDateAndHour)
{
    char date[10];
    char hour[8];
    EXPECT_EQ(L_Get_Other_Date(0, date, hour), 8);
    EXPECT_STREQ(date, "20231114");
    EXPECT_STREQ(hour, "221320");
}

TEST_F(LocalTime, OtherDateMovesBothWays)
{
    char date[10];
    char hour[8];
    L_Get_Other_Date(-604'800, date, hour);
    EXPECT_STREQ(date, "20231107");
    L_Get_Other_Date(7200, date, hour);
    EXPECT_STREQ(date, "20231115");
    EXPECT_STREQ(hour, "001320");
}

TEST_F(LocalTime, OtherDateWithoutAnHourGivesTheDateAlone)
{
    UseZone("WEST+8");
    char date[10];
    EXPECT_EQ(L_Get_Other_Date(0, date, nullptr), 8);
    EXPECT_STREQ(date, "20231114");
}

TEST_F(LocalTime, OtherDateKeepsItsLimits)
{
    char date[11] = "##########";
    char hour[9] = "########";
    L_Get_Other_Date(0, date, hour);
    EXPECT_EQ(date[9], '#');
    EXPECT_EQ(hour[7], '#');
}

TEST_F(LocalTime, OtherDateBeyondTheCalendarIsEmpty)
{
    if constexpr (sizeof(long) == 8) {
        for (const long span : {LONG_MAX, LONG_MIN, LONG_MAX / 1000}) {
            char date[10] = "#";
            char hour[8] = "#";
            EXPECT_EQ(L_Get_Other_Date(span, date, hour), 0);
            EXPECT_STREQ(date, "");
        }
    } else {
        char date[10] = "#";
        EXPECT_EQ(L_Get_Other_Date(LONG_MAX, date, nullptr), 8);
        EXPECT_STREQ(date, "20911203");
    }
}

// ---- Files -----------------------------------------------------------------------------------------------------

class TableDelete : public testing::Test
{
protected:
    TableDelete() { m_scratch.write("qapi.markets", "rows"); }

    ScratchDirectory m_scratch;
};

TEST_F(TableDelete, RemovesTheFileOfTheGivenDirectory)
{
    m_scratch.write("qapi.userper", "rows");
    COMMON_Table_Delete(m_scratch.path().c_str(), "qapi.markets");
    EXPECT_FALSE(m_scratch.has("qapi.markets"));
    EXPECT_TRUE(m_scratch.has("qapi.userper"));
}

TEST_F(TableDelete, WithoutADirectoryRemovesNothing)
{
    COMMON_Table_Delete("", "qapi.markets");
    COMMON_Table_Delete("", m_scratch.path("qapi.markets").c_str());
    EXPECT_TRUE(m_scratch.has("qapi.markets"));
}

TEST_F(TableDelete, LeavesAMissingFileAndADirectoryAlone)
{
    std::filesystem::create_directory(m_scratch.path("empty"));
    COMMON_Table_Delete(m_scratch.path().c_str(), "nothing");
    COMMON_Table_Delete(m_scratch.path("empty").c_str(), "");
    COMMON_Table_Delete(m_scratch.path().c_str(), "empty");
    EXPECT_TRUE(m_scratch.has("empty"));
    EXPECT_TRUE(m_scratch.has("qapi.markets"));
}

// ---- Letters ---------------------------------------------------------------------------------------------------

TEST(Ascii, LowersItsLettersAndNoOtherByte)
{
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const bool upper = byte >= 65 && byte <= 90;
        EXPECT_EQ(ascii_lower(c), upper ? static_cast<char>(byte + 32) : c) << byte;
    }
}

TEST(Ascii, KnowsItsTenDigits)
{
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(ascii_digit(static_cast<char>(byte)), byte >= 48 && byte <= 57) << byte;
    }
}

} // namespace
