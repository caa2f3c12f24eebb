#include "support.h"

#include "mutex.h"
#include "process_lifetime.h"
#include "system_seam.h"

#include <algorithm>
#include <array>
#include <forward_list>
#include <string>
#include <vector>

namespace {

using Address_Text = std::array<char, 255>;

// Every text found is kept for good: hosts and other threads hold pointers into it, and a machine has few addresses.
constinit ProcessLifetime<std::forward_list<Address_Text>> known_texts([] {
    return new std::forward_list<Address_Text>;
});
constinit std::atomic<char*> current_text{nullptr}; // one of them; null before the first look-up
constinit Mutex lookup_lock; // held through the look-up, which may take seconds; not taken to read the text

std::string last_local_address()
{
    std::vector<std::string> addresses;
    const bool found = System().local_addresses(addresses);
    return found && !addresses.empty() ? addresses.back() : "127.0.0.1";
}

Address_Text cut_to_size(const std::string& address)
{
    Address_Text text{};
    address.copy(text.data(), text.size() - 1);
    return text;
}

char* keep(const Address_Text& text) REQUIRES(lookup_lock)
{
    auto known = std::find(known_texts->begin(), known_texts->end(), text);
    if (known == known_texts->end()) {
        known_texts->push_front(text);
        known = known_texts->begin();
    }
    current_text.store(known->data(), std::memory_order_release);
    return known->data();
}

char* look_up_first() EXCLUDES(lookup_lock)
{
    const MutexLock lock(lookup_lock);
    char* const current = current_text.load(std::memory_order_relaxed);
    return current != nullptr ? current : keep(cut_to_size(last_local_address()));
}

} // namespace

void COMMON_Find_IP_LocalHost()
{
    const MutexLock lock(lookup_lock);
    keep(cut_to_size(last_local_address()));
}

char* COMMON_Get_IP_LocalHost()
{
    char* const current = current_text.load(std::memory_order_acquire);
    return current != nullptr ? current : look_up_first();
}
