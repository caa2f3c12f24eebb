// Which day it is, and what becomes of the files when it changes.
#include "qcapi/log_files.h"
#include "support/log_session.h"

#include <algorithm>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t day = 86400;

class LogDate : public LogSession
{
protected:
    int Check_At(std::int64_t moment)
    {
        Go_To(moment);
        return LOG_Check_Update_Last_Log_Date();
    }
    int Check_After(std::int64_t seconds)
    {
        Step(seconds);
        return LOG_Check_Update_Last_Log_Date();
    }
};

TEST_F(LogDate, DayIsNewOnce)
{
    EXPECT_EQ(LOG_Check_Update_Last_Log_Date(), 1);
    EXPECT_EQ(LOG_Check_Update_Last_Log_Date(), 0);
    EXPECT_EQ(Check_After(1), 0);
    EXPECT_EQ(Check_At(Moment(2026, 11, 20, 23, 59, 59)), 0);
    EXPECT_EQ(Check_After(1), 1);
    EXPECT_EQ(Check_After(1), 0);
}

TEST_F(LogDate, StepBackOverMidnightIsNoNewDayAndNeitherIsTheSecondMidnight)
{
    Check_At(Moment(2026, 11, 20, 23, 59, 0));
    EXPECT_EQ(Check_After(120), 1);
    EXPECT_EQ(Check_After(-180), 0);
    EXPECT_EQ(Check_After(1), 0);
    EXPECT_EQ(Check_After(180), 0);
    EXPECT_EQ(Check_After(day), 1);
}

TEST_F(LogDate, StepBackOfTwoDaysIsANewDay)
{
    Check_At(Moment(2026, 11, 20, 12));
    EXPECT_EQ(Check_After(-2 * day), 1);
    EXPECT_EQ(Check_After(-day), 0);
    EXPECT_EQ(Check_After(2 * day), 1);
}

TEST_F(LogDate, StepOverSeveralDaysIsOneNewDay)
{
    Check_At(Moment(2026, 11, 20, 12));
    EXPECT_EQ(Check_After(30 * day), 1);
    EXPECT_EQ(Check_After(1), 0);
}

TEST_F(LogDate, SameDayOfAnotherMonthOrYearIsNew)
{
    Check_At(Moment(2026, 11, 20));
    EXPECT_EQ(Check_At(Moment(2026, 12, 20)), 1);
    EXPECT_EQ(Check_At(Moment(2027, 12, 20)), 1);
}

TEST_F(LogDate, DayBeforeIsKnownOverMonthsAndYears)
{
    for (const auto& [month, first_of] : {std::pair{3U, 2028}, {3U, 2027}, {1U, 2027}, {12U, 2026}}) {
        const std::int64_t midnight = Moment(first_of, month, 1);
        EXPECT_EQ(Check_At(midnight), 1);
        EXPECT_EQ(Check_At(midnight - 1), 0);
        EXPECT_EQ(Check_At(midnight - day - 1), 1);
    }
}

// Days of 23 and 25 hours, west and east of Greenwich, and a zone whose clocks change at midnight itself.
TEST_F(LogDate, DayBeforeIsKnownWhereTheClocksChange)
{
    struct Change
    {
        const char* zone;
        std::int64_t midnight; // that begins the day after the change
    };
    for (const Change& change : {Change{"EST5EDT,M3.2.0,M11.1.0", Moment(2026, 3, 9, 4)},
                                 {"EST5EDT,M3.2.0,M11.1.0", Moment(2026, 11, 2, 5)},
                                 {"CET-1CEST,M3.5.0,M10.5.0/3", Moment(2026, 3, 29, 22)},
                                 {"CET-1CEST,M3.5.0,M10.5.0/3", Moment(2026, 10, 25, 23)},
                                 {"CST5CDT,M3.2.0/0,M11.1.0/1", Moment(2026, 3, 9, 4)}}) {
        Set_Time_Zone(change.zone);
        Check_At(change.midnight - 10 * day);
        EXPECT_EQ(Check_At(change.midnight - 1), 1) << change.zone;
        EXPECT_EQ(Check_After(1), 1) << change.zone;
        EXPECT_EQ(Check_After(-600), 0) << change.zone;
        EXPECT_EQ(Check_After(600), 0) << change.zone;
    }
}

class LogFileDate : public LogSession
{
protected:
    static std::tm Day_Of(std::int64_t moment)
    {
        const auto seconds = static_cast<std::time_t>(moment);
        std::tm local{};
        localtime_r(&seconds, &local);
        return local;
    }
};

