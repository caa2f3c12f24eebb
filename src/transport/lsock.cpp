// poll looks at one descriptor of any number; select would write behind its sets from 1024 on, and a host may well have
// that many files open.
#include "transport/lsock.h"

#include "qcapi/support.h"
#include "system_seam.h"
#include "transport/transport_clock.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

std::atomic<int> DAsyncSocket::last_error{0};

namespace {

constexpr int concurrent_listens = 10;

// A port that an earlier process has just left can stay taken for some moments.
constexpr unsigned bind_seconds = 5;
constexpr timeval bind_pause{.tv_sec = 0, .tv_usec = 10'000};

constexpr char not_non_blocking[] = "Error. Could not change to NON BLOCKING , err %s\n";
constexpr char no_name[] = "Error. Could not obtain sockname , err %s\n";

// What strerror says, without its buffer, which it shares between threads in older systems.
const char* error_text(int error)
{
    const char* text = strerrordesc_np(error);
    return text != nullptr ? text : "Unknown error";
}

bool make_non_blocking(int descriptor)
{
    int on = 1;
    return ioctl(descriptor, FIONBIO, &on) == 0;
}

// Records are sent whole: waiting for an acknowledgement would only delay the last one. A socket that refuses is slower
// and no worse.
void send_without_delay(int descriptor)
{
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool bind_to_any_address(int descriptor, int port)
{
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_addr.s_addr = htonl(INADDR_ANY);
    own.sin_port = htons(static_cast<std::uint16_t>(port));
    return bind(descriptor, reinterpret_cast<const sockaddr*>(&own), sizeof own) == 0;
}

// Answers as select would: 1 if one of the states in `counts` holds, -1 for a bad descriptor, 0 for none at all.
int look(int descriptor, short events, short counts)
{
    pollfd entry{.fd = descriptor, .events = events, .revents = 0};
    if (poll(&entry, 1, 0) == -1) {
        return -1;
    }
    if ((entry.revents & POLLNVAL) != 0) {
        errno = EBADF;
        return -1;
    }
    return (entry.revents & counts) != 0 ? 1 : 0;
}

void copy_address(const sockaddr_in& from, sockaddr* addr, int* addr_len)
{
    if (addr == nullptr || addr_len == nullptr) {
        return;
    }
    const int room = std::clamp(*addr_len, 0, static_cast<int>(sizeof from));
    std::memcpy(addr, &from, static_cast<std::size_t>(room));
    *addr_len = sizeof from;
}

void write_name(const sockaddr_in& address, char* ip, unsigned short& name_port)
{
    inet_ntop(AF_INET, &address.sin_addr, ip, INET_ADDRSTRLEN);
    name_port = ntohs(address.sin_port);
}

void write_no_name(char* ip, unsigned short& name_port)
{
    *ip = '\0';
    name_port = 0;
}

} // namespace

DAsyncSocket::~DAsyncSocket()
{
    Close();
    Close_New();
}

// ---- Opening and closing

int DAsyncSocket::Create(int listen_port, int use_ssl)
{
    port = listen_port;
    socketssl = use_ssl;
    return 1;
}

int DAsyncSocket::Listen()
{
    Close_Before_Listen();
    const int bound_socket = Bind_Listener(port, nullptr, nullptr);
    return bound_socket == -1 ? 0 : Listen_On(bound_socket);
}

void DAsyncSocket::Close_Before_Listen()
{
    Close();
    Close_New();
}

int DAsyncSocket::Bind_Listener(int listen_port, bool (*go_on)(void* context), void* context)
{
    const int listener = Open_Socket();
    if (listener == -1) {
        return -1;
    }
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on); // without it the bind fails, and is reported
    const unsigned begin = Transport_Seconds();
    while (!bind_to_any_address(listener, listen_port)) {
        const int error = Take_Errno();
        const bool late = Transport_Seconds() - begin >= bind_seconds;
        if (late) {
            LOG_Put_Err_Msg("Error. The bind on listen could not be done, err %s\n", error_text(error));
        }
        if (late || (go_on != nullptr && !go_on(context))) {
            close(listener);
            return -1;
        }
        System().sleep(bind_pause);
    }
    return listener;
}

int DAsyncSocket::Listen_On(int bound_socket)
{
    Close();
    sockfd = bound_socket;
    if (!make_non_blocking(sockfd)) {
        LOG_Put_Err_Msg(not_non_blocking, error_text(Take_Errno()));
        Close();
        return 0;
    }
    if (listen(sockfd, concurrent_listens) == -1) {
        LOG_Put_Err_Msg("Error. Could not activate %d concurrent listens, err %s", concurrent_listens,
                        error_text(Take_Errno()));
        Close();
        return 0;
    }
    wstate = state_listening;
    return 1;
}

int DAsyncSocket::Connect(const char* ip, int connect_port)
{
    const in_addr_t address = inet_addr(ip);
    if (address == 0) {
        Set_Last_Error(EINVAL);
        LOG_Put_Err_Msg("Error. Bad ip address %s\n", ip);
        return 0;
    }
    Close();
    sockfd = Open_Socket();
    if (sockfd == -1) {
        return 0;
    }
    their_addr = {};
    their_addr.sin_family = AF_INET;
    their_addr.sin_addr.s_addr = address;
    their_addr.sin_port = htons(static_cast<std::uint16_t>(connect_port));
    if (!make_non_blocking(sockfd)) {
        LOG_Put_Err_Msg(not_non_blocking, error_text(Take_Errno()));
        Close(); // a connect that waits would hold up whoever waits for the transport
        return 0;
    }
    send_without_delay(sockfd);
    wstate = state_connecting;
    if (connect(sockfd, reinterpret_cast<const sockaddr*>(&their_addr), sizeof their_addr) == 0) {
        return 1;
    }
    const int error = errno;
    Set_Last_Error(error == EINPROGRESS ? EAGAIN : error);
    return 0;
}

void DAsyncSocket::Offer_Connection(int connection, const sockaddr_in& peer)
{
    if (!make_non_blocking(connection)) {
        LOG_Put_Err_Msg("Error. Could not change to NON BLOCKING , err %d\n", Take_Errno());
        close(connection);
        return;
    }
    send_without_delay(connection);
    Close_New(); // one that no handler took and none refused
    newfd = connection;
    their_addr = peer;
    accepted = 0;
    OnAccept(0);
}

int DAsyncSocket::Accept(DAsyncSocket& target, sockaddr* addr, int* addr_len)
{
    accepted = 1;
    if (newfd == -1) {
        return 0;
    }
    target.Close();
    target.sockfd = std::exchange(newfd, -1); // one owner at any time: nobody closes it twice
    target.wstate = 0;
    target.socketssl = 0;
    target.their_addr = their_addr;
    copy_address(their_addr, addr, addr_len);
    return 1;
}

int DAsyncSocket::ShutDown(int how)
{
    return shutdown(sockfd, how);
}

int DAsyncSocket::Close()
{
    const int open_socket = std::exchange(sockfd, -1);
    wstate = state_no_socket;
    if (open_socket == -1 || close(open_socket) == 0) {
        return 1;
    }
    Take_Errno();
    return 0;
}

void DAsyncSocket::Close_New()
{
    if (newfd != -1) {
        close(std::exchange(newfd, -1));
    }
}

int DAsyncSocket::Open_Socket()
{
    const int opened = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (opened == -1) {
        LOG_Put_Err_Msg("Error. The socket could not be created, err %s\n", error_text(Take_Errno()));
    }
    return opened;
}

int DAsyncSocket::Take_Errno()
{
    const int error = errno;
    Set_Last_Error(error);
    return error;
}

// ---- Moving data

int DAsyncSocket::Receive(void* buf, int len)
{
    if (len < 1) {
        Set_Last_Error(EINVAL);
        return -1;
    }
    errno = 0; // recv leaves it alone when the peer has closed
    const ssize_t got = recv(sockfd, buf, static_cast<std::size_t>(len), 0);
    if (got > 0) {
        return static_cast<int>(got);
    }
    Take_Errno();
    if (got == 0) {
        wstate |= state_peer_closed;
    }
    return -1;
}

int DAsyncSocket::Send(const void* buf, int len)
{
    if ((wstate & state_no_socket) != 0) {
        return -1;
    }
    if (len < 0) {
        Set_Last_Error(EINVAL);
        return -1;
    }
    const ssize_t sent = send(sockfd, buf, static_cast<std::size_t>(len), MSG_NOSIGNAL);
    if (sent == -1 && Take_Errno() == EAGAIN) {
        wstate |= state_send_refused;
    }
    return static_cast<int>(sent);
}

// ---- Looking

int DAsyncSocket::GetSockName(sockaddr* addr, int* addr_len)
{
    auto len = static_cast<socklen_t>(*addr_len);
    const int result = getsockname(sockfd, addr, &len);
    if (result == -1) {
        Take_Errno();
    }
    *addr_len = static_cast<int>(len);
    return result;
}

void DAsyncSocket::GetSockName(char* ip, unsigned short& name_port)
{
    sockaddr_in own{};
    int len = sizeof own;
    if (GetSockName(reinterpret_cast<sockaddr*>(&own), &len) == 0) {
        write_name(own, ip, name_port);
        return;
    }
    write_no_name(ip, name_port);
    LOG_Put_Err_Msg(no_name, error_text(GetLastError()));
}

void DAsyncSocket::GetPeerName(char* ip, unsigned short& name_port)
{
    sockaddr_in peer{};
    socklen_t len = sizeof peer;
    if (getpeername(sockfd, reinterpret_cast<sockaddr*>(&peer), &len) == 0) {
        write_name(peer, ip, name_port);
        return;
    }
    const int error = Take_Errno();
    write_no_name(ip, name_port);
    LOG_Put_Err_Msg(no_name, error_text(error));
}

int DAsyncSocket::CouldSend() const
{
    return look(sockfd, POLLOUT, POLLOUT | POLLERR | POLLHUP);
}

int DAsyncSocket::CouldReceive() const
{
    return look(sockfd, POLLIN, POLLIN | POLLERR | POLLHUP);
}

int DAsyncSocket::AnyError() const
{
    return look(sockfd, POLLPRI, POLLPRI);
}

int DAsyncSocket::SockErr()
{
    int pending = 0;
    socklen_t len = sizeof pending;
    if (getsockopt(sockfd, SOL_SOCKET, SO_ERROR, &pending, &len) == -1) {
        LOG_Put_Err_Msg("Error. getsockopt, error %s\n", error_text(Take_Errno()));
        return 0;
    }
    return pending;
}
