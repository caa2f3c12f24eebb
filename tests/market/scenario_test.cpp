#include "scenario/scenario.h"

#include "market/support/scenario_file.h"
#include "scenario/record_builder.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>

using namespace qm;
using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The smallest scenario that says everything: one of each.
json Whole()
{
    return json::parse(R"({
        "server": "DSAB", "data_servers": ["DSAA", "DSAB"], "data_managers": ["DM01"], "environment": "CO",
        "expiry_seconds": 30, "send_mode": "both", "machines": ["L001"],
        "users": [{"name": "ana", "password": "a-2026", "code": "U001", "branch": "BANKNOR1", "machine": "L001",
                   "refusal": "C"}],
        "markets": [{"number": 71, "orders_table": 171, "currency": "USD"}],
        "tables": [{"name": "users", "records": [{"codigo": "U001", "codigo_sucursal": "BANKNOR1"}]}],
        "feeds": [{"market": 71, "user": "U001", "every_milliseconds": 400, "price": "4012.2500", "step": 0.25,
                   "amount": 1000, "levels": 3, "seed": 7}],
        "events": [{"at_seconds": 5.5, "command": "drop L001"}]
    })");
}

Scenario Parsed(const json& scenario)
{
    return Parse_Scenario(scenario.dump(), "FILE");
}

std::string MistakesOf(const std::string& text)
{
    try {
        Parse_Scenario(text, "FILE");
    } catch (const ScenarioError& error) {
        return error.what();
    }
    return "none";
}

// The mistakes once a value stands at this place, or once it is gone.
std::string MistakesWith(const char* place, const json& value)
{
    json scenario = Whole();
    scenario[json::json_pointer(place)] = value;
    return MistakesOf(scenario.dump());
}

std::string MistakesWithout(const char* parent, const char* key)
{
    json scenario = Whole();
    scenario[json::json_pointer(parent)].erase(key);
    return MistakesOf(scenario.dump());
}

json Table(const char* name, json record)
{
    return {{"name", name}, {"records", json::array({std::move(record)})}};
}

} // namespace

// ---- What it says

TEST(Scenario, GivesServersAndEnvironment)
{
    const Scenario scenario = Parsed(Whole());
    EXPECT_EQ(scenario.server, "DSAB");
    EXPECT_THAT(scenario.data_servers, ElementsAre("DSAA", "DSAB"));
    EXPECT_THAT(scenario.data_managers, ElementsAre("DM01"));
    EXPECT_EQ(scenario.environment, "CO");
    EXPECT_EQ(scenario.expiry_seconds, 30);
    EXPECT_EQ(scenario.send_mode, SendMode::both);
    EXPECT_THAT(scenario.machines, ElementsAre("L001"));
}

TEST(Scenario, PutsTheEnvironmentIntoTheUpperBytesOfItsWord)
{
    EXPECT_EQ(Parsed(Whole()).environment_word(), 0x4F430000U);
    EXPECT_EQ(Scenario{}.environment_word(), 0U);
}

TEST(Scenario, GivesAUser)
{
    const User user = Parsed(Whole()).users.at(0);
    EXPECT_EQ(user.name, "ana");
    EXPECT_EQ(user.password, "a-2026");
    EXPECT_EQ(user.code, "U001");
    EXPECT_EQ(user.branch, "BANKNOR1");
    EXPECT_EQ(user.machine, "L001");
    EXPECT_EQ(user.refusal, 'C');
}

TEST(Scenario, GivesAMarketWithItsTable)
{
    const MarketDescription market = Parsed(Whole()).markets.at(0);
    EXPECT_EQ(market.number, 71);
    EXPECT_EQ(market.orders_table, 171);
    EXPECT_EQ(market.currency, "USD");
}

