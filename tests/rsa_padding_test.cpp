// Which padded blocks a decryption takes, byte by byte. Blocks are written here most significant byte first and sealed
// by Boost's integers; the key has 512 bits, so 63 bytes of a block lie below the modulus.
#include "support/rsa_keys.h"

#include <gtest/gtest.h>

namespace {

constexpr unsigned char untouched = 0x5A;
constexpr std::size_t k = 63;

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes Of(std::size_t count, unsigned char value)
{
    return Bytes(count, value);
}

Bytes Text(const std::string& text)
{
    return {text.begin(), text.end()};
}

class RsaPadding : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(key.k(), k); }

    // The code or length; what `out` received is in `data`.
    int Opened_By_Public(const Bytes& block) { return Opened(block, key.e); }
    int Opened_By_Private(const Bytes& block) { return Opened(block, key.d); }

    Precision restored{18};
    RsaKey key = stored_rsa_keys().at(0);
    Bytes data;

private:
    int Opened(const Bytes& block, const Integer& exponent)
    {
        EXPECT_GE(block.size(), k);
        const Bytes sealed = key.sealed(block, exponent);
        Bytes out(72, untouched);
        const int result = exponent == key.e ? key.public_decrypt(out.data(), sealed.data())
                                             : key.private_decrypt(out.data(), sealed.data());
        const std::size_t length = result > 0 ? static_cast<std::size_t>(result) : 0;
        data = Bytes(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(Bytes(out.begin() + static_cast<std::ptrdiff_t>(length), out.end()), Of(72 - length, untouched));
        return result;
    }
};

TEST_F(RsaPadding, TypeOneHasOneThen255sThenZeroThenData)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(58, 255) + Of(1, 0) + Text("abc")), 3);
    EXPECT_EQ(data, Text("abc"));
}

TEST_F(RsaPadding, TypeOneMayHoldNothing)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(61, 255) + Of(1, 0)), 0);
}

TEST_F(RsaPadding, TypeOneMayDoWithoutPadding)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(1, 0) + Of(61, 7)), 61);
    EXPECT_EQ(data, Of(61, 7));
}

TEST_F(RsaPadding, TypeOneKeepsZerosInTheData)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(57, 255) + Of(5, 0)), 4);
    EXPECT_EQ(data, Of(4, 0));
}

TEST_F(RsaPadding, TypeOneWithAnotherFirstByteIsRefused)
{
    for (const unsigned first : {0U, 2U, 3U, 254U, 255U}) {
        EXPECT_EQ(Opened_By_Public(Of(1, static_cast<unsigned char>(first)) + Of(58, 255) + Of(1, 0) + Text("abc")), -9)
            << first;
    }
}

TEST_F(RsaPadding, TypeOneWithAnotherByteInThePaddingIsRefused)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(50, 255) + Of(8, 254) + Of(1, 0) + Text("abc")), -9);
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(1, 9) + Of(57, 255) + Of(1, 0) + Text("abc")), -9);
}

TEST_F(RsaPadding, TypeOneWithoutAZeroIsRefused)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(62, 255)), -9);
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(61, 255) + Of(1, 3)), -9);
}

TEST_F(RsaPadding, TypeOneOfTheOtherTypeIsRefused)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 2) + Of(58, 77) + Of(1, 0) + Text("abc")), -9);
    EXPECT_EQ(Opened_By_Private(Of(1, 1) + Of(58, 255) + Of(1, 0) + Text("abc")), -9);
}

TEST_F(RsaPadding, ByteAheadOfTheBlockIsRefused)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(59, 255) + Of(1, 0) + Text("abc")), -9);
    EXPECT_EQ(Opened_By_Private(Of(1, 2) + Of(59, 77) + Of(1, 0) + Text("abc")), -9);
}

TEST_F(RsaPadding, ReversedTypeOneHasItsDataBehindTheLeadingOne)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Text("abc") + Of(1, 0) + Of(57, 255) + Of(1, 1)), 3);
    EXPECT_EQ(data, Text("abc"));
}

TEST_F(RsaPadding, ReversedTypeOneMayHoldNothing)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(1, 0) + Of(60, 255) + Of(1, 1)), 0);
}

TEST_F(RsaPadding, ReversedTypeOneKeepsZerosAnd255sInTheData)
{
    const Bytes held = Of(2, 0) + Of(2, 255) + Of(1, 0);
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + held + Of(1, 0) + Of(55, 255) + Of(1, 1)), 5);
    EXPECT_EQ(data, held);
}

TEST_F(RsaPadding, ReversedTypeOneIsRecognisedBy255AtDistances17And18)
{
    // The least padding that reaches distance 18: 17 bytes.
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(43, 7) + Of(1, 0) + Of(17, 255) + Of(1, 1)), 43);
    EXPECT_EQ(data, Of(43, 7));
    // One byte less, and it is a normal block without a zero behind its padding.
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(44, 7) + Of(1, 0) + Of(16, 255) + Of(1, 1)), -9);
}

TEST_F(RsaPadding, One255AtEitherDistanceIsNotEnoughForReversedTypeOne)
{
    for (const Bytes& start : {Of(1, 255) + Of(1, 7), Of(1, 7) + Of(1, 255)}) {
        const Bytes session_key = start + Of(15, 9) + Of(1, 1);
        EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(43, 255) + Of(1, 0) + session_key), 18);
        EXPECT_EQ(data, session_key);
    }
}

TEST_F(RsaPadding, ReversedTypeOneThatDoesNotBeginWithOneIsMinusSeven)
{
    for (const unsigned first : {0U, 2U, 255U}) {
        EXPECT_EQ(Opened_By_Public(Of(1, static_cast<unsigned char>(first)) + Text("abc") + Of(1, 0) + Of(57, 255) +
                                   Of(1, 1)),
                  -7);
    }
}

