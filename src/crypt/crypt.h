// Encryption of one buffer in place under a fresh IDEA key, which travels in a header ahead of the ciphertext, and the
// store of RSA keys that can protect it. The transport uses IDEA_DIRECT alone, in which the key stands in the clear:
// that is scrambling, not secrecy (docs/encryption.md). Nothing in the library opens the key store.
//
//   header  offset  width  name
//           0       2      mark      60139 in IDEA_ENCRYPT, 60394 in RSA_ENCRYPT
//           2       4      remitent  machine whose key protects the session key, 0 if none does
//           6       2      len       length of the plain data
//           8       16     ideakey   the session key
//           24      2      verif     copy of bytes 2 and 3 of the session key
//           26      54     extra     with RSA the protected key runs on here
//
// all little-endian. IDEA_DIRECT sends offsets 6 to 25, an unprotected key 0 to 25, a protected one 0 to 75; then comes
// the ciphertext, `len` rounded up to 8.
//
// The keys in use and the store are process-wide: whoever uses this module keeps calls apart. The transport calls it
// under DCON_lock.
#pragma once

#include "crypt/idea.h"
#include "crypt/mp.h"

#include <cstdint>

inline constexpr unsigned short IDEA_ENCRYPT = 1; // does nothing unless the environment variable CRYPT is set
inline constexpr unsigned short RSA_ENCRYPT = 2;  // session key protected by two RSA keys, if the store has them
inline constexpr unsigned short IDEA_DIRECT = 3;  // session key in the clear

inline constexpr int CRYPT_HEADER_SIZE = 76;       // bytes of the longest header on the wire
inline constexpr int CRYPT_HEADER_EXTRA_SIZE = 50; // bytes of it that only a protected key needs
inline constexpr int KEY_CRYPTED_SIZE = 18;        // ideakey and verif
inline constexpr int MAX_BUFF_LEN = 4000;          // longest plain data
inline constexpr int MAX_UNIT_PRECISION_512 = 512 / UNITSIZE;

inline constexpr int CRYPT_MAX_GROWTH = CRYPT_HEADER_SIZE + IDEABLOCKSIZE - 1; // most bytes that encryption adds

namespace qapi {

// One record of the key file, and the keys in memory. On disk all integers are little-endian.
struct key_data
{
    char mark[4];          // any four bytes
    char mark_validate[4]; // equal to mark in a good record: the passphrase was right
    char date[8];          // DDMMYYYY, the day from which the key holds
    unit v_n[MAX_UNIT_PRECISION];
    unit v_e[MAX_UNIT_PRECISION];
    unit v_d[MAX_UNIT_PRECISION];
    unit v_p[MAX_UNIT_PRECISION];
    unit v_q[MAX_UNIT_PRECISION];
    unit v_u[MAX_UNIT_PRECISION];
};
static_assert(sizeof(key_data) == 1600);

// A machine's public key in the list given to crypt_set_keys: dest (4), v_n (64), v_e (4).
inline constexpr int STR_DS_KEY_SIZE = 72;
inline constexpr int MAX_DS_KEYS = 10; // entries read from one list

struct _KEY_NODE; // a key in the list of other machines' keys, newest first

extern key_data Actual_Key;
extern key_data Future_Key;
extern std::uint32_t this_equip; // this machine
extern word16 EK[IDEAKEYLEN];    // expanded keys in use
extern word16 DK[IDEAKEYLEN];
extern unsigned short init_value; // result of crypt_init; 11 before the first one
extern _KEY_NODE* Frst_KEY_NODE;

// Opens the key file with its passphrase, moves the future key up when its day has come, and, if `new_password` is not
// null, stores both records under that one. `equip` is this machine's identity, a text of which the first four bytes
// count, zeros behind a shorter one; with an empty one no key can be protected. Returns 0, or: 5 write failed, 6 no
// such file or not to be written, 9 read failed, 10 wrong passphrase, 11 the current key is empty. When a file that was
// opened fails, no private number stays in memory, not even of an earlier call.
unsigned short crypt_init(const char* path, const char* equip, const char* password, const char* new_password);

// Frees the list of keys; after a successful crypt_init also wipes all keys.
void crypt_end();

// Takes public keys of other machines, STR_DS_KEY_SIZE bytes each: MAX_DS_KEYS of them, or as many as stand ahead of a
// dest of 0. A known machine's key is replaced.
void crypt_set_keys(const char* list);

// Encrypts data[start, end) in place and returns the bytes it grew by, at most CRYPT_MAX_GROWTH, which must be free
// behind `end`. Padding is zero. More than MAX_BUFF_LEN bytes can't be encrypted and must not leave in the clear: they
// become zeros, result 0. An end before the start, and IDEA_ENCRYPT that is not wanted, change nothing, result 0.
int crypt_encrypt_data(unsigned dest, char* data, unsigned short form, unsigned short start, unsigned short end);

// Decrypts data[start, end) in place and returns the bytes it shrank by, never more than there are. Data that can't be
// right (a wrong check word, no key, a length that is not there) become zeros as long as the header says and the buffer
// reaches, with the result that good data of that length have. `good`, if not null, tells whether the buffer held
// decrypted data to its end.
int crypt_decrypt_data(unsigned src, char* data, unsigned short form, unsigned short start, unsigned short end,
                       bool* good = nullptr);

// Writes 80 bytes about a public key and returns 80. `which`: 0 the current key, 1 the future one, 2 the newest of the
// list.
//
//   0 year (4)   4 month (2)   6 day (2)   8 machine (4)   12 modulus (64)   76 exponent (4)
int crypt_get_public_key(unsigned short which, char* out);

int crypt_idea_header_len(); // 28

// One random byte of the system's source.
unsigned char cryptRandByte();

} // namespace qapi

using qapi::Actual_Key;
using qapi::crypt_decrypt_data;
using qapi::crypt_encrypt_data;
using qapi::crypt_end;
using qapi::crypt_get_public_key;
using qapi::crypt_idea_header_len;
using qapi::crypt_init;
using qapi::crypt_set_keys;
using qapi::cryptRandByte;
using qapi::DK;
using qapi::EK;
using qapi::Frst_KEY_NODE;
using qapi::Future_Key;
using qapi::init_value;
using qapi::key_data;
using qapi::this_equip;
