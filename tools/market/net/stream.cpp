#include "net/stream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>

namespace qm {

namespace {

constexpr std::size_t read_size = 65536;
constexpr std::uint64_t no_limit = std::numeric_limits<std::uint64_t>::max();
constexpr long reset_look_nanoseconds = 2'000'000;

bool is_passing(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

std::string text_of(int error)
{
    return std::system_category().message(error);
}

} // namespace

void Descriptor::Reset(int number)
{
    if (m_number >= 0) {
        close(m_number);
    }
    m_number = number;
}

// ---- Coming and going

Stream::Stream(EventLoop& loop, int descriptor, Events events)
    : m_loop(loop), m_descriptor(descriptor), m_shared(std::make_shared<Shared>(Shared{.events = std::move(events)}))
{
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    Stall(false);
}

Stream::~Stream()
{
    m_shared->is_there = false;
    Shut();
}

void Stream::Close(const std::string& why)
{
    if (!m_descriptor) {
        return;
    }
    const std::shared_ptr<Shared> shared = m_shared;
    // The text may belong to what the callback destroys. NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const std::string text = why;
    Shut();
    if (shared->events.closed) {
        shared->events.closed(text);
    }
}

void Stream::Shut()
{
    for (Descriptor* descriptor : {&m_descriptor, &m_reset_timer}) {
        if (*descriptor) {
            m_loop.Forget(descriptor->get());
            descriptor->Reset();
        }
    }
    Drop_Queue();
}

// ---- Watching

std::uint32_t Stream::What_Matters() const
{
    return queued() > 0 || m_was_short ? EPOLLIN | EPOLLOUT : EPOLLIN;
}

void Stream::Watch_What_Matters()
{
    if (m_descriptor && !m_stalled && What_Matters() != m_watched) {
        m_watched = What_Matters();
        m_loop.Change(m_descriptor.get(), m_watched);
    }
}

// A stalled connection isn't watched at all: its end would be told again and again.
void Stream::Stall(bool stalled)
{
    m_stalled = stalled;
    if (!m_descriptor) {
        return;
    }
    if (stalled) {
        m_loop.Forget(m_descriptor.get());
    } else {
        m_watched = What_Matters();
        m_loop.Watch(m_descriptor.get(), m_watched, [this](std::uint32_t events) { Ready(events); });
    }
}

void Stream::Ready(std::uint32_t events)
{
    const std::shared_ptr<Shared> shared = m_shared;
    if ((events & ~std::uint32_t{EPOLLOUT}) != 0) {
        Read_Some();
    }
    if (shared->is_there && m_descriptor && !m_stalled && (events & EPOLLOUT) != 0) {
        Write_Some();
    }
    if (shared->is_there) {
        Watch_What_Matters();
    }
}

// The end is seen by reading, also when sending has failed: what the peer sent ahead of it is handed on.
void Stream::Read_Some()
{
    std::array<char, read_size> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): zeros cost time
    const ssize_t count = recv(m_descriptor.get(), buffer.data(), buffer.size(), 0);
    if (count > 0) {
        m_bytes_in += static_cast<std::uint64_t>(count);
        if (m_shared->events.received) {
            m_shared->events.received({buffer.data(), static_cast<std::size_t>(count)});
        }
    } else if (count == 0) {
        Close(m_send_failure.empty() ? "closed by the peer" : m_send_failure);
    } else if (!is_passing(errno)) {
        Close(text_of(errno));
    }
}

// ---- Sending

bool Stream::Takes_Bytes() const
{
    return m_descriptor && m_send_failure.empty() && m_until_reset > 0;
}

void Stream::Send(std::string_view bytes)
{
    if (!Takes_Bytes()) {
        return;
    }
    const bool at_once = queued() == 0 && !m_stalled;
    const std::size_t sent = at_once ? Send_Out(bytes) : 0;
    if (Takes_Bytes() && sent < bytes.size()) {
        Queue(bytes.substr(sent));
    }
    Watch_What_Matters();
}

std::size_t Stream::Send_Now(std::string_view bytes)
{
    if (!Takes_Bytes()) {
        return 0;
    }
    const bool at_once = queued() == 0 && !m_stalled;
    const std::size_t sent = at_once ? Send_Out(bytes) : 0;
    m_was_short = sent < bytes.size();
    Watch_What_Matters();
    return sent;
}

// What has been sent goes when it is at least half of the queue: each byte so moves once at most, on average.
void Stream::Queue(std::string_view bytes)
{
    if (m_sent >= queued()) {
        m_out.erase(0, m_sent);
        m_sent = 0;
    }
    m_out.append(bytes);
    m_was_above = m_was_above || queued() >= LOW_WATER;
}

void Stream::Drop_Queue()
{
    m_sent = 0;
    m_out.clear();
    if (m_out.capacity() > HIGH_WATER) {
        m_out.shrink_to_fit();
    }
}

void Stream::Write_Some()
{
    if (queued() > 0) {
        m_sent += Send_Out(std::string_view(m_out).substr(m_sent));
    }
    if (!Takes_Bytes() || queued() == 0) {
        Drop_Queue();
    }
    if (Takes_Bytes()) {
        Tell_Drained();
    }
}

void Stream::Tell_Drained()
{
    const bool is_below = m_was_above && queued() < LOW_WATER;
    const bool is_ready = m_was_short && queued() == 0;
    if (!is_below && !is_ready) {
        return;
    }
    m_was_above = m_was_above && !is_below;
    m_was_short = m_was_short && !is_ready;
    if (m_shared->events.drained) {
        m_shared->events.drained();
    }
}

// Sends as much as the system takes and the limit allows.
std::size_t Stream::Send_Out(std::string_view bytes)
{
    const auto allowed = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), m_until_reset));
    const ssize_t count = send(m_descriptor.get(), bytes.data(), allowed, MSG_NOSIGNAL);
    if (count < 0) {
        Send_Failed(errno);
        return 0;
    }
    const auto sent = static_cast<std::size_t>(count);
    m_bytes_out += sent;
    if (m_until_reset != no_limit) {
        m_until_reset -= sent;
        if (m_until_reset == 0) {
            Reset_When_All_Arrived();
        }
    }
    return sent;
}

