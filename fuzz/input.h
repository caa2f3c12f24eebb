// What a fuzz target draws from its bytes, from their start on; zeros when they are used up.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

class Input
{
public:
    explicit Input(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    [[nodiscard]] bool is_empty() const { return m_bytes.empty(); }
    unsigned byte()
    {
        const unsigned value = m_bytes.empty() ? 0 : m_bytes.front();
        m_bytes = m_bytes.subspan(m_bytes.empty() ? 0 : 1);
        return value;
    }
    unsigned word() { return byte() | byte() << 8U; }
    std::string text(std::size_t len)
    {
        const auto taken = m_bytes.first(std::min(len, m_bytes.size()));
        m_bytes = m_bytes.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

private:
    std::span<const std::uint8_t> m_bytes;
};
