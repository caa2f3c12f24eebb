// A day's log in place of the connection. Replay: a host that takes each message, reads five fields by name and
// finishes it, with the replay's own log and number files written as in any session. Translation: the log written out
// with its bodies in the clear. The peers, in turn with them: fread of the log, and a plain copy, fread of the log and
// fwrite of as many bytes as the translation has. All read a file that stands in the cache and write to the cache.
//
// The log is as the library writes it, and half of the orders are compressed, as in logs of old programs. Its size in
// megabytes may stand on the command line, ahead of the options of the benchmarks:
//
//   replay_bench 1024
#include "compress/rle.h"
#include "global.h"
#include "ratio.h"
#include "support/log_records.h"
#include "support/market_records.h"

#include <benchmark/benchmark.h>
#include <qcapi/qcapi.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::size_t megabyte = 1'000'000;
constexpr std::size_t piece = 256 * 1024;
constexpr int rounds = 5;

std::size_t log_size = 32 * megabyte;

void require(bool holds, const char* what)
{
    if (!holds) {
        std::perror(what);
        std::abort();
    }
}

double seconds_since(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// ---- The log

class DayLog
{
public:
    // Writes the log and leaves it in the cache.
    explicit DayLog(const fs::path& path)
    {
        std::ofstream file(path, std::ios::binary);
        Append(LogRecord::Text("ROD-Status changed to opened connection", Stamp()));
        while (m_size < log_size) {
            Append_Next();
            if (m_waiting.size() > piece) {
                file << m_waiting;
                m_waiting.clear();
            }
        }
        Append(LogRecord::Text("RCD-Status changed to closed connection", Stamp()));
        file << m_waiting;
        require(file.flush().good(), "write");
    }

    [[nodiscard]] std::size_t Size() const { return m_size; }
    [[nodiscard]] unsigned Messages() const { return m_number; }
    [[nodiscard]] unsigned Records() const { return m_records; }

private:
    // Of twenty records, one is a line, one was sent, one is a chat, and seventeen are orders.
    void Append_Next()
    {
        switch (m_records % 20) {
        case 0:
            Append(LogRecord::Text("ER-Table Posturas_Vigentes has 1234 records, its hash is 89ABCDEF", Stamp()));
            break;
        case 7:
            Append(LogRecord::Message(market::Make(market::Order{}), "SM-Message Sent", Stamp()));
            break;
        case 4:
            Append_Received(market::Make(market::Chat{.chat = {.text = "The close was 4012.25, against 4009.00"}}));
            break;
        default:
            Append_Received(market::Make(market::Order{.number = m_records % 4 == 1 ? 121 : 111,
                                                       .code = std::to_string(100000 + m_records % 1000)}));
            break;
        }
    }

    // A packet is as long as a record of the ring at most, and the log keeps a little less of it.
    void Append_Received(std::string packet)
    {
        packet.resize(std::min<std::size_t>(packet.size(), MESSAGE_TRANS_RECORD_SIZE));
        packet.replace(17, 4, LogRecord::Number(++m_number));
        const std::size_t whole = packet.size();
        packet.resize(std::min<std::size_t>(whole, 3179));
        LogRecord record = LogRecord::Message(packet, "RM-Message Received", Stamp());
        record.data_length = whole;
        if (m_records % 2 != 0 && record.body.size() <= RLE_MAX_LEN) {
            Compress(record);
        }
        Append(record);
    }

    static void Compress(LogRecord& record)
    {
        alignas(8) std::array<unsigned char, RLE_MAX_LEN> plain{};
        alignas(8) std::array<unsigned char, RLE_MAX_BLOCK> block{};
        std::copy(record.body.begin(), record.body.end(), plain.begin());
        const unsigned length =
            RLE_Compression(plain.data(), block.data(), static_cast<unsigned short>(record.body.size()));
        record.body.assign(block.begin(), block.begin() + length);
    }

    void Append(const LogRecord& record)
    {
        const std::string bytes = record.bytes();
        m_waiting += bytes;
        m_size += bytes.size();
        ++m_records;
    }

    // A second has a hundred records, and the day no more than one hour.
    [[nodiscard]] std::string Stamp() const
    {
        const unsigned second = m_records / 100 % 3600;
        std::array<char, 32> stamp{};
        std::snprintf(stamp.data(), stamp.size(), "2026112010%02u%02u", second / 60, second % 60);
        return stamp.data();
    }

    std::string m_waiting;
    std::size_t m_size = 0;
    unsigned m_records = 0;
    unsigned m_number = 0;
};

// ---- Peers

struct CloseFile
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Returns the bytes read.
template <class Use> std::size_t read_pieces(const fs::path& path, Use use)
{
    static std::vector<char> buffer(piece);
    const File file(std::fopen(path.c_str(), "rb"));
    require(file != nullptr, "fopen");
    std::size_t total = 0;
    for (std::size_t count = 1; count != 0; total += count) {
        count = std::fread(buffer.data(), 1, buffer.size(), file.get());
        use(std::span(buffer).first(count));
    }
    return total;
}

double seconds_to_read(const fs::path& path)
{
    const auto begin = Clock::now();
    read_pieces(path, [](std::span<char> bytes) { benchmark::DoNotOptimize(bytes.data()); });
    return seconds_since(begin);
}

// Copies the log, with more bytes behind it until `size` are written.
double seconds_to_copy(const fs::path& from, std::size_t size)
{
    const fs::path to = from.parent_path() / "copy";
    const auto begin = Clock::now();
    {
        const File file(std::fopen(to.c_str(), "wb"));
        require(file != nullptr, "fopen");
        const auto write = [&](std::span<char> bytes) {
            const std::size_t count = std::min(size, bytes.size());
            require(std::fwrite(bytes.data(), 1, count, file.get()) == count, "fwrite");
            size -= count;
        };
        read_pieces(from, write);
        for (std::vector<char> more(piece); size != 0;) {
            write(more);
        }
    }
    const double seconds = seconds_since(begin);
    fs::remove(to);
    return seconds;
}

// ---- Ours

// Processor time of this process's threads by their names, in microseconds. The thread that feeds has ended when the
// last record is acted on: its part is what the process has spent beyond the others.
constexpr const char* ended_threads = "feeding";

std::map<std::string, double> processor_times()
{
    std::map<std::string, double> times;
    timespec spent{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &spent);
    double rest = static_cast<double>(spent.tv_sec) * 1e6 + static_cast<double>(spent.tv_nsec) / 1e3;
    for (const auto& task : fs::directory_iterator("/proc/self/task")) {
        std::string name;
        double nanoseconds = 0;
        std::ifstream(task.path() / "comm") >> name;
        std::ifstream(task.path() / "schedstat") >> nanoseconds;
        times[name] += nanoseconds / 1e3;
        rest -= nanoseconds / 1e3;
    }
    times[ended_threads] = rest;
    return times;
}

class Host : public CQcApi
{
public:
    ~Host() override { Logout(); }

    void OnMessageReceived(char* message_type, unsigned int message_num) override
    {
        require(TakeMessage(message_type, message_num) == 0, "TakeMessage");
        const bool is_chat = std::string_view(message_type) == "Chat";
        for (const std::string& name : is_chat ? chat_fields : order_fields) {
            require(GetField(const_cast<char*>(name.c_str()), m_value.data()) != 0, name.c_str());
        }
        FinishMessageProcess(message_type, message_num);
        ++messages;
    }

    // A translation opens and closes the connection too: it stands between the two.
    void OnStatusChanged(int status_code, char* /*status_text*/) override
    {
        if (status_code == TCP_STATUS_OPEN_CONNECTION) {
            opened = Clock::now();
        } else if (status_code == TCP_STATUS_CLOSED_CONNECTION) {
            seconds = seconds_since(opened);
            times = processor_times();
            is_closed = true;
            is_closed.notify_all();
        }
    }

    unsigned messages = 0;
    Clock::time_point opened;
    double seconds = 0;
    std::map<std::string, double> times;
    std::atomic<bool> is_closed = false;

private:
    const std::array<std::string, 5> order_fields{"hora_postura", "mercado", "precio", "fecha_valor",
                                                  "usuario_postura"};
    const std::array<std::string, 5> chat_fields{"texto", "emisor", "id", "hora_mensaje", "origen"};
    std::array<char, 4200> m_value{};
};

// A directory of its own for each session, whose number files know no message.
class SessionDirectory
{
public:
    SessionDirectory(const fs::path& log, const std::string& more_settings) : m_path(log.parent_path() / "session")
    {
        fs::create_directory(m_path);
        fs::current_path(m_path);
        std::ofstream("qapi.cfg") << "data_server = DSAB\nlocal_code = L001\ntransaction_feed = 1\ntesting_file = "
                                  << log.string() << "\n"
                                  << more_settings;
    }
    ~SessionDirectory()
    {
        fs::current_path(m_before);
        fs::remove_all(m_path);
    }
    SessionDirectory(const SessionDirectory&) = delete;
    SessionDirectory& operator=(const SessionDirectory&) = delete;

private:
    fs::path m_before = fs::current_path();
    fs::path m_path;
};

void log_in(Host& host)
{
    char user[] = "user";
    char password[] = "secret";
    require(host.Login(user, password) == 0, "Login");
    host.is_closed.wait(false);
}

struct ReplayRound
{
    double seconds = 0;
    std::map<std::string, double> processor_times; // microseconds, by thread
};

ReplayRound replay(const fs::path& log, unsigned messages)
{
    const SessionDirectory directory(log, "");
    Host host;
    const auto before = processor_times();
    log_in(host);
    require(host.messages == messages, "all messages");
    for (const auto& [name, time] : before) {
        host.times[name] -= time;
    }
    return {host.seconds, host.times};
}

struct TranslationRound
{
    double seconds = 0;
    std::size_t size = 0;
};

TranslationRound translate(const fs::path& log)
{
    const SessionDirectory directory(log, "testing_output_file = translated.log\n");
    Host host;
    log_in(host);
    return {host.seconds, fs::file_size("translated.log")};
}

// ---- Measuring

class LogDirectory
{
public:
    LogDirectory()
    {
        std::string pattern = (fs::temp_directory_path() / "qapi-bench-XXXXXX").string();
        require(mkdtemp(pattern.data()) != nullptr, "mkdtemp");
        m_path = pattern;
    }
    ~LogDirectory() { fs::remove_all(m_path); }
    LogDirectory(const LogDirectory&) = delete;
    LogDirectory& operator=(const LogDirectory&) = delete;

    [[nodiscard]] fs::path log() const { return m_path / "day.log"; }

private:
    fs::path m_path;
};

void print_processor_times(const ReplayRound& round, unsigned messages)
{
    std::printf("replay, processor time a message:");
    double total = 0;
    for (const auto& [name, time] : round.processor_times) {
        if (const double spent = time / messages; spent >= 0.01) {
            std::printf(" %s %.2f us", name.c_str(), spent);
            total += spent;
        }
    }
    std::printf(", all %.2f us\n", total);
}

void print(const char* what, double bytes, double peer_seconds, double our_seconds, const char* bound)
{
    std::printf("ratio %s = %.2f (%.0f MB/s, %.0f MB/s; %s)\n", what, peer_seconds / our_seconds,
                bytes / peer_seconds / 1e6, bytes / our_seconds / 1e6, bound);
}

void BM_Replay(benchmark::State& state)
{
    const LogDirectory directory;
    const DayLog log(directory.log());
    std::vector<double> reads;
    std::vector<double> replays;
    for ([[maybe_unused]] auto _ : state) {
        for (int number = 0; number < rounds; ++number) {
            reads.push_back(seconds_to_read(directory.log()));
            const ReplayRound round = replay(directory.log(), log.Messages());
            replays.push_back(round.seconds);
            if (number + 1 == rounds) {
                print_processor_times(round, log.Messages());
            }
        }
    }
    const double seconds = median(replays);
    std::printf("replay of %u messages of %u records: %.0f messages a second\n", log.Messages(), log.Records(),
                log.Messages() / seconds);
    print("log replayed: fread / replay", static_cast<double>(log.Size()), median(reads), seconds, "no bound");
}

void BM_Translation(benchmark::State& state)
{
    const LogDirectory directory;
    const DayLog log(directory.log());
    std::vector<double> copies;
    std::vector<double> translations;
    for ([[maybe_unused]] auto _ : state) {
        for (int number = 0; number < rounds; ++number) {
            const TranslationRound round = translate(directory.log());
            translations.push_back(round.seconds);
            copies.push_back(seconds_to_copy(directory.log(), round.size));
        }
    }
    print("log translated: plain copy / translation", static_cast<double>(log.Size()), median(copies),
          median(translations), "wanted: 300 MB/s or the copy's speed");
}

BENCHMARK(BM_Replay)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Translation)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argument_count, char** arguments)
{
    benchmark::Initialize(&argument_count, arguments);
    if (argument_count > 1) {
        log_size = std::strtoul(arguments[1], nullptr, 10) * megabyte;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
