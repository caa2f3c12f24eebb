#include "session/client.h"

#include "little_endian.h"
#include "message_numbers.h"
#include "records/sizes.h"
#include "scenario/record_builder.h"
#include "session/header.h"
#include "session/login.h"

#include <utility>

namespace qm {

namespace {

constexpr Clock::Time alive_interval = std::chrono::seconds(20);
constexpr std::uint16_t message_type = 100; // of the envelope
constexpr std::uint16_t clock_check_type = 1;
constexpr std::uint16_t connected_users_table = 16;
constexpr std::size_t table_letter_at = 3;
constexpr std::size_t table_code_at = 4;
constexpr char end_of_table = 'z';
constexpr const char* our_name = "SERV";

bool is_presence(std::string_view message)
{
    return message.size() >= GTABLE_MSG_HEADER_SIZE && message[table_letter_at] == ROW_INSERTED &&
           load_le<std::uint16_t>(message.data() + table_code_at) == connected_users_table;
}

} // namespace

Client::Client(EventLoop& loop, int descriptor, std::uint64_t id, std::string peer, ClientOwner& owner)
    : m_id(id), m_peer(std::move(peer)), m_owner(owner), m_encoder(owner.scenario().send_mode),
      m_log(owner.scenario().server), m_last_received(loop.clock().now()), m_last_sent(loop.clock().now())
{
    m_stream = std::make_unique<Stream>(loop, descriptor,
                                        Stream::Events{.received = [this](std::string_view bytes) { Received(bytes); },
                                                       .closed =
                                                           [this](const std::string& why) {
                                                               m_phase = Phase::closed;
                                                               m_owner.On_Closed(*this, why);
                                                           },
                                                       .drained = [this] { Send_On(); }});
}

std::string Client::state() const
{
    switch (m_phase) {
    case Phase::connected:
        return "connected";
    case Phase::refused:
        return "refused";
    case Phase::closed:
        return "closed";
    case Phase::session:
        break;
    }
    if (m_stream->is_stalled()) {
        return "stalled";
    }
    return m_log.is_live() ? "live" : "logged in";
}

// ---- What it sends ---------------------------------------------------------------------------------------------

void Client::Received(std::string_view bytes)
{
    m_last_received = m_owner.clock().now();
    m_decoder.Feed(bytes);
    while (m_phase != Phase::closed) {
        const auto payload = m_decoder.Next();
        if (!payload) {
            break;
        }
        Take_Payload(*payload);
    }
    if (m_decoder.is_broken() && m_phase != Phase::closed) {
        Close("bad data: " + m_decoder.complaint());
    }
}

void Client::Take_Payload(std::string_view payload)
{
    const auto envelope = Take_Envelope(payload);
    if (!envelope) {
        Close("bad data: not an envelope");
        return;
    }
    if (Number_Of(envelope->message) == MSS_TIME_CHECK) {
        Answer_Clock_Check(envelope->message);
        return;
    }
    ++m_messages_in;
    m_owner.journal().Message(m_id, m_party.machine, Journal::Direction::in, envelope->message);
    Take_Message(envelope->message, envelope->audience);
}

void Client::Answer_Clock_Check(std::string_view message)
{
    std::string check(message);
    if (Stamp_Clock_Check(check, m_owner.clock().wall())) {
        m_frame.clear();
        if (Pack(m_frame, check, PRIORITY_OF_MESSAGES, clock_check_type)) {
            Send_Bytes(m_frame);
        }
    }
}

void Client::Take_Message(std::string_view message, const Audience& audience)
{
    const int number = Number_Of(message);
    if (number == MSS_INGRESO_EQUIPO) {
        if (m_phase == Phase::connected) {
            m_owner.On_Login(*this, message);
        }
        return;
    }
    if (m_phase == Phase::session) {
        Take_Session_Message(number, message, audience);
    } else {
        Note("ignored", "message " + std::to_string(number) + " without a login");
    }
}

void Client::Take_Session_Message(int number, std::string_view message, const Audience& audience)
{
    switch (number) {
    case MSS_TABLA_GLOBAL:
        Take_Table_Message(message);
        break;
    case MSS_PEDIDO_LOG:
        Begin_Log(Take_Log_Request(message, server().substr(2)));
        break;
    case MSS_PEDIDO_SIGUIENTE_LOG:
        m_log.Begin_Second();
        Send_On();
        break;
    case MSS_ORDEN:
    case MSS_ORDEN_RFQ:
    case MSS_ORDEN_2:
        m_owner.On_Order(*this, message, audience);
        break;
    case MSS_CHAT:
        m_owner.On_Chat(*this, message);
        break;
    default:
        break; // a version, the frame of table requests, a farewell: the journal has them
    }
}

void Client::Begin_Log(std::vector<LogPosition> positions)
{
    std::string text;
    for (const LogPosition& position : positions) {
        text += (text.empty() ? "" : ", ") + std::string(1, static_cast<char>(position.log)) + " " +
                std::to_string(position.number) + (position.date.empty() ? "" : " of " + position.date);
    }
    m_owner.On_Progress(*this, "asks for stored messages behind " + (text.empty() ? "none" : text));
    m_log.Begin(std::move(positions), m_party, m_owner.clock().date(), m_owner.store().size());
    Send_On();
}

void Client::Take_Table_Message(std::string_view message)
{
    if (is_presence(message)) {
        return;
    }
    const TableDialogue::Answer answer = m_dialogue.On_Request(message, m_owner.tables());
    if (!answer.note.empty()) {
        Note("table", answer.note);
    }
    for (const std::string& part : answer.messages) {
        Send_Message(part);
    }
    if (!answer.messages.empty() && answer.messages.back()[table_letter_at] == end_of_table) {
        Tell_Table(message, answer.messages.size() - 1);
    }
}

void Client::Tell_Table(std::string_view request, std::size_t count)
{
    const auto code = load_le<std::uint16_t>(request.data() + table_code_at);
    const TableName* name = Find_Table_Of_Code(code);
    m_owner.On_Progress(*this, "table " + std::to_string(code) +
                                   (name != nullptr ? std::string(" ") + name->name : "") + ", " +
                                   std::to_string(count) + (count == 1 ? " record" : " records"));
}

// ---- What it gets ----------------------------------------------------------------------------------------------

void Client::Accept(const Party& party)
{
    m_party = party;
    m_phase = Phase::session;
    Send_Message(Login_Reply('S', party, m_owner.scenario().expiry_seconds));
}

void Client::Refuse(char letter, const Party& party)
{
    m_phase = Phase::refused;
    Send_Message(Login_Reply(letter, party, m_owner.scenario().expiry_seconds));
}

void Client::Table_Changed(char letter, std::uint16_t code, const TableRow& row)
{
    if (is_logged_in() && m_dialogue.Wants_Change(code, letter, row.idx)) {
        Send_Message(Table_Message(letter, code, row));
    }
}

// Appends the message's frame. False, and nothing is appended, if the message is too long for the connection's mode.
bool Client::Pack(std::string& frame, std::string_view message, std::uint16_t priority, std::uint16_t type)
{
    std::string envelope;
    return Append_Envelope(envelope, message, priority, our_name, type) && m_encoder.Append(frame, envelope);
}

std::string Client::Frame_Of(std::string_view message)
{
    std::string frame;
    Pack(frame, message, PRIORITY_OF_MESSAGES, message_type);
    return frame;
}

void Client::Send_Message(std::string_view message, std::uint16_t priority)
{
    if (m_phase == Phase::closed) {
        return;
    }
    m_frame.clear();
    if (!Pack(m_frame, message, priority, message_type)) {
        Note("not sent", "a message of " + std::to_string(message.size()) + " bytes");
        return;
    }
    m_owner.journal().Message(m_id, m_party.machine, Journal::Direction::out, message);
    m_last_message = message;
    m_last_priority = priority;
    ++m_messages_out;
    Send_Bytes(m_frame);
}

void Client::Send_Last_Message_Again()
{
    if (!m_last_message.empty()) {
        Send_Message(std::string(m_last_message), m_last_priority);
    }
}

void Client::Send_Bytes(std::string_view bytes)
{
    if (m_phase == Phase::closed) {
        return;
    }
    m_last_sent = m_owner.clock().now();
    if (m_flood) {
        m_behind_flood += bytes; // a frame may be half sent
    } else {
        m_stream->Send(bytes);
    }
    if (m_phase != Phase::closed && waiting() > m_owner.most_queued()) {
        Close("reads too slowly");
    }
}

void Client::Flood(std::function<std::string_view()> source)
{
    if (!is_logged_in()) {
        return;
    }
    if (m_flood) {
        m_flood = [first = std::move(m_flood), then = std::move(source)] {
            const std::string_view bytes = first();
            return bytes.empty() ? then() : bytes;
        };
    } else {
        m_flood = std::move(source);
    }
    Send_On();
}

// Goes on with what waits for room.
void Client::Send_On()
{
    Send_Log();
    Send_Flood();
}

void Client::Send_Log()
{
    while (m_phase == Phase::session && has_room()) {
        const auto next = m_log.Next(m_owner.store());
        if (!next) {
            return;
        }
        Send_Message(next->message, next->priority);
        Tell_Log();
    }
}

// The rounds are told when they end; behind them messages come one by one.
void Client::Tell_Log()
{
    const int number = Number_Of(m_last_message);
    if (number == MSS_INICIO_LOG) {
        m_in_round = 0;
    } else if (number == MSS_FIN_LOG) {
        m_owner.On_Progress(*this, "stored messages, " + std::to_string(m_in_round));
    } else {
        ++m_in_round;
    }
}

void Client::Send_Flood()
{
    while (m_flood && m_phase == Phase::session) {
        if (m_flood_rest.empty()) {
            Next_Of_Flood();
            continue;
        }
        m_last_sent = m_owner.clock().now();
        m_flood_rest.remove_prefix(m_stream->Send_Now(m_flood_rest));
        if (!m_flood_rest.empty()) {
            return;
        }
    }
}

// Between two pieces of a flood frames are whole, so what waits behind it goes out there: it was packed before the next
// piece is.
void Client::Next_Of_Flood()
{
    Send_Log();
    m_between_floods = std::exchange(m_behind_flood, {});
    m_flood_rest = m_between_floods.empty() ? m_flood() : std::string_view(m_between_floods);
    if (m_flood_rest.empty()) {
        m_flood = nullptr;
    }
}

// ---- Life ------------------------------------------------------------------------------------------------------

void Client::Tick()
{
    if (m_phase == Phase::closed || m_stream->is_stalled()) {
        return;
    }
    const Clock::Time now = m_owner.clock().now();
    if (now - m_last_received >= std::chrono::seconds(m_owner.scenario().expiry_seconds)) {
        Close("silent for too long");
        return;
    }
    if (now - m_last_sent >= alive_interval) {
        m_frame.clear();
        m_encoder.Append(m_frame, {});
        Send_Bytes(m_frame);
    }
}

void Client::Close(const std::string& why)
{
    if (m_phase != Phase::closed) {
        m_stream->Close(why);
    }
}

void Client::Note(std::string_view event, std::string_view text)
{
    m_owner.journal().Event(m_id, event, text);
}

} // namespace qm
