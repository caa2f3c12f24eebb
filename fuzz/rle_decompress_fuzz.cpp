// Any bytes as a block: refused, with the output untouched, or restored inside the output; and what is restored gives
// the same words again when it is compressed.
#include "compress/rle.h"
#include "require.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace {

using Words = std::vector<std::uint64_t>;

constexpr std::uint64_t untouched = 0xE5E5E5E5E5E5E5E5;

unsigned char* bytes_of(Words& words)
{
    return reinterpret_cast<unsigned char*>(words.data());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const std::size_t available = std::min<std::size_t>(size, RLE_MAX_BLOCK);
    const auto block = std::make_unique<unsigned char[]>(available); // ends where it may be read to
    std::copy_n(data, available, block.get());
    Words plain(RLE_MAX_LEN / 8, untouched);
    const unsigned short len = RLE_Decompression(block.get(), bytes_of(plain), 0, static_cast<int>(available));
    const std::size_t count = (len + 7U) / 8;
    require(std::all_of(plain.begin() + static_cast<std::ptrdiff_t>(count), plain.end(),
                        [](std::uint64_t word) { return word == untouched; }));
    if (len == 0) {
        return 0;
    }
    Words again(RLE_MAX_BLOCK / 8);
    const unsigned short again_len = RLE_Compression(bytes_of(plain), bytes_of(again), len);
    Words restored(count + 1);
    require(RLE_Decompression(bytes_of(again), bytes_of(restored), 0, again_len) == len);
    require(std::memcmp(bytes_of(restored), bytes_of(plain), len) == 0);
    return 0;
}
