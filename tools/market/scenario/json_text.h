// JSON as a file of a user's: with the place of a mistake, and no key twice in an object.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace qm {

// Where something stands in a document, "users[2].code"; "the file" for all of it.
std::string Place_Of_Member(const std::string& object, const std::string& key);
std::string Place_Of_Item(const std::string& array, std::size_t index);

// What is wrong with a file, a line each: "FILE: PLACE: expected ...".
class Mistakes
{
public:
    explicit Mistakes(std::string file) : m_file(std::move(file)) {}

    void Add(const std::string& place, const std::string& text);
    void Add_At(std::size_t line, std::size_t column, const std::string& text);
    [[nodiscard]] bool empty() const { return m_text.empty(); }
    [[nodiscard]] const std::string& text() const { return m_text; } // lines, no line end behind the last

private:
    void Add_Line(const std::string& line);

    std::string m_file;
    std::string m_text;
};

// Null, with a mistake told, for a text that isn't JSON. A key that stands in an object twice is told too.
nlohmann::ordered_json Parse_Json(const std::string& text, Mistakes& mistakes);

} // namespace qm
