// The wire as the tests speak it: frames, envelopes and the forms of a payload, written apart from the transport, so
// that two equal mistakes can't hide each other. It builds on the compressors and on the block cipher, which have
// published or hand-made vectors of their own, and keeps nothing process-wide: a peer may run it beside the library's
// threads.
//
// Whatever can't be taken apart throws WireError, which fails the test that didn't expect it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

class WireError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// ---- Frames

struct WireFrame
{
    std::string mark;
    std::string payload;

    bool operator==(const WireFrame&) const = default;
    [[nodiscard]] bool is_alive_signal() const { return mark == "DTCP" && payload.empty(); }
    [[nodiscard]] std::string bytes() const;
};

std::string MakeFrame(std::string_view mark, std::string_view payload);
std::string AliveFrame();

// Cuts a stream into frames. Marks aren't judged.
class FrameReader
{
public:
    void feed(std::string_view bytes) { m_held += bytes; }
    std::optional<WireFrame> next();
    [[nodiscard]] const std::string& held() const { return m_held; } // what no frame has been made of

private:
    std::string m_held;
};

// ---- Envelopes

struct WireGroup
{
    std::string id;                    // two letters
    std::vector<std::string> elements; // of one size

    bool operator==(const WireGroup&) const = default;
};

struct WireEnvelope
{
    int flags = 0;
    int type = 0;
    int priority = 0;
    std::string machine;
    std::vector<WireGroup> groups;
    std::string message;
};

std::string MakeEnvelope(std::string_view message, const std::vector<WireGroup>& groups = {}, int priority = 4,
                         int type = 100, std::string_view machine = "SERV");

// Bytes behind the envelope are allowed: a frame may carry more than its envelope says.
WireEnvelope TakeEnvelope(std::string_view payload);

// ---- Forms of a payload

// The directly keyed form of encryption.
std::string SealDirect(std::string_view plain, const std::string& key);
std::string OpenDirect(std::string_view sealed);

struct WireDictionaryFree
{
    void operator()(void* state) const;
};
using WireDictionary = std::unique_ptr<void, WireDictionaryFree>;

// One direction of a connection, at its sending end. `mode`: 0 encrypts, 1 leaves plain, 2 compresses, 3 does both.
class WireEncoder
{
public:
    explicit WireEncoder(int mode = 1);

    WireFrame Encode(const std::string& plain); // of nothing: the alive signal

    // In mode 2, a payload of 1024 to 2048 bytes that zero-word suppression can't shorten gets the length that this
    // would have had, with zeros behind the payload, as the library's own frames have other bytes there.
    bool overlong = false;

private:
    [[nodiscard]] std::string Sealed(const std::string& plain);
    [[nodiscard]] std::string Dictionary_Form(const std::string& plain);
    WireFrame Compressed(const std::string& plain);
    WireFrame Compressed_And_Sealed(const std::string& plain);

    int m_mode;
    std::mt19937 m_keys;
    WireDictionary m_dictionary;
};

// The receiving end; takes every mark in any order.
class WireDecoder
{
public:
    WireDecoder();

    std::string Decode(const WireFrame& frame);

private:
    [[nodiscard]] std::string Restored(const std::string& packet);
    std::string Seen(std::string plain);

    WireDictionary m_dictionary;
};
