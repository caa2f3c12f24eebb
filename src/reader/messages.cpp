#include "reader/messages.h"

#include "message_numbers.h"
#include "qcapi/config.h"
#include "qcapi/log.h"
#include "qcapi/qcapi.h"
#include "qcapi/session.h"
#include "reader/conditions.h"
#include "reader/mailboxes.h"
#include "reader/processed_log.h"
#include "reader/views.h"
#include "session/exchange.h"
#include "session/server_exchange.h"
#include "tblproc/global_tables.h"
#include "tblproc/replica_lock.h"
#include "tblproc/subscription.h"
#include "tblproc/table_messages.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <mutex>
#include <string>

namespace {

// ---- The two tables --------------------------------------------------------------------------------------------

template <auto& view> CMessage& record_of()
{
    return *view;
}

// Puts the view's record into its mailbox. Returns the number that it has there.
template <auto& view, auto& table> unsigned keep()
{
    const ReportHold reports_wait;
    const std::lock_guard lock(*The_Mailbox_Mutex);
    return table->Insert_Local_Record(&*view, nullptr)->m_unic_number;
}

// Fills in the body that the replica's record has. False if there is none.
template <auto& replica> bool show_replica(CMessage& record, unsigned idx)
{
    const ReplicaLock lock;
    CMessage* kept = replica->Find_By_Idx(idx);
    if (kept == nullptr) {
        return false;
    }
    CField& body = record[DATA_INFO];
    CField& from = (*kept)[DATA_INFO];
    std::memcpy(body.Get_Ptr(), from.Get_Ptr(), static_cast<std::size_t>(std::min(body.m_len, from.m_len)));
    return true;
}

struct MessageRow
{
    int number;
    const char* name;
    CMessage& (*record)();
    unsigned (*keep)();
};

struct TableRow
{
    unsigned type;
    const char* name;
    CMessage& (*record)();
    unsigned (*keep)();
    bool (*show_replica)(CMessage& record, unsigned idx); // null if there is no replica
};

#define MESSAGE(number, view, table, name) {number, name, record_of<view>, keep<view, table>},
constexpr MessageRow message_rows[] = {QAPI_RECEIVED_MESSAGES(MESSAGE)};
#undef MESSAGE

#define TABLE(type, view, table, name) {type, name, record_of<view>, keep<view, table>, nullptr},
#define KEPT(type, view, table, name, replica) {type, name, record_of<view>, keep<view, table>, show_replica<replica>},
constexpr TableRow table_rows[] = {QAPI_RECEIVED_TABLES(TABLE, KEPT)};
#undef TABLE
#undef KEPT

// ---- Messages --------------------------------------------------------------------------------------------------

void announce(const char* name, unsigned number)
{
    if (CQcApi* api = Current_Api()) {
        std::string text = name;
        api->CallMessageReceived(text.data(), number);
    }
}

bool is_accepted(int number, CMessage& record, char* extra)
{
    if (COMMON_Is_Processed_Record(&record, extra) != 0) {
        LOG_Text("It was already processed ");
        return false;
    }
    return Fit_Conditions(number, &record) != 0;
}

const char* name_of(const MessageRow& row, CMessage& record)
{
    constexpr int request_for_quotes = 8;
    if (row.name != qapi::name_of_an_order) {
        return row.name;
    }
    return record[CLASE_MENSAJE] == request_for_quotes ? "Orden_Transaccion_RFQ" : "Orden_Transaccion";
}

const MessageRow* row_of(int number)
{
    const auto* row = std::find_if(std::begin(message_rows), std::end(message_rows),
                                   [number](const MessageRow& each) { return each.number == number; });
    return row != std::end(message_rows) ? row : nullptr;
}

void keep_and_announce(const MessageRow& row, CMessage& record)
{
    const char* name = name_of(row, record);
    announce(name, row.keep());
}

void deliver(const MessageRow& row, const ReceivedMessage& message)
{
    CMessage& record = row.record();
    record.Init();
    if (is_accepted(row.number, record, message.extra)) {
        keep_and_announce(row, record);
    }
}

void deliver_unasked(int number)
{
    const MessageRow& row = *row_of(number);
    CMessage& record = row.record();
    record.Init();
    keep_and_announce(row, record);
}

// ---- Changes of tables -----------------------------------------------------------------------------------------

unsigned type_of_code(unsigned code)
{
    return code < MAX_TABLE_CODES ? Glb_subscribed_global_table_type[code] : 0;
}

// A deletion carries the idx and no body.
void complete_deletion(const TableRow& row, CMessage& record, unsigned idx)
{
    if (row.show_replica == nullptr || !row.show_replica(record, idx)) {
        record[DATA_INFO].Clean();
    }
    record.Init();
}

void deliver(const TableRow& row, CMessage& record, char operation)
{
    const unsigned idx = record.Word_Of(REC_IDX);
    if (operation == DATA_DELETE_CHAR) {
        complete_deletion(row, record, idx);
    }
    record.Put_Word(CODIGO_UNICO_REGISTRO, idx); // the mailbox gives the record an idx of its own
    announce(row.name, row.keep());
}

void act_on_table(const TableRow& row, const char* source)
{
    CMessage& record = row.record();
    record.Init();
    const auto operation = static_cast<char>(record[I_OP]);
    if (row.type == VOICE_SUMMARY_CODE_ID && operation == DATA_END_TRANS_CHAR) {
        TBLPROC_Check_Referenced_Table(VOICE_SUMMARY_CODE_ID);
    }
    if (GlobalTables_SendTo_MessageReceived(operation) != 0) {
        deliver(row, record, operation);
    }
    if (row.show_replica != nullptr) {
        TBLPROC_Process_Global_Table_Msg(source);
    }
}

void act_on_global_table(const char* source)
{
    Glb_cur_gt_order_msg->Init();
    const auto code = static_cast<unsigned>((*Glb_cur_gt_order_msg)[DATA_CODE]);
    const auto* row = std::find_if(std::begin(table_rows), std::end(table_rows),
                                   [type = type_of_code(code)](const TableRow& each) { return each.type == type; });
    if (row != std::end(table_rows)) {
        act_on_table(*row, source);
    } else {
        TBLPROC_Process_Global_Table_Msg(source);
    }
}

// ---- Steps of the session --------------------------------------------------------------------------------------

void act_on_step(int number, const ReceivedMessage& message)
{
    switch (number) {
    case MSS_INGRESO_EQUIPO:
        qapi::Login_Replied(message.connection);
        break;
    case MSS_INICIO_LOG:
        qapi::Log_Began();
        break;
    case MSS_FIN_LOG:
        qapi::Log_Ended();
        break;
    case MSS_TABLA_GLOBAL:
        act_on_global_table(message.source);
        break;
    default:
        break;
    }
}

} // namespace

