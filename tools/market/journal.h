// Everything in and out as lines of JSON, one a message:
//
//   {"time":"2026-01-15T12:00:00.123","client":1,"machine":"L001","direction":"in","number":111,"kind":"Orden_Transaccion",
//    "bytes":1501,"fields":{"mercado":71,...}}
//
// and what else happens, {"time":...,"client":1,"event":"connected","text":"127.0.0.1:40000"}. The fields are those
// with a value; passwords are shown as "***". A kind without a name has none here, and a message that doesn't begin
// with a number has number -1. Alive signals aren't written.
//
// A record of a table has "letter" and "code" in front of its fields, which are there if the table's class is known.
#pragma once

#include "clock.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>

class CMessage;

namespace qm {

class Journal
{
public:
    explicit Journal(const Clock& clock);                                             // writes nothing
    Journal(const Clock& clock, const std::filesystem::path& file, bool with_fields); // appends; std::runtime_error
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // The class of the records of a table whose code isn't fixed: "CGTOrder" for a market's table of orders.
    void Name_Table(std::uint16_t code, std::string_view record_class);

    enum class Direction
    {
        in,
        out
    };
    void Message(std::uint64_t client, std::string_view machine, Direction direction, std::string_view message);
    void Event(std::uint64_t client, std::string_view event, std::string_view text);
    void Flush(); // what was written stays in a buffer of 64 KB until then

    [[nodiscard]] bool is_on() const { return m_file != nullptr; }

private:
    // The record that the bytes of a message are read with, null for one of no known class. It is used over and over.
    CMessage* Record_For(int number, std::string_view message);
    CMessage* Record_Of_Table(std::uint16_t code);
    void Write_Line(const std::string& line);

    const Clock& m_clock;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;
    bool m_with_fields = false;
    std::map<int, std::unique_ptr<CMessage>> m_records;             // by message number
    std::map<std::uint16_t, std::unique_ptr<CMessage>> m_of_tables; // by table code
};

} // namespace qm
