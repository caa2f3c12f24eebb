#include "replay/replay.h"

#include "arrm.h"
#include "compress/rle.h"
#include "mutex.h"
#include "process_lifetime.h"
#include "qcapi/log.h"
#include "qcapi/log_file.h"
#include "qcapi/qcapi.h"
#include "qcapi/session.h"
#include "replay/log_source.h"
#include "replay/output_file.h"
#include "system_seam.h"
#include "tblproc/table_messages.h"
#include "transport/envelope.h"
#include "transport/inbound_door.h"

#include <algorithm>
#include <cinttypes>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <utility>

namespace {

// Held back by nobody else, the rings of the reader and of the running log would grow to the size of the input.
constexpr std::uint64_t most_waiting = 1000;    // records for the reader
constexpr unsigned most_waiting_in_log = 10000; // records of this session's own running log
constexpr int priority_at = 6;                  // in the extra data
constexpr timeval look_again{.tv_sec = 0, .tv_usec = 1000};
constexpr timeval one_second{.tv_sec = 1, .tv_usec = 0};

// ---- Being stopped ---------------------------------------------------------------------------------------------

struct Stop
{
    std::mutex lock;
    std::condition_variable asked;
    bool is_asked = false; // under `lock`
};

constinit ProcessLifetime<Stop> L_stop([] { return new Stop; });

bool is_stopped()
{
    const std::lock_guard lock(L_stop->lock);
    return L_stop->is_asked;
}

// Returns when the span has passed or the stop came.
void wait_at_most(timeval span)
{
    std::unique_lock lock(L_stop->lock);
    if (!L_stop->is_asked) {
        System().wait(L_stop->asked, lock, span);
    }
}

// ---- Source ----------------------------------------------------------------------------------------------------

constinit ProcessLifetime<std::unique_ptr<LogSource>> L_in_log_fp([] { return new std::unique_ptr<LogSource>; });

std::string_view text_of(const char* bound)
{
    return bound != nullptr ? bound : "";
}

// Two that write to the end of one file would write over each other.
bool is_running_log(const char* path)
{
    struct stat file
    {
    };
    struct stat log
    {
    };
    return stat(path, &file) == 0 && stat(LOG_Path().c_str(), &log) == 0 && file.st_dev == log.st_dev &&
           file.st_ino == log.st_ino;
}

// Whether it took.
bool LOG_Put_Message(OutputFile& out, const ExpandedRecord& record)
{
    return out.Write(record.bytes());
}

// A thread that exits waits for the one that logs in.
bool is_exiting()
{
    return CQcApi::atexitqapi;
}

// Of a range in the running log.
const char* or_empty(std::string_view bound)
{
    return bound.empty() ? "empty" : bound.data();
}

// ---- Records for the reader ------------------------------------------------------------------------------------

struct InboundRecord
{
    int status = 0;
    std::string_view data;
    const char* source = nullptr;
    char extra[CMSS_EXTRA_LEN] = {};
};

const char* identity_of(char letter)
{
    return letter == Glb_GT_Id[0] ? Glb_GT_Id : Glb_DS_Id;
}

class Replay
{
public:
    explicit Replay(LogSource& source) : m_source(source) {}

    void Run()
    {
        InboundRecord record;
        while (LOG_Take_Message(record) && Wait_For_Room()) {
            Feed(record);
            if (Ends_A_Table(record) && !Wait_Until_Acted_On()) {
                break;
            }
        }
    }

private:
    // The next record that a connection had brought.
    bool LOG_Take_Message(InboundRecord& record)
    {
        while (LOG_Get_Message()) {
            const std::string_view body = m_record.body();
            if (body.empty() || body[0] != 'R') {
                continue;
            }
            switch (body.size() > 1 ? body[1] : '\0') {
            case 'M':
                Take_Packet(record);
                return true;
            case 'O':
                Take_Opening(record);
                return true;
            case 'C':
                Take_Status(record, TCP_STATUS_CLOSED_CONNECTION);
                return true;
            default:
                LOG_Text("Erroneous log message : \"%s\" ", std::string(body).c_str());
                return false;
            }
        }
        return false;
    }

    bool LOG_Get_Message()
    {
        const LogSource::Step step = m_source.Next(m_record, is_stopped);
        while (step == LogSource::Step::beyond_end && !is_stopped()) {
            wait_at_most(one_second);
        }
        return step == LogSource::Step::record && !is_stopped();
    }

    // A packet that the log cut comes as far as it was kept: the rest reads as zeros.
    void Take_Packet(InboundRecord& record)
    {
        record.status = TCP_STATUS_PACKET_RECEIVED;
        record.data = m_record.packet();
        record.source = identity_of(m_record.source());
        std::fill(std::begin(record.extra), std::end(record.extra), '\0');
        record.extra[priority_at] = m_record.priority();
    }

    // Each opening is a connection of its own, as the driver would count them.
    void Take_Opening(InboundRecord& record)
    {
        Take_Status(record, TCP_STATUS_OPEN_CONNECTION);
        Store_News(record.extra, {.connection = ++m_connections, .host = 0});
    }

