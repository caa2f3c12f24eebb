// Merritt's multiplication, powers and their refusals against Boost's integers, and what stays in the static images.
#include "crypt/merritt.h"
#include "support/random_numbers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace {

template <typename T> bool AllZero(const T& object)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(&object);
    return std::all_of(bytes, bytes + sizeof object, [](unsigned char byte) { return byte == 0; });
}

void ExpectBurned()
{
    EXPECT_TRUE(AllZero(mpdbuf));
    EXPECT_TRUE(AllZero(moduli_buf));
    EXPECT_TRUE(AllZero(msu_moduli));
    EXPECT_TRUE(AllZero(nmsu_moduli));
    EXPECT_TRUE(std::all_of(moduli, moduli + MERRITT_IMAGES, [](const unit* image) { return image == nullptr; }));
}

// The code, and the power in `result`.
int Power(Operand& result, const Integer& base, const Integer& exponent, const Integer& modulus)
{
    return mp_modexp(result, Operand(base), Operand(exponent), Operand(modulus));
}

class Merritt : public testing::TestWithParam<unsigned>
{
protected:
    void TearDown() override { merritt_burn(); }

    void Stage(const Integer& n)
    {
        staged = std::make_unique<Operand>(n);
        ASSERT_EQ(stage_merritt_modulus(*staged), 0);
    }

    static Integer Product(const Integer& a, const Integer& b)
    {
        Operand product(1);
        EXPECT_EQ(merritt_modmult(product, Operand(a), Operand(b)), 0);
        return product.value();
    }

    Precision precision{GetParam()};
    unsigned room = (GetParam() - 1) * UNITSIZE; // bits of the greatest modulus
    std::unique_ptr<Operand> staged;
};

INSTANTIATE_TEST_SUITE_P(AtPrecision, Merritt, testing::Values(2, 3, 9, 17, 18, 19, 65, 66));

TEST_P(Merritt, MultipliesRandomNumbersModuloTheStagedOne)
{
    RandomNumbers numbers(GetParam());
    for (int round = 0; round < 60; ++round) {
        const Integer n = numbers.up_to(room - 1) + 1;
        Stage(n);
        for (int pair = 0; pair < 5; ++pair) {
            const Integer a = numbers.below(n);
            const Integer b = numbers.below(n);
            ASSERT_EQ(Product(a, b), a * b % n) << std::hex << a << " * " << b << " mod " << n;
        }
    }
}

TEST_P(Merritt, GreatestModulusLeavesRoomForEveryStep)
{
    for (const Integer& less : {Integer(1), Integer(2), Integer(Integer(1) << (room / 2))}) {
        const Integer n = (Integer(1) << room) - less;
        Stage(n);
        for (const Integer& a : {Integer(0), Integer(1), Integer(n / 2), Integer(n - 2), Integer(n - 1)}) {
            ASSERT_EQ(Product(a, n - 1), a * (n - 1) % n) << std::hex << a << " mod " << n;
            ASSERT_EQ(Product(n - 1, a), a * (n - 1) % n) << std::hex << a << " mod " << n;
        }
    }
}

TEST_P(Merritt, MultiplierMayHaveEveryBitSet)
{
    const Integer all = modulus_of_precision() - 1;
    for (const Integer& n : {Integer(3), Integer((Integer(1) << room) - 1), Integer((Integer(1) << (room - 1)) + 1)}) {
        Stage(n);
        EXPECT_EQ(Product(n - 1, all), (n - 1) * all % n);
    }
}

TEST_P(Merritt, ModulusWithoutAFreeUnitOrZeroIsNotStaged)
{
    for (const Integer& n : {Integer(0), Integer(Integer(1) << room), Integer(modulus_of_precision() - 1)}) {
        EXPECT_EQ(stage_merritt_modulus(Operand(n)), -1);
        ExpectBurned();
    }
}

TEST_P(Merritt, ProductMayBeEitherOperandOrBoth)
{
    Stage(1000003);
    Operand a(777777);
    Operand b(999999);
    merritt_modmult(a, a, b);
    EXPECT_EQ(a.value(), 777777ULL * 999999 % 1000003);
    merritt_modmult(b, Operand(5), b);
    EXPECT_EQ(b.value(), 5ULL * 999999 % 1000003);
    merritt_modmult(b, b, b);
    EXPECT_EQ(b.value(), (5ULL * 999999 % 1000003) * (5ULL * 999999 % 1000003) % 1000003);
}

