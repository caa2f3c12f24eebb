// Zero-word suppression for blocks of up to 2048 bytes, taken as 8-byte words: words that are all zero are left out.
//
//   offset  width   content
//   0       2       length of the plain block, little-endian
//   2       6       zero
//   8       4 x 8   masks of the word groups 0 to 3, 64 words each: bit i of the mask, a big-endian number, is set when
//                   word i of the group is not zero
//   40      8 each  the words that are not zero, in order
//
// A block without a zero word grows by the 40 bytes. All functions may run on any thread.
#pragma once

inline constexpr unsigned short RLE_MAX_LEN = 2048;                // longest plain block
inline constexpr int RLE_HEADER_LEN = 40;                          // bytes ahead of the words
inline constexpr int RLE_MAX_BLOCK = RLE_HEADER_LEN + RLE_MAX_LEN; // longest compressed block
inline constexpr unsigned short RLE_REFUSED = 65535;               // result of RLE_Compression

// Compresses `len` bytes and returns the length of the block, or RLE_REFUSED, with `out` untouched, when `len` exceeds
// RLE_MAX_LEN or a buffer is not aligned to 8 bytes. The last word is read whole and its bytes behind `len` count: `in`
// must hold `len` rounded up to 8. `out` must hold RLE_HEADER_LEN more than that.
unsigned short RLE_Compression(const unsigned char* in, unsigned char* out, unsigned short len);

// Restores a block and returns its plain length. `in` holds `available` bytes. `out` must hold the plain length rounded
// up to 8, at most RLE_MAX_LEN. Returns 0, with `out` untouched, when a buffer is not aligned to 8 bytes, the length in
// the block exceeds RLE_MAX_LEN, or the block's words are not all there; a good block of length 0 returns 0 too.
// `unused` is not looked at.
unsigned short RLE_Decompression(const unsigned char* in, unsigned char* out, unsigned short unused,
                                 int available = RLE_MAX_BLOCK);

// Nothing is left to prepare; kept for its callers. Returns its argument.
unsigned short RLE_init(unsigned short len);
