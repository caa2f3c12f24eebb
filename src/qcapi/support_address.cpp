#include "support.h"

#include "../mutex.h"
#include "../system_seam.h"

#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Address_Text = std::array<char, 255>;

// A look-up writes the text that no one has been given and then exchanges the two, so that a reader on another thread
// has either the address before or the one behind, whole.
constinit Mutex lookup_lock; // held through the look-up, which may take seconds; readers don't take it
Address_Text texts[2] GUARDED_BY(lookup_lock);
constinit std::atomic<char*> current_text{nullptr}; // one of `texts`; null before the first look-up

std::string last_local_address()
{
    std::vector<std::string> addresses;
    const bool found = System().local_addresses(addresses);
    return found && !addresses.empty() ? addresses.back() : "127.0.0.1";
}

char* keep(std::string_view address) REQUIRES(lookup_lock)
{
    char* const current = current_text.load(std::memory_order_relaxed);
    if (current != nullptr && address == current) {
        return current;
    }
    Address_Text& spare = current == texts[0].data() ? texts[1] : texts[0];
    spare.fill('\0');
    address.copy(spare.data(), spare.size() - 1);
    current_text.store(spare.data(), std::memory_order_release);
    return spare.data();
}

char* look_up_first() EXCLUDES(lookup_lock)
{
    const MutexLock lock(lookup_lock);
    char* const current = current_text.load(std::memory_order_relaxed);
    return current != nullptr ? current : keep(last_local_address());
}

} // namespace

void COMMON_Find_IP_LocalHost()
{
    const MutexLock lock(lookup_lock);
    keep(last_local_address());
}

char* COMMON_Get_IP_LocalHost()
{
    char* const current = current_text.load(std::memory_order_acquire);
    return current != nullptr ? current : look_up_first();
}
