#include "message/message.h"

#include "records/prices.h"
#include "records/reference.h"
#include "support/record_links.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Of class ids that no other record of this program has.
using Letter = RecordOf<CGTVLXCONNECTED_TYPE, EMISOR_CHAT, RECEPTOR_CHAT, TEXTO_CHAT>;
using Person = RecordOf<CGTNMCHKPLZ_TYPE, CODIGO_USUARIO, CODIGO_CIUDAD_3C, NOMBRE_COMPLETO>;
using Place = RecordOf<CGTINSTNUM_TYPE, CODIGO_3C_CITY, NOMBRE_CITY_1, NOMBRE_CITY_2, NOMBRE_CITY_3, NOMBRE_EMISOR>;

class FindField : public testing::Test
{
protected:
    // A letter of one person to three, of whom the second lives in a place.
    FindField()
    {
        links.To(letter, EMISOR_CHAT, people[0]);
        links.To_Elements(letter, RECEPTOR_CHAT, {&people[0], &people[1], &people[2]});
        links.To(people[1], CODIGO_CIUDAD_3C, place);
    }

    CField* Find(const std::string& path) { return letter.Find_Field(path.c_str()); }

    Letter letter;
    std::array<Person, 3> people;
    Place place;
    RecordLinks links;
};

// ---- Names ----

TEST_F(FindField, ANameGivesTheFieldInAnyCase)
{
    EXPECT_EQ(Find("texto"), &letter[TEXTO_CHAT]);
    EXPECT_EQ(Find("TeXTO"), &letter[TEXTO_CHAT]);
}

TEST_F(FindField, WhatNoFieldIsCalledGivesNull)
{
    for (const char* path : {"", " ", "text", "texto ", "textos", "exto", ".", "[", "]", ".texto", "[1]", "texto\n"}) {
        EXPECT_EQ(Find(path), nullptr) << path;
    }
}

TEST_F(FindField, OnlyTheLettersOfAsciiHaveTwoCases)
{
    EXPECT_EQ(Find("texto\xC9"), nullptr);
    EXPECT_EQ(Find("\xF4\xE5\xF8\xF4\xEF"), nullptr); // "texto" with the eighth bits set
}

TEST_F(FindField, FieldsWithoutANameAreNotFound)
{
    CGTCity city;
    EXPECT_EQ(city.Find_Field("msg_number_field"), nullptr);
    EXPECT_EQ(CMessage(nullptr, 10).Find_Field("texto"), nullptr);
}

TEST_F(FindField, OfTwoFieldsWithOneNameTheFirstIsFound)
{
    EXPECT_EQ(place.Find_Field("nombre"), &place[NOMBRE_CITY_1]);
}

TEST_F(FindField, NamesOfOneCodeAreToldApart)
{
    using Twins = RecordOf<CGTCUPOSG_TYPE, TML, O_D>;
    ASSERT_EQ(CMessage::Get_Code("tml"), CMessage::Get_Code("o_d"));
    Twins twins;
    EXPECT_EQ(twins.Find_Field("tml"), &twins[TML]);
    EXPECT_EQ(twins.Find_Field("o_d"), &twins[O_D]);
    using Swapped = RecordOf<CGTCUPOSG_TYPE, O_D, TML>;
    Swapped swapped;
    EXPECT_EQ(swapped.Find_Field("tml"), &swapped[TML]);
}

// A tail of 32 letters that makes up for the name in front of it: p and q differ in the lowest bit, and each moves up
// by one with every letter behind it.
std::string Tail_Of_Same_Code(const std::string& name)
{
    std::string tail(32, 'p');
    const auto wrong =
        static_cast<unsigned>(CMessage::Get_Code(name.c_str()) ^ CMessage::Get_Code((name + tail).c_str()));
    for (unsigned i = 0; i < 32; ++i) {
        tail[31 - i] = (wrong >> i & 1U) != 0 ? 'q' : 'p';
    }
    return tail;
}

