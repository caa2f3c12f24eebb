// The market's end of the wire in its smallest form, for demonstrations: takes one connection at each of two ports of
// this machine, prints what it sees, answers clock checks and sends every other message back in its own envelope. It
// shares no code with the library. Messages that are compressed or encrypted it can't read; send_mode = 1 sends them
// plain.
//
//   echo_peer PORT_A PORT_B    0 takes a free port; the first line of output has the two that it got
//
// Commands on standard input, a letter each: a closes the connection at A, A stops listening there too, b and B the
// same at the other port, q or the end of the input ends the program.
#include <array>
#include <cctype>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::size_t frame_head = 6;     // mark (4), length of the payload (2)
constexpr std::size_t envelope_head = 16; // ahead of a message without addressees
constexpr std::size_t time_block = 97;    // in the message of a clock check
constexpr int far_end_stage = 12;         // stage word of a check on its way out
constexpr auto longest_silence = std::chrono::seconds(20);

using Clock = std::chrono::steady_clock;

struct Port
{
    char name = '?';
    int listener = -1;
    int connection = -1;
    std::string held; // received, no frame yet
    Clock::time_point last_sent{};
};

void say(const char* format, auto... values)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    std::printf("%02d:%02d:%02d.%03d  ", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(now.tv_nsec / 1'000'000));
    std::printf(format, values...);
    std::printf("\n");
    std::fflush(stdout);
}

unsigned word(const std::string& bytes, std::size_t at)
{
    return static_cast<unsigned char>(bytes[at]) + 256U * static_cast<unsigned char>(bytes[at + 1]);
}

void put(std::string& bytes, std::size_t at, std::uint64_t value, int width)
{
    for (int i = 0; i < width; ++i) {
        bytes[at++] = static_cast<char>(value >> (8 * i) & 255);
    }
}

// Listens on a port of this machine and returns which one it is; 0 if it can't.
unsigned listen_at(Port& port, const char* number)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(number)));
    auto* const any_address = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    const int yes = 1;
    port.listener = socket(AF_INET, SOCK_STREAM, 0);
    setsockopt(port.listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (bind(port.listener, any_address, length) != 0 || listen(port.listener, 4) != 0 ||
        getsockname(port.listener, any_address, &length) != 0) {
        return 0;
    }
    return ntohs(address.sin_port);
}

void close_connection(Port& port, const char* who)
{
    if (port.connection >= 0) {
        close(port.connection);
        port.connection = -1;
        say("%c  connection closed by %s", port.name, who);
    }
}

void accept_connection(Port& port)
{
    port.connection = accept(port.listener, nullptr, nullptr);
    port.held.clear();
    port.last_sent = Clock::now();
    if (port.connection >= 0) {
        say("%c  connection", port.name);
    }
}

void send_frame(Port& port, const std::string& payload)
{
    std::string frame = "DTCP";
    frame.resize(frame_head);
    put(frame, 4, payload.size(), 2);
    frame += payload;
    if (send(port.connection, frame.data(), frame.size(), MSG_NOSIGNAL) < 0) { // blocks until all is sent
        close_connection(port, "an error");
        return;
    }
    port.last_sent = Clock::now();
}

// Stamps stages 3 and 4 of the check at `block`: seconds at 2, fractions at 26, units at 50, four bytes a stage.
void stamp_clock_check(std::string& envelope, std::size_t block)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    for (std::size_t stage = 3; stage <= 4; ++stage) {
        put(envelope, block + 2 + 4 * stage, static_cast<std::uint64_t>(timegm(&local)), 4);
        put(envelope, block + 26 + 4 * stage, static_cast<std::uint64_t>(now.tv_nsec / 10'000'000), 4);
        put(envelope, block + 50 + 4 * stage, 100, 4);
    }
    put(envelope, block, far_end_stage + 8, 2);
}

