// Quotes a market: places a bid and an offer around a price, moves both with each tick of a timer, and withdraws them
// at the end. What becomes of an order is heard from the market's table of orders (Posturas_Vigentes), for which
// qapi.cfg asks with a table_code directive; the next one is sent when that has come.
#include <qcapi/host.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace {

using quentar::Decimal;

// What clase_mensaje asks for.
constexpr int places = 1;
constexpr int replaces = 2;
constexpr int withdraws = 3;

constexpr std::array walk{0, 1, 2, 1}; // of the price, in steps

constexpr auto longest_answer = std::chrono::seconds(30);

struct Settings
{
    std::string user_code; // as in qapi.cfg
    int market = 0;
    Decimal price{};
    Decimal amount{};
    Decimal step = Decimal::of_units(25, 2); // from the price to each order, and of its walk
    int milliseconds = 1000;
    int ticks = 10;
};

struct Quote
{
    char side; // D demands, O offers
    std::string code;
    unsigned int record = 0; // in the market's table; 0 while it isn't there
};

void say(const std::string& line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

class Quoter
{
public:
    explicit Quoter(Settings settings) : m_settings(std::move(settings))
    {
        m_host.on_connected = [this] { set_connected(true, "connected"); };
        m_host.on_disconnected = [this](const std::string&) { set_connected(false, "disconnected"); };
        m_host.on_error = [](int code, const std::string& text, int) {
            std::fprintf(stderr, "%d %s\n", code, text.c_str());
        };
        m_host.on_message = [this](quentar::Message message) {
            hear(message);
            message.finish();
        };
    }

    quentar::Result login(const char* user, const char* password) { return m_host.login(user, password); }

    void run()
    {
        for (int tick = 0; tick < m_settings.ticks && wait_for_connection(); ++tick) {
            const Decimal middle =
                m_settings.price + m_settings.step * walk[static_cast<std::size_t>(tick) % walk.size()];
            quote(m_bid, middle - m_settings.step);
            quote(m_offer, middle + m_settings.step);
            if (input_ends_within(m_settings.milliseconds)) {
                break;
            }
        }
        withdraw(m_bid);
        withdraw(m_offer);
    }

private:
    // ---- What is sent, by the main thread

    void quote(Quote& quote, const Decimal& price)
    {
        const bool is_there = is_in_book(quote);
        say(name_of(quote) + (is_there ? ": move to " : ": place at ") + price.to_string());
        send(quote, is_there ? replaces : places, price);
    }

    void withdraw(Quote& quote)
    {
        if (is_in_book(quote)) {
            say(name_of(quote) + ": withdraw");
            send(quote, withdraws, m_settings.price);
        }
    }

    // The market fills in who sends it.
    void send(Quote& quote, int what, const Decimal& price)
    {
        quentar::Draft order("Orden_Transaccion");
        order.set("clase_mensaje", what).set("mercado", m_settings.market).set("o_d", quote.side);
        order.set("mcod_postura", quote.code).set("precio", price).set("numero", m_settings.amount);
        std::unique_lock lock(m_lock);
        m_answered = false;
        lock.unlock(); // what is sent may wait for a callback
        if (order.send(m_host) != quentar::Result::ok) {
            say("not sent: " + order.problem());
            return;
        }
        lock.lock();
        if (!m_heard.wait_for(lock, longest_answer, [this] { return m_answered || !m_connected; })) {
            say("no answer");
        }
    }

    // ---- What is heard, in callbacks

    void hear(const quentar::Message& message)
    {
        if (message.kind() == "Posturas_Vigentes") {
            hear_of_record(message);
        } else if (message.kind() == "Mantenimiento_Transacciones") {
            say("  traded " + message.get<Decimal>("transmm_numero").to_string() + " at " +
                message.get<Decimal>("transmm_precio").to_string());
        } else if (message.kind() == "Chat") {
            const auto text = message.get<std::string>("texto");
            say("  " + text);
            if (text.rfind("Order refused", 0) == 0) { // that way the market tells
                answer([] {});
            }
        }
    }

    // A record that is removed has its number alone.
    void hear_of_record(const quentar::Message& message)
    {
        const auto record = message.get<unsigned int>("codigo_unico_registro");
        const bool is_removed = message.get<char>("i_op") == 'B';
        const auto owner = message.get<std::string>("usuario_postura");
        const auto code = message.get<std::string>("mcod_postura");
        for (Quote* quote : {&m_bid, &m_offer}) {
            const bool is_it =
                is_removed ? quote->record == record : owner == m_settings.user_code && code == quote->code;
            if (!is_it) {
                continue;
            }
            say("  " + name_of(*quote) +
                (is_removed ? ": not in the book any more" : ": in the book, " + text_of(message)));
            answer([quote, record, is_removed] { quote->record = is_removed ? 0 : record; });
        }
    }

    static std::string text_of(const quentar::Message& message)
    {
        return message.get<Decimal>("numero").to_string() + " at " + message.get<Decimal>("precio").to_string();
    }

    template <class Change> void answer(Change change)
    {
        const std::lock_guard lock(m_lock);
        change();
        m_answered = true;
        m_heard.notify_all();
    }

    // ---- State of both

    void set_connected(bool connected, const char* what)
    {
        say(what);
        const std::lock_guard lock(m_lock);
        m_connected = connected;
        m_bid.record = m_offer.record = 0; // orders that stand in the market are told again
        m_heard.notify_all();
    }

    bool wait_for_connection()
    {
        std::unique_lock lock(m_lock);
        return m_heard.wait_for(lock, longest_answer, [this] { return m_connected; });
    }

    bool is_in_book(const Quote& quote)
    {
        const std::lock_guard lock(m_lock);
        return quote.record != 0;
    }

    static std::string name_of(const Quote& quote) { return quote.side == 'D' ? "bid" : "offer"; }

    // The pause between two ticks. A line of standard input ends it early.
    static bool input_ends_within(int milliseconds)
    {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        std::array<char, 256> bytes{};
        return poll(&input, 1, milliseconds) > 0 && read(STDIN_FILENO, bytes.data(), bytes.size()) <= 0;
    }

    Settings m_settings;
    std::mutex m_lock;
    std::condition_variable m_heard;
    bool m_connected = false;
    bool m_answered = false;
    Quote m_bid{'D', "QUOTEB"};
    Quote m_offer{'O', "QUOTEO"};
    quentar::Host m_host; // the last: its end ends the callbacks, which use the others
};

} // namespace

