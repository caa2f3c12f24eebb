// One file of processed messages: "qapi.AB01.log" for type 1 of the server AB. docs/file_formats.md has its layout. The
// caller's lock guards it, but where a line says otherwise.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

namespace qapi {

// YYYYMMDD. In the order of its bytes a date is in the order of days.
struct MessageDate
{
    std::array<char, 8> bytes{};

    friend bool operator==(const MessageDate&, const MessageDate&) = default;
    friend bool operator<(const MessageDate& one, const MessageDate& other)
    {
        return std::memcmp(one.bytes.data(), other.bytes.data(), one.bytes.size()) < 0;
    }
};

struct LOG_HEADER
{
    std::uint32_t num_message = 0;      // in the file's header: the highest number received
    std::uint32_t num_message_proc = 0; // there: the number up to which all are finished; of a message: 1 if finished
    MessageDate message_date;
};

class ProcessedFile
{
public:
    // Null with errno if the file can't be opened or made.
    static std::shared_ptr<ProcessedFile> Open(const std::string& path);

    ProcessedFile(std::string path, int descriptor, std::int64_t size);
    ~ProcessedFile();
    ProcessedFile(const ProcessedFile&) = delete;
    ProcessedFile& operator=(const ProcessedFile&) = delete;

    [[nodiscard]] bool Is_New() const { return m_size == 0; }
    [[nodiscard]] std::int64_t Size() const { return m_size; } // bytes
    [[nodiscard]] const std::string& Path() const { return m_path; }

    // Nothing if there is none or less than its date of it; what nobody wrote reads as zeros.
    [[nodiscard]] std::optional<LOG_HEADER> Log_Take_Header(std::int64_t offset) const;

    // Rewrites the file's header. The first failure in a row is reported; a lock that is held stands inside a
    // ReportHold.
    void Log_Update_Header(const LOG_HEADER& header);

    // Marks the message as processed, then rewrites the header: if the process is killed in between, the server is
    // asked for the message again, and it is refused then.
    void Log_Processed_Record(std::uint32_t number, const MessageDate& date, const LOG_HEADER& header);

    // What Sync gave. The first failure in a row is reported, as a write's.
    void Tell_Sync(int error) { Tell(error, m_sync_is_failing); }

    // Waits for the disk where the configuration asks for it. 0 or errno. Any thread, without a lock.
    [[nodiscard]] int Sync() const;

private:
    void Tell(int error, bool& is_failing);
    [[nodiscard]] int Write_Processed(std::uint32_t number, const MessageDate& date) const;

    std::string m_path;
    int m_descriptor;
    std::int64_t m_size; // nobody else writes the file, so nothing has to be asked behind its end
    bool m_write_is_failing = false;
    bool m_sync_is_failing = false;
};

// Where the record of a message stands: up to 429,496,729,500, which no 32 bits hold.
constexpr std::int64_t offset_of_message(std::uint32_t number)
{
    return std::int64_t{number} * 100;
}
inline constexpr std::int64_t offset_of_file_header = 0;

} // namespace qapi

using qapi::LOG_HEADER;
using qapi::MessageDate;
using qapi::offset_of_file_header;
using qapi::offset_of_message;
using qapi::ProcessedFile;
