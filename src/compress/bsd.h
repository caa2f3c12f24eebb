// BSD Compress: the dictionary method of RFC 1977, over a stream of packets with one dictionary that lives as long as
// the connection. Both ends build the same dictionary from the same packets; neither ever sends a reset, so every
// packet that was compressed and then sent plain must pass through bsd_incomp on the receiving side.
//
// On the wire a packet is a run of codes of 9 to 12 bits, packed from the most significant bit; the last byte is filled
// with one-bits. There is no header. Code 256 (CLEAR) may stand at the end of a packet only. Codes from 257 on are the
// strings of the dictionary.
//
//   bytes "aaaa" in a new dictionary: codes 97, 257, 97 in 9 bits: 30 C0 4C 3F
//
// A state belongs to one direction of one connection and has no lock: its owner keeps calls apart.
#pragma once

#include <cstdint>

struct bsd_dict;
struct bsd_string; // a string of the dictionary as a decompressor keeps it

inline constexpr int BSD_BAD_CODE = 20002;    // result of bsd_decompress for a bad packet, and for one of 19999 bytes
inline constexpr int BSD_OVERHEAD = 3;        // what bsd_decompress counts above the length of the data
inline constexpr int BSD_BUFFER_SIZE = 60096; // bytes of a buffer of the transport

struct bsd_db
{
    int totlen;            // bytes of the dictionary and its head
    unsigned hsize;        // entries of the dictionary
    std::uint8_t hshift;   // not used
    std::uint8_t n_bits;   // width of the next code
    std::uint8_t maxbits;  // widest code
    std::uint8_t debug;    // not 0: say on standard output what is wrong with a packet
    std::uint8_t unit;     // number in those texts
    std::uint16_t seqno;   // packets
    unsigned mru;          // not used
    unsigned maxmaxcode;   // highest code there can be
    unsigned max_ent;      // highest code in use
    unsigned in_count;     // plain bytes since the last CLEAR, thinned out by bsd_check
    unsigned bytes_out;    // the same, compressed
    unsigned ratio;        // best in_count * 256 / bytes_out seen with a full dictionary
    unsigned checkpoint;   // in_count of the next look at the ratio
    unsigned clear_count;  // CLEARs
    unsigned incomp_count; // statistics: packets that are not shorter in compressed form, and their plain bytes
    unsigned incomp_bytes;
    unsigned uncomp_count; // all packets, and their plain bytes
    unsigned uncomp_bytes;
    unsigned comp_count; // packets that are shorter, and their compressed bytes
    unsigned comp_bytes;
    std::uint16_t* lens; // length of the string of each code; in a decompressor only
    bsd_dict* dict;      // the strings by code
};

// A state as bsd_comp_init and bsd_decomp_init leave it for unit 0 without debug, or null without memory. To be
// released with bsd_free.
void* bsd_comp_alloc();
void* bsd_decomp_alloc();
void bsd_free(void* state);

// Empties the dictionary; on both ends at every connect. Returns 1. `unused` is not looked at. The statistics go on.
int bsd_comp_init(void* state, int unit, int unused, int debug);
int bsd_decomp_init(void* state, int unit, int unused, int debug);

// Compresses `len` bytes, advances the dictionary and returns the length of the output, which may exceed `len` by half
// and some bytes. Bytes behind the first `room` of the output are counted and not written. `out` may be null: nothing
// is written at all. An empty packet, or a negative length, is 0 bytes long and changes nothing.
int bsd_compress(void* state, const unsigned char* in, unsigned char* out, int len, int room = BSD_BUFFER_SIZE);

// Advances the dictionary as bsd_compress does, without output. Serves states of both directions.
void bsd_incomp(void* state, const unsigned char* in, int len);

// Decompresses a packet of `len` bytes and returns the length of the data plus BSD_OVERHEAD, also for an empty packet.
// The bytes counted above the data are not written: they are what stands in `out`. A bad packet, one whose result would
// exceed `room`, and any that is not empty on a compressor's state return BSD_BAD_CODE and leave the state as it was;
// `out` may hold a part of the data then. A good packet of 19999 bytes has the same result: it is told from a bad one
// by `seqno`, which has advanced then and only then.
int bsd_decompress(void* state, const unsigned char* in, int len, unsigned char* out, int room = BSD_BUFFER_SIZE);
