#include "field/flddescr.h"

#include "calclib/calclib.h"
#include "field/references.h"
#include "process_lifetime.h"
#include "qcapi/support.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>

namespace {

// How the name column makes a name of the id; see catalogue/all.def.
enum NameRule
{
    SAME,
    STEM,
    TAIL,
    CORE,
    LEAP,
    UNNAMED,
    CARRIED
};

struct Name
{
    constexpr Name(NameRule made_by) : rule(made_by) {}            // NOLINT(google-explicit-constructor)
    constexpr Name(const char* given) : rule(SAME), text(given) {} // NOLINT(google-explicit-constructor)

    NameRule rule;
    const char* text = nullptr;
};

// The type letters of the catalogue.
struct Type
{
    int code;
    int alpha_kind;
};
constexpr Type type_A{FLD_ALPHA, 0};
constexpr Type type_T{FLD_ALPHA, FLD_ALPHA_TYPE_STRING};
constexpr Type type_F{FLD_DATE, 0};
constexpr Type type_N{FLD_NUM_ASCII_INT, 0};
constexpr Type type_D{FLD_NUM_ASCII_DOUBLE, 0};
constexpr Type type_S{FLD_SHORT, 0};
constexpr Type type_W{FLD_UNSIGNED_SHORT, 0};
constexpr Type type_I{FLD_INT, 0};
constexpr Type type_L{FLD_UNSIGNED_INT, 0};

// A line of the catalogue as it is written: a field, or the opening of a group, which has no type.
struct Line
{
    int number;
    int offset; // bytes of the group if it opens one
    Type type{};
    int length = 0;
    int decimals = 0;
    int leads_to = REF_NONE;

