#include "tblproc/global_tables.h"

#include <algorithm>

namespace {

template <class Table> Table* make()
{
    return new Table(INITIAL_TABLE_RECORDS, nullptr);
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): names
#define TWO_KEYS(table, record, key, ...)                                                                              \
    constinit ProcessLifetime<qapi::TwoKeyTable<record, key>> table(make<qapi::TwoKeyTable<record, key>>);
#define ONE_KEY(table, record, key, ...)                                                                               \
    constinit ProcessLifetime<qapi::OneKeyTable<record, key>> table(make<qapi::OneKeyTable<record, key>>);
#define IDX(table, record, ...) ONE_KEY(table, record, CIdxKey)
QAPI_REPLICAS(TWO_KEYS, ONE_KEY)
QAPI_IDX_TABLES(IDX, IDX)
#undef TWO_KEYS
#undef ONE_KEY
#undef IDX
// NOLINTEND(bugprone-macro-parentheses)

namespace {

constexpr bool replica = false;
constexpr bool mailbox = true;
constexpr int flags_of_type = 0; // a replica has those of its type, or those that it was made with

template <auto& table> constexpr GlobalTable row(TableId id, const char* name, int type, int flags, bool is_mailbox)
{
    return {id,
            name,
            type,
            flags,
            is_mailbox,
            []() -> CTableBase& { return *table; },
            [](int new_flags) { return table->Set_Table_Flag(new_flags); },
            [](int code) { table->Set_Table_Num(code); },
            [] { table->Delete_All_Records(); }};
}

#define REPLICA_ROW(table, record, key, type) row<table>(TableId::table, #table, type, flags_of_type, replica),
#define IDX_REPLICA_ROW(table, record, flags, type) row<table>(TableId::table, #table, type, flags, replica),
#define MAILBOX_ROW(table, record, flags, type) row<table>(TableId::table, #table, type, flags, mailbox),
constexpr GlobalTable global_tables[] = {QAPI_REPLICAS(REPLICA_ROW, REPLICA_ROW)
                                             QAPI_IDX_TABLES(IDX_REPLICA_ROW, MAILBOX_ROW)};
#undef REPLICA_ROW
#undef IDX_REPLICA_ROW
#undef MAILBOX_ROW

} // namespace

std::span<const GlobalTable> qapi::All_Global_Tables()
{
    return global_tables;
}

const GlobalTable* qapi::Table_Of_Type(int table_type_id)
{
    const auto holds = [table_type_id](const GlobalTable& table) { return table.type == table_type_id; };
    const auto* found = std::find_if(std::begin(global_tables), std::end(global_tables), holds);
    return table_type_id != ZERO_CODE_ID && found != std::end(global_tables) ? found : nullptr;
}
