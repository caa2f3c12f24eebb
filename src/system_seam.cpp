#include "system_seam.h"

#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/random.h>
#include <sys/select.h>
#include <unistd.h>

namespace {

// What times() counts, without its system call, which would be most of a log line's cost, and without its wrap after
// 248 days in a 32-bit program.
std::int64_t real_ticks(int* ticks_per_second)
{
    static const int per_second = static_cast<int>(sysconf(_SC_CLK_TCK));
    *ticks_per_second = per_second;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t{now.tv_sec} * per_second + std::int64_t{now.tv_nsec} * per_second / 1'000'000'000;
}

std::int64_t real_wall_seconds()
{
    return std::time(nullptr);
}

int real_sleep(timeval span)
{
    return select(0, nullptr, nullptr, nullptr, &span);
}

bool real_wait(std::condition_variable& changed, std::unique_lock<std::mutex>& lock, timeval span)
{
    const auto wait = std::chrono::seconds(span.tv_sec) + std::chrono::microseconds(span.tv_usec);
    return changed.wait_for(lock, wait) == std::cv_status::no_timeout;
}

int real_wait_ready(pollfd* descriptors, unsigned count, timeval span)
{
    const timespec limit{.tv_sec = span.tv_sec, .tv_nsec = static_cast<long>(span.tv_usec) * 1000};
    return ppoll(descriptors, count, &limit, nullptr);
}

void real_random_bytes(void* target, std::size_t count)
{
    auto* bytes = static_cast<unsigned char*>(target);
    while (count > 0) {
        const ssize_t got = getrandom(bytes, count, 0);
        if (got > 0) {
            bytes += got;
            count -= static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            std::abort(); // a key that somebody can guess is worse than no program
        }
    }
}

std::string address_text(const addrinfo& entry)
{
    std::array<char, 255> text{};
    const void* address = nullptr;
    if (entry.ai_family == AF_INET) {
        address = &reinterpret_cast<const sockaddr_in*>(entry.ai_addr)->sin_addr;
    } else if (entry.ai_family == AF_INET6) {
        address = &reinterpret_cast<const sockaddr_in6*>(entry.ai_addr)->sin6_addr;
    }
    if (address == nullptr || inet_ntop(entry.ai_family, address, text.data(), text.size()) == nullptr) {
        return {};
    }
    return text.data();
}

bool real_local_addresses(std::vector<std::string>& texts)
{
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0) {
        return false;
    }
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(name.data(), nullptr, &hints, &found) != 0) {
        return false;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        if (std::string text = address_text(*entry); !text.empty()) {
            texts.push_back(std::move(text));
        }
    }
    return true;
}

constexpr SystemCalls real_system{.ticks = real_ticks,
                                  .wall_seconds = real_wall_seconds,
                                  .sleep = real_sleep,
                                  .wait = real_wait,
                                  .wait_ready = real_wait_ready,
                                  .random_bytes = real_random_bytes,
                                  .local_addresses = real_local_addresses,
                                  .sync_data = fdatasync};

constinit std::atomic<const SystemCalls*> system_in_force{&real_system};

} // namespace

const SystemCalls& qapi::System()
{
    return *system_in_force.load(std::memory_order_acquire);
}

const SystemCalls& qapi::Real_System()
{
    return real_system;
}

void qapi::Set_System(const SystemCalls* calls)
{
    system_in_force.store(calls != nullptr ? calls : &real_system, std::memory_order_release);
}
