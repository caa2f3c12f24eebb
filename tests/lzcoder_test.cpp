#include "compress/lzcoder.h"

#include "support/codec_vectors.h"

#include <random>

namespace {

// Into a buffer of just the size that is asked for.
Bytes Coded(const Bytes& plain)
{
    GuardedBuffer out(plain.size() + qapi::LZ_EXTRA);
    const unsigned short len = Compression(plain.data(), out.data(), static_cast<unsigned short>(plain.size()));
    EXPECT_TRUE(out.Intact());
    return out.First(len);
}

int Restored(const Bytes& coded, GuardedBuffer& out, std::size_t room)
{
    const auto len = static_cast<unsigned short>(coded.size());
    const int size = Decompression(coded.data(), out.data(), len, static_cast<int>(room));
    EXPECT_TRUE(out.Intact());
    return size;
}

void ExpectRoundTrip(const Bytes& plain)
{
    GuardedBuffer out(plain.size());
    ASSERT_EQ(Restored(Coded(plain), out, plain.size()), static_cast<int>(plain.size()));
    ASSERT_EQ(out.First(plain.size()), plain);
}

void ExpectRefused(const Bytes& coded)
{
    GuardedBuffer out(100);
    EXPECT_EQ(Restored(coded, out, 100), 0);
}

Bytes Noise(std::size_t len, unsigned seed)
{
    std::mt19937 random(seed);
    Bytes bytes(len);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<unsigned char>(random()); });
    return bytes;
}

// One item, a run of 20: 1 and fifteen bits that mean nothing, then 0, 20 - 16 and the byte.
TEST(LzCoder, SixteenEqualBytesAndMoreAreARun)
{
    EXPECT_EQ(Coded(BytesOf(std::string(20, 'a'))), (Bytes{64, 0x80, 0, 0, 0, 4, 'a'}));
}

TEST(LzCoder, TheLongestRunIs4095)
{
    EXPECT_EQ(Coded(Bytes(8190, 'a')), (Bytes{64, 0xC0, 0, 0, 0x0F, 0xEF, 'a', 0, 0x0F, 0xEF, 'a'}));
    ExpectRoundTrip(Bytes(8190, 'a'));
}

// "abcabcabcabc": three literals and a copy of nine bytes from three back, which takes bytes that it wrote itself:
// 3 * 16 + 9 - 3 = 0x0036. The fourth bit of the control word is set.
TEST(LzCoder, AReferenceMayOverlapItsOwnOutput)
{
    const Bytes coded = Coded(BytesOf("abcabcabcabc"));
    EXPECT_EQ(coded, (Bytes{64, 0x10, 0, 'a', 'b', 'c', 0x00, 0x36}));
    GuardedBuffer out(12);
    EXPECT_EQ(Restored(coded, out, 12), 12);
    EXPECT_EQ(out.First(12), BytesOf("abcabcabcabc"));
}

// Sixteen literals fill the first control word; the reference of eighteen bytes, 17 * 16 + 15, opens the second.
TEST(LzCoder, AControlWordStandsAheadOfEverySixteenItems)
{
    const std::string word = "abcdefghijklmnopq";
    Bytes expected = BytesOf(std::string("@") + std::string(2, '\0') + "abcdefghijklmnop");
    const Bytes second = {0x40, 0x00, 'q', 0x01, 0x1F};
    expected.insert(expected.end(), second.begin(), second.end());
    EXPECT_EQ(Coded(BytesOf(word + word + "a")), expected);
}

TEST(LzCoder, RandomDataAreStored)
{
    const Bytes plain = Noise(1000, 1);
    const Bytes coded = Coded(plain);
    ASSERT_EQ(coded.size(), 1001U);
    EXPECT_EQ(coded[0], 128);
    EXPECT_EQ(Bytes(coded.begin() + 1, coded.end()), plain);
    ExpectRoundTrip(plain);
}

TEST(LzCoder, ShortInputsAreStored)
{
    EXPECT_EQ(Coded({}), Bytes{128});
    EXPECT_EQ(Coded(BytesOf("a")), (Bytes{128, 'a'}));
    EXPECT_EQ(Coded(BytesOf("aa")), (Bytes{128, 'a', 'a'}));
    GuardedBuffer out(0);
    EXPECT_EQ(Restored(Bytes{128}, out, 0), 0);
}

TEST(LzCoder, StaysInsideTheExtraBytesForEveryLength)
{
    const Bytes noise = Noise(600, 2);
    for (std::size_t len = 0; len <= noise.size(); ++len) {
        Bytes plain(noise.begin(), noise.begin() + static_cast<int>(len));
        ASSERT_NO_FATAL_FAILURE(ExpectRoundTrip(plain));
        plain.insert(plain.end(), 17, 'r'); // a run where the output has just reached the input's length
        ASSERT_NO_FATAL_FAILURE(ExpectRoundTrip(plain));
    }
}

