// The directives of "qapi.cfg". docs/configuration.md tells what they mean to whoever writes the file.
#include "config_file.h"

#include "log.h"
#include "message_names.h"
#include "record_io.h"
#include "transport/dcon.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdlib>
#include <cstring>

INFO_TABLE_CODE Glb_access_tables[MAX_ACCESS_TABLES + 1];

std::atomic<int> Glb_run_log_testing{0};
int Glb_run_log_output = 0;
char* Glb_logging_test_name = nullptr;
char* Glb_logging_test_output_name = nullptr;
char* Glb_logging_start = nullptr;
char* Glb_logging_end = nullptr;

namespace {

using Apply = bool (*)(const char* value, ConfigFile& line);

// ---- Texts and numbers -----------------------------------------------------------------------------------------
// Each of the fixed texts has a spare zero at its end, which stays.

template <auto& target> bool keep_text(const char* value, ConfigFile&)
{
    std::memset(target, 0, sizeof target);
    std::memcpy(target, value, strnlen(value, sizeof target - 1));
    return true;
}

bool user_name(const char* value, ConfigFile&)
{
    Take_Credentials(value, nullptr);
    return true;
}

bool password(const char* value, ConfigFile&)
{
    Take_Credentials(nullptr, value);
    return true;
}

// A code is all of its bytes, however short its token is.
template <auto& target> bool keep_code(const char* value, ConfigFile&)
{
    std::memcpy(target, value, sizeof target - 1);
    return true;
}

template <int DCON_DESCR::*member> bool keep_number(const char* value, ConfigFile&)
{
    (*glb_DCon_DESCR).*member = config_number(value);
    return true;
}

// ---- Servers ---------------------------------------------------------------------------------------------------

bool data_server(const char* value, ConfigFile&)
{
    COMMON_Set_Code_Data_Servers_List(1, value);
    return true;
}

// Addresses and ports share one index, which moves on when its entry in the array at hand is taken: an address and the
// port behind it meet in one entry.
template <typename Entry> void put_in_free_entry(Entry (&entries)[DCON_MAX_DS_SERVERS], Entry value)
{
    constexpr unsigned last = DCON_MAX_DS_SERVERS - 1;
    unsigned& index = glb_DCon_DESCR->number_of_hosts;
    index = std::min(index, last);
    if (entries[index] != 0) {
        index = std::min(index + 1, last);
    }
    entries[index] = value;
}

bool ds_ip_address(const char* value, ConfigFile&)
{
    put_in_free_entry(glb_DCon_DESCR->fhost, std::uint32_t{inet_addr(value)});
    return true;
}

bool ds_tcp_port(const char* value, ConfigFile&)
{
    put_in_free_entry(glb_DCon_DESCR->tcp_port, static_cast<std::uint16_t>(config_number(value)));
    return true;
}

// ---- Messages and tables ---------------------------------------------------------------------------------------

bool use_msg_code(const char* value, ConfigFile& line)
{
    return COMMON_Set_Code_Markets_List(line.line_from(value)) == 0;
}

bool transaction_feed(const char* value, ConfigFile&)
{
    if (config_number(value) != 0) {
        Subscribe_Transaction_Feed();
    }
    return true;
}

bool tarnel_feed(const char* value, ConfigFile&)
{
    if (config_number(value) != 0) {
        Subscribe_Tarnel_Feed();
    }
    return true;
}

// The rows in use come first; none of them has type 0, which no table has.
bool add_access_table(int code, int type)
{
    INFO_TABLE_CODE* last = Glb_access_tables + MAX_ACCESS_TABLES;
    INFO_TABLE_CODE* row =
        std::partition_point(Glb_access_tables, last, [](const INFO_TABLE_CODE& used) { return used.table_type != 0; });
    if (row == last || !is_table_number(code) || !is_table_number(type)) {
        return false;
    }
    *row = {code, type};
    return true;
}

bool table_code(const char* value, ConfigFile& line)
{
    const char* token = line.next_token();
    const char* name = token != nullptr ? token : "";
    int type = 0;
    const bool is_table = COMMON_Take_Message_Kind(name, &type) == MSS_TABLA_GLOBAL;
    if (!is_table || !add_access_table(config_number(value), type)) {
        // The number that people see in this line has always been the type.
        LOG_Text("Table code %d with name %s defined in config file is not handled. This table code will be ignored.",
                 type, name);
    }
    return true;
}

// ---- Session ---------------------------------------------------------------------------------------------------

bool send_msg_delay_millisec(const char* value, ConfigFile&)
{
    Glb_Send_Msg_Delay_Millisec = static_cast<unsigned long long>(config_number(value));
    return true;
}

bool log_last_processed_message(const char* value, ConfigFile&)
{
    Glb_log_last_processed_message = value[0];
    return true;
}

bool sync_files(const char* value, ConfigFile&)
{
    Glb_sync_files = config_number(value) != 0 ? 1 : 0;
    return true;
}

// English asks for its own letters, Spanish for none in particular: files in use rely on both.
bool language(const char* value, ConfigFile&)
{
    if (std::strcmp(value, "english") == 0) {
        Glb_Language = Glb_English_Names;
    } else if (std::strcmp(tolowerstr(std::string(value).data()), "spanish") == 0) {
        Glb_Language = Glb_DFN_Names;
    }
    return true;
}

// ---- Replay ----------------------------------------------------------------------------------------------------

void release(char*& text)
{
    std::free(text);
    text = nullptr;
}

// Two zeros end the text, so that a reader may look one character ahead.
void replace(char*& text, const char* value)
{
    release(text);
    const std::size_t length = std::strlen(value);
    text = static_cast<char*>(std::calloc(length + 2, 1));
    if (text != nullptr) {
        std::memcpy(text, value, length);
    }
}

template <auto& target> bool keep_replay_text(const char* value, ConfigFile&)
{
    replace(target, value);
    return true;
}

bool testing_file(const char* value, ConfigFile&)
{
    Glb_run_log_testing = 1;
    replace(Glb_logging_test_name, value);
    return true;
}

bool testing_output_file(const char* value, ConfigFile&)
{
    Glb_run_log_output = 1;
    replace(Glb_logging_test_output_name, value);
    return true;
}

// ---- The directives --------------------------------------------------------------------------------------------

struct Directive
{
    const char* keyword; // lower case
    Apply apply;
};

// clang-format off
constexpr Directive directives[] = {
    {"oper_file_version",          keep_text<Gbl_Oper_File_Version>},
    {"data_server",                data_server},
    {"ds_ip_address",              ds_ip_address},
    {"ds_tcp_port",                ds_tcp_port},
    {"use_msg_code",               use_msg_code},
    {"local_code",                 keep_code<Glb_Local_Machine>},
    {"user_code",                  keep_code<Glb_User_Code>},
    {"send_mode",                  keep_number<&DCON_DESCR::modesend>},
    {"use_ssl",                    keep_number<&DCON_DESCR::use_ssl>},
    {"user_name",                  user_name},
    {"username",                   user_name},
    {"branch_code",                keep_code<Gbl_Branch_Code>},
    {"password",                   password},
    {"send_msg_delay_millisec",    send_msg_delay_millisec},
    {"log_last_processed_message", log_last_processed_message},
    {"sync_files",                 sync_files},
    {"testing_file",               testing_file},
    {"testing_output_file",        testing_output_file},
    {"testing_start",              keep_replay_text<Glb_logging_start>},
    {"testing_end",                keep_replay_text<Glb_logging_end>},
    {"esquema_code",               keep_text<Glb_Esquema_Code>},
    {"transaction_feed",           transaction_feed},
    {"tarnel_feed",                tarnel_feed},
    {"table_code",                 table_code},
    {"language",                   language},
};
// clang-format on

} // namespace

bool qapi::Apply_Directive(const char* keyword, const char* value, ConfigFile& line)
{
    for (const Directive& directive : directives) {
        if (std::strcmp(directive.keyword, keyword) == 0) {
            return directive.apply(value, line);
        }
    }
    return true;
}

void CONF_Release_Replay_Texts()
{
    release(Glb_logging_test_name);
    release(Glb_logging_test_output_name);
    release(Glb_logging_start);
    release(Glb_logging_end);
    Glb_run_log_testing = 0;
    Glb_run_log_output = 0;
}
