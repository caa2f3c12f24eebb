// Exact decimal numbers, as fields hold them. Part of <qcapi/host.h>.
#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace quentar {

namespace detail {

template <class Type>
inline constexpr bool is_whole_number = std::is_integral_v<Type> && !std::is_same_v<Type, bool> &&
                                        !std::is_same_v<Type, char> && sizeof(Type) <= sizeof(std::uint64_t);

} // namespace detail

/**
 * @brief An exact decimal number: a sign, up to 36 digits, of which up to 18 stand behind the point.
 *
 * No binary floating point is inside. It keeps the decimals that it was written with: 4.50 prints as "4.50", and equals
 * 4.5. What needs more digits than there are gives an invalid number, never a rounded one; an invalid number equals
 * nothing and is neither above nor below anything, prints as "invalid", and makes all that is computed from it invalid.
 */
class Decimal
{
public:
    static constexpr int most_digits = 36;
    static constexpr int most_decimals = 18;

    /// 0, without decimals.
    Decimal() = default;

    /// A whole number.
    template <class Int, class = std::enable_if_t<detail::is_whole_number<Int>>>
    Decimal(Int value) : Decimal(is_below_zero(value), magnitude_of(value), 0)
    {
    }
    Decimal(float) = delete;
    Decimal(double) = delete;
    Decimal(long double) = delete;

    /// `units` of the last of so many decimals: (4102500, 3) is 4102.500. Invalid unless 0 <= decimals <= 18.
    static Decimal of_units(std::int64_t units, int decimals)
    {
        if (decimals < 0 || decimals > most_decimals) {
            return invalid();
        }
        return Decimal(is_below_zero(units), magnitude_of(units), decimals);
    }

    /// Reads "-4102.50": a sign if there is one, digits, a point and digits if there are any; nothing else, blanks
    /// neither. @return nothing if the text is no such number, or one of more digits than fit
    static std::optional<Decimal> parse(std::string_view text)
    {
        Decimal number;
        const bool negative = !text.empty() && text.front() == '-';
        if (negative || (!text.empty() && text.front() == '+')) {
            text.remove_prefix(1);
        }
        bool is_behind_point = false;
        bool has_digits = false;
        for (const char letter : text) {
            if (letter == '.' && !is_behind_point) {
                is_behind_point = true;
                continue;
            }
            if (letter < '0' || letter > '9' || !number.append(letter - '0', is_behind_point)) {
                return std::nullopt;
            }
            has_digits = true;
        }
        if (!has_digits) {
            return std::nullopt;
        }
        number.m_negative = negative && !number.is_zero();
        return number;
    }

    [[nodiscard]] bool is_valid() const { return m_valid; }
    [[nodiscard]] bool is_zero() const { return m_valid && m_limbs == Limbs{}; }
    [[nodiscard]] bool is_negative() const { return m_negative; }
    [[nodiscard]] int decimals() const { return m_decimals; } ///< digits behind the point

    /// The same number with so many decimals. @return nothing if that would lose a digit that isn't 0, or if there is
    ///         no room for it
    [[nodiscard]] std::optional<Decimal> with_decimals(int decimals) const
    {
        if (!m_valid || decimals < 0 || decimals > most_decimals) {
            return std::nullopt;
        }
        Decimal number = *this;
        for (; number.m_decimals > decimals; --number.m_decimals) {
            if (divide(number.m_limbs, 10) != 0) {
                return std::nullopt;
            }
        }
        number = number.scaled(decimals);
        return number.fits() ? std::optional<Decimal>(number) : std::nullopt;
    }

    /// As parse reads it: "-4102.50"; "invalid" if it is.
    [[nodiscard]] std::string to_string() const
    {
        if (!m_valid) {
            return "invalid";
        }
        std::string digits; // from the last one on
        Limbs rest = m_limbs;
        for (int count = 0; rest != Limbs{} || count <= m_decimals; ++count) {
            if (count == m_decimals && count > 0) {
                digits += '.';
            }
            digits += static_cast<char>('0' + divide(rest, 10));
        }
        if (m_negative) {
            digits += '-';
        }
        return {digits.rbegin(), digits.rend()};
    }