// Ends the connection for the reader's side too, so that it comes to its end behind what has arrived.
void Stream::Send_Failed(int error)
{
    if (!is_passing(error)) {
        m_send_failure = text_of(error);
        shutdown(m_descriptor.get(), SHUT_RDWR);
    }
}

// ---- Faults

void Stream::Close_After(std::uint64_t bytes)
{
    if (!m_descriptor || (m_until_reset == 0 && bytes > 0)) {
        return;
    }
    m_until_reset = bytes;
    if (bytes == 0) {
        Reset();
    }
}

// The peer's system has acknowledged all bytes: a reset overtakes none of them.
bool Stream::Has_All_Arrived() const
{
    int left = 0;
    return ioctl(m_descriptor.get(), SIOCOUTQ, &left) != 0 || left == 0;
}

// Nothing tells when the last byte is acknowledged. The looks go by the system's time, whatever the loop's clock does.
void Stream::Reset_When_All_Arrived()
{
    if (Has_All_Arrived()) {
        Reset();
        return;
    }
    m_reset_timer.Reset(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
    const timespec look{.tv_sec = 0, .tv_nsec = reset_look_nanoseconds};
    const itimerspec looks{.it_interval = look, .it_value = look};
    if (!m_reset_timer || timerfd_settime(m_reset_timer.get(), 0, &looks, nullptr) != 0) {
        Reset();
        return;
    }
    m_loop.Watch(m_reset_timer.get(), EPOLLIN, [this](std::uint32_t) {
        std::uint64_t ticks = 0;
        [[maybe_unused]] const ssize_t taken = read(m_reset_timer.get(), &ticks, sizeof ticks);
        if (Has_All_Arrived()) {
            Reset();
        }
    });
}

// Says so from the loop: whoever sends need not expect to be gone behind it.
void Stream::Reset()
{
    m_until_reset = 0;
    const linger at_once{.l_onoff = 1, .l_linger = 0};
    setsockopt(m_descriptor.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    Shut();
    m_loop.Post([shared = m_shared] {
        if (shared->is_there && shared->events.closed) {
            shared->events.closed("reset on request");
        }
    });
}

} // namespace qm