TEST_P(Merritt, ImagesAreTheModulusShiftedAndTheFirstIsTheModulusItself)
{
    Stage((Integer(1) << room) - 5);
    EXPECT_EQ(moduli[0], staged->get());
    for (unsigned i = 0; i < 32; ++i) {
        const Integer image = staged->value() << i;
        EXPECT_EQ(msu_moduli[i], static_cast<unit>(image >> room));
        EXPECT_EQ(nmsu_moduli[i], static_cast<unit>((image >> (room - 32)) & 0xFFFFFFFFU));
        Operand expected(image);
        EXPECT_EQ(mp_compare(moduli[i], expected), 0);
    }
}

TEST_P(Merritt, BurnZeroesAllImages)
{
    Stage((Integer(1) << room) - 5);
    Product(12345, 67890);
    EXPECT_FALSE(AllZero(mpdbuf));
    EXPECT_FALSE(AllZero(moduli_buf));
    merritt_burn();
    ExpectBurned();
}

TEST_P(Merritt, NothingIsMultipliedWithoutAStagedModulus)
{
    Operand product(7);
    EXPECT_EQ(merritt_modmult(product, Operand(2), Operand(3)), -1);
    EXPECT_EQ(product.value(), 7);
}

TEST_P(Merritt, ImagesOfAnotherPrecisionAreNotUsed)
{
    Stage(11);
    const Precision other(GetParam() - 1);
    Operand product(7);
    EXPECT_EQ(merritt_modmult(product, Operand(2), Operand(3)), -1);
    EXPECT_EQ(product.value(), 7);
}

TEST(MerrittSmall, EveryProductOfEveryModulusUpToSixBitsIsRight)
{
    const Precision precision(2);
    for (unsigned n = 1; n < 64; ++n) {
        const Operand modulus(n);
        ASSERT_EQ(stage_merritt_modulus(modulus), 0);
        for (unsigned i = 0; i < n * n; ++i) {
            Operand product;
            merritt_modmult(product, Operand(i / n), Operand(i % n));
            ASSERT_EQ(product.value(), (i / n) * (i % n) % n);
        }
    }
    merritt_burn();
}

class Modexp : public testing::TestWithParam<unsigned>
{
protected:
    // Random numbers with a modulus of up to `modulus_bits` and an exponent of up to `exponent_bits`.
    void For_Random_Powers(int rounds, unsigned modulus_bits, unsigned exponent_bits)
    {
        RandomNumbers numbers(GetParam() + 1000);
        for (int round = 0; round < rounds; ++round) {
            const Integer n = numbers.up_to(modulus_bits - 1) + 2;
            const Integer base = numbers.below(n);
            const Integer exponent = numbers.up_to(exponent_bits) % n;
            Operand result(99);
            ASSERT_EQ(Power(result, base, exponent, n), 0);
            ASSERT_EQ(result.value(), exponent == 0 ? Integer(1) : Integer(powm(base, exponent, n)))
                << std::hex << base << " ^ " << exponent << " mod " << n;
            ASSERT_EQ(global_precision, GetParam());
            ExpectBurned();
        }
    }

    void Expect_Refused(int code, const Integer& base, const Integer& exponent, const Integer& modulus)
    {
        Operand result(99);
        EXPECT_EQ(Power(result, base, exponent, modulus), code);
        EXPECT_EQ(result.value(), 1);
        EXPECT_EQ(global_precision, GetParam());
        ExpectBurned();
    }

    Precision precision{GetParam()};
    unsigned bits = GetParam() * UNITSIZE;
    Integer top = modulus_of_precision() / 2;
};

INSTANTIATE_TEST_SUITE_P(AtPrecision, Modexp, testing::Values(1, 2, 3, 17, 18, 65, 66));

TEST_P(Modexp, GivesThePowersOfRandomNumbers)
{
    const bool wide = GetParam() > 18;
    For_Random_Powers(wide ? 40 : 100, std::min(bits - 1, 2080U), wide ? 24 : 160);
}

TEST_P(Modexp, ExponentZeroGivesOneWhateverTheModulus)
{
    for (const Integer& modulus : {Integer(0), Integer(1), Integer(top), Integer(top - 1)}) {
        Operand result(99);
        EXPECT_EQ(Power(result, top - 1, 0, modulus), 0);
        EXPECT_EQ(result.value(), 1);
    }
}

