#include "calclib/calclib.h"
#include "keys/service_keys.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr char calc = SERVICE_CALC_SPOT_LINK_PROTECTION;

std::array<CALC_MNUM, CALC_MXDIGITS> number(const char* text)
{
    std::array<CALC_MNUM, CALC_MXDIGITS> value{};
    calc_stom(text, value.data());
    return value;
}

CServiceKey calc_key(char type, const char* market, const char* value, const char* position)
{
    CServiceKey key;
    key.Init(type, market, number(value).data(), position);
    return key;
}

CServiceKey short_key(char type, const char* service, const char* position)
{
    CServiceKey key;
    key.Init(type, "MKT", service, position);
    return key;
}

std::string bytes_of(const CServiceKey& key, std::size_t from, std::size_t count)
{
    return {key.m_key.data() + from, count};
}

// ---- Shapes ----------------------------------------------------------------------------------------------------

TEST(ServiceKey, IsEmptyAtFirst)
{
    const CServiceKey key;
    EXPECT_EQ(bytes_of(key, 0, 72), std::string(72, '\0'));
    EXPECT_EQ(key.m_key[0], SERVICE_NO_SERVICE);
}

TEST(ServiceKey, ShortOneHasServiceAndPosition)
{
    const CServiceKey key = short_key(SERVICE_LONG_8, "101112", "pppp");
    EXPECT_EQ(bytes_of(key, 0, 72), "\x08"
                                    "101112pppp" +
                                        std::string(61, '\0'));
}

TEST(ServiceKey, LongOneHasMarketNumberAndPosition)
{
    const CServiceKey key = calc_key(calc, "MKT", "-12345.5", "pppp");
    EXPECT_EQ(bytes_of(key, 0, 4), "\x10MKT");
    EXPECT_EQ(bytes_of(key, 4, 12), std::string("\xff\xff\0\0\0\0\x01\0\x29\x09\x88\x13", 12));
    EXPECT_EQ(bytes_of(key, 68, 4), "pppp");
}

TEST(ServiceKey, LimitIsTheLastShortType)
{
    EXPECT_EQ(bytes_of(short_key(SERVICE_LONG_UPPER_LIMIT, "101112", "pppp"), 1, 10), "101112pppp");
    EXPECT_EQ(bytes_of(short_key(SERVICE_INVALID_RECORD, "101112", "pppp"), 1, 10), "101112pppp") << "negative";
}

TEST(ServiceKey, BoundFillsAllBehindTheMarketOrTheType)
{
    CServiceKey key;
    key.Init(calc, "MKT", '\xff');
    EXPECT_EQ(bytes_of(key, 0, 72), "\x10MKT" + std::string(68, '\xff'));
    CServiceKey other;
    other.Init(SERVICE_LONG_8, "MKT", 'f');
    EXPECT_EQ(bytes_of(other, 0, 72), "\x08" + std::string(10, 'f') + std::string(61, '\0'));
}

TEST(ServiceKey, PartsThatAreNullStayAsTheyWere)
{
    CServiceKey key = short_key(SERVICE_LONG_8, "101112", "pppp");
    key.Init(SERVICE_LONG_TRADING_RIGHTS, nullptr, nullptr, nullptr);
    EXPECT_EQ(bytes_of(key, 0, 11), "\x03"
                                    "101112pppp");
    key.Init(calc, nullptr, 'f');
    EXPECT_EQ(bytes_of(key, 0, 5), "\x10"
                                   "101f");
}

// ---- Order -----------------------------------------------------------------------------------------------------

void expect_less(const CServiceKey& left, const CServiceKey& right)
{
    EXPECT_TRUE(left < right);
    EXPECT_FALSE(right < left);
}

TEST(ServiceKey, IsOrderedByTypeAsASignedNumber)
{
    expect_less(short_key(SERVICE_INVALID_RECORD, "999999", "zzzz"), short_key(SERVICE_NO_SERVICE, "000000", "aaaa"));
    expect_less(short_key('\x80', "999999", "zzzz"), short_key(SERVICE_INVALID_RECORD, "000000", "aaaa"));
    expect_less(short_key(SERVICE_LONG_UPPER_LIMIT, "999999", "zzzz"), calc_key(calc, "AAA", "1", "aaaa"));
}

TEST(ServiceKey, ShortOneIsOrderedByServiceThenPosition)
{
    expect_less(short_key(1, "101112", "zzzz"), short_key(1, "101113", "aaaa"));
    expect_less(short_key(1, "101112", "aaaa"), short_key(1, "101112", "aaab"));
    EXPECT_FALSE(short_key(1, "101112", "aaaa") < short_key(1, "101112", "aaaa"));
}

