// What a row of a page can't say: rules of single record classes that a host's author would not expect.
#pragma once

#include "message/layout.h"

#include <string>
#include <string_view>
#include <vector>

struct Note
{
    std::vector<std::string_view> records; // classes whose pages have it
    std::vector<int> fields;               // rows that refer to it; none if it is about the whole record
    std::string_view text;                 // {ID} stands for the name of that field
};

// The notes of a class in the order of their numbers, which begin at 1.
std::vector<const Note*> Notes_Of(std::string_view record);

// "note 2" for a field that the second of them is about; empty if none is.
std::string Note_Marks(const std::vector<const Note*>& notes, int field_id);

// The text with the names that the fields have in this layout.
std::string Note_Text(const Note& note, const RecordLayout& layout);
