// Bytes as texts of hex digits.
#pragma once

#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// The bytes of a hex text; blanks may stand between them. A lone "-" is none.
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

inline Bytes BytesFromHex(const std::string& text)
{
    const std::string bytes = FromHex(text);
    return {bytes.begin(), bytes.end()};
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
