// What the running log costs: a caller for each record, and the log thread for each record on the disk. The peers run
// in turn with what they are compared with: a snprintf and a bare times() for the caller, fwrite and fflush of the same
// bytes into the same directory for the log thread.
#include "arrm.h"
#include "global.h"
#include "qcapi/log.h"
#include "qcapi/support.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <sys/times.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int calls_in_a_batch = 64; // the ring grows to hold one batch, and stays in the cache as in a session
constexpr int batches = 1000;
constexpr int drained_records = 20'000;
constexpr int drain_rounds = 9;
constexpr int drained_record = 1600;

class LogDirectory
{
public:
    LogDirectory()
    {
        std::string pattern = (fs::temp_directory_path() / "qapi-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            std::abort();
        }
        m_path = pattern;
        Reopen();
    }
    ~LogDirectory()
    {
        LOG_End();
        fs::remove_all(m_path);
    }
    LogDirectory(const LogDirectory&) = delete;
    LogDirectory& operator=(const LogDirectory&) = delete;

    void Reopen() const
    {
        LOG_End();
        fs::remove(m_path / "qapi.log");
        LOG_Init("qapi.log", m_path.c_str());
    }
    [[nodiscard]] std::string Path(const char* name) const { return m_path / name; }

private:
    fs::path m_path;
};

double nanoseconds(Clock::duration span)
{
    return std::chrono::duration<double, std::nano>(span).count();
}

double percentile(std::vector<double>& values, double part)
{
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

void sample(std::vector<double>& spans, const std::function<void(int)>& call)
{
    for (int i = 0; i < calls_in_a_batch; ++i) {
        const Clock::time_point begin = Clock::now();
        call(i);
        spans.push_back(nanoseconds(Clock::now() - begin));
    }
}

// What reading the clock around a call adds to its span.
double timer_cost()
{
    std::vector<double> spans;
    for (int batch = 0; batch < batches; ++batch) {
        sample(spans, [](int) {});
    }
    return percentile(spans, 0.5);
}

void compare_callers(benchmark::State& state, const char* name, const std::function<void(int)>& call)
{
    const LogDirectory directory;
    std::vector<double> spans;
    std::vector<double> peer_spans;
    std::array<char, 512> text{};
    const auto peer = [&text](int i) {
        tms unused;
        benchmark::DoNotOptimize(times(&unused));
        std::snprintf(text.data(), text.size(), "Message %d of %s", i, "table CITY");
        benchmark::ClobberMemory();
    };
    for ([[maybe_unused]] auto _ : state) {
        for (int batch = 0; batch < batches; ++batch) {
            sample(spans, call);
            LOG_Write_Pending();
            sample(peer_spans, peer);
        }
    }
    const double timer = timer_cost();
    const double median = percentile(spans, 0.5) - timer;
    const double p99 = percentile(spans, 0.99) - timer;
    const double peer_median = percentile(peer_spans, 0.5) - timer;
    const double peer_p99 = percentile(peer_spans, 0.99) - timer;
    state.counters["median_ns"] = median;
    state.counters["p99_ns"] = p99;
    state.counters["peer_median_ns"] = peer_median;
    state.counters["peer_p99_ns"] = peer_p99;
    std::printf("ratio %s / (snprintf + times): median %.2f, p99 %.2f\n", name, median / peer_median, p99 / peer_p99);
}

void BM_LogText(benchmark::State& state)
{
    compare_callers(state, "LOG_Text", [](int i) { LOG_Text("-Message %d of %s", i, "table CITY"); });
}

void BM_LogPutMsg1500(benchmark::State& state)
{
    const std::string packet(1500, 'p');
    const std::array<char, CMSS_EXTRA_LEN> extra{};
    compare_callers(state, "LOG_Put_Msg", [&](int) {
        LOG_Put_Msg("RM-Message Received", packet.data(), static_cast<int>(packet.size()), "D", 0, extra.data());
    });
}

// The records go into the ring past LOG_Put_Msg, which would write them itself while no log thread runs.
double seconds_to_drain()
{
    const std::string record(drained_record, 'p');
    for (int i = 0; i < drained_records; ++i) {
        Glb_Log_Mss->Collect(TCP_STATUS_LOG_SENT_PACKET, record.data(), drained_record, "D", nullptr);
    }
    Glb_Log_Mss->Collect(TCP_SHUTTING_DOWN, nullptr, 0, nullptr, nullptr);
    const Clock::time_point begin = Clock::now();
    LOG_Process(nullptr);
    return nanoseconds(Clock::now() - begin) / 1e9;
}

double seconds_to_fwrite(const std::string& path, const std::string& bytes)
{
    constexpr std::size_t record = drained_record;
    std::FILE* file = std::fopen(path.c_str(), "a+b");
    const Clock::time_point begin = Clock::now();
    for (std::size_t at = 0; at < bytes.size(); at += record) {
        std::fwrite(bytes.data() + at, 1, record, file);
        std::fflush(file);
    }
    const double seconds = nanoseconds(Clock::now() - begin) / 1e9;
    std::fclose(file);
    fs::remove(path);
    return seconds;
}

std::string bytes_of(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void BM_LogThreadDrains(benchmark::State& state)
{
    const LogDirectory directory;
    std::vector<double> drains;
    std::vector<double> peers;
    std::vector<double> ratios;
    for ([[maybe_unused]] auto _ : state) {
        seconds_to_drain(); // the ring grows here
        for (int round = 0; round < drain_rounds; ++round) {
            directory.Reopen();
            drains.push_back(seconds_to_drain());
            const std::string drained = bytes_of(directory.Path("qapi.log"));
            if (drained.size() != std::size_t{drained_records} * drained_record) {
                std::abort(); // the figure would be of something else
            }
            peers.push_back(seconds_to_fwrite(directory.Path("peer"), drained));
            ratios.push_back(peers.back() / drains.back());
        }
    }
    state.counters["records_per_s"] = drained_records / percentile(drains, 0.5);
    state.counters["peer_records_per_s"] = drained_records / percentile(peers, 0.5);
    std::printf("ratio log thread / (fwrite + fflush), records per second: median of rounds %.2f, worst %.2f\n",
                percentile(ratios, 0.5), percentile(ratios, 0.0));
}

BENCHMARK(BM_LogText)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LogPutMsg1500)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LogThreadDrains)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
