// The demonstration: a market, two hosts, and what happens between them, step by step. Each step says what it does and
// waits for what should come of it; the first thing that doesn't come ends the program with a line that says which.
#include "page.h"
#include "stage.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

namespace {

using demo::Heard;
using demo::Stage;

constexpr std::size_t ana = 0;
constexpr std::size_t carla = 1;
constexpr int market = 71;

// Who they are is told by the scenario.
std::vector<demo::HostSettings> the_hosts()
{
    return {{"ana", "ana-2026", "N001", "L001", "NORTNOR1", "Ana Prado, Banco Norte"},
            {"carla", "carla-2026", "S001", "L003", "SURBSUR1", "Carla Rivas, Banco del Sur"}};
}

constexpr int moment = 350; // milliseconds
constexpr int while_read = 1400;

bool stands(const Heard& heard, const std::string& code, const std::string& amount, const std::string& price)
{
    return std::any_of(heard.book.begin(), heard.book.end(), [&](const auto& entry) {
        return entry.second.code == code && entry.second.amount == amount && entry.second.price == price;
    });
}

bool is_gone(const Heard& heard, const std::string& code)
{
    return std::none_of(heard.book.begin(), heard.book.end(),
                        [&](const auto& entry) { return entry.second.code == code; });
}

bool has_chat(const Heard& heard, const std::string& text)
{
    return std::find(heard.chats.begin(), heard.chats.end(), text) != heard.chats.end();
}

void expect_order(Stage& stage, const std::string& code, const std::string& amount, const std::string& price)
{
    stage.expect_of_both("has order " + code + " in the book, " + amount + " at " + price,
                         [&](const Heard& heard) { return stands(heard, code, amount, price); });
    stage.screen().show_book();
    stage.pause(2 * moment);
}

void expect_gone(Stage& stage, const std::string& code)
{
    stage.expect_of_both("has order " + code + " no longer in the book",
                         [&](const Heard& heard) { return is_gone(heard, code); });
    stage.screen().show_book();
    stage.pause(2 * moment);
}

void expect_chat(Stage& stage, std::size_t host, const std::string& text)
{
    stage.expect(stage.view(host).name + " gets the chat \"" + text + "\"",
                 [&] { return has_chat(stage.heard(host), text); });
}

// ---- The steps -------------------------------------------------------------------------------------------------

void open_market(Stage& stage)
{
    stage.start_market();
    stage.pause(moment);
    stage.ask_market("order elena 71 bid 4011 500 E1", "order C001E1");
    stage.ask_market("order elena 71 offer 4013 500 E2", "order C001E2");
    stage.ask_market("order fabio 71 bid 4010.5 200 F1", "order C002F1");
    stage.ask_market("chat elena ana Good morning Ana, where is the dollar today?", "sent");
    stage.ask_market("chat diego carla Carla, sell before noon.", "sent");
    stage.pause(while_read);
}

void log_in(Stage& stage)
{
    stage.start_host(ana);
    stage.start_host(carla);
    stage.expect_of_both("is connected", [](const Heard& heard) { return heard.times_ready == 1; });
    stage.pause(2 * moment);
}

void replay(Stage& stage)
{
    expect_chat(stage, ana, "Good morning Ana, where is the dollar today?");
    expect_chat(stage, carla, "Carla, sell before noon.");
    stage.pause(while_read);
}

void trade_in_the_book(Stage& stage)
{
    stage.expect_of_both("has the three orders that stood before", [](const Heard& heard) {
        return stands(heard, "E1", "500", "4011.0000") && stands(heard, "E2", "500", "4013.0000") &&
               stands(heard, "F1", "200", "4010.5000");
    });
    stage.screen().show_book();
    stage.pause(moment);
    stage.tell_host(ana, "place A1 bid 4011.50 100");
    expect_order(stage, "A1", "100", "4011.5000");
    stage.tell_host(carla, "place C1 offer 4012.75 300");
    expect_order(stage, "C1", "300", "4012.7500");
    stage.tell_host(carla, "place C2 offer 4012.25 150");
    expect_order(stage, "C2", "150", "4012.2500");
    stage.tell_host(ana, "move A1 bid 4011.75 120");
    expect_order(stage, "A1", "120", "4011.7500");
    stage.tell_host(carla, "withdraw C1");
    expect_gone(stage, "C1");
}

void make_a_trade(Stage& stage)
{
    stage.tell_host(ana, "place A2 bid 4012.25 100");
    stage.expect_of_both("hears of the trade", [](const Heard& heard) {
        return heard.trades == std::vector<std::string>{"100 at 4012.2500"};
    });
    stage.expect_of_both("hears of its end and of the day's prices", [](const Heard& heard) {
        return heard.kinds.count("Fin_Transaccion") == 1 && heard.kinds.count("Precios_Montos_Transados") == 1;
    });
    stage.expect_of_both("sees A2 leave the book", [](const Heard& heard) { return is_gone(heard, "A2"); });
    expect_order(stage, "C2", "50", "4012.2500");
}

void read_across_tables(Stage& stage)
{
    stage.expect_of_both("has read the trade's codes", [](const Heard& heard) { return heard.paths.size() == 6; });
    for (const std::string& path : stage.heard(ana).paths) {
        stage.screen().say("ana", path);
    }
    const std::string wanted = "transmm_usuario_postura.nombre_completo = Carla Rivas";
    stage.expect("\"" + wanted + "\"", [&] { return stage.heard(ana).paths.at(1) == wanted; });
    stage.pause(while_read);
}

void talk(Stage& stage)
{
    stage.tell_host(ana, "chat S001 Thank you, Carla. The same tomorrow?");
    expect_chat(stage, carla, "Thank you, Carla. The same tomorrow?");
    stage.pause(moment);
    stage.tell_host(carla, "chat N001 With pleasure.");
    expect_chat(stage, ana, "With pleasure.");
    stage.pause(2 * moment);
}

void lose_a_connection(Stage& stage)
{
    stage.ask_market("drop L001", "1 client");
    stage.expect("ana hears that her connection is lost", [&] { return stage.heard(ana).times_lost == 1; });
    stage.tell_host(carla, "chat N001 Are you there, Ana?");
    stage.tell_host(carla, "place C3 offer 4012.50 80");
    stage.expect("ana is connected again", [&] { return stage.heard(ana).times_ready == 2; });
    expect_chat(stage, ana, "Are you there, Ana?");
    expect_order(stage, "C3", "80", "4012.5000");
    stage.expect("both have the same book again", [&] { return stage.book_of(ana) == stage.book_of(carla); });
    stage.screen().say("ana", "has all that she missed; both hosts have the same book again");
    stage.pause(while_read);
}

// One chat was finished before the kill and one was not; a chat, an order and a table's record come while she is dead.
void kill_and_resume(Stage& stage)
{
    stage.tell_host(ana, "leave");
    stage.expect("ana will leave a chat unfinished", [&] { return stage.heard(ana).leaves; });
    stage.tell_host(carla, "chat N001 Remember the 80 at 4012.50.");
    expect_chat(stage, ana, "Remember the 80 at 4012.50.");
    stage.screen().say("ana", "has not finished that one");
    stage.pause(moment);
    stage.kill_host(ana);
    stage.pause(2 * moment);
    stage.tell_host(carla, "chat N001 Where are you, Ana?");
    stage.tell_host(carla, "place C4 offer 4012.80 60");
    stage.expect("carla has order C4 in the book", [&] { return stands(stage.heard(carla), "C4", "60", "4012.8000"); });
    stage.ask_market(R"(table 25 insert {"codigo_3c":"FAR","nombre":"El Faro"})", "record 5");
    stage.pause(moment);
    const Heard before = stage.heard(ana);
    stage.start_host(ana);
    stage.expect("ana is connected again", [&] { return stage.heard(ana).times_ready == before.times_ready + 1; });
    stage.screen().say("ana", "its tables came from its files: " + stage.tables_from_files(ana));
    stage.pause(while_read);
    stage.expect("ana gets the chat again that she had not finished, and the one that she missed",
                 [&] { return stage.heard(ana).chats.size() == before.chats.size() + 2; });
    expect_chat(stage, ana, "Where are you, Ana?");
    expect_order(stage, "C4", "60", "4012.8000");
    stage.expect("both have the same book again", [&] { return stage.book_of(ana) == stage.book_of(carla); });
    stage.tell_host(carla, "chat N001 Welcome back.");
    expect_chat(stage, ana, "Welcome back.");
    stage.expect("nothing that was finished came again", [&] {
        return stage.heard(ana).trades == before.trades && stage.heard(ana).chats.size() == before.chats.size() + 3;
    });
    stage.screen().say("ana", "has all that she missed, and nothing twice that she had finished");
    stage.pause(while_read);
}

void log_out(Stage& stage)
{
    stage.ask_market("book 71", "7 orders");
    stage.expect_of_both("has as many orders as the market", [](const Heard& heard) { return heard.book.size() == 7; });
    for (const std::size_t host : {ana, carla}) {
        stage.expect(stage.view(host).name + " has finished what was received",
                     [&] { return stage.view(host).finished == stage.view(host).received; });
        stage.end_host(host);
    }
    stage.end_market();
    stage.pause(moment);
}

struct Step
{
    const char* title;
    const char* explanation;
    void (*run)(Stage&);
};

constexpr std::array steps{
    Step{"A market opens", "it stores orders and chats, which nobody is there to hear yet", open_market},
    Step{"Two hosts log in", "the market sends its tables, then the hosts hear OnConnection", log_in},
    Step{"Stored messages are replayed", "what came before the login arrives first", replay},
    Step{"An order book", "both hosts send orders, and see all changes of the market's book", trade_in_the_book},
    Step{"A trade", "an order meets another one; both sides are told", make_a_trade},
    Step{"Codes lead across tables", "fields of that trade, read by path", read_across_tables},
    Step{"A chat", "from host to host", talk},
    Step{"A connection is lost", "the library connects again by itself; what was missed is sent", lose_a_connection},
    Step{"A host is killed, and starts again", "its tables come from its files, and it is sent what it lacks",
         kill_and_resume},
    Step{"The hosts log out", "nothing was lost, and nothing is left unfinished", log_out},
};

// ---- The end ---------------------------------------------------------------------------------------------------

std::string summary_of(const Stage& stage)
{
    std::string text = demo::paint(demo::Colour::bold, "  host     received  finished  sent") + "\n";
    for (const std::size_t host : {ana, carla}) {
        const demo::HostView& view = stage.view(host);
        text += "  " + demo::fit(view.name, 9) + demo::fit_right(std::to_string(view.received), 8) +
                demo::fit_right(std::to_string(view.finished), 10) + demo::fit_right(std::to_string(view.sent), 6) +
                "\n";
        for (const auto& [kind, count] : stage.heard(host).kinds) {
            text +=
                demo::paint(demo::Colour::dim, "         " + demo::fit_right(std::to_string(count), 8) + "  " + kind) +
                "\n";
        }
    }
    return text;
}

std::string where_the_logs_are(const Stage& stage, const std::filesystem::path& build)
{
    const std::string viewer = (build / "tools/log_view/qapi-log-view").string();
    return "\nThe running log of each host is in its directory; to read one:\n  " + viewer + " " +
           (stage.directory_of(ana) / "qapi.log").string() + "\n  " + viewer + " " +
           (stage.directory_of(carla) / "qapi.log").string() + "\nThe market's journal, all that went in and out:\n  " +
           (stage.directory_of(ana).parent_path() / "market/journal.jsonl").string() + "\n";
}

std::string run(const demo::Programs& programs, const std::filesystem::path& build,
                const std::filesystem::path& directory)
{
    Stage stage(programs, the_hosts(), market, directory);
    int number = 0;
    for (const Step& step : steps) {
        stage.screen().begin_step(std::to_string(++number) + "  " + step.title, step.explanation);
        stage.pause(moment);
        step.run(stage);
    }
    return "\n" + summary_of(stage) + where_the_logs_are(stage, build);
}

std::filesystem::path make_directory()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "qapi-demo-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw demo::Failure("no directory can be made below " + std::filesystem::temp_directory_path().string());
    }
    return pattern;
}

} // namespace

int main(int count, char** arguments)
{
    const bool hurried = count == 4 && std::string_view(arguments[3]) == "--hurried";
    if (count != 3 && !hurried) {
        std::fputs(
            "usage: qapi-demo BUILD_DIRECTORY SCENARIO [--hurried]\n"
            "Runs a market and two hosts, about 25 seconds on a terminal, faster without one or if hurried. Exit\n"
            "code 0 if all went as it should. What the programs leave behind is kept, and it is told where.\n",
            stderr);
        return 2;
    }
    constexpr int exit_failure = 1;
    constexpr int exit_interrupted = 130;
    demo::Interruption::watch_for();
    std::filesystem::path directory;
    try {
        directory = make_directory();
        const std::filesystem::path build = std::filesystem::absolute(arguments[1]);
        const std::string summary = run({build / "tools/market/qapi-market", build / "examples/demo_trader",
                                         std::filesystem::absolute(arguments[2]), hurried},
                                        build, directory);
        std::fputs(summary.c_str(), stdout);
        return 0;
    } catch (const demo::Interruption&) {
        return exit_interrupted;
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "demo: %s\nWhat the programs left behind is in %s\n", error.what(), directory.c_str());
        return exit_failure;
    }
}
