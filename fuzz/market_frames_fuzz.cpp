// Property: whatever a client sends and in whatever pieces it arrives, a market's decoder gives the same payloads and
// the same complaint, its views lie in what was sent or unpacked, and taking an envelope off or stamping a clock check
// stays inside the payload. Byte 0 chooses the pieces; the others are the stream.
#include "require.h"
#include "wire/envelope.h"
#include "wire/frames.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t longest_unpacked = 60096;

struct Outcome
{
    std::vector<std::string> payloads;
    std::string complaint;
    std::uint64_t alive_signals = 0;

    bool operator==(const Outcome&) const = default;
};

bool lies_in(std::string_view inner, std::string_view outer)
{
    const std::less_equal<const char*> ordered;
    return ordered(outer.data(), inner.data()) && ordered(inner.data() + inner.size(), outer.data() + outer.size());
}

void stamp(std::string message)
{
    const std::string before = message;
    const bool is_stamped = qm::Stamp_Clock_Check(message, {.tv_sec = 1'768'478'400, .tv_nsec = 999'999'999});
    require(message.size() == before.size());
    require(is_stamped != (message == before));
    require(!qm::Stamp_Clock_Check(message, {})); // once at most
}

// A heap buffer of exactly the payload's size, so that a byte beside it is noticed.
void take_envelope(const std::string& payload)
{
    const std::vector<char> bytes(payload.begin(), payload.end());
    const std::string_view view(bytes.data(), bytes.size());
    if (const auto envelope = qm::Take_Envelope(view)) {
        require(lies_in(envelope->message, view));
        require(envelope->machine.size() <= 4);
        stamp(std::string(envelope->message));
    }
}

void take_all(qm::FrameDecoder& decoder, Outcome& outcome)
{
    while (const auto payload = decoder.Next()) {
        require(payload->size() <= longest_unpacked);
        outcome.payloads.emplace_back(*payload);
    }
    outcome.complaint = decoder.complaint();
    outcome.alive_signals = decoder.alive_signals();
    require(decoder.is_broken() == !outcome.complaint.empty());
}

Outcome decoded(std::string_view stream, unsigned pieces)
{
    qm::FrameDecoder decoder;
    Outcome outcome;
    std::minstd_rand random(pieces + 1);
    for (std::size_t at = 0, size = 0; at < stream.size(); at += size) {
        size = pieces == 0 ? stream.size() : 1 + random() % pieces;
        const std::string_view piece = stream.substr(at, size);
        decoder.Feed(std::string_view(std::vector<char>(piece.begin(), piece.end()).data(), piece.size()));
        take_all(decoder, outcome);
    }
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string stream(data + 1, data + size);
    const Outcome whole = decoded(stream, 0);
    require(decoded(stream, 1 + data[0]) == whole);
    std::for_each(whole.payloads.begin(), whole.payloads.end(), take_envelope);
    take_envelope(stream);
    stamp(stream);
    return 0;
}
