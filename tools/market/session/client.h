// One connected client: its frames, what it may do before and behind its login, and what is still to be sent to it.
// What concerns others (orders, chats, logins) goes up to the market.
#pragma once

#include "audience.h"
#include "journal.h"
#include "net/stream.h"
#include "scenario/scenario.h"
#include "session/log_rounds.h"
#include "session/table_dialogue.h"
#include "store/message_store.h"
#include "wire/envelope.h"
#include "wire/frames.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace qm {

class Client;

// What a client needs of its market. Calls may destroy nothing: a client that is to go is closed, and collected later.
class ClientOwner
{
public:
    ClientOwner() = default;
    ClientOwner(const ClientOwner&) = delete;
    ClientOwner& operator=(const ClientOwner&) = delete;
    virtual ~ClientOwner() = default;

    virtual void On_Login(Client& client, std::string_view message) = 0;
    virtual void On_Order(Client& client, std::string_view message, const Audience& audience) = 0;
    virtual void On_Chat(Client& client, std::string_view message) = 0;
    virtual void On_Closed(Client& client, const std::string& why) = 0;
    virtual void On_Progress(Client& client, const std::string& text) = 0; // for the eye

    [[nodiscard]] virtual const Scenario& scenario() const = 0;
    [[nodiscard]] virtual const MessageStore& store() const = 0;
    [[nodiscard]] virtual const Tables& tables() const = 0;
    [[nodiscard]] virtual const Clock& clock() const = 0;
    [[nodiscard]] virtual Journal& journal() = 0;
    [[nodiscard]] virtual std::size_t most_queued() const = 0; // bytes for a client; one that reads more slowly goes
};

class Client
{
public:
    Client(EventLoop& loop, int descriptor, std::uint64_t id, std::string peer, ClientOwner& owner);

    [[nodiscard]] std::uint64_t id() const { return m_id; } // counted from 1
    [[nodiscard]] const std::string& peer() const { return m_peer; }
    [[nodiscard]] const Party& party() const { return m_party; } // empty before the login
    [[nodiscard]] bool is_logged_in() const { return m_phase == Phase::session; }
    [[nodiscard]] bool is_live() const { return is_logged_in() && m_log.is_live(); }
    [[nodiscard]] bool is_closed() const { return m_phase == Phase::closed; }
    [[nodiscard]] std::string state() const; // in a word, for the prompt

    // ---- What the market does with it

    void Accept(const Party& party);
    void Refuse(char letter, const Party& party);
    void Look_At_Store() { Send_On(); } // something has been stored
    void Table_Changed(char letter, std::uint16_t code, const TableRow& row);
    void Tick(); // about every second: alive signals, the end of a silent peer
    void Close(const std::string& why);

    // ---- Faults and measurements

    void Send_Message(std::string_view message, std::uint16_t priority = PRIORITY_OF_MESSAGES);
    void Send_Bytes(std::string_view bytes); // as they are
    void Send_Last_Message_Again();
    [[nodiscard]] Stream& stream() { return *m_stream; }

    // Frames that were built once. `source` gives the next bytes, none at the end; it is asked whenever the peer takes
    // more, and everything else waits meanwhile. One that comes during another goes out behind it. Nothing is
    // sent before the login.
    void Flood(std::function<std::string_view()> source);
    [[nodiscard]] std::string Frame_Of(std::string_view message); // as Send_Message would send it
    [[nodiscard]] const std::string& server() const { return m_owner.scenario().server; }
    [[nodiscard]] SendMode send_mode() const { return m_owner.scenario().send_mode; }

    [[nodiscard]] std::size_t waiting() const { return m_stream->queued() + m_behind_flood.size(); } // bytes
    [[nodiscard]] std::uint64_t messages_in() const { return m_messages_in; }
    [[nodiscard]] std::uint64_t messages_out() const { return m_messages_out; }

private:
    enum class Phase
    {
        connected,
        refused,
        session,
        closed
    };

    void Received(std::string_view bytes);
    void Take_Payload(std::string_view payload);
    void Answer_Clock_Check(std::string_view message);
    bool Pack(std::string& frame, std::string_view message, std::uint16_t priority, std::uint16_t type);
    void Take_Message(std::string_view message, const Audience& audience);
    void Take_Session_Message(int number, std::string_view message, const Audience& audience);
    void Begin_Log(std::vector<LogPosition> positions);
    void Take_Table_Message(std::string_view message);
    void Send_On();
    void Send_Log();
    void Tell_Table(std::string_view request, std::size_t count);
    void Tell_Log();
    void Send_Flood();
    void Next_Of_Flood();
    [[nodiscard]] bool has_room() const { return waiting() < Stream::HIGH_WATER; }
    void Note(std::string_view event, std::string_view text);

    std::uint64_t m_id;
    std::string m_peer;
    ClientOwner& m_owner;
    Phase m_phase = Phase::connected;
    Party m_party;
    FrameEncoder m_encoder;
    FrameDecoder m_decoder;
    TableDialogue m_dialogue;
    LogRounds m_log;
    std::function<std::string_view()> m_flood;
    std::string_view m_flood_rest;
    std::string m_behind_flood;   // frames that wait for it
    std::string m_between_floods; // those that go out now
    std::string m_last_message;
    std::uint16_t m_last_priority = PRIORITY_OF_MESSAGES;
    std::string m_frame; // the one that is being built
    Clock::Time m_last_received{};
    Clock::Time m_last_sent{};
    std::size_t m_in_round = 0; // messages of the round of the log that is being sent
    std::uint64_t m_messages_in = 0;
    std::uint64_t m_messages_out = 0;
    std::unique_ptr<Stream> m_stream; // last: its callbacks use the rest
};

} // namespace qm
