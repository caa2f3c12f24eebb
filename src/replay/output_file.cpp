#include "replay/output_file.h"

#include "record_io.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

OutputFile::~OutputFile()
{
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

bool OutputFile::Open(const char* path)
{
    m_descriptor = path != nullptr ? Open_Record_File(path) : -1;
    struct stat file
    {
    };
    if (m_descriptor < 0 || fstat(m_descriptor, &file) != 0) {
        return false;
    }
    m_offset = file.st_size;
    m_waiting.reserve(bytes_of_a_write + bytes_of_a_write / 2);
    return true;
}

bool OutputFile::Write(std::string_view record)
{
    if (m_error != 0) {
        return false;
    }
    m_waiting.insert(m_waiting.end(), record.begin(), record.end());
    ++m_records_waiting;
    return m_waiting.size() < bytes_of_a_write || Flush();
}

bool OutputFile::Flush()
{
    if (m_error == 0) {
        m_error = Write_At(m_descriptor, m_waiting, m_offset);
        if (m_error == 0) {
            m_offset += static_cast<std::int64_t>(m_waiting.size());
            m_written += m_records_waiting;
        } else if (ftruncate(m_descriptor, m_offset) != 0) {
            // Half a record stays at the end, where a reader of logs ends.
        }
    }
    m_waiting.clear();
    m_records_waiting = 0;
    return m_error == 0;
}
