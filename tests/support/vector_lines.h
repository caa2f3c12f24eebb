// Stored vectors: lines of words between blanks, bytes in hex.
#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using VectorLine = std::vector<std::string>;

// The lines of a file below tests/data. One that isn't there, or is empty, is an error.
inline std::vector<VectorLine> VectorLines(const std::string& name)
{
    std::ifstream file(TEST_DATA "/" + name);
    std::vector<VectorLine> lines;
    for (std::string line; std::getline(file, line);) {
        std::istringstream text(line);
        VectorLine& words = lines.emplace_back();
        for (std::string word; text >> word;) {
            words.push_back(word);
        }
    }
    if (lines.empty()) {
        throw std::runtime_error("no vectors in " + name);
    }
    return lines;
}

// The bytes of a hex text; blanks may stand between them.
inline std::string FromHex(const std::string& text)
{
    std::string digits;
    for (const char digit : text) {
        if (digit != ' ') {
            digits += digit;
        }
    }
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

inline std::string ToHex(const std::string& bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4];
        text += digits[value & 15];
    }
    return text;
}
