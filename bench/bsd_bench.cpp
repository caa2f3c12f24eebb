// BSD Compress over a stream of record-like packets of 1500 bytes with the dictionary kept from packet to packet.
// Peers on the same packets: for compression zlib, level 1, one stream with a flush after each packet (Z_SYNC_FLUSH);
// for decompression the `compress` filter of libarchive, which reads them as one stream in the form .Z that its own
// writer made. That has codes of up to 16 bits, ours of up to 12, so it has fewer codes to look up and a larger
// dictionary to look in. The LZ coder has a figure of its own and no peer: nothing sends what it makes.
#include "compress/bsd.h"
#include "compress/lzcoder.h"
#include "ratio.h"
#include "record_like.h"

#include <archive.h>
#include <archive_entry.h>
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

using record_like::Packet;

constexpr std::size_t packet_size = 1500;
constexpr std::size_t packet_count = 500;
constexpr std::size_t plain_size = packet_count * packet_size;

const std::vector<Packet> packets = record_like::packets(packet_count, packet_size);

void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "%s failed\n", what);
        std::exit(1);
    }
}

struct Free_State
{
    void operator()(void* state) const { bsd_free(state); }
};
using State = std::unique_ptr<void, Free_State>;

State compressor()
{
    State state(bsd_comp_alloc());
    bsd_comp_init(state.get(), 0, 0, 0);
    return state;
}

State decompressor()
{
    State state(bsd_decomp_alloc());
    bsd_decomp_init(state.get(), 0, 0, 0);
    return state;
}

std::size_t bsd_compress_all()
{
    static std::array<unsigned char, BSD_BUFFER_SIZE> out;
    const State state = compressor();
    std::size_t total = 0;
    for (const Packet& packet : packets) {
        total += static_cast<std::size_t>(bsd_compress(state.get(), packet.data(), out.data(), packet_size));
    }
    return total;
}

std::vector<Packet> bsd_compressed()
{
    std::vector<Packet> result;
    const State state = compressor();
    for (const Packet& packet : packets) {
        Packet& out = result.emplace_back(2 * packet_size);
        out.resize(static_cast<std::size_t>(bsd_compress(state.get(), packet.data(), out.data(), packet_size)));
    }
    return result;
}

std::size_t bsd_decompress_all()
{
    static const std::vector<Packet> compressed = bsd_compressed();
    static std::array<unsigned char, BSD_BUFFER_SIZE> out;
    const State state = decompressor();
    std::size_t total = 0;
    for (const Packet& packet : compressed) {
        const int len = bsd_decompress(state.get(), packet.data(), static_cast<int>(packet.size()), out.data());
        total += static_cast<std::size_t>(len - BSD_OVERHEAD);
    }
    require(total == plain_size, "bsd_decompress");
    return total;
}

std::size_t zlib_compress_all()
{
    static std::array<unsigned char, 2 * packet_size> out;
    z_stream stream{};
    require(deflateInit(&stream, 1) == Z_OK, "deflateInit");
    for (const Packet& packet : packets) {
        stream.next_in = const_cast<unsigned char*>(packet.data()); // zlib only reads it
        stream.avail_in = packet_size;
        stream.next_out = out.data();
        stream.avail_out = out.size();
        require(deflate(&stream, Z_SYNC_FLUSH) == Z_OK && stream.avail_in == 0, "deflate");
    }
    const std::size_t total = stream.total_out;
    deflateEnd(&stream);
    return total;
}

struct Free_Archive
{
    void operator()(archive* archive) const { archive_free(archive); }
};
using Archive = std::unique_ptr<archive, Free_Archive>;

Packet archived()
{
    Packet file(2 * plain_size);
    std::size_t used = 0;
    const Archive writer(archive_write_new());
    archive_write_add_filter_compress(writer.get());
    archive_write_set_format_raw(writer.get());
    require(archive_write_open_memory(writer.get(), file.data(), file.size(), &used) == ARCHIVE_OK, "archive open");
    archive_entry* entry = archive_entry_new();
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_write_header(writer.get(), entry);
    for (const Packet& packet : packets) {
        archive_write_data(writer.get(), packet.data(), packet.size());
    }
    archive_entry_free(entry);
    require(archive_write_close(writer.get()) == ARCHIVE_OK, "archive close");
    file.resize(used);
    return file;
}

std::size_t archive_decompress_all()
{
    static const Packet file = archived();
    static std::array<unsigned char, packet_size> out;
    const Archive reader(archive_read_new());
    archive_read_support_filter_compress(reader.get());
    archive_read_support_format_raw(reader.get());
    require(archive_read_open_memory(reader.get(), file.data(), file.size()) == ARCHIVE_OK, "archive read");
    archive_entry* entry = nullptr;
    require(archive_read_next_header(reader.get(), &entry) == ARCHIVE_OK, "archive header");
    std::size_t total = 0;
    for (la_ssize_t got = 1; got > 0; total += static_cast<std::size_t>(got)) {
        got = archive_read_data(reader.get(), out.data(), out.size());
        require(got >= 0, "archive data");
    }
    require(total == plain_size, "archive");
    return total;
}

std::size_t lz_compress_all()
{
    static std::array<unsigned char, packet_size + qapi::LZ_EXTRA> out;
    std::size_t total = 0;
    for (const Packet& packet : packets) {
        total += Compression(packet.data(), out.data(), packet_size);
    }
    return total;
}

using Work = std::size_t (*)();

void run(benchmark::State& state, Work work)
{
    std::size_t result = 0;
    for ([[maybe_unused]] auto turn : state) {
        result = work();
        benchmark::DoNotOptimize(result);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(plain_size));
    state.counters["output"] = static_cast<double>(result);
}

BENCHMARK_CAPTURE(run, bsd_compress, bsd_compress_all);
BENCHMARK_CAPTURE(run, zlib_level_1_sync_flush, zlib_compress_all);
BENCHMARK_CAPTURE(run, bsd_decompress, bsd_decompress_all);
BENCHMARK_CAPTURE(run, libarchive_compress_filter, archive_decompress_all);
BENCHMARK_CAPTURE(run, lz_compression, lz_compress_all);

void print_packets_ratio(const char* what, Work peer, Work ours)
{
    print_ratio(
        {.what = what, .bound = "wanted: 1.5", .bytes = plain_size}, [peer] { benchmark::DoNotOptimize(peer()); },
        [ours] { benchmark::DoNotOptimize(ours()); });
}

} // namespace

int main(int argument_count, char** arguments)
{
    benchmark::Initialize(&argument_count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    print_packets_ratio("bsd compress: zlib / bsd_compress", zlib_compress_all, bsd_compress_all);
    print_packets_ratio("bsd decompress: libarchive / bsd_decompress", archive_decompress_all, bsd_decompress_all);
    return 0;
}
