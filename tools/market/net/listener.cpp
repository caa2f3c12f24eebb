#include "net/stream.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <system_error>

namespace qm {

namespace {

[[noreturn]] void fail(int error, const std::string& what)
{
    throw std::system_error(error, std::system_category(), what);
}

sockaddr* generic(sockaddr_in& address)
{
    return reinterpret_cast<sockaddr*>(&address);
}

sockaddr_in address_of(const std::string& address, std::uint16_t port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &result.sin_addr) != 1) {
        fail(EINVAL, "not an IPv4 address: " + address);
    }
    return result;
}

std::string text_of(const sockaddr_in& address)
{
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
    return std::string(text.data()) + ":" + std::to_string(ntohs(address.sin_port));
}

int accepted_by(int listener, std::string& peer)
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    const int descriptor = accept4(listener, generic(address), &length, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor >= 0) {
        peer = text_of(address);
    }
    return descriptor;
}

bool is_lack_of_descriptors(int error)
{
    return error == EMFILE || error == ENFILE;
}

// Nobody waits, or the system can't serve anybody now.
bool ends_accepting(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == ENOBUFS || error == ENOMEM || error == EBADF ||
           error == EINVAL || error == ENOTSOCK;
}

int spare_descriptor()
{
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

} // namespace

// Edge-triggered: a failure that lasts is met once for each connection that comes, not in each round.
Listener::Listener(EventLoop& loop, const std::string& address, std::uint16_t port, Accepted accepted)
    : m_loop(loop), m_descriptor(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)),
      m_spare(spare_descriptor()), m_shared(std::make_shared<Shared>(Shared{.accepted = std::move(accepted)}))
{
    sockaddr_in bound = address_of(address, port);
    socklen_t length = sizeof bound;
    const int on = 1;
    if (!m_descriptor || setsockopt(m_descriptor.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(m_descriptor.get(), generic(bound), length) != 0 || listen(m_descriptor.get(), SOMAXCONN) != 0 ||
        getsockname(m_descriptor.get(), generic(bound), &length) != 0) {
        fail(errno, "can't listen on " + text_of(bound));
    }
    m_port = ntohs(bound.sin_port);
    m_loop.Watch(m_descriptor.get(), EPOLLIN | EPOLLET, [this](std::uint32_t) { Accept_All(); });
}

Listener::~Listener()
{
    m_shared->is_there = false;
    m_loop.Forget(m_descriptor.get());
}

void Listener::Accept_All()
{
    const std::shared_ptr<Shared> shared = m_shared;
    while (shared->is_there) {
        std::string peer;
        const int descriptor = accepted_by(m_descriptor.get(), peer);
        if (descriptor >= 0) {
            shared->accepted(descriptor, peer);
        } else if (is_lack_of_descriptors(errno) ? !Turn_One_Away() : ends_accepting(errno)) {
            return;
        }
    }
}

// False if nobody waits, or not even that can be done.
bool Listener::Turn_One_Away()
{
    m_spare.Reset();
    std::string peer;
    Descriptor turned_away(accepted_by(m_descriptor.get(), peer));
    const bool somebody_waited = static_cast<bool>(turned_away);
    turned_away.Reset();
    m_spare.Reset(spare_descriptor());
    return somebody_waited;
}

} // namespace qm
