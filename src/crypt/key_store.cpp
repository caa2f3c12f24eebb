#include "crypt/key_store.h"

#include "crypt/key_file.h"
#include "crypt/wipe.h"
#include "little_endian.h"
#include "process_lifetime.h"
#include "system_seam.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qapi {

constinit key_data Actual_Key{};
constinit key_data Future_Key{};
constinit std::uint32_t this_equip = 0;
constinit word16 EK[IDEAKEYLEN]{};
constinit word16 DK[IDEAKEYLEN]{};
constinit unsigned short init_value = CRYPT_EMPTY_KEY;
constinit _KEY_NODE* Frst_KEY_NODE = nullptr;

} // namespace qapi

namespace {

using namespace qapi;

constexpr int public_key_size = 80;
constexpr std::size_t machine_offset = 8;
constexpr std::size_t modulus_offset = 12;
constexpr std::size_t exponent_offset = 76;

// Owns the nodes; Frst_KEY_NODE shows the first of them.
class Key_List
{
public:
    _KEY_NODE& add(std::uint32_t dest)
    {
        auto node = std::make_unique<_KEY_NODE>();
        node->dest = dest;
        node->next = std::move(m_first);
        put_first(std::move(node));
        return *m_first;
    }

    [[nodiscard]] _KEY_NODE* find(std::uint32_t dest) const
    {
        _KEY_NODE* node = m_first.get();
        while (node != nullptr && node->dest != dest) {
            node = node->next.get();
        }
        return node;
    }

    // Node by node: a destructor that calls the next one's would run out of stack on a long list.
    void clear()
    {
        while (m_first != nullptr) {
            put_first(std::move(m_first->next));
        }
    }

private:
    void put_first(std::unique_ptr<_KEY_NODE> node)
    {
        m_first = std::move(node);
        Frst_KEY_NODE = m_first.get();
    }