TEST(Scenario, GivesAFeedInUnitsOfTheBook)
{
    const Feed feed = Parsed(Whole()).feeds.at(0);
    EXPECT_EQ(feed.market, 71);
    EXPECT_EQ(feed.user, "U001");
    EXPECT_EQ(feed.every, Clock::Time(400));
    EXPECT_EQ(feed.price, 40'122'500);
    EXPECT_EQ(feed.step, 2'500);
    EXPECT_EQ(feed.amount, 1000);
    EXPECT_EQ(feed.levels, 3);
    EXPECT_EQ(feed.seed, 7U);
}

TEST(Scenario, GivesAnEventAtItsMillisecond)
{
    const Event event = Parsed(Whole()).events.at(0);
    EXPECT_EQ(event.at, Clock::Time(5500));
    EXPECT_EQ(event.command, "drop L001");
}

TEST(Scenario, HasDefaultsForWhatIsLeftOut)
{
    const Scenario scenario = Parse_Scenario(R"({"server": "DSAB", "data_managers": [], "environment": "CO",
        "users": [], "markets": [{"number": 71, "currency": "USD"}]})",
                                             "FILE");
    EXPECT_THAT(scenario.data_servers, ElementsAre("DSAB"));
    EXPECT_EQ(scenario.expiry_seconds, 80);
    EXPECT_EQ(scenario.send_mode, SendMode::compress);
    EXPECT_THAT(scenario.machines, IsEmpty());
    EXPECT_EQ(scenario.markets.at(0).orders_table, 71);
    EXPECT_THAT(scenario.events, IsEmpty());
}

TEST(Scenario, MakesTheBodiesOfATable)
{
    const ScenarioTable table = Parsed(Whole()).tables.at(0);
    EXPECT_EQ(table.code, 24);
    EXPECT_EQ(table.record_class, "CGTUser");
    ASSERT_EQ(table.bodies.size(), 1U);
    EXPECT_EQ(table.bodies[0], "U001BANKNOR1" + std::string(687, '\0'));
}

TEST(Scenario, NamesTheCodeOfATableWithoutAFixedOne)
{
    json scenario = Whole();
    scenario["tables"].push_back(Table("voice_groups", {{"codigo", "G001"}, {"nombre[1]", "Bonos"}}));
    scenario["tables"][1]["code"] = 7101;
    const ScenarioTable table = Parsed(scenario).tables.at(1);
    EXPECT_EQ(table.code, 7101);
    EXPECT_EQ(table.bodies.at(0).substr(0, 14), std::string("G001\0\0\0\0Bonos\0", 14));
}

// ---- JSON

TEST(ScenarioJson, IsToldByLineAndColumn)
{
    EXPECT_EQ(MistakesOf("{\n  \"server\": }"), "FILE:2:13: expected '[', '{', or a literal, found '}'");
    EXPECT_EQ(MistakesOf("{\"server\": \"DSAB\",}"), "FILE:1:19: expected string literal, found '}'");
    EXPECT_EQ(MistakesOf("{}\n{}"), "FILE:2:1: expected end of input, found '{'");
    EXPECT_EQ(MistakesOf(""), "FILE:1:1: expected '[', '{', or a literal, found end of input");
}

TEST(ScenarioJson, TellsWhatIsNoJsonAtAll)
{
    EXPECT_EQ(MistakesOf("{\"server\": DSAB}"),
              "FILE:1:12: expected JSON, found invalid literal; last read: '\"server\": D'");
}

TEST(ScenarioJson, TellsANumberThatNoDoubleHolds)
{
    EXPECT_EQ(MistakesOf("{\n \"server\": 1e999}"), "FILE:2:12: expected a number of fewer digits, found 1e999");
}

TEST(ScenarioJson, TellsAKeyThatStandsTwice)
{
    std::string text = Whole().dump();
    text.insert(text.find("\"name\":\"ana\""), "\"name\":\"bea\",");
    EXPECT_EQ(MistakesOf(text), "FILE: users[0].name: expected once, found twice");
}

TEST(ScenarioJson, MustBeAnObject)
{
    const std::string keys = "server, data_servers, data_managers, environment, expiry_seconds, send_mode, machines, "
                             "users, markets, tables, feeds, events";
    EXPECT_EQ(MistakesOf("[]"), "FILE: expected an object with the keys " + keys + ", found []");
    EXPECT_EQ(MistakesOf("null"), "FILE: expected an object with the keys " + keys + ", found null");
}

TEST(ScenarioJson, MayBeNestedALittle)
{
    const std::string line = "FILE: expected at most 32 arrays and objects inside each other";
    EXPECT_EQ(MistakesOf(std::string(33, '[')), line);
    EXPECT_EQ(MistakesOf(std::string(1'000'000, '[')), line);
    EXPECT_THAT(MistakesOf(std::string(32, '[') + std::string(32, ']')),
                testing::StartsWith("FILE: expected an object"));
}

