// Walks over repeating fields, and over names that have brackets of their own.
#include "support/walk_fixture.h"

namespace {

using testing::ElementsAre;

// ---- Elements ----

TEST_F(FieldWalks, GoesIntoTheFirstElementAndShowsTheOthers)
{
    Receivers({&people[0], &people[1], &people[2]});
    EXPECT_THAT(Walk_All(letter),
                ElementsAre("emisor", "receptor", "receptor[1]", "receptor[1].codigo", "receptor[1].codigo_ciudad_3c",
                            "receptor[1].nombre_completo", "receptor[2]", "receptor[3]", "texto"));
}

TEST_F(FieldWalks, AnElementIsTheFieldWithItsNumberAndTheCursorBehindIt)
{
    Receivers({&people[0], &people[1], &people[2]});
    FieldWalk walk(letter, "receptor");
    EXPECT_EQ(walk.Next()->m_field_id, RECEPTOR_CHAT);
    EXPECT_EQ(walk.Element(), 1);
    EXPECT_EQ(walk.Cursor(), 11);
    EXPECT_EQ(walk.Next(), &people[0][CODIGO_USUARIO]);
    EXPECT_EQ(walk.Cursor(), 12);
}

TEST_F(FieldWalks, NumbersGrowAndTakeAnotherDigit)
{
    Receivers(std::vector<CMessage*>(100, &people[0]));
    FieldWalk walk(letter, "receptor[9]");
    EXPECT_EQ(walk.Next()->m_field_id, RECEPTOR_CHAT);
    EXPECT_STREQ(walk.Path(), "receptor[10]");
    EXPECT_EQ(walk.Element(), 10);
    EXPECT_EQ(walk.Cursor(), 12);
    EXPECT_EQ(Behind("receptor[99]"), "receptor[100]");
    EXPECT_EQ(Behind("receptor[100]"), "texto");
}

TEST_F(FieldWalks, AnElementOfThePathOfTheHostIsGoneThrough)
{
    Receivers({&people[0], &people[1], &people[2]});
    links.To(people[1], CODIGO_CIUDAD_3C, place);
    EXPECT_EQ(Behind("receptor[2].codigo"), "receptor[2].codigo_ciudad_3c");
    EXPECT_EQ(Behind("receptor[2].codigo_ciudad_3c"), "receptor[2].codigo_ciudad_3c.codigo_3c");
    EXPECT_EQ(Behind("receptor[2].nombre_completo"), "receptor[3]");
    EXPECT_EQ(Behind("receptor[3].nombre_completo"), "texto");
}

TEST_F(FieldWalks, BehindAFirstElementWithoutNamesComesTheNextField)
{
    Receivers({&blank, &blank});
    EXPECT_THAT(Walk_All(letter), ElementsAre("emisor", "receptor", "receptor[1]", "texto"));
    EXPECT_EQ(Behind("receptor[1].x"), "receptor[2]");
    EXPECT_EQ(Behind("receptor[2]"), "texto");
}

TEST_F(FieldWalks, AnArrayWithoutElementsIsPassedOver)
{
    Receivers({});
    EXPECT_THAT(Walk_All(letter), ElementsAre("emisor", "receptor", "texto"));
}

TEST_F(FieldWalks, AnArrayAtTheEndEndsTheWalk)
{
    links.To_Elements(letter, TEXTO_CHAT, {&people[0], &people[1]});
    EXPECT_EQ(Behind("texto[1].nombre_completo"), "texto[2]");
    EXPECT_EQ(Behind("texto[2]"), "none");
}

TEST_F(FieldWalks, ElementsInsideElementsAreWalked)
{
    Letter inner;
    Receivers({&inner, &people[0]});
    links.To_Elements(inner, RECEPTOR_CHAT, {&people[1], &people[2]});
    EXPECT_THAT(Walk_All(letter),
                ElementsAre("emisor", "receptor", "receptor[1]", "receptor[1].emisor", "receptor[1].receptor",
                            "receptor[1].receptor[1]", "receptor[1].receptor[1].codigo",
                            "receptor[1].receptor[1].codigo_ciudad_3c", "receptor[1].receptor[1].nombre_completo",
                            "receptor[1].receptor[2]", "receptor[1].texto", "receptor[2]", "texto"));
}

TEST_F(FieldWalks, NumbersThatNoElementHasEndTheWalk)
{
    Receivers({&people[0], &people[1]});
    for (const char* path : {"receptor[0]", "receptor[]", "receptor[x]", "receptor[-1]", "receptor[", "receptor[2"}) {
        EXPECT_EQ(Behind(path), "none") << path;
    }
}

TEST_F(FieldWalks, BehindTheLastElementComesTheNextField)
{
    Receivers({&people[0], &people[1]});
    for (const char* path : {"receptor[2]", "receptor[3]", "receptor[3].codigo", "receptor[3]x"}) {
        EXPECT_EQ(Behind(path), "texto") << path;
    }
}

TEST_F(FieldWalks, OnlyADotOrTheEndMayFollowAnElement)
{
    Receivers({&people[0], &people[1]});
    for (const char* path : {"receptor[2]x", "receptor[1][1]", "receptor[1] "}) {
        EXPECT_EQ(Behind(path), "none") << path;
    }
}

TEST_F(FieldWalks, ANumberIsReadUpToItsFirstOtherCharacter)
{
    Receivers({&people[0], &people[1], &people[2]});
    EXPECT_EQ(Behind("receptor[ 002x]"), "receptor[3]");
    EXPECT_EQ(Behind("receptor[01]"), "receptor[01].codigo");
}

TEST_F(FieldWalks, TheLargestNumberIsTheEndOfAnyCount)
{
    links.Answer(letter, RECEPTOR_CHAT, &people[0], 2);
    letter[RECEPTOR_CHAT].m_index = 5;
    EXPECT_EQ(Behind("receptor[2147483645]"), "receptor[2147483646]");
    EXPECT_EQ(Behind("receptor[2147483646]"), "texto");
    EXPECT_EQ(Behind("receptor[2147483647]"), "texto");
    EXPECT_EQ(Behind("receptor[4294967297]"), "texto"); // 1 in 32 bits
    EXPECT_EQ(Behind("receptor[2147483646].nombre_completo"), "texto");
    EXPECT_EQ(Behind("receptor[" + std::string(1000, '9') + "]"), "texto");
}

TEST_F(FieldWalks, WhatAnElementLeadsToGoesByItsStatus)
{
    const char* behind_first[] = {"emisor[1].codigo", "receptor", "emisor[1].codigo", "emisor[1].codigo"};
    const char* behind_second[] = {"emisor[3]", "receptor", "emisor[3]", "emisor[3]"};
    const char* behind_last_field[] = {"receptor", "receptor", "emisor[3]", "receptor"};
    for (const int status : {0, 1, 2, 3}) {
        links.Answer(letter, EMISOR_CHAT, nullptr, status);
        EXPECT_EQ(Behind("emisor[1]"), "receptor") << status;
        links.Answer(letter, EMISOR_CHAT, &people[0], status);
        EXPECT_EQ(Behind("emisor[1]"), behind_first[status]) << status;
        letter[EMISOR_CHAT].m_index = 3;
        EXPECT_EQ(Behind("emisor[2]"), behind_second[status]) << status;
        letter[EMISOR_CHAT].m_index = 3;
        EXPECT_EQ(Behind("emisor[2].nombre_completo"), behind_last_field[status]) << status;
        EXPECT_EQ(Behind("emisor[2]x"), status == 1 ? "receptor" : "none") << status;
    }
}

// Element 1 of the record itself, and an empty record for all others.
void* only_the_first(CField* field, int index, int* status, int /*flag*/)
{
    if (status != nullptr) {
        *status = index == 1 ? 2 : 1;
    }
    return field->m_parent;
}

TEST_F(FieldWalks, AnElementThatNamesNoRecordEndsTheArray)
{
    CField::Set_Reference_Call(28, only_the_first);
    letter[RECEPTOR_CHAT].m_ref_value = 28;
    EXPECT_EQ(Behind("receptor[1].texto"), "texto");
    CField::Set_Reference_Call(28, nullptr);
}

TEST_F(FieldWalks, AsksForElementsAloud)
{
    Receivers({&people[0], &people[1]});
    Behind("receptor[2]");
    EXPECT_THAT(links.Take_Calls(), ElementsAre("receptor 3 1"));
    Behind("receptor[1]");
    EXPECT_THAT(links.Take_Calls(), ElementsAre("receptor 1 1"));
}

// ---- Names with brackets ----

TEST_F(FieldWalks, ElementsDoNotHideTheFieldWhoseNameHasTheNumberAboveTheirs)
{
    links.To_Elements(place, NOMBRE_CITY_1, {&blank});
    EXPECT_THAT(Walk_All(place), ElementsAre("codigo_3c", "nombre", "nombre[1]", "nombre[2]", "letra_ciudad"));
}

TEST_F(FieldWalks, AFieldWhoseNameHasBracketsMayLeadToARecord)
{
    links.To(place, NOMBRE_CITY_2, people[0]);
    EXPECT_THAT(Walk_All(place),
                ElementsAre("codigo_3c", "nombre", "nombre[2]", "nombre[2].codigo", "nombre[2].codigo_ciudad_3c",
                            "nombre[2].nombre_completo", "letra_ciudad"));
}

TEST_F(FieldWalks, ANumberThatNeitherElementNorNameHasIsFollowedByTheNextField)
{
    EXPECT_EQ(Path_Behind(place, "nombre[7]"), "nombre[2]");
    EXPECT_EQ(Path_Behind(place, "letra_ciudad[7]"), "none");
}

} // namespace
