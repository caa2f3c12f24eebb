// The two lists of the configuration: data servers, and the markets behind use_msg_code.
#include "config_file.h"

#include "errors.h"
#include "support.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

char glb_dss[DCON_MAX_DS_SERVERS][4];
std::atomic<int> glb_dss_counter{0};

int Glb_Markets_Code[MAX_NUM_MARKETS_CODE];
int Glb_markets_code_counter = 0;
int Glb_Message_Code = 0;

namespace {

constexpr std::size_t server_code_len = sizeof glb_dss[0];

bool is_listed(const char* code)
{
    return std::any_of(glb_dss, glb_dss + glb_dss_counter,
                       [code](const char(&known)[4]) { return std::memcmp(known, code, server_code_len) == 0; });
}

void add_server(const char* code)
{
    if (glb_dss_counter >= DCON_MAX_DS_SERVERS) {
        std::puts("Error: The limit of Data Servers has been exceeded");
        return;
    }
    std::memcpy(glb_dss[glb_dss_counter], code, server_code_len);
    ++glb_dss_counter;
}

bool next_contains(ConfigTokens& tokens, const char* word)
{
    char* token = tokens.next();
    return token != nullptr && std::strstr(tolowerstr(token), word) != nullptr;
}

bool add_market(const char* market)
{
    if (Glb_markets_code_counter >= MAX_NUM_MARKETS_CODE) {
        COMMON_Put_Syslog_Message(QAPI_ERR_CONFIG_BAD_DATA, "The maximum number of code markts was exceeded.\n");
        return false;
    }
    Glb_Markets_Code[Glb_markets_code_counter] = config_number(market);
    ++Glb_markets_code_counter;
    return true;
}

// The message number is three digits wide; what is glued to them doesn't count.
int message_code(const char* value)
{
    return config_number(std::string(value, strnlen(value, 3)).c_str());
}

} // namespace

void COMMON_Set_Code_Data_Servers_List(int num_codes, const char* code_server)
{
    for (int i = 0; i < num_codes; ++i, code_server += server_code_len) {
        if (!is_listed(code_server)) {
            add_server(code_server);
        }
    }
}

int COMMON_Set_Code_Markets_List(const char* code_markets)
{
    std::string text(code_markets);
    ConfigTokens tokens(text.data());
    const char* value = tokens.next();
    if (value == nullptr) {
        return 1;
    }
    Glb_Message_Code = message_code(value);
    if (!next_contains(tokens, "in") || !next_contains(tokens, "markets")) {
        return 1;
    }
    const char* market = tokens.next();
    if (market == nullptr) {
        return 1;
    }
    while (market != nullptr && add_market(market)) {
        market = tokens.next();
    }
    return 0;
}
