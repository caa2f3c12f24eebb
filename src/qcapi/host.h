// Conveniences for hosts in C++17: callbacks as functions, received messages as handles, exact decimals, drafts of
// messages to send. All of it stands on the public operations of CQcApi; nothing is kept from whoever calls those.
//
//     quentar::Host host;
//     host.on_message = [](quentar::Message message) {
//         std::cout << message.kind() << " of " << message.get<std::string>("usuario_postura.nombre") << '\n';
//         message.finish();
//     };
//     if (const quentar::Result result = host.login("maria", "secret"); result != quentar::Result::ok) {
//         std::cerr << quentar::text_of(result) << '\n';
//     }
//
// Nothing here throws, but for what the standard library's strings and vectors throw when memory ends.
#pragma once

#include <qcapi/qcapi.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace quentar {

class Host;
class Message;

// ---- Results -----------------------------------------------------------------------------------------------------

/// What an operation answers: the codes of errors.h, by names of their own.
enum class Result : int
{
    ok = 0,
    internal_error = QAPI_ERR_INTERNAL_ERROR,
    config_not_found = QAPI_ERR_CONFIG_NOT_FOUND,
    config_bad_data = QAPI_ERR_CONFIG_BAD_DATA,
    not_initialized = QAPI_ERR_NOT_INITIALIZED_YET,
    rejected_connection = QAPI_ERR_REJECTED_CONNECTION,
    user_not_authorized = QAPI_ERR_RC_NOT_AUTHORIZED_USER,
    unknown_user = QAPI_ERR_RC_USERNAME_DONOT_EXIST,
    wrong_password = QAPI_ERR_RC_ILLEGAL_PASSWORD,
    no_administration = QAPI_ERR_RC_NO_DMACHINES_TRY_LATER,
    duplicated_machine = QAPI_ERR_RC_DUPLICATED_MACHINE_CODE,
    machine_not_registered = QAPI_ERR_RC_MACHINE_NOT_REGISTERED,
    wrong_branch_password = QAPI_ERR_RC_ILLEGAL_BRANCH_PASSWORD,
    status_not_expected = QAPI_ERR_STATUS_NOT_EXPECTED,
    improper_operation = QAPI_ERR_IMPROPER_OPERATION,
    unknown_kind = QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED,
    unknown_field = QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED, ///< or a value that the field can't hold
    already_initialized = QAPI_ERR_ALREADY_INITIALIZED,
    record_not_found = QAPI_ERR_RECORD_NOT_FOUND,
    condition_evaluation = QAPI_ERR_CONDITION_EVALUATION,
    log_files_unusable = QAPI_ERR_COULDNT_USE_LOG_FILES,
    no_data_server = QAPI_ERR_NO_DS_DIRECTIVE,
    illegal_address = QAPI_ERR_ILLEGAL_ADDRESS_TYPE_SPECIFIED,
    no_record_taken = QAPI_ERR_NO_RECORD_TAKEN,
    no_field_taken = QAPI_ERR_NO_FIELD_TAKEN,
    reading_date_file = QAPI_ERR_READING_TMP_CONFIG,
    empty_date_file = QAPI_ERR_EMPTY_TMP_CONFIG,
    invalid_date = QAPI_ERR_INVALID_DATE,
    date_file_stays = QAPI_ERR_CANNOT_DELETE_TMP_CONFIG,
    date_not_at_server = QAPI_ERR_DATE_NOT_EXIST_DS,
};

namespace detail {

struct ErrorRow
{
    int code;
    const char* text; // with directives of printf; null for none
    const char* advice;
};

inline const ErrorRow* error_row(int code)
{
#define QUENTAR_ERROR_ROW(number, name, text, advice) ErrorRow{number, text, advice},
    static constexpr ErrorRow rows[] = {QAPI_ERROR_TABLE(QUENTAR_ERROR_ROW)};
#undef QUENTAR_ERROR_ROW
    for (const ErrorRow& row : rows) {
        if (row.code == code) {
            return &row;
        }
    }
    return nullptr;
}

// The text without the places of its values, their brackets and the blank before them.
inline std::string without_values(std::string_view format)
{
    std::string text;
    for (std::size_t at = 0; at < format.size(); ++at) {
        if (format[at] != '%') {
            text += format[at];
            continue;
        }
        ++at; // the letter of the directive
        const bool bracketed = !text.empty() && text.back() == '(';
        text.resize(text.size() - (bracketed ? 1 : 0));
        at += bracketed ? 1 : 0;
        if (!text.empty() && text.back() == ' ') {
            text.pop_back();
        }
    }
    return text;
}

} // namespace detail

/// @return the result in words, such as "The API was already initiated state"; the values that belong to an error come
///         with on_error. "" for ok.
inline std::string text_of(Result result)
{
    const detail::ErrorRow* row = detail::error_row(static_cast<int>(result));
    if (row == nullptr) {
        return result == Result::ok ? "" : "Unknown result " + std::to_string(static_cast<int>(result));
    }
    return row->text != nullptr ? detail::without_values(row->text) : row->advice;
}

/// @return what to do about it, such as "Correct the password."; "" for ok. Lives as long as the process.
inline const char* advice_of(Result result)
{
    const detail::ErrorRow* row = detail::error_row(static_cast<int>(result));
    return row != nullptr ? row->advice : "";
}

