// A file that records are appended to, many with each write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace qapi {

class OutputFile
{
public:
    OutputFile() = default;
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Goes on behind what stands in the file; makes one that is missing, for its owner alone. False with errno.
    bool Open(const char* path);

    // Both are false once something could not be written: Error() is its errno then. The file ends behind the last
    // record whose write took; so many there are.
    bool Write(std::string_view record);
    bool Flush();
    [[nodiscard]] int Error() const { return m_error; }
    [[nodiscard]] std::uint64_t Written() const { return m_written; }

private:
    static constexpr std::size_t bytes_of_a_write = 256 * 1024;

    int m_descriptor = -1;
    std::int64_t m_offset = 0;
    std::vector<char> m_waiting;
    std::uint64_t m_records_waiting = 0;
    std::uint64_t m_written = 0;
    int m_error = 0;
};

} // namespace qapi

using qapi::OutputFile;