    /// The nearest binary number, for charts and statistics; not a number if it is invalid.
    [[nodiscard]] double to_double() const
    {
        double value = std::numeric_limits<double>::quiet_NaN();
        if (m_valid) {
            const std::string text = to_string();
            std::from_chars(text.data(), text.data() + text.size(), value);
        }
        return value;
    }

    /// @return the value as an integer, nothing if it has a part behind the point or doesn't fit
    template <class Int> [[nodiscard]] std::optional<Int> to_integer() const
    {
        static_assert(std::is_integral_v<Int>);
        const std::optional<Decimal> whole = with_decimals(0);
        if (!whole || (whole->m_negative && std::is_unsigned_v<Int>)) {
            return std::nullopt;
        }
        const std::string text = whole->to_string();
        Int value{};
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        return error == std::errc{} ? std::optional<Int>(value) : std::nullopt;
    }

    [[nodiscard]] Decimal operator-() const
    {
        Decimal number = *this;
        number.m_negative = !m_negative && !is_zero() && m_valid;
        return number;
    }
    friend Decimal operator+(const Decimal& left, const Decimal& right)
    {
        if (!left.m_valid || !right.m_valid) {
            return invalid();
        }
        const int decimals = std::max(left.m_decimals, right.m_decimals);
        return sum(left.scaled(decimals), right.scaled(decimals)).checked();
    }
    friend Decimal operator-(const Decimal& left, const Decimal& right) { return left + -right; }
    Decimal& operator+=(const Decimal& other) { return *this = *this + other; }
    Decimal& operator-=(const Decimal& other) { return *this = *this - other; }

    /// By a whole number: an amount of so many units at this price.
    template <class Int, class = std::enable_if_t<detail::is_whole_number<Int>>>
    friend Decimal operator*(const Decimal& number, Int factor)
    {
        return number.times(is_below_zero(factor), magnitude_of(factor));
    }
    template <class Int, class = std::enable_if_t<detail::is_whole_number<Int>>>
    friend Decimal operator*(Int factor, const Decimal& number)
    {
        return number.times(is_below_zero(factor), magnitude_of(factor));
    }

    friend bool operator==(const Decimal& left, const Decimal& right) { return order(left, right) == Order::equal; }
    friend bool operator!=(const Decimal& left, const Decimal& right) { return !(left == right); }
    friend bool operator<(const Decimal& left, const Decimal& right) { return order(left, right) == Order::below; }
    friend bool operator>(const Decimal& left, const Decimal& right) { return right < left; }
    friend bool operator<=(const Decimal& left, const Decimal& right) { return left < right || left == right; }
    friend bool operator>=(const Decimal& left, const Decimal& right) { return right <= left; }

private:
    // Nine digits a limb, the lowest first. A number fills the lower half; intermediate results, 36 digits beside 18
    // decimals or times 20 digits, have room in the upper one.
    static constexpr std::uint32_t limb_base = 1000000000;
    using Limbs = std::array<std::uint32_t, 8>;

    enum class Order
    {
        below,
        equal,
        above,
        none,
    };

    Decimal(bool negative, std::uint64_t magnitude, int decimals) : m_negative(negative), m_decimals(decimals)
    {
        for (std::uint32_t& limb : m_limbs) {
            limb = static_cast<std::uint32_t>(magnitude % limb_base);
            magnitude /= limb_base;
        }
    }
    static Decimal invalid()
    {
        Decimal number;
        number.m_valid = false;
        return number;
    }

    template <class Int> static bool is_below_zero(Int value)
    {
        if constexpr (std::is_signed_v<Int>) {
            return value < 0;
        } else {
            static_cast<void>(value);
            return false;
        }
    }

    template <class Int> static std::uint64_t magnitude_of(Int value)
    {
        const auto unsigned_value = static_cast<std::uint64_t>(value);
        return is_below_zero(value) ? 0 - unsigned_value : unsigned_value;
    }

    bool append(int digit, bool is_behind_point)
    {
        m_decimals += is_behind_point ? 1 : 0;
        multiply(m_limbs, 10, static_cast<std::uint32_t>(digit));
        return m_decimals <= most_decimals && fits();
    }

