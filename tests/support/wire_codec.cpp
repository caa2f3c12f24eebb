#include "support/wire_codec.h"

#include "compress/bsd.h"
#include "compress/rle.h"
#include "little_endian.h"
#include "support/idea_key.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::size_t mark_len = 4;
constexpr std::size_t frame_head_len = 6;
constexpr std::size_t longest_payload = 60000;
constexpr std::size_t envelope_head_len = 12; // ahead of the length of the groups
constexpr std::size_t envelope_tail_len = 3;
constexpr std::size_t longest_sealed_data = 4000;
constexpr std::size_t shortest_in_band = 1024; // payloads that go through zero-word suppression
constexpr std::size_t longest_in_band = 2048;

bool is_in_band(std::size_t length)
{
    return length >= shortest_in_band && length <= longest_in_band;
}

std::string word(std::size_t value)
{
    if (value > 65535) {
        throw WireError("a number of more than 16 bits");
    }
    std::string bytes(2, '\0');
    store_le(bytes.data(), static_cast<std::uint16_t>(value));
    return bytes;
}

// Takes a buffer apart from its front.
class Cutter
{
public:
    explicit Cutter(std::string_view bytes) : m_rest(bytes) {}

    std::string_view take(std::size_t count)
    {
        if (count > m_rest.size()) {
            throw WireError("bytes are missing");
        }
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return taken;
    }
    std::size_t take_word() { return load_le<std::uint16_t>(take(2).data()); }
    [[nodiscard]] std::size_t left() const { return m_rest.size(); }

private:
    std::string_view m_rest;
};

std::string group_bytes(const WireGroup& group)
{
    const std::size_t size = group.elements.empty() ? 0 : group.elements.front().size();
    std::string bytes = group.id + word(group.elements.size()) + word(size);
    for (const std::string& element : group.elements) {
        bytes += element;
    }
    return bytes;
}

std::vector<WireGroup> take_groups(std::string_view bytes)
{
    std::vector<WireGroup> groups;
    for (Cutter cutter(bytes); cutter.left() > 0;) {
        WireGroup group{.id = std::string(cutter.take(2)), .elements = {}};
        const std::size_t count = cutter.take_word();
        const std::size_t size = cutter.take_word();
        for (std::size_t i = 0; i < count; ++i) {
            group.elements.emplace_back(cutter.take(size));
        }
        groups.push_back(std::move(group));
    }
    return groups;
}

// A buffer at an address that zero-word suppression takes.
class AlignedBytes
{
public:
    explicit AlignedBytes(std::size_t size, std::string_view bytes = {}) : m_words(size / 8 + 1)
    {
        std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char*>(m_words.data()));
    }
    unsigned char* data() { return reinterpret_cast<unsigned char*>(m_words.data()); }
    std::string first(std::size_t count) { return {reinterpret_cast<const char*>(m_words.data()), count}; }

private:
    std::vector<std::uint64_t> m_words;
};

std::string without_zero_words(const std::string& plain)
{
    AlignedBytes in(plain.size(), plain);
    AlignedBytes out(RLE_MAX_BLOCK);
    return out.first(RLE_Compression(in.data(), out.data(), static_cast<unsigned short>(plain.size())));
}

std::string with_zero_words(const std::string& block)
{
    AlignedBytes in(block.size(), block);
    AlignedBytes out(RLE_MAX_LEN);
    const unsigned short length = RLE_Decompression(in.data(), out.data(), 0, static_cast<int>(block.size()));
    if (length == 0) {
        throw WireError("a bad block of zero-word suppression");
    }
    return out.first(length);
}

std::string exclusive_or(std::string_view left, std::string_view right)
{
    std::string result(left);
    std::transform(result.begin(), result.end(), right.begin(), result.begin(),
                   [](char one, char other) { return static_cast<char>(one ^ other); });
    return result;
}

// What the chain begins with: the first half of the key, the bytes of each pair exchanged.
std::string chain_start(std::string_view key)
{
    std::string start(key.substr(0, 8));
    for (std::size_t i = 0; i < start.size(); i += 2) {
        std::swap(start[i], start[i + 1]);
    }
    return start;
}

} // namespace

// ---- Frames --------------------------------------------------------------------------------------------------------

