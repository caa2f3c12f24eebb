#include "crypt/crypt.h"

#include "support/guarded_frame.h"
#include "support/hex.h"
#include "support/idea_key.h"
#include "support/key_store_fixture.h"
#include "support/vector_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include <cstdlib>
#include <cstring>

namespace {

// Session keys of 10 11 12 ... 1F.
void CountingBytes(void* target, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        static_cast<unsigned char*>(target)[i] = static_cast<unsigned char>(0x10 + i);
    }
}

class Crypt : public KeyStoreTest
{
protected:
    Crypt() { system.calls.random_bytes = CountingBytes; }

    static constexpr std::size_t room = CRYPT_MAX_GROWTH + 5;

    static std::string Frame(unsigned short form, const std::string& data)
    {
        GuardedFrame frame(data, 3, room);
        frame.Encrypt(form);
        EXPECT_TRUE(frame.GuardsIntact());
        return frame.Data();
    }

    // What arrives of a frame.
    static std::string Received(unsigned short form, const std::string& bytes, int expected_count)
    {
        GuardedFrame frame(bytes);
        EXPECT_EQ(frame.Decrypt(form), expected_count);
        EXPECT_TRUE(frame.GuardsIntact());
        return frame.Data();
    }

    static void FlipByte(std::string& bytes, std::size_t position)
    {
        bytes[position] = static_cast<char>(bytes[position] ^ 1);
    }
};

constexpr auto key_text = "101112131415161718191a1b1c1d1e1f";
const std::string hello_cipher = "93e76a038eb769cf";
const std::string hello_direct = "0500" + std::string(key_text) + "1213" + hello_cipher;
const std::string hello_unprotected = "eaeb"
                                      "00000000" +
                                      hello_direct;

TEST_F(Crypt, FiveBytesInTheDirectFormGrowByTwentyThree)
{
    GuardedFrame frame("hello", 3, room);
    EXPECT_EQ(frame.Encrypt(IDEA_DIRECT), 23);
    EXPECT_EQ(ToHex(frame.Data()), hello_direct);
    EXPECT_TRUE(frame.GuardsIntact());

    EXPECT_EQ(frame.Decrypt(IDEA_DIRECT), 23);
    EXPECT_EQ(frame.Data(), "hello");
    EXPECT_TRUE(frame.GuardsIntact());
}

// First FF FF .. 01, which a padded block must not end in, as often as `bad_keys_left` tells; then all 11.
int bad_keys_left = 0;
void SuspiciousBytes(void* target, std::size_t count)
{
    auto* bytes = static_cast<unsigned char*>(target);
    std::fill_n(bytes, count, static_cast<unsigned char>(0x11));
    if (bad_keys_left-- > 0) {
        bytes[0] = bytes[1] = 0xFF;
        bytes[3] = 0x01;
    }
}

TEST_F(Crypt, AKeyThatWouldEndLikeAReversedBlockIsDrawnAgain)
{
    system.calls.random_bytes = SuspiciousBytes;
    bad_keys_left = 2;
    EXPECT_EQ(ToHex(Frame(IDEA_DIRECT, "hello")).substr(4, 8), "11111111");
    EXPECT_EQ(bad_keys_left, -1);
}

TEST_F(Crypt, ASourceThatRepeatsItselfIsTakenAsItIs)
{
    system.calls.random_bytes = SuspiciousBytes;
    bad_keys_left = 1000;
    EXPECT_EQ(ToHex(Frame(IDEA_DIRECT, "hello")).substr(4, 8), "ffff1101");
}

TEST_F(Crypt, NoBytesAtAllAreNoFrame)
{
    char nothing = '#';
    for (const unsigned short form : {IDEA_ENCRYPT, RSA_ENCRYPT, IDEA_DIRECT}) {
        EXPECT_EQ(crypt_decrypt_data(0, nullptr, form, 0, 0), 0);
        EXPECT_EQ(crypt_decrypt_data(0, &nothing, form, 0, 0), 0);
    }
    EXPECT_EQ(nothing, '#');
}

// The example of docs/wire_format.md, worked out apart from this code.
TEST_F(Crypt, ReadsAFrameUnderACountingKey)
{
    const std::string frame = FromHex("0500 0102030405060708090a0b0c0d0e0f10 0304 66e3f81f9c7078e0");
    EXPECT_EQ(Received(IDEA_DIRECT, frame, 23), "HELLO");
}

