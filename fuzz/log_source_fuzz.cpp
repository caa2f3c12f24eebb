// Any bytes as a running log that is replayed or translated: each record's lengths fit its body, no message is left
// compressed, all records lie between the bounds, and a translation reads as itself, to the byte. Up to the first
// damage it is what the other reader of logs reads.
//
// Input: a line "EARLIER,LATER" with the bounds, each of them empty if it is missing, and the bytes of the log.
#include "little_endian.h"
#include "memory_file.h"
#include "qcapi/log_reader.h"
#include "replay/log_source.h"
#include "require.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t longest_log = 1 << 16;
constexpr std::size_t longest_block = 40 + 2048;

struct Input
{
    std::string_view start;
    std::string_view end;
    std::string_view log;
};

Input input_of(std::string_view bytes)
{
    Input input{.start = {}, .end = {}, .log = bytes.substr(0, longest_log)};
    if (const std::size_t line = input.log.find('\n'); line != std::string_view::npos) {
        const std::string_view bounds = input.log.substr(0, line);
        const std::size_t comma = std::min(bounds.find(','), bounds.size());
        input.start = bounds.substr(0, comma);
        input.end = bounds.substr(std::min(comma + 1, bounds.size()));
        input.log.remove_prefix(line + 1);
    }
    return input;
}

std::uint32_t number_at(std::string_view record, std::size_t at)
{
    return load_le<std::uint32_t>(record.data() + at);
}

void check_lengths(const ExpandedRecord& record)
{
    const std::string_view bytes = record.bytes();
    const std::string_view body = record.body();
    require(bytes[0] == '2' && body.size() <= 61440 && bytes.size() == body.size() + 33);
    require(body.data() == bytes.data() + 32);
    require(number_at(bytes, 16) == bytes.size() && number_at(bytes, 24) == body.size());
    require(number_at(bytes, 28) != 1);
    require(record.priority() == bytes[14] && record.source() == bytes[15]);
}

void check_packet(const ExpandedRecord& record)
{
    const std::string_view packet = record.packet();
    const std::size_t there = record.body().size() - std::min<std::size_t>(88, record.body().size());
    require(packet.size() == std::min<std::size_t>(there, number_at(record.bytes(), 20)));
    require(packet.empty() || packet.data() == record.body().data() + 88);
}

void check_bounds(const ExpandedRecord& record, const Input& input)
{
    const std::string_view stamp = record.bytes().substr(0, 14);
    const std::string_view start = input.start.substr(0, stamp.size());
    const std::string_view end = input.end.substr(0, stamp.size());
    require(stamp.substr(0, start.size()) >= start && stamp.substr(0, end.size()) <= end);
}

struct Translation
{
    std::string bytes;
    LogSource::Step end = LogSource::Step::record;
};

Translation translation_of(std::string_view log, const Input& input)
{
    const MemoryFile file(log);
    const auto source = LogSource::Open(file.path().c_str(), input.start, input.end);
    require(source != nullptr);
    const auto record = std::make_unique<ExpandedRecord>();
    Translation translation;
    std::size_t records = 0;
    while ((translation.end = source->Next(*record)) == LogSource::Step::record) {
        check_lengths(*record);
        check_packet(*record);
        check_bounds(*record, input);
        translation.bytes += record->bytes();
        ++records;
    }
    require(records * 33 <= log.size() && translation.bytes.size() <= log.size() + records * longest_block);
    require(source->Next(*record) != LogSource::Step::record || translation.end == LogSource::Step::end);
    return translation;
}

// What both take for a record is the same to both. But the other reader goes by a message's length where this one tries
// whether its body is compressed, and it restores a body that its status calls a text: so of messages those count that
// are compressed to both.
void compare_with_reader(std::string_view log)
{
    const MemoryFile file(log);
    const auto source = LogSource::Open(file.path().c_str(), {}, {});
    const auto reader = std::make_unique<LogReader>([rest = log](std::span<char> room) mutable {
        const std::size_t count = rest.copy(room.data(), room.size());
        rest.remove_prefix(count);
        return count;
    });
    const auto record = std::make_unique<ExpandedRecord>();
    LogEntry entry;
    while (reader->next(entry) && entry.kind != LogEntry::Kind::damage && entry.date.starts_with('2')) {
        require(source->Next(*record) == LogSource::Step::record);
        require(record->bytes().substr(0, 8) == entry.date && record->bytes().substr(8, 6) == entry.hour);
        require(record->priority() == entry.priority && record->source() == entry.source);
        require(record->bytes().back() == '\n');
        require(entry.kind != LogEntry::Kind::text || record->body() == entry.body);
        const std::uint32_t status = number_at(log, static_cast<std::size_t>(entry.offset) + 28);
        require(entry.form != LogEntry::Form::compressed || status == 0 || record->packet() == entry.packet);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Input input = input_of({reinterpret_cast<const char*>(data), size});
    const Translation first = translation_of(input.log, input);
    const Translation second = translation_of(first.bytes, input);
    require(second.bytes == first.bytes && second.end == LogSource::Step::end);
    compare_with_reader(input.log);
    return 0;
}
