#include "commands.h"

#include "market.h"
#include "scenario/record_builder.h"
#include "session/chat.h"
#include "session/flood.h"
#include "session/header.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>

namespace qm {

namespace {

constexpr std::uint64_t most_flood = 1'000'000'000;
constexpr std::size_t code_width = 6; // of an order

std::vector<std::string> words_of(const std::string& line)
{
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    return words;
}

template <class Number> std::optional<Number> number_in(const std::string& text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return {};
    }
    return number;
}

// "4012.25" in units of the book; at most four decimals.
std::optional<std::int64_t> price_in(const std::string& text)
{
    constexpr std::size_t decimals = 4;
    const std::size_t point = text.find('.');
    std::string digits = text.substr(0, point);
    std::string behind = point == std::string::npos ? std::string() : text.substr(point + 1);
    if (behind.size() > decimals || digits.size() > 12 || (point != std::string::npos && behind.empty())) {
        return {};
    }
    behind.resize(decimals, '0');
    return number_in<std::int64_t>(digits + behind);
}

std::string text_of_price(std::int64_t price)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%lld.%04lld", static_cast<long long>(price / PRICE_UNITS),
                  static_cast<long long>(price % PRICE_UNITS));
    return text.data();
}

std::optional<Side> side_in(const std::string& text)
{
    if (text == "bid" || text == "D") {
        return Side::bid;
    }
    if (text == "offer" || text == "O") {
        return Side::offer;
    }
    return {};
}

std::string error(const std::string& text)
{
    return "error: " + text;
}

// The words behind the first `count`, with one blank between two.
std::string rest_of(const std::vector<std::string>& words, std::size_t count)
{
    std::string text;
    for (std::size_t i = count; i < words.size(); ++i) {
        text += (i > count ? " " : "") + words[i];
    }
    return text;
}

std::string counted(std::size_t count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

} // namespace

// ---- The rows --------------------------------------------------------------------------------------------------

struct Commands::Row
{
    const char* name;
    std::size_t fewest; // words behind the name
    std::size_t most;
    const char* usage;
    const char* what;
    std::string (Commands::*function)(const Words&);
};

const std::vector<Commands::Row>& Commands::Rows()
{
    constexpr std::size_t any = std::numeric_limits<std::size_t>::max();
    // clang-format off
    static const std::vector<Row> rows = {
        {"clients",   0, 0, "",                                 "who is connected",                                          &Commands::Show_Clients},
        {"book",      1, 1, "MARKET",                           "the open orders of a market",                               &Commands::Show_Book},
        {"order",     5, 6, "USER MARKET bid|offer PRICE AMOUNT [CODE]", "places an order for a user",                       &Commands::Place_Order},
        {"withdraw",  3, 3, "USER MARKET CODE",                 "withdraws it",                                              &Commands::Withdraw_Order},
        {"chat",      3, any, "FROM TO|all TEXT",               "sends a chat from a user to a user",                        &Commands::Chat},
        {"table",     3, any, "CODE insert|update|delete [IDX] [{\"field\":value}]", "changes a table for all who have it", &Commands::Change_Table},
        {"feed",      2, 2, "MARKET|all on|off",                "switches the quotes of a market",                           &Commands::Switch_Feed},
        {"drop",      1, 3, "CLIENT [after BYTES]",             "breaks its connection, now or when so many more bytes have gone out", &Commands::Drop},
        {"stall",     1, 2, "CLIENT [SECONDS]",                 "neither reads from it nor writes to it",                    &Commands::Stall},
        {"resume",    1, 1, "CLIENT",                           "ends that",                                                 &Commands::Resume},
        {"garbage",   1, 2, "CLIENT [BYTES]",                   "sends it bytes that are no frame (64)",                     &Commands::Send_Garbage},
        {"duplicate", 1, 1, "CLIENT",                           "sends its last message once more",                          &Commands::Duplicate},
        {"refuse",    2, 2, "USER_NAME LETTER",                 "refuses its logins from now on, with that letter",          &Commands::Refuse},
        {"admit",     1, 1, "USER_NAME",                        "ends that, and what the scenario says of it",               &Commands::Admit},
        {"flood",     3, 3, "CLIENT MARKET COUNT",              "sends it so many orders as fast as it takes them",          &Commands::Flood},
        {"restart",   0, 1, "[empty]",                          "drops everybody and starts again, with the stored messages or without", &Commands::Restart},
        {"help",      0, 0, "",                                 "this text",                                                 &Commands::Show_Help},
        {"quit",      0, 0, "",                                 "ends the market",                                           &Commands::Quit},
    };
    // clang-format on
    return rows;
}

