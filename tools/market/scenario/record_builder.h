// Records from named fields: what a scenario or a command says, as bytes of a record class of the library.
#pragma once

#include "message/message.h"

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace qm {

// A table by the name that scenarios use: its code (0: the scenario must give it) and the class of its records.
struct TableName
{
    const char* name;         // "cities"
    std::uint16_t code;       // 25
    const char* record_class; // "CGTCity"
};

// null for an unknown name or code.
const TableName* Find_Table_Name(std::string_view name);
const TableName* Find_Table_Of_Code(std::uint16_t code);
std::string All_Table_Names(); // "branches, cities, ...", for complaints

// A record of a class by its name ("CGTCity"), empty; null for an unknown class.
std::unique_ptr<CMessage> Make_Record(std::string_view record_class);

// Sets a field by its name from a text or a number. Empty if it is done, else what is wrong with it: an unknown name, a
// text that is longer than the field, a number that it can't hold.
std::string Set_Field(CMessage& record, const std::string& name, const nlohmann::json& value);

// The same for text, without JSON around it.
std::string Set_Text_Field(CMessage& record, const std::string& name, std::string_view text);

// All named fields that aren't empty, with their values as text or number, for the journal.
nlohmann::ordered_json Fields_Of(CMessage& record);

// The bytes behind a table record's header of 22 bytes.
std::string Body_Of(const CMessage& record);

} // namespace qm
