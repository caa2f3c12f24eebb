#include "message/message.h"

#include "records/all_records.h"
#include "records/prices.h"
#include "records/reference.h"
#include "support/walk_fixture.h"

#include <gmock/gmock.h>

#include <array>
#include <string>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

// ---- One record ----

TEST_F(FieldWalks, VisitsTheNamedFieldsInOrder)
{
    EXPECT_THAT(Walk_All(letter), ElementsAre("emisor", "receptor", "texto"));
    EXPECT_THAT(Walk_All(people[0]), ElementsAre("codigo", "codigo_ciudad_3c", "nombre_completo"));
}

TEST_F(FieldWalks, GivesTheFieldsThemselves)
{
    FieldWalk walk(letter);
    EXPECT_EQ(walk.Next(), &letter[EMISOR_CHAT]);
    EXPECT_EQ(walk.Next(), &letter[RECEPTOR_CHAT]);
    EXPECT_EQ(walk.Next(), &letter[TEXTO_CHAT]);
    EXPECT_EQ(walk.Next(), nullptr);
}

TEST_F(FieldWalks, ARecordWithoutNamesHasNothingToVisit)
{
    EXPECT_THAT(Walk_All(blank), IsEmpty());
    CMessage plain(nullptr, 100);
    EXPECT_THAT(Walk_All(plain), IsEmpty());
}

TEST_F(FieldWalks, NamesWithBracketsAreVisitedAndALaterFieldOfTheSameNameIsPassedOver)
{
    EXPECT_THAT(Walk_All(place), ElementsAre("codigo_3c", "nombre", "nombre[2]", "letra_ciudad"));
}

TEST_F(FieldWalks, GoesOnBehindTheFirstFieldOfAName)
{
    using Twice = RecordOf<CGTFACTRIESGO_TYPE, NOMBRE_EMISOR, TEXTO_CHAT, NOMBRE_CITY_1, ID_CHAT>;
    Twice twice;
    EXPECT_THAT(Walk_All(twice), ElementsAre("nombre", "texto", "id"));
}

TEST_F(FieldWalks, NamesOfOneCodeAreToldApart)
{
    using Twins = RecordOf<CGTCUPOSG_TYPE, TML, TEXTO_CHAT, O_D, ID_CHAT>;
    Twins twins;
    EXPECT_THAT(Walk_All(twins), ElementsAre("tml", "texto", "o_d", "id"));
}

TEST_F(FieldWalks, VisitsEveryNameOfARecordOfTheSystemOnce)
{
    CGTMarkets market;
    std::vector<std::string> names;
    for (const FieldPlace* named : market.Layout_In_Force().Named()) {
        names.emplace_back(named->name);
    }
    EXPECT_THAT(Walk_All(market), ElementsAreArray(names));
}

TEST_F(FieldWalks, APathOfNoFieldEndsTheWalk)
{
    for (const char* path : {" ", "text", "textos", "texto ", ".", "[1]", "]", "emisor]", "\xFF"}) {
        EXPECT_EQ(Behind(path), "none") << path;
    }
}

TEST_F(FieldWalks, ThePathIsTakenInAnyCaseAndLoweredInPlace)
{
    links.To(letter, EMISOR_CHAT, people[0]);
    EXPECT_EQ(Behind("RECEPTOR"), "texto");
    EXPECT_EQ(Behind("EMISOR.Codigo"), "emisor.codigo_ciudad_3c");
}

TEST_F(FieldWalks, AVisitedFieldIsWhole)
{
    Receivers({&people[0], &people[1]});
    letter.Find_Field("receptor[2]");
    FieldWalk walk(letter, "emisor");
    EXPECT_EQ(walk.Next()->m_len, 1600);
    EXPECT_EQ(walk.Element(), 0);
}

// ---- References ----

TEST_F(FieldWalks, GoesThroughTheRecordThatACodeNames)
{
    links.To(letter, EMISOR_CHAT, people[0]);
    EXPECT_THAT(Walk_All(letter), ElementsAre("emisor", "emisor.codigo", "emisor.codigo_ciudad_3c",
                                              "emisor.nombre_completo", "receptor", "texto"));
}

TEST_F(FieldWalks, TheCursorStandsWhereTheNameIsWritten)
{
    links.To(letter, EMISOR_CHAT, people[0]);
    FieldWalk walk(letter, "emisor");
    EXPECT_EQ(walk.Next(), &people[0][CODIGO_USUARIO]);
    EXPECT_EQ(walk.Cursor(), 7);
    walk.Next();
    EXPECT_EQ(walk.Next(), &people[0][NOMBRE_COMPLETO]);
    EXPECT_EQ(walk.Cursor(), 7);
    EXPECT_EQ(walk.Next(), &letter[RECEPTOR_CHAT]);
    EXPECT_EQ(walk.Cursor(), 0);
}

TEST_F(FieldWalks, TheTextEndsBehindTheDotUntilTheNameIsWritten)
{
    links.To(letter, EMISOR_CHAT, people[0]);
    std::array<char, MAX_FIELD_PATH + 1> text{};
    text.fill('#');
    std::strcpy(text.data(), "emisor");
    char* cursor = text.data();
    EXPECT_EQ(letter.Next_Field(&cursor), &people[0][CODIGO_USUARIO]);
    EXPECT_STREQ(text.data(), "emisor.");
    EXPECT_STREQ(cursor, "");
}

