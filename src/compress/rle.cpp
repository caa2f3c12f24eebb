#include "compress/rle.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace {

constexpr unsigned word_size = 8;
constexpr unsigned group_words = 64;
constexpr unsigned groups = 4;
constexpr unsigned masks_at = 8; // offset of the masks in a block

using Counts = std::array<unsigned, groups>; // words of each group
using Masks = std::array<std::uint64_t, groups>;

bool is_aligned(const unsigned char* buffer)
{
    return reinterpret_cast<std::uintptr_t>(buffer) % word_size == 0;
}

// A word moves as it is: the order of its bytes doesn't matter to anybody here.
std::uint64_t load_word(const unsigned char* from)
{
    std::uint64_t word = 0;
    std::memcpy(&word, from, word_size);
    return word;
}

void store_word(unsigned char* to, std::uint64_t word)
{
    std::memcpy(to, &word, word_size);
}

std::uint64_t load_mask(const unsigned char* from)
{
    std::uint64_t mask = 0;
    for (unsigned i = 0; i < word_size; ++i) {
        mask = mask << 8 | from[i];
    }
    return mask;
}

void store_mask(unsigned char* to, std::uint64_t mask)
{
    for (unsigned i = 0; i < word_size; ++i) {
        to[i] = static_cast<unsigned char>(mask >> (56 - 8 * i));
    }
}

// Full groups in turn, then what is left.
Counts RLE_adjust_size(unsigned len)
{
    unsigned words = (len + word_size - 1) / word_size;
    Counts counts{};
    for (unsigned& count : counts) {
        count = std::min(words, group_words);
        words -= count;
    }
    return counts;
}

// Copies the words of a group that are not zero and returns behind the last one. Each word is written, and stays when
// it is not zero: no branch depends on the data. The output never overtakes the place of the word in a block without a
// zero word, so what is written stays inside that.
unsigned char* pack_group(const unsigned char* in, unsigned words, unsigned char* out, std::uint64_t& mask)
{
    mask = 0;
    for (unsigned i = 0; i < words; ++i) {
        const std::uint64_t word = load_word(in + i * word_size);
        const std::uint64_t not_zero = word != 0 ? 1 : 0;
        store_word(out, word);
        out += not_zero * word_size;
        mask |= not_zero << i;
    }
    return out;
}

// Puts the words of a group where its mask tells; `out` is zero. Returns behind the words taken.
const unsigned char* unpack_group(const unsigned char* in, std::uint64_t mask, unsigned char* out)
{
    for (; mask != 0; mask &= mask - 1) {
        store_word(out + static_cast<unsigned>(std::countr_zero(mask)) * word_size, load_word(in));
        in += word_size;
    }
    return in;
}

// Bits for words that the block doesn't have are left out.
Masks load_masks(const unsigned char* block, const Counts& counts)
{
    Masks masks{};
    for (unsigned group = 0; group < groups; ++group) {
        const std::uint64_t present = counts[group] == group_words ? ~0ULL : (1ULL << counts[group]) - 1;
        masks[group] = load_mask(block + masks_at + group * word_size) & present;
    }
    return masks;
}

int block_length(const Masks& masks)
{
    int words = 0;
    for (const std::uint64_t mask : masks) {
        words += std::popcount(mask);
    }
    return RLE_HEADER_LEN + words * static_cast<int>(word_size);
}

} // namespace

unsigned short RLE_Compression(const unsigned char* in, unsigned char* out, unsigned short len)
{
    if (!is_aligned(in) || !is_aligned(out) || len > RLE_MAX_LEN) {
        return RLE_REFUSED;
    }
    store_word(out, 0);
    out[0] = static_cast<unsigned char>(len);
    out[1] = static_cast<unsigned char>(len >> 8);
    const Counts counts = RLE_adjust_size(len);
    unsigned char* end = out + RLE_HEADER_LEN;
    for (unsigned group = 0; group < groups; ++group) {
        std::uint64_t mask = 0;
        end = pack_group(in + group * group_words * word_size, counts[group], end, mask);
        store_mask(out + masks_at + group * word_size, mask);
    }
    return static_cast<unsigned short>(end - out);
}

unsigned short RLE_Decompression(const unsigned char* in, unsigned char* out, [[maybe_unused]] unsigned short unused,
                                 int available)
{
    if (!is_aligned(in) || !is_aligned(out) || available < RLE_HEADER_LEN) {
        return 0;
    }
    const unsigned len = in[0] | static_cast<unsigned>(in[1]) << 8;
    if (len > RLE_MAX_LEN) {
        return 0;
    }
    const Masks masks = load_masks(in, RLE_adjust_size(len));
    if (available < block_length(masks)) {
        return 0;
    }
    std::memset(out, 0, len); // bytes behind the length change only with the last word
    const unsigned char* words = in + RLE_HEADER_LEN;
    for (unsigned group = 0; group < groups; ++group) {
        words = unpack_group(words, masks[group], out + group * group_words * word_size);
    }
    return static_cast<unsigned short>(len);
}

unsigned short RLE_init(unsigned short len)
{
    return len;
}
