// A loop with a clock in the test's hand, run round by round from the test's own thread, and clients' sockets that
// never block. Whatever does not happen within a minute fails the test.
#pragma once

#include "market/support/manual_clock.h"
#include "net/event_loop.h"
#include "net/stream.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

class LoopTest : public testing::Test
{
protected:
    template <typename Condition> void Run_Until(Condition condition)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!condition()) {
            ASSERT_LT(std::chrono::steady_clock::now(), end) << "waited a minute";
            loop.Run_Once(std::chrono::milliseconds(5));
        }
    }

    // As many rounds as it takes to see that nothing more happens.
    void Run_Some()
    {
        for (int i = 0; i < 5; ++i) {
            loop.Run_Once(qm::Clock::Time::zero());
        }
    }

    ManualClock clock;
    qm::EventLoop loop{clock};
};

// A client's end of a connection to a port of this machine.
class LoopClient
{
public:
    explicit LoopClient(std::uint16_t port, int receive_buffer = 0)
        : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        if (receive_buffer > 0) {
            setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
        }
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        m_is_good = connect(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }

    // Takes what is there; true while the connection goes on.
    bool Receive(std::string& bytes)
    {
        std::array<char, 65536> buffer{};
        const ssize_t count = recv(m_socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count > 0) {
            bytes.append(buffer.data(), static_cast<std::size_t>(count));
            return true;
        }
        m_end = count == 0 ? 0 : errno;
        return count < 0 && (errno == EAGAIN || errno == EINTR);
    }

    [[nodiscard]] std::size_t Send(std::string_view bytes) const
    {
        const ssize_t sent = send(m_socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        return sent > 0 ? static_cast<std::size_t>(sent) : 0;
    }
    void Half_Close() const { shutdown(m_socket.get(), SHUT_WR); }
    void Close() { m_socket.Reset(); }
    void Reset()
    {
        const linger at_once{.l_onoff = 1, .l_linger = 0};
        setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
        Close();
    }
    [[nodiscard]] bool is_good() const { return m_is_good; }
    [[nodiscard]] bool was_closed() const { return m_end == 0; }
    [[nodiscard]] bool was_reset() const { return m_end == ECONNRESET; }
    [[nodiscard]] int number() const { return m_socket.get(); }

private:
    qm::Descriptor m_socket;
    bool m_is_good = false;
    int m_end = -1; // 0 for an orderly one, else an error
};