// ---- Mistakes

struct Mistake
{
    const char* name;
    const char* place; // JSON pointer
    const char* value;
    const char* line;
};

void PrintTo(const Mistake& mistake, std::ostream* out)
{
    *out << mistake.name;
}

class ScenarioMistake : public testing::TestWithParam<Mistake>
{
};

TEST_P(ScenarioMistake, IsToldInOneLine)
{
    EXPECT_EQ(MistakesWith(GetParam().place, json::parse(GetParam().value)), GetParam().line);
}

// clang-format off
const Mistake values[] = {
    {"ShortServer", "/server", R"("DSA")", R"(FILE: server: expected 4 characters, found "DSA")"},
    {"NumberForServer", "/server", "1234", "FILE: server: expected 4 characters, found 1234"},
    {"BlankInCode", "/data_servers/0", R"("DS A")", R"(FILE: data_servers[0]: expected 4 characters, found "DS A")"},
    {"CodeTwice", "/data_servers/0", R"("DSAB")", R"(FILE: data_servers[1]: expected each code once, found "DSAB" again)"},
    {"ServerNotAmongServers", "/data_servers", R"(["DSAA"])", R"(FILE: data_servers: expected the server's own code among them, "DSAB")"},
    {"ServersNoArray", "/data_servers", R"("DSAB")", R"(FILE: data_servers: expected an array of codes of 4 characters, found "DSAB")"},
    {"LongManager", "/data_managers/0", R"("DM001")", R"(FILE: data_managers[0]: expected 4 characters, found "DM001")"},
    {"Environment", "/environment", R"("COL")", R"(FILE: environment: expected 2 characters, found "COL")"},
    {"NoExpiry", "/expiry_seconds", "0", "FILE: expiry_seconds: expected a number from 1 to 9999, found 0"},
    {"HalfExpiry", "/expiry_seconds", "1.5", "FILE: expiry_seconds: expected a number from 1 to 9999, found 1.5"},
    {"SendMode", "/send_mode", R"("zip")", R"(FILE: send_mode: expected one of encrypt, plain, compress, both, found "zip")"},
    {"SendModeNumber", "/send_mode", "2", "FILE: send_mode: expected one of encrypt, plain, compress, both, found 2"},
    {"Machine", "/machines/0", "null", "FILE: machines[0]: expected 4 characters, found null"},
    {"UsersObject", "/users", "{}", "FILE: users: expected an array of users, found {}\nFILE: feeds[0].user: expected the code of one of users, found \"U001\""},
    {"LongName", "/users/0/name", R"("elevenchars")", R"(FILE: users[0].name: expected 1 to 10 characters, found "elevenchars")"},
    {"NoPassword", "/users/0/password", R"("")", R"(FILE: users[0].password: expected 1 to 16 characters, found "")"},
    {"LongPassword", "/users/0/password", R"("seventeenletters!")", R"(FILE: users[0].password: expected 1 to 16 characters, found "seventeenletters!")"},
    {"ShortBranch", "/users/0/branch", R"("BANK")", R"(FILE: users[0].branch: expected 8 characters, found "BANK")"},
    {"OtherBranch", "/users/0/branch", R"("BANKSUR1")", R"(FILE: users[0].branch: expected the branch of its record in table users, "BANKNOR1", found "BANKSUR1")"},
    {"OtherMachine", "/users/0/machine", R"("L002")", R"(FILE: users[0].machine: expected one of machines, found "L002")"},
    {"AcceptingRefusal", "/users/0/refusal", R"("S")", R"(FILE: users[0].refusal: expected a letter other than S, found "S")"},
    {"DigitForRefusal", "/users/0/refusal", R"("1")", R"(FILE: users[0].refusal: expected a letter other than S, found "1")"},
    {"UserTwice", "/users/1", R"({"name": "ana", "password": "x", "code": "U001", "branch": "BANKNOR1"})",
     "FILE: users[1].name: expected each name once, found \"ana\" again\nFILE: users[1].code: expected each code once, found \"U001\" again"},
    {"UserIsText", "/users/1", R"("bob")", R"(FILE: users[1]: expected an object with the keys name, password, code, branch, machine, refusal, found "bob")"},
    {"MarketNumber", "/markets/0/number", "1000", "FILE: markets[0].number: expected a number from 1 to 999, found 1000\nFILE: feeds[0].market: expected the number of one of markets, found 71"},
    {"MarketTwice", "/markets/1", R"({"number": 71, "currency": "EUR"})", "FILE: markets[1].number: expected each number once, found 71 again"},
    {"TableOfTwoMarkets", "/markets/1", R"({"number": 72, "orders_table": 171, "currency": "EUR"})",
     "FILE: markets[1].orders_table: expected a code unlike that of markets[0].orders_table, found 171"},
    {"OrdersInTableOfUsers", "/markets/0/orders_table", "24", "FILE: markets[0].orders_table: expected a code that isn't that of users, found 24\nFILE: tables[0].code: expected a code unlike that of markets[0].orders_table, found 24"},
    {"Currency", "/markets/0/currency", R"("US")", R"(FILE: markets[0].currency: expected 3 characters, found "US")"},
    {"UnknownTable", "/tables/1", R"({"name": "citys", "records": []})", "FILE: tables[1].name: expected one of branches, users, institutions, super_groups, primary_users, cities, markets, currencies, countries, permissions, issuers, principals, trusts, employees, schemes, sub_principals, voice_groups, fixed_income_markets, facts, rates, summaries, orders, found \"citys\""},
    {"TableTwice", "/tables/1", R"({"name": "users", "records": []})", "FILE: tables[1].code: expected a code unlike that of tables[0].code, found 24"},
    {"NoCodeOfTable", "/tables/1", R"({"name": "rates", "records": []})", "FILE: tables[1].code: expected a number from 1 to 39999, found nothing"},
    {"OtherCodeOfTable", "/tables/1", R"({"name": "cities", "code": 26, "records": []})", "FILE: tables[1].code: expected 25, the code of cities, found 26\nFILE: tables[1].code: expected a code that isn't that of countries, found 26"},
    {"CodeOfAMarket", "/tables/1", R"({"name": "rates", "code": 171, "records": []})", "FILE: tables[1].code: expected a code unlike that of markets[0].orders_table, found 171"},
    {"UnknownField", "/tables/0/records/0/nombr", R"("x")", "FILE: tables[0].records[0].nombr: expected the name of a field of CGTUser"},
    {"LongText", "/tables/0/records/0/nombre_corto", R"("eleven char")", "FILE: tables[0].records[0].nombre_corto: expected a text of at most 10 bytes, found 11 bytes"},
    {"EmptyRecord", "/tables/0/records/1", "{}", "FILE: tables[0].records[1]: expected an object with fields of CGTUser"},
    {"RecordTwice", "/tables/0/records/1", R"({"codigo_sucursal": "BANKNOR1", "codigo": "U001"})", "FILE: tables[0].records[1]: expected a record unlike records[0]"},
    {"RecordsObject", "/tables/0/records", "{}", "FILE: tables[0].records: expected an array of records, found {}\nFILE: users[0].code: expected the code of a record of table users, found \"U001\""},
    {"UnknownMarketOfFeed", "/feeds/0/market", "72", "FILE: feeds[0].market: expected the number of one of markets, found 72"},
    {"UnknownUserOfFeed", "/feeds/0/user", R"("U002")", R"(FILE: feeds[0].user: expected the code of one of users, found "U002")"},
    {"FiveDecimals", "/feeds/0/price", R"("1.00005")", R"(FILE: feeds[0].price: expected a price above 0 with at most 4 decimals, found "1.00005")"},
    {"NegativePrice", "/feeds/0/price", "-1", "FILE: feeds[0].price: expected a price above 0 with at most 4 decimals, found -1"},
    {"PriceInWords", "/feeds/0/price", R"("ten")", R"(FILE: feeds[0].price: expected a price above 0 with at most 4 decimals, found "ten")"},
    {"BigStep", "/feeds/0/step", R"("1400")", "FILE: feeds[0].step: expected a step that leaves the lowest level a price above 0"},
    {"NoInterval", "/feeds/0/every_milliseconds", "0", "FILE: feeds[0].every_milliseconds: expected a number from 1 to 86400000, found 0"},
    {"HalfAmount", "/feeds/0/amount", R"("10.5")", R"(FILE: feeds[0].amount: expected a number from 1 to 999999999999, found "10.5")"},
    {"Levels", "/feeds/0/levels", "101", "FILE: feeds[0].levels: expected a number from 1 to 100, found 101"},
    {"Seed", "/feeds/0/seed", "-1", "FILE: feeds[0].seed: expected a number from 0 to 4294967295, found -1"},
    {"EarlyEvent", "/events/0/at_seconds", "-0.5", "FILE: events[0].at_seconds: expected seconds from 0 to 86400 with at most 3 decimals, found -0.5"},
    {"FineEvent", "/events/0/at_seconds", "0.0005", "FILE: events[0].at_seconds: expected seconds from 0 to 86400 with at most 3 decimals, found 0.0005"},
    {"NoCommand", "/events/0/command", R"("")", R"(FILE: events[0].command: expected a command, found "")"},
    {"TwoLinesInACommand", "/events/0/command", R"("drop\nL001")", R"(FILE: events[0].command: expected a command, found "drop\nL001")"},
    {"UnknownKey", "/port", "0", "FILE: port: expected one of the keys server, data_servers, data_managers, environment, expiry_seconds, send_mode, machines, users, markets, tables, feeds, events"},
    {"UnknownKeyOfUser", "/users/0/pasword", "0", "FILE: users[0].pasword: expected one of the keys name, password, code, branch, machine, refusal"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Each, ScenarioMistake, testing::ValuesIn(values),
                         [](const auto& test) { return test.param.name; });

TEST(ScenarioMistakes, TellRequiredKeysThatAreMissing)
{
    EXPECT_EQ(MistakesWithout("", "environment"), "FILE: environment: expected 2 characters, found nothing");
    EXPECT_EQ(MistakesWithout("/users/0", "password"),
              "FILE: users[0].password: expected 1 to 16 characters, found nothing");
    EXPECT_EQ(MistakesWithout("/markets/0", "currency"),
              "FILE: markets[0].currency: expected 3 characters, found nothing");
    EXPECT_EQ(MistakesWithout("/tables/0", "name"),
              "FILE: tables[0].name: expected the name of a table, found nothing");
    EXPECT_EQ(MistakesWithout("/feeds/0", "levels"),
              "FILE: feeds[0].levels: expected a number from 1 to 100, found nothing");
    EXPECT_EQ(MistakesWithout("/events/0", "command"), "FILE: events[0].command: expected a command, found nothing");
}

TEST(ScenarioMistakes, TellALoginWithoutARecord)
{
    EXPECT_EQ(MistakesWith("/tables/0/records/0/codigo", "U002"),
              "FILE: users[0].code: expected the code of a record of table users, found \"U001\"");
}

TEST(ScenarioMistakes, TellABranchAndAnInstitutionWithoutARecord)
{
    EXPECT_EQ(MistakesWith("/tables/1", Table("branches", {{"codigo_sucursal", "BANKSUR1"}})),
              "FILE: users[0].branch: expected the code of a record of table branches, found \"BANKNOR1\"");
    EXPECT_EQ(MistakesWith("/tables/1", Table("institutions", {{"codigo_unico", "SURB"}})),
              "FILE: users[0].branch: expected the code of a record of table institutions, found \"BANKNOR1\"");
}

TEST(ScenarioMistakes, TellAMarketAndACurrencyWithoutARecord)
{
    EXPECT_EQ(MistakesWith("/tables/1", Table("markets", {{"codigo", 72}})),
              "FILE: markets[0].number: expected the code of a record of table markets, found 71");
    EXPECT_EQ(MistakesWith("/tables/1", Table("markets", {{"codigo", 71}})), "none");
    EXPECT_EQ(MistakesWith("/tables/1", Table("currencies", {{"codigo", "EUR"}})),
              "FILE: markets[0].currency: expected the code of a record of table currencies, found \"USD\"");
}

TEST(ScenarioMistakes, TellFieldsThatShareBytes)
{
    EXPECT_EQ(
        MistakesOf(R"({"server": "DSAB", "data_managers": [], "environment": "CO", "users": [], "markets": [],
        "tables": [{"name": "users", "records": [{"codigo": "U001", "secuencial": "002"}]}]})"),
        "FILE: tables[0].records[0].codigo: expected bytes of its own, but a field behind it has some of them too");
}

