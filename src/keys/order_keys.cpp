#include "keys/order_keys.h"

#include <algorithm>
#include <array>

namespace {

constexpr int order_code_at = COrderKey::forms[0].Offset_Of("order_code");
constexpr int order_code_len = 10;
constexpr int institution_len = 4; // of the code

} // namespace

void COrderKey::Init(const char* market, const char* order_code, char fill_char, bool use_order_code_len)
{
    PackedKey::Init(market, int{fill_char});
    if (m_key_len >= length && order_code != nullptr) {
        std::copy_n(order_code, use_order_code_len ? order_code_len : institution_len, m_key + order_code_at);
    }
}

int COrderKey::Fit_Pattern(CBaseKey* pattern)
{
    return m_key_len >= length ? CBaseKey::Fit_Pattern(pattern) : 0;
}

char* COrderKey::Get_Str()
{
    thread_local std::array<char, length + 1> text{};
    auto* end = std::replace_copy(m_key, m_key + std::min(m_key_len, length), text.begin(), '\0', ' ');
    *end = 0;
    return text.data();
}
