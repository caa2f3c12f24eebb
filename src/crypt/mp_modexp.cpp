// Merritt's method multiplies modulo n one unit of the multiplier at a time. Its steps keep the product below n, for
// any multiplicand a below n and any multiplier. Let U be the units in use; n leaves the top one free, so
// n < 2^(32 U - 32).
//
//   step                                   product afterwards       why
//   at the start, and after each unit      below n
//   shift left by one unit                 below 2^32 n < 2^(32 U)  nothing is lost at the top
//   subtract image 31 if it is reached     below 2^31 n             below twice the image, so once is enough
//   ... image 5                            below 2^5 n              each image halves the bound
//   add the images of a for the set bits   below 2^6 n              at most 32 of them, each below n
//   subtract images 5 ... 0                below n                  halved six times
//
// The largest image, 2^31 n, and the sum of 2^6 n fit into U units as well. An image of a is twice the one before it,
// so below 2 n, and one subtraction brings it below n again. The time that all this takes depends on the numbers.
#include "crypt/merritt.h"
#include "crypt/mp_number.h"

#include <algorithm>
#include <utility>

namespace qapi {

unit mpdbuf[MERRITT_STORED_IMAGES][MAX_UNIT_PRECISION];
unit moduli_buf[MERRITT_STORED_IMAGES][MAX_UNIT_PRECISION];
const unit* moduli[MERRITT_IMAGES];
unit msu_moduli[MERRITT_IMAGES];
unit nmsu_moduli[MERRITT_IMAGES];

} // namespace qapi

namespace {

using Images = const unit* [MERRITT_IMAGES];
using Block = unit[MERRITT_STORED_IMAGES][MAX_UNIT_PRECISION];

constexpr int BAD_MODULUS = -2;
constexpr int BASE_TOO_GREAT = -3;
constexpr int EXPONENT_TOO_GREAT = -4;
constexpr int NOT_STAGED = -5;

constexpr int highest_image = MERRITT_IMAGES - 1;
constexpr int images_of_a_sum = 6; // a sum of 32 numbers below n, and the product below 2^5 n, are below 2^6 n

unsigned staged_precision = 0;

void copy(unit* to, const unit* from)
{
    std::copy_n(from, global_precision, to);
}

// Image 0 is `number`, which must stay where it is while the images are in use; each further one is made in `block`
// from a copy of the one below it.
template <typename Make> void make_images(Images& images, Block& block, const unit* number, Make make)
{
    images[0] = number;
    for (int i = 1; i < MERRITT_IMAGES; ++i) {
        unit* const image = block[i - 1];
        copy(image, images[i - 1]);
        make(image);
        images[i] = image;
    }
}

// The top two units decide nearly always.
bool reaches(const unit* product, int image)
{
    const unit top = product[global_precision - 1];
    const unit next = product[global_precision - 2];
    if (top != msu_moduli[image]) {
        return top > msu_moduli[image];
    }
    if (next != nmsu_moduli[image]) {
        return next > nmsu_moduli[image];
    }
    return mp_compare(product, moduli[image]) >= 0;
}

void reduce_once(unit* product, int image)
{
    if (reaches(product, image)) {
        mp_subb(product, moduli[image], 0);
    }
}

// Unrolled by the compiler: `From`, then the ones below it, as many as there are steps.
template <int From, int... Steps> void reduce(unit* product, std::integer_sequence<int, Steps...>)
{
    (reduce_once(product, From - Steps), ...);
}

void add_once(unit* product, const unit* image, unit bit)
{
    if ((bit & 1) != 0) {
        mp_addc(product, image, 0);
    }
}

template <int... Steps>
void add_images(unit* product, const Images& images, unit bits, std::integer_sequence<int, Steps...>)
{
    (add_once(product, images[highest_image - Steps], bits >> (highest_image - Steps)), ...);
}

void shift_left_one_unit(unit* product)
{
    std::copy_backward(product, product + global_precision - 1, product + global_precision);
    product[0] = 0;
}

void stage_mp_images(Images& images, const unit* multiplicand)
{
    make_images(images, mpdbuf, multiplicand, [](unit* image) {
        mp_rotate_left(image, 0);
        reduce_once(image, 0);
    });
}

// One more unit of the multiplier, as in the table above.
void multiply_unit(unit* product, const Images& images, unit bits)
{
    constexpr int upper_images = MERRITT_IMAGES - images_of_a_sum + 1;
    shift_left_one_unit(product);
    reduce<highest_image>(product, std::make_integer_sequence<int, upper_images>());
    add_images(product, images, bits, std::make_integer_sequence<int, UNITSIZE>());
    reduce<images_of_a_sum - 1>(product, std::make_integer_sequence<int, images_of_a_sum>());
}

// A modulus staged at the precision that its images need, one unit above its own, while the object lives. The modulus
// must be an OwnNumber: that precision may be above the caller's.
class StagedModulus
{
public:
    explicit StagedModulus(const OwnNumber& modulus) : m_precision_before(global_precision)
    {
        const int needed = (countbits(modulus) + 2 * UNITSIZE - 1) / UNITSIZE;
        if (needed <= MAX_UNIT_PRECISION) {
            global_precision = static_cast<unsigned>(needed);
            m_staged = stage_merritt_modulus(modulus) == 0;
        }
    }
    ~StagedModulus()
    {
        merritt_burn();
        global_precision = m_precision_before;
    }
    StagedModulus(const StagedModulus&) = delete;
    StagedModulus& operator=(const StagedModulus&) = delete;

