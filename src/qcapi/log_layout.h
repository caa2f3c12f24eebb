// One record of the running log, in the order of its bytes. Writer and readers share these offsets; log.h tells what
// the fields mean.
#pragma once

#include "global.h"
#include "log.h"

#include <cstdint>

namespace qapi::log_layout {

inline constexpr int DATE = 0;               //  8  YYYYMMDD
inline constexpr int HOUR = 8;               //  6  HHMMSS
inline constexpr int PRIORITY = 14;          //  1
inline constexpr int SOURCE = 15;            //  1
inline constexpr int PKT_LENGTH = 16;        //  4
inline constexpr int DATA_LENGTH = 20;       //  4
inline constexpr int COMPRESSED_LENGTH = 24; //  4
inline constexpr int STATUS = 28;            //  4
inline constexpr int BODY = 32;              //  compressed_length bytes, then one newline

// Inside the body of a message.
inline constexpr int LABEL = 0;          // 72
inline constexpr int TARGET_TABLES = 72; // 16  zero
inline constexpr int PACKET = 88;

inline constexpr int DATE_WIDTH = 8;
inline constexpr int HOUR_WIDTH = 6;
inline constexpr int TARGET_TABLES_WIDTH = 16;

inline constexpr std::uint32_t STATUS_MESSAGE = 1; // bit 0 of the status

// A record travels in a slot of the ring, so that is what bounds it.
inline constexpr int LONGEST_RECORD = MESSAGE_TRANS_RECORD_SIZE;
inline constexpr int LONGEST_BODY = LONGEST_RECORD - BODY - 1;
inline constexpr int LONGEST_PACKET = LONGEST_BODY - PACKET;

static_assert(HOUR == DATE + DATE_WIDTH && PRIORITY == HOUR + HOUR_WIDTH);
static_assert(BODY == STATUS + 4 && BODY == LOG_TEXT_HEADER_LENGTH);
static_assert(TARGET_TABLES == LABEL + LOG_LABEL_LENGTH && PACKET == TARGET_TABLES + TARGET_TABLES_WIDTH);
static_assert(PACKET == LOG_MESSAGE_PREFIX_LENGTH && LONGEST_BODY == 3267 && LONGEST_PACKET == 3179);

} // namespace qapi::log_layout
