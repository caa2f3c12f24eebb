// What the server's end of a session answers, after Connect: every login is good, and every log is empty. Tables and
// their range are the host's to send. All of it runs on the reader thread.
#pragma once

namespace qapi {

// A login is in the buffer of the views: tells the host, and sends it back as accepted.
void Login_Came(void (*tell_host)());

// How often the client of this connection has asked for its log.
unsigned Log_Requests();

} // namespace qapi

using qapi::Login_Came;

// 0 with a new connection; anything else answers a request for stored messages with a log of none: begin and end.
void COMMON_Send_Log_Mss(int value);
