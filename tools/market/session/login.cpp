#include "session/login.h"

#include "little_endian.h"
#include "message_numbers.h"
#include "records/session.h"
#include "records/sizes.h"
#include "session/header.h"
#include "store/tables.h"

#include <algorithm>
#include <array>

namespace qm {

namespace {

constexpr char accepted = 'S';
constexpr char unknown_user = 'N';
constexpr char wrong_password = 'C';
constexpr char unknown_machine = 'E';
constexpr char machine_in_use = 'R';
constexpr char wrong_code = 'X'; // the name is known, but the client's configuration has the code of another user

constexpr std::size_t codes_in_a_row = 15;
constexpr std::size_t server_row_size = 64;

std::string text_of(CField& field)
{
    return Text_At({field.Get_Ptr(), static_cast<std::size_t>(field.m_len)}, 0, static_cast<std::size_t>(field.m_len));
}

const User* find_user(const Scenario& scenario, const std::string& name)
{
    const auto found =
        std::find_if(scenario.users.begin(), scenario.users.end(), [&](const User& user) { return user.name == name; });
    return found == scenario.users.end() ? nullptr : &*found;
}

bool is_shown(char c)
{
    return c > ' ' && c != '\x7F';
}

bool is_known_machine(const Scenario& scenario, const User& user, const std::string& machine)
{
    if (machine.empty() || !std::all_of(machine.begin(), machine.end(), is_shown) ||
        (!user.machine.empty() && user.machine != machine)) {
        return false;
    }
    const auto& machines = scenario.machines;
    return machines.empty() || std::find(machines.begin(), machines.end(), machine) != machines.end();
}

char letter_for(const LoginRequest& request, const User& user, const Scenario& scenario,
                const std::function<bool(const std::string&)>& is_in_use)
{
    if (request.password != user.password) {
        return wrong_password;
    }
    if (!is_known_machine(scenario, user, request.machine)) {
        return unknown_machine;
    }
    if (request.user_code != user.code) {
        return wrong_code;
    }
    return is_in_use(request.machine) ? machine_in_use : accepted;
}

} // namespace

LoginRequest Take_Login(std::string_view message)
{
    CMsgLogin login;
    login.Update_Message_Info(std::span(message.data(), message.size()));
    return {.user_name = text_of(login[NOMBRE_USUARIO]),
            .password = text_of(login[CLAVE_USUARIO_16]),
            .machine = text_of(login[EQUIPO_USUARIO]),
            .user_code = Sender_Of(message).user,
            .version = text_of(login[VERSION])};
}

Judgement Judge_Login(const LoginRequest& request, const Scenario& scenario,
                      const std::map<std::string, char>& overruled,
                      const std::function<bool(const std::string& machine)>& is_in_use)
{
    const User* user = find_user(scenario, request.user_name);
    if (user == nullptr) {
        return {.letter = unknown_user, .party = {}};
    }
    const Party party{.machine = request.machine, .user = user->code, .branch = user->branch};
    const auto order = overruled.find(request.user_name);
    const char refusal = order != overruled.end() ? order->second : user->refusal;
    if (refusal != '\0' && refusal != accepted) {
        return {.letter = refusal, .party = party};
    }
    return {.letter = letter_for(request, *user, scenario, is_in_use), .party = party};
}

std::string Login_Reply(char letter, const Party& party, int expiry_seconds)
{
    CMsgLogin reply;
    reply[MSG_NUMBER_FIELD] = MSS_INGRESO_EQUIPO;
    reply[EQUIPO_USUARIO].SetStr(party.machine.c_str());
    reply[BANDERA_LOGIN].SetStr(std::string(1, letter).c_str());
    reply[CODIGO_SUCURSAL_INGRESADA_4C].SetStr(party.institution().c_str());
    reply[TIEMPO_EXPIRACION_CONEXION] = std::clamp(expiry_seconds, 0, 9999);
    std::string message(reply.m_data, static_cast<std::size_t>(reply.m_data_len));
    Stamp_Header(message, {.machine = "SERV"}, {}, {}, {});
    return message;
}

std::string Range_Message(std::uint32_t low, std::uint32_t high, std::string_view environment)
{
    std::string body(10, '\0');
    store_le<std::uint32_t>(body.data(), low);
    store_le<std::uint32_t>(body.data() + 4, high);
    std::copy_n(environment.begin(), std::min<std::size_t>(environment.size(), 2), body.begin() + 8);
    return Table_Message('g', 0, {.body = body});
}

std::vector<std::string> Server_List_Bodies(std::uint16_t type, const std::vector<std::string>& codes)
{
    std::vector<std::string> bodies;
    for (std::size_t first = 0; first < codes.size(); first += codes_in_a_row) {
        const std::size_t count = std::min(codes.size() - first, codes_in_a_row);
        std::string body(server_row_size, '\0');
        store_le<std::uint16_t>(body.data(), type);
        store_le<std::uint16_t>(body.data() + 2, static_cast<std::uint16_t>(count));
        for (std::size_t i = 0; i < count; ++i) {
            codes[first + i].copy(body.data() + 4 + 4 * i, 4);
        }
        bodies.push_back(std::move(body));
    }
    return bodies;
}

} // namespace qm
