// A client that may send anything, in a session with a whole market: whatever comes, the market lives, takes orders,
// and its book is in order.
//
// The first byte tells whether the client logs in. Behind it come pieces: a byte that a multiple of 16 makes raw bytes
// (their count in a byte, and they) and any other a message: number (1), length (2), zeros behind the number (1),
// bytes.
#include "market.h"

#include "session/header.h"
#include "wire/envelope.h"
#include "wire/frames.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr const char* scenario = R"({
  "server": "DSAB", "data_servers": ["DSAB"], "data_managers": ["DM01"], "environment": "CO", "send_mode": "plain",
  "users": [{"name": "maria", "password": "secret", "code": "U001", "branch": "NORTBOG1", "machine": "L001"},
            {"name": "pedro", "password": "secret", "code": "U002", "branch": "SURBMED1", "machine": "L002"}],
  "markets": [{"number": 71, "orders_table": 71, "currency": "USD"}],
  "tables": [{"name": "cities", "records": [{"codigo_3c": "BOG", "nombre": "Bogota"}]}]
})";

constexpr int numbers[] = {111, 113, 121, 575, 888, 203, 252, 213, 214, 202, 201, 253, 133, 869, 204, 0};

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : m_rest(reinterpret_cast<const char*>(data), size) {}

    [[nodiscard]] bool is_over() const { return m_rest.empty(); }
    std::string_view take(std::size_t count)
    {
        const std::string_view piece = m_rest.substr(0, count);
        m_rest.remove_prefix(piece.size());
        return piece;
    }
    std::size_t byte()
    {
        const std::string_view piece = take(1);
        return piece.empty() ? 0 : static_cast<unsigned char>(piece.front());
    }

private:
    std::string_view m_rest;
};

class Session
{
public:
    explicit Session(qm::Market& market)
    {
        int ends[2] = {-1, -1};
        require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends) == 0);
        market.Adopt(ends[0], "fuzz");
        m_end = ends[1];
    }
    ~Session() { close(m_end); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void send(std::string_view bytes)
    {
        require(bytes.empty() || ::send(m_end, bytes.data(), bytes.size(), MSG_NOSIGNAL) != 0);
    }
    void send_message(std::string_view message)
    {
        std::string envelope;
        std::string frame;
        require(qm::Append_Envelope(envelope, message, 60, "L001") && m_encoder.Append(frame, envelope));
        send(frame);
    }
    void read_all()
    {
        char buffer[65536];
        while (recv(m_end, buffer, sizeof buffer, 0) > 0) {
        }
    }

private:
    int m_end = -1;
    qm::FrameEncoder m_encoder{qm::SendMode::plain};
};

std::string login(const char* machine, const char* user, const char* name)
{
    std::string message = qm::Empty_Message(201, 518);
    qm::Stamp_Sender(message, {.machine = machine, .user = user, .branch = ""});
    message.replace(83, 4, machine);
    message.replace(88, 5, name);
    message.replace(132, 6, "secret");
    return message;
}

std::string message_from(Input& input)
{
    const int number = numbers[input.byte() % std::size(numbers)];
    const std::size_t length = (input.byte() + input.byte() * 256) % 4000;
    std::string message = qm::Empty_Message(number, 3 + input.byte() % 100);
    message += input.take(length);
    return message;
}

void run(qm::EventLoop& loop)
{
    for (int round = 0; round < 3; ++round) {
        loop.Run_Once(qm::Clock::Time::zero());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const qm::Clock clock;
    static const qm::Scenario parsed = qm::Parse_Scenario(scenario, "fuzz");
    qm::EventLoop loop(clock);
    qm::Journal journal(clock);
    qm::Market market(loop, parsed, {}, journal);
    Session other(market);
    Session session(market);
    other.send_message(login("L002", "U002", "pedro"));
    run(loop);
    Input input(data, size);
    if (input.byte() % 8 != 0) {
        session.send_message(login("L001", "U001", "maria"));
    }
    run(loop);
    while (!input.is_over()) {
        if (input.byte() % 16 == 0) {
            session.send(input.take(input.byte()));
        } else {
            session.send_message(message_from(input));
        }
        run(loop);
        session.read_all();
        other.read_all();
    }
    require(market.Do("clients").find("L002 U002") != std::string::npos);
    require(market.Do("order pedro 71 bid 1 1 Z") == "order U002Z");
    require(market.Do("withdraw pedro 71 Z") == "withdrawn" || market.Do("book 71").find("U002Z") == std::string::npos);
    return 0;
}