    std::unique_ptr<_KEY_NODE> m_first;
};

constinit ProcessLifetime<Key_List> key_list([] { return new Key_List; });

void read_key(const char* entry, _KEY_NODE& node)
{
    for (int i = 0; i < MAX_UNIT_PRECISION_512; ++i) {
        node.v_n[i] = load_le<unit>(entry + sizeof(unit) * static_cast<std::size_t>(1 + i));
    }
    node.v_e[0] = load_le<unit>(entry + STR_DS_KEY_SIZE - sizeof(unit));
}

std::uint32_t machine_of(const char* equip)
{
    char bytes[sizeof(std::uint32_t)] = {};
    std::memcpy(bytes, equip, strnlen(equip, sizeof bytes));
    return load_le<std::uint32_t>(bytes);
}

// What says in the file that there is no future key.
Key_Record random_record()
{
    Key_Record record{};
    System().random_bytes(record.data(), record.size());
    if (std::equal(record.begin(), record.begin() + 4, record.begin() + 4)) {
        ++record[5];
    }
    return record;
}

// The new key is in place before the old copy of it goes, so that a crash between the two loses none.
bool move_future_key_up(Key_File& file)
{
    Actual_Key = Future_Key;
    if (!file.write(CURRENT_KEY_OFFSET, Actual_Key)) {
        return false;
    }
    const Key_Record none = random_record();
    load_record(none, Future_Key);
    return file.write_plain(FUTURE_KEY_OFFSET, none);
}

bool change_password(Key_File& file, const char* new_password)
{
    crypt_gen_EKDK(new_password);
    return file.write(FUTURE_KEY_OFFSET, Future_Key) && file.write(CURRENT_KEY_OFFSET, Actual_Key);
}

unsigned short open_store(Key_File& file, const char* password, const char* new_password)
{
    crypt_gen_EKDK(password);
    if (!file.read(CURRENT_KEY_OFFSET, Actual_Key)) {
        return crypt_host_error(CRYPT_READ_FAILED);
    }
    if (!marks_agree(Actual_Key)) {
        return crypt_error(CRYPT_WRONG_PASSWORD);
    }
    if (!file.read(FUTURE_KEY_OFFSET, Future_Key)) {
        return crypt_host_error(CRYPT_READ_FAILED);
    }
    if (marks_agree(Future_Key) && day_has_come(Future_Key) && !move_future_key_up(file)) {
        return crypt_host_error(CRYPT_WRITE_FAILED);
    }
    if (Actual_Key.v_n[0] == 0) {
        return crypt_error(CRYPT_EMPTY_KEY);
    }
    if (new_password != nullptr && !change_password(file, new_password)) {
        return crypt_host_error(CRYPT_WRITE_FAILED);
    }
    global_precision = CRYPT_PRECISION;
    return 0;
}

unsigned short open_store(const char* path, const char* password, const char* new_password)
{
    Key_File file(path);
    if (!file.is_open()) {
        return crypt_host_error(CRYPT_NO_FILE);
    }
    const unsigned short result = open_store(file, password, new_password);
    return file.close() || result != 0 ? result : crypt_host_error(CRYPT_WRITE_FAILED);
}

void wipe_all_keys()
{
    Wipe(&Actual_Key, sizeof Actual_Key);
    Wipe(&Future_Key, sizeof Future_Key);
    Wipe(EK, sizeof EK);
    Wipe(DK, sizeof DK);
}

void wipe_private_numbers(key_data& key)
{
    for (const auto field : {&key_data::v_d, &key_data::v_p, &key_data::v_q, &key_data::v_u}) {
        Wipe(key.*field, sizeof(key.*field));
    }
}

// Behind a failure nobody uses a private number or the passphrase's key, and crypt_end would not wipe them. What is
// told about the public numbers stays: a record with bad marks must not become one whose zeros agree.
void wipe_what_failed()
{
    wipe_private_numbers(Actual_Key);
    wipe_private_numbers(Future_Key);
    Wipe(EK, sizeof EK);
    Wipe(DK, sizeof DK);
}

void store_public_numbers(char* out, std::uint32_t machine, const unit* modulus, unit exponent)
{
    store_le(out + machine_offset, machine);
    for (std::size_t i = 0; i < MAX_UNIT_PRECISION_512; ++i) {
        store_le(out + modulus_offset + i * sizeof(unit), modulus[i]);
    }
    store_le(out + exponent_offset, exponent);
}

// The date turns from DDMMYYYY to YYYYMMDD.
void store_own_key(char* out, const key_data& key)
{
    if (marks_agree(key)) {
        std::memcpy(out, key.date + 4, 4);
        std::memcpy(out + 4, key.date + 2, 2);
        std::memcpy(out + 6, key.date, 2);
        store_public_numbers(out, this_equip, key.v_n, key.v_e[0]);
    }
}

} // namespace

unsigned short qapi::crypt_error(unsigned short code)
{
    return code;
}

unsigned short qapi::crypt_host_error(unsigned short code)
{
    return code;
}

const _KEY_NODE* qapi::crypt_find_key(std::uint32_t dest)
{
    return key_list->find(dest);
}

unsigned short qapi::crypt_init(const char* path, const char* equip, const char* password, const char* new_password)
{
    this_equip = machine_of(equip);
    init_value = open_store(path, password, new_password);
    if (init_value != 0 && init_value != CRYPT_NO_FILE) {
        wipe_what_failed();
    }
    return init_value;
}

void qapi::crypt_end()
{
    key_list->clear();
    if (init_value == 0) {
        wipe_all_keys();
    }
}

// Behind the dest that ends a list nothing is read: the list may end there.
void qapi::crypt_set_keys(const char* list)
{
    for (int i = 0; i < MAX_DS_KEYS; ++i, list += STR_DS_KEY_SIZE) {
        const auto dest = load_le<std::uint32_t>(list);
        if (dest == 0) {
            return;
        }
        _KEY_NODE* known = key_list->find(dest);
        read_key(list, known != nullptr ? *known : key_list->add(dest));
    }
}

int qapi::crypt_get_public_key(unsigned short which, char* out)
{
    std::memset(out, 0, public_key_size);
    if (which == 0) {
        store_own_key(out, Actual_Key);
    } else if (which == 1) {
        store_own_key(out, Future_Key);
    } else if (which == 2 && Frst_KEY_NODE != nullptr) {
        store_public_numbers(out, Frst_KEY_NODE->dest, Frst_KEY_NODE->v_n, Frst_KEY_NODE->v_e[0]);
    }
    return public_key_size;
}
