// Logs in and prints what comes, to the end of standard input. Name and password are its arguments; the market's
// address is in qapi.cfg in the working directory (docs/configuration.md).
#include <qcapi/host.h>

#include <iostream>
#include <string>

int main(int count, char** arguments)
{
    if (count != 3) {
        std::cerr << "usage: hello_host USER PASSWORD\n"
                     "Logs in as qapi.cfg in the working directory says, and prints what comes. Ends with its input.\n";
        return 2;
    }
    quentar::Host host;
    host.on_connected = [] { std::cout << "connected" << std::endl; };
    host.on_refused = [](char letter) { std::cout << "refused: " << letter << std::endl; };
    host.on_disconnected = [](const std::string& reason) { std::cout << "disconnected: " << reason << std::endl; };
    host.on_error = [](int code, const std::string& text, int) { std::cerr << code << ' ' << text << std::endl; };
    host.on_message = [](quentar::Message message) {
        std::cout << message.kind() << ' ' << message.number() << '\n';
        for (const quentar::Field& field : message.fields()) {
            if (!field.value.empty() && field.value != "0" && field.value.size() <= 40) { // groups of fields are longer
                std::cout << "    " << field.name << " = " << field.value << '\n';
            }
        }
        std::cout << std::flush;
        message.finish();
    };
    if (const quentar::Result result = host.login(arguments[1], arguments[2]); result != quentar::Result::ok) {
        std::cerr << quentar::text_of(result) << ". " << quentar::advice_of(result) << '\n';
        return 1;
    }
    for (std::string line; std::getline(std::cin, line);) { // callbacks come on threads of the library
    }
    return 0;
}
