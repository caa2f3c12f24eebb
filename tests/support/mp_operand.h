// Numbers for the functions of crypt/mp.h, with Boost's integers as the reference.
#pragma once

#include "crypt/mp.h"

#include <boost/multiprecision/cpp_int.hpp>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

using Integer = boost::multiprecision::cpp_int;

// The precision in force while the object lives.
class Precision
{
public:
    explicit Precision(unsigned units) : m_before(global_precision) { global_precision = units; }
    ~Precision() { global_precision = m_before; }
    Precision(const Precision&) = delete;
    Precision& operator=(const Precision&) = delete;

private:
    unsigned m_before;
};

// 2 ^ (bits of the precision in force)
inline Integer modulus_of_precision()
{
    return Integer(1) << (global_precision * UNITSIZE);
}

// A number in a block of exactly global_precision units, so that a sanitizer sees the first unit beyond it, or, where
// `guards` are asked for, with that many units of a pattern on either side.
class Operand
{
public:
    explicit Operand(Integer value = 0, std::size_t guards = 0)
        : m_units(global_precision), m_guards(guards), m_memory(std::make_unique<unit[]>(m_units + 2 * guards))
    {
        std::fill_n(m_memory.get(), m_units + 2 * guards, pattern);
        for (std::size_t i = 0; i < m_units; ++i) {
            get()[i] = static_cast<unit>(value & 0xFFFFFFFFU);
            value >>= UNITSIZE;
        }
    }

    unit* get() { return m_memory.get() + m_guards; }
    [[nodiscard]] const unit* get() const { return m_memory.get() + m_guards; }
    operator unit*() { return get(); }
    operator const unit*() const { return get(); }

    [[nodiscard]] Integer value() const
    {
        Integer sum = 0;
        for (std::size_t i = m_units; i-- > 0;) {
            sum = (sum << UNITSIZE) | get()[i];
        }
        return sum;
    }

    // Nothing was written beside the number.
    [[nodiscard]] bool guards_intact() const
    {
        const auto whole = [](unit digit) { return digit == pattern; };
        return std::all_of(m_memory.get(), m_memory.get() + m_guards, whole) &&
               std::all_of(get() + m_units, get() + m_units + m_guards, whole);
    }

private:
    static constexpr unit pattern = 0xA5C3F00D;

    std::size_t m_units;
    std::size_t m_guards;
    std::unique_ptr<unit[]> m_memory;
};

inline Integer from_hex(const std::string& digits)
{
    return Integer("0x" + (digits.empty() ? "0" : digits));
}
