// The reference tables that the transaction feed brings: the table type by which this library knows a table, and the
// code by which the servers do. Both travel.
#pragma once

// One row a table: type, code, name of the code.
// clang-format off
#define QAPI_REFERENCE_TABLES(X) \
    X( 5,     8, DATAMANAGER_LIST_CODE) \
    X( 6,    21, INSTIT_TABLE_CODE) \
    X( 3,    22, BRANCHES_TABLE_CODE) \
    X( 8,    23, PRIMARY_USERS_TABLE_CODE) \
    X( 4,    24, USER_TABLE_CODE) \
    X( 9,    25, CITIES_TABLE_CODE) \
    X(12,    26, COUNTRIES_TABLE_CODE) \
    X(10,    27, MARKETS_TABLE_CODE) \
    X(13,    54, INSTPERM_TABLE_CODE) \
    X(11,    28, MONEYS_TABLE_CODE) \
    X( 7,    30, SUPERGROUP_TABLE_CODE) \
    X(18,    35, EMISORES_TABLE_CODE) \
    X(19,    66, COMITENTES_TABLE_CODE) \
    X(20, 32026, FIDUCIARIOS_TABLE_CODE) \
    X(21, 32053, EMPLOYEE_TABLE_CODE) \
    X(22, 32055, ESQUEMA_TABLE_CODE) \
    X(23, 32141, SUBCOMITENTE_TABLE_CODE)
// clang-format on

#define QAPI_REFERENCE_TABLE_CODE(type, code, name) inline constexpr int name = code;
QAPI_REFERENCE_TABLES(QAPI_REFERENCE_TABLE_CODE)
#undef QAPI_REFERENCE_TABLE_CODE
