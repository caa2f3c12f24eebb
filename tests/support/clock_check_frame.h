// A clock check as a far end sees it: an envelope without addressees, message 869, and the time block at literal
// offsets. Own arithmetic, so that a mistake in the library can't hide.
#pragma once

#include "support/hex.h"

#include <cstdint>
#include <string>
#include <utility>

class CheckFrame
{
public:
    static constexpr std::size_t length = 207;
    static constexpr std::size_t block = 16 + 97;

    explicit CheckFrame(std::string frame) : bytes(std::move(frame)) {}

    // As the far end begins one, or hands one on: `word` is the stage word.
    static CheckFrame WithWord(unsigned word)
    {
        std::string frame = FromHex("0100 cf00 0100 0400 5a5a5a5a 0000 bf00 383639");
        frame.resize(length);
        CheckFrame made(frame);
        made.Put(block, word, 2);
        return made;
    }

    [[nodiscard]] unsigned Word() const { return Get(block, 2); }
    [[nodiscard]] unsigned Seconds(unsigned stage) const { return Get(block + 2 + 4 * stage, 4); }
    [[nodiscard]] unsigned Fraction(unsigned stage) const { return Get(block + 26 + 4 * stage, 4); }
    [[nodiscard]] unsigned Units(unsigned stage) const { return Get(block + 50 + 4 * stage, 4); }
    void SetWord(unsigned word) { Put(block, word, 2); }
    void Stamp(unsigned stage, unsigned seconds, unsigned fraction, unsigned units)
    {
        Put(block + 2 + 4 * stage, seconds, 4);
        Put(block + 26 + 4 * stage, fraction, 4);
        Put(block + 50 + 4 * stage, units, 4);
    }

    std::string bytes;

private:
    [[nodiscard]] unsigned Get(std::size_t at, unsigned width) const
    {
        unsigned value = 0;
        for (unsigned i = 0; i < width; ++i) {
            value |= static_cast<unsigned>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
        }
        return value;
    }
    void Put(std::size_t at, unsigned value, unsigned width)
    {
        for (unsigned i = 0; i < width; ++i) {
            bytes[at + i] = static_cast<char>(value >> (8 * i) & 0xFF);
        }
    }
};
