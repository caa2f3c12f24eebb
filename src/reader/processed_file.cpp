#include "reader/processed_file.h"

#include "little_endian.h"
#include "qcapi/errors.h"
#include "qcapi/support.h"
#include "record_io.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

// A record. What follows the date is always zero: message_length (4), extra_data (6), padding (2).
constexpr std::size_t number_at = 0;
constexpr std::size_t processed_at = 4;
constexpr std::size_t date_at = 8;
constexpr std::size_t bytes_in_use = 16;
using Record = std::array<char, 28>;

Record packed(const LOG_HEADER& header)
{
    Record record{};
    store_le(record.data() + number_at, header.num_message);
    store_le(record.data() + processed_at, header.num_message_proc);
    std::copy(header.message_date.bytes.begin(), header.message_date.bytes.end(), record.begin() + date_at);
    return record;
}

bool lies_on_two_pages(std::int64_t place)
{
    return place / SMALLEST_PAGE != (place + std::int64_t{sizeof(Record)} - 1) / SMALLEST_PAGE;
}

LOG_HEADER unpacked(const Record& record)
{
    LOG_HEADER header{
        load_le<std::uint32_t>(record.data() + number_at), load_le<std::uint32_t>(record.data() + processed_at), {}};
    std::copy_n(record.begin() + date_at, header.message_date.bytes.size(), header.message_date.bytes.begin());
    return header;
}

} // namespace

std::shared_ptr<ProcessedFile> ProcessedFile::Open(const std::string& path)
{
    const int descriptor = Open_Record_File(path);
    return descriptor < 0 ? nullptr : std::make_shared<ProcessedFile>(path, descriptor, lseek(descriptor, 0, SEEK_END));
}

ProcessedFile::ProcessedFile(std::string path, int descriptor, std::int64_t size)
    : m_path(std::move(path)), m_descriptor(descriptor), m_size(size)
{
}

ProcessedFile::~ProcessedFile()
{
    close(m_descriptor);
}

std::optional<LOG_HEADER> ProcessedFile::Log_Take_Header(std::int64_t offset) const
{
    Record record{};
    if (offset >= m_size || Read_At(m_descriptor, record, offset) < std::int64_t{bytes_in_use}) {
        return {};
    }
    return unpacked(record);
}

void ProcessedFile::Log_Update_Header(const LOG_HEADER& header)
{
    const Record record = packed(header);
    const int error = Write_At(m_descriptor, record, offset_of_file_header);
    m_size = std::max(m_size, std::int64_t{record.size()});
    Tell(error, m_write_is_failing);
}

void ProcessedFile::Log_Processed_Record(std::uint32_t number, const MessageDate& date, const LOG_HEADER& header)
{
    const int error = Write_Processed(number, date);
    m_size = std::max(m_size, offset_of_message(number) + std::int64_t{sizeof(Record)}); // also for a part of it
    const auto write_header = error == 0 ? Write_At_Lower : Write_At;
    const int header_error = write_header(m_descriptor, packed(header), offset_of_file_header);
    Tell(error != 0 ? error : header_error, m_write_is_failing);
}

// A killed process may leave the first page of such a record new and the second one old: of two dates a third, which
// may be ahead of both. The date is therefore written before the word that makes it count.
int ProcessedFile::Write_Processed(std::uint32_t number, const MessageDate& date) const
{
    const std::int64_t place = offset_of_message(number);
    const int error = lies_on_two_pages(place) ? Write_At(m_descriptor, packed({number, 0, date}), place) : 0;
    return error != 0 ? error : Write_At(m_descriptor, packed({number, 1, date}), place);
}

// One report for all messages that meet a full disk.
void ProcessedFile::Tell(int error, bool& is_failing)
{
    if (error != 0 && !is_failing) {
        COMMON_Put_Syslog_Message(QAPI_ERR_COULDNT_USE_LOG_FILES, "The following log file couldn't be written %s: %s",
                                  m_path.c_str(), std::generic_category().message(error).c_str());
    }
    is_failing = error != 0;
}

int ProcessedFile::Sync() const
{
    return Sync_Record_File(m_descriptor);
}
