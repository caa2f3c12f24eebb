#include "table/index_form.h"
#include "table/sorted_blocks.h"

#include "keys/order_keys.h"
#include "keys/plain_keys.h"
#include "keys/sequence_keys.h"
#include "support/report_texts.h"

#include <gmock/gmock.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using Small = qapi::SortedBlocks<std::uint64_t, 4>;

template <class Blocks> std::vector<int> walk(const Blocks& blocks)
{
    std::vector<int> numbers;
    typename Blocks::Walk at;
    for (int number = blocks.Begin(at); number != Blocks::none; number = blocks.Next(at)) {
        numbers.push_back(number);
    }
    return numbers;
}

Small of(const std::vector<int>& keys)
{
    Small blocks;
    for (const int key : keys) {
        blocks.Put(static_cast<std::uint64_t>(key), key);
    }
    return blocks;
}

TEST(SortedBlocks, EmptyOneFindsNothing)
{
    Small blocks;
    Small::Walk at;
    EXPECT_EQ(blocks.Find(1), -1);
    EXPECT_FALSE(blocks.Erase(1, -1));
    EXPECT_EQ(blocks.Next(at), -1) << "not begun";
    EXPECT_EQ(blocks.Begin(at), -1);
    EXPECT_EQ(blocks.Next(at), -1);
}

