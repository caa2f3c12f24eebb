// Any numbers as this machine's own RSA key, a sixth of the input each: frames are protected or not, and the key does
// no harm when it protects, uncovers and tells itself. Slow, for the powers that it takes.
#include "crypt/crypt.h"
#include "crypt/key_store.h"
#include "require.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

namespace {

// Little-endian; what does not fit is left out.
void set_number(unit (&number)[MAX_UNIT_PRECISION], std::span<const std::uint8_t> bytes)
{
    std::fill(std::begin(number), std::end(number), 0U);
    for (std::size_t i = 0; i < std::min(bytes.size(), sizeof number); ++i) {
        number[i / sizeof(unit)] |= unit{bytes[i]} << (i % sizeof(unit) * 8);
    }
}

// The only other machine, whose key takes anything.
void know_machine_1()
{
    char list[qapi::STR_DS_KEY_SIZE + 4] = {1};
    std::memset(list + 4, 0xFF, 64);
    list[68] = 3;
    crypt_set_keys(list);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    know_machine_1();
    init_value = 0;
    this_equip = 1;
    Actual_Key = {};
    const std::size_t part = size / 6;
    const auto numbers = {&key_data::v_n, &key_data::v_e, &key_data::v_d,
                          &key_data::v_p, &key_data::v_q, &key_data::v_u};
    for (const auto number : numbers) {
        set_number(Actual_Key.*number, {data, part});
        data += part;
    }
    char frame[8 + CRYPT_MAX_GROWTH] = "message";
    const int growth = crypt_encrypt_data(1, frame, RSA_ENCRYPT, 0, 8);
    require(growth == CRYPT_HEADER_SIZE - CRYPT_HEADER_EXTRA_SIZE || growth == CRYPT_HEADER_SIZE);
    require(crypt_decrypt_data(1, frame, RSA_ENCRYPT, 0, static_cast<unsigned short>(8 + growth)) == growth);
    char out[80];
    require(crypt_get_public_key(0, out) == 80);
    crypt_end();
    return 0;
}