TEST_F(LogFileDate, ComparesTheWholeDate)
{
    const std::int64_t written = Moment(2026, 11, 20, 23, 59, 59);
    scratch.write("f", "");
    Set_Written_At("f", written);
    EXPECT_EQ(LOG_Is_File_Same_Date("f", Day_Of(Moment(2026, 11, 20))), 1);
    EXPECT_EQ(LOG_Is_File_Same_Date("f", Day_Of(written + 1)), 0);
    EXPECT_EQ(LOG_Is_File_Same_Date("f", Day_Of(Moment(2026, 12, 20))), 0);
    EXPECT_EQ(LOG_Is_File_Same_Date("f", Day_Of(Moment(2020, 11, 20))), 0); // a Friday like 2026-11-20
    EXPECT_EQ(LOG_Is_File_Same_Date("f", Day_Of(Moment(2025, 11, 20))), 0);
}

TEST_F(LogFileDate, IsLocal)
{
    scratch.write("f", "");
    Set_Written_At("f", Moment(2026, 11, 20, 23, 30));
    Set_Time_Zone("<+01>-1");
    EXPECT_EQ(LOG_Is_File_Same_Date("f", Day_Of(Moment(2026, 11, 20, 23, 0))), 1);
    EXPECT_EQ(LOG_Is_File_Same_Date("f", Day_Of(Moment(2026, 11, 20, 22, 59))), 0);
}

TEST_F(LogFileDate, MissingFileNeedsNoRotation)
{
    EXPECT_EQ(LOG_Is_File_Same_Date("none", Day_Of(Moment(2026, 11, 20))), 1);
}

class LogRename : public testing::Test
{
protected:
    void Write_Files(const std::vector<std::string>& names)
    {
        for (const std::string& name : names) {
            scratch.write(name, name);
        }
    }
    // "name=content" of all files, sorted.
    [[nodiscard]] std::vector<std::string> Files() const
    {
        std::vector<std::string> files;
        for (const fs::directory_entry& file : fs::directory_iterator(scratch.path())) {
            const std::string name = file.path().filename();
            files.push_back(name + "=" + scratch.read(name));
        }
        std::sort(files.begin(), files.end());
        return files;
    }
    void Rename(const std::string& name) const { LOG_Rename_Log_Files(scratch.path(name).c_str()); }

    ScratchDirectory scratch;
};

using Names = std::vector<std::string>;

TEST_F(LogRename, EveryGenerationMovesUpAndTheFifthGoes)
{
    Write_Files({"qapi.log", "qapi1.log", "qapi2.log", "qapi3.log", "qapi4.log", "qapi5.log"});
    Rename("qapi.log");
    EXPECT_EQ(Files(), (Names{"qapi1.log=qapi.log", "qapi2.log=qapi1.log", "qapi3.log=qapi2.log", "qapi4.log=qapi3.log",
                              "qapi5.log=qapi4.log"}));
}

TEST_F(LogRename, GapMovesUpWithTheOthers)
{
    Write_Files({"qapi.log", "qapi2.log"});
    Rename("qapi.log");
    EXPECT_EQ(Files(), (Names{"qapi1.log=qapi.log", "qapi3.log=qapi2.log"}));
}

TEST_F(LogRename, SixthIsNeitherMadeNorTouched)
{
    Write_Files({"qapi.log", "qapi5.log", "qapi6.log"});
    Rename("qapi.log");
    EXPECT_EQ(Files(), (Names{"qapi1.log=qapi.log", "qapi6.log=qapi6.log"}));
}

TEST_F(LogRename, StripsLogWithAndWithoutTheDotAndNothingElse)
{
    Write_Files({"alog", "b.txt", "c.log.log"});
    for (const char* name : {"alog", "b.txt", "c.log.log"}) {
        Rename(name);
    }
    EXPECT_EQ(Files(), (Names{"a1.log=alog", "b.txt1.log=b.txt", "c.log1.log=c.log.log"}));
}

TEST_F(LogRename, NothingToRenameIsNoHarm)
{
    Rename("qapi.log");
    EXPECT_EQ(Files(), Names{});
}

class LogRotation : public LogSession
{
protected:
    void Restart_At(std::int64_t moment)
    {
        LOG_End();
        Go_To(moment);
        Start();
    }
    void Write(const std::string& text)
    {
        LOG_Text("-%s", text.c_str());
        LOG_Write_Pending();
    }
    std::vector<std::string> Bodies_In(const std::string& name) { return Bodies_Of(scratch.read(name)); }
    static fs::perms Permissions(const fs::path& path) { return fs::status(path).permissions(); }
};