TEST_F(FindField, ATextOfTheNamesCodeThatGoesOnBehindTheNameStillNamesTheField)
{
    const std::string text = "texto" + Tail_Of_Same_Code("texto");
    ASSERT_EQ(CMessage::Get_Code(text.c_str()), CMessage::Get_Code("texto"));
    EXPECT_EQ(Find(text), &letter[TEXTO_CHAT]);
}

// ---- Names with brackets ----

TEST_F(FindField, ANameWithBracketsIsFoundBehindTheFieldOfTheBareName)
{
    CGTCity city;
    EXPECT_EQ(city.Find_Field("NOMBRE[3]"), &city[NOMBRE_CITY_3]);
    EXPECT_EQ(city.Find_Field("nombre[3]"), &city[NOMBRE_CITY_3]);
    EXPECT_EQ(city.Find_Field("nombre"), &city[NOMBRE_CITY_1]);
    EXPECT_EQ(city.Find_Field("nombre[7]"), nullptr);
}

TEST_F(FindField, ANameWithBracketsIsTakenLetterByLetter)
{
    CGTCity city;
    for (const char* path : {"nombre[03]", "nombre[ 3]", "nombre[3", "nombre[3]]", "nombre[]", "nombre[1]"}) {
        const bool goes_on = std::string(path) == "nombre[3]]"; // the code ends at the bracket, so anything may follow
        EXPECT_EQ(city.Find_Field(path), goes_on ? &city[NOMBRE_CITY_3] : nullptr) << path;
    }
}

TEST_F(FindField, AFieldThatLeadsToARecordHidesNamesWithBrackets)
{
    links.To(place, NOMBRE_CITY_1, people[0]);
    EXPECT_EQ(place.Find_Field("nombre[3]"), nullptr);
    links.To_Empty(place, NOMBRE_CITY_1, people[0]);
    EXPECT_EQ(place.Find_Field("nombre[3]"), nullptr);
    links.Answer(place, NOMBRE_CITY_1, nullptr, 2);
    EXPECT_EQ(place.Find_Field("nombre[3]"), &place[NOMBRE_CITY_3]);
}

TEST_F(FindField, ElementsHideNamesWithBracketsAsFarAsTheyGo)
{
    links.To_Elements(place, NOMBRE_CITY_1, {&people[0], &people[1]});
    CField* element = place.Find_Field("nombre[2]");
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->m_field_id, NOMBRE_CITY_1);
    EXPECT_EQ(element->m_index, 2);
    EXPECT_EQ(place.Find_Field("nombre[3]"), &place[NOMBRE_CITY_3]);
}

// ---- Behind a dot ----

TEST_F(FindField, ADotLeadsToTheRecordThatTheCodeNames)
{
    EXPECT_EQ(Find("emisor.nombre_completo"), &people[0][NOMBRE_COMPLETO]);
    EXPECT_EQ(Find("EMISOR.NOMBRE_COMPLETO"), &people[0][NOMBRE_COMPLETO]);
    EXPECT_THAT(links.Take_Calls(), ElementsAre("emisor 0 1 no status", "emisor 0 1 no status"));
}

TEST_F(FindField, AnUnknownCodeLeadsToTheEmptyRecord)
{
    Person nobody;
    links.To_Empty(letter, EMISOR_CHAT, nobody);
    EXPECT_EQ(Find("emisor.nombre_completo"), &nobody[NOMBRE_COMPLETO]);
    EXPECT_EQ(static_cast<char>(*Find("emisor.nombre_completo")), 0);
}

TEST_F(FindField, TheStatusOfAWholeFieldDoesNotMatter)
{
    for (const int status : {0, 1, 2, 7}) {
        links.Answer(letter, EMISOR_CHAT, &people[2], status);
        EXPECT_EQ(Find("emisor.usuario"), nullptr);
        EXPECT_EQ(Find("emisor.codigo"), &people[2][CODIGO_USUARIO]) << status;
    }
}

