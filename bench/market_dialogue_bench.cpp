// The dialogue by hashes for 100,000 branches beside the transfer of the whole table. Messages are carried by hand
// between the library and the market's classes, in envelopes and without sockets: the time is what both sides work, the
// files of the replica included; the bytes are those of plain frames.
#include "ratio.h"
#include "session/table_dialogue.h"
#include "wire/envelope.h"

#include "arrm.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/session.h"
#include "qcapi/support.h"
#include "reader/views.h"
#include "records/reference.h"
#include "tblproc/global_tables.h"
#include "tblproc/table_messages.h"
#include "tblproc/tblproc.h"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr unsigned records = 100'000;
constexpr unsigned changed = records / 100;
constexpr std::size_t rounds = 3; // each fills a market with all branches again
constexpr std::uint32_t environment = 0x4F430000;
constexpr std::size_t frame_len = 6;
constexpr std::size_t envelope_len = 19; // without addressees

std::string branch(unsigned number, unsigned version)
{
    std::string body(1, 'B');
    body += std::to_string(number);
    body.resize(8);
    body += "Branch of the bank in the street of the number ";
    body += std::to_string(version);
    body.resize(312, ' ');
    return body;
}

// What a session from the range to the end of the last table took.
struct Took
{
    double seconds = 0;
    std::uint64_t bytes_up = 0; // from the client
    std::uint64_t bytes_down = 0;
    std::uint64_t sent = 0; // records
};

class BothSides
{
public:
    BothSides()
    {
        std::string pattern = (fs::temp_directory_path() / "qapi-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            std::abort();
        }
        m_directory = pattern;
        fs::current_path(m_directory);
        Set_Report_Host_Sink([](int, char*) {});
        TBLPROC_Init_Tables();
        COMMON_Global_Codes_Clean();
        COMMON_Global_Codes_Add(BRANCHES_CODE_ID, BRANCHES_TABLE_CODE);
        Open_Session(1, nullptr);
        Fill();
    }
    ~BothSides()
    {
        Close_Session();
        Kill();
        fs::current_path(fs::temp_directory_path());
        fs::remove_all(m_directory);
    }
    BothSides(const BothSides&) = delete;
    BothSides& operator=(const BothSides&) = delete;

    // ---- States

    void Fill()
    {
        *m_branches = New_Table();
        for (unsigned number = 0; number < records; ++number) {
            m_branches->Insert(branch(number, 0));
        }
    }
    void Change_One_Percent()
    {
        ++m_version;
        for (unsigned idx = 1; idx <= records; idx += records / changed) {
            m_branches->Update(idx, branch(idx - 1, m_version));
        }
    }
    void Empty_Market() { *m_branches = New_Table(); }

    // The process is gone; what it has in its files is there when the next one has loaded them.
    static void Kill()
    {
        Forget_Table_Files();
        Global_Table(TableId::Glb_Branches_Table).delete_all_records();
    }
    static void Kill_And_Load()
    {
        Kill();
        TBLPROC_Load_Persistent_Files(1, 0xFFFFFFFF);
    }
    void Lose_All()
    {
        Kill();
        fs::remove(m_directory / "qapi.branches");
        TBLPROC_Load_Persistent_Files(1, 0xFFFFFFFF);
    }

    // ---- A session

    Took Talk()
    {
        m_dialogue = std::make_unique<qm::TableDialogue>();
        Took took;
        const auto start = Clock::now();
        Receive("888g" + std::string(18, '\0') + std::string(8, '\0') + "CO");
        std::deque<std::string> requests;
        for (Take_Requests(requests, took); !requests.empty(); requests.pop_front()) {
            for (const std::string& answer : m_dialogue->On_Request(requests.front(), m_tables).messages) {
                took.bytes_down += answer.size() + envelope_len + frame_len;
                took.sent += answer[3] == 'I' ? 1 : 0;
                Receive(answer);
                Take_Requests(requests, took);
            }
        }
        took.seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (Glb_Branches_Table->Get_Crc32() != m_branches->Hash()) {
            std::abort(); // the figure would be of something else
        }
        return took;
    }

private:
    static qm::Table New_Table() { return {BRANCHES_TABLE_CODE, "CGTBranches", environment}; }