    [[nodiscard]] bool fits() const
    {
        return std::all_of(m_limbs.begin() + 4, m_limbs.end(), [](std::uint32_t limb) { return limb == 0; });
    }

    // A result as it is given out.
    [[nodiscard]] Decimal checked() const
    {
        Decimal number = fits() ? *this : invalid();
        number.m_negative = m_negative && number.m_valid && !is_zero();
        return number;
    }

    static void multiply(Limbs& limbs, std::uint32_t factor, std::uint32_t carry)
    {
        for (std::uint32_t& limb : limbs) {
            const std::uint64_t product = std::uint64_t{limb} * factor + carry;
            limb = static_cast<std::uint32_t>(product % limb_base);
            carry = static_cast<std::uint32_t>(product / limb_base);
        }
    }

    // Returns the remainder.
    static std::uint32_t divide(Limbs& limbs, std::uint32_t divisor)
    {
        std::uint64_t rest = 0;
        for (auto limb = limbs.rbegin(); limb != limbs.rend(); ++limb) {
            const std::uint64_t part = rest * limb_base + *limb;
            *limb = static_cast<std::uint32_t>(part / divisor);
            rest = part % divisor;
        }
        return static_cast<std::uint32_t>(rest);
    }

    // With at least as many decimals as it has, and perhaps more digits than are given out.
    [[nodiscard]] Decimal scaled(int decimals) const
    {
        Decimal number = *this;
        for (; number.m_decimals < decimals; ++number.m_decimals) {
            multiply(number.m_limbs, 10, 0);
        }
        return number;
    }

    static bool is_smaller(const Limbs& left, const Limbs& right)
    {
        return std::lexicographical_compare(left.rbegin(), left.rend(), right.rbegin(), right.rend());
    }

    // Of two with as many decimals.
    static Decimal sum(Decimal left, const Decimal& right)
    {
        if (left.m_negative == right.m_negative) {
            left.m_limbs = added(left.m_limbs, right.m_limbs);
        } else if (is_smaller(left.m_limbs, right.m_limbs)) {
            left.m_limbs = subtracted(right.m_limbs, left.m_limbs);
            left.m_negative = right.m_negative;
        } else {
            left.m_limbs = subtracted(left.m_limbs, right.m_limbs);
        }
        return left;
    }

    static Limbs added(Limbs limbs, const Limbs& others)
    {
        std::uint32_t carry = 0;
        for (std::size_t at = 0; at < limbs.size(); ++at) {
            const std::uint32_t both = limbs[at] + others[at] + carry; // below 2^31
            limbs[at] = both % limb_base;
            carry = both / limb_base;
        }
        return limbs;
    }

    // Of the larger one.
    static Limbs subtracted(Limbs limbs, const Limbs& others)
    {
        std::uint32_t borrow = 0;
        for (std::size_t at = 0; at < limbs.size(); ++at) {
            const std::uint32_t taken = others[at] + borrow;
            borrow = limbs[at] < taken ? 1 : 0;
            limbs[at] = limbs[at] + borrow * limb_base - taken;
        }
        return limbs;
    }

    // The factor's decimal limbs one after the other, the highest first.
    [[nodiscard]] Decimal times(bool negative, std::uint64_t factor) const
    {
        const Limbs factors = Decimal(false, factor, 0).m_limbs;
        Decimal product = *this;
        product.m_limbs = {};
        product.m_negative = m_negative != negative;
        for (std::size_t at = 3; at-- > 0;) {
            Limbs part = m_limbs;
            multiply(part, factors[at], 0);
            multiply(product.m_limbs, limb_base, 0);
            product.m_limbs = added(product.m_limbs, part);
        }
        return product.checked();
    }

    static Order order(const Decimal& left, const Decimal& right)
    {
        if (!left.m_valid || !right.m_valid) {
            return Order::none;
        }
        const int decimals = std::max(left.m_decimals, right.m_decimals);
        const Decimal difference = sum(left.scaled(decimals), (-right).scaled(decimals));
        if (difference.is_zero()) {
            return Order::equal;
        }
        return difference.m_negative ? Order::below : Order::above;
    }

    Limbs m_limbs{};
    bool m_negative = false; // never of 0
    bool m_valid = true;
    int m_decimals = 0;
};

} // namespace quentar
