#include "keys/credit_keys.h"

CConfigCreditKey& CConfigCreditKey::operator=(const CConfigCreditKey& other)
{
    PackedKey::operator=(other);
    return *this;
}

void CConfigCreditKey::Get(char** market, char** instit_code, char** mine_other_flag)
{
    *market = m_key;
    *instit_code = m_key + forms[0].Offset_Of("instit_code");
    *mine_other_flag = m_key + forms[0].Offset_Of("mine_other_flag");
}

void CBranchesPairKey::Get_Elements(char** market, char** branch1, char** branch2)
{
    *market = m_key;
    *branch1 = m_key + forms[0].Offset_Of("branch1");
    *branch2 = m_key + forms[0].Offset_Of("branch2");
}
