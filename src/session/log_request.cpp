// The request for stored messages (203): behind the envelope one entry of 25 bytes a server and log type, all servers
// of type P, then of A, then of B.
//
//   offset width  field
//        0     1  PED_LOG_CLASE_LOG                  'P', 'A', 'B'
//        1     2  PED_LOG_CODIGO_DATASERVER          last two characters of the server's code
//        3     8  PED_LOG_FECHA_ULTIMO_MENSAJE       YYYYMMDD
//       11     6  PED_LOG_HORA_ULTIMO_MENSAJE        zeros
//       17     4  PED_LOG_ULTIMO_MENSAJE_DATASERVER  number of the last message that isn't wanted again
//       21     4  PED_LOG_ULTIMO_MENSAJE_PU          0
//
// Dates are compared as texts, which orders them.
#include "session/exchange.h"

#include "little_endian.h"
#include "message_numbers.h"
#include "outbound/send_queue.h"
#include "qcapi/config.h"
#include "reader/processed_log.h"
#include "records/session.h"
#include "records/sizes.h"
#include "transport/dcon.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr int entry_len = 25;
constexpr int most_servers = PED_LOG_AFTER_CABEZA_SIZE / (entry_len * LOG_TYPES);
constexpr int type_of_persistent = 0;
constexpr std::string_view letters = "PAB"; // by log type
constexpr long seven_days = 604800;         // seconds

struct Entry
{
    std::string date; // 8 bytes
    std::uint32_t last = 0;
};

std::string date_of(long seconds_from_now)
{
    std::array<char, 10> date{};
    L_Get_Other_Date(seconds_from_now, date.data(), nullptr);
    return date.data();
}

struct Position
{
    std::string date;
    unsigned long last_processed = 0;
    unsigned long last_received = 0;
};

Position position_of(int server, int type)
{
    Position position;
    std::array<char, 8> date{};
    position.last_received = LOG_Get_Last_Processed_Message(server, type, date.data(), &position.last_processed);
    position.date.assign(date.data(), date.size());
    return position;
}

class Dates
{
public:
    Dates() : today(date_of(0)), earliest(std::min(date_of(-seven_days), last_sent())) {}

    std::string today;
    std::string earliest; // from which on persistent messages are asked for
    std::string previous = Glb_Prev_Date_Log_Req;

private:
    static std::string last_sent()
    {
        std::array<char, 9> date{};
        COMMON_Get_Last_Sent_Date(date.data());
        return {date.data(), 8};
    }
};

// A log of a day to come (the clock was set back) is asked for from its beginning.
Entry persistent_entry(const Dates& dates, Position position)
{
    Entry entry{.date = position.date};
    if (dates.today < position.date) {
        position.last_processed = 0;
        position.date = dates.today;
    }
    entry.date = std::max(entry.date, dates.previous.empty() ? dates.earliest : dates.previous);
    if (Glb_suscribed_message[MSS_TARNEL] == 0 && entry.date == position.date) {
        entry.last = static_cast<std::uint32_t>(position.last_processed);
    }
    return entry;
}

Entry other_entry(const Dates& dates, const Position& position)
{
    if (!dates.previous.empty()) {
        return {.date = dates.previous};
    }
    if (dates.today < position.date) {
        return {.date = dates.today};
    }
    Entry entry{.date = position.date};
    if (Glb_log_last_processed_message == 'L') {
        entry.last = static_cast<std::uint32_t>(position.last_received);
    } else if (Glb_log_last_processed_message == 'F') {
        entry.last = static_cast<std::uint32_t>(position.last_processed);
    }
    return entry;
}

void write_entry(char* at, char letter, const char* server, const Entry& entry)
{
    at[0] = letter;
    std::memcpy(at + 1, server + 2, 2);
    std::copy_n(entry.date.begin(), std::min<std::size_t>(entry.date.size(), 8), at + 3);
    store_le(at + 17, entry.last);
}

int servers_that_fit()
{
    const int servers = glb_dss_counter;
    if (servers > most_servers) {
        COMMON_Put_Syslog_Message(1,
                                  "Stored messages are asked of the first %d data servers of %d: a request holds no "
                                  "more",
                                  most_servers, servers);
    }
    return std::min(servers, most_servers);
}

} // namespace

void COMMON_Send_Log_Req()
{
    if (glb_DCon_DESCR->fhost[0] == 0) {
        return;
    }
    CMsgLogReq request;
    const Dates dates;
    const int servers = servers_that_fit();
    char* at = request[PED_LOG_CLASE_LOG].Get_Ptr();
    for (int type = 0; type < LOG_TYPES; ++type) {
        for (int server = 0; server < servers; ++server, at += entry_len) {
            const Position position = position_of(server, type);
            const Entry entry =
                type == type_of_persistent ? persistent_entry(dates, position) : other_entry(dates, position);
            write_entry(at, letters[static_cast<std::size_t>(type)], glb_dss[server], entry);
        }
    }
    request[MSG_NUMBER_FIELD] = MSS_PEDIDO_LOG;
    COMMON_Put_Message_In_Send_Queue(&request, 5, nullptr, 0, nullptr);
}

int COMMON_Log_Req(int code)
{
    static int log_flag = 0; // the reader's
    if (code == MSS_INICIO_LOG) {
        ++log_flag;
    } else if (code == 0) {
        log_flag = 0;
    }
    return log_flag;
}
