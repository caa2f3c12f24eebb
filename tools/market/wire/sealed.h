// The directly keyed form of encryption (docs/wire_format.md, "Encrypted form"): length, key and check word in the
// clear, then the ciphertext. The key's schedule is local, so that a market and a client may share a process.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qm {

inline constexpr std::size_t SEALED_HEAD_LEN = 20;
inline constexpr std::size_t LONGEST_SEALED = 4000; // plain bytes that a receiver takes

// Appends the sealed form of at most 65535 bytes, under a new key.
void Append_Sealed(std::string& out, std::string_view plain);

// False, with `plain` in no particular state, if the bytes aren't a whole sealed form and nothing else.
[[nodiscard]] bool Open_Sealed(std::string& plain, std::string_view sealed);

} // namespace qm
