#include "crypt/idea.h"

#include "crypt/idea_block.h"
#include "crypt/idea_lanes.h"
#include "support/hex.h"
#include "support/idea_key.h"
#include "support/vector_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <utility>

namespace {

using testing::Each;
using testing::ElementsAreArray;

const std::string published_key = FromHex("0001 0002 0003 0004 0005 0006 0007 0008");
const std::string published_plain = FromHex("0000 0001 0002 0003");
const std::string published_cipher = FromHex("11FB ED2B 0198 6DE5");

constexpr Schedule published_schedule = {
    1,  2,  3,  4,  5, 6,    7,     8,     1024,  1536,  2048,  2560,  3072, 3584, 4096, 512, 16, 20,
    24, 28, 32, 4,  8, 12,   10240, 12288, 14336, 16384, 2048,  4096,  6144, 8192, 112,  128, 16, 32,
    48, 64, 80, 96, 0, 8192, 16384, 24576, 32768, 40960, 49152, 57345, 128,  192,  256,  320};

constexpr Schedule published_inverse = {
    65025, 65344, 65280, 26010, 49152, 57345, 65533, 32768, 40960, 52428, 0, 8192, 42326, 65456, 65472, 21163, 16, 32,
    21835, 65424, 57344, 65025, 2048,  4096,  13101, 51200, 53248, 65533, 8, 12,   19115, 65504, 65508, 49153, 16, 20,
    43670, 61440, 61952, 65409, 2048,  2560,  18725, 64512, 65528, 21803, 5, 6,    1,     65534, 65533, 49153};

std::string RandomBytes(std::mt19937& generator, std::size_t count)
{
    std::string bytes(count, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(generator() & 255);
    }
    return bytes;
}

std::string WordsInHex(const Schedule& schedule)
{
    std::string bytes;
    for (const unsigned word : schedule) {
        bytes += static_cast<char>(word >> 8);
        bytes += static_cast<char>(word & 255);
    }
    return ToHex(bytes);
}

Schedule WordsOf(const std::string& hex)
{
    Schedule schedule{};
    for (std::size_t i = 0; i < schedule.size(); ++i) {
        schedule[i] = static_cast<unsigned short>(std::stoi(hex.substr(4 * i, 4), nullptr, 16));
    }
    return schedule;
}

unsigned Product(unsigned left, unsigned right)
{
    const std::uint64_t whole = std::uint64_t{left != 0 ? left : 65536} * (right != 0 ? right : 65536);
    return static_cast<unsigned>(whole % 65537 % 65536);
}

// The cipher as it is written down, with a division for each product.
std::string PlainCipher(const std::string& block, const Schedule& keys)
{
    const auto word_at = [&](std::size_t i) { return BytesOf(block)[2 * i] * 256U + BytesOf(block)[2 * i + 1]; };
    unsigned a = word_at(0);
    unsigned b = word_at(1);
    unsigned c = word_at(2);
    unsigned d = word_at(3);
    const unsigned short* key = keys.data();
    const auto layer = [&] {
        a = Product(a, *key++);
        b = (b + *key++) % 65536;
        c = (c + *key++) % 65536;
        d = Product(d, *key++);
    };
    for (int round = 0; round < 8; ++round) {
        layer();
        const unsigned left = Product(a ^ c, *key++);
        const unsigned right = Product((left + (b ^ d)) % 65536, *key++);
        const unsigned both = (left + right) % 65536;
        a ^= right, b ^= both, c ^= right, d ^= both;
        std::swap(b, c);
    }
    std::swap(b, c);
    layer();
    std::string result;
    for (const unsigned word : {a, b, c, d}) {
        result += static_cast<char>(word >> 8);
        result += static_cast<char>(word & 255);
    }
    return result;
}

TEST(Idea, GivesThePublishedBlock)
{
    EXPECT_EQ(Ciphered(published_plain, Expanded(published_key)), published_cipher);
    EXPECT_EQ(Ciphered(published_cipher, Inverted(Expanded(published_key))), published_plain);
}

TEST(Idea, GivesOtherPublishedBlocks)
{
    const auto cipher = [](const char* key, const char* plain) {
        return ToHex(Ciphered(FromHex(plain), Expanded(FromHex(key))));
    };
    EXPECT_EQ(cipher("80000000000000000000000000000000", "0000000000000000"), "b1f5f7f87901370f");
    EXPECT_EQ(cipher("3A984E2000195DB32EE501C8C47CEA60", "0102030405060708"), "97bcd8200780da86");
    EXPECT_EQ(cipher("006400C8012C019001F4025802BC0320", "05320A6414C819FA"), "65be87e7a2538aed");
    EXPECT_EQ(cipher("9D4075C103BC322AFB03E7BE6AB30006", "0808080808080808"), "f5db1ac45e5ef9f9");
}

TEST(Idea, ExpandsThePublishedSubKeys)
{
    EXPECT_EQ(Expanded(published_key), published_schedule);
}

TEST(Idea, InvertsThePublishedSubKeys)
{
    EXPECT_EQ(Inverted(published_schedule), published_inverse);
}

TEST(Idea, InvertsAScheduleInPlace)
{
    Schedule schedule = published_schedule;
    ideaInvertKey(schedule.data(), schedule.data());
    EXPECT_EQ(schedule, published_inverse);
}

TEST(Idea, InvertingTwiceGivesTheScheduleBack)
{
    std::mt19937 generator(7);
    for (int turn = 0; turn < 500; ++turn) {
        const Schedule schedule = Expanded(RandomBytes(generator, IDEAKEYSIZE));
        EXPECT_EQ(Inverted(Inverted(schedule)), schedule);
    }
    EXPECT_EQ(Inverted(Inverted(Schedule{})), Schedule{});
}

TEST(Idea, MultipliesEveryWordModulo65537)
{
    for (const unsigned other : {0U, 1U, 2U, 3U, 255U, 256U, 21846U, 32767U, 32768U, 43691U, 65534U, 65535U}) {
        unsigned differences = 0;
        for (unsigned word = 0; word < 65536; ++word) {
            const auto left = static_cast<std::uint16_t>(word);
            const auto right = static_cast<std::uint16_t>(other);
            differences += qapi::idea::multiply(left, right) != Product(left, right) ? 1 : 0;
            differences += qapi::idea::multiply(right, left) != Product(left, right) ? 1 : 0;
        }
        EXPECT_EQ(differences, 0U) << other;
    }
}

TEST(Idea, InvertsEveryWordOnBothPaths)
{
    constexpr std::size_t at_a_time = std::tuple_size_v<qapi::idea::Inverses>;
    for (unsigned first = 0; first < 65536; first += at_a_time) {
        qapi::idea::Inverses words{};
        for (std::size_t i = 0; i < at_a_time; ++i) {
            words[i] = static_cast<std::uint16_t>(first + i);
        }
        qapi::idea::Inverses inverses = words;
        qapi::idea::invert_one_by_one(inverses);
        for (std::size_t i = 0; i < at_a_time; ++i) {
            ASSERT_EQ(Product(words[i], inverses[i]), 1U) << words[i];
        }
        if (qapi::idea::has_lanes()) {
            qapi::idea::invert_in_lanes(words);
            ASSERT_EQ(words, inverses);
        }
    }
}

TEST(Idea, TakesAZeroForTheGreatestFactorInEveryPlace)
{
    std::mt19937 generator(65536);
    for (std::size_t key_word = 0; key_word < IDEAKEYLEN; ++key_word) {
        for (unsigned zeros = 0; zeros < 16; ++zeros) {
            Schedule schedule = Expanded(RandomBytes(generator, IDEAKEYSIZE));
            schedule[key_word] = 0;
            std::string block = RandomBytes(generator, IDEABLOCKSIZE);
            for (std::size_t word = 0; word < 4; ++word) {
                if ((zeros >> word & 1U) != 0) {
                    block.replace(2 * word, 2, 2, '\0');
                }
            }
            const std::string cipher = Ciphered(block, schedule);
            ASSERT_EQ(ToHex(cipher), ToHex(PlainCipher(block, schedule))) << key_word << ' ' << zeros;
            ASSERT_EQ(ToHex(Ciphered(cipher, Inverted(schedule))), ToHex(block));
        }
    }
}

TEST(Idea, AScheduleOfZerosIsAKeyLikeAnyOther)
{
    const std::string block(IDEABLOCKSIZE, '\0');
    EXPECT_EQ(ToHex(Ciphered(block, Schedule{})), ToHex(PlainCipher(block, Schedule{})));
    EXPECT_EQ(Ciphered(Ciphered(block, Schedule{}), Inverted(Schedule{})), block);
}

TEST(Idea, CiphersABlockInPlace)
{
    std::string block = published_plain;
    ideaCipher(BytesOf(block), BytesOf(block), published_schedule.data());
    EXPECT_EQ(block, published_cipher);
}

TEST(IdeaCfb, StartsAtTheGivenBytesOrAtZeros)
{
    IdeaCfbContext context;
    std::memset(&context, 0x55, sizeof context);
    ideaCfbReinit(&context, BytesOf(published_cipher));
    EXPECT_THAT(context.iv, ElementsAreArray(BytesOf(published_cipher), IDEABLOCKSIZE));
    EXPECT_EQ(context.bufleft, 0);

    context.bufleft = 3;
    ideaCfbReinit(&context, nullptr);
    EXPECT_THAT(context.iv, Each(0));
    EXPECT_EQ(context.bufleft, 0);
    EXPECT_THAT(context.oldcipher, Each(0x55));
}

TEST(Idea, AgreesWithTheStoredVectors)
{
    const std::vector<VectorLine> lines = read_vectors("idea_vectors.txt");
    EXPECT_EQ(lines.size(), 386U);
    for (const VectorLine& line : lines) {
        const std::string key = FromHex(line.operands[0]);
        std::string result;
        if (line.operation == "expand") {
            result = WordsInHex(Expanded(key));
        } else if (line.operation == "invert") {
            result = WordsInHex(Inverted(WordsOf(line.operands[0])));
        } else if (line.operation == "cipher") {
            result = ToHex(Ciphered(FromHex(line.operands[1]), Expanded(key)));
        } else if (line.operation == "chain") {
            result = ToHex(Encrypted(FromHex(line.operands[1]), key));
            EXPECT_EQ(ToHex(Decrypted(FromHex(line.results[0]), key)), line.operands[1]) << line.text;
        }
        EXPECT_EQ(result, line.results[0]) << line.text;
    }
}

} // namespace
