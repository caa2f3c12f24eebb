// A host of the demonstration. It does what it is told on standard input, and tells what it hears: a line each, its
// words separated by tabs.
//
//     place CODE bid|offer PRICE AMOUNT [MACHINE]    an order, which MACHINE gets as a message too
//     move CODE bid|offer PRICE AMOUNT               another one in its place
//     withdraw CODE
//     chat USER_CODE TEXT
//     leave                                          the next chat unfinished
//     quit                                           logs out; the end of the input is a quit too
#include <qcapi/host.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>

namespace {

struct Tally
{
    int received = 0;
    int finished = 0;
    int sent = 0;
};

class Trader
{
public:
    Trader(std::string user_code, int market) : m_user_code(std::move(user_code)), m_market(market)
    {
        m_host.on_connected = [this] { tell({"ready", time_since_login()}); };
        m_host.on_refused = [](char letter) { tell({"refused", std::string(1, letter)}); };
        m_host.on_disconnected = [](const std::string& reason) { tell({"lost", reason}); };
        m_host.on_error = [](int code, const std::string& text, int) { tell({"error", std::to_string(code), text}); };
        m_host.on_message = [this](quentar::Message message) { hear(std::move(message)); };
    }

    quentar::Result login(const char* user, const char* password)
    {
        m_login = std::chrono::steady_clock::now();
        return m_host.login(user, password);
    }

    void run()
    {
        for (std::string line; std::getline(std::cin, line) && line != "quit";) {
            std::istringstream words(line);
            std::string verb;
            words >> verb;
            obey(verb, words);
        }
        m_host.logout();
        tell({"ended"});
    }

private:
    // One line at a time, whichever thread tells it; who reads it from a pipe reads along.
    static void tell(std::initializer_list<std::string> words)
    {
        std::string line;
        for (const std::string& word : words) {
            line += (line.empty() ? "" : "\t") + word;
        }
        static std::mutex one_at_a_time;
        const std::lock_guard lock(one_at_a_time);
        std::puts(line.c_str());
        std::fflush(stdout);
    }

    // In milliseconds; of the first connection alone.
    std::string time_since_login()
    {
        const auto time = std::chrono::steady_clock::now() - m_login;
        const bool is_first = !std::exchange(m_was_connected, true);
        return is_first ? std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(time).count()) : "";
    }

    // ---- What is heard

    void hear(quentar::Message message)
    {
        if (message.kind() == "Posturas_Vigentes") {
            tell_row(message);
        } else if (message.kind() == "Chat") {
            tell({"chat", text(message, "emisor"), text(message, "emisor.nombre_completo"), text(message, "texto")});
        } else if (message.kind() == "Orden_Transaccion") {
            tell({"order", text(message, "codigo_postura"), text(message, "usuario_postura.nombre_completo")});
        } else if (message.kind() == "Mantenimiento_Transacciones") {
            tell_trade(message);
        } else if (message.kind() == "Precios_Montos_Transados") {
            tell({"prices", text(message, "precio_minimo_dia"), text(message, "precio_maximo_dia")});
        } else {
            tell({"message", message.kind()});
        }
        const bool is_left = message.kind() == "Chat" && m_leaves_chat.exchange(false);
        count(message.kind(), !is_left && message.finish() == quentar::Result::ok);
    }

    // A record that has left the table has its number alone.
    static void tell_row(const quentar::Message& message)
    {
        tell({"row", text(message, "i_op"), text(message, "codigo_unico_registro"), text(message, "mercado"),
              text(message, "o_d"), text(message, "precio"), text(message, "numero"), text(message, "mcod_postura"),
              text(message, "usuario_postura.nombre_completo")});
    }

    static std::string text(const quentar::Message& message, const char* path)
    {
        return message.find<std::string>(path).value_or("");
    }

