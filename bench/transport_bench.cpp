// The connection's two threads over a real loopback socket, against bare sockets in the same run: records in, records
// out, and there and back. Rounds of the two alternate and their medians are compared.
#include "arrm.h"
#include "compress/rle.h"
#include "record_like.h"
#include "transport/dcon.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int record_len = 1500; // envelope and message
constexpr int batch = 40;        // records of one write
constexpr int batches_per_round = 500;
constexpr int records_per_round = batch * batches_per_round;
constexpr int rounds = 11;
constexpr int small_record_len = 200;
constexpr int round_trips = 4000;

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

double seconds_since(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class Socket
{
public:
    explicit Socket(int descriptor) : m_descriptor(descriptor) { require(descriptor >= 0, "socket"); }
    ~Socket() { close(m_descriptor); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    [[nodiscard]] int Get() const { return m_descriptor; }

    void Write(const std::string& bytes) const
    {
        for (std::size_t at = 0; at < bytes.size();) {
            const ssize_t sent = send(m_descriptor, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL);
            require(sent > 0, "send");
            at += static_cast<std::size_t>(sent);
        }
    }

    [[nodiscard]] std::size_t Read(char* target, std::size_t room) const
    {
        const ssize_t got = recv(m_descriptor, target, room, 0);
        require(got > 0, "recv");
        return static_cast<std::size_t>(got);
    }

    void Read_Exactly(char* target, std::size_t count) const
    {
        for (std::size_t at = 0; at < count;) {
            at += Read(target + at, count - at);
        }
    }

private:
    int m_descriptor;
};

void send_at_once(int descriptor)
{
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

class Market
{
public:
    Market() : m_listener(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        require(bind(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
        require(listen(m_listener.Get(), 4) == 0, "listen");
        socklen_t len = sizeof address;
        getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), &len);
        m_port = ntohs(address.sin_port);
    }

    [[nodiscard]] std::uint16_t Port() const { return m_port; }

    [[nodiscard]] int Accept() const
    {
        const int descriptor = accept(m_listener.Get(), nullptr, nullptr);
        send_at_once(descriptor);
        return descriptor;
    }

    [[nodiscard]] int Dial() const
    {
        const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(m_port);
        require(connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "connect");
        send_at_once(descriptor);
        return descriptor;
    }

private:
    Socket m_listener;
    std::uint16_t m_port = 0;
};

// An envelope without addressees around a message of kind 111. `filled` bytes of it are record-like text, the rest is
// zero, as fields that nobody filled.
std::string payload(int len, int filled)
{
    const std::vector<record_like::Packet> packets = record_like::packets(1, static_cast<std::size_t>(filled));
    std::string bytes(static_cast<std::size_t>(len), '\0');
    bytes[0] = 1;
    bytes[2] = static_cast<char>(len & 255);
    bytes[3] = static_cast<char>(len >> 8);
    bytes[4] = 100;
    const int data_len = len - 16;
    bytes[14] = static_cast<char>(data_len & 255);
    bytes[15] = static_cast<char>(data_len >> 8);
    std::copy(packets[0].begin(), packets[0].end(), bytes.begin() + 16);
    std::memcpy(bytes.data() + 16, "111", 3);
    return bytes;
}

std::string frame(const char* mark, const std::string& content)
{
    std::string bytes(mark);
    bytes += static_cast<char>(content.size() & 255);
    bytes += static_cast<char>(content.size() >> 8);
    return bytes + content;
}

std::string zero_words_left_out(const std::string& plain)
{
    alignas(8) std::array<unsigned char, RLE_MAX_LEN + 8> in{};
    alignas(8) std::array<unsigned char, RLE_MAX_BLOCK + 8> out{};
    std::memcpy(in.data(), plain.data(), plain.size());
    const auto len = RLE_Compression(in.data(), out.data(), static_cast<unsigned short>(plain.size()));
    return {out.begin(), out.begin() + len};
}

std::string batch_of(const std::string& one)
{
    std::string all;
    for (int i = 0; i < batch; ++i) {
        all += one;
    }
    return all;
}

// The two threads of a connection to a market, with the process's rings.
class Connection
{
public:
    Connection(const Market& market, int mode)
    {
        Glb_Recv_Mss->Initialize();
        Glb_Send_Mss->Initialize();
        m_descr.fhost[0] = htonl(INADDR_LOOPBACK);
        m_descr.tcp_port[0] = market.Port();
        m_descr.modesend = mode;
        m_descr.pRecv_Mss = &*Glb_Recv_Mss;
        m_descr.pSend_Mss = &*Glb_Send_Mss;
        m_sender = std::thread([this] { DCON_Do_Send(&m_descr); });
        m_driver = std::thread([this] { DCON_Init(&m_descr); });
        m_peer = market.Accept();
        Take(); // opened
        std::array<char, 6 + 207 + 40> check{};
        Read_Clock_Check(check);
    }
    ~Connection()
    {
        DCON_Request(m_descr, DCON_NEXT_STATE_TERMINATE);
        shutdown(m_peer, SHUT_WR);
        m_driver.join();
        m_sender.join();
        close(m_peer);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] int Peer() const { return m_peer; }
    pthread_t Driver() { return m_driver.native_handle(); }
    pthread_t Sender() { return m_sender.native_handle(); }

    // The next record of the inbound ring.
    int Take()
    {
        int status = -1;
        while (status < 0) {
            status = Glb_Recv_Mss->Wait_For_Any_Pkt() != 0
                         ? Glb_Recv_Mss->Withdraw(m_record.data(), &m_len, nullptr, nullptr)
                         : -1;
        }
        return status;
    }
    [[nodiscard]] const char* Record() const { return m_record.data(); }
    [[nodiscard]] int Record_Len() const { return m_len; }

private:
    // Every connection begins with a clock check.
    void Read_Clock_Check(std::array<char, 6 + 207 + 40>& room) const
    {
        require(recv(m_peer, room.data(), 6, MSG_WAITALL) == 6, "recv");
        const auto low = static_cast<unsigned char>(room[4]);
        const auto high = static_cast<unsigned char>(room[5]);
        const std::size_t len = low + high * 256U;
        require(recv(m_peer, room.data(), len, MSG_WAITALL) == static_cast<ssize_t>(len), "recv");
    }

    DCON_DESCR m_descr;
    std::thread m_sender;
    std::thread m_driver;
    int m_peer = -1;
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> m_record{};
    int m_len = 0;
};

void report(const char* what, const std::vector<double>& ours, const std::vector<double>& bare, double operations,
            const char* bound)
{
    const double our_time = median(ours);
    const double bare_time = median(bare);
    std::printf("ratio %s = %.2f (%.0f a second, %.0f a second; %s)\n", what, bare_time / our_time,
                operations / bare_time, operations / our_time, bound);
}

// ---- Records in

double write_batches_while(int descriptor, const std::string& bytes, const std::function<void()>& taking)
{
    const auto start = Clock::now();
    std::thread writer([descriptor, &bytes] {
        for (int i = 0; i < batches_per_round; ++i) {
            for (std::size_t at = 0; at < bytes.size();) {
                const ssize_t sent = send(descriptor, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL);
                require(sent > 0, "send");
                at += static_cast<std::size_t>(sent);
            }
        }
    });
    taking();
    const double seconds = seconds_since(start);
    writer.join();
    return seconds;
}

void records_in(const char* what, int mode, const std::string& one_frame)
{
    const std::string bytes = batch_of(one_frame);
    Market market;
    Connection connection(market, mode);
    const Socket near(market.Dial());
    const Socket far(market.Accept());
    std::vector<double> ours;
    std::vector<double> bare;
    std::vector<char> chunk(60000);
    for (int round = 0; round < rounds; ++round) {
        bare.push_back(write_batches_while(far.Get(), bytes, [&] {
            for (std::size_t left = bytes.size() * batches_per_round; left > 0;) {
                left -= near.Read(chunk.data(), std::min(left, chunk.size()));
            }
        }));
        ours.push_back(write_batches_while(connection.Peer(), bytes, [&] {
            for (int taken = 0; taken < records_per_round; ++taken) {
                require(connection.Take() == TCP_STATUS_PACKET_RECEIVED, "record");
            }
        }));
    }
    report(what, ours, bare, records_per_round, "wanted: 0.30 or 800,000 a second");
}

void RecordsIn(benchmark::State& state)
{
    const std::string plain = payload(record_len, record_len - 16);
    const std::string sparse = payload(record_len, 600);
    for (auto unused : state) {
        static_cast<void>(unused);
        records_in("records in, mode 1: chunks of 60000 bytes read bare / driver to inbound ring", 1,
                   frame("DTCP", plain));
        records_in("records in, mode 2: the same", 2, frame("DTRC", zero_words_left_out(sparse)));
    }
}

// ---- Records out

double drain_while(int descriptor, std::size_t count, const std::function<void()>& sending)
{
    const auto start = Clock::now();
    std::thread drain([descriptor, count] {
        std::vector<char> chunk(256 * 1024);
        for (std::size_t left = count; left > 0;) {
            const ssize_t got = recv(descriptor, chunk.data(), std::min(left, chunk.size()), 0);
            require(got > 0, "recv");
            left -= static_cast<std::size_t>(got);
        }
    });
    sending();
    drain.join();
    return seconds_since(start);
}

// The bare loop sends the record as it is, in every mode: what travels in mode 2 is shorter, and costs a compression.
void records_out(const char* what, int mode, const std::string& record, const std::string& on_wire)
{
    Market market;
    Connection connection(market, mode);
    const Socket near(market.Dial());
    const Socket far(market.Accept());
    const std::size_t count = on_wire.size() * records_per_round;
    std::vector<double> ours;
    std::vector<double> bare;
    for (int round = 0; round < rounds; ++round) {
        bare.push_back(drain_while(far.Get(), record.size() * records_per_round, [&] {
            for (int i = 0; i < records_per_round; ++i) {
                near.Write(record);
            }
        }));
        ours.push_back(drain_while(connection.Peer(), count, [&] {
            for (int i = 0; i < records_per_round; ++i) {
                Glb_Send_Mss->Collect(0, record.data(), static_cast<int>(record.size()), nullptr, nullptr);
            }
        }));
    }
    report(what, ours, bare, records_per_round, "wanted: 1.00");
}

void RecordsOut(benchmark::State& state)
{
    const std::string plain = payload(record_len, record_len - 16);
    const std::string sparse = payload(record_len, 600);
    for (auto unused : state) {
        static_cast<void>(unused);
        records_out("records out, mode 1: one send a record bare / outbound ring to socket", 1, plain,
                    frame("DTCP", plain));
        records_out("records out, mode 2: the same", 2, sparse, frame("DTRC", zero_words_left_out(sparse)));
    }
}

// ---- There and back

void stay_on(pthread_t thread, int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<unsigned>(processor), &set);
    pthread_setaffinity_np(thread, sizeof set, &set);
}

cpu_set_t allowed_processors()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    pthread_getaffinity_np(pthread_self(), sizeof set, &set);
    return set;
}

// Median microseconds of a round trip from the calling thread over `descriptor`.
double round_trip(int descriptor, const std::string& bytes)
{
    std::vector<double> times;
    std::vector<char> back(bytes.size());
    for (int i = 0; i < round_trips; ++i) {
        const auto start = Clock::now();
        require(send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size()),
                "send");
        require(recv(descriptor, back.data(), back.size(), MSG_WAITALL) == static_cast<ssize_t>(back.size()), "recv");
        times.push_back(seconds_since(start) * 1e6);
    }
    return median(times);
}

