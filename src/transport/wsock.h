// Frames over a TCP stream: buffers and reassembles them, picks for each between plain, compressed and encrypted form,
// keeps the connection alive and watches its two time-outs.
//
//   offset  width  content
//   0       4      mark
//   4       2      payload length, little-endian, at most 60000
//   6       ...    payload: one envelope (transport/envelope.h)
//
// with nothing between frames. A frame of length 0 is the alive signal: any byte received restarts the receive
// dead-line, so the peer needs no answer to it. Each end sends in its own mode and takes every mark.
//
//   mark  payload
//   DTCP  plain
//   DTBC  BSD-compressed
//   DTCE  encrypted
//   DTRC  zero words left out (plain lengths 1024 to 2048)
//   DTNE  encrypted; passed the compressor without gain, and is to pass the receiver's dictionary
//   DTBE  BSD-compressed, then encrypted
//   DTRE  zero words left out, then encrypted
//   DTNC  plain; passed the compressor without gain, and is to pass the receiver's dictionary
//
// What happens is told by records of the inbound ring. Everything here runs under DCON_lock but
// GetState, State_Word, MssPending, Connection_Number and WaitForSend. Times are seconds of Transport_Seconds.
#pragma once

#include "arrm.h"
#include "transport/lsock.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <string_view>

inline constexpr int TCP_MAX_BUF_LEN = 60096;          // every frame buffer
inline constexpr int DTCP_MAX_BUF_LEN = 60000;         // of it in use, and the longest payload
inline constexpr int MAX_SEND_INFO = DTCP_MAX_BUF_LEN; // the queue
inline constexpr int TCP_MAX_BUF_CMP = 5000;
inline constexpr int LEN_MARCA_DTCP = 4;
inline constexpr int LEN_INIT_MSG = 6; // mark and length

// Payloads of these lengths, before compression, go through zero-word suppression, all others through BSD Compress.
inline constexpr int LOW_LIMIT_SIZE_USE_COMPRESS = 1024;
inline constexpr int HIGH_LIMIT_SIZE_USE_COMPRESS = 2048;

// States of the connection.
inline constexpr int CONN_NO_STATE = 0;
inline constexpr int CONN_STATE_LISTENNING = 1; // not used
inline constexpr int CONN_STATE_OPENNING = 2;
inline constexpr int CONN_STATE_OPENED = 3;
inline constexpr int CONN_STATE_LISTENED = 4; // not used
inline constexpr int CONN_STATE_CLOSING = 5;  // sending is over; what the peer still sends is delivered
inline constexpr int CONN_STATE_DELETING = 6; // closed

// Send modes; any other value leaves the two choices as the last connection had them, at first both.
inline constexpr unsigned short SENDPKTENCRYPT = 0;
inline constexpr unsigned short SENDPKTNORMAL = 1;
inline constexpr unsigned short SENDPKTCOMPRESS = 2;
inline constexpr unsigned short SENDPKTCOMYENCRYPT = 3;
inline constexpr unsigned short DEFAULT_MODE_SEND = SENDPKTCOMPRESS;

// Forms of a frame under reception, in the order of the table above.
inline constexpr int PKT_NORMAL = 1;
inline constexpr int PKT_COMPRIMIDO_BSD = 2;
inline constexpr int PKT_IDEA_DIRECT = 3;
inline constexpr int PKT_COMPRIMIDO_RLE = 4;
inline constexpr int PKT_SINCOMYENCRYPT = 5;
inline constexpr int PKT_COMYENCRYPT_BSD = 6;
inline constexpr int PKT_COMYENCRYPT_RLE = 7;
inline constexpr int PKT_SINCOMPRIMIDO_BSD = 8;

// Why a connection closed: index of the text that is the source of the closing record.
inline constexpr int WSOCK_CLOSED_HERE = 1; // by request
inline constexpr int WSOCK_SEND_TIME_OUT = 4;
inline constexpr int WSOCK_RECEIVE_TIME_OUT = 5;
inline constexpr int WSOCK_PEER_CLOSED = 6;
inline constexpr int WSOCK_RECEIVE_ERROR = 7;
inline constexpr int WSOCK_SEND_ERROR = 8;
inline constexpr int WSOCK_TO_ITSELF = 9; // has no text
inline constexpr int WSOCK_NUM_REASONS = 10;
extern const std::array<const char*, WSOCK_NUM_REASONS> WSOCK_Reason;

class WSocket : public DAsyncSocket
{
public:
    WSocket();
    ~WSocket() override;

    // ---- For whoever drives the connection, before Connect or Listen

