#include "outbound/send_queue.h"

void COMMON_Put_Message_In_Send_Queue(CMessage* /*msg_to_send*/, int /*flag_recipients*/,
                                      CDestinationsList* /*msg_dsts*/, int /*msg_priority*/,
                                      const char* /*log_msg_text*/)
{
}

void COMMON_Init() {}

void qapi::Choose_Server(unsigned /*host*/) {}
void qapi::Open_Session(unsigned /*connection*/, CMessage* /*login*/) {}
void qapi::Close_Session() {}
unsigned qapi::Session_Connection()
{
    return 0;
}
void qapi::Add_Data_Managers(const char* /*codes*/, int /*count*/) {}
void qapi::Send_Offline() {}
