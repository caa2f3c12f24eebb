// Any bytes as packets, each behind a byte for its length and one for the room (times 16). A bad packet leaves the
// state as it was: a second receiver, to whom only the good ones are given, has the same strings and gets the same
// data.
#include "compress/bsd.h"
#include "require.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

struct Free_State
{
    void operator()(void* state) const { bsd_free(state); }
};
using State = std::unique_ptr<void, Free_State>;
using Bytes = std::vector<unsigned char>;

State receiver()
{
    State state(bsd_decomp_alloc());
    bsd_decomp_init(state.get(), 0, 0, 0);
    return state;
}

bsd_db& db(const State& state)
{
    return *static_cast<bsd_db*>(state.get());
}

void compare(const State& one, const State& other)
{
    require(db(one).max_ent == db(other).max_ent && db(one).n_bits == db(other).n_bits);
    require(db(one).max_ent <= db(one).maxmaxcode && db(one).n_bits <= db(one).maxbits);
    require(std::memcmp(db(one).lens + 257, db(other).lens + 257, 2 * (db(one).max_ent - 256)) == 0);
}

void receive(const State& all, const State& good, const Bytes& packet, int room)
{
    Bytes out(static_cast<std::size_t>(room));
    const int len = static_cast<int>(packet.size());
    const int got = bsd_decompress(all.get(), packet.data(), len, out.data(), room);
    if (got == BSD_BAD_CODE) {
        return;
    }
    require(got >= BSD_OVERHEAD && got <= room);
    Bytes same(static_cast<std::size_t>(got));
    require(bsd_decompress(good.get(), packet.data(), len, same.data(), got) == got);
    require(std::equal(same.begin(), same.end() - BSD_OVERHEAD, out.begin()));
    compare(all, good);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const State all = receiver();
    const State good = receiver();
    for (std::size_t at = 0; at + 2 <= size;) {
        const std::size_t len = std::min<std::size_t>(data[at], size - at - 2);
        const int room = data[at + 1] * 16;
        const Bytes packet(data + at + 2, data + at + 2 + len);
        receive(all, good, packet, room);
        if (room % 7 == 0) { // and as a plain packet
            bsd_incomp(all.get(), packet.data(), static_cast<int>(len));
            bsd_incomp(good.get(), packet.data(), static_cast<int>(len));
            compare(all, good);
        }
        at += 2 + len;
    }
    return 0;
}
