#include "tblproc/global_tables.h"

#include <array>
#include <cstddef>
#include <memory>
#include <utility>

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
    return {name,
            id,
            type,
            flags,
            is_mailbox,
            []() -> CTableBase& { return *table; },
            [](int new_flags) { return table->Set_Table_Flag(new_flags); },
            [](int code) { table->Set_Table_Num(code); },
            [] { table->Delete_All_Records(); },
            [](std::unique_ptr<qapi::TableFile> file) { table->Assoc_To_Pers_File(std::move(file)); },
            [] { table->Load_Pers_File(); }};
}

#define REPLICA_ROW(table, record, key, type) row<table>(TableId::table, #table, type, flags_of_type, replica),
#define IDX_REPLICA_ROW(table, record, flags, type) row<table>(TableId::table, #table, type, flags, replica),
#define MAILBOX_ROW(table, record, flags, type) row<table>(TableId::table, #table, type, flags, mailbox),
constexpr GlobalTable global_tables[] = {QAPI_REPLICAS(REPLICA_ROW, REPLICA_ROW)
                                             QAPI_IDX_TABLES(IDX_REPLICA_ROW, MAILBOX_ROW)};
#undef REPLICA_ROW
#undef IDX_REPLICA_ROW
#undef MAILBOX_ROW

constexpr auto tables_by_type = [] {
    std::array<const GlobalTable*, MAX_CODE_ID> tables{};
    for (const GlobalTable& table : global_tables) {
        tables[static_cast<std::size_t>(table.type)] = &table;
    }
    tables[ZERO_CODE_ID] = nullptr; // stands for none
    return tables;
}();

} // namespace

std::span<const GlobalTable> qapi::All_Global_Tables()
{
    return global_tables;
}

const GlobalTable* qapi::Table_Of_Type(int table_type_id)
{
    const bool is_type = table_type_id >= 0 && table_type_id < MAX_CODE_ID;
    return is_type ? tables_by_type[static_cast<std::size_t>(table_type_id)] : nullptr;
}
