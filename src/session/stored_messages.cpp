// From the last primary table to the steady state: the log is asked for, played in two rounds, and the secondary tables
// follow it.
#include "session/exchange.h"

#include "little_endian.h"
#include "message_numbers.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/qcapi.h"
#include "qcapi/session.h"
#include "reader/processed_log.h"
#include "records/session.h"
#include "records/sizes.h"
#include "session/empty_message.h"
#include "session/session_state.h"
#include "tblproc/subscription.h"
#include "transport/envelope.h"
#include "transport/inbound_door.h"

#include <array>
#include <cstring>

namespace {

constexpr int level_secondary = 2; // of tables

} // namespace

void COMMON_Send_Next_Log_Req()
{
    Send_Empty<CMsgNextLogReq>(MSS_PEDIDO_SIGUIENTE_LOG);
}

void COMMON_Send_Final_Log_Request()
{
    Send_Empty<CMsgTablesReq>(MSS_FIN_PEDIR_TABLAS);
}

void COMMON_Send_Table_Reqs()
{
    Send_Empty<CMsgTablesReq>(MSS_PEDIR_TABLAS);
}

void qapi::Primary_Tables_Arrived(unsigned connection)
{
    if (connection != 0 && connection == Session_Connection()) {
        TBLPROC_Primary_Tables_Received();
    }
}

void TBLPROC_Primary_Tables_Received()
{
    COMMON_Log_Req(0);
    COMMON_Send_Log_Req();
    SendVersionInformation();
    Glb_Log_Flag = 1;
    if (CQcApi* api = Current_Api()) {
        api->CallOnConnection(0);
    }
    Glb_Prev_Date_Log_Req[0] = '\0'; // it counts for one request
}

void qapi::Log_Began()
{
    if (Glb_Prev_Date_Log_Req_Successfullty != 0) {
        Glb_Status_Init_Ask_Log = 1;
        Glb_Prev_Date_Log_Req_Successfullty = 0;
    }
    COMMON_Log_Req(MSS_INICIO_LOG);
}

void qapi::Log_Ended()
{
    const int rounds = COMMON_Log_Req(MSS_FIN_LOG);
    if (rounds == 1) {
        COMMON_Send_Next_Log_Req();
    } else if (rounds == 2) {
        TBLPROC_Send_Global_Tables_Subscription(level_secondary);
        COMMON_Send_Final_Log_Request();
    }
}

bool qapi::Readdress(char* envelope, int len)
{
    constexpr int most_destinations = 127; // bytes
    constexpr int header_len = 10;         // of CABEZA, as far as it is changed
    if (len < HEAD_FIX_DATA_LEN) {
        return false;
    }
    const int destinations = load_le<std::int16_t>(envelope + HEAD_FIX_LEN);
    const int header = HEAD_FIX_DATA_LEN + destinations + MSG_NUMBER_FIELD_SIZE;
    if (destinations < 0 || destinations > most_destinations || len < header + header_len) {
        return false;
    }
    envelope[header + 5] = 'S';
    std::memcpy(envelope + header + 8, Glb_Current_DS + 2, 2);
    return true;
}

void COMMON_Send_Pend_Msgs()
{
    constexpr int most_gaps = 12; // in a row
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> record{};
    std::array<char, CMSS_EXTRA_LEN> extra{};
    store_le(extra.data(), Session_Connection());
    int gaps = 0;
    for (unsigned number = Glb_req_message_num; gaps <= most_gaps; ++number) {
        int len = 0;
        const int result = LOG_Load_Record(record.data(), &len, number);
        if (result < 0) {
            return;
        }
        if (result == 0 || len == 0) { // a store that gave nothing would be asked for ever
            ++gaps;
            continue;
        }
        gaps = 0;
        if (Readdress(record.data(), len)) {
            Glb_Send_Mss->Collect(0, record.data(), len, nullptr, extra.data());
        }
    }
}
