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

const char* relation_to(const FieldPlace& above, const FieldPlace& field)
{
    if (above.displacement == field.displacement && above.len == field.len) {
        return "same bytes as ";
    }
    return end_of(field) <= end_of(above) ? "part of " : "overlaps ";
}

// How the bytes of fields[at] lie to those of the nearest row above that has some of them.
std::string overlay(const Fields& fields, std::size_t at)
{
    for (std::size_t above = at; above-- > 0;) {
        if (end_of(fields[above]) > fields[at].displacement) {
            return relation_to(fields[above], fields[at]) + Name_In_Page(fields[above]);
        }
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

// The row's length is less than what its type reads and writes.
bool takes_four_bytes(const FIELD_EQUIVALENCE& row)
{
    return row.field_type == FLD_INT && row.field_len < 4;
}

std::string joined(const std::vector<std::string>& remarks)
{
    std::string text;
    for (const std::string& remark : remarks) {
        text += (text.empty() || remark.empty() ? "" : "; ") + remark;
    }
    return text;
}

std::string remarks_on(const RecordLayout& layout, const Fields& fields, std::size_t at, const std::string& note)
{
    const FieldPlace& field = fields[at];
    const FieldPlace* const found = hidden_by(layout, field);
    return joined({
        field.displacement >= layout.Data_Len() ? "not sent" : "",
        overlay(fields, at),
        field.len < row_of(field).field_len ? "cut to the record" : "",
        takes_four_bytes(row_of(field)) ? "read and written as 4 bytes" : "",
        found != nullptr ? "the name finds the row at " + std::to_string(found->displacement) : "",
        note,
    });
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