// ---- Decimal -----------------------------------------------------------------------------------------------------

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
    template <class Int, class = std::enable_if_t<std::is_integral_v<Int> && !std::is_same_v<Int, bool> &&
                                                  !std::is_same_v<Int, char>>>
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
    /// no
    ///         room for it
    [[nodiscard]] std::optional<Decimal> with_decimals(int decimals) const
    {
        if (!m_valid || decimals < 0 || decimals > most_decimals) {
            return std::nullopt;
        }
        Decimal number = *this;
        for (; number.m_decimals < decimals; ++number.m_decimals) {
            if (multiply(number.m_limbs, 10, 0) != 0) {
                return std::nullopt;
            }
        }
        for (; number.m_decimals > decimals; --number.m_decimals) {
            if (divide(number.m_limbs, 10) != 0) {
                return std::nullopt;
            }
        }
        return number;
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
        return Decimal(sum(left.signed_at(decimals), right.signed_at(decimals)), decimals);
    }
    friend Decimal operator-(const Decimal& left, const Decimal& right) { return left + -right; }
    Decimal& operator+=(const Decimal& other) { return *this = *this + other; }
    Decimal& operator-=(const Decimal& other) { return *this = *this - other; }

    /// By a whole number: an amount of so many units at this price.
    template <class Int, class = std::enable_if_t<std::is_integral_v<Int> && !std::is_same_v<Int, bool>>>
    friend Decimal operator*(const Decimal& number, Int factor)
    {
        return number.times(is_below_zero(factor), magnitude_of(factor));
    }
    template <class Int, class = std::enable_if_t<std::is_integral_v<Int> && !std::is_same_v<Int, bool>>>
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
    // Nine digits a limb, the lowest first. Intermediate results have twice the room: 36 digits beside 18 decimals.
    static constexpr std::uint32_t limb_base = 1000000000;
    using Limbs = std::array<std::uint32_t, 4>;
    using WideLimbs = std::array<std::uint32_t, 8>;

    struct Wide
    {
        bool negative = false;
        WideLimbs limbs{};
    };

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
    Decimal(const Wide& wide, int decimals) : m_decimals(decimals)
    {
        std::copy_n(wide.limbs.begin(), m_limbs.size(), m_limbs.begin());
        m_valid = std::all_of(wide.limbs.begin() + m_limbs.size(), wide.limbs.end(),
                              [](std::uint32_t limb) { return limb == 0; });
        if (!m_valid) {
            *this = invalid();
        }
        m_negative = wide.negative && m_valid && !is_zero();
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
        return m_decimals <= most_decimals && multiply(m_limbs, 10, static_cast<std::uint32_t>(digit)) == 0;
    }

    // Return what overflows.
    template <class AnyLimbs> static std::uint32_t multiply(AnyLimbs& limbs, std::uint32_t factor, std::uint32_t carry)
    {
        for (std::uint32_t& limb : limbs) {
            const std::uint64_t product = std::uint64_t{limb} * factor + carry;
            limb = static_cast<std::uint32_t>(product % limb_base);
            carry = static_cast<std::uint32_t>(product / limb_base);
        }
        return carry;
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

    // With at least as many decimals as it has: fits always.
    [[nodiscard]] Wide signed_at(int decimals) const
    {
        Wide wide;
        wide.negative = m_negative;
        std::copy(m_limbs.begin(), m_limbs.end(), wide.limbs.begin());
        for (int have = m_decimals; have < decimals; ++have) {
            multiply(wide.limbs, 10, 0);
        }
        return wide;
    }

    static bool is_smaller(const WideLimbs& left, const WideLimbs& right)
    {
        return std::lexicographical_compare(left.rbegin(), left.rend(), right.rbegin(), right.rend());
    }

    static Wide sum(const Wide& left, const Wide& right)
    {
        if (left.negative == right.negative) {
            return {left.negative, added(left.limbs, right.limbs)};
        }
        if (is_smaller(left.limbs, right.limbs)) {
            return {right.negative, subtracted(right.limbs, left.limbs)};
        }
        return {left.negative, subtracted(left.limbs, right.limbs)};
    }

    static WideLimbs added(WideLimbs limbs, const WideLimbs& others)
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
    static WideLimbs subtracted(WideLimbs limbs, const WideLimbs& others)
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
        if (!m_valid) {
            return invalid();
        }
        const Decimal factor_limbs(false, factor, 0);
        Wide product;
        product.negative = m_negative != negative;
        for (std::size_t at = 3; at-- > 0;) {
            WideLimbs part = signed_at(m_decimals).limbs;
            multiply(part, factor_limbs.m_limbs[at], 0);
            multiply(product.limbs, limb_base, 0);
            product.limbs = added(product.limbs, part);
        }
        return Decimal(product, m_decimals);
    }

    static Order order(const Decimal& left, const Decimal& right)
    {
        if (!left.m_valid || !right.m_valid) {
            return Order::none;
        }
        const int decimals = std::max(left.m_decimals, right.m_decimals);
        const Wide a = left.signed_at(decimals);
        const Wide b = right.signed_at(decimals);
        if (a.negative != b.negative) {
            return a.negative ? Order::below : Order::above;
        }
        if (a.limbs == b.limbs) {
            return Order::equal;
        }
        return is_smaller(a.limbs, b.limbs) != a.negative ? Order::below : Order::above;
    }

    Limbs m_limbs{};
    bool m_negative = false; // never of 0
    bool m_valid = true;
    int m_decimals = 0;
};

