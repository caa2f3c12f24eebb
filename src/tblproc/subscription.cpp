#include "tblproc/subscription.h"

#include "arrm.h"
#include "global.h"
#include "message_numbers.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "qcapi/support.h"
#include "records/session.h"
#include "tblproc/tblequiv.h"
#include "transport/inbound_door.h"

#include <array>

namespace {

constexpr int level_primary = 1;

std::array<int, MAX_CODE_ID> L_Ref_Table_End_Rec{}; // by type: ends that are still awaited
int L_Ref_Table_Num = 0;                            // all of them

void queue(CMessage& message, CDestinationsList* list)
{
    COMMON_Put_Message_In_Send_Queue(&message, 4, list, 0, nullptr);
}

// Ahead of all requests of a subscription.
void announce_requests()
{
    CMsgTablesReq request;
    request[MSG_NUMBER_FIELD] = MSS_PEDIR_TABLAS;
    queue(request, nullptr);
}

// Asks for whole tables: the server sends every record of them, but doesn't tell of those that it deleted while this
// client was away, so a replica that already has records may keep some of these.
class TableRequest
{
public:
    TableRequest()
    {
        m_header[MSG_NUMBER_FIELD] = MSS_TABLA_GLOBAL;
        m_header[I_OP].Set_Text("S");
    }

    void Send_For(int code)
    {
        m_header[DATA_CODE] = static_cast<unsigned short>(code);
        queue(m_header, &glb_nul_dest_list_to_DS);
    }

private:
    CGTHeader m_header;
};

void post_primary_tables_received()
{
    char extra[CMSS_EXTRA_LEN];
    Store_News(extra, {.connection = Session_Connection()});
    Glb_Recv_Mss->Collect(PRIMARY_TABLES_RECEIVED, nullptr, 0, nullptr, extra);
}

} // namespace

void TBLPROC_Send_Global_Tables_Subscription(int table_level)
{
    announce_requests();
    if (table_level == level_primary) {
        TBLPROC_Reset_Primary_Tables_Check();
    }
    TableRequest request;
    for (int code = 1; code < MAX_TABLE_CODES; ++code) {
        const int type = gbl_code_table_type[code];
        if (type == ZERO_CODE_ID || TBLEQUIV_Row(type).level != table_level) {
            continue;
        }
        if (table_level == level_primary) {
            TBLPROC_Register_Ref_Table(type);
        }
        request.Send_For(code);
    }
}

void TBLPROC_Send_Global_Tables_Subscription()
{
    constexpr int first = DATAMANAGER_LIST_CODE;
    constexpr int last_but_one = TABLENUM_INDICATIVESMARK;
    constexpr int last = TABLENUM_CONNDMSERVER;
    announce_requests();
    TableRequest request;
    request.Send_For(first);
    for (int code = 1; code < MAX_TABLE_CODES; ++code) {
        if (gbl_code_table_type[code] != ZERO_CODE_ID && code != first && code != last_but_one && code != last) {
            request.Send_For(code);
        }
    }
    request.Send_For(last_but_one);
    request.Send_For(last);
}

void TBLPROC_Reset_Primary_Tables_Check()
{
    L_Ref_Table_End_Rec.fill(0);
    L_Ref_Table_Num = 0;
}

void TBLPROC_Register_Ref_Table(int table_type)
{
    if (table_type >= 0 && table_type < MAX_CODE_ID) {
        ++L_Ref_Table_End_Rec[static_cast<std::size_t>(table_type)];
        ++L_Ref_Table_Num;
    }
}

void TBLPROC_Check_Referenced_Table(int table_type)
{
    const TABLE_ID_EQUIVALENCE& row = TBLEQUIV_Row(table_type);
    if (row.level != level_primary) {
        return;
    }
    if (L_Ref_Table_Num < 1) {
        COMMON_Put_Syslog_Message(1,
                                  "\nError. Global Reference Table End of Transmition Received, but waiting reference "
                                  "variable is zero (%d)!!!.",
                                  table_type);
        return;
    }
    int& awaited = L_Ref_Table_End_Rec[static_cast<std::size_t>(row.type_id)];
    if (awaited >= 1) {
        --awaited;
        --L_Ref_Table_Num;
    } else {
        COMMON_Put_Syslog_Message(
            1, "\nError. Global Reference Table End of Transmition Received without been registered (%d)!!!.",
            table_type);
    }
    if (L_Ref_Table_Num == 0) {
        post_primary_tables_received();
    }
}

void TBLPROC_Process_Hash_Answer(int /*table_type*/, CTableBase* /*table*/, int /*is_the_last_answer*/) {}
