#include "support/report_texts.h"
#include "transport/destinations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char users_exceeded[] = "1 Number of maximum target PU's in a message has been exceeded.";
constexpr char branches_exceeded[] = "1 Number of maximum target Branches in a message has been exceeded.";
constexpr char institutions_exceeded[] = "1 Number of maximum target Institutions in a message has been exceeded.";
constexpr char groups_exceeded[] = "1 Number of maximum target Groups in a message has been exceeded.";
constexpr char generic_exceeded[] = "1 Size of generic destination in a message has been exceeded.";

enum List
{
    users,
    branches,
    exclusions,
    institutions,
    groups
};

class Destinations : public testing::Test
{
protected:
    static std::string Code(int number, int width = 4)
    {
        std::string digits = std::to_string(number);
        digits.insert(0, static_cast<unsigned>(width) - digits.size(), '0');
        return digits;
    }
    // The elements that are in use, back to back.
    static std::string Elements(CDestinationsList& of, List which)
    {
        const int bytes = of.Get_Numbers()[which] * CDestinationsList::Get_Sizes()[which];
        return {of.Get_Adressees()[which], static_cast<unsigned>(bytes)};
    }
    std::string Elements(List which) { return Elements(list, which); }
    static std::string Generic(const CDestinationsList& of)
    {
        return {of.Get_Gen_Adress(), static_cast<unsigned>(of.Get_Gen_Adress_Len())};
    }
    [[nodiscard]] std::string Generic() const { return Generic(list); }
    static std::vector<int> Numbers(CDestinationsList& of)
    {
        return {of.Get_Numbers(), of.Get_Numbers() + NUM_DEST_LIST_TYPES};
    }
    static void Fill_One_Of_Each(CDestinationsList& target)
    {
        target.Add_in_PU_List("PU01");
        target.Add_in_Branch_List("BRANCH01");
        target.Add_in_Exclude_List("XP01");
        target.Add_in_Instit_List("IN01");
        target.Add_in_Gen_To_List("XYtext", 0);
        target.Add_in_Group_List("GROUP001");
    }

    ReportTexts reports;
    CDestinationsList list{NORMAL_DEST};
};

