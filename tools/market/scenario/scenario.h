// What a market is: its users, servers, markets, tables, feeds and timed events, read from a file of JSON. Nothing that
// a scenario says is trusted: each mistake gets one line with file, place and what was expected.
#pragma once

#include "audience.h"
#include "clock.h"
#include "exchange/exchange.h"
#include "wire/frames.h"

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace qm {

struct User
{
    std::string name{};     // at most 10 characters
    std::string password{}; // at most 16
    std::string code{};     // 4
    std::string branch{};   // 8
    std::string machine{};  // 4; empty: any machine may be used
    char refusal = '\0';    // with this letter; 0: the login is judged by name, password and machine
};

struct ScenarioTable
{
    std::uint16_t code = 0;
    std::string record_class{};
    std::vector<std::string> bodies{}; // of its records, in the order of the file
};

// Quotes that come by themselves: every so often the user of the feed replaces its bids and offers around a price that
// walks.
struct Feed
{
    int market = 0;
    std::string user{};      // code of one of the scenario's users
    Clock::Time every{};     // milliseconds
    std::int64_t price = 0;  // where it begins; prices in units of the book
    std::int64_t step = 0;   // between two levels, and the most that the price walks at a time
    std::int64_t amount = 0; // of each order
    int levels = 0;          // of each side
    std::uint32_t seed = 1;  // of the walk
};

struct Event
{
    Clock::Time at{};      // behind the start of the market
    std::string command{}; // as at the prompt
};

struct Scenario
{
    std::string server{};                    // its code, 4 characters
    std::vector<std::string> data_servers{}; // codes, this one among them
    std::vector<std::string> data_managers{};
    std::string environment{}; // 2 characters
    int expiry_seconds = 80;
    SendMode send_mode = SendMode::compress;
    std::vector<std::string> machines{}; // that may log in; empty: all
    std::vector<User> users{};
    std::vector<MarketDescription> markets{};
    std::vector<ScenarioTable> tables{};
    std::vector<Feed> feeds{};
    std::vector<Event> events{};

    [[nodiscard]] std::uint32_t environment_word() const; // as records carry it: the characters in bytes 2 and 3
};

// `what` has all mistakes, a line each: "FILE: users[2].code: expected 4 characters, found \"U1\"". A mistake of the
// JSON itself is told by line and column.
class ScenarioError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

Scenario Read_Scenario(const std::filesystem::path& file);                         // throws ScenarioError
Scenario Parse_Scenario(const std::string& text, const std::string& name_of_file); // the same from text

} // namespace qm
