#include "session/session_state.h"

#include "qcapi/config.h"

constinit const char (*glb_ds_dest)[4] = glb_dss; // NOLINT(cppcoreguidelines-interfaces-global-init): an address
char Glb_Current_DS[4 + 1];
char Glb_PU_Code[4 + 1];
char Glb_Branch_4c[4 + 1];
char Glb_req_date[8 + 1];
unsigned Glb_req_message_num = 0;