    void Take_Status(InboundRecord& record, int status)
    {
        const std::string_view body = m_record.body();
        record.status = status;
        record.source = identity_of(body.size() > 2 ? body[2] : '\0');
        record.data = {record.source, 1};
        std::fill(std::begin(record.extra), std::end(record.extra), '\0');
    }

    void Feed(const InboundRecord& record)
    {
        Glb_Recv_Mss->Collect(record.status, record.data.data(), static_cast<int>(record.data.size()), record.source,
                              record.extra);
        ++m_fed;
    }

    // Behind the end of the last primary table the reader posts a record to itself, which a server's next message would
    // follow: it waits for what that record sends. So nothing may stand in the ring ahead of it here.
    static bool Ends_A_Table(const InboundRecord& record)
    {
        return record.status == TCP_STATUS_PACKET_RECEIVED && record.data.substr(0, 3) == "888" &&
               record.data.size() > 3 && record.data[3] == DATA_END_TRANS_CHAR;
    }

    [[nodiscard]] std::uint64_t Waiting() const
    {
        const std::uint64_t acted_on = qapi::Records_Acted_On() - m_acted_on_before;
        return m_fed > acted_on ? m_fed - acted_on : 0;
    }

    [[nodiscard]] bool Is_Room() const
    {
        return Waiting() <= most_waiting && Glb_Log_Mss->Get_Total_Pending() <= most_waiting_in_log;
    }
    [[nodiscard]] bool Is_Acted_On() const { return Waiting() == 0; }

    // False if the stop came meanwhile.
    [[nodiscard]] bool Wait_For_Room() const { return Wait_Until(&Replay::Is_Room); }
    [[nodiscard]] bool Wait_Until_Acted_On() const { return Wait_Until(&Replay::Is_Acted_On); }
    [[nodiscard]] bool Wait_Until(bool (Replay::*is_so)() const) const
    {
        for (int looks = 0; !(this->*is_so)(); ++looks) {
            constexpr int looks_without_sleep = 100;
            if (is_stopped()) {
                return false;
            }
            if (looks < looks_without_sleep) {
                std::this_thread::yield();
            } else {
                wait_at_most(look_again);
            }
        }
        return true;
    }

    LogSource& m_source;
    ExpandedRecord m_record;
    std::uint32_t m_connections = 0;
    std::uint64_t m_fed = 0;
    const std::uint64_t m_acted_on_before = qapi::Records_Acted_On();
};

} // namespace

void qapi::Stop_Replay()
{
    const std::lock_guard lock(L_stop->lock);
    L_stop->is_asked = true;
    L_stop->asked.notify_all();
}

void qapi::Prepare_Replay()
{
    const std::lock_guard lock(L_stop->lock);
    L_stop->is_asked = false;
}

int LOG_Set_Source_Messages(char* path, char* start, char* end)
{
    LOG_Text("Directing input from file = %s, range(%s:%s)", text_of(path).data(), or_empty(text_of(start)),
             or_empty(text_of(end)));
    RLE_init(RLE_MAX_LEN);
    *L_in_log_fp = LogSource::Open(path, text_of(start), text_of(end));
    if (*L_in_log_fp == nullptr) {
        LOG_Text("Input log file \"%s\", couldn't be opened", text_of(path).data());
        return 0;
    }
    return 1;
}

// A translation runs inside Login, so it ends at the later bound, where a replay stands still: nobody could end it
// there.
int LOG_Decompress(char* out_path)
{
    LogSource* const source = L_in_log_fp->get();
    const char* const shown_path = text_of(out_path).data();
    LOG_Text("Directing output translation to file = %s, range(%s:%s)", shown_path,
             or_empty(source != nullptr ? source->start() : ""), or_empty(source != nullptr ? source->end() : ""));
    OutputFile out;
    if (is_running_log(shown_path) || !out.Open(out_path)) {
        LOG_Text("Output log file \"%s\", couldn't be opened", shown_path);
        return 0;
    }
    const auto record = std::make_unique<ExpandedRecord>();
    while (source != nullptr && !is_exiting() && source->Next(*record, is_exiting) == LogSource::Step::record &&
           LOG_Put_Message(out, *record)) {
    }
    if (!out.Flush()) {
        LOG_Text("Output log file \"%s\", couldn't be written: %s", shown_path, std::strerror(out.Error()));
    }
    LOG_Text("Total of processed records = %" PRIu64, out.Written());
    LOG_Close_in_out_Files();
    return 1;
}

void* LOG_Do_Testing(void* /*unused*/)
{
    const std::unique_ptr<LogSource> source = std::move(*L_in_log_fp); // this thread's own, whatever a Logout releases
    if (source == nullptr) {
        LOG_Text("The input log file for testing is not opened, need a succesfull call to LOG_Set_Source_Messages");
        return nullptr;
    }
    const auto replay = std::make_unique<Replay>(*source);
    replay->Run();
    return nullptr;
}

void LOG_Close_in_out_Files()
{
    L_in_log_fp->reset();
}
