#include "reader/processed_log.h"

#include "global.h"
#include "little_endian.h"
#include "message_numbers.h"
#include "mutex.h"
#include "process_lifetime.h"
#include "qcapi/config.h"
#include "qcapi/errors.h"
#include "qcapi/log.h"
#include "qcapi/log_file.h"
#include "qcapi/log_files.h"
#include "qcapi/support.h"
#include "reader/processed_file.h"
#include "record_io.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

constinit Mutex qapi::L_proc_messages;

namespace {

// Where the fields stand in CABEZA.
constexpr int persistent_at = 4;
constexpr int untracked_at = 5;
constexpr int server_at = 8;
constexpr int number_at = 14;
constexpr int letter_at = 18;
constexpr int date_at = 29;

constexpr int priority_at = 6; // in the transport envelope
constexpr char yes = 'S';
constexpr char first_letter = 'A';

// A message among those of its server and type.
struct CRecNum
{
    MessageDate date;
    std::uint32_t number;

    friend bool operator<(const CRecNum& one, const CRecNum& other)
    {
        return one.date == other.date ? one.number < other.number : one.date < other.date;
    }
};

struct LOG_DATA_SERVER_STRUCT
{
    std::set<CRecNum> proc_msgs; // given to the host and not finished yet
    std::uint32_t last_recv_num_message = 0;
    std::uint32_t last_proc_num_message = 0;
    MessageDate last_received_date;
    std::shared_ptr<ProcessedFile> file; // null if nothing outlives the process
};

struct Server
{
    bool is_known = false;
    std::array<char, 2> codigo_dataserver{};
    std::array<LOG_DATA_SERVER_STRUCT, LOG_TYPES> types;
};

using Servers = std::array<Server, DCON_MAX_DS_SERVERS>;

ProcessLifetime<Servers> L_ds_data([] { return new Servers; });

Servers& servers() REQUIRES(L_proc_messages)
{
    return *L_ds_data;
}

// ---- What a message's envelope says ----------------------------------------------------------------------------

CRecNum key_of(const char* header)
{
    CRecNum key{{}, load_le<std::uint32_t>(header + number_at)};
    std::copy_n(header + date_at, key.date.bytes.size(), key.date.bytes.begin());
    return key;
}

int type_of(const char* header, const char* extra)
{
    if (header[persistent_at] == yes) {
        return 0;
    }
    const int priority = extra != nullptr ? load_le<std::uint16_t>(extra + priority_at) : 0;
    return priority < PRD_LOG_MERCADOS ? 1 : 2;
}

// The log of the message's server and of the type that its letter tells, null if there is none.
LOG_DATA_SERVER_STRUCT* Log_Find_Data_Server(const char* header) REQUIRES(L_proc_messages)
{
    const int type = header[letter_at] - first_letter;
    if (type < 0 || type >= LOG_TYPES) {
        return nullptr;
    }
    const std::array<char, 2> code{header[server_at], header[server_at + 1]};
    for (Server& server : servers()) {
        if (server.is_known && server.codigo_dataserver == code) {
            return &server.types[static_cast<std::size_t>(type)];
        }
    }
    return nullptr;
}

// ---- The rules -------------------------------------------------------------------------------------------------

// Trades are asked for from the first one of their day whatever was finished, so nothing holds their numbers up.
bool holds_up_by_pending()
{
    return Glb_suscribed_message[MSS_TARNEL] == 0;
}

void done(LOG_DATA_SERVER_STRUCT& log, const CRecNum& key, bool finished)
{
    log.last_recv_num_message = std::max(log.last_recv_num_message, key.number);
    const bool was_empty = log.proc_msgs.empty();
    if (finished) {
        log.proc_msgs.erase(key);
    }
    if (finished && !log.proc_msgs.empty() && holds_up_by_pending()) {
        const CRecNum& lowest = *log.proc_msgs.begin();
        log.last_proc_num_message = lowest.number - 1;
        log.last_received_date = lowest.date;
    } else if (was_empty || finished) {
        log.last_recv_num_message = key.number;
        log.last_proc_num_message = key.number;
        log.last_received_date = key.date;
    }
}

// ---- What the files know ---------------------------------------------------------------------------------------

bool is_date(const MessageDate& date)
{
    return std::all_of(date.bytes.begin(), date.bytes.end(), ascii_digit);
}

// A damaged date in a record may be above all others: it would refuse the message of its number on every day to come.
bool is_in_file(const LOG_DATA_SERVER_STRUCT& log, const CRecNum& key)
{
    const auto record = log.file != nullptr ? log.file->Log_Take_Header(offset_of_message(key.number)) : std::nullopt;
    return record && record->num_message_proc == 1 &&
           (record->message_date == key.date || (key.date < record->message_date && is_date(record->message_date)));
}

LOG_HEADER file_header_of(const LOG_DATA_SERVER_STRUCT& log)
{
    return {log.last_recv_num_message, log.last_proc_num_message, log.last_received_date};
}

// What was written of a number stands in the file up to there, but for some that didn't come or could not be written.
bool may_be_of(const LOG_HEADER& header, const ProcessedFile& file)
{
    constexpr std::uint32_t missing_numbers = 1'000'000;
    const std::int64_t end_of_numbers = file.Size() + offset_of_message(missing_numbers);
    return (is_date(header.message_date) || header.message_date == MessageDate{}) &&
           offset_of_message(std::max(header.num_message, header.num_message_proc)) <= end_of_numbers;
}

// A file without a whole header gets one of zeros. So does one whose date is none or whose numbers are far behind its
// end: they would be asked for. All messages are asked for then, and those that have their records are refused.
void take_up(LOG_DATA_SERVER_STRUCT& log)
{
    const auto header = log.file->Log_Take_Header(offset_of_file_header);
    if (header && may_be_of(*header, *log.file)) {
        log.last_recv_num_message = header->num_message;
        log.last_proc_num_message = header->num_message_proc;
        log.last_received_date = header->message_date;
        return;
    }
    if (!log.file->Is_New()) {
        COMMON_Put_Syslog_Message(QAPI_ERR_COULDNT_USE_LOG_FILES,
                                  "The header of the following log file was damaged and starts again %s",
                                  log.file->Path().c_str());
    }
    log.file->Log_Update_Header(file_header_of(log));
}

// ---- Servers ---------------------------------------------------------------------------------------------------

// A server's code may have come over the wire.
bool may_stand_in_a_name(const std::array<char, 2>& code)
{
    return std::all_of(code.begin(), code.end(), [](char c) { return c >= ' ' && c <= '~' && c != '/'; });
}

bool open_file(LOG_DATA_SERVER_STRUCT& log, const std::string& path)
{
    log.file = ProcessedFile::Open(path);
    if (log.file == nullptr) {
        COMMON_Put_Syslog_Message(QAPI_ERR_COULDNT_USE_LOG_FILES, QAPI_ERR_COULDNT_USE_LOG_FILES_TXT, path.c_str());
        return false;
    }
    take_up(log);
    return true;
}

// Without a running log there is no place for files.
bool open_files(Server& server)
{
    const std::string running_log = LOG_Path();
    for (int type = 0; type < LOG_TYPES && !running_log.empty(); ++type) {
        const std::string path = LOG_create_ds_log_name(running_log, server.codigo_dataserver.data(), type);
        if (!open_file(server.types[static_cast<std::size_t>(type)], path)) {
            return false;
        }
    }
    return true;
}

bool open_server(Server& server, const char* code)
{
    std::copy_n(code + 2, server.codigo_dataserver.size(), server.codigo_dataserver.begin());
    if (!may_stand_in_a_name(server.codigo_dataserver)) {
        COMMON_Put_Syslog_Message(QAPI_ERR_COULDNT_USE_LOG_FILES,
                                  "The code of a data server can't stand in a file name: %02X %02X %02X %02X",
                                  static_cast<unsigned char>(code[0]), static_cast<unsigned char>(code[1]),
                                  static_cast<unsigned char>(code[2]), static_cast<unsigned char>(code[3]));
        return false;
    }
    server.is_known = open_files(server);
    return server.is_known;
}

// Returns the file that the message was written to, if any.
std::shared_ptr<ProcessedFile> finish_or_skip(const char* header, bool finished)
{
    if (header[untracked_at] == yes) {
        return nullptr;
    }
    const CRecNum key = key_of(header);
    const MutexLock lock(L_proc_messages); // and under it that of the last sent date
    LOG_DATA_SERVER_STRUCT* log = Log_Find_Data_Server(header);
    if (log == nullptr) {
        return nullptr;
    }
    COMMON_Put_Last_Sent_Date(key.date.bytes.data());
    if (key.number == 0) {
        return nullptr;
    }
    done(*log, key, finished);
    if (log->file != nullptr) {
        log->file->Log_Processed_Record(key.number, key.date, file_header_of(*log));
    }
    return log->file;
}

} // namespace

