// Record files whose process is killed while it saves a record: between its writes, and inside one.
#include "crash/dying_writes.h"
#include "support/record_file.h"

#include <csignal>
#include <gtest/gtest.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::KilledBySignal;

namespace {

constexpr unsigned long_record = 300;
constexpr unsigned across_pages = 7; // 550 bytes from slot to slot: its data lie from 4000 to 4354
constexpr unsigned on_one_page = 1;

class PersisKill : public RecordFileTest
{
protected:
    PersisKill() { GTEST_FLAG_SET(death_test_style, "fast"); }

    static std::string Content(char letter) { return std::string(long_record, letter); }

    // As a process of its own does it that is killed at one of its writes.
    static void Save_And_Die(unsigned slot, char letter, int write, const std::string& moment)
    {
        CPersFile file(PERS_CITY_CODE, "cities", long_record);
        file.Open(DO_NOT_RENAME);
        Load_All(file);
        crash::Die_At_Write(write, moment);
        file.Save_Record(slot, Content(letter).data(), std::string(8, letter).data());
    }

    static Texts Load_All(CPersFile& file)
    {
        Texts live;
        std::string content(long_record, '?');
        std::string identity(8, '?');
        for (unsigned slot = 1; file.Load_Next_Record(&slot, content.data(), identity.data()) != 0; ++slot) {
            const bool is_whole = content == std::string(long_record, identity.front());
            live.push_back(std::to_string(slot) + (is_whole ? " whole " : " MIXED ") + identity.substr(0, 1));
        }
        return live;
    }

    static Texts Load_Anew()
    {
        CPersFile file(PERS_CITY_CODE, "cities", long_record);
        return file.Open(DO_NOT_RENAME) != 0 ? Load_All(file) : Texts{"doesn't open"};
    }

    static void Save_First(unsigned slot)
    {
        CPersFile file(PERS_CITY_CODE, "cities", long_record);
        file.Open(DO_NOT_RENAME);
        for (unsigned each = 1; each <= slot; ++each) {
            file.Save_Record(each, Content('a').data(), std::string(8, 'a').data());
            if (each < slot) {
                file.Delete_Record(each);
            }
        }
    }
};

using PersisKillDeathTest = PersisKill;

TEST_F(PersisKillDeathTest, RecordAcrossPagesIsNeverHalfOldAndHalfNew)
{
    Save_First(across_pages);
    EXPECT_THAT(Load_Anew(), ElementsAre("7 whole a"));
    EXPECT_EXIT(Save_And_Die(across_pages, 'b', 1, "within"), KilledBySignal(SIGKILL), "");
    EXPECT_THAT(Load_Anew(), IsEmpty());
}

TEST_F(PersisKillDeathTest, RecordOnOnePageIsTheOldOneOrTheNewOne)
{
    Save_First(on_one_page);
    EXPECT_EXIT(Save_And_Die(on_one_page, 'b', 1, "before"), KilledBySignal(SIGKILL), "");
    EXPECT_THAT(Load_Anew(), ElementsAre("1 whole a"));
    EXPECT_EXIT(Save_And_Die(on_one_page, 'b', 1, "behind"), KilledBySignal(SIGKILL), "");
    EXPECT_THAT(Load_Anew(), ElementsAre("1 whole b"));
}

TEST_F(PersisKillDeathTest, SlotThatWasFreedIsUsedAgain)
{
    Save_First(across_pages);
    EXPECT_EXIT(Save_And_Die(across_pages, 'b', 2, "before"), KilledBySignal(SIGKILL), "");
    EXPECT_THAT(Load_Anew(), IsEmpty());
    Save_First(across_pages);
    EXPECT_THAT(Load_Anew(), ElementsAre("7 whole a"));
}

} // namespace