TEST(ScenarioMistakes, TellTwoFeedsOfOneUserInAMarket)
{
    json scenario = Whole();
    scenario["feeds"].push_back(scenario["feeds"][0]);
    EXPECT_EQ(MistakesOf(scenario.dump()),
              "FILE: feeds[1]: expected each market and user once, found [71,\"U001\"] again");
}

TEST(ScenarioMistakes, AreAllTold)
{
    json scenario = Whole();
    scenario["server"] = "D";
    scenario["users"][0]["code"] = "U1";
    scenario["markets"][0].erase("number");
    scenario["tables"][0]["records"][0]["codigo_bv_1"] = 100'000;
    scenario["events"][0]["when"] = 5;
    EXPECT_EQ(MistakesOf(scenario.dump()),
              "FILE: server: expected 4 characters, found \"D\"\n"
              "FILE: users[0].code: expected 4 characters, found \"U1\"\n"
              "FILE: markets[0].number: expected a number from 1 to 999, found nothing\n"
              "FILE: tables[0].records[0].codigo_bv_1: expected a number from 0 to 99999, found 100000\n"
              "FILE: events[0].when: expected one of the keys at_seconds, command\n"
              "FILE: feeds[0].market: expected the number of one of markets, found 71\n"
              "FILE: feeds[0].user: expected the code of one of users, found \"U001\"");
}

