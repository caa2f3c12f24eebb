#include "wire/frames.h"

#include "compress/bsd.h"
#include "compress/rle.h"
#include "little_endian.h"
#include "wire/sealed.h"
#include "wire/words.h"

#include <algorithm>
#include <array>
#include <new>

namespace qm {

namespace {

constexpr std::size_t mark_len = 4;
constexpr std::size_t head_len = 6;
constexpr std::size_t longest_on_wire = 60000;
constexpr std::size_t longest_plain = longest_on_wire - head_len;
constexpr std::string_view plain_mark = "DTCP";

constexpr std::size_t shortest_in_band = 1024; // payloads that go through zero-word suppression
constexpr std::size_t longest_in_band = 2048;
static_assert(longest_in_band == RLE_MAX_LEN);

enum class Form
{
    as_it_is,
    dictionary, // a packet of the dictionary
    seen,       // as it is; the dictionary passed it, and the receiver's is to do so too
    zero_words
};

struct Mark
{
    std::string_view text;
    Form form;
    bool sealed;
};

constexpr std::array<Mark, 8> marks{{
    {"DTCP", Form::as_it_is, false},
    {"DTBC", Form::dictionary, false},
    {"DTRC", Form::zero_words, false},
    {"DTNC", Form::seen, false},
    {"DTCE", Form::as_it_is, true},
    {"DTBE", Form::dictionary, true},
    {"DTRE", Form::zero_words, true},
    {"DTNE", Form::seen, true},
}};

const Mark* mark_of(std::string_view text)
{
    const auto* const found = std::find_if(marks.begin(), marks.end(), [&](const Mark& m) { return m.text == text; });
    return found != marks.end() ? found : nullptr;
}

bool is_sealing(SendMode mode)
{
    return mode == SendMode::encrypt || mode == SendMode::both;
}

bool is_compressing(SendMode mode)
{
    return mode == SendMode::compress || mode == SendMode::both;
}

bool is_in_band(std::size_t length)
{
    return length >= shortest_in_band && length <= longest_in_band;
}

const unsigned char* bytes(std::string_view data)
{
    return reinterpret_cast<const unsigned char*>(data.data());
}

unsigned char* bytes(std::string& data)
{
    return reinterpret_cast<unsigned char*>(data.data());
}

Dictionary checked(void* state)
{
    if (state == nullptr) {
        throw std::bad_alloc();
    }
    return Dictionary(state);
}

// An address that zero-word suppression takes, with room for its longest block.
struct Block
{
    alignas(8) std::array<unsigned char, RLE_MAX_BLOCK> bytes;

    void Take(std::string_view data) // the last word is read whole
    {
        std::copy(data.begin(), data.end(), bytes.begin());
        const std::size_t words_end = std::min((data.size() + 7) / 8 * 8, bytes.size());
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(data.size()),
                  bytes.begin() + static_cast<std::ptrdiff_t>(words_end), std::uint8_t{0});
    }
    [[nodiscard]] std::string_view First(std::size_t count) const
    {
        return {reinterpret_cast<const char*>(bytes.data()), count};
    }
};

// Appends the payload without its zero words. One that would grow is appended as it is, and its frame is as long as
// the block would have been, if it travels plain.
std::string_view pack_zero_words(std::string& out, std::string_view payload, bool sealed)
{
    Block in;    // NOLINT(cppcoreguidelines-pro-type-member-init): filled below
    Block block; // NOLINT(cppcoreguidelines-pro-type-member-init)
    in.Take(payload);
    const std::size_t length =
        RLE_Compression(in.bytes.data(), block.bytes.data(), static_cast<unsigned short>(payload.size()));
    if (length < payload.size()) {
        out.append(block.First(length));
        return sealed ? "DTRE" : "DTRC";
    }
    out.append(payload);
    if (!sealed) {
        out.append(length - payload.size(), '\0');
    }
    return sealed ? "DTCE" : plain_mark;
}

std::string hex_of(std::string_view data)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : data) {
        const auto value = static_cast<unsigned char>(byte);
        text += text.empty() ? "" : " ";
        text += digits[value / 16];
        text += digits[value % 16];
    }
    return text;
}

} // namespace

void DictionaryFree::operator()(void* state) const
{
    bsd_free(state);
}

// ---- Sending

FrameEncoder::FrameEncoder(SendMode mode)
    : m_mode(mode), m_dictionary(is_compressing(mode) ? checked(bsd_comp_alloc()) : Dictionary())
{
}

std::size_t FrameEncoder::longest_payload() const
{
    return is_sealing(m_mode) ? LONGEST_SEALED : longest_plain;
}

bool FrameEncoder::Append(std::string& out, std::string_view payload)
{
    if (payload.size() > longest_payload()) {
        return false;
    }
    const std::size_t head = out.size();
    out.append(plain_mark);
    Append_Word(out, payload.size());
    if (m_mode == SendMode::plain || payload.empty()) {
        out.append(payload);
        return true;
    }
    const std::string_view mark = Pack(out, payload);
    mark.copy(out.data() + head, mark_len);
    store_le(out.data() + head + mark_len, static_cast<std::uint16_t>(out.size() - head - head_len));
    return true;
}

