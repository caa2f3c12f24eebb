#include "keys/base_key.h"

#include "qcapi/support.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr int spare_bytes = 2; // behind a key's bytes, always 0
constexpr int key_texts = 6;   // one line may show several keys

std::size_t bytes(int count)
{
    return static_cast<std::size_t>(count);
}

} // namespace

char* qapi::Next_Key_Text()
{
    thread_local std::array<std::array<char, MAX_KEY_LEN + 1>, key_texts> texts{};
    thread_local std::size_t next = 0;
    next = (next + 1) % key_texts;
    return texts[next].data();
}

CBaseKey::CBaseKey(int len) : m_key_len(len), m_own(std::make_unique<char[]>(bytes(len + spare_bytes)))
{
    m_key = m_own.get();
}

CBaseKey::CBaseKey(const CBaseKey& other)
{
    *this = other;
}

CBaseKey& CBaseKey::operator=(const CBaseKey& other)
{
    if (this == &other) {
        return *this;
    }
    if (m_own == nullptr || m_key_len != other.m_key_len) {
        m_own = other.m_own != nullptr ? std::make_unique<char[]>(bytes(other.m_key_len + spare_bytes)) : nullptr;
        m_key = m_own.get();
        m_key_len = other.m_key_len;
    }
    if (m_key_len != 0) {
        std::memcpy(m_key, other.m_key, bytes(m_key_len));
    }
    return *this;
}

void CBaseKey::Init(const char* new_key_value)
{
    if (m_key != nullptr && new_key_value != nullptr) {
        std::memcpy(m_key, new_key_value, bytes(m_key_len));
        m_key[m_key_len] = 0;
    }
}

int CBaseKey::Fit_Pattern(CBaseKey* pattern)
{
    if (pattern == nullptr || pattern->m_key_len < m_key_len) {
        return 0;
    }
    const char* wanted = pattern->m_key;
    return std::all_of(m_key, m_key + m_key_len, [&wanted](char byte) {
        const char any_or_same = *wanted++;
        return any_or_same == byte || any_or_same == ORD_ALL_CHAR;
    });
}

char* CBaseKey::Get_Str()
{
    char* text = qapi::Next_Key_Text();
    const int len = std::min(m_key_len, MAX_KEY_LEN);
    std::replace_copy(m_key, m_key + len, text, '\0', ' ');
    text[len] = 0;
    return text;
}

void CBaseKey::Check_Length(const CBaseKey& other) const
{
    if (m_key_len != other.m_key_len) {
        COMMON_Put_Syslog_Message(1, "Error. Key comparison between keys with different length!");
    }
}

int CBaseKey::Compare(const CBaseKey& other) const
{
    const int common = std::min(m_key_len, other.m_key_len);
    const int order = common != 0 ? std::memcmp(m_key, other.m_key, bytes(common)) : 0;
    if (order != 0) {
        return order;
    }
    return std::any_of(m_key + common, m_key + m_key_len, [](char byte) { return byte != 0; }) ? 1 : 0;
}

void CBaseKey::Copy_Head(const CBaseKey* from, int count, int fill)
{
    const int head = std::min(count, m_key_len);
    const int there = from != nullptr ? std::min(head, from->m_key_len) : 0;
    if (there != 0) {
        std::memmove(m_key, from->m_key, bytes(there)); // it may be this key
    }
    std::fill(m_key + there, m_key + head, '\0');
    std::fill(m_key + head, m_key + m_key_len, static_cast<char>(fill));
}

bool CBaseKey::operator<(const CBaseKey& other) const
{
    Check_Length(other);
    return Compare(other) < 0;
}

bool CBaseKey::operator==(const CBaseKey& other) const
{
    return Compare(other) == 0;
}
