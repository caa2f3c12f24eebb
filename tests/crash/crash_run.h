// Lives of a host that are ended by SIGKILL, and the rules that must hold behind each.
#pragma once

#include "crash/left_files.h"
#include "crash/life.h"
#include "crash/market_stream.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <random>
#include <string>

namespace crash {

// How a host is configured.
struct Mode
{
    const char* name;
    const char* directives;
    char letter; // of log_last_processed_message
    bool has_tarnel_feed;
};

struct Tally
{
    int kills = 0;
    std::array<int, stages> kills_at{};
    int kills_at_writes = 0; // of all of these
    int levels = 0;          // lives whose tables and messages were held against the market
    std::size_t delivered = 0;
    std::size_t finished = 0;
    std::size_t rows_compared = 0;
};

// Lives in one directory, against one market, in one mode.
class CrashRun
{
public:
    CrashRun(const std::filesystem::path& program, const std::filesystem::path& directory, const Mode& mode,
             unsigned seed, Tally& tally);

    void live_and_kill(); // throws Fault
    void live_and_end();  // a last life, in which everything is brought level and which ends by itself

private:
    unsigned any(unsigned count) { return static_cast<unsigned>(m_random() % count); }
    bool stream_some(int& left); // one event, if any is left
    void let_time_pass(unsigned most_microseconds);
    std::string any_write(); // to die at: its number and the moment
    [[nodiscard]] std::unique_ptr<Life> begin(const std::string& write);
    void wait_for_death(Life& life);
    void wait_for_early_moment(Life& life);
    void wait_for_live_moment(Life& life);
    void bring_level(Life& life, const NumberFiles& before);
    void judge_end(const Life& life, const NumberFiles& before);
    void check_request(const Life& life, const NumberFiles& before);
    void check_deliveries(const Life& life, const NumberFiles& before, bool are_all_there);
    void check_tables(Life& life);
    void check_files_of_tables(bool are_level);

    std::filesystem::path m_program;
    std::filesystem::path m_directory;
    Mode m_mode;
    std::mt19937 m_random;
    MarketStream m_market;
    Tally& m_tally;
    bool m_is_first = true;
};

} // namespace crash