int main(int count, char** arguments)
{
    const std::optional<Decimal> price = count >= 7 ? Decimal::parse(arguments[5]) : std::nullopt;
    const std::optional<Decimal> amount = count >= 7 ? Decimal::parse(arguments[6]) : std::nullopt;
    if (count < 7 || count > 9 || !price || !amount) {
        std::fputs(
            "usage: quoter USER PASSWORD USER_CODE MARKET PRICE AMOUNT [MILLISECONDS [TICKS]]\n"
            "Keeps a bid and an offer around a price in a market: moves them with each tick, of which there are 10,\n"
            "1000 milliseconds apart, and withdraws them then. A line of its input is a tick too, the end of its\n"
            "input is the end. qapi.cfg in the working directory says where to log in, and asks for the market's\n"
            "orders: table_code = 71 Posturas_Vigentes\n",
            stderr);
        return 2;
    }
    Settings settings{arguments[3], std::atoi(arguments[4]), *price, *amount};
    settings.milliseconds = count > 7 ? std::atoi(arguments[7]) : settings.milliseconds;
    settings.ticks = count > 8 ? std::atoi(arguments[8]) : settings.ticks;
    Quoter quoter(settings);
    if (const quentar::Result result = quoter.login(arguments[1], arguments[2]); result != quentar::Result::ok) {
        std::fprintf(stderr, "%s. %s\n", quentar::text_of(result).c_str(), quentar::advice_of(result));
        return 1;
    }
    quoter.run();
    return 0;
}
