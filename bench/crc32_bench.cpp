// COMMON_Get_Crc32 beside the loop of one table look-up a byte, over a packet and over a short record, and beside
// zlib's crc32 over a packet. After the figures comes one line for each pair: how many times the peer's time ours goes
// into.
#include "qcapi/support.h"
#include "ratio.h"

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

std::array<std::uint32_t, 256> make_table()
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320U : 0U);
        }
        table[byte] = value;
    }
    return table;
}

const std::array<std::uint32_t, 256> table = make_table();

unsigned byte_loop(const char* bytes, int count, unsigned start)
{
    std::uint32_t crc = start != 0 ? start : 0xFFFFFFFF;
    for (int position = 0; position < count; ++position) {
        crc = table[(crc ^ static_cast<unsigned char>(bytes[position])) & 255] ^ (crc >> 8);
    }
    return crc;
}

unsigned zlib_crc32(const char* bytes, int count, unsigned start)
{
    return static_cast<unsigned>(crc32(start, reinterpret_cast<const Bytef*>(bytes), static_cast<uInt>(count)));
}

using Checksum = unsigned (*)(const char*, int, unsigned);

std::vector<char> buffer_of(int count)
{
    std::vector<char> bytes(static_cast<std::size_t>(count));
    std::uint32_t value = 1;
    for (char& byte : bytes) {
        value = value * 1664525 + 1013904223;
        byte = static_cast<char>(value >> 24);
    }
    return bytes;
}

void run(benchmark::State& state, Checksum checksum)
{
    const int count = static_cast<int>(state.range(0));
    const std::vector<char> bytes = buffer_of(count);
    for ([[maybe_unused]] auto turn : state) {
        benchmark::DoNotOptimize(checksum(bytes.data(), count, 0));
    }
    state.SetBytesProcessed(state.iterations() * count);
}

BENCHMARK_CAPTURE(run, COMMON_Get_Crc32, COMMON_Get_Crc32)->Arg(1500)->Arg(64);
BENCHMARK_CAPTURE(run, byte_loop, byte_loop)->Arg(1500)->Arg(64);
BENCHMARK_CAPTURE(run, zlib, zlib_crc32)->Arg(1500);

void print_checksum_ratio(const char* what, const char* bound, Checksum peer, int count)
{
    const std::vector<char> bytes = buffer_of(count);
    const auto work = [&bytes, count](Checksum checksum) {
        return [&bytes, count, checksum] { benchmark::DoNotOptimize(checksum(bytes.data(), count, 0)); };
    };
    print_ratio({.what = what, .bound = bound, .bytes = static_cast<double>(count), .calls = 2000}, work(peer),
                work(COMMON_Get_Crc32));
}

} // namespace

int main(int argument_count, char** arguments)
{
    benchmark::Initialize(&argument_count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    print_checksum_ratio("crc32 1500 bytes: byte loop / COMMON_Get_Crc32", "to know", byte_loop, 1500);
    print_checksum_ratio("crc32 64 bytes: byte loop / COMMON_Get_Crc32", "to know", byte_loop, 64);
    print_checksum_ratio("crc32 1500 bytes: zlib / COMMON_Get_Crc32", "wanted: 0.5", zlib_crc32, 1500);
    return 0;
}
