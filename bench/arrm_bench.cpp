// Hand-over of records between threads, against a bare ring (fixed slots, one mutex, one semaphore, memcpy) in the same
// run. The rounds of the two alternate, so that a busy machine slows both, and the medians are compared. Both rings
// have slots of the library's length, and no producer runs further ahead than they hold.
#include "arrm.h"
#include "global.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <semaphore.h>
#include <thread>
#include <vector>

namespace {

constexpr int ring_slots = 4096;
constexpr int record_len = 1500;
constexpr int batch = 500;       // records of one permit
constexpr int batches_ahead = 8; // 4000 records may be under way
constexpr int rounds = 75;
constexpr int batches_per_round = 80;
constexpr int round_trips = 4'000;

class BareRing
{
public:
    BareRing() : m_slots(std::make_unique<Slot[]>(ring_slots)) { sem_init(&m_posted, 0, 0); }
    ~BareRing() { sem_destroy(&m_posted); }
    BareRing(const BareRing&) = delete;
    BareRing& operator=(const BareRing&) = delete;

    void Put(int status, const char* data, int len)
    {
        {
            const std::lock_guard lock(m_lock);
            Slot& slot = m_slots[m_free];
            slot.status = status;
            slot.len = len;
            std::memcpy(slot.bytes.data(), data, static_cast<unsigned>(len));
            m_free = (m_free + 1) % ring_slots;
        }
        sem_post(&m_posted);
    }

    int Take(char* dest, int* len)
    {
        while (sem_wait(&m_posted) != 0 && errno == EINTR) {
        }
        const std::lock_guard lock(m_lock);
        const Slot& slot = m_slots[m_oldest];
        *len = slot.len;
        std::memcpy(dest, slot.bytes.data(), static_cast<unsigned>(slot.len));
        m_oldest = (m_oldest + 1) % ring_slots;
        return slot.status;
    }

private:
    struct alignas(64) Slot
    {
        int status;
        int len;
        std::array<char, MESSAGE_TRANS_RECORD_SIZE> bytes;
    };

    std::mutex m_lock;
    sem_t m_posted{};
    unsigned m_free = 0;
    unsigned m_oldest = 0;
    std::unique_ptr<Slot[]> m_slots;
};

class LibraryRing
{
public:
    void Put(int status, const char* data, int len) { m_ring.Collect(status, data, len, nullptr, nullptr); }
    int Take(char* dest, int* len)
    {
        while (m_ring.Wait_For_Any_Pkt() == 0) {
        }
        return m_ring.Withdraw(dest, len, nullptr, nullptr);
    }

private:
    CMss_Arr m_ring{ring_slots, MESSAGE_TRANS_RECORD_SIZE, CMSS_FIFO};
};

double seconds_since(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Keeps producers from running further ahead than the bare ring holds: one permit is one batch of records. Nobody
// spins, since a spinning producer would be measured and not the ring.
class Permits
{
public:
    Permits() { sem_init(&m_permits, 0, batches_ahead); }
    ~Permits() { sem_destroy(&m_permits); }
    Permits(const Permits&) = delete;
    Permits& operator=(const Permits&) = delete;

    void Use() { sem_wait(&m_permits); }
    void Give_Back() { sem_post(&m_permits); }

private:
    sem_t m_permits{};
};

template <typename Ring> void produce(Ring& ring, int batches, Permits& permits)
{
    const std::vector<char> record(record_len, 'r');
    for (int i = 0; i < batches; ++i) {
        permits.Use();
        for (int j = 0; j < batch; ++j) {
            ring.Put(22, record.data(), record_len);
        }
    }
}

// Records a second.
template <typename Ring> double hand_over(Ring& ring, int producers)
{
    Permits left;
    const int records = batches_per_round * batch;
    std::vector<std::thread> threads;
    threads.reserve(static_cast<unsigned>(producers));
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < producers; ++i) {
        threads.emplace_back([&] { produce(ring, batches_per_round / producers, left); });
    }
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> record;
    int len = 0;
    for (int taken = 1; taken <= records; ++taken) {
        benchmark::DoNotOptimize(ring.Take(record.data(), &len));
        if (taken % batch == 0) {
            left.Give_Back();
        }
    }
    const double seconds = seconds_since(start);
    for (std::thread& thread : threads) {
        thread.join();
    }
    return records / seconds;
}

// Half a round trip, in seconds.
template <typename Ring> double one_way(Ring& there, Ring& back)
{
    const std::vector<char> record(record_len, 'r');
    std::thread echo([&] {
        std::array<char, MESSAGE_TRANS_RECORD_SIZE> copy;
        int len = 0;
        for (int i = 0; i < round_trips; ++i) {
            there.Take(copy.data(), &len);
            back.Put(22, copy.data(), len);
        }
    });
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> copy;
    int len = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < round_trips; ++i) {
        there.Put(22, record.data(), record_len);
        back.Take(copy.data(), &len);
    }
    const double seconds = seconds_since(start);
    echo.join();
    return seconds / round_trips / 2;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Pair
{
    double library;
    double bare;
    double ratio; // median of the ratios of neighbouring rounds
};

template <typename Library, typename Bare> Pair alternate(Library library_round, Bare bare_round)
{
    library_round(); // touches every page
    bare_round();
    std::vector<double> library;
    std::vector<double> bare;
    std::vector<double> ratios;
    for (int i = 0; i < rounds; ++i) {
        library.push_back(library_round());
        bare.push_back(bare_round());
        ratios.push_back(library.back() / bare.back());
    }
    return {median(library), median(bare), median(ratios)};
}

void show(benchmark::State& state, const char* what, const Pair& pair, double scale, const char* bound)
{
    state.counters["library"] = pair.library * scale;
    state.counters["bare"] = pair.bare * scale;
    state.counters["ratio"] = pair.ratio;
    std::printf("ratio %s: %.3f (%s)\n", what, pair.ratio, bound);
}

void HandOverFromOneProducer(benchmark::State& state)
{
    LibraryRing library;
    BareRing bare;
    for (auto _ : state) {
        const Pair pair = alternate([&] { return hand_over(library, 1); }, [&] { return hand_over(bare, 1); });
        show(state, "records per second, 1 producer", pair, 1, "at least 0.8");
    }
}

void HandOverFromFourProducers(benchmark::State& state)
{
    LibraryRing library;
    BareRing bare;
    for (auto _ : state) {
        const Pair pair = alternate([&] { return hand_over(library, 4); }, [&] { return hand_over(bare, 4); });
        show(state, "records per second, 4 producers", pair, 1, "at least 0.8");
    }
}

void OneWayLatency(benchmark::State& state)
{
    LibraryRing library_there;
    LibraryRing library_back;
    BareRing bare_there;
    BareRing bare_back;
    for (auto _ : state) {
        const Pair pair = alternate([&] { return one_way(library_there, library_back); },
                                    [&] { return one_way(bare_there, bare_back); });
        show(state, "one-way latency (counters in ns)", pair, 1e9, "at most 1.1");
    }
}

BENCHMARK(HandOverFromOneProducer)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(HandOverFromFourProducers)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(OneWayLatency)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
