#include "tblproc/tblproc.h"

#include "qcapi/support.h"
#include "tblproc/replica_lock.h"
#include "tblproc/table_messages.h"
#include "tblproc/tblequiv.h"

#include <algorithm>
#include <iterator>

namespace {

// The types whose tables have their flags from their rows. Not those of types 15, 16 and 17: these tell of every
// collision of keys, though their rows say otherwise, and type 2 is a mailbox.
constexpr int types_in_force[] = {
    TABLE_CODE_ID,    BRANCHES_CODE_ID,   USER_CODE_ID,         SUPERGROUP_CODE_ID, PRIMARY_USERS_CODE_ID,
    CITIES_CODE_ID,   MARKETS_CODE_ID,    MONEYS_CODE_ID,       COUNTRIES_CODE_ID,  INSTPERM_CODE_ID,
    EMISORES_CODE_ID, COMITENTES_CODE_ID, FIDUCIARIOS_CODE_ID,  INSTIT_CODE_ID,     VOICE_GROUP_CODE_ID,
    EMPLOYEE_CODE_ID, ESQUEMA_CODE_ID,    SUBCOMITENTE_CODE_ID,
};

constexpr TableId tables_of_the_connection[] = {
    TableId::Glb_Tarnel_Message_Table,
    TableId::Glb_Tarnel_Wh_Message_Table,
    TableId::Glb_Order_Message_Table,
    TableId::Glb_Chat_Message_Table,
    TableId::Glb_Trans_Moneda_Message_Table,
    TableId::Glb_PrcMntTrans_Message_Table,
    TableId::Glb_PrcMntHour_Message_Table,
    TableId::Glb_PrcMnt_Trans_Renta_Fija_Table,
    TableId::Glb_PayInstruct_Message_Table,
    TableId::Glb_EndTransaction_Message_Table,
    TableId::Glb_LogOrderTable_Message_Table,
    TableId::Glb_Order_Table,
    TableId::Glb_Published_Order_Table,
    TableId::Glb_VoiceSummary_Table,
    TableId::Glb_VoiceGroup_Table,
    TableId::Glb_FixedIncomeMarkets_Table,
    TableId::Glb_HistoryTransDayTerm_Table,
    TableId::Glb_Rates_Table,
    TableId::Glb_IntFixedIncomeMarkets_Table,
    TableId::Glb_IntHistoryTransDayTerm_Table,
    TableId::Glb_IntRates_Table,
    TableId::Glb_PrcMntHourTerm_Message_Table,
    TableId::Glb_PrcMntHourAmPm_Message_Table,
    TableId::Glb_Average_Puchase_Price_Message_Table,
    TableId::Glb_Markets_Table,
    TableId::Glb_User_Table,
};

void clear(const GlobalTable& table, std::mutex& mailbox_mutex)
{
    if (table.is_mailbox) {
        const ReportHold reports_wait;
        const std::lock_guard lock(mailbox_mutex);
        table.delete_all_records();
    } else {
        const ReplicaLock lock;
        table.delete_all_records();
    }
}

} // namespace

void TBLPROC_Init_Tables()
{
    for (const GlobalTable& table : All_Global_Tables()) {
        table.get();
    }
    TBLEQUIV_Forget_Codes();
    std::fill(std::begin(Glb_subscribed_global_table_type), std::end(Glb_subscribed_global_table_type), 0U);
    for (const int type : types_in_force) {
        qapi::Set_Table_Type(*Table_Of_Type(type), type);
    }
}

void TBLPROC_Clean_Tables() {}
void TBLPROC_Send_To_Dgi_Global_Tables() {}
void TBLPROC_Send_To_DGI_Persis_Tables() {}
void TBLPROC_Send_To_DS_Persis_Tables() {}

int qapi::Set_Table_Type(const GlobalTable& table, int table_type_id)
{
    const TABLE_ID_EQUIVALENCE& row = TBLEQUIV_Row(table_type_id);
    if (row.code != TBLNUM_NOT_USED) {
        table.set_code(row.code);
    }
    table.set_flags(row.publish_flag);
    return 0;
}

void qapi::Flag_Mailboxes()
{
    for (const GlobalTable& table : All_Global_Tables()) {
        if (table.is_mailbox) {
            table.set_flags(table.flags_at_start);
        }
    }
}

std::span<const TableId> qapi::Tables_Of_The_Connection()
{
    return tables_of_the_connection;
}

void qapi::Clear_Tables_Of_The_Connection(std::mutex& mailbox_mutex)
{
    for (const TableId id : tables_of_the_connection) {
        clear(Global_Table(id), mailbox_mutex);
    }
}
