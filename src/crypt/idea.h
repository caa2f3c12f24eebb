// The block cipher IDEA, as published: 8 rounds, blocks of 64 bits, keys of 128 bits, 52 sub-keys of 16 bits. The
// chaining is this system's own: CBC whose initial value is fixed by the key, so that nothing but the key has to
// travel. All functions may run on any thread.
#pragma once

#include <cstdint>

inline constexpr int IDEAROUNDS = 8;
inline constexpr int IDEAKEYSIZE = 16;  // bytes of a key
inline constexpr int IDEABLOCKSIZE = 8; // bytes of a block
inline constexpr int IDEAKEYLEN = 6 * IDEAROUNDS + 4;

namespace qapi {

// Sub-keys for encryption. The bytes of the key are big-endian words.
void ideaExpandKey(const unsigned char* key, unsigned short* schedule);

// Sub-keys for decryption. `inverse` may be `schedule`.
void ideaInvertKey(const unsigned short* schedule, unsigned short* inverse);

// One block, words big-endian. `out` may be `in`.
void ideaCipher(const unsigned char* in, unsigned char* out, const unsigned short* schedule);

// CBC over the whole blocks of `len` bytes; a partial last block is left alone. The initial value is the first four
// sub-keys of `ek`, each in little-endian order. `out` may be `in`.
void DataEncrypt(const unsigned short* ek, const unsigned char* in, unsigned char* out, int len);
void DataDecrypt(const unsigned short* ek, const unsigned short* dk, const unsigned char* in, unsigned char* out,
                 int len);

struct IdeaCfbContext
{
    unsigned char oldcipher[IDEABLOCKSIZE];
    unsigned char iv[IDEABLOCKSIZE];
    std::uint16_t key[IDEAKEYLEN];
    int bufleft;
};

// Starts a stream at `iv`, or at zeros if null. Nothing in the library calls it.
void ideaCfbReinit(IdeaCfbContext* context, const unsigned char* iv);

} // namespace qapi

using qapi::DataDecrypt;
using qapi::DataEncrypt;
using qapi::IdeaCfbContext;
using qapi::ideaCfbReinit;
using qapi::ideaCipher;
using qapi::ideaExpandKey;
using qapi::ideaInvertKey;
