// The ends of a tunnel under test, on the loopback address.
//
//   tunnel_peer echo FILE           listens on a free port, writes its number to FILE, sends back what comes
//   tunnel_peer free                prints a port that is free now
//   tunnel_peer exchange PORT SIZE  sends SIZE bytes, wants them back. 0 they came, 1 they did not, 3 nobody listens
//
// Exit code 2 for any other failure.
#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int ok = 0;
constexpr int no_echo = 1;
constexpr int failure = 2;
constexpr int nobody_listens = 3;
constexpr int most_seconds_of_silence = 20;

class Socket
{
public:
    explicit Socket(int descriptor) : m_descriptor(descriptor) {}
    ~Socket() { close(m_descriptor); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    [[nodiscard]] int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// The port that the socket was given, or -1.
int bind_to_free_port(const Socket& socket)
{
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket.get(), generic, size) != 0 || getsockname(socket.get(), generic, &size) != 0) {
        return -1;
    }
    return ntohs(address.sin_port);
}

bool send_all(int descriptor, const char* bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t sent = send(descriptor, bytes, count, MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes += sent;
        count -= static_cast<std::size_t>(sent);
    }
    return true;
}

void send_back(const Socket& connection)
{
    std::array<char, 4096> bytes;
    for (ssize_t count = 0; (count = recv(connection.get(), bytes.data(), bytes.size(), 0)) > 0;) {
        if (!send_all(connection.get(), bytes.data(), static_cast<std::size_t>(count))) {
            return;
        }
    }
}

// Under another name first, so that who waits for the file finds the whole number in it.
bool write_port(const std::string& path, int port)
{
    const std::string unfinished = path + ".new";
    std::FILE* file = std::fopen(unfinished.c_str(), "w");
    if (file == nullptr) {
        return false;
    }
    std::fprintf(file, "%d\n", port);
    return std::fclose(file) == 0 && std::rename(unfinished.c_str(), path.c_str()) == 0;
}

int echo(const std::string& path)
{
    const Socket listener(socket(AF_INET, SOCK_STREAM, 0));
    const int port = bind_to_free_port(listener);
    if (port < 0 || listen(listener.get(), 5) != 0 || !write_port(path, port)) {
        return failure;
    }
    for (;;) {
        const int descriptor = accept(listener.get(), nullptr, nullptr);
        if (descriptor < 0) {
            return failure;
        }
        std::thread([descriptor] { send_back(Socket(descriptor)); }).detach();
    }
}

int print_free_port()
{
    const Socket socket(::socket(AF_INET, SOCK_STREAM, 0));
    const int port = bind_to_free_port(socket);
    std::printf("%d\n", port);
    return port < 0 ? failure : ok;
}

std::string some_bytes(std::size_t count)
{
    std::string bytes(count, '\0');
    std::uint32_t value = 1;
    for (char& byte : bytes) {
        value = value * 1664525 + 1013904223;
        byte = static_cast<char>(value >> 24);
    }
    return bytes;
}

bool comes_back(const Socket& socket, const std::string& bytes)
{
    std::string received(bytes.size(), '\0');
    std::size_t count = 0;
    while (count < received.size()) {
        const ssize_t got = recv(socket.get(), received.data() + count, received.size() - count, 0);
        if (got <= 0) {
            return false;
        }
        count += static_cast<std::size_t>(got);
    }
    return received == bytes;
}

int exchange(int port, std::size_t size)
{
    const Socket socket(::socket(AF_INET, SOCK_STREAM, 0));
    const timeval patience{most_seconds_of_silence, 0};
    setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const sockaddr_in address = loopback(port);
    if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return nobody_listens;
    }
    const std::string bytes = some_bytes(size);
    std::thread sender([&] { send_all(socket.get(), bytes.data(), bytes.size()); });
    const bool came = comes_back(socket, bytes);
    shutdown(socket.get(), SHUT_RDWR); // a sender that is still at it ends
    sender.join();
    return came ? ok : no_echo;
}

} // namespace

int main(int count, char** arguments)
{
    const std::string task = count > 1 ? arguments[1] : "";
    if (task == "echo" && count == 3) {
        return echo(arguments[2]);
    }
    if (task == "free" && count == 2) {
        return print_free_port();
    }
    if (task == "exchange" && count == 4) {
        return exchange(std::atoi(arguments[2]), static_cast<std::size_t>(std::atol(arguments[3])));
    }
    return failure;
}
