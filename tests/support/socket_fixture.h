// A socket under test that writes down its events, and the peers it speaks to over 127.0.0.1: plain system calls.
#pragma once

#include "qcapi/support.h"
#include "support/socket_access.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

using Access = DAsyncSocket_Test_Access;

inline constexpr char loopback[] = "127.0.0.1";
inline constexpr int beyond_any_limit = 2'000'000'000; // a descriptor that no process has

// Owns a descriptor.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    [[nodiscard]] int Number() const { return m_number; }
    int Release() { return std::exchange(m_number, -1); }
    void Close()
    {
        if (m_number != -1) {
            close(std::exchange(m_number, -1));
        }
    }

private:
    int m_number;
};

inline int Open_Descriptors()
{
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir("/proc/self/fd"), closedir);
    int count = 0;
    while (readdir(directory.get()) != nullptr) {
        ++count;
    }
    return count;
}

inline bool Is_Open(int descriptor)
{
    return fcntl(descriptor, F_GETFD) != -1;
}

inline int Option(int descriptor, int level, int name)
{
    int value = -1;
    socklen_t len = sizeof value;
    getsockopt(descriptor, level, name, &value, &len);
    return value;
}

inline sockaddr_in Own_Address(int descriptor)
{
    sockaddr_in address{};
    socklen_t len = sizeof address;
    getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &len);
    return address;
}

inline int Own_Port(int descriptor)
{
    return ntohs(Own_Address(descriptor).sin_port);
}

// Returns when one of `events` or an error holds; only a broken library makes it give up.
inline void Await(int descriptor, short events)
{
    pollfd entry{.fd = descriptor, .events = events, .revents = 0};
    ASSERT_EQ(poll(&entry, 1, 60'000), 1);
}

inline sockaddr_in Loopback_Address(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<unsigned short>(port));
    return address;
}

// A socket bound to an ephemeral port of 127.0.0.1 that doesn't listen: connects to it are refused.
inline Descriptor Bound_Socket()
{
    Descriptor bound(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = Loopback_Address(0);
    EXPECT_EQ(bind(bound.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return bound;
}

inline Descriptor Listener(int backlog = 10)
{
    Descriptor listener = Bound_Socket();
    EXPECT_EQ(listen(listener.Number(), backlog), 0);
    return listener;
}

inline Descriptor Connection_To(int port)
{
    Descriptor connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = Loopback_Address(port);
    EXPECT_EQ(connect(connection.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return connection;
}

inline Descriptor Accepted_By(const Descriptor& listener)
{
    return Descriptor(accept4(listener.Number(), nullptr, nullptr, SOCK_CLOEXEC));
}

// Closes so that the other side finds the connection reset.
inline void Reset(Descriptor& connection)
{
    const linger at_once{.l_onoff = 1, .l_linger = 0};
    setsockopt(connection.Number(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    connection.Close();
}

inline void Put(const Descriptor& connection, const std::string& text)
{
    ASSERT_EQ(send(connection.Number(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
}

// What the peer has sent so far, up to `len` bytes; "-" for nothing yet, "" behind its end.
inline std::string Got(int descriptor, std::size_t len = 100)
{
    std::string text(len, '\0');
    Await(descriptor, POLLIN);
    const ssize_t got = recv(descriptor, text.data(), text.size(), MSG_DONTWAIT);
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return got < 0 ? "-" : text;
}

// Lowers the limit of open files, so that no more can be opened, while it lives.
class NoMoreFiles
{
public:
    NoMoreFiles()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none{.rlim_cur = 0, .rlim_max = m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreFiles() { setrlimit(RLIMIT_NOFILE, &m_before); }
    NoMoreFiles(const NoMoreFiles&) = delete;
    NoMoreFiles& operator=(const NoMoreFiles&) = delete;

private:
    rlimit m_before{};
};

using Events = std::vector<std::pair<std::string, int>>;

class RecordingSocket : public DAsyncSocket
{
public:
    Events events;
    DAsyncSocket* taker = nullptr; // takes what is accepted
    bool close_first = false;      // before it does
    bool closes_on_send = false;
    bool forgets_new = false; // leaves the base handler out

    void OnAccept(int err) override
    {
        events.emplace_back("accept", err);
        if (close_first) {
            Close();
        }
        if (taker != nullptr) {
            int len = sizeof peer;
            taken = Accept(*taker, reinterpret_cast<sockaddr*>(&peer), &len);
            peer_len = len;
            taken_again = Accept(*taker, nullptr, nullptr);
        }
        if (!forgets_new) {
            DAsyncSocket::OnAccept(err);
        }
    }
    void OnSend(int err) override
    {
        events.emplace_back("send", err);
        DAsyncSocket::OnSend(err);
        if (closes_on_send) {
            Close();
        }
    }
    void OnConnect(int err) override
    {
        events.emplace_back("connect", err);
        DAsyncSocket::OnConnect(err);
    }
    void OnClose(int err) override
    {
        events.emplace_back("close", err);
        DAsyncSocket::OnClose(err);
    }
    void OnReceive(int err) override
    {
        events.emplace_back("receive", err);
        DAsyncSocket::OnReceive(err);
    }

    int taken = -1;
    int taken_again = -1;
    sockaddr_in peer{};
    int peer_len = 0;
};

class SocketTest : public testing::Test
{
protected:
    void SetUp() override
    {
        reports.clear();
        socket.Create(0, 0); // a sanitizer opens files to check an object it hasn't met: not where a test has none left
        Set_Report_Host_Sink([](int, char* text) { reports.emplace_back(text); });
    }
    void TearDown() override { Set_Report_Host_Sink(nullptr); }

    // Connects `socket` to a peer; both ends stand.
    void Connect_To_Peer()
    {
        const Descriptor listener = Listener();
        EXPECT_EQ(socket.Connect(loopback, Own_Port(listener.Number())), 0);
        Finish_Connect();
        EXPECT_EQ(socket.events, (Events{{"connect", 0}}));
        socket.events.clear();
        Await(listener.Number(), POLLIN);
        peer = Accepted_By(listener);
    }
    void Finish_Connect()
    {
        Await(socket.Get_Sockfd(), POLLOUT);
        socket.Sock_Check();
    }
    // Makes `socket` listen on an ephemeral port.
    void Start_Listening()
    {
        ASSERT_EQ(socket.Create(0, 0), 1);
        ASSERT_EQ(socket.Listen(), 1);
    }
    void Connect_Peer()
    {
        peer = Connection_To(Own_Port(socket.Get_Sockfd()));
        Await(socket.Get_Sockfd(), POLLIN);
    }
    // Sends until the system refuses.
    void Fill()
    {
        const std::array<char, 65'536> bytes{};
        while (socket.Send(bytes.data(), static_cast<int>(bytes.size())) != -1) {
        }
    }
    // Reads at the peer until `socket` has room again.
    void Drain()
    {
        std::array<char, 65'536> bytes{};
        while (socket.CouldSend() == 0) {
            Await(peer.Number(), POLLIN);
            ASSERT_GT(recv(peer.Number(), bytes.data(), bytes.size(), 0), 0);
        }
    }
    Events Check()
    {
        socket.events.clear();
        socket.Sock_Check();
        return socket.events;
    }
    static Events No_Events() { return {}; }

    static inline std::vector<std::string> reports;
    RecordingSocket socket;
    Access inside{socket};
    Descriptor peer;
};
