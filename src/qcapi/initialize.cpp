// What every session starts from: directory, running log, connection descriptor, configuration, empty rings.
#include "qcapi.h"

#include "arrm.h"
#include "compress/rle.h"
#include "config.h"
#include "log.h"
#include "outbound/send_queue.h"
#include "reader/processed_log.h"
#include "session.h"
#include "support.h"
#include "tblproc/replica_lock.h"
#include "tblproc/tblproc.h"
#include "transport/dcon.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

void qapi::Prepare_Connection(DCON_DESCR& descr)
{
    std::fill(std::begin(descr.fhost), std::end(descr.fhost), 0U);
    std::fill(std::begin(descr.tcp_port), std::end(descr.tcp_port), std::uint16_t{0});
    descr.number_of_hosts = 0;
    descr.current_host = 0;
    descr.modesend = DEFAULT_MODE_SEND;
    descr.use_ssl = 0;
    descr.ticking_message = 0;
    descr.DCON_state = 0; // before its thread runs: the reader may tell it to the host earlier
    COM_sock_state.store(descr.sock_state, std::memory_order_release); // it lives as long as the process
    descr.pRecv_Mss = &*Glb_Recv_Mss;
    descr.pSend_Mss = &*Glb_Send_Mss;
    descr.pLog_Mss = nullptr;
    descr.id_ptr = Glb_DS_Id;
    descr.id_len = 1;
    descr.expire_time = 0;
}

// A stop record of the last session may still lie in a ring; it would end the new session's threads at once. The
// request to the connection thread is cleared here too, before that thread starts: cleared by the thread itself, a
// Logout right behind the Login could be lost.
void qapi::Prepare_Rings()
{
    Glb_Send_Mss->Initialize();
    Glb_Recv_Mss->Initialize();
    DCON_Clear_Request(*glb_DCon_DESCR);
    Glb_main_connected = 0; // a reader that was stopped didn't see its connection close
}

int CQcApi::Initialize()
{
    if (initialize_flag != QAPI_NOT_INITIALIZED) {
        return 0;
    }
    std::array<char, 1024> directory{};
    if (getcwd(directory.data(), directory.size()) == nullptr) {
        last_error_msg = Get_Error_Text(QAPI_ERR_INTERNAL_ERROR_TXT, errno);
        return QAPI_ERR_INTERNAL_ERROR;
    }
    TBLPROC_Init_Tables();
    Flag_Mailboxes(); // before the configuration, which may end this: Connect runs its threads all the same
    *L_dir_name = directory.data();
    LOG_Init(QAPI_LOG_FILE_NAME, directory.data());
    COMMON_Fill_Version_General_Info(QAPI_DESCRIPTION, QAPI_STR_VERSION);
    LOG_Text("%s", Glb_General_Info);
    Prepare_Connection(*glb_DCon_DESCR);

    std::string path = *L_dir_name + "/" + QAPI_CONFIG_FILE_NAME;
    if (const int code = Read_Conf_File(path.data()); code != 0) {
        return code;
    }
    if (dest_port != 0) {
        glb_DCon_DESCR->fhost[0] = inet_addr(dest_host);
        glb_DCon_DESCR->tcp_port[0] = static_cast<std::uint16_t>(dest_port);
        glb_dss_counter = 1;
        glb_DCon_DESCR->number_of_hosts = 1;
    }
    COMMON_Find_IP_LocalHost(); // here, since a dead name server would hold the reader up at each reconnection
    LOG_Msg_Init();
    COMMON_Init();
    RLE_init(RLE_MAX_LEN);
    Prepare_Rings();
    return 0;
}

int CQcApi::Read_Conf_File(char* path)
{
    const ReplicaLock paths_wait; // one that leads to a colour reads the scheme's code
    return CONF_Read_File(path, last_error_msg);
}

int CQcApi::Read_Tmp_Conf_File(char* path)
{
    return CONF_Read_Date_File(path, last_error_msg);
}

int CQcApi::Process_Tmp_Config_File()
{
    const int code = CONF_Take_Previous_Date(L_dir_name->c_str(), last_error_msg);
    if (code != 0) {
        LOG_Text("Error code %d, txt %s, nxt_a %d", code, last_error_msg.c_str(), QAPI_NEXT_ACTION_EXIT);
        CallReportError(code, Get_Error_Text("%s", last_error_msg.c_str()), QAPI_NEXT_ACTION_EXIT, 0);
    }
    return code;
}

char* CQcApi::Get_Error_Text(const char* format, ...)
{
    static thread_local char text[QAPI_ERROR_MESSAGE_LEN]; // reports come from several threads
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

int CQcApi::GetCompilationType(char* type)
{
    std::strcpy(type, "x86");
    return 1;
}

int CQcApi::GetVersion(char* version)
{
    std::strcpy(version, QAPI_STR_VERSION);
    return 1;
}
