// The types of tables. This library knows a table by its type; the servers know it by a code, which travels with every
// record of it. A code is fixed, or filled in when the table is subscribed: each market has its own code of the tables
// of its orders and summaries, and those come from the configuration's table_code directives. The transaction feed
// brings the tables that have a code here.
#pragma once

// One row a type: number, enumerator; code and its name, where the transaction feed brings the table, and whether the
// code is fixed; flags of the table (table/table_flags.h); how the table is asked for (0: records alone; 2: by a hash
// of what is there, for tables that are kept in files); level (1: part of what a session starts with, 2: asked for
// behind it).
// clang-format off
#define QAPI_TABLE_TYPES(FED, OTHER) \
    OTHER( 0, ZERO_CODE_ID,                                                              1, 0, 0) \
    OTHER( 1, TABLE_CODE_ID,                                                             9, 0, 2) \
    OTHER( 2, VOICE_SUMMARY_CODE_ID,                                                     1, 0, 1) \
    FED(   3, BRANCHES_CODE_ID,               22, BRANCHES_TABLE_CODE,      FIXED,      17, 2, 1) \
    FED(   4, USER_CODE_ID,                   24, USER_TABLE_CODE,          FILLED_IN,   1, 0, 1) \
    FED(   5, DATAMANAGER_LIST_ID,             8, DATAMANAGER_LIST_CODE,    FIXED,       1, 0, 1) \
    FED(   6, INSTIT_CODE_ID,                 21, INSTIT_TABLE_CODE,        FIXED,      17, 2, 1) \
    FED(   7, SUPERGROUP_CODE_ID,             30, SUPERGROUP_TABLE_CODE,    FIXED,      17, 2, 1) \
    FED(   8, PRIMARY_USERS_CODE_ID,          23, PRIMARY_USERS_TABLE_CODE, FIXED,      17, 2, 1) \
    FED(   9, CITIES_CODE_ID,                 25, CITIES_TABLE_CODE,        FIXED,      17, 2, 1) \
    FED(  10, MARKETS_CODE_ID,                27, MARKETS_TABLE_CODE,       FILLED_IN,   1, 0, 1) \
    FED(  11, MONEYS_CODE_ID,                 28, MONEYS_TABLE_CODE,        FIXED,      17, 2, 1) \
    FED(  12, COUNTRIES_CODE_ID,              26, COUNTRIES_TABLE_CODE,     FIXED,      17, 2, 1) \
    FED(  13, INSTPERM_CODE_ID,               54, INSTPERM_TABLE_CODE,      FIXED,      17, 2, 1) \
    OTHER(14, VOICE_GROUP_CODE_ID,                                                      17, 2, 1) \
    OTHER(15, FIXEDINCOMEMARKETS_TABLE_ID,                                              17, 0, 1) \
    OTHER(16, HISTORYTRANSDAYTERM_CODE_ID,                                              17, 0, 2) \
    OTHER(17, RATES_TABLE_ID,                                                           17, 0, 2) \
    FED(  18, EMISORES_CODE_ID,               35, EMISORES_TABLE_CODE,      FIXED,      17, 2, 1) \
    FED(  19, COMITENTES_CODE_ID,             66, COMITENTES_TABLE_CODE,    FIXED,      17, 2, 1) \
    FED(  20, FIDUCIARIOS_CODE_ID,         32026, FIDUCIARIOS_TABLE_CODE,   FIXED,      17, 2, 1) \
    FED(  21, EMPLOYEE_CODE_ID,            32053, EMPLOYEE_TABLE_CODE,      FIXED,      17, 2, 1) \
    FED(  22, ESQUEMA_CODE_ID,             32055, ESQUEMA_TABLE_CODE,       FIXED,      17, 2, 1) \
    FED(  23, SUBCOMITENTE_CODE_ID,        32141, SUBCOMITENTE_TABLE_CODE,  FIXED,      17, 2, 1)
// clang-format on

// NOLINTBEGIN(bugprone-macro-parentheses): names
#define QAPI_FED_TYPE(type, enumerator, ...) enumerator = type,
#define QAPI_OTHER_TYPE(type, enumerator, ...) enumerator = type,
enum TableType : int
{
    QAPI_TABLE_TYPES(QAPI_FED_TYPE, QAPI_OTHER_TYPE) MAX_CODE_ID
};
#undef QAPI_FED_TYPE
#undef QAPI_OTHER_TYPE

#define QAPI_FED_CODE(type, enumerator, code, name, ...) inline constexpr int name = code;
#define QAPI_NO_CODE(...)
QAPI_TABLE_TYPES(QAPI_FED_CODE, QAPI_NO_CODE)
#undef QAPI_FED_CODE
#undef QAPI_NO_CODE
// NOLINTEND(bugprone-macro-parentheses)
