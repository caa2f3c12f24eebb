// Which tables are kept in files, when the files are opened and loaded, and what is told of those that don't open.
#include "support/table_message_fixture.h"

#include "persis/persis.h"
#include "records/reference.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

constexpr unsigned highest = 0xFFFFFFFF;

class TableFiles : public TableMessages
{
protected:
    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(scratch.path())) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    // In the way of a file.
    void block(const std::string& name) const { std::filesystem::create_directory(scratch.path(name)); }

    void put_city(unsigned idx, const char* code) { world.Put(Glb_City_Table, idx, {{CODIGO_3C_CITY, code}}); }
    static int cities() { return Glb_City_Table->Used_Num_Records(); }

    // What a process leaves behind for the next.
    static void end_of_process()
    {
        Forget_Table_Files();
        for (const GlobalTable& table : All_Global_Tables()) {
            table.delete_all_records();
        }
    }
};

TEST_F(TableFiles, FourteenTablesAreKeptInTheWorkingDirectory)
{
    EXPECT_EQ(TBLPROC_Load_Persistent_Files(1, highest), 1);
    EXPECT_THAT(files(),
                UnorderedElementsAre("qapi.branches", "qapi.instit", "qapi.city", "qapi.country", "qapi.pryuser",
                                     "qapi.money", "qapi.insperm", "qapi.supergrp", "qapi.voicegrp", "qapi.emis",
                                     "qapi.comitent", "qapi.fiduciar", "qapi.emp", "qapi.subcomitent"));
}

TEST_F(TableFiles, SchemesAreKeptIfOneIsUsed)
{
    TableWorld::Use_Scheme("AB");
    TBLPROC_Load_Persistent_Files(1, highest);
    EXPECT_THAT(files(), Contains("qapi.esq"));
    world.Put(Glb_Esquema_Table, 1, {});
    end_of_process();
    TBLPROC_Load_Persistent_Files(1, highest);
    EXPECT_EQ(Glb_Esquema_Table->Used_Num_Records(), 1);
}

TEST_F(TableFiles, WithoutASchemeTheirFileIsNotLoaded)
{
    TableWorld::Use_Scheme("AB");
    TBLPROC_Load_Persistent_Files(1, highest);
    world.Put(Glb_Esquema_Table, 1, {});
    end_of_process();
    TableWorld::Use_Scheme("");
    TBLPROC_Load_Persistent_Files(1, highest);
    EXPECT_EQ(Glb_Esquema_Table->Used_Num_Records(), 0);
    world.Put(Glb_Esquema_Table, 2, {});
    EXPECT_EQ(Glb_Esquema_Table->Used_Num_Records(), 1) << "in memory alone";
}

TEST_F(TableFiles, SecondCallOpensNothingAndLoadsNothingForTheSameRange)
{
    TBLPROC_Load_Persistent_Files(1, highest);
    put_city(7, "BOG");
    std::filesystem::remove(scratch.path("qapi.money"));
    EXPECT_EQ(TBLPROC_Load_Persistent_Files(1, highest), 0);
    EXPECT_NE(Glb_City_Table->Find_By_Idx(7), nullptr);
    EXPECT_THAT(files(), Not(Contains("qapi.money")));
}

TEST_F(TableFiles, AnotherRangeLoadsAgain)
{
    TBLPROC_Load_Persistent_Files(1, highest);
    put_city(70'000, "BOG");
    EXPECT_EQ(TBLPROC_Load_Persistent_Files(1, 50'000), 0);
    EXPECT_EQ(cities(), 1);
    EXPECT_EQ(Glb_City_Table->Find_By_Idx(70'000), nullptr) << "it has a number of the load";
}

TEST_F(TableFiles, FileThatDoesNotOpenIsToldAndTheTableGoesOnInMemory)
{
    block("qapi.city");
    EXPECT_EQ(TBLPROC_Load_Persistent_Files(1, highest), 1) << "the last one opened";
    EXPECT_THAT(ReportTexts::Take(),
                ElementsAre("1 The file \"qapi.city\" could not be opened, error = " + std::to_string(EISDIR) + "\n"));
    put_city(7, "BOG");
    EXPECT_EQ(cities(), 1);
    EXPECT_THAT(files(), Contains("qapi.money"));
}

TEST_F(TableFiles, FailureOfTheLastOneIsToldUnderTheNameOfAnother)
{
    block("qapi.subcomitent");
    EXPECT_EQ(TBLPROC_Load_Persistent_Files(1, highest), 0);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 The file \"qapi.comitent\" could not be opened, error = " +
                                                 std::to_string(EISDIR) + "\n"));
}

TEST_F(TableFiles, TroubleOfAFileIsToldWithItsLevel)
{
    TBLPROC_Load_Persistent_Files(1, highest);
    PERSIS_Report_Error(2, "record %d", 7);
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 Persistent file error level 2, detail: record 7"));
}

TEST_F(TableFiles, LostFileCostsItsTableAlone)
{
    TBLPROC_Load_Persistent_Files(1, highest);
    put_city(7, "BOG");
    world.Put(Glb_Money_Table, 7, {});
    end_of_process();
    std::filesystem::remove(scratch.path("qapi.city"));
    COMMON_Global_Codes_Add(CITIES_CODE_ID, 25);
    COMMON_Global_Codes_Add(MONEYS_CODE_ID, 28);
    TBLPROC_Load_Persistent_Files(1, highest);
    TBLPROC_Send_Global_Tables_Subscription(1);
    const std::vector<std::string> sent = Take_Sent();
    ASSERT_EQ(sent.size(), 3U);
    EXPECT_EQ(sent[1].substr(0, 4), "888S");
    EXPECT_EQ(sent[2].substr(0, 4), "888Q");
}

TEST_F(TableFiles, WhatServersDoAtTheirStartAndEndDoesNothingHere)
{
    TBLPROC_Load_Persistent_Files(1, highest);
    put_city(7, "BOG");
    TBLPROC_Clean_Tables();
    TBLPROC_Send_To_Dgi_Global_Tables();
    TBLPROC_Send_To_DGI_Persis_Tables();
    TBLPROC_Send_To_DS_Persis_Tables();
    EXPECT_EQ(cities(), 1);
    EXPECT_THAT(Take_Sent(), IsEmpty());
    EXPECT_THAT(ReportTexts::Take(), IsEmpty());
}

} // namespace
