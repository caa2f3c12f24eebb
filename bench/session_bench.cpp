// A host that hears of orders of 1504 bytes from a raw socket, takes each, reads five fields by name and finishes it,
// with the running log on; against a QuickFIX session that gets messages of 380 bytes and reads five fields of each,
// with its store and log in files. Messages per second (rounds of the two alternate, medians count), processor time a
// message by thread, and the time from the socket to the callback at 1,000 messages a second.
#include "message_numbers.h"
#include "peers/quickfix_session.h"
#include "records/orders.h"
#include "support/wire_codec.h"

#include <benchmark/benchmark.h>
#include <qcapi/qcapi.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <netinet/tcp.h>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int messages_per_round = 30'000;
constexpr int rounds = 7;
constexpr int batch = 40; // messages of one write
constexpr int paced_messages = 3000;
constexpr auto pace = std::chrono::milliseconds(1);

void require(bool holds, const char* what)
{
    if (!holds) {
        std::perror(what);
        std::abort();
    }
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

class Feeder
{
public:
    Feeder() : m_listener(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        require(bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
        require(listen(m_listener, 1) == 0, "listen");
        socklen_t len = sizeof address;
        require(getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &len) == 0, "getsockname");
        m_port = ntohs(address.sin_port);
    }
    ~Feeder()
    {
        close(m_connection);
        close(m_listener);
    }
    Feeder(const Feeder&) = delete;
    Feeder& operator=(const Feeder&) = delete;

    [[nodiscard]] int Port() const { return m_port; }

    // Waits for the client and its first bytes.
    void Accept()
    {
        m_connection = accept(m_listener, nullptr, nullptr);
        require(m_connection >= 0, "accept");
        const int on = 1;
        setsockopt(m_connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        std::array<char, 4096> first{};
        require(recv(m_connection, first.data(), first.size(), 0) > 0, "recv");
    }

    void Write(std::string_view bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t sent = send(m_connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            require(sent > 0, "send");
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
    }

private:
    int m_listener;
    int m_connection = -1;
    int m_port = 0;
};

// Counts what arrives, and notes when; a round waits for it.
class Arrivals
{
public:
    void Begin(int awaited)
    {
        m_times.assign(static_cast<std::size_t>(awaited), {});
        m_awaited = awaited;
        m_count = 0;
    }
    void One()
    {
        const int number = m_count.load(std::memory_order_relaxed);
        if (number < m_awaited) {
            m_times[static_cast<std::size_t>(number)] = Clock::now();
        }
        m_count.store(number + 1, std::memory_order_release);
        if (number + 1 == m_awaited) {
            m_count.notify_all();
        }
    }
    void Wait()
    {
        for (int count = m_count; count < m_awaited; count = m_count) {
            m_count.wait(count);
        }
    }
    [[nodiscard]] const std::vector<Clock::time_point>& Times() const { return m_times; }

private:
    std::atomic<int> m_count{0};
    int m_awaited = 0;
    std::vector<Clock::time_point> m_times;
};

// Processor time of this process's threads by their names, in microseconds.
std::map<std::string, double> processor_times()
{
    std::map<std::string, double> times;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        double nanoseconds = 0;
        std::ifstream(task.path() / "comm") >> name;
        std::ifstream(task.path() / "schedstat") >> nanoseconds;
        times[name] += nanoseconds / 1e3;
    }
    return times;
}

// ---- Ours

class Host : public CQcApi
{
public:
    explicit Host(Arrivals& arrivals) : m_arrivals(arrivals) {}
    ~Host() override { Logout(); }

    void OnMessageReceived(char* message_type, unsigned int message_num) override
    {
        require(TakeMessage(message_type, message_num) == 0, "TakeMessage");
        for (char* name : {m_hour, m_market, m_price, m_value_date, m_user}) {
            require(GetField(name, m_value) != 0, "GetField");
        }
        FinishMessageProcess(message_type, message_num);
        m_arrivals.One();
    }

private:
    Arrivals& m_arrivals;
    char m_value[3000];
    char m_hour[32] = "hora_postura";
    char m_market[32] = "mercado";
    char m_price[32] = "precio";
    char m_value_date[32] = "fecha_valor";
    char m_user[32] = "usuario_postura";
};

class OrderFrames
{
public:
    OrderFrames()
    {
        CMsgOrder order;
        order[MSG_NUMBER_FIELD] = MSS_ORDEN;
        order[MERCADO] = 71;
        char* header = order[CABEZA].Get_Ptr();
        std::copy_n("AB", 2, header + 8);
        std::copy_n("20260101", 8, header + 29);
        const std::string message(order.m_data, static_cast<std::size_t>(order.m_data_len));
        m_frame = MakeFrame("DTCP", MakeEnvelope(message, {}, 60));
        m_number_at = m_frame.size() - 3 - message.size() + 3 + 14;
    }

    // The next frames, `count` of them, back to back.
    std::string Next(int count)
    {
        std::string frames;
        frames.reserve(m_frame.size() * static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            ++m_number;
            std::memcpy(m_frame.data() + m_number_at, &m_number, sizeof m_number);
            frames += m_frame;
        }
        return frames;
    }

private:
    std::string m_frame;
    std::size_t m_number_at;
    std::uint32_t m_number = 0;
};

// ---- The peer

class FixMessages
{
public:
    std::string Logon() { return Finished("35=A\00134=" + Number() + Parties() + "98=0\001108=3600\001141=Y\001"); }

    std::string Next(int count)
    {
        std::string messages;
        for (int i = 0; i < count; ++i) {
            std::string body =
                "35=D\00134=" + Number() + Parties() +
                "11=ORDER0001\00121=1\00155=EURUSD\00154=1\00160=20260101-12:00:00\00138=1000000\00140=2\001"
                "44=1.0925\00158=";
            body += std::string(380 - 26 - body.size(), 'x') + "\001";
            messages += Finished(body);
        }
        return messages;
    }

private:
    std::string Number() { return std::to_string(++m_number) + "\001"; }
    static std::string Parties()
    {
        std::array<char, 32> now{};
        const std::time_t seconds = std::time(nullptr);
        std::tm parts{};
        gmtime_r(&seconds, &parts);
        std::strftime(now.data(), now.size(), "%Y%m%d-%H:%M:%S", &parts);
        return "49=SERVER\00156=CLIENT\00152=" + std::string(now.data()) + "\001";
    }
    static std::string Finished(const std::string& body)
    {
        std::string message = "8=FIX.4.4\0019=" + std::to_string(body.size()) + "\001" + body;
        unsigned sum = 0;
        for (const char c : message) {
            sum += static_cast<unsigned char>(c);
        }
        std::array<char, 16> trailer{};
        std::snprintf(trailer.data(), trailer.size(), "10=%03u\001", sum % 256);
        return message + trailer.data();
    }

    int m_number = 0;
};

// ---- Measuring

template <class Messages> double round_of(Messages& messages, const Feeder& feeder, Arrivals& arrivals)
{
    std::vector<std::string> writes;
    for (int sent = 0; sent < messages_per_round; sent += batch) {
        writes.push_back(messages.Next(batch));
    }
    arrivals.Begin(messages_per_round);
    const auto start = Clock::now();
    for (const std::string& bytes : writes) {
        feeder.Write(bytes);
    }
    arrivals.Wait();
    return messages_per_round / std::chrono::duration<double>(Clock::now() - start).count();
}

template <class Messages>
void print_latency(const char* who, Messages& messages, const Feeder& feeder, Arrivals& arrivals)
{
    arrivals.Begin(paced_messages);
    std::vector<Clock::time_point> sent;
    auto due = Clock::now();
    for (int i = 0; i < paced_messages; ++i, due += pace) {
        const std::string bytes = messages.Next(1);
        std::this_thread::sleep_until(due);
        sent.push_back(Clock::now());
        feeder.Write(bytes);
    }
    arrivals.Wait();
    std::vector<double> microseconds;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        microseconds.push_back(std::chrono::duration<double, std::micro>(arrivals.Times()[i] - sent[i]).count());
    }
    std::sort(microseconds.begin(), microseconds.end());
    std::printf("%s, socket to callback at 1,000 a second: median %.1f us, p99 %.1f us\n", who,
                microseconds[microseconds.size() / 2], microseconds[microseconds.size() * 99 / 100]);
}

void print_processor_times(const char* who, const std::map<std::string, double>& before)
{
    std::printf("%s, processor time a message:", who);
    double total = 0;
    for (const auto& [name, time] : processor_times()) {
        const auto old = before.find(name);
        const double spent = (time - (old != before.end() ? old->second : 0)) / messages_per_round;
        if (spent >= 0.01) {
            std::printf(" %s %.2f us", name.c_str(), spent);
            total += spent;
        }
    }
    std::printf(", all %.2f us (the first of them feeds)\n", total);
}

void BM_Session(benchmark::State& state)
{
    std::array<char, 64> directory{"/tmp/qapi_session_bench-XXXXXX"};
    require(mkdtemp(directory.data()) != nullptr, "mkdtemp");
    const auto old_directory = std::filesystem::current_path();
    std::filesystem::current_path(directory.data());

    Feeder to_host;
    std::ofstream("qapi.cfg") << "ds_ip_address = 127.0.0.1\nds_tcp_port = " << to_host.Port()
                              << "\nsend_mode = 1\ndata_server = DSAB\nlocal_code = L001\nuser_code = U001\n"
                                 "branch_code = BRANCH01\ntransaction_feed = 1\n";
    Arrivals host_arrivals;
    Host host(host_arrivals);
    char user[] = "user";
    char password[] = "secret";
    require(host.Login(user, password) == 0, "Login");
    to_host.Accept();
    OrderFrames orders;

    Feeder to_peer;
    Arrivals peer_arrivals;
    const QuickfixSession peer(directory.data(), to_peer.Port(), [&] { peer_arrivals.One(); });
    to_peer.Accept();
    FixMessages messages;
    to_peer.Write(messages.Logon());

    for ([[maybe_unused]] auto _ : state) {
        std::vector<double> ours;
        std::vector<double> theirs;
        for (int round = 0; round < rounds; ++round) {
            auto before = processor_times();
            theirs.push_back(round_of(messages, to_peer, peer_arrivals));
            if (round + 1 == rounds) {
                print_processor_times("QuickFIX", before);
            }
            before = processor_times();
            ours.push_back(round_of(orders, to_host, host_arrivals));
            if (round + 1 == rounds) {
                print_processor_times("host", before);
            }
        }
        std::printf(
            "ratio orders of 1504 bytes to messages of 380 bytes of the peer = %.2f (%.0f and %.0f a second; 0.5)\n",
            median(ours) / median(theirs), median(ours), median(theirs));
        print_latency("QuickFIX", messages, to_peer, peer_arrivals);
        print_latency("host", orders, to_host, host_arrivals);
    }
    host.Logout();
    std::filesystem::current_path(old_directory);
    std::filesystem::remove_all(directory.data());
}
BENCHMARK(BM_Session)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
