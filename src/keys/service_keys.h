// Keys of services: what waits for a record at a position, in the order in which it is due.
//
//     types up to SERVICE_LONG_UPPER_LIMIT    type 1, service 6, position 4; the rest is no part of the key
//     types above                             type 1, market 3, service 64 (a CALC_MNUM), position 4
//
// The types are signed. Numbers are compared as numbers; any bytes are allowed, but one with a sign that is neither
// CALC_SGNPOS nor CALC_SGNNEG may come before another that comes before it too.
#pragma once

#include <array>
#include <compare>
#include <cstdint>

inline constexpr char SERVICE_INVALID_RECORD = -1; // marks none
inline constexpr char SERVICE_NO_SERVICE = 0;
inline constexpr char SERVICE_LONG_TIMEOUT_PROTECTION = 1;
inline constexpr char SERVICE_LONG_FAT_FINISHING_AUT_TIME = 2;
inline constexpr char SERVICE_LONG_TRADING_RIGHTS = 3;
inline constexpr char SERVICE_LONG_FIXING_PRICE_STATUS = 4;
inline constexpr char SERVICE_LONG_8 = 8;
inline constexpr char SERVICE_LONG_UPPER_LIMIT = 15;
inline constexpr char SERVICE_CALC_SPOT_LINK_PROTECTION = 16;

class CServiceKey
{
public:
    // The parts as they lie in memory; short types have no market. What is null stays as it was.
    void Init(char service_type, const char* market, const void* service, const void* position);

    // The bound of all services of a type, or of a type and a market.
    void Init(char service_type, const char* market, char fill_char);

    bool operator<(const CServiceKey& other) const;

    // Below 0, 0 or above 0 as the types and, for those above the limit, the markets are.
    [[nodiscard]] int First_Part_Comp(const CServiceKey& other) const;

    std::array<char, 72> m_key{};

private:
    [[nodiscard]] int Compare(const CServiceKey& other) const;
};

// Where a record with a service stands.
class CPosKey
{
public:
    CPosKey() = default;
    CPosKey(std::uint64_t position, char service_type)
        : m_key_position(position), m_key_service_type(static_cast<signed char>(service_type))
    {
    }

    friend auto operator<=>(const CPosKey&, const CPosKey&) = default;

    std::uint64_t m_key_position = 0;
    signed char m_key_service_type = SERVICE_NO_SERVICE;
};

// A walk over the services between two keys.
class CServiceKeyIterator
{
public:
    CServiceKey m_map_first_key;
    CServiceKey m_map_last_key;
    CServiceKey m_map_prev_key;
};
