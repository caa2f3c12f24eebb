// The comparison of prices against a second reading of its rules, and where it orders prices and where it does not.
#include "support/price_texts.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using Texts = std::vector<std::string>;

constexpr char sides[] = {'D', 'O'};
constexpr int methods[] = {0, 1};

int compare(const std::string& left, const std::string& right, char side, int method)
{
    const int order = TABLE_KEY_Price_Comp(left.data(), right.data(), side, method);
    return order < 0 ? -1 : static_cast<int>(order > 0);
}

// ---- The model -------------------------------------------------------------------------------------------------

int as_text(const std::string& left, const std::string& right)
{
    const int order = left.compare(right);
    return order < 0 ? -1 : static_cast<int>(order > 0);
}

// The texts without the character in front of the point, if both have a blank or a zero there.
int without_unit(std::string left, std::string right)
{
    const std::size_t point = std::min(left.find('.'), left.size());
    const std::string nothing = " 0";
    if (point != 0 && nothing.find(left[point - 1]) != std::string::npos &&
        nothing.find(right[point - 1]) != std::string::npos) {
        left.erase(point - 1, 1);
        right.erase(point - 1, 1);
    }
    return as_text(left, right);
}

int model(const std::string& left, const std::string& right, char side, int method)
{
    int order = left == right ? 0 : without_unit(left, right);
    const std::string bounds("\0\xff", 2);
    if (order != 0 && bounds.find(left[0]) == std::string::npos && bounds.find(right[0]) == std::string::npos) {
        const bool left_negative = left.find('-') != std::string::npos;
        const bool right_negative = right.find('-') != std::string::npos;
        order = left_negative && right_negative ? -order : left_negative ? -1 : right_negative ? 1 : order;
    }
    const bool as_it_is = method == 1 ? side == 'D' : side != 'D';
    return as_it_is ? order : -order;
}

TEST(PriceModel, AgreesOnPairsOfAllShapes)
{
    PriceTexts prices(1);
    for (int i = 0; i < 50000; ++i) {
        const std::string left = prices.Any();
        const std::string right = prices.Below(3) == 0 ? left.substr(0, 15) + prices.Any().substr(15) : prices.Any();
        for (const char side : sides) {
            for (const int method : methods) {
                ASSERT_EQ(compare(left, right, side, method), model(left, right, side, method))
                    << "[" << left << "] [" << right << "] " << side << method;
            }
        }
    }
}

TEST(PriceModel, PointInTheFirstColumnHasNothingInFrontOfIt)
{
    const std::string left = "0." + std::string(17, '1') + "1";
    const std::string right = " ." + std::string(17, '1') + "2";
    EXPECT_LT(TABLE_KEY_Price_Comp(left.data() + 1, right.data() + 1, 'O', 0), 0);
    EXPECT_GT(TABLE_KEY_Price_Comp(right.data() + 1, left.data() + 1, 'O', 0), 0);
}

// ---- Where it orders -------------------------------------------------------------------------------------------

void expect_order(const Texts& prices, char side, int method)
{
    std::vector<int> before(prices.size());
    for (std::size_t i = 0; i < prices.size(); ++i) {
        before[i] = static_cast<int>(std::count_if(prices.begin(), prices.end(), [&](const std::string& other) {
            return compare(other, prices[i], side, method) < 0;
        }));
    }
    for (std::size_t i = 0; i < prices.size(); ++i) {
        for (std::size_t j = 0; j < prices.size(); ++j) {
            ASSERT_EQ(compare(prices[i], prices[j], side, method), (before[i] > before[j]) - (before[i] < before[j]))
                << "[" << prices[i] << "] [" << prices[j] << "] " << side << method;
        }
    }
}

// A strict weak order sorts its elements into classes one behind the other: the number of those that come before an
// element tells its place among all others.
void expect_strict_weak_order(const Texts& prices)
{
    for (const char side : sides) {
        for (const int method : methods) {
            expect_order(prices, side, method);
        }
    }
}

// At the right of a price: three characters of which one is the point, or none.
Texts with_point_at(std::size_t column, const std::function<bool(const std::string&)>& fits)
{
    Texts prices{std::string(ORD_PRICE_LEN, '\0'), std::string(ORD_PRICE_LEN, '\xff')};
    for (const std::string& text : all_texts(3, " 019.-+")) {
        if (std::min<std::size_t>(text.find('.'), 3) == column && fits(text)) {
            prices.push_back(right_aligned(text));
        }
    }
    return prices;
}

bool is_blank_or_digit(char character)
{
    return character == ' ' || (character >= '0' && character <= '9');
}

TEST(PriceOrder, IsStrictAndWeakWithTheFirstPointInOneColumnBehindADigitOrBlank)
{
    for (const std::size_t column : {0U, 1U, 2U, 3U}) {
        const Texts prices = with_point_at(
            column, [column](const std::string& text) { return column == 0 || is_blank_or_digit(text[column - 1]); });
        ASSERT_GE(prices.size(), 26U);
        expect_strict_weak_order(prices);
    }
}

TEST(PriceOrder, IsStrictAndWeakWithOneMinusInFrontOfThePoint)
{
    for (const std::size_t column : {1U, 2U, 3U}) {
        const Texts prices = with_point_at(column, [column](const std::string& text) {
            const std::size_t minus = text.find('-');
            return text[column - 1] != '+' && (minus == std::string::npos || minus < column) &&
                   minus == text.rfind('-');
        });
        expect_strict_weak_order(prices);
    }
}

