// Any data, encrypted and decrypted. The first byte chooses the form, the second the start; the rest is the data. They
// come back, the growth is what both calls say, and nothing outside is touched. More than a frame holds becomes zeros.
#include "crypt/crypt.h"
#include "require.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace {

constexpr char guard = '#';
constexpr std::size_t guards = 16;
constexpr unsigned short forms[] = {IDEA_ENCRYPT, RSA_ENCRYPT, IDEA_DIRECT, 0};

bool guards_hold(const std::string& buffer, std::size_t start, std::size_t end)
{
    const auto untouched = [](char byte) { return byte == guard; };
    const auto at = [&](std::size_t offset) { return buffer.begin() + static_cast<std::ptrdiff_t>(offset); };
    return std::all_of(buffer.begin(), at(start), untouched) && std::all_of(at(end), buffer.end(), untouched);
}

void check(const std::string& data, unsigned short form, unsigned short start)
{
    std::string buffer = std::string(start, guard) + data + std::string(CRYPT_MAX_GROWTH + guards, guard);
    const auto end = static_cast<unsigned short>(start + data.size());
    const int growth = crypt_encrypt_data(1, buffer.data(), form, start, end);
    require(growth >= 0 && growth <= CRYPT_MAX_GROWTH);
    const auto grown_end = static_cast<unsigned short>(end + growth);
    require(guards_hold(buffer, start, grown_end));
    if (data.size() > MAX_BUFF_LEN) {
        require(growth == 0 && buffer.substr(start, data.size()) == std::string(data.size(), '\0'));
        return;
    }
    require(growth >= 20 && (data.size() + static_cast<std::size_t>(growth)) % 8 == (form == IDEA_DIRECT ? 4 : 2));
    require(crypt_decrypt_data(1, buffer.data(), form, start, grown_end) == growth);
    require(buffer.substr(start, data.size()) == data);
    require(guards_hold(buffer, start, grown_end));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const int wanted = setenv("CRYPT", "1", 1);
    require(wanted == 0);
    if (size >= 2) {
        check(std::string(data + 2, data + std::min<std::size_t>(size, 6000)), forms[data[0] % 4], data[1]);
    }
    return 0;
}
