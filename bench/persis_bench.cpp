// Record files beside the system calls that they can't do without: two positioned writes of the bytes of a record, and
// reading a file from its start to its end.
#include "ratio.h"

#include "persis/pers_file.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr unsigned branch_size = 331;
constexpr unsigned records = 100'000;
constexpr unsigned changed = 1000; // slots that are written in turn
constexpr off_t distance = branch_size + PERSIS_RECORD_OVERHEAD;

class BranchFile
{
public:
    BranchFile()
    {
        std::string pattern = (fs::temp_directory_path() / "qapi-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            std::abort();
        }
        m_directory = pattern;
        CPersFile file(PERS_BRANCHNUM_CODE, path().c_str(), branch_size);
        file.Open(DO_NOT_RENAME);
        const std::string branch(branch_size, 'b');
        for (unsigned slot = 1; slot <= records; ++slot) {
            if (file.Save_Record(slot, branch.data(), "identity") != 1) {
                std::abort();
            }
        }
    }
    ~BranchFile() { fs::remove_all(m_directory); }
    BranchFile(const BranchFile&) = delete;
    BranchFile& operator=(const BranchFile&) = delete;

    [[nodiscard]] std::string path() const { return m_directory / "branches"; }

private:
    fs::path m_directory;
};

void BM_SaveChangedRecord(benchmark::State& state)
{
    const BranchFile branches;
    CPersFile file(PERS_BRANCHNUM_CODE, branches.path().c_str(), branch_size);
    file.Open(DO_NOT_RENAME);
    const int descriptor = open(branches.path().c_str(), O_RDWR | O_CLOEXEC);
    const std::string branch(branch_size, 'c');
    std::array<char, 48> header{};
    std::array<char, 24 + 46 + branch_size> data{};
    if (pread(descriptor, header.data(), header.size(), distance) < 0 ||
        pread(descriptor, data.data(), data.size(), distance + MESSAGE_HEADER_ALLOCATED_SIZE) < 0) {
        std::abort();
    }
    for ([[maybe_unused]] auto _ : state) {
        print_ratio(
            {.what = "saving a changed record: two pwrite / save", .bound = "at least 0.5", .operations = changed},
            [&] {
                for (unsigned slot = 1; slot <= changed; ++slot) {
                    const off_t place = distance * static_cast<off_t>(slot);
                    benchmark::DoNotOptimize(pwrite(descriptor, header.data(), header.size(), place));
                    benchmark::DoNotOptimize(
                        pwrite(descriptor, data.data(), data.size(), place + MESSAGE_HEADER_ALLOCATED_SIZE));
                }
            },
            [&] {
                for (unsigned slot = 1; slot <= changed; ++slot) {
                    benchmark::DoNotOptimize(file.Save_Record(slot, branch.data(), "identity"));
                }
            });
    }
    close(descriptor);
}

unsigned load_all(const std::string& path)
{
    CPersFile file(PERS_BRANCHNUM_CODE, path.c_str(), branch_size);
    file.Open(DO_NOT_RENAME);
    std::array<char, branch_size> branch{};
    std::array<char, PERSIS_IDENTITY_SIZE> identity{};
    unsigned loaded = 0;
    for (unsigned slot = 1; file.Load_Next_Record(&slot, branch.data(), identity.data()) != 0; ++slot) {
        ++loaded;
        benchmark::ClobberMemory();
    }
    return loaded;
}

std::size_t read_all(const std::string& path, std::vector<char>& piece)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::size_t total = 0;
    for (ssize_t count = 0; (count = read(descriptor, piece.data(), piece.size())) > 0;) {
        total += static_cast<std::size_t>(count);
    }
    close(descriptor);
    return total;
}

void BM_LoadFile(benchmark::State& state)
{
    const BranchFile branches;
    std::vector<char> piece(128 * 1024);
    if (load_all(branches.path()) != records || read_all(branches.path(), piece) != fs::file_size(branches.path())) {
        std::abort(); // the figure would be of something else
    }
    for ([[maybe_unused]] auto _ : state) {
        print_ratio(
            {.what = "loading 100,000 branches: reading the file / loading",
             .bound = "at least 0.33",
             .operations = records,
             .rounds = 31},
            [&] { benchmark::DoNotOptimize(read_all(branches.path(), piece)); },
            [&] { benchmark::DoNotOptimize(load_all(branches.path())); });
    }
}

BENCHMARK(BM_SaveChangedRecord)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadFile)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
