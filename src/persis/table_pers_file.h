// A record file behind a table.
//
// A table loads once, and then asks Check_Forced_Save; it asks again after each save. Records that it saves or deletes
// while it loads are those that were handed to it.
#pragma once

#include "persis/pers_file.h"
#include "table/table_file.h"

#include <memory>
#include <vector>

namespace qapi {

class PersTableFile : public TableFile
{
public:
    // Null, with errno, if the file doesn't open.
    static std::unique_ptr<PersTableFile> Open(unsigned file_code, const char* file_name, unsigned rec_size);

    void Load(const Take& take) override;
    [[nodiscard]] bool Is_Converting() const override { return m_file.m_header.Get_Big_End() != 0; }

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
