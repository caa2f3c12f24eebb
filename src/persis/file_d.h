// The file under a record file's blocks. Every read and write names its place; nothing is held back, so what was
// written is the kernel's when the call returns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class CFile_Header;

class CFile_d
{
public:
    CFile_d() = default;
    ~CFile_d() { close(); }
    CFile_d(const CFile_d&) = delete;
    CFile_d& operator=(const CFile_d&) = delete;

    // Opens a regular file for reading and writing; one that is missing is made, for its owner alone. Returns 1 or 0,
    // with errno.
    int open(const char* name);
    void close();
    [[nodiscard]] bool is_open() const { return m_descriptor >= 0; }

    // Both return 0, or -1 with errno.
    static int unlink(const char* name);
    static int rename(const char* from, const char* to);

    // The place of the next read or write, from the file's start.
    void seek(std::uint64_t position) { m_position = position; }

    // Writes all of it. Returns 1; 0, with errno, if the disk is full or a limit of the file's size is reached: part of
    // it may then stand in the file.
    int write(const void* bytes, std::size_t size);

    // The bytes from the place on, as many of them as are there, and moves behind them. Good until the next call.
    std::span<const char> look(std::size_t size);

    // Brings what was written to the disk itself, if the configuration asks for it (sync_files). Returns 1 or 0.
    [[nodiscard]] int flush() const;

    // How much is read at once: a slot and a little more, or a lot of slots when all are read in order.
    void Read_Slots_Alone() { Set_Reach(slot_reach); }
    void Read_Ahead() { Set_Reach(load_reach); }

    // The next reads see the file itself.
    void Forget() { m_window.clear(); }

    // Bytes of the file.
    [[nodiscard]] std::uint64_t size() const;

    CFile_Header* Last_CFile_Header = nullptr; // of this file; null if it has none

    // While one lives, writes before `end` don't look at the limit of the file's size: it was looked at once for all of
    // them, which costs as much as half a write. If the limit forbids them, none of them is to begin.
    class OneLookAtTheLimit
    {
    public:
        OneLookAtTheLimit(CFile_d& file, std::uint64_t end);
        ~OneLookAtTheLimit() { m_file.m_allowed = 0; }
        OneLookAtTheLimit(const OneLookAtTheLimit&) = delete;
        OneLookAtTheLimit& operator=(const OneLookAtTheLimit&) = delete;

        // False with errno.
        [[nodiscard]] bool allows() const;

    private:
        CFile_d& m_file;
    };

private:
    static constexpr std::size_t slot_reach = 4096;
    static constexpr std::size_t load_reach = 128 * 1024;

    int Write(std::span<const char> bytes);
    void Set_Reach(std::size_t reach);
    [[nodiscard]] bool Has_In_Window(std::size_t size) const;
    void Fill_Window(std::size_t size);
    void Patch_Window(std::uint64_t position, std::span<const char> bytes);

    int m_descriptor = -1;
    std::uint64_t m_position = 0;
    std::uint64_t m_allowed = 0; // places before it may be written
    std::size_t m_reach = slot_reach;
    std::uint64_t m_window_start = 0;
    std::vector<char> m_window; // bytes of the file from there on, as they are in it
};
