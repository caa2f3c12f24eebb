#include "reader/processed_log.h"

#include "global.h"
#include "little_endian.h"
#include "message_numbers.h"
#include "mutex.h"
#include "process_lifetime.h"
#include "qcapi/config.h"
#include "qcapi/support.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <set>

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

using Date = std::array<char, 8>;

// A message among those of its server and type; in the order of its bytes a date is in the order of days.
struct CRecNum
{
    Date date;
    std::uint32_t number;

    friend auto operator<=>(const CRecNum&, const CRecNum&) = default; // NOLINT(modernize-use-nullptr): none is here
};

struct LOG_DATA_SERVER_STRUCT
{
    std::set<CRecNum> proc_msgs; // given to the host and not finished yet
    std::uint32_t last_recv_num_message = 0;
    std::uint32_t last_proc_num_message = 0;
    Date last_received_date{};
};

struct Server
{
    bool is_known = false;
    std::array<char, 2> codigo_dataserver{};
    std::array<LOG_DATA_SERVER_STRUCT, LOG_TYPES> types;
};

using Servers = std::array<Server, DCON_MAX_DS_SERVERS>;

constinit Mutex L_proc_messages;

ProcessLifetime<Servers> L_ds_data([] { return new Servers; });

Servers& servers() REQUIRES(L_proc_messages)
{
    return *L_ds_data;
}

// ---- What a message's envelope says ----------------------------------------------------------------------------

CRecNum key_of(const char* header)
{
    CRecNum key{{}, load_le<std::uint32_t>(header + number_at)};
    std::copy_n(header + date_at, key.date.size(), key.date.begin());
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

} // namespace

void LOG_Msg_Init()
{
    {
        const MutexLock lock(L_proc_messages);
        servers() = {};
    }
    for (int server = 0; server < glb_dss_counter; ++server) {
        LOG_DS_Files_Init(server);
    }
}

int LOG_DS_Files_Init(int ds_index)
{
    if (ds_index < 0 || ds_index >= DCON_MAX_DS_SERVERS) {
        return 1;
    }
    const MutexLock lock(L_proc_messages);
    Server& server = servers()[static_cast<std::size_t>(ds_index)];
    server = {};
    server.is_known = true;
    std::copy_n(glb_dss[ds_index] + 2, server.codigo_dataserver.size(), server.codigo_dataserver.begin());
    return 1;
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
    return log == nullptr || log->proc_msgs.contains(key) ? 1 : 0;
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

void LOG_Update_Last_Proc_Message(const char* header, int finished)
{
    if (header[untracked_at] == yes) {
        return;
    }
    const CRecNum key = key_of(header);
    const MutexLock lock(L_proc_messages);
    LOG_DATA_SERVER_STRUCT* log = Log_Find_Data_Server(header);
    if (log == nullptr) {
        return;
    }
    COMMON_Put_Last_Sent_Date(key.date.data());
    if (key.number != 0) {
        done(*log, key, finished == 1);
    }
}

unsigned LOG_Get_Last_Processed_Message(int ds_index, int log_type, char* date, unsigned long* last_proc)
{
    if (ds_index < 0 || ds_index >= DCON_MAX_DS_SERVERS || log_type < 0 || log_type >= LOG_TYPES) {
        return 1;
    }
    const MutexLock lock(L_proc_messages);
    const Server& server = servers()[static_cast<std::size_t>(ds_index)];
    if (!server.is_known) {
        return 1;
    }
    const LOG_DATA_SERVER_STRUCT& log = server.types[static_cast<std::size_t>(log_type)];
    std::memcpy(date, log.last_received_date.data(), log.last_received_date.size());
    *last_proc = log.last_proc_num_message;
    return log.last_recv_num_message;
}

int LOG_Load_Record(char* /*record*/, int* /*len*/, unsigned number)
{
    return number != 0 ? 1 : 0;
}
