#include "tblproc/subscription.h"

void TBLPROC_Send_Global_Tables_Subscription(int /*table_level*/) {}
void TBLPROC_Send_Global_Tables_Subscription() {}
void TBLPROC_Reset_Primary_Tables_Check() {}
void TBLPROC_Register_Ref_Table(int /*table_type*/) {}
void TBLPROC_Check_Referenced_Table(int /*table_type*/) {}
