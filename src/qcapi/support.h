// Small services that every floor leans on: the clock, CRC-32, date texts, the local address, and the reporting hook.
// Any thread may call any of them, except where a line says otherwise.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string>

// ---- Clock -----------------------------------------------------------------------------------------------------
// Seconds come from the monotonic tick counter, anchored to the wall clock once, so that a change of the system clock
// does not move them; Glb_time_diff brings them to the server's time.

// Offset of the adjusted clock, in ticks. Written by COMMON_Adjust_Time alone.
extern std::atomic<long> Glb_time_diff;

// Today as YYYYMMDD of the adjusted local time; a spare zero stands behind the eight digits. Several threads write it:
// use the two functions below while threads run.
extern char Glb_last_sent_date[8 + 1];
void COMMON_Put_Last_Sent_Date(const char* date); // 8 characters, no terminator needed
void COMMON_Get_Last_Sent_Date(char* date);       // 9 bytes, with the terminator

// Number given to the last persistent message sent. Starts again every day.
extern std::atomic<unsigned> Glb_last_sent_message_num;

// Adjusted time, seconds since the epoch.
unsigned COMMON_GetTime();

// The same, with the fraction of the second in ticks and the ticks per second.
unsigned COMMON_GetTime_Frc(unsigned* g_numerator, unsigned* g_denominator);

// The same without the adjustment.
unsigned COMMON_GetLocTime_Frc(unsigned* g_numerator, unsigned* g_denominator);

// Tick counter of the process clock; `scale` receives the ticks per second.
std::int64_t COMMON_SYS_Times(int* scale);

// Sets the offset in ticks. On a new day (adjusted local time) also resets Glb_last_sent_message_num.
void COMMON_Adjust_Time(long adjust_time);

// Both wait through select and return its result; a signal shortens the wait and nothing retries.
int Do_Sleep(long seconds);
int Do_mSleep(unsigned milliseconds);

// ---- CRC-32 ----------------------------------------------------------------------------------------------------
// Reflected polynomial 0xEDB88320, start value 0xFFFFFFFF, no closing complement: a result can be passed back as
// `start_crc32` to go on. `start_crc32` 0 stands for 0xFFFFFFFF. `len` of 0 or less adds nothing.
unsigned COMMON_Get_Crc32(const char* ptr, int len, unsigned start_crc32);

// ---- Dates and texts -------------------------------------------------------------------------------------------
// Banner of the run, written by COMMON_Fill_Version_General_Info.
extern char Glb_General_Info[512];

// Build date "Mmm dd yyyy" and time "hh:mm:ss" of the library.
extern const char Glb_compilation_date[];
extern const char Glb_compilation_time[];

// Writes 14 characters HHMMSSYYYYMMDD of the adjusted local time, and not a byte more.
void COMMON_Get_Current_time(char* s);

// Writes the banner line of the adjusted local time with its terminator; `s` must hold 256 bytes.
void COMMON_Get_Time_Date(char* s);

// Fills Glb_General_Info with the banner line, the description and the version. Called before threads start.
void COMMON_Fill_Version_General_Info(const char* description, const char* version);

// "Mmm dd yyyy" (Spanish or English month) to YYYYMMDD. An unknown month leaves its two digits out. An input that is
// shorter than its form gives what it has. `output` must hold 9 bytes.
void COMMON_Change_Format_Date(const char* input, char* output);

// "hh:mm:ss", with any separator, to HHMMSS. `output` must hold 7 bytes.
void COMMON_Change_Format_Hour(const char* input, char* output);

// Adjusted local time moved by a span: YYYYMMDD into `final_date` (10 bytes) and, if `hour` is not null, HHMMSS into
// `hour` (8 bytes). Returns the characters of the date, 8.
int L_Get_Other_Date(long seconds_to_move, char* final_date, char* hour);

// Removes the file `name` in `directory`, the working directory of the run.
void COMMON_Table_Delete(const char* directory, const char* name);

namespace qapi {

// ASCII only and safe for any byte: what the process's locale says does not matter to wire and file texts.
constexpr char ascii_lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
constexpr bool ascii_digit(char c)
{
    return c >= '0' && c <= '9';
}

} // namespace qapi

using qapi::ascii_digit;
using qapi::ascii_lower;

// ---- Local address ---------------------------------------------------------------------------------------------
// Asks the resolver. May take seconds, so it is done once, in the thread that logs in.
void COMMON_Find_IP_LocalHost();

// The last address of the latest look-up, at most 254 characters, or "127.0.0.1" if it found none. Looks up by itself
// if nobody did. Static text that never changes; not the caller's to write into.
char* COMMON_Get_IP_LocalHost();

// ---- Reports ---------------------------------------------------------------------------------------------------
// A report is a line of the running log and a call of the host's OnError, in this order.

inline constexpr int INTERNAL_ERROR = 23001;

// Reports with `error_flag` as the code that the host receives. The text is cut at 511 characters.
void COMMON_Put_Syslog_Message(int error_flag, const char* text_format, ...) __attribute__((format(printf, 2, 3)));

// Reports with code INTERNAL_ERROR.
void LOG_Put_Err_Msg(const char* format, ...) __attribute__((format(printf, 1, 2)));

namespace qapi {

// Where the two halves of a report go. Installed by the floors above; null drops that half.
void Set_Report_Line_Sink(void (*write_line)(const char* text));
void Set_Report_Host_Sink(void (*tell_host)(int error_code, char* text));

// While one stands on a thread's stack, reports raised by that thread wait; they are delivered, in the order in which
// they were raised, when the last one goes. Stands around every stretch that holds a lock under which something may
// report: delivering there would wait for the host's callback lock and stall whoever waits for ours. Declare it before
// the lock.
class ReportHold
{
public:
    ReportHold();
    ~ReportHold();
    ReportHold(const ReportHold&) = delete;
    ReportHold& operator=(const ReportHold&) = delete;

    void Drop(); // forgets what was raised since this one began

    struct Report
    {
        int code;
        std::string text;
    };

private:
    std::list<Report> m_due;    // used in the outermost one alone
    std::size_t m_due_before{}; // reports that waited already when this one began
};

} // namespace qapi

using qapi::ReportHold;
using qapi::Set_Report_Host_Sink;
using qapi::Set_Report_Line_Sink;
