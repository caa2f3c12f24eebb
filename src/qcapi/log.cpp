// The producers' side of the running log: a record is composed in the slot of the ring itself, under the collect lock,
// so that records stand in the file in the order of their time stamps.

#include "log.h"

#include "arrm.h"
#include "little_endian.h"
#include "log_file.h"
#include "log_layout.h"
#include "mutex.h"
#include "support.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

using namespace qapi::log_layout;

// ---- Time stamp ------------------------------------------------------------------------------------------------

struct Stamp
{
    std::array<char, DATE_WIDTH> date{}; // zeros if the clock's value has no local time
    std::array<char, HOUR_WIDTH> hour{};
};

Mutex L_log_lock;
bool stamp_is_known GUARDED_BY(L_log_lock) = false;
unsigned stamp_second GUARDED_BY(L_log_lock) = 0;
Stamp last_stamp GUARDED_BY(L_log_lock);

// The last `width` decimal digits of `value`.
void put_digits(char* to, int width, int value)
{
    for (int at = width - 1; at >= 0; --at) {
        to[at] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
}

Stamp stamp_of(unsigned second)
{
    Stamp stamp;
    const std::time_t seconds = second;
    std::tm local{};
    if (localtime_r(&seconds, &local) != nullptr) {
        put_digits(stamp.date.data(), 4, local.tm_year + 1900);
        put_digits(stamp.date.data() + 4, 2, local.tm_mon + 1);
        put_digits(stamp.date.data() + 6, 2, local.tm_mday);
        put_digits(stamp.hour.data(), 2, local.tm_hour);
        put_digits(stamp.hour.data() + 2, 2, local.tm_min);
        put_digits(stamp.hour.data() + 4, 2, local.tm_sec);
    }
    return stamp;
}

// A stamp has no fraction, so one conversion serves the whole second.
Stamp current_stamp()
{
    const MutexLock lock(L_log_lock);
    const unsigned now = COMMON_GetTime();
    if (!stamp_is_known || now != stamp_second) {
        last_stamp = stamp_of(now);
        stamp_second = now;
        stamp_is_known = true;
    }
    return last_stamp;
}

// ---- Record ----------------------------------------------------------------------------------------------------

struct Head
{
    char priority = 0;
    char source = 0;
    std::uint32_t data_length = 0;
    std::uint32_t status = 0;
};

// Writes everything around the body, which stands in the slot already. Returns the record's length.
int finish_record(char* slot, int body_length, const Head& head)
{
    const Stamp stamp = current_stamp();
    const int length = BODY + body_length + 1;
    std::copy(stamp.date.begin(), stamp.date.end(), slot + DATE);
    std::copy(stamp.hour.begin(), stamp.hour.end(), slot + HOUR);
    slot[PRIORITY] = head.priority;
    slot[SOURCE] = head.source;
    store_le(slot + PKT_LENGTH, static_cast<std::uint32_t>(length));
    store_le(slot + DATA_LENGTH, head.data_length);
    store_le(slot + COMPRESSED_LENGTH, static_cast<std::uint32_t>(body_length));
    store_le(slot + STATUS, head.status);
    slot[length - 1] = '\n';
    std::fill(slot + length, slot + LONGEST_RECORD, '\0');
    return length;
}

// Returns the length of the body. What the slot can't hold is cut; the terminator falls where the newline will stand.
__attribute__((format(printf, 2, 0))) int put_text(char* body, const char* format, va_list arguments)
{
    int mark_length = 0;
    if (format[0] == '-') {
        ++format; // the line carries a code of its own
    } else {
        constexpr std::string_view mark = "ER-";
        mark_length = static_cast<int>(mark.copy(body, mark.size()));
    }
    const int room = LONGEST_BODY - mark_length;
    const int wanted = std::vsnprintf(body + mark_length, static_cast<std::size_t>(room) + 1, format, arguments);
    return mark_length + std::clamp(wanted, 0, room);
}

// Returns the length of the body; `len` bytes of the packet fit.
int put_message(char* body, const char* label, const char* data, int len)
{
    std::fill(body + LABEL, body + PACKET, '\0');
    if (label != nullptr) {
        std::copy_n(label, strnlen(label, LOG_LABEL_LENGTH), body + LABEL);
    }
    std::copy_n(data, len, body + PACKET);
    return PACKET + len;
}

} // namespace

void LOG_Text(const char* format, ...)
{
    if (!LOG_Is_Open()) {
        return;
    }
    char* slot = nullptr;
    Glb_Log_Mss->Init_Collect(0, &slot);
    va_list arguments;
    va_start(arguments, format);
    const int body_length = put_text(slot + BODY, format, arguments);
    va_end(arguments);
    Glb_Log_Mss->Take_Collect(finish_record(slot, body_length, {}));
    LOG_Write_If_Much_Waits();
}

void LOG_Put_Msg(const char* label, const char* data, int len, const char* source, int /*unused*/, const char* extra)
{
    if (!LOG_Is_Open()) {
        return;
    }
    const int packet_length = data != nullptr ? std::max(len, 0) : 0;
    const int stored = std::min(packet_length, LONGEST_PACKET);
    const Head head{.priority = extra != nullptr ? extra[6] : '\0',
                    .source = source != nullptr ? source[0] : '\0',
                    .data_length = static_cast<std::uint32_t>(packet_length),
                    .status = STATUS_MESSAGE};
    char* slot = nullptr;
    Glb_Log_Mss->Init_Collect(TCP_STATUS_LOG_SENT_PACKET, &slot);
    const int body_length = put_message(slot + BODY, label, data, stored);
    Glb_Log_Mss->Take_Collect(finish_record(slot, body_length, head));
    LOG_Write_If_Much_Waits();
    if (stored < packet_length) {
        LOG_Text("Size overflow od %d in last record, The size must be changed.", packet_length - stored);
    }
}

void LOG_Get_Current_time(char* time_out, char* date_out)
{
    const Stamp stamp = current_stamp();
    if (date_out != nullptr) {
        *std::copy(stamp.date.begin(), stamp.date.end(), date_out) = '\0';
    }
    if (time_out != nullptr) {
        *std::copy(stamp.hour.begin(), stamp.hour.end(), time_out) = '\0';
    }
}
