#include "crypt/idea.h"

#include "crypt/idea_lanes.h"
#include "support/hex.h"
#include "support/idea_key.h"

#include <gtest/gtest.h>

#include <random>

namespace {

const std::string key = FromHex("0001 0002 0003 0004 0005 0006 0007 0008");

// Key and block of the published vector. The initial value is 0100 0200 0300 0400, so this first block meets the cipher
// as 0000 0001 0002 0003, and so does the second, after the first cipher block.
const std::string plain = FromHex("01 00 02 01 03 02 04 03"
                                  "11 FB ED 2A 01 9A 6D E6");
const std::string cipher = FromHex("11 FB ED 2B 01 98 6D E5"
                                   "11 FB ED 2B 01 98 6D E5");

std::string RandomBytes(std::mt19937& generator, std::size_t count)
{
    std::string bytes(count, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(generator() & 255);
    }
    return bytes;
}

TEST(IdeaChain, StartsAtTheSubKeysInLittleEndianOrder)
{
    EXPECT_EQ(ToHex(Encrypted(plain, key)), ToHex(cipher));
    EXPECT_EQ(ToHex(Decrypted(cipher, key)), ToHex(plain));
}

TEST(IdeaChain, IsFixedByTheKey)
{
    EXPECT_EQ(Encrypted(plain, key), Encrypted(plain, key));
}

TEST(IdeaChain, LeavesAPartialBlockAlone)
{
    for (std::size_t length = 0; length < 8; ++length) {
        const std::string data(length, 'x');
        EXPECT_EQ(Encrypted(data, key), data);
        EXPECT_EQ(Decrypted(data, key), data);
    }
    EXPECT_EQ(Encrypted(plain + "seven b", key), cipher + "seven b");
    EXPECT_EQ(Decrypted(cipher + "seven b", key), plain + "seven b");
}

TEST(IdeaChain, TakesANegativeLengthForNothing)
{
    std::string data = plain;
    const Schedule schedule = Expanded(key);
    DataEncrypt(schedule.data(), BytesOf(data), BytesOf(data), -8);
    DataDecrypt(schedule.data(), schedule.data(), BytesOf(data), BytesOf(data), -8);
    EXPECT_EQ(data, plain);
}

TEST(IdeaChain, WritesNothingBehindTheWholeBlocks)
{
    const Schedule schedule = Expanded(key);
    const Schedule inverse = Inverted(schedule);
    for (int length = 0; length < 150; ++length) {
        const std::size_t whole = static_cast<std::size_t>(length) / 8 * 8;
        const std::string data(200, 'p');
        std::string target(200, 'g');
        DataEncrypt(schedule.data(), BytesOf(data), BytesOf(target), length);
        EXPECT_EQ(target.substr(whole), std::string(200 - whole, 'g'));
        DataDecrypt(schedule.data(), inverse.data(), BytesOf(target), BytesOf(target), length);
        EXPECT_EQ(target, std::string(whole, 'p') + std::string(200 - whole, 'g'));
    }
}

TEST(IdeaChain, DecryptsIntoAnotherBufferAsInPlace)
{
    std::mt19937 generator(3);
    const Schedule schedule = Expanded(key);
    const Schedule inverse = Inverted(schedule);
    for (std::size_t length = 8; length <= 400; length += 8) {
        const std::string data = RandomBytes(generator, length);
        const std::string encrypted = Encrypted(data, key);
        std::string target(length, '\0');
        DataDecrypt(schedule.data(), inverse.data(), BytesOf(encrypted), BytesOf(target), static_cast<int>(length));
        EXPECT_EQ(target, data);
        EXPECT_EQ(Decrypted(encrypted, key), data);
    }
}

TEST(IdeaChain, GivesTheSameOneBlockOrEightAtATime)
{
    if (!qapi::idea::has_lanes()) {
        return; // this processor has one path
    }
    std::mt19937 generator(8);
    for (int blocks = 0; blocks <= 40; ++blocks) {
        const Schedule inverse = Inverted(Expanded(RandomBytes(generator, IDEAKEYSIZE)));
        const std::string data = RandomBytes(generator, static_cast<std::size_t>(blocks) * 8);
        std::string by_one(data.size(), '\0');
        std::string by_eight(data.size(), '\0');
        std::uint64_t chain_by_one = 0x0102030405060708;
        std::uint64_t chain_by_eight = chain_by_one;
        qapi::idea::decrypt_one_by_one(inverse.data(), chain_by_one, BytesOf(data), BytesOf(by_one), blocks);
        qapi::idea::decrypt_in_lanes(inverse.data(), chain_by_eight, BytesOf(data), BytesOf(by_eight), blocks);
        EXPECT_EQ(ToHex(by_one), ToHex(by_eight));
        EXPECT_EQ(chain_by_one, chain_by_eight);
    }
}

} // namespace
