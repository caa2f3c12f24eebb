// The outbound queue: frames are built at its end, in place, and leave from its front.
//
// A payload of the zero-word band that doesn't shrink goes out as DTCP with the length that the compressor would have
// needed: peers know these frames, and the envelope tells where its message ends. The bytes behind the payload are
// zero.
#include "transport/transport_clock.h"
#include "transport/wsock.h"

#include "compress/bsd.h"
#include "compress/rle.h"
#include "crypt/crypt.h"
#include "global.h"
#include "little_endian.h"
#include "system_seam.h"

#include <cerrno>
#include <cstring>

static_assert(DTCP_MAX_BUF_LEN + CRYPT_MAX_GROWTH <= TCP_MAX_BUF_LEN, "encryption grows a frame at the queue's end");
static_assert(DTCP_MAX_BUF_LEN + RLE_HEADER_LEN + 7 <= TCP_MAX_BUF_LEN, "so does the length of the zero-word band");
static_assert(RLE_MAX_BLOCK <= TCP_MAX_BUF_CMP);

namespace {

bool in_zero_word_band(int len)
{
    return len >= LOW_LIMIT_SIZE_USE_COMPRESS && len <= HIGH_LIMIT_SIZE_USE_COMPRESS;
}

void put_mark(char* frame, const char* mark)
{
    std::memcpy(frame, mark, LEN_MARCA_DTCP);
}

unsigned char* bytes(char* data)
{
    return reinterpret_cast<unsigned char*>(data);
}

int encrypt(char* payload, int len)
{
    return len + crypt_encrypt_data(0, payload, IDEA_DIRECT, 0, static_cast<unsigned short>(len));
}

} // namespace

int WSocket::AddRecToSend(const char* data, unsigned short len)
{
    const int result = Queue_Record(data, len);
    Send_Queued();
    return result;
}

int WSocket::Queue_Record(const char* data, unsigned short len)
{
    if (GetState() != CONN_STATE_OPENED) {
        return len;
    }
    if (len + LEN_INIT_MSG + info_len > MAX_SEND_INFO) {
        return 0;
    }
    char* frame = info_to_send + info_len;
    put_mark(frame, "DTCP");
    int payload_len = 0;
    if (len != 0) {
        ++num_msg_out;
        std::memcpy(frame + LEN_INIT_MSG, data, len);
        payload_len = Pack(frame, len);
    }
    store_le(frame + LEN_MARCA_DTCP, static_cast<std::uint16_t>(payload_len));
    info_len += LEN_INIT_MSG + payload_len;
    return payload_len;
}

void WSocket::Send_Queued()
{
    if (MssPending() == 0 && GetState() == CONN_STATE_OPENED) {
        DoCheckSend();
    }
}

// Brings the payload of a frame marked DTCP into its form on the wire; returns its length there.
int WSocket::Pack(char* frame, unsigned short len)
{
    if (socketssl != 0) {
        const bool plain = noencrypt != 0 && nocompress != 0 && set_socket_special_send != 0;
        return plain ? len : Pack_Compressed(frame, len);
    }
    if (nocompress == 0) {
        return noencrypt != 0 ? Pack_Compressed(frame, len) : Pack_Both(frame, len);
    }
    if (noencrypt != 0) {
        return len;
    }
    put_mark(frame, "DTCE");
    return encrypt(frame + LEN_INIT_MSG, len);
}

int WSocket::Pack_Compressed(char* frame, unsigned short len)
{
    char* payload = frame + LEN_INIT_MSG;
    const int compressed = AdjustCompress(frame, payload, len);
    if (compressed < len) {
        return compressed;
    }
    if (!in_zero_word_band(len)) {
        put_mark(frame, "DTNC");
        return len;
    }
    if (compressed == RLE_REFUSED) {
        return len;
    }
    std::memset(payload + len, 0, static_cast<std::size_t>(compressed - len));
    return compressed;
}

int WSocket::Pack_Both(char* frame, unsigned short len)
{
    char* payload = frame + LEN_INIT_MSG;
    const int compressed = AdjustCompress(frame, payload, len);
    const bool stands = compressed != 0 && compressed < len;
    if (in_zero_word_band(len)) {
        put_mark(frame, stands ? "DTRE" : "DTCE");
    } else {
        put_mark(frame, stands ? "DTBE" : "DTNE");
    }
    return encrypt(payload, stands ? compressed : len);
}

// Returns the compressed length. If that is the shorter one, the compressed data and their mark are in place.
int WSocket::AdjustCompress(char* mark, char* data, unsigned short len)
{
    const bool zero_words = in_zero_word_band(len);
    const int compressed = zero_words ? Suppress_Zero_Words(data, len) : Compress_Bsd(data, len);
    if (compressed < len) {
        put_mark(mark, zero_words ? "DTRC" : "DTBC");
        std::memcpy(data, zero_words ? buff_comp : buff_dec, static_cast<std::size_t>(compressed));
    }
    return compressed;
}

// The coder reads its last word whole.
int WSocket::Suppress_Zero_Words(const char* data, unsigned short len)
{
    std::memcpy(buff_dec, data, len);
    std::memset(buff_dec + len, 0, 8);
    return RLE_Compression(bytes(buff_dec), bytes(buff_comp), len);
}

// Every payload outside the band passes here, sent compressed or not, so that both ends' dictionaries see the same.
int WSocket::Compress_Bsd(char* data, unsigned short len)
{
    return bsd_dbc != nullptr ? bsd_compress(bsd_dbc, bytes(data), bytes(buff_dec), len, TCP_MAX_BUF_LEN) : len;
}

void WSocket::DoCheckSend()
{
    while (info_len != 0) {
        const int sent = Send(info_to_send, info_len);
        if (sent < 0) {
            Send_Failed(GetLastError());
            return;
        }
        Sent_Some(sent);
        if (socketssl != 0) {
            One_Send_Is_Enough();
            return;
        }
    }
    mss_pend.store(0, std::memory_order_relaxed);
}

void WSocket::Send_Failed(int error)
{
    mss_pend.store(1, std::memory_order_relaxed);
    if (error != EAGAIN) {
        Tell(TCP_ERROR_NO_READY_FOR_SEND);
        DoClose(WSOCK_SEND_ERROR);
    }
}

// What is left goes out at the next look at the socket, and not only when the next record comes.
void WSocket::One_Send_Is_Enough()
{
    mss_pend.store(info_len != 0 ? 1 : 0, std::memory_order_relaxed);
    if (info_len != 0) {
        wstate |= state_send_refused;
    }
}

void WSocket::Sent_Some(int count)
{
    info_len -= count;
    if (info_len != 0) {
        std::memmove(info_to_send, info_to_send + count, static_cast<std::size_t>(info_len));
    }
    const unsigned now = Transport_Seconds();
    timeout_conn = now + time_chk_connection;
    timeout_snd = now + time_send_expired_warning;
    max_ticks_send = Longer_Silence(max_ticks_send, time_prev_send, now);
    time_prev_send = now;
    CancelExtraTimeSend();
}

void WSocket::WaitForSend(int descriptor, long sec, long usec)
{
    const timeval span{.tv_sec = sec, .tv_usec = usec};
    if (descriptor < 0) {
        System().sleep(span);
        return;
    }
    pollfd writable{.fd = descriptor, .events = POLLOUT, .revents = 0};
    System().wait_ready(&writable, 1, span);
}
