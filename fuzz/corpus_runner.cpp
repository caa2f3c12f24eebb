// Stands in for libFuzzer where a fuzz target runs as a test: feeds it every file of the given directories, whole and
// cut short, and the empty input. What the target checks, and the sanitizers of the build, decide. Exit code 0, or 1
// when a directory holds no seed.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr std::size_t cuts_of_a_seed = 64; // enough to cut every short seed at each byte, and quick for long ones

using Bytes = std::vector<std::uint8_t>;

Bytes read_file(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// In a block of its exact size, so that a sanitizer sees the first byte read behind it.
void feed(const Bytes& seed, std::size_t size)
{
    const auto exact = std::make_unique<std::uint8_t[]>(size);
    std::copy_n(seed.begin(), size, exact.get());
    LLVMFuzzerTestOneInput(exact.get(), size);
}

void feed_whole_and_cut(const Bytes& seed)
{
    feed(seed, seed.size());
    const std::size_t step = seed.size() / cuts_of_a_seed + 1;
    for (std::size_t size = 0; size < seed.size(); size += step) {
        feed(seed, size);
    }
}

int run_directory(const char* directory)
{
    int seeds = 0;
    std::error_code failure;
    for (const auto& entry : std::filesystem::directory_iterator(directory, failure)) {
        if (entry.is_regular_file()) {
            feed_whole_and_cut(read_file(entry.path()));
            ++seeds;
        }
    }
    std::printf("%s: %d seeds\n", directory, seeds);
    return seeds > 0 ? 0 : 1;
}

} // namespace

int main(int count, char** arguments)
{
    feed({}, 0);
    int result = count > 1 ? 0 : 1;
    for (int i = 1; i < count; ++i) {
        result |= run_directory(arguments[i]);
    }
    return result;
}
