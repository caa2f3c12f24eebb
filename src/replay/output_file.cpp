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
    m_waiting.reserve(piece + piece / 2);
    return true;
}

bool OutputFile::Write(std::string_view bytes)
{
    m_waiting.insert(m_waiting.end(), bytes.begin(), bytes.end());
    return m_waiting.size() < piece || Flush();
}

bool OutputFile::Flush()
{
    if (m_error == 0) {
        m_error = Write_At(m_descriptor, m_waiting, m_offset);
        m_offset += static_cast<std::int64_t>(m_waiting.size());
    }
    m_waiting.clear();
    return m_error == 0;
}
