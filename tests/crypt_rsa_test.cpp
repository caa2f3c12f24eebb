#include "crypt/crypt.h"
#include "crypt/rsa.h"

#include "support/guarded_frame.h"
#include "support/hex.h"
#include "support/idea_key.h"
#include "support/key_store_fixture.h"
#include "support/vector_file.h"

#include <boost/multiprecision/cpp_int.hpp>
#include <gtest/gtest.h>

#include <map>

namespace {

using Integer = boost::multiprecision::cpp_int;

constexpr unsigned machine_a = 0x41;     // "A"
constexpr unsigned machine_b = 0x004242; // "BB"
constexpr unsigned machine_c = 0x80000043;

Integer Number(const std::string& little_endian)
{
    Integer value = 0;
    for (std::size_t i = little_endian.size(); i-- > 0;) {
        value = value * 256 + static_cast<unsigned char>(little_endian[i]);
    }
    return value;
}

// The 63 bytes below a modulus of 64, most significant first, of a number raised to a power.
std::string Raised(const std::string& number, const char* exponent, const char* modulus)
{
    Integer value = powm(Number(number), Integer(std::string("0x") + exponent), Integer(std::string("0x") + modulus));
    std::string block(63, '\0');
    for (std::size_t i = block.size(); i-- > 0; value >>= 8) {
        block[i] = static_cast<char>(static_cast<unsigned>(value & 255));
    }
    EXPECT_EQ(value, 0);
    return block;
}

class CryptRsa : public KeyStoreTest
{
protected:
    CryptRsa()
    {
        crypt_set_keys((ListEntry(machine_a, key_of_a) + ListEntry(machine_b, key_of_b) +
                        ListEntry(machine_c, key_of_c) + LittleEndian(0))
                           .c_str());
        Become("A", key_of_a);
    }

    void Become(const char* name, const RsaKeyText& key)
    {
        WriteFile(RecordBytes(key, "01022003"), std::string(record_size, 'x'));
        ASSERT_EQ(crypt_init(file_name, name, "secret", nullptr), 0);
    }

    static std::string Frame(const std::string& data, unsigned dest)
    {
        GuardedFrame frame(data, 3, CRYPT_MAX_GROWTH + 5);
        frame.Encrypt(RSA_ENCRYPT, dest);
        EXPECT_TRUE(frame.GuardsIntact());
        return frame.Data();
    }

    static std::string Received(const std::string& bytes, int expected_count)
    {
        GuardedFrame frame(bytes);
        EXPECT_EQ(frame.Decrypt(RSA_ENCRYPT), expected_count);
        EXPECT_TRUE(frame.GuardsIntact());
        return frame.Data();
    }

    // The key travels in the clear, and the frame can be read by anybody.
    static void ExpectUnprotected(const std::string& frame)
    {
        EXPECT_EQ(frame.size(), 26U + 8U);
        EXPECT_EQ(ToHex(frame.substr(0, 8)), "eaeb000000000500");
        EXPECT_EQ(frame.substr(24, 2), frame.substr(10, 2));
        EXPECT_EQ(Decrypted(frame.substr(26), frame.substr(8, 16)).substr(0, 5), "hello");
    }

