// Unsigned integers of a fixed width, for RSA. An integer is an array of `unit`, least significant first; every
// function works on the lowest `global_precision` units of the arrays it is given, whose owner is the caller. Nothing
// is allocated.
//
// The precision and the staged images are process-wide: whoever uses this module keeps calls apart.
#pragma once

#include <cstdint>

using unit = std::uint32_t;
using word16 = std::uint16_t;

inline constexpr int UNITSIZE = 32;
inline constexpr int LOG_UNITSIZE = 5;
inline constexpr int MIN_KEY_BITS = 384;
inline constexpr int MAX_KEY_BITS = 2048;
inline constexpr int MAX_BIT_PRECISION = 2112;
inline constexpr int MAX_BYTE_PRECISION = MAX_BIT_PRECISION / 8;
inline constexpr int MAX_UNIT_PRECISION = MAX_BIT_PRECISION / UNITSIZE;

namespace qapi {

// Units of every operand, 1 to MAX_UNIT_PRECISION. 18 until somebody sets it.
extern unsigned global_precision;

unit mp_addc(unit* r1, const unit* r2, unit carry);  // r1 += r2 + carry; returns the carry out
unit mp_subb(unit* r1, const unit* r2, unit borrow); // r1 -= r2 + borrow; returns the borrow out
unit mp_rotate_left(unit* r, unit carry);            // one bit to the left, carry in at the bottom; returns the top bit
int mp_compare(const unit* r1, const unit* r2);      // -1, 0, 1
bool mp_inc(unit* r);                                // += 1; true if it wrapped to 0
bool mp_dec(unit* r);                                // -= 1; true if it wrapped from 0
void mp_neg(unit* r);                                // two's complement
void mp_init(unit* r, word16 value);
int significance(const unit* r); // units up to the top one that is not 0
int countbits(const unit* r);    // bits up to the top one that is set

// remainder and quotient may not be the operands. -1, with nothing written, for a divisor of 0; else 0.
int mp_udiv(unit* remainder, unit* quotient, const unit* dividend, const unit* divisor);
int mp_mod(unit* remainder, const unit* dividend, const unit* divisor);

// Remainder by a 16-bit divisor; 65535 for a divisor of 0.
word16 mp_shortmod(const unit* dividend, word16 divisor);

// The lowest global_precision units of the product. `product` may not be an operand. Returns 0.
int mp_mult(unit* product, const unit* multiplicand, const unit* multiplier);

// Modular multiplication by Merritt's method: the modulus is staged once, as its images shifted by 0 to 31 bits, and
// then serves any number of multiplications of numbers below it. The modulus must leave its top unit free: -1 if it is
// 0 or does not. It must stay where it is, as the first of its images, until merritt_burn, which wipes them all.
// `product` may be an operand; -1, with nothing written, if no modulus is staged at the precision in force.
int stage_merritt_modulus(const unit* n);
int merritt_modmult(unit* product, const unit* multiplicand, const unit* multiplier);
void merritt_burn();

// result := base ^ exponent mod modulus. 0; -2 modulus 0 or its top bit set, -3 base not below it, -4 exponent not
// below it, -5 the modulus can't be staged. An exponent of 0 gives 1 whatever the modulus. `result` may be an operand.
int mp_modexp(unit* result, const unit* base, const unit* exponent, const unit* modulus);

// base ^ d mod p * q by the Chinese remainder theorem: dp = d mod (p - 1), dq = d mod (q - 1), u = p^-1 mod q. A power
// that fails gives its code and a result of 1.
int mp_modexp_crt(unit* result, const unit* base, const unit* p, const unit* q, const unit* dp, const unit* dq,
                  const unit* u);

// Reverses the order of `count` bytes.
void hiloswap(unsigned char* bytes, unsigned count);

} // namespace qapi

using qapi::countbits;
using qapi::global_precision;
using qapi::hiloswap;
using qapi::merritt_burn;
using qapi::merritt_modmult;
using qapi::mp_addc;
using qapi::mp_compare;
using qapi::mp_dec;
using qapi::mp_inc;
using qapi::mp_init;
using qapi::mp_mod;
using qapi::mp_modexp;
using qapi::mp_modexp_crt;
using qapi::mp_mult;
using qapi::mp_neg;
using qapi::mp_rotate_left;
using qapi::mp_shortmod;
using qapi::mp_subb;
using qapi::mp_udiv;
using qapi::significance;
using qapi::stage_merritt_modulus;
