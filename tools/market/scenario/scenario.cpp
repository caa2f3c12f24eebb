#include "scenario/scenario.h"

#include "records/sizes.h"
#include "scenario/record_builder.h"
#include "scenario/scenario_checks.h"
#include "scenario/section.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace qm {

namespace {

using nlohmann::ordered_json;

constexpr std::size_t machine_length = 4;
constexpr std::size_t longest_command = 4000;
constexpr std::int64_t most_milliseconds = 86'400'000;   // a day
constexpr std::int64_t highest_code = 39'999;            // of a table, as hosts can name it
constexpr std::int64_t highest_amount = 999'999'999'999; // an order's amount has 12 digits
constexpr std::int64_t highest_price = 9'999'999'999'999 * PRICE_UNITS;

// ---- Keys ------------------------------------------------------------------------------------------------------
// All that a scenario may say. Codes are text of exactly the length that is told, without blanks; numbers, prices and
// amounts are JSON numbers or texts of digits; all that isn't required has the value in brackets when it isn't there.
//
//   server          code of the market's data server
//   data_servers    codes of all data servers, this one among them [this one alone]
//   data_managers   codes of the data managers, to which orders go
//   environment     of the market and of its records
//   expiry_seconds  of silence, after which a client takes its connection for lost [80]
//   send_mode       how what the market sends is packed [compress]
//   machines        that may log in [all]
//
//   users           who may log in
//     name            as the client tells it
//     password
//     code            of the user's record: if there is a table "users", it must have it
//     branch          of that record: institution (4), city (3), agency (1)
//     machine         the one that the user logs in from [any]
//     refusal         a letter, with which every login of this user is refused [none]
//
//   markets         that trade
//     number          as orders have it in mercado; of a table "markets", if there is one, a record
//     orders_table    code of the table of the market's orders (Posturas_Vigentes) [the number]
//     currency        of a table "currencies", if there is one, a record
//
//   tables          that clients subscribe to
//     name            see record_builder.cpp
//     code            [the fixed one of that name]; required where the name has none
//     records         objects of a field's name and its value: a text, a number, or bytes, {"hex": "AA", "times": 50}
//
//   feeds           users whose quotes come by themselves
//     market, user           number and code of those above
//     every_milliseconds     the quotes are replaced
//     price                  where it begins to walk
//     step                   between two levels, and the most that the price walks at a time
//     amount                 of each order
//     levels                 of bids, and as many of offers
//     seed                   of the walk [1]
//
//   events          what happens by itself
//     at_seconds      behind the start of the market
//     command         as at the market's prompt
// clang-format off
constexpr std::array scenario_keys{
    Key{"server",             true,  "4 characters"},
    Key{"data_servers",       false, "an array of codes of 4 characters"},
    Key{"data_managers",      true,  "an array of codes of 4 characters"},
    Key{"environment",        true,  "2 characters"},
    Key{"expiry_seconds",     false, "a number from 1 to 9999"},
    Key{"send_mode",          false, "one of encrypt, plain, compress, both"},
    Key{"machines",           false, "an array of codes of 4 characters"},
    Key{"users",              true,  "an array of users"},
    Key{"markets",            true,  "an array of markets"},
    Key{"tables",             false, "an array of tables"},
    Key{"feeds",              false, "an array of feeds"},
    Key{"events",             false, "an array of events"},
};
constexpr std::array user_keys{
    Key{"name",               true,  "1 to 10 characters"},
    Key{"password",           true,  "1 to 16 characters"},
    Key{"code",               true,  "4 characters"},
    Key{"branch",             true,  "8 characters"},
    Key{"machine",            false, "4 characters"},
    Key{"refusal",            false, "a letter other than S"},
};
constexpr std::array market_keys{
    Key{"number",             true,  "a number from 1 to 999"},
    Key{"orders_table",       false, "a number from 1 to 39999"},
    Key{"currency",           true,  "3 characters"},
};
constexpr std::array table_keys{
    Key{"name",               true,  "the name of a table"},
    Key{"code",               false, "a number from 1 to 39999"},
    Key{"records",            true,  "an array of records"},
};
constexpr std::array feed_keys{
    Key{"market",             true,  "a number from 1 to 999"},
    Key{"user",               true,  "4 characters"},
    Key{"every_milliseconds", true,  "a number from 1 to 86400000"},
    Key{"price",              true,  "a price above 0 with at most 4 decimals"},
    Key{"step",               true,  "a price above 0 with at most 4 decimals"},
    Key{"amount",             true,  "a number from 1 to 999999999999"},
    Key{"levels",             true,  "a number from 1 to 100"},
    Key{"seed",               false, "a number from 0 to 4294967295"},
};
constexpr std::array event_keys{
    Key{"at_seconds",         true,  "seconds from 0 to 86400 with at most 3 decimals"},
    Key{"command",            true,  "a command"},
};
// clang-format on

struct NamedMode
{
    const char* name;
    SendMode mode;
};
constexpr std::array send_modes{NamedMode{"encrypt", SendMode::encrypt}, NamedMode{"plain", SendMode::plain},
                                NamedMode{"compress", SendMode::compress}, NamedMode{"both", SendMode::both}};

// ---- Sections --------------------------------------------------------------------------------------------------

// Reads each item of an array by `read`, which is given the item as a section.
template <std::size_t count, class Function>
void for_each_item(Section& scenario, const char* key, const std::array<Key, count>& keys, Mistakes& mistakes,
                   Function read)
{
    std::size_t index = 0;
    for (const ordered_json& item : scenario.Items(key)) {
        Section section(item, Place_Of_Item(key, index++), keys, mistakes);
        read(section);
    }
}

SendMode read_send_mode(Section& scenario)
{
    const std::string name = scenario.Text("send_mode", 1, longest_command);
    const auto* mode =
        std::find_if(send_modes.begin(), send_modes.end(), [&name](const NamedMode& row) { return name == row.name; });
    if (mode == send_modes.end() && !name.empty()) {
        scenario.Refuse("send_mode");
    }
    return mode != send_modes.end() ? mode->mode : SendMode::compress;
}

char read_refusal(Section& user)
{
    const std::string letter = user.Text("refusal", 1, 1);
    const bool is_letter =
        letter.find_first_not_of("ABCDEFGHIJKLMNOPQRTUVWXYZabcdefghijklmnopqrtuvwxyz") == letter.npos;
    if (!is_letter) {
        user.Refuse("refusal");
    }
    return is_letter && !letter.empty() ? letter.front() : '\0';
}

User read_user(Section& user)
{
    return {.name = user.Text("name", 1, 10),
            .password = user.Text("password", 1, 16),
            .code = user.Code("code", 4),
            .branch = user.Code("branch", 8),
            .machine = user.Code("machine", machine_length),
            .refusal = read_refusal(user)};
}

MarketDescription read_market(Section& market)
{
    const std::int64_t number = market.Number("number", 1, 999).value_or(0);
    const std::int64_t table = market.Number("orders_table", 1, highest_code).value_or(number);
    return {.number = static_cast<int>(number),
            .orders_table = static_cast<std::uint16_t>(table),
            .currency = market.Code("currency", 3)};
}

Feed read_feed(Section& feed)
{
    constexpr std::size_t price_decimals = 4;
    return {.market = static_cast<int>(feed.Number("market", 1, 999).value_or(0)),
            .user = feed.Code("user", 4),
            .every = Clock::Time(feed.Number("every_milliseconds", 1, most_milliseconds).value_or(1)),
            .price = feed.Number("price", 1, highest_price, price_decimals).value_or(0),
            .step = feed.Number("step", 1, highest_price, price_decimals).value_or(0),
            .amount = feed.Number("amount", 1, highest_amount).value_or(0),
            .levels = static_cast<int>(feed.Number("levels", 1, 100).value_or(0)),
            .seed = static_cast<std::uint32_t>(feed.Number("seed", 0, UINT32_MAX).value_or(1))};
}

Event read_event(Section& event)
{
    constexpr std::size_t milliseconds = 3; // decimals of seconds
    return {.at = Clock::Time(event.Number("at_seconds", 0, most_milliseconds, milliseconds).value_or(0)),
            .command = event.Text("command", 1, longest_command)};
}

// ---- Tables ----------------------------------------------------------------------------------------------------

struct Written // a field of a record, to see that no other one writes over it
{
    std::string place{};
    std::size_t at = 0;
    std::string bytes{};
};

std::string bytes_at(const std::string& body, std::size_t at, std::size_t length)
{
    return at < body.size() ? body.substr(at, length) : std::string();
}

// The first byte that differs and the last one tell which bytes a field has written, where it has changed any.
Written written_by(const std::string& place, const std::string& before, const std::string& after)
{
    const auto first = std::mismatch(before.begin(), before.end(), after.begin()).second;
    const auto last = std::mismatch(before.rbegin(), before.rend(), after.rbegin()).second;
    const auto at = static_cast<std::size_t>(first - after.begin());
    return first == after.end() ? Written{} : Written{place, at, std::string(first, last.base())};
}

std::string read_record(const ordered_json& fields, const std::string& place, const std::string& record_class,
                        Mistakes& mistakes)
{
    const auto record = Make_Record(record_class);
    if (!fields.is_object() || fields.empty()) {
        mistakes.Add(place, "expected an object with fields of " + record_class);
        return {};
    }
    std::vector<Written> all_written;
    for (const auto& field : fields.items()) {
        const std::string field_place = Place_Of_Member(place, field.key());
        const std::string before = Body_Of(*record);
        const std::string complaint = Set_Field(*record, field.key(), field.value());
        if (!complaint.empty()) {
            mistakes.Add(field_place, complaint);
        }
        all_written.push_back(written_by(field_place, before, Body_Of(*record)));
    }
    std::string body = Body_Of(*record);
    for (const Written& written : all_written) {
        if (bytes_at(body, written.at, written.bytes.size()) != written.bytes) {
            mistakes.Add(written.place, "expected bytes of its own, but a field behind it has some of them too");
        }
    }
    return body;
}

std::uint16_t read_table_code(Section& table, const TableName& known)
{
    const std::int64_t code = table.Number("code", 1, highest_code).value_or(known.code);
    if (known.code == 0 && !table.has("code")) {
        table.Refuse("code");
    } else if (known.code != 0 && code != known.code) {
        table.Refuse("code", std::to_string(known.code) + ", the code of " + known.name);
    }
    return static_cast<std::uint16_t>(code);
}

void read_records(Section& table, ScenarioTable& into, Mistakes& mistakes)
{
    std::size_t index = 0;
    for (const ordered_json& item : table.Items("records")) {
        const std::string place = Place_Of_Item(table.Place("records"), index++);
        std::string body = read_record(item, place, into.record_class, mistakes);
        const auto same = std::find(into.bodies.begin(), into.bodies.end(), body);
        if (same != into.bodies.end() && !body.empty()) {
            mistakes.Add(place, "expected a record unlike records[" + std::to_string(same - into.bodies.begin()) + "]");
        }
        into.bodies.push_back(std::move(body));
    }
}

ScenarioTable read_table(Section& table, Mistakes& mistakes)
{
    ScenarioTable into;
    const std::string name = table.Text("name", 1, longest_command);
    const TableName* known = Find_Table_Name(name);
    if (known == nullptr) {
        if (!name.empty()) {
            table.Refuse("name", "one of " + All_Table_Names());
        }
        return into;
    }
    into.code = read_table_code(table, *known);
    into.record_class = known->record_class;
    read_records(table, into, mistakes);
    return into;
}

// ---- All of it -------------------------------------------------------------------------------------------------

Scenario read_scenario(const ordered_json& json, Mistakes& mistakes)
{
    Section section(json, "", scenario_keys, mistakes);
    Scenario scenario;
    scenario.server = section.Code("server", machine_length);
    scenario.data_servers = section.Codes("data_servers", machine_length);
    scenario.data_managers = section.Codes("data_managers", machine_length);
    scenario.environment = section.Code("environment", 2);
    scenario.expiry_seconds = static_cast<int>(section.Number("expiry_seconds", 1, 9999).value_or(80));
    scenario.send_mode = read_send_mode(section);
    scenario.machines = section.Codes("machines", machine_length);
    for_each_item(section, "users", user_keys, mistakes,
                  [&](Section& user) { scenario.users.push_back(read_user(user)); });
    for_each_item(section, "markets", market_keys, mistakes,
                  [&](Section& market) { scenario.markets.push_back(read_market(market)); });
    for_each_item(section, "tables", table_keys, mistakes,
                  [&](Section& table) { scenario.tables.push_back(read_table(table, mistakes)); });
    for_each_item(section, "feeds", feed_keys, mistakes,
                  [&](Section& feed) { scenario.feeds.push_back(read_feed(feed)); });
    for_each_item(section, "events", event_keys, mistakes,
                  [&](Section& event) { scenario.events.push_back(read_event(event)); });
    if (!section.has("data_servers") && !scenario.server.empty()) {
        scenario.data_servers = {scenario.server};
    }
    return scenario;
}

void throw_if_any(const Mistakes& mistakes)
{
    if (!mistakes.empty()) {
        throw ScenarioError(mistakes.text());
    }
}

} // namespace

// The word's lower half is 0.
std::uint32_t Scenario::environment_word() const
{
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(environment.size(), 2); ++i) {
        word |= std::uint32_t{static_cast<unsigned char>(environment[i])} << (8 * (i + 2));
    }
    return word;
}

Scenario Parse_Scenario(const std::string& text, const std::string& name_of_file)
{
    Mistakes mistakes(name_of_file);
    const ordered_json json = Parse_Json(text, mistakes);
    if (json.is_null()) {
        throw_if_any(mistakes);
    }
    Scenario scenario = read_scenario(json, mistakes);
    Check_Scenario(scenario, mistakes);
    throw_if_any(mistakes);
    return scenario;
}

Scenario Read_Scenario(const std::filesystem::path& file)
{
    errno = 0;
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    if (!in || std::filesystem::is_directory(file) || !(text << in.rdbuf())) {
        const std::string why = errno != 0 ? std::strerror(errno) : "it has none";
        throw ScenarioError(file.string() + ": expected a file of JSON that can be read: " + why);
    }
    return Parse_Scenario(text.str(), file.string());
}

} // namespace qm
