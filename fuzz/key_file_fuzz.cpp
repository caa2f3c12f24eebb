// Any bytes as a key file. The first byte tells whether they are the file itself, or plain records to be encrypted with
// the passphrase, and whether the passphrase changes. Whatever they say, the opening ends with one of its codes; a
// failure leaves no private number behind; with a wrong passphrase, or a file that is too short, nothing is written;
// and a store that opened opens again.
#include "crypt/crypt.h"
#include "memory_file.h"
#include "require.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

constexpr const char* passphrase = "secret";
constexpr const char* changed_passphrase = "better";
constexpr std::size_t record_size = 1600;
constexpr std::size_t future_offset = 2000;

void encrypt_record(std::string& file, std::size_t offset)
{
    unsigned char key[IDEAKEYSIZE] = {};
    std::memcpy(key, passphrase, std::strlen(passphrase));
    for (unsigned char& byte : key) {
        ++byte;
    }
    word16 schedule[IDEAKEYLEN];
    ideaExpandKey(key, schedule);
    auto* record = reinterpret_cast<unsigned char*>(file.data() + offset);
    DataEncrypt(schedule, record, record, record_size);
}

// The current record, then the future one; what is missing is zero.
std::string file_of_records(std::string records)
{
    records.resize(2 * record_size);
    std::string file =
        records.substr(0, record_size) + std::string(future_offset - record_size, '.') + records.substr(record_size);
    encrypt_record(file, 0);
    encrypt_record(file, future_offset);
    return file;
}

bool is_wiped(const key_data& key)
{
    const auto zero = [](unit value) { return value == 0; };
    return std::all_of(std::begin(key.v_d), std::end(key.v_d), zero) &&
           std::all_of(std::begin(key.v_p), std::end(key.v_p), zero);
}

void check(const std::string& bytes, const char* new_passphrase)
{
    const MemoryFile file(bytes);
    const unsigned short code = crypt_init(file.path().c_str(), "EQ01", passphrase, new_passphrase);
    require(code == init_value);
    require(code == 0 || code == 9 || code == 10 || code == 11);
    require(code == 0 || (is_wiped(Actual_Key) && is_wiped(Future_Key)));
    require(code == 0 || code == 11 || file.bytes() == bytes);
    require((code == 9) == (bytes.size() < record_size || (bytes.size() < future_offset + record_size && code != 10)));
    if (code == 0) {
        const char* now = new_passphrase != nullptr ? new_passphrase : passphrase;
        require(crypt_init(file.path().c_str(), "EQ01", now, nullptr) == 0);
    }
    crypt_end();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string input(data + 1, data + std::min<std::size_t>(size, 8000));
    const bool as_it_is = (data[0] & 1) != 0;
    const char* new_passphrase = (data[0] & 2) != 0 ? changed_passphrase : nullptr;
    check(as_it_is ? input : file_of_records(input), new_passphrase);
    return 0;
}
