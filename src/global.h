// Numbers that several floors share: sizes, limits and the statuses that travel in rings. They have no behaviour.
#pragma once

// Bytes of one record of the three rings, and so of the longest message with its envelope.
inline constexpr int MESSAGE_TRANS_RECORD_SIZE = 3300;

inline constexpr int DCON_MAX_DS_SERVERS = 36;      // data servers in one configuration
inline constexpr int MAX_NUM_MARKETS_CODE = 30;     // markets behind use_msg_code
inline constexpr int MAX_SUSCRIBED_MESSAGES = 1000; // message numbers a host can subscribe: 0 to 999
inline constexpr int MAX_TABLE_CODES = 40000;       // wire codes of tables: 0 to 39999
inline constexpr int MAX_ACCESS_TABLES = 4096;      // rows of the table_code directive

// What a record of the inbound ring means. Data records are TCP_STATUS_PACKET_RECEIVED; all others are news of the
// connection. The log ring uses the two TCP_STATUS_LOG_... kinds and 0 for a text.
inline constexpr int TCP_ERROR_CANT_CONNECT = 7;
inline constexpr int TCP_ERROR_NOT_CONNECTION = 8;    // closed with an error code
inline constexpr int TCP_ERROR_NO_READY_FOR_SEND = 9; // a send failed
inline constexpr int TCP_ERROR_CANT_CONECT_SAME = 12; // connected to itself
inline constexpr int TCP_ERROR_NO_RECVED = 14;        // nothing received through the extra time
inline constexpr int TCP_ERROR_EXTRA_TIME = 17;       // receive time-out, extra time begun
inline constexpr int TCP_ERROR_OUT_EXTRA_TIME = 18;   // never given: 31 tells the end of either extra time
inline constexpr int TCP_ERROR_RECEIVE = 19;          // a receive failed
inline constexpr int TCP_STATUS_CLOSED_CONNECTION = 20;
inline constexpr int TCP_STATUS_OPEN_CONNECTION = 21;
inline constexpr int TCP_STATUS_PACKET_RECEIVED = 22;
inline constexpr int TCP_STATUS_SEND_ERROR = 23;         // nothing could be sent through the extra time
inline constexpr int TCP_STATUS_LOG_PACKET = 24;         // log ring: told to the log thread, never written
inline constexpr int TCP_STATUS_LOG_SENT_PACKET = 25;    // log ring: a message record
inline constexpr int TCP_SHUTTING_DOWN = 27;             // any ring: the thread that takes it ends
inline constexpr int TCP_TICKING_MESSAGE = 29;           // a tick, if asked for
inline constexpr int TCP_ERROR_EXTRA_TIME_SEND = 30;     // send time-out, extra time begun
inline constexpr int TCP_ERROR_OUT_EXTRA_TIME_SEND = 31; // extra time, of either kind, ended by traffic
inline constexpr int PRIMARY_TABLES_RECEIVED = 140;      // inbound ring: the last awaited table has arrived
inline constexpr int TCP_BAD_DATA_RECEIVED = 5000;       // a frame's mark or length, an envelope or a time block is bad
