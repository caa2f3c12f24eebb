#include "field/field_classes.h"
#include "field/numbers_in_text.h"

#include <algorithm>
#include <cstring>

using namespace qapi;

namespace {

using Number = std::array<CALC_MNUM, COMMON_CALC_SIZE>;

// The left number and the right one, joined by calc_add or calc_sub.
Number result_of(int (*join)(const CALC_MNUM*, CALC_MNUM*), const CALC_MNUM* left, const CALC_MNUM* right)
{
    Number result{};
    calc_mtom(left, result.data());
    join(right, result.data());
    return result;
}

} // namespace

// Of a text with too many digits nothing is known: it counts as 0.
void CNumAsciiDouble::Set_Value()
{
    Copy_Bytes(m_str_value);
    if (calc_stom(m_str_value.data(), m_value.data()) != 0) {
        calc_zer(m_value.data());
        Complain("set", m_str_value.data());
    }
    Keep();
}

int CNumAsciiDouble::operator=(CALC_MNUM* value)
{
    if (value == nullptr) {
        return CField::operator=(value);
    }
    const int longest = static_cast<int>(m_str_value.size()) - 1;
    const std::span<char> to = To_Write(std::min(m_len, longest));
    if (to.empty()) {
        return 0;
    }
    if (value != m_value.data()) {
        calc_mtom(value, m_value.data());
    }
    calc_mtos(m_value.data(), m_str_value.data(), static_cast<short>(to.size()), static_cast<short>(m_decimal_len), 0,
              0);
    std::memcpy(to.data(), m_str_value.data(), to.size());
    Keep();
    return 1;
}

// A text that is no number is reported, and the number that the field has is written anew.
int CNumAsciiDouble::operator=(const char* text)
{
    Number number{};
    if (calc_stom(text, number.data()) == 0) {
        return *this = number.data();
    }
    Complain("=", text);
    return *this = Get();
}

int CNumAsciiDouble::operator=(int value)
{
    Number zero{};
    return value == 0 ? *this = zero.data() : CField::operator=(value);
}

int CNumAsciiDouble::operator=(CField& other)
{
    if (!Is_Of_Same_Class(other)) {
        return CField::operator=(other);
    }
    Number number{};
    calc_mtom(static_cast<CNumAsciiDouble&>(other).Get(), number.data());
    *this = number.data();
    return 0;
}

char* CNumAsciiDouble::operator>>(void* dest)
{
    auto* text = static_cast<char*>(dest);
    calc_mtos(Get(), text, static_cast<short>(m_len), static_cast<short>(m_decimal_len), 0, 1);
    return text + std::strlen(text);
}

CNumAsciiDouble::operator int()
{
    Get();
    return Saturated_Int(m_str_value.data());
}

CField::Order CNumAsciiDouble::Compare_Number(const CALC_MNUM* value)
{
    return value != nullptr ? Order(calc_cmp(Get(), value)) : Order();
}

int CNumAsciiDouble::Compare_Same_Class(CField& other)
{
    return calc_cmp(Get(), static_cast<CNumAsciiDouble&>(other).Get());
}

// ---- Sums ------------------------------------------------------------------------------------------------------
// `value` may be a result of before.

CALC_MNUM* CNumAsciiDouble::operator+(CALC_MNUM* value)
{
    if (value == nullptr) {
        return CField::operator+(value);
    }
    thread_local Number result{};
    result = result_of(calc_add, Get(), value);
    return result.data();
}

CALC_MNUM* CNumAsciiDouble::operator-(CALC_MNUM* value)
{
    if (value == nullptr) {
        return CField::operator-(value);
    }
    thread_local Number result{};
    result = result_of(calc_sub, Get(), value);
    return result.data();
}

CALC_MNUM* CNumAsciiDouble::operator+(CNumAsciiDouble& other)
{
    thread_local Number result{};
    result = result_of(calc_add, Get(), other.Get());
    return result.data();
}

CALC_MNUM* CNumAsciiDouble::operator-(CNumAsciiDouble& other)
{
    thread_local Number result{};
    result = result_of(calc_sub, Get(), other.Get());
    return result.data();
}
