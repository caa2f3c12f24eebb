// The cipher's rounds, for one block at a time. Private to the sources of the cipher.
//
// The chain of an encryption is serial, so what counts is how soon a product is there. Products are taken modulo 65537
// without a division, a comparison or a branch: with q = (2^64 - 1) / 65537 the lower 64 bits of a * k * q are the
// fraction of a * k / 65537, scaled by 2^64. Its upper 16 bits are r - 1, where r is the remainder, 1 to 65536, because
// 2^16 * r / 65537 lies between r - 1 and r, by at least 1 / 65537; the error of q is 2^-33 at most. What is k * q here
// is made once for each sub-key.
//
// So words live in the upper 16 bits of 64: sums and differences wrap by themselves, and the bits below may hold
// anything as long as no two words with such bits are added. A word that enters a product first loses 1, which makes
// 65535 of 0, and the product of what is left is increased by k * q: so 0 counts as 65536 with no case of its own.
#pragma once

#include "crypt/idea.h"
#include "little_endian.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qapi::idea {

using Word = std::uint16_t;
using High = std::uint64_t; // a word in the upper 16 bits

constexpr int high_shift = 48;
constexpr High one = High{1} << high_shift;
constexpr High word_mask = High{0xFFFF} << high_shift;
constexpr std::uint64_t reciprocal = ~std::uint64_t{0} / 65537;

constexpr High high(Word word)
{
    return High{word} << high_shift;
}

constexpr std::uint64_t less_one(High word)
{
    return (word - one) >> high_shift;
}

// A sub-key of a multiplication. Both numbers are stored, or compilers join them to (word + 1) * times, which is right
// and puts one more addition into the chain.
struct Factor
{
    std::uint64_t times; // k * q
    std::uint64_t plus;  // times + one, which also gives back the 1 that the result lacks

    Factor() = default;
    constexpr explicit Factor(Word key) : times((less_one(high(key)) + 1) * reciprocal), plus(times + one) {}
};

constexpr High product(std::uint64_t word_less_one, Factor factor)
{
    return word_less_one * factor.times + factor.plus;
}

constexpr Word multiply(Word left, Word right)
{
    return static_cast<Word>(product(less_one(high(left)), Factor(right)) >> high_shift);
}
static_assert(multiply(0, 0) == 1 && multiply(0, 1) == 0 && multiply(0, 2) == 65535 && multiply(3, 21846) == 1);

struct Block
{
    High words[4];
};

constexpr std::uint64_t big_endian(std::uint64_t value)
{
    return std::endian::native == std::endian::little ? __builtin_bswap64(value) : value;
}

inline std::uint64_t load_block(const unsigned char* bytes)
{
    std::uint64_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return big_endian(value);
}

inline void store_block(unsigned char* bytes, std::uint64_t value)
{
    value = big_endian(value);
    std::memcpy(bytes, &value, sizeof value);
}

constexpr Block split(std::uint64_t block)
{
    return {{block, block << 16, block << 32, block << 48}};
}

constexpr std::uint64_t join(const Block& block)
{
    const auto& words = block.words;
    return (words[0] & word_mask) | (words[1] & word_mask) >> 16 | (words[2] & word_mask) >> 32 | words[3] >> 48;
}

constexpr Block exclusive_or(const Block& left, const Block& right)
{
    return {{left.words[0] ^ right.words[0], left.words[1] ^ right.words[1], left.words[2] ^ right.words[2],
             left.words[3] ^ right.words[3]}};
}

// A key schedule made ready for the rounds.
class Cipher
{
public:
    explicit Cipher(const Word* schedule)
    {
        for (Round& round : m_rounds) {
            round = {Layer(schedule), Factor(schedule[4]), Factor(schedule[5])};
            schedule += 6;
        }
        m_last = Layer(schedule);
    }

    [[nodiscard]] Block operator()(Block block) const
    {
        for (const Round& round : m_rounds) {
            block = round(block);
        }
        const auto& words = block.words;
        return m_last({{words[0], words[2], words[1], words[3]}});
    }

private:
    // Each word with a sub-key of its own: what a round begins with, and the cipher ends with.
    struct Layer
    {
        Factor first;
        High second;
        High third;
        Factor fourth;

        Layer() = default;
        explicit Layer(const Word* keys) : first(keys[0]), second(high(keys[1])), third(high(keys[2])), fourth(keys[3])
        {
        }

        [[nodiscard]] Block operator()(const Block& block) const
        {
            const auto& words = block.words;
            return {{product(less_one(words[0]), first), words[1] + second, words[2] + third,
                     product(less_one(words[3]), fourth)}};
        }
    };

    struct Round
    {
        Layer layer;
        Factor fifth;
        Factor sixth;

        // The second and the third word change places.
        [[nodiscard]] Block operator()(const Block& block) const
        {
            const Block mixed = layer(block);
            const auto& words = mixed.words;
            const High even_words = (words[1] ^ words[3]) & word_mask;
            const High left = less_one(words[0] ^ words[2]) * fifth.times;
            const High sum_less_one = left + (fifth.plus - one + even_words);
            const High right = product(sum_less_one >> high_shift, sixth);
            const High both = ((left + fifth.plus) & word_mask) + right;
            return {{words[0] ^ right, words[2] ^ right, words[1] ^ both, words[3] ^ both}};
        }
    };

    std::array<Round, IDEAROUNDS> m_rounds;
    Layer m_last;
};

} // namespace qapi::idea