// ---- Reading -----------------------------------------------------------------------------------------------------

namespace detail {

constexpr std::uint64_t nobody = 0;
constexpr std::uint64_t the_host = 1; // whoever calls TakeMessage itself
constexpr std::size_t field_room = 4096;
constexpr std::size_t path_room = 1024;

// Whose record is the taken one of the process. Shared by the host and all its handles, which may outlive it.
//
// `lock` is taken ahead of the library's own locks, and by callbacks too; so whoever holds it must not wait for a
// callback, and has its reports held back.
struct Taking
{
    std::mutex lock;
    CQcApi* api = nullptr;        // null once the host is gone
    std::uint64_t connection = 1; // counts: records of an older one are gone
    std::uint64_t current = nobody;
    std::uint64_t last_handle = the_host;
    bool ending = false;   // a Logout has begun: records may go without a word
    std::string host_kind; // what the host's own TakeMessage named last
    unsigned int host_number = 0;
};

// A record as a handle knows it: by name and number, and by the connection that it came on.
struct Record
{
    std::shared_ptr<Taking> taking;
    std::string kind;
    unsigned int number = 0;
    std::uint64_t connection = 0;
    std::uint64_t handle = nobody;
    bool finished = false;
};

struct Raw
{
    int type = 0; // as GetField returns it
    std::string bytes;
};

// A stretch in which nobody else takes or reads.
class Turn
{
public:
    explicit Turn(Taking& taking) : m_taking(taking), m_lock(taking.lock) {}

    void drop_reports() { m_reports.Drop(); }

    [[nodiscard]] bool is_there(const Record& record) const
    {
        return m_taking.api != nullptr && !record.finished && record.connection == m_taking.connection &&
               !CQcApi::atexitqapi;
    }

    // Makes the record the taken one. While a session ends, it is looked for each time.
    bool take(const Record& record)
    {
        if (!is_there(record)) {
            return false;
        }
        if (m_taking.current == record.handle && !m_taking.ending) {
            return true;
        }
        std::string kind = record.kind;
        const bool found = m_taking.api->TakeMessage(kind.data(), record.number) == 0;
        m_taking.current = found ? record.handle : nobody;
        return found;
    }

    // What was read is the record's if it is still there: numbers are not given twice on a connection.
    bool was_there(const Record& record) { return !m_taking.ending || take(record); }

    std::optional<Raw> read(const Record& record, std::string path)
    {
        std::array<char, field_room> data;
        if (!take(record)) {
            return std::nullopt;
        }
        const int type = m_taking.api->GetField(path.data(), data.data());
        int size = type == 1 || type == 2 ? 2 : 4;
        if (type >= 4 && type != 7) {
            size = m_taking.api->GetFieldBSTR(path.data(), data.data());
        }
        if (type == 0 || !was_there(record)) {
            return std::nullopt;
        }
        return Raw{type, std::string(data.data(), static_cast<std::size_t>(size))};
    }

    // The field behind the one that `path` names; false at the end.
    bool next(const Record& record, std::array<char, path_room>& path)
    {
        std::array<char, field_room> data;
        return take(record) && m_taking.api->GetNextField(path.data(), data.data()) != 0 && was_there(record);
    }

    // 0, or the code of a failure.
    int finish(Record& record)
    {
        if (!is_there(record)) {
            return QAPI_ERR_RECORD_NOT_FOUND;
        }
        std::string kind = record.kind;
        m_taking.current = nobody; // its place is another record's now
        const int code = m_taking.api->FinishMessageProcess(kind.data(), record.number);
        record.finished = code == 0;
        return code;
    }

    int copy_for_reply(const Record& record)
    {
        char none[] = "";
        if (!take(record)) {
            return QAPI_ERR_RECORD_NOT_FOUND;
        }
        const int code = m_taking.api->InitMessage(none);
        return was_there(record) ? code : QAPI_ERR_RECORD_NOT_FOUND;
    }

    // For the host's own calls: the record that it took itself is the taken one again, or none.
    void give_back()
    {
        if (m_taking.current != the_host) {
            CQcApi::ReportsHeld quiet;
            m_taking.api->TakeMessage(m_taking.host_kind.data(), m_taking.host_number);
            quiet.Drop();
            m_taking.current = the_host;
        }
    }

private:
    Taking& m_taking;
    CQcApi::ReportsHeld m_reports; // ahead of the lock, so that they are delivered behind it
    std::lock_guard<std::mutex> m_lock;
};

inline bool is_padding(char letter)
{
    return letter == ' ' || letter == '\0';
}

inline void trim_end(std::string& text)
{
    while (!text.empty() && is_padding(text.back())) {
        text.pop_back();
    }
}

inline void trim_front(std::string& text)
{
    text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), is_padding));
}