std::string Commands::Help()
{
    std::string text;
    for (const Row& row : Rows()) {
        std::array<char, 256> line{};
        const std::string command = std::string(row.name) + " " + row.usage;
        std::snprintf(line.data(), line.size(), "  %-52s %s\n", command.c_str(), row.what);
        text += line.data();
    }
    text.pop_back();
    return text;
}

std::string Commands::Do(const std::string& line)
{
    Words words = words_of(line);
    if (words.empty()) {
        return {};
    }
    for (const Row& row : Rows()) {
        if (words.front() != row.name) {
            continue;
        }
        words.erase(words.begin());
        if (words.size() < row.fewest || words.size() > row.most) {
            return error(std::string("usage: ") + row.name + " " + row.usage);
        }
        return (this->*row.function)(words);
    }
    return error("unknown command \"" + words.front() + "\"; help lists them");
}

// ---- Looking ---------------------------------------------------------------------------------------------------

std::string Commands::Show_Clients(const Words& /*words*/)
{
    std::string text;
    for (const auto& [id, client] : m_market.m_clients) {
        std::array<char, 256> line{};
        std::snprintf(line.data(), line.size(), "%4llu  %-4s %-4s %-8s  %-10s  %llu in, %llu out, %zu bytes wait  %s\n",
                      static_cast<unsigned long long>(id), client->party().machine.c_str(),
                      client->party().user.c_str(), client->party().branch.c_str(), client->state().c_str(),
                      static_cast<unsigned long long>(client->messages_in()),
                      static_cast<unsigned long long>(client->messages_out()), client->waiting(),
                      client->peer().c_str());
        text += line.data();
    }
    return text + counted(m_market.m_clients.size(), "client");
}

std::string Commands::Show_Book(const Words& words)
{
    const auto market = number_in<int>(words[0]);
    if (!market || m_market.m_exchange->Book(*market) == nullptr) {
        return error("no market " + words[0]);
    }
    std::string text;
    const auto orders = m_market.m_exchange->Open_Orders(*market);
    for (const Exchange::OpenOrder& order : orders) {
        std::array<char, 160> line{};
        std::snprintf(line.data(), line.size(), "%-5s %16s %15lld  %s\n",
                      order.order.side == Side::bid ? "bid" : "offer", text_of_price(order.order.price).c_str(),
                      static_cast<long long>(order.order.amount), order.code.c_str());
        text += line.data();
    }
    return text + counted(orders.size(), "order");
}

// ---- Trading and talking ---------------------------------------------------------------------------------------

std::string Commands::Place_Order(const Words& words)
{
    const auto sender = m_market.Party_Of_User(words[0]);
    const auto market = number_in<int>(words[1]);
    const auto side = side_in(words[2]);
    const auto price = price_in(words[3]);
    const auto amount = number_in<std::int64_t>(words[4]);
    if (!sender || !market || !side || !price || !amount) {
        return error("usage: order USER MARKET bid|offer PRICE AMOUNT [CODE]");
    }
    const std::string code = words.size() > 5 ? words[5] : m_market.clock().hour();
    if (code.size() > code_width) {
        return error("a code has at most six characters");
    }
    const std::string order = Exchange::Make_Order(*sender, 1, *market, *side, *price, *amount, code, m_market.clock());
    const std::string refusal = m_market.Take_Order(*sender, order, {});
    return refusal.empty() ? "order " + sender->user + code : error(refusal);
}

std::string Commands::Withdraw_Order(const Words& words)
{
    const auto sender = m_market.Party_Of_User(words[0]);
    const auto market = number_in<int>(words[1]);
    if (!sender || !market || words[2].size() > code_width) {
        return error("usage: withdraw USER MARKET CODE");
    }
    const std::string order =
        Exchange::Make_Order(*sender, 3, *market, Side::bid, PRICE_UNITS, 1, words[2], m_market.clock());
    const std::string refusal = m_market.Take_Order(*sender, order, {});
    return refusal.empty() ? "withdrawn" : error(refusal);
}

std::string Commands::Chat(const Words& words)
{
    const auto sender = m_market.Party_Of_User(words[0]);
    if (!sender) {
        return error("no user " + words[0]);
    }
    const auto receiver = words[1] == "all" ? std::optional(Party{}) : m_market.Party_Of_User(words[1]);
    if (!receiver) {
        return error("no user " + words[1]);
    }
    std::string chat =
        Make_Chat(*sender, receiver->user, rest_of(words, 2), m_market.clock().date(), m_market.clock().hour());
    const Audience audience = Audience_Of_Chat(chat, *sender);
    m_market.Send_Chat(*sender, std::move(chat), audience);
    return "sent";
}