TEST(ScenarioMistakes, StandInOneLineWhateverAKeyIsCalled)
{
    EXPECT_THAT(MistakesWith("/a\nb", 1), testing::StartsWith("FILE: \"a\\nb\": expected one of the keys"));
}

TEST(ScenarioFile, ThatIsMissingIsTold)
{
    const std::filesystem::path file = testing::TempDir() + "qm_no_such_scenario.json";
    EXPECT_THAT([&] { Read_Scenario(file); },
                testing::ThrowsMessage<ScenarioError>(
                    file.string() + ": expected a file of JSON that can be read: No such file or directory"));
}

TEST(ScenarioFile, ThatIsAFolderIsTold)
{
    EXPECT_THROW(Read_Scenario(testing::TempDir()), ScenarioError);
}

TEST(ScenarioFile, IsNamedInItsMistakes)
{
    const std::filesystem::path file = testing::TempDir() + "qm_scenario_with_mistake.json";
    std::ofstream(file) << "{";
    EXPECT_THAT([&] { Read_Scenario(file); },
                testing::ThrowsMessage<ScenarioError>(testing::StartsWith(file.string() + ":1:2: expected")));
    std::filesystem::remove(file);
}

TEST(ScenarioFile, OfThePageForUsersIsRight)
{
    std::ifstream in(std::filesystem::path(TEST_DATA).parent_path().parent_path() / "docs" / "market_scenario.md");
    const std::string page{std::istreambuf_iterator<char>(in), {}};
    const std::size_t begin = page.find("```json\n") + 8;
    ASSERT_EQ(MistakesOf(page.substr(begin, page.find("```", begin) - begin)), "none");
}

