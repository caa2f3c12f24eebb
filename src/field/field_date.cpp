#include "field/field_classes.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace {

constexpr int first_year = 1900; // of std::tm

int saturated_sum(int a, int b)
{
    return static_cast<int>(std::clamp<std::int64_t>(std::int64_t{a} + b, std::numeric_limits<int>::min(),
                                                     std::numeric_limits<int>::max()));
}

// Moves a day, and brings it into a month of a year of four digits. False if that can't be.
bool move(std::tm& day, int days)
{
    day.tm_mday = saturated_sum(day.tm_mday, days);
    return std::mktime(&day) != -1 && day.tm_year >= -first_year && day.tm_year <= 9999 - first_year;
}

} // namespace

// An empty text is a valid day: that of a std::tm of zeros.
void CDate::Set_Value()
{
    Copy_Bytes(m_str_value);
    m_tm = {};
    m_tm.tm_hour = 12;
    m_tm_valid = 1;
    Keep();
    if (m_str_value[0] == '\0') {
        return;
    }
    int year = 1970;
    int month = 1;
    int day = 0;
    const int read = std::sscanf(m_str_value.data(), "%4d%2d%2d", &year, &month, &day); // NOLINT(cert-err34-c)
    m_tm.tm_year = year - first_year;
    m_tm.tm_mon = month - 1;
    m_tm.tm_mday = day;
    if (read < 3) {
        m_tm_valid = 0;
        Complain("set", m_str_value.data());
    }
}

CDate::operator unsigned int()
{
    Load();
    std::tm day = m_tm;
    return static_cast<unsigned>(std::mktime(&day));
}

int CDate::operator+=(int days)
{
    Load();
    if (m_tm_valid == 0) {
        return Complain("+", "Original date is invalid");
    }
    std::tm day = m_tm;
    if (!move(day, days)) {
        m_tm_valid = 0;
        return Complain("+", "Final date is invalid");
    }
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%08d",
                  (day.tm_year + first_year) * 10000 + (day.tm_mon + 1) * 100 + day.tm_mday);
    if (!Copy_Padded(text)) {
        return 0;
    }
    m_tm = day;
    m_str_value = text;
    Keep();
    return 1;
}

int CDate::operator+(CDate& /*other*/)
{
    return Complain("+", "CDate");
}

int CDate::operator-(CDate& /*other*/)
{
    return Complain("-", "CDate");
}

int CDate::Assign(std::span<const char> bytes)
{
    if (!Copy_Padded(bytes)) {
        return 0;
    }
    Set_Value();
    return 1;
}

int CDate::operator=(const char* text)
{
    return Assign({text, static_cast<std::size_t>(m_len)});
}

// The bytes of any field will do: a date may stand in a text.
int CDate::operator=(CField& other)
{
    const bool date = Is_Of_Same_Class(other);
    const char* from = date ? other.Get_Data_Ptr() : other.Get_Ptr();
    const int assigned = Assign({from, static_cast<std::size_t>(std::min(m_len, other.Readable(from)))});
    return date ? 0 : assigned;
}
