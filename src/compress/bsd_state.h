// What the two directions of BSD Compress share: the state as it is allocated, the strings of its dictionary and the
// rule that clears it. Private to src/compress/bsd*.cpp.
#pragma once

#include "compress/bsd.h"

#include <array>
#include <cstdint>
#include <memory>

// An entry of the dictionary, which stands under its code. A string is known by the code of the string without its last
// byte (`prefix`) and by its last byte (`suffix`). Entries above the highest code in use mean nothing. `hs`, `codem1`
// and `cptr` stand here for the layout and are not read.
struct bsd_dict
{
    struct Parts // as they lie on a little-endian machine
    {
        std::uint16_t prefix;
        std::uint8_t suffix;
        std::uint8_t pad;
    };
    union
    {
        std::uint32_t fcode; // suffix * 65536 + prefix: the only member the coder uses
        Parts hs;
    };
    std::uint16_t codem1; // the code minus 1, or bsd_free_entry
    std::uint16_t cptr;   // place in the hash table, for codes that stand there
};

// A string is kept as blocks of 8 bytes counted from its start: the last one stands here, the others belong to the
// code of the string that ends where this block starts. So a string is written in pieces of 8 bytes, none of which
// reaches back before its start.
struct alignas(16) bsd_string
{
    static constexpr unsigned block = 8;

    std::array<unsigned char, block> tail; // last block; bytes behind the string's end are zero
    std::uint16_t ancestor;                // code of the string without the last block; none when this is the only one
    std::uint8_t first;                    // first byte
};

constexpr unsigned bsd_clear_code = 256;
constexpr unsigned bsd_min_bits = 9;
constexpr unsigned bsd_max_bits = 12;
constexpr unsigned bsd_max_code = (1U << bsd_max_bits) - 1;
constexpr unsigned bsd_entries = 5003; // of the dictionary: more than there are codes
constexpr unsigned bsd_hash_shift = 4; // given, and not what the hash below is made with
constexpr std::uint16_t bsd_free_entry = 32767;
constexpr unsigned bsd_places = 32768; // of the hash table: so many that nearly all look-ups end at the first

inline std::uint32_t bsd_fcode(unsigned prefix, unsigned char suffix)
{
    return static_cast<std::uint32_t>(suffix) << 16 | prefix;
}

// The strings by code, for a decompressor.
struct bsd_strings
{
    std::array<std::uint16_t, bsd_max_code + 1> lens;
    std::array<bsd_string, bsd_max_code + 1> strings;

    void set_single_bytes();

    // Makes `code` the string of `prefix` with one byte more.
    void append(unsigned code, unsigned prefix, unsigned char byte);
};

// Which strings there are decides what is sent, not how they are found. So the hash table has codes alone, eight places
// for each, in the order that the hash gives and from there on the next place that is free: the entries' 5003 slots
// would cost several times the look-ups when they are three quarters full.
struct bsd_state : bsd_db
{
    std::array<bsd_dict, bsd_entries> entries;
    std::array<std::uint16_t, bsd_places> codes; // hash table: codes, or 0
    unsigned indexed;                            // highest code that the hash table has seen
    std::unique_ptr<bsd_strings> strings;        // in a decompressor only
};

inline bsd_state& bsd_state_of(void* state)
{
    return static_cast<bsd_state&>(*static_cast<bsd_db*>(state));
}

inline void bsd_set_entry(bsd_db& state, unsigned code, unsigned prefix, unsigned char suffix)
{
    state.dict[code].fcode = bsd_fcode(prefix, suffix);
    state.dict[code].codem1 = static_cast<std::uint16_t>(code - 1);
}

// Both ends widen their codes one string before a code that needs it can travel.
inline bool bsd_must_widen(unsigned max_ent, unsigned n_bits)
{
    return max_ent >= (1U << n_bits) - 1 && max_ent < bsd_max_code;
}

// Empties the dictionary.
void bsd_clear(bsd_state& state);

// Every 10000 plain bytes: clears a full dictionary that compresses worse than it did, and then returns true. Both ends
// decide alike, as they count alike.
[[nodiscard]] bool bsd_check(bsd_state& state);

// Statistics of a packet. What a packet counts as depends on its two lengths alone, not on the form that it travelled
// in, so the figures of both ends agree.
void bsd_count_packet(bsd_state& state, unsigned plain, std::uint64_t compressed);
