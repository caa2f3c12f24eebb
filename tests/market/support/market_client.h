// A client of the market with a codec of its own, step by step from the test's thread. What comes beside what a step
// waits for (chats, orders, changes of tables) is kept for later.
#pragma once

#include "support/market_records.h"
#include "support/test_peer.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

// What a market's message 201 says.
struct SeenReply
{
    char letter = '\0';
    std::string machine{};
    std::string branch_4c{};
    int expiry = 0;
};

// A record of message 888 as it came.
struct SeenRow
{
    char letter = '\0';
    std::uint16_t code = 0;
    std::uint16_t count = 0;
    std::uint32_t idx = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t environment = 0;
    std::string body{};

    bool operator==(const SeenRow&) const = default;
};
SeenRow TakeRow(std::string_view message);

struct LogEntry
{
    char log = 'A';
    std::string date{};
    std::uint32_t number = 0;
};

class MarketClient : public TestPeer
{
public:
    MarketClient(std::uint16_t market_port, std::string machine, std::string user);

    // ---- Steps

    SeenReply log_in(const std::string& name, const std::string& password = "secret");
    market::Range expect_range();

    // All rows up to the end of the table.
    std::vector<SeenRow> subscribe(std::uint16_t code);

    // What comes between 204 and 205.
    std::vector<std::string> first_log(const std::vector<LogEntry>& entries = {{'P'}, {'A'}, {'B'}});
    std::vector<std::string> second_log();

    // Login as that user, range, both rounds of the log: live from here on.
    void bring_up(const std::string& name);

    void place(int market, char side, const std::string& price, const std::string& amount, const std::string& code,
               int kind = 1);
    void chat(const std::string& text, const std::string& receiver = {});

    // ---- Single messages

    void send_request(char letter, std::uint16_t code, std::uint16_t count = 0, std::uint32_t crc32 = 0,
                      const std::string& payload = {});

    // The next message of that number; others are kept. `next` takes those first.
    std::string expect(int number);
    SeenRow expect_row(std::uint16_t code);
    std::string next();
    bool is_quiet(); // nothing comes before the answer to a request that is sent now

    // The connection ends; all that came before it that no frame was made of is thrown away.
    void expect_end();

private:
    std::string Stamped(int number, std::size_t size) const;
    std::vector<std::string> Take_Log();
    std::string Receive();

    std::string m_machine;
    std::string m_user;
    std::deque<std::string> m_kept;
};
