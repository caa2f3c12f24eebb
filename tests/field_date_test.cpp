#include "support/field_record.h"

#include <climits>
#include <cstdlib>
#include <ctime>
#include <random>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FieldDate : public FieldTest
{
protected:
    FieldDate() { SetZone("UTC"); }
    ~FieldDate() override { SetZone("UTC"); }

    static void SetZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }
    CDate& Date(const std::string& bytes) { return As<CDate>(Put('F', 8, bytes)); }
    std::string Moved(const std::string& bytes, int days)
    {
        next = 3;
        CField& field = Date(bytes);
        EXPECT_EQ(field += days, 1);
        return Bytes(field);
    }
};

// ---- Reading ----

TEST_F(FieldDate, IsNoonOfItsDay)
{
    EXPECT_EQ(static_cast<unsigned>(Date("19700101")), 43200U);
    EXPECT_EQ(static_cast<unsigned>(Date("20240229")), 1709208000U);
}

TEST_F(FieldDate, NoonIsThatOfTheLocalTime)
{
    SetZone("XXX3");
    EXPECT_EQ(static_cast<unsigned>(Date("19700101")), 43200U + 3 * 3600U);
}

TEST_F(FieldDate, AnEmptyTextIsNoonOfATimeOfZeros)
{
    std::tm zero{};
    zero.tm_hour = 12;
    EXPECT_EQ(static_cast<unsigned>(Date(std::string(8, '\0'))), static_cast<unsigned>(std::mktime(&zero)));
    EXPECT_EQ(static_cast<unsigned>(Date(std::string(8, '\0'))), 2085935296U); // 31 December 1899, in 32 bits
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(FieldDate, ATextThatIsNoDateIsReportedOnceAndKept)
{
    CDate& field = Date("2024x131");
    static_cast<void>(static_cast<unsigned>(field));
    static_cast<void>(static_cast<unsigned>(field));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CDate couldn't be set 2024x131")));
    EXPECT_EQ(*field.m_msg_field_init_pointer, 1);
    static_cast<void>(static_cast<unsigned>(Date("202401  ")));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CDate couldn't be set 202401  ")));
}

TEST_F(FieldDate, AnyBytesGiveSomeDay)
{
    std::mt19937 random(5);
    CField& field = Date("        ");
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(8, ' ');
        for (char& c : bytes) {
            c = random() % 4 != 0 ? static_cast<char>("0123456789-+ "[random() % 13]) : static_cast<char>(random());
        }
        Fill(field.m_displacement, bytes);
        static_cast<void>(static_cast<unsigned>(field));
        static_cast<void>(field += static_cast<int>(random()));
    }
    ReportTexts::Take();
}

// ---- Writing ----