// The characters of a number: the field has blanks between the sign and the digits too.
inline std::string number_text(std::string text)
{
    trim_end(text);
    trim_front(text);
    if (!text.empty() && text.front() == '-') {
        text.erase(text.begin());
        trim_front(text);
        text.insert(text.begin(), '-');
    }
    return text;
}

inline bool is_binary(int type)
{
    return type == 7 || (type >= 1 && type <= 3);
}

inline std::int64_t binary_number(const Raw& raw)
{
    std::uint32_t value = 0;
    for (std::size_t at = raw.bytes.size(); at-- > 0;) {
        value = value << 8U | static_cast<unsigned char>(raw.bytes[at]);
    }
    switch (raw.type) {
    case 1:
        return static_cast<std::int16_t>(value);
    case 7:
        return static_cast<std::int32_t>(value);
    default:
        return value;
    }
}

inline std::string text_in(const Raw& raw)
{
    if (is_binary(raw.type)) {
        return std::to_string(binary_number(raw));
    }
    if (raw.type == 4 || raw.type == 5) {
        return number_text(raw.bytes);
    }
    std::string text = raw.bytes;
    trim_end(text);
    return text;
}

inline std::optional<Decimal> number_in(const Raw& raw)
{
    if (is_binary(raw.type)) {
        return Decimal(binary_number(raw));
    }
    const std::string text = number_text(raw.bytes);
    const bool empty_is_zero = raw.type == 4 || raw.type == 5;
    return text.empty() && empty_is_zero ? Decimal() : Decimal::parse(text);
}

template <class Value> std::optional<Value> value_in(const Raw& raw)
{
    if constexpr (std::is_same_v<Value, std::string>) {
        return text_in(raw);
    } else if constexpr (std::is_same_v<Value, char>) {
        return is_binary(raw.type) || raw.bytes.empty() ? std::nullopt : std::optional<char>(raw.bytes.front());
    } else if constexpr (std::is_same_v<Value, Decimal>) {
        return number_in(raw);
    } else {
        static_assert(std::is_integral_v<Value> && !std::is_same_v<Value, bool>,
                      "a field is read as std::string, char, quentar::Decimal or an integer");
        const std::optional<Decimal> number = number_in(raw);
        return number ? number->template to_integer<Value>() : std::nullopt;
    }
}

} // namespace detail

/// A field of a record: its path as get takes it, its value as get<std::string> gives it, its type as GetField does.
struct Field
{
    std::string name;
    std::string value;
    int type = 0;
};

/**
 * @brief A received record, by name and number.
 *
 * Any thread may use a handle, and several may at a time; handles of different records too: a handle that reads takes
 * its record again if another one was read meanwhile, and all that in one lock. It reads nothing any more once it was
 * finished, once the connection on which its record came is closed, or once its host is gone; it may outlive each.
 *
 * Destroying it does nothing: a record is finished by finish() alone, and until then stays in memory and holds the
 * number up from which the next session resumes.
 */
class Message
{
public:
    /// A handle of nothing, which is gone.
    Message() = default;

    /// The record that OnMessageReceived announced by this name and number, of the connection that stands now. Whether
    /// it is there is seen when it is read.
    inline Message(Host& host, std::string kind, unsigned int number);

    Message(Message&&) = default;
    Message& operator=(Message&&) = default;
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;
    ~Message() = default;

    [[nodiscard]] const std::string& kind() const { return m_record.kind; }
    [[nodiscard]] unsigned int number() const { return m_record.number; }

    /**
     * @brief The value of a field.
     *
     * std::string: a text or date without the blanks and zeros behind it, those in front belong to it; a number in
     * characters without any, "" if it is empty; a binary one in digits. char: the first byte, as it is; not of binary
     * numbers. Decimal and the integers: the number, in a text or date too; an empty number in characters is 0.
     * @param path any case: "precio"; "usuario.nombre", of the record that the code names; "receptor[2]", an element
     * @return Value{} if the record has no such field, is gone, or if the field holds no such value (no number, or one
     *         that doesn't fit); the library reports the first of these with code 14, find tells them from a 0
     */
    template <class Value> [[nodiscard]] Value get(std::string_view path) const
    {
        return read<Value>(path, false).value_or(Value{});
    }

    /// The same, nothing on failure. A field or a record that isn't there is not reported.
    template <class Value> [[nodiscard]] std::optional<Value> find(std::string_view path) const
    {
        return read<Value>(path, true);
    }

    /**
     * @brief All named fields, in the order of their bytes.
     *
     * Reads one by one, so that others have their turn in between; ends early if the record goes.
     * @param depth how many codes deep to go into the records that they name. 0, the record's own fields; 1, also
     *              "usuario.nombre"; each step multiplies their number, so more than 2 is slow
     */
    [[nodiscard]] std::vector<Field> fields(int depth = 0) const
    {
        std::vector<Field> all;
        std::array<char, detail::path_room> path{};
        while (m_record.taking != nullptr) {
            detail::Turn turn(*m_record.taking);
            const bool more = turn.next(m_record, path);
            const std::optional<detail::Raw> raw =
                more && !is_deeper(path, depth) ? turn.read(m_record, path.data()) : std::nullopt;
            turn.drop_reports();
            if (!more) {
                break;
            }
            if (raw) {
                all.push_back({path.data(), detail::text_in(*raw), raw->type});
            }
        }
        return all;
    }

