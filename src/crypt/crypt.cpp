#include "crypt/crypt.h"

#include "crypt/key_store.h"
#include "crypt/rsa.h"
#include "crypt/wipe.h"
#include "little_endian.h"
#include "system_seam.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

using namespace qapi;

constexpr std::uint16_t idea_mark = 60139;
constexpr std::uint16_t rsa_mark = 60394;

// The header in memory. Offsets as in crypt.h; the names below are those of the wire.
constexpr int header_in_memory = 80;
constexpr int mark_offset = 0;
constexpr int remitent_offset = 2;
constexpr int len_offset = 6;
constexpr int ideakey_offset = 8;
constexpr int verif_offset = 24;

constexpr int unprotected_size = CRYPT_HEADER_SIZE - CRYPT_HEADER_EXTRA_SIZE;
constexpr int direct_size = unprotected_size - len_offset;

// A key of 64 bytes under another of 64: padding leaves room for 60 of them, and the last four stand behind.
constexpr int inner_part = 60;
constexpr int inner_rest_offset = ideakey_offset + inner_part;
constexpr int travelling_rest_offset = 72;
constexpr int rest_size = 4;
static_assert(ideakey_offset + static_cast<int>(CRYPT_PRECISION) * UNITSIZE / 8 == header_in_memory);
static_assert(travelling_rest_offset + rest_size == CRYPT_HEADER_SIZE);

constexpr int rounded(int length)
{
    return (length + IDEABLOCKSIZE - 1) / IDEABLOCKSIZE * IDEABLOCKSIZE;
}

unsigned char* as_bytes(char* text)
{
    return reinterpret_cast<unsigned char*>(text);
}

struct Header
{
    char bytes[header_in_memory] = {};

    [[nodiscard]] unsigned char* key() { return as_bytes(bytes) + ideakey_offset; }
    [[nodiscard]] std::uint16_t mark() const { return load_le<std::uint16_t>(bytes + mark_offset); }
    [[nodiscard]] std::uint32_t remitent() const { return load_le<std::uint32_t>(bytes + remitent_offset); }
    [[nodiscard]] int len() const { return load_le<std::uint16_t>(bytes + len_offset); }

    void set_mark(std::uint16_t mark) { store_le(bytes + mark_offset, mark); }
    void set_remitent(std::uint32_t machine) { store_le(bytes + remitent_offset, machine); }
    void set_len(int len) { store_le(bytes + len_offset, static_cast<std::uint16_t>(len)); }

    // The check word is a copy of the key's second word.
    void set_check() { std::memcpy(bytes + verif_offset, bytes + ideakey_offset + 2, 2); }
    [[nodiscard]] bool check_holds() const
    {
        return std::memcmp(bytes + verif_offset, bytes + ideakey_offset + 2, 2) == 0;
    }
};

// Where a form's header begins in memory.
int first_offset(unsigned short form)
{
    return form == IDEA_DIRECT ? len_offset : mark_offset;
}

bool is_protected(const Header& header, unsigned short form)
{
    return form != IDEA_DIRECT && header.mark() == rsa_mark && header.remitent() != 0;
}

// Bytes on the wire.
int header_size(const Header& header, unsigned short form)
{
    if (form == IDEA_DIRECT) {
        return direct_size;
    }
    return is_protected(header, form) ? CRYPT_HEADER_SIZE : unprotected_size;
}

// ---- Encryption ----------------------------------------------------------------------------------------------------

bool idea_is_wanted()
{
    static const bool wanted = std::getenv("CRYPT") != nullptr;
    return wanted;
}

// The key file has room for longer moduli than a header has.
bool fits_a_header(const unit (&modulus)[MAX_UNIT_PRECISION])
{
    return std::all_of(modulus + MAX_UNIT_PRECISION_512, modulus + MAX_UNIT_PRECISION,
                       [](unit upper) { return upper == 0; });
}

// First with the own private key, so that the other machine knows who speaks; then with the other's public key.
bool protect_key(Header& header, const _KEY_NODE& receiver)
{
    const key_data& own = Actual_Key;
    if (!fits_a_header(own.v_n)) {
        return false;
    }
    global_precision = CRYPT_PRECISION;
    if (rsa_private_encrypt(header.key(), header.key(), KEY_CRYPTED_SIZE, own.v_e, own.v_d, own.v_p, own.v_q, own.v_u,
                            own.v_n) < 0) {
        return false;
    }
    char rest[rest_size];
    std::memcpy(rest, header.bytes + inner_rest_offset, rest_size);
    if (rsa_public_encrypt(header.key(), header.key(), inner_part, receiver.v_e, receiver.v_n) < 0) {
        return false;
    }
    std::memcpy(header.bytes + travelling_rest_offset, rest, rest_size);
    return true;
}

// The key that can't be protected travels in the clear, and the header says so.
void try_to_protect_key(Header& header, std::uint32_t dest)
{
    Header kept = header;
    const WipedAtEnd wipe_kept(kept);
    const _KEY_NODE* receiver = init_value == 0 ? crypt_find_key(dest) : nullptr;
    header.set_remitent(this_equip);
    if (receiver == nullptr || (this_equip != 0 && !protect_key(header, *receiver))) {
        crypt_error(CRYPT_NOT_PROTECTED);
        header = kept;
    }
}

