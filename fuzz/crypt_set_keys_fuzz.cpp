// Any bytes as lists of keys, one after the other. Each list is read up to its end mark and no further; the machines of
// the store are all different, none is 0, at most ten are new, and the last one seen has the numbers of its last entry.
#include "crypt/crypt.h"
#include "crypt/key_store.h"
#include "require.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace {

using Bytes = std::string;

// The model: every machine's last entry.
std::map<std::uint32_t, Bytes> entries;

std::uint32_t machine_of(const Bytes& entry)
{
    std::uint32_t machine = 0;
    for (int i = 3; i >= 0; --i) {
        machine = machine << 8 | static_cast<unsigned char>(entry[static_cast<std::size_t>(i)]);
    }
    return machine;
}

// Takes one list off the input, as long as it says it is; an end mark is added where it was cut.
Bytes take_list(Bytes& input)
{
    Bytes list;
    for (int i = 0; i < qapi::MAX_DS_KEYS; ++i) {
        Bytes entry = input.substr(0, qapi::STR_DS_KEY_SIZE);
        input.erase(0, qapi::STR_DS_KEY_SIZE);
        if (entry.size() < qapi::STR_DS_KEY_SIZE || machine_of(entry) == 0) {
            return list + Bytes(4, '\0');
        }
        list += entry;
        entries[machine_of(entry)] = entry;
    }
    return list;
}

bool is_key_of(const qapi::_KEY_NODE& node, const Bytes& entry)
{
    const auto unit_at = [&](std::size_t offset) { return machine_of(entry.substr(offset)); };
    for (std::size_t i = 0; i < 16; ++i) {
        if (node.v_n[i] != unit_at(4 + 4 * i)) {
            return false;
        }
    }
    return node.v_n[16] == 0 && node.v_e[0] == unit_at(68) && node.v_e[1] == 0;
}

void compare()
{
    std::set<std::uint32_t> seen;
    for (const qapi::_KEY_NODE* node = Frst_KEY_NODE; node != nullptr; node = node->next.get()) {
        require(seen.insert(node->dest).second && entries.count(node->dest) == 1);
        require(is_key_of(*node, entries[node->dest]) && qapi::crypt_find_key(node->dest) == node);
    }
    require(seen.size() == entries.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    entries.clear();
    Bytes input(data, data + std::min<std::size_t>(size, 4000));
    while (!input.empty()) {
        const Bytes list = take_list(input);
        const auto exact = std::make_unique<char[]>(list.size());
        std::copy(list.begin(), list.end(), exact.get());
        crypt_set_keys(exact.get());
        compare();
    }
    crypt_end();
    require(Frst_KEY_NODE == nullptr && qapi::crypt_find_key(1) == nullptr);
    return 0;
}
