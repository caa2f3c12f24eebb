// Any block of up to 2048 bytes returns intact, and its compressed form has the length that its words tell.
#include "compress/rle.h"
#include "require.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using Words = std::vector<std::uint64_t>;

unsigned char* bytes_of(Words& words)
{
    return reinterpret_cast<unsigned char*>(words.data());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const auto len = static_cast<unsigned short>(std::min<std::size_t>(size, RLE_MAX_LEN));
    const std::size_t count = (len + 7U) / 8;
    Words plain(count + 1); // never without memory
    std::copy_n(data, len, bytes_of(plain));
    Words block(RLE_HEADER_LEN / 8 + count);
    const unsigned short block_len = RLE_Compression(bytes_of(plain), bytes_of(block), len);
    const auto zeros = static_cast<std::size_t>(std::count(plain.begin(), plain.end() - 1, 0U));
    require(block_len == RLE_HEADER_LEN + 8 * (count - zeros));
    block.resize(block_len / 8U);
    block.shrink_to_fit();
    Words restored(count + 1, 1);
    require(RLE_Decompression(bytes_of(block), bytes_of(restored), 0, block_len) == len);
    require(std::memcmp(bytes_of(restored), bytes_of(plain), len) == 0 && restored.back() == 1);
    return 0;
}
