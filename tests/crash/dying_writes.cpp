#include "crash/dying_writes.h"

#include <atomic>
#include <csignal>
#include <cstddef>
#include <dlfcn.h>
#include <unistd.h>

namespace {

constexpr std::size_t page = 4096;

std::atomic<int> writes_left{0};
std::atomic<char> moment_of_death{'\0'};

[[noreturn]] void die()
{
    kill(getpid(), SIGKILL);
    for (;;) {
        pause();
    }
}

using Write = ssize_t(int descriptor, const void* bytes, std::size_t count, off64_t offset);

Write* system_write()
{
    static auto* const found = reinterpret_cast<Write*>(dlsym(RTLD_NEXT, "pwrite64"));
    return found;
}

std::size_t bytes_on_first_page(std::size_t count, off64_t offset)
{
    const std::size_t room = page - static_cast<std::size_t>(offset) % page;
    return room < count ? room : count;
}

bool is_met(std::size_t count, off64_t offset)
{
    const bool counts = moment_of_death != 'w' || bytes_on_first_page(count, offset) < count;
    return counts && writes_left > 0 && writes_left.fetch_sub(1) == 1;
}

} // namespace

void crash::Die_At_Write(int number, const std::string& moment)
{
    moment_of_death = moment == "before" ? 'b' : moment == "within" ? 'w' : 'a';
    writes_left = number;
}

// In place of the system's, by the name that the library's calls have in a build with wide offsets.
extern "C" ssize_t pwrite64(int descriptor, const void* bytes, std::size_t count, off64_t offset)
{
    if (!is_met(count, offset)) {
        return system_write()(descriptor, bytes, count, offset);
    }
    if (moment_of_death != 'b') {
        const bool is_cut = moment_of_death == 'w';
        system_write()(descriptor, bytes, is_cut ? bytes_on_first_page(count, offset) : count, offset);
    }
    die();
}
