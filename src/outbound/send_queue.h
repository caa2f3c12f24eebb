// The last step of every message that leaves, the host's as well as the session's own: it is stamped, put into its
// envelope, written to the running log and queued for the sender.
//
// One lock stands around that whole step, so that hosts' threads and the reader may send at the same time and each
// message leaves in one piece with the stamp that was made for it. What the step uses is guarded by it: the envelope
// template, the lists of servers, the running numbers. Reports wait until it is gone.
//
// A message belongs to the session in which it was queued: it carries that connection's number, and the sender drops it
// when another connection stands by then. While there is no session (no connection, or one whose opening the reader has
// not come to yet) messages are dropped here. So a login is the first message of every connection.
#pragma once

#include "message/message.h"
#include "mutex.h"
#include "qcapi/support.h"
#include "transport/destinations.h"

// Queues a copy of the message, whose number tells its destination, whether it gets the stamp and a running number, and
// how the log calls it; a message of another number goes nowhere. `msg_dsts`, if not null, are addressees of an order,
// and are forgotten here. The other three are not looked at. Any thread.
void COMMON_Put_Message_In_Send_Queue(CMessage* msg_to_send, int flag_recipients, CDestinationsList* msg_dsts,
                                      int msg_priority, const char* log_msg_text);

namespace qapi {

// The host's message, with the addressees that the host named (outbound/addressing.h), which are forgotten.
void Send_Composed(CMessage& message);

} // namespace qapi

using qapi::Send_Composed;

// Fills what stays the same in the envelope template, and starts the running numbers again. Before threads start.
void COMMON_Init();

namespace qapi {

inline constinit Mutex The_Outbound_Mutex;

class SCOPED_CAPABILITY OutboundLock
{
public:
    OutboundLock() ACQUIRE(The_Outbound_Mutex) { The_Outbound_Mutex.lock(); }
    ~OutboundLock() RELEASE() { The_Outbound_Mutex.unlock(); } // before the reports' hold goes
    OutboundLock(const OutboundLock&) = delete;
    OutboundLock& operator=(const OutboundLock&) = delete;

private:
    ReportHold m_reports_wait;
};

// The reader's: the session of a connection begins, with its login as the first message; null for none. `host` is the
// index of the server in glb_dss and in the driver's list.
void Choose_Server(unsigned host);
void Open_Session(unsigned connection, CMessage* login);
void Close_Session();

// The connection of the session, 0 for none. Any thread.
unsigned Session_Connection();

// The data managers that the servers tell of: `count` codes of 4 bytes. For the reader.
void Add_Data_Managers(const char* codes, int count);

// The offline message of a session that ends, to the data managers and through the server. Before the connection thread
// is asked to end.
void Send_Offline();

} // namespace qapi

using qapi::Add_Data_Managers;
using qapi::Choose_Server;
using qapi::Close_Session;
using qapi::Open_Session;
using qapi::OutboundLock;
using qapi::Send_Offline;
using qapi::Session_Connection;
