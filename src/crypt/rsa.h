// RSA over one padded block. An encrypted block is the number in units, least significant first, as it lies in a
// little-endian memory: global_precision * 4 bytes, of which the modulus fills the lowest. Keys are arrays of
// global_precision units. Called by one thread at a time (see mp.h).
//
// The padded block, most significant byte first, with k bytes that fit below the modulus:
//
//   zeros   type   padding                                    0   data
//           2      k - len - 2 random bytes other than 0, at least 1
//           1      k - len - 2 bytes of 255, also none
//
// On decryption two arrangements are taken: this one, and the reversed one, with the data in front.
#pragma once

#include "crypt/mp.h"

namespace qapi {

inline constexpr int RSA_NO_ROOM = -4;      // the data leave no room for the padding
inline constexpr int RSA_BAD_REVERSED = -7; // a reversed block of type 1 that doesn't begin with 1
inline constexpr int RSA_BAD_PADDING = -9;

// Pads `length` bytes and raises them to a power. `out` receives global_precision * 4 bytes and may be `in`. 0, or a
// negative code: RSA_NO_ROOM, the one of the power, or RSA_BAD_PADDING if the source of random bytes gives only zeros.
// `out` is untouched then.
int rsa_public_encrypt(unsigned char* out, const unsigned char* in, unsigned length, const unit* e, const unit* n);
int rsa_private_encrypt(unsigned char* out, const unsigned char* in, unsigned length, const unit* e, const unit* d,
                        const unit* p, const unit* q, const unit* u, const unit* n);

// Takes global_precision * 4 bytes at `in`, and returns the length of the data written to `out`, which must hold as
// many and may be `in`. Negative: -1 when the power fails, else a fault of the padding; `out` is untouched then.
int rsa_public_decrypt(unsigned char* out, const unsigned char* in, const unit* e, const unit* n);
int rsa_private_decrypt(unsigned char* out, const unsigned char* in, const unit* e, const unit* d, const unit* p,
                        const unit* q, const unit* u, const unit* n);

} // namespace qapi

using qapi::RSA_BAD_PADDING;
using qapi::RSA_BAD_REVERSED;
using qapi::RSA_NO_ROOM;
using qapi::rsa_private_decrypt;
using qapi::rsa_private_encrypt;
using qapi::rsa_public_decrypt;
using qapi::rsa_public_encrypt;
