// Random numbers of a fixed seed, thick with the ones at which arithmetic breaks.
#pragma once

#include "support/mp_operand.h"

#include <random>

class RandomNumbers
{
public:
    explicit RandomNumbers(unsigned seed) : m_generator(seed) {}

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_generator() % limit); }

    // Of up to `bits` bits: every length equally often, and each fourth one an edge or a run of equal bits.
    Integer up_to(unsigned bits)
    {
        const unsigned length = below(bits + 1);
        switch (below(16)) {
        case 0:
            return edge(bits);
        case 1:
            return (Integer(1) << length) - 1;
        case 2:
            return length == 0 ? Integer(0) : Integer(Integer(1) << (length - 1));
        case 3:
            return (Integer(1) << bits) - (Integer(1) << length);
        default:
            return any(length);
        }
    }

    Integer below(const Integer& limit) { return up_to(static_cast<unsigned>(msb(limit)) + 1) % limit; }

    Integer any(unsigned bits)
    {
        Integer value = 0;
        for (unsigned done = 0; done < bits; done += 32) {
            value = (value << 32) | static_cast<std::uint32_t>(m_generator());
        }
        return value & ((Integer(1) << bits) - 1);
    }

private:
    Integer edge(unsigned bits)
    {
        const Integer end = Integer(1) << bits;
        const Integer edges[] = {0, 1, 2, end - 1, end - 2, end >> 1, (end >> 1) - 1, (end >> 1) + 1};
        return edges[below(8)] % end;
    }

    std::mt19937 m_generator;
};
