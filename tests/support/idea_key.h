// The cipher's functions with byte strings, for tests.
#pragma once

#include "crypt/idea.h"

#include <array>
#include <string>

using Schedule = std::array<unsigned short, IDEAKEYLEN>;

inline const unsigned char* BytesOf(const std::string& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

inline unsigned char* BytesOf(std::string& bytes)
{
    return reinterpret_cast<unsigned char*>(bytes.data());
}

inline Schedule Expanded(const std::string& key)
{
    Schedule schedule{};
    ideaExpandKey(BytesOf(key), schedule.data());
    return schedule;
}

inline Schedule Inverted(const Schedule& schedule)
{
    Schedule inverse{};
    ideaInvertKey(schedule.data(), inverse.data());
    return inverse;
}

inline std::string Ciphered(const std::string& block, const Schedule& schedule)
{
    std::string result(IDEABLOCKSIZE, '\0');
    ideaCipher(BytesOf(block), BytesOf(result), schedule.data());
    return result;
}

// Both in place.
inline std::string Encrypted(std::string data, const std::string& key)
{
    const Schedule schedule = Expanded(key);
    DataEncrypt(schedule.data(), BytesOf(data), BytesOf(data), static_cast<int>(data.size()));
    return data;
}

inline std::string Decrypted(std::string data, const std::string& key)
{
    const Schedule schedule = Expanded(key);
    const Schedule inverse = Inverted(schedule);
    DataDecrypt(schedule.data(), inverse.data(), BytesOf(data), BytesOf(data), static_cast<int>(data.size()));
    return data;
}
