// The tables of the process. Each is made when it is first used, and lives as long as the process.
//
// Replicas are kept like the tables of the servers and survive most disconnections: the reader changes them, field
// paths lead into them, and ReplicaLock guards both. Mailboxes hold records for the host until it is done with them:
// the reader puts them in, the host's threads take them out, and CQcApi's mutex_lock guards that.
#pragma once

#include "keys/idx_keys.h"
#include "keys/plain_keys.h"
#include "process_lifetime.h"
#include "qcapi/table_types.h"
#include "records/orders.h"
#include "records/prices.h"
#include "records/reference.h"
#include "table/table.h"
#include "table/table_list.h"

#include <cstddef>
#include <memory>
#include <span>

// The replicas that codes lead into: table, record, key 1 (of which fields, records/key_fields.def tells), type. Those
// in TWO_KEYS find a record by its identity too.
// clang-format off
#define QAPI_REPLICAS(TWO_KEYS, ONE_KEY) \
    TWO_KEYS(Glb_Branches_Table,              CGTBranches,           CBranchesKey,           BRANCHES_CODE_ID) \
    TWO_KEYS(Glb_Instit_Table,                CGTInstit,             CInstitKey,             INSTIT_CODE_ID) \
    TWO_KEYS(Glb_User_Table,                  CGTUser,               CUserKey,               USER_CODE_ID) \
    TWO_KEYS(Glb_City_Table,                  CGTCity,               CCityKey,               CITIES_CODE_ID) \
    TWO_KEYS(Glb_Country_Table,               CGTCountry,            CCountryKey,            COUNTRIES_CODE_ID) \
    TWO_KEYS(Glb_Primaryuser_Table,           CGTPu,                 CPuKey,                 PRIMARY_USERS_CODE_ID) \
    TWO_KEYS(Glb_Money_Table,                 CGTMoney,              CMoneyKey,              MONEYS_CODE_ID) \
    TWO_KEYS(Glb_InsPerm_Table,               CGTInsPerm,            CPInsPermKey,           INSTPERM_CODE_ID) \
    TWO_KEYS(Glb_Markets_Table,               CGTMarkets,            CMarketsKey,            MARKETS_CODE_ID) \
    TWO_KEYS(Glb_IntSuperGroup_Table,         CGTSuperGroup,         CSuperGroupKey,         SUPERGROUP_CODE_ID) \
    TWO_KEYS(Glb_IntVoiceGroup_Table,         CGTVoiceGroup,         CVoiceGroupKey,         VOICE_GROUP_CODE_ID) \
    TWO_KEYS(Glb_Emisores_Table,              CGTEmisores,           CEmisoresKey,           EMISORES_CODE_ID) \
    TWO_KEYS(Glb_Comitentes_Table,            CGTComitentes,         CComitentesKey,         COMITENTES_CODE_ID) \
    TWO_KEYS(Glb_Fiduciarios_Table,           CGTFiduciarios,        CFiduciariosKey,        FIDUCIARIOS_CODE_ID) \
    TWO_KEYS(Glb_Employee_Table,              CGTEmployee,           CEmployeeKey,           EMPLOYEE_CODE_ID) \
    TWO_KEYS(Glb_Esquema_Table,               CGTEsquema,            CEsquemaKey,            ESQUEMA_CODE_ID) \
    TWO_KEYS(Glb_SubComitente_Table,          CGTSubComitente,       CSubComitenteSubKey,    SUBCOMITENTE_CODE_ID) \
    ONE_KEY( Glb_IntFixedIncomeMarkets_Table, CGTFixedIncomeMarkets, CFixedIncomeMarketsKey, FIXEDINCOMEMARKETS_TABLE_ID)

