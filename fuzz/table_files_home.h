// The working directory of one input: empty when it begins, and the process's own again when it ends. Tables that a
// range makes open their files have them here, and let go of them. The directory is removed with the process.
#pragma once

#include "require.h"
#include "tblproc/tblproc.h"

#include <cstdlib>
#include <filesystem>
#include <string>

class TableFilesHome
{
public:
    TableFilesHome() : m_before(std::filesystem::current_path())
    {
        std::filesystem::current_path(directory());
        forget();
    }
    ~TableFilesHome()
    {
        forget();
        std::filesystem::current_path(m_before);
    }
    TableFilesHome(const TableFilesHome&) = delete;
    TableFilesHome& operator=(const TableFilesHome&) = delete;

private:
    static void forget()
    {
        qapi::Forget_Table_Files();
        for (const auto& entry : std::filesystem::directory_iterator(directory())) {
            std::filesystem::remove_all(entry.path());
        }
    }

    static const std::filesystem::path& directory()
    {
        static const std::filesystem::path* made = [] {
            const std::filesystem::path memory = "/dev/shm"; // making and removing files takes half an input's time
            const std::filesystem::path parent =
                std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
            std::string pattern = (parent / "qapi-fuzz-XXXXXX").string();
            require(mkdtemp(pattern.data()) != nullptr);
            std::atexit([] { std::filesystem::remove_all(directory()); });
            return new std::filesystem::path(pattern);
        }();
        return *made;
    }

    std::filesystem::path m_before;
};
