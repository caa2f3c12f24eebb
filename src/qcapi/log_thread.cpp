// The consumers' side of the running log: its file, and who writes it. As a rule that is the log thread; before it
// starts and after it has ended the thread that runs the session writes, through LOG_Write_Pending and LOG_End. Each
// takes a record and writes it under one lock, so that records reach the file in the order of the ring whoever writes.

#include "../arrm.h"
#include "../global.h"
#include "../mutex.h"
#include "../process_lifetime.h"
#include "../thrct.h"
#include "log.h"
#include "log_file.h"
#include "log_files.h"
#include "support.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t owner_only = S_IRUSR | S_IWUSR;

class RunningLogFile
{
public:
    // Both return whether the file is open.
    bool open_in(const char* directory);
    bool change_day();

    void write_record(const char* record, int length);
    void close();

private:
    bool open();
    void cut_torn_record(ssize_t written) const;

    std::string m_path;
    int m_descriptor = -1;
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
    struct stat file
    {
    };
    if (m_descriptor >= 0 && fstat(m_descriptor, &file) == 0 && S_ISREG(file.st_mode)) {
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

void RunningLogFile::write_record(const char* record, int length)
{
    if (m_descriptor < 0) {
        return;
    }
    ssize_t written = 0;
    do {
        written = ::write(m_descriptor, record, static_cast<std::size_t>(length));
    } while (written < 0 && errno == EINTR);
    if (written > 0 && written < length) {
        cut_torn_record(written);
    }
}

// The disk is full. Once it has room again, the next record must follow a whole one.
void RunningLogFile::cut_torn_record(ssize_t written) const
{
    const off_t end = lseek(m_descriptor, 0, SEEK_CUR);
    if (end >= written && ftruncate(m_descriptor, end - written) == 0) {
        lseek(m_descriptor, end - written, SEEK_SET);
    }
}

Mutex file_lock;
ProcessLifetime<RunningLogFile> log_file GUARDED_BY(file_lock){[] { return new RunningLogFile; }};
std::atomic<bool> log_is_open{false};
std::atomic<int> log_threads{0}; // running LOG_Process

// Takes one record and writes it. Returns its status, -1 if there was none.
int write_next_record() REQUIRES(file_lock)
{
    std::array<char, MESSAGE_TRANS_RECORD_SIZE> record;
    int length = 0;
    const int status = Glb_Log_Mss->Withdraw(record.data(), &length, nullptr, nullptr);
    if (status < 0) {
        return status;
    }
    if (LOG_Check_Update_Last_Log_Date() != 0 && !log_file->change_day()) {
        log_is_open.store(false, std::memory_order_relaxed);
    }
    if (status != TCP_STATUS_LOG_PACKET && status != TCP_SHUTTING_DOWN) {
        log_file->write_record(record.data(), length);
    }
    return status;
}

void write_pending() REQUIRES(file_lock)
{
    bool stop_met = false;
    while (Glb_Log_Mss->Check_For_Any_Pkt_Without_Wait() != 0 || Glb_Log_Mss->Is_Any_Pkt() != 0) {
        stop_met |= write_next_record() == TCP_SHUTTING_DOWN;
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
    THRCT_Increase_App_Thread_Counter();
    log_threads.fetch_add(1);
    int status = 0;
    while (status != TCP_SHUTTING_DOWN) {
        Glb_Log_Mss->Wait_For_Any_Pkt();
        const MutexLock lock(file_lock);
        status = write_next_record();
    }
    log_threads.fetch_sub(1);
    THRCT_Decrease_App_Thread_Counter();
    return nullptr;
}

void LOG_Write_Pending()
{
    const MutexLock lock(file_lock);
    write_pending();
}

void LOG_End()
{
    const MutexLock lock(file_lock);
    log_is_open.store(false); // first: what came after the last look would wait in the ring for the next log
    write_pending();
    log_file->close();
}
