#include "support/test_peer.h"

#include "little_endian.h"
#include "system_seam.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int a_minute = 60'000; // of poll

// The clock check: its message, and the time block inside.
constexpr const char* clock_check_number = "869";
constexpr std::size_t time_block_offset = 97;
constexpr std::size_t time_block_len = 74;
constexpr std::size_t seconds_offset = 2;
constexpr std::size_t fractions_offset = 26;
constexpr std::size_t units_offset = 50;
constexpr std::uint16_t stage_at_far_end = 3 * 4;
constexpr std::uint16_t stage_back_home = 5 * 4;

[[noreturn]] void give_up(const std::string& what)
{
    throw std::runtime_error("the peer can't " + what + ": " + std::strerror(errno));
}

[[noreturn]] void give_up_waiting(const std::string& for_what)
{
    throw std::runtime_error("the peer waited a minute for " + for_what);
}

bool is_ready(int descriptor, short events, int milliseconds)
{
    pollfd entry{.fd = descriptor, .events = events, .revents = 0};
    int result = -1;
    do {
        result = ::poll(&entry, 1, milliseconds);
    } while (result < 0 && errno == EINTR);
    return result > 0;
}

void set_option(int socket, int level, int option, int value)
{
    if (::setsockopt(socket, level, option, &value, sizeof value) != 0) {
        give_up("set a socket option");
    }
}

void shrink_buffers(int socket)
{
    set_option(socket, SOL_SOCKET, SO_RCVBUF, 1);
    set_option(socket, SOL_SOCKET, SO_SNDBUF, 1);
}

OwnedDescriptor new_socket()
{
    OwnedDescriptor created(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!created) {
        give_up("make a socket");
    }
    return created;
}

sockaddr_in local_address(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

std::uint16_t port_of(int socket)
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        give_up("tell its port");
    }
    return ntohs(address.sin_port);
}

void listen_on(int socket, std::uint16_t port, int backlog)
{
    const sockaddr_in address = local_address(port);
    set_option(socket, SOL_SOCKET, SO_REUSEADDR, 1);
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(socket, backlog) != 0) {
        give_up("listen");
    }
}

bool connect_to_port(int socket, std::uint16_t port)
{
    const sockaddr_in address = local_address(port);
    return ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

} // namespace

OwnedDescriptor::OwnedDescriptor(OwnedDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1))
{
}

OwnedDescriptor& OwnedDescriptor::operator=(OwnedDescriptor&& other) noexcept
{
    std::swap(m_descriptor, other.m_descriptor);
    other.Reset();
    return *this;
}

void OwnedDescriptor::Reset()
{
    if (m_descriptor >= 0) {
        ::close(std::exchange(m_descriptor, -1));
    }
}

// ---- Coming and going ----------------------------------------------------------------------------------------------

void TestPeer::listen(std::uint16_t at_port)
{
    stop_listening();
    m_listener = new_socket();
    if (m_small_buffers) {
        shrink_buffers(m_listener.get());
    } else {
        set_option(m_listener.get(), SOL_SOCKET, SO_RCVBUF, 65'536); // whatever the machine's own is
    }
    listen_on(m_listener.get(), at_port, SOMAXCONN);
    m_port = port_of(m_listener.get());
}

bool TestPeer::is_awaited() const
{
    return m_listener && is_ready(m_listener.get(), POLLIN, 0);
}

void TestPeer::accept()
{
    if (!is_ready(m_listener.get(), POLLIN, a_minute)) {
        give_up_waiting("a connection");
    }
    OwnedDescriptor connection(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection) {
        give_up("accept");
    }
    ++m_accepted;
    Begin(std::move(connection));
}

void TestPeer::connect_to(std::uint16_t far_port)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(a_minute);
    while (std::chrono::steady_clock::now() < end) {
        OwnedDescriptor connection = new_socket();
        if (m_small_buffers) {
            shrink_buffers(connection.get());
        }
        if (connect_to_port(connection.get(), far_port)) {
            Begin(std::move(connection));
            return;
        }
        ::poll(nullptr, 0, 1); // leaves the processor to whoever is to listen
    }
    give_up_waiting("a listener");
}

void TestPeer::Begin(OwnedDescriptor connection)
{
    set_option(connection.get(), IPPROTO_TCP, TCP_NODELAY, 1);
    m_connection = std::move(connection);
    m_was_reset = false;
    m_frames = {};
    encoder = WireEncoder(send_mode);
    decoder = {};
}

int TestPeer::Connection() const
{
    if (!m_connection) {
        throw std::runtime_error("the peer has no connection");
    }
    return m_connection.get();
}

std::uint16_t TestPeer::own_port() const
{
    return port_of(Connection());
}

void TestPeer::half_close()
{
    ::shutdown(Connection(), SHUT_WR);
}

