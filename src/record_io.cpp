#include "record_io.h"

#include "system_seam.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

int Glb_sync_files = 0;

namespace {

constexpr mode_t owner_only = S_IRUSR | S_IWUSR;

int refuse(int descriptor, int reason)
{
    close(descriptor);
    errno = reason;
    return -1;
}

// The name of a new file stands in its directory, which is synchronised by itself.
void sync_directory_of(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int descriptor = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

} // namespace

int qapi::Open_Record_File(const std::string& path)
{
    // Without waiting for the other end of a pipe.
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, owner_only);
    struct stat file = {};
    if (descriptor < 0 || fstat(descriptor, &file) != 0) {
        return descriptor < 0 ? -1 : refuse(descriptor, errno);
    }
    if (!S_ISREG(file.st_mode)) {
        return refuse(descriptor, EINVAL);
    }
    if (file.st_size == 0 && Glb_sync_files != 0) {
        sync_directory_of(path);
    }
    return descriptor;
}

std::int64_t qapi::Read_At(int descriptor, std::span<char> bytes, std::int64_t offset)
{
    std::int64_t count = 0;
    do {
        count = pread(descriptor, bytes.data(), bytes.size(), offset);
    } while (count < 0 && errno == EINTR);
    return count;
}

// Asked anew each time: a limit that was read earlier may have been lowered since.
bool qapi::Is_Within_Limit(std::int64_t end)
{
    rlimit limit{};
    return getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
           static_cast<std::uint64_t>(end) <= limit.rlim_cur;
}

int qapi::Write_At(int descriptor, std::span<const char> bytes, std::int64_t offset)
{
    return Is_Within_Limit(offset + static_cast<std::int64_t>(bytes.size())) ? Write_At_Lower(descriptor, bytes, offset)
                                                                             : EFBIG;
}

int qapi::Write_At_Lower(int descriptor, std::span<const char> bytes, std::int64_t offset)
{
    std::int64_t count = 0;
    do {
        count = pwrite(descriptor, bytes.data(), bytes.size(), offset);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        return errno;
    }
    return count == static_cast<std::int64_t>(bytes.size()) ? 0 : ENOSPC;
}

int qapi::Sync_Record_File(int descriptor)
{
    return Glb_sync_files != 0 && System().sync_data(descriptor) != 0 ? errno : 0;
}
