#include "cvarray.h"

#include <gtest/gtest.h>

namespace {

void fill(CvArray<int>& array, int count, int first)
{
    for (int i = 0; i < count; ++i) {
        array[i] = first + i;
    }
}

TEST(CvArrayTest, StartsWithTheCapacityAskedForAndZeroedElements)
{
    CvArray<int> array(3);
    EXPECT_EQ(array.Capacity(), 3);
    EXPECT_EQ(array.max_used, 0);
    EXPECT_EQ(array.m_pstack, -1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(array[i], 0);
    }
}

TEST(CvArrayTest, NegativeCapacityIsAnEmptyArray)
{
    CvArray<int> array(-5);
    EXPECT_EQ(array.Capacity(), 0);
}

TEST(CvArrayTest, NewLimitKeepsElementsAndZeroesTheNewOnes)
{
    CvArray<int> array(2);
    fill(array, 2, 7);
    array.Set_New_Limit(4);
    EXPECT_EQ(array.Capacity(), 4);
    EXPECT_EQ(array[0], 7);
    EXPECT_EQ(array[1], 8);
    EXPECT_EQ(array[2], 0);
    EXPECT_EQ(array[3], 0);
}

TEST(CvArrayTest, LimitNeverShrinks)
{
    CvArray<int> array(4);
    fill(array, 4, 1);
    array.Set_New_Limit(2);
    EXPECT_EQ(array.Capacity(), 4);
    EXPECT_EQ(array[3], 4);
}

TEST(CvArrayTest, CheckedAccessInsideTheCapacityDoesNotGrow)
{
    CvArray<int> array(4);
    array(3) = 9;
    EXPECT_EQ(array.Capacity(), 4);
    EXPECT_EQ(array[3], 9);
}

TEST(CvArrayTest, CheckedAccessAtTheCapacityGrowsToTwiceTheIndex)
{
    CvArray<int> array(4);
    array(4) = 9;
    EXPECT_EQ(array.Capacity(), 8);
    EXPECT_EQ(array[4], 9);
}

TEST(CvArrayTest, CheckedAccessFarBehindTheCapacityGrowsToTwiceTheIndex)
{
    CvArray<int> array(4);
    array(50) = 9;
    EXPECT_EQ(array.Capacity(), 100);
    EXPECT_EQ(array[50], 9);
}

TEST(CvArrayTest, CheckedAccessToElementZeroOfAnEmptyArrayDoesNotGrowIt)
{
    CvArray<int> array(0);
    array(0) = 5;
    EXPECT_EQ(array.Capacity(), 0);
}

TEST(CvArrayTest, CheckedAccessToElementOneOfAnEmptyArrayGrowsToTwo)
{
    CvArray<unsigned int> array(0);
    array(1) = 5;
    EXPECT_EQ(array.Capacity(), 2);
    EXPECT_EQ(array[0], 0U);
}

TEST(CvArrayTest, AssignmentFromALargerArrayGrowsAndTakesItsElements)
{
    CvArray<int> target(2);
    CvArray<int> source(3);
    fill(source, 3, 10);
    target = source;
    EXPECT_EQ(target.Capacity(), 3);
    EXPECT_EQ(target[2], 12);
}

TEST(CvArrayTest, AssignmentFromASmallerArrayKeepsTheElementsBehindIt)
{
    CvArray<int> target(3);
    fill(target, 3, 1);
    CvArray<int> source(2);
    fill(source, 2, 10);
    target = source;
    EXPECT_EQ(target.Capacity(), 3);
    EXPECT_EQ(target[1], 11);
    EXPECT_EQ(target[2], 3);
}

TEST(CvArrayTest, AssignmentLeavesUseCountAndCursorsAlone)
{
    CvArray<int> target(2);
    target.max_used = 2;
    target.m_for_number = 1;
    target.m_pstack = 3;
    CvArray<int> source(2);
    target = source;
    EXPECT_EQ(target.max_used, 2);
    EXPECT_EQ(target.m_for_number, 1);
    EXPECT_EQ(target.m_pstack, 3);
}

TEST(CvArrayTest, ChangedEndsTheInnermostSavedIterationAlone)
{
    CvArray<int> array(2);
    array.m_for_number = 1;
    array.m_pstack = 2;
    array.m_lstack[1] = 6;
    array.m_lstack[2] = 7;
    array.Changed();
    EXPECT_EQ(array.m_for_number, -1);
    EXPECT_EQ(array.m_lstack[1], 6);
    EXPECT_EQ(array.m_lstack[2], -1);
}

TEST(CvArrayTest, ChangedLeavesTheBottomSavedCursorAlone)
{
    CvArray<int> array(2);
    array.m_pstack = 0;
    array.m_lstack[0] = 6;
    array.Changed();
    EXPECT_EQ(array.m_lstack[0], 6);
}

TEST(CvArrayTest, CleanForgetsTheUseCountAndKeepsTheStorage)
{
    CvArray<int> array(2);
    fill(array, 2, 4);
    array.max_used = 2;
    array.m_for_number = 1;
    array.Clean();
    EXPECT_EQ(array.max_used, 0);
    EXPECT_EQ(array.m_for_number, -1);
    EXPECT_EQ(array.Capacity(), 2);
    EXPECT_EQ(array[1], 5);
}

} // namespace
