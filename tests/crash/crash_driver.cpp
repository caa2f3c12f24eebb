// Kills a host at random moments while the market sends messages and changes tables, and judges what it left behind and
// what it does at the next start.
//
//   crash_driver [--kills COUNT] [--seed SEED] [--host PROGRAM]
//
// The same seed draws the same plan; what the processes do at a moment of it is theirs. Exit code 1 at the first rule
// that doesn't hold; the directory of the host is kept then.
#include "crash/crash_run.h"

#include "persis/persis.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace {

using namespace crash;

// In the shares of an eighteenth of all kills.
struct Series
{
    Mode mode;
    int share;
};
constexpr std::array all_series{
    Series{{"F", "log_last_processed_message F\n", 'F', false}, 5},
    Series{{"L, the default", "", 'L', false}, 5},
    Series{{"N", "log_last_processed_message N\n", 'N', false}, 2},
    Series{{"F with sync_files", "log_last_processed_message F\nsync_files 1\n", 'F', false}, 4},
    Series{{"F with tarnel_feed", "log_last_processed_message F\ntarnel_feed 1\n", 'F', true}, 2},
};
constexpr int all_shares = 18;

struct Options
{
    int kills = 20;
    unsigned seed = 0;
    std::filesystem::path host{};
};

bool take_options(int count, char** arguments, Options& options)
{
    for (int i = 1; i + 1 < count; i += 2) {
        if (std::strcmp(arguments[i], "--kills") == 0) {
            options.kills = std::atoi(arguments[i + 1]);
        } else if (std::strcmp(arguments[i], "--seed") == 0) {
            options.seed = static_cast<unsigned>(std::strtoul(arguments[i + 1], nullptr, 10));
        } else if (std::strcmp(arguments[i], "--host") == 0) {
            options.host = std::filesystem::absolute(arguments[i + 1]);
        } else {
            return false;
        }
    }
    return count % 2 == 1 && options.kills > 0;
}

void say(const std::string& line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

std::string text_of(const Tally& tally)
{
    return std::to_string(tally.kills) + " kills, " + std::to_string(tally.levels) + " times level, " +
           std::to_string(tally.delivered) + " messages delivered, " + std::to_string(tally.finished) + " finished, " +
           std::to_string(tally.rows_compared) + " records compared";
}

void run_series(const Series& series, int until, const Options& options, const std::filesystem::path& directory,
                Tally& tally)
{
    constexpr int between_lines = 10;
    if (tally.kills >= until) {
        return;
    }
    say(std::string("log_last_processed_message ") + series.mode.name);
    CrashRun run(options.host, directory, series.mode, options.seed + static_cast<unsigned>(tally.kills), tally);
    while (tally.kills < until) {
        run.live_and_kill();
        if (tally.kills % between_lines == 0) {
            say("  " + text_of(tally));
        }
    }
    run.live_and_end();
}

void say_summary(const Tally& tally, std::chrono::steady_clock::time_point begin)
{
    constexpr std::array<const char*, stages> moments{"before the login", "while tables were brought level",
                                                      "in the rounds of the log", "before the tables of orders",
                                                      "live"};
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin);
    say(text_of(tally) + ", in " + std::to_string(seconds.count()) + " s");
    for (std::size_t stage = 0; stage < stages; ++stage) {
        say("  " + std::to_string(tally.kills_at.at(stage)) + " " + moments.at(stage));
    }
    say("  " + std::to_string(tally.kills_at_writes) + " of all at a write to a file");
}

std::filesystem::path make_directory()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "qapi-crash-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no directory can be made below " + std::filesystem::temp_directory_path().string());
    }
    return pattern;
}

int run(const Options& options)
{
    const auto begin = std::chrono::steady_clock::now();
    const std::filesystem::path directory = make_directory();
    Tally tally;
    say("seed " + std::to_string(options.seed));
    try {
        int shares = 0;
        for (const Series& series : all_series) {
            shares += series.share;
            run_series(series, options.kills * shares / all_shares, options, directory / std::to_string(shares), tally);
        }
    } catch (const std::exception& fault) {
        say(text_of(tally));
        say(std::string("FAULT: ") + fault.what());
        say("seed " + std::to_string(options.seed) + "; the host's files are in " + directory.string());
        return 1;
    }
    say_summary(tally, begin);
    std::filesystem::remove_all(directory);
    return 0;
}

} // namespace

int main(int count, char** arguments)
{
    Options options;
    options.seed = static_cast<unsigned>(std::chrono::system_clock::now().time_since_epoch().count());
    options.host = std::filesystem::canonical("/proc/self/exe").parent_path() / "crash_host";
    if (!take_options(count, arguments, options)) {
        std::fputs("usage: crash_driver [--kills COUNT] [--seed SEED] [--host PROGRAM]\n", stderr);
        return 2;
    }
    static_cast<void>(signal(SIGPIPE, SIG_IGN)); // a command to a host that is gone
    PERSIS_SetErrFunction([](char* text, int) { std::fputs(text, stdout); });
    return run(options);
}
