#include "keys/service_keys.h"

#include "calclib/calclib.h"

#include <cstring>

namespace {

struct Part
{
    int at;
    int width;
};

constexpr Part market_part{1, 3};
constexpr Part number_part{4, CALC_MNUM_LEN};
constexpr Part number_position{68, 4};
constexpr Part short_service{1, 6};
constexpr Part short_position{7, 4};
static_assert(number_position.at + number_position.width == sizeof(CServiceKey::m_key));

using Bytes = std::array<char, 72>;

signed char type_of(const Bytes& key)
{
    return static_cast<signed char>(key[0]);
}

bool has_number(const Bytes& key)
{
    return type_of(key) > SERVICE_LONG_UPPER_LIMIT;
}

void copy(Bytes& key, Part part, const void* from)
{
    if (from != nullptr) {
        std::memcpy(key.data() + part.at, from, static_cast<std::size_t>(part.width));
    }
}

void fill_up(Bytes& key, int from, int to, char with)
{
    std::memset(key.data() + from, with, static_cast<std::size_t>(to - from));
}

int compare(const Bytes& left, const Bytes& right, Part part)
{
    return std::memcmp(left.data() + part.at, right.data() + part.at, static_cast<std::size_t>(part.width));
}

using Number = std::array<CALC_MNUM, CALC_MXDIGITS>;

Number number_of(const Bytes& key)
{
    Number number{};
    std::memcpy(number.data(), key.data() + number_part.at, sizeof number);
    return number;
}

} // namespace

void CServiceKey::Init(char service_type, const char* market, const void* service, const void* position)
{
    m_key[0] = service_type;
    if (has_number(m_key)) {
        copy(m_key, market_part, market);
        copy(m_key, number_part, service);
        copy(m_key, number_position, position);
    } else {
        copy(m_key, short_service, service);
        copy(m_key, short_position, position);
    }
}

void CServiceKey::Init(char service_type, const char* market, char fill_char)
{
    m_key[0] = service_type;
    if (has_number(m_key)) {
        copy(m_key, market_part, market);
        fill_up(m_key, number_part.at, number_position.at + number_position.width, fill_char);
    } else {
        fill_up(m_key, short_service.at, short_position.at + short_position.width, fill_char);
    }
}

int CServiceKey::First_Part_Comp(const CServiceKey& other) const
{
    const int order = type_of(m_key) - type_of(other.m_key);
    return order == 0 && has_number(m_key) ? compare(m_key, other.m_key, market_part) : order;
}

int CServiceKey::Compare(const CServiceKey& other) const
{
    int order = First_Part_Comp(other);
    if (order != 0) {
        return order;
    }
    if (has_number(m_key)) {
        order = calc_cmp(number_of(m_key).data(), number_of(other.m_key).data());
        return order != 0 ? order : compare(m_key, other.m_key, number_position);
    }
    order = compare(m_key, other.m_key, short_service);
    return order != 0 ? order : compare(m_key, other.m_key, short_position);
}

bool CServiceKey::operator<(const CServiceKey& other) const
{
    return Compare(other) < 0;
}