TEST_F(FieldDate, TakesEightBytes)
{
    CDate& field = Date("~~~~~~~~");
    EXPECT_EQ(field = "202402299", 1);
    EXPECT_EQ(Bytes(2, 10), "~20240229~");
    EXPECT_EQ(static_cast<unsigned>(field), 1709208000U);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(FieldDate, WhatIsNoDateIsStoredAndReported)
{
    CDate& field = Date("20240131");
    EXPECT_EQ(field = "tomorrow", 1);
    EXPECT_EQ(Bytes(field), "tomorrow");
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CDate couldn't be set tomorrow")));
}

TEST_F(FieldDate, TakesAnotherDate)
{
    CDate& from = Date("20240229");
    CDate& to = Date("~~~~~~~~");
    EXPECT_EQ(to = from, 0);
    EXPECT_EQ(Bytes(to), "20240229");
    EXPECT_EQ(static_cast<unsigned>(to), 1709208000U);
}

TEST_F(FieldDate, TakesTheBytesOfAnyFieldAndOfTheElementThatIsCurrent)
{
    CDate& to = Date("~~~~~~~~");
    EXPECT_EQ(to = Put('A', 8, "20240229"), 1);
    EXPECT_EQ(Bytes(to), "20240229");
    CField& repeated = Put('A', 24, "202401012024020220240303");
    repeated.m_len = 8;
    repeated.m_elem_len = 8;
    repeated.m_index = 2;
    EXPECT_EQ(to = repeated, 1);
    EXPECT_EQ(Bytes(to), "20240202");
}

TEST_F(FieldDate, WhatAnotherFieldLacksAtTheEndOfTheBufferBecomesZeros)
{
    CDate& to = Date("~~~~~~~~");
    CField& last = record.Put('A', 156, 4);
    Fill(156, "2024");
    EXPECT_EQ(to = last, 1);
    EXPECT_EQ(Bytes(to), std::string("2024\0\0\0\0", 8));
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CDate couldn't be set 2024")));
}

// ---- Days ----

TEST_F(FieldDate, DaysAreAdded)
{
    EXPECT_EQ(Moved("20240228", 1), "20240229");
    EXPECT_EQ(Moved("20240228", 2), "20240301");
    EXPECT_EQ(Moved("20231231", 1), "20240101");
    EXPECT_EQ(Moved("20240101", -1), "20231231");
    EXPECT_EQ(Moved("20240101", 366), "20250101");
    EXPECT_EQ(Moved("20240131", 0), "20240131");
    EXPECT_EQ(Moved("20240231", 0), "20240302"); // a day that the month lacks
    EXPECT_EQ(Moved("10000101", -1), "09991231");
}

TEST_F(FieldDate, AChangeOfTheHourDoesNotMoveTheDate)
{
    SetZone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(Moved("20240330", 1), "20240331");
    EXPECT_EQ(Moved("20240331", 1), "20240401");
    CDate& field = Date("20241026");
    for (const char* day : {"20241027", "20241028", "20241029"}) {
        EXPECT_EQ(field += 1, 1);
        EXPECT_EQ(Bytes(field), day);
    }
}

TEST_F(FieldDate, TheNewDayIsKept)
{
    CDate& field = Date("20240228");
    EXPECT_EQ(field += 1, 1);
    EXPECT_EQ(*field.m_msg_field_init_pointer, 1);
    EXPECT_EQ(static_cast<unsigned>(field), 1709208000U);
    record.Init();
    EXPECT_EQ(static_cast<unsigned>(field), 1709208000U);
}

TEST_F(FieldDate, NoDaysAreAddedToWhatIsNoDate)
{
    CDate& field = Date("        ");
    EXPECT_EQ(field += 1, 0);
    EXPECT_EQ(Bytes(field), "        ");
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CDate couldn't be set         "),
                                                 Complaint("CDate couldn't be + Original date is invalid")));
}

TEST_F(FieldDate, ADayOutsideFourDigitsOfYearsIsReportedAndTheBytesStay)
{
    for (const int days : {1, INT_MAX}) {
        next = 3;
        CDate& field = Date("99991231");
        EXPECT_EQ(field += days, 0);
        EXPECT_EQ(field += 1, 0);
        EXPECT_EQ(Bytes(field), "99991231");
        EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CDate couldn't be + Final date is invalid"),
                                                     Complaint("CDate couldn't be + Original date is invalid")));
    }
    CDate& first = Date("00000101");
    EXPECT_EQ(first += INT_MIN, 0);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(Complaint("CDate couldn't be + Final date is invalid")));
}

// ---- Texts ----

TEST_F(FieldDate, ComparesItsBytesAlsoBeforeAnyAssignment)
{
    CDate& early = Date("20240131");
    CDate& late = Date("20240201");
    EXPECT_TRUE(early < late);
    EXPECT_TRUE(late > early);
    EXPECT_TRUE(early != late);
    EXPECT_TRUE(early == "20240131x");
    EXPECT_TRUE(early != "2024013");
    std::memcpy(early.Get_Ptr(), "20250101", 8);
    EXPECT_TRUE(early > late);
}

TEST_F(FieldDate, IsCopiedAsAText)
{
    char dest[9];
    CDate& field = Date("20240131");
    EXPECT_EQ(field >> dest, dest + 8);
    EXPECT_STREQ(dest, "20240131");
    EXPECT_EQ(field.GetStr(dest, 4, 9), dest + 4);
    EXPECT_STREQ(dest, "2024");
}

TEST_F(FieldDate, DatesAreNotAdded)
{
    CDate& a = Date("20240131");
    CDate& b = Date("20240201");
    EXPECT_EQ(a + b, 0);
    EXPECT_EQ(a - b, 0);
    CField& field = b;
    EXPECT_EQ(a + field, 0);
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre(Complaint("CDate couldn't be + CDate"), Complaint("CDate couldn't be - CDate"),
                            Complaint("CDate couldn't be + CField &")));
}

} // namespace