// A session key, with its check word behind it, that ends a padded block like one of the reversed arrangement: 1 as the
// last byte, 255 at distances 17 and 18 from the end. Its reader could take it for that.
bool looks_reversed(const unsigned char* key)
{
    return key[0] == 255 && key[1] == 255 && key[3] == 1;
}

void draw_key(unsigned char* key)
{
    constexpr int tries = 4; // a source that repeats itself must not hold us
    for (int i = 0; i < tries; ++i) {
        System().random_bytes(key, IDEAKEYSIZE);
        if (!looks_reversed(key)) {
            return;
        }
    }
}

// A header with a new session key, which is also expanded into EK.
void fill_header(Header& header, std::uint32_t dest, unsigned short form, int length)
{
    header.set_len(length);
    draw_key(header.key());
    header.set_check();
    ideaExpandKey(header.key(), EK);
    if (form == IDEA_ENCRYPT) {
        header.set_mark(idea_mark);
    } else if (form == RSA_ENCRYPT) {
        header.set_mark(rsa_mark);
        try_to_protect_key(header, dest);
    }
}

// ---- Decryption ----------------------------------------------------------------------------------------------------

// The session key of a frame, or a code.
unsigned short uncover_key(Header& header)
{
    const _KEY_NODE* sender = crypt_find_key(header.remitent());
    if (sender == nullptr) {
        return crypt_error(CRYPT_UNKNOWN_SENDER);
    }
    global_precision = CRYPT_PRECISION;
    char rest[rest_size];
    std::memcpy(rest, header.bytes + travelling_rest_offset, rest_size);
    std::memset(header.bytes + travelling_rest_offset, 0, rest_size);
    const key_data& own = Actual_Key;
    if (rsa_private_decrypt(header.key(), header.key(), own.v_e, own.v_d, own.v_p, own.v_q, own.v_u, own.v_n) !=
        inner_part) {
        return crypt_error(CRYPT_UNKNOWN_SENDER);
    }
    std::memcpy(header.bytes + inner_rest_offset, rest, rest_size);
    if (rsa_public_decrypt(header.key(), header.key(), sender->v_e, sender->v_n) != KEY_CRYPTED_SIZE) {
        return crypt_error(CRYPT_UNKNOWN_SENDER);
    }
    return 0;
}

// Makes EK and DK of the key that the header carries; 0, or a code.
unsigned short take_key(Header& header, unsigned short form)
{
    if (is_protected(header, form)) {
        if (const unsigned short failure = uncover_key(header); failure != 0) {
            return failure;
        }
    }
    if (!header.check_holds()) {
        return crypt_error(CRYPT_BAD_CHECK);
    }
    ideaExpandKey(header.key(), EK);
    ideaInvertKey(EK, DK);
    return 0;
}

// Copies what there is of a frame's header; the rest of it stays zero.
void read_header(Header& header, const char* frame, int available, unsigned short form)
{
    const int first = first_offset(form);
    std::memcpy(header.bytes + first, frame, static_cast<std::size_t>(std::min(available, CRYPT_HEADER_SIZE - first)));
}

} // namespace

int qapi::crypt_encrypt_data(unsigned dest, char* data, unsigned short form, unsigned short start, unsigned short end)
{
    if (start > end || (form == IDEA_ENCRYPT && !idea_is_wanted())) {
        return 0;
    }
    char* const target = data + start;
    const int length = end - start;
    if (length > MAX_BUFF_LEN) {
        std::memset(target, 0, static_cast<std::size_t>(length));
        return 0;
    }
    Header header;
    const WipedAtEnd wipe_header(header);
    fill_header(header, dest, form, length);
    const int size = header_size(header, form);
    char* const body = target + size;
    const int body_length = rounded(length);
    std::memmove(body, target, static_cast<std::size_t>(length));
    std::memset(body + length, 0, static_cast<std::size_t>(body_length - length));
    DataEncrypt(EK, as_bytes(body), as_bytes(body), body_length);
    std::memcpy(target, header.bytes + first_offset(form), static_cast<std::size_t>(size));
    return size + body_length - length;
}

// Every frame that has its mark gives the count that its header states, as far as there are bytes: the caller takes the
// count from the frame's length, so that a frame that failed arrives as zeros.
int qapi::crypt_decrypt_data([[maybe_unused]] unsigned src, char* data, unsigned short form, unsigned short start,
                             unsigned short end, bool* good)
{
    if (good != nullptr) {
        *good = false;
    }
    if (start >= end) {
        return 0;
    }
    const int available = end - start;
    char* const target = data + start;
    Header header;
    const WipedAtEnd wipe_header(header);
    read_header(header, target, available, form);
    if (form == IDEA_ENCRYPT && header.mark() != idea_mark) {
        return 0; // plain data of a machine that doesn't encrypt
    }
    const int size = header_size(header, form);
    if (available < size) {
        std::memset(target, 0, static_cast<std::size_t>(available));
        return available;
    }
    const int length = header.len();
    const int body_length = rounded(length);
    const int shrinks_by = std::min(size + body_length - length, available);
    if (size + body_length > available || take_key(header, form) != 0) {
        std::memset(target, 0, static_cast<std::size_t>(std::min(length, available)));
        return shrinks_by;
    }
    unsigned char* const body = as_bytes(target + size);
    DataDecrypt(EK, DK, body, body, body_length);
    std::memmove(target, body, static_cast<std::size_t>(length));
    if (good != nullptr) {
        *good = size + body_length == available;
    }
    return shrinks_by;
}

int qapi::crypt_idea_header_len()
{
    return 28;
}
