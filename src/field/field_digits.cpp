#include "field/field_classes.h"
#include "field/numbers_in_text.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

using namespace qapi;

// Eight characters of any bytes stay far within an int.
void CNumAsciiInt::Set_Value()
{
    m_value = 0;
    if (m_len > FIELD_LONGEST_NUM_ASCII_INT) {
        Complain("Length", "CField &");
        return;
    }
    bool negative = false;
    for (const char c : Bytes()) {
        if (c == '-') {
            negative = true;
        } else if (c != ' ') {
            m_value = m_value * 10 + (c != '\0' ? static_cast<signed char>(c) - '0' : 0);
        }
    }
    m_value = negative ? -m_value : m_value;
    Keep();
}

int CNumAsciiInt::operator=(int value)
{
    const std::span<char> to = To_Write(m_len);
    if (to.empty()) {
        return 0;
    }
    int rest = value;
    for (std::size_t i = to.size(); i-- > 0;) {
        to[i] = static_cast<char>(rest % 10 + '0');
        rest /= 10;
    }
    for (auto at = to.begin(); at != to.end() && *at == '0'; ++at) {
        *at = ' ';
    }
    m_value = value;
    Keep();
    if (rest != 0) {
        Complain("=", std::to_string(value).c_str());
    }
    return 1;
}

int CNumAsciiInt::operator=(const char* text)
{
    const std::string copy(text, strnlen(text, static_cast<std::size_t>(m_len)));
    return *this = Saturated_Int(copy.c_str());
}

int CNumAsciiInt::operator=(CField& other)
{
    if (!Is_Of_Same_Class(other)) {
        return CField::operator=(other);
    }
    *this = static_cast<CNumAsciiInt&>(other).Get();
    return 0;
}

char* CNumAsciiInt::operator>>(void* dest)
{
    auto* text = static_cast<char*>(dest);
    calc_mtos(*this, text, static_cast<short>(m_len), static_cast<short>(m_decimal_len), 0, 1);
    return text + std::strlen(text);
}

// The text of the field as it stands, which reports what is no digit.
CNumAsciiInt::operator CALC_MNUM*()
{
    std::array<char, 16> text{};
    Copy_Bytes(text);
    calc_stom(text.data(), m_svalue.data());
    return m_svalue.data();
}

int CNumAsciiInt::operator+(CField& other)
{
    return Is_Of_Same_Class(other) ? Wrapped_Sum(*this, other) : CField::operator+(other);
}

int CNumAsciiInt::operator-(CField& other)
{
    return Is_Of_Same_Class(other) ? Wrapped_Difference(*this, other) : CField::operator-(other);
}

int CNumAsciiInt::Compare_Same_Class(CField& other)
{
    return Order_Of(Get(), static_cast<CNumAsciiInt&>(other).Get());
}

CField::Order CNumAsciiInt::Compare_Int(int value)
{
    return Order_Of(Get(), value);
}
