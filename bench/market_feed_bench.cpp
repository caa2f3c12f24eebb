// How fast the market feeds one client: orders of 1504 bytes from prebuilt frames over a real connection to a reader
// that only reads, beside a bare loop of send() of the same bytes to the same reader in the same run.
#include "market.h"

#include "session/header.h"
#include "wire/envelope.h"
#include "wire/frames.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <netinet/in.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::uint64_t orders_in_a_round = 200'000; // as in the command of Feed
constexpr std::size_t bytes_of_a_frame = 1504 + 19 + 6;

constexpr const char* scenario = R"({
  "server": "DSAB", "data_servers": ["DSAB"], "data_managers": ["DM01"], "environment": "CO", "send_mode": "plain",
  "users": [{"name": "maria", "password": "secret", "code": "U001", "branch": "NORTBOG1"}],
  "markets": [{"number": 71, "orders_table": 71, "currency": "USD"}]})";

double seconds_of(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

int connected_to(std::uint16_t port)
{
    const int end = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (connect(end, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::abort();
    }
    return end;
}

void read_bytes(int end, std::uint64_t count)
{
    static thread_local std::vector<char> buffer(1 << 20);
    while (count > 0) {
        const ssize_t got = recv(end, buffer.data(), std::min<std::uint64_t>(buffer.size(), count), 0);
        if (got <= 0) {
            std::abort();
        }
        count -= static_cast<std::uint64_t>(got);
    }
}

void send_login(int end, const std::string& machine)
{
    std::string message = qm::Empty_Message(201, 518);
    qm::Stamp_Sender(message, {.machine = machine, .user = "U001", .branch = ""});
    message.replace(83, 4, machine);
    message.replace(88, 5, "maria");
    message.replace(132, 6, "secret");
    std::string envelope;
    std::string frame;
    qm::FrameEncoder encoder(qm::SendMode::plain);
    qm::Append_Envelope(envelope, message, 60, machine);
    encoder.Append(frame, envelope);
    if (send(end, frame.data(), frame.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(frame.size())) {
        std::abort();
    }
}

// Reply and range, each in a frame.
constexpr std::size_t bytes_behind_a_login = 518 + 19 + 6 + 32 + 19 + 6;

class RunningMarket
{
public:
    RunningMarket()
    {
        m_thread = std::thread([this] { m_loop.Run(); });
    }
    ~RunningMarket()
    {
        m_loop.Stop();
        m_thread.join();
    }
    RunningMarket(const RunningMarket&) = delete;
    RunningMarket& operator=(const RunningMarket&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_market.port(); }
    void command(const std::string& line)
    {
        m_loop.Post([this, line] { m_market.Do(line); });
    }
    double cpu_seconds()
    {
        clockid_t clock{};
        pthread_getcpuclockid(m_thread.native_handle(), &clock);
        return seconds_of(clock);
    }

private:
    qm::Clock m_clock;
    qm::EventLoop m_loop{m_clock};
    qm::Journal m_journal{m_clock};
    qm::Market m_market{m_loop, qm::Parse_Scenario(scenario, "bench"), {}, m_journal};
    std::thread m_thread;
};

double bare_round()
{
    int ends[2] = {-1, -1};
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        std::abort();
    }
    ends[0] = connected_to(ntohs(address.sin_port));
    ends[1] = accept(listener, nullptr, nullptr);
    close(listener);
    const std::string batch(256 * bytes_of_a_frame, 'x');
    const double begin = seconds_of(CLOCK_MONOTONIC);
    std::thread sender([&] {
        for (std::uint64_t left = orders_in_a_round * bytes_of_a_frame; left > 0;) {
            const ssize_t sent = send(ends[1], batch.data(), std::min<std::uint64_t>(batch.size(), left), MSG_NOSIGNAL);
            if (sent <= 0) {
                std::abort();
            }
            left -= static_cast<std::uint64_t>(sent);
        }
    });
    read_bytes(ends[0], orders_in_a_round * bytes_of_a_frame);
    const double seconds = seconds_of(CLOCK_MONOTONIC) - begin;
    sender.join();
    close(ends[0]);
    close(ends[1]);
    return seconds;
}

void Feed(benchmark::State& state)
{
    RunningMarket market;
    const int end = connected_to(market.port());
    send_login(end, "L001");
    read_bytes(end, bytes_behind_a_login);
    double ours = 0;
    double bare = 0;
    double cpu = 0;
    std::uint64_t orders = 0;
    for ([[maybe_unused]] auto round : state) {
        const double cpu_before = market.cpu_seconds();
        const double begin = seconds_of(CLOCK_MONOTONIC);
        market.command("flood L001 71 200000");
        read_bytes(end, orders_in_a_round * bytes_of_a_frame);
        ours += seconds_of(CLOCK_MONOTONIC) - begin;
        cpu += market.cpu_seconds() - cpu_before;
        bare += bare_round();
        orders += orders_in_a_round;
    }
    close(end);
    state.counters["orders_per_s"] = static_cast<double>(orders) / ours;
    state.counters["orders_per_s_of_cpu"] = static_cast<double>(orders) / cpu;
    state.counters["bare_per_s"] = static_cast<double>(orders) / bare;
    state.counters["ratio"] = bare / ours;
}
BENCHMARK(Feed)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

// What the market's thread uses while fifty clients are connected and nothing happens.
void Idle(benchmark::State& state)
{
    RunningMarket market;
    std::vector<int> ends;
    for (int i = 0; i < 50; ++i) {
        ends.push_back(connected_to(market.port()));
        std::array<char, 5> machine{};
        std::snprintf(machine.data(), machine.size(), "M%03d", i);
        send_login(ends.back(), machine.data());
        read_bytes(ends.back(), bytes_behind_a_login);
    }
    double cpu = 0;
    double wall = 0;
    for ([[maybe_unused]] auto round : state) {
        const double cpu_before = market.cpu_seconds();
        const double begin = seconds_of(CLOCK_MONOTONIC);
        std::this_thread::sleep_for(std::chrono::seconds(3));
        cpu += market.cpu_seconds() - cpu_before;
        wall += seconds_of(CLOCK_MONOTONIC) - begin;
    }
    for (const int end : ends) {
        close(end);
    }
    state.counters["percent_of_a_core"] = 100 * cpu / wall;
}
BENCHMARK(Idle)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

} // namespace
