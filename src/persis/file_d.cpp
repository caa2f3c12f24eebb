#include "persis/file_d.h"

#include "record_io.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

static_assert(sizeof(off_t) == sizeof(std::int64_t), "slots lie beyond 4 GB");

namespace {

// Where a slot of a damaged file lies may be no place at all.
bool is_in_reach(std::uint64_t position, std::size_t size)
{
    return position <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) - size;
}

} // namespace

int CFile_d::open(const char* name)
{
    close();
    m_descriptor = Open_Record_File(name);
    return is_open() ? 1 : 0;
}

void CFile_d::close()
{
    if (is_open()) {
        ::close(m_descriptor);
    }
    m_descriptor = -1;
    m_position = 0;
    Forget();
}

int CFile_d::unlink(const char* name)
{
    return ::unlink(name);
}

int CFile_d::rename(const char* from, const char* to)
{
    return std::rename(from, to);
}

int CFile_d::write(const void* bytes, std::size_t size)
{
    const std::span<const char> from(static_cast<const char*>(bytes), size);
    const int error = Write(from);
    if (error != 0) {
        Forget(); // part of it may stand there
        errno = error;
        return 0;
    }
    Patch_Window(m_position, from);
    m_position += size;
    return 1;
}

int CFile_d::Write(std::span<const char> bytes)
{
    if (!is_in_reach(m_position, bytes.size())) {
        return EFBIG;
    }
    const auto place = static_cast<std::int64_t>(m_position);
    const bool is_allowed = m_position + bytes.size() <= m_allowed;
    return is_allowed ? Write_At_Lower(m_descriptor, bytes, place) : Write_At(m_descriptor, bytes, place);
}

CFile_d::OneLookAtTheLimit::OneLookAtTheLimit(CFile_d& file, std::uint64_t end) : m_file(file)
{
    m_file.m_allowed = is_in_reach(end, 0) && Is_Within_Limit(static_cast<std::int64_t>(end)) ? end : 0;
}

bool CFile_d::OneLookAtTheLimit::allows() const
{
    errno = m_file.m_allowed == 0 ? EFBIG : errno;
    return m_file.m_allowed != 0;
}

std::span<const char> CFile_d::look(std::size_t size)
{
    if (!Has_In_Window(size)) {
        Fill_Window(size);
    }
    if (!Has_In_Window(0)) {
        return {};
    }
    const std::span<const char> from =
        std::span<const char>(m_window).subspan(static_cast<std::size_t>(m_position - m_window_start));
    const std::span<const char> there = from.first(std::min(size, from.size()));
    m_position += there.size();
    return there;
}

int CFile_d::flush() const
{
    const int error = Sync_Record_File(m_descriptor);
    errno = error != 0 ? error : errno;
    return error == 0 ? 1 : 0;
}

std::uint64_t CFile_d::size() const
{
    struct stat file = {};
    return fstat(m_descriptor, &file) == 0 ? static_cast<std::uint64_t>(file.st_size) : 0;
}

void CFile_d::Set_Reach(std::size_t reach)
{
    if (reach < m_reach) {
        m_window = {};
    }
    m_reach = reach;
}

bool CFile_d::Has_In_Window(std::size_t size) const
{
    return !m_window.empty() && m_position >= m_window_start && m_position - m_window_start <= m_window.size() &&
           size <= m_window.size() - (m_position - m_window_start);
}

void CFile_d::Fill_Window(std::size_t size)
{
    m_window.resize(std::max(m_reach, size));
    m_window_start = m_position;
    const std::int64_t count = is_in_reach(m_position, m_window.size())
                                   ? Read_At(m_descriptor, m_window, static_cast<std::int64_t>(m_position))
                                   : -1;
    m_window.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
}

void CFile_d::Patch_Window(std::uint64_t position, std::span<const char> bytes)
{
    const std::uint64_t begin = std::max(position, m_window_start);
    const std::uint64_t end = std::min(position + bytes.size(), m_window_start + m_window.size());
    if (begin < end) {
        std::copy_n(bytes.data() + (begin - position), end - begin,
                    m_window.begin() + static_cast<std::ptrdiff_t>(begin - m_window_start));
    }
}