TEST_F(FindField, ADotBehindAFieldThatLeadsNowhereGivesNull)
{
    EXPECT_EQ(Find("texto.codigo"), nullptr);
    EXPECT_EQ(Find("texto."), nullptr);
    EXPECT_EQ(Find("emisor."), nullptr);
    EXPECT_EQ(Find("emisor..codigo"), nullptr);
    EXPECT_EQ(Find("receptor.codigo"), nullptr);
    links.Answer(letter, EMISOR_CHAT, nullptr, 0);
    EXPECT_EQ(Find("emisor.codigo"), nullptr);
}

TEST_F(FindField, ADotEndsTheSearchAlsoIfALaterFieldHasTheName)
{
    links.To(place, NOMBRE_EMISOR, people[0]);
    EXPECT_EQ(place.Find_Field("nombre.codigo"), nullptr);
}

TEST_F(FindField, PathsGoThreeRecordsDeep)
{
    EXPECT_EQ(Find("receptor[2].codigo_ciudad_3c.nombre[3]"), &place[NOMBRE_CITY_3]);
    EXPECT_EQ(Find("receptor[2].codigo_ciudad_3c.nombre[4]"), nullptr);
    EXPECT_EQ(Find("receptor[1].codigo_ciudad_3c.nombre[3]"), nullptr);
}

// ---- Elements ----

TEST_F(FindField, AnElementIsTheFieldWithItsNumber)
{
    CField* field = Find("receptor[3]");
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->m_field_id, RECEPTOR_CHAT);
    EXPECT_EQ(field->m_index, 3);
    EXPECT_EQ(field->Get_Ptr(), letter.m_data + field->m_displacement + 2);
    EXPECT_THAT(links.Take_Calls(), ElementsAre("receptor 3 1"));
}

TEST_F(FindField, WithoutANumberTheFieldIsWholeAgain)
{
    Find("receptor[3]");
    CField* field = Find("receptor");
    EXPECT_EQ(field->m_index, 0);
    EXPECT_EQ(field->m_len, 1600);
    EXPECT_EQ(field->Get_Ptr(), letter.m_data + field->m_displacement);
}

TEST_F(FindField, AnElementOfOneRecordLeavesOtherRecordsOfItsClassAlone)
{
    Letter other;
    Find("receptor[3]");
    EXPECT_EQ(other.Find_Field("receptor")->m_index, 0);
    EXPECT_EQ(other.Find_Field("receptor")->m_len, 1600);
}

TEST_F(FindField, NewContentsMakeTheFieldWholeAgain)
{
    const CField* field = Find("receptor[3]");
    letter.Init();
    EXPECT_EQ(field->m_index, 0);
    EXPECT_EQ(field->m_len, 1600);
}

TEST_F(FindField, ADotBehindAnElementLeadsToItsRecord)
{
    EXPECT_EQ(Find("receptor[2].codigo"), &people[1][CODIGO_USUARIO]);
    EXPECT_EQ(Find("receptor[2]."), nullptr);
    EXPECT_EQ(Find("receptor[2].texto"), nullptr);
}

TEST_F(FindField, ElementsThatAreNotThereGiveNull)
{
    for (const char* path : {"receptor[0]", "receptor[4]", "receptor[-1]", "receptor[]", "receptor[x]", "receptor[",
                             "receptor[2", "receptor[4].codigo", "receptor[0].codigo"}) {
        EXPECT_EQ(Find(path), nullptr) << path;
    }
}

TEST_F(FindField, OnlyADotOrTheEndMayFollowAnElement)
{
    for (const char* path : {"receptor[2]x", "receptor[2][1]", "receptor[2]]", "receptor[2] "}) {
        EXPECT_EQ(Find(path), nullptr) << path;
    }
}

TEST_F(FindField, ANumberIsReadUpToItsFirstOtherCharacter)
{
    for (const char* path : {"receptor[02]", "receptor[ 2]", "receptor[+2]", "receptor[2x]", "receptor[2.1]"}) {
        ASSERT_NE(Find(path), nullptr) << path;
        EXPECT_EQ(Find(path)->m_index, 2) << path;
    }
}