TEST_F(Crypt, TheRsaFormWithoutAStoreSendsAnUnprotectedKey)
{
    EXPECT_EQ(ToHex(Frame(RSA_ENCRYPT, "hello")), hello_unprotected);
    EXPECT_EQ(Received(RSA_ENCRYPT, FromHex(hello_unprotected), 29), "hello");
}

TEST_F(Crypt, NothingIsAHeaderAndNoCipherText)
{
    EXPECT_EQ(ToHex(Frame(IDEA_DIRECT, "")), "0000" + std::string(key_text) + "1213");
    EXPECT_EQ(Received(IDEA_DIRECT, Frame(IDEA_DIRECT, ""), 20), "");
}

TEST_F(Crypt, PaddingIsZero)
{
    const std::string body = FromHex(hello_direct).substr(20);
    EXPECT_EQ(Decrypted(body, FromHex(key_text)), std::string("hello\0\0\0", 8));
}

TEST_F(Crypt, EveryFrameHasAKeyOfItsOwn)
{
    system.calls.random_bytes = Real_System().random_bytes;
    EXPECT_NE(Frame(IDEA_DIRECT, "hello").substr(2, 16), Frame(IDEA_DIRECT, "hello").substr(2, 16));
}

TEST_F(Crypt, EveryLengthComesBack)
{
    for (std::size_t length = 0; length <= 300; ++length) {
        const std::string data(length, 'd');
        const int rest = static_cast<int>((8 - length % 8) % 8);
        EXPECT_EQ(Received(IDEA_DIRECT, Frame(IDEA_DIRECT, data), 20 + rest), data);
        EXPECT_EQ(Received(RSA_ENCRYPT, Frame(RSA_ENCRYPT, data), 26 + rest), data);
    }
}

TEST_F(Crypt, TheLongestDataComeBack)
{
    const std::string data(MAX_BUFF_LEN, 'd');
    EXPECT_EQ(Received(IDEA_DIRECT, Frame(IDEA_DIRECT, data), 20), data);
}

TEST_F(Crypt, LongerDataBecomeZerosAndDoNotGrow)
{
    GuardedFrame frame(std::string(MAX_BUFF_LEN + 1, 'd'), 3, room);
    EXPECT_EQ(frame.Encrypt(IDEA_DIRECT), 0);
    EXPECT_EQ(frame.Data(), std::string(MAX_BUFF_LEN + 1, '\0'));
    EXPECT_TRUE(frame.GuardsIntact());
}

TEST_F(Crypt, AnEndBeforeTheStartChangesNothing)
{
    char data[] = "0123456789";
    for (const unsigned short form : {IDEA_ENCRYPT, RSA_ENCRYPT, IDEA_DIRECT}) {
        EXPECT_EQ(crypt_encrypt_data(0, data, form, 5, 4), 0);
        EXPECT_EQ(crypt_decrypt_data(0, data, form, 5, 4), 0);
    }
    EXPECT_STREQ(data, "0123456789");
}

TEST_F(Crypt, AChangedCheckWordYieldsZerosAndTheSameResult)
{
    std::string frame = FromHex(hello_direct);
    FlipByte(frame, 18);
    EXPECT_EQ(Received(IDEA_DIRECT, frame, 23), std::string(5, '\0'));
    frame = FromHex(hello_direct);
    FlipByte(frame, 19);
    EXPECT_EQ(Received(IDEA_DIRECT, frame, 23), std::string(5, '\0'));
    frame = FromHex(hello_unprotected);
    FlipByte(frame, 25);
    EXPECT_EQ(Received(RSA_ENCRYPT, frame, 29), std::string(5, '\0'));
}

TEST_F(Crypt, AChangedCheckWordLeavesWhatStandsBehindTheData)
{
    std::string frame = FromHex(hello_direct) + "behind";
    FlipByte(frame, 18);
    EXPECT_EQ(ToHex(Received(IDEA_DIRECT, frame, 23)), "0000000000" + ToHex(frame.substr(5, 6)));
}

TEST_F(Crypt, ACutFrameBecomesZeros)
{
    const std::string whole = FromHex(hello_direct);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const int count = static_cast<int>(length < 20 ? length : std::min<std::size_t>(length, 23));
        const std::string received = Received(IDEA_DIRECT, whole.substr(0, length), count);
        EXPECT_EQ(received, std::string(length - static_cast<std::size_t>(count), '\0')) << length;
    }
}

