// A Lempel-Ziv coder with run lengths. It is there to be measured beside the two compressors of the transport; its
// output never travels.
//
// Byte 0 is LZ_COMPRESSED, or LZ_STORED with the plain bytes behind it. Compressed data are groups: a control word of
// 16 bits, big-endian, whose bits from the top tell for the next 16 items at most what they are:
//
//   0  literal    the byte
//   1  reference  2 bytes, big-endian: distance (1 to 4095) * 16 + length (3 to 18) - 3
//   1  run        4 bytes: 0, length (16 to 4095) - 16 as high and low byte, the byte to repeat
//
// All functions may run on any thread.
#pragma once

namespace qapi {

inline constexpr unsigned char LZ_COMPRESSED = 64;
inline constexpr unsigned char LZ_STORED = 128;
inline constexpr int LZ_EXTRA = 8; // bytes of the output buffer beyond the length of the input

// Returns the length of the output. `out` must hold `len` + LZ_EXTRA bytes. Input that would grow is stored, in
// `len` + 1 bytes; 65535 bytes that would, and whose stored form has no length in 16 bits, are refused with 0.
unsigned short Compression(const unsigned char* in, unsigned char* out, unsigned short len);

// Returns the length of the plain data, or 0 for a stream that is not one: an unknown first byte, an item that is cut
// off, a distance before the start, a run above 4095, or more than `room` bytes.
unsigned short Decompression(const unsigned char* in, unsigned char* out, unsigned short len, int room = 65535);

} // namespace qapi

using qapi::Compression;
using qapi::Decompression;
