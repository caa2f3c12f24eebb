// A data server in small: takes one client at a time, gives it a table of orders and chats, and prints what it hears.
// Its input says what happens in its market, a line each:
//
//     order CODE PRICE AMOUNT [offer]    puts a bid (or an offer) into the book, or another in its place
//     remove CODE                        takes it out
//     chat TEXT
//
// What a client's order does to the book comes back as a change of the table.
#include <qcapi/qcapi.h>

#include <array>
#include <cstdlib>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>

namespace {

// In the environment MX every user may see table 31, whose market is 31. Other tables need more (docs/data_server.md).
constexpr char environment[] = "MX";
constexpr int orders_table = 31;
constexpr char market[] = "31";

constexpr char own_user[] = "FEED"; // whose orders those of the input are

struct Order
{
    char side = 'D'; // D demands, O offers
    std::string price{};
    std::string amount{};
};

class Feeder : public CQcApi
{
public:
    // Logout alone would wait 35 seconds for the running log's thread, which nothing stops in this role, and then crash
    // the process. LogoutForce ends the session; the Logout behind it finds none, and stops and joins all threads that
    // are left. It stands here, where the callbacks that may still come have their members.
    ~Feeder() override
    {
        LogoutForce();
        Logout();
    }

    // ---- What the input says, on the main thread

    void obey(const std::string& line)
    {
        const Turn turn(m_lock);
        std::istringstream words(line);
        std::string verb;
        std::string code;
        std::string text;
        Order order;
        words >> verb;
        if (verb == "order" && words >> code >> order.price >> order.amount) {
            order.side = words >> text && text == "offer" ? 'O' : 'D';
            place(own_user, code, order);
        } else if (verb == "remove" && words >> code) {
            remove(own_user, code);
        } else if (verb == "chat" && std::getline(words >> std::ws, text)) {
            send_chat(text);
        } else {
            std::cerr << "not understood: " << line << std::endl;
        }
    }

private:
    // Received messages are read and others are composed by one thread at a time: the main thread, or the reader in
    // what follows here. A report that is raised meanwhile waits for the end of the turn: on most threads OnError waits
    // for the callback that runs, and that may wait for its turn.
    class Turn
    {
    public:
        explicit Turn(std::mutex& lock) : m_lock(lock) {}

    private:
        ReportsHeld m_reports; // ahead of the lock
        std::lock_guard<std::mutex> m_lock;
    };

    // ---- What the client says, on the reader thread

    // Logins are accepted by the library. What the client waits for then is the range.
    void OnMessageReceived(char* kind, unsigned int number) override
    {
        const Turn turn(m_lock);
        const std::string name = kind;
        if (name == "User_Entered") { // no record, a word
            std::cout << "user entered" << std::endl;
            send_range();
            return;
        }
        TakeMessage(kind, number);
        if (name == "Orden_Transaccion") {
            take_order();
        } else if (name == "Chat") {
            std::cout << "chat: " << field("texto") << std::endl;
        }
        FinishMessageProcess(kind, number);
    }

    void OnDisconnection(int, const char*) override
    {
        const Turn turn(m_lock);
        std::cout << "user left" << std::endl;
        m_asked_for_orders = false;
    }

    void OnError(int code, char* text, int, int) override { std::cerr << code << ' ' << text << std::endl; }

    // Table records are no messages to the library in this role, so requests for tables are seen here alone: three
    // digits, a letter, the table's code. S asks for all of it, Q for what differs from the client's own records.
    void CallDataReceived(const char*, char*, char* data) override
    {
        const char letter = data[3];
        if (std::string(data, 3) == "888" && (letter == 'S' || letter == 'Q')) {
            const Turn turn(m_lock);
            answer(static_cast<unsigned char>(data[4]) + 256 * static_cast<unsigned char>(data[5]));
        }
    }

    void take_order()
    {
        const std::string user = field("usuario");
        const std::string code = field("mcod_postura");
        const Order order{field("o_d") == "O" ? 'O' : 'D', field("precio"), field("numero")};
        const bool withdraws = field("clase_mensaje") == "3"; // all else places, or replaces
        std::cout << (withdraws ? "withdrawn: " : "order: ") << user << ' ' << code << ' ' << order.side << ' '
                  << order.amount << " at " << order.price << std::endl;
        withdraws ? remove(user, code) : place(user, code, order);
    }

