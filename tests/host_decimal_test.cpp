// quentar::Decimal against a model in whole numbers, and what it refuses.
#include <qcapi/host.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using quentar::Decimal;

Decimal number(const std::string& text)
{
    const std::optional<Decimal> parsed = Decimal::parse(text);
    EXPECT_TRUE(parsed.has_value()) << text;
    return parsed.value_or(Decimal());
}

// A value in units of the sixth decimal, written by hand.
std::string text_of_millionths(std::int64_t units)
{
    std::string digits = std::to_string(units < 0 ? -units : units);
    digits.insert(0, digits.size() < 7 ? 7 - digits.size() : 0, '0');
    digits.insert(digits.size() - 6, 1, '.');
    return (units < 0 ? "-" : "") + digits;
}

TEST(DecimalText, IsWrittenAsItWasRead)
{
    for (const char* text : {"0", "1", "-1", "4012.2500", "0.05", "-0.5", "1000000000", "999999999",
                             "123456789012345678", "100000000000000000000000000000000001", "0.000000000000000001",
                             "-123456789012345678.123456789012345678", "1000000000000000.000000000"}) {
        EXPECT_EQ(number(text).to_string(), text);
    }
}

TEST(DecimalText, OtherWaysToWriteAreRead)
{
    EXPECT_EQ(number("+5").to_string(), "5");
    EXPECT_EQ(number("007.10").to_string(), "7.10");
    EXPECT_EQ(number(".5").to_string(), "0.5");
    EXPECT_EQ(number("5.").to_string(), "5");
    EXPECT_EQ(number("-0.00").to_string(), "0.00");
    EXPECT_EQ(number(std::string(60, '0') + "1").to_string(), "1");
}

TEST(DecimalText, WhatIsNoNumberIsRefused)
{
    for (const char* text : {"", "-", "+", ".", "-.", "1.2.3", "1,5", " 1", "1 ", "- 1", "--1", "1e5", "0x1", "nan",
                             "1234567890123456789012345678901234567", "0.1234567890123456789", "1\xff"}) {
        EXPECT_FALSE(Decimal::parse(text).has_value()) << text;
    }
}

TEST(DecimalText, IntegersOfAnyTypeAreExact)
{
    EXPECT_EQ(Decimal(std::numeric_limits<std::int64_t>::min()).to_string(), "-9223372036854775808");
    EXPECT_EQ(Decimal(std::numeric_limits<std::uint64_t>::max()).to_string(), "18446744073709551615");
    EXPECT_EQ(Decimal(static_cast<signed char>(-128)).to_string(), "-128");
    EXPECT_EQ(Decimal::of_units(-5, 3).to_string(), "-0.005");
    EXPECT_FALSE(Decimal::of_units(5, 19).is_valid());
    EXPECT_FALSE(Decimal::of_units(5, -1).is_valid());
}

TEST(DecimalModel, SumsProductsAndOrderAgreeWithWholeNumbers)
{
    std::mt19937_64 random(20261122);
    std::uniform_int_distribution<std::int64_t> any(-4000000000000, 4000000000000);
    std::uniform_int_distribution<std::int64_t> factor(-100000, 100000);
    for (int round = 0; round < 20000; ++round) {
        const std::int64_t a = any(random);
        const std::int64_t b = round % 5 == 0 ? a : any(random);
        const std::int64_t n = factor(random);
        const Decimal left = number(text_of_millionths(a));
        const Decimal right = number(text_of_millionths(b));
        ASSERT_EQ((left + right).to_string(), text_of_millionths(a + b));
        ASSERT_EQ((left - right).to_string(), text_of_millionths(a - b));
        ASSERT_EQ((left * n).to_string(), text_of_millionths(a * n));
        ASSERT_EQ((n * left), left * n);
        ASSERT_EQ(left == right, a == b);
        ASSERT_EQ(left < right, a < b);
        ASSERT_EQ(left >= right, a >= b);
    }
}

TEST(DecimalModel, NumbersOfDifferentDecimalsMeet)
{
    EXPECT_EQ(number("1.5"), number("1.500"));
    EXPECT_NE(number("1.5"), number("1.501"));
    EXPECT_EQ((number("1.5") + number("0.0625")).to_string(), "1.5625");
    EXPECT_EQ((number("1") - number("0.000000000000000001")).to_string(), "0.999999999999999999");
    EXPECT_LT(number("-2"), number("-1.999"));
    EXPECT_GT(number("100000000000000000000000000000000001"), number("0.000000000000000001"));
}

// The places that the longest field leaves empty are needed while two numbers meet.
TEST(DecimalModel, NumbersOfAllDigitsAreComparedAtAnyPlaces)
{
    const Decimal large = number("999999999999999999999999999999999999");
    const Decimal small = number("0.000000000000000001");
    EXPECT_LT(small, large);
    EXPECT_LT(-large, small);
    EXPECT_LT(-large, -small);
    EXPECT_FALSE(large < large); // NOLINT(misc-redundant-expression)
    EXPECT_EQ(number("-0.00"), Decimal(0));
    EXPECT_FALSE((large - small).is_valid());
}

TEST(DecimalModel, WhatIsNoWholeNumberOf64BitsIsNoFactor)
{
    EXPECT_TRUE((std::is_constructible_v<Decimal, unsigned short>));
    EXPECT_FALSE((std::is_constructible_v<Decimal, double>));
    EXPECT_FALSE((std::is_constructible_v<Decimal, bool>));
#ifdef __SIZEOF_INT128__
    __extension__ using Wide = __int128;
    EXPECT_FALSE(quentar::detail::is_whole_number<Wide>); // it would lose its upper half
#endif
}

