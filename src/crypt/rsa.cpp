// How the padding is taken off. `front` is the first of the k bytes below the modulus, `back` lies behind the last one;
// nothing outside of them is looked at.
//
//   step                        fault  passes when
//   the power                   -1     base and exponent are below the modulus
//   the bytes ahead of front    -9     all are 0
//
//   type 1, reversed                   when the last byte is 1 and those at distances 17 and 18 from back are 255,
//                                      whatever the first one: looked for before the normal arrangement
//     front                     -7     is 1; the data begin behind it
//     back steps down           next   over the 1 and the bytes of 255, and stops on a 0: the data end ahead of it
//   type 1, normal
//     front                     -9     is 1
//     the padding               -9     bytes of 255, also none, then a 0: the data begin behind it
//
//   type 2, normal                     when the first byte is 2
//     the padding               -9     any bytes up to the first 0: the data begin behind it
//     the data                  -9     at least 1 byte
//   type 2, reversed                   when the first byte is not 2
//     the last byte             -9     is 2
//     back steps down           -9     to the first 0: the data lie between front and it
//     the data                  -9     at least 1 byte
//
// A block of type 1 whose data happen to end like a reversed one (a session key of FF FF ... 01 does) is read as normal
// when the way back does not end on a 0. A block of fewer than 18 bytes has nothing at those distances and is never
// reversed.
#include "crypt/rsa.h"

#include "crypt/crypt.h"
#include "crypt/mp_number.h"
#include "little_endian.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

namespace {

using Bytes = std::span<const unsigned char>;

constexpr int POWER_FAILED = -1;

constexpr unsigned char type_private = 1;
constexpr unsigned char type_public = 2;
constexpr unsigned char filler = 255; // padding of type 1

// A sound source gives so many zeros in a row once in 2^1024 bytes. One that gives nothing else must not hold us.
constexpr int most_zeros_in_a_row = 128;

int block_size()
{
    return static_cast<int>(global_precision * sizeof(unit));
}

// `k`: -1 for a modulus of 0.
int bytes_below(const unit* n)
{
    return (countbits(n) + 7) / 8 - 1;
}

// The bytes of a number, most significant first, and the way from and to the little-endian units at the border.
class PaddedBlock
{
public:
    PaddedBlock() = default;
    ~PaddedBlock() { Wipe(m_bytes, sizeof m_bytes); }
    PaddedBlock(const PaddedBlock&) = delete;
    PaddedBlock& operator=(const PaddedBlock&) = delete;

    unsigned char* begin() { return m_bytes; }
    [[nodiscard]] Bytes bytes() const { return {m_bytes, static_cast<std::size_t>(block_size())}; }