    // Every frame of this machine but those to `dest` is protected, before and after.
    void ExpectUnprotectedUnder(const RsaKeyText& key_of_dest)
    {
        crypt_set_keys((ListEntry(machine_b, key_of_dest) + LittleEndian(0)).c_str());
        ExpectUnprotected(Frame("hello", machine_b));
        EXPECT_EQ(Frame("hello", machine_c).size(), 76U + 8U);
    }
};

TEST_F(CryptRsa, AFrameIsReadByItsReceiver)
{
    const std::string frame = Frame("hello", machine_b);
    Become("BB", key_of_b);
    EXPECT_EQ(Received(frame, 76 + 3), "hello");
}

TEST_F(CryptRsa, EveryLengthComesBack)
{
    for (std::size_t length = 0; length <= 24; ++length) {
        const std::string data(length, 'd');
        const std::string frame = Frame(data, machine_a);
        EXPECT_EQ(frame.size(), 76 + (length + 7) / 8 * 8);
        EXPECT_EQ(Received(frame, static_cast<int>(frame.size() - length)), data);
    }
}

// Taken apart with plain arithmetic: under the receiver's key lie 60 bytes, which with the last four of the header are
// 18 bytes under the sender's.
TEST_F(CryptRsa, ProtectsTheKeyInTwoLayers)
{
    const std::string frame = Frame("hello", machine_b);
    EXPECT_EQ(ToHex(frame.substr(0, 8)), "eaeb410000000500");

    const std::string outer = Raised(frame.substr(8, 64), key_of_b.d, key_of_b.n);
    EXPECT_EQ(outer[0], 2);
    EXPECT_NE(outer[1], 0);
    EXPECT_EQ(outer[2], 0);

    const std::string inner = Raised(outer.substr(3) + frame.substr(72, 4), key_of_a.e, key_of_a.n);
    EXPECT_EQ(ToHex(inner.substr(0, 45)), "01" + ToHex(std::string(43, '\xFF')) + "00");
    const std::string key = inner.substr(45, 16);
    EXPECT_EQ(inner.substr(61), key.substr(2, 2));
    EXPECT_EQ(Decrypted(frame.substr(76), key), std::string("hello\0\0\0", 8));
}

TEST_F(CryptRsa, AnUnknownReceiverGetsAnUnprotectedKey)
{
    ExpectUnprotected(Frame("hello", 77));
}

TEST_F(CryptRsa, AStoreThatIsNotOpenSendsAnUnprotectedKey)
{
    for (const int result : {5, 6, 9, 10, 11}) {
        init_value = static_cast<unsigned short>(result);
        ExpectUnprotected(Frame("hello", machine_b));
    }
}

TEST_F(CryptRsa, AMachineWithoutIdentitySendsAnUnprotectedKey)
{
    Become("", key_of_a);
    ExpectUnprotected(Frame("hello", machine_b));
}

TEST_F(CryptRsa, AWipedStoreSendsAnUnprotectedKey)
{
    crypt_end();
    crypt_set_keys((ListEntry(machine_b, key_of_b) + LittleEndian(0)).c_str());
    ExpectUnprotected(Frame("hello", machine_b));
}

TEST_F(CryptRsa, AReceiversKeyThatFailsIsNotUsed)
{
    RsaKeyText key = key_of_b;
    key.n = "0";
    ExpectUnprotectedUnder(key);
    key.n = "1";
    ExpectUnprotectedUnder(key);
    key.n = "ffffffffffffffffffffffffffffffff"; // no room for 60 bytes
    ExpectUnprotectedUnder(key);
}

TEST_F(CryptRsa, AnOwnKeyThatFailsIsNotUsed)
{
    Actual_Key.v_n[15] = 0; // no longer a 512-bit modulus, but its numbers are those of one
    std::fill(std::begin(Actual_Key.v_n) + 4, std::end(Actual_Key.v_n), 0U);
    ExpectUnprotected(Frame("hello", machine_b));
}

TEST_F(CryptRsa, AnOwnModulusOfMoreThan512BitsIsNotUsed)
{
    for (const int unit_above : {16, MAX_UNIT_PRECISION - 1}) {
        Actual_Key.v_n[unit_above] = 1;
        ExpectUnprotected(Frame("hello", machine_b));
        Actual_Key.v_n[unit_above] = 0;
    }
    EXPECT_EQ(Frame("hello", machine_b).size(), 76U + 8U);
}

TEST_F(CryptRsa, ReceptionNeedsKeysAndNoSuccessfulInit)
{
    const std::string frame = Frame("hello", machine_a);
    init_value = 5;
    EXPECT_EQ(Received(frame, 79), "hello");
}

// "hello" under a protected key, the inner layer over `length` bytes.
std::string HandMadeFrame(unsigned length)
{
    const std::string key = "0123456789abcdef";
    const std::string inner = key + key.substr(2, 2) + "more";
    unsigned char block[18 * sizeof(unit)] = {};
    std::copy(inner.begin(), inner.end(), block);
    const key_data& own = Actual_Key;
    global_precision = 18;
    EXPECT_EQ(rsa_private_encrypt(block, block, length, own.v_e, own.v_d, own.v_p, own.v_q, own.v_u, own.v_n), 0);
    const std::string rest(block + 60, block + 64);
    EXPECT_EQ(rsa_public_encrypt(block, block, 60, own.v_e, own.v_n), 0);
    return FromHex("eaeb") + LittleEndian(machine_a) + FromHex("0500") + std::string(block, block + 64) + rest +
           Encrypted(std::string("hello\0\0\0", 8), key);
}

TEST_F(CryptRsa, TheInnerLayerHoldsKeyAndCheckWordAndNoMore)
{
    EXPECT_EQ(Received(HandMadeFrame(18), 79), "hello");
    EXPECT_EQ(Received(HandMadeFrame(19), 79), std::string(5, '\0'));
}

TEST_F(CryptRsa, TheHeaderIsAsWideAsItsKeysWhateverPrecisionWasInForce)
{
    global_precision = MAX_UNIT_PRECISION;
    const std::string frame = Frame("hello", machine_a);
    global_precision = 1;
    EXPECT_EQ(Received(frame, 79), "hello");
}

TEST_F(CryptRsa, AnUnknownSendersFrameBecomesZeros)
{
    std::string frame = Frame("hello", machine_a);
    frame[2] = 'X';
    EXPECT_EQ(Received(frame, 79), std::string(5, '\0'));
}

TEST_F(CryptRsa, AnotherSendersNameOnAFrameIsSeen)
{
    std::string frame = Frame("hello", machine_a);
    frame.replace(2, 4, LittleEndian(machine_b));
    EXPECT_EQ(Received(frame, 79), std::string(5, '\0'));
}

TEST_F(CryptRsa, AnotherReceiverGetsZeros)
{
    const std::string frame = Frame("hello", machine_b);
    EXPECT_EQ(Received(frame, 79), std::string(5, '\0'));
}

TEST_F(CryptRsa, AnyChangeOfTheProtectedKeyIsSeen)
{
    const std::string frame = Frame("hello", machine_a);
    for (std::size_t position = 8; position < 76; ++position) {
        std::string changed = frame;
        changed[position] = static_cast<char>(changed[position] ^ 16);
        EXPECT_EQ(Received(changed, 79), std::string(5, '\0')) << position;
    }
}

TEST_F(CryptRsa, ACutFrameBecomesZeros)
{
    const std::string frame = Frame("hello", machine_a);
    for (std::size_t length = 6; length < frame.size(); ++length) {
        const std::size_t count = length < 76 ? length : std::min<std::size_t>(length, 79);
        EXPECT_EQ(Received(frame.substr(0, length), static_cast<int>(count)), std::string(length - count, '\0'));
    }
}

TEST_F(CryptRsa, AnUnprotectedFrameNeedsNoStore)
{
    const std::string frame = Frame("hello", 77);
    ResetKeyStore();
    EXPECT_EQ(Received(frame, 29), "hello");
}

// ---- Stored vectors ------------------------------------------------------------------------------------------------

RsaKeyText KeyOfLine(const VectorLine& line)
{
    const std::vector<std::string>& words = line.operands;
    return {words[1].c_str(), words[2].c_str(), words[3].c_str(), words[4].c_str(), words[5].c_str(), words[6].c_str()};
}

class StoredCrypt : public CryptRsa
{
protected:
    StoredCrypt() : lines(read_vectors("crypt_vectors.txt"))
    {
        for (const VectorLine& line : lines) {
            if (line.operation == "key") {
                keys[line.operands[0]] = KeyOfLine(line);
            }
        }
    }

