// Compression measured on the data that really travels; not part of any traffic.
#include "transport/wsock.h"

#include "compress/bsd.h"
#include "compress/lzcoder.h"
#include "compress/rle.h"

#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

struct Free_State
{
    void operator()(void* state) const { bsd_free(state); }
};
using State = std::unique_ptr<void, Free_State>;

// A connection's own dictionaries would no longer be in step with the peer's.
int through_bsd(Bytes& data)
{
    static const State comp(bsd_comp_alloc());
    static const State decomp(bsd_decomp_alloc());
    if (comp == nullptr || decomp == nullptr) {
        return 0;
    }
    const int len = static_cast<int>(data.size());
    Bytes packed(data.size() * 2 + 16);
    const int packed_len = bsd_compress(comp.get(), data.data(), packed.data(), len, static_cast<int>(packed.size()));
    if (packed_len < len) {
        bsd_decompress(decomp.get(), packed.data(), packed_len, data.data(), len + BSD_OVERHEAD);
    } else {
        bsd_incomp(decomp.get(), data.data(), len);
    }
    return packed_len;
}

int through_lempel_ziv(Bytes& data)
{
    Bytes packed(data.size() + qapi::LZ_EXTRA);
    const auto len = static_cast<unsigned short>(data.size());
    const unsigned short packed_len = qapi::Compression(data.data(), packed.data(), len);
    qapi::Decompression(packed.data(), data.data(), packed_len, len);
    return packed_len;
}

int through_zero_words(const Bytes& data)
{
    if (data.size() > RLE_MAX_LEN) {
        return RLE_REFUSED;
    }
    alignas(8) std::array<unsigned char, RLE_MAX_LEN + 8> plain{};
    alignas(8) std::array<unsigned char, RLE_MAX_BLOCK + 8> packed{};
    std::memcpy(plain.data(), data.data(), data.size());
    const int packed_len = RLE_Compression(plain.data(), packed.data(), static_cast<unsigned short>(data.size()));
    RLE_Decompression(packed.data(), plain.data(), 0, packed_len);
    return packed_len;
}

} // namespace

unsigned WSocket::Compression_Test(const char* data, unsigned short len)
{
    static std::atomic<unsigned> larger{0};
    Bytes copy(data, data + len);
    copy.reserve(copy.size() + BSD_OVERHEAD);
    int packed_len = 0;
    if (m_compressed == 0 || m_compressed == 1) {
        packed_len = through_bsd(copy);
    } else if (m_compressed == 2) {
        packed_len = through_lempel_ziv(copy);
    } else {
        packed_len = through_zero_words(copy);
    }
    return packed_len > len ? larger.fetch_add(1) + 1 : larger.load();
}
