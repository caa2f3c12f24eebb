// A packet is decoded with copies of max_ent and n_bits; its strings go into the places behind the state's max_ent. So
// a packet that turns out to be bad leaves nothing to undo: the places it filled are free as before.
#include "compress/bsd_state.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// Codes from the most significant bit on.
class CodeReader
{
public:
    CodeReader(const unsigned char* in, unsigned len) : m_in(in), m_len(len) {}

    [[nodiscard]] bool has(unsigned width) const { return m_bit + width <= std::uint64_t{m_len} * 8; }

    // Whole bytes behind the code taken last.
    [[nodiscard]] std::uint64_t bytes_left() const { return m_len - (m_bit + 7) / 8; }

    [[nodiscard]] unsigned take(unsigned width)
    {
        const auto at = static_cast<unsigned>(m_bit / 8);
        std::array<unsigned char, 8> bytes{};
        if (m_len - at >= bytes.size()) {
            std::memcpy(bytes.data(), m_in + at, bytes.size());
        } else {
            std::memcpy(bytes.data(), m_in + at, m_len - at);
        }
        std::uint64_t bits = 0;
        for (const unsigned char byte : bytes) { // one load and one swap, in the compiler's hands
            bits = bits << 8 | byte;
        }
        bits <<= m_bit % 8;
        m_bit += width;
        return static_cast<unsigned>(bits >> (64 - width));
    }

private:
    const unsigned char* m_in;
    unsigned m_len;
    std::uint64_t m_bit = 0;
};

class Decoder
{
public:
    Decoder(bsd_state& state, const unsigned char* in, unsigned len, unsigned char* out, unsigned room)
        : m_state(state), m_strings(*state.strings), m_reader(in, len), m_out(out), m_room(room),
          m_max_ent(state.max_ent), m_n_bits(state.n_bits)
    {
    }

    // False for a bad packet. The state is not touched.
    [[nodiscard]] bool run()
    {
        while (m_reader.has(m_n_bits)) {
            const unsigned code = m_reader.take(m_n_bits);
            if (code == bsd_clear_code) {
                m_cleared = true;
                return ends_here();
            }
            if (!is_known(code) || !put_string(learn(code))) {
                say_bad_code(code);
                return false;
            }
        }
        return true;
    }

    void commit(unsigned len)
    {
        m_state.max_ent = m_max_ent;
        m_state.n_bits = static_cast<std::uint8_t>(m_n_bits);
        if (m_cleared) {
            bsd_clear(m_state);
        } else {
            m_state.in_count += m_size;
            m_state.bytes_out += len;
            // What a compressor would have done here, with a CLEAR behind it: this packet comes from something else.
            if (bsd_check(m_state) && m_state.debug != 0) {
                std::printf("bsd_decomp%d: peer should have cleared dictionary on %hu\n", m_state.unit, m_state.seqno);
            }
        }
        bsd_count_packet(m_state, m_size, len);
    }

    [[nodiscard]] int expected_length() const { return static_cast<int>(m_size) + BSD_OVERHEAD; }

private:
    [[nodiscard]] bool ends_here() const
    {
        if (m_reader.bytes_left() == 0) {
            return true;
        }
        if (m_state.debug != 0) {
            std::printf("bsd_decomp%d: bad CLEAR\n", m_state.unit);
        }
        return false;
    }

    // The string that is being built has the code max_ent + 1, and needs a code before it to be built from. Codes have
    // 12 bits at most, so none exceeds bsd_max_code.
    [[nodiscard]] bool is_known(unsigned code) const
    {
        return code <= m_max_ent || (code <= m_max_ent + 2 && m_previous != bsd_clear_code);
    }

    // Adds the string of the code before and this code's first byte, as the compressor did when it wrote the code
    // before. Returns the code to put out: max_ent + 2, which no compressor writes, stands for the new string too.
    unsigned learn(unsigned code)
    {
        if (m_previous == bsd_clear_code || m_max_ent >= bsd_max_code) {
            return code;
        }
        const unsigned char first = m_strings.strings[code <= m_max_ent ? code : m_previous].first;
        ++m_max_ent;
        bsd_set_entry(m_state, m_max_ent, m_previous, first);
        m_strings.append(m_max_ent, m_previous, first);
        if (bsd_must_widen(m_max_ent, m_n_bits)) {
            ++m_n_bits;
        }
        return std::min(code, m_max_ent);
    }

    // False when there is no room for the string.
    bool put_string(unsigned code)
    {
        const unsigned length = m_strings.lens[code];
        if (length > m_room - m_size) {
            return false;
        }
        const unsigned last_block = (length - 1) / bsd_string::block * bsd_string::block;
        unsigned char* const to = m_out + m_size;
        if (m_reader.bytes_left() >= bytes_of_covering_codes && last_block + bsd_string::block <= m_room - m_size) {
            put_block(to + last_block, code);
        } else {
            std::memcpy(to + last_block, m_strings.strings[code].tail.data(), length - last_block);
        }
        unsigned ancestor = code;
        for (unsigned block = last_block; block > 0; block -= bsd_string::block) {
            ancestor = m_strings.strings[ancestor].ancestor;
            put_block(to + block - bsd_string::block, ancestor);
        }
        m_size += length;
        m_previous = code;
        return true;
    }

    void put_block(unsigned char* to, unsigned code) const
    {
        std::memcpy(to, m_strings.strings[code].tail.data(), bsd_string::block);
    }

    void say_bad_code(unsigned code) const
    {
        if (m_state.debug != 0) {
            std::printf("bsd_decomp%d: bad code 0x%x oldcode=0x%x ", m_state.unit, code, m_previous);
            std::printf("max_ent=0x%x explen=%d seqno=%hu\n", m_max_ent, expected_length(), m_state.seqno);
        }
    }

    // A last block may be written whole when the strings behind it are sure to cover the up to 7 bytes too many: that
    // many bytes hold 8 codes of 12 bits and a CLEAR.
    static constexpr unsigned bytes_of_covering_codes = 16;

    bsd_state& m_state;
    bsd_strings& m_strings;
    CodeReader m_reader;
    unsigned char* m_out;
    unsigned m_room; // for the data alone
    unsigned m_size = 0;
    unsigned m_max_ent;
    unsigned m_n_bits;
    unsigned m_previous = bsd_clear_code; // code before this one; none at the start of a packet
    bool m_cleared = false;
};

} // namespace

int bsd_decompress(void* state, const unsigned char* in, int len, unsigned char* out, int room)
{
    if (room < BSD_OVERHEAD) {
        return BSD_BAD_CODE;
    }
    if (len <= 0) {
        return BSD_OVERHEAD;
    }
    bsd_state& own = bsd_state_of(state);
    if (own.strings == nullptr) {
        return BSD_BAD_CODE;
    }
    const auto packet_len = static_cast<unsigned>(len);
    Decoder decoder(own, in, packet_len, out, static_cast<unsigned>(room - BSD_OVERHEAD));
    if (!decoder.run()) {
        return BSD_BAD_CODE;
    }
    decoder.commit(packet_len);
    return decoder.expected_length();
}