TEST_F(FieldWalks, GoesThreeRecordsDeepAndBack)
{
    links.To(letter, EMISOR_CHAT, people[0]);
    links.To(people[0], CODIGO_CIUDAD_3C, place);
    EXPECT_THAT(Walk_All(letter),
                ElementsAre("emisor", "emisor.codigo", "emisor.codigo_ciudad_3c", "emisor.codigo_ciudad_3c.codigo_3c",
                            "emisor.codigo_ciudad_3c.nombre", "emisor.codigo_ciudad_3c.nombre[2]",
                            "emisor.codigo_ciudad_3c.letra_ciudad", "emisor.nombre_completo", "receptor", "texto"));
}

TEST_F(FieldWalks, WalksRecordsOfTheSystemThreeDeep)
{
    CGTUser user;
    CGTBranches branch;
    CGTCity city;
    links.To(user, CODIGO_SUCURSAL_USUARIO, branch);
    links.To(branch, CODIGO_CIUDAD_3C_BRANCHES, city);
    const auto names = [](const CMessage& record) { return record.Layout_In_Force().Named().size(); };
    EXPECT_THAT(Walk_All(user), SizeIs(names(user) + names(branch) + names(city)));
    EXPECT_EQ(Path_Behind(user, "codigo_sucursal.codigo_ciudad_3c.nombre"),
              "codigo_sucursal.codigo_ciudad_3c.nombre[2]");
}

TEST_F(FieldWalks, AnEmptyRecordIsNotGoneInto)
{
    links.To_Empty(letter, EMISOR_CHAT, people[0]);
    EXPECT_THAT(Walk_All(letter), ElementsAre("emisor", "receptor", "texto"));
}

TEST_F(FieldWalks, ARecordWithoutNamesIsPassedOver)
{
    links.To(letter, EMISOR_CHAT, blank);
    EXPECT_THAT(Walk_All(letter), ElementsAre("emisor", "receptor", "texto"));
    links.To(letter, TEXTO_CHAT, blank);
    EXPECT_EQ(Behind("texto"), "none");
}

TEST_F(FieldWalks, TheLastRecordsLastFieldEndsTheWalk)
{
    links.To(letter, TEXTO_CHAT, people[0]);
    EXPECT_EQ(Behind("texto.codigo_ciudad_3c"), "texto.nombre_completo");
    EXPECT_EQ(Behind("texto.nombre_completo"), "none");
}

// Element 1 without a line in the log, the whole field with one.
TEST_F(FieldWalks, AsksForTheFirstElementQuietlyAndForTheWholeFieldAloud)
{
    links.To(letter, EMISOR_CHAT, people[0]);
    Behind("emisor");
    EXPECT_THAT(links.Take_Calls(), ElementsAre("emisor 1 0"));
    Behind("emisor.codigo");
    EXPECT_THAT(links.Take_Calls(), ElementsAre("emisor 0 1"));
}

TEST_F(FieldWalks, WhatAWholeNameLeadsToGoesByItsStatus)
{
    const char* behind[] = {"emisor.codigo", "receptor", "emisor[1]", "receptor"};
    for (const int status : {0, 1, 2, 3}) {
        links.Answer(letter, EMISOR_CHAT, nullptr, status);
        EXPECT_EQ(Behind("emisor"), "receptor") << status;
        links.Answer(letter, EMISOR_CHAT, &people[0], status);
        letter[EMISOR_CHAT].m_index = status == 2 ? 1 : 0;
        EXPECT_EQ(Behind("emisor"), behind[status]) << status;
    }
}

TEST_F(FieldWalks, BehindADotTheWalkGoesOnInTheRecordWhateverTheStatus)
{
    for (const int status : {0, 1, 2, 3}) {
        links.Answer(letter, EMISOR_CHAT, &people[0], status);
        EXPECT_EQ(Behind("emisor.codigo"), "emisor.codigo_ciudad_3c") << status;
        EXPECT_EQ(Behind("emisor."), "emisor.codigo") << status;
        links.Answer(letter, EMISOR_CHAT, nullptr, status);
        EXPECT_EQ(Behind("emisor.codigo"), "none") << status;
    }
}

TEST_F(FieldWalks, BehindTheLastFieldOfARecordComesTheNextFieldUnlessTheStatusIsThatOfAnElement)
{
    const char* behind[] = {"receptor", "receptor", "emisor[1].codigo", "receptor"};
    for (const int status : {0, 1, 2, 3}) {
        links.Answer(letter, EMISOR_CHAT, &people[0], status);
        EXPECT_EQ(Behind("emisor.nombre_completo"), behind[status]) << status;
        EXPECT_EQ(Behind("emisor.nobody"), behind[status]) << status;
    }
}

