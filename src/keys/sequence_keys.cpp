#include "keys/sequence_keys.h"

#include "little_endian.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int date_at = 4;
constexpr int seq_num_at = 12;
constexpr int order_code_len = 10;

std::int32_t data_server_of(const CBaseKey& key)
{
    return load_le<std::int32_t>(key.m_key);
}

std::uint32_t seq_num_of(const CBaseKey& key)
{
    return load_le<std::uint32_t>(key.m_key + seq_num_at);
}

} // namespace

void CSeqKey::Init(const char* data_server, const char* date, std::uint32_t seq_num)
{
    if (m_key_len < length || data_server == nullptr || date == nullptr) {
        return;
    }
    store_le(m_key, std::uint32_t{load_le<std::uint16_t>(data_server)});
    std::memcpy(m_key + date_at, date, seq_num_at - date_at);
    store_le(m_key + seq_num_at, seq_num);
}

bool CSeqKey::operator<(const CBaseKey& other) const
{
    if (!Both_Have(length, other)) {
        return CBaseKey::operator<(other);
    }
    if (data_server_of(*this) != data_server_of(other)) {
        return data_server_of(*this) < data_server_of(other);
    }
    const int order = std::memcmp(m_key + date_at, other.m_key + date_at, seq_num_at - date_at);
    return order != 0 ? order < 0 : seq_num_of(*this) < seq_num_of(other);
}

void CConfirmPendKey::Init(const char* code_order, const char* code_order_1, std::uint32_t end_cur_time_v)
{
    end_curtime = end_cur_time_v;
    if (m_key_len >= length && code_order != nullptr && code_order_1 != nullptr) {
        std::copy_n(code_order, order_code_len, m_key);
        std::copy_n(code_order_1, order_code_len, m_key + order_code_len);
    }
}

void CConfirmPendKey::Init(int fill, std::uint32_t end_cur_time_v)
{
    end_curtime = end_cur_time_v;
    std::fill(m_key, m_key + m_key_len, static_cast<char>(fill));
}

bool CConfirmPendKey::operator<(const CConfirmPendKey& other) const
{
    return end_curtime != other.end_curtime ? end_curtime < other.end_curtime : CBaseKey::operator<(other);
}