TEST(ServiceKey, BytesBehindAShortOneAreNoPartOfIt)
{
    CServiceKey left = short_key(1, "101112", "aaaa");
    const CServiceKey right = short_key(1, "101112", "aaaa");
    left.m_key[11] = 'x';
    EXPECT_FALSE(left < right);
    EXPECT_FALSE(right < left);
}

TEST(ServiceKey, LongOneIsOrderedByMarketThenNumberThenPosition)
{
    expect_less(calc_key(calc, "MKA", "9", "zzzz"), calc_key(calc, "MKB", "1", "aaaa"));
    expect_less(calc_key(calc, "MKT", "9.5", "zzzz"), calc_key(calc, "MKT", "10", "aaaa"));
    expect_less(calc_key(calc, "MKT", "-10", "zzzz"), calc_key(calc, "MKT", "-9.5", "aaaa"));
    expect_less(calc_key(calc, "MKT", "9.5", "aaaa"), calc_key(calc, "MKT", "9.5", "aaab"));
    EXPECT_FALSE(calc_key(calc, "MKT", "9.5", "aaaa") < calc_key(calc, "MKT", "9.5", "aaaa"));
}

TEST(ServiceKey, FirstPartIsTypeAndMarket)
{
    EXPECT_EQ(calc_key(calc, "MKT", "1", "aaaa").First_Part_Comp(calc_key(calc, "MKT", "2", "zzzz")), 0);
    EXPECT_LT(calc_key(calc, "MKA", "1", "aaaa").First_Part_Comp(calc_key(calc, "MKB", "1", "aaaa")), 0);
    EXPECT_GT(calc_key(calc, "MKA", "1", "aaaa").First_Part_Comp(short_key(1, "101112", "aaaa")), 0);
    EXPECT_EQ(short_key(1, "101112", "aaaa").First_Part_Comp(short_key(1, "999999", "zzzz")), 0);
}

std::vector<CServiceKey> random_keys(char type)
{
    std::mt19937 random(1);
    std::vector<CServiceKey> keys(60);
    for (CServiceKey& key : keys) {
        std::generate(key.m_key.begin(), key.m_key.end(), [&random] { return static_cast<char>(random()); });
        std::copy_n(type == calc ? "\x10MKT" : "\x01MKT", 4, key.m_key.begin());
    }
    return keys;
}

void expect_no_circles(const std::vector<CServiceKey>& keys)
{
    for (const CServiceKey& left : keys) {
        EXPECT_FALSE(left < left);
        for (const CServiceKey& right : keys) {
            EXPECT_FALSE(left < right && right < left);
        }
    }
}

TEST(ServiceKey, AnyBytesBehindASignAreInOrder)
{
    std::vector<CServiceKey> keys = random_keys(calc);
    for (CServiceKey& key : keys) {
        std::fill_n(key.m_key.begin() + 4, 2, (key.m_key[71] & 1) != 0 ? '\xff' : '\0'); // minus or plus
    }
    expect_no_circles(keys);
    expect_no_circles(random_keys(SERVICE_LONG_TIMEOUT_PROTECTION));
}

TEST(ServiceKey, SignsThatAreNoneGiveSomeOrder)
{
    const std::vector<CServiceKey> keys = random_keys(calc);
    int less = 0;
    for (const CServiceKey& left : keys) {
        for (const CServiceKey& right : keys) {
            less += static_cast<int>(left < right);
        }
    }
    EXPECT_GT(less, 0);
}

TEST(PosKey, IsOrderedByPositionThenBySignedType)
{
    EXPECT_LT(CPosKey(9, 1), CPosKey(10, 0));
    EXPECT_LT(CPosKey(1, 127), CPosKey(0x8000000000000000U, 0));
    EXPECT_LT(CPosKey(9, SERVICE_INVALID_RECORD), CPosKey(9, SERVICE_NO_SERVICE));
    EXPECT_EQ(CPosKey(9, 1), CPosKey(9, 1));
    EXPECT_EQ(CPosKey(), CPosKey(0, SERVICE_NO_SERVICE));
}

TEST(ServiceKeyIterator, BeginsWithThreeEmptyKeys)
{
    const CServiceKeyIterator walk;
    EXPECT_EQ(walk.m_map_first_key.m_key, CServiceKey().m_key);
    EXPECT_EQ(walk.m_map_last_key.m_key, CServiceKey().m_key);
    EXPECT_EQ(walk.m_map_prev_key.m_key, CServiceKey().m_key);
}

} // namespace