    // The order that rested, and what its codes lead to: the table of users, of branches, of institutions, of
    // currencies.
    static void tell_trade(const quentar::Message& message)
    {
        tell({"trade", text(message, "transmm_numero"), text(message, "transmm_precio")});
        for (const char* path : {"transmm_usuario_postura", "transmm_usuario_postura.nombre_completo",
                                 "transmm_usuario_postura.cargo", "transmm_usuario_postura.codigo_sucursal.nombre",
                                 "transmm_codigo_institucion_postura.nombre", "transmm_moneda.nombre"}) {
            tell({"path", path, text(message, path)});
        }
    }

    // ---- What is sent

    void obey(const std::string& verb, std::istringstream& words)
    {
        if (verb == "place" || verb == "move" || verb == "withdraw") {
            send_order(verb == "place" ? 1 : verb == "move" ? 2 : 3, words);
        } else if (verb == "chat") {
            send_chat(words);
        } else if (verb == "leave") {
            m_leaves_chat = true;
            tell({"leaves"});
        } else {
            tell({"problem", "no command " + verb});
        }
    }

    // The market fills in who sends it.
    void send_order(int what, std::istringstream& words)
    {
        std::string code;
        std::string side;
        std::string price = "1";
        std::string amount = "1";
        std::string machine;
        words >> code >> side >> price >> amount >> machine;
        quentar::Draft order("Orden_Transaccion");
        order.set("clase_mensaje", what).set("mercado", m_market).set("mcod_postura", code);
        order.set("o_d", side == "offer" ? 'O' : 'D').set("precio", price).set("numero", amount);
        if (!machine.empty()) {
            order.to("PU", machine);
        }
        send(order);
    }

    void send_chat(std::istringstream& words)
    {
        std::string receiver;
        std::string said;
        words >> receiver >> std::ws;
        std::getline(words, said);
        quentar::Draft chat("Chat");
        chat.set("id", m_user_code + std::to_string(m_tally.sent)).set("emisor", m_user_code).set("texto", said);
        chat.set("numero_receptores", 1).set("tipo_receptores", "U").set("receptor", receiver);
        send(chat);
    }

    void send(const quentar::Draft& draft)
    {
        const quentar::Result result = draft.send(m_host);
        if (result != quentar::Result::ok) {
            tell({"problem", draft.problem().empty() ? quentar::text_of(result) : draft.problem()});
            return;
        }
        const std::lock_guard lock(m_lock);
        ++m_tally.sent;
        tell_tally();
    }

    // ---- Counting

    void count(const std::string& kind, bool is_finished)
    {
        const std::lock_guard lock(m_lock);
        ++m_tally.received;
        if (is_finished) {
            ++m_tally.finished;
            tell({"kind", kind, std::to_string(++m_kinds[kind])});
        }
        tell_tally();
    }

    void tell_tally() const
    {
        tell({"tally", std::to_string(m_tally.received), std::to_string(m_tally.finished),
              std::to_string(m_tally.sent)});
    }

    std::string m_user_code;
    int m_market;
    std::chrono::steady_clock::time_point m_login;
    bool m_was_connected = false;
    std::atomic<bool> m_leaves_chat{false};
    std::mutex m_lock; // callbacks and commands; not held while something is sent, which may wait for a callback
    Tally m_tally;
    std::map<std::string, int> m_kinds; // finished
    quentar::Host m_host;               // the last: its end ends the callbacks, which use the others
};

} // namespace

int main(int count, char** arguments)
{
    if (count != 5) {
        std::fputs("usage: demo_trader USER PASSWORD USER_CODE MARKET\n"
                   "A host that takes commands on standard input; the demonstration runs two of it.\n",
                   stderr);
        return 2;
    }
    Trader trader(arguments[3], std::atoi(arguments[4]));
    if (const quentar::Result result = trader.login(arguments[1], arguments[2]); result != quentar::Result::ok) {
        std::fprintf(stderr, "%s. %s\n", quentar::text_of(result).c_str(), quentar::advice_of(result));
        return 1;
    }
    trader.run();
    return 0;
}
