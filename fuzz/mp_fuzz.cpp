// Every operation gives what Boost's integers give, at any precision. Byte 0 is the precision, byte 1 the operation;
// the rest is cut into three numbers of equal length, little-endian.
#include "require.h"
#include "support/mp_operand.h"

#include <cstdint>

namespace {

struct Case
{
    Integer a, b, c;
    Integer end = modulus_of_precision();
};

Integer number_of(const std::uint8_t* data, std::size_t size)
{
    Integer value = 0;
    for (std::size_t i = size; i-- > 0;) {
        value = (value << 8) | data[i];
    }
    return value % modulus_of_precision();
}

void sums(const Case& t)
{
    const unit carry = bit_test(t.c, 0) ? 1 : 0;
    Operand r(t.a);
    require(mp_addc(r, Operand(t.b), carry) == (t.a + t.b + carry >= t.end ? 1U : 0U));
    require(r.value() == (t.a + t.b + carry) % t.end);
    require(mp_subb(r, Operand(t.b), carry) == (t.a + t.b + carry >= t.end ? 1U : 0U));
    require(r.value() == t.a);
}

void steps(const Case& t)
{
    Operand r(t.a);
    require(mp_rotate_left(r, 1) == (t.a * 2 >= t.end ? 1U : 0U));
    require(r.value() == (t.a * 2 + 1) % t.end);
    require(!mp_dec(r)); // its lowest bit is set
    require(!mp_inc(r));
    mp_neg(r);
    require(r.value() == t.end - (t.a * 2 + 1) % t.end);
    require(mp_compare(Operand(t.a), Operand(t.b)) == (t.a < t.b ? -1 : t.a > t.b ? 1 : 0));
    require(countbits(Operand(t.b)) == (t.b == 0 ? 0 : static_cast<int>(msb(t.b)) + 1));
}

void products(const Case& t)
{
    Operand product;
    mp_mult(product, Operand(t.a), Operand(t.b));
    require(product.value() == t.a * t.b % t.end);
}

void quotients(const Case& t)
{
    Operand remainder;
    Operand quotient;
    const int code = mp_udiv(remainder, quotient, Operand(t.a), Operand(t.b));
    require(code == (t.b == 0 ? -1 : 0));
    require(t.b == 0 || (quotient.value() == t.a / t.b && remainder.value() == t.a % t.b));
    const auto divisor = static_cast<word16>(t.c & 65535);
    require(mp_shortmod(Operand(t.a), divisor) == (divisor == 0 ? Integer(65535) : Integer(t.a % divisor)));
}

void modular_products(const Case& t)
{
    const Operand modulus(t.c);
    const bool fits = t.c != 0 && t.c < t.end >> 32;
    require(stage_merritt_modulus(modulus) == (fits ? 0 : -1));
    Operand product;
    if (fits && merritt_modmult(product, Operand(t.a % t.c), Operand(t.b)) == 0) {
        require(product.value() == (t.a % t.c) * t.b % t.c);
    }
    merritt_burn();
}

int expected_code(const Case& t, const Integer& exponent)
{
    if (exponent == 0) {
        return 0;
    }
    if (t.c == 0 || t.c >= t.end / 2) {
        return -2;
    }
    if (t.a >= t.c) {
        return -3;
    }
    if (exponent >= t.c) {
        return -4;
    }
    return msb(t.c) >= 2080 ? -5 : 0;
}

void powers(const Case& t)
{
    const Integer exponent = t.b & 0xFFFFFF; // longer ones only take longer
    const unsigned precision = global_precision;
    Operand result;
    const int code = mp_modexp(result, Operand(t.a), Operand(exponent), Operand(t.c));
    require(code == expected_code(t, exponent));
    require(result.value() == (code != 0 || exponent == 0 ? Integer(1) : Integer(powm(t.a, exponent, t.c))));
    require(global_precision == precision);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr void (*operations[])(const Case&) = {sums, steps, products, quotients, modular_products, powers};
    if (size < 2) {
        return 0;
    }
    const Precision precision(1U + data[0] % MAX_UNIT_PRECISION);
    const std::size_t third = (size - 2) / 3;
    const std::uint8_t* const numbers = data + 2;
    operations[data[1] % 6](
        {number_of(numbers, third), number_of(numbers + third, third), number_of(numbers + 2 * third, third)});
    return 0;
}