    /**
     * @brief Declares the record done; it is removed, and the handle reads nothing any more. Reply before you finish.
     * @return ok, also for a record of a table that went already; record_not_found if it is gone or was finished;
     *         not_initialized when nothing runs
     */
    Result finish()
    {
        if (m_record.taking == nullptr) {
            return Result::record_not_found;
        }
        detail::Turn turn(*m_record.taking);
        return static_cast<Result>(turn.finish(m_record));
    }

    /// True once nothing can be read any more: finished by this handle, the connection closed, the host gone. Another
    /// thread may make it true at any moment.
    [[nodiscard]] bool is_gone() const
    {
        return m_record.taking == nullptr || !detail::Turn(*m_record.taking).is_there(m_record);
    }

private:
    friend class Draft;

    template <class Value> std::optional<Value> read(std::string_view path, bool quietly) const
    {
        std::optional<detail::Raw> raw;
        if (m_record.taking != nullptr) {
            detail::Turn turn(*m_record.taking);
            raw = turn.read(m_record, std::string(path));
            if (quietly) {
                turn.drop_reports();
            }
        }
        return raw ? detail::value_in<Value>(*raw) : std::nullopt;
    }

    // Of a path below the depth, leaves one that leads behind the code that it went through too much.
    static bool is_deeper(std::array<char, detail::path_room>& path, int depth)
    {
        for (char& letter : path) {
            if (letter == '\0') {
                return false;
            }
            if (letter == '.' && depth-- == 0) {
                *(&letter + 1) = '~'; // no field's name; there is room, a name stands behind the point
                *(&letter + 2) = '\0';
                return true;
            }
        }
        return false;
    }

    detail::Record m_record;
};

// ---- Host --------------------------------------------------------------------------------------------------------

/**
 * @brief CQcApi with functions for callbacks.
 *
 * Set the functions before login and leave them alone while a session runs; an empty one is not called. They run where
 * CQcApi's callbacks do: on threads of the library, one at a time, and a failing login's on_error on its own. They must
 * not throw, nor destroy the host.
 *
 * The operations of CQcApi stay, and may be mixed with handles: here they know which record they took. Call them
 * through a Host, not through a pointer to CQcApi, which bypasses that.
 *
 * A class that derives from Host sets the functions, in its constructor say; the virtual callbacks are taken. It calls
 * logout in its own destructor if a function uses its members: these are gone when Host's destructor logs out.
 */
class Host : public CQcApi
{
public:
    Host() : m_taking(std::make_shared<detail::Taking>()) { m_taking->api = this; }

    /// Logs out, and waits for the library's threads as Logout does. Not in a callback.
    ~Host() override
    {
        Logout();
        const detail::Turn turn(*m_taking);
        m_taking->api = nullptr;
    }

    // ---- Callbacks

    std::function<void(Message message)> on_message;                ///< a record has come
    std::function<void()> on_connected;                             ///< ready to send; stored messages come next
    std::function<void(char letter)> on_refused;                    ///< by the server, which is asked again
    std::function<void(const std::string& reason)> on_disconnected; ///< the library connects again by itself
    /// A Result's code, 0 for a notice, or 23001 for an internal report; its text; a QAPI_NEXT_ACTION_... value.
    std::function<void(int code, const std::string& text, int next_action)> on_error;
    /// A QAPI_STATUS_... value.
    std::function<void(int code, const std::string& text)> on_status;

    // ---- Session

    /// CQcApi::Login: ok when the threads run; its outcome comes by callback.
    [[nodiscard]] Result login(std::string user, std::string password)
    {
        return static_cast<Result>(Login(user.data(), password.data()));
    }
    /// CQcApi::Logout: waits for the library's threads. @return ok, or not_initialized if nothing runs
    Result logout() { return static_cast<Result>(Logout()); }
    /// CQcApi::LogoutForce: waits for nothing; for callbacks. @return as logout
    Result logout_without_waiting() { return static_cast<Result>(LogoutForce()); }

    /// CQcApi::AddLoginCondition. @return ok, unknown_kind or unknown_field
    [[nodiscard]] Result add_condition(std::string kind, std::string field, std::string operation, std::string value)
    {
        return static_cast<Result>(AddLoginCondition(kind.data(), field.data(), operation.data(), value.data()));
    }

    // ---- CQcApi's own operations: each finds the record that the host took itself