// A walk tells elements from fields whose names have brackets only as long as this holds.
TEST(FieldNames, NoCodeStandsBesideFieldsOfItsNameWithBrackets)
{
    for (const RecordClass& each : All_Record_Classes()) {
        for (const FieldPlace* named : each.layout().Named()) {
            const std::string name = named->name;
            const auto is_bare = [&](const FieldPlace* other) {
                return name.starts_with(other->name + std::string("["));
            };
            for (const FieldPlace* other : each.layout().With_Code(named->code)) {
                const auto id = static_cast<std::size_t>(other->field_id);
                EXPECT_TRUE(!is_bare(other) || glb_field_equivalence[id].field_reference == 0) << each.name << name;
            }
        }
    }
}

TEST(FieldNames, NoNameIsLongerThanTheRoomThatWalksKeepForIt)
{
    for (const RecordClass& each : All_Record_Classes()) {
        for (const FieldPlace* named : each.layout().Named()) {
            EXPECT_LE(std::strlen(named->name), 63U) << each.name;
        }
    }
}

// ---- Long paths ----

TEST_F(FieldWalks, APathOf1023CharactersIsTakenAndALongerOneEndsTheWalk)
{
    Receivers({&people[0]});
    EXPECT_EQ(Behind("receptor[" + std::string(1012, '0') + "1]"), "texto");
    std::string longer = "receptor[" + std::string(1013, '0') + "1]";
    char* cursor = longer.data();
    EXPECT_EQ(letter.Next_Field(&cursor), nullptr);
    EXPECT_EQ(cursor, longer.data());
}

// 63 characters in front of the end: a name may begin at 960, or an element end there.
TEST_F(FieldWalks, AFieldIsGoneIntoAsLongAsTheLongestNameFits)
{
    Receivers({&letter});
    const auto first = [](std::size_t length) { return "receptor[" + std::string(length - 11, '0') + "1]"; };
    EXPECT_EQ(Behind(first(959)), first(959) + ".emisor");
    EXPECT_EQ(Behind(first(960)), "texto");
    EXPECT_EQ(Behind(first(948) + ".receptor"), first(948) + ".receptor[1]");
    EXPECT_EQ(Behind(first(949) + ".receptor"), first(949) + ".texto");
}

TEST_F(FieldWalks, BehindAWholeFieldElementsBeginAsLongAsTheirNumberFits)
{
    Receivers({&letter});
    links.Answer(letter, EMISOR_CHAT, &people[0], 2);
    const auto first = [](std::size_t length) { return "receptor[" + std::string(length - 11, '0') + "1]"; };
    EXPECT_EQ(Behind(first(949) + ".emisor.nombre_completo"), first(949) + ".emisor[1].codigo");
    EXPECT_EQ(Behind(first(951) + ".emisor.nombre_completo"), first(951) + ".receptor");
}

// The record's own code leads back to it: each level adds "emisor." until the longest name would not fit any more.
TEST_F(FieldWalks, ACircleEndsWhereTheLongestNameWouldNotFitAnyMore)
{
    links.To(letter, EMISOR_CHAT, letter);
    const auto paths = Walk_All(letter);
    constexpr std::size_t deepest = (1023 - 63) / 7;
    EXPECT_THAT(paths, SizeIs(3 * (deepest + 1)));
    EXPECT_EQ(paths[deepest].size(), deepest * 7 + 6);
    EXPECT_EQ(paths.back(), "texto");
}

TEST_F(FieldWalks, ACircleThroughElementsEndsToo)
{
    Receivers({&letter, &letter});
    FieldWalk walk(letter);
    std::size_t deepest = 0;
    while (walk.Next() != nullptr) {
        deepest = std::max(deepest, std::strlen(walk.Path()));
    }
    EXPECT_TRUE(walk.Is_Sound());
    EXPECT_GT(deepest, 950U);
    EXPECT_LE(deepest, 1023U);
}

TEST_F(FieldWalks, NothingIsWrittenBehindTheTextWhateverThePathsLength)
{
    links.To(letter, EMISOR_CHAT, letter);
    Receivers(std::vector<CMessage*>(1200, &letter));
    for (const std::string last : {"9].emisor", "9].receptor", "9]", "999].receptor[9]", "1]", "1]."}) {
        for (std::size_t zeros = 1014 - last.size(); zeros > 900; --zeros) {
            FieldWalk walk(letter, "receptor[" + std::string(zeros, '0') + last);
            for (int i = 0; i < 20 && walk.Next() != nullptr; ++i) {
            }
            EXPECT_TRUE(walk.Is_Sound()) << zeros << last;
        }
    }
}

// ---- Every path of a walk ----

TEST_F(FieldWalks, EveryPathIsFoundAgain)
{
    Receivers({&people[0], &people[1]});
    links.To(letter, EMISOR_CHAT, people[2]);
    links.To(people[0], CODIGO_CIUDAD_3C, place);
    FieldWalk walk(letter);
    for (CField* field = walk.Next(); field != nullptr; field = walk.Next()) {
        CField* found = letter.Find_Field(walk.Path());
        ASSERT_EQ(found, field) << walk.Path();
        EXPECT_EQ(found->m_index, walk.Element()) << walk.Path();
    }
}

} // namespace
