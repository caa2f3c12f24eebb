#include "outbound/send_queue.h"

#include "arrm.h"
#include "calclib/calclib.h"
#include "global.h"
#include "outbound/addressing.h"
#include "outbound/send_rows.h"
#include "qcapi/config.h"
#include "qcapi/log.h"
#include "records/envelope_template.h"
#include "records/session.h"
#include "session/session_state.h"
#include "transport/envelope.h"
#include "transport/inbound_door.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <optional>

using namespace qapi;

namespace {

constexpr int send_priority = 60;
constexpr int record_room = MESSAGE_TRANS_RECORD_SIZE - HEAD_FIX_DATA_LEN - ENVELOPE_TAIL_LEN; // groups and message

constinit MON_MESS_DESTR COM_msg_area GUARDED_BY(The_Outbound_Mutex){};
constinit std::optional<unsigned> stamped_second GUARDED_BY(The_Outbound_Mutex); // whose time is in the template
constinit std::atomic<unsigned> session_connection{0};                           // changes under The_Outbound_Mutex

// ---- Stamp -----------------------------------------------------------------------------------------------------

char* template_bytes()
{
    return reinterpret_cast<char*>(&glb_cabeza_dfn);
}

// A server is known in envelopes by the last two letters of its code.
void put_server_code() REQUIRES(The_Outbound_Mutex)
{
    std::memcpy(glb_cabeza_dfn.codigo_dataserver, *glb_ds_dest + 2, sizeof glb_cabeza_dfn.codigo_dataserver);
}

// The calendar is asked once a second: that is most of what a stamp costs.
void put_time() REQUIRES(The_Outbound_Mutex)
{
    static_assert(offsetof(CABEZA_DFN, fecha) == offsetof(CABEZA_DFN, hora) + sizeof CABEZA_DFN::hora);
    const unsigned now = COMMON_GetTime();
    if (stamped_second != now) {
        COMMON_Get_Current_time(template_bytes() + offsetof(CABEZA_DFN, hora)); // the date stands behind the hour
        stamped_second = now;
    }
}

void stamp() REQUIRES(The_Outbound_Mutex)
{
    put_time();
    glb_cabeza_dfn.numero_remitente = 0;
    glb_cabeza_dfn.numero_dataserver = 0;
    put_server_code();
}

void give_number() REQUIRES(The_Outbound_Mutex)
{
    const unsigned number = Glb_last_sent_message_num.fetch_add(1, std::memory_order_relaxed) + 1;
    glb_cabeza_dfn.numero_remitente = number;
    glb_cabeza_dfn.numero_dataserver = number;
}

// ---- Envelope --------------------------------------------------------------------------------------------------

CDestinationsList& destination_of(const SendRow& row, CDestinationsList* addressees, int message_len)
    REQUIRES(The_Outbound_Mutex)
{
    switch (row.destination) {
    case SendTo::addressees:
        return Destinations_Of_Order(addressees, record_room - message_len);
    case SendTo::data_managers:
        return glb_dm_dest_list;
    default:
        return glb_ds_dest_list;
    }
}

// What a ring's record can't hold would be cut there, and the envelope's lengths be wrong. A chat always has bytes that
// are cut, and it is told when they say something: its receiver reads zeros there in any case.
int length_that_fits(const CMessage& message, CDestinationsList& destination) REQUIRES(The_Outbound_Mutex)
{
    const int room = record_room - DCON_Groups_Len(&destination);
    const int excess = message.m_data_len - room;
    if (excess <= 0) {
        return message.m_data_len;
    }
    const char* cut = message.m_data + room;
    if (std::any_of(cut, cut + excess, [](char c) { return c != '\0'; })) {
        COMMON_Put_Syslog_Message(1, "A sent message is longer with %d than the maximum allowed", excess);
    }
    return room;
}

// ---- Queue -----------------------------------------------------------------------------------------------------

void queue(int framed_len, bool is_persistent) REQUIRES(The_Outbound_Mutex)
{
    const unsigned connection = session_connection.load(std::memory_order_relaxed);
    if (connection == 0) {
        return;
    }
    const char* bytes = reinterpret_cast<const char*>(&COM_msg_area);
    char extra[CMSS_EXTRA_LEN];
    Store_News(extra, {.connection = connection, .host = 0});
    Glb_Send_Mss->Collect(0, bytes, framed_len, nullptr, extra);
    if (is_persistent) {
        Store_News(extra, {.connection = glb_cabeza_dfn.numero_remitente, .host = 0});
        Glb_Log_Mss->Collect(TCP_STATUS_LOG_PACKET, bytes, framed_len, nullptr, extra);
    }
}

void frame_and_queue(CMessage& message, const SendRow& row, CDestinationsList* addressees) REQUIRES(The_Outbound_Mutex)
{
    CDestinationsList& destination = destination_of(row, addressees, message.m_data_len);
    const int len = length_that_fits(message, destination);
    const int framed_len = DCON_Set_Header(&COM_msg_area, message.m_data, len, &destination, send_priority);
    if (framed_len == 0) {
        return;
    }
    LOG_Put_Msg(row.log_text, reinterpret_cast<const char*>(&COM_msg_area), framed_len, nullptr, 0, nullptr);
    queue(framed_len, row.cabeza == Cabeza::numbered);
}

// Without a session all but the last step is done: the log tells what the host sent, and a trade's number that stands
// there is not given to another trade, as if this one had been lost on its way.
void put_in_queue(CMessage& message, CDestinationsList* addressees) REQUIRES(The_Outbound_Mutex)
{
    const int number = message[MSG_NUMBER_FIELD];
    const SendRow* row = Send_Row_Of(number);
    if (number != MSS_TABLA_GLOBAL) {
        stamp();
    }
    if (row == nullptr) {
        return;
    }
    if (row->cabeza == Cabeza::numbered) {
        give_number();
    }
    if (row->cabeza != Cabeza::own) {
        message[CABEZA] = template_bytes();
    }
    frame_and_queue(message, *row, addressees);
}

} // namespace