    const std::vector<VectorLine> lines;
    std::map<std::string, RsaKeyText> keys;
};

TEST_F(StoredCrypt, FramesUnderTwoKeysAreRead)
{
    int frames = 0;
    for (const VectorLine& line : lines) {
        if (line.operation == "decrypt" && line.operands[1] != "-") {
            Become("me", keys.at(line.operands[2]));
            const std::string data = Received(FromHex(line.operands[3]), std::stoi(line.results[0]));
            EXPECT_EQ(data, FromHex(line.results[1])) << line.text;
            ++frames;
        }
    }
    EXPECT_EQ(frames, 18);
}

TEST_F(StoredCrypt, RecordsOfTheKeyFileAreRead)
{
    int records = 0;
    for (const VectorLine& line : lines) {
        if (line.operation == "record") {
            const RsaKeyText& key = keys.at(line.operands[4]);
            scratch.write(file_name, FromHex(line.results[0]) + std::string(2000, 'x'));
            ASSERT_EQ(crypt_init(file_name, "EQ01", FromHex(line.operands[0]).c_str(), nullptr), 0) << line.text;
            EXPECT_EQ(PublicKey(0), PublicKeyOf(key, "20030201", "EQ01"));
            EXPECT_EQ(CurrentRecord(FromHex(line.operands[0])),
                      RecordBytes(key, line.operands[3], FromHex(line.operands[1] + line.operands[2])));
            ++records;
        }
    }
    EXPECT_EQ(records, 5);
}

} // namespace