// Appends the payload in its form and returns the mark of that.
std::string_view FrameEncoder::Pack(std::string& out, std::string_view payload)
{
    if (m_mode == SendMode::encrypt) {
        Append_Sealed(out, payload);
        return "DTCE";
    }
    const bool in_band = is_in_band(payload.size());
    if (m_mode == SendMode::compress) {
        return in_band ? pack_zero_words(out, payload, false) : Pack_By_Dictionary(out, payload);
    }
    std::string packed;
    const std::string_view mark =
        in_band ? pack_zero_words(packed, payload, true) : Pack_By_Dictionary(packed, payload);
    Append_Sealed(out, packed);
    return mark;
}

// The dictionary passes the payload, whether its packet is sent or not. A packet that gains nothing isn't written
// behind the payload's length.
std::string_view FrameEncoder::Pack_By_Dictionary(std::string& out, std::string_view payload)
{
    const bool sealed = is_sealing(m_mode);
    const std::size_t at = out.size();
    out.resize(at + payload.size());
    const auto length =
        static_cast<std::size_t>(bsd_compress(m_dictionary.get(), bytes(payload), bytes(out) + at,
                                              static_cast<int>(payload.size()), static_cast<int>(payload.size())));
    if (length < payload.size()) {
        out.resize(at + length);
        return sealed ? "DTBE" : "DTBC";
    }
    std::copy(payload.begin(), payload.end(), out.begin() + static_cast<std::ptrdiff_t>(at));
    return sealed ? "DTNE" : "DTNC";
}

// ---- Receiving

FrameDecoder::FrameDecoder() : m_dictionary(checked(bsd_decomp_alloc())) {}

// What is done with is dropped when it is at least half of what is held: each byte is so moved once at most, on
// average.
void FrameDecoder::Feed(std::string_view bytes)
{
    if (is_broken()) {
        return;
    }
    if (m_taken > 0 && m_taken >= m_held.size() - m_taken) {
        m_held.erase(0, m_taken);
        m_taken = 0;
    }
    m_held.append(bytes);
}

std::optional<std::string_view> FrameDecoder::Next()
{
    while (!is_broken() && m_held.size() - m_taken >= head_len) {
        const std::string_view rest = std::string_view(m_held).substr(m_taken);
        const std::string_view mark = rest.substr(0, mark_len);
        const std::size_t length = load_le<std::uint16_t>(rest.data() + mark_len);
        if (mark_of(mark) == nullptr) {
            Break(hex_of(mark) + " is no mark");
        } else if (length > longest_on_wire) {
            Break("a length of " + std::to_string(length) + " bytes is above " + std::to_string(longest_on_wire));
        } else if (rest.size() - head_len < length) {
            break;
        } else if (length == 0) {
            ++m_alive_signals;
            m_taken += head_len;
            m_position += head_len;
        } else {
            m_mark = mark;
            const auto payload = Unpack(rest.substr(head_len, length));
            m_taken += head_len + length;
            m_position += head_len + length;
            return payload;
        }
    }
    return std::nullopt;
}

std::optional<std::string_view> FrameDecoder::Unpack(std::string_view payload)
{
    const Mark& mark = *mark_of(m_mark);
    if (mark.sealed) {
        if (!Open_Sealed(m_opened, payload)) {
            Break("what it carries can't be decrypted");
            return std::nullopt;
        }
        payload = m_opened;
    }
    switch (mark.form) {
    case Form::dictionary:
        return Unpack_By_Dictionary(payload);
    case Form::zero_words:
        return Unpack_Zero_Words(payload);
    case Form::seen:
        bsd_incomp(m_dictionary.get(), bytes(payload), static_cast<int>(payload.size()));
        return payload;
    default:
        return payload;
    }
}

// A good packet advances the count of packets, and only that tells one of 19999 bytes from a bad one.
std::optional<std::string_view> FrameDecoder::Unpack_By_Dictionary(std::string_view packet)
{
    const bsd_db& state = *static_cast<const bsd_db*>(m_dictionary.get());
    const std::uint16_t packets = state.seqno;
    m_unpacked.resize(BSD_BUFFER_SIZE); // for good: it is the longest payload
    const int result = bsd_decompress(m_dictionary.get(), bytes(packet), static_cast<int>(packet.size()),
                                      bytes(m_unpacked), static_cast<int>(m_unpacked.size()));
    if (result == BSD_BAD_CODE && state.seqno == packets) {
        Break("what it carries is no packet of the dictionary");
        return std::nullopt;
    }
    return std::string_view(m_unpacked).substr(0, static_cast<std::size_t>(result - BSD_OVERHEAD));
}

// Bytes behind the longest block mean nothing.
std::optional<std::string_view> FrameDecoder::Unpack_Zero_Words(std::string_view packed)
{
    Block in;    // NOLINT(cppcoreguidelines-pro-type-member-init): filled below
    Block plain; // NOLINT(cppcoreguidelines-pro-type-member-init)
    const std::string_view block = packed.substr(0, RLE_MAX_BLOCK);
    in.Take(block);
    const std::size_t length =
        RLE_Decompression(in.bytes.data(), plain.bytes.data(), 0, static_cast<int>(block.size()));
    if (length == 0) {
        Break("what it carries is no block without zero words");
        return std::nullopt;
    }
    m_unpacked.resize(std::max(m_unpacked.size(), length)); // never shorter: growing again costs zeros
    plain.First(length).copy(m_unpacked.data(), length);
    return std::string_view(m_unpacked).substr(0, length);
}

void FrameDecoder::Break(const std::string& what)
{
    m_complaint = "bad frame at byte " + std::to_string(m_position) + ": " + what;
}

} // namespace qm
