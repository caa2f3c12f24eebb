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

// Sets a field by its name, "nombre" or "nombre[2]", from a text, a number, or {"hex": "AA", "times": 50} for bytes of
// a text field. A number may be a text of digits, and must be if it has more than 15 of them with a point among them.
// Empty if it is done, else what is wrong with it, as "expected WHAT, found WHAT": an unknown name, a text that is
// longer than the field, a number or decimals that it can't hold. Fields that the class keeps from hosts have the
// catalogue's names.
std::string Set_Field(CMessage& record, const std::string& name, const nlohmann::json& value);

// The same for text, without JSON around it.
std::string Set_Text_Field(CMessage& record, const std::string& name, std::string_view text);

// All named fields that aren't empty, for the journal: texts without their padding, fixed point as a text of digits,
// other numbers as numbers. Texts that only stand for a group of other fields are left out, codes are not followed.
// Bytes that aren't UTF-8 are shown as the characters of their number. Messages of the session, whose fields hosts
// don't know, are shown by the catalogue's names.
nlohmann::ordered_json Fields_Of(CMessage& record);

// The bytes behind a table record's header of 22 bytes.
std::string Body_Of(const CMessage& record);

} // namespace qm
