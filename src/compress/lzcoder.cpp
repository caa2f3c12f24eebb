#include "compress/lzcoder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace qapi {

namespace {

constexpr unsigned items_of_a_group = 16;
constexpr unsigned min_run = 16;
constexpr unsigned max_run = 4095;
constexpr unsigned min_match = 3;
constexpr unsigned max_match = 18;
constexpr unsigned max_distance = 4095;
constexpr unsigned table_size = 4096;

struct Match
{
    unsigned distance = 0;
    unsigned length = 0;
};

class Compressor
{
public:
    Compressor(const unsigned char* in, unsigned char* out, unsigned len) : m_in(in), m_out(out), m_len(len)
    {
        m_table.fill(-1);
    }

    // Length of the output, or more than the input's when that would grow. At most 6 bytes are written beyond the
    // input's length: a control word and a run.
    unsigned run()
    {
        while (m_at < m_len && m_size <= m_len) {
            if (m_items == items_of_a_group) {
                close_group();
                m_control_at = m_size;
                m_size += 2;
                m_items = 0;
            }
            put_item();
            ++m_items;
        }
        m_control <<= items_of_a_group - m_items;
        close_group();
        m_out[0] = LZ_COMPRESSED;
        return m_size;
    }

private:
    void close_group()
    {
        m_out[m_control_at] = static_cast<unsigned char>(m_control >> 8);
        m_out[m_control_at + 1] = static_cast<unsigned char>(m_control);
    }

    void put(unsigned byte) { m_out[m_size++] = static_cast<unsigned char>(byte); }

    void put_item()
    {
        m_control <<= 1;
        const unsigned run = run_length();
        if (run >= min_run) {
            put_run(run);
            return;
        }
        const Match match = GetMatch();
        if (match.length >= min_match) {
            put_reference(match);
        } else {
            put(m_in[m_at++]);
        }
    }

    [[nodiscard]] unsigned run_length() const
    {
        const unsigned end = std::min(m_len, m_at + max_run);
        unsigned i = m_at + 1;
        while (i < end && m_in[i] == m_in[m_at]) {
            ++i;
        }
        return i - m_at;
    }

    void put_run(unsigned length)
    {
        m_control |= 1;
        put(0);
        put((length - min_run) >> 8);
        put(length - min_run);
        put(m_in[m_at]);
        m_at += length;
    }

    void put_reference(const Match& match)
    {
        m_control |= 1;
        const unsigned word = match.distance * 16 + match.length - min_match;
        put(word >> 8);
        put(word);
        m_at += match.length;
    }

    [[nodiscard]] unsigned hash() const
    {
        const unsigned bytes = (((m_in[m_at] * 16U) ^ m_in[m_at + 1]) * 16U) ^ m_in[m_at + 2];
        return (bytes * 40543U >> 4) & (table_size - 1);
    }

    // The last two bytes have no hash of three, and could not be matched with profit either.
    Match GetMatch()
    {
        if (m_len - m_at < min_match) {
            return {};
        }
        // The table holds 16 bits with a sign. They are read back without it, so that inputs of more than 32767 bytes
        // need no other table. The -1 of an empty entry is a position behind all others then: the distance to it wraps
        // around and is too far.
        std::int16_t& entry = m_table[hash()];
        const unsigned position = static_cast<std::uint16_t>(entry);
        entry = static_cast<std::int16_t>(m_at);
        if (m_at - position > max_distance) {
            return {};
        }
        return {m_at - position, match_length(position)};
    }

    [[nodiscard]] unsigned match_length(unsigned position) const
    {
        const unsigned end = std::min(max_match, m_len - m_at);
        unsigned length = 0;
        while (length < end && m_in[position + length] == m_in[m_at + length]) {
            ++length;
        }
        return length;
    }