void qapi::Log_Close_Files()
{
    const MutexLock lock(L_proc_messages);
    servers() = {};
}

void LOG_Msg_Init()
{
    Set_Log_End_Sink(qapi::Log_Close_Files);
    qapi::Log_Close_Files();
    for (int server = 0; server < glb_dss_counter; ++server) {
        LOG_DS_Files_Init(server);
    }
    // Before the session's own handler, which therefore runs first and stops the threads. So a server that was left out
    // doesn't put it off to a later login.
    static const int exit_hook = std::atexit(LOG_End);
    static_cast<void>(exit_hook);
}

// The files are opened outside the lock: hosts finish messages meanwhile.
int LOG_DS_Files_Init(int ds_index)
{
    if (ds_index < 0 || ds_index >= DCON_MAX_DS_SERVERS) {
        return 1;
    }
    Server server;
    const bool opened = open_server(server, glb_dss[ds_index]);
    const MutexLock lock(L_proc_messages);
    servers()[static_cast<std::size_t>(ds_index)] = opened ? std::move(server) : Server();
    return opened ? 1 : 0;
}

int LOG_Is_Processed_Record(void* header, char* extra)
{
    auto* bytes = static_cast<char*>(header);
    if (bytes[untracked_at] == yes) {
        return 0;
    }
    bytes[letter_at] = static_cast<char>(first_letter + type_of(bytes, extra));
    const CRecNum key = key_of(bytes);
    if (key.number == 0) {
        return 0;
    }
    const MutexLock lock(L_proc_messages);
    const LOG_DATA_SERVER_STRUCT* log = Log_Find_Data_Server(bytes);
    return log == nullptr || log->proc_msgs.contains(key) || is_in_file(*log, key) ? 1 : 0;
}

