#include "session/server_exchange.h"

#include "arrm.h"
#include "message_numbers.h"
#include "outbound/send_queue.h"
#include "qcapi/log.h"
#include "reader/views.h"
#include "records/session.h"
#include "session/empty_message.h"

#include <utility>

namespace {

// The reader's, of this connection.
unsigned log_flag = 0;
unsigned L_requests = 0; // logins too
bool L_is_refusing = false;

// A client that asks without end and doesn't read would fill the memory with answers. One that goes through its login
// asks three times, and always gets its answers, whatever the host has sent by then.
constexpr unsigned most_unread = 1000;

bool may_answer()
{
    ++L_requests;
    const bool may = L_requests <= most_unread || Glb_Send_Mss->Get_Total_Pending() < most_unread;
    if (!may && !std::exchange(L_is_refusing, true)) {
        LOG_Text("The client asks without reading the answers: no more of them while %u messages wait", most_unread);
    }
    return may;
}

} // namespace

// The client's own login goes back, with the flag and the queue's stamp alone changed.
void qapi::Login_Came(void (*tell_host)())
{
    tell_host();
    if (!may_answer()) {
        return;
    }
    CMsgLogin& login = *Glb_cur_login_msg;
    login.Init();
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
        L_requests = 0;
        L_is_refusing = false;
        return;
    }
    ++log_flag;
    if (may_answer()) {
        Send_Empty<CMsgLogBegin>(MSS_INICIO_LOG);
        Send_Empty<CMsgLogEnd>(MSS_FIN_LOG);
    }
}
