#include "compress/bsd.h"

#include "compress/bsd_state.h"

#include <new>

namespace {

constexpr unsigned check_interval = 10000;   // plain bytes between two looks at the ratio
constexpr unsigned counter_limit = 0x7fffff; // from here the counters are thinned out, so that * 256 fits 32 bits
constexpr unsigned ratio_scale = 256;

void thin_out(unsigned& counter)
{
    counter -= counter / 4;
}

unsigned ratio_of(const bsd_state& state)
{
    const unsigned scaled = state.in_count * ratio_scale;
    return state.bytes_out != 0 ? scaled / state.bytes_out : scaled;
}

void set_parameters(bsd_state& state)
{
    state.totlen = static_cast<int>((bsd_entries + 10) * sizeof(bsd_dict));
    state.hsize = bsd_entries;
    state.hshift = bsd_hash_shift;
    state.maxbits = bsd_max_bits;
    state.maxmaxcode = bsd_max_code;
    state.dict = state.entries.data();
}

int bsd_init(bsd_state& state, int unit, int debug)
{
    if (state.strings != nullptr) {
        state.strings->set_single_bytes();
    }
    state.entries.fill(bsd_dict{.fcode = 0, .codem1 = bsd_free_entry, .cptr = 0});
    state.unit = static_cast<std::uint8_t>(unit);
    state.mru = 0;
    state.debug = static_cast<std::uint8_t>(debug != 0);
    bsd_clear(state);
    state.seqno = 0;
    state.clear_count = 0;
    return 1;
}

void* bsd_alloc(bool decompressor)
{
    std::unique_ptr<bsd_state> state(new (std::nothrow) bsd_state{});
    if (state == nullptr) {
        return nullptr;
    }
    set_parameters(*state);
    if (decompressor) {
        state->strings.reset(new (std::nothrow) bsd_strings{});
        if (state->strings == nullptr) {
            return nullptr;
        }
        state->lens = state->strings->lens.data();
    }
    bsd_init(*state, 0, 0);
    return static_cast<bsd_db*>(state.release());
}

} // namespace

void bsd_clear(bsd_state& state)
{
    state.max_ent = bsd_clear_code;
    state.indexed = bsd_clear_code;
    state.codes.fill(0);
    state.n_bits = bsd_min_bits;
    state.in_count = 0;
    state.bytes_out = 0;
    state.ratio = 0;
    state.checkpoint = check_interval;
    ++state.clear_count;
}

bool bsd_check(bsd_state& state)
{
    if (state.in_count < state.checkpoint) {
        return false;
    }
    if (state.in_count >= counter_limit || state.bytes_out >= counter_limit) {
        thin_out(state.in_count);
        thin_out(state.bytes_out);
    }
    state.checkpoint = state.in_count + check_interval;
    if (state.max_ent < state.maxmaxcode) {
        return false;
    }
    const unsigned ratio = ratio_of(state);
    if (ratio >= state.ratio && ratio >= ratio_scale) {
        state.ratio = ratio;
        return false;
    }
    bsd_clear(state);
    return true;
}

void bsd_count_packet(bsd_state& state, unsigned plain, std::uint64_t compressed)
{
    ++state.seqno;
    ++state.uncomp_count;
    state.uncomp_bytes += plain;
    if (compressed < plain) {
        ++state.comp_count;
        state.comp_bytes += static_cast<unsigned>(compressed);
    } else {
        ++state.incomp_count;
        state.incomp_bytes += plain;
    }
}

void bsd_strings::set_single_bytes()
{
    for (unsigned byte = 0; byte < bsd_clear_code; ++byte) {
        const auto value = static_cast<unsigned char>(byte);
        strings[byte] = {.tail = {value}, .ancestor = 0, .first = value};
        lens[byte] = 1;
    }
}

void bsd_strings::append(unsigned code, unsigned prefix, unsigned char byte)
{
    const unsigned length = lens[prefix];
    const unsigned used = length % bsd_string::block; // of the prefix's last block; 0 when that is full
    bsd_string string = strings[prefix];
    if (used == 0) {
        string.tail = {};
        string.ancestor = static_cast<std::uint16_t>(prefix);
    }
    string.tail[used] = byte;
    strings[code] = string;
    lens[code] = static_cast<std::uint16_t>(length + 1);
}

void* bsd_comp_alloc()
{
    return bsd_alloc(false);
}

void* bsd_decomp_alloc()
{
    return bsd_alloc(true);
}

void bsd_free(void* state)
{
    if (state != nullptr) {
        const std::unique_ptr<bsd_state> owner(&bsd_state_of(state));
    }
}

int bsd_comp_init(void* state, int unit, [[maybe_unused]] int unused, int debug)
{
    return bsd_init(bsd_state_of(state), unit, debug);
}

int bsd_decomp_init(void* state, int unit, [[maybe_unused]] int unused, int debug)
{
    return bsd_init(bsd_state_of(state), unit, debug);
}
