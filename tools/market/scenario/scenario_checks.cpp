#include "scenario/scenario_checks.h"

#include "scenario/record_builder.h"
#include "scenario/values.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace qm {

namespace {

constexpr std::uint16_t branches_code = 22;
constexpr std::uint16_t institutions_code = 21;
constexpr std::uint16_t users_code = 24;
constexpr std::uint16_t markets_code = 27;
constexpr std::uint16_t currencies_code = 28;
constexpr std::size_t branch_of_user = 4; // in a user's body, behind its code

std::string place_of(const char* array, std::size_t index, const char* key)
{
    return Place_Of_Member(Place_Of_Item(array, index), key);
}

bool contains(const std::vector<std::string>& codes, const std::string& code)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

// Takes values one after the other, and tells each that was there before.
class OnceOnly
{
public:
    OnceOnly(Mistakes& mistakes, std::string what) : m_mistakes(mistakes), m_what(std::move(what)) {}

    bool See(const std::string& place, const nlohmann::json& value)
    {
        const bool is_none = value == nlohmann::json("") || value == 0;
        const bool is_new = is_none || m_seen.insert(value).second;
        if (!is_new) {
            m_mistakes.Add(place, "expected each " + m_what + " once, found " + Shown(value) + " again");
        }
        return is_new;
    }

private:
    Mistakes& m_mistakes;
    std::string m_what;
    std::set<nlohmann::json> m_seen;
};

// ---- Codes and the records of tables that they name

// A table by its code; without it, whatever a code names is right.
class Codes
{
public:
    Codes(const Scenario& scenario, std::uint16_t table_code) : m_table(TableOf(scenario, table_code)) {}

    // The record that begins with the code, null if there is none.
    [[nodiscard]] const std::string* Record_Of(std::string_view code) const
    {
        const auto at = std::find_if(m_table->bodies.begin(), m_table->bodies.end(),
                                     [code](const std::string& body) { return body.starts_with(code); });
        return at != m_table->bodies.end() ? &*at : nullptr;
    }
    [[nodiscard]] bool is_there() const { return m_table != nullptr; }

    // False if it isn't one, and that was told.
    bool Expect(Mistakes& mistakes, const std::string& place, const std::string& code,
                const nlohmann::json& found) const
    {
        if (!is_there() || code.empty() || Record_Of(code) != nullptr) {
            return true;
        }
        const std::string name = Find_Table_Of_Code(m_table->code)->name;
        mistakes.Add(place, "expected the code of a record of table " + name + ", found " + Shown(found));
        return false;
    }

private:
    static const ScenarioTable* TableOf(const Scenario& scenario, std::uint16_t code)
    {
        const auto at = std::find_if(scenario.tables.begin(), scenario.tables.end(),
                                     [code](const ScenarioTable& table) { return table.code == code; });
        return at != scenario.tables.end() ? &*at : nullptr;
    }

