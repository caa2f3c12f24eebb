// From the stream to records: frames are found in the inbound buffer, undone in place or into a work buffer, and handed
// to the inbound door.
//
// Bad marks and lengths discard all that is held; the next bytes are taken for the start of a frame. A frame whose
// content is bad is bad alone. Both may leave the dictionary out of step with the sender's, who knows nothing of it:
// the next frame that can't be read without it closes the connection, and the session starts over behind the last
// message that came through.
#include "transport/inbound_door.h"
#include "transport/transport_clock.h"
#include "transport/wsock.h"

#include "compress/bsd.h"
#include "compress/rle.h"
#include "crypt/crypt.h"
#include "global.h"
#include "little_endian.h"
#include "qcapi/support.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

// A peer that sends faster than its data is taken would otherwise keep the lock and the thread for ever.
constexpr int reads_in_a_row = 8;

struct Mark
{
    std::string_view text;
    int form;
};

constexpr std::array<Mark, 8> marks{{
    {"DTCP", PKT_NORMAL},
    {"DTBC", PKT_COMPRIMIDO_BSD},
    {"DTCE", PKT_IDEA_DIRECT},
    {"DTRC", PKT_COMPRIMIDO_RLE},
    {"DTNE", PKT_SINCOMYENCRYPT},
    {"DTBE", PKT_COMYENCRYPT_BSD},
    {"DTRE", PKT_COMYENCRYPT_RLE},
    {"DTNC", PKT_SINCOMPRIMIDO_BSD},
}};

constexpr int no_form = 0;

int form_of(std::string_view mark)
{
    const auto* const found =
        std::find_if(marks.begin(), marks.end(), [mark](const Mark& known) { return known.text == mark; });
    return found != marks.end() ? found->form : no_form;
}

bool feeds_dictionary(int form)
{
    return form == PKT_COMPRIMIDO_BSD || form == PKT_SINCOMYENCRYPT || form == PKT_COMYENCRYPT_BSD ||
           form == PKT_SINCOMPRIMIDO_BSD;
}

// True if a frame that feeds the dictionary may begin in these bytes.
bool holds_dictionary_mark(std::string_view bytes)
{
    for (std::size_t at = bytes.find("DT"); at != std::string_view::npos; at = bytes.find("DT", at + 1)) {
        if (feeds_dictionary(form_of(bytes.substr(at, LEN_MARCA_DTCP)))) {
            return true;
        }
    }
    return false;
}

const unsigned char* bytes(const char* data)
{
    return reinterpret_cast<const unsigned char*>(data);
}

unsigned char* bytes(char* data)
{
    return reinterpret_cast<unsigned char*>(data);
}

std::size_t size(int len)
{
    return static_cast<std::size_t>(len);
}

} // namespace

void WSocket::DoCheckRcv()
{
    if (rec_counter != 0 || (wstate & (state_listening | state_connecting | state_no_socket)) != 0) {
        return;
    }
    rec_counter = 1;
    for (int turn = 0; turn < reads_in_a_row && Receive_Once(); ++turn) {
    }
    rec_counter = 0;
}

// Returns whether to read on. A read that doesn't fill the buffer has emptied the socket; asking again would only be
// told so. While closing, the end of the stream is looked for.
bool WSocket::Receive_Once()
{
    const int room = DTCP_MAX_BUF_LEN - len_recved;
    const int received = Receive(buff_recv + len_recved, room);
    if (received < 0) {
        Receive_Failed(GetLastError());
        return false;
    }
    len_recved += received;
    Received_Some();
    TakeReceived();
    return received == room || GetState() == CONN_STATE_CLOSING;
}

void WSocket::Received_Some()
{
    const unsigned now = Transport_Seconds();
    max_ticks_rcv = Longer_Silence(max_ticks_rcv, time_prev_rcv, now);
    time_prev_rcv = now;
    timeout_rcv = now + time_rcv_connection;
    CancelExtraTimeRecv();
}

