// A directory of the test's own that is the working directory while the object lives, and is removed behind it.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class ScratchDirectory
{
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    [[nodiscard]] std::filesystem::path path(const std::string& name = {}) const { return m_path / name; }
    void write(const std::string& name, const std::string& bytes) const;
    [[nodiscard]] std::string read(const std::string& name) const;
    [[nodiscard]] bool has(const std::string& name) const { return std::filesystem::exists(path(name)); }

private:
    std::filesystem::path m_before;
    std::filesystem::path m_path;
};
