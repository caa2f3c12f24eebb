// Two ends of a connection, in any pair of send modes, over a stream that loses nothing but cuts anywhere: every
// message arrives whole, once and in order, and what a form adds behind it is zero. The input: a byte with the two
// modes (bits 0 and 1, 2 and 3), then actions. Bits 0 and 1 of an action's first byte tell it: 0 and 1 one end sends a
// message whose length and content the next four bytes make; 2 and 3 so many bytes, by the next two, are carried from
// one end to the other and the receiver looks.
#include "arrm.h"
#include "global.h"
#include "require.h"
#include "support/stream_pair.h"
#include "support/wsock_access.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

namespace {

constexpr std::size_t longest_message = 3200;
constexpr std::size_t envelope_len = 16;

std::string message_of(const unsigned char* seed)
{
    const std::size_t len = 1 + (seed[0] + seed[1] * 256U) % longest_message;
    std::string message(len, '\0');
    std::uint32_t state = seed[2] * 2654435761U + 12345;
    for (char& byte : message) {
        state = state * 1664525U + 1013904223U;
        const unsigned drawn = state >> 24;
        byte = static_cast<char>(drawn < seed[3] ? drawn : seed[2] & 15U); // from one byte over and over to noise
    }
    if (message.compare(0, 3, "869") == 0) {
        message[0] = '1';
    }
    return message;
}

std::string in_envelope(const std::string& message)
{
    std::string envelope(envelope_len, '\0');
    envelope[0] = 1;
    envelope[4] = 100;
    return envelope + message;
}

class End
{
public:
    explicit End(unsigned mode) : m_ring(6, MESSAGE_TRANS_RECORD_SIZE, CMSS_FIFO)
    {
        require(m_stream.Good());
        m_socket.Set_Ring(&m_ring);
        m_socket.Set_Identity("D", 1);
        m_socket.Set_Send_Mode(static_cast<unsigned short>(mode));
        WSocket_Test_Access::Adopt(m_socket, m_stream.Release_Near());
    }

    // False without room in the queue.
    bool Send(const std::string& message)
    {
        const std::string payload = in_envelope(message);
        return m_socket.AddRecToSend(payload.data(), static_cast<unsigned short>(payload.size())) != 0;
    }

    // Takes what this end has put on the wire.
    void Drain_Into(std::string& pipe)
    {
        std::array<char, 65536> chunk;
        for (ssize_t got = 0; (got = recv(m_stream.Far(), chunk.data(), chunk.size(), MSG_DONTWAIT)) > 0;) {
            pipe.append(chunk.data(), static_cast<std::size_t>(got));
            Look();
        }
    }

    void Feed(std::string_view bytes)
    {
        while (!bytes.empty()) {
            bytes.remove_prefix(m_stream.Write(bytes));
            Look();
        }
    }

    void Expect(std::deque<std::string>& sent)
    {
        std::array<char, MESSAGE_TRANS_RECORD_SIZE> data{};
        int len = 0;
        while (m_ring.Check_For_Any_Pkt_Without_Wait() != 0) {
            require(m_ring.Withdraw(data.data(), &len, nullptr, nullptr) == TCP_STATUS_PACKET_RECEIVED);
            require(!sent.empty());
            const std::string_view record(data.data(), static_cast<std::size_t>(len));
            const std::string& message = sent.front();
            require(record.substr(0, message.size()) == message);
            const std::string_view added = record.substr(message.size());
            require(added.size() <= 48 && std::all_of(added.begin(), added.end(), [](char byte) { return byte == 0; }));
            sent.pop_front();
        }
    }

private:
    void Look()
    {
        m_socket.Control(0); // no time-out is due
        m_socket.Sock_Check();
        require(m_socket.GetState() == CONN_STATE_OPENED);
    }

    CMss_Arr m_ring;
    WSocket m_socket;
    StreamPair m_stream;
};

struct Direction
{
    End* from;
    End* to;
    std::string pipe;
    std::deque<std::string> under_way;

    void Send(const std::string& message)
    {
        if (from->Send(message)) {
            under_way.push_back(message);
        }
    }

    void Carry(std::size_t count)
    {
        from->Drain_Into(pipe);
        count = std::min(count, pipe.size());
        to->Feed(std::string_view(pipe).substr(0, count));
        pipe.erase(0, count);
        to->Expect(under_way);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    End left(data[0] & 3U);
    End right(data[0] >> 2 & 3U);
    Direction there{&left, &right, {}, {}};
    Direction back{&right, &left, {}, {}};
    int sent = 0;
    for (std::size_t at = 1; at + 5 <= size && sent < 300;) {
        Direction& direction = (data[at] & 1U) != 0 ? back : there;
        if ((data[at] & 2U) == 0) {
            direction.Send(message_of(data + at + 1));
            ++sent;
            at += 5;
        } else {
            direction.Carry(data[at + 1] + data[at + 2] * 16U);
            at += 3;
        }
    }
    for (Direction* direction : {&there, &back}) {
        while (!direction->under_way.empty()) {
            const std::size_t before = direction->under_way.size();
            direction->Carry(SIZE_MAX);
            require(direction->under_way.size() < before);
        }
    }
    return 0;
}
