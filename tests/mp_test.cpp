// The basic operations against Boost's integers and by hand. Operands lie in memory of exactly their size.
#include "crypt/mp.h"
#include "support/random_numbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace {

using testing::ElementsAre;

class MpTest : public testing::TestWithParam<unsigned>
{
protected:
    static constexpr int rounds = 400;

    // Two numbers a time, of any length up to the precision.
    template <typename Check> void For_Random_Pairs(Check check)
    {
        RandomNumbers numbers(GetParam());
        for (int round = 0; round < rounds; ++round) {
            const Integer a = numbers.up_to(bits);
            const Integer b = numbers.up_to(bits);
            SCOPED_TRACE(testing::Message() << std::hex << a << " and " << b);
            check(a, b);
            if (HasFailure()) {
                return;
            }
        }
    }

    Precision precision{GetParam()};
    unsigned bits = GetParam() * UNITSIZE;
    Integer end = modulus_of_precision();
};

INSTANTIATE_TEST_SUITE_P(AtPrecision, MpTest, testing::Values(1, 2, 3, 16, 17, 18, 33, 65, 66));

TEST_P(MpTest, AdditionWrapsAndGivesTheCarry)
{
    For_Random_Pairs([this](const Integer& a, const Integer& b) {
        for (const unit carry : {0U, 1U}) {
            Operand r(a);
            const Integer sum = a + b + carry;
            EXPECT_EQ(mp_addc(r, Operand(b), carry), sum >= end ? 1U : 0U);
            EXPECT_EQ(r.value(), sum % end);
        }
    });
}

TEST_P(MpTest, SubtractionWrapsAndGivesTheBorrow)
{
    For_Random_Pairs([this](const Integer& a, const Integer& b) {
        for (const unit borrow : {0U, 1U}) {
            Operand r(a);
            const Integer less = b + borrow;
            EXPECT_EQ(mp_subb(r, Operand(b), borrow), a < less ? 1U : 0U);
            EXPECT_EQ(r.value(), (end + end + a - less) % end);
        }
    });
}

TEST_P(MpTest, NumberMayBeAddedToAndSubtractedFromItself)
{
    For_Random_Pairs([this](const Integer& a, const Integer&) {
        Operand r(a);
        mp_addc(r, r, 0);
        EXPECT_EQ(r.value(), (a + a) % end);
        EXPECT_EQ(mp_subb(r, r, 0), 0U);
        EXPECT_EQ(r.value(), 0);
    });
}

TEST_P(MpTest, RotationTakesABitInAndGivesTheTopOne)
{
    For_Random_Pairs([this](const Integer& a, const Integer&) {
        for (const unit carry : {0U, 1U}) {
            Operand r(a);
            EXPECT_EQ(mp_rotate_left(r, carry), bit_test(a, bits - 1) ? 1U : 0U);
            EXPECT_EQ(r.value(), (a * 2 + carry) % end);
        }
    });
}

TEST_P(MpTest, ComparisonIsUnsigned)
{
    For_Random_Pairs([](const Integer& a, const Integer& b) {
        EXPECT_EQ(mp_compare(Operand(a), Operand(b)), a < b ? -1 : a > b ? 1 : 0);
        EXPECT_EQ(mp_compare(Operand(a), Operand(a)), 0);
    });
}

TEST_P(MpTest, IncrementAndDecrementTellWhenTheyWrap)
{
    For_Random_Pairs([this](const Integer& a, const Integer&) {
        Operand r(a);
        EXPECT_EQ(mp_inc(r), a == end - 1);
        EXPECT_EQ(r.value(), (a + 1) % end);
        EXPECT_EQ(mp_dec(r), a == end - 1);
        EXPECT_EQ(r.value(), a);
    });
}

TEST_P(MpTest, IncrementOfAllOnesIsZeroAndDecrementOfZeroAllOnes)
{
    Operand r(end - 1);
    EXPECT_TRUE(mp_inc(r));
    EXPECT_EQ(r.value(), 0);
    EXPECT_TRUE(mp_dec(r));
    EXPECT_EQ(r.value(), end - 1);
    EXPECT_FALSE(mp_dec(r));
}

TEST_P(MpTest, NegationIsTheTwosComplement)
{
    For_Random_Pairs([this](const Integer& a, const Integer&) {
        Operand r(a);
        mp_neg(r);
        EXPECT_EQ(r.value(), (end - a) % end);
    });
}

TEST_P(MpTest, NegationLeavesZeroAndTheTopBitAlone)
{
    for (const Integer& same : {Integer(0), Integer(end / 2)}) {
        Operand r(same);
        mp_neg(r);
        EXPECT_EQ(r.value(), same);
    }
}

TEST_P(MpTest, InitZeroesAllUnitsAboveTheValue)
{
    Operand r(end - 1);
    mp_init(r, 65535);
    EXPECT_EQ(r.value(), 65535);
}

TEST_P(MpTest, BitsAndUnitsAreCountedUpToTheTopOneSet)
{
    For_Random_Pairs([](const Integer& a, const Integer&) {
        const int count = a == 0 ? 0 : static_cast<int>(msb(a)) + 1;
        EXPECT_EQ(countbits(Operand(a)), count);
        EXPECT_EQ(significance(Operand(a)), (count + 31) / 32);
    });
}

TEST_P(MpTest, ZeroHasNoBitsAndNoUnits)
{
    EXPECT_EQ(countbits(Operand(0)), 0);
    EXPECT_EQ(significance(Operand(0)), 0);
}

