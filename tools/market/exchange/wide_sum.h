// A sum of products of prices and amounts. A day of honest trades is beyond 64 bits soon: 10^13 units of price times an
// amount of 10^12 are 10^25. 128 bits hold 10^13 of such trades; there is no type of that width in 32-bit programs.
#pragma once

#include <cstdint>
#include <optional>

namespace qm {

class WideSum
{
public:
    // Neither factor may be below 0.
    void Add_Product(std::int64_t a, std::int64_t b);

    struct Quotient
    {
        std::uint64_t value = 0;
        std::uint64_t rest = 0;
    };
    // None for a divisor of 0 or below, and for a quotient beyond 64 bits.
    [[nodiscard]] std::optional<Quotient> Divided_By(std::int64_t divisor) const;

    // Scaled by `factor` (at most 1000) and divided, half rounded up; 0 where there is no quotient in 63 bits.
    [[nodiscard]] std::int64_t Mean(std::int64_t divisor, std::uint32_t factor = 1) const;

    bool operator==(const WideSum&) const = default;

private:
    void Add(std::uint64_t high, std::uint64_t low);

    std::uint64_t m_high = 0;
    std::uint64_t m_low = 0;
};

} // namespace qm