std::string MakeFrame(std::string_view mark, std::string_view payload)
{
    return std::string(mark) + word(payload.size()) + std::string(payload);
}

std::string AliveFrame()
{
    return MakeFrame("DTCP", {});
}

std::string WireFrame::bytes() const
{
    return MakeFrame(mark, payload);
}

std::optional<WireFrame> FrameReader::next()
{
    if (m_held.size() < frame_head_len) {
        return std::nullopt;
    }
    const std::size_t length = load_le<std::uint16_t>(m_held.data() + mark_len);
    if (length > longest_payload) {
        throw WireError("a frame of " + std::to_string(length) + " bytes");
    }
    if (m_held.size() < frame_head_len + length) {
        return std::nullopt;
    }
    WireFrame frame{m_held.substr(0, mark_len), m_held.substr(frame_head_len, length)};
    m_held.erase(0, frame_head_len + length);
    return frame;
}

// ---- Envelopes -----------------------------------------------------------------------------------------------------

std::string MakeEnvelope(std::string_view message, const std::vector<WireGroup>& groups, int priority, int type,
                         std::string_view machine)
{
    std::string all_groups;
    for (const WireGroup& group : groups) {
        all_groups += group_bytes(group);
    }
    std::string body = word(all_groups.size()) + all_groups + word(message.size() + envelope_tail_len);
    body += std::string(message) + std::string(envelope_tail_len, '\0');
    const std::string head = word(1) + word(envelope_head_len + body.size()) + word(static_cast<unsigned>(type)) +
                             word(static_cast<unsigned>(priority)) + std::string(machine);
    if (head.size() != envelope_head_len) {
        throw WireError("a machine has four letters");
    }
    return head + body;
}

WireEnvelope TakeEnvelope(std::string_view payload)
{
    Cutter cutter(payload);
    WireEnvelope envelope;
    envelope.flags = static_cast<int>(cutter.take_word());
    const std::size_t whole = cutter.take_word();
    envelope.type = static_cast<int>(cutter.take_word());
    envelope.priority = static_cast<int>(cutter.take_word());
    envelope.machine = cutter.take(4);
    envelope.groups = take_groups(cutter.take(cutter.take_word()));
    const std::size_t data_len = cutter.take_word();
    const std::string data(cutter.take(data_len));
    if (payload.size() - cutter.left() != whole) {
        throw WireError("the envelope's length is not the sum of its parts");
    }
    if (data_len < envelope_tail_len || data.substr(data_len - envelope_tail_len) != std::string(3, '\0')) {
        throw WireError("no three zero bytes behind the message");
    }
    envelope.message = data.substr(0, data_len - envelope_tail_len);
    return envelope;
}

// ---- Encryption ----------------------------------------------------------------------------------------------------

std::string SealDirect(std::string_view plain, const std::string& key)
{
    if (plain.size() > longest_sealed_data) {
        throw WireError("too much to encrypt");
    }
    std::string padded(plain);
    padded.resize((plain.size() + 7) / 8 * 8);
    const Schedule schedule = Expanded(key);
    std::string sealed = word(plain.size()) + key + key.substr(2, 2);
    std::string chain = chain_start(key);
    for (std::size_t at = 0; at < padded.size(); at += 8) {
        chain = Ciphered(exclusive_or(chain, padded.substr(at, 8)), schedule);
        sealed += chain;
    }
    return sealed;
}

std::string OpenDirect(std::string_view sealed)
{
    Cutter cutter(sealed);
    const std::size_t length = cutter.take_word();
    const std::string key(cutter.take(16));
    if (cutter.take(2) != key.substr(2, 2)) {
        throw WireError("the check word is not that of the key");
    }
    if (cutter.left() != (length + 7) / 8 * 8) {
        throw WireError("the ciphertext has not the length of its data");
    }
    const Schedule schedule = Inverted(Expanded(key));
    std::string chain = chain_start(key);
    std::string plain;
    while (cutter.left() > 0) {
        const std::string block(cutter.take(8));
        plain += exclusive_or(Ciphered(block, schedule), chain);
        chain = block;
    }
    return plain.substr(0, length);
}

// ---- Sending -------------------------------------------------------------------------------------------------------

void WireDictionaryFree::operator()(void* state) const
{
    bsd_free(state);
}

