#include "qcapi/support.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

unsigned Checksum(const std::string& bytes, unsigned start = 0)
{
    return COMMON_Get_Crc32(bytes.data(), static_cast<int>(bytes.size()), start);
}

// One bit at a time, from the polynomial alone.
unsigned OneByteMore(unsigned crc, char byte)
{
    crc ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) {
        crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0U);
    }
    return crc;
}

std::vector<char> RandomBytes(std::size_t count)
{
    std::mt19937 generator(20231114);
    std::vector<char> bytes(count);
    for (char& byte : bytes) {
        byte = static_cast<char>(generator() & 255);
    }
    return bytes;
}

// The published values are those of the whole CRC-32, with the closing complement that ours leaves out.
TEST(Crc32, GivesThePublishedValues)
{
    EXPECT_EQ(~Checksum("123456789"), 0xCBF43926U);
    EXPECT_EQ(~Checksum("a"), 0xE8B7BE43U);
    EXPECT_EQ(~Checksum("abc"), 0x352441C2U);
    EXPECT_EQ(~Checksum("The quick brown fox jumps over the lazy dog"), 0x414FA339U);
    EXPECT_EQ(~Checksum(std::string(32, '\0')), 0x190A55ADU);
    EXPECT_EQ(~Checksum(std::string(32, '\xFF')), 0xFF6CAB0BU);
}

TEST(Crc32, GivesThePublishedValueOfEightyDigits)
{
    std::string digits;
    for (int ten = 0; ten < 8; ++ten) {
        digits += "1234567890";
    }
    EXPECT_EQ(~Checksum(digits), 0x7CA94A72U);
}

TEST(Crc32, OfNothingIsTheStartValue)
{
    EXPECT_EQ(COMMON_Get_Crc32("", 0, 0), 0xFFFFFFFFU);
    EXPECT_EQ(COMMON_Get_Crc32(nullptr, 0, 0x12345678), 0x12345678U);
}

TEST(Crc32, ANegativeLengthAddsNothing)
{
    EXPECT_EQ(COMMON_Get_Crc32("abc", -1, 0), 0xFFFFFFFFU);
    EXPECT_EQ(COMMON_Get_Crc32("abc", -2147483647 - 1, 0x12345678), 0x12345678U);
}

TEST(Crc32, EqualsTheBitLoopForEveryLengthAndAlignment)
{
    constexpr int longest = 2100;
    const std::vector<char> bytes = RandomBytes(longest + 17);
    for (int offset = 0; offset < 17; ++offset) {
        unsigned expected = 0xFFFFFFFF;
        for (int length = 0; length <= longest; ++length) {
            ASSERT_EQ(COMMON_Get_Crc32(bytes.data() + offset, length, 0), expected) << length << " at " << offset;
            expected =
                OneByteMore(expected, bytes[static_cast<std::size_t>(offset) + static_cast<std::size_t>(length)]);
        }
    }
}

TEST(Crc32, EqualsTheBitLoopForManyStartValues)
{
    const std::vector<char> bytes = RandomBytes(300);
    for (const unsigned start : {1U, 0x80000000U, 0xFFFFFFFFU, 0xEDB88320U, 0x01234567U, 0xDEADBEEFU}) {
        unsigned expected = start;
        for (int length = 0; length < 300; ++length) {
            ASSERT_EQ(COMMON_Get_Crc32(bytes.data(), length, start), expected) << length << " from " << start;
            expected = OneByteMore(expected, bytes[static_cast<std::size_t>(length)]);
        }
    }
}

TEST(Crc32, ReadsNothingBehindItsBytes)
{
    const std::vector<char> bytes = RandomBytes(200);
    for (std::size_t length = 1; length < bytes.size(); ++length) {
        const std::vector<char> exact(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(COMMON_Get_Crc32(exact.data(), static_cast<int>(length), 0),
                  COMMON_Get_Crc32(bytes.data(), static_cast<int>(length), 0));
    }
}

TEST(Crc32, PiecesOfAnySizeGiveTheWhole)
{
    const std::vector<char> bytes = RandomBytes(2100);
    const unsigned whole = COMMON_Get_Crc32(bytes.data(), 2100, 0);
    for (const int piece : {1, 7, 8, 60, 63, 64, 65, 127, 1000, 2099}) {
        unsigned running = 0;
        for (int done = 0; done < 2100; done += piece) {
            running = COMMON_Get_Crc32(bytes.data() + done, std::min(piece, 2100 - done), running);
        }
        EXPECT_EQ(running, whole) << piece;
    }
}

TEST(Crc32, ARunningValueOfZeroStartsAgain)
{
    const unsigned running = Checksum("\xFF\xFF\xFF\xFF");
    EXPECT_EQ(running, 0U);
    EXPECT_EQ(~Checksum("123456789", running), 0xCBF43926U);
}

} // namespace
