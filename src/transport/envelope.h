// The envelope: who sends a message, with what priority, to whom. It is the payload of a frame (transport/wsock.h), and
// a message lies inside it.
//
//   offset  width  name         content
//   0       2      flags        1
//   2       2      mess_long    bytes of the whole envelope
//   4       2      mess_type    100; 1 in a clock check
//   6       2      priority     a PRD_ value
//   8       4      eq_src_name  the sending machine
//   12      2                   D, bytes of all destination groups; 0 if there are none
//   14      D                   groups: identifier (2 letters), number of elements (2), bytes of one (2), the elements
//   14+D    2                   length of the message, plus 3
//   16+D                        the message, and three zero bytes
//
// all little-endian. So mess_long is 19 + D + the length of the message. A receiver takes what it gets: nothing tests
// that a message is meant for it, and a frame may carry more bytes than the envelope says.
#pragma once

#include "message_numbers.h"
#include "transport/destinations.h"

#include <atomic>
#include <cstdint>

inline constexpr int HEAD_FIX_LEN = 12;      // bytes ahead of mess_buff
inline constexpr int HEAD_FIX_DATA_LEN = 16; // bytes ahead of a message without addressees
inline constexpr int MAX_MON_BUF_LEN = 4000;
inline constexpr int ENVELOPE_TAIL_LEN = 3;
inline constexpr int GROUP_HEAD_LEN = 6; // of a destination group, ahead of its elements

inline constexpr std::uint16_t ENVIA_EQUIPO = 1;     // flags
inline constexpr std::uint16_t MENSAJE_NORMAL = 100; // mess_type

inline constexpr char FIRST_CHAR_NUMBER_CODE = '0'; // of a message's number

struct MON_MESS_DESTR
{
    std::uint16_t flags;
    std::uint16_t mess_long;
    std::uint16_t mess_type;
    std::uint16_t priority;
    char eq_src_name[4];
    char mess_buff[MAX_MON_BUF_LEN];
};
static_assert(sizeof(MON_MESS_DESTR) == HEAD_FIX_LEN + MAX_MON_BUF_LEN);

// Builds the envelope of a message of `len` bytes and returns mess_long. `dest` may be null for no addressees. What
// doesn't fit into mess_buff is refused behind a report: the result is 0 and `out` is not to be sent.
unsigned short DCON_Set_Header(MON_MESS_DESTR* out, const char* message, int len, CDestinationsList* dest,
                               int priority);

// Bytes that the groups of these addressees take in an envelope.
int DCON_Groups_Len(CDestinationsList* dest);

// What DCON_Skip_Header found.
inline constexpr int DCON_MESSAGE_DONE = 0; // a clock check that ended here: nobody else is to see it
inline constexpr int DCON_MESSAGE_GOOD = 1; // a message for the reader
inline constexpr int DCON_MESSAGE_BAD = -1; // the envelope or the time block doesn't fit its frame

// Takes the envelope off: moves *data, *len from the envelope to the message. A clock check is stamped in place on the
// way, wherefore the bytes must be the caller's to change, and sent on if it has further to go. `source` is the
// identity of the connection it came from. With DCON_MESSAGE_BAD *data and *len stay.
int DCON_Skip_Header(const char** data, int* len, const char* source);

// Sends a message with envelope and addressees over the open connection, if there is one, and writes it to the running
// log under `log_text` if that is not empty. The two are alike and each has an area of its own: one thread may use
// each.
void COM_Send_Pkt(char* message, int len, CDestinationsList* dest, int priority, const char* log_text);
void COM_Send_Pkt2(char* message, int len, CDestinationsList* dest, int priority, const char* log_text);

// The list of replies to a server of a kind: 1 DGI, 2 DS, anything else the normal one.
void COM_Get_Target_DS_List(int target, CDestinationsList** list);

extern const char Glb_DS_Id[]; // identity of the data-server connection
extern const char Glb_GT_Id[]; // of a connection to a gateway, which only old logs have seen
extern const char Glb_BR_Id[]; // of a connection to a broker's machine, which nothing here opens

extern std::atomic<unsigned> glb_num_sent_msgs; // messages that COM_Send_Pkt and COM_Send_Pkt2 have queued

// The socket's state word, or null while there is no connection to look at. Installed by the driver's owner, and taken
// out before the word goes.
extern std::atomic<const std::atomic<int>*> COM_sock_state;

extern std::atomic<int> Glb_main_connected; // 1 from the open of the connection to its close; written by the reader