    [[nodiscard]] bool staged() const { return m_staged; }

private:
    unsigned m_precision_before;
    bool m_staged = false;
};

int check_power(const unit* base, const unit* exponent, const unit* modulus)
{
    const int bits = countbits(modulus);
    if (bits == 0 || bits == static_cast<int>(global_precision) * UNITSIZE) {
        return BAD_MODULUS;
    }
    if (mp_compare(base, modulus) >= 0) {
        return BASE_TOO_GREAT;
    }
    return mp_compare(exponent, modulus) >= 0 ? EXPONENT_TOO_GREAT : 0;
}

// Turns `power`, which holds the base, into its power with an exponent other than 0.
int raise(OwnNumber& power, const OwnNumber& exponent, const OwnNumber& modulus)
{
    const int bits = countbits(exponent);
    const StagedModulus staged(modulus);
    if (!staged.staged()) {
        return NOT_STAGED;
    }
    const OwnNumber base(power);
    OwnNumber square;
    for (int bit = bits - 2; bit >= 0; --bit) {
        merritt_modmult(square, power, power);
        if (bit_at(exponent, bit)) {
            merritt_modmult(power, square, base);
        } else {
            copy(power, square);
        }
    }
    return 0;
}

int power_by_prime(unit* result, const unit* base, const unit* exponent, const unit* prime)
{
    OwnNumber reduced;
    if (mp_mod(reduced, base, prime) != 0) {
        return BAD_MODULUS;
    }
    return mp_modexp(result, reduced, exponent, prime);
}

// t := (t - r) mod q. The remainder of r serves keys whose p is above q.
void subtract_modulo(unit* t, const unit* r, const unit* q)
{
    OwnNumber reduced;
    mp_mod(reduced, r, q);
    if (mp_subb(t, reduced, 0) != 0) {
        mp_addc(t, q, 0);
    }
}

// t := t * u mod q. By Merritt's method, because the product of two numbers below q need not fit into the precision.
int multiply_modulo(unit* t, const unit* u, const unit* q)
{
    OwnNumber reduced;
    mp_mod(reduced, u, q);
    const OwnNumber modulus(q);
    const StagedModulus staged(modulus);
    return staged.staged() ? merritt_modmult(t, t, reduced) : NOT_STAGED;
}

// result := the number that is r modulo p and t modulo q.
int combine(unit* result, const unit* r, OwnNumber& t, const unit* p, const unit* q, const unit* u)
{
    subtract_modulo(t, r, q);
    const int code = multiply_modulo(t, u, q);
    if (code == 0) {
        mp_mult(result, p, t);
        mp_addc(result, r, 0);
    }
    return code;
}

} // namespace

int qapi::stage_merritt_modulus(const unit* n)
{
    const int units = significance(n);
    if (units == 0 || units == static_cast<int>(global_precision)) {
        merritt_burn();
        return -1;
    }
    make_images(moduli, moduli_buf, n, [](unit* image) { mp_rotate_left(image, 0); });
    for (int i = 0; i < MERRITT_IMAGES; ++i) {
        msu_moduli[i] = moduli[i][global_precision - 1];
        nmsu_moduli[i] = moduli[i][global_precision - 2];
    }
    staged_precision = global_precision;
    return 0;
}

int qapi::merritt_modmult(unit* product, const unit* multiplicand, const unit* multiplier)
{
    if (staged_precision != global_precision) {
        return -1;
    }
    Images images;
    stage_mp_images(images, multiplicand);
    OwnNumber running;
    for (int i = significance(multiplier) - 1; i >= 0; --i) {
        multiply_unit(running, images, multiplier[i]);
    }
    copy(product, running);
    return 0;
}

void qapi::merritt_burn()
{
    Wipe(mpdbuf, sizeof mpdbuf);
    Wipe(moduli_buf, sizeof moduli_buf);
    Wipe(msu_moduli, sizeof msu_moduli);
    Wipe(nmsu_moduli, sizeof nmsu_moduli);
    std::fill_n(moduli, MERRITT_IMAGES, nullptr);
    staged_precision = 0;
}

int qapi::mp_modexp(unit* result, const unit* base, const unit* exponent, const unit* modulus)
{
    const OwnNumber own_exponent(exponent);
    OwnNumber power(base);
    const OwnNumber own_modulus(modulus);
    mp_init(result, 1); // from here on the operands may be gone
    if (significance(own_exponent) == 0) {
        return 0;
    }
    int code = check_power(power, own_exponent, own_modulus);
    if (code == 0) {
        code = raise(power, own_exponent, own_modulus);
    }
    if (code == 0) {
        copy(result, power);
    }
    return code;
}

int qapi::mp_modexp_crt(unit* result, const unit* base, const unit* p, const unit* q, const unit* dp, const unit* dq,
                        const unit* u)
{
    OwnNumber r;
    OwnNumber t;
    OwnNumber whole;
    int code = power_by_prime(r, base, dp, p);
    if (code == 0) {
        code = power_by_prime(t, base, dq, q);
    }
    if (code == 0) {
        code = combine(whole, r, t, p, q, u);
    }
    if (code == 0) {
        copy(result, whole);
    } else {
        mp_init(result, 1);
    }
    return code;
}