    int TakeMessage(char* message_type, unsigned int message_num)
    {
        const detail::Turn turn(*m_taking);
        const int code = CQcApi::TakeMessage(message_type, message_num);
        m_taking->host_kind = message_type != nullptr ? message_type : "";
        m_taking->host_number = message_num;
        m_taking->current = code != QAPI_ERR_NOT_INITIALIZED_YET ? detail::the_host : detail::nobody;
        return code;
    }
    int FinishMessageProcess(char* message_type, unsigned int message_num)
    {
        const detail::Turn turn(*m_taking);
        m_taking->current = detail::nobody; // perhaps that record was
        return CQcApi::FinishMessageProcess(message_type, message_num);
    }
    int GetField(char* field_name, char* data_copy) { return call_own(&CQcApi::GetField, field_name, data_copy); }
    int GetNextField(char* field_name, char* data_copy)
    {
        return call_own(&CQcApi::GetNextField, field_name, data_copy);
    }
    int GetFieldBSTR(char* field_name, char* data_copy)
    {
        return call_own(&CQcApi::GetFieldBSTR, field_name, data_copy);
    }
    int GetFieldDATE(char* field_name, char* date_copy)
    {
        return call_own(&CQcApi::GetFieldDATE, field_name, date_copy);
    }
    long GetFieldLONG(char* field_name) { return call_own(&CQcApi::GetFieldLONG, field_name); }
    int IsDefined(char* field_name) { return call_own(&CQcApi::IsDefined, field_name); }
    int InitMessage(char* message_type) { return call_own(&CQcApi::InitMessage, message_type); }
    int SetFieldBSTR(char* message_type, char* field_name, char* new_value)
    {
        return call_own(&CQcApi::SetFieldBSTR, message_type, field_name, new_value);
    }
    int SetFieldDATE(char* message_type, char* field_name, char* new_value)
    {
        return call_own(&CQcApi::SetFieldDATE, message_type, field_name, new_value);
    }
    int SetFieldLONG(char* message_type, char* field_name, long new_value)
    {
        return call_own(&CQcApi::SetFieldLONG, message_type, field_name, new_value);
    }
    int SetFieldUINT(char* message_type, char* field_name, unsigned int new_value)
    {
        return call_own(&CQcApi::SetFieldUINT, message_type, field_name, new_value);
    }
    /// Not under the lock: it may sleep.
    int SendMessage(char* message_type)
    {
        std::string kind = message_type != nullptr ? message_type : "";
        if (kind.empty()) {
            detail::Turn turn(*m_taking);
            turn.give_back();
            kind = m_taking->host_kind;
        }
        return CQcApi::SendMessage(kind.data());
    }
    int Logout()
    {
        session_ends();
        return CQcApi::Logout();
    }
    int LogoutForce()
    {
        session_ends();
        return CQcApi::LogoutForce();
    }

private:
    friend class Message;
    friend class Draft;

    template <class Answer, class... Parameters>
    Answer call_own(Answer (CQcApi::*operation)(Parameters...), Parameters... arguments)
    {
        detail::Turn turn(*m_taking);
        turn.give_back();
        return (this->*operation)(arguments...);
    }

    // From here on records may be removed without a callback.
    void session_ends()
    {
        const detail::Turn turn(*m_taking);
        m_taking->ending = true;
    }

    // Status 20 comes before the records are removed, so that no handle reads while they are.
    void connection_changes(bool opens)
    {
        const detail::Turn turn(*m_taking);
        ++m_taking->connection;
        m_taking->current = detail::nobody;
        m_taking->host_kind.clear();
        m_taking->host_number = 0;
        m_taking->ending = m_taking->ending && !opens;
    }

    void OnMessageReceived(char* message_type, unsigned int message_num) final
    {
        if (on_message) {
            on_message(Message(*this, message_type, message_num));
        }
    }
    void OnConnection(int result_code) final
    {
        if (result_code == 0 && on_connected) {
            on_connected();
        } else if (result_code != 0 && on_refused) {
            on_refused(static_cast<char>(result_code));
        }
    }
    void OnDisconnection(int, const char* reason_text) final
    {
        if (on_disconnected) {
            on_disconnected(reason_text);
        }
    }
    void OnError(int error_code, char* error_text, int next_action_code, int) final
    {
        if (on_error) {
            on_error(error_code, error_text, next_action_code);
        }
    }
    void OnStatusChanged(int status_code, char* status_text) final
    {
        if (status_code == QAPI_STATUS_CONNECTED || status_code == QAPI_STATUS_DISCONNECTED ||
            status_code == QAPI_STATUS_SHUTTING_DOWN) {
            connection_changes(status_code == QAPI_STATUS_CONNECTED);
        }
        if (on_status) {
            on_status(status_code, status_text);
        }
    }

    std::shared_ptr<detail::Taking> m_taking;
    std::mutex m_composing; // one draft at a time; taken ahead of the lock for reading
};

inline Message::Message(Host& host, std::string kind, unsigned int number)
{
    detail::Taking& taking = *host.m_taking;
    const detail::Turn turn(taking);
    m_record = {host.m_taking, std::move(kind), number, taking.connection, ++taking.last_handle, false};
}

// ---- Draft -------------------------------------------------------------------------------------------------------

/**
 * @brief A message to send, collected first and composed when it is sent.
 *
 * Values are checked against their fields as they are set. The first that can't be set is kept, and send returns it and
 * sends nothing. A draft may be changed and sent again; it is used by one thread at a time, several drafts by several.
 *
 * The library composes one message at a time. Drafts take turns; who calls InitMessage, SetField... and SendMessage too
 * sees to it that no draft is sent meanwhile.
 */
class Draft
{
public:
    /// An empty message of a kind, any of its names.
    explicit Draft(std::string kind) : m_kind(std::move(kind))
    {
        QapiField none{};
        if (CQcApi::DescribeField(m_kind.c_str(), "", &none) == QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED) {
            fail(Result::unknown_kind, m_kind, "is no kind of message");
        }
    }

