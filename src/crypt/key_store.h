// What the encryption needs of the key store beyond crypt.h. Private to the sources of this folder, and to their tests.
#pragma once

#include "crypt/crypt.h"

#include <cstdint>
#include <memory>

namespace qapi {

// Another machine's public key, in units of this machine's byte order, zeros above what was given.
struct _KEY_NODE
{
    std::uint32_t dest;
    unit v_n[MAX_UNIT_PRECISION];
    unit v_e[MAX_UNIT_PRECISION];
    std::unique_ptr<_KEY_NODE> next;
};

// Units that RSA works on here: a modulus of 512 bits, and room above it.
inline constexpr unsigned CRYPT_PRECISION = 18;

inline constexpr unsigned short CRYPT_WRITE_FAILED = 5;
inline constexpr unsigned short CRYPT_NO_FILE = 6;
inline constexpr unsigned short CRYPT_READ_FAILED = 9;
inline constexpr unsigned short CRYPT_WRONG_PASSWORD = 10;
inline constexpr unsigned short CRYPT_EMPTY_KEY = 11;
inline constexpr unsigned short CRYPT_NOT_PROTECTED = 12;  // no key for that machine, or RSA failed
inline constexpr unsigned short CRYPT_UNKNOWN_SENDER = 13; // no key of the sender, or RSA failed
inline constexpr unsigned short CRYPT_BAD_CHECK = 14;

// Every failure passes through here, so that one break point sees them all. Nothing is recorded.
unsigned short crypt_error(unsigned short code);
unsigned short crypt_host_error(unsigned short code); // of the operating system's making

// The key of that machine, or null.
const _KEY_NODE* crypt_find_key(std::uint32_t dest);

} // namespace qapi