    // Where records go, null for nowhere, and the identity they bear. `id` is kept as a pointer.
    void Set_Ring(CMss_Arr* recv) { m_Recv_Mss = recv; }
    void Set_Identity(const char* id, int id_len);
    void Set_Send_Mode(unsigned short mode) { mode_to_send = mode; } // from the next connection on
    void Deliver_No_More() { m_gave_up = true; } // messages, until the next connection; statuses go on
    void Set_Host_Index(std::uint32_t index) { m_host_index = index; } // travels with the records

    // To an IPv4 address in network order. The result comes as a record, at once or from Sock_Check.
    virtual int Connect(unsigned ip, unsigned short connect_port);
    int Listen();
    int Listen_On(int bound_socket);

    // ---- Sending

    // Queues `len` bytes as one frame and sends what the system takes; `len` 0 makes an alive signal. Returns the
    // payload's length on the wire, `len` if the connection isn't open (the frame is dropped), or 0 if the queue has no
    // room. The longest payload is 59994 bytes, with encryption 4000.
    int AddRecToSend(const char* data, unsigned short len);

    // The same without sending, for several frames in one system call; Send_Queued sends them.
    int Queue_Record(const char* data, unsigned short len);
    void Send_Queued();

    [[nodiscard]] bool IsReadyToSend(unsigned short len) const { return len + info_len + LEN_INIT_MSG < MAX_SEND_INFO; }
    [[nodiscard]] int MssPending() const { return mss_pend.load(std::memory_order_relaxed); }
    [[nodiscard]] int Queued_Bytes() const { return info_len; }

    // ---- Watching

    // Reads what there is, sends alive signals, watches the time-outs. At least every two seconds.
    void Control(unsigned now);

    // All time-outs from the one that the server gives; 0 leaves them as they are. Returns 0.
    short SetExpireTime(unsigned short seconds);
    void UpdateTime();                       // restarts the dead-lines after a change of the settings
    static unsigned SetTimeOut(int seconds); // the dead-line that many seconds from now

    // ---- Closing

    // Ends sending and goes on reading until the peer closes, 8 seconds at most. The first reason counts. A connection
    // that isn't open yet has nothing to read and is closed at once.
    void DoClose(int reason);
    void ForceClose();

    // ---- Looking

    [[nodiscard]] int GetState() const { return state.load(std::memory_order_relaxed); }
    [[nodiscard]] const std::atomic<int>* State_Word() const { return &state; }
    [[nodiscard]] unsigned Get_fhost() const { return fhost; }
    [[nodiscard]] unsigned Get_My_Ip() const { return my_ip; }
    [[nodiscard]] bool am_i(unsigned ip) const { return ip == fhost; }
    [[nodiscard]] std::uint32_t Connection_Number() const { return m_connection.load(std::memory_order_relaxed); }
    [[nodiscard]] unsigned Frames_Sent() const { return num_msg_out; }
    [[nodiscard]] unsigned Frames_Received() const { return num_msg_in; }
    [[nodiscard]] unsigned Alive_Signals_Sent() const { return num_msg_chk_out; }
    [[nodiscard]] unsigned Alive_Signals_Received() const { return num_msg_chk_in; }

    // Waits until the socket takes data, at most so long; without a socket, that long. Without DCON_lock: `descriptor`
    // is a copy that the caller took under it.
    static void WaitForSend(int descriptor, long sec, long usec);

    // Runs data through a compressor both ways and throws the result away, for measuring; with dictionaries of its own.
    // Set_Compression_Under_Test: 0 or 1 takes BSD Compress, 2 the Lempel-Ziv coder, anything else zero-word
    // suppression. Returns how often the output was the larger so far.
    unsigned Compression_Test(const char* data, unsigned short len);
    void Set_Compression_Under_Test(int which) { m_compressed = which; }

    void OnAccept(int err) override;
    void OnSend(int err) override;
    void OnConnect(int err) override;
    void OnClose(int err) override;
    void OnReceive(int err) override;

private:
    friend class WSocket_Test_Access;

    // Life of the connection (wsock.cpp)
    void Tell(int status);
    void Tell(int status, const char* data, int len, const char* source);
    void Begin_Connection();
    void Set_State(int value) { state.store(value, std::memory_order_relaxed); }
    void Connection_Stands();
    int Init_fhost_myip();
    void Start_Dictionaries();
    void Choose_Forms();
    void Report_Missing_Dictionaries() const;