void WSocket::Receive_Failed(int error)
{
    const bool closing = GetState() == CONN_STATE_CLOSING;
    if (error == 0 || error == EAGAIN) {
        if (closing && do_close_last_reason == 0) {
            do_close_last_reason = WSOCK_PEER_CLOSED;
        }
    } else if (closing) {
        ForceClose();
    } else {
        const int len = std::snprintf(buff_dec, sizeof buff_dec, "%.*s > Tcp-error = %d", m_id_len, m_id, error);
        Tell(TCP_ERROR_RECEIVE, buff_dec, len, m_id);
        DoClose(WSOCK_RECEIVE_ERROR);
    }
}

// Frames are taken where they lie, and what is left moves to the front once.
void WSocket::TakeReceived()
{
    if (m_taking) {
        return; // closing because of a frame
    }
    m_taking = true;
    char* at = buff_recv;
    int held = len_recved;
    while (held > 0 && Take_Frame(at, held)) {
    }
    if (at != buff_recv && held > 0) {
        std::memmove(buff_recv, at, size(held));
    }
    len_recved = held;
    m_taking = false;
}

// Returns false when there is no whole frame.
bool WSocket::Take_Frame(char*& at, int& held)
{
    if (len_to_recv == 0) {
        if (held < LEN_INIT_MSG) {
            return false;
        }
        if (!Take_Header(at)) {
            Bad_Data({at, size(held)});
            held = 0;
            return false;
        }
        at += LEN_INIT_MSG;
        held -= LEN_INIT_MSG;
    }
    if (len_to_recv == 0) {
        ++num_msg_chk_in;
        return true;
    }
    if (held < len_to_recv) {
        return false;
    }
    const int len = std::exchange(len_to_recv, 0);
    ++num_msg_in;
    Take_Payload(at, len);
    at += len;
    held -= len;
    return true;
}

bool WSocket::Take_Header(const char* header)
{
    const int form = form_of({header, LEN_MARCA_DTCP});
    const int len = load_le<std::uint16_t>(header + LEN_MARCA_DTCP);
    if (form == no_form || len > DTCP_MAX_BUF_LEN) {
        return false;
    }
    m_discarded_tail_len = 0;
    flag_test = form;
    len_to_recv = len;
    return true;
}

void WSocket::Bad_Data(std::string_view discarded)
{
    Tell(TCP_BAD_DATA_RECEIVED);
    m_discarded_any = true;
    std::array<char, 2 * (LEN_MARCA_DTCP - 1)> joint{}; // a mark may lie across two discards
    const auto tail = m_discarded_tail.begin() + m_discarded_tail_len;
    auto end = std::copy(m_discarded_tail.begin(), tail, joint.begin());
    end = std::copy_n(discarded.begin(), std::min(discarded.size(), m_discarded_tail.size()), end);
    if (holds_dictionary_mark(discarded) || holds_dictionary_mark({joint.begin(), end})) {
        m_dictionary_lost = true;
    }
    const auto kept = std::min(discarded.size(), m_discarded_tail.size()); // never fewer than a header's six bytes
    std::copy_n(discarded.end() - static_cast<std::ptrdiff_t>(kept), kept, m_discarded_tail.begin());
    m_discarded_tail_len = static_cast<int>(kept);
}

void WSocket::Take_Payload(char* payload, int len)
{
    if (m_gave_up) {
        return;
    }
    Look_For_Swallowed_Frame({payload, size(len)});
    switch (flag_test) {
    case PKT_NORMAL:
        Deliver(payload, len);
        break;
    case PKT_COMPRIMIDO_BSD:
        Take_Bsd(payload, len);
        break;
    case PKT_IDEA_DIRECT:
        Deliver(payload, Decrypt(payload, len));
        break;
    case PKT_COMPRIMIDO_RLE:
        Deliver(buff_dec, Restore_Zero_Words(payload, len));
        break;
    case PKT_SINCOMYENCRYPT:
        Take_Plain(payload, Decrypt_For_Dictionary(payload, len));
        break;
    case PKT_COMYENCRYPT_BSD:
        Take_Encrypted_Bsd(payload, len);
        break;
    case PKT_COMYENCRYPT_RLE:
        Take_Encrypted_Zero_Words(payload, Decrypt(payload, len));
        break;
    default: // PKT_SINCOMPRIMIDO_BSD
        Take_Plain(payload, len);
        break;
    }
}

