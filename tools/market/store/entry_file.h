// A file of entries that outlives its writer: each is written with its length and CRC-32 in front by one call, and who
// opens the file again gets the whole ones.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace qm {

class EntryFile
{
public:
    // Opens the file, or makes it, for this object alone: a second one that has it open would write over its entries.
    // Throws std::runtime_error with the file's name and the reason.
    explicit EntryFile(std::filesystem::path path);
    ~EntryFile();
    EntryFile(EntryFile&& other) noexcept;
    EntryFile& operator=(EntryFile&& other) noexcept;
    EntryFile(const EntryFile&) = delete;
    EntryFile& operator=(const EntryFile&) = delete;

    // Hands the entries to `take`, in their order, up to the first one that isn't whole or that `take` refuses. That
    // one and what is behind it are cut off. Throws std::runtime_error if the file can't be read or cut; nothing is cut
    // then.
    void Load(const std::function<bool(std::string_view entry)>& take);

    // In the file when it returns. Empty, or why it isn't: the file is then as it was before.
    std::string Append(std::string_view entry);

private:
    void Take_Header();
    bool Read_At(std::uint64_t offset, std::size_t count, std::string& bytes) const; // false: the file ends before
    std::string Write_At_End(std::string_view bytes);
    [[nodiscard]] std::uint64_t Size() const;
    void Cut(std::uint64_t size) const;
    [[noreturn]] void Complain(const std::string& what) const;
    void Close();

    std::filesystem::path m_path;
    int m_descriptor = -1;
    std::uint64_t m_end = 0; // of the last entry that is whole
};

} // namespace qm
