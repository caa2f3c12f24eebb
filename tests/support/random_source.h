// A source of random bytes in the test's hand, in force while the object lives.
#pragma once

#include "system_seam.h"

#include <cstddef>
#include <utility>
#include <vector>

class RandomSource
{
public:
    // Gives `bytes` in order, then zeros.
    explicit RandomSource(std::vector<unsigned char> bytes) : m_bytes(std::move(bytes)), m_calls(Real_System())
    {
        s_in_force = this;
        m_calls.random_bytes = [](void* target, std::size_t count) {
            for (auto* byte = static_cast<unsigned char*>(target); count > 0; --count, ++byte) {
                *byte = s_in_force->next();
            }
        };
        Set_System(&m_calls);
    }
    ~RandomSource() { Set_System(nullptr); }
    RandomSource(const RandomSource&) = delete;
    RandomSource& operator=(const RandomSource&) = delete;

    // Bytes asked for so far.
    [[nodiscard]] std::size_t asked() const { return m_asked; }

private:
    unsigned char next()
    {
        const std::size_t turn = m_asked++;
        return turn < m_bytes.size() ? m_bytes[turn] : static_cast<unsigned char>(0);
    }

    inline static RandomSource* s_in_force = nullptr;
    std::vector<unsigned char> m_bytes;
    std::size_t m_asked = 0;
    SystemCalls m_calls;
};
