// The clock check: three legs of one message, 869, in which both ends stamp their clocks. The end that began it learns
// how far its clock is from the other's and corrects it (COMMON_Adjust_Time). A check is begun on every connect and
// every 341 seconds.
//
// The time block, at offset 97 of the message, little-endian; its stage index is the stage word / 4:
//
//   offset  width  content
//   0       2      stage word
//   2       6 x 4  seconds stamped at stages 0 to 5
//   26      6 x 4  fractions of a second
//   50      6 x 4  fraction units in a second
//
// An end stamps from the index it finds up to the next even one and sends the message on: stage 2 where the check
// begins, 3 and 4 at the far end, 5 back home, which ends it. Seconds are those of local time written as if they were
// UTC, so the correction takes the far end's time zone along. A check on whose way this end's zone changed corrects
// nothing and makes a new one due at once.
#pragma once

#include <atomic>
#include <cstdint>

inline constexpr unsigned CLOCK_CHECK_INTERVAL = 341; // seconds
inline constexpr int TIME_BLOCK_OFFSET = 97;          // in the message
inline constexpr int TIME_BLOCK_LEN = 74;

// Second of the transport's clock (transport/transport_clock.h) behind which the next check is due. Written by whoever
// begins or ends a check: the connection thread, or the sender while it helps a stalled socket, under DCON_lock or
// alone.
extern std::atomic<unsigned> L_next_check_time;

// Second of the next tick record; a check that ends makes one due.
extern std::atomic<unsigned> L_process_last_time;
extern std::atomic<unsigned> L_process_this_time;

// Begins a check: puts the first leg into Glb_Send_Mss.
void DCON_Format_time_message();

namespace qapi {

// Stamps the time block of a check that arrived (or begins) in `envelope`, whose message starts at `message`, and sends
// it on or ends it. Results of DCON_Skip_Header. The bytes of the message are changed.
int Run_Clock_Check(const char* envelope, int envelope_len, const char* message, int message_len, const char* source);

} // namespace qapi