WireEncoder::WireEncoder(int mode) : m_mode(mode), m_dictionary(bsd_comp_alloc())
{
    bsd_comp_init(m_dictionary.get(), 0, 0, 0);
}

WireFrame WireEncoder::Encode(const std::string& plain)
{
    if (plain.empty() || m_mode == 1) {
        return {"DTCP", plain};
    }
    if (m_mode == 0) {
        return {"DTCE", Sealed(plain)};
    }
    return m_mode == 2 ? Compressed(plain) : Compressed_And_Sealed(plain);
}

// A new key for each frame, as the library has it.
std::string WireEncoder::Sealed(const std::string& plain)
{
    std::string key(16, '\0');
    std::generate(key.begin(), key.end(), [this] { return static_cast<char>(m_keys() & 255); });
    return SealDirect(plain, key);
}

// The dictionary sees the payload, whether its packet is sent or not.
std::string WireEncoder::Dictionary_Form(const std::string& plain)
{
    std::string packet(plain.size() * 2 + 16, '\0');
    const int length = bsd_compress(m_dictionary.get(), BytesOf(plain), BytesOf(packet), static_cast<int>(plain.size()),
                                    static_cast<int>(packet.size()));
    packet.resize(static_cast<std::size_t>(length));
    return packet;
}

WireFrame WireEncoder::Compressed(const std::string& plain)
{
    if (!is_in_band(plain.size())) {
        const std::string packet = Dictionary_Form(plain);
        return packet.size() < plain.size() ? WireFrame{"DTBC", packet} : WireFrame{"DTNC", plain};
    }
    const std::string block = without_zero_words(plain);
    if (block.size() < plain.size()) {
        return {"DTRC", block};
    }
    return {"DTCP", overlong ? plain + std::string(block.size() - plain.size(), '\0') : plain};
}

WireFrame WireEncoder::Compressed_And_Sealed(const std::string& plain)
{
    if (!is_in_band(plain.size())) {
        const std::string packet = Dictionary_Form(plain);
        return packet.size() < plain.size() ? WireFrame{"DTBE", Sealed(packet)} : WireFrame{"DTNE", Sealed(plain)};
    }
    const std::string block = without_zero_words(plain);
    return block.size() < plain.size() ? WireFrame{"DTRE", Sealed(block)} : WireFrame{"DTCE", Sealed(plain)};
}

// ---- Receiving -----------------------------------------------------------------------------------------------------

WireDecoder::WireDecoder() : m_dictionary(bsd_decomp_alloc())
{
    bsd_decomp_init(m_dictionary.get(), 0, 0, 0);
}

std::string WireDecoder::Decode(const WireFrame& frame)
{
    const auto& [mark, payload] = frame;
    if (mark == "DTCP") {
        return payload;
    }
    if (mark == "DTCE") {
        return OpenDirect(payload);
    }
    if (mark == "DTBC") {
        return Restored(payload);
    }
    if (mark == "DTBE") {
        return Restored(OpenDirect(payload));
    }
    if (mark == "DTRC") {
        return with_zero_words(payload);
    }
    if (mark == "DTRE") {
        return with_zero_words(OpenDirect(payload));
    }
    if (mark == "DTNC") {
        return Seen(payload);
    }
    if (mark == "DTNE") {
        return Seen(OpenDirect(payload));
    }
    throw WireError("no such mark: " + mark);
}

// A good packet advances the count of packets, and only that tells one of 19999 bytes from a bad one.
std::string WireDecoder::Restored(const std::string& packet)
{
    const auto* state = static_cast<const bsd_db*>(m_dictionary.get());
    const std::uint16_t packets = state->seqno;
    std::string plain(BSD_BUFFER_SIZE, '\0');
    const int length = bsd_decompress(m_dictionary.get(), BytesOf(packet), static_cast<int>(packet.size()),
                                      BytesOf(plain), static_cast<int>(plain.size()));
    if (state->seqno == packets) {
        throw WireError("a bad packet of the dictionary");
    }
    plain.resize(static_cast<std::size_t>(length - 3));
    return plain;
}

// The dictionary learns from a payload that travelled plain.
std::string WireDecoder::Seen(std::string plain)
{
    bsd_incomp(m_dictionary.get(), BytesOf(plain), static_cast<int>(plain.size()));
    return plain;
}
