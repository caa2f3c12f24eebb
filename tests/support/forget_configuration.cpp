#include "support/forget_configuration.h"

#include "qcapi/config.h"
#include "record_io.h"
#include "transport/dcon.h"

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
    Glb_sync_files = 0;
    Glb_Language = 0;
    Glb_run_log_testing = 0;
    Glb_run_log_output = 0;
    CONF_Release_Replay_Texts();
    clear(Glb_Prev_Date_Log_Req);
    clear(Glb_Prev_Date_Log_Req_Copy);
    Glb_Prev_Date_Log_Req_Successfullty = 0;
    Glb_Status_Init_Ask_Log = 0;
}

} // namespace

void Forget_Configuration()
{
    clear_connection();
    clear_client();
    clear_subscriptions();
    clear_session();
}
