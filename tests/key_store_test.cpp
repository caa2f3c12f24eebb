#include "crypt/crypt.h"

#include "crypt/key_store.h"
#include "support/hex.h"
#include "support/key_store_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class KeyStore : public KeyStoreTest
{
};

TEST_F(KeyStore, EndWipesTheKeysOfASuccessfulInit)
{
    WriteFile(RecordBytes(key_of_a, "01022003"), EncryptedRecord(RecordBytes(key_of_b, "05012024"), "secret"));
    ASSERT_EQ(Init(), 0);
    EXPECT_FALSE(AllZero(Actual_Key));
    EXPECT_FALSE(AllZero(EK));
    crypt_end();
    EXPECT_TRUE(AllZero(Actual_Key));
    EXPECT_TRUE(AllZero(Future_Key));
    EXPECT_THAT(EK, Each(0));
    EXPECT_THAT(DK, Each(0));
    EXPECT_EQ(init_value, 0);
}

TEST_F(KeyStore, EndLeavesTheKeysAsTheyAreWithoutASuccessfulInit)
{
    Actual_Key.v_n[0] = 5;
    Future_Key.v_n[0] = 6;
    EK[3] = 7;
    DK[4] = 8;
    crypt_end();
    EXPECT_EQ(Actual_Key.v_n[0], 5U);
    EXPECT_EQ(Future_Key.v_n[0], 6U);
    EXPECT_EQ(EK[3], 7);
    EXPECT_EQ(DK[4], 8);
    EXPECT_EQ(init_value, 11);
}

class KeyList : public KeyStoreTest
{
protected:
    // A list in a block of its size, so that a sanitizer sees whoever reads on.
    static void Set(const std::string& list)
    {
        const auto exact = std::make_unique<char[]>(list.size());
        std::copy(list.begin(), list.end(), exact.get());
        crypt_set_keys(exact.get());
    }

    static std::vector<std::uint32_t> Machines()
    {
        std::vector<std::uint32_t> machines;
        for (const qapi::_KEY_NODE* node = Frst_KEY_NODE; node != nullptr; node = node->next.get()) {
            machines.push_back(node->dest);
        }
        return machines;
    }

    const std::string end_of_list = LittleEndian(0);
};

TEST_F(KeyList, KeepsTheNewestKeyInFront)
{
    Set(ListEntry(1, key_of_a) + ListEntry(2, key_of_b) + end_of_list);
    EXPECT_THAT(Machines(), ElementsAre(2, 1));
    Set(ListEntry(3, key_of_c) + end_of_list);
    EXPECT_THAT(Machines(), ElementsAre(3, 2, 1));
}

TEST_F(KeyList, ReplacesAKnownMachinesKeyInItsPlace)
{
    Set(ListEntry(1, key_of_a) + ListEntry(2, key_of_b) + end_of_list);
    Set(ListEntry(1, key_of_c) + end_of_list);
    EXPECT_THAT(Machines(), ElementsAre(2, 1));
    EXPECT_EQ(qapi::crypt_find_key(1)->v_n[0], 0x6809550BU);
    EXPECT_EQ(qapi::crypt_find_key(1)->v_n[16], 0U);
    EXPECT_EQ(qapi::crypt_find_key(2)->v_e[0], 0x11U);
}

TEST_F(KeyList, TakesAMachineTwiceInOneListForOne)
{
    Set(ListEntry(1, key_of_a) + ListEntry(1, key_of_b) + end_of_list);
    EXPECT_THAT(Machines(), ElementsAre(1));
    EXPECT_EQ(Frst_KEY_NODE->v_e[0], 0x11U);
}

TEST_F(KeyList, ReadsTenEntriesAtMost)
{
    std::string list;
    for (std::uint32_t machine = 1; machine <= 10; ++machine) {
        list += ListEntry(machine, key_of_a);
    }
    Set(list);
    EXPECT_THAT(Machines(), ElementsAre(10, 9, 8, 7, 6, 5, 4, 3, 2, 1));
    Set(ListEntry(20, key_of_a) + list + ListEntry(21, key_of_a));
    EXPECT_EQ(Machines().size(), 11U);
}

TEST_F(KeyList, EndsAtAMachineOfZero)
{
    Set(end_of_list);
    EXPECT_THAT(Machines(), IsEmpty());
    Set(ListEntry(1, key_of_a) + end_of_list + ListEntry(2, key_of_b));
    EXPECT_THAT(Machines(), ElementsAre(1));
}

TEST_F(KeyList, IsFreedAtTheEndWhateverInitSaid)
{
    Set(ListEntry(1, key_of_a) + end_of_list);
    crypt_end();
    EXPECT_EQ(Frst_KEY_NODE, nullptr);
    EXPECT_EQ(qapi::crypt_find_key(1), nullptr);
    crypt_end();
    EXPECT_EQ(Frst_KEY_NODE, nullptr);
}

TEST_F(KeyList, OfManyMachinesIsFreed)
{
    for (std::uint32_t machine = 1; machine <= 2000; ++machine) {
        Set(ListEntry(machine, key_of_a) + end_of_list);
    }
    EXPECT_EQ(Machines().size(), 2000U);
    crypt_end();
    EXPECT_EQ(Frst_KEY_NODE, nullptr);
}

// ---- Public keys ---------------------------------------------------------------------------------------------------

using PublicKeys = KeyList;

TEST_F(PublicKeys, AreZerosForARecordOfBadMarks)
{
    std::memcpy(Actual_Key.mark, "Bad1", 4);
    std::memcpy(Actual_Key.mark_validate, "Bad2", 4);
    Actual_Key.v_n[0] = 1;
    EXPECT_EQ(PublicKey(0), std::string(80, '\0'));
}

TEST_F(PublicKeys, OfTheListAreThoseOfItsNewestMachine)
{
    EXPECT_EQ(PublicKey(2), std::string(80, '\0'));
    Set(ListEntry(1, key_of_a) + ListEntry(0x44332211, key_of_b) + end_of_list);
    EXPECT_EQ(PublicKey(2), std::string(8, '\0') + ListEntry(0x44332211, key_of_b));
}

TEST_F(PublicKeys, AboveTheFirstOfTheListAreZeros)
{
    Set(ListEntry(1, key_of_a) + ListEntry(2, key_of_b) + end_of_list);
    for (const int which : {3, 4, 65535}) {
        EXPECT_EQ(PublicKey(static_cast<unsigned short>(which)), std::string(80, '\0'));
    }
}

TEST_F(PublicKeys, StandAtTheirPlaces)
{
    std::memcpy(Actual_Key.date, "31122099", 8);
    this_equip = 0x0D0C0B0A;
    Actual_Key.v_n[0] = 0x04030201;
    Actual_Key.v_n[15] = 0x14131211;
    Actual_Key.v_n[16] = 0xFFFFFFFF;
    Actual_Key.v_e[0] = 0x24232221;
    Actual_Key.v_e[1] = 0xFFFFFFFF;
    const std::string key = PublicKey(0);
    EXPECT_EQ(key.substr(0, 8), "20991231");
    EXPECT_EQ(ToHex(key.substr(8, 8)), "0a0b0c0d01020304");
    EXPECT_EQ(ToHex(key.substr(72)), "1112131421222324");
}

} // namespace
