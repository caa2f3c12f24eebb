// The one door through which the transport speaks to the rest of the library: records of the inbound ring.
#pragma once

#include "arrm.h"

#include <atomic>
#include <cstdint>

// Puts a record into `ring`. A message (TCP_STATUS_PACKET_RECEIVED) comes with its envelope, which is taken off; its
// first 20 bytes travel as the record's extra data. A clock check that ends here leaves no record, and an envelope that
// does not fit is told as TCP_BAD_DATA_RECEIVED. `source` is kept as a pointer. `extra` goes with a status and is
// CMSS_EXTRA_LEN bytes or null; `extra_len` and `raw` are not looked at. Under DCON_lock.
void DCON_Put_Message_In_Recv_Array(CMss_Arr* ring, int status, const char* data, int len, const char* source,
                                    char* extra, int extra_len, int raw);

// From now on the door drops every record.
void DCON_Do_Not_Receive_Msgs();

// Bits 0 and 1 leave the envelope on received messages unless bit 5 is set. For measuring; nothing here sets it.
extern std::atomic<unsigned> glb_ME_test;

namespace qapi {

// What travels in the extra data of a status record: which connection it is about, counted from 1 over the life of the
// process, and the index of that connection's host. Behind a reconnection the records of the old connection may still
// wait in the ring; the number tells them.
struct Connection_News
{
    std::uint32_t connection = 0;
    std::uint32_t host = 0;
};
void Store_News(char (&extra)[CMSS_EXTRA_LEN], Connection_News news);
Connection_News Load_News(const char* extra);

} // namespace qapi

using qapi::Connection_News;
using qapi::Load_News;
using qapi::Store_News;
