// A small market for demonstrations: brings one client after the other up, shows it an order and a chat, and publishes
// back what it sends. It is the tests' market (tests/support/session_peer.h) with a voice.
//
//   demo_market [PORT]    of this machine; one that is free if none is given. The first line of output is the port
//
// Commands on standard input, a letter each: d drops the connection, q or the end of the input ends the program.
#include "support/session_peer.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <poll.h>
#include <string>
#include <unistd.h>

using namespace market;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto longest_silence = std::chrono::seconds(20);
constexpr std::uint16_t orders_table = 71; // of market 71, if the client's configuration names it
constexpr std::uint32_t environment_word = 0x4F430000;
constexpr std::size_t chat_without_receivers = 2223; // what is not sent reads as nothing

void say(const char* format, auto... values)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    std::printf("%02d:%02d:%02d.%03d  ", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(now.tv_nsec / 1'000'000));
    if constexpr (sizeof...(values) == 0) {
        std::fputs(format, stdout);
    } else {
        std::printf(format, values...);
    }
    std::printf("\n");
    std::fflush(stdout);
}

std::string now_as(const char* format)
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[16] = {};
    std::strftime(text, sizeof text, format, &local);
    return text;
}

// ---- What this market knows: bodies of table records

std::string city(const std::string& code, const std::string& name)
{
    return Record(135).text(0, code, 3).text(5, name, 20).bytes();
}

std::string currency(const std::string& code, const std::string& name)
{
    return Record(146).text(0, code, 3).text(5, name, 20).bytes();
}

std::string institution(const std::string& code, const std::string& name)
{
    return Record(108).text(0, code, 4).text(14, code, 10).text(24, name, 30).bytes();
}

// With the right to see all markets, two bits each.
std::string user(const std::string& code, const std::string& name)
{
    return Record(699)
        .text(0, code, 4)
        .text(4, "NORTBOG1", 8)
        .text(30, name, 30)
        .text(151, std::string(50, '\xAA'), 50)
        .bytes();
}

class DemoMarket
{
public:
    explicit DemoMarket(std::uint16_t port) { m_peer.listen(port); }

    [[nodiscard]] unsigned port() const { return m_peer.port(); }

    // Does what there is to do.
    void attend();
    void drop();

private:
    void bring_up();
    void fill_tables(const std::string& client_user);
    void put(std::uint16_t table, const std::string& body);
    void send_order_and_chat();
    void take(const std::string& message);
    void publish(Order order);
    [[nodiscard]] Cabeza envelope(const std::string& user);
    void keep_alive();

    SessionPeer m_peer;
    bool m_is_up = false;
    std::uint32_t m_last_number = 0; // of messages
    std::uint32_t m_last_idx = 0;    // of table records
    Clock::time_point m_last_sent{};
};

// ---- A client comes

void DemoMarket::bring_up()
{
    m_peer.accept();
    say("a client connects");
    const Login login = m_peer.expect_login();
    say("login of user %s, machine %s, version %s: accepted", login.user_name.c_str(), login.machine.c_str(),
        login.version.c_str());
    fill_tables(login.stamp.user);
    m_peer.accept_login();
    m_peer.send_range();
    say("%zu primary tables asked for and sent", m_peer.serve_primary_tables().size());
    const LogRequest log = m_peer.expect_log_request();
    say("log request of %zu entries, the first behind number %u of %s", log.entries.size(),
        log.entries.empty() ? 0 : log.entries.front().last_message,
        log.entries.empty() ? "no day" : log.entries.front().date.c_str());
    say("presence of user %s", m_peer.expect_presence().user.c_str());
    say("version %s", m_peer.expect_version().objects.c_str());
    say("both rounds of the log sent, %zu secondary tables asked for and sent", m_peer.play_log_rounds().size());
    m_is_up = true;
    send_order_and_chat();
}

void DemoMarket::put(std::uint16_t table, const std::string& body)
{
    ++m_last_idx;
    m_peer.tables[table].push_back(
        {.idx = m_last_idx, .crc32 = m_last_idx, .environment = environment_word, .body = body});
}

