// Taking frames out of the inbound buffer: what a frame costs must not depend on how many of them one read brings.
#include "arrm.h"
#include "global.h"
#include "ratio.h"
#include "support/stream_pair.h"
#include "support/wsock_access.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

namespace {

constexpr int few = 100;
constexpr int many = 10'000; // fill the buffer

class Connection
{
public:
    Connection() : m_ring(6, MESSAGE_TRANS_RECORD_SIZE, CMSS_FIFO)
    {
        m_socket.Set_Ring(&m_ring);
        m_socket.Set_Identity("D", 1);
        WSocket_Test_Access::Adopt(m_socket, m_stream.Release_Near());
    }

    void Take(const std::string& frames)
    {
        if (m_stream.Write(frames) != frames.size()) {
            std::abort();
        }
        m_socket.Control(0); // no time-out is due
    }

private:
    CMss_Arr m_ring;
    WSocket m_socket;
    StreamPair m_stream;
};

std::string alive_signals(int count)
{
    std::string frames;
    for (int i = 0; i < count; ++i) {
        frames += std::string("DTCP\0\0", 6);
    }
    return frames;
}

void TakeAliveSignals(benchmark::State& state)
{
    Connection connection;
    const std::string frames = alive_signals(static_cast<int>(state.range(0)));
    for (auto unused : state) {
        static_cast<void>(unused);
        connection.Take(frames);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(TakeAliveSignals)->Arg(few)->Arg(many);

} // namespace

int main(int argument_count, char** arguments)
{
    benchmark::Initialize(&argument_count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    Connection connection;
    const std::string small_reads = alive_signals(few);
    const std::string one_read = alive_signals(many);
    print_ratio(
        {.what = "10,000 alive signals: 100 reads of 100 / one read of 10,000",
         .bound = "about 1 or above: a frame costs the same however many a read brings",
         .operations = many},
        [&] {
            for (int read = 0; read < many / few; ++read) {
                connection.Take(small_reads);
            }
        },
        [&] { connection.Take(one_read); });
    return 0;
}
