#include "reader/conditions.h"

#include "support/is_like_model.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <string_view>

namespace {

// In memory of exactly their size, so that a read behind either is seen.
bool like(std::string_view field, std::string_view pattern)
{
    const auto exactly = [](std::string_view text) {
        auto copy = std::make_unique<char[]>(text.size());
        text.copy(copy.get(), text.size());
        return copy;
    };
    const auto own_field = exactly(field);
    const auto own_pattern = exactly(pattern);
    return Is_Like(own_field.get(), static_cast<int>(field.size()), own_pattern.get(),
                   static_cast<int>(pattern.size())) != 0;
}

TEST(IsLike, TextsWithoutMarksAreTheSameOrNot)
{
    EXPECT_TRUE(like("abc", "abc"));
    EXPECT_FALSE(like("abc", "ab"));
    EXPECT_FALSE(like("ab", "abc"));
    EXPECT_FALSE(like("abc", "ABC"));
    EXPECT_TRUE(like("", ""));
    EXPECT_FALSE(like("a", ""));
    EXPECT_FALSE(like("", "a"));
}

TEST(IsLike, AStarAndALineStandForExactlyOneCharacter)
{
    EXPECT_TRUE(like("abc", "a_c"));
    EXPECT_TRUE(like("abc", "a*c"));
    EXPECT_FALSE(like("ac", "a_c"));
    EXPECT_FALSE(like("abbc", "a*c"));
    EXPECT_FALSE(like("", "*"));
}

TEST(IsLike, APercentStandsForAnyRun)
{
    EXPECT_TRUE(like("abc", "a%"));
    EXPECT_TRUE(like("abc", "abc%"));
    EXPECT_TRUE(like("abc", "%c"));
    EXPECT_TRUE(like("abc", "%b%"));
    EXPECT_TRUE(like("abcabd", "%abd"));
    EXPECT_TRUE(like("", "%"));
    EXPECT_FALSE(like("abc", "%d%"));
}

TEST(IsLike, BehindTheFieldOnlyOnePercentMayBeLeft)
{
    EXPECT_FALSE(like("", "%%"));
    EXPECT_FALSE(like("ab", "ab%%"));
    EXPECT_TRUE(like("ab", "a%%"));
    EXPECT_FALSE(like("a", "a%*"));
}

TEST(IsLike, AZeroEndsTheField)
{
    EXPECT_TRUE(like(std::string_view("abc\0\0\0\0\0\0\0", 10), "abc"));
    EXPECT_FALSE(like(std::string_view("abc\0xyz", 7), "abc%z"));
    EXPECT_TRUE(like(std::string_view("\0abc", 4), ""));
    EXPECT_FALSE(like("a", std::string_view("a\0", 2)));
}

TEST(IsLike, ASetStandsForOneOfItsMembers)
{
    EXPECT_TRUE(like("b", "[abc]"));
    EXPECT_FALSE(like("d", "[abc]"));
    EXPECT_TRUE(like("xbz", "x[abc]z"));
    EXPECT_TRUE(like("xxb", "%[ab]"));
    EXPECT_TRUE(like("*", "[*]"));
    EXPECT_FALSE(like("a", "[*]"));
    EXPECT_TRUE(like("]", "]"));
}

TEST(IsLike, ANegatedSetRefusesOnlyWhatIsEachOfItsMembers)
{
    EXPECT_FALSE(like("a", "[^a]"));
    EXPECT_TRUE(like("b", "[^a]"));
    EXPECT_FALSE(like("a", "[^aa]"));
    EXPECT_TRUE(like("a", "[^ab]"));
    EXPECT_TRUE(like("b", "[^ab]"));
}

TEST(IsLike, ASetThatIsEmptyOrNeverEndsMatchesNothing)
{
    EXPECT_FALSE(like("a", "["));
    EXPECT_FALSE(like("a", "[^"));
    EXPECT_FALSE(like("a", "[]"));
    EXPECT_FALSE(like("a", "[^]"));
    EXPECT_FALSE(like("a", "[a"));
    EXPECT_FALSE(like("a", "[^b"));
    EXPECT_FALSE(like("]", "[]]"));
    EXPECT_FALSE(like("[", "["));
}

TEST(IsLike, LengthsBelowZeroAreEmpty)
{
    EXPECT_EQ(Is_Like("abc", -1, "", 0), 1);
    EXPECT_EQ(Is_Like("abc", 3, "abc", -1), 0);
    EXPECT_EQ(Is_Like("abc", 2, "ab", 2), 1);
}

// By plain recursion this one would take longer than the world lasts.
TEST(IsLike, ManyRunsEnd)
{
    std::string pattern;
    for (int i = 0; i < 1000; ++i) {
        pattern += "%a";
    }
    EXPECT_FALSE(like(std::string(4000, 'a'), pattern + "%b"));
    EXPECT_TRUE(like(std::string(4000, 'a') + "b", pattern + "%b"));
    EXPECT_FALSE(like(std::string(4000, 'a'), pattern + "%[^a]%"));
}

class IsLikeRandom : public testing::TestWithParam<std::string_view>
{
protected:
    std::string text_of(std::string_view letters, std::size_t longest)
    {
        std::string text(m_random() % (longest + 1), ' ');
        for (char& c : text) {
            c = letters[m_random() % letters.size()];
        }
        return text;
    }

private:
    std::mt19937 m_random{20261122};
};

TEST_P(IsLikeRandom, AgreesWithTheModel)
{
    constexpr std::string_view field_letters("abab[]^\0", 8);
    for (int i = 0; i < 50000; ++i) {
        const std::string field = text_of(field_letters, 8);
        const std::string pattern = text_of(GetParam(), 9);
        ASSERT_EQ(like(field, pattern), IsLikeModel::Matches(field, pattern))
            << testing::PrintToString(field) << " like " << pattern;
    }
}

INSTANTIATE_TEST_SUITE_P(Alphabets, IsLikeRandom, testing::Values("ab%", "a%_", "ab%*[]^", "a[[]^b]%", "a%[^ab]]%"));

} // namespace