void TestPeer::reset()
{
    const linger at_once{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(Connection(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    close();
}

// Connections take the sizes over from the listener; set any later, the far end would know of a larger window.
void TestPeer::small_buffers()
{
    m_small_buffers = true;
    if (m_listener) {
        shrink_buffers(m_listener.get());
    }
}

// ---- Sending -------------------------------------------------------------------------------------------------------

void TestPeer::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        if (!is_ready(Connection(), POLLOUT, a_minute)) {
            give_up_waiting("room to send");
        }
        const ssize_t sent = ::send(Connection(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno != EAGAIN && errno != EINTR) {
            give_up("send");
        }
    }
}

void TestPeer::send_split(std::string_view bytes, const std::vector<std::size_t>& pieces,
                          const std::function<void()>& between)
{
    for (const std::size_t size : pieces) {
        const std::string_view piece = bytes.substr(0, size);
        send(piece);
        bytes.remove_prefix(piece.size());
        if (between) {
            between();
        }
    }
    send(bytes);
}

// ---- Receiving -----------------------------------------------------------------------------------------------------

bool TestPeer::Read_More()
{
    std::array<char, 4096> buffer{};
    if (!is_ready(Connection(), POLLIN, a_minute)) {
        give_up_waiting("bytes");
    }
    const ssize_t got = ::recv(Connection(), buffer.data(), buffer.size(), 0);
    if (got < 0 && errno != ECONNRESET) {
        give_up("receive");
    }
    m_was_reset = got < 0;
    if (got <= 0) {
        return false;
    }
    m_frames.feed({buffer.data(), static_cast<std::size_t>(got)});
    return true;
}

WireFrame TestPeer::receive_frame()
{
    for (;;) {
        if (auto frame = m_frames.next()) {
            return *std::move(frame);
        }
        if (!Read_More()) {
            throw std::runtime_error("the connection ended where the peer expected a frame");
        }
    }
}

WireEnvelope TestPeer::receive_message()
{
    for (;;) {
        if (auto message = Message_In(receive_frame())) {
            return *std::move(message);
        }
    }
}

std::optional<WireEnvelope> TestPeer::receive_message_if_any()
{
    while (has_unread()) {
        if (auto message = Message_In(receive_frame())) {
            return message;
        }
    }
    return std::nullopt;
}

std::optional<WireEnvelope> TestPeer::Message_In(const WireFrame& frame)
{
    if (frame.is_alive_signal()) {
        ++m_alive_signals;
        return std::nullopt;
    }
    WireEnvelope envelope = TakeEnvelope(decoder.Decode(frame));
    if (!envelope.message.starts_with(clock_check_number)) {
        return envelope;
    }
    Answer_Clock_Check(std::move(envelope));
    return std::nullopt;
}

// Stamps stages 3 and 4 and sends the message home.
void TestPeer::Answer_Clock_Check(WireEnvelope check)
{
    if (check.message.size() < time_block_offset + time_block_len) {
        throw WireError("a clock check without its time block");
    }
    char* const block = check.message.data() + time_block_offset;
    if (load_le<std::uint16_t>(block) != stage_at_far_end) {
        throw WireError("a clock check that is not for the far end");
    }
    for (const std::size_t stage : {3U, 4U}) {
        char* const stamp = block + stage * 4;
        store_le(stamp + seconds_offset, static_cast<std::uint32_t>(System().wall_seconds() + far_clock.ahead_seconds));
        store_le(stamp + fractions_offset, far_clock.fraction);
        store_le(stamp + units_offset, far_clock.units);
    }
    store_le(block, stage_back_home);
    ++m_clock_checks;
    send_envelope(MakeEnvelope(check.message, check.groups, check.priority, check.type, check.machine));
}

std::string TestPeer::receive_until_closed()
{
    while (Read_More()) {
    }
    std::string bytes = m_frames.held();
    m_frames = {};
    return bytes;
}

bool TestPeer::has_unread() const
{
    return !m_frames.held().empty() || is_ready(Connection(), POLLIN, 0);
}

// ---- A port without room -------------------------------------------------------------------------------------------

// A backlog of 0 has room for one. Once that one is seen to wait, the system drops whatever else wants to connect.
FullBacklog::FullBacklog() : m_listener(new_socket()), m_waiting(new_socket())
{
    listen_on(m_listener.get(), 0, 0);
    m_port = port_of(m_listener.get());
    if (!connect_to_port(m_waiting.get(), m_port)) {
        give_up("fill a backlog");
    }
    if (!is_ready(m_listener.get(), POLLIN, a_minute)) {
        give_up_waiting("a full backlog");
    }
}

void FullBacklog::make_room()
{
    const OwnedDescriptor taken(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!taken) {
        give_up("make room in a backlog");
    }
}
