// The buffer that views of all record classes share: whatever arrives is laid into it, and any class can read it.
//
// It holds the largest record with its spare bytes, which is more than a record of a ring has. What a record doesn't
// fill reads as zeros, so that no view sees bytes of the record before.
#pragma once

#include "records/all_records.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

namespace qapi {

class ReceiveBuffer
{
public:
    [[nodiscard]] char* data() { return m_bytes.data(); }
    [[nodiscard]] static constexpr int size() { return LARGEST_RECORD_BUFFER; }

    // Lays a record in; of one that is longer than any class, its beginning. Views are to be told by Init.
    void Take(std::span<const char> record)
    {
        const std::size_t there = std::min(record.size(), m_bytes.size());
        std::copy_n(record.begin(), there, m_bytes.begin());
        std::fill(m_bytes.begin() + static_cast<std::ptrdiff_t>(there), m_bytes.end(), '\0');
        m_len = there;
    }

    // What was laid in last, without the zeros behind it.
    [[nodiscard]] std::span<const char> record() const { return std::span(m_bytes).first(m_len); }

private:
    std::array<char, LARGEST_RECORD_BUFFER> m_bytes{};
    std::size_t m_len = 0;
};

} // namespace qapi

using qapi::ReceiveBuffer;
