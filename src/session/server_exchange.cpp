#include "session/server_exchange.h"

#include "arrm.h"
#include "message_numbers.h"
#include "outbound/send_queue.h"
#include "reader/views.h"
#include "records/session.h"
#include "session/empty_message.h"

namespace {

unsigned log_flag = 0; // the reader's

// A client that asks and never reads gets no more answers once so many messages wait for it: they would fill the
// memory. One that goes through its login asks three times.
constexpr unsigned most_waiting = 1000;

bool may_answer()
{
    return Glb_Send_Mss->Get_Total_Pending() < most_waiting;
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
        return;
    }
    ++log_flag;
    if (may_answer()) {
        Send_Empty<CMsgLogBegin>(MSS_INICIO_LOG);
        Send_Empty<CMsgLogEnd>(MSS_FIN_LOG);
    }
}
