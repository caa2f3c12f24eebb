// The keys of tests/data/rsa_vectors.txt, and what a peer needs to make blocks of its own with Boost's integers.
#pragma once

#include "crypt/rsa.h"
#include "support/hex.h"
#include "support/mp_operand.h"
#include "support/vector_file.h"

#include <cstdint>
#include <string>
#include <vector>

struct RsaKey
{
    explicit RsaKey(const std::vector<std::string>& words)
        : units(static_cast<unsigned>(std::stoul(words.at(0)))), n(from_hex(words.at(1))), e(from_hex(words.at(2))),
          d(from_hex(words.at(3))), p(from_hex(words.at(4))), q(from_hex(words.at(5))), u(from_hex(words.at(6)))
    {
    }

    [[nodiscard]] std::size_t k() const { return (msb(n) + 8) / 8 - 1; }
    [[nodiscard]] std::size_t b() const { return std::size_t{units} * 4; }

    // The block that `exponent` opens: `bytes` raised by its counterpart, as it travels.
    [[nodiscard]] Bytes sealed(const Bytes& bytes, const Integer& exponent) const
    {
        Integer value = 0;
        for (const unsigned char byte : bytes) {
            value = (value << 8) | byte;
        }
        value = powm(value, exponent == e ? d : e, n);
        Bytes block;
        for (std::size_t i = 0; i < b(); ++i, value >>= 8) {
            block.push_back(static_cast<unsigned char>(value & 255));
        }
        return block;
    }

    // `out` and `in` have b() bytes.
    int public_decrypt(unsigned char* out, const unsigned char* in) const
    {
        return rsa_public_decrypt(out, in, Operand(e), Operand(n));
    }
    int private_decrypt(unsigned char* out, const unsigned char* in) const
    {
        return rsa_private_decrypt(out, in, Operand(e), Operand(d), Operand(p), Operand(q), Operand(u), Operand(n));
    }
    int public_encrypt(unsigned char* out, const Bytes& data) const
    {
        return rsa_public_encrypt(out, data.data(), static_cast<unsigned>(data.size()), Operand(e), Operand(n));
    }
    int private_encrypt(unsigned char* out, const Bytes& data) const
    {
        return rsa_private_encrypt(out, data.data(), static_cast<unsigned>(data.size()), Operand(e), Operand(d),
                                   Operand(p), Operand(q), Operand(u), Operand(n));
    }

    unsigned units;
    Integer n, e, d, p, q, u;
};

inline std::vector<RsaKey> stored_rsa_keys()
{
    std::vector<RsaKey> keys;
    for (const VectorLine& line : read_vectors("rsa_vectors.txt")) {
        if (line.operation == "key") {
            keys.emplace_back(line.operands);
        }
    }
    return keys;
}
