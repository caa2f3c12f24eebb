// Everything in and out as lines of JSON, one a message:
//
//   {"time":"2026-01-15T12:00:00.123","client":1,"machine":"L001","direction":"in","number":111,"kind":"Orden_Transaccion",
//    "bytes":1501,"fields":{"mercado":71,...}}
//
// and what else happens, {"time":...,"client":1,"event":"connected","text":"127.0.0.1:40000"}. The fields are those
// with a value. Alive signals aren't written.
#pragma once

#include "clock.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace qm {

class Journal
{
public:
    explicit Journal(const Clock& clock);                                             // writes nothing
    Journal(const Clock& clock, const std::filesystem::path& file, bool with_fields); // appends; std::runtime_error
    ~Journal();

    enum class Direction
    {
        in,
        out
    };
    void Message(std::uint64_t client, std::string_view machine, Direction direction, std::string_view message);
    void Event(std::uint64_t client, std::string_view event, std::string_view text);
    void Flush();

    [[nodiscard]] bool is_on() const { return m_file != nullptr; }

private:
    const Clock& m_clock;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;
    bool m_with_fields = false;
};

} // namespace qm