    const unsigned char* m_in;
    unsigned char* m_out;
    unsigned m_len;
    unsigned m_at = 0;
    unsigned m_size = 3; // the first byte and the first control word
    unsigned m_control_at = 1;
    unsigned m_control = 0; // bits of the items so far, the last one lowest
    unsigned m_items = 0;
    std::array<std::int16_t, table_size> m_table;
};

class Decompressor
{
public:
    Decompressor(const unsigned char* in, unsigned len, unsigned char* out, unsigned room)
        : m_in(in), m_len(len), m_out(out), m_room(room)
    {
    }

    // False for a stream that is not one.
    [[nodiscard]] bool run()
    {
        while (m_at < m_len) {
            if (!has(2)) {
                return false;
            }
            unsigned control = take_word() << 16;
            for (unsigned item = 0; item < items_of_a_group && m_at < m_len; ++item, control <<= 1) {
                const bool done = (control & 0x80000000U) != 0 ? take_reference() : take_literal();
                if (!done) {
                    return false;
                }
            }
        }
        return true;
    }

    [[nodiscard]] unsigned size() const { return m_size; }

private:
    [[nodiscard]] bool has(unsigned count) const { return m_len - m_at >= count; }
    [[nodiscard]] bool has_room(unsigned count) const { return m_room - m_size >= count; }

    unsigned take_word()
    {
        const unsigned word = static_cast<unsigned>(m_in[m_at]) << 8 | m_in[m_at + 1];
        m_at += 2;
        return word;
    }

    bool take_literal()
    {
        if (!has_room(1)) {
            return false;
        }
        m_out[m_size++] = m_in[m_at++];
        return true;
    }

    bool take_reference()
    {
        if (!has(2)) {
            return false;
        }
        const unsigned word = take_word();
        return word < 16 ? take_run(word) : copy(word >> 4, (word & 15) + min_match);
    }

    bool take_run(unsigned high_byte)
    {
        if (!has(2)) {
            return false;
        }
        const unsigned length = (high_byte << 8 | m_in[m_at]) + min_run;
        if (length > max_run || !has_room(length)) {
            return false;
        }
        std::memset(m_out + m_size, m_in[m_at + 1], length);
        m_at += 2;
        m_size += length;
        return true;
    }

    // Byte by byte: the bytes may be those of this very copy.
    bool copy(unsigned distance, unsigned length)
    {
        if (distance > m_size || !has_room(length)) {
            return false;
        }
        for (const unsigned end = m_size + length; m_size < end; ++m_size) {
            m_out[m_size] = m_out[m_size - distance];
        }
        return true;
    }

    const unsigned char* m_in;
    unsigned m_len;
    unsigned char* m_out;
    unsigned m_room;
    unsigned m_at = 1;
    unsigned m_size = 0;
};

unsigned restore_stored(const unsigned char* in, unsigned len, unsigned char* out, unsigned room)
{
    const unsigned count = len - 1;
    if (count > room) {
        return 0;
    }
    std::copy_n(in + 1, count, out);
    return count;
}

} // namespace

unsigned short Compression(const unsigned char* in, unsigned char* out, unsigned short len)
{
    const unsigned size = Compressor(in, out, len).run();
    if (size <= len) {
        return static_cast<unsigned short>(size);
    }
    out[0] = LZ_STORED;
    std::copy_n(in, len, out + 1);
    return static_cast<unsigned short>(len + 1); // 65536 gives 0, the refusal
}

unsigned short Decompression(const unsigned char* in, unsigned char* out, unsigned short len, int room)
{
    if (len == 0) {
        return 0;
    }
    const auto most = static_cast<unsigned>(std::clamp(room, 0, 65535));
    if (in[0] == LZ_STORED) {
        return static_cast<unsigned short>(restore_stored(in, len, out, most));
    }
    Decompressor decompressor(in, len, out, most);
    if (in[0] != LZ_COMPRESSED || !decompressor.run()) {
        return 0;
    }
    return static_cast<unsigned short>(decompressor.size());
}

} // namespace qapi
