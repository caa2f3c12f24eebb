// A running log read in order, each record in its expanded form: the input of replay and translation. Unlike
// qcapi/log_reader.h it follows what old programs did with a log: it never looks for the next sound record, and the
// first bad one ends it.
#pragma once

#include "compress/rle.h"
#include "qcapi/log_layout.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qapi {

// A record of the running log, header and all. Its lengths fit its body, and a message's body stands as a text's does:
// label, zeros and packet in the clear, bit 0 of the status clear.
class ExpandedRecord
{
public:
    [[nodiscard]] std::string_view bytes() const { return {m_bytes.data(), log_layout::BODY + m_body_length + 1}; }
    [[nodiscard]] std::string_view body() const { return bytes().substr(log_layout::BODY, m_body_length); }
    [[nodiscard]] char priority() const { return m_bytes[log_layout::PRIORITY]; }
    [[nodiscard]] char source() const { return m_bytes[log_layout::SOURCE]; }

    // What stands of the packet of a message; the log keeps 3179 bytes of each.
    [[nodiscard]] std::string_view packet() const;

    // Bodies above this length can only have lengths read in the wrong byte order.
    static constexpr std::uint32_t longest_body = 61440;

private:
    friend class LogSource;

    // As it is read; afterwards the length of the body tells where the record ends.
    std::array<char, log_layout::BODY + longest_body + 1> m_bytes{};
    std::size_t m_body_length = 0;
};

class LogSource
{
public:
    // Opens a log for reading. It ends where the file ends now, so that one that is still written has an end. The
    // bounds are times, YYYYMMDDHHMMSS or a beginning of that; an empty one bounds nothing. Null if it can't be opened.
    static std::unique_ptr<LogSource> Open(const char* path, std::string_view start, std::string_view end);

    ~LogSource();
    LogSource(const LogSource&) = delete;
    LogSource& operator=(const LogSource&) = delete;

    enum class Step
    {
        record,
        end,        // of the input, or a record that can't be read
        beyond_end, // a record behind the later bound; it stays so
    };

    // The next record between the bounds. A bad one is told in the running log. Many records may stand ahead of the
    // earlier bound: `is_stopped`, if given, ends the search for it.
    Step Next(ExpandedRecord& record, bool (*is_stopped)() = nullptr);

    [[nodiscard]] const std::string& start() const { return m_start; }
    [[nodiscard]] const std::string& end() const { return m_end; }

private:
    LogSource(int descriptor, std::int64_t size, std::string_view start, std::string_view end);

    [[nodiscard]] bool Is_Before_Start(const ExpandedRecord& record) const;
    [[nodiscard]] bool Is_Behind_End(const ExpandedRecord& record) const;
    Step Take_Body(ExpandedRecord& record);
    void Expand(ExpandedRecord& record);

    bool Read(std::span<char> target); // all of it, or false
    bool Skip(std::uint64_t count);
    bool Fill();

    static constexpr std::size_t buffer_size = 256 * 1024;

    int m_descriptor;
    std::int64_t m_left; // bytes of the input that are not in the buffer yet
    std::int64_t m_offset = 0;
    std::string m_start;
    std::string m_end;
    bool m_is_beyond = false;
    std::array<char, buffer_size> m_buffer{};
    std::string_view m_ahead; // what of it hasn't been taken
    alignas(8) std::array<unsigned char, RLE_MAX_BLOCK> m_block{};
    alignas(8) std::array<unsigned char, RLE_MAX_LEN> m_plain{};
};

} // namespace qapi

using qapi::ExpandedRecord;
using qapi::LogSource;
