#include "support.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>
#include <unistd.h>

char Glb_General_Info[512] = "";
const char Glb_compilation_date[] = __DATE__;
const char Glb_compilation_time[] = __TIME__;

namespace {

constexpr std::size_t banner_line_size = 256;
constexpr std::size_t build_date_length = 11; // "Mmm dd yyyy"
constexpr std::size_t build_hour_length = 8;  // "hh:mm:ss"

struct Month_Name
{
    std::string_view text;
    std::string_view number;
};

// Spanish and English.
constexpr std::array<Month_Name, 16> month_names{{
    {"ene", "01"},
    {"jan", "01"},
    {"feb", "02"},
    {"mar", "03"},
    {"abr", "04"},
    {"apr", "04"},
    {"may", "05"},
    {"jun", "06"},
    {"jul", "07"},
    {"ago", "08"},
    {"aug", "08"},
    {"sep", "09"},
    {"oct", "10"},
    {"nov", "11"},
    {"dic", "12"},
    {"dec", "12"},
}};

// Writes the local time of `seconds` and returns its length. A text that doesn't fit, or a moment without a calendar
// date, gives the empty text and 0; strftime alone would leave the target undefined.
__attribute__((format(strftime, 3, 0))) std::size_t format_local_time(char* target, std::size_t size,
                                                                      const char* format, std::int64_t seconds)
{
    const auto moment = static_cast<std::time_t>(seconds);
    std::tm fields{};
    const bool known = localtime_r(&moment, &fields) != nullptr;
    const std::size_t length = known ? std::strftime(target, size, format, &fields) : 0;
    if (length == 0) {
        target[0] = '\0';
    }
    return length;
}

// At most `count` characters from `position`, fewer where the text ends.
constexpr std::string_view part(std::string_view text, std::size_t position, std::size_t count)
{
    return position < text.size() ? text.substr(position, count) : std::string_view{};
}

std::string_view bounded(const char* text, std::size_t limit)
{
    return {text, strnlen(text, limit)};
}

char* append(char* target, std::string_view text)
{
    return std::copy(text.begin(), text.end(), target);
}

std::string_view month_number(std::string_view month)
{
    const auto same_letter = [](char left, char right) { return ascii_lower(left) == right; };
    const auto* row = std::find_if(month_names.begin(), month_names.end(), [&](const Month_Name& name) {
        return std::equal(month.begin(), month.end(), name.text.begin(), name.text.end(), same_letter);
    });
    return row != month_names.end() ? row->number : std::string_view{};
}

} // namespace

void COMMON_Get_Current_time(char* s)
{
    // By way of a text of our own: the neighbour of `s` in the envelope gets no terminator, not even for a moment.
    std::array<char, 14 + 1> text{};
    format_local_time(text.data(), text.size(), "%H%M%S%Y%m%d", COMMON_GetTime());
    std::memcpy(s, text.data(), 14);
}

void COMMON_Get_Time_Date(char* s)
{
    format_local_time(s, banner_line_size, "          %A, %d %B %Y    Local Time: %H:%M:%S %p\n", COMMON_GetTime());
}

void COMMON_Fill_Version_General_Info(const char* description, const char* version)
{
    static_assert(sizeof Glb_General_Info >= banner_line_size);
    COMMON_Get_Time_Date(Glb_General_Info);
    const std::size_t used = std::strlen(Glb_General_Info);
    std::snprintf(Glb_General_Info + used, sizeof Glb_General_Info - used, "%s. Version %s\n", description, version);
}

void COMMON_Change_Format_Date(const char* input, char* output)
{
    const std::string_view date = bounded(input, build_date_length);
    char* end = append(output, part(date, 7, 4));
    end = append(end, month_number(part(date, 0, 3)));
    char* const day = end;
    end = append(end, part(date, 4, 2));
    if (end != day && *day == ' ') {
        *day = '0';
    }
    *end = '\0';
}

void COMMON_Change_Format_Hour(const char* input, char* output)
{
    const std::string_view hour = bounded(input, build_hour_length);
    char* end = append(output, part(hour, 0, 2));
    end = append(end, part(hour, 3, 2));
    end = append(end, part(hour, 6, 2));
    *end = '\0';
}

int L_Get_Other_Date(long seconds_to_move, char* final_date, char* hour)
{
    std::int64_t moment = 0;
    if (__builtin_add_overflow(std::int64_t{COMMON_GetTime()}, std::int64_t{seconds_to_move}, &moment)) {
        moment = INT64_MAX; // has no calendar date either
    }
    if (hour != nullptr) {
        format_local_time(hour, 8, "%H%M%S", moment);
    }
    return static_cast<int>(format_local_time(final_date, 10, "%Y%m%d", moment));
}

void COMMON_Table_Delete(const char* directory, const char* name)
{
    if (directory[0] != '\0') {
        // unlink rather than remove: with an empty name the path is the directory itself.
        unlink((std::string(directory) + "//" + name).c_str());
    }
}
