#include "wire/sealed.h"

#include "crypt/idea.h"
#include "little_endian.h"
#include "wire/words.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <unistd.h>

namespace qm {

namespace {

constexpr std::size_t key_offset = 2; // in the head
constexpr std::size_t key_len = IDEAKEYSIZE;
constexpr std::size_t check_offset = key_offset + key_len;
constexpr std::size_t check_len = 2;
constexpr std::size_t checked_offset = key_offset + 2; // the bytes of the key that the check word repeats
static_assert(check_offset + check_len == SEALED_HEAD_LEN);

using Schedule = std::array<unsigned short, IDEAKEYLEN>;

std::size_t rounded(std::size_t length)
{
    constexpr std::size_t block = IDEABLOCKSIZE;
    return (length + block - 1) / block * block;
}

const unsigned char* bytes(const char* data)
{
    return reinterpret_cast<const unsigned char*>(data);
}

unsigned char* bytes(char* data)
{
    return reinterpret_cast<unsigned char*>(data);
}

Schedule expanded(const char* key)
{
    Schedule schedule{};
    ideaExpandKey(bytes(key), schedule.data());
    return schedule;
}

std::array<char, key_len> new_key()
{
    std::array<char, key_len> key{};
    if (getentropy(key.data(), key.size()) != 0) {
        throw std::system_error(errno, std::system_category(), "no random bytes");
    }
    return key;
}

} // namespace

void Append_Sealed(std::string& out, std::string_view plain)
{
    const std::array<char, key_len> key = new_key();
    Append_Word(out, plain.size());
    out.append(key.data(), key.size());
    out.append(key.data() + checked_offset - key_offset, check_len);
    const std::size_t body = out.size();
    out.append(plain);
    out.resize(body + rounded(plain.size()));
    unsigned char* const text = bytes(out.data()) + body;
    DataEncrypt(expanded(key.data()).data(), text, text, static_cast<int>(out.size() - body));
}

bool Open_Sealed(std::string& plain, std::string_view sealed)
{
    if (sealed.size() < SEALED_HEAD_LEN) {
        return false;
    }
    const std::size_t length = load_le<std::uint16_t>(sealed.data());
    if (sealed.size() != SEALED_HEAD_LEN + rounded(length) ||
        sealed.substr(check_offset, check_len) != sealed.substr(checked_offset, check_len)) {
        return false;
    }
    const Schedule schedule = expanded(sealed.data() + key_offset);
    Schedule inverse{};
    ideaInvertKey(schedule.data(), inverse.data());
    plain.assign(sealed.substr(SEALED_HEAD_LEN));
    unsigned char* const text = bytes(plain.data());
    DataDecrypt(schedule.data(), inverse.data(), text, text, static_cast<int>(plain.size()));
    plain.resize(length);
    return true;
}

} // namespace qm
