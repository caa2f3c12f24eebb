// CRC-32 over log records, table records and packets of up to 3300 bytes. Long runs go through the processor's
// carry-less multiplication where it has one, everything else through eight tables; both give what the loop of one
// table look-up a byte gives.
#include "support.h"

#include "little_endian.h"

#include <array>
#include <cstddef>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define QAPI_CRC32_FOLDING 1
#endif

namespace {

constexpr std::uint32_t polynomial = 0xEDB88320; // reflected: bit 31 is the coefficient of x^0

constexpr std::uint32_t times_x(std::uint32_t value)
{
    return (value >> 1) ^ ((value & 1) != 0 ? polynomial : 0);
}

using Crc_Table = std::array<std::uint32_t, 256>;

// tables[0] is crc_32_tab, the table of the byte loop: what one byte adds. tables[n] is the same with n zero bytes
// behind it.
constexpr std::array<Crc_Table, 8> make_tables()
{
    std::array<Crc_Table, 8> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = times_x(value);
        }
        tables[0][byte] = value;
    }
    for (std::size_t zeros = 1; zeros < tables.size(); ++zeros) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = tables[zeros - 1][byte];
            tables[zeros][byte] = tables[0][before & 255] ^ (before >> 8);
        }
    }
    return tables;
}

constexpr std::array<Crc_Table, 8> tables = make_tables();
static_assert(tables[0][1] == 0x77073096 && tables[0][255] == 0x2D02EF8D);

std::uint32_t eight_bytes(std::uint32_t crc, const char* bytes)
{
    const std::uint32_t near = crc ^ load_le<std::uint32_t>(bytes);
    const std::uint32_t far = load_le<std::uint32_t>(bytes + 4);
    return tables[7][near & 255] ^ tables[6][near >> 8 & 255] ^ tables[5][near >> 16 & 255] ^ tables[4][near >> 24] ^
           tables[3][far & 255] ^ tables[2][far >> 8 & 255] ^ tables[1][far >> 16 & 255] ^ tables[0][far >> 24];
}

std::uint32_t by_tables(std::uint32_t crc, const char* bytes, std::size_t count)
{
    for (; count >= 8; count -= 8, bytes += 8) {
        crc = eight_bytes(crc, bytes);
    }
    for (; count > 0; --count, ++bytes) {
        crc = tables[0][(crc ^ static_cast<unsigned char>(*bytes)) & 255] ^ (crc >> 8);
    }
    return crc;
}

#ifdef QAPI_CRC32_FOLDING

// Folding: 16 bytes that stand n bits ahead of others may be replaced by adding their product with x^n, modulo the
// polynomial, to those others; the CRC stays the same. So four lanes of 16 bytes run down the buffer 64 bytes at a
// time, then fold into one lane, and the tables finish the 16 bytes that are left. The product of two reflected
// 64-bit halves comes out one bit low, hence the shift by one; the two halves of a lane stand 64 bits apart.
constexpr std::uint64_t power_of_x(int exponent)
{
    std::uint32_t value = 0x80000000;
    for (int step = 0; step < exponent; ++step) {
        value = times_x(value);
    }
    return std::uint64_t{value} << 1;
}

struct Fold_Factors
{
    std::uint64_t first_half; // of the 8 bytes that come first in the buffer
    std::uint64_t second_half;
};

constexpr Fold_Factors over_bits(int distance)
{
    return {power_of_x(distance + 32), power_of_x(distance - 32)};
}

constexpr Fold_Factors over_four_lanes = over_bits(512);
constexpr Fold_Factors over_one_lane = over_bits(128);
static_assert(over_four_lanes.first_half == 0x154442BD4 && over_four_lanes.second_half == 0x1C6E41596);
static_assert(over_one_lane.first_half == 0x1751997D0 && over_one_lane.second_half == 0x0CCAA009E);

constexpr std::size_t lane_bytes = 16;
constexpr std::size_t block_bytes = 4 * lane_bytes;

#define QAPI_FOLDING_TARGET __attribute__((target("sse2,pclmul")))

QAPI_FOLDING_TARGET inline __m128i load_lane(const char* bytes)
{
    __m128i lane;
    std::memcpy(&lane, bytes, sizeof lane);
    return lane;
}

QAPI_FOLDING_TARGET inline __m128i load_factors(const Fold_Factors& factors)
{
    static_assert(sizeof factors == sizeof(__m128i));
    __m128i both;
    std::memcpy(&both, &factors, sizeof both);
    return both;
}

QAPI_FOLDING_TARGET inline __m128i fold(__m128i lane, __m128i factors, __m128i onto)
{
    const __m128i first = _mm_clmulepi64_si128(lane, factors, 0x00);
    const __m128i second = _mm_clmulepi64_si128(lane, factors, 0x11);
    return _mm_xor_si128(_mm_xor_si128(first, second), onto);
}

// `count` is at least one block.
QAPI_FOLDING_TARGET std::uint32_t by_folding(std::uint32_t crc, const char* bytes, std::size_t count)
{
    __m128i lane0 = _mm_xor_si128(load_lane(bytes), _mm_cvtsi32_si128(static_cast<int>(crc)));
    __m128i lane1 = load_lane(bytes + lane_bytes);
    __m128i lane2 = load_lane(bytes + 2 * lane_bytes);
    __m128i lane3 = load_lane(bytes + 3 * lane_bytes);
    const __m128i four_lanes = load_factors(over_four_lanes);
    for (bytes += block_bytes, count -= block_bytes; count >= block_bytes; bytes += block_bytes, count -= block_bytes) {
        lane0 = fold(lane0, four_lanes, load_lane(bytes));
        lane1 = fold(lane1, four_lanes, load_lane(bytes + lane_bytes));
        lane2 = fold(lane2, four_lanes, load_lane(bytes + 2 * lane_bytes));
        lane3 = fold(lane3, four_lanes, load_lane(bytes + 3 * lane_bytes));
    }
    const __m128i one_lane = load_factors(over_one_lane);
    __m128i lane = fold(fold(fold(lane0, one_lane, lane1), one_lane, lane2), one_lane, lane3);
    for (; count >= lane_bytes; bytes += lane_bytes, count -= lane_bytes) {
        lane = fold(lane, one_lane, load_lane(bytes));
    }
    std::array<char, lane_bytes> rest{};
    std::memcpy(rest.data(), &lane, rest.size());
    return by_tables(by_tables(0, rest.data(), rest.size()), bytes, count);
}

#endif

std::uint32_t crc_of(std::uint32_t crc, const char* bytes, std::size_t count)
{
#ifdef QAPI_CRC32_FOLDING
    if (count >= block_bytes && __builtin_cpu_supports("pclmul")) {
        return by_folding(crc, bytes, count);
    }
#endif
    return by_tables(crc, bytes, count);
}

} // namespace

unsigned COMMON_Get_Crc32(const char* ptr, int len, unsigned start_crc32)
{
    const std::uint32_t start = start_crc32 != 0 ? start_crc32 : 0xFFFFFFFF;
    return len > 0 ? crc_of(start, ptr, static_cast<std::size_t>(len)) : start;
}
