// Encryption, decryption and hostile keys. What the padding looks like is pinned in rsa_padding_test.cpp.
#include "support/random_source.h"
#include "support/rsa_keys.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr unsigned char untouched = 0x5A;

Bytes Numbered(std::size_t count)
{
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<unsigned char>(i * 7 + 3);
    }
    return bytes;
}

Bytes First(const Bytes& bytes, std::size_t count)
{
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)};
}

class RsaTest : public testing::Test
{
protected:
    // For keys of 383 to 576 bits, at precisions of 12 to 19 units.
    void For_Every_Key(void (*check)(const RsaKey&)) const
    {
        ASSERT_EQ(keys.size(), 9U);
        for (const RsaKey& each : keys) {
            SCOPED_TRACE(testing::Message() << msb(each.n) + 1 << " bits in " << each.units << " units");
            const Precision precision(each.units);
            check(each);
            EXPECT_EQ(global_precision, each.units);
        }
    }

    Precision restored{18};
    std::vector<RsaKey> keys = stored_rsa_keys();
    const RsaKey& key = keys.at(0);
    Bytes out = Bytes(72, untouched);
    Bytes whole_untouched = out;
};

TEST_F(RsaTest, PrivateKeyOpensWhatThePublicOneSealed)
{
    For_Every_Key([](const RsaKey& each) {
        for (std::size_t length = 1; length <= each.k() - 3; length += 4) {
            Bytes buffer(each.b());
            ASSERT_EQ(each.public_encrypt(buffer.data(), Numbered(length)), 0);
            ASSERT_EQ(each.private_decrypt(buffer.data(), buffer.data()), static_cast<int>(length));
            EXPECT_EQ(First(buffer, length), Numbered(length));
        }
    });
}

TEST_F(RsaTest, PublicKeyOpensWhatThePrivateOneSealed)
{
    For_Every_Key([](const RsaKey& each) {
        for (std::size_t length = 0; length <= each.k() - 2; length += 4) {
            Bytes buffer(each.b());
            ASSERT_EQ(each.private_encrypt(buffer.data(), Numbered(length)), 0);
            ASSERT_EQ(each.public_decrypt(buffer.data(), buffer.data()), static_cast<int>(length));
            EXPECT_EQ(First(buffer, length), Numbered(length));
        }
    });
}

TEST_F(RsaTest, BlockMayBeSealedInPlace)
{
    Bytes buffer = Numbered(72);
    const Bytes sealed_apart = [&] {
        Bytes apart(72);
        key.private_encrypt(apart.data(), Numbered(18));
        return apart;
    }();
    EXPECT_EQ(rsa_private_encrypt(buffer.data(), buffer.data(), 18, Operand(key.e), Operand(key.d), Operand(key.p),
                                  Operand(key.q), Operand(key.u), Operand(key.n)),
              0);
    EXPECT_EQ(buffer, sealed_apart);
}

TEST_F(RsaTest, PublicEncryptionNeedsOneByteOfPadding)
{
    For_Every_Key([](const RsaKey& each) {
        Bytes buffer(each.b(), untouched);
        EXPECT_EQ(each.public_encrypt(buffer.data(), Numbered(each.k() - 2)), -4);
        EXPECT_EQ(buffer, Bytes(each.b(), untouched));
        EXPECT_EQ(each.public_encrypt(buffer.data(), Numbered(each.k() - 3)), 0);
    });
}

TEST_F(RsaTest, PrivateEncryptionIsSatisfiedWithNoPadding)
{
    For_Every_Key([](const RsaKey& each) {
        Bytes buffer(each.b(), untouched);
        EXPECT_EQ(each.private_encrypt(buffer.data(), Numbered(each.k() - 1)), -4);
        EXPECT_EQ(buffer, Bytes(each.b(), untouched));
        EXPECT_EQ(each.private_encrypt(buffer.data(), Numbered(each.k() - 2)), 0);
    });
}