void DemoMarket::fill_tables(const std::string& client_user)
{
    m_peer.tables.clear();
    put(8, ServerListBody(1, {"DM01"}));
    put(21, institution("NORT", "Banco Norte"));
    put(24, user(client_user, "Maria Gomez"));
    put(24, user("U007", "Pedro Ruiz"));
    put(25, city("BOG", "Bogota"));
    put(28, currency("USD", "Dollar"));
}

Cabeza DemoMarket::envelope(const std::string& user)
{
    return {.server_number = ++m_last_number,
            .user = user,
            .hour = now_as("%H%M%S"),
            .date = now_as("%Y%m%d"),
            .branch = "NORTBOG1"};
}

void DemoMarket::send_order_and_chat()
{
    Order order{.cabeza = envelope("U007"), .user = "U007", .branch = "NORTBOG1"};
    order.date = order.cabeza.date;
    order.hour = order.cabeza.hour;
    m_peer.send_order(order);
    ChatText chat{.sender = "U007", .text = "Good morning"};
    chat.date = order.date;
    chat.hour = order.hour;
    m_peer.send_message(Make(Chat{.cabeza = envelope("U007"), .chat = chat}).substr(0, chat_without_receivers));
    say("an order and a chat sent");
}

// ---- What it sends

void DemoMarket::publish(Order order)
{
    order.cabeza = envelope(order.cabeza.user);
    m_peer.send_order(order);
    m_peer.send_table_record({.letter = 'I',
                              .code = orders_table,
                              .idx = ++m_last_idx,
                              .environment = environment_word,
                              .body = OrderData(Make(order))});
    say("the order published, as a message and as record %u of table %u", m_last_idx,
        static_cast<unsigned>(orders_table));
}

void DemoMarket::take(const std::string& message)
{
    switch (NumberOf(message)) {
    case 111:
    case 113:
    case 121: {
        const Order order = TakeOrder(message);
        say("order %s%s: market %d, %s at %s", order.user.c_str(), order.code.c_str(), order.market,
            order.amount.c_str(), order.price.c_str());
        publish(order);
        break;
    }
    case 202:
        say("machine %s takes its leave", TakeOffline(message).machine.c_str());
        m_peer.receive_until_closed();
        drop();
        break;
    case 575: {
        const ChatText chat = TakeChat(message).chat;
        say("chat of %s: %s", chat.sender.c_str(), chat.text.c_str());
        break;
    }
    default:
        say("message %s of %zu bytes", message.substr(0, 3).c_str(), message.size());
    }
}

// ---- Life

void DemoMarket::attend()
{
    try {
        if (m_peer.is_awaited()) {
            bring_up();
        }
        while (m_is_up) {
            const auto envelope = m_peer.receive_message_if_any();
            if (!envelope) {
                break;
            }
            take(envelope->message);
        }
        keep_alive();
    } catch (const std::exception& error) {
        say("the client is gone: %s", error.what());
        m_is_up = false;
        m_peer.close();
    }
}

void DemoMarket::keep_alive()
{
    if (m_is_up && Clock::now() - m_last_sent >= longest_silence) {
        m_peer.send_alive_signal();
        m_last_sent = Clock::now();
    }
}

void DemoMarket::drop()
{
    m_is_up = false;
    m_peer.close();
    say("connection closed");
}

// 0 if none comes within a moment.
char next_command()
{
    pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
    if (poll(&input, 1, 10) <= 0) {
        return 0;
    }
    char letter = 0;
    return read(STDIN_FILENO, &letter, 1) == 1 ? letter : 'q';
}

} // namespace

int main(int argc, char** argv)
{
    try {
        DemoMarket market(static_cast<std::uint16_t>(argc > 1 ? std::atoi(argv[1]) : 0));
        std::printf("%u\n", market.port());
        std::fflush(stdout);
        for (char command = 0; command != 'q'; command = next_command()) {
            if (command == 'd') {
                market.drop();
            }
            market.attend();
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "demo_market: %s\n", error.what());
        return 1;
    }
    return 0;
}
