#include "reader/mailboxes.h"

#include "message_numbers.h"
#include "tblproc/global_tables.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int no_table_type = -1;

template <auto& table> CMessage* find(unsigned number)
{
    return table->Find_By_Idx(number);
}

template <auto& table> bool take_out(unsigned number, qapi::Header& header)
{
    auto* record = table->Find_By_Idx(number);
    if (record == nullptr) {
        return false;
    }
    std::copy_n(record->m_data + MSG_NUMBER_FIELD_SIZE, header.size(), header.begin());
    table->Delete_Local_Record(record);
    return true;
}

#define MESSAGE(number, view, table, name) {{number, no_table_type}, find<table>, take_out<table>},
#define TABLE(type, view, table, ...) {{MSS_TABLA_GLOBAL, type}, find<table>, take_out<table>},
constexpr Mailbox mailboxes[] = {QAPI_RECEIVED_MESSAGES(MESSAGE) QAPI_RECEIVED_TABLES(TABLE, TABLE)};
#undef MESSAGE
#undef TABLE

} // namespace

const Mailbox* qapi::Mailbox_Of(const Kind& kind)
{
    const auto* row = std::find_if(std::begin(mailboxes), std::end(mailboxes), [&](const Mailbox& mailbox) {
        return mailbox.kind.number == kind.number &&
               (kind.number != MSS_TABLA_GLOBAL || mailbox.kind.table_type == kind.table_type);
    });
    return row != std::end(mailboxes) ? row : nullptr;
}
