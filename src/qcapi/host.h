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
// <qcapi/host.h> brings all of it: this file has hosts and received messages, draft.h what is sent, decimal.h numbers,
// result.h the codes in words. Nothing here throws, but for what the standard library's strings and vectors throw when
// memory ends.
#pragma once

#include <qcapi/decimal.h>
#include <qcapi/qcapi.h>
#include <qcapi/result.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
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

// ---- Reading -----------------------------------------------------------------------------------------------------

namespace detail {

inline constexpr std::uint64_t nobody = 0;
inline constexpr std::uint64_t the_host = 1; // whoever calls TakeMessage itself
inline constexpr std::size_t field_room = 4096;
inline constexpr std::size_t path_room = 1024;

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

    // Makes the record the taken one. Where a session ends, records are removed ahead of the word of it; but no other
    // takes their place until then, and what is read is the record's.
    bool take(const Record& record)
    {
        if (!is_there(record)) {
            return false;
        }
        if (m_taking.current != record.handle) {
            std::string kind = record.kind;
            const bool found = m_taking.api->TakeMessage(kind.data(), record.number) == 0;
            m_taking.current = found ? record.handle : nobody;
        }
        return m_taking.current == record.handle;
    }

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
        if (type == 0) {
            return std::nullopt;
        }
        return Raw{type, std::string(data.data(), static_cast<std::size_t>(size))};
    }

    // The field behind the one that `path` names; false at the end.
    bool next(const Record& record, std::array<char, path_room>& path)
    {
        std::array<char, field_room> data;
        return take(record) && m_taking.api->GetNextField(path.data(), data.data()) != 0;
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
        return take(record) ? m_taking.api->InitMessage(none) : QAPI_ERR_RECORD_NOT_FOUND;
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

inline constexpr std::string_view padding{" \0", 2};

inline std::string without_padding(std::string text)
{
    text.resize(text.find_last_not_of(padding) + 1);
    return text;
}

// The characters of a number: the field has blanks between the sign and the digits too.
inline std::string number_text(std::string text)
{
    text = without_padding(std::move(text));
    text.erase(0, text.find_first_not_of(padding));
    if (!text.empty() && text.front() == '-') {
        text.erase(1, text.find_first_not_of(padding, 1) - 1);
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
    const bool is_signed = raw.type == 1 || raw.type == 7;
    const std::int64_t range = std::int64_t{1} << 8 * raw.bytes.size();
    return value - (is_signed && value >= range / 2 ? range : 0);
}

inline std::string text_in(const Raw& raw)
{
    if (is_binary(raw.type)) {
        return std::to_string(binary_number(raw));
    }
    return raw.type == 4 || raw.type == 5 ? number_text(raw.bytes) : without_padding(raw.bytes);
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

    /// The same, nothing on failure. A code that names no record leads to an empty one, not to nothing. A field or a
    /// record that isn't there is not reported.
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
            std::optional<detail::Raw> raw;
            if (more && !is_deeper(path, depth) && (raw = turn.read(m_record, path.data()))) {
                all.push_back({path.data(), detail::text_in(*raw), raw->type});
            }
            turn.drop_reports();
            if (!more) {
                break;
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
    int GetField(char* path, char* copy) { return call_own(&CQcApi::GetField, path, copy); }
    int GetNextField(char* path, char* copy) { return call_own(&CQcApi::GetNextField, path, copy); }
    int GetFieldBSTR(char* path, char* copy) { return call_own(&CQcApi::GetFieldBSTR, path, copy); }
    int GetFieldDATE(char* path, char* copy) { return call_own(&CQcApi::GetFieldDATE, path, copy); }
    long GetFieldLONG(char* path) { return call_own(&CQcApi::GetFieldLONG, path); }
    int IsDefined(char* path) { return call_own(&CQcApi::IsDefined, path); }
    int InitMessage(char* kind) { return call_own(&CQcApi::InitMessage, kind); }
    int SetFieldBSTR(char* kind, char* path, char* text) { return call_own(&CQcApi::SetFieldBSTR, kind, path, text); }
    int SetFieldDATE(char* kind, char* path, char* day) { return call_own(&CQcApi::SetFieldDATE, kind, path, day); }
    int SetFieldLONG(char* kind, char* path, long value) { return call_own(&CQcApi::SetFieldLONG, kind, path, value); }
    int SetFieldUINT(char* kind, char* path, unsigned int value)
    {
        return call_own(&CQcApi::SetFieldUINT, kind, path, value);
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

    // Status 20 comes before the records are removed, so that no handle reads while they are.
    void connection_changes()
    {
        const detail::Turn turn(*m_taking);
        ++m_taking->connection;
        m_taking->current = detail::nobody;
        m_taking->host_kind.clear();
        m_taking->host_number = 0;
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
            connection_changes();
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

} // namespace quentar

#include <qcapi/draft.h> // IWYU pragma: export