TEST_F(RsaPadding, ReversedTypeOneMustStopOnAZero)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Text("abc") + Of(58, 255) + Of(1, 1)), -9);
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(61, 255) + Of(1, 1)), -9);
}

TEST_F(RsaPadding, NormalTypeOneWhoseDataEndLikeAReversedBlockIsReadAsNormal)
{
    const Bytes session_key = Of(2, 255) + Of(15, 7) + Of(1, 1);
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(43, 255) + Of(1, 0) + session_key), 18);
    EXPECT_EQ(data, session_key);
}

// Data of a single 1: nothing tells it apart from a reversed block that holds bytes of 255.
TEST_F(RsaPadding, BlockThatIsSoundInBothArrangementsIsReadAsReversed)
{
    EXPECT_EQ(Opened_By_Public(Of(1, 1) + Of(60, 255) + Of(1, 0) + Of(1, 1)), 60);
    EXPECT_EQ(data, Of(60, 255));
}

TEST_F(RsaPadding, TypeTwoHasTwoThenAnythingUpToAZeroThenData)
{
    EXPECT_EQ(Opened_By_Private(Of(1, 2) + Of(58, 77) + Of(1, 0) + Text("abc")), 3);
    EXPECT_EQ(data, Text("abc"));
    EXPECT_EQ(Opened_By_Private(Of(1, 2) + Of(1, 0) + Of(61, 0)), 61);
    EXPECT_EQ(data, Of(61, 0));
}

TEST_F(RsaPadding, TypeTwoMustHoldAByte)
{
    EXPECT_EQ(Opened_By_Private(Of(1, 2) + Of(60, 77) + Of(1, 0) + Of(1, 2)), 1);
    EXPECT_EQ(data, Of(1, 2));
    EXPECT_EQ(Opened_By_Private(Of(1, 2) + Of(61, 77) + Of(1, 0)), -9);
}

TEST_F(RsaPadding, TypeTwoWithoutAZeroIsRefused)
{
    EXPECT_EQ(Opened_By_Private(Of(1, 2) + Of(62, 77)), -9);
    EXPECT_EQ(Opened_By_Private(Of(63, 2)), -9);
}

TEST_F(RsaPadding, ReversedTypeTwoHasItsDataInFront)
{
    EXPECT_EQ(Opened_By_Private(Text("abc") + Of(1, 0) + Of(58, 77) + Of(1, 2)), 3);
    EXPECT_EQ(data, Text("abc"));
}

TEST_F(RsaPadding, ReversedTypeTwoKeepsZerosInTheData)
{
    const Bytes held = Of(2, 0) + Text("x") + Of(3, 0);
    EXPECT_EQ(Opened_By_Private(held + Of(1, 0) + Of(55, 77) + Of(1, 2)), 6);
    EXPECT_EQ(data, held);
    EXPECT_EQ(Opened_By_Private(Of(61, 1) + Of(1, 0) + Of(1, 2)), 61);
    EXPECT_EQ(data, Of(61, 1));
}

TEST_F(RsaPadding, ReversedTypeTwoMustHoldAByte)
{
    EXPECT_EQ(Opened_By_Private(Of(1, 0) + Of(61, 77) + Of(1, 2)), -9);
}

TEST_F(RsaPadding, ReversedTypeTwoWithoutAZeroIsRefused)
{
    EXPECT_EQ(Opened_By_Private(Of(62, 77) + Of(1, 2)), -9);
}

TEST_F(RsaPadding, BlockThatBeginsWithTwoIsNeverReversed)
{
    EXPECT_EQ(Opened_By_Private(Of(1, 2) + Text("bc") + Of(1, 0) + Of(58, 77) + Of(1, 2)), 59);
    EXPECT_EQ(data, Of(58, 77) + Of(1, 2));
}

TEST_F(RsaPadding, BlocksOfOneValueAreRefused)
{
    EXPECT_EQ(Opened_By_Public(Of(63, 0)), -9);
    EXPECT_EQ(Opened_By_Private(Of(63, 0)), -9);
    EXPECT_EQ(Opened_By_Public(Of(63, 255)), -9);
    EXPECT_EQ(Opened_By_Private(Of(63, 255)), -9);
}

// With 4 bytes of block there is nothing at distances 17 and 18.
TEST_F(RsaPadding, ShortBlockIsNeverReversedTypeOne)
{
    const Precision two(2);
    const Operand modulus((Integer(1) << 32) + 15);
    const unsigned char normal[8] = {'x', 0, 255, 1};
    const unsigned char reversed[8] = {1, 255, 0, 1};
    unsigned char out[8] = {};
    EXPECT_EQ(rsa_public_decrypt(out, normal, Operand(1), modulus), 1);
    EXPECT_EQ(out[0], 'x');
    EXPECT_EQ(rsa_public_decrypt(out, reversed, Operand(1), modulus), 2);
}

TEST_F(RsaPadding, ShortestBlockOfTypeTwo)
{
    const Precision one(1);
    const unsigned char normal[4] = {'x', 0, 2};
    const unsigned char reversed[4] = {2, 0, 'x'};
    unsigned char out[4] = {};
    // With an exponent of 1 modulo 5 and 16777259, a prime above 2 ^ 24, the block is its own power.
    for (const auto* block : {normal, reversed}) {
        EXPECT_EQ(rsa_private_decrypt(out, block, Operand(1), Operand(1), Operand(5), Operand(16777259),
                                      Operand(3355452), Operand(5 * 16777259)),
                  1);
        EXPECT_EQ(out[0], 'x');
    }
}

} // namespace
