#include "support/wsock_fixture.h"

#include "little_endian.h"
#include "qcapi/support.h"

#include <algorithm>
#include <array>
#include <random>

namespace {

constexpr std::int64_t first_tick = 1'000'000;
constexpr std::int64_t far_above = 1'000'000'000;

} // namespace

std::string Noise(std::size_t len, unsigned seed)
{
    std::mt19937 random(seed);
    std::string bytes(len, '\0');
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<char>(1 + random() % 255); });
    return bytes;
}

std::string Compressible(std::size_t len)
{
    const bool in_band = len >= 1024 && len <= 2048;
    return in_band ? std::string(8, 'a') + Zeros(len - 8) : std::string(len, 'a');
}

std::string Sealed(std::string_view plain)
{
    return SealDirect(plain, "0123456789abcdef");
}

std::string LyingFrame(std::string_view mark, unsigned len, std::string_view payload)
{
    std::string head = std::string(mark) + Zeros(2);
    store_le(head.data() + 4, static_cast<std::uint16_t>(len));
    return head + std::string(payload);
}

WSocketTest::WSocketTest() : m_socket((Fall_To(first_tick, start), std::make_unique<WSocket>())), socket(*m_socket)
{
    socket.Set_Ring(&ring);
    socket.Set_Identity("D", 1);
}

WSocketTest::~WSocketTest()
{
    COMMON_Adjust_Time(0);
}

void WSocketTest::Fall_To(std::int64_t tick, std::int64_t wall)
{
    system.ticks = tick + far_above;
    COMMON_GetTime();
    system.wall = wall;
    system.ticks = tick;
    COMMON_GetTime();
}

void WSocketTest::Open(unsigned short mode)
{
    socket.Close();
    stream.emplace();
    ASSERT_TRUE(stream->Good());
    socket.Set_Send_Mode(mode);
    Inside::Adopt(socket, stream->Release_Near());
}

void WSocketTest::Feed(std::string_view bytes)
{
    ASSERT_EQ(stream->Write(bytes), bytes.size());
    Look();
}

std::string WSocketTest::Wire()
{
    std::string bytes;
    std::array<char, 65536> chunk;
    for (ssize_t got = 0; (got = recv(stream->Far(), chunk.data(), chunk.size(), MSG_DONTWAIT)) > 0;) {
        bytes.append(chunk.data(), static_cast<std::size_t>(got));
    }
    return bytes;
}

std::vector<WireFrame> WSocketTest::Frames()
{
    FrameReader reader;
    reader.feed(Wire());
    std::vector<WireFrame> frames;
    while (auto frame = reader.next()) {
        frames.push_back(std::move(*frame));
    }
    EXPECT_EQ(reader.held(), "");
    return frames;
}

WireFrame WSocketTest::Frame()
{
    const std::vector<WireFrame> frames = Frames();
    EXPECT_EQ(frames.size(), 1U);
    return frames.empty() ? WireFrame{} : frames.front();
}

void WSocketTest::Narrow() const
{
    const int least = 1;
    setsockopt(socket.Get_Sockfd(), SOL_SOCKET, SO_SNDBUF, &least, sizeof least);
}

int WSocketTest::Send(const std::string& payload)
{
    return socket.AddRecToSend(payload.data(), static_cast<unsigned short>(payload.size()));
}

int WSocketTest::Queue(const std::string& payload)
{
    return socket.Queue_Record(payload.data(), static_cast<unsigned short>(payload.size()));
}

std::optional<Record> WSocketTest::Take()
{
    std::string data(static_cast<std::size_t>(ring.Get_Rec_Len()), '\0');
    int len = 0;
    Record record{.status = -1, .data = {}, .source = nullptr, .extra = Zeros(CMSS_EXTRA_LEN)};
    record.status = ring.Withdraw(data.data(), &len, &record.source, record.extra.data());
    if (record.status == -1) {
        return std::nullopt;
    }
    record.data.assign(data.data(), static_cast<std::size_t>(len));
    return record;
}

std::vector<Record> WSocketTest::Take_All()
{
    std::vector<Record> records;
    while (auto record = Take()) {
        records.push_back(std::move(*record));
    }
    return records;
}

Statuses WSocketTest::Take_Statuses()
{
    Statuses statuses;
    for (const Record& record : Take_All()) {
        statuses.push_back(record.status);
    }
    return statuses;
}

Texts WSocketTest::Take_Messages()
{
    Texts messages;
    for (Record& record : Take_All()) {
        EXPECT_EQ(record.status, TCP_STATUS_PACKET_RECEIVED);
        messages.push_back(std::move(record.data));
    }
    return messages;
}

std::string WSocketTest::Take_Closing_Text()
{
    const std::vector<Record> records = Take_All();
    EXPECT_EQ(records.size(), 1U);
    if (records.empty()) {
        return "no record";
    }
    EXPECT_EQ(records.front().status, TCP_STATUS_CLOSED_CONNECTION);
    return records.front().text();
}

void WSocketTest::At(unsigned seconds)
{
    const unsigned now = Transport_Seconds();
    system.advance_seconds(std::int64_t{start} + seconds - now);
    socket.Control(Transport_Seconds());
}
