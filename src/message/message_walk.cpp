// Fields by name: a path names one, a walk visits all.
//
//     path    = segment, or segments with '.' between them
//     segment = name, or name[n] for element n of a repeating field, from 1
//
// Each segment but the last is a code that names a record, in which the rest of the path is looked up. A name may hold
// brackets itself: "nombre[2]" is an element if nombre repeats, and else the field of that name.
#include "message/message.h"

#include "qcapi/support.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr int whole_field = 0; // in place of the number of an element
constexpr int longest_name = 63;

// Copies a path of at most MAX_FIELD_PATH characters in lower case, in place too, and returns the end of the copy; null
// if the path is longer.
char* lower_case(const char* path, char* copy)
{
    const std::size_t length = strnlen(path, MAX_FIELD_PATH + 1); // known, so that all letters are lowered at once
    if (length > MAX_FIELD_PATH) {
        return nullptr;
    }
    char* end = std::transform(path, path + length, copy, ascii_lower);
    *end = 0;
    return end;
}

// What stands in brackets: a number above an int's range is the largest int, one that no element has is 0.
struct Brackets
{
    int number = 0;
    std::ptrdiff_t length = 0;
};

Brackets brackets_at(const char* open)
{
    const char* close = std::strchr(open, ']');
    if (close == nullptr) {
        return {};
    }
    const long number = std::strtol(open + 1, nullptr, 10);
    return {static_cast<int>(std::clamp<long>(number, 0, INT_MAX)), close + 1 - open};
}

// Where a field leads. With status 1 it is at most an empty record, in place of one that isn't there.
struct Reference
{
    CMessage* record = nullptr;
    int status = 1;

    [[nodiscard]] bool leads() const { return record != nullptr && status != 1; }
};

Reference follow(CField& field, int number, int flag)
{
    Reference reference;
    reference.record = static_cast<CMessage*>(field.Do_Reference_Call(number, flag, &reference.status));
    return reference;
}

// ---- Find ------------------------------------------------------------------------------------------------------

// What a segment leads to: a field, or the record in which the rest of the path is looked up; neither if nothing.
struct Lead
{
    CField* field = nullptr;
    CMessage* record = nullptr;
    const char* rest = nullptr;
};

Lead lead_of_element(CField& field, const Reference& reference, const char* behind)
{
    if (reference.status != 2) { // the field doesn't repeat: its number names nothing
        return {};
    }
    if (*behind == '.') {
        return {nullptr, reference.record, behind + 1};
    }
    return {*behind == 0 ? &field : nullptr};
}

Lead lead_of_segment(CMessage& record, std::string_view path)
{
    const int code = qapi::Name_Code(path);
    for (const FieldPlace* place : record.Layout_In_Force().With_Code(code)) {
        CField& field = record[place->field_id];
        const char* end = field.Do_Matching_Name(path.data(), code);
        if (end == nullptr) {
            continue;
        }
        if (*end == '.') {
            void* found = field.Do_Reference_Call(whole_field, 1, nullptr);
            return {nullptr, static_cast<CMessage*>(found), end + 1};
        }
        if (*end != '[') {
            return {&field};
        }
        const Brackets brackets = brackets_at(end);
        const Reference reference = brackets.number != 0 ? follow(field, brackets.number, 1) : Reference{};
        if (reference.record != nullptr) {
            return lead_of_element(field, reference, end + brackets.length);
        }
    }
    return {};
}

// ---- Walk ------------------------------------------------------------------------------------------------------

// A step of a walk: from the field that the text names to the one behind it. Nothing is written where the longest name
// would not fit behind it: a field whose path would grow longer leads nowhere. That also ends the walk over a record
// that leads back to itself; with several such ways the steps double at each level, so tables must not lead in circles.
class WalkStep
{
public:
    explicit WalkStep(char** cursor) : m_cursor(cursor), m_last(*cursor + MAX_FIELD_PATH) {}

    // The field behind the one that `text` names in this record, null if there is none.
    CField* next_in(CMessage& record, char* text);

private:
    // A field that a segment names. The segment begins at `text`, the field's name ends at `end`.
    struct Match
    {
        CMessage& record;
        const FieldPlace& place;
        CField& field;
        char* text;
        char* end;
    };

    [[nodiscard]] bool has_room(const char* at) const { return m_last - at >= longest_name; }

    CField* visit(CMessage& record, int named_index, char* text);
    CField* visit_behind(const Match& match) { return visit(match.record, match.place.named_index + 1, match.text); }
    CField* enter(const Match& match, const Reference& reference, char* end);

    CField* behind_name(const Match& match);
    CField* behind_dot(const Match& match);
    CField* behind_brackets(const Match& match, const Reference& reference, int number, char* end);

    CField* inside(const Match& match, const Reference& reference, int number, char* dot);
    CField* go_on_at(const Match& match, int number);
    CField* show_element(const Match& match, int number);
    [[nodiscard]] char* write_brackets(const Match& match, int number) const;

    char** m_cursor;
    const char* m_last; // where the last terminator may stand
};

