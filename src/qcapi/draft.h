// Messages to send, checked field by field before the library composes them. Part of <qcapi/host.h>.
#pragma once

#include <qcapi/host.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace quentar {

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
