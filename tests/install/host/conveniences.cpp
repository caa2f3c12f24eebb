// A host with the conveniences. It runs in an empty directory, where a login finds no configuration.
#include <qcapi/host.h>

#include <cstdio>
#include <string>

int main()
{
    using quentar::Result;
    quentar::Host host;
    int reported = 0;
    host.on_error = [&reported](int code, const std::string&, int) { reported = code; };
    host.on_message = [](quentar::Message message) {
        for (const quentar::Field& field : message.fields(1)) {
            std::printf("%s = %s\n", field.name.c_str(), field.value.c_str());
        }
        static_cast<void>(message.find<int>("mercado"));
        message.finish();
    };
    const Result result = host.login("maria", "secret");
    quentar::Draft order("Orden_Transaccion");
    order.set("precio", quentar::Decimal::of_units(40122500, 4) * 2).set("mercado", 71).to("PU", "L002");
    std::printf("%s: %s\n", quentar::text_of(result).c_str(), quentar::advice_of(result));
    return result == Result::config_not_found && reported == static_cast<int>(result) && order.result() == Result::ok &&
                   order.send(host) == Result::not_initialized
               ? 0
               : 1;
}
