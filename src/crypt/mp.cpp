// Powers are nearly all additions and subtractions: these take two units a step. Division and multiplication go bit by
// bit, which is enough for the few of them that a key operation takes. The precision is read once a call: it has the
// type of a unit, so the compiler would have to expect every store into a number to change it.
#include "crypt/mp_number.h"

#include <algorithm>
#include <bit>
#include <cstddef>

unsigned qapi::global_precision = 18; // keys of 512 bits and the two units of room that one private operation wants

namespace {

// Two units as one number; a little-endian processor takes them at once.
std::uint64_t pair_at(const unit* r)
{
    return (std::uint64_t{r[1]} << UNITSIZE) | r[0];
}

void put_pair(unit* r, std::uint64_t value)
{
    r[0] = static_cast<unit>(value);
    r[1] = static_cast<unit>(value >> UNITSIZE);
}

// Takes the dividend's bits from the top into the remainder, and tells `quotient_bit` each one's number and value.
template <typename QuotientBit>
void divide(unit* remainder, const unit* dividend, const unit* divisor, QuotientBit quotient_bit)
{
    mp_init(remainder, 0);
    for (int bit = countbits(dividend) - 1; bit >= 0; --bit) {
        // A divisor with its top bit set lets the remainder grow one bit out of the array for a moment.
        const unit out = mp_rotate_left(remainder, bit_at(dividend, bit) ? 1 : 0);
        const bool fits = out != 0 || mp_compare(remainder, divisor) >= 0;
        if (fits) {
            mp_subb(remainder, divisor, 0);
        }
        quotient_bit(bit, fits);
    }
}

} // namespace

unit qapi::mp_addc(unit* r1, const unit* r2, unit carry)
{
    const std::size_t count = global_precision;
    std::size_t i = 0;
    for (; i + 1 < count; i += 2) {
        const std::uint64_t sum = pair_at(r1 + i) + carry;
        const std::uint64_t whole = sum + pair_at(r2 + i);
        carry = unit{sum < carry} | unit{whole < sum}; // never both
        put_pair(r1 + i, whole);
    }
    for (; i < count; ++i) {
        const std::uint64_t sum = std::uint64_t{r1[i]} + r2[i] + carry;
        r1[i] = static_cast<unit>(sum);
        carry = static_cast<unit>(sum >> UNITSIZE);
    }
    return carry;
}

unit qapi::mp_subb(unit* r1, const unit* r2, unit borrow)
{
    const std::size_t count = global_precision;
    std::size_t i = 0;
    for (; i + 1 < count; i += 2) {
        const std::uint64_t before = pair_at(r1 + i);
        const std::uint64_t difference = before - pair_at(r2 + i);
        put_pair(r1 + i, difference - borrow);
        borrow = unit{difference > before} | unit{difference < borrow}; // never both
    }
    for (; i < count; ++i) {
        const std::uint64_t difference = std::uint64_t{r1[i]} - r2[i] - borrow;
        r1[i] = static_cast<unit>(difference);
        borrow = static_cast<unit>(difference >> 63);
    }
    return borrow;
}

unit qapi::mp_rotate_left(unit* r, unit carry)
{
    const std::size_t count = global_precision;
    carry = carry != 0 ? 1 : 0;
    for (std::size_t i = 0; i < count; ++i) {
        const unit top = r[i] >> (UNITSIZE - 1);
        r[i] = (r[i] << 1) | carry;
        carry = top;
    }
    return carry;
}

int qapi::mp_compare(const unit* r1, const unit* r2)
{
    for (std::size_t i = global_precision; i-- > 0;) {
        if (r1[i] != r2[i]) {
            return r1[i] > r2[i] ? 1 : -1;
        }
    }
    return 0;
}

bool qapi::mp_inc(unit* r)
{
    const std::size_t count = global_precision;
    for (std::size_t i = 0; i < count; ++i) {
        if (++r[i] != 0) {
            return false;
        }
    }
    return true;
}

bool qapi::mp_dec(unit* r)
{
    const std::size_t count = global_precision;
    for (std::size_t i = 0; i < count; ++i) {
        if (r[i]-- != 0) {
            return false;
        }
    }
    return true;
}

void qapi::mp_neg(unit* r)
{
    std::transform(r, r + global_precision, r, [](unit digit) { return ~digit; });
    mp_inc(r);
}

void qapi::mp_init(unit* r, word16 value)
{
    std::fill_n(r, global_precision, 0);
    r[0] = value;
}

int qapi::significance(const unit* r)
{
    int count = static_cast<int>(global_precision);
    while (count > 0 && r[count - 1] == 0) {
        --count;
    }
    return count;
}

int qapi::countbits(const unit* r)
{
    const int count = significance(r);
    return count == 0 ? 0 : count * UNITSIZE - std::countl_zero(r[count - 1]);
}

int qapi::mp_udiv(unit* remainder, unit* quotient, const unit* dividend, const unit* divisor)
{
    if (significance(divisor) == 0) {
        return -1;
    }
    mp_init(quotient, 0);
    divide(remainder, dividend, divisor,
           [quotient](int bit, bool value) { quotient[bit >> LOG_UNITSIZE] |= unit{value} << (bit & (UNITSIZE - 1)); });
    return 0;
}

int qapi::mp_mod(unit* remainder, const unit* dividend, const unit* divisor)
{
    if (significance(divisor) == 0) {
        return -1;
    }
    divide(remainder, dividend, divisor, [](int, bool) {});
    return 0;
}

word16 qapi::mp_shortmod(const unit* dividend, word16 divisor)
{
    if (divisor == 0) {
        return 65535;
    }
    std::uint64_t remainder = 0;
    for (std::size_t i = global_precision; i-- > 0;) {
        remainder = ((remainder << UNITSIZE) | dividend[i]) % divisor;
    }
    return static_cast<word16>(remainder);
}

int qapi::mp_mult(unit* product, const unit* multiplicand, const unit* multiplier)
{
    mp_init(product, 0);
    for (int bit = countbits(multiplier) - 1; bit >= 0; --bit) {
        mp_rotate_left(product, 0);
        if (bit_at(multiplier, bit)) {
            mp_addc(product, multiplicand, 0);
        }
    }
    return 0;
}

void qapi::hiloswap(unsigned char* bytes, unsigned count)
{
    std::reverse(bytes, bytes + count);
}