void LOG_Register_Record(const char* header)
{
    const CRecNum key = key_of(header);
    if (header[untracked_at] == yes || key.number == 0) {
        return;
    }
    const MutexLock lock(L_proc_messages);
    if (LOG_DATA_SERVER_STRUCT* log = Log_Find_Data_Server(header)) {
        log->proc_msgs.insert(key);
    }
}

std::shared_ptr<ProcessedFile> qapi::Log_Note_Finished(const char* header)
{
    auto file = finish_or_skip(header, true);
    return Glb_sync_files != 0 ? std::move(file) : nullptr;
}

void qapi::Log_Wait_For_Disk(const std::shared_ptr<ProcessedFile>& file)
{
    if (file == nullptr) {
        return;
    }
    const int error = file->Sync();
    const ReportHold reports_wait;
    const MutexLock lock(L_proc_messages);
    file->Tell_Sync(error);
}

void LOG_Update_Last_Proc_Message(const char* header, int finished)
{
    const ReportHold reports_wait;
    if (finished == 1) {
        qapi::Log_Wait_For_Disk(qapi::Log_Note_Finished(header));
    } else {
        finish_or_skip(header, false);
    }
}

void LOG_Tell_Pending()
{
    std::size_t pending = 0;
    {
        const MutexLock lock(L_proc_messages);
        for (const Server& server : servers()) {
            for (const LOG_DATA_SERVER_STRUCT& log : server.types) {
                pending += log.proc_msgs.size();
            }
        }
    }
    if (pending != 0) {
        LOG_Text("-Messages not finished when the connection closed: %zu. Repeats of them are refused until "
                 "Login is called again.",
                 pending);
    }
}

unsigned LOG_Get_Last_Processed_Message(int ds_index, int log_type, char* date, unsigned long* last_proc)
{
    if (ds_index < 0 || ds_index >= DCON_MAX_DS_SERVERS || log_type < 0 || log_type >= LOG_TYPES) {
        return 1;
    }
    const MutexLock lock(L_proc_messages);
    const Server& server = servers()[static_cast<std::size_t>(ds_index)];
    if (!server.is_known && ds_index >= glb_dss_counter) {
        return 1;
    }
    const LOG_DATA_SERVER_STRUCT& log = server.types[static_cast<std::size_t>(log_type)];
    std::memcpy(date, log.last_received_date.bytes.data(), log.last_received_date.bytes.size());
    *last_proc = log.last_proc_num_message;
    return log.last_recv_num_message;
}

int LOG_Load_Record(char* /*record*/, int* /*len*/, unsigned number)
{
    return number != 0 ? 1 : 0;
}
