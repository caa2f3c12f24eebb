// The consumers' side of the running log: its file, and who writes it. As a rule that is the log thread; before it
// starts and after it has ended the thread that runs the session writes, through LOG_Write_Pending and LOG_End. Each
// takes records and writes them under one lock, so that they reach the file in the order of the ring whoever writes.

#include "arrm.h"
#include "global.h"
#include "log.h"
#include "log_file.h"
#include "log_files.h"
#include "mutex.h"
#include "process_lifetime.h"
#include "record_io.h"
#include "support.h"
#include "thrct.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t owner_only = S_IRUSR | S_IWUSR;

// Records that were taken from the ring together. They share one reading of the clock and one write: under load these
// two system calls are nearly all that a record costs.
class Burst
{
public:
    static constexpr int max_records = 16;

    // Takes what waits, but nothing behind a stop: that is for whoever comes after the log thread. The first record's
    // post has been waited for. Returns the last status taken, -1 if there was none.
    int take_from(CMss_Arr& ring);

    [[nodiscard]] const char* bytes() const { return m_bytes.data(); }
    [[nodiscard]] int size() const { return m_size; }
    // Bytes of the records that lie wholly below `limit`.
    [[nodiscard]] int whole_records_below(int limit) const;

private:
    int take_record(CMss_Arr& ring);

    std::array<char, max_records * MESSAGE_TRANS_RECORD_SIZE> m_bytes{};
    std::array<int, max_records> m_ends{}; // of each record, in m_bytes
    int m_records = 0;
    int m_size = 0;
};

int Burst::take_from(CMss_Arr& ring)
{
    m_records = 0;
    m_size = 0;
    int last = -1;
    for (int taken = 0; taken < max_records && last != TCP_SHUTTING_DOWN; ++taken) {
        const int status = taken == 0 || ring.Check_For_Any_Pkt_Without_Wait() != 0 ? take_record(ring) : -1;
        if (status < 0) {
            break;
        }
        last = status;
    }
    return last;
}

int Burst::take_record(CMss_Arr& ring)
{
    int length = 0;
    const int status = ring.Withdraw(m_bytes.data() + m_size, &length, nullptr, nullptr);
    if (status >= 0 && status != TCP_STATUS_LOG_PACKET && status != TCP_SHUTTING_DOWN) {
        m_size += length;
        m_ends[static_cast<std::size_t>(m_records++)] = m_size;
    }
    return status;
}

int Burst::whole_records_below(int limit) const
{
    const auto* const end = m_ends.begin() + m_records;
    const auto* const torn = std::upper_bound(m_ends.begin(), end, limit);
    return torn == m_ends.begin() ? 0 : torn[-1];
}

class RunningLogFile
{
public:
    // Both return whether the file is open.
    bool open_in(const char* directory);
    bool change_day();

    void write(const Burst& burst);
    void close();
    void forget_path() { m_path.clear(); }
    [[nodiscard]] const std::string& path() const { return m_path; }

private:
    bool open();
    void cut(ssize_t count);

    std::string m_path;
    int m_descriptor = -1;
    off_t m_end = 0; // of the file; of a device, the bytes written
};

bool RunningLogFile::open_in(const char* directory)
{
    // A process whose working directory is gone may have no name for it; the root is no substitute.
    const std::string place = directory != nullptr ? directory : "";
    m_path = place.empty() ? QAPI_LOG_FILE_NAME : place + "/" + QAPI_LOG_FILE_NAME;
    LOG_Check_Update_Last_Log_Date();
    LOG_Check_Log_Files_Renaming(m_path.c_str());
    return open();
}

// The new day is that of the corrected clock, while a file's date is the machine's: they need not agree, so the date of
// the file has no say here.
bool RunningLogFile::change_day()
{
    if (m_descriptor < 0) {
        return false;
    }
    close();
    LOG_Rename_Log_Files(m_path.c_str());
    return open();
}

bool RunningLogFile::open()
{
    constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC;
    m_descriptor = ::open(m_path.c_str(), flags | O_APPEND, owner_only);
    if (m_descriptor < 0) {
        m_descriptor = ::open(m_path.c_str(), flags | O_TRUNC, owner_only);
    }
    m_end = 0;
    struct stat file = {};
    if (m_descriptor >= 0 && fstat(m_descriptor, &file) == 0 && S_ISREG(file.st_mode)) {
        m_end = file.st_size;
        fchmod(m_descriptor, owner_only); // whatever the umask took, and whatever an older file gave to others
    }
    return m_descriptor >= 0;
}

