#include "scenario/json_text.h"

#include "scenario/values.h"

#include <algorithm>
#include <exception>
#include <set>

namespace qm {

namespace {

using nlohmann::ordered_json;
using Event = ordered_json::parse_event_t;

constexpr std::size_t most_levels = 32; // what shows and copies values does it level by level

class TooDeep : public std::exception
{
};

// Follows a parser through a document and tells each key that an object has twice.
class KeyWatch
{
public:
    explicit KeyWatch(Mistakes& mistakes) : m_mistakes(mistakes) {}

    void See(Event event, const ordered_json& parsed)
    {
        switch (event) {
        case Event::object_start:
        case Event::array_start:
            Begin_Level(event == Event::array_start);
            return;
        case Event::key:
            See_Key(parsed.get<std::string>());
            return;
        case Event::object_end:
        case Event::array_end:
            m_levels.pop_back();
            break;
        default:
            break;
        }
        if (!m_levels.empty()) {
            ++m_levels.back().items;
        }
    }

private:
    struct Level
    {
        std::string place{};
        bool is_array = false;
        std::size_t items = 0;
        std::string key{};
        std::set<std::string> keys{};
    };

    void Begin_Level(bool is_array)
    {
        if (m_levels.size() == most_levels) {
            throw TooDeep();
        }
        m_levels.push_back({.place = Place_Of_Next(), .is_array = is_array});
    }

    void See_Key(const std::string& key)
    {
        Level& level = m_levels.back();
        level.key = key;
        if (!level.keys.insert(key).second) {
            m_mistakes.Add(Place_Of_Member(level.place, key), "expected once, found twice");
        }
    }

    [[nodiscard]] std::string Place_Of_Next() const
    {
        if (m_levels.empty()) {
            return {};
        }
        const Level& level = m_levels.back();
        return level.is_array ? Place_Of_Item(level.place, level.items) : Place_Of_Member(level.place, level.key);
    }

    Mistakes& m_mistakes;
    std::vector<Level> m_levels;
};

void add_at_byte(Mistakes& mistakes, const std::string& text, std::size_t at, const std::string& what)
{
    const std::string_view before = std::string_view(text).substr(0, at);
    const auto lines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    const std::size_t line_begin = before.find_last_of('\n') + 1; // 0 if there is none
    mistakes.Add_At(lines + 1, at - line_begin + 1, what);
}

// The parser's own words: "... - unexpected ',' ; expected string literal", or "... - WHAT; last read: 'TEXT'".
std::string told_by_parser(const std::string& what)
{
    const std::size_t dash = what.find(" - ");
    const std::string told = dash != std::string::npos ? what.substr(dash + 3) : what;
    const std::string mark = "; expected ";
    const std::size_t expected = told.rfind(mark);
    const std::string found = told.substr(0, expected);
    const std::string unexpected = "unexpected ";
    return "expected " + (expected != std::string::npos ? told.substr(expected + mark.size()) : "JSON") + ", found " +
           (found.starts_with(unexpected) ? found.substr(unexpected.size()) : found);
}

// A number that is no double, "... parsing '1e999'".
void add_overflow(Mistakes& mistakes, const std::string& text, const std::string& what)
{
    const std::size_t begin = what.find('\'') + 1;
    const std::string number = what.substr(begin, what.rfind('\'') - begin);
    const std::size_t at = text.find(number);
    add_at_byte(mistakes, text, at != std::string::npos ? at : 0, "expected a number of fewer digits, found " + number);
}

} // namespace

std::string Place_Of_Member(const std::string& object, const std::string& key)
{
    const bool plain = std::all_of(key.begin(), key.end(), [](char c) { return c > ' ' && c <= '~'; });
    const std::string shown = plain && !key.empty() ? key : Shown(key);
    return object.empty() ? shown : object + "." + shown;
}

std::string Place_Of_Item(const std::string& array, std::size_t index)
{
    return array + "[" + std::to_string(index) + "]";
}

void Mistakes::Add(const std::string& place, const std::string& text)
{
    Add_Line(m_file + ": " + (place.empty() ? "" : place + ": ") + text);
}

void Mistakes::Add_At(std::size_t line, std::size_t column, const std::string& text)
{
    Add_Line(m_file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + text);
}

void Mistakes::Add_Line(const std::string& line)
{
    m_text += (m_text.empty() ? "" : "\n") + line;
}

ordered_json Parse_Json(const std::string& text, Mistakes& mistakes)
{
    KeyWatch keys(mistakes);
    const auto see = [&keys](int /*depth*/, Event event, ordered_json& parsed) {
        keys.See(event, parsed);
        return true;
    };
    try {
        return ordered_json::parse(text, see);
    } catch (const TooDeep&) {
        mistakes.Add("", "expected at most " + std::to_string(most_levels) + " arrays and objects inside each other");
    } catch (const ordered_json::parse_error& error) {
        add_at_byte(mistakes, text, error.byte > 0 ? error.byte - 1 : 0, told_by_parser(error.what()));
    } catch (const ordered_json::exception& error) {
        add_overflow(mistakes, text, error.what());
    }
    return nullptr;
}

} // namespace qm
