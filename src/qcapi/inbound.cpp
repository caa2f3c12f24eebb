// The reader thread: takes everything that comes from the connection, one record at a time, and acts on it.
#include "qcapi.h"

#include "arrm.h"
#include "config.h"
#include "global.h"
#include "log.h"
#include "message_names.h"
#include "outbound/send_queue.h"
#include "reader/messages.h"
#include "reader/processed_log.h"
#include "reader/views.h"
#include "session.h"
#include "session/exchange.h"
#include "session/server_exchange.h"
#include "support.h"
#include "tblproc/tblproc.h"
#include "thrct.h"
#include "transport/dcon.h"
#include "transport/inbound_door.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

struct Inbound_Record
{
    std::array<char, MESSAGE_TRANS_RECORD_SIZE + 1> data{}; // with room for a terminator
    int len = 0;
    const char* source = nullptr; // identity of the connection; for a close, the reason's text
    std::array<char, CMSS_EXTRA_LEN> extra{};
    unsigned connection = 0; // the one that opened last: messages come from it
};

std::atomic<std::uint64_t> L_records_acted_on{0};

// What ends the reader's loop.
enum class Next
{
    go_on,
    stopped,
    date_was_refused,
};

// The next record's status; waits for it.
int take_next(Inbound_Record& record)
{
    for (;;) {
        Trace_Step(1);
        if (Glb_Recv_Mss->Wait_For_Any_Pkt() == 0) {
            continue;
        }
        Trace_Step(2);
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

void connection_opened(Inbound_Record& record)
{
    const Connection_News news = Load_News(record.extra.data());
    record.connection = news.connection;
    qapi::Session_Opened(news.connection, news.host, record.data[0]);
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
    Trace_Step(6);
    Glb_Send_Mss->Initialize_Keeping(TCP_SHUTTING_DOWN);
    clean();
    Trace_Step(7);
    tell_disconnection(record.source);
}

// A server that was asked for the messages of an earlier date begins a log for them, or has none and closes.
bool date_was_refused()
{
    return Glb_Prev_Date_Log_Req_Successfullty != 0 && Glb_Status_Init_Ask_Log == 0;
}

void tell_data(int number, const char* source)
{
    if (CQcApi* api = Current_Api()) {
        std::string name = COMMON_Get_Message_Name(number);
        api->CallDataReceived(source, name.data(), Glb_cur_msg_buffer());
    }
}

void message_received(Inbound_Record& record, void (*act)(int number, const ReceivedMessage& message))
{
    ++glb_num_proc_msgs;
    LOG_Put_Msg("RM-Message Received", record.data.data(), record.len, record.source, 0, record.extra.data());
    The_Receive_Buffer->Take({record.data.data(), static_cast<std::size_t>(record.len)});
    Glb_cur_order_msg->Init();
    const int number = Received_Number();
    tell_data(number, record.source);
    act(number, {record.source, record.extra.data(), record.connection});
}

void unexpected_status(int status, Inbound_Record& record)
{
    record.data[static_cast<unsigned>(record.len)] = '\0'; // the record is shown, not what an older one left behind it
    LOG_Put_Err_Msg(QAPI_ERR_STATUS_NOT_EXPECTED_TXT, status, record.data.data());
}

Next act_for_client(int status, Inbound_Record& record)
{
    switch (status) {
    case TCP_STATUS_OPEN_CONNECTION:
        connection_opened(record);
        break;
    case TCP_ERROR_CANT_CONNECT:
        tell_status(TCP_ERROR_CANT_CONNECT, "Can't connect");
        break;
    case TCP_STATUS_CLOSED_CONNECTION:
        Close_Session();
        Glb_main_connected = 0;
        LOG_Text("-RC%c-Status changed to closed connection", record.data[0]);
        LOG_Tell_Pending();
        connection_closed(record, clean_tables);
        return date_was_refused() ? Next::date_was_refused : Next::go_on;
    case PRIMARY_TABLES_RECEIVED:
        qapi::Primary_Tables_Arrived(Load_News(record.extra.data()).connection);
        break;
    case TCP_STATUS_PACKET_RECEIVED:
        message_received(record, Act_On_Message);
        break;
    default:
        unexpected_status(status, record);
        break;
    }
    return Next::go_on;
}

// The server's end: it logs in nowhere and keeps no tables, and a client that comes finds an empty log.
Next act_for_server(int status, Inbound_Record& record)
{
    switch (status) {
    case TCP_STATUS_OPEN_CONNECTION:
        Glb_main_connected = 1;
        Open_Session(Load_News(record.extra.data()).connection, nullptr);
        tell_status(TCP_STATUS_OPEN_CONNECTION, "Connected");
        COMMON_Send_Log_Mss(0);
        break;
    case TCP_STATUS_CLOSED_CONNECTION:
        Close_Session();
        Glb_main_connected = 0;
        connection_closed(record, no_tables);
        break;
    case TCP_STATUS_PACKET_RECEIVED:
        message_received(record, Act_As_Server);
        break;
    default:
        unexpected_status(status, record);
        break;
    }
    return Next::go_on;
}

Next read_until_stop(Next (*act)(int status, Inbound_Record& record))
{
    Inbound_Record record;
    for (;;) {
        const int status = take_next(record);
        const Next next = status == TCP_SHUTTING_DOWN ? Next::stopped : act(status, record);
        if (next != Next::go_on) {
            return next;
        }
        if (status != PRIMARY_TABLES_RECEIVED) {
            L_records_acted_on.fetch_add(1, std::memory_order_release);
        }
    }
}

// The program is to end and be started again, so nothing is retried. The reader ends without the word that a stop
// gives.
void leave_for_refused_date()
{
    std::array<char, QAPI_ERROR_MESSAGE_LEN> text{};
    std::snprintf(text.data(), text.size(), QAPI_ERR_DATE_NOT_EXIST_DS_TXT, Glb_Prev_Date_Log_Req_Copy);
    LOG_Text("%s", text.data());
    if (CQcApi* api = Current_Api()) {
        api->CallReportError(QAPI_ERR_DATE_NOT_EXIST_DS, text.data(), QAPI_NEXT_ACTION_EXIT, 0);
    }
    if (CQcApi* api = Current_Api()) { // the callback may have deleted it, which asked for the stop
        api->LogoutForce();
    }
}

} // namespace

std::uint64_t qapi::Records_Acted_On()
{
    return L_records_acted_on.load(std::memory_order_acquire);
}

void CQcApi::QAPI_Clean_Tables()
{
    clean_tables();
}

void* CQcApi::Process_Messages(void* /*unused*/)
{
    const CountedThread counted; // to the end of either way: a Logout waits for the count, and crashes the process if
                                 // it doesn't fall
    if (read_until_stop(act_for_client) == Next::date_was_refused) {
        leave_for_refused_date();
        return nullptr;
    }
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