// What is taken for a frame's start behind a discard may lie in the middle of a payload, and a frame that feeds the
// dictionary in the middle of what is taken for this one.
void WSocket::Look_For_Swallowed_Frame(std::string_view payload)
{
    if (m_discarded_any && !feeds_dictionary(flag_test) && holds_dictionary_mark(payload)) {
        m_dictionary_lost = true;
    }
}

void WSocket::Deliver(const char* payload, int len)
{
    Tell(TCP_STATUS_PACKET_RECEIVED, payload, len, m_id);
}

// The dictionary first: delivering stamps a clock check in place, and the sender's dictionary has seen it unstamped.
void WSocket::Take_Plain(const char* payload, int len)
{
    if (bsd_dbd != nullptr && !m_dictionary_lost) {
        bsd_incomp(bsd_dbd, bytes(payload), len);
    }
    Deliver(payload, len);
}

// The length of what is delivered is 3 above that of the data, as peers of this system are used to it.
void WSocket::Take_Bsd(const char* packet, int len)
{
    if (m_dictionary_lost || bsd_dbd == nullptr) {
        m_gave_up = true; // nothing behind this frame is delivered either
        DoClose(WSOCK_RECEIVE_ERROR);
        return;
    }
    const bsd_db& dictionary = *static_cast<const bsd_db*>(bsd_dbd);
    const std::uint16_t packets_before = dictionary.seqno;
    const int result = bsd_decompress(bsd_dbd, bytes(packet), len, bytes(buff_dec), TCP_MAX_BUF_LEN);
    if (result == BSD_BAD_CODE && dictionary.seqno == packets_before) {
        m_dictionary_lost = true;
        Deliver(buff_dec, 0);
        return;
    }
    std::memset(buff_dec + result - BSD_OVERHEAD, 0, BSD_OVERHEAD);
    Deliver(buff_dec, result);
}

// A packet that could not be decrypted is zeros, which are codes like any other: it must not reach the dictionary.
void WSocket::Take_Encrypted_Bsd(char* packet, int len)
{
    const bool in_step = !m_dictionary_lost;
    const int packet_len = Decrypt_For_Dictionary(packet, len);
    if (in_step && m_dictionary_lost) {
        Deliver(buff_dec, 0);
    } else {
        Take_Bsd(packet, packet_len);
    }
}

// Returns the plain length, 0 for a block that can't be restored.
int WSocket::Restore_Zero_Words(const char* block, int len)
{
    const int copied = std::min(len, RLE_MAX_BLOCK); // bytes behind the longest block mean nothing
    std::memcpy(buff_comp, block, size(copied));
    return RLE_Decompression(bytes(buff_comp), bytes(buff_dec), 0, copied);
}

void WSocket::Take_Encrypted_Zero_Words(const char* block, int len)
{
    const int plain_len = len >= 2 ? load_le<std::uint16_t>(block) : 0;
    if (plain_len > HIGH_LIMIT_SIZE_USE_COMPRESS) {
        COMMON_Put_Syslog_Message(0, "Warning. Decompressed message lenght %hu exceeds max allowed lenght %d.",
                                  static_cast<unsigned short>(plain_len), HIGH_LIMIT_SIZE_USE_COMPRESS);
    }
    Deliver(buff_dec, Restore_Zero_Words(block, len));
}

// Returns the decrypted length. What can't be decrypted becomes zeros.
int WSocket::Decrypt(char* payload, int len, bool* good)
{
    return len - crypt_decrypt_data(0, payload, IDEA_DIRECT, 0, static_cast<unsigned short>(len), good);
}

int WSocket::Decrypt_For_Dictionary(char* payload, int len)
{
    bool good = false;
    const int plain_len = Decrypt(payload, len, &good);
    m_dictionary_lost = m_dictionary_lost || !good;
    return plain_len;
}