    std::string field(std::string name)
    {
        std::array<char, 4096> bytes{}; // more than any field has
        const int length = GetFieldBSTR(name.data(), bytes.data());
        const std::string text(bytes.data(), static_cast<std::size_t>(length));
        const std::string padding(" \0", 2);
        const std::size_t first = text.find_first_not_of(padding);
        return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(padding) + 1 - first);
    }

    // ---- The book, and what is sent: all of it in a turn

    using Key = std::pair<std::string, std::string>; // user, and the user's own code of the order

    // A client that has not asked yet gets the order with all others when it asks.
    void place(const std::string& user, const std::string& code, const Order& order)
    {
        const bool is_new = m_book.insert_or_assign({user, code}, order).second;
        if (m_asked_for_orders) {
            send_order(is_new ? 'I' : 'A', {user, code}, order);
        }
    }

    // A removal names a record by its number alone. A host can't number the records that it composes, and all of them
    // have 0: so one removal takes all, and those that are left come again.
    void remove(const std::string& user, const std::string& code)
    {
        if (m_book.erase({user, code}) != 0 && m_asked_for_orders) {
            send_mark('B', orders_table);
            send_book();
        }
    }

    // The only table with records is that of the orders; of all others the client has what the server has.
    void answer(int table)
    {
        if (table == orders_table) {
            m_asked_for_orders = true;
            send_book();
        }
        send_mark('z', table);
    }

    // Lowest and highest number of records, and the environment.
    void send_range()
    {
        begin_record('g', 0);
        set("data_info", std::string("\1\0\0\0\xff\xff\xff\x7f", 8) + environment);
        send();
    }

    void send_mark(char letter, int table)
    {
        begin_record(letter, table);
        send();
    }

    void send_book()
    {
        for (const auto& [key, order] : m_book) {
            send_order('C', key, order);
        }
    }

    void send_order(char letter, const Key& key, const Order& order)
    {
        begin_record(letter, orders_table);
        set("mercado", market);
        set("o_d", std::string(1, order.side));
        set("usuario_postura", key.first);
        set("mcod_postura", key.second);
        set("precio", order.price);
        set("numero", order.amount);
        send();
    }

    void send_chat(const std::string& text)
    {
        begin("Chat");
        set("tipo", "T");
        set("emisor", own_user);
        set("texto", text);
        send();
    }

    // All table records have the header of this kind.
    void begin_record(char letter, int table)
    {
        begin("Posturas_Vigentes");
        set("i_op", std::string(1, letter));
        set("data_code", std::to_string(table));
    }

    void begin(const std::string& kind)
    {
        m_kind = kind;
        InitMessage(m_kind.data());
    }

    void set(std::string name, std::string value)
    {
        value.resize(4096); // as many bytes are read as the field has
        SetFieldBSTR(m_kind.data(), name.data(), value.data());
    }

    void send() { SendMessage(m_kind.data()); }

    std::mutex m_lock;
    std::string m_kind; // of the message that is composed
    std::map<Key, Order> m_book;
    bool m_asked_for_orders = false;
};

} // namespace

int main(int count, char** arguments)
{
    const int port = count == 3 ? std::atoi(arguments[2]) : 0;
    if (port < 1 || port > 65535) {
        std::cerr
            << "usage: feeder HOST PORT\n"
               "Serves one client at a time: listens if HOST is 0.0.0.0, else connects to it. qapi.cfg in the\n"
               "working directory says who it is, the client's asks for its orders: table_code = 31\n"
               "Posturas_Vigentes. Input: order CODE PRICE AMOUNT [offer], remove CODE, chat TEXT. Ends with it.\n";
        return 2;
    }
    Feeder feeder;
    if (const int code = feeder.Connect(arguments[1], port, nullptr, 0); code != 0) {
        std::cerr << "qapi.cfg: error " << code << std::endl; // its threads run all the same, until the feeder goes
        return 1;
    }
    for (std::string line; std::getline(std::cin, line);) {
        feeder.obey(line);
    }
    return 0;
}