void RunningLogFile::close()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

void RunningLogFile::write(const Burst& burst)
{
    // A write that begins at the limit of file sizes is answered by a signal that ends the host.
    if (m_descriptor < 0 || burst.size() == 0 || !Is_Within_Limit(m_end + 1)) {
        return;
    }
    ssize_t written = 0;
    do {
        written = ::write(m_descriptor, burst.bytes(), static_cast<std::size_t>(burst.size()));
    } while (written < 0 && errno == EINTR);
    m_end += std::max<ssize_t>(written, 0);
    if (written > 0 && written < burst.size()) {
        // The disk is full. Once it has room again, the next record must follow a whole one.
        cut(written - burst.whole_records_below(static_cast<int>(written)));
    }
}

// Takes the last `count` bytes back.
void RunningLogFile::cut(ssize_t count)
{
    const off_t end = lseek(m_descriptor, 0, SEEK_CUR);
    if (end >= count && ftruncate(m_descriptor, end - count) == 0) {
        m_end = lseek(m_descriptor, end - count, SEEK_SET);
    }
}

Mutex file_lock;
ProcessLifetime<RunningLogFile> log_file GUARDED_BY(file_lock){[] { return new RunningLogFile; }};
ProcessLifetime<Burst> log_burst GUARDED_BY(file_lock){[] { return new Burst; }};
std::atomic<bool> log_is_open{false};
std::atomic<int> log_threads{0}; // running LOG_Process
std::atomic<void (*)()> close_other_files{nullptr};

// Returns the last status taken, -1 if nothing waited. The day is looked at after the records were taken, so a record
// that was stamped on a new day never stands in the old day's file.
int write_burst() REQUIRES(file_lock)
{
    const int status = log_burst->take_from(*Glb_Log_Mss);
    if (status >= 0 && LOG_Check_Update_Last_Log_Date() != 0 && !log_file->change_day()) {
        log_is_open.store(false, std::memory_order_relaxed);
    }
    log_file->write(*log_burst);
    return status;
}

void write_pending() REQUIRES(file_lock)
{
    bool stop_met = false;
    while (Glb_Log_Mss->Check_For_Any_Pkt_Without_Wait() != 0 || Glb_Log_Mss->Is_Any_Pkt() != 0) {
        stop_met |= write_burst() == TCP_SHUTTING_DOWN;
    }
    if (stop_met && log_threads.load() > 0) {
        // It was meant for the thread, which would wait for it for ever.
        Glb_Log_Mss->Collect(TCP_SHUTTING_DOWN, nullptr, 0, nullptr, nullptr);
    }
}

void write_report_line(const char* text)
{
    LOG_Text("%s", text);
}

} // namespace

bool LOG_Is_Open()
{
    return log_is_open.load(std::memory_order_relaxed);
}

void LOG_Write_If_Much_Waits()
{
    constexpr unsigned much = 512; // records
    if (Glb_Log_Mss->Get_Total_Pending() >= much && log_threads.load() == 0) {
        LOG_Write_Pending();
    }
}

void LOG_Init(const char* /*name*/, const char* dir)
{
    if (LOG_Is_Open()) {
        LOG_End();
    }
    Set_Report_Line_Sink(write_report_line);
    const MutexLock lock(file_lock);
    log_is_open.store(log_file->open_in(dir));
}

void* LOG_Process(void* /*unused*/)
{
    log_threads.fetch_add(1);
    const CountedThread counted;
    int status = 0;
    while (status != TCP_SHUTTING_DOWN) {
        Glb_Log_Mss->Wait_For_Any_Pkt();
        const MutexLock lock(file_lock);
        status = write_burst();
    }
    log_threads.fetch_sub(1);
    return nullptr;
}

void LOG_Write_Pending()
{
    const MutexLock lock(file_lock);
    write_pending();
}

void LOG_End()
{
    if (auto* const close_files = close_other_files.load()) {
        close_files();
    }
    const MutexLock lock(file_lock);
    log_is_open.store(false); // first: what came after the last look would wait in the ring for the next log
    write_pending();
    log_file->close();
    log_file->forget_path();
}

std::string LOG_Path()
{
    const MutexLock lock(file_lock);
    return log_file->path();
}

void qapi::Set_Log_End_Sink(void (*close_files)())
{
    close_other_files.store(close_files);
}
