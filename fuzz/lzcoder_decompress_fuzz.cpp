// Any bytes as a stream: nothing is read behind them nor written behind the room, and a room of just the result's
// length gives the same result.
#include "compress/lzcoder.h"
#include "require.h"

#include <algorithm>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const auto len = static_cast<unsigned short>(std::min<std::size_t>(size, 65535));
    std::vector<unsigned char> out(20000);
    const unsigned short got = Decompression(data, out.data(), len, 20000);
    require(got <= out.size());
    std::vector<unsigned char> exact(got);
    require(Decompression(data, exact.data(), len, got) == got);
    require(std::equal(exact.begin(), exact.end(), out.begin()));
    if (got > 0) {
        require(Decompression(data, exact.data(), len, got - 1) == 0);
    }
    return 0;
}
