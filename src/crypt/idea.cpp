#include "crypt/idea.h"
#include "crypt/idea_block.h"
#include "crypt/idea_lanes.h"
#include "crypt/wipe.h"

#include <algorithm>
#include <cstring>

namespace {

using namespace qapi;
using namespace qapi::idea;

// Sub-keys by the part they play in a round, or in the output, which has the first four only.
constexpr std::size_t keys_of_a_round = 6;
constexpr std::size_t output_keys = IDEAROUNDS * keys_of_a_round;

constexpr Word negative(Word word)
{
    return static_cast<Word>(-word);
}

// The factors of the schedule's layers, two of each, in the order of the inverse schedule.
Inverses factors_backwards(const Word* schedule)
{
    Inverses factors{};
    for (std::size_t i = 0; i <= IDEAROUNDS; ++i) {
        const Word* layer = schedule + (output_keys - i * keys_of_a_round);
        factors[2 * i] = layer[0];
        factors[2 * i + 1] = layer[3];
    }
    return factors;
}

void invert(Inverses& words)
{
    if (has_lanes()) {
        invert_in_lanes(words);
    } else {
        invert_one_by_one(words);
    }
}

} // namespace

// The key is rotated left by 25 bits for each eight sub-keys: sub-key i starts at bit 16 * (i % 8) + 25 * (i / 8).
void qapi::ideaExpandKey(const unsigned char* key, unsigned short* schedule)
{
    std::uint64_t front = load_block(key);
    std::uint64_t back = load_block(key + 8);
    for (int i = 0; i < IDEAKEYLEN; ++i) {
        const std::uint64_t half = i % 8 < 4 ? front : back;
        schedule[i] = static_cast<Word>(half >> (48 - 16 * (i % 4)));
        if (i % 8 == 7) {
            const std::uint64_t carried = front;
            front = front << 25 | back >> 39;
            back = back << 25 | carried >> 39;
        }
    }
}

// The layers of the encryption, last first, each undone; between them the mixing keys of the round before. The middle
// words have changed places in every round, but neither before the first nor behind the last.
void qapi::ideaInvertKey(const unsigned short* schedule, unsigned short* inverse)
{
    Inverses factors = factors_backwards(schedule);
    const WipedAtEnd wipe_factors(factors);
    invert(factors);
    Word keys[IDEAKEYLEN];
    const WipedAtEnd wipe_keys(keys);
    for (std::size_t i = 0; i <= IDEAROUNDS; ++i) {
        const Word* layer = schedule + (output_keys - i * keys_of_a_round);
        const bool outer = i == 0 || i == IDEAROUNDS;
        Word* target = keys + i * keys_of_a_round;
        target[0] = factors[2 * i];
        target[1] = negative(layer[outer ? 1 : 2]);
        target[2] = negative(layer[outer ? 2 : 1]);
        target[3] = factors[2 * i + 1];
        if (i < IDEAROUNDS) {
            std::copy_n(layer - 2, 2, target + 4);
        }
    }
    std::copy_n(keys, IDEAKEYLEN, inverse);
}

// The power of 65535: each step doubles the ones of the exponent.
void qapi::idea::invert_one_by_one(Inverses& words)
{
    for (Word& word : words) {
        for (int ones = 1; ones < 16; ones *= 2) {
            Word shifted = word;
            for (int squaring = 0; squaring < ones; ++squaring) {
                shifted = multiply(shifted, shifted);
            }
            word = multiply(word, shifted);
        }
    }
}

void qapi::ideaCipher(const unsigned char* in, unsigned char* out, const unsigned short* schedule)
{
    Cipher cipher(schedule);
    const WipedAtEnd wipe_cipher(cipher);
    store_block(out, join(cipher(split(load_block(in)))));
}

void qapi::ideaCfbReinit(IdeaCfbContext* context, const unsigned char* iv)
{
    if (iv != nullptr) {
        std::memcpy(context->iv, iv, sizeof context->iv);
    } else {
        std::memset(context->iv, 0, sizeof context->iv);
    }
    context->bufleft = 0;
}
