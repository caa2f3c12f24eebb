#include "table/vector_at.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

struct Noted
{
    explicit Noted(char* given = nullptr) : type(given) { ++made; }
    char* type;
    int value = 0;
    inline static int made = 0;
};

using Pool = CVectorAt<Noted>;

std::vector<int> take(Pool& pool, int count)
{
    std::vector<int> taken;
    for (int i = 0; i < count; ++i) {
        taken.push_back(pool.Use_One());
    }
    return taken;
}

std::vector<int> free_list(const Pool& pool)
{
    std::vector<int> positions;
    for (int pos = pool.first_free; pos != Pool::end_of_list; pos = pool.Next(pos)) {
        positions.push_back(pos);
    }
    return positions;
}

TEST(VectorAt, PoolOfSixDoublesAtEachOfTheFirstTwoTakes)
{
    Pool pool(6, nullptr);
    EXPECT_EQ(pool.max_number, 6);
    EXPECT_EQ(take(pool, 1), std::vector<int>{0});
    EXPECT_EQ(pool.max_number, 12);
    EXPECT_EQ(take(pool, 1), std::vector<int>{1});
    EXPECT_EQ(pool.max_number, 24);
    EXPECT_EQ(take(pool, 6).back(), 7);
    EXPECT_EQ(pool.max_number, 24) << "16 are free";
    take(pool, 1);
    EXPECT_EQ(pool.max_number, 48) << "15 were free";
}

TEST(VectorAt, PoolOfOneDoublesTwiceAtItsFirstTake)
{
    Pool pool(1, nullptr);
    EXPECT_EQ(take(pool, 1), std::vector<int>{0});
    EXPECT_EQ(pool.max_number, 4);
    EXPECT_EQ(free_list(pool), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(pool.last_free, 3);
}

TEST(VectorAt, PoolOfNothingHoldsOne)
{
    Pool pool(0, nullptr);
    EXPECT_EQ(pool.max_number, 1);
    EXPECT_EQ(pool.Use_One(), 0);
}

TEST(VectorAt, PositionsComeInAscendingOrder)
{
    Pool pool(6, nullptr);
    EXPECT_EQ(take(pool, 10), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(VectorAt, ReleasedPositionsAreTakenBehindAllOthersFirstInFirstOut)
{
    Pool pool(6, nullptr);
    take(pool, 2);
    pool.Release(1);
    pool.Release(0);
    std::vector<int> expected;
    for (int pos = 2; pos < 24; ++pos) {
        expected.push_back(pos);
    }
    expected.push_back(1);
    expected.push_back(0);
    EXPECT_EQ(free_list(pool), expected);
    EXPECT_EQ(pool.last_free, 0);
}

TEST(VectorAt, GrowthAppendsBehindReleasedPositions)
{
    Pool pool(6, nullptr);
    take(pool, 2);
    pool.Release(0);
    pool.Set_New_Limit(26);
    const auto free = free_list(pool);
    EXPECT_EQ(std::vector<int>(free.end() - 3, free.end()), (std::vector<int>{0, 24, 25}));
}

TEST(VectorAt, ALimitThatDoesNotGrowChangesNothing)
{
    Pool pool(6, nullptr);
    pool.Set_New_Limit(6);
    pool.Set_New_Limit(-1);
    EXPECT_EQ(pool.max_number, 6);
    EXPECT_EQ(free_list(pool), (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST(VectorAt, TellsWhatIsInUseAndTheMostThatEverWas)
{
    Pool pool(6, nullptr);
    take(pool, 3);
    pool.Release(1);
    EXPECT_TRUE(pool.Is_Used(0));
    EXPECT_FALSE(pool.Is_Used(1));
    EXPECT_FALSE(pool.Is_Used(3));
    EXPECT_FALSE(pool.Is_Used(-1));
    EXPECT_FALSE(pool.Is_Used(24));
    EXPECT_EQ(pool.cur_used, 2);
    EXPECT_EQ(pool.max_used, 3);
}

TEST(VectorAt, ReleaseOfAPositionThatIsNotInUseChangesNothing)
{
    Pool pool(6, nullptr);
    take(pool, 1);
    const auto before = free_list(pool);
    pool.Release(3);
    pool.Release(-1);
    pool.Release(12);
    EXPECT_EQ(free_list(pool), before);
    pool.Release(0);
    pool.Release(0);
    EXPECT_EQ(pool.cur_used, 0);
    EXPECT_EQ(free_list(pool).size(), 12U);
}

TEST(VectorAt, PositionKeepsItsObjectAndWhatItHolds)
{
    Pool pool(6, nullptr);
    Noted* object = &pool[pool.Use_One()];
    object->value = 7;
    pool.Release(0);
    take(pool, 100);
    EXPECT_EQ(&pool[0], object);
    EXPECT_EQ(object->value, 7);
}

TEST(VectorAt, ObjectsAreMadeWhenTheyAreAskedForWithTheTypeOfThePool)
{
    char type[] = "x";
    Pool pool(6, type);
    Noted::made = 0;
    take(pool, 100);
    EXPECT_EQ(Noted::made, 0);
    EXPECT_EQ(pool[99].type, type);
    EXPECT_EQ(pool[99].value, 0);
    EXPECT_EQ(Noted::made, 1);
    EXPECT_EQ(pool[190].type, type) << "free ones are there too";
}

TEST(Vector, GrowsToTwiceThePositionThatIsAskedFor)
{
    CVector<Noted> vector(6);
    EXPECT_EQ(vector.max_number, 6);
    vector(5).value = 5;
    EXPECT_EQ(vector.max_number, 6);
    vector(6).value = 6;
    EXPECT_EQ(vector.max_number, 12);
    EXPECT_EQ(vector[5].value, 5);
    EXPECT_EQ(vector[6].value, 6);
}

TEST(Vector, OfNothingGrowsForItsFirstPosition)
{
    CVector<Noted> vector(0);
    vector(0).value = 1;
    EXPECT_EQ(vector.max_number, 1);
    EXPECT_EQ(vector(1).value, 0);
    EXPECT_EQ(vector.max_number, 2);
}

TEST(Vector, TellsWhichPositionsWereAskedFor)
{
    CVector<Noted> vector(6);
    EXPECT_FALSE(vector.Has(2));
    EXPECT_EQ(vector[2].value, 0);
    EXPECT_TRUE(vector.Has(2));
    EXPECT_FALSE(vector.Has(6));
}

} // namespace