TEST_F(Destinations, NewListIsEmptyAndKnowsItsTarget)
{
    const CDestinationsList made(DGI_DEST);
    EXPECT_EQ(made.Get_Target(), 1);
    EXPECT_THAT(Numbers(list), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_EQ(list.Get_Gen_Adress_Len(), 0);
}

TEST_F(Destinations, TargetCanBeChanged)
{
    list.Set_Target(DMDI_DEST);
    EXPECT_EQ(list.Get_Target(), 4);
}

TEST_F(Destinations, IdentifiersAndSizesStandInTheOrderOfTravel)
{
    const char* const* ids = CDestinationsList::Get_Ids();
    const int* sizes = CDestinationsList::Get_Sizes();
    EXPECT_THAT(std::vector<std::string>(ids, ids + 5), ElementsAre("PU", "SU", "XP", "IN", "GR"));
    EXPECT_THAT(std::vector<int>(sizes, sizes + 5), ElementsAre(4, 8, 4, 4, 8));
}

TEST_F(Destinations, EachAddFillsItsOwnList)
{
    Fill_One_Of_Each(list);
    EXPECT_THAT(Numbers(list), ElementsAre(1, 1, 1, 1, 1));
    EXPECT_EQ(Elements(users), "PU01");
    EXPECT_EQ(Elements(branches), "BRANCH01");
    EXPECT_EQ(Elements(exclusions), "XP01");
    EXPECT_EQ(Elements(institutions), "IN01");
    EXPECT_EQ(Elements(groups), "GROUP001");
    EXPECT_EQ(Generic(), "XYtext\0"s);
}

TEST_F(Destinations, ElementsAreReadForTheirFixedSizeAndKeepTheirOrder)
{
    list.Add_in_PU_List("A\0\0x-never");
    list.Add_in_PU_List("A\0\0y");
    list.Add_in_Branch_List("B\0\0\0\0\0\0z-never");
    EXPECT_EQ(Elements(users), "A\0\0xA\0\0y"s);
    EXPECT_EQ(Elements(branches), "B\0\0\0\0\0\0z"s);
}

TEST_F(Destinations, AnAddOfANewElementReturnsOne)
{
    EXPECT_EQ(list.Add_in_PU_List("AAAA"), 1);
    EXPECT_EQ(list.Add_in_Exclude_List("AAAA"), 1);
    EXPECT_EQ(list.Add_in_Branch_List("AAAAAAAA"), 1);
    EXPECT_EQ(list.Add_in_Instit_List("AAAA"), 1);
    EXPECT_EQ(list.Add_in_Gen_To_List("AAAA", 0), 1);
}

TEST_F(Destinations, ARepeatedElementIsThereOnceAndOnlyExclusionsReturnZero)
{
    Fill_One_Of_Each(list);
    EXPECT_EQ(list.Add_in_PU_List("PU01"), 1);
    EXPECT_EQ(list.Add_in_Branch_List("BRANCH01"), 1);
    EXPECT_EQ(list.Add_in_Exclude_List("XP01"), 0);
    EXPECT_EQ(list.Add_in_Instit_List("IN01"), 1);
    list.Add_in_Group_List("GROUP001");
    EXPECT_THAT(Numbers(list), ElementsAre(1, 1, 1, 1, 1));
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Destinations, AnEmptyElementIsRefusedByEveryAddAndChangesNothing)
{
    const std::string empty("\0AAAAAAA", 8);
    EXPECT_EQ(list.Add_in_PU_List(empty.data()), 0);
    EXPECT_EQ(list.Add_in_Exclude_List(empty.data()), 0);
    EXPECT_EQ(list.Add_in_Branch_List(empty.data()), 0);
    EXPECT_EQ(list.Add_in_Instit_List(empty.data()), 0);
    EXPECT_EQ(list.Add_in_Gen_To_List(empty.data(), 8), 0);
    list.Add_in_Group_List(empty.data());
    EXPECT_THAT(Numbers(list), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_EQ(list.Get_Gen_Adress_Len(), 0);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

class FullDestinations : public Destinations
{
protected:
    FullDestinations()
    {
        for (int i = 0; i < 300; ++i) {
            list.Add_in_PU_List(Code(i).data());
            list.Add_in_Exclude_List(Code(i).data());
            list.Add_in_Branch_List(Code(i, 8).data());
            list.Add_in_Instit_List(Code(i).data());
            list.Add_in_Group_List(Code(i, 8).data());
        }
    }
};

TEST_F(FullDestinations, ThreeHundredElementsFitEachListWithoutAReport)
{
    EXPECT_THAT(Numbers(list), ElementsAre(300, 300, 300, 300, 300));
    EXPECT_EQ(Elements(groups).substr(299 * 8), "00000299");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(FullDestinations, TheNextElementIsReportedAndRefused)
{
    EXPECT_EQ(list.Add_in_PU_List("0300"), 0);
    EXPECT_EQ(list.Add_in_Exclude_List("0300"), 0);
    EXPECT_EQ(list.Add_in_Branch_List("00000300"), 0);
    EXPECT_EQ(list.Add_in_Instit_List("0300"), 0);
    list.Add_in_Group_List("00000300");
    EXPECT_THAT(Numbers(list), ElementsAre(300, 300, 300, 300, 300));
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre(users_exceeded, users_exceeded, branches_exceeded, institutions_exceeded, groups_exceeded));
}

TEST_F(FullDestinations, ARepeatedPrimaryUserIsReportedToo)
{
    EXPECT_EQ(list.Add_in_PU_List("0000"), 0);
    EXPECT_EQ(list.Add_in_Exclude_List("0000"), 0);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(users_exceeded, users_exceeded));
}

TEST_F(FullDestinations, ARepeatedElementOfTheOtherListsIsNot)
{
    EXPECT_EQ(list.Add_in_Branch_List("00000299"), 1);
    EXPECT_EQ(list.Add_in_Instit_List("0299"), 1);
    list.Add_in_Group_List("00000299");
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(FullDestinations, AnEmptyElementIsNotReported)
{
    EXPECT_EQ(list.Add_in_PU_List(""), 0);
    EXPECT_EQ(list.Add_in_Exclude_List(""), 0);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(FullDestinations, CleanListForgetsTheElementsAndKeepsBytesAndTarget)
{
    list.Set_Target(DS_DEST);
    list.Add_in_Gen_To_List("XYtext", 0);
    list.CleanList();
    EXPECT_THAT(Numbers(list), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_EQ(list.Get_Gen_Adress_Len(), 0);
    EXPECT_EQ(list.Get_Target(), 2);
    EXPECT_EQ(std::string(list.Get_Adressees()[users] + 4, 4), "0001");
    EXPECT_EQ(std::string(list.Get_Adressees()[groups] + 8, 8), "00000001");
    EXPECT_EQ(std::string(list.Get_Gen_Adress()), "XYtext");
}

TEST_F(Destinations, GenericEntriesStandBackToBack)
{
    list.Add_in_Gen_To_List("AAone", 0);
    list.Add_in_Gen_To_List("BBtwo\0never", 6);
    list.Add_in_Gen_To_List("CC\0DDx\0", 7);
    EXPECT_EQ(Generic(), "AAone\0BBtwo\0CC\0DDx\0"s);
}

TEST_F(Destinations, AGenericEntryThatFitsExactlyIsTaken)
{
    EXPECT_EQ(list.Add_in_Gen_To_List(std::string(148, 'x').data(), 0), 1);
    EXPECT_EQ(list.Add_in_Gen_To_List("y", 1), 1);
    EXPECT_EQ(list.Get_Gen_Adress_Len(), 150);
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

TEST_F(Destinations, AGenericEntryThatDoesNotFitIsReportedAndRefused)
{
    EXPECT_EQ(list.Add_in_Gen_To_List(std::string(150, 'x').data(), 0), 0);
    list.Add_in_Gen_To_List(std::string(147, 'x').data(), 0);
    EXPECT_EQ(list.Add_in_Gen_To_List("YY", 0), 0);
    EXPECT_EQ(list.Get_Gen_Adress_Len(), 148);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(generic_exceeded, generic_exceeded));
    EXPECT_THAT(Numbers(list), ElementsAre(0, 0, 0, 0, 0)); // stand behind the field
}

TEST_F(Destinations, AGenericLengthOutOfAllReasonIsRefused)
{
    list.Add_in_Gen_To_List("XYtext", 0);
    EXPECT_EQ(list.Add_in_Gen_To_List("XY", -1), 0);
    EXPECT_EQ(list.Add_in_Gen_To_List("XY", INT_MIN), 0);
    EXPECT_EQ(list.Add_in_Gen_To_List("XY", INT_MAX), 0);
    EXPECT_EQ(Generic(), "XYtext\0"s);
}

TEST_F(Destinations, SetForgetsAllAddresseesAndAddsOne)
{
    Fill_One_Of_Each(list);
    EXPECT_EQ(list.Set_in_PU_List("AAAA"), 1);
    EXPECT_THAT(Numbers(list), ElementsAre(1, 0, 0, 0, 0));
    EXPECT_EQ(list.Get_Gen_Adress_Len(), 0);
    EXPECT_EQ(list.Set_in_Branch_List("BBBBBBBB"), 1);
    EXPECT_THAT(Numbers(list), ElementsAre(0, 1, 0, 0, 0));
    EXPECT_EQ(list.Set_in_Exclude_List("CCCC"), 1);
    EXPECT_THAT(Numbers(list), ElementsAre(0, 0, 1, 0, 0));
    EXPECT_EQ(list.Set_in_Instit_List("DDDD"), 1);
    EXPECT_THAT(Numbers(list), ElementsAre(0, 0, 0, 1, 0));
    EXPECT_EQ(list.Set_in_Gent_To_List("EEtext"), 1);
    EXPECT_THAT(Numbers(list), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_EQ(Generic(), "EEtext\0"s);
}

TEST_F(Destinations, SetOfAnEmptyElementLeavesAnEmptyListButForTheGenericOne)
{
    Fill_One_Of_Each(list);
    EXPECT_EQ(list.Set_in_Gent_To_List(""), 0);
    EXPECT_THAT(Numbers(list), ElementsAre(1, 1, 1, 1, 1));
    EXPECT_EQ(list.Set_in_PU_List(""), 0);
    EXPECT_THAT(Numbers(list), ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(Destinations, SetTakesAnElementOfTheListItself)
{
    list.Add_in_PU_List("AAAA");
    list.Add_in_PU_List("BBBB");
    list.Set_in_PU_List(list.Get_Adressees()[users] + 4);
    EXPECT_EQ(Elements(users), "BBBB");
}

TEST_F(Destinations, AddOfAnotherListAddsWhatIsNotThereYet)
{
    CDestinationsList other(DS_DEST);
    Fill_One_Of_Each(other);
    list.Add_in_PU_List("PU00");
    list.Add_in_PU_List("PU01");
    list.Add_in_Gen_To_List("AAown", 0);
    list.Add_CDestination_List(other);
    EXPECT_EQ(Elements(users), "PU00PU01");
    EXPECT_THAT(Numbers(list), ElementsAre(2, 1, 1, 1, 1));
    EXPECT_EQ(Generic(), "AAown\0XYtext\0"s);
    EXPECT_EQ(list.Get_Target(), NORMAL_DEST);
}

TEST_F(Destinations, AddOfAnotherListTakesTheGenericEntriesThatFit)
{
    CDestinationsList other(NORMAL_DEST);
    other.Add_in_Gen_To_List("AA12345", 0);
    other.Add_in_Gen_To_List("BB123", 0);
    list.Add_in_Gen_To_List(std::string(143, 'x').data(), 0);
    list.Add_CDestination_List(other);
    EXPECT_EQ(Generic().substr(144), "BB123\0"s);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre(generic_exceeded));
}

TEST_F(Destinations, SetOfAnotherListTakesItsPlace)
{
    CDestinationsList other(DS_DEST);
    Fill_One_Of_Each(other);
    list.Add_in_PU_List("PU00");
    list.Set_CDestination_List(other);
    EXPECT_EQ(Elements(users), "PU01");
    EXPECT_EQ(Generic(), Generic(other));
}

TEST_F(Destinations, AddOfTheListItselfRepeatsTheGenericEntriesAlone)
{
    Fill_One_Of_Each(list);
    list.Add_CDestination_List(list);
    EXPECT_THAT(Numbers(list), ElementsAre(1, 1, 1, 1, 1));
    EXPECT_EQ(Generic(), "XYtext\0XYtext\0"s);
}

TEST_F(Destinations, SetOfTheListItselfEmptiesIt)
{
    Fill_One_Of_Each(list);
    list.Set_CDestination_List(list);
    EXPECT_THAT(Numbers(list), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_EQ(list.Get_Gen_Adress_Len(), 0);
}

TEST_F(Destinations, AddGroupAddsPrimaryUsersOfFourBytesEach)
{
    list.Add_Group_In_List("AAAABBBBAAAACCCC", 3);
    EXPECT_EQ(Elements(users), "AAAABBBB");
    list.Add_Group_In_List("AAAA", -1);
    EXPECT_EQ(Elements(users), "AAAABBBB");
}

TEST(ProcessWideDestinations, HaveTheirTargets)
{
    EXPECT_EQ(glb_ds_dest_list.Get_Target(), 0);
    EXPECT_EQ(glb_ds_dest_list_to_DS.Get_Target(), 2);
    EXPECT_EQ(glb_ds_dest_list_to_DGI.Get_Target(), 1);
    EXPECT_EQ(glb_dm_dest_list.Get_Target(), 0);
    EXPECT_EQ(glb_work_dest_list.Get_Target(), 0);
    EXPECT_EQ(glb_work_dest_list_to_DS.Get_Target(), 2);
    EXPECT_EQ(glb_nul_dest_list_to_DS.Get_Target(), 2);
    EXPECT_EQ(glb_nul_dest_list_to_DGI.Get_Target(), 1);
    EXPECT_EQ(glb_nul_dest_list_to_DMDI.Get_Target(), 4);
}

} // namespace
