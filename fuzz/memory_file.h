// A file in memory, with a path to open it by.
#pragma once

#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

class MemoryFile
{
public:
    explicit MemoryFile(std::string_view bytes) : m_file(memfd_create("fuzz", 0))
    {
        if (write(m_file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
            std::abort();
        }
    }
    ~MemoryFile() { close(m_file); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(m_file); }

    [[nodiscard]] std::string bytes() const
    {
        std::string all(static_cast<std::size_t>(lseek(m_file, 0, SEEK_END)), '\0');
        if (pread(m_file, all.data(), all.size(), 0) != static_cast<ssize_t>(all.size())) {
            std::abort();
        }
        return all;
    }

private:
    int m_file;
};
