#include "tblproc/tblequiv.h"

#include "tblproc/global_tables.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr TABLE_ID_EQUIVALENCE row(int type, int code, int flags, int start_protocol, int level)
{
    const int source = type == ZERO_CODE_ID ? TBLEQUIV_NO_SOURCE : TBLEQUIV_DS_SOURCE;
    return {type, code, source, flags, start_protocol, level};
}

// The codes that are fixed are those of the feed.
#define FIXED(code) code
#define FILLED_IN(code) TBLNUM_DYNAMIC_CODE
#define FED_ROW(type, enumerator, code, name, kind, flags, start_protocol, level)                                      \
    row(type, kind(code), flags, start_protocol, level),
#define OTHER_ROW(type, enumerator, flags, start_protocol, level)                                                      \
    row(type, TBLNUM_DYNAMIC_CODE, flags, start_protocol, level),
constexpr std::array<TABLE_ID_EQUIVALENCE, MAX_CODE_ID> rows_at_the_start = {{QAPI_TABLE_TYPES(FED_ROW, OTHER_ROW)}};
#undef FIXED
#undef FILLED_IN
#undef FED_ROW
#undef OTHER_ROW

consteval bool stand_at_their_index()
{
    int index = 0;
    return std::all_of(rows_at_the_start.begin(), rows_at_the_start.end(),
                       [&index](const TABLE_ID_EQUIVALENCE& each) { return each.type_id == index++; });
}
static_assert(stand_at_their_index());

} // namespace

constinit std::array<TABLE_ID_EQUIVALENCE, MAX_CODE_ID> G_table_id_equivalence = rows_at_the_start;

CTableBase* TABLE_ID_EQUIVALENCE::Ptr_CTableBase() const
{
    const GlobalTable* table = Table_Of_Type(type_id);
    return table != nullptr ? &table->get() : nullptr;
}

TABLE_ID_EQUIVALENCE& TBLEQUIV_Row(int table_type_id)
{
    const bool is_type = table_type_id >= 0 && table_type_id < MAX_CODE_ID;
    return G_table_id_equivalence[static_cast<std::size_t>(is_type ? table_type_id : ZERO_CODE_ID)];
}

void TBLEQUIV_Forget_Codes()
{
    for (std::size_t type = 0; type < rows_at_the_start.size(); ++type) {
        G_table_id_equivalence[type].code = rows_at_the_start[type].code;
    }
}
