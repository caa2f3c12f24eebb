#include "table/table_list.h"

#include <gmock/gmock.h>

#include <array>
#include <vector>

namespace {

std::vector<int> walk(CTableList& list)
{
    std::vector<int> tables;
    for (int table = list.First_Table(); table != 0; table = list.Next_Table()) {
        tables.push_back(table);
    }
    return tables;
}

TEST(TableList, IsEmptyWithRoomForThreeAtFirst)
{
    CTableList list;
    EXPECT_EQ(list.m_max_tables, 3);
    EXPECT_EQ(list.m_tables.Capacity(), 3);
    EXPECT_EQ(list.First_Table(), 0);
    EXPECT_EQ(list.Next_Table(), 0);
}

TEST(TableList, MadeOfATableHoldsItWithRoomForTwo)
{
    CTableList list(22);
    EXPECT_EQ(list.m_max_tables, 2);
    EXPECT_EQ(walk(list), std::vector<int>{22});
}

TEST(TableList, DoublesOnceItIsFull)
{
    CTableList list;
    list.Add_Table(1);
    list.Add_Table(2);
    EXPECT_EQ(list.m_max_tables, 3);
    list.Add_Table(3);
    EXPECT_EQ(list.m_max_tables, 6);
    for (int table = 4; table <= 6; ++table) {
        list.Add_Table(table);
    }
    EXPECT_EQ(list.m_max_tables, 12);
    EXPECT_EQ(list.m_tables.Capacity(), 12);
    EXPECT_EQ(walk(list), (std::vector<int>{1, 2, 3, 4, 5, 6}));
}

TEST(TableList, WalkStaysAtItsEndAndStartsAnew)
{
    CTableList list(5);
    EXPECT_EQ(list.First_Table(), 5);
    EXPECT_EQ(list.Next_Table(), 0);
    EXPECT_EQ(list.Next_Table(), 0);
    EXPECT_EQ(list.First_Table(), 5);
}

TEST(TableList, CleaningForgetsTablesAndRestriction)
{
    CTableList list(5);
    list.m_restricted_dest = 1;
    list.Clean_Tables();
    EXPECT_EQ(list.First_Table(), 0);
    EXPECT_EQ(list.m_restricted_dest, 0);
    EXPECT_EQ(list.m_max_tables, 2);
}

TEST(TableList, CopyOfTheNumbersStopsAtTheLimit)
{
    CTableList list(1);
    list.Add_Table(2);
    std::array<int, 3> copy{-1, -1, -1};
    EXPECT_EQ(list.Copy_Tables(copy.data(), 100), 8);
    EXPECT_EQ(copy, (std::array<int, 3>{1, 2, -1}));
    copy.fill(-1);
    EXPECT_EQ(list.Copy_Tables(copy.data(), 4), 4);
    EXPECT_EQ(copy, (std::array<int, 3>{1, -1, -1}));
    EXPECT_EQ(list.Copy_Tables(copy.data(), 0), 0);
    EXPECT_EQ(list.Copy_Tables(copy.data(), -4), 0);
    EXPECT_EQ(copy, (std::array<int, 3>{1, -1, -1}));
}

TEST(TableList, AssignmentTakesAllOfIt)
{
    CTableList list(1);
    list.Add_Table(2);
    list.m_restricted_dest = 1;
    CTableList other;
    other = list;
    list.Add_Table(3);
    EXPECT_EQ(walk(other), (std::vector<int>{1, 2}));
    EXPECT_EQ(other.m_max_tables, 4);
    EXPECT_EQ(other.m_restricted_dest, 1);
}

} // namespace
