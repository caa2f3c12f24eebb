// Record files beside the system calls that they can't do without: two positioned writes of the bytes of a record, and
// reading a file from its start to its end.
#include "ratio.h"

#include "persis/table_pers_file.h"
#include "record_io.h"
#include "records/reference.h"
#include "tblproc/global_tables.h"
#include "tblproc/replica_lock.h"

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

void compare_saves(const Comparison& comparison, bool sync)
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
    const auto last = static_cast<unsigned>(comparison.operations);
    Glb_sync_files = sync ? 1 : 0;
    print_ratio(
        comparison,
        [&] {
            for (unsigned slot = 1; slot <= last; ++slot) {
                const off_t place = distance * static_cast<off_t>(slot);
                benchmark::DoNotOptimize(pwrite(descriptor, header.data(), header.size(), place));
                benchmark::DoNotOptimize(
                    pwrite(descriptor, data.data(), data.size(), place + MESSAGE_HEADER_ALLOCATED_SIZE));
                if (sync) {
                    fdatasync(descriptor);
                }
            }
        },
        [&] {
            for (unsigned slot = 1; slot <= last; ++slot) {
                benchmark::DoNotOptimize(file.Save_Record(slot, branch.data(), "identity"));
            }
        });
    Glb_sync_files = 0;
    close(descriptor);
}

void BM_SaveChangedRecord(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        compare_saves(
            {.what = "saving a changed record: two pwrite / save", .bound = "at least 0.5", .operations = changed},
            false);
    }
}

void BM_SaveWithSyncFiles(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        compare_saves({.what = "the same with sync_files: two pwrite and fdatasync / save",
                       .bound = "about 1",
                       .operations = 20,
                       .rounds = 11},
                      true);
    }
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

// Puts 100,000 branches into the table, which keeps them in the file.
void fill_branches_table()
{
    for (unsigned number = 1; number <= records; ++number) {
        CGTBranches branch;
        branch[CODIGO_SUCURSAL_BRANCHES].Set_Text(std::to_string(10'000'000 + number).c_str());
        branch[REC_IDX] = number;
        Glb_Branches_Table->Insert_Local_Record(&branch, nullptr);
    }
}

// The file is opened anew each time: a load begins where the one before ended.
void load_branches_table(const std::string& path)
{
    const GlobalTable& table = Global_Table(TableId::Glb_Branches_Table);
    table.keep_in(qapi::PersTableFile::Open(PERS_BRANCHNUM_CODE, path.c_str(), branch_size));
    table.load();
}

void BM_LoadTable(benchmark::State& state)
{
    const ReplicaLock lock;
    const BranchFile branches;
    std::filesystem::remove(branches.path());
    load_branches_table(branches.path());
    fill_branches_table();
    load_branches_table(branches.path());
    if (Glb_Branches_Table->Used_Num_Records() != records) {
        std::abort();
    }
    std::vector<char> piece(128 * 1024);
    for ([[maybe_unused]] auto _ : state) {
        print_ratio(
            {.what = "the table of 100,000 branches: reading the file / loading with all keys",
             .bound = "under a second, 10,000 ns a record",
             .operations = records,
             .rounds = 11},
            [&] { benchmark::DoNotOptimize(read_all(branches.path(), piece)); },
            [&] { load_branches_table(branches.path()); });
    }
    Global_Table(TableId::Glb_Branches_Table).keep_in(nullptr);
}

BENCHMARK(BM_SaveChangedRecord)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveWithSyncFiles)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadFile)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadTable)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
