#include "support/config_fixture.h"

#include "qcapi/log.h"
#include "qcapi/support.h"

#include <cstring>

namespace {

template <typename Table> void clear(Table& table)
{
    std::memset(&table, 0, sizeof table);
}

void clear_connection()
{
    clear(glb_DCon_DESCR->fhost);
    clear(glb_DCon_DESCR->tcp_port);
    glb_DCon_DESCR->number_of_hosts = 0;
    glb_DCon_DESCR->modesend = DEFAULT_MODE_SEND;
    glb_DCon_DESCR->use_ssl = 0;
}

void clear_client()
{
    clear(Gbl_User_Name);
    clear(Glb_User_Key);
    clear(Glb_Local_Machine);
    clear(Glb_User_Code);
    clear(Gbl_Branch_Code);
    clear(Gbl_Oper_File_Version);
    clear(Glb_Esquema_Code);
}

void clear_subscriptions()
{
    clear(glb_dss);
    clear(Glb_Markets_Code);
    clear(Glb_suscribed_message);
    clear(Glb_access_tables);
    COMMON_Global_Codes_Clean();
    glb_dss_counter = 0;
    Glb_markets_code_counter = 0;
    Glb_Message_Code = 0;
}

void clear_session()
{
    Glb_Send_Msg_Delay_Millisec = 0;
    Glb_log_last_processed_message = 'L';
    Glb_Language = 0;
    Glb_run_log_testing = 0;
    Glb_run_log_output = 0;
    CONF_Release_Replay_Texts();
    clear(Glb_Prev_Date_Log_Req);
    clear(Glb_Prev_Date_Log_Req_Copy);
    Glb_Prev_Date_Log_Req_Successfullty = 0;
}

} // namespace

std::vector<std::pair<int, std::string>> ConfigFixture::reports;

ConfigFixture::ConfigFixture()
{
    clear_connection();
    clear_client();
    clear_subscriptions();
    clear_session();
    reports.clear();
    Set_Report_Host_Sink([](int code, char* text) { reports.emplace_back(code, text); });
    LOG_Init(QAPI_LOG_FILE_NAME, folder().c_str());
}

ConfigFixture::~ConfigFixture()
{
    LOG_End();
    Set_Report_Host_Sink(nullptr);
    CONF_Release_Replay_Texts();
}

int ConfigFixture::read(const std::string& text)
{
    directory.write(QAPI_CONFIG_FILE_NAME, text);
    return CONF_Read_File(path(QAPI_CONFIG_FILE_NAME).c_str(), error);
}
