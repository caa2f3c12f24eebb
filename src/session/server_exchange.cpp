#include "session/server_exchange.h"

#include "message_numbers.h"
#include "outbound/send_queue.h"
#include "reader/views.h"
#include "records/session.h"
#include "session/empty_message.h"

#include <algorithm>

namespace {

unsigned log_flag = 0; // the reader's

} // namespace

// The client's own login comes back, with the queue's stamp and the flag alone changed. It is taken out of the buffer
// first: in the callback the host may compose records of tables, which are composed there.
void qapi::Login_Came(void (*tell_host)())
{
    CMsgLogin login;
    std::copy_n(Glb_cur_msg_buffer(), login.m_data_len, login.m_data);
    login.Init();
    tell_host();
    login[BANDERA_LOGIN].Set_Text("S");
    COMMON_Put_Message_In_Send_Queue(&login, 4, nullptr, 0, nullptr);
}

unsigned qapi::Log_Requests()
{
    return log_flag;
}

void COMMON_Send_Log_Mss(int value)
{
    if (value == 0) {
        log_flag = 0;
        return;
    }
    ++log_flag;
    Send_Empty<CMsgLogBegin>(MSS_INICIO_LOG);
    Send_Empty<CMsgLogEnd>(MSS_FIN_LOG);
}
