// The values of the configuration, and the reading of "qapi.cfg".
#include "config_file.h"

#include "errors.h"
#include "log.h"
#include "mutex.h"
#include "support.h"

#include <algorithm>
#include <cstring>

char Gbl_User_Name[10 + 1];
char Glb_User_Key[16 + 1];
char Glb_Local_Machine[4 + 1];
char Glb_User_Code[4 + 1];
char Gbl_Branch_Code[8 + 1];
char Gbl_Oper_File_Version[90 + 1];
char Glb_Esquema_Code[8 + 1];

unsigned long long Glb_Send_Msg_Delay_Millisec = 0;
char Glb_log_last_processed_message = 'L';
int Glb_Language = 0;

namespace {

constinit Mutex credentials_lock;

// The spare zero at the target's end stays.
template <std::size_t Size> void copy_if_given(char (&target)[Size], const char* text)
{
    if (text != nullptr && *text != '\0') {
        std::memset(target, 0, Size);
        std::memcpy(target, text, strnlen(text, Size - 1));
    }
}

void forget_last_reading()
{
    glb_dss_counter = 0;
    CONF_Release_Replay_Texts(); // left by a reading that failed
    std::fill(std::begin(Glb_access_tables), std::end(Glb_access_tables), INFO_TABLE_CODE{});
    COMMON_Global_Codes_Clean();
}

// The value stands beside the keyword, or behind an "=" that stands alone. What is glued to the "=" is lost.
const char* take_value(ConfigFile& line)
{
    const char* value = line.next_token();
    return value != nullptr && value[0] == '=' ? line.next_token() : value;
}

bool apply_line(ConfigFile& line)
{
    char* keyword = line.next_token();
    if (keyword == nullptr || std::strcmp(tolowerstr(keyword), "#") == 0) {
        return true;
    }
    const char* value = take_value(line);
    return value != nullptr && Apply_Directive(keyword, value, line);
}

// No log thread runs yet: what a line has logged is written before the next one, or a long file would pile up in the
// ring.
bool log_and_apply_line(ConfigFile& line)
{
    LOG_Text("Conf-line %d: %s", line.line_number(), line.line());
    const bool sound = apply_line(line);
    LOG_Write_Pending();
    return sound;
}

} // namespace

int CONF_Read_File(const char* path, std::string& error_text)
{
    forget_last_reading();
    ConfigFile file(path);
    if (!file.is_open()) {
        error_text = config_error(QAPI_ERR_CONFIG_NOT_FOUND_TXT, path);
        return QAPI_ERR_CONFIG_NOT_FOUND;
    }
    while (file.next_line()) {
        if (!log_and_apply_line(file)) {
            error_text = config_error(QAPI_ERR_CONFIG_BAD_DATA_TXT, file.line_number());
            return QAPI_ERR_CONFIG_BAD_DATA;
        }
    }
    if (glb_dss_counter == 0) {
        error_text = QAPI_ERR_NO_DS_DIRECTIVE_TXT;
        return QAPI_ERR_NO_DS_DIRECTIVE;
    }
    return 0;
}

char* tolowerstr(char* text)
{
    std::transform(text, text + std::strlen(text), text, ascii_lower);
    return text;
}

void qapi::Take_Credentials(const char* user_name, const char* password)
{
    const MutexLock lock(credentials_lock);
    copy_if_given(Gbl_User_Name, user_name);
    copy_if_given(Glb_User_Key, password);
}

Credentials qapi::Copy_Credentials()
{
    const MutexLock lock(credentials_lock);
    return {Gbl_User_Name, Glb_User_Key};
}
