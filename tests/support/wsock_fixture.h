// A WSocket with its clock in the test's hand, a ring for its records and a stream whose far end the test holds.
#pragma once

#include "arrm.h"
#include "global.h"
#include "support/fake_system.h"
#include "support/hex.h"
#include "support/stream_pair.h"
#include "support/wire_codec.h"
#include "support/wsock_access.h"
#include "transport/inbound_door.h"
#include "transport/transport_clock.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using Inside = WSocket_Test_Access;
using Statuses = std::vector<int>;
using Texts = std::vector<std::string>;

struct Record
{
    int status = -1;
    std::string data;
    const char* source = nullptr;
    std::string extra;

    [[nodiscard]] Connection_News news() const { return Load_News(extra.data()); }
    [[nodiscard]] std::string text() const { return source != nullptr ? source : "-"; }
};

inline constexpr unsigned start = 1'700'000'000; // second at which each test begins

inline std::string Zeros(std::size_t len)
{
    return std::string(len, '\0');
}

// Bytes without a zero among them that no compressor shortens; the same ones for a length and a seed.
std::string Noise(std::size_t len, unsigned seed = 1);

// What the form for its length makes short: one byte over and over, or one word and zero words behind it.
std::string Compressible(std::size_t len);

// Seals under a key without meaning.
std::string Sealed(std::string_view plain);

// A frame whose length field says something else than its payload.
std::string LyingFrame(std::string_view mark, unsigned len, std::string_view payload = {});

class WSocketTest : public testing::Test
{
protected:
    WSocketTest();
    ~WSocketTest() override;

    // A connection over a new stream, in the place of the one before.
    void Open(unsigned short mode = SENDPKTNORMAL);

    // ---- The far end
    void Feed(std::string_view bytes); // one write, and one look behind it
    void Feed_Envelope(std::string_view message) { Feed(MakeFrame("DTCP", MakeEnvelope(message))); }
    std::string Wire(); // what has come since
    std::vector<WireFrame> Frames();
    WireFrame Frame();   // the only one that came
    void Narrow() const; // the stream takes a few thousand bytes at most

    // ---- This end
    int Send(const std::string& payload);
    int Queue(const std::string& payload);
    void Look() { socket.Sock_Check(); }

    // ---- Its records, oldest first, which are taken out
    std::optional<Record> Take();
    std::vector<Record> Take_All();
    Statuses Take_Statuses();
    Texts Take_Messages();           // and nothing but messages
    std::string Take_Closing_Text(); // the source of the only record, which tells of a close

    // ---- Time
    void At(unsigned seconds); // so long behind the start; Control looks
    void Fall_To(std::int64_t tick, std::int64_t wall);

    FakeSystem system{start};
    CMss_Arr ring{6, 60'200, CMSS_FIFO};

private:
    std::unique_ptr<WSocket> m_socket; // behind the clock

protected:
    WSocket& socket;
    std::optional<StreamPair> stream;
};

// What a record says of a message that arrived.
inline std::string Delivered(std::string_view message, std::size_t zeros = 3)
{
    return std::string(message) + Zeros(zeros);
}
