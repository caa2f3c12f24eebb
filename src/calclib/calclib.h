// Decimal arithmetic for amounts and prices: fixed-point numbers in words of four decimal digits, never binary floating
// point. A number is an array of CALC_MNUM. With the precision of this system (16 integer digits, 8 decimals):
//
//   word    holds
//   0       sign: CALC_SGNPOS, CALC_SGNNEG, or CALC_SGNOVERFLOW after an addition that overflowed
//   1 - 4   integer part, most significant word first, 0 to 9999 each
//   5 - 7   decimal part, first decimals first: 0.5 is 5000 in word 5. Positions 9 to 12 are the guard of divisions and
//           of roundings
//   8       not used
//
// The functions touch words 0 to 7 and allocate nothing; with another precision words 0 to GMNtDigD4, so an array for
// any of them has CALC_MXELEMD4 + 1. The result of an operation on two numbers replaces the second one; both may be the
// same array. Words outside 0 to 9999, which a peer may send, give some number and no harm; in a text they show as '#'.
//
// Any thread may call any function; the precision and the decimal point are set before threads start.
#pragma once

#include <atomic>
#include <cstdint>

using CALC_MNUM = std::int16_t;

inline constexpr int CALC_MXDIGITS = 32; // limit on integer digits plus decimals
inline constexpr int CALC_MXELEMD4 = CALC_MXDIGITS / 4 + 1;
inline constexpr int CALC_MNUM_LEN = CALC_MXDIGITS * static_cast<int>(sizeof(CALC_MNUM));

inline constexpr int CALC_SGN = 0; // index of the sign word
inline constexpr CALC_MNUM CALC_SGNPOS = 0;
inline constexpr CALC_MNUM CALC_SGNNEG = -1;
inline constexpr CALC_MNUM CALC_SGNOVERFLOW = 9;

inline constexpr int COMMON_CALC_INT = 16; // integer digits of this system
inline constexpr int COMMON_CALC_DEC = 8;  // decimals of this system
inline constexpr int COMMON_CALC_NUM_DIG = (COMMON_CALC_INT + 3) / 4 + (COMMON_CALC_DEC + 4) / 4; // digit words
inline constexpr int COMMON_CALC_SIZE = COMMON_CALC_NUM_DIG + 2;                                  // words of an array
inline constexpr int CALC_TOTAL_BYTES_MXDIGITS = COMMON_CALC_SIZE * static_cast<int>(sizeof(CALC_MNUM));

// ---- Precision -------------------------------------------------------------------------------------------------
// Written by calc_set_precision and calc_set_decimal_point alone. Before the first call they are those of (16, 8).
extern std::uint16_t GMNtInt;                  // integer digits
extern std::uint16_t GMNtDec;                  // decimals
extern std::uint16_t GMNtDig;                  // their sum
extern std::uint16_t GMMxLen;                  // the sum plus 1
extern std::uint16_t GMNumIntD4;               // integer words
extern std::uint16_t GMNumDecD4;               // decimal words, the guard included
extern std::uint16_t GMNtDigD4;                // digit words
extern std::uint16_t GMMxLenIntD4;             // sign word and digit words
extern char GMDecPoint;                        // decimal point, '.' at first
extern char GMCommaSepar;                      // the other separator, ',' at first
extern std::atomic<std::uint16_t> POS_INI_NUM; // first word that the latest calc_stom filled; for a debugger's eye

// Returns -1 and changes nothing if a count is negative or their sum exceeds CALC_MXDIGITS; else 0.
short calc_set_precision(short ints, short decs);

// ',' makes ',' the point and '.' the separator, '.' the reverse; anything else returns -1.
short calc_set_decimal_point(char c);

// ---- Arithmetic ------------------------------------------------------------------------------------------------

// Applies `op` ('+', '-', '*', '/') as the function below does and returns its result; -1 for another op.
int calc_do(const CALC_MNUM* a, short op, CALC_MNUM* b);

// b := a + b. Returns 1 on overflow: b holds the wrapped digits and the sign CALC_SGNOVERFLOW. The sum of two numbers
// with different signs and equal magnitude is zero with the sign of b: a negative zero is a zero that prints a minus.
int calc_add(const CALC_MNUM* a, CALC_MNUM* b);

// b := b - a, with the results of calc_add.
int calc_sub(const CALC_MNUM* a, CALC_MNUM* b);

// b := a * b, cut at the twelfth decimal. Returns 1 on overflow, as far as it is seen: in the digits from 10^16 to
// 10^19 and from 10^24 on, but not in those from 10^20 to 10^23 alone.
int calc_mul(const CALC_MNUM* a, CALC_MNUM* b);

// b := n * b over the integer words and the first decimal word, in 16-bit arithmetic; the other words stay. A negative
// n makes the sign word 1 exclusive-or the old one. Returns 1 when a carry is left. Nothing in the library calls it.
int calc_muli(int n, CALC_MNUM* b);

// b := b / a, cut at the twelfth decimal. Returns 1, with b cleared, on division by zero and on overflow; and 1, with
// b zero, when b was zero.
int calc_div(const CALC_MNUM* a, CALC_MNUM* b);

// ---- Text ------------------------------------------------------------------------------------------------------

// Blanks, an optional sign, blanks, digits, point, digits. Decimals beyond the precision are cut. Any other character
// counts as a digit 0 and is reported. Returns 2, with the number untouched, when there are too many integer digits;
// else 0.
int calc_stom(const char* text, CALC_MNUM* n);

// Counts the digits of a text. Moves *text behind blanks and sign; `sign` becomes CALC_SGNPOS or CALC_SGNNEG. Reports
// characters that do not belong into a number. Counts stop at 32767. Returns 0.
int calc_chkstr(const char** text, short* ints, short* decs, short* sign);

// Rounds to `decs` decimals and writes `len` characters, at most 32, and a terminator: `text` must hold `len` + 1. The
// number stands at the right behind blanks, or at the left, and shorter, if `left` is not 0. In front of the digits
// stands '-' if it is negative, '?' after an overflow, '+' if `plus` is not 0 and it is above zero. Digits that do not
// fit are dropped.
void calc_mtos(const CALC_MNUM* n, char* text, short len, short decs, int plus, int left);

// ---- Rounding and comparison -----------------------------------------------------------------------------------

// Rounds half up in magnitude at `decs` decimals, looking at one digit. Behind that place digits stay as they are, but
// for those of the same word when it is rounded up, and for all of them if `cut` is not 0.
void calc_redondear(CALC_MNUM* n, short decs, int cut);

// Keeps `decs` decimals. Returns 0.
short calc_truncate(CALC_MNUM* n, int decs);

// 1 if a digit among the first `decs` decimals is not zero, else 0.
short calc_with_decimals(const CALC_MNUM* n, int decs);

// 0 if equal, above 0 if a exceeds b, below 0 if a is less. A negative zero equals zero.
short calc_cmp(const CALC_MNUM* a, const CALC_MNUM* b);

// 1 if a digit word is not zero, whatever the sign.
short calc_not_zero(const CALC_MNUM* n);

void calc_mtom(const CALC_MNUM* from, CALC_MNUM* to);
void calc_zer(CALC_MNUM* n);

// Nines' complement; a sign word that is not 0 becomes 9.
void calc_com(CALC_MNUM* n);