    void get(const OwnNumber& number);
    void put(OwnNumber& number);

private:
    unsigned char m_bytes[MAX_BYTE_PRECISION]{};
};

void load_number(OwnNumber& number, const unsigned char* in)
{
    char bytes[sizeof(unit)];
    const WipedAtEnd wiped(bytes);
    for (unsigned i = 0; i < global_precision; ++i) {
        std::memcpy(bytes, in + i * sizeof bytes, sizeof bytes);
        number[i] = load_le<unit>(bytes);
    }
}

void store_number(unsigned char* out, const OwnNumber& number)
{
    char bytes[sizeof(unit)];
    const WipedAtEnd wiped(bytes);
    for (unsigned i = 0; i < global_precision; ++i) {
        store_le(bytes, number[i]);
        std::memcpy(out + i * sizeof bytes, bytes, sizeof bytes);
    }
}

void PaddedBlock::get(const OwnNumber& number)
{
    store_number(m_bytes, number);
    hiloswap(m_bytes, static_cast<unsigned>(block_size()));
}

void PaddedBlock::put(OwnNumber& number)
{
    hiloswap(m_bytes, static_cast<unsigned>(block_size()));
    load_number(number, m_bytes);
}

// A random byte other than 0, or 0 from a source that gives no other.
unsigned char random_padding()
{
    unsigned char byte = 0;
    for (int tries = 0; byte == 0 && tries < most_zeros_in_a_row; ++tries) {
        byte = cryptRandByte();
    }
    return byte;
}

// Returns false if the source of random bytes is of no use.
bool fill_padding(unsigned char* to, int count, unsigned char type)
{
    if (type == type_private) {
        std::fill_n(to, count, filler);
        return true;
    }
    for (unsigned char* const end = to + count; to != end; ++to) {
        *to = random_padding();
        if (*to == 0) {
            return false;
        }
    }
    return true;
}

int pad(OwnNumber& number, const unsigned char* in, unsigned length, unsigned char type, const unit* n)
{
    const int k = bytes_below(n);
    const int least_padding = type == type_public ? 1 : 0;
    const std::int64_t room = std::int64_t{k} - 2 - length;
    if (room < least_padding) {
        return RSA_NO_ROOM;
    }
    const int padding = static_cast<int>(room);
    PaddedBlock block; // all the bytes that are not written below are 0
    unsigned char* const front = block.begin() + block_size() - k;
    *front = type;
    if (!fill_padding(front + 1, padding, type)) {
        return RSA_BAD_PADDING;
    }
    std::copy_n(in, length, front + 1 + padding + 1);
    block.put(number);
    return 0;
}

struct Found
{
    int fault;
    Bytes data;
};

constexpr Found bad_padding{RSA_BAD_PADDING, {}};

Found data_behind_zero(Bytes block, std::size_t zero)
{
    if (zero >= block.size() || block[zero] != 0) {
        return bad_padding;
    }
    return {0, block.subspan(zero + 1)};
}

// `padding` is where the padding of a reversed block begins: the 0 stands ahead of it.
Found data_ahead_of_zero(Bytes block, std::size_t start, std::size_t padding)
{
    if (padding <= start || block[padding - 1] != 0) {
        return bad_padding;
    }
    return {0, block.subspan(start, padding - 1 - start)};
}

std::size_t position(Bytes block, Bytes::iterator byte)
{
    return static_cast<std::size_t>(byte - block.begin());
}

bool looks_reversed(Bytes block)
{
    const std::size_t back = block.size();
    return back >= 18 && block.back() == type_private && block[back - 17] == filler && block[back - 18] == filler;
}

Found reversed_private(Bytes block)
{
    if (block.front() != type_private) {
        return {RSA_BAD_REVERSED, {}};
    }
    std::size_t back = block.size() - 1;
    while (back > 1 && block[back - 1] == filler) {
        --back;
    }
    return data_ahead_of_zero(block, 1, back);
}

Found unpad_private(Bytes block)
{
    if (looks_reversed(block)) {
        const Found found = reversed_private(block);
        if (found.fault != RSA_BAD_PADDING) {
            return found;
        }
    }
    if (block.empty() || block.front() != type_private) {
        return bad_padding;
    }
    const auto zero = std::find_if(block.begin() + 1, block.end(), [](unsigned char byte) { return byte != filler; });
    return data_behind_zero(block, position(block, zero));
}

Found reversed_public(Bytes block)
{
    std::size_t back = block.size() - 1;
    while (back > 0 && block[back - 1] != 0) {
        --back;
    }
    return data_ahead_of_zero(block, 0, back);
}

Found unpad_public(Bytes block)
{
    Found found = bad_padding;
    if (!block.empty() && block.front() == type_public) {
        found = data_behind_zero(block, position(block, std::find(block.begin() + 1, block.end(), 0)));
    } else if (!block.empty() && block.back() == type_public) {
        found = reversed_public(block);
    }
    return found.data.empty() ? bad_padding : found;
}

// Copies the data of a padded block to `out`.
int unpad(unsigned char* out, const OwnNumber& number, unsigned char type, const unit* n)
{
    PaddedBlock block;
    block.get(number);
    const int front = block_size() - std::max(bytes_below(n), 0);
    const Bytes ahead = block.bytes().first(static_cast<std::size_t>(front));
    const Bytes behind = block.bytes().subspan(ahead.size());
    if (std::any_of(ahead.begin(), ahead.end(), [](unsigned char byte) { return byte != 0; })) {
        return RSA_BAD_PADDING;
    }
    const Found found = type == type_public ? unpad_public(behind) : unpad_private(behind);
    if (found.fault == 0) {
        std::copy(found.data.begin(), found.data.end(), out);
    }
    return found.fault != 0 ? found.fault : static_cast<int>(found.data.size());
}

// remainder := d mod (prime - 1)
int reduce_exponent(OwnNumber& remainder, const unit* d, const unit* prime)
{
    OwnNumber prime_less_one(prime);
    mp_dec(prime_less_one);
    return mp_mod(remainder, d, prime_less_one);
}

int private_power(OwnNumber& number, const unit* d, const unit* p, const unit* q, const unit* u)
{
    OwnNumber dp;
    OwnNumber dq;
    if (reduce_exponent(dp, d, p) != 0 || reduce_exponent(dq, d, q) != 0) {
        return POWER_FAILED; // a "prime" of 1
    }
    return mp_modexp_crt(number, number, p, q, dp, dq, u);
}

} // namespace

int qapi::rsa_public_encrypt(unsigned char* out, const unsigned char* in, unsigned length, const unit* e, const unit* n)
{
    OwnNumber number;
    int code = pad(number, in, length, type_public, n);
    if (code == 0) {
        code = mp_modexp(number, number, e, n);
    }
    if (code == 0) {
        store_number(out, number);
    }
    return code;
}

int qapi::rsa_private_encrypt(unsigned char* out, const unsigned char* in, unsigned length, const unit*, const unit* d,
                              const unit* p, const unit* q, const unit* u, const unit* n)
{
    OwnNumber number;
    int code = pad(number, in, length, type_private, n);
    if (code == 0) {
        code = private_power(number, d, p, q, u);
    }
    if (code == 0) {
        store_number(out, number);
    }
    return code;
}

int qapi::rsa_public_decrypt(unsigned char* out, const unsigned char* in, const unit* e, const unit* n)
{
    OwnNumber number;
    load_number(number, in);
    if (mp_modexp(number, number, e, n) != 0) {
        return POWER_FAILED;
    }
    return unpad(out, number, type_private, n);
}

int qapi::rsa_private_decrypt(unsigned char* out, const unsigned char* in, const unit*, const unit* d, const unit* p,
                              const unit* q, const unit* u, const unit* n)
{
    OwnNumber number;
    load_number(number, in);
    if (private_power(number, d, p, q, u) != 0) {
        return POWER_FAILED;
    }
    return unpad(out, number, type_public, n);
}
