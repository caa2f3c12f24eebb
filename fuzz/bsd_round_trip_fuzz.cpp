// Packets over a connection: what arrives is what was sent, with nothing written behind it, be the room what the result
// needs or (for packets of odd length) more; and both ends agree on the dictionary behind each packet.
// The input is packets, each behind two bytes: the first tells the form (bit 0 set: sent plain) and how often the
// packet is repeated inside itself (so that short inputs fill a dictionary), the second its length.
#include "compress/bsd.h"
#include "require.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

namespace {

struct Free_State
{
    void operator()(void* state) const { bsd_free(state); }
};
using State = std::unique_ptr<void, Free_State>;
using Bytes = std::vector<unsigned char>;

auto shared(const State& state)
{
    const bsd_db& db = *static_cast<const bsd_db*>(state.get());
    return std::make_tuple(db.max_ent, db.n_bits, db.in_count, db.bytes_out, db.ratio, db.checkpoint, db.clear_count,
                           db.comp_bytes, db.incomp_bytes);
}

void send(const State& comp, const State& decomp, const Bytes& packet, bool plain)
{
    const int len = static_cast<int>(packet.size());
    Bytes compressed(packet.size() * 2 + 8);
    const int size = bsd_compress(comp.get(), packet.data(), compressed.data(), len, len * 2 + 8);
    require(size <= len * 2 + 8);
    if (plain) {
        bsd_incomp(decomp.get(), packet.data(), len);
    } else {
        compressed.resize(static_cast<std::size_t>(size));
        compressed.shrink_to_fit();
        Bytes restored(packet.size() + BSD_OVERHEAD + packet.size() % 2 * 64, 0xE5);
        require(bsd_decompress(decomp.get(), compressed.data(), size, restored.data(),
                               static_cast<int>(restored.size())) == len + BSD_OVERHEAD);
        require(packet.empty() || std::memcmp(restored.data(), packet.data(), packet.size()) == 0);
        require(std::all_of(restored.begin() + len, restored.end(), [](unsigned char byte) { return byte == 0xE5; }));
    }
    require(shared(comp) == shared(decomp));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const State comp(bsd_comp_alloc());
    const State decomp(bsd_decomp_alloc());
    bsd_comp_init(comp.get(), 0, 0, 0);
    bsd_decomp_init(decomp.get(), 0, 0, 0);
    std::size_t total = 0; // enough for some CLEARs, and no more
    for (std::size_t at = 0; at + 2 <= size && total < 50000;) {
        const unsigned form = data[at];
        const std::size_t len = std::min<std::size_t>(data[at + 1], size - at - 2);
        Bytes packet;
        for (unsigned turn = 0; turn <= form >> 1; ++turn) {
            packet.insert(packet.end(), data + at + 2, data + at + 2 + len);
            for (std::size_t i = packet.size() - len; i < packet.size(); ++i) {
                packet[i] = static_cast<unsigned char>(packet[i] + turn * (form >> 5)); // the like, not the same
            }
        }
        send(comp, decomp, packet, (form & 1) != 0);
        at += 2 + len;
        total += packet.size();
    }
    return 0;
}
