// Zero-word suppression of 2048-byte blocks beside memcpy of a block. A sparse block has 15 words in 100 that
// are not zero, in clumps of one to six words with zero words between them, as records have that fill a few of their
// fields; a dense one has no zero word. memcpy is what the transport pays for a block in plain form.
#include "compress/rle.h"
#include "ratio.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

namespace {

struct alignas(64) Block
{
    std::array<unsigned char, RLE_MAX_BLOCK> bytes{};
};

using Blocks = std::vector<Block>;

// So many that the processor does not learn where their words are.
constexpr std::size_t block_count = 64;

Block sparse_block(std::mt19937& random)
{
    Block block;
    for (std::size_t word = 0; word < RLE_MAX_LEN / 8;) {
        const std::size_t clump = std::min<std::size_t>(1 + random() % 6, RLE_MAX_LEN / 8 - word);
        std::generate_n(block.bytes.begin() + static_cast<std::ptrdiff_t>(word * 8), clump * 8,
                        [&] { return static_cast<unsigned char>('0' + random() % 10); });
        word += clump + 10 + random() % 20;
    }
    return block;
}

Blocks sparse_blocks()
{
    std::mt19937 random(5);
    Blocks blocks(block_count);
    std::generate(blocks.begin(), blocks.end(), [&random] { return sparse_block(random); });
    return blocks;
}

Blocks dense_blocks()
{
    Block block;
    block.bytes.fill('7');
    return Blocks(block_count, block);
}

Blocks compressed(const Blocks& plain)
{
    Blocks blocks(plain.size());
    for (std::size_t i = 0; i < plain.size(); ++i) {
        RLE_Compression(plain[i].bytes.data(), blocks[i].bytes.data(), RLE_MAX_LEN);
    }
    return blocks;
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

void run_all(Work work, const Blocks& blocks, Block& out)
{
    for (const Block& block : blocks) {
        work(block, out);
        benchmark::DoNotOptimize(out.bytes.data());
        benchmark::ClobberMemory();
    }
}

constexpr double plain_bytes = static_cast<double>(block_count) * RLE_MAX_LEN;

void run(benchmark::State& state, Work work, const Blocks& blocks)
{
    Block out;
    for ([[maybe_unused]] auto turn : state) {
        run_all(work, blocks, out);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(plain_bytes));
}

const Blocks sparse = sparse_blocks();
const Blocks dense = dense_blocks();
const Blocks sparse_compressed = compressed(sparse);
const Blocks dense_compressed = compressed(dense);

BENCHMARK_CAPTURE(run, compress_sparse, compress, sparse);
BENCHMARK_CAPTURE(run, decompress_sparse, decompress, sparse_compressed);
BENCHMARK_CAPTURE(run, compress_dense, compress, dense);
BENCHMARK_CAPTURE(run, decompress_dense, decompress, dense_compressed);
BENCHMARK_CAPTURE(run, memcpy, copy, sparse);

void print_block_ratio(const char* what, const char* bound, Work work, const Blocks& blocks)
{
    Block out;
    print_ratio(
        {.what = what, .bound = bound, .bytes = plain_bytes, .calls = 40}, [&out] { run_all(copy, sparse, out); },
        [&] { run_all(work, blocks, out); });
}

} // namespace

int main(int argument_count, char** arguments)
{
    benchmark::Initialize(&argument_count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    print_block_ratio("rle compress, sparse: memcpy / RLE_Compression", "wanted: 4000 MB/s", compress, sparse);
    print_block_ratio("rle decompress, sparse: memcpy / RLE_Decompression", "wanted: 4000 MB/s", decompress,
                      sparse_compressed);
    print_block_ratio("rle compress, dense: memcpy / RLE_Compression", "to know", compress, dense);
    print_block_ratio("rle decompress, dense: memcpy / RLE_Decompression", "to know", decompress, dense_compressed);
    return 0;
}
