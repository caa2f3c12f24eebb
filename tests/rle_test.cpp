#include "compress/rle.h"

#include "support/codec_vectors.h"

#include <memory>
#include <random>

namespace {

Bytes Compressed(const Bytes& plain, unsigned short len)
{
    GuardedBuffer in(plain.size());
    std::copy(plain.begin(), plain.end(), in.data());
    GuardedBuffer out(RLE_HEADER_LEN + plain.size());
    const unsigned short size = RLE_Compression(in.data(), out.data(), len);
    EXPECT_TRUE(out.Intact());
    EXPECT_LE(size, RLE_HEADER_LEN + plain.size());
    return out.First(size);
}

Bytes Compressed(const Bytes& plain)
{
    return Compressed(plain, static_cast<unsigned short>(plain.size()));
}

// From an allocation that ends with the block, so that sanitizers see a read behind it.
int Restored(const Bytes& block, GuardedBuffer& out)
{
    const auto in = std::make_unique<unsigned char[]>(block.size());
    std::copy(block.begin(), block.end(), in.get());
    const int len = RLE_Decompression(in.get(), out.data(), 4711, static_cast<int>(block.size()));
    EXPECT_TRUE(out.Intact());
    return len;
}

void ExpectRoundTrip(const Bytes& plain)
{
    GuardedBuffer out(plain.size());
    EXPECT_EQ(Restored(Compressed(plain), out), static_cast<int>(plain.size()));
    EXPECT_EQ(out.First(plain.size()), plain);
}

Bytes HeaderOf(unsigned short len)
{
    Bytes block(40, 0);
    block[0] = static_cast<unsigned char>(len);
    block[1] = static_cast<unsigned char>(len >> 8);
    return block;
}

TEST(Rle, AnAllZeroBlockIsItsHeader)
{
    const Bytes plain(2048, 0);
    const Bytes block = Compressed(plain);
    EXPECT_EQ(block, HeaderOf(2048));
    EXPECT_EQ(block[1], 8);
    ExpectRoundTrip(plain);
}

// Word 0 and word 9: bit 0 of the mask's last byte and bit 1 of the one before it.
TEST(Rle, MasksAreBigEndian)
{
    Bytes plain(80, 0);
    plain[3] = 'a';
    plain[79] = 'z';
    Bytes expected = HeaderOf(80);
    expected[15] = 0x01;
    expected[14] = 0x02;
    const Bytes words = {0, 0, 0, 'a', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 'z'};
    expected.insert(expected.end(), words.begin(), words.end());
    EXPECT_EQ(Compressed(plain), expected);
    ExpectRoundTrip(plain);
}

TEST(Rle, ThreeWordsOfWhichTheSecondIsZero)
{
    const Bytes plain = BytesFromHex("4142434445464748 0000000000000000 0000000000000001");
    EXPECT_EQ(Compressed(plain), BytesFromHex("1800000000000000"
                                              "0000000000000005 0000000000000000"
                                              "0000000000000000 0000000000000000"
                                              "4142434445464748 0000000000000001"));
    ExpectRoundTrip(plain);
}

TEST(Rle, EachGroupOfSixtyFourWordsHasItsMask)
{
    Bytes plain(2048, 0);
    plain[0] = 1;          // word 0 of group 0
    plain[512 + 8] = 2;    // word 1 of group 1
    plain[1024 + 504] = 3; // word 63 of group 2
    plain[1536 + 56] = 4;  // word 7 of group 3
    const Bytes block = Compressed(plain);
    ASSERT_EQ(block.size(), 40U + 4 * 8);
    EXPECT_EQ(
        Bytes(block.begin() + 8, block.begin() + 40),
        (Bytes{0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 2, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80}));
    ExpectRoundTrip(plain);
}

TEST(Rle, ABlockWithoutAZeroWordGrowsByItsHeader)
{
    const Bytes plain(1024, 7);
    EXPECT_EQ(Compressed(plain).size(), 1064U);
    ExpectRoundTrip(plain);
    ExpectRoundTrip(Bytes(2048, 7));
}

TEST(Rle, MoreThan2048BytesAreRefused)
{
    GuardedBuffer in(2056);
    GuardedBuffer out(2104);
    EXPECT_EQ(RLE_Compression(in.data(), out.data(), 2049), 65535);
    EXPECT_EQ(RLE_Compression(in.data(), out.data(), 65535), 65535);
    EXPECT_TRUE(out.UntouchedFrom(0));
}

TEST(Rle, BuffersOffTheirAlignmentAreRefused)
{
    GuardedBuffer in(128);
    GuardedBuffer out(256);
    std::fill_n(in.data(), 128, static_cast<unsigned char>(0));
    for (int off = 1; off < 8; ++off) {
        EXPECT_EQ(RLE_Compression(in.data() + off, out.data(), 16), 65535);
        EXPECT_EQ(RLE_Compression(in.data(), out.data() + off, 16), 65535);
        EXPECT_EQ(RLE_Decompression(in.data() + off, out.data(), 0), 0);
        EXPECT_EQ(RLE_Decompression(in.data(), out.data() + off, 0), 0);
    }
    EXPECT_TRUE(out.UntouchedFrom(0));
}

TEST(Rle, BytesBehindTheLengthCountInTheLastWord)
{
    Bytes plain(16, 0);
    plain[12] = 5; // behind the length
    const Bytes block = Compressed(plain, 9);
    ASSERT_EQ(block.size(), 48U);
    EXPECT_EQ(block[0], 9);
    EXPECT_EQ(block[44], 5);
    GuardedBuffer out(16);
    EXPECT_EQ(Restored(block, out), 9);
    EXPECT_EQ(out.data()[12], 5); // written with its word
}

TEST(Rle, BytesBehindTheLengthStayWhenTheLastWordIsZero)
{
    GuardedBuffer out(16);
    EXPECT_EQ(Restored(Compressed(Bytes(16, 0), 9), out), 9);
    EXPECT_EQ(out.First(9), Bytes(9, 0));
    EXPECT_TRUE(out.UntouchedFrom(9));
}

TEST(Rle, NothingIsAHeader)
{
    EXPECT_EQ(Compressed({}), HeaderOf(0));
    GuardedBuffer out(8);
    EXPECT_EQ(Restored(HeaderOf(0), out), 0);
    EXPECT_TRUE(out.UntouchedFrom(0));
}

TEST(Rle, TheLengthIsReadFromTheBlock)
{
    GuardedBuffer in(40);
    std::fill_n(in.data(), 40, static_cast<unsigned char>(0));
    in.data()[0] = 100;
    GuardedBuffer out(104);
    EXPECT_EQ(RLE_Decompression(in.data(), out.data(), 7), 100);
}

TEST(Rle, ABlockOfMoreThan2048BytesIsRefused)
{
    GuardedBuffer out(2048);
    EXPECT_EQ(Restored(HeaderOf(2049), out), 0);
    EXPECT_EQ(Restored(HeaderOf(65535), out), 0);
    EXPECT_TRUE(out.UntouchedFrom(0));
}

TEST(Rle, ABlockThatIsCutOffAnywhereIsRefused)
{
    Bytes plain(200, 0);
    plain[0] = plain[100] = plain[199] = 1;
    const Bytes block = Compressed(plain);
    for (std::size_t size = 0; size < block.size(); ++size) {
        GuardedBuffer out(200);
        EXPECT_EQ(Restored({block.begin(), block.begin() + static_cast<int>(size)}, out), 0);
        EXPECT_TRUE(out.UntouchedFrom(0));
    }
}

TEST(Rle, MaskBitsBehindTheBlocksWordsAreIgnored)
{
    Bytes block = HeaderOf(16); // two words
    std::fill(block.begin() + 8, block.begin() + 40, static_cast<unsigned char>(0xFF));
    const Bytes words = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    block.insert(block.end(), words.begin(), words.end());
    GuardedBuffer out(16);
    EXPECT_EQ(Restored(block, out), 16);
    EXPECT_EQ(out.First(16), words);
}

TEST(Rle, InitReturnsItsArgument)
{
    EXPECT_EQ(RLE_init(2048), 2048);
}

TEST(Rle, BlocksOfEveryLengthReturnIntact)
{
    std::mt19937 random(1);
    for (unsigned len = 0; len <= 2048; ++len) {
        Bytes plain((len + 7) / 8 * 8, 0);
        for (std::size_t at = 0; at < len; at += 1 + random() % 40) {
            plain[at] = static_cast<unsigned char>(random());
        }
        GuardedBuffer out(plain.size());
        ASSERT_EQ(Restored(Compressed(plain, static_cast<unsigned short>(len)), out), static_cast<int>(len));
        ASSERT_EQ(out.First(len), Bytes(plain.begin(), plain.begin() + static_cast<int>(len)));
    }
}

TEST(Rle, AgreesWithTheStoredVectors)
{
    const auto lines = VectorLines("rle_vectors.txt");
    EXPECT_GT(lines.size(), 100U);
    for (const auto& line : lines) {
        const auto len = static_cast<unsigned short>(std::stoul(line[1]));
        const Bytes plain = FromPieces(line[2]);
        const Bytes block = BytesFromHex(line[3]);
        ASSERT_EQ(Compressed(plain, len), block) << line[1];
        GuardedBuffer out(plain.size());
        ASSERT_EQ(Restored(block, out), len);
        ASSERT_EQ(out.First(len), Bytes(plain.begin(), plain.begin() + len));
    }
}

} // namespace
