#include "log_reader.h"

#include "little_endian.h"
#include "support.h"

#include <algorithm>

namespace {

using namespace qapi::log_layout;

// Lengths above this can only be lengths read in the wrong byte order.
constexpr std::uint32_t other_byte_order_above = 61440;

struct Header
{
    std::uint32_t pkt_length;
    std::uint32_t data_length;
    std::uint32_t compressed_length;
    std::uint32_t status;
};

constexpr std::uint32_t swapped(std::uint32_t value)
{
    return value >> 24 | (value >> 8 & 0xFF00) | (value << 8 & 0xFF0000) | value << 24;
}

Header load_header(std::string_view bytes)
{
    Header header{.pkt_length = load_le<std::uint32_t>(bytes.data() + PKT_LENGTH),
                  .data_length = load_le<std::uint32_t>(bytes.data() + DATA_LENGTH),
                  .compressed_length = load_le<std::uint32_t>(bytes.data() + COMPRESSED_LENGTH),
                  .status = load_le<std::uint32_t>(bytes.data() + STATUS)};
    if (header.compressed_length > other_byte_order_above) {
        header = {swapped(header.pkt_length), swapped(header.data_length), swapped(header.compressed_length),
                  swapped(header.status)};
    }
    return header;
}

bool all_digits(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), ascii_digit);
}

bool all_zeros(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c == '\0'; });
}

// Why no record begins here, or null if one does. `bytes` reaches to the end of the input if it is shorter than the
// longest record.
const char* fault_of(std::string_view bytes)
{
    if (bytes.size() < BODY) {
        return "the input ends inside a header";
    }
    const std::string_view stamp = bytes.substr(DATE, DATE_WIDTH + HOUR_WIDTH);
    if (!all_digits(stamp) && !all_zeros(stamp)) {
        return "no date and time";
    }
    const Header header = load_header(bytes);
    if (header.compressed_length > LONGEST_BODY || header.pkt_length != BODY + header.compressed_length + 1) {
        return "lengths that don't fit together";
    }
    if (header.status > STATUS_MESSAGE) {
        return "an unknown status";
    }
    if (header.pkt_length > bytes.size()) {
        return "the input ends inside a record";
    }
    return bytes[header.pkt_length - 1] == '\n' ? nullptr : "no newline at the record's end";
}

LogEntry::Form form_of(const Header& header)
{
    if (header.compressed_length == std::uint64_t{PACKET} + header.data_length) {
        return LogEntry::Form::whole;
    }
    const bool is_cut = header.compressed_length == LONGEST_BODY && header.data_length > LONGEST_PACKET;
    return is_cut ? LogEntry::Form::cut : LogEntry::Form::compressed;
}

} // namespace

bool LogReader::next(LogEntry& entry)
{
    drop(m_lent);
    m_lent = 0;
    fill();
    entry = {};
    entry.offset = m_offset;
    if (ahead().empty()) {
        return false;
    }
    if (const char* fault = fault_of(ahead())) {
        skip_damage(entry, fault);
        return true;
    }
    read_record(entry);
    m_lent = static_cast<std::size_t>(entry.length);
    return true;
}

// A sound record stands ahead. A log that was translated to its expanded form has the message bit cleared, but keeps
// the packet's length.
void LogReader::read_record(LogEntry& entry)
{
    const std::string_view bytes = ahead();
    const Header header = load_header(bytes);
    entry.length = header.pkt_length;
    if (bytes[DATE] != '\0') {
        entry.date = bytes.substr(DATE, DATE_WIDTH);
        entry.hour = bytes.substr(HOUR, HOUR_WIDTH);
    }
    entry.priority = bytes[PRIORITY];
    entry.source = bytes[SOURCE];
    entry.body = bytes.substr(BODY, header.compressed_length);
    if (header.status == STATUS_MESSAGE || header.data_length > 0) {
        entry.form = form_of(header);
        entry.packet_length = header.data_length;
        read_message(entry);
    } else {
        entry.text = entry.body;
    }
}

void LogReader::read_message(LogEntry& entry)
{
    entry.kind = LogEntry::Kind::message;
    std::string_view plain = entry.body;
    if (entry.form == LogEntry::Form::compressed || is_block_of_its_own_length(entry)) {
        plain = restored(entry);
        entry.form = plain.empty() ? LogEntry::Form::unreadable : LogEntry::Form::compressed;
    }
    if (!plain.empty()) {
        const std::string_view label = plain.substr(LABEL, LOG_LABEL_LENGTH);
        entry.label = label.substr(0, label.find('\0'));
        entry.packet = plain.substr(PACKET);
    }
}

// A block may be as long as what it was made from, and then only its bytes tell it from a body that is stored whole.
bool LogReader::is_block_of_its_own_length(const LogEntry& entry)
{
    if (load_le<std::uint16_t>(entry.body.data()) != entry.body.size() || restored(entry).empty()) {
        return false;
    }
    const unsigned length =
        RLE_Compression(m_plain.data(), m_block.data(), static_cast<unsigned short>(entry.body.size()));
    return std::equal(entry.body.begin(), entry.body.end(), m_block.begin(), m_block.begin() + length,
                      [](char stored, unsigned char made) { return static_cast<unsigned char>(stored) == made; });
}

// Label, zeros and packet from a compressed body; empty if they don't come out of it.
std::string_view LogReader::restored(const LogEntry& entry)
{
    if (entry.body.size() > m_block.size()) {
        return {};
    }
    m_plain.fill(0); // the last word counts whole when it is compressed again
    std::copy(entry.body.begin(), entry.body.end(), m_block.begin());
    const unsigned length =
        RLE_Decompression(m_block.data(), m_plain.data(), RLE_MAX_LEN, static_cast<int>(entry.body.size()));
    if (length != std::uint64_t{PACKET} + entry.packet_length) {
        return {};
    }
    return {reinterpret_cast<const char*>(m_plain.data()), length};
}

// Afterwards the longest record stands ahead, or all that is left.
void LogReader::fill()
{
    if (m_begin + longest_record > m_buffer.size()) {
        std::copy(m_buffer.data() + m_begin, m_buffer.data() + m_end, m_buffer.data());
        m_end -= m_begin;
        m_begin = 0;
    }
    while (m_end - m_begin < longest_record && !m_source_ended) {
        const std::span<char> room = std::span(m_buffer).subspan(m_end);
        const std::size_t got = std::min(m_source(room), room.size());
        m_end += got;
        m_source_ended = got == 0;
    }
}

void LogReader::drop(std::size_t count)
{
    m_begin += count;
    m_offset += count;
}

void LogReader::skip_damage(LogEntry& entry, const char* reason)
{
    entry.kind = LogEntry::Kind::damage;
    entry.damage = reason;
    do {
        drop(1);
        fill();
    } while (!ahead().empty() && fault_of(ahead()) != nullptr);
    entry.length = m_offset - entry.offset;
}
