#include "persis/file_d.h"

#include "persis/persis.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

static_assert(sizeof(off_t) == sizeof(std::int64_t), "slots lie beyond 4 GB");

namespace {

// True if the system takes a write there. A write at the limit of the file's size would otherwise not only fail: its
// signal ends the process, and how the process handles signals is the host's matter.
bool may_write_at(std::uint64_t position, std::size_t size)
{
    constexpr auto farthest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    rlimit limit = {};
    if (position > farthest - size || (getrlimit(RLIMIT_FSIZE, &limit) == 0 && position >= limit.rlim_cur)) {
        errno = EFBIG;
        return false;
    }
    return true;
}

bool is_regular(int descriptor)
{
    struct stat file = {};
    return fstat(descriptor, &file) == 0 && S_ISREG(file.st_mode);
}

ssize_t read_at(int descriptor, std::span<char> to, std::uint64_t position)
{
    ssize_t count = 0;
    do {
        count = ::pread(descriptor, to.data(), to.size(), static_cast<off_t>(position));
    } while (count < 0 && errno == EINTR);
    return count;
}

} // namespace

int CFile_d::open(const char* name)
{
    close();
    // A pipe of this name must not stop the process until somebody opens its other end.
    constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    m_descriptor = ::open(name, flags, S_IRUSR | S_IWUSR);
    if (m_descriptor >= 0 && !is_regular(m_descriptor)) {
        close();
        errno = EINVAL;
    }
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
    std::span<const char> rest(static_cast<const char*>(bytes), size);
    while (!rest.empty()) {
        if (!May_Write(rest.size())) {
            return 0;
        }
        const ssize_t count = ::pwrite(m_descriptor, rest.data(), rest.size(), static_cast<off_t>(m_position));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return 0;
        }
        const auto written = static_cast<std::size_t>(count);
        Patch_Window(m_position, rest.first(written));
        m_position += written;
        rest = rest.subspan(written);
    }
    return 1;
}

bool CFile_d::May_Write(std::size_t size)
{
    if (m_position < m_allowed) {
        return true;
    }
    const bool may = may_write_at(m_position, size);
    m_allowed = may && m_keeps_limit ? m_position : m_allowed;
    return may;
}

std::size_t CFile_d::read(void* bytes, std::size_t size)
{
    const std::span<const char> there = look(size);
    std::memcpy(bytes, there.data(), there.size());
    return there.size();
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
    return !PERSIS_Is_Synchronous() || fdatasync(m_descriptor) == 0 ? 1 : 0;
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
    const bool in_reach = m_position <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const ssize_t count = in_reach ? read_at(m_descriptor, m_window, m_position) : -1;
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
