// What a session knows of its server and of itself since the login. Belongs to the reader, but for the server's code,
// which sending threads stamp (outbound/send_queue.h).
#pragma once

#include <cstdint>

extern const char (*glb_ds_dest)[4]; // the entry of glb_dss that is in use; changes under the outbound lock
extern char Glb_Current_DS[4 + 1];   // copy of it
extern char Glb_PU_Code[4 + 1];      // the machine, as the login reply calls it
extern char Glb_Branch_4c[4 + 1];    // the branch's short code, from the login reply
extern char Glb_req_date[8 + 1];     // date and number of the last message that the server has from this client
extern unsigned Glb_req_message_num;