void qapi::Act_On_Message(int number, const ReceivedMessage& message)
{
    if (const MessageRow* row = row_of(number)) {
        deliver(*row, message);
    } else {
        act_on_step(number, message);
    }
}

void qapi::Act_As_Server(int number, const ReceivedMessage& /*message*/)
{
    switch (number) {
    case MSS_ORDEN:
    case MSS_ORDEN_RFQ:
    case MSS_ORDEN_2:
    case MSS_TARNEL:
    case MSS_TARNELWH:
    case MSS_CHAT:
        deliver_unasked(number);
        break;
    case MSS_INGRESO_EQUIPO:
        Trace_Step(9);
        qapi::Login_Came([] { announce("User_Entered", 0); });
        break;
    case MSS_PEDIDO_LOG:
    case MSS_PEDIDO_SIGUIENTE_LOG:
        COMMON_Send_Log_Mss(1);
        break;
    default:
        break;
    }
}

int GlobalTables_SendTo_MessageReceived(int i_op)
{
    return i_op == DATA_INSERT_CHAR || i_op == DATA_UPDATE_CHAR || i_op == DATA_COPY_CHAR || i_op == DATA_DELETE_CHAR
               ? 1
               : 0;
}

int COMMON_Is_Processed_Record(CMessage* message, char* extra_data)
{
    return LOG_Is_Processed_Record((*message)[CABEZA].Get_Ptr(), extra_data);
}
