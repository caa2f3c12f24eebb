// Zero-word suppression of one 2048-byte block beside memcpy of the same block. A sparse block has 15 words in 100 that
// are not zero, in clumps of one to six words with zero words between them, as records have that fill a few of their
// fields; a dense one has no zero word. memcpy is what the transport pays for a block in plain form.
#include "rle.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>

namespace {

struct alignas(64) Block
{
    std::array<unsigned char, RLE_MAX_BLOCK> bytes{};
};

Block sparse_block()
{
    Block block;
    std::mt19937 random(5);
    for (std::size_t word = 0; word < RLE_MAX_LEN / 8;) {
        const std::size_t clump = std::min<std::size_t>(1 + random() % 6, RLE_MAX_LEN / 8 - word);
        std::generate_n(block.bytes.begin() + static_cast<std::ptrdiff_t>(word * 8), clump * 8,
                        [&] { return static_cast<unsigned char>('0' + random() % 10); });
        word += clump + 10 + random() % 20;
    }
    return block;
}

Block dense_block()
{
    Block block;
    block.bytes.fill('7');
    return block;
}

Block compressed(const Block& plain)
{
    Block block;
    RLE_Compression(plain.bytes.data(), block.bytes.data(), RLE_MAX_LEN);
    return block;
}

using Work = void (*)(const Block& in, Block& out);

void compress(const Block& in, Block& out)
{
    benchmark::DoNotOptimize(RLE_Compression(in.bytes.data(), out.bytes.data(), RLE_MAX_LEN));
}

void decompress(const Block& in, Block& out)
{
    benchmark::DoNotOptimize(RLE_Decompression(in.bytes.data(), out.bytes.data(), 0));
}

void copy(const Block& in, Block& out)
{
    std::memcpy(out.bytes.data(), in.bytes.data(), RLE_MAX_LEN);
}

void repeat(Work work, const Block& in, Block& out)
{
    work(in, out);
    benchmark::DoNotOptimize(out.bytes.data());
    benchmark::ClobberMemory();
}

void run(benchmark::State& state, Work work, const Block& in)
{
    Block out;
    for ([[maybe_unused]] auto turn : state) {
        repeat(work, in, out);
    }
    state.SetBytesProcessed(state.iterations() * RLE_MAX_LEN);
}

const Block sparse = sparse_block();
const Block dense = dense_block();
const Block sparse_compressed = compressed(sparse);
const Block dense_compressed = compressed(dense);

BENCHMARK_CAPTURE(run, compress_sparse, compress, sparse);
BENCHMARK_CAPTURE(run, decompress_sparse, decompress, sparse_compressed);
BENCHMARK_CAPTURE(run, compress_dense, compress, dense);
BENCHMARK_CAPTURE(run, decompress_dense, decompress, dense_compressed);
BENCHMARK_CAPTURE(run, memcpy, copy, sparse);

// Nanoseconds of one call.
double time_of(Work work, const Block& in, Block& out)
{
    constexpr int calls = 2000;
    const auto start = std::chrono::steady_clock::now();
    for (int call = 0; call < calls; ++call) {
        repeat(work, in, out);
    }
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / calls;
}

void print_ratio(const char* what, Work work, const Block& in)
{
    Block out;
    double best = 1e9;
    double best_copy = 1e9;
    for (int round = 0; round < 100; ++round) {
        best = std::min(best, time_of(work, in, out));
        best_copy = std::min(best_copy, time_of(copy, sparse, out));
    }
    std::printf("ratio %s: memcpy / ours = %.2f (%.1f and %.1f GB/s)\n", what, best_copy / best,
                RLE_MAX_LEN / best_copy, RLE_MAX_LEN / best);
}

} // namespace

int main(int argument_count, char** arguments)
{
    benchmark::Initialize(&argument_count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    print_ratio("rle compress sparse block", compress, sparse);
    print_ratio("rle decompress sparse block", decompress, sparse_compressed);
    print_ratio("rle compress dense block", compress, dense);
    print_ratio("rle decompress dense block", decompress, dense_compressed);
    return 0;
}
