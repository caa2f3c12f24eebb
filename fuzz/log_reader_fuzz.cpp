// Any bytes read as a running log: the entries cover the input without a gap, no view leaves its record, and an input
// that arrives in crumbs reads like one that arrives whole.
#include "qcapi/log_reader.h"
#include "require.h"

#include <algorithm>
#include <memory>
#include <string>

namespace {

LogReader::Source crumbs_of(std::string_view input, std::size_t size)
{
    return [input, size](std::span<char> room) mutable {
        const std::size_t count = input.copy(room.data(), std::min(room.size(), size));
        input.remove_prefix(count);
        return count;
    };
}

bool same(const LogEntry& one, const LogEntry& other)
{
    return one.kind == other.kind && one.form == other.form && one.offset == other.offset &&
           one.length == other.length && one.date == other.date && one.hour == other.hour && one.body == other.body &&
           one.label == other.label && one.packet == other.packet && one.text == other.text;
}

void check(const LogEntry& entry, const LogEntry& before)
{
    require(entry.offset == before.offset + before.length && entry.length > 0);
    if (entry.kind == LogEntry::Kind::damage) {
        require(before.kind != LogEntry::Kind::damage || before.length == 0);
        return;
    }
    require(entry.length == entry.body.size() + 33 && entry.body.data()[entry.body.size()] == '\n');
    require(entry.label.size() <= 72 && entry.packet.size() <= entry.packet_length);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const std::string input(data, data + size);
    const auto whole = std::make_unique<LogReader>(crumbs_of(input, input.size()));
    const auto crumbs = std::make_unique<LogReader>(crumbs_of(input, 1 + size % 97));
    LogEntry before;
    LogEntry entry;
    LogEntry other;
    while (whole->next(entry)) {
        require(crumbs->next(other) && same(entry, other));
        check(entry, before);
        before = entry;
    }
    require(!crumbs->next(other) && before.offset + before.length == input.size());
    return 0;
}