double bare_round_trip(const Market& market, const std::string& bytes, int far_processor)
{
    const Socket near(market.Dial());
    const Socket far(market.Accept());
    std::thread echo([&far, &bytes, far_processor] {
        stay_on(pthread_self(), far_processor);
        std::vector<char> buffer(bytes.size());
        for (int i = 0; i < round_trips; ++i) {
            far.Read_Exactly(buffer.data(), buffer.size());
            far.Write({buffer.data(), buffer.size()});
        }
    });
    const double time = round_trip(near.Get(), bytes);
    echo.join();
    return time;
}

// What the library's threads would cost without the library: one waits for the socket and reads, one passes on, one
// writes, joined by bare semaphores.
double bare_chain_round_trip(const Market& market, const std::string& bytes, int far_processor)
{
    const Socket near(market.Dial());
    const Socket far(market.Accept());
    std::array<sem_t, 2> posted{};
    for (sem_t& semaphore : posted) {
        sem_init(&semaphore, 0, 0);
    }
    const auto run = [far_processor](const std::function<void()>& step) {
        return std::thread([far_processor, step] {
            stay_on(pthread_self(), far_processor);
            for (int i = 0; i < round_trips; ++i) {
                step();
            }
        });
    };
    std::vector<char> buffer(bytes.size());
    std::thread driver = run([&] {
        pollfd readable{.fd = far.Get(), .events = POLLIN, .revents = 0};
        poll(&readable, 1, 2000);
        far.Read_Exactly(buffer.data(), buffer.size());
        sem_post(&posted[0]);
    });
    std::thread reader = run([&] {
        sem_wait(&posted[0]);
        sem_post(&posted[1]);
    });
    std::thread sender = run([&] {
        sem_wait(&posted[1]);
        far.Write(bytes);
    });
    const double time = round_trip(near.Get(), bytes);
    for (std::thread* thread : {&driver, &reader, &sender}) {
        thread->join();
    }
    return time;
}

