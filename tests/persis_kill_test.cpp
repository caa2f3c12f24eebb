// A process that is killed while it saves a record leaves the old one, the new one or none, never a third.
#include "support/killed_child.h"
#include "support/record_file.h"

using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr unsigned kills = 100;

// Records of one letter throughout, which the identity has as well.
class PersisKill : public RecordFileTest
{
protected:
    static std::string Letters(unsigned number, std::size_t size)
    {
        return std::string(size, static_cast<char>('a' + number % 26));
    }
    static int SaveLetters(CPersFile& file, unsigned slot, unsigned number)
    {
        const std::string value = Letters(number, file.m_rec_size);
        return file.Save_Record(slot, value.data(), Letters(number, 8).data());
    }
    static bool IsOfOneLetter(const std::string& record)
    {
        const std::size_t blank = record.find(' ');
        const std::size_t identity = record.rfind(' ');
        const std::string value = record.substr(blank + 1, identity - blank - 1);
        return value.find_first_not_of(value.front()) == std::string::npos &&
               record.substr(identity + 1) == ToHex(std::string(8, value.front()));
    }
    // Of a file whose slots hold records of `size` bytes.
    void KillSavesOf(unsigned slot, unsigned size)
    {
        CPersFile file(PERS_CITY_CODE, "cities", size);
        file.Open(DO_NOT_RENAME);
        for (unsigned each = 1; each <= slot; ++each) {
            ASSERT_EQ(SaveLetters(file, each, 0), 1);
        }
        for (unsigned i = 0; i < kills; ++i) {
            Kill_Behind(1 + i % 50, [&](unsigned number) { SaveLetters(file, slot, number); });
            const Texts live = LoadAnew(size);
            ASSERT_GE(live.size(), slot - 1);
            for (const std::string& record : live) {
                ASSERT_TRUE(IsOfOneLetter(record)) << record;
            }
            ASSERT_EQ(SaveLetters(file, slot, 0), 1);
            ASSERT_THAT(LoadAnew(size), SizeIs(slot));
        }
    }
};

TEST_F(PersisKill, LeavesNoHalfOfARecordWhoseDataLieOnTwoPages)
{
    KillSavesOf(1, 2000); // data from 2400 to 4478
}

TEST_F(PersisKill, LeavesNoHalfOfARecordWhoseIdentityEndsItsPage)
{
    KillSavesOf(2, 1693); // data from 4036 on, the record's bytes from 4096 on
}

TEST_F(PersisKill, LeavesARecordOnOnePageAsItWasOrAsItIs)
{
    CPersFile file(PERS_CITY_CODE, "cities", 331);
    file.Open(DO_NOT_RENAME);
    ASSERT_EQ(SaveLetters(file, 1, 0), 1);
    for (unsigned i = 0; i < kills; ++i) {
        Kill_Behind(10, [&](unsigned number) { SaveLetters(file, 1, number); });
        const Texts live = LoadAnew(331);
        ASSERT_THAT(live, SizeIs(1));
        ASSERT_TRUE(IsOfOneLetter(live.front())) << live.front();
    }
}

// The bytes of a save that was cut off behind its first write, and behind the first page of its second one.
TEST_F(PersisKill, SlotOnTwoPagesIsFreeUntilItIsWhole)
{
    CPersFile file(PERS_CITY_CODE, "cities", 2000);
    file.Open(DO_NOT_RENAME);
    SaveLetters(file, 1, 0);
    std::string image = Bytes();
    image[2250 + 24 + 8] = 1;
    Put(image);
    EXPECT_THAT(LoadAnew(2000), IsEmpty());
    image.replace(2400 + 44, 4096 - 2444, 4096 - 2444, 'b');
    Put(image);
    CPersFile next(PERS_CITY_CODE, "cities", 2000);
    next.Open(DO_NOT_RENAME);
    EXPECT_THAT(Load(next), IsEmpty());
    EXPECT_EQ(next.Get_Next_Free(), 1U);
}

TEST_F(PersisKill, SlotOnTwoPagesEndsAsAnyOther)
{
    CPersFile file(PERS_CITY_CODE, "cities", 2000);
    file.Open(DO_NOT_RENAME);
    EXPECT_EQ(SaveLetters(file, 1, 1), 1);
    EXPECT_EQ(BytesAt(2250, 48), "1800000002000000" + ToHex(std::string(16, '\0')) + "010000000400000000000000" +
                                     "0200000004000000d0070000");
    EXPECT_EQ(file.m_record_header.deleted, 0);
}

// Nothing is begun that can't be ended.
TEST_F(PersisKill, LimitOfTheFileSizeLeavesARecordOnTwoPagesAsItWas)
{
    CPersFile file(PERS_CITY_CODE, "cities", 2000);
    file.Open(DO_NOT_RENAME);
    SaveLetters(file, 1, 0);
    const std::string before = Bytes();
    const FileSizeLimit full(4000);
    EXPECT_EQ(SaveLetters(file, 1, 1), 0);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(ToHex(Bytes()), ToHex(before));
}

// A version 101 in a slot on two pages, which has no room to be rewritten: it is read all the same.
TEST_F(PersisKill, RecordOnTwoPagesIsConvertedInPlaceOrReadAsItIs)
{
    CPersFile file(PERS_CITY_CODE, "cities", 2000);
    file.Open(DO_NOT_RENAME);
    SaveLetters(file, 1, 0);
    std::string image = Bytes();
    image[2400 + 32] = 101;
    Put(image);
    {
        const FileSizeLimit full(4000);
        EXPECT_THAT(LoadAnew(2000), SizeIs(1));
        EXPECT_EQ(ToHex(Bytes()), ToHex(image));
    }
    EXPECT_THAT(LoadAnew(2000), SizeIs(1));
    EXPECT_EQ(BytesAt(2400 + 32, 1), "66");
    EXPECT_THAT(LoadAnew(2000), SizeIs(1));
}

} // namespace
