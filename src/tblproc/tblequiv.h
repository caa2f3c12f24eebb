// What ties a table to the servers: one row a table type, its number being the row's index.
//
// The rows are set before the threads start. The reader fills in the code of a type whose code isn't fixed when the
// table is subscribed; the next session starts without it.
#pragma once

#include "message/table_base.h"
#include "qcapi/table_types.h"

#include <array>

// Which kind of server a table comes from. All that have one come from data servers.
inline constexpr int TBLEQUIV_NO_SOURCE = 0;
inline constexpr int TBLEQUIV_DS_SOURCE = 1;
inline constexpr int TBLEQUIV_VLX_SOURCE = 2;
inline constexpr int TBLEQUIV_DS_VLX_SOURCE = 3;
inline constexpr int TBLEQUIV_GDI_SOURCE = 4;
inline constexpr int TBLEQUIV_DS_GDI_SOURCE = 5;

// In place of a code: it is filled in, or never.
inline constexpr int TBLNUM_DYNAMIC_CODE = 0;
inline constexpr int TBLNUM_NOT_USED = 0;

// The code that the servers use for voice groups; sessions learn it from the configuration.
inline constexpr int VOICE_TERM_GROUP_TABLE_CODE = 31;

struct TABLE_ID_EQUIVALENCE
{
    int type_id;
    int code; // on the wire; 0 for none
    int table_source;
    int publish_flag;   // TABLE_ flags
    int start_protocol; // how the table is asked for, 0 to 2
    int level;          // 1 primary, 2 secondary, 0 no table

    // The table that holds the records of this type, made if need be; null for the types without one.
    [[nodiscard]] CTableBase* Ptr_CTableBase() const;
};

extern std::array<TABLE_ID_EQUIVALENCE, MAX_CODE_ID> G_table_id_equivalence;

// The row of a type: row 0 for a number that is no type.
TABLE_ID_EQUIVALENCE& TBLEQUIV_Row(int table_type_id);

// Takes away the codes that subscriptions filled in.
void TBLEQUIV_Forget_Codes();

// The servers' own numbers of the tables that this library may meet.
enum TABLENUM : int
{
    TABLENUM_OVERNIGHT = 2,
    TABLENUM_SPOT = 4,
    TABLENUM_DATAMANAGERLIST = 8,
    TABLENUM_HISTORYTRANSDAYMEM = 11,
    TABLENUM_CASHRATE = 13,
    TABLENUM_CONNUSER = 16,
    TABLENUM_MARKETSPOTPRICES = 18,
    TABLENUM_INSTITUTIONS = 21,
    TABLENUM_BRANCHES = 22,
    TABLENUM_USER = 24,
    TABLENUM_MARKETS = 27,
    TABLENUM_CURRENCY = 28,
    TABLENUM_HOLIDAY = 29,
    TABLENUM_SUPERGROUP = 30,
    TABLENUM_VOICEGROUP = 31,
    TABLENUM_VOICE_TERM = 32,
    TABLENUM_INSTIT_NUM = 50,
    TABLENUM_BRANCH_NUM = 51,
    TABLENUM_PUINSVLX = 52,
    TABLENUM_VLXCONNECTED = 53,
    TABLENUM_INDICATIVESMARK = 55,
    TABLENUM_INCREMENTS = 57,
    TABLENUM_LIMINSTIT = 64,
    TABLENUM_HISTORY_IC = 73,
    TABLENUM_CUPOSXPL = 79,
    TABLENUM_BRIDGE = 80,
    TABLENUM_CONNDMSERVER = 81,
    TABLENUM_CUPOSL = 85,
    TABLENUM_COMPART_CUPO = 87,
    TABLENUM_FACTRIESGO = 88,
    TABLENUM_CONFIG_CUPO = 89,
    TABLENUM_COBRANZAS = 90,
    TABLENUM_PENDCOBRANZAS = 93,
    TABLENUM_RFQREQUEST = 100,
    TABLENUM_BRANCHESRFQS = 114,
    TABLENUM_CCYPAIR = 903,
    TABLENUM_SUMMARYRF = 10006,
    TABLENUM_OFERTAS = 10011,
    TABLENUM_DEMANDAS = 10012,
    TABLENUM_COUNTERBRIDGE = 32014,
    TABLENUM_CUPOSXDIA = 32040,
};
