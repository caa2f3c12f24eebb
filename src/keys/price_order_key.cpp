#include "keys/price_order_key.h"

#include "message/message.h"

namespace {

std::unique_ptr<CPriceG7MarketKey> make_key(int class_type)
{
    switch (class_type) {
    case 0:
        return std::make_unique<CPriceG7MarketKey>();
    case PRICE_TYPE_LINKED:
        return std::make_unique<CPriceG7MarketKeyLink>();
    case PRICE_TYPE_INVLINKED:
        return std::make_unique<CPriceG7MarketKeyInvLink>();
    default:
        return nullptr;
    }
}

// The key that another one holds, or itself.
const CBaseKey* held(const CBaseKey* key)
{
    const auto* wrapper = dynamic_cast<const CPriceOrderKey*>(key);
    return wrapper != nullptr ? wrapper->m_internal_price.get() : key;
}

} // namespace

CPriceOrderKey::CPriceOrderKey(const CPriceOrderKey& other) : CBaseKey(other)
{
    *this = other;
}

CPriceOrderKey& CPriceOrderKey::operator=(const CPriceOrderKey& other)
{
    if (this == &other) {
        return *this;
    }
    Build(other.m_price_market_type, other.m_price_key_sorting_method, other.m_class_type);
    m_price_key_sorting_method = other.m_price_key_sorting_method;
    if (other.m_internal_price == nullptr) {
        m_internal_price = nullptr;
    } else if (m_internal_price != nullptr) {
        *m_internal_price = *other.m_internal_price;
    }
    return *this;
}

void CPriceOrderKey::Build(int price_market_type, int sorting_method, int class_type)
{
    if (m_internal_price != nullptr && m_price_market_type == price_market_type && m_class_type == class_type) {
        return;
    }
    m_price_market_type = price_market_type;
    m_class_type = class_type;
    m_internal_price = make_key(class_type);
    CPriceOrderKey::Set_Price_Key_Sorting_Method(sorting_method);
}

void CPriceOrderKey::Build(CMessage* order)
{
    Build(CPRICE_DEFAULT, CPRICE_BID_DESC_OFFER_ASC_SORTING, m_class_type);
    if (order != nullptr && m_internal_price != nullptr) {
        order->Init_Key(m_internal_price.get());
    }
}

void CPriceOrderKey::Build(CMessage* order, const char* omarket, int fill)
{
    Build(CPRICE_DEFAULT, CPRICE_BID_DESC_OFFER_ASC_SORTING, m_class_type);
    if (order != nullptr && m_internal_price != nullptr) {
        order->Init_Key(m_internal_price.get(), omarket, fill);
    }
}

void CPriceOrderKey::Init(const char* new_key_value)
{
    if (m_internal_price != nullptr) {
        m_internal_price->Init(new_key_value);
    }
}

void CPriceOrderKey::Init(const char* omarket, int fill_value_char)
{
    Build(m_price_market_type, m_price_key_sorting_method, 0);
    m_internal_price->Init(omarket, fill_value_char);
}

void CPriceOrderKey::Init(const CBaseKey* l_k, int fill_value_char)
{
    if (m_internal_price != nullptr) {
        m_internal_price->Init(held(l_k), fill_value_char);
    }
}

int CPriceOrderKey::Fit_Pattern(CBaseKey* pattern)
{
    auto* wanted = dynamic_cast<CPriceOrderKey*>(pattern);
    CBaseKey* bytes = wanted != nullptr ? wanted->m_internal_price.get() : pattern;
    return m_internal_price != nullptr ? m_internal_price->Fit_Pattern(bytes) : 0;
}

char* CPriceOrderKey::Get_Str()
{
    return m_internal_price != nullptr ? m_internal_price->Get_Str() : CBaseKey::Get_Str();
}

char* CPriceOrderKey::Get_Key_Ptr()
{
    return m_internal_price != nullptr ? m_internal_price->Get_Key_Ptr() : nullptr;
}

void CPriceOrderKey::Set_Price_Key_Sorting_Method(int method)
{
    m_price_key_sorting_method = method;
    if (m_internal_price != nullptr) {
        m_internal_price->Set_Price_Key_Sorting_Method(method);
    }
}

bool CPriceOrderKey::Can_Compare(const CPriceOrderKey& other) const
{
    return m_internal_price != nullptr && other.m_internal_price != nullptr;
}

bool CPriceOrderKey::operator<(const CPriceOrderKey& other) const
{
    return Can_Compare(other) && *m_internal_price < *other.m_internal_price;
}

bool CPriceOrderKey::operator==(const CPriceOrderKey& other) const
{
    return Can_Compare(other) && *m_internal_price == *other.m_internal_price;
}

bool CPriceOrderKey::operator!=(const CPriceOrderKey& other) const
{
    return Can_Compare(other) && !(*m_internal_price == *other.m_internal_price);
}
