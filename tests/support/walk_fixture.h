// A letter with receivers, people and a place, for walks along the records that codes name.
#pragma once

#include "message/message.h"
#include "support/record_links.h"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

// Of class ids that no other record of this program has.
using Letter = RecordOf<CGTVLXCONNECTED_TYPE, EMISOR_CHAT, RECEPTOR_CHAT, TEXTO_CHAT>;
using Person = RecordOf<CGTNMCHKPLZ_TYPE, CODIGO_USUARIO, CODIGO_CIUDAD_3C, NOMBRE_COMPLETO>;
using Place = RecordOf<CGTINSTNUM_TYPE, CODIGO_3C_CITY, NOMBRE_CITY_1, NOMBRE_CITY_2, NOMBRE_EMISOR, LETRA_CIUDAD_CITY>;
using Blank = RecordOf<CGTBRANCHNUM_TYPE>;

class FieldWalks : public testing::Test
{
protected:
    void Receivers(std::vector<CMessage*> to) { links.To_Elements(letter, RECEPTOR_CHAT, std::move(to)); }
    std::string Behind(const std::string& path) { return Path_Behind(letter, path); }

    Letter letter;
    std::array<Person, 3> people;
    Place place;
    Blank blank;
    RecordLinks links;
};