TEST(DecimalModel, CarriesGoThroughAllDigits)
{
    EXPECT_EQ((number("999999999999999999999999999999999998") + 1).to_string(), "999999999999999999999999999999999999");
    EXPECT_EQ((number("1000000000000000000000000000") - 1).to_string(), "999999999999999999999999999");
    EXPECT_EQ((number("123456789012345.123456789") * 1000000000).to_string(), "123456789012345123456789.000000000");
    EXPECT_EQ((number("3") * std::numeric_limits<std::uint64_t>::max()).to_string(), "55340232221128654845");
    EXPECT_EQ((number("-3") * std::numeric_limits<std::int64_t>::min()).to_string(), "27670116110564327424");
}

TEST(DecimalLimits, WhatDoesNotFitIsInvalidAndStaysSo)
{
    const Decimal largest = number("999999999999999999999999999999999999");
    for (const Decimal& result :
         {largest + 1, largest * 2, largest + number("0.1"), -largest - 1, largest * 2 - largest}) {
        EXPECT_FALSE(result.is_valid());
        EXPECT_EQ(result.to_string(), "invalid");
    }
}

TEST(DecimalLimits, AnInvalidNumberEqualsNothing)
{
    const Decimal invalid = Decimal::of_units(1, 99);
    EXPECT_FALSE(invalid == invalid); // NOLINT(misc-redundant-expression)
    EXPECT_TRUE(invalid != invalid);  // NOLINT(misc-redundant-expression)
    EXPECT_FALSE(invalid < Decimal(1));
    EXPECT_FALSE(invalid > Decimal(1));
    EXPECT_FALSE(invalid.is_zero());
    EXPECT_FALSE((-invalid).is_valid());
    EXPECT_FALSE((invalid * 0).is_valid());
    EXPECT_FALSE(invalid.with_decimals(2).has_value());
    EXPECT_FALSE(invalid.to_integer<int>().has_value());
    EXPECT_TRUE(std::isnan(invalid.to_double()));
}

TEST(DecimalLimits, OtherDecimalsLoseNoDigit)
{
    EXPECT_EQ(number("1.5").with_decimals(4)->to_string(), "1.5000");
    EXPECT_EQ(number("1.500").with_decimals(1)->to_string(), "1.5");
    EXPECT_EQ(number("-1.500").with_decimals(1)->to_string(), "-1.5");
    EXPECT_FALSE(number("1.501").with_decimals(2).has_value());
    EXPECT_FALSE(number("1").with_decimals(19).has_value());
    EXPECT_FALSE(number("999999999999999999999999999999999999").with_decimals(1).has_value());
}

TEST(DecimalLimits, IntegersAreGivenIfTheyAreWholeAndFit)
{
    EXPECT_EQ(number("127.00").to_integer<std::int8_t>(), std::int8_t{127});
    EXPECT_EQ(number("-128").to_integer<std::int8_t>(), std::int8_t{-128});
    EXPECT_FALSE(number("128").to_integer<std::int8_t>().has_value());
    EXPECT_FALSE(number("-1").to_integer<unsigned>().has_value());
    EXPECT_FALSE(number("1.5").to_integer<int>().has_value());
    EXPECT_EQ(number("-0").to_integer<unsigned>(), 0U);
}

// ---- What fields hold ------------------------------------------------------------------------------------------

std::int64_t binary(int type, std::string bytes)
{
    return quentar::detail::value_in<std::int64_t>({type, std::move(bytes)}).value_or(-99);
}

TEST(FieldValues, BinaryNumbersHaveTheirSignsAndAreLittleEndian)
{
    EXPECT_EQ(binary(1, "\x01\x80"), -32767);
    EXPECT_EQ(binary(1, "\xff\x7f"), 32767);
    EXPECT_EQ(binary(2, "\xff\xff"), 65535);
    EXPECT_EQ(binary(3, "\xff\xff\xff\xff"), 4294967295);
    EXPECT_EQ(binary(7, "\xfe\xff\xff\xff"), -2);
    EXPECT_EQ(binary(7, "\xff\xff\xff\x7f"), 2147483647);
}

TEST(FieldValues, NumbersInDigitsMayHaveBlanksAnywhereAroundTheSign)
{
    const auto value = [](int type, std::string bytes) {
        return quentar::detail::number_in({type, std::move(bytes)}).value_or(Decimal::of_units(1, 99)).to_string();
    };
    EXPECT_EQ(value(5, "  -   12.50"), "-12.50");
    EXPECT_EQ(value(5, "-12.50 "), "-12.50");
    EXPECT_EQ(value(4, std::string("  7\0\0", 5)), "7");
    EXPECT_EQ(value(4, "    "), "0");
    EXPECT_EQ(value(5, " -  "), "invalid");
    EXPECT_EQ(value(6, "    "), "invalid");
}

TEST(DecimalLimits, TheDoubleIsTheNearestOne)
{
    EXPECT_EQ(number("0.1").to_double(), 0.1);
    EXPECT_EQ(number("-4012.25").to_double(), -4012.25);
    EXPECT_EQ(number("123456789012345678.123456789").to_double(), 123456789012345678.123456789);
}

} // namespace