TEST_F(FindField, ANumberOfAnyLengthIsTheLargestOneAndNotASmallOne)
{
    EXPECT_EQ(Find("receptor[4294967298]"), nullptr); // 2 in 32 bits
    EXPECT_EQ(Find("receptor[18446744073709551618]"), nullptr);
    EXPECT_EQ(Find("receptor[" + std::string(1000, '9') + "]"), nullptr);
    EXPECT_EQ(Find("receptor[-99999999999999999999]"), nullptr);
    EXPECT_THAT(links.Take_Calls(),
                ElementsAre("receptor 2147483647 1", "receptor 2147483647 1", "receptor 2147483647 1"));
    EXPECT_EQ(Find("receptor[" + std::string(900, '0') + "2]")->m_index, 2);
}

TEST_F(FindField, OnlyARepeatingFieldHasElements)
{
    for (const int status : {0, 1, 7}) {
        links.Answer(letter, EMISOR_CHAT, &people[0], status);
        EXPECT_EQ(Find("emisor[1]"), nullptr) << status;
        EXPECT_EQ(Find("emisor[1].codigo"), nullptr) << status;
    }
    links.Answer(letter, EMISOR_CHAT, &people[0], 2);
    EXPECT_EQ(Find("emisor[1]"), &letter[EMISOR_CHAT]);
    EXPECT_EQ(Find("emisor[1].codigo"), &people[0][CODIGO_USUARIO]);
    EXPECT_EQ(Find("emisor[1]x"), nullptr);
}

// ---- Long paths ----

// Through 140 letters, each from the one before, to the third receiver of the last.
std::string Path_Of_Length(std::size_t characters)
{
    std::string path;
    for (int i = 0; i < 140; ++i) {
        path += "emisor.";
    }
    path += "receptor[";
    return path + std::string(characters - path.size() - 2, '0') + "3]";
}

TEST_F(FindField, APathOf1023CharactersIsTaken)
{
    links.To(letter, EMISOR_CHAT, letter);
    const std::string path = Path_Of_Length(1023);
    ASSERT_EQ(path.size(), 1023U);
    ASSERT_EQ(Find(path), Find("receptor[3]"));
    EXPECT_EQ(Find(path)->m_index, 3);
}

TEST_F(FindField, ALongerPathGivesNullAndLooksNothingUp)
{
    links.To(letter, EMISOR_CHAT, letter);
    EXPECT_EQ(Find(Path_Of_Length(1024)), nullptr);
    EXPECT_EQ(Find("texto" + std::string(100000, '.')), nullptr);
    EXPECT_THAT(links.Take_Calls(), IsEmpty());
}

TEST_F(FindField, ThePathOfTheCallerIsNotTouched)
{
    const std::string path = "EMISOR.Codigo";
    Find(path);
    EXPECT_EQ(path, "EMISOR.Codigo");
}

// ---- Records of the system ----

TEST_F(FindField, ReceiversOfAChatAreElementsOfEightBytes)
{
    CMsgChat chat;
    CGTUser user;
    CGTBranches branch;
    CGTCity city;
    links.To_Elements(chat, RECEPTOR_CHAT, {&user, &user});
    links.To(user, CODIGO_SUCURSAL_USUARIO, branch);
    links.To(branch, CODIGO_CIUDAD_3C_BRANCHES, city);
    EXPECT_EQ(chat.Find_Field("Receptor[2].Codigo_Sucursal.Codigo_Ciudad_3c.Nombre[2]"), &city[NOMBRE_CITY_2]);
}

TEST_F(FindField, EveryNameOfEveryClassIsFound)
{
    CGTUser user;
    CMsgChat chat;
    CGTMarkets market;
    for (CMessage* record : std::initializer_list<CMessage*>{&user, &chat, &market}) {
        for (const FieldPlace* named : record->Layout_In_Force().Named()) {
            EXPECT_EQ(record->Find_Field(named->name), &(*record)[named->field_id]) << named->name;
        }
    }
}

} // namespace
