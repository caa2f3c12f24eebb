// Any input returns intact, through buffers of just the size that is asked for. Byte 0 of the fuzzer's input tells how
// often the rest is repeated, so that runs and far references come up.
#include "compress/lzcoder.h"
#include "require.h"

#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    std::vector<unsigned char> plain;
    for (unsigned turn = 0; size > 1 && turn <= data[0] && plain.size() + size <= 65535; ++turn) {
        plain.insert(plain.end(), data + 1, data + size);
    }
    plain.shrink_to_fit();
    const auto len = static_cast<unsigned short>(plain.size());
    std::vector<unsigned char> coded(plain.size() + qapi::LZ_EXTRA);
    const unsigned short coded_len = Compression(plain.data(), coded.data(), len);
    if (coded_len == 0) { // it would grow, and its stored form is too long
        require(len == 65535);
        return 0;
    }
    require(coded_len <= len + 1);
    coded.resize(coded_len);
    coded.shrink_to_fit();
    std::vector<unsigned char> restored(plain.size());
    require(Decompression(coded.data(), restored.data(), coded_len, len) == len);
    require(restored == plain);
    return 0;
}
