// A buffer for crypt_encrypt_data and crypt_decrypt_data: the data, what stands ahead of it and behind it, and a check
// that only the data were touched.
#pragma once

#include "crypt/crypt.h"

#include <algorithm>
#include <memory>
#include <string>

class GuardedFrame
{
public:
    // Bytes of the start ahead of the data; and `room` behind them, as encryption needs.
    explicit GuardedFrame(const std::string& data, std::size_t start = 3, std::size_t room = 0)
        : m_start(start), m_length(data.size()), m_size(start + data.size() + room),
          m_bytes(std::make_unique<char[]>(m_size))
    {
        std::fill_n(m_bytes.get(), m_size, guard);
        std::copy(data.begin(), data.end(), m_bytes.get() + start);
    }

    int Encrypt(unsigned short form, unsigned dest = 0)
    {
        const int growth = crypt_encrypt_data(dest, m_bytes.get(), form, Start(), End());
        m_length += static_cast<std::size_t>(growth);
        return growth;
    }

    int Decrypt(unsigned short form)
    {
        const int count = crypt_decrypt_data(0, m_bytes.get(), form, Start(), End());
        m_touched = m_length;
        m_length -= static_cast<std::size_t>(count);
        return count;
    }

    [[nodiscard]] std::string Data() const { return std::string(m_bytes.get() + m_start, m_length); }

    [[nodiscard]] bool GuardsIntact() const
    {
        const auto intact = [](char byte) { return byte == guard; };
        const std::size_t end = m_start + std::max(m_length, m_touched);
        return std::all_of(m_bytes.get(), m_bytes.get() + m_start, intact) &&
               std::all_of(m_bytes.get() + end, m_bytes.get() + m_size, intact);
    }

private:
    static constexpr char guard = '#';

    [[nodiscard]] unsigned short Start() const { return static_cast<unsigned short>(m_start); }
    [[nodiscard]] unsigned short End() const { return static_cast<unsigned short>(m_start + m_length); }

    std::size_t m_start;
    std::size_t m_length;
    std::size_t m_touched = 0;
    std::size_t m_size;
    std::unique_ptr<char[]> m_bytes;
};
