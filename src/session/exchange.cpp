#include "session/exchange.h"

#include "tblproc/subscription.h"

void qapi::Session_Opened(unsigned /*connection*/, unsigned /*host*/, char /*source_letter*/) {}
void qapi::Login_Replied(unsigned /*connection*/) {}
void qapi::Log_Began() {}
void qapi::Log_Ended() {}
void qapi::Primary_Tables_Arrived(unsigned /*connection*/) {}
void TBLPROC_Primary_Tables_Received() {}