double our_round_trip(const Market& market, const std::string& record, int far_processor)
{
    Connection connection(market, 1);
    stay_on(connection.Driver(), far_processor);
    stay_on(connection.Sender(), far_processor);
    std::thread reader([&connection, &record, far_processor] {
        stay_on(pthread_self(), far_processor);
        for (int i = 0; i < round_trips; ++i) {
            require(connection.Take() == TCP_STATUS_PACKET_RECEIVED, "record");
            Glb_Send_Mss->Collect(0, record.data(), static_cast<int>(record.size()), nullptr, nullptr);
        }
    });
    const double time = round_trip(connection.Peer(), frame("DTCP", record));
    reader.join();
    return time;
}

void there_and_back(const char* what, int near_processor, int far_processor)
{
    const std::string record = payload(small_record_len, small_record_len - 16);
    const std::string bytes = frame("DTCP", record);
    const cpu_set_t before = allowed_processors();
    Market market;
    stay_on(pthread_self(), near_processor);
    std::vector<double> ours;
    std::vector<double> bare;
    std::vector<double> chain;
    for (int round = 0; round < 7; ++round) {
        bare.push_back(bare_round_trip(market, bytes, far_processor));
        chain.push_back(bare_chain_round_trip(market, bytes, far_processor));
        ours.push_back(our_round_trip(market, record, far_processor));
    }
    pthread_setaffinity_np(pthread_self(), sizeof before, &before);
    std::printf("ratio %s = %.2f (%.1f us, %.1f us; wanted: at most 2)\n", what, median(ours) / median(bare),
                median(ours), median(bare));
    std::printf("ratio the same / three bare threads and two semaphores = %.2f (%.1f us, %.1f us)\n",
                median(ours) / median(chain), median(ours), median(chain));
}

void ThereAndBackOnTwoCores(benchmark::State& state)
{
    for (auto unused : state) {
        static_cast<void>(unused);
        there_and_back("there and back, ends on two cores: driver, both rings and a reader / bare", 0, 1);
    }
}

void ThereAndBackOnOneCore(benchmark::State& state)
{
    for (auto unused : state) {
        static_cast<void>(unused);
        there_and_back("there and back, both ends on one core: the same", 0, 0);
    }
}

// ---- Nothing to do

double processor_seconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

void IdleConnection(benchmark::State& state)
{
    for (auto unused : state) {
        static_cast<void>(unused);
        Market market;
        Connection connection(market, 2);
        const double before = processor_seconds();
        std::this_thread::sleep_for(std::chrono::seconds(5));
        const double share = (processor_seconds() - before) / 5 * 100;
        std::printf("ratio an idle connection, processor time / time = %.4f %% (wanted: below 0.5 %%)\n", share);
    }
}

BENCHMARK(RecordsIn)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(RecordsOut)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ThereAndBackOnTwoCores)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ThereAndBackOnOneCore)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(IdleConnection)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
