// Reads a running log record by record, in constant memory, whatever bytes stand in it. Between sound records there may
// be damage (a disk that was full, a machine that stopped, an editor that was used): it is handed out as an entry of
// its own, and reading goes on at the next sound record. So the entries cover the input byte by byte, in order.
//
// A log that a machine of the other byte order wrote is read alike: its lengths look like values above 61440.
#pragma once

#include "compress/rle.h"
#include "log_layout.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

namespace qapi {

struct LogEntry
{
    enum class Kind
    {
        text,
        message,
        damage
    };

    // How the body of a message is stored.
    enum class Form
    {
        whole,
        cut,        // the packet's end did not fit the record
        compressed, // one block of zero-word suppression
        unreadable  // looks like such a block and is none
    };

    Kind kind = Kind::text;
    Form form = Form::whole;
    std::uint64_t offset = 0; // of the entry's first byte in the input
    std::uint64_t length = 0; // bytes of the record with its newline, or bytes skipped

    // Views hold until the next call of next(). Label and packet are what was restored of a compressed body, and empty
    // for an unreadable one.
    std::string_view date;   // YYYYMMDD; empty if the writer had no local time
    std::string_view hour;   // HHMMSS; likewise
    std::string_view body;   // everything between header and newline
    std::string_view text;   // text: the body
    std::string_view label;  // message: without the zeros behind it
    std::string_view packet; // message: what the record holds of it
    char priority = 0;
    char source = 0;
    std::uint32_t packet_length = 0; // of the whole packet, as it was sent or received

    const char* damage = ""; // why the first skipped byte does not begin a record
};

class LogReader
{
public:
    // Fills the span from the input, as far as it likes, and returns the number of bytes; 0 at the end.
    using Source = std::function<std::size_t(std::span<char>)>;

    explicit LogReader(Source source) : m_source(std::move(source)) {}

    // Writes the next entry; false at the end of the input.
    bool next(LogEntry& entry);

private:
    static constexpr std::size_t buffer_size = 64 * 1024; // far above a record, so that the rest is seldom moved
    static constexpr std::size_t longest_record = log_layout::LONGEST_RECORD;

    [[nodiscard]] std::string_view ahead() const { return {m_buffer.data() + m_begin, m_end - m_begin}; }
    void fill();
    void drop(std::size_t count);
    void read_record(LogEntry& entry);
    void read_message(LogEntry& entry);
    [[nodiscard]] bool is_block_of_its_own_length(const LogEntry& entry);
    [[nodiscard]] std::string_view restored(const LogEntry& entry);
    void skip_damage(LogEntry& entry, const char* reason);

    Source m_source;
    alignas(8) std::array<unsigned char, RLE_MAX_BLOCK> m_block{}; // a compressed body, and what was restored of it
    alignas(8) std::array<unsigned char, RLE_MAX_LEN> m_plain{};
    std::array<char, buffer_size> m_buffer{};
    std::size_t m_begin = 0; // the bytes not handed out yet
    std::size_t m_end = 0;
    std::size_t m_lent = 0; // bytes at m_begin that the last entry's views look at
    bool m_source_ended = false;
    std::uint64_t m_offset = 0; // of m_begin in the input
};

} // namespace qapi

using qapi::LogEntry;
using qapi::LogReader;
