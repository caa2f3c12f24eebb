// A market that plays a whole session, on top of the real socket of TestPeer: login, tables, the log in two rounds,
// then whatever the test wants. Each verb is one step of the exchange, so that a test can stop, fail or go wrong behind
// any of them; bring_up() is all of them.
//
// What the host sends while the log is played (orders, chats) is kept for afterwards: a host may send as soon as it has
// heard OnConnection.
//
// The client's side of it, in order: login (201); 213 and a request for each primary table; log request (203), presence
// (888), version (253); 252 behind the first round of the log; behind the second one 213, a request for each secondary
// table, and 214.
//
// A step that sees another message than the one that is due throws std::runtime_error, which names both.
#pragma once

#include "support/market_records.h"
#include "support/test_peer.h"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

class SessionPeer : public TestPeer
{
public:
    // ---- What this market says; a test changes it before the step that uses it.

    market::LoginReply login_reply;
    market::Range range;
    std::map<std::uint16_t, std::vector<market::TableRecord>> tables; // by code; their records' codes are filled in
    std::vector<std::string> first_log;                               // messages of the two rounds
    std::vector<std::string> second_log;

    // Codes of the primary tables that come with transaction_feed, in the order in which they are asked for.
    static const std::vector<std::uint16_t>& feed_tables();

    // ---- Steps

    void accept();

    // Everything from a connection that waits to be accepted to the steady state.
    void bring_up();
    void bring_up_to_log(); // the log request, presence and version have arrived: the host hears OnConnection(0)

    market::Login expect_login();
    void accept_login() { send_message(market::Make(login_reply)); }
    void refuse_login(char letter);
    void send_range() { send_message(market::Make(range)); }

    // 213 and the requests of just these tables, by letter 'S' or 'Q'.
    std::vector<market::TableRequest> expect_subscription(const std::vector<std::uint16_t>& codes = feed_tables());
    void end_tables(const std::vector<std::uint16_t>& codes = feed_tables());

    // 213 and whatever is asked for then, up to the log request (which stays to be received), each answered with the
    // table's records and its end. A request by hash is told that nothing is like it.
    std::vector<market::TableRequest> serve_primary_tables();

    market::LogRequest expect_log_request();
    market::Presence expect_presence();
    market::Version expect_version();

    void send_log_round(const std::vector<std::string>& messages);
    void expect_next_log_request();

    // Both rounds, 252 between them, and the secondary tables behind them. Returns the requests of those.
    std::vector<market::TableRequest> play_log_rounds();

    // 213 and whatever is asked for then, answered, up to 214.
    std::vector<market::TableRequest> serve_secondary_tables();

    market::Order expect_order();
    market::SeenChat expect_chat();
    market::Offline expect_offline();

    // ---- Single messages

    void send_table_record(market::TableRecord record) { send_message(market::Make(record)); }
    void send_order(const market::Order& order) { send_message(market::Make(order)); }
    void send_chat(const market::Chat& chat) { send_message(market::Make(chat)); }

    // The next message, which must have that number.
    std::string expect(int number);
    [[nodiscard]] const WireEnvelope& last() const { return m_last; } // of the last message: addressees, priority

    // TestPeer's, behind what a step has kept or put back.
    WireEnvelope receive_message();
    std::optional<WireEnvelope> receive_message_if_any();

private:
    WireEnvelope Next_Of_Session();
    std::string Expect_Of_Session(int number);
    std::vector<market::TableRequest> Serve_Until(int number);
    void Serve(const market::TableRequest& request);

    WireEnvelope m_last;
    std::deque<WireEnvelope> m_kept; // ahead of what is on the wire
};
