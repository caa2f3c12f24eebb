// The inside of a WSocket, for tests: connections over any stream descriptor, dead-lines and buffers.
#pragma once

#include "transport/wsock.h"

class WSocket_Test_Access
{
public:
    // As if a connection over `descriptor`, which becomes the socket's own, had just opened; without its record.
    static void Adopt(WSocket& socket, int descriptor)
    {
        socket.sockfd = descriptor;
        socket.wstate = 0;
        socket.info_len = 0;
        socket.Begin_Connection();
        socket.Start_Dictionaries();
        socket.Choose_Forms();
        socket.UpdateTime();
        socket.Set_State(CONN_STATE_OPENED);
    }

    static int Held(const WSocket& socket) { return socket.len_recved; }
    static int Awaited(const WSocket& socket) { return socket.len_to_recv; }
    static bool Dictionary_Lost(const WSocket& socket) { return socket.m_dictionary_lost; }
    static void*& Compressor(WSocket& socket) { return socket.bsd_dbc; }
    static void*& Decompressor(WSocket& socket) { return socket.bsd_dbd; }
    static void Report_Missing_Dictionaries(const WSocket& socket) { socket.Report_Missing_Dictionaries(); }

    static unsigned Next_Alive(const WSocket& socket) { return socket.timeout_conn; }
    static unsigned Receive_Dead_Line(const WSocket& socket) { return socket.timeout_rcv; }
    static unsigned Send_Dead_Line(const WSocket& socket) { return socket.timeout_snd; }
    static bool In_Send_Extra_Time(const WSocket& socket) { return socket.extra_time_send != 0; }
    static bool In_Receive_Extra_Time(const WSocket& socket) { return socket.extra_time_recv != 0; }
    static short Longest_Silence_Received(const WSocket& socket) { return socket.max_ticks_rcv; }
    static short Longest_Silence_Sent(const WSocket& socket) { return socket.max_ticks_send; }

    static unsigned Send_Grace(const WSocket& socket) { return socket.time_send_expired; }
    static unsigned Send_Time_Out(const WSocket& socket) { return socket.time_send_expired_warning; }
    static unsigned Alive_Time(const WSocket& socket) { return socket.time_chk_connection; }
    static unsigned Receive_Time_Out(const WSocket& socket) { return socket.time_rcv_connection; }
    static bool Plain_Choice(const WSocket& socket) { return socket.noencrypt != 0; }
    static bool Uncompressed_Choice(const WSocket& socket) { return socket.nocompress != 0; }
    static void Choose_Special(WSocket& socket) { socket.set_socket_special_send = 1; }

    static char* Queue(WSocket& socket) { return socket.info_to_send; }
    static char* Inbound_Buffer(WSocket& socket) { return socket.buff_recv; }
    static char* Work_Buffer(WSocket& socket) { return socket.buff_dec; }
};