std::string Commands::Change_Table(const Words& words)
{
    const auto code = number_in<std::uint16_t>(words[0]);
    Table* table = code ? m_market.m_tables->Find(*code) : nullptr;
    if (table == nullptr) {
        return error("no table " + words[0]);
    }
    const bool inserts = words[1] == "insert";
    const auto idx = inserts ? std::optional<std::uint32_t>(0) : number_in<std::uint32_t>(words[2]);
    if (!idx || (!inserts && words[1] != "update" && words[1] != "delete")) {
        return error("usage: table CODE insert|update|delete [IDX] [{\"field\":value}]");
    }
    return m_market.Change_Table(*table, words[1], *idx, rest_of(words, inserts ? 2 : 3));
}

std::string Commands::Switch_Feed(const Words& words)
{
    const auto market = words[0] == "all" ? std::optional<int>(0) : number_in<int>(words[0]);
    if (!market || (words[1] != "on" && words[1] != "off")) {
        return error("usage: feed MARKET|all on|off");
    }
    return m_market.m_feeds->Switch(*market, words[1] == "on") ? "feed " + words[1] : error("no feed " + words[0]);
}

// ---- Faults ----------------------------------------------------------------------------------------------------

std::string Commands::Drop(const Words& words)
{
    if (words.size() == 2 || (words.size() == 3 && words[1] != "after")) {
        return error("usage: drop CLIENT [after BYTES]");
    }
    const auto bytes = words.size() == 3 ? number_in<std::uint64_t>(words[2]) : std::optional<std::uint64_t>(0);
    if (!bytes) {
        return error("not a number of bytes: " + words[2]);
    }
    return m_market.For_Each(words[0], [&](Client& client) { client.stream().Close_After(*bytes); });
}

std::string Commands::Stall(const Words& words)
{
    const auto seconds = words.size() > 1 ? number_in<unsigned>(words[1]) : std::optional<unsigned>(0);
    if (!seconds) {
        return error("not a number of seconds: " + words[1]);
    }
    if (*seconds > 0) {
        m_market.m_events.push_back(m_market.m_loop.After(
            std::chrono::seconds(*seconds), [market = &m_market, name = words[0]] { market->Do("resume " + name); }));
    }
    return m_market.For_Each(words[0], [](Client& client) { client.stream().Stall(true); });
}

std::string Commands::Resume(const Words& words)
{
    return m_market.For_Each(words[0], [](Client& client) { client.stream().Stall(false); });
}

std::string Commands::Send_Garbage(const Words& words)
{
    constexpr std::size_t usual = 64;
    constexpr std::size_t most = 1'000'000;
    const auto count = words.size() > 1 ? number_in<std::size_t>(words[1]) : std::optional<std::size_t>(usual);
    if (!count || *count > most) {
        return error("not a number of bytes: " + words[1]);
    }
    std::string garbage(*count, '\0');
    for (std::size_t i = 0; i < garbage.size(); ++i) {
        garbage[i] = static_cast<char>(0xA5 ^ (i * 7));
    }
    return m_market.For_Each(words[0], [&](Client& client) { client.Send_Bytes(garbage); });
}

std::string Commands::Duplicate(const Words& words)
{
    return m_market.For_Each(words[0], [](Client& client) { client.Send_Last_Message_Again(); });
}

std::string Commands::Refuse(const Words& words)
{
    if (!m_market.Has_User_Name(words[0])) {
        return error("no user name " + words[0]);
    }
    if (words[1].size() != 1 || words[1] == "S" || words[1] == "s") {
        return error("a refusal is one letter, but for S");
    }
    m_market.m_overruled[words[0]] = words[1][0];
    return "logins of " + words[0] + " are refused with " + words[1];
}

std::string Commands::Admit(const Words& words)
{
    if (!m_market.Has_User_Name(words[0])) {
        return error("no user name " + words[0]);
    }
    m_market.m_overruled[words[0]] = 'S';
    return "logins of " + words[0] + " are judged by name and password";
}

std::string Commands::Flood(const Words& words)
{
    const auto market = number_in<int>(words[1]);
    const auto count = number_in<std::uint64_t>(words[2]);
    if (!market || !count || *count > most_flood) {
        return error("usage: flood CLIENT MARKET COUNT");
    }
    return m_market.For_Each(words[0], [&](Client& client) { Start_Flood(client, *market, *count, m_market.clock()); });
}

std::string Commands::Restart(const Words& words)
{
    if (!words.empty() && words[0] != "empty") {
        return error("usage: restart [empty]");
    }
    m_market.Restart(words.empty());
    return "started again with " + counted(m_market.m_store->size(), "stored message");
}

std::string Commands::Quit(const Words& /*words*/)
{
    m_market.m_over = true;
    m_market.m_loop.Stop();
    return "bye";
}

std::string Commands::Show_Help(const Words& /*words*/)
{
    return Help();
}

} // namespace qm