TEST_F(RsaTest, LengthBeyondEveryBlockIsRefused)
{
    for (const unsigned length : {64U, 265U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(rsa_public_encrypt(out.data(), out.data(), length, Operand(key.e), Operand(key.n)), -4);
    }
    EXPECT_EQ(out, whole_untouched);
}

TEST_F(RsaTest, ModulusTooShortForAnyBlockLeavesNoRoom)
{
    for (const unsigned modulus : {0U, 1U, 255U, 256U, 65535U}) { // k of -1, 0, 0, 1, 1
        EXPECT_EQ(rsa_public_encrypt(out.data(), out.data(), 0, Operand(3), Operand(modulus)), -4);
        EXPECT_EQ(rsa_private_encrypt(out.data(), out.data(), 0, Operand(3), Operand(3), Operand(11), Operand(17),
                                      Operand(1), Operand(modulus)),
                  -4);
    }
    EXPECT_EQ(out, whole_untouched);
}

TEST_F(RsaTest, EncryptionGivesTheCodeOfAPowerThatFails)
{
    const Bytes data = Numbered(18);
    const Integer top = Integer(1) << 575;
    EXPECT_EQ(rsa_public_encrypt(out.data(), data.data(), 18, Operand(3), Operand(top)), -2);
    EXPECT_EQ(rsa_public_encrypt(out.data(), data.data(), 18, Operand(key.n), Operand(key.n)), -4);
    RsaKey bad = key;
    bad.p = 0;
    EXPECT_EQ(bad.private_encrypt(out.data(), data), -2);
    bad.p = 1;
    EXPECT_EQ(bad.private_encrypt(out.data(), data), -1);
    EXPECT_EQ(out, whole_untouched);
}

TEST_F(RsaTest, DecryptionGivesMinusOneForAPowerThatFails)
{
    const Bytes greatest(72, 255);
    EXPECT_EQ(key.public_decrypt(out.data(), greatest.data()), -1);
    RsaKey bad = key;
    bad.n = 0;
    EXPECT_EQ(bad.public_decrypt(out.data(), greatest.data()), -1);
    for (const unsigned prime : {0U, 1U}) {
        bad.q = prime;
        EXPECT_EQ(bad.private_decrypt(out.data(), greatest.data()), -1);
    }
    EXPECT_EQ(out, whole_untouched);
}

TEST_F(RsaTest, ModulusOfZeroHasNoBlockBehindIt)
{
    const Bytes zeros(72);
    RsaKey bad = key;
    bad.n = 0;
    bad.e = 0; // a power that succeeds whatever the modulus
    EXPECT_EQ(bad.public_decrypt(out.data(), zeros.data()), -9);
    EXPECT_EQ(bad.private_decrypt(out.data(), zeros.data()), -9);
    EXPECT_EQ(out, whole_untouched);
}

TEST_F(RsaTest, PowerOfAShortModulusIsNoPaddedBlock)
{
    Bytes block(72);
    for (unsigned modulus = 1; modulus < 70000; modulus = modulus * 2 + 1) {
        block[0] = static_cast<unsigned char>(modulus > 2 ? 2 : 0);
        EXPECT_LT(rsa_public_decrypt(out.data(), block.data(), Operand(1), Operand(modulus)), 0);
        EXPECT_EQ(rsa_private_decrypt(out.data(), block.data(), Operand(3), Operand(1), Operand(3), Operand(5),
                                      Operand(2), Operand(modulus)),
                  -9);
    }
    EXPECT_EQ(out, whole_untouched);
}

TEST_F(RsaTest, EvenPrimesDoNoHarm)
{
    RsaKey bad = key;
    bad.p = key.p - 1;
    bad.q = key.q - 1;
    Bytes block(72);
    EXPECT_EQ(bad.private_encrypt(block.data(), Numbered(18)), 0);
    EXPECT_NE(key.public_decrypt(out.data(), block.data()), 18);
    EXPECT_EQ(out, whole_untouched);
}

TEST_F(RsaTest, ZerosFromTheSourceAreSkipped)
{
    Bytes given(200, 0);
    for (std::size_t i = 100; i < given.size(); ++i) {
        given[i] = static_cast<unsigned char>(i);
    }
    const RandomSource source(given);
    ASSERT_EQ(key.public_encrypt(out.data(), Numbered(18)), 0);
    EXPECT_EQ(source.asked(), 100U + 63 - 18 - 2);
    Bytes data(72);
    EXPECT_EQ(key.private_decrypt(data.data(), out.data()), 18);
}

TEST_F(RsaTest, SourceOfNothingButZerosIsGivenUp)
{
    const RandomSource source({});
    EXPECT_EQ(key.public_encrypt(out.data(), Numbered(18)), -9);
    EXPECT_EQ(out, whole_untouched);
    EXPECT_LE(source.asked(), 128U);
}

TEST_F(RsaTest, SourceThatDriesUpIsGivenUp)
{
    const RandomSource source({1, 2, 3});
    EXPECT_EQ(key.public_encrypt(out.data(), Numbered(18)), -9);
    EXPECT_EQ(out, whole_untouched);
}

TEST_F(RsaTest, PaddingOfTheRealSourceIsNeverZero)
{
    for (int round = 0; round < 60; ++round) {
        ASSERT_EQ(key.public_encrypt(out.data(), Numbered(1)), 0);
        Bytes data(72);
        ASSERT_EQ(key.private_decrypt(data.data(), out.data()), 1); // an early zero would make it longer
    }
}

TEST_F(RsaTest, ModulusThatFillsThePrecisionServesThePrivateKeyAlone)
{
    const RsaKey& widest = *std::find_if(keys.begin(), keys.end(), [](const RsaKey& each) { return each.units == 19; });
    ASSERT_EQ(msb(widest.n), 575U);
    Bytes block = Bytes(71, 77);
    block[0] = 2;
    block[68] = 0;
    const Bytes sealed = widest.sealed(block, widest.d);
    EXPECT_EQ(widest.public_decrypt(out.data(), sealed.data()), -1); // at 18 units
    EXPECT_EQ(widest.private_decrypt(out.data(), sealed.data()), 2);
    EXPECT_EQ(First(out, 2), Bytes(2, 77));
}

} // namespace