TEST_P(Modexp, ModulusZeroOrWithItsTopBitSetIsMinusTwo)
{
    Expect_Refused(-2, 0, 1, 0);
    Expect_Refused(-2, 2, 1, top);
    Expect_Refused(-2, 2, 1, top + top - 1);
}

TEST_P(Modexp, BaseNotBelowTheModulusIsMinusThree)
{
    Expect_Refused(-3, 1000, 1, 1000);
    Expect_Refused(-3, top - 1, top - 1, top - 1);
    Expect_Refused(-3, 1001, 1000, 1000);
}

TEST_P(Modexp, ExponentNotBelowTheModulusIsMinusFour)
{
    Expect_Refused(-4, 1, 1000, 1000);
    Expect_Refused(-4, 999, 1001, 1000);
    Expect_Refused(-4, 0, 1, 1);
}

TEST_P(Modexp, FirstFaultInOrderGivesTheCode)
{
    Expect_Refused(-2, 1000, 1000, 0);
    Expect_Refused(-2, top, top + 1, top);
    Expect_Refused(-3, 1000, 1000, 1000);
}

TEST_P(Modexp, SmallestModuliAndBasesAreNoSpecialCase)
{
    for (const unsigned modulus : {2U, 3U, 4U, 255U, 256U}) {
        for (const unsigned base : {0U, 1U, modulus - 1}) {
            Operand result;
            EXPECT_EQ(Power(result, base, modulus - 1, modulus), 0);
            EXPECT_EQ(result.value(), powm(Integer(base), Integer(modulus - 1), Integer(modulus)));
        }
    }
}

TEST_P(Modexp, ResultMayBeAnyOperand)
{
    const Integer expected = powm(Integer(123456), Integer(789), Integer(1000003));
    Operand base(123456);
    Operand exponent(789);
    Operand modulus(1000003);
    EXPECT_EQ(mp_modexp(base, base, exponent, modulus), 0);
    EXPECT_EQ(base.value(), expected);
    EXPECT_EQ(mp_modexp(exponent, Operand(123456), exponent, modulus), 0);
    EXPECT_EQ(exponent.value(), expected);
    EXPECT_EQ(mp_modexp(modulus, Operand(123456), Operand(789), modulus), 0);
    EXPECT_EQ(modulus.value(), expected);
}

TEST_P(Modexp, OneNumberMayBeResultAndExponentZero)
{
    Operand number(0);
    EXPECT_EQ(mp_modexp(number, number, number, number), 0);
    EXPECT_EQ(number.value(), 1);
}

TEST_P(Modexp, WritesNothingBesideItsUnits)
{
    constexpr std::size_t guards = 3;
    const Integer n = (Integer(1) << std::min(bits - 1, 2080U)) - 1; // needs one unit more than the operands have
    Operand result(0, guards);
    EXPECT_EQ(mp_modexp(result, Operand(n - 2), Operand(17), Operand(n)), 0);
    EXPECT_EQ(result.value(), powm(Integer(n - 2), Integer(17), n));
    EXPECT_TRUE(result.guards_intact());
}

TEST(ModexpLimits, FullExponentAtTheGreatestModulus)
{
    const Precision precision(MAX_UNIT_PRECISION);
    const Integer n = (Integer(1) << 2080) - 1;
    const Integer base = n / 3 + 12345;
    Operand result;
    EXPECT_EQ(Power(result, base, n - 1, n), 0);
    EXPECT_EQ(result.value(), powm(base, Integer(n - 1), n));
}

TEST(ModexpLimits, ModulusThatNeedsMoreThanTheGreatestPrecisionIsMinusFive)
{
    const Precision precision(MAX_UNIT_PRECISION);
    for (const unsigned bit : {2080U, 2110U}) {
        Operand result(99);
        EXPECT_EQ(Power(result, 3, 5, Integer(1) << bit), -5);
        EXPECT_EQ(result.value(), 1);
        EXPECT_EQ(global_precision, 66U);
        ExpectBurned();
    }
}

TEST(ModexpLimits, ExponentZeroLeavesAStagedModulusInForce)
{
    const Precision precision(18);
    const Operand modulus(1000003);
    ASSERT_EQ(stage_merritt_modulus(modulus), 0);
    Operand result;
    EXPECT_EQ(Power(result, 5, 0, 77), 0);
    EXPECT_EQ(merritt_modmult(result, Operand(5000), Operand(5000)), 0);
    EXPECT_EQ(result.value(), 25000000 % 1000003);
    merritt_burn();
}

} // namespace
