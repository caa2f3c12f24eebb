// Subscriptions: the messages the host wants, and the tables by code and by type.
#include "config_file.h"

#include "table_types.h"

#include <algorithm>

int Glb_suscribed_message[MAX_SUSCRIBED_MESSAGES];
int gbl_code_table_type[MAX_TABLE_CODES];
std::atomic<unsigned> Glb_subscribed_code_table_id[MAX_TABLE_CODES];

namespace {

constexpr int transaction_feed_messages[] = {121, 111, 113, 112, 87, 176, 132, 153, 879, 114, 177, 300, 291, 575};

// 134, its sibling, is in neither feed.
constexpr int tarnel_feed_message = 133;

} // namespace

void qapi::Subscribe_Transaction_Feed()
{
    for (const int message : transaction_feed_messages) {
        Glb_suscribed_message[message] = 1;
    }
#define ADD_TABLE(type, enumerator, code, ...) COMMON_Global_Codes_Add(type, code);
#define LEAVE_OUT(...)
    QAPI_TABLE_TYPES(ADD_TABLE, LEAVE_OUT)
#undef ADD_TABLE
#undef LEAVE_OUT
}

void qapi::Subscribe_Tarnel_Feed()
{
    COMMON_Global_Codes_Add(DATAMANAGER_LIST_ID, DATAMANAGER_LIST_CODE);
    Glb_suscribed_message[tarnel_feed_message] = 1;
}

void COMMON_Global_Codes_Clean()
{
    std::fill(std::begin(gbl_code_table_type), std::end(gbl_code_table_type), 0);
    for (std::atomic<unsigned>& subscribed : Glb_subscribed_code_table_id) {
        subscribed.store(0, std::memory_order_relaxed);
    }
}

void COMMON_Global_Codes_Add(int type, int code)
{
    if (!is_table_number(type) || !is_table_number(code)) {
        return;
    }
    gbl_code_table_type[code] = type;
    Glb_subscribed_code_table_id[type].store(1, std::memory_order_relaxed);
}
