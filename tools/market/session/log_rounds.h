// What one client still gets of the stored messages: a first round of those that it asks for by its log request (203),
// a second one, when it asks for it (252), of those that were stored meanwhile, and from then on whatever is stored. A
// round stands between the messages 204 and 205.
#pragma once

#include "audience.h"
#include "store/message_store.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

// The positions of a client's log request that are about this server, whose code's third and fourth character are
// given: one for each log at most, the first one of several. Takes any bytes.
std::vector<LogPosition> Take_Log_Request(std::string_view message, std::string_view server);

class LogRounds
{
public:
    // The server's code, 4 characters.
    explicit LogRounds(std::string_view server);

    // On 203: the first round has what `stored`, the size of the store, counts now. A client that asks again begins
    // again.
    void Begin(std::vector<LogPosition> positions, Party party, std::string today, std::size_t stored);

    // On 252. It is kept until the first round is over, and false if no second round is due.
    bool Begin_Second();

    // What is to be sent next, good until the store's next Add; none if there is nothing now. To be called after each
    // of the two above and whenever the store has grown, until there is nothing; a sender whose queue is full goes on
    // later.
    struct Item
    {
        std::string_view message{};
        std::uint16_t priority = 0;
    };
    std::optional<Item> Next(const MessageStore& store);

    // Both rounds are over: Next gives messages as they are stored.
    [[nodiscard]] bool is_live() const { return m_state == State::live; }

private:
    enum class State
    {
        idle,        // no log request has come
        first_begin, // 204 is next
        first,
        between, // 252 is waited for
        second,
        live
    };
    [[nodiscard]] bool Is_Wanted(const StoredMessage& message) const;
    const StoredMessage* Next_Wanted(const MessageStore& store, std::size_t end);
    Item Begin_Round(State round, std::size_t end);
    Item End_Round();

    std::string m_begin_message;
    std::string m_end_message;
    State m_state = State::idle;
    bool m_is_second_asked = false;
    std::vector<LogPosition> m_positions;
    Party m_party;
    std::string m_today;
    std::size_t m_position = 0; // in the store, of what was not looked at yet
    std::size_t m_end = 0;      // of the round
};

} // namespace qm
