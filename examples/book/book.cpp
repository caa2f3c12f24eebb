// A live order book of one market. The market's table of orders (Posturas_Vigentes) comes as a whole when a session
// begins, then each change of it; qapi.cfg in the working directory asks for it with a table_code directive. On a
// terminal the book is drawn anew at each change, elsewhere each change is a line.
#include <qcapi/host.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

struct Order
{
    bool is_bid = false;
    quentar::Decimal price{};
    quentar::Decimal amount{};
    std::string owner{};
};

// Callbacks come one at a time, so that nothing here needs a lock.
class Book
{
public:
    Book(int market, bool is_terminal) : m_market(market), m_is_terminal(is_terminal) {}

    // I and C bring an order, A changes one, B removes one, of which the record then has the number alone.
    void take(const quentar::Message& message)
    {
        const auto record = message.get<unsigned int>("codigo_unico_registro");
        const char letter = message.get<char>("i_op");
        if (letter == 'B') {
            remove(record);
        } else if (message.get<int>("mercado") == m_market) {
            m_orders[record] = {message.get<char>("o_d") == 'D', message.get<quentar::Decimal>("precio"),
                                message.get<quentar::Decimal>("numero"),
                                message.get<std::string>("usuario_postura.nombre_completo")};
            tell(letter == 'A' ? '*' : '+', m_orders[record]);
        }
    }

    // What a connection brought is brought again by the next one.
    void clear(const char* why)
    {
        m_orders.clear();
        m_is_terminal ? draw() : say(why);
    }

private:
    void remove(unsigned int record)
    {
        const auto found = m_orders.find(record);
        if (found != m_orders.end()) {
            const Order gone = found->second;
            m_orders.erase(found);
            tell('-', gone);
        }
    }

    void tell(char sign, const Order& order) const { m_is_terminal ? draw() : say(sign + (" " + line_of(order))); }

    static void say(const std::string& line)
    {
        std::printf("%s\n", line.c_str());
        std::fflush(stdout);
    }

    static std::string line_of(const Order& order)
    {
        std::array<char, 160> line{};
        std::snprintf(line.data(), line.size(), "%-5s %12s %14s  %s", order.is_bid ? "bid" : "offer",
                      order.price.to_string().c_str(), order.amount.to_string().c_str(), order.owner.c_str());
        return line.data();
    }

    // Offers over bids, the best of both in the middle; of the same price the older first.
    void draw() const
    {
        std::vector<Order> offers;
        std::vector<Order> bids;
        for (const auto& [record, order] : m_orders) {
            (order.is_bid ? bids : offers).push_back(order);
        }
        std::stable_sort(bids.begin(), bids.end(), [](const Order& a, const Order& b) { return a.price > b.price; });
        std::stable_sort(offers.begin(), offers.end(),
                         [](const Order& a, const Order& b) { return a.price < b.price; });
        std::reverse(offers.begin(), offers.end());
        std::string page = "\033[H\033[J" + ("Market " + std::to_string(m_market)) + "\n\n";
        for (const Order& order : offers) {
            page += line_of(order) + '\n';
        }
        page += '\n';
        for (const Order& order : bids) {
            page += line_of(order) + '\n';
        }
        std::fputs(page.c_str(), stdout);
        std::fflush(stdout);
    }

    int m_market;
    bool m_is_terminal;
    std::map<unsigned int, Order> m_orders; // by number of the record, which grows with time
};

} // namespace

int main(int count, char** arguments)
{
    if (count != 4) {
        std::fputs(
            "usage: book USER PASSWORD MARKET\n"
            "Shows the open orders of a market. qapi.cfg in the working directory says where to log in, and asks\n"
            "for them: table_code = 71 Posturas_Vigentes\n"
            "Ends with its input.\n",
            stderr);
        return 2;
    }
    Book book(std::atoi(arguments[3]), isatty(STDOUT_FILENO) != 0); // outlives the host, whose functions use it
    quentar::Host host;
    host.on_connected = [&] { book.clear("connected"); };
    host.on_disconnected = [&](const std::string&) { book.clear("disconnected"); };
    host.on_error = [](int code, const std::string& text, int) { std::fprintf(stderr, "%d %s\n", code, text.c_str()); };
    host.on_message = [&](quentar::Message message) {
        if (message.kind() == "Posturas_Vigentes") {
            book.take(message);
        }
        message.finish();
    };
    if (const quentar::Result result = host.login(arguments[1], arguments[2]); result != quentar::Result::ok) {
        std::fprintf(stderr, "%s. %s\n", quentar::text_of(result).c_str(), quentar::advice_of(result));
        return 1;
    }
    while (std::getchar() != EOF) {
    }
    return 0;
}
