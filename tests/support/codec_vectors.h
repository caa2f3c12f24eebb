// Stored vectors of the coders, and buffers that notice a write beside them.
#pragma once

#include "support/hex.h"
#include "support/vector_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

inline Bytes BytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

// Pieces "HEX" or "HEX*COUNT", joined by "+"; "-" is nothing.
inline Bytes FromPieces(const std::string& text)
{
    Bytes bytes;
    std::istringstream pieces(text == "-" ? "" : text);
    for (std::string piece; std::getline(pieces, piece, '+');) {
        const std::size_t star = piece.find('*');
        const Bytes once = BytesFromHex(piece.substr(0, star));
        for (unsigned long count = star == std::string::npos ? 1 : std::stoul(piece.substr(star + 1)); count > 0;
             --count) {
            bytes.insert(bytes.end(), once.begin(), once.end());
        }
    }
    return bytes;
}

// The words of each line of a file of tests/data.
inline std::vector<std::vector<std::string>> VectorLines(const std::string& name)
{
    std::vector<std::vector<std::string>> lines;
    for (const std::string& line : read_lines(name)) {
        lines.push_back(words_of(line));
    }
    EXPECT_FALSE(lines.empty()) << name;
    return lines;
}

// `size` bytes, aligned to 8, between two guards.
class GuardedBuffer
{
public:
    static constexpr unsigned char filler = 0xE5; // what the buffer holds at first

    explicit GuardedBuffer(std::size_t size) : m_size(size), m_words((size + 2 * guard + 7) / 8, 0x5A5A5A5A5A5A5A5AU)
    {
        std::fill_n(data(), size, filler);
    }

    [[nodiscard]] unsigned char* data() { return begin() + guard; }
    [[nodiscard]] Bytes First(std::size_t count) { return {data(), data() + count}; }

    // The buffer is untouched from `position` on, and so are the guards.
    [[nodiscard]] bool UntouchedFrom(std::size_t position)
    {
        return Intact() && std::all_of(data() + position, data() + m_size, [](auto byte) { return byte == filler; });
    }

    [[nodiscard]] bool Intact()
    {
        const auto is_guard = [](unsigned char byte) { return byte == 0x5A; };
        return std::all_of(begin(), data(), is_guard) &&
               std::all_of(data() + m_size, begin() + m_words.size() * 8, is_guard);
    }

private:
    static constexpr std::size_t guard = 64;

    unsigned char* begin() { return reinterpret_cast<unsigned char*>(m_words.data()); }

    std::size_t m_size;
    std::vector<std::uint64_t> m_words;
};
