#include "crash/crash_run.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <poll.h>
#include <vector>

namespace crash {

namespace {

void expect(bool holds, const std::string& rule)
{
    if (!holds) {
        throw Fault(rule);
    }
}

std::string listed(const std::vector<std::string>& names)
{
    constexpr std::size_t most = 12;
    std::string text = std::to_string(names.size()) + ":";
    for (std::size_t i = 0; i < std::min(most, names.size()); ++i) {
        text += " [" + names[i] + "]";
    }
    return text;
}

template <class Left, class Right> std::vector<std::string> without(const Left& all, const Right& taken)
{
    std::vector<std::string> rest;
    std::set_difference(all.begin(), all.end(), taken.begin(), taken.end(), std::back_inserter(rest));
    return rest;
}

// Both sorted.
void expect_same(const std::vector<std::string>& found, const std::vector<std::string>& wanted, const std::string& what)
{
    const auto lacking = without(wanted, found);
    const auto too_much = without(found, wanted);
    expect(lacking.empty() && too_much.empty(),
           what + ": lacking " + listed(lacking) + ", too much " + listed(too_much));
}

char type_of(qm::Log log)
{
    return log == qm::Log::P ? 'A' : log == qm::Log::A ? 'B' : 'C';
}

} // namespace

CrashRun::CrashRun(const std::filesystem::path& program, const std::filesystem::path& directory, const Mode& mode,
                   unsigned seed, Tally& tally)
    : m_program(program), m_directory(directory), m_mode(mode), m_random(seed), m_market(seed + 1), m_tally(tally)
{
    std::filesystem::create_directories(directory);
    std::ofstream(directory / "qapi.cfg")
        << "data_server DSAB\nds_ip_address 127.0.0.1\nds_tcp_port " << m_market.port()
        << "\nlocal_code L001\nuser_code U001\nbranch_code NORTBOG1\ntransaction_feed = 1\n"
           "table_code = 31 Grupos_Vigentes\ntable_code = "
        << MarketStream::orders_table << " Posturas_Vigentes\n"
        << mode.directives;
}

// ---- A life ----------------------------------------------------------------------------------------------------

void CrashRun::live_and_kill()
{
    const NumberFiles before(m_directory);
    const bool is_early = !m_is_first && any(2) == 0;
    const bool dies_at_write = any(3) == 0;
    m_is_first = false;
    const auto life = begin(is_early && dies_at_write ? any_write() : "");
    if (!is_early) {
        bring_level(*life, before);
        life->tell(dies_at_write ? "die " + any_write() : "");
        life->tell("hold");
    }
    if (dies_at_write) {
        wait_for_death(*life);
    } else if (is_early) {
        wait_for_early_moment(*life);
    } else {
        wait_for_live_moment(*life);
    }
    m_tally.kills_at_writes += life->has_ended() ? 1 : 0;
    life->kill();
    expect(life->was_killed(), "the host ends by SIGKILL alone");
    ++m_tally.kills;
    ++m_tally.kills_at.at(static_cast<std::size_t>(life->stage()));
    judge_end(*life, before);
}

void CrashRun::live_and_end()
{
    const NumberFiles before(m_directory);
    const auto life = begin("");
    bring_level(*life, before);
    const int exit_code = life->end();
    expect(exit_code == 0, "the host logs out and ends with 0, not with " + std::to_string(exit_code));
    judge_end(*life, before);
}

// "17 within"
std::string CrashRun::any_write()
{
    constexpr unsigned most = 150;
    constexpr unsigned most_across_pages = 4;
    const unsigned choice = any(3);
    if (choice == 0) {
        return std::to_string(1 + any(most_across_pages)) + " within";
    }
    return std::to_string(1 + any(most)) + (choice == 1 ? " before" : " behind");
}

std::unique_ptr<Life> CrashRun::begin(const std::string& write)
{
    if (any(3) != 0) {
        m_market.stream(static_cast<int>(any(60)));
    }
    return std::make_unique<Life>(m_program, m_directory, m_market, std::to_string(m_random()) + ' ' + write);
}

bool CrashRun::stream_some(int& left)
{
    if (left <= 0) {
        return false;
    }
    --left;
    m_market.stream(1);
    return true;
}

void CrashRun::let_time_pass(unsigned most_microseconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(any(most_microseconds));
    while (std::chrono::steady_clock::now() < end) {
    }
}

void CrashRun::wait_for_death(Life& life)
{
    int left = 300;
    life.wait_for_death([this, &left] { return stream_some(left); });
}

void CrashRun::wait_for_early_moment(Life& life)
{
    constexpr unsigned tables_of_a_login = 17;
    constexpr unsigned moment = 1500;
    std::function<bool()> meanwhile;
    int left = static_cast<int>(any(60));
    if (any(2) == 0) {
        meanwhile = [this, &left] { return stream_some(left); };
    }
    const auto wait = [&](const char* what, const std::function<bool()>& has_happened) {
        life.wait(what, has_happened, meanwhile);
    };
    const std::size_t number = 1 + any(tables_of_a_login);
    switch (any(7)) {
    case 0:
        let_time_pass(10 * moment);
        break;
    case 1:
        wait("it logs in", [&] { return life.stage() != Stage::connecting; });
        break;
    case 2:
        wait("it has some tables", [&] { return life.tables() >= number || life.has_asked(); });
        break;
    case 3:
        wait("it asks for the log", [&] { return life.has_asked(); });
        break;
    case 4:
        wait("it is ready", [&] { return life.is_ready(); });
        break;
    case 5:
        wait("it has some messages", [&] { return life.got().size() >= number || life.stage() == Stage::live; });
        break;
    default:
        wait("the log is over", [&] { return life.stage() >= Stage::secondary_tables; });
        break;
    }
    let_time_pass(moment);
}

void CrashRun::wait_for_live_moment(Life& life)
{
    constexpr unsigned most = 80;
    constexpr unsigned moment = 3000;
    int left = 5 * static_cast<int>(most); // a host that waits for the disk falls behind
    const auto stream = [this, &left] { return stream_some(left); };
    const std::size_t number = 1 + any(most);
    const std::size_t got = life.got().size();
    const std::size_t done = life.done().size();
    const std::filesystem::path file = m_directory / "qapi.AB01.log";
    const std::uint32_t received = Received_Now(file);
    switch (any(4)) {
    case 0:
        life.wait(
            "it gets messages", [&] { return life.got().size() >= got + number; }, stream);
        break;
    case 1:
        life.wait(
            "it finishes messages", [&] { return life.done().size() >= done + number; }, stream);
        break;
    case 2:
        life.wait(
            "its file changes", [&] { return Received_Now(file) >= received + number; }, stream);
        break;
    default:
        m_market.stream(static_cast<int>(any(most)));
        let_time_pass(10 * moment);
        break;
    }
    if (any(2) == 0) {
        let_time_pass(moment);
    }
}

// To the point where the host has all that the market has, and has finished it.
void CrashRun::bring_level(Life& life, const NumberFiles& before)
{
    int left = static_cast<int>(any(80));
    const auto stream = [this, &left] { return stream_some(left); };
    life.wait(
        "it is live", [&] { return life.is_ready() && life.stage() == Stage::live; }, stream);
    const std::string mark = m_market.mark();
    life.wait("message " + mark + " comes", [&] { return life.got().contains(mark); });
    life.tell("finish");
    life.wait("all is finished", [&] { return life.done().size() == life.got().size(); });
    check_request(life, before);
    check_deliveries(life, before, true);
    check_tables(life);
    check_files_of_tables(true);
    ++m_tally.levels;
}

// ---- The rules -------------------------------------------------------------------------------------------------

void CrashRun::judge_end(const Life& life, const NumberFiles& before)
{
    const auto dead_line = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (m_market.has_clients()) {
        expect(std::chrono::steady_clock::now() < dead_line, "the market sees its connection close");
        poll(nullptr, 0, 1);
    }
    m_tally.delivered += life.got().size();
    m_tally.finished += life.done().size();
    if (life.has_asked()) {
        check_request(life, before);
    }
    check_deliveries(life, before, false);
    const NumberFiles after(m_directory);
    for (const std::string& name : life.done()) {
        expect(after.has_finished(name), "message " + name + " was finished and is so in its number file");
    }
    check_files_of_tables(false);
}

// What it asks for goes by what the headers of the files say, and covers what the rules promise.
void CrashRun::check_request(const Life& life, const NumberFiles& before)
{
    expect(life.asked().size() == 3, "all three logs are asked for");
    for (const qm::LogPosition& position : life.asked()) {
        const char type = type_of(position.log);
        const NumberFile& file = before.of(type);
        const bool is_persistent = type == 'A';
        const std::uint32_t by_letter = m_mode.letter == 'L'   ? file.received()
                                        : m_mode.letter == 'F' ? file.processed()
                                                               : 0;
        const std::uint32_t wanted = is_persistent ? (m_mode.has_tarnel_feed ? 0 : file.processed()) : by_letter;
        const bool is_dated = !is_persistent || !file.date().empty(); // else the last seven days are asked for
        expect(position.number == wanted && (!is_dated || position.date == file.date()),
               std::string("type ") + type + " is asked for behind " + std::to_string(wanted) + " of " + file.date() +
                   ", not behind " + std::to_string(position.number) + " of " + position.date);
    }
    const std::set<std::string> wanted = m_market.wanted(life.asked());
    const bool all_come_again = m_mode.letter == 'N' || (m_mode.letter == 'F' && !m_mode.has_tarnel_feed);
    for (const std::string& name : m_market.messages()) {
        const bool comes_again = name.front() == 'A' || all_come_again;
        expect(!comes_again || before.has_finished(name) || wanted.contains(name),
               "message " + name + " is not finished and asked for again");
    }
}

// What is delivered is what was asked for, or came later, and isn't finished by the number files of before.
void CrashRun::check_deliveries(const Life& life, const NumberFiles& before, bool are_all_there)
{
    if (!life.has_asked()) {
        expect(life.got().empty(), "nothing is delivered that nobody has asked for");
        return;
    }
    for (const std::string& name : life.got()) {
        expect(!before.has_finished(name), "message " + name + " is finished and not delivered again");
    }
    std::set<std::string> due = m_market.wanted(life.asked());
    std::erase_if(due, [&](const std::string& name) { return before.has_finished(name); });
    const auto strange = without(life.got(), due);
    expect(strange.empty(), "nothing is delivered that wasn't asked for, but " + listed(strange));
    const auto lacking = without(due, life.got());
    expect(!are_all_there || lacking.empty(), "all that was asked for is delivered, but " + listed(lacking));
}

// In memory: content, idx and identity.
void CrashRun::check_tables(Life& life)
{
    life.tell("tables " + std::to_string(m_market.highest_idx()));
    life.wait("it has told its tables", [&] { return life.listed() == 1; });
    std::vector<std::string> found = life.rows();
    std::vector<std::string> wanted;
    for (const KeptTable& table : Kept_Tables()) {
        const std::string code = std::to_string(table.code);
        const auto rows = m_market.rows(table.code);
        for (const auto& [idx, row] : rows) {
            wanted.push_back(
                std::string("row ").append(code).append(" ").append(std::to_string(idx)).append(" " + row));
        }
        wanted.push_back("count " + code + ' ' + std::to_string(rows.size()));
        m_tally.rows_compared += rows.size();
    }
    std::sort(found.begin(), found.end());
    std::sort(wanted.begin(), wanted.end());
    expect_same(found, wanted, "the tables in memory are the market's");
}

// In the files, where records have no idx: all of them if the host is level, else none that the market never had.
void CrashRun::check_files_of_tables(bool are_level)
{
    for (const KeptTable& table : Kept_Tables()) {
        if (!std::filesystem::exists(m_directory / table.file)) {
            expect(!are_level, std::string("there is the file ") + table.file);
            continue;
        }
        std::vector<std::string> found = Rows_In_File(m_directory / table.file, m_market.body_size(table.code));
        for (const std::string& row : found) {
            expect(m_market.has_ever_had(table.code, row),
                   std::string("the file ") + table.file + " has no record that the market never had: " + row);
        }
        if (are_level) {
            std::vector<std::string> wanted;
            for (const auto& [idx, row] : m_market.rows(table.code)) {
                wanted.push_back(row);
            }
            std::sort(found.begin(), found.end());
            std::sort(wanted.begin(), wanted.end());
            expect_same(found, wanted, std::string("the file ") + table.file + " has the market's records");
        }
    }
}

} // namespace crash