// Tables that find their records by idx alone: table, record, flags (table/table_flags.h) at the start of a
// session, type if records of a type stay there. Replicas whose changes the host gets from a mailbox of the same records, then the mailboxes.
#define QAPI_IDX_TABLES(REPLICA, MAILBOX) \
    REPLICA(Glb_IntHistoryTransDayTerm_Table,         CGTHistoryTransDayTerm,   1, HISTORYTRANSDAYTERM_CODE_ID) \
    REPLICA(Glb_IntRates_Table,                       CGTRates,                 1, RATES_TABLE_ID) \
    MAILBOX(Glb_Tarnel_Message_Table,                 CTarnelMsg,               9, ZERO_CODE_ID) \
    MAILBOX(Glb_Tarnel_Wh_Message_Table,              CTarnelWhMsg,             9, ZERO_CODE_ID) \
    MAILBOX(Glb_Order_Message_Table,                  CMsgOrder,                9, ZERO_CODE_ID) \
    MAILBOX(Glb_LogOrderTable_Message_Table,          CMsgOrder,                9, ZERO_CODE_ID) \
    MAILBOX(Glb_Chat_Message_Table,                   CMsgChat,                 9, ZERO_CODE_ID) \
    MAILBOX(Glb_Trans_Moneda_Message_Table,           CMsgTransMon,             9, ZERO_CODE_ID) \
    MAILBOX(Glb_PrcMntTrans_Message_Table,            CMsgPrcMntTrans,          9, ZERO_CODE_ID) \
    MAILBOX(Glb_PrcMntHourTerm_Message_Table,         CMsgPrcMntHourTerm,       9, ZERO_CODE_ID) \
    MAILBOX(Glb_PrcMntHourAmPm_Message_Table,         CMsgPrcMntHourAmPm,       9, ZERO_CODE_ID) \
    MAILBOX(Glb_Average_Puchase_Price_Message_Table,  CMsgAvgPurchasePrice,     9, ZERO_CODE_ID) \
    MAILBOX(Glb_PrcMntHour_Message_Table,             CMsgPrcMntHour,           9, ZERO_CODE_ID) \
    MAILBOX(Glb_PrcMnt_Trans_Renta_Fija_Table,        CMsgPrcMntTransRentaFija, 9, ZERO_CODE_ID) \
    MAILBOX(Glb_PayInstruct_Message_Table,            CMsgPayInstruc,           9, ZERO_CODE_ID) \
    MAILBOX(Glb_EndTransaction_Message_Table,         CMsgEndTransaction,       9, ZERO_CODE_ID) \
    MAILBOX(Glb_Order_Table,                          CGTOrder,                 9, TABLE_CODE_ID) \
    MAILBOX(Glb_Published_Order_Table,                CGTOrder,                 4, ZERO_CODE_ID) \
    MAILBOX(Glb_VoiceSummary_Table,                   CGTVoiceSummary,          9, VOICE_SUMMARY_CODE_ID) \
    MAILBOX(Glb_VoiceGroup_Table,                     CGTVoiceGroup,            9, ZERO_CODE_ID) \
    MAILBOX(Glb_FixedIncomeMarkets_Table,             CGTFixedIncomeMarkets,    9, ZERO_CODE_ID) \
    MAILBOX(Glb_HistoryTransDayTerm_Table,            CGTHistoryTransDayTerm,   9, ZERO_CODE_ID) \
    MAILBOX(Glb_Rates_Table,                          CGTRates,                 9, ZERO_CODE_ID)
// clang-format on

namespace qapi {

template <class REC, class KEY> using TwoKeyTable = CTable<REC, CMap2KeyOrder<KEY, CEnvCrc32Key, REC>, CTableList>;
template <class REC, class KEY> using OneKeyTable = CTable<REC, CMapKeyOrder<KEY, REC>, CTableList>;

} // namespace qapi

// NOLINTBEGIN(bugprone-macro-parentheses): names
#define QAPI_TWO_KEYS(table, record, key, ...) extern ProcessLifetime<qapi::TwoKeyTable<record, key>> table;
#define QAPI_ONE_KEY(table, record, key, ...) extern ProcessLifetime<qapi::OneKeyTable<record, key>> table;
#define QAPI_IDX(table, record, ...) extern ProcessLifetime<qapi::OneKeyTable<record, CIdxKey>> table;
QAPI_REPLICAS(QAPI_TWO_KEYS, QAPI_ONE_KEY)
QAPI_IDX_TABLES(QAPI_IDX, QAPI_IDX)
#undef QAPI_TWO_KEYS
#undef QAPI_ONE_KEY
#undef QAPI_IDX

namespace qapi {

enum class TableId
{
#define QAPI_ID(table, ...) table,
    QAPI_REPLICAS(QAPI_ID, QAPI_ID) QAPI_IDX_TABLES(QAPI_ID, QAPI_ID)
#undef QAPI_ID
};
// NOLINTEND(bugprone-macro-parentheses)

// What is done to every table alike, whatever its records.
struct GlobalTable
{
    const char* name;
    TableId id;
    int type;                    // of its records, ZERO_CODE_ID for none
    int flags_at_start;          // what a mailbox is given by Initialize; 1, as it is made, or 0 for a replica
    bool is_mailbox;             // else a replica
    CTableBase& (*get)();        // the table, made if need be
    int (*set_flags)(int flags); // returns those that were in force
    void (*set_code)(int code);
    void (*delete_all_records)();
    void (*keep_in)(std::unique_ptr<TableFile> file); // from here on; null: in memory alone
    void (*load)();                                   // what its file has, if it has one
};

// In the order of the lists above.
std::span<const GlobalTable> All_Global_Tables();

inline const GlobalTable& Global_Table(TableId id)
{
    return All_Global_Tables()[static_cast<std::size_t>(id)];
}

// The table that holds the records of a type, null for a type without one.
const GlobalTable* Table_Of_Type(int table_type_id);

} // namespace qapi

using qapi::All_Global_Tables;
using qapi::Global_Table;
using qapi::GlobalTable;
using qapi::Table_Of_Type;
using qapi::TableId;
