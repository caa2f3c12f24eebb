//   offset  width  of the file
//        0      8  "QMSTORE\n"
//        8      4  version, 1
//       12         entries
//
//   offset  width  of an entry
//        0      4  length of its bytes
//        4      4  CRC-32 of the length and the bytes, as COMMON_Get_Crc32 gives it
//        8         its bytes
//
// Integers are little-endian.
#include "store/entry_file.h"

#include "little_endian.h"
#include "qcapi/support.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace qm {

namespace {

constexpr std::string_view magic = "QMSTORE\n";
constexpr std::uint32_t version = 1;
constexpr std::size_t header_len = magic.size() + sizeof version;
constexpr std::size_t frame_len = 8;
constexpr std::size_t longest_entry = 16 * 1024 * 1024; // bytes: a length above it is damage

std::string word(std::uint32_t value)
{
    std::array<char, sizeof value> bytes{};
    store_le(bytes.data(), value);
    return {bytes.data(), bytes.size()};
}

std::string file_header()
{
    return std::string(magic) + word(version);
}

std::uint32_t crc_of(std::string_view length, std::string_view entry)
{
    const std::uint32_t so_far = COMMON_Get_Crc32(length.data(), static_cast<int>(length.size()), 0);
    return COMMON_Get_Crc32(entry.data(), static_cast<int>(entry.size()), so_far);
}

std::string reason()
{
    return std::strerror(errno);
}

} // namespace

EntryFile::EntryFile(std::filesystem::path path)
    : m_path(std::move(path)), m_descriptor(open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0644))
{
    try {
        if (m_descriptor < 0) {
            Complain("can't be opened: " + reason());
        }
        struct stat status
        {
        };
        if (fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
            Complain("is no regular file");
        }
        if (flock(m_descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            Complain("is in use by another market");
        }
        Take_Header();
    } catch (...) {
        Close();
        throw;
    }
}

EntryFile::~EntryFile()
{
    Close();
}

EntryFile::EntryFile(EntryFile&& other) noexcept
    : m_path(std::move(other.m_path)), m_descriptor(std::exchange(other.m_descriptor, -1)), m_end(other.m_end)
{
}

EntryFile& EntryFile::operator=(EntryFile&& other) noexcept
{
    std::swap(m_path, other.m_path);
    std::swap(m_descriptor, other.m_descriptor);
    std::swap(m_end, other.m_end);
    return *this;
}

void EntryFile::Close()
{
    if (m_descriptor >= 0) {
        close(m_descriptor);
        m_descriptor = -1;
    }
}

void EntryFile::Complain(const std::string& what) const
{
    throw std::runtime_error(m_path.string() + ": " + what);
}

std::uint64_t EntryFile::Size() const
{
    struct stat status
    {
    };
    if (fstat(m_descriptor, &status) != 0) {
        Complain("can't be read: " + reason());
    }
    return static_cast<std::uint64_t>(status.st_size);
}

void EntryFile::Cut(std::uint64_t size) const
{
    if (ftruncate(m_descriptor, static_cast<off_t>(size)) != 0) {
        Complain("can't be written: " + reason());
    }
}

// A writer that died with the header half written left a beginning of it.
void EntryFile::Take_Header()
{
    const std::string expected = file_header();
    std::string found;
    Read_At(0, static_cast<std::size_t>(std::min<std::uint64_t>(Size(), header_len)), found);
    if (found == expected) {
        m_end = header_len;
        return;
    }
    if (!expected.starts_with(found)) {
        Complain(found.starts_with(magic) && found.size() == header_len ? "is a store of another version"
                                                                        : "is no store of messages");
    }
    Cut(0);
    if (const std::string failure = Write_At_End(expected); !failure.empty()) {
        throw std::runtime_error(failure);
    }
}

bool EntryFile::Read_At(std::uint64_t offset, std::size_t count, std::string& bytes) const
{
    bytes.resize(count);
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = pread(m_descriptor, bytes.data() + done, count - done, static_cast<off_t>(offset + done));
        if (got == 0) {
            return false;
        }
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            Complain("can't be read: " + reason());
        }
    }
    return true;
}

void EntryFile::Load(const std::function<bool(std::string_view entry)>& take)
{
    const std::uint64_t size = Size();
    std::string frame;
    std::string entry;
    while (size - m_end >= frame_len && Read_At(m_end, frame_len, frame)) {
        const auto len = load_le<std::uint32_t>(frame.data());
        if (len > longest_entry || len > size - m_end - frame_len || !Read_At(m_end + frame_len, len, entry) ||
            load_le<std::uint32_t>(frame.data() + 4) != crc_of(std::string_view(frame).substr(0, 4), entry) ||
            !take(entry)) {
            break;
        }
        m_end += frame_len + len;
    }
    if (m_end != size) {
        Cut(m_end);
    }
}

std::string EntryFile::Append(std::string_view entry)
{
    if (entry.size() > longest_entry) {
        return m_path.string() + ": an entry of " + std::to_string(entry.size()) + " bytes is too long";
    }
    const std::string length = word(static_cast<std::uint32_t>(entry.size()));
    std::string bytes = length + word(crc_of(length, entry));
    bytes += entry;
    return Write_At_End(bytes);
}

// A part of them is cut off again; if that fails too, the next Load does it.
std::string EntryFile::Write_At_End(std::string_view bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t put =
            pwrite(m_descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(m_end + done));
        if (put > 0) {
            done += static_cast<std::size_t>(put);
        } else if (put == 0 || errno != EINTR) {
            std::string failure = m_path.string() + ": can't be written: " + (put == 0 ? "no progress" : reason());
            static_cast<void>(ftruncate(m_descriptor, static_cast<off_t>(m_end)) == 0);
            return failure;
        }
    }
    m_end += bytes.size();
    return {};
}

} // namespace qm
