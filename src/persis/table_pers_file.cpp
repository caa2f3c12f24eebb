#include "persis/table_pers_file.h"

#include <array>
#include <cerrno>

namespace qapi {

std::unique_ptr<PersTableFile> PersTableFile::Open(unsigned file_code, const char* file_name, unsigned rec_size)
{
    std::unique_ptr<PersTableFile> opened(new PersTableFile(file_code, file_name, rec_size));
    return opened->m_file.Open(DO_NOT_RENAME) != 0 ? std::move(opened) : nullptr;
}

void PersTableFile::Load(const Take& take)
{
    std::array<char, PERSIS_IDENTITY_SIZE> env_crc32{};
    for (unsigned number = 1; m_file.Load_Next_Record(&number, m_data_info.data(), env_crc32.data()) != 0; ++number) {
        if (m_file.m_record_p->Was_Cut()) {
            env_crc32.fill(0); // a table computes it where there is none
        }
        take(number, m_data_info, env_crc32);
    }
    if (Is_Converting()) {
        Be_Native();
    }
    static_cast<void>(m_file.m_h.flush()); // what it wrote back; the next load does it again
}

void PersTableFile::Be_Native()
{
    m_file.m_header.Not_Use_Big_End();
    m_file.m_header.Write_Data(0);
    m_file.m_record_header.Not_Use_Big_End();
    m_file.m_record_p->Not_Use_Big_End();
}

void PersTableFile::Save_Record(unsigned number, const char* data_info, const char* env_crc32)
{
    if (m_file.m_save_file_again != 0) {
        return; // all are saved again soon
    }
    const int result = m_file.Save_Record(number, data_info, env_crc32);
    if (result == MUST_SAVE_ALL_FILE_AGAIN) {
        m_file.m_save_file_again = 1;
    } else {
        Note(result != 0, number);
    }
}

void PersTableFile::Delete_Record(unsigned number)
{
    const bool was_written = number <= m_file.m_header.max_number_of_records;
    if (was_written) {
        Note(m_file.Delete_Record(number) != 0, number);
    }
}

bool PersTableFile::Check_Forced_Save()
{
    return m_file.Check_Forced_Save() != 0;
}

// A full disk would fill the log as well: a failure is told when it begins.
void PersTableFile::Note(bool written, unsigned number)
{
    if (!written && !m_failure_told) {
        PERSIS_Report_Error(2, "Record %u could not be written to the file %s, error = %d\n", number,
                            m_file.m_file_name, errno);
    }
    m_failure_told = !written;
}

} // namespace qapi