TEST_P(MpTest, DivisionGivesQuotientAndRemainder)
{
    For_Random_Pairs([](const Integer& a, const Integer& b) {
        if (b != 0) {
            Operand remainder(7);
            Operand quotient(9);
            EXPECT_EQ(mp_udiv(remainder, quotient, Operand(a), Operand(b)), 0);
            EXPECT_EQ(quotient.value(), a / b);
            EXPECT_EQ(remainder.value(), a % b);
            EXPECT_EQ(mp_mod(quotient, Operand(a), Operand(b)), 0);
            EXPECT_EQ(quotient.value(), a % b);
        }
    });
}

TEST_P(MpTest, DivisorWithItsTopBitSetDividesTheGreatestNumbers)
{
    for (const Integer& divisor : {Integer(end - 1), Integer(end - 2), Integer(end / 2), Integer(end / 2 + 1)}) {
        Operand remainder;
        Operand quotient;
        EXPECT_EQ(mp_udiv(remainder, quotient, Operand(end - 1), Operand(divisor)), 0);
        EXPECT_EQ(quotient.value(), (end - 1) / divisor);
        EXPECT_EQ(remainder.value(), (end - 1) % divisor);
    }
}

TEST_P(MpTest, DivisionByZeroWritesNothing)
{
    Operand remainder(7);
    Operand quotient(9);
    EXPECT_EQ(mp_udiv(remainder, quotient, Operand(end - 1), Operand(0)), -1);
    EXPECT_EQ(mp_mod(remainder, Operand(end - 1), Operand(0)), -1);
    EXPECT_EQ(remainder.value(), 7);
    EXPECT_EQ(quotient.value(), 9);
}

TEST_P(MpTest, ShortRemainderIsThatOfTheWholeNumber)
{
    For_Random_Pairs([](const Integer& a, const Integer& b) {
        for (const unsigned divisor : {1U, 2U, 10U, 32768U, 65535U, 1U + static_cast<unsigned>(b % 65535)}) {
            EXPECT_EQ(mp_shortmod(Operand(a), static_cast<word16>(divisor)), static_cast<word16>(a % divisor));
        }
    });
}

TEST_P(MpTest, ShortRemainderByZeroIs65535)
{
    EXPECT_EQ(mp_shortmod(Operand(0), 0), 65535);
    EXPECT_EQ(mp_shortmod(Operand(1), 0), 65535);
    EXPECT_EQ(mp_shortmod(Operand(end - 1), 0), 65535);
}

TEST_P(MpTest, ProductIsCutToThePrecision)
{
    For_Random_Pairs([this](const Integer& a, const Integer& b) {
        Operand product(5);
        EXPECT_EQ(mp_mult(product, Operand(a), Operand(b)), 0);
        EXPECT_EQ(product.value(), a * b % end);
    });
}

TEST_P(MpTest, ResultsKeepWithinTheirUnits)
{
    constexpr std::size_t guards = 4;
    For_Random_Pairs([](const Integer& a, const Integer& b) {
        Operand r(a, guards);
        Operand s(b, guards);
        mp_addc(r, s, 1);
        mp_subb(r, s, 1);
        mp_rotate_left(r, 1);
        mp_inc(r);
        mp_dec(r);
        mp_neg(r);
        EXPECT_TRUE(r.guards_intact());
        mp_init(r, 1);
        mp_mult(r, Operand(a), Operand(b));
        mp_udiv(r, s, Operand(a), Operand(b | 1));
        mp_mod(r, Operand(a), Operand(b | 1));
        EXPECT_TRUE(r.guards_intact() && s.guards_intact());
    });
}

TEST(Mp, PrecisionIsThatOfTheKeysUntilSomebodySetsIt)
{
    EXPECT_EQ(global_precision, 18U);
}

TEST(Mp, LeastSignificantUnitComesFirst)
{
    const Precision two(2);
    std::array<unit, 2> r{0xFFFFFFFF, 0};
    mp_inc(r.data());
    EXPECT_THAT(r, ElementsAre(0U, 1U));
    mp_rotate_left(r.data(), 1);
    EXPECT_THAT(r, ElementsAre(1U, 2U));
}

TEST(Mp, LimitsAreThoseOfKeysOf2048Bits)
{
    EXPECT_EQ(MAX_UNIT_PRECISION, 66);
    EXPECT_EQ(MAX_BYTE_PRECISION, 264);
    EXPECT_EQ(1 << LOG_UNITSIZE, UNITSIZE);
    EXPECT_EQ(MIN_KEY_BITS, 384);
    EXPECT_EQ(MAX_KEY_BITS, 2048);
}

TEST(Hiloswap, ReversesAnEvenCount)
{
    std::array<unsigned char, 6> bytes{1, 2, 3, 4, 5, 6};
    hiloswap(bytes.data(), 4);
    EXPECT_THAT(bytes, ElementsAre(4, 3, 2, 1, 5, 6));
}

TEST(Hiloswap, LeavesTheMiddleByteOfAnOddCount)
{
    std::array<unsigned char, 5> bytes{1, 2, 3, 4, 5};
    hiloswap(bytes.data(), 5);
    EXPECT_THAT(bytes, ElementsAre(5, 4, 3, 2, 1));
    hiloswap(bytes.data(), 1);
    EXPECT_THAT(bytes, ElementsAre(5, 4, 3, 2, 1));
}

TEST(Hiloswap, OfNothingTouchesNothing)
{
    unsigned char byte = 7;
    hiloswap(&byte, 0);
    EXPECT_EQ(byte, 7);
    hiloswap(nullptr, 0);
}

} // namespace
