// Any bytes as the two configuration files. The first byte tells how many of the bytes behind it are the previous-date
// file; the rest is the configuration. Whatever they say, the reading ends with one of its codes, what it keeps is
// terminated and within its tables, and a second reading ends like the first.
#include "memory_file.h"
#include "qcapi/config.h"
#include "require.h"
#include "transport/dcon.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>

namespace {

void check_texts()
{
    for (const char last : {Gbl_User_Name[10], Glb_User_Key[16], Glb_Local_Machine[4], Glb_User_Code[4],
                            Gbl_Branch_Code[8], Gbl_Oper_File_Version[90], Glb_Esquema_Code[8]}) {
        require(last == 0);
    }
}

bool is_sound(const INFO_TABLE_CODE& row)
{
    return row.table_code >= 0 && row.table_code < MAX_TABLE_CODES && row.table_type >= 0 && row.table_type <= 17;
}

void check_tables()
{
    require(glb_dss_counter >= 0 && glb_dss_counter <= DCON_MAX_DS_SERVERS);
    require(Glb_markets_code_counter >= 0 && Glb_markets_code_counter <= MAX_NUM_MARKETS_CODE);
    require(glb_DCon_DESCR->number_of_hosts < DCON_MAX_DS_SERVERS);
    require(Glb_Language >= 0 && Glb_Language <= 2);
    require(std::all_of(std::begin(Glb_access_tables), std::end(Glb_access_tables), is_sound));
    require(Glb_access_tables[MAX_ACCESS_TABLES].table_type == 0);
}

int read_configuration(std::string_view bytes)
{
    const MemoryFile file(bytes);
    std::string error;
    const int code = CONF_Read_File(file.path().c_str(), error);
    require(code == 0 || code == 3 || code == 21);
    require(error.empty() == (code == 0));
    require((code == 21) == (code != 3 && glb_dss_counter == 0));
    check_texts();
    check_tables();
    return code;
}

void read_date(std::string_view bytes)
{
    const MemoryFile file(bytes);
    std::string error;
    const int code = CONF_Read_Date_File(file.path().c_str(), error);
    require(code == 0 || code == -1 || code == 26);
    require(code != 0 || (Glb_Prev_Date_Log_Req[0] != 0 && std::strlen(Glb_Prev_Date_Log_Req) <= 8));
    require(std::strcmp(Glb_Prev_Date_Log_Req, Glb_Prev_Date_Log_Req_Copy) == 0);
    const bool valid = QCAPI_Validate_Date(Glb_Prev_Date_Log_Req) != 0;
    require(!valid || str_isnum(Glb_Prev_Date_Log_Req) != 0);
}

// Servers above the limit are told there, once for each.
void silence_standard_output()
{
    static const bool silent = std::freopen("/dev/null", "w", stdout) != nullptr;
    require(silent);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    silence_standard_output();
    const std::string input(data + 1, data + size);
    const std::size_t date_length = std::min<std::size_t>(data[0], input.size());
    const std::string_view configuration = std::string_view(input).substr(date_length);
    read_date(std::string_view(input).substr(0, date_length));
    const int code = read_configuration(configuration);
    const int servers = glb_dss_counter;
    require(read_configuration(configuration) == code && glb_dss_counter == servers);
    CONF_Release_Replay_Texts();
    return 0;
}
