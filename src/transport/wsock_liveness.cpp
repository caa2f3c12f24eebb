// Alive signals and time-outs. Each end sends alive signals by its own clock, and any byte received counts as a sign of
// life. A time-out is warned of first: a grace period begins, and only its end closes the connection.
#include "transport/transport_clock.h"
#include "transport/wsock.h"

#include "global.h"

unsigned WSocket::SetTimeOut(int seconds)
{
    return Transport_Seconds() + static_cast<unsigned>(seconds);
}

void WSocket::UpdateTime()
{
    const unsigned now = Transport_Seconds();
    timeout_conn = now + time_chk_connection;
    timeout_rcv = now + time_rcv_connection;
    time_prev_send = now;
    time_prev_rcv = now;
    CancelExtraTimeSend();
    CancelExtraTimeRecv();
}

// A server that gives no time leaves the settings: time-outs of 0 would close every connection after two seconds.
short WSocket::SetExpireTime(unsigned short seconds)
{
    if (seconds != 0) {
        time_send_expired = seconds;
        time_send_expired_warning = 3U * seconds / 5;
        time_rcv_connection = 3U * seconds / 5;
        time_chk_connection = seconds / 4U;
    }
    UpdateTime();
    return 0;
}

void WSocket::Control(unsigned now)
{
    DoCheckRcv();
    if (GetState() == CONN_STATE_CLOSING && now >= timeout_conn) {
        ForceClose();
    }
    if (GetState() != CONN_STATE_OPENED) {
        return;
    }
    Watch_Sending(now);
    if (GetState() == CONN_STATE_OPENED) {
        Watch_Receiving(now);
    }
}

void WSocket::Watch_Sending(unsigned now)
{
    if (info_len == 0 && now > timeout_conn && IsReadyToSend(0)) {
        AddRecToSend(nullptr, 0);
        ++num_msg_chk_out;
    }
    if (info_len == 0 || now <= timeout_snd) {
        return;
    }
    if (extra_time_send != 0) {
        Tell(TCP_STATUS_SEND_ERROR);
        DoClose(WSOCK_SEND_TIME_OUT);
        return;
    }
    timeout_snd = now + time_send_expired;
    extra_time_send = 1;
    Tell(TCP_ERROR_EXTRA_TIME_SEND);
}

void WSocket::Watch_Receiving(unsigned now)
{
    if (now <= timeout_rcv) {
        return;
    }
    if (extra_time_recv != 0) {
        Tell(TCP_ERROR_NO_RECVED);
        DoClose(WSOCK_RECEIVE_TIME_OUT);
        return;
    }
    extra_time_recv = 1;
    timeout_rcv = now + time_rcv_connection;
    Tell(TCP_ERROR_EXTRA_TIME);
}

void WSocket::CancelExtraTimeSend()
{
    if (extra_time_send != 0) {
        extra_time_send = 0;
        Tell(TCP_ERROR_OUT_EXTRA_TIME_SEND);
    }
}

// Told by the status of sending, too; hosts know no other.
void WSocket::CancelExtraTimeRecv()
{
    if (extra_time_recv != 0) {
        extra_time_recv = 0;
        Tell(TCP_ERROR_OUT_EXTRA_TIME_SEND);
    }
}