    // Sending (wsock_send.cpp)
    int Pack(char* frame, unsigned short len);
    int Pack_Compressed(char* frame, unsigned short len);
    int Pack_Both(char* frame, unsigned short len);
    int AdjustCompress(char* mark, char* data, unsigned short len);
    int Suppress_Zero_Words(const char* data, unsigned short len);
    int Compress_Bsd(char* data, unsigned short len);
    void DoCheckSend();
    void Send_Failed(int error);
    void One_Send_Is_Enough();
    void Sent_Some(int count);

    // Receiving (wsock_receive.cpp)
    void DoCheckRcv();
    bool Receive_Once();
    void Received_Some();
    void Receive_Failed(int error);
    void TakeReceived();
    bool Take_Frame(char*& at, int& held);
    bool Take_Header(const char* header);
    void Bad_Data(std::string_view discarded);
    void Look_For_Swallowed_Frame(std::string_view payload);
    void Take_Payload(char* payload, int len);
    void Take_Plain(const char* payload, int len);
    void Take_Bsd(const char* packet, int len);
    void Take_Encrypted_Bsd(char* packet, int len);
    void Take_Encrypted_Zero_Words(const char* block, int len);
    int Restore_Zero_Words(const char* block, int len);
    static int Decrypt(char* payload, int len, bool* good = nullptr);
    int Decrypt_For_Dictionary(char* payload, int len);
    void Deliver(const char* payload, int len);

    // Liveness (wsock_liveness.cpp)
    void Watch_Sending(unsigned now);
    void Watch_Receiving(unsigned now);
    void CancelExtraTimeSend();
    void CancelExtraTimeRecv();

    std::atomic<int> state{CONN_NO_STATE}; // written under DCON_lock
    std::atomic<int> mss_pend{0};          // the system refused data; written under DCON_lock
    int m_compressed = 0;
    const char* m_id = nullptr;
    int m_id_len = 0;
    CMss_Arr* m_Recv_Mss = nullptr;
    std::uint32_t m_host_index = 0;
    std::atomic<std::uint32_t> m_connection{0}; // counts the connections begun; written under DCON_lock

    unsigned num_msg_out = 0; // frames with payload
    unsigned num_msg_in = 0;
    unsigned num_msg_chk_out = 0; // alive signals
    unsigned num_msg_chk_in = 0;

    unsigned short mode_to_send = DEFAULT_MODE_SEND;
    unsigned short noencrypt = 0;               // of this connection
    unsigned short nocompress = 0;              // of this connection
    unsigned short set_socket_special_send = 0; // never set

    unsigned fhost = 0; // the peer, network order
    unsigned my_ip = 0;

    int do_close_last_reason = 0;
    int rec_counter = 0;     // inside DoCheckRcv
    bool m_taking = false;   // inside TakeReceived
    int extra_time_send = 0; // the grace period behind a time-out is running
    int extra_time_recv = 0;

    unsigned timeout_conn = 0; // next alive signal; while closing, the end
    unsigned timeout_rcv = 0;
    unsigned timeout_snd = 0;
    unsigned time_prev_rcv = 0;
    unsigned time_prev_send = 0;
    short max_ticks_rcv = 0; // longest silence seen, seconds
    short max_ticks_send = 0;
    unsigned time_send_expired = 100;        // grace period of sending
    unsigned time_send_expired_warning = 40; // time-out of sending
    unsigned time_chk_connection = 20;       // silence before an alive signal
    unsigned time_rcv_connection = 60;       // time-out of receiving, and its grace period

    // The dictionaries. One that was lost (a bad code, or discarded bytes that may have fed it) stays so until the next
    // connection: what it would give is wrong text that nothing would notice.
    void* bsd_dbc = nullptr;
    void* bsd_dbd = nullptr;
    bool m_dictionary_lost = false;
    bool m_gave_up = false;                                  // messages are no longer delivered
    bool m_discarded_any = false;                            // bytes of this connection were discarded
    std::array<char, LEN_MARCA_DTCP - 1> m_discarded_tail{}; // last bytes of the latest discard
    int m_discarded_tail_len = 0;

    int flag_test = 0;   // form of the frame under reception
    int len_to_recv = 0; // its payload length; 0 while its header is awaited
    int len_recved = 0;  // bytes held in buff_recv
    int info_len = 0;    // bytes queued

    alignas(8) char info_to_send[TCP_MAX_BUF_LEN];
    alignas(8) char buff_recv[TCP_MAX_BUF_LEN];
    alignas(8) char buff_comp[TCP_MAX_BUF_CMP];
    alignas(8) char buff_dec[TCP_MAX_BUF_LEN];
};
