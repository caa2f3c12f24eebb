// Any bytes as a frame to be decrypted. The first byte chooses form and store, the next two how much stands ahead of
// the frame and behind it; the rest is the buffer. Nothing outside the frame changes, the result lies between 0 and its
// length, and a second decryption of the same bytes gives the same.
#include "crypt/crypt.h"
#include "require.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr unsigned short forms[] = {IDEA_ENCRYPT, RSA_ENCRYPT, IDEA_DIRECT, 0};

// Own numbers that make no key, and a sender whose power leaves every number as it is: the bytes of the frame decide.
void fill_store()
{
    Actual_Key = {};
    std::fill_n(Actual_Key.v_n, MAX_UNIT_PRECISION_512, 0xFFFFFFFFU);
    Actual_Key.v_e[0] = 3;
    Actual_Key.v_d[0] = 5;
    Actual_Key.v_p[0] = 0x10001;
    Actual_Key.v_q[0] = 0xFFFFFFFB;
    Actual_Key.v_u[0] = 7;
    char list[qapi::STR_DS_KEY_SIZE + 4] = {1};
    std::memset(list + 4, 0xFF, 64);
    list[68] = 1;
    crypt_set_keys(list);
}

void check(const std::string& input, unsigned short form, std::size_t start, std::size_t end)
{
    std::vector<char> bytes(input.begin(), input.end());
    const int count =
        crypt_decrypt_data(0, bytes.data(), form, static_cast<unsigned short>(start), static_cast<unsigned short>(end));
    const std::size_t length = end > start ? end - start : 0;
    require(count >= 0 && static_cast<std::size_t>(count) <= length);
    require(std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(start), input.begin()));
    const std::size_t behind = std::min(std::max(start, end), input.size());
    require(std::equal(bytes.begin() + static_cast<std::ptrdiff_t>(behind), bytes.end(),
                       input.begin() + static_cast<std::ptrdiff_t>(behind)));
    std::vector<char> again(input.begin(), input.end());
    require(crypt_decrypt_data(0, again.data(), form, static_cast<unsigned short>(start),
                               static_cast<unsigned short>(end)) == count);
    require(again == bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3) {
        return 0;
    }
    fill_store();
    const std::string input(data + 3, data + std::min<std::size_t>(size, 65000));
    const std::size_t start = std::min<std::size_t>(data[1], input.size());
    const std::size_t end = input.size() - std::min<std::size_t>(data[2], input.size());
    check(input, forms[data[0] % 4], start, end); // also with the end before the start
    crypt_end();
    return 0;
}
