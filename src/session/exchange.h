// The exchange at the start of a session, step by step: login and its reply, the tables, the stored messages in two
// rounds, presence and version. All of it runs on the reader thread; the stage follows from which message comes.
//
//   client                                  server
//   login (201)                             login reply (201), range ("g")
//   table requests (213, 888 "S")           the tables, each with an end ("z")
//   log request (203), presence (888),
//   version (253); the host hears of it     begin (204), messages, end (205)
//   next log request (252)                  begin (204), messages, end (205)
//   secondary tables (213, 888 "S"),
//   end of requests (214)                   live messages and changes of tables
#pragma once

namespace qapi {

// A connection opened: tells the host and sends the login. `connection` is its number, `host` the index of the server,
// `source_letter` the connection's identity.
void Session_Opened(unsigned connection, unsigned host, char source_letter);

// A login reply of this connection is in the buffer of the views.
void Login_Replied(unsigned connection);

// Begin and end of stored messages.
void Log_Began();
void Log_Ended();

// The primary tables of a connection have arrived; of any but the session's it is too late.
void Primary_Tables_Arrived(unsigned connection);

// Reports why a server refused a login: the code that the letter, of either case, stands for. Returns the code.
int Report_Refusal(int letter);

// Turns a stored message in its transport envelope, `len` bytes, to one that isn't stored again, for the server in use.
// False, and nothing changes, if it is none.
bool Readdress(char* envelope, int len);

} // namespace qapi

using qapi::Log_Began;
using qapi::Log_Ended;
using qapi::Login_Replied;
using qapi::Primary_Tables_Arrived;
using qapi::Readdress;
using qapi::Report_Refusal;
using qapi::Session_Opened;

// To the server that the connection leads to; nothing while the first host has no address.
void COMMON_Send_Login();
void COMMON_Send_Log_Req();

void COMMON_Send_Next_Log_Req();
void COMMON_Send_Final_Log_Request();
void COMMON_Send_Table_Reqs(); // nothing in the library calls it
void SendVersionInformation();
void Send_Msg_Qapi_Connected();

// The rounds of the log exchange: 204 counts one more, 0 starts again, 205 only asks. Returns the count.
int COMMON_Log_Req(int code);

// Sends the messages behind Glb_req_message_num again, as far as they are stored. Nothing in the library calls it.
void COMMON_Send_Pend_Msgs();
