// A record of a table as a line of text that host and driver of the crash tests compare: its identity, and a hash of
// its whole content.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace crash {

inline std::string Row_Text(std::uint32_t crc32, std::uint32_t environment, std::string_view body)
{
    std::uint64_t hash = 0xCBF29CE484222325; // FNV-1a: another one than the tables' own
    for (const char byte : body) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    }
    return std::to_string(crc32) + ' ' + std::to_string(environment) + ' ' + std::to_string(body.size()) + ' ' +
           std::to_string(hash);
}

} // namespace crash
