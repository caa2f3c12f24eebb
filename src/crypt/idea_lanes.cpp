// Eight blocks lie across four registers, one word of each block in a lane of each register.
#include "crypt/idea_lanes.h"

#ifdef QAPI_IDEA_LANES

#include "crypt/idea_block.h"
#include "crypt/wipe.h"

#include <cstring>
#include <immintrin.h>

#define QAPI_LANES_TARGET __attribute__((target("sse2")))

namespace {

using namespace qapi;
using namespace qapi::idea;

constexpr int lanes = 8;
constexpr int run_bytes = lanes * IDEABLOCKSIZE;

QAPI_LANES_TARGET inline __m128i load(const void* bytes)
{
    __m128i value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

QAPI_LANES_TARGET inline void store(void* bytes, __m128i value)
{
    std::memcpy(bytes, &value, sizeof value);
}

QAPI_LANES_TARGET inline __m128i all(Word word)
{
    return _mm_set1_epi16(static_cast<short>(word));
}

// The remainder of high * 65536 + low is low - high, and 1 more where that borrows. low equals high only in a product
// of 0, which stands for -1 times the other factor, or for -1 * -1: 1 less both, as one of them is 0. The comparison
// for the borrow holds there as well, and gives the 1.
QAPI_LANES_TARGET inline __m128i multiply_lanes(__m128i left, __m128i right)
{
    const __m128i low = _mm_mullo_epi16(left, right);
    const __m128i high = _mm_mulhi_epu16(left, right);
    const __m128i borrow = _mm_cmpeq_epi16(_mm_subs_epu16(low, high), _mm_setzero_si128());
    const __m128i product_is_0 = _mm_cmpeq_epi16(low, high);
    const __m128i both = _mm_and_si128(product_is_0, _mm_add_epi16(left, right));
    return _mm_sub_epi16(_mm_sub_epi16(_mm_sub_epi16(low, high), borrow), both);
}

QAPI_LANES_TARGET inline __m128i times_key(__m128i words, Word key)
{
    return multiply_lanes(words, all(key));
}

QAPI_LANES_TARGET inline __m128i plus_key(__m128i words, Word key)
{
    return _mm_add_epi16(words, all(key));
}

struct Eight_Blocks
{
    __m128i words[4];
};

QAPI_LANES_TARGET inline __m128i swap_bytes(__m128i words)
{
    return _mm_or_si128(_mm_slli_epi16(words, 8), _mm_srli_epi16(words, 8));
}

// Eight rows of four words become four rows of eight.
QAPI_LANES_TARGET inline Eight_Blocks gather(const unsigned char* bytes)
{
    const __m128i row01 = swap_bytes(load(bytes));
    const __m128i row23 = swap_bytes(load(bytes + 16));
    const __m128i row45 = swap_bytes(load(bytes + 32));
    const __m128i row67 = swap_bytes(load(bytes + 48));
    const __m128i a = _mm_unpacklo_epi16(row01, row45); // words of blocks 0 and 4
    const __m128i b = _mm_unpackhi_epi16(row01, row45); // 1 and 5
    const __m128i c = _mm_unpacklo_epi16(row23, row67); // 2 and 6
    const __m128i d = _mm_unpackhi_epi16(row23, row67); // 3 and 7
    const __m128i ac_front = _mm_unpacklo_epi16(a, c);  // words 0 and 1 of the even blocks
    const __m128i ac_back = _mm_unpackhi_epi16(a, c);
    const __m128i bd_front = _mm_unpacklo_epi16(b, d);
    const __m128i bd_back = _mm_unpackhi_epi16(b, d);
    return {{_mm_unpacklo_epi16(ac_front, bd_front), _mm_unpackhi_epi16(ac_front, bd_front),
             _mm_unpacklo_epi16(ac_back, bd_back), _mm_unpackhi_epi16(ac_back, bd_back)}};
}

// The way back: blocks 2 * i and 2 * i + 1 in register i.
QAPI_LANES_TARGET inline Eight_Blocks scatter(const Eight_Blocks& blocks)
{
    const auto& words = blocks.words;
    const __m128i front_low = _mm_unpacklo_epi16(words[0], words[1]);
    const __m128i front_high = _mm_unpackhi_epi16(words[0], words[1]);
    const __m128i back_low = _mm_unpacklo_epi16(words[2], words[3]);
    const __m128i back_high = _mm_unpackhi_epi16(words[2], words[3]);
    return {{swap_bytes(_mm_unpacklo_epi32(front_low, back_low)), swap_bytes(_mm_unpackhi_epi32(front_low, back_low)),
             swap_bytes(_mm_unpacklo_epi32(front_high, back_high)),
             swap_bytes(_mm_unpackhi_epi32(front_high, back_high))}};
}

QAPI_LANES_TARGET inline Eight_Blocks layer(const Eight_Blocks& blocks, const Word* keys)
{
    const auto& words = blocks.words;
    return {{times_key(words[0], keys[0]), plus_key(words[1], keys[1]), plus_key(words[2], keys[2]),
             times_key(words[3], keys[3])}};
}

QAPI_LANES_TARGET inline Eight_Blocks cipher_round(const Eight_Blocks& blocks, const Word* keys)
{
    const Eight_Blocks mixed = layer(blocks, keys);
    const auto& words = mixed.words;
    const __m128i left = times_key(_mm_xor_si128(words[0], words[2]), keys[4]);
    const __m128i sum = _mm_add_epi16(left, _mm_xor_si128(words[1], words[3]));
    const __m128i right = times_key(sum, keys[5]);
    const __m128i both = _mm_add_epi16(left, right);
    return {{_mm_xor_si128(words[0], right), _mm_xor_si128(words[2], right), _mm_xor_si128(words[1], both),
             _mm_xor_si128(words[3], both)}};
}

QAPI_LANES_TARGET inline Eight_Blocks cipher_eight(Eight_Blocks blocks, const Word* schedule)
{
    for (int round = 0; round < IDEAROUNDS; ++round, schedule += 6) {
        blocks = cipher_round(blocks, schedule);
    }
    const auto& words = blocks.words;
    return layer({{words[0], words[2], words[1], words[3]}}, schedule);
}

// The chain is the eight bytes before each block, all taken before the first byte is written.
QAPI_LANES_TARGET void decrypt_run(const Word* dk, std::uint64_t& chain, const unsigned char* in, unsigned char* out)
{
    const __m128i cipher01 = load(in);
    unsigned char before_first[16] = {};
    store_block(before_first + IDEABLOCKSIZE, chain);
    const __m128i chains[4] = {_mm_or_si128(_mm_slli_si128(cipher01, 8), _mm_srli_si128(load(before_first), 8)),
                               load(in + 8), load(in + 24), load(in + 40)};
    chain = load_block(in + run_bytes - IDEABLOCKSIZE);
    const Eight_Blocks plain = scatter(cipher_eight(gather(in), dk));
    for (int i = 0; i < 4; ++i) {
        store(out + 16 * i, _mm_xor_si128(plain.words[i], chains[i]));
    }
}

} // namespace

QAPI_LANES_TARGET void qapi::idea::decrypt_in_lanes(const std::uint16_t* dk, std::uint64_t& chain,
                                                    const unsigned char* in, unsigned char* out, int blocks)
{
    for (; blocks >= lanes; blocks -= lanes, in += run_bytes, out += run_bytes) {
        decrypt_run(dk, chain, in, out);
    }
    if (blocks > 0) { // as part of a run of which the rest is thrown away
        const auto count = static_cast<std::size_t>(blocks) * IDEABLOCKSIZE;
        unsigned char run[run_bytes] = {};
        const WipedAtEnd wipe_run(run);
        std::memcpy(run, in, count);
        const std::uint64_t last = load_block(run + count - IDEABLOCKSIZE);
        decrypt_run(dk, chain, run, run);
        std::memcpy(out, run, count);
        chain = last;
    }
}

// The inverse is the power of 65535, as 65537 is prime.
QAPI_LANES_TARGET void qapi::idea::invert_in_lanes(Inverses& words)
{
    constexpr std::size_t registers = std::tuple_size_v<Inverses> / lanes;
    __m128i powers[registers];
    __m128i shifted[registers];
    for (std::size_t i = 0; i < registers; ++i) {
        powers[i] = load(&words[i * lanes]);
    }
    // 2^n - 1 ones in binary: n squarings and a product double them.
    for (int ones = 1; ones < 16; ones *= 2) {
        for (std::size_t i = 0; i < registers; ++i) {
            shifted[i] = powers[i];
        }
        for (int squaring = 0; squaring < ones; ++squaring) {
            for (__m128i& value : shifted) {
                value = multiply_lanes(value, value);
            }
        }
        for (std::size_t i = 0; i < registers; ++i) {
            powers[i] = multiply_lanes(powers[i], shifted[i]);
        }
    }
    for (std::size_t i = 0; i < registers; ++i) {
        store(&words[i * lanes], powers[i]);
    }
    Wipe(powers, sizeof powers);
    Wipe(shifted, sizeof shifted);
}

#else

void qapi::idea::decrypt_in_lanes(const std::uint16_t* dk, std::uint64_t& chain, const unsigned char* in,
                                  unsigned char* out, int blocks)
{
    decrypt_one_by_one(dk, chain, in, out, blocks);
}

void qapi::idea::invert_in_lanes(Inverses& words)
{
    invert_one_by_one(words);
}

#endif
