#include "exchange/wide_sum.h"

#include <boost/multiprecision/cpp_int.hpp>
#include <gtest/gtest.h>

#include <limits>
#include <random>

using qm::WideSum;
using Integer = boost::multiprecision::cpp_int;

namespace {

constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();

WideSum Product(std::int64_t a, std::int64_t b)
{
    WideSum sum;
    sum.Add_Product(a, b);
    return sum;
}

} // namespace

TEST(WideSum, DividesWhatIsBeyond64Bits)
{
    WideSum sum = Product(9'999'999'999'999, 999'999'999'999);
    sum.Add_Product(9'999'999'999'999, 999'999'999'999);
    const auto quotient = sum.Divided_By(2'000'000'000'000 - 2);
    ASSERT_TRUE(quotient);
    EXPECT_EQ(quotient->value, 9'999'999'999'999U);
    EXPECT_EQ(quotient->rest, 0U);
}

TEST(WideSum, NothingIsDividedByNothing)
{
    EXPECT_FALSE(Product(3, 4).Divided_By(0));
    EXPECT_FALSE(Product(3, 4).Divided_By(-1));
    EXPECT_EQ(Product(3, 4).Mean(0), 0);
}

TEST(WideSum, AQuotientBeyond64BitsIsNone)
{
    EXPECT_FALSE(Product(greatest, greatest).Divided_By(1));
    EXPECT_EQ(Product(greatest, greatest).Mean(1), 0);
    EXPECT_EQ(Product(greatest, 2).Mean(1), 0);
    EXPECT_EQ(Product(greatest, greatest).Mean(greatest), greatest);
}

TEST(WideSum, AHalfIsRoundedUp)
{
    EXPECT_EQ(Product(1, 5).Mean(2), 3);
    EXPECT_EQ(Product(1, 4).Mean(3), 1);
    EXPECT_EQ(Product(1, 5).Mean(3), 2);
    EXPECT_EQ(Product(1, 1).Mean(3, 100), 33);
    EXPECT_EQ(Product(1, 2).Mean(3, 100), 67);
}

TEST(WideSum, AgreesWithIntegersOfAnyLength)
{
    std::mt19937_64 random(1);
    const auto any = [&] { return static_cast<std::int64_t>(random() >> (1 + random() % 63)); };
    for (int i = 0; i < 20'000; ++i) {
        const std::int64_t a = any();
        const std::int64_t b = any();
        const std::int64_t c = any() / 2;
        const std::int64_t divisor = any() + 1;
        WideSum sum = Product(a, b);
        sum.Add_Product(c, c);
        const Integer exact = Integer(a) * b + Integer(c) * c;
        const auto quotient = sum.Divided_By(divisor);
        ASSERT_EQ(quotient.has_value(), exact / divisor < (Integer(1) << 64));
        if (quotient) {
            ASSERT_EQ(Integer(quotient->value), Integer(exact / divisor));
            ASSERT_EQ(Integer(quotient->rest), Integer(exact % divisor));
        }
        const Integer mean = (exact * 100 + divisor / 2) / divisor;
        if (exact < (Integer(1) << 120)) {
            ASSERT_EQ(Integer(sum.Mean(divisor, 100)), mean <= greatest ? mean : Integer(0));
        }
    }
}
