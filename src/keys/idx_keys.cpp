#include "keys/idx_keys.h"

#include "little_endian.h"

#include <cstdio>

char* CIdxKey::Get_Str() const
{
    char* text = qapi::Next_Key_Text();
    std::snprintf(text, MAX_KEY_LEN + 1, "%hu%u", data_code, rec_idx);
    return text;
}

void CEnvCrc32Key::Init(DLONG val_env_crc32)
{
    if (m_key_len >= length) {
        store_le(m_key, val_env_crc32.low);
        store_le(m_key + sizeof(std::uint32_t), val_env_crc32.high);
    }
}

char* CBranchesNumKey::Get_Str()
{
    char* text = qapi::Next_Key_Text();
    std::snprintf(text, MAX_KEY_LEN + 1, "%u", branch_num);
    return text;
}