// A whole envelope in the clear, which may have more bytes behind it.
bool is_readable(const std::string& mark, const std::string& payload)
{
    return (mark == "DTCP" || mark == "DTNC") && payload.size() >= envelope_head &&
           payload.size() >= word(payload, 2) && word(payload, 2) >= envelope_head + word(payload, 12) + 3;
}

void take_frame(Port& port, const std::string& mark, std::string payload)
{
    if (payload.empty()) {
        say("%c  alive signal", port.name);
        return;
    }
    if (!is_readable(mark, payload)) {
        say("%c  frame %s of %zu bytes, not readable here", port.name, mark.c_str(), payload.size());
        return;
    }
    payload.resize(word(payload, 2));
    const std::size_t message = envelope_head + word(payload, 12);
    const std::string number = payload.substr(message, 3);
    say("%c  frame %s of %zu bytes, message %s", port.name, mark.c_str(), payload.size(), number.c_str());
    const std::size_t block = message + time_block;
    const bool is_check = number == "869" && payload.size() >= block + 74 && word(payload, block) == far_end_stage;
    if (is_check) {
        stamp_clock_check(payload, block);
    }
    send_frame(port, payload);
    say("%c  %s", port.name, is_check ? "clock check answered" : "message sent back");
}

void receive(Port& port)
{
    std::array<char, 4096> buffer{};
    const ssize_t got = recv(port.connection, buffer.data(), buffer.size(), 0);
    if (got <= 0) {
        close_connection(port, got == 0 ? "the other end" : "an error");
        return;
    }
    port.held.append(buffer.data(), static_cast<std::size_t>(got));
    while (port.connection >= 0 && port.held.size() >= frame_head) {
        const std::size_t end = frame_head + word(port.held, 4);
        if (port.held.size() < end) {
            return;
        }
        const std::string frame = port.held.substr(0, end);
        port.held.erase(0, end);
        take_frame(port, frame.substr(0, 4), frame.substr(frame_head));
    }
}

// False when it is time to end.
bool obey(std::array<Port, 2>& ports)
{
    char letter = 0;
    if (read(STDIN_FILENO, &letter, 1) != 1 || letter == 'q') {
        return false;
    }
    for (Port& port : ports) {
        if (letter == port.name && port.listener >= 0) {
            close(port.listener);
            port.listener = -1;
            say("%c  no longer listening", port.name);
        }
        if (std::toupper(letter) == port.name) {
            close_connection(port, "command");
        }
    }
    return true;
}

// One connection a port: the next one waits in the backlog.
void attend(Port& port, short listener_events, short connection_events)
{
    if (connection_events != 0) {
        receive(port);
    } else if (listener_events != 0) {
        accept_connection(port);
    }
    if (port.connection >= 0 && Clock::now() - port.last_sent >= longest_silence) {
        send_frame(port, {});
        say("%c  alive signal sent", port.name);
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::array<Port, 2> ports;
    ports[0].name = 'A';
    ports[1].name = 'B';
    const unsigned at_a = argc == 3 ? listen_at(ports[0], argv[1]) : 0;
    const unsigned at_b = argc == 3 ? listen_at(ports[1], argv[2]) : 0;
    if (at_a == 0 || at_b == 0) {
        std::fprintf(stderr, "usage: echo_peer PORT_A PORT_B, two free ports of this machine or 0\n");
        return 1;
    }
    std::printf("%u %u\n", at_a, at_b);
    std::fflush(stdout);
    std::array<pollfd, 5> watched{};
    watched.fill({.fd = STDIN_FILENO, .events = POLLIN, .revents = 0});
    do {
        for (std::size_t i = 0; i < 2; ++i) {
            watched[i].fd = ports[i].connection;
            watched[2 + i].fd = ports[i].connection < 0 ? ports[i].listener : -1;
        }
        poll(watched.data(), watched.size(), 1000);
        for (std::size_t i = 0; i < 2; ++i) {
            attend(ports[i], watched[2 + i].revents, watched[i].revents);
        }
    } while (watched[4].revents == 0 || obey(ports));
    return 0;
}
