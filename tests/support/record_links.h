// Where the codes of records lead, as a test says, and a host that walks the fields of a record.
#pragma once

#include "message/message.h"

#include <array>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

// A record of nothing but these fields, in this order.
template <int message_id, int... field_ids> class RecordOf : public CMessage
{
public:
    RecordOf() : CMessage(nullptr, Layout_Of<RecordOf>()) {}
    using CMessage::operator=;
    static Composition Compose()
    {
        auto composition = Composition::Of_Message(message_id, 0, 4000);
        (composition.Init_Field(field_ids), ...);
        return composition;
    }
};

// In force while it lives. Links may be changed between calls; calls are noted if asked for.
class RecordLinks
{
public:
    explicit RecordLinks(bool notes_calls = true) : m_notes_calls(notes_calls)
    {
        s_in_force = this;
        CField::Set_Reference_Call(function_index, &answer);
    }
    ~RecordLinks()
    {
        CField::Set_Reference_Call(function_index, nullptr);
        s_in_force = nullptr;
    }
    RecordLinks(const RecordLinks&) = delete;
    RecordLinks& operator=(const RecordLinks&) = delete;

    // The field answers every call with this record, null too, and status.
    void Answer(CMessage& from, int field_id, CMessage* to, int status)
    {
        link(from, field_id) = {{to}, status, false};
    }

    // The code names this record; names none, for which an empty record stands; the field repeats, and its elements
    // name these records.
    void To(CMessage& from, int field_id, CMessage& to) { Answer(from, field_id, &to, 0); }
    void To_Empty(CMessage& from, int field_id, CMessage& empty) { Answer(from, field_id, &empty, 1); }
    void To_Elements(CMessage& from, int field_id, std::vector<CMessage*> to)
    {
        link(from, field_id) = {std::move(to), 2, true};
    }

    // The calls since it was last asked: "NAME ELEMENT FLAG", with " no status" if none was wanted.
    std::vector<std::string> Take_Calls() { return std::exchange(m_calls, {}); }

private:
    static constexpr int function_index = 29; // no field of the catalogue has it
    static constexpr int element_length = 1;

    struct Link
    {
        std::vector<CMessage*> to;
        int status = 1;
        bool repeats = false;
    };

    Link& link(CMessage& from, int field_id)
    {
        from[field_id].m_ref_value = function_index;
        return m_links[{&from, field_id}];
    }

    static void* answer(CField* field, int index, int* status, int flag)
    {
        if (s_in_force->m_notes_calls) {
            s_in_force->note(*field, index, status, flag);
        }
        const Link& link = s_in_force->m_links[{field->m_parent, field->m_field_id}];
        if (link.repeats && !has_element(*field, link, index)) {
            return nullptr;
        }
        if (status != nullptr) {
            *status = link.status;
        }
        return link.to[link.repeats ? static_cast<std::size_t>(index) - 1 : 0];
    }

    static bool has_element(CField& field, const Link& link, int index)
    {
        field.m_index = 0;
        if (index < 1 || static_cast<std::size_t>(index) > link.to.size()) {
            return false;
        }
        field.m_index = index;
        field.m_len = field.m_elem_len = element_length;
        return true;
    }

    void note(const CField& field, int index, const int* status, int flag)
    {
        m_calls.push_back(std::string(field.m_field_name) + ' ' + std::to_string(index) + ' ' + std::to_string(flag) +
                          (status != nullptr ? "" : " no status"));
    }

    inline static RecordLinks* s_in_force = nullptr;
    std::map<std::pair<const CMessage*, int>, Link> m_links;
    std::vector<std::string> m_calls;
    bool m_notes_calls;
};

// Walks as hosts do: one text of the longest path, which each answer's name, unless it is an element, is written into.
class FieldWalk
{
public:
    explicit FieldWalk(CMessage& record, const std::string& path = "") : m_record(record)
    {
        m_text.fill(unwritten);
        Write(m_text.data(), path);
    }

    // The next field, null at the end. An element's number is taken off the field, as hosts do, and told by `Element`.
    CField* Next()
    {
        char* cursor = m_text.data();
        CField* field = m_record.Next_Field(&cursor);
        if (field == nullptr) {
            return nullptr;
        }
        m_cursor = cursor - m_text.data();
        m_element = field->m_index;
        field->m_index = 0;
        if (m_element == 0 && Fits(field->m_field_name)) {
            Write(cursor, field->m_field_name);
        }
        m_sound = m_sound && Fits(m_element == 0 ? field->m_field_name : "");
        return field;
    }

    [[nodiscard]] const char* Path() const { return m_text.data(); }
    [[nodiscard]] std::ptrdiff_t Cursor() const { return m_cursor; }
    [[nodiscard]] int Element() const { return m_element; }

    // False once something would have been, or was, written behind the text.
    [[nodiscard]] bool Is_Sound() const
    {
        return m_sound && m_text[MAX_FIELD_PATH + 1] == unwritten && m_text.back() == unwritten;
    }

private:
    static constexpr char unwritten = '#';
    static constexpr std::size_t guard = 64;

    [[nodiscard]] bool Fits(const char* name) const
    {
        return m_cursor >= 0 && m_cursor + static_cast<std::ptrdiff_t>(std::strlen(name)) <= MAX_FIELD_PATH;
    }
    void Write(char* to, const std::string& text) { text.copy(to, text.size() + 1), to[text.size()] = 0; }

    CMessage& m_record;
    std::array<char, MAX_FIELD_PATH + 1 + guard> m_text{};
    std::ptrdiff_t m_cursor = 0;
    int m_element = 0;
    bool m_sound = true;
};

// All paths of a walk, at most `limit` of them, in order. An element's path is its own.
inline std::vector<std::string> Walk_All(CMessage& record, std::size_t limit = 1000)
{
    std::vector<std::string> paths;
    FieldWalk walk(record);
    while (paths.size() < limit && walk.Next() != nullptr) {
        paths.emplace_back(walk.Path());
    }
    return paths;
}

// The path behind a path, "none" at the end.
inline std::string Path_Behind(CMessage& record, const std::string& path)
{
    FieldWalk walk(record, path);
    return walk.Next() != nullptr ? walk.Path() : "none";
}
