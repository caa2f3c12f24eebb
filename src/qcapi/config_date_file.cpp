// The previous-date file: one date from which the host wants the server's log. Whoever runs the host puts it there; a
// successful login removes it, so that the request is made once. A file that can't be taken is left for its owner.
#include "config_file.h"

#include "errors.h"
#include "log.h"
#include "support.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <utility>

char Glb_Prev_Date_Log_Req[10 + 1];
char Glb_Prev_Date_Log_Req_Copy[10 + 1];
int Glb_Prev_Date_Log_Req_Successfullty = 0;
int Glb_Status_Init_Ask_Log = 0;

namespace {

constexpr int no_such_file = 1;
constexpr int stopped_by_mark = -1;
constexpr unsigned char stop_mark = 0xFF; // as the first byte of a line
constexpr std::size_t date_len = 8;

// False only if the file is not there; any other trouble shows again when it is opened.
bool is_there(const char* path)
{
    struct stat about = {};
    if (stat(path, &about) == 0) {
        return true;
    }
    const int error = errno;
    if (error == ENOENT) {
        LOG_Text("Error (ENOENT), file not found (%s).", path);
    } else {
        LOG_Text("Error (%d) in stat function (%s).", error, path);
    }
    LOG_Write_Pending();
    return error != ENOENT;
}

void keep_date(const char* token)
{
    std::memset(Glb_Prev_Date_Log_Req, 0, sizeof Glb_Prev_Date_Log_Req);
    std::memcpy(Glb_Prev_Date_Log_Req, token, strnlen(token, date_len));
    std::memcpy(Glb_Prev_Date_Log_Req_Copy, Glb_Prev_Date_Log_Req, sizeof Glb_Prev_Date_Log_Req);
}

// A request that was refused must not reach a server with a later login.
int refuse(int code, std::string text, std::string& error_text)
{
    Glb_Prev_Date_Log_Req[0] = '\0';
    error_text = std::move(text);
    return code;
}

// The file has ended, or could not be read: taking the second for the first would drop the request without a word.
int no_date(const ConfigFile& file, const char* path, std::string& error_text)
{
    if (file.at_end()) {
        error_text = config_error(QAPI_ERR_EMPTY_TMP_CONFIG_TXT, path);
        return QAPI_ERR_EMPTY_TMP_CONFIG;
    }
    error_text = config_error(QAPI_ERR_READING_TMP_CONFIG_TXT, path);
    return QAPI_ERR_READING_TMP_CONFIG;
}

int take_date(ConfigFile& file, const char* path, std::string& error_text)
{
    while (file.next_line()) {
        LOG_Text("Conf-line %s(%d): %s", path, file.line_number(), file.line());
        LOG_Write_Pending();
        if (static_cast<unsigned char>(file.line()[0]) == stop_mark) {
            return stopped_by_mark;
        }
        char* token = file.next_token();
        if (token != nullptr && std::strcmp(tolowerstr(token), "#") != 0) {
            keep_date(token);
            return 0;
        }
    }
    return no_date(file, path, error_text);
}

// The value of `count` digits; `text` holds digits alone.
short number_of(const char* text, std::size_t count)
{
    return static_cast<short>(config_number(std::string(text, count).c_str()));
}

short last_day(short year, short month)
{
    switch (month) {
    case 2:
        return QCAPI_IsLeapyr(year) != 0 ? 29 : 28;
    case 4:
    case 6:
    case 9:
    case 11:
        return 30;
    default:
        return 31;
    }
}

} // namespace

int CONF_Read_Date_File(const char* path, std::string& error_text)
{
    if (!is_there(path)) {
        return no_such_file;
    }
    ConfigFile file(path);
    if (!file.is_open()) {
        error_text = config_error(QAPI_ERR_READING_TMP_CONFIG_TXT, path);
        return QAPI_ERR_READING_TMP_CONFIG;
    }
    return take_date(file, path, error_text);
}

int CONF_Take_Previous_Date(const char* directory, std::string& error_text)
{
    const std::string path = std::string(directory) + "/" + QAPI_TMP_CONFIG_FILE_NAME;
    error_text.clear(); // a result of -1 has no text of its own
    const int read = CONF_Read_Date_File(path.c_str(), error_text);
    if (read != 0) {
        return read == no_such_file ? 0 : read;
    }
    if (QCAPI_Validate_Date(Glb_Prev_Date_Log_Req) == 0) {
        return refuse(QAPI_ERR_INVALID_DATE,
                      config_error(QAPI_ERR_INVALID_DATE_TXT, Glb_Prev_Date_Log_Req, path.c_str()), error_text);
    }
    if (std::remove(path.c_str()) != 0) {
        return refuse(QAPI_ERR_CANNOT_DELETE_TMP_CONFIG,
                      config_error(QAPI_ERR_CANNOT_DELETE_TMP_CONFIG_TXT, path.c_str()), error_text);
    }
    Glb_Prev_Date_Log_Req_Successfullty = 1;
    return 0;
}

int QCAPI_Validate_Date(const char* text)
{
    if (text == nullptr || text[0] == 0) {
        return 1;
    }
    if (std::strlen(text) != date_len || str_isnum(text) == 0) {
        return 0;
    }
    return QCAPI_Verify_YMD(number_of(text, 4), number_of(text + 4, 2), number_of(text + 6, 2));
}

int QCAPI_Verify_YMD(short year, short month, short day)
{
    const bool real =
        year >= 1 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 && day <= last_day(year, month);
    return real ? 1 : 0;
}

// Years up to 99 are of the twentieth century.
int QCAPI_IsLeapyr(short year)
{
    const int full = year <= 99 ? 1900 + year : year;
    return (full % 4 == 0 && full % 100 != 0) || full % 400 == 0 ? 1 : 0;
}

int str_isnum(const char* text)
{
    return std::all_of(text, text + std::strlen(text), ascii_digit) ? 1 : 0;
}