    const ScenarioTable* m_table;
};

// ---- Sections

void check_servers(const Scenario& scenario, Mistakes& mistakes)
{
    if (!scenario.server.empty() && !scenario.data_servers.empty() &&
        !contains(scenario.data_servers, scenario.server)) {
        mistakes.Add("data_servers", "expected the server's own code among them, " + Shown(scenario.server));
    }
}

// The branch of a login is that of the user's record. False if it isn't, and that was told.
bool check_branch_of_record(const User& user, const Codes& users, const std::string& place, Mistakes& mistakes)
{
    const std::string* record = users.is_there() && !user.code.empty() ? users.Record_Of(user.code) : nullptr;
    if (record == nullptr || user.branch.empty()) {
        return true;
    }
    const std::string branch = record->substr(branch_of_user, user.branch.size());
    if (branch == user.branch) {
        return true;
    }
    mistakes.Add(place, "expected the branch of its record in table users, " +
                            Shown(branch.substr(0, branch.find('\0'))) + ", found " + Shown(user.branch));
    return false;
}

struct TablesOfUsers
{
    Codes users;
    Codes branches;
    Codes institutions;
};

void check_user(const User& user, std::size_t index, const TablesOfUsers& tables, Mistakes& mistakes)
{
    const std::string code = place_of("users", index, "code");
    const std::string branch = place_of("users", index, "branch");
    tables.users.Expect(mistakes, code, user.code, user.code);
    if (check_branch_of_record(user, tables.users, branch, mistakes) &&
        tables.branches.Expect(mistakes, branch, user.branch, user.branch)) {
        tables.institutions.Expect(mistakes, branch, user.branch.substr(0, 4), user.branch);
    }
}

void check_users(const Scenario& scenario, Mistakes& mistakes)
{
    const TablesOfUsers tables{Codes(scenario, users_code), Codes(scenario, branches_code),
                               Codes(scenario, institutions_code)};
    OnceOnly names(mistakes, "name");
    OnceOnly codes(mistakes, "code");
    for (std::size_t i = 0; i < scenario.users.size(); ++i) {
        const User& user = scenario.users[i];
        names.See(place_of("users", i, "name"), user.name);
        codes.See(place_of("users", i, "code"), user.code);
        check_user(user, i, tables, mistakes);
        if (!scenario.machines.empty() && !user.machine.empty() && !contains(scenario.machines, user.machine)) {
            mistakes.Add(place_of("users", i, "machine"), "expected one of machines, found " + Shown(user.machine));
        }
    }
}

// As a record of table markets begins with it: at the right of 3 bytes.
std::string market_code(int number)
{
    const std::string digits = std::to_string(number);
    return std::string(3 - std::min<std::size_t>(digits.size(), 3), ' ') + digits;
}

void check_markets(const Scenario& scenario, Mistakes& mistakes)
{
    const Codes markets(scenario, markets_code);
    const Codes currencies(scenario, currencies_code);
    OnceOnly numbers(mistakes, "number");
    for (std::size_t i = 0; i < scenario.markets.size(); ++i) {
        const MarketDescription& market = scenario.markets[i];
        const std::string place = place_of("markets", i, "number");
        if (numbers.See(place, market.number) && market.number != 0) {
            markets.Expect(mistakes, place, market_code(market.number), market.number);
        }
        currencies.Expect(mistakes, place_of("markets", i, "currency"), market.currency, market.currency);
    }
}

// One that has the number of an earlier market was told of already.
bool is_first_of_number(const Scenario& scenario, std::size_t index)
{
    const auto at = scenario.markets.begin() + static_cast<std::ptrdiff_t>(index);
    return std::none_of(scenario.markets.begin(), at,
                        [at](const MarketDescription& market) { return market.number == at->number; });
}

// A code stands for one table: a market's orders, or what the scenario lists, or what a fixed code means.
void check_table_codes(const Scenario& scenario, Mistakes& mistakes)
{
    std::map<std::uint16_t, std::string> places;
    const auto take = [&](std::uint16_t code, const std::string& place, const char* record_class) {
        const TableName* fixed = Find_Table_Of_Code(code);
        const bool other = fixed != nullptr && std::string_view(fixed->record_class) != record_class;
        const auto [at, is_new] = code != 0 ? places.emplace(code, place) : std::pair(places.end(), true);
        const std::string found = ", found " + std::to_string(code);
        if (other) {
            mistakes.Add(place, "expected a code that isn't that of " + std::string(fixed->name) + found);
        } else if (!is_new) {
            mistakes.Add(place, "expected a code unlike that of " + at->second + found);
        }
    };
    for (std::size_t i = 0; i < scenario.markets.size(); ++i) {
        if (is_first_of_number(scenario, i)) {
            take(scenario.markets[i].orders_table, place_of("markets", i, "orders_table"), "CGTOrder");
        }
    }
    for (std::size_t i = 0; i < scenario.tables.size(); ++i) {
        take(scenario.tables[i].code, place_of("tables", i, "code"), scenario.tables[i].record_class.c_str());
    }
}

bool has_market(const Scenario& scenario, int number)
{
    return std::any_of(scenario.markets.begin(), scenario.markets.end(),
                       [number](const MarketDescription& market) { return market.number == number; });
}

bool has_user(const Scenario& scenario, const std::string& code)
{
    return std::any_of(scenario.users.begin(), scenario.users.end(),
                       [&code](const User& user) { return user.code == code; });
}

void check_feeds(const Scenario& scenario, Mistakes& mistakes)
{
    OnceOnly pairs(mistakes, "market and user");
    for (std::size_t i = 0; i < scenario.feeds.size(); ++i) {
        const Feed& feed = scenario.feeds[i];
        if (feed.market != 0 && !has_market(scenario, feed.market)) {
            mistakes.Add(place_of("feeds", i, "market"),
                         "expected the number of one of markets, found " + std::to_string(feed.market));
        }
        if (!feed.user.empty() && !has_user(scenario, feed.user)) {
            mistakes.Add(place_of("feeds", i, "user"), "expected the code of one of users, found " + Shown(feed.user));
        }
        if (feed.market != 0 && !feed.user.empty()) {
            pairs.See(Place_Of_Item("feeds", i), nlohmann::json{feed.market, feed.user});
        }
        if (feed.price != 0 && feed.step != 0 && feed.price / feed.step <= feed.levels) {
            mistakes.Add(place_of("feeds", i, "step"), "expected a step that leaves the lowest level a price above 0");
        }
    }
}

} // namespace

void Check_Scenario(const Scenario& scenario, Mistakes& mistakes)
{
    check_servers(scenario, mistakes);
    check_users(scenario, mistakes);
    check_markets(scenario, mistakes);
    check_table_codes(scenario, mistakes);
    check_feeds(scenario, mistakes);
}

} // namespace qm