TEST(PriceOrder, IsStrictAndWeakOverWellFormedPricesAndTheirBounds)
{
    PriceTexts random(2);
    Texts prices{std::string(ORD_PRICE_LEN, '\0'), std::string(ORD_PRICE_LEN, '\xff')};
    std::generate_n(std::back_inserter(prices), 500, [&random] { return random.Well_Formed(); });
    expect_strict_weak_order(prices);
}

TEST(PriceOrder, TriplesOfWellFormedPricesDoNotGoInACircle)
{
    PriceTexts random(3);
    for (int i = 0; i < 100000; ++i) {
        const Texts price{random.Well_Formed(), random.Well_Formed(), random.Well_Formed()};
        const char side = sides[i & 1];
        const int method = methods[(i >> 1) & 1];
        const int first = compare(price[0], price[1], side, method);
        const int second = compare(price[1], price[2], side, method);
        if (first <= 0 && second <= 0) {
            ASSERT_EQ(compare(price[0], price[2], side, method), std::min(first, second))
                << "[" << price[0] << "] [" << price[1] << "] [" << price[2] << "] " << side << method;
        }
    }
}

// ---- Where it does not -----------------------------------------------------------------------------------------
// The shortest examples of each kind, as offers in the default order.

int offers(std::string_view left, std::string_view right)
{
    return compare(right_aligned(left), right_aligned(right), 'O', 0);
}

TEST(PriceDisorder, PointsInDifferentColumnsMayPutEachPriceBeforeTheOther)
{
    EXPECT_EQ(offers("0.", "1"), -1);
    EXPECT_EQ(offers("1", "0."), -1);
    EXPECT_EQ(offers("0.5", "15"), -1);
    EXPECT_EQ(offers("15", "0.5"), -1);
    EXPECT_EQ(offers("0.50", "1.5"), -1);
    EXPECT_EQ(offers("1.5", "0.50"), -1);
}

TEST(PriceDisorder, PointAmongPricesWithoutOneStandsBetweenTwoThatAreEqual)
{
    EXPECT_EQ(offers("0", " "), 0);
    EXPECT_EQ(offers(" ", "."), -1);
    EXPECT_EQ(offers(".", "0"), -1);
}

TEST(PriceDisorder, PlusInFrontOfThePointStandsBetweenTwoThatAreEqual)
{
    EXPECT_EQ(offers("0.", " ."), 0);
    EXPECT_EQ(offers(" .", "+."), -1);
    EXPECT_EQ(offers("+.", "0."), -1);
    EXPECT_EQ(offers("0", " "), 0);
    EXPECT_EQ(offers(" ", "+"), -1);
    EXPECT_EQ(offers("+", "0"), -1);
}

TEST(PriceDisorder, MinusInFrontOfThePointAndOneBehindIt)
{
    EXPECT_EQ(offers(" .-", "0.-"), 0);
    EXPECT_EQ(offers("0.-", "-. "), -1);
    EXPECT_EQ(offers("-. ", " .-"), -1);
}

TEST(PriceDisorder, TwoMinusesAreNotTheSameAsOneBehindABlankOrZero)
{
    EXPECT_EQ(offers("- .", "-0."), 0);
    EXPECT_EQ(offers("-0.", "--."), -1);
    EXPECT_EQ(offers("--.", "- ."), -1);
}

TEST(PriceDisorder, BlanksAndZerosInFrontOfTheUnitAreTextAndNotNumbers)
{
    EXPECT_EQ(offers(" 2.5", "01.5"), -1) << "an order, but not that of numbers";
}

// ---- Bounds ----------------------------------------------------------------------------------------------------

std::string bound(char side, int fill, int method)
{
    std::string price(ORD_PRICE_LEN + 1, '!');
    TABLE_KEY_Price_Key_Fill(price.data(), &side, fill, method);
    EXPECT_EQ(price.back(), '!');
    return price.substr(0, ORD_PRICE_LEN);
}

TEST(PriceBounds, EncloseAllPricesOfASide)
{
    PriceTexts random(4);
    for (int i = 0; i < 5000; ++i) {
        const std::string price = random.Well_Formed();
        for (const char side : sides) {
            for (const int method : methods) {
                ASSERT_LT(compare(bound(side, 0, method), price, side, method), 0) << price << side << method;
                ASSERT_GT(compare(price, bound(side, 0, method), side, method), 0) << price << side << method;
                ASSERT_LT(compare(price, bound(side, 255, method), side, method), 0) << price << side << method;
                ASSERT_GT(compare(bound(side, 255, method), price, side, method), 0) << price << side << method;
            }
        }
    }
}

TEST(PriceBounds, AreTheComplementOnTheSideThatDescends)
{
    const std::string zeros(ORD_PRICE_LEN, '\0');
    const std::string ones(ORD_PRICE_LEN, '\xff');
    EXPECT_EQ(bound('D', 0, 0), ones);
    EXPECT_EQ(bound('O', 0, 0), zeros);
    EXPECT_EQ(bound('D', 0, 1), zeros);
    EXPECT_EQ(bound('O', 0, 1), ones);
    EXPECT_EQ(bound('D', 255, 2), zeros) << "any other method";
    EXPECT_EQ(bound('x', 0x5a, 1), std::string(ORD_PRICE_LEN, '\xa5')) << "any other side, any fill";
}

TEST(PriceBounds, WithoutASideAreThoseOfOffers)
{
    std::string price(ORD_PRICE_LEN, '!');
    TABLE_KEY_Price_Key_Fill(price.data(), nullptr, 0, 0);
    EXPECT_EQ(price, std::string(ORD_PRICE_LEN, '\0'));
}

} // namespace
