// The parts of the cipher that have no chain, so that many words are worked on at a time: decryption of a run of
// blocks, and the inverses of a key schedule. Each exists twice, for any processor and for those with eight lanes of 16
// bits, with equal results. Private to the sources of the cipher, and to its tests.
#pragma once

#include "crypt/idea.h"

#include <array>
#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)
#define QAPI_IDEA_LANES 1
#endif

namespace qapi::idea {

// Words to be inverted at a time: the 18 factors of a schedule, and some to fill the lanes.
using Inverses = std::array<std::uint16_t, 24>;

// Each word becomes its inverse modulo 65537.
void invert_one_by_one(Inverses& words);
void invert_in_lanes(Inverses& words);

// Decrypts `blocks` blocks in CBC. `chain` is the cipher block before the first, and becomes the last one.
void decrypt_one_by_one(const std::uint16_t* dk, std::uint64_t& chain, const unsigned char* in, unsigned char* out,
                        int blocks);
void decrypt_in_lanes(const std::uint16_t* dk, std::uint64_t& chain, const unsigned char* in, unsigned char* out,
                      int blocks);

// Whether this processor has the lanes; without them the functions above that want them must not be called.
inline bool has_lanes()
{
#ifdef QAPI_IDEA_LANES
    return __builtin_cpu_supports("sse2") != 0;
#else
    return false;
#endif
}

} // namespace qapi::idea