    /// A reply: a copy of the record, taken when the draft is sent. Finish the record behind that.
    explicit Draft(const Message& received) : Draft(received.kind())
    {
        m_original = received.m_record;
        m_is_reply = true;
    }

    /**
     * @brief Sets a field of the message itself from text.
     *
     * A text is filled up with zeros; a date wants 8 digits that are a day, or none; a number what Decimal::parse
     * reads.
     * @param field any case; "receptor[2]" is an element. Elements that are not set are empty, in a reply too
     */
    Draft& set(std::string_view field, std::string_view text)
    {
        const std::optional<QapiField> known = describe(field);
        if (!known) {
            return *this;
        }
        if (known->type == 6) {
            return set_text(field, *known, text);
        }
        if (known->type == 8) {
            return set_date(field, *known, text);
        }
        const std::optional<Decimal> number = Decimal::parse(text);
        return number ? set_number(field, *known, *number) : fail(field, "takes numbers alone");
    }
    Draft& set(std::string_view field, const std::string& text) { return set(field, std::string_view(text)); }
    Draft& set(std::string_view field, const char* text) { return set(field, std::string_view(text)); }

    /// From one character; texts alone.
    Draft& set(std::string_view field, char letter)
    {
        const std::optional<QapiField> known = describe(field);
        if (!known) {
            return *this;
        }
        return known->type == 6 ? set_text(field, *known, {&letter, 1}) : fail(field, "is no text");
    }

    /// From a number, which is written as the field has it: binary, in digits, with the field's decimals; in a text and
    /// a date as its characters. One that would lose a digit, a sign or its size is refused.
    Draft& set(std::string_view field, const Decimal& number)
    {
        const std::optional<QapiField> known = describe(field);
        if (!known) {
            return *this;
        }
        if (known->type == 6 || known->type == 8) {
            return number.is_valid() ? set(field, number.to_string()) : fail(field, "takes no invalid number");
        }
        return set_number(field, *known, number);
    }
    template <class Int, class = std::enable_if_t<std::is_integral_v<Int> && !std::is_same_v<Int, bool> &&
                                                  !std::is_same_v<Int, char>>>
    Draft& set(std::string_view field, Int number)
    {
        return set(field, Decimal(number));
    }
    Draft& set(std::string_view field, bool) = delete;
    Draft& set(std::string_view field, float) = delete;
    Draft& set(std::string_view field, double) = delete;

    /// Adds an addressee: two characters of identifier ("PU" for a machine), and a name. For orders; other messages
    /// have receivers among their fields, and drop it. 150 bytes for all of them, one counted behind each.
    Draft& to(std::string_view identifier, std::string_view name)
    {
        constexpr std::size_t room = 150;
        std::string address = std::string(identifier) + std::string(name);
        m_address_bytes += address.size() + 1;
        const bool has_zero = address.find('\0') != std::string::npos;
        if (identifier.size() != 2 || name.empty() || has_zero || m_address_bytes > room) {
            return fail(Result::illegal_address, address, "can't be added to the addressees");
        }
        m_addresses.push_back(std::move(address));
        return *this;
    }

    /// The first failure, ok so far if there is none.
    [[nodiscard]] Result result() const { return m_result; }
    /// It in words, with the field's name; "" if there is none.
    [[nodiscard]] const std::string& problem() const { return m_problem; }

    /**
     * @brief Composes the message and queues it. Sleeps first if send_msg_delay_millisec asks for a pause; other drafts
     *        wait meanwhile. Any thread, callbacks too.
     * @return ok, the first failure of the setters, record_not_found for a reply to a record that is gone, or what
     *         InitMessage, SetField... or SendMessage returned: then nothing was sent. ok says nothing about the
     * network
     */
    [[nodiscard]] Result send(Host& host) const
    {
        if (m_result != Result::ok) {
            return m_result;
        }
        const CQcApi::ReportsHeld reports; // they may wait for a callback, which may wait to send
        const std::lock_guard<std::mutex> composing(host.m_composing);
        CQcApi& api = host;
        std::string kind = m_kind;
        int code = m_is_reply ? begin_reply(host) : api.InitMessage(kind.data());
        for (auto setting = m_settings.begin(); code == 0 && setting != m_settings.end(); ++setting) {
            code = apply(api, kind, *setting);
        }
        if (code != 0) {
            return static_cast<Result>(code);
        }
        for (std::string address : m_addresses) {
            api.SendMessageTo(address.data());
        }
        return static_cast<Result>(api.SendMessage(kind.data()));
    }

private:
    enum class Form
    {
        bytes,
        signed_number,
        unsigned_number,
    };

    struct Setting
    {
        std::string field;
        Form form = Form::bytes;
        std::string bytes; // as many as the field has
        std::int64_t number = 0;
    };

    int begin_reply(Host& host) const
    {
        if (m_original.taking != host.m_taking) {
            return QAPI_ERR_RECORD_NOT_FOUND;
        }
        return detail::Turn(*m_original.taking).copy_for_reply(m_original);
    }

    static int apply(CQcApi& api, std::string& kind, Setting setting)
    {
        switch (setting.form) {
        case Form::signed_number:
            return api.SetFieldLONG(kind.data(), setting.field.data(), static_cast<long>(setting.number));
        case Form::unsigned_number:
            return api.SetFieldUINT(kind.data(), setting.field.data(), static_cast<unsigned int>(setting.number));
        default:
            return api.SetFieldBSTR(kind.data(), setting.field.data(), setting.bytes.data());
        }
    }

