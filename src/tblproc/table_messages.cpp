#include "tblproc/table_messages.h"

unsigned Glb_subscribed_global_table_type[MAX_TABLE_CODES];
unsigned Glb_Not_Applied_Mss = 0;
char Glb_environment[2 + 1];
std::uint32_t glb_min_pu_connected_gtable_rec_index = 0;

void TBLPROC_Process_Global_Table_Msg(const char* /*source*/) {}
void COMMON_Process_Global_Table_Msg() {}
void Set_Subscription_MX_Primary_Tables() {}
void Get_Market_Access_Since_Table_User(CGTUser* /*user*/) {}
