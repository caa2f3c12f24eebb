// A host: logs in, prints what it receives with some fields read by name, and sends an order and a chat whenever a
// session is ready. It logs out when it reads a q, or its standard input ends.
//
//   trading_host [DIRECTORY [PORT]]
//
//   DIRECTORY    holds qapi.cfg and qapi.log; a new one under /tmp if none is given
//   PORT         of a market on this machine, 7001 if none is given
#include <qcapi/qcapi.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

// What is printed of a kind of message. A dot leads into the record that a code names: the sender's, say.
struct Shown
{
    const char* kind;
    std::array<const char*, 5> fields;
};
constexpr std::array shown{
    Shown{"Orden_Transaccion", {"mercado", "precio", "numero", "mcod_postura", "usuario.nombre_completo"}},
    Shown{"Posturas_Vigentes", {"i_op", "precio", "numero", "mcod_postura", "usuario_postura.nombre_completo"}},
    Shown{"Chat", {"fecha_mensaje", "hora_mensaje", "emisor", "emisor.nombre_completo", "texto"}},
};

// SetFieldBSTR reads as many bytes as the field is long.
std::string padded(std::string text, std::size_t length)
{
    text.resize(length, '\0');
    return text;
}

class TradingHost : public CQcApi
{
public:
    ~TradingHost() override { Logout(); } // here, while the callbacks of this class still stand

    void OnConnection(int result_code) override
    {
        say("OnConnection: " + std::to_string(result_code));
        if (result_code == 0) {
            send_order();
            send_chat();
        }
    }
    void OnMessageReceived(char* message_type, unsigned int message_num) override
    {
        if (TakeMessage(message_type, message_num) != 0) {
            return;
        }
        std::string line = std::string("received ") + message_type + " " + std::to_string(message_num) + ":";
        for (const Shown& kind : shown) {
            for (const char* field : kind.kind == std::string(message_type) ? kind.fields : decltype(kind.fields){}) {
                line += field != nullptr ? std::string(" ") + field + "=" + text_of(field) : "";
            }
        }
        say(line);
        FinishMessageProcess(message_type, message_num);
    }
    void OnDisconnection(int /*reason_code*/, const char* reason_text) override
    {
        say(std::string("OnDisconnection: ") + reason_text);
    }
    void OnError(int error_code, char* error_text, int /*next_action_code*/, int /*next_action_data*/) override
    {
        say("OnError " + std::to_string(error_code) + ": " + error_text);
    }
    void OnStatusChanged(int status_code, char* status_text) override
    {
        say("OnStatusChanged " + std::to_string(status_code) + ": " + status_text);
    }

private:
    static void say(const std::string& line)
    {
        std::puts(line.c_str());
        std::fflush(stdout); // whoever reads this from a pipe reads along
    }

    // A field of the taken record, without what fills it up.
    std::string text_of(std::string name)
    {
        std::array<char, 4096> bytes{}; // longer than any field
        const int length = GetFieldBSTR(name.data(), bytes.data());
        std::string text(bytes.data(), static_cast<std::size_t>(length));
        text.erase(text.find_last_not_of(std::string(" \0", 2)) + 1);
        return text.erase(0, text.find_first_not_of(' '));
    }

    void set(std::string kind, std::string field, const std::string& text, std::size_t length)
    {
        SetFieldBSTR(kind.data(), field.data(), padded(text, length).data());
    }
    void set(std::string kind, std::string field, long number) { SetFieldLONG(kind.data(), field.data(), number); }

    void send_order()
    {
        std::string kind = "Orden_Transaccion";
        std::string address = "PUL002"; // another machine gets it too
        InitMessage(kind.data());
        set(kind, "clase_mensaje", 1);
        set(kind, "mercado", 71);
        set(kind, "usuario_postura", "U001", 4);
        set(kind, "mcod_postura", "000042", 6);
        set(kind, "codigo_sucursal_postura", "NORTBOG1", 8);
        set(kind, "precio", "4015.75", 19);
        set(kind, "numero", "250", 13);
        set(kind, "moneda", "USD", 3);
        SendMessageTo(address.data());
        say("order sent: " + std::to_string(SendMessage(kind.data())));
    }

    void send_chat()
    {
        std::string kind = "Chat";
        InitMessage(kind.data());
        set(kind, "id", "from trading_host", 64);
        set(kind, "emisor", "U001", 4);
        set(kind, "texto", "Who takes 250 at 4015.75?", 2048);
        set(kind, "numero_receptores", 1);
        set(kind, "tipo_receptores", "U", 1);
        set(kind, "receptor", "U007", 1600);
        say("chat sent: " + std::to_string(SendMessage(kind.data())));
    }
};

bool write_configuration(const char* port)
{
    std::ofstream file("qapi.cfg");
    file << "# where to connect, and to which server\n"
            "data_server   = DSAB\n"
            "ds_ip_address = 127.0.0.1\n"
            "ds_tcp_port   = "
         << port
         << "\n# who this is\n"
            "local_code  = L001\n"
            "user_code   = U001\n"
            "branch_code = NORTBOG1\n"
            "# what to receive\n"
            "transaction_feed = 1\n"
            "table_code = 71 Posturas_Vigentes\n"
            "language = english\n";
    return file.good();
}

} // namespace

int main(int argc, char** argv)
{
    char fresh[] = "/tmp/trading_host-XXXXXX";
    const char* directory = argc > 1 ? argv[1] : mkdtemp(fresh);
    std::error_code failed;
    if (directory != nullptr) {
        std::filesystem::current_path(directory, failed);
    }
    if (directory == nullptr || failed || !write_configuration(argc > 2 ? argv[2] : "7001")) {
        std::fprintf(stderr, "trading_host: no writable directory\n");
        return 1;
    }
    TradingHost host;
    char user[] = "maria";
    char password[] = "secret";
    const int code = host.Login(user, password);
    std::printf("Login: %d, in %s\n", code, directory);
    for (int key = 0; code == 0 && key != 'q' && key != EOF;
         key = std::getchar()) { // the library's threads do the rest
    }
    return code;
}
