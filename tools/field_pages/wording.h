// The words of the pages: what a number of the catalogue or of a layout means to a host's author.
#pragma once

#include "field/flddescr.h"
#include "records/all_records.h"

#include <string>

// The name as a host writes it; the id in italics for a field that a host can't name.
std::string Name_In_Page(const FieldPlace& field);

std::string Type_In_Words(const FIELD_EQUIVALENCE& row);

// What the code leads to, as a link to the page of its records; empty for a field that is no code.
std::string Reference_In_Words(int reference);

// The names by which a host asks for these records, or how else it gets at them.
std::string Kind_In_Words(const RecordClass& record);

// The name that callbacks use; empty for records without a kind.
std::string First_Kind(const RecordClass& record);
