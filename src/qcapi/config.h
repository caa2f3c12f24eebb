// What "qapi.cfg" and the previous-date file say. The configuration is no object: each directive writes the global, or
// the field of glb_DCon_DESCR, that its user reads. Both files are read by the thread that logs in, before any worker
// thread exists; the values below don't change while threads run, except where a line says otherwise.
//
// Fixed texts are not terminated on the wire; here each has a spare zero behind it.
#pragma once

#include "global.h"

#include <array>
#include <atomic>
#include <string>

inline constexpr const char* QAPI_CONFIG_FILE_NAME = "qapi.cfg";
inline constexpr const char* QAPI_TMP_CONFIG_FILE_NAME = "qapi_tmp_previous_date_log_request.txt";
inline constexpr const char* QAPI_delimiters = " \t\n\r";
inline constexpr int QAPI_CONFIG_LINE_LEN = 1024; // longest line and its terminator

struct INFO_TABLE_CODE
{
    int table_code;
    int table_type;
};

// ---- Who the client is -----------------------------------------------------------------------------------------
// A Login that is refused writes these two all the same, while threads run: use the two functions below.
extern char Gbl_User_Name[10 + 1];
extern char Glb_User_Key[16 + 1]; // password
extern char Glb_Local_Machine[4 + 1];
extern char Glb_User_Code[4 + 1];
extern char Gbl_Branch_Code[8 + 1];
extern char Gbl_Oper_File_Version[90 + 1];
extern char Glb_Esquema_Code[8 + 1];

namespace qapi {

struct Credentials
{
    std::string user_name;
    std::string password;
};

// Any thread. What is null or empty stays as it was; what is too long is cut.
void Take_Credentials(const char* user_name, const char* password);
Credentials Copy_Credentials();

} // namespace qapi

using qapi::Copy_Credentials;
using qapi::Credentials;
using qapi::Take_Credentials;

// ---- Which servers ---------------------------------------------------------------------------------------------
// The servers' list of themselves may add to it while threads run: the reader writes an entry and then counts it, so
// whoever looks at no more than it counted sees whole ones. No entry changes.
extern char glb_dss[DCON_MAX_DS_SERVERS][4];
extern std::atomic<int> glb_dss_counter;

// ---- Which messages and tables ---------------------------------------------------------------------------------
extern int Glb_Markets_Code[MAX_NUM_MARKETS_CODE];
extern int Glb_markets_code_counter; // not reset between logins
extern int Glb_Message_Code;
extern int Glb_suscribed_message[MAX_SUSCRIBED_MESSAGES]; // 1: wanted; subscriptions of an earlier login stay
extern int gbl_code_table_type[MAX_TABLE_CODES];          // by table code: its table type
extern std::atomic<unsigned> Glb_subscribed_code_table_id[MAX_TABLE_CODES]; // by table type: 1 if subscribed
extern INFO_TABLE_CODE Glb_access_tables[MAX_ACCESS_TABLES + 1];            // ended by an all-zero row

// ---- How the session behaves -----------------------------------------------------------------------------------
extern unsigned long long Glb_Send_Msg_Delay_Millisec; // pause between two SendMessage
extern char Glb_log_last_processed_message;            // 'L', 'N' or 'F'
extern int Glb_Language;                               // column of the message names: 0, 1 Spanish, 2 English

// ---- Replay of a stored log. Texts are null when not given, and released at Logout -------------------------------
extern std::atomic<int> Glb_run_log_testing;
extern int Glb_run_log_output;
extern char* Glb_logging_test_name;
extern char* Glb_logging_test_output_name;
extern char* Glb_logging_start;
extern char* Glb_logging_end;
void CONF_Release_Replay_Texts();

// ---- Previous-date request -------------------------------------------------------------------------------------
extern char Glb_Prev_Date_Log_Req[10 + 1];      // YYYYMMDD, empty once the log request has gone
extern char Glb_Prev_Date_Log_Req_Copy[10 + 1]; // the same, kept for the error text
extern int Glb_Prev_Date_Log_Req_Successfullty; // 1 once a valid date was taken from the file
extern int Glb_Status_Init_Ask_Log;             // 1 once a server has started a log for it

// Reads the configuration at `path` and applies it, line by line; what was applied stays applied when a later line
// fails. Returns 0 or an error code, with its text in `error_text` (at most 199 characters). Safe for any file.
int CONF_Read_File(const char* path, std::string& error_text);

// Reads the first date of the previous-date file at `path`. Returns 0, 1 for no such file, -1 for a line that begins
// with the byte 0xFF, or an error code, that of a file that can't be read among them, with
// its text in `error_text`.
int CONF_Read_Date_File(const char* path, std::string& error_text);

// Takes the date out of the previous-date file in `directory`, checks it and removes the file. Returns 0, also when
// there is no file, or the code that the caller reports with `error_text`.
int CONF_Take_Previous_Date(const char* directory, std::string& error_text);

// Adds 4-byte codes that are not listed yet; beyond 36 it says so on standard output.
void COMMON_Set_Code_Data_Servers_List(int num_codes, const char* code_server);

// `code_markets` is the rest of a line from the value on: a 3-digit code, "in", "markets", numbers. Returns 0, or 1
// if the form is not that. The text is not changed.
int COMMON_Set_Code_Markets_List(const char* code_markets);

void COMMON_Global_Codes_Clean();
void COMMON_Global_Codes_Add(int type, int code); // numbers outside the two tables are left out

// 1 if the text is null, empty or a real date YYYYMMDD, else 0.
int QCAPI_Validate_Date(const char* text);
int QCAPI_Verify_YMD(short year, short month, short day);
int QCAPI_IsLeapyr(short year);
int str_isnum(const char* text);
char* tolowerstr(char* text); // in place, ASCII
