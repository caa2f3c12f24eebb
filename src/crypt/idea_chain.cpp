// CBC whose initial value comes from the key. Encryption is serial by its nature; decryption takes eight blocks at a
// time where the processor can.
#include "crypt/idea.h"
#include "crypt/idea_block.h"
#include "crypt/idea_lanes.h"
#include "crypt/wipe.h"

namespace {

using namespace qapi;
using namespace qapi::idea;

constexpr Word swapped(Word word)
{
    return static_cast<Word>(word << 8 | word >> 8);
}

// The first four sub-keys, as a little-endian machine has them in memory.
std::uint64_t initial_value(const Word* ek)
{
    return join({{high(swapped(ek[0])), high(swapped(ek[1])), high(swapped(ek[2])), high(swapped(ek[3]))}});
}

} // namespace

void qapi::DataEncrypt(const unsigned short* ek, const unsigned char* in, unsigned char* out, int len)
{
    Cipher cipher(ek);
    const WipedAtEnd wipe_cipher(cipher);
    Block chain = split(initial_value(ek));
    for (int blocks = len / IDEABLOCKSIZE; blocks > 0; --blocks, in += IDEABLOCKSIZE, out += IDEABLOCKSIZE) {
        chain = cipher(exclusive_or(chain, split(load_block(in))));
        store_block(out, join(chain));
    }
}

void qapi::DataDecrypt(const unsigned short* ek, const unsigned short* dk, const unsigned char* in, unsigned char* out,
                       int len)
{
    std::uint64_t chain = initial_value(ek);
    const int blocks = len / IDEABLOCKSIZE;
    if (has_lanes()) {
        decrypt_in_lanes(dk, chain, in, out, blocks);
    } else {
        decrypt_one_by_one(dk, chain, in, out, blocks);
    }
}

void qapi::idea::decrypt_one_by_one(const std::uint16_t* dk, std::uint64_t& chain, const unsigned char* in,
                                    unsigned char* out, int blocks)
{
    Cipher decipher(dk);
    const WipedAtEnd wipe_decipher(decipher);
    for (; blocks > 0; --blocks, in += IDEABLOCKSIZE, out += IDEABLOCKSIZE) {
        const std::uint64_t cipher_block = load_block(in);
        store_block(out, join(decipher(split(cipher_block))) ^ chain);
        chain = cipher_block;
    }
}