TEST(SortedBlocks, KeysComeInTheirOrderWhateverTheOrderOfTheirInsertion)
{
    EXPECT_EQ(walk(of({5, 1, 9, 3, 7, 2, 8, 6, 4})), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(walk(of({9, 8, 7, 6, 5, 4, 3, 2, 1})), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(SortedBlocks, PutGivesAKeyThatIsThereItsNewNumber)
{
    Small blocks = of({1, 2, 3});
    blocks.Put(2, 20);
    EXPECT_EQ(blocks.Find(2), 20);
    EXPECT_EQ(blocks.Size(), 3U);
}

TEST(SortedBlocks, EraseWantsTheNumberToo)
{
    Small blocks = of({1, 2, 3});
    EXPECT_FALSE(blocks.Erase(2, 3));
    EXPECT_EQ(blocks.Find(2), 2);
    EXPECT_TRUE(blocks.Erase(2, 2));
    EXPECT_FALSE(blocks.Erase(2, 2));
    EXPECT_EQ(walk(blocks), (std::vector<int>{1, 3}));
}

TEST(SortedBlocks, AllKeysOfANumberCanGo)
{
    Small blocks;
    for (std::uint64_t key = 0; key < 50; ++key) {
        blocks.Put(key, static_cast<int>(key % 3));
    }
    blocks.Erase_Number(1);
    EXPECT_EQ(blocks.Size(), 33U);
    EXPECT_EQ(blocks.Find(1), -1);
    EXPECT_EQ(blocks.Find(49), -1);
    EXPECT_EQ(blocks.Find(48), 0);
    EXPECT_EQ(blocks.Find(47), 2);
}

TEST(SortedBlocks, RisingKeysFillTheirBlocks)
{
    Small blocks;
    for (std::uint64_t key = 0; key < 40; ++key) {
        blocks.Put(key, 1);
    }
    EXPECT_EQ(blocks.Blocks(), 10U);
}

TEST(SortedBlocks, AQueueOfKeysDoesNotGrow)
{
    Small blocks;
    for (std::uint64_t key = 0; key < 1000; ++key) {
        blocks.Put(key, 1);
        if (key >= 8) {
            EXPECT_TRUE(blocks.Erase(key - 8, 1));
        }
        ASSERT_LE(blocks.Blocks(), 4U);
    }
    EXPECT_EQ(blocks.Size(), 8U);
}

TEST(SortedBlocks, BlocksThatThinOutMerge)
{
    Small blocks;
    for (std::uint64_t key = 0; key < 400; ++key) {
        blocks.Put(key, 1);
    }
    for (std::uint64_t key = 0; key < 400; ++key) {
        if (key % 20 != 0) {
            blocks.Erase(key, 1);
        }
    }
    EXPECT_EQ(blocks.Size(), 20U);
    EXPECT_LE(blocks.Blocks(), 15U);
}

TEST(SortedBlocks, ClearForgetsEverything)
{
    Small blocks = of({1, 2, 3, 4, 5});
    EXPECT_EQ(blocks.Find(3), 3);
    blocks.Clear();
    EXPECT_EQ(blocks.Find(3), -1);
    EXPECT_EQ(blocks.Size(), 0U);
    blocks.Put(3, 30);
    EXPECT_EQ(blocks.Find(3), 30);
}

// ---- Walks -----------------------------------------------------------------------------------------------------

TEST(SortedBlocks, AWalkStaysAtItsEnd)
{
    Small blocks = of({1});
    Small::Walk at;
    EXPECT_EQ(blocks.Begin(at), 1);
    EXPECT_EQ(blocks.Next(at), -1);
    blocks.Put(2, 2);
    EXPECT_EQ(blocks.Next(at), -1);
    EXPECT_EQ(blocks.Begin(at), 1);
}

TEST(SortedBlocks, AWalkGoesOnBehindItsKeyWhenThatIsErased)
{
    Small blocks = of({1, 2, 3, 4, 5, 6, 7, 8, 9});
    Small::Walk at;
    std::vector<int> met;
    for (int number = blocks.Begin(at); number != -1; number = blocks.Next(at)) {
        met.push_back(number);
        blocks.Erase(static_cast<std::uint64_t>(number), number);
    }
    EXPECT_EQ(met, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(blocks.Size(), 0U);
}

TEST(SortedBlocks, AWalkMeetsWhatIsPutBehindItsKeyAndNothingTwice)
{
    Small blocks = of({10, 20, 30});
    Small::Walk at;
    EXPECT_EQ(blocks.Begin(at), 10);
    EXPECT_EQ(blocks.Next(at), 20);
    for (const int key : {1, 2, 3, 4, 5, 15, 25, 26, 27, 28}) {
        blocks.Put(static_cast<std::uint64_t>(key), key);
    }
    std::vector<int> rest;
    for (int number = blocks.Next(at); number != -1; number = blocks.Next(at)) {
        rest.push_back(number);
    }
    EXPECT_EQ(rest, (std::vector<int>{25, 26, 27, 28, 30}));
}

// ---- Beside a map ----------------------------------------------------------------------------------------------

template <class Blocks> void run_beside_a_map(unsigned keys, int steps)
{
    std::mt19937 random(keys);
    Blocks blocks;
    std::map<std::uint64_t, int> map;
    for (int step = 0; step < steps; ++step) {
        const auto key = static_cast<std::uint64_t>(random() % keys);
        const int number = static_cast<int>(random() % 4);
        const bool grows = step / 2000 % 2 == 0;
        if (random() % 8 < (grows ? 6U : 2U)) {
            blocks.Put(key, number);
            map[key] = number;
        } else {
            const auto found = map.find(key);
            const bool leads = found != map.end() && found->second == number;
            ASSERT_EQ(blocks.Erase(key, number), leads);
            if (leads) {
                map.erase(found);
            }
        }
        const auto asked = static_cast<std::uint64_t>(random() % keys);
        const auto found = map.find(asked);
        ASSERT_EQ(blocks.Find(asked), found != map.end() ? found->second : -1);
        ASSERT_EQ(blocks.Size(), map.size());
        if (step % 64 == 0) {
            std::vector<int> numbers;
            for (const auto& entry : map) {
                numbers.push_back(entry.second);
            }
            ASSERT_EQ(walk(blocks), numbers);
        }
    }
}

TEST(SortedBlocks, AgreesWithAMapInSmallBlocks)
{
    run_beside_a_map<Small>(500, 20'000);
}

TEST(SortedBlocks, AgreesWithAMapInTheBlocksOfTables)
{
    run_beside_a_map<qapi::SortedBlocks<std::uint64_t>>(3000, 20'000);
}

// ---- Forms of keys ---------------------------------------------------------------------------------------------

template <class KEY> KEY key_of(const std::string& bytes)
{
    std::string padded = bytes;
    padded.resize(static_cast<std::size_t>(KEY::length), '\0');
    KEY key;
    key.CBaseKey::Init(padded.data());
    return key;
}

template <class KEY> class FormOfBytes : public testing::Test
{
};
using KeysOfBytes = testing::Types<CCountryKey, CCityKey, CBranchesKey, CEnvCrc32Key, CUserBv1Key, CComitentesKey,
                                   COrderKey, CPendCobranzasKey>;
TYPED_TEST_SUITE(FormOfBytes, KeysOfBytes);

TYPED_TEST(FormOfBytes, OrdersAsMemcmpDoes)
{
    using Form = qapi::IndexForm<TypeParam>;
    std::mt19937 random(7);
    for (int turn = 0; turn < 2000; ++turn) {
        std::string left(static_cast<std::size_t>(TypeParam::length), '\0');
        for (char& byte : left) {
            byte = static_cast<char>(random());
        }
        std::string right = left;
        right[random() % right.size()] = static_cast<char>(random());
        const int order = std::memcmp(left.data(), right.data(), left.size());
        const auto left_form = Form::Of(key_of<TypeParam>(left));
        const auto right_form = Form::Of(key_of<TypeParam>(right));
        ASSERT_EQ(left_form < right_form, order < 0);
        ASSERT_EQ(left_form == right_form, order == 0);
    }
}

TEST(IndexForm, IdxKeysAreOrderedByCodeAndThenByIdx)
{
    using Form = qapi::IndexForm<CIdxKey>;
    EXPECT_LT(Form::Of(CIdxKey().Init(0, 0xFFFFFFFF)), Form::Of(CIdxKey().Init(1, 0)));
    EXPECT_LT(Form::Of(CIdxKey().Init(0, 255)), Form::Of(CIdxKey().Init(0, 256)));
}

TEST(IndexForm, KeysOfTheirOwnOrderKeepIt)
{
    using Form = qapi::IndexForm<CBranchesNumKey>;
    CBranchesNumKey low;
    CBranchesNumKey high;
    low.Init(255);
    high.Init(256);
    EXPECT_TRUE(Form::Of(low) < Form::Of(high));
    EXPECT_FALSE(Form::Of(high) < Form::Of(low));
    EXPECT_TRUE(Form::Of(low) == Form::Of(low));
    EXPECT_FALSE(Form::Stored() == Form::Of(low));
}

TEST(IndexForm, KeptKeysAreCopies)
{
    using Form = qapi::IndexForm<CSeqKey>;
    qapi::SortedBlocks<Form::Stored, 4> blocks;
    CSeqKey key;
    for (unsigned number = 20; number > 0; --number) {
        key.Init("01", "20261122", number);
        blocks.Put(Form::Of(key), static_cast<int>(number));
    }
    EXPECT_EQ(walk(blocks), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}));
    key.Init("01", "20261122", 7);
    EXPECT_EQ(blocks.Find(Form::Of(key)), 7);
    EXPECT_TRUE(blocks.Erase(Form::Of(key), 7));
    EXPECT_EQ(blocks.Find(Form::Of(key)), -1);
}

} // namespace
