// The reader thread: takes everything that comes from the connection, one record at a time, and acts on it.
#include "qcapi.h"

#include "arrm.h"
#include "global.h"
#include "log.h"
#include "session.h"
#include "support.h"
#include "tblproc/tblproc.h"
#include "thrct.h"
#include "transport/dcon.h"

#include <array>
#include <string>

namespace {

struct Inbound_Record
{
    std::array<char, MESSAGE_TRANS_RECORD_SIZE + 1> data{}; // with room for a terminator
    int len = 0;
    const char* source = nullptr; // identity of the connection; for a close, the reason's text
    std::array<char, CMSS_EXTRA_LEN> extra{};
};

void trace_step(unsigned digit)
{
    // Only the reader writes the word.
    Glb_Proc_Flag.store(Glb_Proc_Flag.load(std::memory_order_relaxed) * 16 + digit, std::memory_order_relaxed);
}

// The next record's status; waits for it.
int take_next(Inbound_Record& record)
{
    for (;;) {
        trace_step(1);
        if (Glb_Recv_Mss->Wait_For_Any_Pkt() == 0) {
            continue;
        }
        trace_step(2);
        const int status = Glb_Recv_Mss->Withdraw(record.data.data(), &record.len, &record.source, record.extra.data());
        if (status != -1) {
            return status;
        }
    }
}

// The object is gone if the host deleted it in a callback; its threads then run on to their end.
void tell_status(int status, std::string text)
{
    if (CQcApi* api = Current_Api()) {
        api->CallStatusChanged(status, text.data());
    }
}

void tell_disconnection(const char* reason)
{
    if (CQcApi* api = Current_Api()) {
        api->CallOnDisconnection(glb_DCon_DESCR->DCON_state, reason != nullptr ? reason : "");
    }
}

void connection_opened(const Inbound_Record& record)
{
    Glb_main_connected = 1;
    LOG_Text("-RO%c-Status changed to opened connection", record.data[0]);
    tell_status(TCP_STATUS_OPEN_CONNECTION, "Connected");
    LOG_Text("Status changed to opened connection reported");
    trace_step(4);
}

// Needs no object: the host may have deleted it.
void clean_tables()
{
    Clear_Tables_Of_The_Connection(*The_Mailbox_Mutex);
}

void no_tables() {}

// What was queued for the lost connection must not reach the next one, but a stop that is under way must reach the
// sender. In the data-server role the tables stay.
void connection_closed(const Inbound_Record& record, void (*clean)())
{
    tell_status(TCP_STATUS_CLOSED_CONNECTION, "Disconnected");
    trace_step(6);
    Glb_Send_Mss->Initialize_Keeping(TCP_SHUTTING_DOWN);
    clean();
    trace_step(7);
    tell_disconnection(record.source);
}

void message_received(const Inbound_Record& record)
{
    ++glb_num_proc_msgs;
    LOG_Put_Msg("RM-Message Received", record.data.data(), record.len, record.source, 0, record.extra.data());
}

void unexpected_status(int status, Inbound_Record& record)
{
    record.data[static_cast<unsigned>(record.len)] = '\0'; // the record is shown, not what an older one left behind it
    LOG_Put_Err_Msg(QAPI_ERR_STATUS_NOT_EXPECTED_TXT, status, record.data.data());
}

void act_for_client(int status, Inbound_Record& record)
{
    switch (status) {
    case TCP_STATUS_OPEN_CONNECTION:
        connection_opened(record);
        break;
    case TCP_ERROR_CANT_CONNECT:
        tell_status(TCP_ERROR_CANT_CONNECT, "Can't connect");
        break;
    case TCP_STATUS_CLOSED_CONNECTION:
        Glb_main_connected = 0;
        LOG_Text("-RC%c-Status changed to closed connection", record.data[0]);
        connection_closed(record, clean_tables);
        break;
    case TCP_STATUS_PACKET_RECEIVED:
        message_received(record);
        break;
    default:
        unexpected_status(status, record);
        break;
    }
}

void act_for_server(int status, Inbound_Record& record)
{
    switch (status) {
    case TCP_STATUS_OPEN_CONNECTION:
        Glb_main_connected = 1;
        tell_status(TCP_STATUS_OPEN_CONNECTION, "Connected");
        break;
    case TCP_STATUS_CLOSED_CONNECTION:
        Glb_main_connected = 0;
        connection_closed(record, no_tables);
        break;
    case TCP_STATUS_PACKET_RECEIVED:
        message_received(record);
        break;
    default:
        unexpected_status(status, record);
        break;
    }
}

void read_until_stop(void (*act)(int status, Inbound_Record& record))
{
    Inbound_Record record;
    int status = 0;
    while ((status = take_next(record)) != TCP_SHUTTING_DOWN) {
        act(status, record);
    }
}

} // namespace

void CQcApi::QAPI_Clean_Tables()
{
    clean_tables();
}

void* CQcApi::Process_Messages(void* /*unused*/)
{
    const CountedThread counted;
    read_until_stop(act_for_client);
    QAPI_Clean_Tables();
    tell_status(TCP_SHUTTING_DOWN, "Attempts to establish a connection and processing messages have been suspended");
    return nullptr;
}

void* CQcApi::Process_DS_Messages(void* /*unused*/)
{
    const CountedThread counted;
    read_until_stop(act_for_server);
    return nullptr;
}
