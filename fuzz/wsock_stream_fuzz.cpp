// Whatever a peer sends: nothing is touched outside the buffers, the socket stays usable or closes, and a good frame
// that arrives in a read of its own behind all that is delivered, as long as the connection is open.
// The input is a list of parts. The first byte of a part is its kind: 0 to 7 a frame of that mark with its true length,
// 8 one with a length that the next two bytes tell, 9 bytes as they are, 10 an alive signal, 11 a frame of mark 4 to 6
// sealed with the key that its content begins with; the second byte is the length of its content. Bit 7 of the kind
// ends the read.
#include "arrm.h"
#include "global.h"
#include "require.h"
#include "support/stream_pair.h"
#include "support/wsock_access.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

namespace {

constexpr std::array<const char*, 8> marks{"DTCP", "DTBC", "DTCE", "DTRC", "DTNE", "DTBE", "DTRE", "DTNC"};

std::string frame(const char* mark, const std::string& content, std::size_t stated_len)
{
    std::string bytes(mark);
    bytes += static_cast<char>(stated_len & 255);
    bytes += static_cast<char>(stated_len >> 8 & 255);
    return bytes + content;
}

// The header of an encrypted frame: length of the plain data, key, its check word.
std::string sealed(const std::string& content)
{
    std::string key = content.substr(0, 16);
    key.resize(16, 'k');
    const std::string body = content.substr(std::min<std::size_t>(16, content.size())) + std::string(8, 'p');
    const std::size_t len = body.size() / 8 * 8;
    std::string bytes;
    bytes += static_cast<char>(len & 255);
    bytes += static_cast<char>(len >> 8);
    return bytes + key + key.substr(2, 2) + body.substr(0, len);
}

std::string good_message()
{
    return "111 is a plain message";
}

std::string good_frame()
{
    const std::string message = good_message();
    std::string envelope(16, '\0');
    envelope[0] = 1;
    envelope[2] = static_cast<char>(envelope.size() + message.size());
    envelope[14] = static_cast<char>(message.size());
    return frame("DTCP", envelope + message, envelope.size() + message.size());
}

class Connection
{
public:
    Connection() : m_ring(6, MESSAGE_TRANS_RECORD_SIZE, CMSS_FIFO)
    {
        require(m_stream.Good());
        m_socket.Set_Ring(&m_ring);
        m_socket.Set_Identity("D", 1);
        WSocket_Test_Access::Adopt(m_socket, m_stream.Release_Near());
    }

    void Feed(const std::string& bytes)
    {
        std::size_t at = 0;
        while (at < bytes.size()) {
            at += m_stream.Write(std::string_view(bytes).substr(at));
            if (!Look()) {
                return;
            }
        }
        Look();
    }

    bool Open() { return m_socket.GetState() == CONN_STATE_OPENED; }

    // Ends a frame that is under way, so that the next bytes begin a new one. An incomplete header is completed, which
    // makes it a bad one or begins a frame.
    void Come_To_A_Boundary()
    {
        for (;;) {
            const int held = WSocket_Test_Access::Held(m_socket);
            const int awaited = WSocket_Test_Access::Awaited(m_socket);
            if (!Open() || (held == 0 && awaited == 0)) {
                return;
            }
            Feed(std::string(static_cast<std::size_t>(awaited > 0 ? awaited - held : 6 - held), 'X'));
        }
    }

    std::string Last_Record()
    {
        std::array<char, MESSAGE_TRANS_RECORD_SIZE> data{};
        int len = 0;
        std::string last;
        while (m_ring.Check_For_Any_Pkt_Without_Wait() != 0) {
            if (m_ring.Withdraw(data.data(), &len, nullptr, nullptr) == TCP_STATUS_PACKET_RECEIVED) {
                last.assign(data.data(), static_cast<std::size_t>(len));
            }
        }
        return last;
    }

private:
    bool Look()
    {
        m_socket.Control(0); // no time-out is due
        m_socket.Sock_Check();
        return Open();
    }

    CMss_Arr m_ring;
    WSocket m_socket;
    StreamPair m_stream;
};

// The part of the input at `at`, as it goes to the wire; moves on.
std::string next_part(const unsigned char* data, std::size_t size, std::size_t& at)
{
    const unsigned kind = data[at] & 15U;
    const std::size_t len = std::min<std::size_t>(data[at + 1], size - at - 2);
    const std::string content(reinterpret_cast<const char*>(data) + at + 2, len);
    at += 2 + len;
    if (kind < marks.size()) {
        return frame(marks[kind], content, content.size());
    }
    switch (kind) {
    case 8:
        if (content.size() >= 3) {
            return std::string(marks[static_cast<unsigned char>(content[2]) & 7U]) + content.substr(0, 2) +
                   content.substr(3);
        }
        return content;
    case 10:
        return frame("DTCP", "", 0);
    case 11: {
        const std::string body = sealed(content);
        return frame(marks[4 + content.size() % 3], body, body.size());
    }
    default:
        return content;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    Connection connection;
    std::string read;
    for (std::size_t at = 0; at + 2 <= size && connection.Open();) {
        const bool ends_read = (data[at] & 0x80U) != 0;
        read += next_part(data, size, at);
        if (ends_read) {
            connection.Feed(read);
            read.clear();
        }
    }
    if (connection.Open()) {
        connection.Feed(read);
        connection.Come_To_A_Boundary();
    }
    if (connection.Open()) {
        connection.Feed(good_frame());
        require(connection.Last_Record() == good_message());
    }
    return 0;
}
