// Numbers of 16 bits at the end of what is being built.
#pragma once

#include "little_endian.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace qm {

inline void Append_Word(std::string& out, std::size_t value)
{
    std::array<char, 2> bytes{};
    store_le(bytes.data(), static_cast<std::uint16_t>(value));
    out.append(bytes.data(), bytes.size());
}

} // namespace qm