// ---- Two banks

namespace {

const Scenario& TwoBanks()
{
    static const Scenario scenario = Read_Scenario(ScenarioFile("two_banks.json"));
    return scenario;
}

const ScenarioTable& TableOfCode(std::uint16_t code)
{
    const auto& tables = TwoBanks().tables;
    return *std::find_if(tables.begin(), tables.end(), [code](const auto& table) { return table.code == code; });
}

// The record as the library reads it.
std::unique_ptr<CMessage> RecordOf(std::uint16_t code, std::size_t index)
{
    const ScenarioTable& table = TableOfCode(code);
    auto record = Make_Record(table.record_class);
    record->Update_Message_Info(("888" + std::string(19, '\0') + table.bodies.at(index)).data());
    return record;
}

std::string TextOf(CMessage& record, const char* field)
{
    char text[512] = {};
    *record.Find_Field(field) >> text;
    return text;
}

} // namespace

TEST(TwoBanks, HasSixUsersAtTheirMachines)
{
    const Scenario& scenario = TwoBanks();
    EXPECT_EQ(scenario.server, "DSAB");
    EXPECT_THAT(scenario.data_managers, ElementsAre("DM01"));
    EXPECT_THAT(scenario.machines, ElementsAre("L001", "L002", "L003", "L004", "L005", "L006"));
    ASSERT_EQ(scenario.users.size(), 6U);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(scenario.users[i].machine, scenario.machines[i]);
        EXPECT_EQ(scenario.users[i].refusal, '\0');
    }
}

