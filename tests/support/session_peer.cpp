#include "support/session_peer.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

using namespace market;

namespace {

[[noreturn]] void complain(const std::string& text)
{
    throw std::runtime_error("the market " + text);
}

std::string names_of(const std::vector<std::uint16_t>& codes)
{
    std::string names;
    for (const std::uint16_t code : codes) {
        names += ' ';
        names += std::to_string(code);
    }
    return names;
}

std::string expected(const std::string& message, int number)
{
    if (NumberOf(message) != number) {
        complain("expected message " + std::to_string(number) + " and got " + message.substr(0, 3) + " of " +
                 std::to_string(message.size()) + " bytes");
    }
    return message;
}

bool comes_from_the_host(int number)
{
    constexpr std::array numbers{111, 113, 121, 133, 134, 575};
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

bool asks_for_a_table(const TableRequest& request)
{
    return request.letter == 'S' || request.letter == 'Q';
}

} // namespace

const std::vector<std::uint16_t>& SessionPeer::feed_tables()
{
    static const std::vector<std::uint16_t> codes{8,  21, 22, 23, 24,    25,    26,    27,   28,
                                                  30, 35, 54, 66, 32026, 32053, 32055, 32141};
    return codes;
}

// What was kept belongs to the connection before.
void SessionPeer::accept()
{
    m_kept.clear();
    TestPeer::accept();
}

// ---- Receiving -----------------------------------------------------------------------------------------------------

WireEnvelope SessionPeer::receive_message()
{
    if (m_kept.empty()) {
        m_last = TestPeer::receive_message();
    } else {
        m_last = std::move(m_kept.front());
        m_kept.pop_front();
    }
    return m_last;
}

std::optional<WireEnvelope> SessionPeer::receive_message_if_any()
{
    if (!m_kept.empty()) {
        return receive_message();
    }
    auto envelope = TestPeer::receive_message_if_any();
    m_last = envelope.value_or(m_last);
    return envelope;
}

std::string SessionPeer::expect(int number)
{
    return expected(receive_message().message, number);
}

// Keeps what comes from the host. Nothing but that may have been kept before.
WireEnvelope SessionPeer::Next_Of_Session()
{
    for (;;) {
        m_last = TestPeer::receive_message();
        if (!comes_from_the_host(NumberOf(m_last.message))) {
            return m_last;
        }
        m_kept.push_back(m_last);
    }
}

std::string SessionPeer::Expect_Of_Session(int number)
{
    return expected(Next_Of_Session().message, number);
}

// ---- The whole exchange --------------------------------------------------------------------------------------------

void SessionPeer::bring_up()
{
    bring_up_to_log();
    play_log_rounds();
}

void SessionPeer::bring_up_to_log()
{
    accept();
    expect_login();
    accept_login();
    send_range();
    serve_primary_tables();
    expect_log_request();
    expect_presence();
    expect_version();
}

// ---- Login ---------------------------------------------------------------------------------------------------------

Login SessionPeer::expect_login()
{
    return TakeLogin(expect(201));
}

void SessionPeer::refuse_login(char letter)
{
    LoginReply refusal = login_reply;
    refusal.letter = letter;
    send_message(Make(refusal));
}

// ---- Tables --------------------------------------------------------------------------------------------------------

std::vector<TableRequest> SessionPeer::expect_subscription(const std::vector<std::uint16_t>& codes)
{
    TakeTablesRequest(expect(213));
    std::vector<TableRequest> requests;
    for (const std::uint16_t code : codes) {
        requests.push_back(TakeTableRequest(expect(888)));
        if (requests.back().code != code || !asks_for_a_table(requests.back())) {
            complain("expected a request for table " + std::to_string(code) + " of" + names_of(codes) +
                     " and got letter " + requests.back().letter + " for " + std::to_string(requests.back().code));
        }
    }
    return requests;
}

void SessionPeer::end_tables(const std::vector<std::uint16_t>& codes)
{
    for (const std::uint16_t code : codes) {
        send_message(EndOfTable(code));
    }
}

std::vector<TableRequest> SessionPeer::serve_primary_tables()
{
    TakeTablesRequest(expect(213));
    std::vector<TableRequest> requests = Serve_Until(203);
    m_kept.push_front(m_last);
    return requests;
}

std::vector<TableRequest> SessionPeer::serve_secondary_tables()
{
    TakeTablesRequest(Expect_Of_Session(213));
    std::vector<TableRequest> requests = Serve_Until(214);
    TakeTablesRequestEnd(m_last.message);
    return requests;
}

// The message of that number is the last one then.
std::vector<TableRequest> SessionPeer::Serve_Until(int number)
{
    std::vector<TableRequest> requests;
    while (NumberOf(Next_Of_Session().message) != number) {
        const TableRequest request = TakeTableRequest(expected(m_last.message, 888));
        if (asks_for_a_table(request)) {
            Serve(request);
            requests.push_back(request);
        }
    }
    return requests;
}

// Whoever asks by hash learns that no record of it is known here, and gets all of them; what it asks for behind that
// it has by then.
void SessionPeer::Serve(const TableRequest& request)
{
    if (request.letter == 'Q') {
        send_table_record({.letter = 'L', .code = request.code});
    }
    if (const auto table = tables.find(request.code); table != tables.end()) {
        for (TableRecord record : table->second) {
            record.code = request.code;
            send_table_record(record);
        }
    }
    send_message(EndOfTable(request.code));
}

// ---- The log -------------------------------------------------------------------------------------------------------

LogRequest SessionPeer::expect_log_request()
{
    return TakeLogRequest(expect(203));
}

Presence SessionPeer::expect_presence()
{
    return TakePresence(expect(888));
}

Version SessionPeer::expect_version()
{
    return TakeVersion(expect(253));
}

void SessionPeer::send_log_round(const std::vector<std::string>& messages)
{
    send_message(LogBegin());
    for (const std::string& message : messages) {
        send_message(message);
    }
    send_message(LogEnd());
}

void SessionPeer::expect_next_log_request()
{
    TakeNextLogRequest(Expect_Of_Session(252));
}

std::vector<TableRequest> SessionPeer::play_log_rounds()
{
    send_log_round(first_log);
    expect_next_log_request();
    send_log_round(second_log);
    return serve_secondary_tables();
}

// ---- Steady state --------------------------------------------------------------------------------------------------

Order SessionPeer::expect_order()
{
    return TakeOrder(receive_message().message);
}

SeenChat SessionPeer::expect_chat()
{
    return TakeChat(expect(575));
}

Offline SessionPeer::expect_offline()
{
    return TakeOffline(expect(202));
}