    static void Receive(const std::string& bytes)
    {
        The_Receive_Buffer->Take(bytes);
        TBLPROC_Process_Global_Table_Msg("D");
    }
    void Take_Requests(std::deque<std::string>& requests, Took& took)
    {
        int len = 0;
        while (Glb_Send_Mss->Is_Any_Pkt() != 0 &&
               Glb_Send_Mss->Withdraw(m_record.data(), &len, nullptr, nullptr) != -1) {
            const std::string_view payload(m_record.data(), static_cast<std::size_t>(len));
            took.bytes_up += payload.size() + frame_len;
            if (const auto envelope = qm::Take_Envelope(payload); envelope && envelope->message.starts_with("888")) {
                requests.emplace_back(envelope->message);
            }
        }
    }

    fs::path m_directory;
    qm::Tables m_tables;
    qm::Table* m_branches = &m_tables.Add(BRANCHES_TABLE_CODE, "CGTBranches", environment);
    std::unique_ptr<qm::TableDialogue> m_dialogue;
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> m_record{};
    unsigned m_version = 0;
};

// `prepare` makes the state that the dialogue finds. The whole table is sent into an empty replica right behind it.
void compare(BothSides& sides, const char* what, const std::function<void()>& prepare)
{
    std::vector<double> whole_seconds;
    std::vector<double> seconds;
    Took whole;
    Took took;
    for (std::size_t round = 0; round < rounds; ++round) {
        prepare();
        took = sides.Talk();
        seconds.push_back(took.seconds);
        sides.Fill();
        sides.Lose_All();
        whole = sides.Talk();
        whole_seconds.push_back(whole.seconds);
    }
    const double whole_median = median(whole_seconds);
    const double our_median = median(seconds);
    std::printf("ratio the dialogue for 100,000 branches, %s: the whole table / by hash = %.2f (%.3f s, %.3f s)\n",
                what, whole_median / our_median, whole_median, our_median);
    std::printf(
        "    whole table: %llu records, %llu bytes down, %llu up; by hash: %llu records, %llu bytes down, %llu up\n",
        static_cast<unsigned long long>(whole.sent), static_cast<unsigned long long>(whole.bytes_down),
        static_cast<unsigned long long>(whole.bytes_up), static_cast<unsigned long long>(took.sent),
        static_cast<unsigned long long>(took.bytes_down), static_cast<unsigned long long>(took.bytes_up));
}

void BM_Dialogue(benchmark::State& state)
{
    BothSides sides;
    sides.Lose_All();
    sides.Talk();
    for ([[maybe_unused]] auto _ : state) {
        compare(sides, "1 % differ", [&] { sides.Change_One_Percent(); });
        compare(sides, "all equal", [] {});
        compare(sides, "all renumbered behind a restart", [] { BothSides::Kill_And_Load(); });
        compare(sides, "all dropped", [&] { sides.Empty_Market(); });
    }
}

void BM_TableHash(benchmark::State& state)
{
    BothSides sides;
    sides.Lose_All();
    sides.Talk();
    const std::string triples(std::size_t{records} * 12, 't');
    for ([[maybe_unused]] auto _ : state) {
        print_ratio(
            {.what = "hash of a table of 100,000 records: one CRC over 1.2 MB in a row / Get_Crc32",
             .bound = "ours at most 50 ns a record, which is 5 ms",
             .operations = records,
             .rounds = 31},
            [&] { benchmark::DoNotOptimize(COMMON_Get_Crc32(triples.data(), static_cast<int>(triples.size()), 0)); },
            [&] { benchmark::DoNotOptimize(Glb_Branches_Table->Get_Crc32()); });
    }
}

BENCHMARK(BM_TableHash)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Dialogue)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
