#include "compress/bsd_state.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

// Packs codes from the most significant bit. Bytes behind `room` are counted and not written.
class CodeWriter
{
public:
    CodeWriter(unsigned char* out, std::uint64_t room) : m_out(out), m_room(room) {}

    void put(unsigned code, unsigned width)
    {
        m_bits = m_bits << width | code;
        m_pending += width;
        if (m_pending >= 32) {
            m_pending -= 32;
            put_word(static_cast<std::uint32_t>(m_bits >> m_pending));
        }
    }

    // Bytes so far, with the one that is not full.
    [[nodiscard]] std::uint64_t size() const { return m_size + (m_pending + 7) / 8; }

    // Fills the last byte with ones.
    void finish()
    {
        const unsigned filler = (8 - m_pending % 8) % 8;
        m_bits = m_bits << filler | ((1U << filler) - 1);
        m_pending += filler;
        while (m_pending > 0) {
            m_pending -= 8;
            put_byte(m_bits >> m_pending);
        }
    }

private:
    void put_byte(std::uint64_t value)
    {
        if (m_size < m_room) {
            m_out[m_size] = static_cast<unsigned char>(value);
        }
        ++m_size;
    }

    void put_word(std::uint32_t value)
    {
        if (m_size + 4 > m_room) {
            for (int shift = 24; shift >= 0; shift -= 8) {
                put_byte(value >> shift);
            }
            return;
        }
        const std::array<unsigned char, 4> bytes = {
            static_cast<unsigned char>(value >> 24), static_cast<unsigned char>(value >> 16),
            static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
        std::memcpy(m_out + m_size, bytes.data(), bytes.size());
        m_size += 4;
    }

    unsigned char* m_out;
    std::uint64_t m_room;
    std::uint64_t m_size = 0;
    std::uint64_t m_bits = 0;
    unsigned m_pending = 0; // bits of m_bits that are not written yet, at most 31
};

// The place of a string in the hash table, or the free one where the search for it ends. The prefix comes late, with
// the string found before, and enters the hash by one operation: this is what a byte of input waits for.
unsigned find_place(const bsd_state& state, unsigned prefix, unsigned char suffix)
{
    const std::uint32_t fcode = bsd_fcode(prefix, suffix);
    unsigned place = (suffix * 40543U ^ prefix) % bsd_places;
    while (true) {
        const unsigned code = state.codes[place];
        if (state.entries[code].fcode == fcode || code == 0) {
            return place;
        }
        place = (place + 1) % bsd_places;
    }
}

void index_code(bsd_state& state, unsigned place, unsigned code)
{
    state.codes[place] = static_cast<std::uint16_t>(code);
    state.entries[code].cptr = static_cast<std::uint16_t>(place);
}

// A decompressor leaves its strings out of the hash table until they are looked for here. A sender that does not use
// the longest string it could makes some strings twice: the first one counts, as the hash table leads to it.
void index_strings(bsd_state& state)
{
    for (unsigned code = state.indexed + 1; code <= state.max_ent; ++code) {
        const std::uint32_t fcode = state.entries[code].fcode;
        const unsigned place = find_place(state, fcode & 0xFFFF, static_cast<unsigned char>(fcode >> 16));
        if (state.codes[place] == 0) {
            index_code(state, place, code);
        }
    }
    state.indexed = state.max_ent;
}

void add_string(bsd_state& state, unsigned place, unsigned prefix, unsigned char suffix)
{
    if (state.max_ent >= state.maxmaxcode) {
        return;
    }
    if (bsd_must_widen(state.max_ent, state.n_bits)) {
        ++state.n_bits;
    }
    const unsigned code = ++state.max_ent;
    bsd_set_entry(state, code, prefix, suffix);
    index_code(state, place, code);
    state.indexed = code;
    if (state.strings != nullptr) {
        state.strings->append(code, prefix, suffix);
    }
}

// All but the code of the string that the packet ends in; returns that.
unsigned put_strings(bsd_state& state, const unsigned char* in, const unsigned char* end, CodeWriter& writer)
{
    unsigned string = *in;
    while (++in < end) {
        const unsigned place = find_place(state, string, *in);
        if (state.codes[place] != 0) {
            string = state.codes[place];
            continue;
        }
        writer.put(string, state.n_bits);
        add_string(state, place, string, *in);
        string = *in;
    }
    return string;
}

std::uint64_t compress(bsd_state& state, const unsigned char* in, unsigned len, CodeWriter& writer)
{
    const unsigned last_string = put_strings(state, in, in + len, writer);
    writer.put(last_string, state.n_bits);
    state.in_count += len;
    state.bytes_out += static_cast<unsigned>(writer.size());
    const unsigned width = state.n_bits;
    if (bsd_check(state)) {
        writer.put(bsd_clear_code, width); // the peer reads it before its own dictionary is cleared
    } else if (bsd_must_widen(state.max_ent, width)) {
        ++state.n_bits;
    }
    writer.finish();
    bsd_count_packet(state, len, writer.size());
    return writer.size();
}

} // namespace

int bsd_compress(void* state, const unsigned char* in, unsigned char* out, int len, int room)
{
    if (len <= 0) {
        return 0;
    }
    bsd_state& own = bsd_state_of(state);
    index_strings(own);
    CodeWriter writer(out, out != nullptr ? static_cast<std::uint64_t>(std::max(room, 0)) : 0);
    const std::uint64_t size = compress(own, in, static_cast<unsigned>(len), writer);
    return static_cast<int>(std::min<std::uint64_t>(size, INT_MAX));
}

void bsd_incomp(void* state, const unsigned char* in, int len)
{
    bsd_compress(state, in, nullptr, len);
}
