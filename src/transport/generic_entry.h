// The entries of a generic list of addressees: two letters of identifier, a text, a zero byte.
#pragma once

#include <cstddef>
#include <string_view>

namespace qapi {

inline constexpr std::size_t GENERIC_ID_LEN = 2;

// Gives `visit` each whole entry, identifier and text without the terminator, which stands behind it. An entry that is
// cut off, one with less than its two letters among them, ends the walk: what follows it has no known beginning.
template <typename Visitor> void For_Each_Generic_Entry(std::string_view entries, Visitor visit)
{
    for (;;) {
        const std::size_t end = entries.find('\0');
        if (end == std::string_view::npos || end < GENERIC_ID_LEN) {
            return;
        }
        visit(entries.substr(0, end));
        entries.remove_prefix(end + 1);
    }
}

} // namespace qapi

using qapi::For_Each_Generic_Entry;
using qapi::GENERIC_ID_LEN;