TEST(TwoBanks, HasTwelveMarketsWhoseTablesHaveTheirNumbers)
{
    std::vector<int> numbers;
    for (const MarketDescription& market : TwoBanks().markets) {
        EXPECT_EQ(market.number, market.orders_table);
        numbers.push_back(market.number);
    }
    EXPECT_THAT(numbers, ElementsAre(61, 62, 63, 64, 71, 72, 73, 74, 75, 76, 77, 78));
}

TEST(TwoBanks, HasThreeFeedsAndNoEvents)
{
    ASSERT_EQ(TwoBanks().feeds.size(), 3U);
    for (const Feed& feed : TwoBanks().feeds) {
        EXPECT_GE(feed.every, Clock::Time(400));
        EXPECT_LE(feed.every, Clock::Time(900));
    }
    EXPECT_THAT(TwoBanks().events, IsEmpty());
}

TEST(TwoBanks, HasTheInstitutionsThatTheLibraryReads)
{
    EXPECT_EQ(TextOf(*RecordOf(21, 0), "nombre"), "Banco Norte");
    EXPECT_EQ(TextOf(*RecordOf(21, 1), "nombre"), "Banco del Sur");
    EXPECT_EQ(TextOf(*RecordOf(21, 2), "nombre"), "Corredores Unidos");
    EXPECT_EQ(TextOf(*RecordOf(21, 2), "codigo_unico"), "CORR");
}

TEST(TwoBanks, HasBranchesWithInstitutionAndCity)
{
    const auto branch = RecordOf(22, 0);
    EXPECT_EQ(TextOf(*branch, "codigo_sucursal"), "NORTNOR1");
    EXPECT_EQ(TextOf(*branch, "codigo_ciudad_3c"), "NOR");
    EXPECT_EQ(TextOf(*branch, "nombre"), "Banco Norte, Puerto Norte");
}

TEST(TwoBanks, HasUsersWhoSeeAllMarkets)
{
    for (std::size_t i = 0; i < 6; ++i) {
        const auto user = RecordOf(24, i);
        EXPECT_EQ(TextOf(*user, "codigo"), TwoBanks().users[i].code);
        EXPECT_EQ(TextOf(*user, "codigo_sucursal"), TwoBanks().users[i].branch);
        EXPECT_TRUE((*user)[ACCESO_MERCADOS_VER].IsOnlyChar(0xAA, 50));
        EXPECT_EQ((*user)[ACCESO_MERCADOS_VER].Get_Bits(2, 71), 2U);
    }
}

TEST(TwoBanks, HasMarketsWithNamesAndCurrencies)
{
    const auto market = RecordOf(27, 4);
    EXPECT_TRUE(*market->Find_Field("codigo") == 71);
    EXPECT_EQ(TextOf(*market, "nombre"), "Dólar contado");
    EXPECT_EQ(TextOf(*market, "moneda"), "USD");
    EXPECT_EQ(TextOf(*market, "ambiente_mercado"), "CO");
    EXPECT_EQ(TableOfCode(27).bodies.size(), 12U);
}

TEST(TwoBanks, HasPlacesAndCurrencies)
{
    EXPECT_EQ(TextOf(*RecordOf(25, 1), "nombre[2]"), "Southtown");
    EXPECT_EQ(TextOf(*RecordOf(26, 0), "nombre"), "Nueva Veria");
    EXPECT_EQ(TextOf(*RecordOf(28, 0), "ultimo_precio"), "4012.2500");
}

TEST(TwoBanks, HasVoiceGroupsPermissionsAndMachines)
{
    EXPECT_EQ(TextOf(*RecordOf(7101, 1), "nombre[1]"), "Bonos a largo plazo");
    EXPECT_TRUE(*RecordOf(7101, 1)->Find_Field("numero_grupo") == static_cast<unsigned short>(2));
    EXPECT_EQ(TextOf(*RecordOf(54, 0), "usuario_ip"), "N001");
    EXPECT_EQ(TextOf(*RecordOf(30, 0), "codigo"), "SG01");
    EXPECT_EQ(TextOf(*RecordOf(23, 5), "codigo"), "L006");
}
