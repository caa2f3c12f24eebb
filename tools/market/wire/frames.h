// Frames (docs/wire_format.md) as a market sends and takes them, for one connection: an encoder and a decoder, each
// with the dictionary of its direction. The compressors and the block cipher are the library's; nothing here is
// process-wide, so that one process serves many clients.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qm {

enum class SendMode
{
    encrypt = 0,
    plain = 1,
    compress = 2,
    both = 3
};

inline constexpr std::size_t LONGEST_PAYLOAD = 4000; // that any mode can carry; plain ones may have up to 59994 bytes

struct DictionaryFree
{
    void operator()(void* state) const;
};
using Dictionary = std::unique_ptr<void, DictionaryFree>;

class FrameEncoder
{
public:
    explicit FrameEncoder(SendMode mode);

    // Appends the frame of a payload, which lies elsewhere than in `out`. An empty payload makes the alive signal.
    // False for a payload that is too long for the mode: `out` stays as it is.
    bool Append(std::string& out, std::string_view payload);

    [[nodiscard]] std::size_t longest_payload() const;

private:
    [[nodiscard]] std::string_view Pack(std::string& out, std::string_view payload);
    [[nodiscard]] std::string_view Pack_By_Dictionary(std::string& out, std::string_view payload);

    SendMode m_mode;
    Dictionary m_dictionary;
};

// Takes bytes in any pieces and gives payloads. What can't be a frame, and a payload that can't be unpacked, breaks it
// for good: its connection is to be closed.
class FrameDecoder
{
public:
    FrameDecoder();

    void Feed(std::string_view bytes);

    // The next payload, unpacked; none if no whole frame is there. Alive signals are counted and passed over. Valid
    // until the next call of either function.
    std::optional<std::string_view> Next();

    // The complaint tells at which byte of the stream the bad frame begins.
    [[nodiscard]] bool is_broken() const { return !m_complaint.empty(); }
    [[nodiscard]] const std::string& complaint() const { return m_complaint; } // why
    [[nodiscard]] const std::string& last_mark() const { return m_mark; }      // of the frame that Next gave
    [[nodiscard]] std::uint64_t alive_signals() const { return m_alive_signals; }

private:
    std::optional<std::string_view> Unpack(std::string_view payload);
    std::optional<std::string_view> Unpack_By_Dictionary(std::string_view packet);
    std::optional<std::string_view> Unpack_Zero_Words(std::string_view packed);
    void Break(const std::string& what);

    Dictionary m_dictionary;
    std::string m_held;
    std::size_t m_taken = 0;      // bytes of m_held that are done with
    std::uint64_t m_position = 0; // of the frame under way, in the stream
    std::string m_opened;         // what was encrypted
    std::string m_unpacked;
    std::string m_mark;
    std::string m_complaint;
    std::uint64_t m_alive_signals = 0;
};

} // namespace qm