    Draft& fail(Result result, std::string_view what, const char* why)
    {
        if (m_result == Result::ok) {
            m_result = result;
            m_problem = std::string(what) + ' ' + why;
        }
        return *this;
    }
    Draft& fail(std::string_view field, const char* why) { return fail(Result::unknown_field, field, why); }

    std::optional<QapiField> describe(std::string_view field)
    {
        QapiField known{};
        if (CQcApi::DescribeField(m_kind.c_str(), std::string(field).c_str(), &known) == 0) {
            return known;
        }
        fail(field, "is no field of the message");
        return std::nullopt;
    }

    Draft& set_bytes(std::string_view field, const QapiField& known, std::string bytes)
    {
        bytes.resize(static_cast<std::size_t>(known.length));
        QapiField whole{};
        std::string name(field.substr(0, field.find('[')));
        std::transform(name.begin(), name.end(), name.begin(), [](char letter) {
            return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
        });
        if (name.size() < field.size() && CQcApi::DescribeField(m_kind.c_str(), name.c_str(), &whole) == 0 &&
            whole.elements > 1) {
            return set_element(name, whole, field, bytes);
        }
        m_settings.push_back({std::string(field), Form::bytes, std::move(bytes), 0});
        return *this;
    }

    // SetFieldBSTR writes whole fields alone: elements are collected in one setting of theirs.
    Draft& set_element(const std::string& name, const QapiField& whole, std::string_view field,
                       const std::string& bytes)
    {
        auto setting = std::find_if(m_settings.begin(), m_settings.end(),
                                    [&name](const Setting& each) { return each.field == name; });
        if (setting == m_settings.end()) {
            const std::string empty(static_cast<std::size_t>(whole.length), '\0');
            setting = m_settings.insert(setting, {name, Form::bytes, empty, 0});
        }
        std::size_t number = 1; // DescribeField has seen that it is one
        std::from_chars(field.data() + name.size() + 1, field.data() + field.size(), number);
        setting->bytes.replace((number - 1) * bytes.size(), bytes.size(), bytes);
        return *this;
    }

    Draft& set_text(std::string_view field, const QapiField& known, std::string_view text)
    {
        if (text.size() > static_cast<std::size_t>(known.length)) {
            return fail(field, "is shorter than the text");
        }
        return set_bytes(field, known, std::string(text));
    }

    Draft& set_date(std::string_view field, const QapiField& known, std::string_view text)
    {
        const bool fits = text.size() <= static_cast<std::size_t>(known.length);
        return fits && (text.empty() || is_day(text)) ? set_bytes(field, known, std::string(text))
                                                      : fail(field, "takes a day YYYYMMDD");
    }

    static bool is_day(std::string_view text)
    {
        const bool digits = std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (text.size() != 8 || !digits) {
            return false;
        }
        const auto number = [text](std::size_t from, std::size_t count) {
            int value = 0;
            std::from_chars(text.data() + from, text.data() + from + count, value);
            return value;
        };
        const int month = number(4, 2);
        const int day = number(6, 2);
        return month >= 1 && month <= 12 && day >= 1 && day <= days_of(number(0, 4), month);
    }

    static int days_of(int year, int month)
    {
        constexpr std::array<int, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        return month == 2 && leap ? 29 : days[static_cast<std::size_t>(month) - 1];
    }

    Draft& set_number(std::string_view field, const QapiField& known, const Decimal& number)
    {
        switch (known.type) {
        case 1:
            return set_binary<std::int16_t>(field, number);
        case 2:
            return set_binary<std::uint16_t>(field, number);
        case 3:
            return set_binary<std::uint32_t>(field, number);
        case 7:
            return set_binary<std::int32_t>(field, number);
        default:
            return set_digits(field, known, number);
        }
    }

    template <class Int> Draft& set_binary(std::string_view field, const Decimal& number)
    {
        const std::optional<Int> value = number.to_integer<Int>();
        if (!value) {
            return fail(field, "has no room for the number");
        }
        const Form form = std::is_signed_v<Int> ? Form::signed_number : Form::unsigned_number;
        m_settings.push_back({std::string(field), form, {}, std::int64_t{*value}});
        return *this;
    }

    Draft& set_digits(std::string_view field, const QapiField& known, const Decimal& number)
    {
        const std::optional<Decimal> exact = number.with_decimals(known.decimals);
        if (!exact) {
            return fail(field, "has fewer decimals than the number");
        }
        if (known.type == 4 && exact->is_negative()) {
            return fail(field, "takes no negative number");
        }
        const std::string text = exact->to_string();
        return text.size() <= static_cast<std::size_t>(known.length) ? set_bytes(field, known, text)
                                                                     : fail(field, "has no room for the number");
    }

    std::string m_kind;
    detail::Record m_original; // of a reply
    bool m_is_reply = false;
    std::vector<Setting> m_settings;
    std::vector<std::string> m_addresses;
    std::size_t m_address_bytes = 0;
    Result m_result = Result::ok;
    std::string m_problem;
};

} // namespace quentar