TEST_F(LogRotation, RestartOnTheSameDayAppends)
{
    Start();
    Write("one");
    Set_Written_At("qapi.log", Moment(2026, 11, 20, 9, 30));
    Restart_At(Moment(2026, 11, 20, 23, 59, 59));
    Write("two");
    EXPECT_EQ(Bodies(), (Names{"one", "two"}));
    EXPECT_FALSE(scratch.has("qapi1.log"));
}

TEST_F(LogRotation, RestartOnAnotherDayRotates)
{
    Start();
    Write("one");
    Set_Written_At("qapi.log", Moment(2026, 11, 20, 23, 59, 59));
    Restart_At(Moment(2026, 11, 21));
    Write("two");
    EXPECT_EQ(Bodies_In("qapi1.log"), Names{"one"});
    EXPECT_EQ(Bodies(), Names{"two"});
}

TEST_F(LogRotation, RestartBehindATornRecordAppendsAfterIt)
{
    scratch.write("qapi.log", "2026112009");
    Set_Written_At("qapi.log", Moment(2026, 11, 20, 9));
    Start();
    Write("two");
    EXPECT_EQ(Written().substr(0, 10), "2026112009");
    EXPECT_EQ(Bodies_Of(Written().substr(10)), Names{"two"});
}

TEST_F(LogRotation, FirstRecordWrittenOnTheNewDayOpensTheNewFile)
{
    Go_To(Moment(2026, 11, 20, 23, 59, 59));
    Start();
    Write("yesterday");
    Step(1);
    Write("today");
    Write("today too");
    EXPECT_EQ(Bodies_In("qapi1.log"), Names{"yesterday"});
    EXPECT_EQ(Bodies(), (Names{"today", "today too"}));
}

TEST_F(LogRotation, StepBackOverMidnightRotatesOnce)
{
    Go_To(Moment(2026, 11, 20, 23, 58, 0));
    Start();
    for (const int seconds : {0, 180, -180, 180, -60, 3600}) {
        Step(seconds);
        Write(std::to_string(seconds));
    }
    EXPECT_EQ(Bodies_In("qapi1.log"), Names{"0"});
    EXPECT_EQ(Bodies(), (Names{"180", "-180", "180", "-60", "3600"}));
    EXPECT_FALSE(scratch.has("qapi2.log"));
}

TEST_F(LogRotation, AfterEightDaysTheLastFiveAreLeft)
{
    Start();
    for (int number = 0; number < 8; ++number) {
        Write("day " + std::to_string(number));
        Step(day);
    }
    EXPECT_EQ(Bodies(), Names{"day 7"});
    for (int number = 1; number <= 5; ++number) {
        EXPECT_EQ(Bodies_In("qapi" + std::to_string(number) + ".log"), Names{"day " + std::to_string(7 - number)});
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(scratch.path()), fs::directory_iterator{}), 6);
}

TEST_F(LogRotation, GenerationThatCannotBeRemovedStopsNothing)
{
    Start();
    fs::create_directory(scratch.path("qapi1.log"));
    scratch.write("qapi1.log/in_the_way", "");
    fs::create_directory(scratch.path("qapi2.log"));
    scratch.write("qapi2.log/in_the_way", "");
    scratch.write("qapi3.log", "");
    Write("yesterday");
    Step(day);
    Write("today");
    EXPECT_EQ(Bodies().back(), "today");
}

TEST_F(LogRotation, FilesAreTheirOwnersAloneWhateverTheUmask)
{
    for (const mode_t mask : {0000U, 0077U, 0777U}) {
        const mode_t before = umask(mask);
        Start();
        Write("old");
        Step(2 * day);
        Write("new");
        umask(before);
        EXPECT_EQ(Permissions(scratch.path("qapi.log")), fs::perms(0600));
        EXPECT_EQ(Permissions(scratch.path("qapi1.log")), fs::perms(0600));
        LOG_End();
        fs::remove(scratch.path("qapi.log"));
    }
}

TEST_F(LogRotation, FileThatWasOpenToOthersIsClosedToThem)
{
    scratch.write("qapi.log", "");
    fs::permissions(scratch.path("qapi.log"), fs::perms(0666));
    Set_Written_At("qapi.log", Moment(2026, 11, 20, 9));
    Start();
    EXPECT_EQ(Permissions(scratch.path("qapi.log")), fs::perms(0600));
}

TEST_F(LogRotation, FileThatWasOpenToOthersIsClosedToThemAsAGenerationToo)
{
    scratch.write("qapi.log", "");
    fs::permissions(scratch.path("qapi.log"), fs::perms(0666));
    Set_Written_At("qapi.log", Moment(2026, 11, 10, 9));
    Start();
    EXPECT_EQ(Permissions(scratch.path("qapi1.log")), fs::perms(0600));
}

} // namespace