void COMMON_Put_Message_In_Send_Queue(CMessage* msg_to_send, int /*flag_recipients*/, CDestinationsList* msg_dsts,
                                      int /*msg_priority*/, const char* /*log_msg_text*/)
{
    const OutboundLock lock;
    put_in_queue(*msg_to_send, msg_dsts);
}

void qapi::Send_Composed(CMessage& message)
{
    const OutboundLock lock;
    put_in_queue(message, &Host_Addresses());
    Host_Addresses().CleanList();
}

void COMMON_Init()
{
    calc_set_precision(COMMON_CALC_INT, COMMON_CALC_DEC);
    const OutboundLock lock;
    glb_cabeza_dfn = {};
    stamped_second.reset();
    std::memcpy(glb_cabeza_dfn.codigo_primaryuser, Glb_Local_Machine, sizeof glb_cabeza_dfn.codigo_primaryuser);
    std::memcpy(glb_cabeza_dfn.usuario, Glb_User_Code, sizeof glb_cabeza_dfn.usuario);
    std::memcpy(glb_cabeza_dfn.sucursal, Gbl_Branch_Code, sizeof glb_cabeza_dfn.sucursal);
    put_server_code();
    Glb_last_sent_message_num = 0;
    session_connection = 0; // a reader that was stopped didn't see its connection close
}

// Entries of the driver's list that have no code of their own share the last one's.
void qapi::Choose_Server(unsigned host)
{
    const OutboundLock lock;
    const int last = std::clamp(glb_dss_counter.load(), 1, DCON_MAX_DS_SERVERS) - 1;
    glb_ds_dest = &glb_dss[std::min(host, static_cast<unsigned>(last))];
    glb_ds_dest_list.Set_in_PU_List(*glb_ds_dest);
    put_server_code();
}

void qapi::Open_Session(unsigned connection, CMessage* login)
{
    const OutboundLock lock;
    session_connection = connection;
    if (login != nullptr) {
        put_in_queue(*login, nullptr);
    }
}

void qapi::Close_Session()
{
    const OutboundLock lock;
    session_connection = 0;
}

unsigned qapi::Session_Connection()
{
    return session_connection;
}

void qapi::Add_Data_Managers(const char* codes, int count)
{
    const OutboundLock lock;
    glb_dm_dest_list.Add_Group_In_List(codes, count);
}

void qapi::Send_Offline()
{
    CMsgEqOffLine offline;
    offline[CODIGO_EQUIPO_RETIRO] = Glb_Local_Machine;
    offline[NOMBRE_USUARIO_RETIRO].Set_Text(Copy_Credentials().user_name);
    const OutboundLock lock;
    glb_work_dest_list_to_DS.Set_CDestination_List(glb_dm_dest_list);
    put_in_queue(offline, &glb_work_dest_list_to_DS);
}