TEST_F(Crypt, AFrameShorterThanItsHeaderIsAllZerosAndCountsWhole)
{
    char bytes[30];
    for (const unsigned short form : {RSA_ENCRYPT, IDEA_DIRECT}) {
        const int header = form == IDEA_DIRECT ? 20 : 26;
        std::memset(bytes, 'x', sizeof bytes);
        EXPECT_EQ(crypt_decrypt_data(0, bytes, form, 2, static_cast<unsigned short>(2 + header - 1)), header - 1);
        EXPECT_EQ(std::string(bytes, sizeof bytes),
                  "xx" + std::string(static_cast<std::size_t>(header - 1), '\0') +
                      std::string(sizeof bytes - static_cast<std::size_t>(header) - 1, 'x'));
    }
}

TEST_F(Crypt, ALengthThatIsNotThereIsCutToTheBuffer)
{
    std::string frame = FromHex(hello_direct);
    frame[0] = '\xFF';
    frame[1] = '\xFF';
    EXPECT_EQ(Received(IDEA_DIRECT, frame, 21), std::string(7, '\0'));
    frame[0] = 9;
    frame[1] = 0;
    EXPECT_EQ(Received(IDEA_DIRECT, frame, 27), std::string(1, '\0'));
}

TEST_F(Crypt, ThePlainFormIgnoresBytesWithoutItsMark)
{
    EXPECT_EQ(Received(IDEA_ENCRYPT, "plain data, longer than any header", 0), "plain data, longer than any header");
    EXPECT_EQ(Received(IDEA_ENCRYPT, "x", 0), "x");
    EXPECT_EQ(Received(IDEA_ENCRYPT, "", 0), "");
    EXPECT_EQ(Received(IDEA_ENCRYPT, FromHex(hello_unprotected), 0), FromHex(hello_unprotected));
}

TEST_F(Crypt, ThePlainFormIsDecryptedWhateverTheEnvironmentSays)
{
    EXPECT_EQ(Received(IDEA_ENCRYPT,
                       FromHex("ebea"
                               "00000000" +
                               hello_direct),
                       29),
              "hello");
}

TEST_F(Crypt, AHeaderLengthOfTwentyEightIsTold)
{
    EXPECT_EQ(crypt_idea_header_len(), 28);
}

// The environment is looked at once in a process, so each case has a child of its own. Exit code: the bits that hold.
[[noreturn]] void EncryptTwice(const char* first_value, const char* second_value)
{
    const auto set = [](const char* value) { value != nullptr ? setenv("CRYPT", value, 1) : unsetenv("CRYPT"); };
    int result = 0;
    set(first_value);
    GuardedFrame first("hello", 3, 40);
    result |= first.Encrypt(IDEA_ENCRYPT) == 29 && ToHex(first.Data()) == "ebea"
                                                                          "00000000" +
                                                                              hello_direct
                  ? 1
                  : 0;
    result |= first.Data() == "hello" ? 2 : 0;
    set(second_value);
    GuardedFrame second("hello", 3, 40);
    result |= second.Encrypt(IDEA_ENCRYPT) == 29 ? 4 : 0;
    result |= second.Data() == "hello" ? 8 : 0;
    GuardedFrame longest(std::string(MAX_BUFF_LEN + 1, 'd'), 3, 40);
    longest.Encrypt(IDEA_ENCRYPT);
    result |= longest.Data()[0] == 'd' ? 16 : 0;
    std::_Exit(result);
}

using CryptDeathTest = Crypt;

TEST_F(CryptDeathTest, ThePlainFormEncryptsFromThenOnIfTheVariableIsSet)
{
    EXPECT_EXIT(EncryptTwice("", nullptr), testing::ExitedWithCode(1 + 4), "");
}

TEST_F(CryptDeathTest, ThePlainFormDoesNothingFromThenOnIfTheVariableIsNotSet)
{
    EXPECT_EXIT(EncryptTwice(nullptr, "1"), testing::ExitedWithCode(2 + 8 + 16), "");
}

TEST_F(Crypt, AFormOfNoNameTravelsWithoutAMark)
{
    EXPECT_EQ(ToHex(Frame(7, "hello")), "000000000000" + hello_direct);
    EXPECT_EQ(Received(7, Frame(7, "hello"), 29), "hello");
}

TEST_F(Crypt, DecryptsTheStoredFrames)
{
    int frames = 0;
    for (const VectorLine& line : read_vectors("crypt_vectors.txt")) {
        if (line.operation == "decrypt" && line.operands[1] == "-") {
            const auto form = static_cast<unsigned short>(std::stoi(line.operands[0]));
            const std::string data = Received(form, FromHex(line.operands[3]), std::stoi(line.results[0]));
            EXPECT_EQ(data, FromHex(line.results[1])) << line.text;
            ++frames;
        }
    }
    EXPECT_EQ(frames, 249);
}

} // namespace
