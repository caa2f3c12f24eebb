// Powers by the Chinese remainder theorem: good keys in either order of the primes, and rubbish that must do no harm.
#include "crypt/merritt.h"
#include "support/random_numbers.h"

#include <gtest/gtest.h>

namespace {

// base ^ -1 mod prime
Integer Inverse(const Integer& base, const Integer& prime)
{
    return powm(Integer(base % prime), Integer(prime - 2), prime);
}

struct Crt
{
    Integer p;
    Integer q;
    Integer dp;
    Integer dq;
    Integer u;

    static Crt Of(const Integer& p, const Integer& q, const Integer& d)
    {
        return {p, q, d % (p - 1), d % (q - 1), Inverse(p, q)};
    }
    int Raise(Operand& result, const Integer& base) const
    {
        return mp_modexp_crt(result, Operand(base), Operand(p), Operand(q), Operand(dp), Operand(dq), Operand(u));
    }
};

// Primes by their distance from a power of two.
const Integer prime_61 = (Integer(1) << 61) - 1;
const Integer prime_89 = (Integer(1) << 89) - 1;
const Integer prime_127 = (Integer(1) << 127) - 1;
const Integer prime_255 = (Integer(1) << 255) - 19;
const Integer prime_256 = (Integer(1) << 256) - 189;

// Only a number without a common divisor with p - 1 and q - 1 is the exponent of a key.
Integer PrivateExponent(RandomNumbers& numbers, const Integer& p, const Integer& q)
{
    Integer d = 0;
    while (gcd(d, (p - 1) * (q - 1)) != 1) {
        d = numbers.below(p * q);
    }
    return d;
}

void ExpectPowersOf(const Integer& p, const Integer& q)
{
    RandomNumbers numbers(static_cast<unsigned>(msb(p) * 3 + msb(q)));
    const Integer n = p * q;
    for (int round = 0; round < 12; ++round) {
        const Integer d = PrivateExponent(numbers, p, q);
        const Integer base = numbers.below(n);
        Operand result(99);
        ASSERT_EQ(Crt::Of(p, q, d).Raise(result, base), 0);
        ASSERT_EQ(result.value(), powm(base, d, n)) << std::hex << base << " ^ " << d;
        ASSERT_EQ(global_precision, 18U);
    }
}

class ModexpCrt : public testing::Test
{
protected:
    void Expect_Failure(int code, const Crt& key)
    {
        Operand result(99);
        EXPECT_EQ(key.Raise(result, 12345), code);
        EXPECT_EQ(result.value(), 1);
        EXPECT_EQ(global_precision, 18U);
    }

    Precision precision{18};
};

TEST_F(ModexpCrt, GivesThePowerModuloTheProductOfThePrimes)
{
    ExpectPowersOf(prime_255, prime_256);
    ExpectPowersOf(prime_61, prime_89);
    ExpectPowersOf(3, 5);
}

TEST_F(ModexpCrt, TakesTheGreaterPrimeFirstAsWell)
{
    ExpectPowersOf(prime_256, prime_255);
    ExpectPowersOf(prime_89, prime_61);
    ExpectPowersOf(prime_256, 3);
}

TEST_F(ModexpCrt, PrimesMayBeOfVeryDifferentLengths)
{
    const Integer long_prime = (Integer(1) << 521) - 1; // its square is longer than the precision
    ExpectPowersOf(3, long_prime);
    ExpectPowersOf(long_prime, 3);
    ExpectPowersOf(prime_61, prime_256);
}

TEST_F(ModexpCrt, BaseThatAPrimeDividesIsNoSpecialCase)
{
    for (const Integer& base : {Integer(0), prime_89, prime_127, Integer(prime_89 * 5)}) {
        const Integer d = (Integer(1) << 100) + 7;
        Operand result;
        EXPECT_EQ(Crt::Of(prime_89, prime_127, d).Raise(result, base), 0);
        EXPECT_EQ(result.value(), powm(base, d, Integer(prime_89 * prime_127)));
    }
}

TEST_F(ModexpCrt, BaseMayBeAboveTheProduct)
{
    const Integer n = prime_61 * prime_89;
    Operand result;
    EXPECT_EQ(Crt::Of(prime_61, prime_89, 12345).Raise(result, n * 1000 + 17), 0);
    EXPECT_EQ(result.value(), powm(Integer(17), Integer(12345), n));
}

TEST_F(ModexpCrt, ResultMayBeAnyOperand)
{
    const Crt key = Crt::Of(prime_61, prime_89, 12345);
    const Integer expected = powm(Integer(17), Integer(12345), Integer(prime_61 * prime_89));
    const Integer operands[] = {17, key.p, key.q, key.dp, key.dq, key.u};
    for (std::size_t aliased = 0; aliased < 6; ++aliased) {
        std::vector<Operand> o;
        for (const Integer& operand : operands) {
            o.emplace_back(operand);
        }
        EXPECT_EQ(mp_modexp_crt(o[aliased], o[0], o[1], o[2], o[3], o[4], o[5]), 0);
        EXPECT_EQ(o[aliased].value(), expected) << aliased;
    }
}

TEST_F(ModexpCrt, PowerThatFailsGivesItsCodeAndOne)
{
    const Integer top = modulus_of_precision() / 2;
    Expect_Failure(-2, {0, 7, 1, 1, 1});
    Expect_Failure(-2, {7, 0, 1, 1, 1});
    Expect_Failure(-2, {0, 0, 0, 0, 0});
    Expect_Failure(-2, {top, 7, 1, 1, 1});
    Expect_Failure(-2, {7, top, 1, 1, 1});
    Expect_Failure(-4, {7, 11, 7, 1, 1});
    Expect_Failure(-4, {7, 11, 1, 11, 1});
    Expect_Failure(-4, {1, 11, 1, 1, 1});
}

TEST_F(ModexpCrt, PrimeThatCannotBeStagedIsMinusFive)
{
    const Precision greatest(MAX_UNIT_PRECISION);
    const Integer long_number = (Integer(1) << 2080) + 1;
    for (const Crt& key : {Crt{long_number, 7, 5, 1, 1}, Crt{7, long_number, 1, 5, 1}, Crt{7, long_number, 1, 0, 1}}) {
        Operand result(99);
        EXPECT_EQ(key.Raise(result, 12345), -5);
        EXPECT_EQ(result.value(), 1);
    }
}

TEST_F(ModexpCrt, RubbishDoesNoHarmAndLeavesNoImages)
{
    constexpr std::size_t guards = 3;
    RandomNumbers numbers(77);
    for (int round = 0; round < 300; ++round) {
        const Precision any(1 + numbers.below(19U));
        const unsigned bits = global_precision * UNITSIZE;
        const unsigned caller_precision = global_precision;
        Operand o[5];
        for (Operand& operand : o) {
            operand = Operand(numbers.up_to(numbers.below(4U) == 0 ? 2 : bits));
        }
        Operand result(99, guards);
        const int code = mp_modexp_crt(result, Operand(numbers.up_to(bits)), o[0], o[1], o[2], o[3], o[4]);
        EXPECT_TRUE(code == 0 || result.value() == 1);
        EXPECT_TRUE(result.guards_intact());
        EXPECT_EQ(global_precision, caller_precision);
        EXPECT_EQ(moduli[0], nullptr);
        EXPECT_EQ(moduli_buf[0][0] | mpdbuf[0][0], 0U);
    }
}

} // namespace
