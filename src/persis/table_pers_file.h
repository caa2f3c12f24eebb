// A record file behind a table.
//
// A table loads once, and then asks Check_Forced_Save; it asks again after each save. Records that it saves or deletes
// while it loads are those that were handed to it.
#pragma once

#include "persis/pers_file.h"
#include "table/table_file.h"

#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace qapi {

class PersTableFile : public TableFile
{
public:
    // A live record: its slot, and the bytes of DATA_INFO and ENV_CRC32. They are good during the call.
    using Take = std::function<void(unsigned number, std::span<const char> data_info, std::span<const char> env_crc32)>;

    // Null, with errno, if the file doesn't open.
    static std::unique_ptr<PersTableFile> Open(unsigned file_code, const char* file_name, unsigned rec_size);

    // Hands over all live records, in the order of their slots. A file of the other byte order is of ours behind it.
    void Load(const Take& take);

    // True while a file of the other byte order is loaded: each record is to be saved as it comes.
    [[nodiscard]] bool Is_Converting() const { return m_file.m_header.Get_Big_End() != 0; }

    unsigned Get_Next_Free() override { return m_file.Get_Next_Free(); }
    void Save_Record(unsigned number, const char* data_info, const char* env_crc32) override;
    void Delete_Record(unsigned number) override;
    bool Check_Forced_Save() override;

    CPersFile& File() { return m_file; }

private:
    PersTableFile(unsigned file_code, const char* file_name, unsigned rec_size)
        : m_file(file_code, file_name, rec_size), m_data_info(rec_size)
    {
    }
    void Note(bool written, unsigned number);
    void Be_Native();

    CPersFile m_file;
    std::vector<char> m_data_info;
    bool m_failure_told = false;
};

} // namespace qapi