    [[nodiscard]] constexpr bool opens_group() const { return type.code == 0; }
};

constexpr Line lines[] = {
#define GROUP(first, bytes) {__LINE__, bytes},
#define FIELD(offset, id, type, length, decimals, leads_to, name)                                                      \
    {__LINE__, offset, type_##type, length, decimals, REF_##leads_to},
#include "field/catalogue/all.def"
#undef GROUP
#undef FIELD
};

// Symbol and name of each id.
constexpr struct
{
    const char* symbol;
    Name name;
} texts[] = {
#define GROUP(first, bytes)
#define FIELD(offset, id, type, length, decimals, leads_to, name) {#id, name},
#include "field/catalogue/all.def"
#undef GROUP
#undef FIELD
};

static_assert(std::size(texts) == MAX_FIELDS_DEFINED);

constexpr bool length_suits_type(const Line& line)
{
    switch (line.type.code) {
    case FLD_SHORT:
    case FLD_UNSIGNED_SHORT:
        return line.length == 2;
    case FLD_UNSIGNED_INT:
        return line.length == 4;
    case FLD_INT:
        return line.length == 1 || line.length == 2 || line.length == 4;
    case FLD_NUM_ASCII_INT:
        return line.length <= FIELD_LONGEST_NUM_ASCII_INT;
    case FLD_NUM_ASCII_DOUBLE:
        return line.length <= DFN_MAX_NUM_ASCII_DOUBLE_LEN && line.decimals <= 9;
    case FLD_DATE:
        return line.length == 8;
    default:
        return line.length > 0;
    }
}

// A group is as long as its longest reach, has no gap in front of a row, and begins at 0.
constexpr bool groups_are_whole()
{
    int reach = 0;
    int bytes = 0;
    for (const Line& line : lines) {
        if (line.opens_group()) {
            if (reach != bytes) {
                return false;
            }
            reach = 0;
            bytes = line.offset;
        } else {
            if (line.offset > reach || !length_suits_type(line)) {
                return false;
            }
            reach = std::max(reach, line.offset + line.length);
        }
    }
    return reach == bytes;
}
static_assert(groups_are_whole());

// The table as its check wants it. The catalogue gives offsets; the table gives how each follows from the row before,
// and behind the last row of a group where the group must end.
constexpr FIELD_TABLE make_table()
{
    FIELD_TABLE table{};
    std::size_t id = 0;
    int position = 0;
    int bytes = 0;
    bool first = false;
    for (std::size_t i = 0; i < std::size(lines); ++i) {
        const Line& line = lines[i];
        if (line.opens_group()) {
            bytes = line.offset;
            first = true;
            continue;
        }
        const bool last = i + 1 == std::size(lines) || lines[i + 1].opens_group();
        const bool next_overlays = !last && lines[i + 1].offset == line.offset;
        const int end = line.offset + line.length;
        int place = FLD_PLACE_BACK;
        int end_pos = 0;
        if (first) {
            place = next_overlays ? FLD_PLACE_GROUP : FLD_PLACE_FIRST;
        } else if (line.offset == position) {
            place = next_overlays ? FLD_PLACE_OVERLAY : FLD_PLACE_NEXT;
        } else {
            end_pos = position - line.offset;
        }
        const bool stays = place == FLD_PLACE_GROUP || place == FLD_PLACE_OVERLAY;
        position = stays ? line.offset : end;
        if (last && place != FLD_PLACE_BACK && position == bytes) {
            end_pos = bytes;
        }
        const int decimals = line.type.alpha_kind != 0 ? line.type.alpha_kind : line.decimals;
        table[id] = {
            static_cast<int>(id), line.type.code, line.leads_to, place, line.length, decimals, line.number, end_pos, 0};
        ++id;
        first = false;
    }
    return table;
}

std::string made_name(std::string_view symbol, NameRule rule)
{
    std::string name(symbol.size(), ' ');
    std::transform(symbol.begin(), symbol.end(), name.begin(), ascii_lower);
    if (rule == TAIL || rule == CORE) {
        name.erase(0, name.find('_') + 1);
    }
    const auto last_word = name.rfind('_');
    if (rule == STEM || rule == CORE) {
        name.erase(last_word);
    } else if (rule == LEAP) {
        const auto last_but_one = name.rfind('_', last_word - 1);
        name.erase(last_but_one, last_word - last_but_one);
    }
    return name;
}

using Names = std::array<std::string, MAX_FIELDS_DEFINED>;

Names* make_names()
{
    auto* names = new Names;
    for (std::size_t id = 0; id < names->size(); ++id) {
        const Name& name = texts[id].name;
        (*names)[id] = name.text != nullptr ? name.text : made_name(texts[id].symbol, name.rule);
    }
    return names;
}

ProcessLifetime<Names> field_names(make_names);

// The offset that a row's placement code stands for; moves the position.
int place(FIELD_EQUIVALENCE& row, int& position)
{
    int offset = position;
    switch (row.field_offset) {
    case FLD_PLACE_NEXT:
        position += row.field_len;
        break;
    case FLD_PLACE_GROUP:
        offset = position = 0;
        row.has_offset = 1;
        break;
    case FLD_PLACE_OVERLAY:
        row.has_offset = 1;
        break;
    case FLD_PLACE_FIRST:
        offset = 0;
        position = row.field_len;
        break;
    case FLD_PLACE_BACK:
        offset = position - row.end_pos;
        position = offset + row.field_len;
        row.end_pos = 0;
        break;
    default:
        break;
    }
    return offset;
}

void check_length(const FIELD_EQUIVALENCE& row)
{
    constexpr int longest_plain = 20;
    constexpr int no_type = 12; // a type that no row has and that may have any length
    if (row.field_type != no_type && row.field_len > longest_plain) {
        const bool long_double =
            row.field_type == FLD_NUM_ASCII_DOUBLE && row.field_len <= DFN_MAX_NUM_ASCII_DOUBLE_LEN;
        if (!long_double && row.field_type != FLD_ALPHA) {
            std::printf("Error: bad type %d line (%d)\n", row.field_type, row.file_line);
        }
    }
    if ((row.field_type == FLD_SHORT || row.field_type == FLD_UNSIGNED_SHORT) && row.field_len != 2) {
        std::printf("Error: type %d bad short len line (%d)\n", row.field_type, row.file_line);
    }
}

} // namespace

constinit FIELD_TABLE glb_field_equivalence = make_table();

FIELD_TABLE qapi::Fields_Of_Catalogue()
{
    return make_table();
}

void qapi::Check_Fields(std::span<FIELD_EQUIVALENCE> fields)
{
    int position = 0;
    int index = 0;
    for (FIELD_EQUIVALENCE& row : fields) {
        if (row.field_id != index++) {
            std::printf("Error: bad value %d line (%d)\n", row.field_id, row.file_line);
        }
        if (row.field_offset == 0 && row.field_len == 0) {
            position = -1;
            continue;
        }
        row.has_offset = 0;
        const int code = row.field_offset;
        if ((code == FLD_PLACE_NEXT || code == FLD_PLACE_BACK) && position < 0) {
            std::printf("Error: must init offset %d line (%d)\n", row.field_id, row.file_line);
        }
        row.field_offset = place(row, position);
        if (row.end_pos != 0 && row.end_pos != position) {
            std::printf("Error: end position should be %d line (%d)\n", position, row.file_line);
        }
        check_length(row);
    }
}

void FIELD_Check_Consistency()
{
    static std::once_flag checked;
    std::call_once(checked, [] { Check_Fields(glb_field_equivalence); });
}

void FIELD_Report_No_Definition(int field_id, int message_id)
{
    std::printf("Error: field line (%d) should be defined in message-id %d\n",
                glb_field_equivalence[static_cast<std::size_t>(field_id)].file_line, message_id);
}

const char* qapi::Field_Name(int field_id)
{
    const auto index = static_cast<std::size_t>(field_id);
    const NameRule rule = texts[index].name.rule;
    return rule == UNNAMED || rule == CARRIED ? nullptr : field_names.get()[index].c_str();
}

const char* qapi::Field_Symbol(int field_id)
{
    return texts[static_cast<std::size_t>(field_id)].symbol;
}

bool qapi::Field_Is_Built(int field_id)
{
    return texts[static_cast<std::size_t>(field_id)].name.rule != CARRIED;
}
