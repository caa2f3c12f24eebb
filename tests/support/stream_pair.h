// Two descriptors joined by a stream that loses nothing, closed with the object unless released.
#pragma once

#include <array>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

class StreamPair
{
public:
    StreamPair() { m_good = socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, m_ends.data()) == 0; }
    ~StreamPair()
    {
        for (const int end : m_ends) {
            if (end >= 0) {
                close(end);
            }
        }
    }
    StreamPair(const StreamPair&) = delete;
    StreamPair& operator=(const StreamPair&) = delete;

    [[nodiscard]] bool Good() const { return m_good; }
    [[nodiscard]] int Far() const { return m_ends[1]; }
    int Release_Near() { return std::exchange(m_ends[0], -1); } // whoever takes it closes it

    // Bytes that the stream took.
    [[nodiscard]] std::size_t Write(std::string_view bytes) const
    {
        const ssize_t sent = send(Far(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        return sent > 0 ? static_cast<std::size_t>(sent) : 0;
    }

private:
    std::array<int, 2> m_ends{-1, -1};
    bool m_good = false;
};