TEST(LzCoder, TextsOfAllLengthsReturnIntact)
{
    std::mt19937 random(3);
    for (int i = 0; i < 2000; ++i) {
        Bytes plain(random() % 400);
        std::generate(plain.begin(), plain.end(),
                      [&] { return static_cast<unsigned char>("ab 01\0\0"[random() % 7]); });
        ASSERT_NO_FATAL_FAILURE(ExpectRoundTrip(plain));
    }
}

// Positions behind 32767 don't fit 16 bits with a sign: their matches are found all the same.
TEST(LzCoder, LongInputsAreMatchedToTheirEnd)
{
    const Bytes block = Noise(1000, 4);
    Bytes plain;
    for (int i = 0; i < 66; ++i) {
        plain.insert(plain.end(), block.begin(), block.end());
    }
    plain.resize(65535);
    EXPECT_LT(Coded(plain).size(), 1000U + 65 * 1000 / 18 * 3);
    ExpectRoundTrip(plain);
    plain.resize(40000);
    plain.resize(65535, 'z');
    ExpectRoundTrip(plain);
}

// Sixteen runs of 4095, and in a second group a literal and a reference for the 15 bytes left.
TEST(LzCoder, TheLongestInputIsCompressed)
{
    Bytes expected = {64, 0xFF, 0xFF};
    for (int i = 0; i < 16; ++i) {
        const Bytes run = {0, 0x0F, 0xEF, 0};
        expected.insert(expected.end(), run.begin(), run.end());
    }
    const Bytes second = {0x40, 0x00, 0, 0x00, 0x1B}; // 1 * 16 + 14 - 3
    expected.insert(expected.end(), second.begin(), second.end());
    ASSERT_EQ(expected.size(), 72U);
    EXPECT_EQ(Coded(Bytes(65535, 0)), expected);
    ExpectRoundTrip(Bytes(65535, 0));
}

TEST(LzCoder, AnInputWhoseStoredFormHasNoLengthIsRefused)
{
    EXPECT_TRUE(Coded(Noise(65535, 5)).empty());
    EXPECT_EQ(Coded(Noise(65534, 5)).size(), 65535U);
}

TEST(LzCoder, StreamsThatAreNoneAreRefused)
{
    ExpectRefused({});
    ExpectRefused({0, 1, 2, 3});
    ExpectRefused({64, 0});                     // half a control word
    ExpectRefused({64, 0x80, 0, 0});            // half a reference
    ExpectRefused({64, 0x80, 0, 0, 0, 4});      // a run without its byte
    ExpectRefused({64, 0x80, 0, 0, 0x10});      // nothing to refer to
    ExpectRefused({64, 0x40, 0, 'a', 0, 0x20}); // one byte before the start
}

TEST(LzCoder, ARunAbove4095IsRefused)
{
    GuardedBuffer out(5000);
    EXPECT_EQ(Restored({64, 0x80, 0, 0, 0x0F, 0xEF, 'a'}, out, 5000), 4095);
    EXPECT_EQ(Restored({64, 0x80, 0, 0, 0x0F, 0xF0, 'a'}, out, 5000), 0);
    EXPECT_EQ(Restored({64, 0x80, 0, 0, 0x0F, 0xFF, 'a'}, out, 5000), 0);
}

TEST(LzCoder, EveryRoomTooSmallIsRefusedWithoutAWriteBesideIt)
{
    const Bytes run = Coded(BytesOf("xyzxyzxyzxyzxyz" + std::string(40, 'r') + "tail"));
    const Bytes stored = Coded(BytesOf("tuvwxyz"));
    for (std::size_t room = 0; room < 59; ++room) {
        GuardedBuffer out(room);
        EXPECT_EQ(Restored(run, out, room), 0);
        EXPECT_EQ(Restored(stored, out, std::min<std::size_t>(room, 6)), 0);
    }
    GuardedBuffer out(59);
    EXPECT_EQ(Restored(run, out, 59), 59);
    EXPECT_EQ(Decompression(stored.data(), out.data(), 8, -1), 0);
}

TEST(LzCoder, ACutStreamNeverReadsBehindItsEnd)
{
    const Bytes coded = Coded(BytesOf("xyzxyzxyzxyzxyz" + std::string(40, 'r') + "tail"));
    for (std::size_t size = 0; size < coded.size(); ++size) {
        const Bytes cut(coded.begin(), coded.begin() + static_cast<int>(size)); // of its exact size, for sanitizers
        GuardedBuffer out(59);
        EXPECT_LT(Restored(cut, out, 59), 59);
    }
}

TEST(LzCoder, AgreesWithTheStoredVectors)
{
    const auto lines = VectorLines("lzcoder_vectors.txt");
    EXPECT_GT(lines.size(), 200U);
    for (const auto& line : lines) {
        const Bytes plain = FromPieces(line[1]);
        ASSERT_EQ(Coded(plain), BytesFromHex(line[2])) << line[1];
        ASSERT_NO_FATAL_FAILURE(ExpectRoundTrip(plain));
    }
}

} // namespace
