// The first steps of a session as the market takes them: the login and its judgement, the reply, the range of records.
#pragma once

#include "audience.h"
#include "scenario/scenario.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

struct LoginRequest
{
    std::string user_name{};
    std::string password{};
    std::string machine{};
    std::string user_code{};
    std::string version{};
};

// Whatever the bytes, there is a request in them; what they lack is empty.
LoginRequest Take_Login(std::string_view message);

struct Judgement
{
    char letter = 'S'; // accepted; else why not, as the reply says it
    Party party{};     // who logs in, as the scenario knows the user
};

// By the scenario, and by `overruled`, letters that were ordered for user names meanwhile ('S' lifts the scenario's).
// `is_in_use` tells whether a machine has a session already.
Judgement Judge_Login(const LoginRequest& request, const Scenario& scenario,
                      const std::map<std::string, char>& overruled,
                      const std::function<bool(const std::string& machine)>& is_in_use);

std::string Login_Reply(char letter, const Party& party, int expiry_seconds);

// The record numbers that the client is given for its own records, and the environment.
std::string Range_Message(std::uint32_t low, std::uint32_t high, std::string_view environment);

// Records of the table of servers, of type 1 (data managers) or 5 (data servers), as many codes in each as it holds.
inline constexpr std::uint16_t SERVERS_TABLE = 8;
std::vector<std::string> Server_List_Bodies(std::uint16_t type, const std::vector<std::string>& codes);

} // namespace qm
