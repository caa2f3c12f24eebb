#include "page.h"

#include "field/flddescr.h"
#include "markdown_table.h"
#include "notes.h"
#include "wording.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <vector>

namespace {

constexpr const char* legend = "[How to read these pages](../fields.md)";

using Fields = std::vector<FieldPlace>;

const FIELD_EQUIVALENCE& row_of(const FieldPlace& field)
{
    return glb_field_equivalence[static_cast<std::size_t>(field.field_id)];
}

int end_of(const FieldPlace& field)
{
    return field.displacement + field.len;
}

// Of fields with the same bytes, that with the lower position comes first.
Fields in_order_of_bytes(const RecordLayout& layout)
{
    Fields fields(layout.Fields().begin(), layout.Fields().end());
    std::stable_sort(fields.begin(), fields.end(), [](const FieldPlace& a, const FieldPlace& b) {
        return std::tuple(a.displacement, -a.len) < std::tuple(b.displacement, -b.len);
    });
    return fields;
}

// How the bytes of fields[at] lie to those of the nearest row above that has some of them.
std::string overlay(const Fields& fields, std::size_t at)
{
    const FieldPlace& field = fields[at];
    for (std::size_t above = at; above-- > 0;) {
        const FieldPlace& other = fields[above];
        if (end_of(other) <= field.displacement) {
            continue;
        }
        const bool whole = other.displacement == field.displacement && other.len == field.len;
        const char* const relation = whole                            ? "same bytes as "
                                     : end_of(field) <= end_of(other) ? "part of "
                                                                      : "overlaps ";
        return relation + Name_In_Page(other);
    }
    return {};
}

// The field of this name that a host gets, if it is another one.
const FieldPlace* hidden_by(const RecordLayout& layout, const FieldPlace& field)
{
    if (field.name == nullptr) {
        return nullptr;
    }
    for (const FieldPlace* other : layout.With_Code(field.code)) {
        if (std::string_view(other->name) == field.name) {
            return other->field_id != field.field_id ? other : nullptr;
        }
    }
    return nullptr;
}

void append(std::string& remarks, const std::string& remark)
{
    if (!remark.empty()) {
        remarks += (remarks.empty() ? "" : "; ") + remark;
    }
}

std::string remarks_on(const RecordLayout& layout, const Fields& fields, std::size_t at, const std::string& note)
{
    const FieldPlace& field = fields[at];
    std::string remarks;
    append(remarks, field.displacement >= layout.Data_Len() ? "not sent" : "");
    append(remarks, overlay(fields, at));
    append(remarks, field.len < row_of(field).field_len ? "cut to the record" : "");
    append(remarks,
           row_of(field).field_type == FLD_INT && row_of(field).field_len < 4 ? "read and written as 4 bytes" : "");
    if (const FieldPlace* first = hidden_by(layout, field); first != nullptr) {
        append(remarks, "the name finds the row at " + std::to_string(first->displacement));
    }
    append(remarks, note);
    return remarks;
}

std::string table_of_fields(const RecordClass& record, const std::vector<const Note*>& notes)
{
    const RecordLayout& layout = record.layout();
    const Fields fields = in_order_of_bytes(layout);
    MarkdownTable table({"offset", "name", "type", "length", "leads to", "remarks"}, {0, 3});
    for (std::size_t at = 0; at < fields.size(); ++at) {
        const FieldPlace& field = fields[at];
        table.add({std::to_string(field.displacement), Name_In_Page(field), Type_In_Words(row_of(field)),
                   std::to_string(field.len), Reference_In_Words(row_of(field).field_reference),
                   remarks_on(layout, fields, at, Note_Marks(notes, field.field_id))});
    }
    return table.text();
}

std::string numbered(const std::vector<const Note*>& notes, const RecordLayout& layout)
{
    std::string text = notes.empty() ? "" : "\n## Notes\n\n";
    for (std::size_t at = 0; at < notes.size(); ++at) {
        text += std::to_string(at + 1) + ". " + Note_Text(*notes[at], layout) + "\n";
    }
    return text;
}

std::string link_to(const RecordClass& record)
{
    return std::string("[") + record.name + "](" + record.name + ".md)";
}

} // namespace

std::string Page_Of(const RecordClass& record)
{
    const RecordLayout& layout = record.layout();
    const std::vector<const Note*> notes = Notes_Of(record.name);
    std::string text = std::string("# ") + record.name + ": " + record.meaning + "\n\n";
    text += "- Message number: " + std::to_string(layout.Number()) + "\n";
    text += "- Kind: " + Kind_In_Words(record) + "\n";
    text += "- Bytes: " + std::to_string(layout.Data_Len()) + "\n";
    text += std::string("\n") + legend + ", [all record classes](index.md)\n\n";
    return text + table_of_fields(record, notes) + numbered(notes, layout);
}

std::string Index_Page()
{
    MarkdownTable table({"record class", "number", "kind", "bytes", "fields", "what it is"}, {1, 3, 4});
    for (const RecordClass& record : All_Record_Classes()) {
        const RecordLayout& layout = record.layout();
        table.add({link_to(record), std::to_string(layout.Number()), First_Kind(record),
                   std::to_string(layout.Data_Len()), std::to_string(layout.Fields().size()), record.meaning});
    }
    return std::string("# Record classes\n\nA page for each kind of record, with the place, the name and the type of "
                       "each field. ") +
           legend + ".\n\n" + table.text();
}
