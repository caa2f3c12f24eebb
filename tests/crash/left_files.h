// What a killed host leaves in its directory, read without the library's own readers of processed messages.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace crash {

// One of the files "qapi.AB00.log" to "qapi.AB02.log", as docs/file_formats.md has it.
class NumberFile
{
public:
    explicit NumberFile(const std::filesystem::path& path); // nothing, if there is none

    [[nodiscard]] std::uint32_t received() const { return word_at(0); }
    [[nodiscard]] std::uint32_t processed() const { return word_at(4); }
    [[nodiscard]] std::string date() const { return date_at(0); } // "" for none
    [[nodiscard]] bool is_finished(std::uint32_t number, const std::string& date) const;

private:
    [[nodiscard]] std::uint32_t word_at(std::size_t offset) const;
    [[nodiscard]] std::string date_at(std::size_t record) const;

    std::string m_bytes;
};

// Types A, B and C of a host.
class NumberFiles
{
public:
    explicit NumberFiles(const std::filesystem::path& directory);

    [[nodiscard]] const NumberFile& of(char type) const { return m_files.at(static_cast<std::size_t>(type - 'A')); }
    [[nodiscard]] bool has_finished(const std::string& message) const; // "B 17 20260105"

private:
    std::array<NumberFile, 3> m_files;
};

// The number that the header of a file in use has now as the last one received.
std::uint32_t Received_Now(const std::filesystem::path& path);

// The live records of a table's file, by row_text.h, in the order of their slots. A copy of it is read, as a load may
// write. Throws std::runtime_error if it doesn't open.
std::vector<std::string> Rows_In_File(const std::filesystem::path& path, std::size_t body_size);

} // namespace crash
