// Decryption of any block, under any key, at any precision: nothing outside the blocks is touched, a result is a known
// fault or a length that the modulus has room for, a failure leaves the output alone, and decryption in place gives the
// same. Byte 0 is the precision, byte 1 the kind of key; then come the block and the numbers of the key, each a byte of
// length and its bytes, zeros where the input ends.
#include "crypt/merritt.h"
#include "crypt/rsa.h"
#include "require.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using Number = std::vector<unit>; // of exactly the units in use

constexpr unsigned char untouched = 0x5A;
constexpr std::size_t longest_exponent = 8; // bytes: powers are slow, and their length is no matter here

constexpr unsigned transparent_precision = 18;

class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : m_next(data), m_end(data + size) {}

    unsigned char byte() { return m_next == m_end ? static_cast<unsigned char>(0) : *m_next++; }

    Bytes bytes(std::size_t most, std::size_t size)
    {
        const std::size_t count = std::min<std::size_t>(byte(), most);
        Bytes result(size);
        std::generate_n(result.begin(), count, [this] { return byte(); });
        return result;
    }

    Number number(std::size_t most)
    {
        const std::size_t size = std::size_t{global_precision} * 4;
        const Bytes digits = bytes(std::min(most, size), size);
        Number result(global_precision);
        for (std::size_t i = 0; i < size; ++i) {
            result[i / 4] |= static_cast<unit>(digits[i]) << (i % 4 * 8);
        }
        return result;
    }

private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};

struct Key
{
    Number n, e, d, p, q, u;
};

Key any_key(Input& input)
{
    Key key;
    for (Number* part : {&key.n, &key.p, &key.q, &key.u}) {
        *part = input.number(MAX_BYTE_PRECISION);
    }
    key.e = input.number(longest_exponent);
    key.d = input.number(longest_exponent);
    return key;
}

// 2 ^ exponent - less
Number below_power_of_two(unsigned exponent, unit less)
{
    Number result(global_precision);
    Number small(global_precision);
    result[exponent / 32] = unit{1} << (exponent % 32);
    small[0] = less;
    mp_subb(result.data(), small.data(), 0);
    return result;
}

// Two primes and exponents of 1, so that the input's block is its own power, and meets the padding as it stands.
Key transparent_key()
{
    Key key{Number(global_precision),    Number(global_precision),     Number(global_precision),
            below_power_of_two(255, 19), below_power_of_two(256, 189), Number(global_precision)};
    key.e[0] = 1;
    key.d[0] = 1;
    mp_mult(key.n.data(), key.p.data(), key.q.data());
    Number exponent = key.q; // the inverse modulo a prime is the power to the prime - 2
    exponent[0] -= 2;
    mp_modexp(key.u.data(), key.p.data(), exponent.data(), key.q.data());
    return key;
}

void require_sound(int result, const Bytes& out, const Key& key, unsigned precision)
{
    const int k = (countbits(key.n.data()) + 7) / 8 - 1;
    require(result == -1 || result == RSA_BAD_REVERSED || result == RSA_BAD_PADDING ||
            (result >= 0 && result <= k - 1));
    const auto written = out.begin() + std::max(result, 0);
    require(std::all_of(written, out.end(), [](unsigned char byte) { return byte == untouched; }));
    require(global_precision == precision && moduli[0] == nullptr);
}

template <typename Decrypt> void check(const Bytes& block, const Key& key, Decrypt decrypt)
{
    const unsigned precision = global_precision;
    Bytes out(block.size(), untouched);
    const int result = decrypt(out.data(), block.data());
    require_sound(result, out, key, precision);
    Bytes in_place = block;
    require(decrypt(in_place.data(), in_place.data()) == result);
    const auto rest = std::copy_n(out.begin(), std::max(result, 0), in_place.begin());
    require(std::equal(rest, in_place.end(), block.begin() + (rest - in_place.begin())));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const unsigned precision_byte = input.byte();
    const bool transparent = input.byte() % 2 == 1;
    const unsigned precision = precision_byte < 240 ? std::max(precision_byte % 20, 1U) : 65 + precision_byte % 2;
    static const Key own_power = [] {
        global_precision = transparent_precision;
        return transparent_key();
    }();
    global_precision = transparent ? transparent_precision : precision;
    const std::size_t block_size = std::size_t{global_precision} * 4;
    const Bytes block = input.bytes(block_size, block_size);
    const Key key = transparent ? own_power : any_key(input);
    check(block, key, [&](unsigned char* out, const unsigned char* in) {
        return rsa_public_decrypt(out, in, key.e.data(), key.n.data());
    });
    check(block, key, [&](unsigned char* out, const unsigned char* in) {
        return rsa_private_decrypt(out, in, key.e.data(), key.d.data(), key.p.data(), key.q.data(), key.u.data(),
                                   key.n.data());
    });
    return 0;
}
