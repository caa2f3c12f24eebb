// Messages to send, checked field by field before the library composes them. Part of <qcapi/host.h>.
#pragma once

#include <qcapi/host.h>

#include <algorithm>
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
        m_is_reply = true;
        if (received.m_record.taking != nullptr) {
            const detail::Turn turn(*received.m_record.taking); // another thread may finish it meanwhile
            m_original = received.m_record;
        }
    }

    /**
     * @brief Sets a field of the message itself from text.
     *
     * A text is filled up with zeros; a number is what Decimal::parse reads.
     * @param field any case; "receptor[2]" is an element. Elements that are not set are empty, in a reply too
     */
    Draft& set(std::string_view field, std::string_view text)
    {
        const std::optional<QapiField> known = describe(field);
        if (!known) {
            return *this;
        }
        if (is_text(*known)) {
            return set_text(field, *known, text);
        }
        const std::optional<Decimal> number = Decimal::parse(text);
        return number ? set_number(field, *known, *number) : fail(field, "takes numbers alone");
    }

    /// From one character; texts alone.
    Draft& set(std::string_view field, char letter)
    {
        const std::optional<QapiField> known = describe(field);
        if (!known) {
            return *this;
        }
        return is_text(*known) ? set_text(field, *known, {&letter, 1}) : fail(field, "is no text");
    }

    /// From a number, which is written as the field has it: binary, in digits, with the field's decimals; in a text as
    /// its characters. One that would lose a digit, a sign or its size is refused.
    Draft& set(std::string_view field, const Decimal& number)
    {
        const std::optional<QapiField> known = describe(field);
        if (!known) {
            return *this;
        }
        if (is_text(*known)) {
            return number.is_valid() ? set_text(field, *known, number.to_string())
                                     : fail(field, "takes no invalid number");
        }
        return set_number(field, *known, number);
    }
    /// From an integer; Decimal has no way in for bool and binary floating point.
    template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
    Draft& set(std::string_view field, Number number)
    {
        return set(field, Decimal(number));
    }

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

    // The latest setting of a field goes last: fields may share bytes.
    Draft& keep(Setting setting)
    {
        take_setting(setting.field);
        m_settings.push_back(std::move(setting));
        return *this;
    }

    // Removes what was set, and returns its bytes.
    std::string take_setting(const std::string& field)
    {
        std::string bytes;
        const auto found = std::find_if(m_settings.begin(), m_settings.end(),
                                        [&field](const Setting& each) { return each.field == field; });
        if (found != m_settings.end()) {
            bytes = std::move(found->bytes);
            m_settings.erase(found);
        }
        return bytes;
    }

    // SetFieldBSTR writes whole fields alone, from their beginning: an element is set in the bytes of its field.
    Draft& set_bytes(std::string_view field, const QapiField& known, std::string bytes)
    {
        bytes.resize(static_cast<std::size_t>(known.length));
        std::string name = lowered(field);
        const std::size_t bracket = name.rfind('[');
        QapiField whole{};
        if (bracket == std::string::npos ||
            CQcApi::DescribeField(m_kind.c_str(), name.substr(0, bracket).c_str(), &whole) != 0 ||
            whole.elements == 1) {
            return keep({std::move(name), Form::bytes, std::move(bytes), 0});
        }
        std::size_t number = 1; // DescribeField has seen that it is one
        std::from_chars(name.data() + bracket + 1, name.data() + name.size(), number);
        name.resize(bracket);
        std::string all = take_setting(name);
        all.resize(static_cast<std::size_t>(whole.length));
        all.replace((number - 1) * bytes.size(), bytes.size(), bytes);
        return keep({std::move(name), Form::bytes, std::move(all), 0});
    }

    static std::string lowered(std::string_view name)
    {
        std::string text(name);
        std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
            return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
        });
        return text;
    }

    static bool is_text(const QapiField& field) { return field.type == 6 || field.type == 8; }

    Draft& set_text(std::string_view field, const QapiField& known, std::string_view text)
    {
        if (text.size() > static_cast<std::size_t>(known.length)) {
            return fail(field, "is shorter than the text");
        }
        return set_bytes(field, known, std::string(text));
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
        return keep({lowered(field), form, {}, std::int64_t{*value}});
    }

    Draft& set_digits(std::string_view field, const QapiField& known, const Decimal& number)
    {
        constexpr int kept_decimals = 8; // the library cuts the ninth that two fields have room for
        const std::optional<Decimal> exact = number.with_decimals(known.decimals);
        if (!exact || !exact->with_decimals(std::min(known.decimals, kept_decimals))) {
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
