#include "replay/log_source.h"

#include "little_endian.h"
#include "qcapi/log.h"
#include "qcapi/support.h"
#include "record_io.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace qapi::log_layout;

namespace {

constexpr char first_digit_of_year = '2';
constexpr std::size_t stamp_width = DATE_WIDTH + HOUR_WIDTH;

std::uint32_t number_at(const char* record, int at)
{
    return load_le<std::uint32_t>(record + at);
}

void put_number(char* record, int at, std::size_t value)
{
    store_le(record + at, static_cast<std::uint32_t>(value));
}

// Compared as far as the bound goes.
int compare_with(const char* stamp, const std::string& bound)
{
    return std::memcmp(stamp, bound.data(), std::min(bound.size(), stamp_width));
}

} // namespace

std::string_view ExpandedRecord::packet() const
{
    const std::string_view all = body();
    return all.substr(std::min<std::size_t>(PACKET, all.size()), number_at(m_bytes.data(), DATA_LENGTH));
}

// ---- Opening ---------------------------------------------------------------------------------------------------

// For writing as well, though nothing is written: a log that this process may not write is not its own.
std::unique_ptr<LogSource> LogSource::Open(const char* path, std::string_view start, std::string_view end)
{
    const int descriptor = path != nullptr ? open(path, O_RDWR | O_CLOEXEC | O_NONBLOCK) : -1;
    if (descriptor < 0) {
        return nullptr;
    }
    struct stat file
    {
    };
    if (fstat(descriptor, &file) != 0 || !S_ISREG(file.st_mode)) {
        close(descriptor);
        return nullptr;
    }
    return std::unique_ptr<LogSource>(new LogSource(descriptor, file.st_size, start, end));
}

LogSource::LogSource(int descriptor, std::int64_t size, std::string_view start, std::string_view end)
    : m_descriptor(descriptor), m_left(size), m_start(start), m_end(end)
{
}

LogSource::~LogSource()
{
    close(m_descriptor);
}

// ---- Records ---------------------------------------------------------------------------------------------------

LogSource::Step LogSource::Next(ExpandedRecord& record, bool (*is_stopped)())
{
    if (m_is_beyond) {
        return Step::beyond_end;
    }
    char* const head = record.m_bytes.data();
    while (Read(std::span(record.m_bytes).first<BODY>())) {
        if (head[DATE] != first_digit_of_year) {
            LOG_Text("Bad record read, there is no possible to continue");
            return Step::end;
        }
        if (Is_Behind_End(record)) {
            m_is_beyond = true;
            return Step::beyond_end;
        }
        if (number_at(head, COMPRESSED_LENGTH) > ExpandedRecord::longest_body) {
            for (const int field : {PKT_LENGTH, DATA_LENGTH, COMPRESSED_LENGTH, STATUS}) {
                std::reverse(head + field, head + field + 4);
            }
        }
        if (!Is_Before_Start(record)) {
            return Take_Body(record);
        }
        if (!Skip(std::uint64_t{number_at(head, COMPRESSED_LENGTH)} + 1) || (is_stopped != nullptr && is_stopped())) {
            break;
        }
    }
    return Step::end;
}

bool LogSource::Is_Before_Start(const ExpandedRecord& record) const
{
    return compare_with(record.m_bytes.data(), m_start) < 0;
}

bool LogSource::Is_Behind_End(const ExpandedRecord& record) const
{
    return compare_with(record.m_bytes.data(), m_end) > 0;
}

// The header stands in the record, its numbers in this machine's order. A length that is too large in either order is
// that of no record.
LogSource::Step LogSource::Take_Body(ExpandedRecord& record)
{
    char* const head = record.m_bytes.data();
    record.m_body_length = number_at(head, COMPRESSED_LENGTH);
    if (record.m_body_length > ExpandedRecord::longest_body) {
        LOG_Text("Bad record read, there is no possible to continue");
        return Step::end;
    }
    if (!Read(std::span(record.m_bytes).subspan(BODY, record.m_body_length + 1))) {
        return Step::end;
    }
    if (number_at(head, STATUS) == STATUS_MESSAGE) {
        Expand(record);
    }
    // As the writer left it: what else stood here would be the length of no record.
    put_number(head, PKT_LENGTH, BODY + record.m_body_length + 1);
    return Step::record;
}

void LogSource::Expand(ExpandedRecord& record)
{
    char* const head = record.m_bytes.data();
    if (record.m_body_length <= m_block.size()) {
        const std::string_view stored = record.body();
        std::copy(stored.begin(), stored.end(), m_block.begin());
        const unsigned length =
            RLE_Decompression(m_block.data(), m_plain.data(), RLE_MAX_LEN, static_cast<int>(stored.size()));
        if (length != 0) {
            std::copy_n(m_plain.begin(), length, head + BODY);
            record.m_body_length = length;
        }
    }
    if (record.m_body_length != std::uint64_t{number_at(head, DATA_LENGTH)} + PACKET) {
        COMMON_Put_Syslog_Message(1, "Uncompressed packet does not fit the original length\n");
    }
    head[BODY + record.m_body_length] = '\n';
    put_number(head, STATUS, 0);
    put_number(head, COMPRESSED_LENGTH, record.m_body_length);
}

// ---- Bytes -----------------------------------------------------------------------------------------------------

bool LogSource::Read(std::span<char> target)
{
    while (!target.empty()) {
        if (m_ahead.empty() && !Fill()) {
            return false;
        }
        const std::size_t count = m_ahead.copy(target.data(), target.size());
        m_ahead.remove_prefix(count);
        target = target.subspan(count);
    }
    return true;
}

// What is not in the buffer yet is not read at all.
bool LogSource::Skip(std::uint64_t count)
{
    const std::uint64_t in_buffer = std::min<std::uint64_t>(count, m_ahead.size());
    m_ahead.remove_prefix(static_cast<std::size_t>(in_buffer));
    const std::uint64_t behind = std::min(count - in_buffer, static_cast<std::uint64_t>(m_left));
    m_offset += static_cast<std::int64_t>(behind);
    m_left -= static_cast<std::int64_t>(behind);
    return in_buffer + behind == count;
}

bool LogSource::Fill()
{
    const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(m_left, buffer_size));
    const std::int64_t count = wanted != 0 ? Read_At(m_descriptor, std::span(m_buffer).first(wanted), m_offset) : 0;
    if (count < 0) {
        LOG_Text("Input log file can't be read: %s", std::strerror(errno));
    }
    if (count <= 0) {
        return false;
    }
    m_offset += count;
    m_left -= count;
    m_ahead = {m_buffer.data(), static_cast<std::size_t>(count)};
    return true;
}