// The number of the element to go to: an element that the text ends with was shown, but the first one, which is next to
// be gone into. The largest int is the end of any count.
int number_to_follow(const Brackets& brackets, char behind)
{
    const bool was_shown = behind == 0 && brackets.number > 1 && brackets.number < INT_MAX;
    return was_shown ? brackets.number + 1 : brackets.number;
}

Reference follow_element(CField& field, int number)
{
    return number < INT_MAX ? follow(field, number, 1) : Reference{};
}

CField* WalkStep::next_in(CMessage& record, char* text)
{
    if (*text == 0) {
        return visit(record, 0, text);
    }
    const int code = qapi::Name_Code(text);
    const FieldPlace* ended = nullptr; // it has no element of that number; a name with brackets may have
    for (const FieldPlace* place : record.Layout_In_Force().With_Code(code)) {
        CField& field = record[place->field_id];
        const char* end = place->named_index >= 0 ? field.Do_Matching_Name(text, code) : nullptr;
        if (end == nullptr) {
            continue;
        }
        const Match match{record, *place, field, text, text + (end - text)};
        if (*end == 0) {
            return behind_name(match);
        }
        if (*end == '.') {
            return behind_dot(match);
        }
        const Brackets brackets = *end == '[' ? brackets_at(end) : Brackets{};
        if (brackets.number == 0) {
            continue;
        }
        char* behind = match.end + brackets.length;
        const int number = number_to_follow(brackets, *behind);
        const Reference reference = follow_element(field, number);
        if (reference.leads()) {
            return behind_brackets(match, reference, number, behind);
        }
        ended = place;
    }
    return ended != nullptr ? visit(record, ended->named_index + 1, text) : nullptr;
}

CField* WalkStep::visit(CMessage& record, int named_index, char* text)
{
    const auto named = record.Layout_In_Force().Named();
    const auto index = static_cast<std::size_t>(named_index);
    if (index >= named.size() || !has_room(text)) {
        return nullptr;
    }
    *m_cursor = text;
    return &record[named[index]->field_id];
}

// Goes into the record that a field leads to, whose segment ends at `end`.
CField* WalkStep::enter(const Match& match, const Reference& reference, char* end)
{
    CField* first = visit(*reference.record, 0, end + 1);
    if (first == nullptr) {
        return visit_behind(match);
    }
    end[0] = '.';
    end[1] = 0;
    return first;
}

CField* WalkStep::behind_name(const Match& match)
{
    const Reference reference = follow(match.field, 1, 0);
    if (reference.record != nullptr && reference.status == 0) {
        return enter(match, reference, match.end);
    }
    if (reference.record != nullptr && reference.status == 2) {
        return show_element(match, 1);
    }
    return visit_behind(match);
}

CField* WalkStep::behind_dot(const Match& match)
{
    const Reference reference = follow(match.field, whole_field, 1);
    return reference.record != nullptr ? inside(match, reference, whole_field, match.end) : nullptr;
}

CField* WalkStep::behind_brackets(const Match& match, const Reference& reference, int number, char* end)
{
    if (*end == '.') {
        return inside(match, reference, number, end);
    }
    if (*end != 0) {
        return nullptr;
    }
    return number == 1 ? enter(match, reference, end) : show_element(match, number);
}

// The next field of the record that an element, or a whole field, leads to; behind its last one the next element.
CField* WalkStep::inside(const Match& match, const Reference& reference, int number, char* dot)
{
    if (CField* field = next_in(*reference.record, dot + 1); field != nullptr) {
        return field;
    }
    return reference.status == 2 ? go_on_at(match, number + 1) : visit_behind(match);
}

CField* WalkStep::go_on_at(const Match& match, int number)
{
    const Reference reference = follow_element(match.field, number);
    if (!reference.leads()) {
        return visit_behind(match);
    }
    if (number > 1) {
        return show_element(match, number);
    }
    char* end = write_brackets(match, number);
    return end != nullptr ? enter(match, reference, end) : visit_behind(match);
}

CField* WalkStep::show_element(const Match& match, int number)
{
    char* end = write_brackets(match, number);
    if (end == nullptr) {
        return visit_behind(match);
    }
    *m_cursor = end;
    return &match.field;
}

// Ends the text with the number behind the field's name. Returns the end, null if there is no room.
char* WalkStep::write_brackets(const Match& match, int number) const
{
    std::array<char, sizeof "[2147483647]"> brackets{};
    const int length = std::snprintf(brackets.data(), brackets.size(), "[%d]", number);
    if (!has_room(match.end + length)) {
        return nullptr;
    }
    return std::copy_n(brackets.data(), length + 1, match.end) - 1;
}

} // namespace

// ---- CMessage --------------------------------------------------------------------------------------------------

CField* CMessage::Find_Field(const char* path)
{
    std::array<char, MAX_FIELD_PATH + 1> text; // not cleared: most paths are short
    const char* end = lower_case(path, text.data());
    if (end == nullptr) {
        return nullptr;
    }
    Lead lead{nullptr, this, text.data()};
    while (lead.record != nullptr) {
        lead = lead_of_segment(*lead.record, {lead.rest, end});
    }
    return lead.field;
}

CField* CMessage::Next_Field(char** cursor)
{
    char* text = *cursor;
    return lower_case(text, text) != nullptr ? WalkStep(cursor).next_in(*this, text) : nullptr;
}
