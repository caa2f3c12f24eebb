// What remembering a message costs: is it known, it is given to the host, it is finished. The peer is a bare pwrite of
// 28 bytes, a hundred bytes apart, into the same directory, in turn with it.
#include "little_endian.h"
#include "qcapi/config.h"
#include "qcapi/log.h"
#include "ratio.h"
#include "reader/processed_log.h"
#include "record_io.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr int messages_in_a_round = 1000;
constexpr std::uint32_t messages_of_a_day = 200'000;

class Directory
{
public:
    Directory()
    {
        std::string pattern = (fs::temp_directory_path() / "qapi-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            std::abort();
        }
        m_path = pattern;
        glb_dss_counter = 0;
        COMMON_Set_Code_Data_Servers_List(1, "DSAB");
        LOG_Init("", m_path.c_str());
        LOG_Msg_Init();
        m_peer = open((m_path / "peer").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    }
    ~Directory()
    {
        close(m_peer);
        LOG_End();
        fs::remove_all(m_path);
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    void Write_By_Peer(std::uint32_t number)
    {
        if (pwrite(m_peer, m_record.data(), m_record.size(), std::int64_t{number} * 100) != 28) {
            std::abort();
        }
    }
    void Sync_Peer() const { fdatasync(m_peer); }

private:
    fs::path m_path;
    int m_peer = -1;
    std::array<char, 28> m_record{};
};

class Messages
{
public:
    void Handle(std::uint32_t number)
    {
        store_le(m_header.data() + 14, number);
        if (LOG_Is_Processed_Record(m_header.data(), m_envelope.data()) != 0) {
            std::abort(); // the figure would be of something else
        }
        LOG_Register_Record(m_header.data());
        LOG_Update_Last_Proc_Message(m_header.data(), 1);
    }
    void Next_Day() { ++m_header[29 + 7]; }

private:
    std::string m_header = std::string(8, '\0') + "AB" + std::string(19, '\0') + "20260101" + std::string(43, '\0');
    std::array<char, 20> m_envelope{};
};

void compare(const Comparison& comparison, Directory& directory, Messages& messages, bool sync)
{
    std::uint32_t peer_number = 0;
    std::uint32_t number = 0;
    print_ratio(
        comparison,
        [&] {
            directory.Write_By_Peer(++peer_number);
            if (sync) {
                directory.Sync_Peer();
            }
        },
        [&] { messages.Handle(++number); });
}

// Each message is the first with its number, as in a directory that is new.
void BM_NewNumbers(benchmark::State& state)
{
    Directory directory;
    Messages messages;
    for ([[maybe_unused]] auto _ : state) {
        compare({.what = "a message with a new number: pwrite of 28 bytes / known, given and finished",
                 .bound = "ours at most 2500 ns",
                 .calls = messages_in_a_round},
                directory, messages, false);
    }
}

// The file has yesterday's record of each number.
void BM_NumbersOfYesterday(benchmark::State& state)
{
    Directory directory;
    Messages messages;
    for (std::uint32_t number = 1; number <= messages_of_a_day; ++number) {
        messages.Handle(number);
        directory.Write_By_Peer(number);
    }
    messages.Next_Day();
    for ([[maybe_unused]] auto _ : state) {
        compare({.what = "a message with a number of yesterday: pwrite of 28 bytes / known, given and finished",
                 .bound = "ours at most 2500 ns",
                 .calls = messages_in_a_round},
                directory, messages, false);
    }
}

void BM_SyncFiles(benchmark::State& state)
{
    Directory directory;
    Messages messages;
    Glb_sync_files = 1;
    for ([[maybe_unused]] auto _ : state) {
        compare({.what = "a message with sync_files: pwrite and fdatasync / known, given and finished",
                 .bound = "no bound: the disk's time",
                 .calls = 10,
                 .rounds = 15},
                directory, messages, true);
    }
    Glb_sync_files = 0;
}

BENCHMARK(BM_NewNumbers)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NumbersOfYesterday)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SyncFiles)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
