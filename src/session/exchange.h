// The exchange at the start of a session, step by step: login and its reply, the tables, the log of stored messages in
// two rounds, presence and version. All of it runs on the reader thread; the stage follows from which message comes.
#pragma once

class CMsgLogin;

namespace qapi {

// The connection opened. `connection` is its number, `host` the index of the server.
void Session_Opened(unsigned connection, unsigned host, char source_letter);

// The login reply, in the buffer of the views.
void Login_Replied(unsigned connection);

// Begin and end of stored messages.
void Log_Began();
void Log_Ended();

// The primary tables of a connection have arrived. Of an older connection: ignored.
void Primary_Tables_Arrived(unsigned connection);

} // namespace qapi

void COMMON_Send_Login();
void COMMON_Send_Log_Req();
void COMMON_Send_Next_Log_Req();
void COMMON_Send_Table_Reqs(); // nothing in the library calls it
void COMMON_Send_Final_Log_Request();
void SendVersionInformation();
void Send_Msg_Qapi_Connected();

// The rounds of the log exchange: 0 starts again, 204 counts one more, 205 only asks. Returns the count.
int COMMON_Log_Req(int code);

// Sends the messages behind Glb_req_message_num again, as far as they are stored. Nothing in the library calls it.
void COMMON_Send_Pend_Msgs();
