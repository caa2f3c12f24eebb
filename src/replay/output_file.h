// A file that is written from front to back, in large pieces.
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

    // Both are false once something could not be written: Error() is its errno then.
    bool Write(std::string_view bytes);
    bool Flush();
    [[nodiscard]] int Error() const { return m_error; }

private:
    static constexpr std::size_t piece = 256 * 1024;

    int m_descriptor = -1;
    std::int64_t m_offset = 0;
    std::vector<char> m_waiting;
    int m_error = 0;
};

} // namespace qapi

using qapi::OutputFile;
